// The LEDs of the front panel: which there are, what their codes mean, and since when they are as they are.
import type { StatusIndicator } from "./Sections";

export type LedKind = "good" | "fault" | "hint";
export type LedState = "off" | "on" | "slow" | "fast" | "unknown";
export type LedColor = "green" | "yellow" | "red" | "blue" | "white" | "unknown";

export interface LedPlace {
  /** The item key. */
  readonly fullName: string;
  /** As it is printed on the panel. */
  readonly label: string;
  readonly kind: LedKind;
}

export interface LedGroup {
  readonly name: string;
  readonly leds: readonly LedPlace[];
}

function place(item: string, label: string, kind: LedKind): LedPlace {
  return { fullName: `Status.Leds.${item}`, label, kind };
}

export const ledGroups: readonly LedGroup[] = [
  {
    name: "Runtime",
    leds: [
      place("Runtime.Run", "RUN", "good"),
      place("Runtime.Fail", "FAIL", "fault"),
      place("Runtime.Debug", "DBG", "hint"),
      place("Runtime.Ext", "EXT", "good"),
    ],
  },
  {
    name: "PNIO",
    leds: [
      place("Pnio.Bf_C", "BF_C", "fault"),
      place("Pnio.Bf_D", "BF_D", "fault"),
      place("Pnio.Sf", "SF", "fault"),
    ],
  },
  { name: "Zelo", leds: [place("Zelo.D", "D", "good"), place("Zelo.E", "E", "fault")] },
  { name: "Safety", leds: [place("Safety.Run", "RUN", "good"), place("Safety.Fs", "FS", "fault")] },
];

const states = new Map<number, LedState>([
  [0, "off"],
  [1, "on"],
  [2, "slow"],
  [3, "fast"],
]);

const colors = new Map<number, LedColor>([
  [0x10000, "green"],
  [0x20000, "yellow"],
  [0x30000, "red"],
  [0x40000, "blue"],
  [0x50000, "white"],
]);

export interface Led {
  readonly state: LedState;
  readonly color: LedColor;
}

export function readLed(indicator: StatusIndicator): Led {
  return {
    state: states.get(indicator.stateCode) ?? "unknown",
    color: colors.get(indicator.colorCode) ?? "unknown",
  };
}

/** When something took the state it has: `isExact` when the change was seen, else it had the state already then. */
export interface Since {
  readonly time: number;
  readonly isExact: boolean;
}

interface Seen {
  readonly state: string;
  readonly since: Since;
  readonly lastTime: number;
}

/** Longer between two reads than this, and the time of a change is not known. */
const longestGapMilliseconds = 15_000;

/** Remembers since when each of some things has its state. Times are milliseconds since 1970. */
export class Changes {
  private readonly seen = new Map<string, Seen>();

  see(name: string, state: string, time: number): void {
    const before = this.seen.get(name);
    const since =
      before?.state === state
        ? before.since
        : { time, isExact: before !== undefined && time - before.lastTime <= longestGapMilliseconds };
    this.seen.set(name, { state, since, lastTime: time });
  }

  getSince(name: string): Since | undefined {
    return this.seen.get(name)?.since;
  }

  clear(): void {
    this.seen.clear();
  }
}
