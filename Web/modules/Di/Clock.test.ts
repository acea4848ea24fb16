import assert from "node:assert/strict";
import { test } from "node:test";
import { countOn, findLargeDrift, readClock } from "./Clock";

const wall = 1_795_257_621_000;

function read(currentTimestamp: string, begin = 1000, end = 1400, previous?: ReturnType<typeof readClock>) {
  const section = { systemUpTime: 50, currentTimestamp };
  return readClock(section, { even: begin, wall: wall + begin }, { even: end, wall: wall + end }, previous);
}

test("the drift is measured at the middle of the request", () => {
  const cases: readonly [string, number | undefined][] = [
    [`${wall + 1200}000`, 0],
    [`${wall + 1200 + 6000}000`, 6000],
    [`${wall + 1200 - 86_400_000}000`, -86_400_000],
    ["-1000000", -1000 - wall - 1200],
    ["", undefined],
    ["1,795,257,621,000,000", undefined],
    ["9999999999999999999", undefined],
    ["<b>", undefined],
  ];
  for (const [text, drift] of cases) {
    assert.equal(read(text).driftMilliseconds, drift, text);
  }
});

test("clock and up-time count on between two reads", () => {
  const reading = read(`${wall}000`);
  assert.deepEqual(countOn(reading, 1200), { unixMilliseconds: wall, upTimeSeconds: 50 });
  assert.deepEqual(countOn(reading, 3700), { unixMilliseconds: wall + 2500, upTimeSeconds: 52 });
  assert.deepEqual(countOn(reading, 0), { unixMilliseconds: wall, upTimeSeconds: 50 });
});

test("a clock that stands does not count on, the up-time does", () => {
  const first = read(`${wall}000`);
  const second = read(`${wall}000`, 3000, 3400, first);
  assert.equal(second.isStanding, true);
  assert.deepEqual(countOn(second, 5200), { unixMilliseconds: wall, upTimeSeconds: 52 });
  assert.equal(read(`${wall}000`, 1401, 1403, first).isStanding, false, "too soon to tell");
});

test("a drift over 5 s is a warning, told in whole seconds", () => {
  const cases = [
    [undefined, undefined],
    [0, undefined],
    [5_000, undefined],
    [-5_000, undefined],
    [5_001, 5_000],
    [-5_900, -5_000],
    [6_000, 6_000],
    [-86_400_500, -86_400_000],
  ] as const;
  for (const [drift, large] of cases) {
    assert.equal(findLargeDrift(drift), large, String(drift));
  }
});
