// Reads again and again what a page shows: one request after another, none while the page is hidden, and less often
// what fails.

export interface PolledRead {
  /** Reads once. Throws when there is no value. */
  read(signal: AbortSignal): Promise<void>;
  /** Default: `periodMilliseconds`. */
  readonly everyMilliseconds?: number;
}

export const periodMilliseconds = 2_000;
/** Options of what a page reads by itself. */
export const polledRequest = { background: true, timeoutMilliseconds: 10_000 } as const;
const oldAfterMilliseconds = 10_000;

/** Values that are older look old, also while the next read has not failed yet. Times of `performance.now()`. */
export function isLate(readAt: number, now: number): boolean {
  return now - readAt > oldAfterMilliseconds;
}

const maximumDelayMilliseconds = 10_000;

/** The time to the next try after this many failures in sequence: what is read seldom is tried again as soon as the
 * rest. */
export function getDelay(everyMilliseconds: number, failures: number): number {
  return failures === 0
    ? everyMilliseconds
    : Math.min(
        maximumDelayMilliseconds,
        Math.min(everyMilliseconds, periodMilliseconds) * 2 ** (failures - 1),
      );
}

interface Entry {
  readonly polled: PolledRead;
  failures: number;
  dueAt: number;
}

/** One at a time: the reads never overlap. */
export class Poller {
  private readonly entries: Entry[] = [];
  private readonly aborted = new AbortController();
  private timer: ReturnType<typeof setTimeout> | undefined;
  private isReading = false;

  constructor() {
    document.addEventListener("visibilitychange", this.wake, { signal: this.aborted.signal });
    window.addEventListener("online", this.wake, { signal: this.aborted.signal });
  }

  add(polled: PolledRead): void {
    this.entries.push({ polled, failures: 0, dueAt: 0 });
    this.wake();
  }

  /** Milliseconds on the clock of `performance.now()`; infinite while it is being read. */
  getDueTime(polled: PolledRead): number {
    return this.entries.find((entry) => entry.polled === polled)?.dueAt ?? 0;
  }

  /** Reads everything now, and what fails again soon. */
  readonly refresh = (): void => {
    for (const entry of this.entries) {
      entry.failures = 0;
      entry.dueAt = 0;
    }
    this.wake();
  };

  /** Reads one of them as soon as its turn comes. */
  readSoon(polled: PolledRead): void {
    for (const entry of this.entries) {
      if (entry.polled === polled) {
        entry.dueAt = 0;
      }
    }
    this.wake();
  }

  stop(): void {
    clearTimeout(this.timer);
    this.aborted.abort();
  }

  private readonly wake = (): void => {
    clearTimeout(this.timer);
    if (this.aborted.signal.aborted || document.hidden || this.isReading || this.entries.length === 0) {
      return;
    }
    const next = Math.min(...this.entries.map((entry) => entry.dueAt));
    this.timer = setTimeout(() => void this.readDue(), Math.max(0, next - performance.now()));
  };

  private async readDue(): Promise<void> {
    this.isReading = true;
    for (const entry of this.entries) {
      if (entry.dueAt <= performance.now() && !this.aborted.signal.aborted && !document.hidden) {
        await this.readOne(entry);
      }
    }
    this.isReading = false;
    this.wake();
  }

  /** What brought one of them back may have brought back others. */
  private hurryFailed(): void {
    for (const entry of this.entries) {
      if (entry.failures > 0) {
        entry.dueAt = 0;
      }
    }
  }

  private async readOne(entry: Entry): Promise<void> {
    const begin = Math.max(performance.now(), entry.dueAt);
    entry.dueAt = Number.POSITIVE_INFINITY;
    try {
      await entry.polled.read(this.aborted.signal);
      if (entry.failures > 0) {
        entry.failures = 0;
        this.hurryFailed();
      }
    } catch {
      // The read keeps the cause for the reader; here only the pace changes.
      entry.failures += 1;
    }
    // Unless it was asked for again in the meantime.
    if (entry.dueAt !== 0) {
      const delay = getDelay(entry.polled.everyMilliseconds ?? periodMilliseconds, entry.failures);
      entry.dueAt = Math.max(begin + delay, performance.now());
    }
  }
}
