// Everything that the overview shows: read in turns, each section by itself, and kept with its time and with the
// cause when it could not be read.
import { batch, computed, type ReadonlySignal, type Signal, signal } from "@preact/signals";
import { call, ModuleError, ProblemError } from "../../kit/Api";
import { explain } from "../../kit/Failures";
import type { PageContext } from "../../kit/Page";
import { isLate, type PolledRead, Poller, polledRequest } from "../../kit/Polling";
import { type RangeName, ranges } from "../../kit/Ranges";
import { type ClockReading, getMoment, readClock } from "./Clock";
import { type Collected, type SeriesName, seriesKeys } from "./Collected";
import { Formats } from "./Formats";
import { type CardItems, type ItemsPayload, summarize } from "./Marks";
import {
  type BooleanResult,
  type DateTime,
  dataProvider,
  type GeneralData,
  type Health,
  type SectionName,
  type SectionValues,
  type StatusIndicator,
  type Utilization,
} from "./Sections";
import type { History } from "./Series";

const marksEveryMilliseconds = 30_000;
const historyEveryMilliseconds = 300_000;
const itemsProvider = "DeviceItemsDp";

export interface SwitchState {
  readonly isSupported: boolean;
  readonly isInRun: boolean;
}

/** Milliseconds of the browser's even clock, once a second while the page is visible. */
export type Ticks = ReadonlySignal<number>;

/** One section: its last value, when that was read, and why there is no newer one. */
export class Section<T extends object> implements PolledRead {
  /** Changes only when the device gives something else. */
  readonly value: Signal<T | undefined> = signal(undefined);
  /** Why the last read failed, in words; empty when it did not. */
  readonly cause = signal("");
  readonly isOld: ReadonlySignal<boolean>;
  /** Milliseconds since 1970; 0 before the first value. */
  readTime = 0;
  private readAt = 0;
  private text = "";

  constructor(
    /** Of the cards that show it. */
    readonly title: string,
    ticks: Ticks,
    private readonly readValue: (signal: AbortSignal) => Promise<T>,
    private readonly explainFailure: (error: unknown) => string,
  ) {
    this.isOld = computed(() => {
      const isOverdue = this.readTime > 0 && isLate(this.readAt, ticks.value);
      return this.cause.value !== "" || isOverdue;
    });
  }

  async read(signal: AbortSignal): Promise<void> {
    try {
      this.accept(await this.readValue(signal));
    } catch (error) {
      if (!signal.aborted) {
        this.cause.value = this.explainFailure(error);
      }
      throw error;
    }
  }

  clear(): void {
    this.readTime = 0;
    this.text = "";
    this.value.value = undefined;
    this.cause.value = "";
  }

  private accept(value: T): void {
    const text = JSON.stringify(value);
    this.readTime = Date.now();
    this.readAt = performance.now();
    batch(() => {
      this.cause.value = "";
      if (text !== this.text) {
        this.text = text;
        this.value.value = value;
      }
    });
  }
}

/** Without the module "Items" there are neither marks nor histories. Whatever else fails is tried again. */
async function unlessMissing(read: () => Promise<void>): Promise<void> {
  try {
    await read();
  } catch (error) {
    if (!(error instanceof ProblemError && error.code === "unknown-data-provider")) {
      throw error;
    }
  }
}

/** Prefixes of the items behind a card. */
const cardPrefixes = {
  temperature: "Status.Board.Temperature.",
  switch: "Status.RunStopSwitch.",
  identity: "General.",
  load: "Status.Cpu.",
  memory: "Status.Memory.",
  partition: "Status.UserPartition.",
  panel: "Status.Leds.",
} as const;

export type CardName = keyof typeof cardPrefixes;
const cardNames = Object.keys(cardPrefixes) as CardName[];

export class OverviewStore {
  readonly ticks = signal(performance.now());
  readonly formats: Formats;
  readonly general: Section<GeneralData>;
  readonly health: Section<Health>;
  readonly dateTime: Section<DateTime>;
  readonly indicators: Section<readonly StatusIndicator[]>;
  readonly utilization: Section<Utilization>;
  readonly runStopSwitch: Section<SwitchState>;
  /** Changes with every read of the date and time. */
  readonly clock = signal<ClockReading | undefined>(undefined);
  readonly mayControl = signal<boolean | undefined>(undefined);
  readonly marks = signal<Readonly<Partial<Record<CardName, CardItems>>>>({});
  readonly loadRange = signal<RangeName>("minutes10");

  private readonly poller = new Poller();
  private readonly history: PolledRead = {
    read: (signal) => this.readHistories(signal),
    everyMilliseconds: historyEveryMilliseconds,
  };
  private timer: ReturnType<typeof setTimeout> | undefined;

  constructor(
    readonly context: PageContext,
    readonly collected: Collected,
  ) {
    const { text } = context;
    this.formats = new Formats(context.language);
    this.general = this.addSection("GeneralData", text("identity.title"), (value) =>
      collected.identify(value),
    );
    this.health = this.addSection("Health", text("temperature.title"), ({ boardTemperature }) =>
      collected.add("temperature", boardTemperature),
    );
    const loads = [text("load.title"), text("memory.title"), text("partition.title")].join(", ");
    this.utilization = this.addSection("Utilization", loads, ({ cpuLoadTotal, memoryUsagePercent }) => {
      collected.add("load", cpuLoadTotal);
      collected.add("memory", memoryUsagePercent);
    });
    this.indicators = this.addSection("StatusIndicators", text("panel.title"), (value) =>
      collected.seeLeds(value),
    );
    this.dateTime = this.makeSection(text("time.title"), (signal) => this.readDateTime(signal));
    this.runStopSwitch = this.makeSection(text("switch.title"), (signal) => this.readSwitch(signal));
  }

  /** All sections that can be old. */
  get sections(): readonly Section<object>[] {
    return [this.health, this.runStopSwitch, this.indicators, this.dateTime, this.general, this.utilization];
  }

  start(): void {
    this.tick();
    this.poller.add({ read: (signal) => this.readBootId(signal) });
    for (const section of this.sections) {
      this.poller.add(section);
    }
    this.poller.add({ read: (signal) => this.readPermission(signal) });
    this.poller.add({
      read: (signal) => this.readMarks(signal),
      everyMilliseconds: marksEveryMilliseconds,
    });
    this.poller.add(this.history);
  }

  stop(): void {
    clearTimeout(this.timer);
    this.poller.stop();
  }

  /** Whole seconds until the section is read again. */
  getSecondsToNextTry(section: Section<object>): number {
    const due = this.poller.getDueTime(section);
    return Number.isFinite(due) ? Math.max(0, Math.ceil((due - performance.now()) / 1000)) : 0;
  }

  readonly refresh = (): void => this.poller.refresh();

  chooseLoadRange(range: RangeName): void {
    this.loadRange.value = range;
    this.poller.readSoon(this.history);
  }

  /** Ticks when the second of the shown clock changes. */
  private tick(): void {
    if (!document.hidden) {
      this.ticks.value = performance.now();
    }
    const reading = this.clock.peek();
    const shown = (reading?.unixMilliseconds ?? 0) + performance.now() - (reading?.takenAt ?? 0);
    this.timer = setTimeout(() => this.tick(), 1000 - (((shown % 1000) + 1000) % 1000) + 5);
  }

  private addSection<N extends SectionName>(
    name: N,
    title: string,
    see: (value: SectionValues[N]) => void,
  ): Section<SectionValues[N]> {
    const read = async (signal: AbortSignal) => {
      const value = await this.readSection(name, signal);
      see(value);
      return value;
    };
    return this.makeSection(title, read);
  }

  private makeSection<T extends object>(
    title: string,
    read: (signal: AbortSignal) => Promise<T>,
  ): Section<T> {
    return new Section(title, this.ticks, read, (error) => explain(error, this.context.text));
  }

  private async readSection<N extends SectionName>(name: N, signal: AbortSignal): Promise<SectionValues[N]> {
    const payload = await this.context.request<Pick<SectionValues, N>>(dataProvider, "GetDataSection", {
      query: { SectionName: name },
      ...polledRequest,
      signal,
    });
    return payload[name];
  }

  private async ask(name: string, signal: AbortSignal): Promise<boolean> {
    const options = { ...polledRequest, signal };
    return (await this.context.request<BooleanResult>(dataProvider, name, options)).result;
  }

  private async readDateTime(signal: AbortSignal): Promise<DateTime> {
    const begin = getMoment();
    const value = await this.readSection("DateTime", signal);
    this.clock.value = readClock(value, begin, getMoment(), this.clock.peek());
    return value;
  }

  private async readSwitch(signal: AbortSignal): Promise<SwitchState> {
    const isSupported =
      this.runStopSwitch.value.peek()?.isSupported ?? (await this.ask("IsRunStopSwitchSupported", signal));
    const isInRun = isSupported && (await this.ask("IsRunStopSwitchInRun", signal));
    this.collected.seeSwitch(isInRun);
    return { isSupported, isInRun };
  }

  private async readPermission(signal: AbortSignal): Promise<void> {
    if (this.mayControl.peek() === undefined) {
      this.mayControl.value = await this.ask("HasControlPermissions", signal);
    }
  }

  private async readBootId(signal: AbortSignal): Promise<void> {
    const { bootId } = await call("get", "/api/v1/boot", undefined, { ...polledRequest, signal });
    if (this.collected.isOtherBoot(bootId)) {
      this.clear();
    }
  }

  /** Values of another run of the device, or of another device, are not shown as those of this one. The marks stay until
   * there are others: what is simulated is never shown without. */
  private clear(): void {
    batch(() => {
      for (const section of this.sections) {
        section.clear();
      }
      this.clock.value = undefined;
    });
    this.poller.refresh();
  }

  private async readMarks(signal: AbortSignal): Promise<void> {
    const found: Partial<Record<CardName, CardItems>> = {};
    await unlessMissing(async () => {
      for (const name of cardNames) {
        const query = { prefix: cardPrefixes[name] };
        const options = { query, ...polledRequest, signal };
        const { items } = await this.context.request<ItemsPayload>(itemsProvider, "GetItems", options);
        found[name] = summarize(items);
      }
    });
    if (JSON.stringify(found) !== JSON.stringify(this.marks.peek())) {
      this.marks.value = found;
    }
  }

  private async readHistories(signal: AbortSignal): Promise<void> {
    await unlessMissing(async () => {
      for (const name of ["temperature", "memory", "load"] as const) {
        await this.readHistory(name, "hours24", signal);
        if (this.getRange(name) !== "hours24") {
          await this.readHistory(name, this.getRange(name), signal);
        }
      }
    });
  }

  /** The range that a chart shows. */
  getRange(name: SeriesName): RangeName {
    return name === "load" ? this.loadRange.value : this.collected.fullRange.value;
  }

  /** An item without history is not an error. */
  private async readHistory(name: SeriesName, range: RangeName, signal: AbortSignal): Promise<void> {
    const offset = this.clock.peek()?.driftMilliseconds ?? 0;
    const to = Math.round(Date.now() + offset);
    const query = {
      key: seriesKeys[name],
      from: to - ranges[range].milliseconds,
      to,
      points: ranges[range].historyPoints,
    };
    try {
      const options = { query, ...polledRequest, signal };
      const history = await this.context.request<History>(itemsProvider, "GetHistory", options);
      this.collected.fill(name, range, history, offset);
    } catch (error) {
      if (!(error instanceof ModuleError)) {
        throw error;
      }
    }
  }
}
