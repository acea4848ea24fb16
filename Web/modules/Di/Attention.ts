// What a person should look at, from what the page has read.
import type { AttentionItem } from "../../kit/Page";
import { formatDuration, type TextFunction } from "../../kit/Texts";
import { type LedGroup, type LedPlace, ledGroups, readLed, type Since } from "./Leds";
import type { StatusIndicator, Utilization } from "./Sections";

const partitionLimitPercent = 90;
const memoryLimitPercent = 95;

export interface Seen {
  readonly indicators: readonly StatusIndicator[];
  readonly getSince: (name: string) => Since | undefined;
  readonly utilization: Utilization | undefined;
  /** Only of a drift that is a warning. */
  readonly largeDriftMilliseconds: number | undefined;
  /** Titles of the cards whose values are old, when not all are. */
  readonly oldCards: readonly string[];
  readonly isAllOld: boolean;
}

export interface Words {
  readonly text: TextFunction;
  readonly formatTime: (milliseconds: number) => string;
}

/** "red, blinking fast since 02:41". */
export function describeLed(indicator: StatusIndicator, since: Since | undefined, words: Words): string {
  const led = readLed(indicator);
  const state = words.text(`led.state.${led.state}`);
  const values = { color: words.text(`led.color.${led.color}`), state, time: "" };
  if (!since) {
    return words.text("led.seen", values);
  }
  values.time = words.formatTime(since.time);
  return words.text(since.isExact ? "led.seenSince" : "led.seenAlready", values);
}

function findLed(group: LedGroup, place: LedPlace, seen: Seen, words: Words): AttentionItem[] {
  const indicator = seen.indicators.find((each) => each.fullName === place.fullName);
  if (!indicator || place.kind !== "fault" || indicator.stateCode === 0) {
    return [];
  }
  const text = describeLed(indicator, seen.getSince(place.fullName), words);
  return [{ id: place.fullName, level: "warning", subject: `${group.name} ${place.label}`, text }];
}

/** "7 s behind". */
export function describeDrift(milliseconds: number, text: TextFunction): string {
  const duration = formatDuration(Math.abs(milliseconds) / 1000);
  return text(milliseconds > 0 ? "time.ahead" : "time.behind", { duration });
}

function findDrift(seen: Seen, words: Words): AttentionItem[] {
  const drift = seen.largeDriftMilliseconds;
  return drift !== undefined
    ? [
        {
          id: "drift",
          level: "warning",
          subject: words.text("time.title"),
          text: words.text("attention.drift", { drift: describeDrift(drift, words.text) }),
        },
      ]
    : [];
}

function findLimit(id: string, percent: number | undefined, limit: number, words: Words): AttentionItem[] {
  return percent !== undefined && percent >= limit
    ? [
        {
          id,
          level: "warning",
          subject: words.text(`${id}.title`),
          text: words.text("attention.used", { percent }),
        },
      ]
    : [];
}

function findOld(seen: Seen, words: Words): AttentionItem[] {
  return seen.oldCards.length > 0
    ? [
        {
          id: "old",
          level: "warning",
          subject: words.text("attention.old"),
          text: seen.isAllOld ? words.text("attention.allOld") : seen.oldCards.join(", "),
        },
      ]
    : [];
}

export function findAttention(seen: Seen, words: Words): AttentionItem[] {
  const { utilization } = seen;
  return [
    ...ledGroups.flatMap((group) => group.leds.flatMap((place) => findLed(group, place, seen, words))),
    ...findDrift(seen, words),
    ...findLimit("partition", utilization?.userPartitionUsagePercent, partitionLimitPercent, words),
    ...findLimit("memory", utilization?.memoryUsagePercent, memoryLimitPercent, words),
    ...findOld(seen, words),
  ];
}
