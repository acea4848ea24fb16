import assert from "node:assert/strict";
import { test } from "node:test";
import { getDelay } from "./Polling";

test("what fails is tried again after 2 s, then less often, also when it is read seldom", () => {
  for (const every of [2_000, 5_000, 30_000, 300_000]) {
    const delays = [0, 1, 2, 3, 4, 50].map((failures) => getDelay(every, failures));
    assert.deepEqual(delays, [every, 2_000, 4_000, 8_000, 10_000, 10_000], String(every));
  }
});
