// What the page has seen since it was opened. It outlives a look at another page and a change of the language.
import { computed, type Signal, signal } from "@preact/signals";
import type { ChartData } from "../../kit/Plot";
import { type RangeName, rangeNames, ranges } from "../../kit/Ranges";
import { Changes } from "./Leds";
import type { GeneralData, StatusIndicator } from "./Sections";
import { type History, Series } from "./Series";

export type SeriesName = "temperature" | "load" | "memory";

/** The items that are the same values. */
export const seriesKeys: Readonly<Record<SeriesName, string>> = {
  temperature: "Status.Board.Temperature.Centigrade",
  load: "Status.Cpu.0.Load.Percent",
  memory: "Status.Memory.Usage.Percent.Actual",
};

const switchName = "RunStopSwitch";
/** How often a chart is drawn again, by its range. */
const redrawMilliseconds: Readonly<Record<RangeName, number>> = {
  minutes10: 4_000,
  hour1: 12_000,
  hours24: 60_000,
};

/** Each changes when a chart of the range should be drawn again. */
type Redraws = Readonly<Record<RangeName, Signal<number>>>;

function makeRedraws(): Redraws {
  return { minutes10: signal(0), hour1: signal(0), hours24: signal(0) };
}

export class Collected {
  readonly changes = new Changes();
  private readonly series: Readonly<Record<SeriesName, Series>> = {
    temperature: new Series(),
    load: new Series(),
    memory: new Series(),
  };
  private bootId = "";
  private identity = "";
  /** Of the oldest value, milliseconds since 1970. */
  readonly firstTime = signal<number | undefined>(undefined);
  private readonly lastTime = signal(0);
  /** Whether the device keeps a history of values. */
  readonly hasHistory = signal(false);
  private readonly redraws: Readonly<Record<SeriesName, Redraws>> = {
    temperature: makeRedraws(),
    load: makeRedraws(),
    memory: makeRedraws(),
  };
  /** The shortest range that holds everything that is known. */
  readonly fullRange = computed<RangeName>(() => {
    const now = this.lastTime.value;
    const age = now - (this.firstTime.value ?? now);
    return rangeNames.find((name) => age <= ranges[name].milliseconds) ?? "hours24";
  });

  add(name: SeriesName, value: number): void {
    const now = Date.now();
    this.series[name].add(now, value);
    this.firstTime.value ??= now;
    this.lastTime.value = now;
    for (const range of rangeNames) {
      this.redraws[name][range].value = Math.floor(now / redrawMilliseconds[range]);
    }
  }

  /** `offset`: how far the device's clock is ahead. */
  fill(name: SeriesName, range: RangeName, history: History, offset: number): void {
    this.series[name].fill(range, history, offset);
    const first = history.mean.findIndex((mean) => mean !== null);
    if (first >= 0) {
      // The first period may have begun without values.
      const time = history.start + (first + 1) * history.stepMilliseconds - offset;
      this.firstTime.value = Math.min(time, this.firstTime.peek() ?? time);
    }
    this.hasHistory.value = true;
    this.redraws[name][range].value += 1;
  }

  /** Makes the caller, when it is a component, run again when its chart should be drawn again. */
  subscribe(name: SeriesName, range: RangeName): void {
    void this.redraws[name][range].value;
  }

  getPoints(name: SeriesName, range: RangeName): ChartData {
    return this.series[name].getPoints(range, Date.now());
  }

  getExtent(name: SeriesName, range: RangeName) {
    return this.series[name].getExtent(range, Date.now());
  }

  seeLeds(indicators: readonly StatusIndicator[]): void {
    const now = Date.now();
    for (const { fullName, stateCode, colorCode } of indicators) {
      this.changes.see(fullName, `${stateCode} ${colorCode}`, now);
    }
  }

  seeSwitch(isInRun: boolean): void {
    this.changes.see(switchName, String(isInRun), Date.now());
  }

  getSwitchSince() {
    return this.changes.getSince(switchName);
  }

  /** Series of another device are dropped; those of the same one go on after its restart. */
  identify(general: GeneralData): void {
    const identity = JSON.stringify([general.articleName, general.orderNumber, general.serialNumber]);
    if (this.identity !== "" && this.identity !== identity) {
      this.firstTime.value = undefined;
      for (const name of ["temperature", "load", "memory"] as const) {
        this.series[name].clear();
      }
    }
    this.identity = identity;
  }

  /** Remembers the boot id and tells whether it is another one than before. */
  isOtherBoot(bootId: string): boolean {
    const isOther = this.bootId !== "" && this.bootId !== bootId;
    this.bootId = bootId;
    if (isOther) {
      this.changes.clear();
    }
    return isOther;
  }
}
