import assert from "node:assert/strict";
import { test } from "node:test";
import {
  type Answer,
  advance,
  begin,
  type CommandName,
  getDuration,
  isLate,
  isWatched,
  type RestartState,
  type Seen,
} from "./RestartProgress";
import { addTime, getTimes, parseState, parseTimes } from "./RestartStorage";

const start = 1_000_000_000_000;
const beginning = {
  command: "restart",
  bootId: "a",
  user: "admin",
  serialNumber: "1",
  lastTimes: [],
} as const;

const same: Seen = { kind: "boot", bootId: "a" };
const other: Seen = { kind: "boot", bootId: "b" };
const gone: Seen = { kind: "unreachable" };
const unclear: Seen = { kind: "unclear" };

type Look = readonly [seconds: number, seen: Seen];

function run(answer: Answer, looks: readonly Look[], command: CommandName = "restart"): RestartState {
  return looks.reduce(
    (state, [seconds, seen]) => advance(state, seen, start + seconds * 1_000),
    begin({ ...beginning, command, answer }, start),
  );
}

/** The controller responds with the same boot id, once a second. */
function stay(from: number, to: number): readonly Look[] {
  return Array.from({ length: to - from + 1 }, (_, index) => [from + index, same] as const);
}

const unfinished = { command: "reset", answer: "unfinished" } as const;

const paths: readonly {
  name: string;
  command?: CommandName;
  answer?: Answer;
  looks: readonly Look[];
  phase: RestartState["phase"];
}[] = [
  { name: "stays going down for 29 s", looks: stay(1, 29), phase: "goingDown" },
  { name: "did not go down after 30 s", looks: stay(1, 30), phase: "notDown" },
  { name: "waits for a reset that goes on", ...unfinished, looks: stay(1, 659), phase: "goingDown" },
  { name: "does not wait for it for ever", ...unfinished, looks: stay(1, 660), phase: "notDown" },
  {
    name: "waits for a reset that may go on",
    ...unfinished,
    answer: "unknown",
    looks: stay(1, 659),
    phase: "goingDown",
  },
  { name: "does not wait for a restart as long", answer: "unknown", looks: stay(1, 30), phase: "notDown" },
  {
    name: "waits for a reset although it was unreachable for a moment",
    ...unfinished,
    looks: [[5, gone], ...stay(6, 659)],
    phase: "returned",
  },
  {
    name: "such a reset has not restarted it",
    ...unfinished,
    looks: [[5, gone], ...stay(6, 660)],
    phase: "notRestarted",
  },
  {
    name: "is away",
    looks: [
      [1, same],
      [2, gone],
    ],
    phase: "away",
  },
  {
    name: "is back with another boot id",
    looks: [
      [2, gone],
      [5, other],
    ],
    phase: "back",
  },
  {
    name: "is back although it was not seen away",
    looks: [
      [1, same],
      [2, other],
    ],
    phase: "back",
  },
  { name: "has returned, perhaps for a moment", looks: [[2, gone], ...stay(3, 12)], phase: "returned" },
  { name: "goes away again", looks: [[2, gone], ...stay(3, 12), [13, gone]], phase: "away" },
  { name: "has not restarted yet", looks: [[2, gone], ...stay(3, 29)], phase: "returned" },
  { name: "has not restarted", looks: [[2, gone], ...stay(3, 30)], phase: "notRestarted" },
  { name: "settles after the time as well", looks: [[25, gone], ...stay(26, 35)], phase: "returned" },
  { name: "has settled", looks: [[25, gone], ...stay(26, 36)], phase: "notRestarted" },
  { name: "restarts after all", looks: [[2, gone], ...stay(3, 40), [60, gone], [80, other]], phase: "back" },
  { name: "is watched no longer", looks: [[2, gone], ...stay(3, 40), [180, other]], phase: "notRestarted" },
  { name: "goes down late", looks: [...stay(1, 40), [41, gone]], phase: "away" },
  { name: "restarts late", looks: [...stay(1, 40), [41, gone], [80, other]], phase: "back" },
  { name: "is not watched for ever", looks: [...stay(1, 40), [181, gone]], phase: "notDown" },
  {
    name: "an unclear response is no outage",
    looks: [
      [1, unclear],
      [2, unclear],
    ],
    phase: "goingDown",
  },
  {
    name: "an unclear response is no return",
    looks: [
      [1, gone],
      [2, unclear],
    ],
    phase: "away",
  },
  {
    name: "the end stays the end",
    looks: [
      [1, other],
      [2, gone],
    ],
    phase: "back",
  },
  {
    name: "a clock that is set back ends nothing",
    looks: [
      [1, same],
      [-3600, same],
    ],
    phase: "goingDown",
  },
];

test("The boot id tells how far a restart has come", () => {
  for (const { name, command, answer = "accepted", looks, phase } of paths) {
    assert.equal(run(answer, looks, command).phase, phase, name);
  }
});

test("The time of a restart is known when it was seen without a gap", () => {
  const cases: readonly [string, RestartState, number | undefined][] = [
    [
      "seen",
      run("accepted", [
        [2, gone],
        [12, gone],
        [22, other],
      ]),
      22,
    ],
    [
      "the computer slept",
      run("accepted", [
        [2, gone],
        [40, other],
      ]),
      undefined,
    ],
    [
      "no response to the command",
      run("unknown", [
        [2, gone],
        [5, other],
      ]),
      undefined,
    ],
    ["still away", run("accepted", [[2, gone]]), undefined],
  ];
  for (const [name, state, seconds] of cases) {
    assert.equal(getDuration(state), seconds, name);
  }
});

test("It is late after twice the longest of the last times, or three minutes", () => {
  const cases: readonly [readonly number[], number, boolean][] = [
    [[], 180, false],
    [[], 181, true],
    [[20, 4], 40, false],
    [[20, 4], 41, true],
  ];
  for (const [lastTimes, seconds, expected] of cases) {
    const away = {
      ...run("accepted", [
        [5, gone],
        [6, gone],
      ]),
      lastTimes,
    };
    assert.equal(isLate(away, start + (5 + seconds) * 1_000), expected, `${lastTimes} ${seconds}`);
  }
  assert.equal(isLate(run("accepted", stay(1, 20)), start + 900_000), false, "not away");
  const awayAgain = run("accepted", [[2, gone], ...stay(3, 100), [101, gone]]);
  assert.equal(isLate(awayAgain, start + 281_000), false, "away again");
  assert.equal(isLate(awayAgain, start + 282_000), true, "away again");
});

test("A state is stored and read again, and damaged ones are no states", () => {
  const state = run("accepted", [[2, gone]]);
  assert.deepEqual(parseState(JSON.stringify(state)), state);
  assert.equal(isWatched(state, start + 3_600_000), true);
  const damaged = [null, "", "{", "null", "[]", "{}", JSON.stringify({ ...state, phase: "gone" })];
  const times = ["now", 1e17, null].map((beganAt) => JSON.stringify({ ...state, beganAt }));
  for (const text of [...damaged, ...times]) {
    assert.equal(parseState(text), undefined, String(text));
  }
});

test("The last five times of each device are kept", () => {
  let times = parseTimes('[["1",[7]],["bad"],["2",[-1]],7]');
  assert.deepEqual(times, [["1", [7]]]);
  for (const seconds of [1, 2, 3, 4, 0]) {
    times = addTime(times, "1", seconds);
  }
  assert.deepEqual(getTimes(times, "1"), [1, 2, 3, 4, 1]);
  assert.deepEqual(getTimes(times, "__proto__"), []);
  for (let device = 2; device <= 12; device += 1) {
    times = addTime(times, String(device), 9);
  }
  assert.equal(times.length, 10);
  assert.deepEqual(getTimes(times, "1"), []);
});
