// The times that charts show.

export type RangeName = "minutes10" | "hour1" | "hours24";

export interface Range {
  readonly milliseconds: number;
  /** Of a chart of what the page has collected itself. */
  readonly buckets: number;
  /** Points that are asked from the device: not more than it has samples. */
  readonly historyPoints: number;
}

export const ranges: Readonly<Record<RangeName, Range>> = {
  minutes10: { milliseconds: 600_000, buckets: 150, historyPoints: 60 },
  hour1: { milliseconds: 3_600_000, buckets: 300, historyPoints: 300 },
  hours24: { milliseconds: 86_400_000, buckets: 288, historyPoints: 288 },
};

export const rangeNames: readonly RangeName[] = ["minutes10", "hour1", "hours24"];
