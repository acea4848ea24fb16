import assert from "node:assert/strict";
import { test } from "node:test";
import { chooseLanguage, formatBytes, formatDuration, makeTextFunction } from "./Texts";

test("fills placeholders, selects plural forms, and shows the key of a text that is missing", () => {
  const text = makeTextFunction(
    { plain: "{a} and {b}, {a}", "guest.one": "{count} guest", "guest.other": "{count} guests" },
    "en",
  );
  const cases = [
    [text("plain", { a: 1, b: "$&" }), "1 and $&, 1"],
    [text("plain", { a: "{b}", b: 2 }), "{b} and 2, {b}"],
    [text("plain", {}), "{a} and {b}, {a}"],
    [text("guest", { count: 1 }), "1 guest"],
    [text("guest", { count: 0 }), "0 guests"],
    [text("guest"), "{count} guests"],
    [text("absent", { a: 1 }), "absent"],
  ];
  for (const [actual, expected] of cases) {
    assert.equal(actual, expected);
  }
});

test("chooses the first wanted language that is offered, with any region", () => {
  const cases = [
    [["de-AT", "en"], ["en", "de"], "de"],
    [["fr", "EN-us"], ["de", "en"], "en"],
    [["fr"], ["de", "en"], "de"],
    [["fr"], [], "en"],
    [[], ["de"], "de"],
  ] as const;
  for (const [wanted, offered, expected] of cases) {
    assert.equal(chooseLanguage(wanted, offered), expected, `${wanted} of ${offered}`);
  }
});

test("gives bytes the unit that leaves at most three digits", () => {
  const cases = [
    [0, "0 B"],
    [999, "999 B"],
    [1000, "1 KiB"],
    [1536, "1.5 KiB"],
    [270_553_174_016, "252 GiB"],
    [2 ** 60, "1,024 PiB"],
  ] as const;
  for (const [bytes, expected] of cases) {
    const { value, unit } = formatBytes(bytes, "en");
    assert.equal(`${value} ${unit}`, expected);
  }
});

test("says durations in the two or three units that matter", () => {
  const cases = [
    [-1, "0 s"],
    [59.9, "59 s"],
    [61, "1 min 01 s"],
    [3_600, "1 h 00 min"],
    [3 * 86_400 + 14 * 3_600 + 7 * 60 + 59, "3 d 14 h 07 min"],
  ] as const;
  for (const [seconds, expected] of cases) {
    assert.equal(formatDuration(seconds), expected);
  }
});
