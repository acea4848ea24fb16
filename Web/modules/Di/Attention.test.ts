import assert from "node:assert/strict";
import { test } from "node:test";
import { makeTextFunction } from "../../kit/Texts";
import { findAttention, type Seen } from "./Attention";
import { summarize } from "./Marks";
import english from "./texts/en.json";

const words = {
  text: makeTextFunction(english, "en"),
  formatTime: (milliseconds: number) => `T${milliseconds}`,
};
const well = {
  memoryUsagePercent: 94,
  userPartitionTotal: 100,
  userPartitionUsage: 50,
  userPartitionUsagePercent: 89,
  cpuCoresCount: 1,
  cpuLoadTotal: 100,
  cpuCoresLoad: [100],
};
const nothing: Seen = {
  indicators: [],
  getSince: () => undefined,
  utilization: well,
  largeDriftMilliseconds: undefined,
  oldCards: [],
  isAllOld: false,
};

function find(change: Partial<Seen>): string[] {
  return findAttention({ ...nothing, ...change }, words).map((item) => `${item.subject}: ${item.text}`);
}

function lit(fullName: string, stateCode: number) {
  return [{ fullName, stateCode, colorCode: 0x30000 }];
}

test("only what needs attention is reported, in words", () => {
  const exact = () => ({ time: 7, isExact: true });
  const already = () => ({ time: 7, isExact: false });
  const fault = "Status.Leds.Safety.Fs";
  const cases: readonly [Partial<Seen>, string[]][] = [
    [{}, []],
    [{ indicators: lit(fault, 0) }, []],
    [{ indicators: lit("Status.Leds.Runtime.Run", 3) }, []],
    [{ indicators: lit("Status.Leds.Other.Lamp", 3) }, []],
    [{ indicators: lit(fault, 3), getSince: exact }, ["Safety FS: red, blinking fast since T7"]],
    [{ indicators: lit(fault, 1), getSince: already }, ["Safety FS: red, on since before T7"]],
    [{ largeDriftMilliseconds: 6_000 }, ["Date and time: 6 s ahead, compared with this browser"]],
    [
      { largeDriftMilliseconds: -3_600_000 },
      ["Date and time: 1 h 00 min behind, compared with this browser"],
    ],
    [{ utilization: undefined }, []],
    [{ utilization: { ...well, userPartitionUsagePercent: 90 } }, ["User partition: 90 % in use"]],
    [{ utilization: { ...well, memoryUsagePercent: 95 } }, ["Memory: 95 % in use"]],
    [{ oldCards: ["Load", "Memory"] }, ["Old values: Load, Memory"]],
    [{ oldCards: ["Load"], isAllOld: true }, ["Old values: None of the cards could be read."]],
  ];
  for (const [change, expected] of cases) {
    assert.deepEqual(find(change), expected);
  }
});

test("a card's mark tells whether all or some of its items are made up", () => {
  const item = (origin: "measured" | "simulated" | "absent", cause = "") => ({
    key: "",
    origin,
    quality: cause ? ("old" as const) : ("good" as const),
    cause,
  });
  assert.equal(summarize([]).mark, undefined);
  assert.equal(summarize([item("measured")]).mark, undefined);
  assert.equal(summarize([item("simulated"), item("absent")]).mark, "simulated");
  assert.equal(summarize([item("simulated"), item("measured")]).mark, "partlySimulated");
  assert.equal(summarize([item("absent")]).mark, "absent");
  assert.equal(summarize([item("absent"), item("measured")]).mark, "partlyAbsent");
  assert.deepEqual(summarize([item("measured", "a"), item("measured", "a"), item("absent", "b")]).causes, [
    "a",
  ]);
});
