import assert from "node:assert/strict";
import { test } from "node:test";
import { type AuditRow, toHostTime, toQuery, toTable } from "./AuditRows";
import { formatCsv } from "./Csv";

test("writes cells so that no reader takes them for something else", () => {
  const cases = [
    ["plain", "plain"],
    ["", ""],
    ["a,b", '"a,b"'],
    ['say "no"', '"say ""no"""'],
    ["two\r\nlines", '"two\r\nlines"'],
    ["=1+1", "'=1+1"],
    ["+49", "'+49"],
    ["-1", "'-1"],
    ["@SUM(A1)", "'@SUM(A1)"],
    ["\t=1", "'\t=1"],
    ["\r=1", '"\'\r=1"'],
    ["＝1", "'＝1"],
    ['=HYPERLINK("http://x","y")', '"\'=HYPERLINK(""http://x"",""y"")"'],
    ["a=1", "a=1"],
  ] as const;
  for (const [text, cell] of cases) {
    assert.equal(formatCsv([[text, "end"]]), `\ufeff${cell},end\r\n`, JSON.stringify(text));
  }
});

const row: AuditRow = {
  sequence: 7,
  time: "2026-11-22T10:30:00.5Z",
  user: "=admin",
  address: "127.0.0.1",
  action: "LoggedIn",
  object: "logged in",
  outcome: "success",
  bootId: "b",
  requestId: "r",
  details: { source: "Host.Sessions" },
};

test("puts every member of a row into its column", () => {
  const [header, cells] = toTable([row]);
  const members = Object.fromEntries((header ?? []).map((name, at) => [name, cells?.[at]]));
  assert.deepEqual(Object.keys(members).sort(), Object.keys(row).sort());
  assert.equal(members.sequence, "7");
  assert.equal(members.time, row.time);
  assert.equal(members.details, '{"source":"Host.Sessions"}');
});

test("asks the host for whole seconds of UTC, and only for filters that are set", () => {
  const local = "2026-11-22T10:30";
  const utc = `${new Date(local).toISOString().slice(0, 19)}Z`;
  assert.equal(toHostTime(local), utc);
  assert.equal(toHostTime("yesterday"), "yesterday");
  assert.deepEqual(toQuery({ user: "eve", action: "", from: local, to: "" }), { user: "eve", from: utc });
});
