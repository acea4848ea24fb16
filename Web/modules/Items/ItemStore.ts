// The items of the device, one signal each: a poll touches only what has changed.
import { type ReadonlySignal, type Signal, signal } from "@preact/signals";
import type { PageContext } from "../../kit/Page";
import { isLate, type PolledRead, Poller, polledRequest } from "../../kit/Polling";
import { dataProvider, type Item, type ItemHistory, type ItemsPage } from "./Items";
import type { Values } from "./Values";

/** An item, and when its value was read. */
export interface ReadItem extends Item {
  /** Milliseconds since 1970; the device's age of the value is taken off. */
  readonly valueTime: number;
}

export interface ReadFailure {
  /** Not set while the response is late. */
  readonly error: unknown;
  /** Of the last values; milliseconds since 1970. */
  readonly since: number;
}

const historyPeriodMilliseconds = 10_000;
/** The time of a value that stays the same varies by the duration of the requests. */
const timeToleranceMilliseconds = 3_000;

/** Whether a reader would see a difference. */
export function isSame(before: ReadItem, now: ReadItem): boolean {
  return (
    before.value === now.value &&
    before.quality === now.quality &&
    before.origin === now.origin &&
    before.cause === now.cause &&
    before.unit === now.unit &&
    before.type === now.type &&
    before.description === now.description &&
    before.history === now.history &&
    (now.quality === "good" || Math.abs(before.valueTime - now.valueTime) < timeToleranceMilliseconds)
  );
}

export class ItemStore {
  /** In the order of the device; not set before the first read. */
  readonly keys: ReadonlySignal<readonly string[] | undefined>;
  readonly failure: ReadonlySignal<ReadFailure | undefined>;
  private readonly keyList = signal<readonly string[] | undefined>(undefined);
  private readonly failed = signal<ReadFailure | undefined>(undefined);
  private readonly items = new Map<string, Signal<ReadItem>>();
  private readonly histories = new Set<(abort: AbortSignal) => Promise<void>>();
  private clockDifference: number | undefined;
  private readTime = Date.now();
  private readAt = performance.now();

  constructor(private readonly context: Pick<PageContext, "request">) {
    this.keys = this.keyList;
    this.failure = this.failed;
  }

  /** Never set for a key that is not in `keys`. */
  get(key: string): ReadonlySignal<ReadItem> | undefined {
    return this.items.get(key);
  }

  /** Reads all items, page by page. */
  readonly read = async (abort: AbortSignal): Promise<void> => {
    try {
      await this.readPages(abort);
      this.failed.value = undefined;
      this.readTime = Date.now();
      this.readAt = performance.now();
    } catch (error) {
      if (!abort.aborted) {
        // The device may come back with another clock.
        this.clockDifference = undefined;
        this.failed.value = { error, since: this.readTime };
      }
      throw error;
    }
  };

  /** Values that should have been replaced long ago have failed, although the request has not. */
  checkAge(now: number): void {
    if (this.failed.peek() === undefined && isLate(this.readAt, now)) {
      this.failed.value = { error: undefined, since: this.readTime };
    }
  }

  /** One after another, as often as the device samples. Each keeps its own failure. */
  readonly historyReads: PolledRead = {
    everyMilliseconds: historyPeriodMilliseconds,
    read: async (abort) => {
      for (const read of this.histories) {
        await read(abort);
      }
    },
  };

  /** Returns what ends it. */
  addHistory(read: (abort: AbortSignal) => Promise<void>): () => void {
    this.histories.add(read);
    return () => this.histories.delete(read);
  }

  /** The last `milliseconds` of an item, in times of the reader's clock. */
  async readHistory(
    key: string,
    milliseconds: number,
    points: number,
    abort: AbortSignal,
  ): Promise<ItemHistory> {
    const ahead = await this.getClockDifference(key, abort);
    const to = Math.round(Date.now() + ahead);
    const history = await this.requestHistory({ key, from: to - milliseconds, to, points }, abort);
    return { ...history, start: history.start - ahead };
  }

  /** By how much the device's clock is ahead of the reader's: a history without limits ends now. */
  private async getClockDifference(key: string, abort: AbortSignal): Promise<number> {
    if (this.clockDifference === undefined) {
      const begin = Date.now();
      const { start, stepMilliseconds } = await this.requestHistory({ key, points: 1 }, abort);
      this.clockDifference = Math.round(start + stepMilliseconds - (begin + Date.now()) / 2);
    }
    return this.clockDifference;
  }

  private requestHistory(
    query: Readonly<Record<string, string | number>>,
    abort: AbortSignal,
  ): Promise<ItemHistory> {
    return this.context.request(dataProvider, "GetHistory", { query, ...polledRequest, signal: abort });
  }

  private async readPages(abort: AbortSignal): Promise<void> {
    const keys: string[] = [];
    let after: string | undefined;
    let isCut = true;
    while (isCut) {
      const query = after === undefined ? {} : { after };
      const options = { query, ...polledRequest, signal: abort };
      const page = await this.context.request<ItemsPage>(dataProvider, "GetItems", options);
      for (const item of page.items) {
        this.take(item);
        keys.push(item.key);
      }
      const last = keys.at(-1);
      isCut = page.isCut && last !== after;
      after = last;
    }
    this.setKeys(keys);
  }

  private take(item: Item): void {
    const now = { ...item, valueTime: Date.now() - item.ageMilliseconds };
    const known = this.items.get(item.key);
    if (!known) {
      this.items.set(item.key, signal(now));
    } else if (!isSame(known.peek(), now)) {
      known.value = now;
    }
  }

  private setKeys(keys: readonly string[]): void {
    const before = this.keyList.peek();
    if (before?.length === keys.length && keys.every((key, index) => key === before[index])) {
      return;
    }
    const present = new Set(keys);
    for (const key of this.items.keys()) {
      if (!present.has(key)) {
        this.items.delete(key);
      }
    }
    this.keyList.value = keys;
  }
}

const ageCheckMilliseconds = 1_000;

export interface ItemPolling {
  readonly refresh: () => void;
  readonly readHistoriesSoon: () => void;
  readonly stop: () => void;
}

export function startPolling(store: ItemStore): ItemPolling {
  const items = new Poller();
  items.add({ read: store.read });
  // Of their own, so that a history that is late does not hold up the values.
  const histories = new Poller();
  histories.add(store.historyReads);
  const checkAge = () => {
    if (!document.hidden) {
      store.checkAge(performance.now());
    }
  };
  const timer = setInterval(checkAge, ageCheckMilliseconds);
  return {
    refresh: () => {
      items.refresh();
      histories.refresh();
    },
    readHistoriesSoon: () => histories.readSoon(store.historyReads),
    stop: () => {
      clearInterval(timer);
      items.stop();
      histories.stop();
    },
  };
}

/** What every part of the tables uses. */
export interface TableContext {
  readonly store: ItemStore;
  readonly context: PageContext;
  readonly values: Values;
  readonly readHistoriesSoon: () => void;
}
