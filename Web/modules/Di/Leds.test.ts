import assert from "node:assert/strict";
import { test } from "node:test";
import { Changes, ledGroups, readLed } from "./Leds";

test("codes are read as the device writes them", () => {
  const cases: readonly [number, number, string][] = [
    [0, 0x30000, "off red"],
    [1, 0x10000, "on green"],
    [2, 0x20000, "slow yellow"],
    [3, 0x40000, "fast blue"],
    [1, 0x50000, "on white"],
    [65535, 0xffff0000, "unknown unknown"],
    [1, 0, "on unknown"],
  ];
  for (const [stateCode, colorCode, expected] of cases) {
    const led = readLed({ fullName: "", stateCode, colorCode });
    assert.equal(`${led.state} ${led.color}`, expected);
  }
});

test("the panel has eleven LEDs, each once", () => {
  const names = ledGroups.flatMap((group) => group.leds.map((led) => led.fullName));
  assert.equal(new Set(names).size, 11);
});

test("the time of a change is exact only when the change was seen", () => {
  const changes = new Changes();
  changes.see("a", "off", 1_000);
  assert.deepEqual(changes.getSince("a"), { time: 1_000, isExact: false });
  changes.see("a", "on", 3_000);
  changes.see("a", "on", 5_000);
  assert.deepEqual(changes.getSince("a"), { time: 3_000, isExact: true });
  changes.see("a", "off", 65_000);
  assert.deepEqual(
    changes.getSince("a"),
    { time: 65_000, isExact: false },
    "the page did not look for a minute",
  );
  assert.equal(changes.getSince("b"), undefined);
});
