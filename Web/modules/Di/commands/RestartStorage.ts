// What the browser keeps of restarts: the one in progress for this tab, and how long the last ones took.
import type { Answer, CommandName, Phase, RestartState } from "./RestartProgress";

const stateKey = "oxa.restart";
const timesKey = "oxa.restartSeconds";
const timesPerDevice = 5;
const maximumDevices = 10;

/** Serial number and seconds, the newest last; the device that restarted last comes last. */
export type LastTimes = readonly (readonly [string, readonly number[]])[];

function parse(text: string | null): unknown {
  try {
    return text === null ? undefined : JSON.parse(text);
  } catch {
    return undefined;
  }
}

function isOneOf<T extends string>(value: unknown, values: readonly T[]): value is T {
  return values.some((each) => each === value);
}

const commands: readonly CommandName[] = ["restart", "reset"];
const answers: readonly Answer[] = ["accepted", "unfinished", "unknown"];
const phases: readonly Phase[] = ["goingDown", "away", "returned", "back", "notDown", "notRestarted"];

/** Within what a date can be. */
function isTime(value: unknown): value is number {
  return typeof value === "number" && Math.abs(value) <= 8.64e15;
}

function isState(value: unknown): value is RestartState {
  if (typeof value !== "object" || value === null) {
    return false;
  }
  const state = value as Partial<Record<keyof RestartState, unknown>>;
  return (
    isOneOf(state.command, commands) &&
    isOneOf(state.answer, answers) &&
    isOneOf(state.phase, phases) &&
    [state.bootId, state.user, state.serialNumber].every((each) => typeof each === "string") &&
    [state.beganAt, state.phaseAt, state.seenAt].every(isTime) &&
    typeof state.hasGap === "boolean" &&
    isSeconds(state.lastTimes)
  );
}

export function parseState(text: string | null): RestartState | undefined {
  const value = parse(text);
  return isState(value) ? value : undefined;
}

function isSeconds(value: unknown): value is readonly number[] {
  return Array.isArray(value) && value.every((seconds) => Number.isFinite(seconds) && seconds > 0);
}

function isTimes(value: unknown): value is readonly [string, readonly number[]] {
  return Array.isArray(value) && typeof value[0] === "string" && isSeconds(value[1]);
}

export function parseTimes(text: string | null): LastTimes {
  const value = parse(text);
  return Array.isArray(value) ? value.filter(isTimes) : [];
}

export function addTime(times: LastTimes, serialNumber: string, seconds: number): LastTimes {
  const others = times.filter(([each]) => each !== serialNumber);
  const own = [...getTimes(times, serialNumber), Math.max(1, seconds)].slice(-timesPerDevice);
  return [...others, [serialNumber, own] as const].slice(-maximumDevices);
}

export function getTimes(times: LastTimes, serialNumber: string): readonly number[] {
  return times.find(([each]) => each === serialNumber)?.[1] ?? [];
}

/** A browser that stores nothing is no reason not to go on. */
function attempt<T>(action: () => T): T | undefined {
  try {
    return action();
  } catch {
    return undefined;
  }
}

export function loadState(): RestartState | undefined {
  return attempt(() => parseState(sessionStorage.getItem(stateKey)));
}

export function saveState(state: RestartState | undefined): void {
  attempt(() =>
    state ? sessionStorage.setItem(stateKey, JSON.stringify(state)) : sessionStorage.removeItem(stateKey),
  );
}

export function loadTimes(serialNumber: string): readonly number[] {
  return attempt(() => getTimes(parseTimes(localStorage.getItem(timesKey)), serialNumber)) ?? [];
}

export function saveTime(serialNumber: string, seconds: number): void {
  attempt(() => {
    const times = parseTimes(localStorage.getItem(timesKey));
    localStorage.setItem(timesKey, JSON.stringify(addTime(times, serialNumber, seconds)));
  });
}
