// The controller's clock as the page sees it: compared with the browser's, and counting on between two reads.
import type { DateTime } from "./Sections";

/** A moment on both of the browser's clocks: the one that counts evenly, and the one that can be set. */
export interface Moment {
  readonly even: number;
  readonly wall: number;
}

export function getMoment(): Moment {
  return { even: performance.now(), wall: Date.now() };
}

export interface ClockReading {
  /** The text of the device. */
  readonly timestamp: string;
  /** Of the controller's clock, since 1970; not set while it has no time. */
  readonly unixMilliseconds: number | undefined;
  readonly upTimeSeconds: number;
  /** When the values were taken, on the even clock. */
  readonly takenAt: number;
  /** Positive: the controller is ahead of the browser. */
  readonly driftMilliseconds: number | undefined;
  /** Two reads gave the same time. */
  readonly isStanding: boolean;
}

const longestUnixMilliseconds = 8.64e15;
const leastStandingMilliseconds = 500;

function parseTimestamp(text: string): number | undefined {
  if (!/^-?\d{1,19}$/.test(text)) {
    return undefined;
  }
  const milliseconds = Number(text) / 1000;
  return Math.abs(milliseconds) <= longestUnixMilliseconds ? milliseconds : undefined;
}

/** `begin`, `end`: of the request; the values are taken to be of the middle. */
export function readClock(
  section: DateTime,
  begin: Moment,
  end: Moment,
  previous: ClockReading | undefined,
): ClockReading {
  const takenAt = (begin.even + end.even) / 2;
  const unixMilliseconds = parseTimestamp(section.currentTimestamp);
  const wall = end.wall - (end.even - begin.even) / 2;
  return {
    timestamp: section.currentTimestamp,
    unixMilliseconds,
    upTimeSeconds: section.systemUpTime,
    takenAt,
    driftMilliseconds: unixMilliseconds === undefined ? undefined : unixMilliseconds - wall,
    isStanding:
      previous?.timestamp === section.currentTimestamp &&
      takenAt - previous.takenAt >= leastStandingMilliseconds,
  };
}

export interface CountedClock {
  readonly unixMilliseconds: number | undefined;
  readonly upTimeSeconds: number;
}

/** The reading at a later moment of the even clock. */
export function countOn(reading: ClockReading, even: number): CountedClock {
  const passed = Math.max(0, even - reading.takenAt);
  return {
    unixMilliseconds:
      reading.unixMilliseconds === undefined || reading.isStanding
        ? reading.unixMilliseconds
        : reading.unixMilliseconds + passed,
    upTimeSeconds: reading.upTimeSeconds + Math.floor(passed / 1000),
  };
}

const driftLimitMilliseconds = 5_000;

/** A drift that is a warning, in whole seconds, so that it does not change with every read. */
export function findLargeDrift(driftMilliseconds: number | undefined): number | undefined {
  return driftMilliseconds !== undefined && Math.abs(driftMilliseconds) > driftLimitMilliseconds
    ? Math.trunc(driftMilliseconds / 1000) * 1000
    : undefined;
}
