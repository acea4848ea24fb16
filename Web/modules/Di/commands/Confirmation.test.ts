import assert from "node:assert/strict";
import { test } from "node:test";
import { chooseWord, getPosition, mayRun } from "./Confirmation";

test("a switch that is in Run, or of which it is not known, needs one more step", () => {
  const inRun = { isSupported: true, isInRun: true };
  const inStop = { isSupported: true, isInRun: false };
  const none = { isSupported: false, isInRun: false };
  const cases = [
    [inRun, false, "run", true],
    [inStop, false, "stop", false],
    [none, false, "none", false],
    [undefined, false, "unknown", true],
    [undefined, true, "unknown", true],
    [inRun, true, "unknown", true],
    [inStop, true, "unknown", true],
    [none, true, "none", false],
  ] as const;
  for (const [state, isOld, position, needsStep] of cases) {
    assert.equal(getPosition(state, isOld), position, JSON.stringify([state, isOld]));
    assert.equal(mayRun(position), needsStep, position);
  }
});

test("what is typed before a reset can be typed", () => {
  const cases = [
    [" 4711 ", "Demo", "4711"],
    ["N/A", "Demo", "Demo"],
    ["", "a\u202eb", "host:8080"],
    ["9".repeat(65), "\u0007", "host:8080"],
    ["N/A", "Gerät 7", "Gerät 7"],
  ] as const;
  for (const [serialNumber, name, word] of cases) {
    assert.equal(chooseWord({ serialNumber, name }, "host:8080"), word);
  }
  assert.equal(chooseWord(undefined, "host:8080"), "host:8080");
});
