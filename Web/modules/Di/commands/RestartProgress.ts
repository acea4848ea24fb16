// How far a restart or a reset of the controller has come, told by its boot id. Pure: what was seen and the time are
// passed in, and the state can be stored.
//
//   goingDown ──unreachable──► away ──another boot id──► back
//       │                      │  ▲
//      30 s        same boot id│  │unreachable
//       ▼                      ▼  │
//    notDown ──unreachable──► returned ──10 s──► notRestarted
//
// From every state but the last ones, another boot id leads to `back`, and an unreachable controller to `away`.

export type CommandName = "restart" | "reset";

/** `unfinished`: the device carries the command out and does not tell the end. `unknown`: no response came, so the
 * command may have been carried out. */
export type Answer = "accepted" | "unfinished" | "unknown";

export type Phase = "goingDown" | "away" | "returned" | "back" | "notDown" | "notRestarted";

/** Times in milliseconds since 1970, because the state outlives the page. */
export interface RestartState {
  readonly command: CommandName;
  readonly answer: Answer;
  readonly phase: Phase;
  /** Before the command. */
  readonly bootId: string;
  readonly user: string;
  readonly serialNumber: string;
  /** Seconds that the restarts of this device took before. */
  readonly lastTimes: readonly number[];
  readonly beganAt: number;
  readonly phaseAt: number;
  /** Of the first phase `away`. */
  readonly awayAt?: number;
  readonly seenAt: number;
  /** Nothing was seen for so long that the time of the restart is not known. */
  readonly hasGap: boolean;
}

/** `unclear`: a response that tells neither, for instance of a server that has too many requests. */
export type Seen =
  | { readonly kind: "boot"; readonly bootId: string }
  | { readonly kind: "unreachable" }
  | { readonly kind: "unclear" };

const second = 1_000;
const downWithin: Readonly<Record<Answer, number>> = {
  accepted: 30 * second,
  unknown: 30 * second,
  // The unit of a reset may take ten minutes.
  unfinished: 11 * 60 * second,
};
const settledAfter = 10 * second;
const gapAfter = 15 * second;
const watchedAfterNotDown = 150 * second;
const usualLimitWithoutHistory = 180;

export type Beginning = Pick<
  RestartState,
  "command" | "answer" | "bootId" | "user" | "serialNumber" | "lastTimes"
>;

export function begin(beginning: Beginning, now: number): RestartState {
  return { ...beginning, phase: "goingDown", beganAt: now, phaseAt: now, seenAt: now, hasGap: false };
}

export function advance(state: RestartState, seen: Seen, now: number): RestartState {
  if (!isWatched(state, now)) {
    return state;
  }
  const hasGap = state.hasGap || Math.abs(now - state.seenAt) > gapAfter;
  const phase = findPhase(state, seen, now);
  const next = { ...state, hasGap, seenAt: now, phase };
  if (phase === state.phase) {
    return next;
  }
  return { ...next, phaseAt: now, ...(phase === "away" ? { awayAt: state.awayAt ?? now } : {}) };
}

function findPhase(state: RestartState, seen: Seen, now: number): Phase {
  switch (seen.kind) {
    case "unclear":
      return state.phase;
    case "unreachable":
      return "away";
    case "boot":
      return seen.bootId === state.bootId ? findPhaseOfSameBoot(state, now) : "back";
  }
}

function findPhaseOfSameBoot({ phase, phaseAt, answer }: RestartState, now: number): Phase {
  const spent = now - phaseAt;
  switch (phase) {
    case "goingDown":
      return spent >= downWithin[answer] ? "notDown" : phase;
    case "away":
      return "returned";
    case "returned":
      // A network that was gone for a moment looks the same, so the restart may still come.
      return spent >= settledAfter ? "notRestarted" : phase;
    default:
      return phase;
  }
}

/** Whether another look can change the state. A device that goes down late is still noticed for a while. */
export function isWatched({ phase, phaseAt }: RestartState, now: number): boolean {
  return phase === "notDown" ? now - phaseAt < watchedAfterNotDown : !isEnd(phase);
}

export function isEnd(phase: Phase): boolean {
  return phase === "back" || phase === "notDown" || phase === "notRestarted";
}

/** Whether it takes over twice as long as the longest of the last times. */
export function isLate({ phase, awayAt, lastTimes }: RestartState, now: number): boolean {
  if (phase !== "away" || awayAt === undefined) {
    return false;
  }
  const limit = lastTimes.length > 0 ? 2 * Math.max(...lastTimes) : usualLimitWithoutHistory;
  return now - awayAt > limit * second;
}

/** Seconds from the response until the controller was back; not set when that is not known. */
export function getDuration({ phase, answer, hasGap, beganAt, phaseAt }: RestartState): number | undefined {
  return phase === "back" && answer === "accepted" && !hasGap && phaseAt > beganAt
    ? Math.round((phaseAt - beganAt) / second)
    : undefined;
}
