// The last 24 hours of one value in buckets of three widths, in memory of a fixed size.
import type { ChartData } from "../../kit/Plot";
import { type Range, type RangeName, rangeNames, ranges } from "../../kit/Ranges";

export interface Extent {
  readonly minimum: number;
  readonly maximum: number;
}

/** The payload of `GetHistory`. */
export interface History {
  readonly start: number;
  readonly stepMilliseconds: number;
  readonly minimum: readonly (number | null)[];
  readonly mean: readonly (number | null)[];
  readonly maximum: readonly (number | null)[];
}

/** The device's samples are 10 s apart; a longer distance between two points is a gap. */
const leastGapMilliseconds = 25_000;

class Ring {
  readonly width: number;
  private readonly size: number;
  private readonly bucket: Float64Array;
  private readonly sum: Float64Array;
  private readonly count: Float64Array;
  private readonly minimum: Float64Array;
  private readonly maximum: Float64Array;

  constructor(shape: Range) {
    this.size = shape.buckets;
    this.width = shape.milliseconds / shape.buckets;
    this.bucket = new Float64Array(this.size).fill(-1);
    this.sum = new Float64Array(this.size);
    this.count = new Float64Array(this.size);
    this.minimum = new Float64Array(this.size);
    this.maximum = new Float64Array(this.size);
  }

  has(time: number): boolean {
    const bucket = Math.floor(time / this.width);
    return this.bucket[bucket % this.size] === bucket;
  }

  add(time: number, mean: number, minimum: number, maximum: number): void {
    const bucket = Math.floor(time / this.width);
    const slot = bucket % this.size;
    if (this.bucket[slot] !== bucket) {
      this.bucket[slot] = bucket;
      this.sum[slot] = 0;
      this.count[slot] = 0;
      this.minimum[slot] = Number.POSITIVE_INFINITY;
      this.maximum[slot] = Number.NEGATIVE_INFINITY;
    }
    this.sum[slot] = (this.sum[slot] ?? 0) + mean;
    this.count[slot] = (this.count[slot] ?? 0) + 1;
    this.minimum[slot] = Math.min(this.minimum[slot] ?? minimum, minimum);
    this.maximum[slot] = Math.max(this.maximum[slot] ?? maximum, maximum);
  }

  /** The last buckets up to the one of `now`. */
  getPoints(now: number): ChartData {
    const points: ChartData = { times: [], mean: [], minimum: [], maximum: [] };
    const last = Math.floor(now / this.width);
    const gap = Math.max(leastGapMilliseconds, 2.5 * this.width) / 1000;
    for (let bucket = last - this.size + 1; bucket <= last; bucket += 1) {
      if (this.bucket[bucket % this.size] === bucket) {
        const time = bucket === last ? now : (bucket + 0.5) * this.width;
        this.pushBucket(points, bucket % this.size, time / 1000, gap);
      }
    }
    return points;
  }

  private pushBucket(points: ChartData, slot: number, time: number, gap: number): void {
    const before = points.times[points.times.length - 1];
    if (before !== undefined && time - before > gap) {
      push(points, (before + time) / 2, null, null, null);
    }
    const mean = (this.sum[slot] ?? 0) / (this.count[slot] ?? 1);
    push(points, time, mean, this.minimum[slot] ?? mean, this.maximum[slot] ?? mean);
  }

  getExtent(now: number): Extent | undefined {
    let minimum = Number.POSITIVE_INFINITY;
    let maximum = Number.NEGATIVE_INFINITY;
    const last = Math.floor(now / this.width);
    for (let slot = 0; slot < this.size; slot += 1) {
      const bucket = this.bucket[slot] ?? -1;
      if (bucket > last - this.size && bucket <= last) {
        minimum = Math.min(minimum, this.minimum[slot] ?? minimum);
        maximum = Math.max(maximum, this.maximum[slot] ?? maximum);
      }
    }
    return minimum <= maximum ? { minimum, maximum } : undefined;
  }

  clear(): void {
    this.bucket.fill(-1);
  }
}

function push(
  points: ChartData,
  time: number,
  mean: number | null,
  minimum: number | null,
  maximum: number | null,
): void {
  points.times.push(time);
  points.mean.push(mean);
  points.minimum.push(minimum);
  points.maximum.push(maximum);
}

/** Times are milliseconds since 1970 on the browser's clock. */
export class Series {
  private readonly rings: Readonly<Record<RangeName, Ring>> = {
    minutes10: new Ring(ranges.minutes10),
    hour1: new Ring(ranges.hour1),
    hours24: new Ring(ranges.hours24),
  };

  add(time: number, value: number): void {
    for (const name of rangeNames) {
      this.rings[name].add(time, value, value, value);
    }
  }

  /** Takes what the device kept where nothing was collected. `offset`: of the device's clock to the browser's. */
  fill(range: RangeName, history: History, offset: number): void {
    const ring = this.rings[range];
    const isFree = history.mean.map((_, index) => !ring.has(this.getTime(history, index, offset)));
    history.mean.forEach((mean, index) => {
      if (mean !== null && isFree[index]) {
        const time = this.getTime(history, index, offset);
        ring.add(time, mean, history.minimum[index] ?? mean, history.maximum[index] ?? mean);
      }
    });
  }

  getPoints(range: RangeName, now: number): ChartData {
    return this.rings[range].getPoints(now);
  }

  getExtent(range: RangeName, now: number): Extent | undefined {
    return this.rings[range].getExtent(now);
  }

  clear(): void {
    for (const name of rangeNames) {
      this.rings[name].clear();
    }
  }

  private getTime(history: History, index: number, offset: number): number {
    return history.start + (index + 0.5) * history.stepMilliseconds - offset;
  }
}
