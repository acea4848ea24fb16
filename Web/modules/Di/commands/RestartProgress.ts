// How far a restart or a reset of the controller has come, told by its boot id. Pure: what was seen and the time are
// passed in, and the state can be stored.
//
//   goingDown ──unreachable──► away ──another boot id──► back
//       │                      │  ▲
//       │         same boot id │  │ unreachable
//   time is up                 ▼  │
//       │                    returned
//       ▼                       │ time is up, and 10 s
//    notDown                    ▼
//                          notRestarted
//
// The time is up when a restart would have begun, counted from the command. From every state but `back`, another boot id
// leads to `back`, and an unreachable controller to `away`: `notDown` and `notRestarted` are watched for a while.

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
const downWithin = 30 * second;
/** The unit of a reset may take ten minutes. */
const resetWithin = 11 * 60 * second;
const settledAfter = 10 * second;
const gapAfter = 15 * second;
const watchedAfterTime = 150 * second;
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
  return phase === state.phase ? next : { ...next, phaseAt: now };
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

/** Whether a restart would have begun by now. */
function isTimeUp({ command, answer, beganAt }: RestartState, now: number): boolean {
  const mayGoOn = command === "reset" && answer !== "accepted";
  return now - beganAt >= (mayGoOn ? resetWithin : downWithin);
}

function findPhaseOfSameBoot(state: RestartState, now: number): Phase {
  const { phase, phaseAt } = state;
  switch (phase) {
    case "goingDown":
      return isTimeUp(state, now) ? "notDown" : phase;
    case "away":
      return "returned";
    case "returned":
      // A network that was gone for a moment looks the same, so the restart may still come.
      return isTimeUp(state, now) && now - phaseAt >= settledAfter ? "notRestarted" : phase;
    default:
      return phase;
  }
}

/** Whether another look can change the state. A device that restarts late is still noticed for a while. */
export function isWatched({ phase, phaseAt }: RestartState, now: number): boolean {
  return !isEnd(phase) || (phase !== "back" && now - phaseAt < watchedAfterTime);
}

export function isEnd(phase: Phase): boolean {
  return phase === "back" || phase === "notDown" || phase === "notRestarted";
}

/** Whether it takes over twice as long as the longest of the last times. */
export function isLate({ phase, phaseAt, lastTimes }: RestartState, now: number): boolean {
  const limit = lastTimes.length > 0 ? 2 * Math.max(...lastTimes) : usualLimitWithoutHistory;
  return phase === "away" && now - phaseAt > limit * second;
}

/** Seconds from the response until the controller was back; not set when that is not known. */
export function getDuration({ phase, answer, hasGap, beganAt, phaseAt }: RestartState): number | undefined {
  return phase === "back" && answer === "accepted" && !hasGap && phaseAt > beganAt
    ? Math.round((phaseAt - beganAt) / second)
    : undefined;
}
