import assert from "node:assert/strict";
import { test } from "node:test";
import { ItemStore, type ReadItem } from "./ItemStore";
import { groupKeys, type Item, matches, takeKeys } from "./Items";
import { Values } from "./Values";

const text = (key: string) => key;

test("writes values with the unit that suits their size", () => {
  const values = new Values("en", text);
  const cases = [
    [47, "°C", "47 °C"],
    [3_060_164_198, "B", "2.8 GiB"],
    [512, "B", "512 B"],
    [39_154, "s", "10 h 52 min"],
    [12, "s", "12 s"],
    [196_608, "", "196,608"],
    [2.65432, "V", "2.654 V"],
    [0.00001234, "A", "1.23E-5 A"],
    [-5, "B", "-5 B"],
    [true, "", "value.true"],
    ["Run", "", "Run"],
    ["a\u0000b\u202e", "", "a\u2400b\ufffd"],
    [null, "V", "–"],
  ] as const;
  for (const [value, unit, expected] of cases) {
    const shown = values.format({ value, unit });
    assert.equal([shown.value, shown.unit].filter(Boolean).join(" "), expected, String(value));
  }
  assert.equal(values.formatExact({ value: 3_060_164_198, unit: "B" }), "3,060,164,198 B");
});

test("groups by the first part of the key, and takes as many as asked for", () => {
  const groups = groupKeys(["A.x", "A.y", "B", "C.z"]);
  assert.deepEqual(groups, [
    { name: "A", keys: ["A.x", "A.y"] },
    { name: "B", keys: ["B"] },
    { name: "C", keys: ["C.z"] },
  ]);
  assert.deepEqual(takeKeys(groups, 1), [{ name: "A", keys: ["A.x"] }]);
  assert.deepEqual(takeKeys(groups, 3), groups.slice(0, 2));
  assert.deepEqual(takeKeys(groups, 99), groups);
});

test("finds items by words of key and description", () => {
  const item = { key: "Status.Board.Temperature", description: "Temperature of the board" };
  const cases = [
    ["", true],
    ["temp", true],
    ["BOARD  status", true],
    ["of the", true],
    ["fan", false],
    ["board fan", false],
  ] as const;
  for (const [search, isFound] of cases) {
    assert.equal(matches(item, search), isFound, search);
  }
});

const item: Item = {
  key: "A",
  type: "uint8",
  unit: "%",
  description: "",
  origin: "measured",
  quality: "good",
  value: 1,
  ageMilliseconds: 0,
  cause: "",
  history: false,
};

/** A store whose device gives these pages, one after the other. */
function makeStore(pages: { items: Item[]; isCut: boolean }[]) {
  const asked: unknown[] = [];
  const request = <T extends object>(_provider: string, _name: string, options?: object): Promise<T> => {
    asked.push(options && "query" in options ? options.query : undefined);
    const page = pages.shift();
    return page ? Promise.resolve(page as unknown as T) : Promise.reject(new Error("away"));
  };
  return { store: new ItemStore({ request }), asked };
}

const abort = new AbortController().signal;

test("follows the pages and touches only what has changed", async () => {
  const { store, asked } = makeStore([
    { items: [item, { ...item, key: "B" }], isCut: true },
    { items: [{ ...item, key: "C" }], isCut: false },
    { items: [item, { ...item, key: "B", value: 2 }], isCut: true },
    { items: [{ ...item, key: "C" }], isCut: false },
  ]);
  await store.read(abort);
  const keys = store.keys.value;
  assert.deepEqual(keys, ["A", "B", "C"]);
  const before = ["A", "B", "C"].map((key) => store.get(key)?.value);
  await store.read(abort);
  assert.deepEqual(asked, [{}, { after: "B" }, {}, { after: "B" }]);
  assert.equal(store.keys.value, keys);
  const changed = ["A", "B", "C"].filter((key, index) => store.get(key)?.value !== before[index]);
  assert.deepEqual(changed, ["B"]);
});

test("keeps values and tells since when they are old", async () => {
  const { store } = makeStore([
    { items: [item], isCut: false },
    { items: [{ ...item, quality: "old", ageMilliseconds: 60_000, cause: "hangs" }], isCut: false },
  ]);
  await store.read(abort);
  store.checkAge(performance.now() + 9_000);
  assert.equal(store.failure.value, undefined);
  store.checkAge(performance.now() + 11_000);
  assert.ok(store.failure.value, "late, although no read has failed");
  await store.read(abort);
  assert.equal(store.failure.value, undefined);
  const old = store.get("A")?.value as ReadItem;
  assert.ok(Date.now() - old.valueTime >= 60_000);
  await assert.rejects(store.read(abort));
  const since = store.failure.value?.since;
  await assert.rejects(store.read(abort));
  assert.equal(store.failure.value?.since, since);
  assert.deepEqual(store.keys.value, ["A"]);
});
