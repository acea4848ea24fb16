// Watches a restart: asks for the boot id every second, keeps the state for a reload of the page, and tells the shell.
// It goes on while another view or the log-in is shown, so there is one of it in a tab and not one in a page.
import { computed, type ReadonlySignal, signal } from "@preact/signals";
import { ConnectionError, call, ProblemError } from "../../../kit/Api";
import type { PageContext } from "../../../kit/Page";
import {
  advance,
  type Beginning,
  begin,
  getDuration,
  isEnd,
  isLate,
  isWatched,
  type RestartState,
  type Seen,
} from "./RestartProgress";
import { loadState, loadTimes, saveState, saveTime } from "./RestartStorage";
import { describeRestart } from "./RestartWords";

const periodMilliseconds = 1_000;
const timeoutMilliseconds = 5_000;
/** The second one is of a server that was started before its device services. */
const codesOfAway = ["service-not-available", "not-available"];

const state = signal(loadState());
const now = signal(Date.now());

export const restart: ReadonlySignal<RestartState | undefined> = state;
/** Milliseconds since 1970, every second while there is a restart to watch. */
export const time: ReadonlySignal<number> = now;
const isWatching = computed(() => state.value !== undefined && isWatched(state.value, now.value));
/** From the command until its outcome is known. */
export const isRunning = computed(() => state.value !== undefined && !isEnd(state.value.phase));
export const isRestartLate = computed(() => state.value !== undefined && isLate(state.value, now.value));
/** The controller has gone down and does not respond yet. */
export const isDeviceAway = computed(() => state.value?.phase === "away");

/** Throws as `call` does. */
export async function readBootId(): Promise<string> {
  return (await call("get", "/api/v1/boot", undefined, { background: true, timeoutMilliseconds })).bootId;
}

async function look(): Promise<Seen> {
  try {
    return { kind: "boot", bootId: await readBootId() };
  } catch (error) {
    const isAway =
      error instanceof ConnectionError || (error instanceof ProblemError && codesOfAway.includes(error.code));
    return { kind: isAway ? "unreachable" : "unclear" };
  }
}

let context: PageContext | undefined;
let told = "";
let isPageShown = false;
let timer: ReturnType<typeof setInterval> | undefined;
let isLooking = false;

/** The page that is shown, through which the shell is told what happens, and what ends that. */
export function attach(newContext: PageContext): () => void {
  context = newContext;
  isPageShown = true;
  tell();
  watch();
  return () => {
    isPageShown = false;
    context?.setAway(isDeviceAway.peek());
  };
}

export function beginRestart(beginning: Omit<Beginning, "lastTimes">): void {
  const lastTimes = loadTimes(beginning.serialNumber);
  now.value = Date.now();
  accept(begin({ ...beginning, lastTimes }, now.value));
  watch();
}

export function dismissRestart(): void {
  accept(undefined);
}

function watch(): void {
  if (timer === undefined && isWatching.peek()) {
    timer = setInterval(tick, periodMilliseconds);
    tick();
  }
}

function tick(): void {
  now.value = Date.now();
  if (!isWatching.peek()) {
    clearInterval(timer);
    timer = undefined;
  } else if (!isLooking) {
    void lookOnce();
  }
  tell();
}

async function lookOnce(): Promise<void> {
  isLooking = true;
  const before = state.peek();
  const seen = await look();
  isLooking = false;
  // Another restart may have begun meanwhile, or none is shown any more.
  const current = state.peek();
  if (current && current.beganAt === before?.beganAt) {
    now.value = Date.now();
    accept(advance(current, seen, now.value));
  }
}

function accept(next: RestartState | undefined): void {
  const duration = next && next.phase !== state.peek()?.phase ? getDuration(next) : undefined;
  if (next && duration !== undefined) {
    saveTime(next.serialNumber, duration);
  }
  saveState(next);
  state.value = next;
  tell();
}

/** Each phase once. */
function tell(): void {
  // The page itself knows more than whether a restart is under way.
  if (!isPageShown) {
    context?.setAway(isDeviceAway.peek());
  }
  const current = state.peek();
  const phase = current ? `${current.beganAt} ${current.phase} ${isRestartLate.peek()}` : "";
  if (context && phase !== told) {
    told = phase;
    if (current) {
      context.notify(describeRestart(current, isRestartLate.peek(), context.text).title);
    }
  }
}
