// What the data provider "DeviceItemsDp" returns.

export const dataProvider = "DeviceItemsDp";

export type ItemOrigin = "measured" | "fixed" | "simulated" | "absent";
export type ItemQuality = "good" | "old" | "missing";

export interface Item {
  readonly key: string;
  /** The name of the value's type, for instance "uint8". */
  readonly type: string;
  /** As people write it; empty without one. */
  readonly unit: string;
  readonly description: string;
  readonly origin: ItemOrigin;
  readonly quality: ItemQuality;
  readonly value: number | string | boolean | null;
  readonly ageMilliseconds: number;
  /** Why the value is old or missing. */
  readonly cause: string;
  readonly history: boolean;
}

export interface ItemsPage {
  readonly items: readonly Item[];
  /** There are more, whose keys come after the last one of these. */
  readonly isCut: boolean;
}

/** The arrays have one length; `null` is a gap. */
export interface ItemHistory {
  readonly unit: string;
  /** Milliseconds since 1970. */
  readonly start: number;
  readonly stepMilliseconds: number;
  readonly minimum: readonly (number | null)[];
  readonly mean: readonly (number | null)[];
  readonly maximum: readonly (number | null)[];
}

/** The first part of a key. */
export function getGroup(key: string): string {
  const end = key.indexOf(".");
  return end < 0 ? key : key.slice(0, end);
}

export interface Group {
  readonly name: string;
  readonly keys: readonly string[];
}

/** Keeps the order of the keys. */
export function groupKeys(keys: readonly string[]): readonly Group[] {
  const groups = new Map<string, string[]>();
  for (const key of keys) {
    const name = getGroup(key);
    const group = groups.get(name);
    if (group) {
      group.push(key);
    } else {
      groups.set(name, [key]);
    }
  }
  return [...groups].map(([name, members]) => ({ name, keys: members }));
}

/** Whether key or description have every word of the search, in any case. */
export function matches(item: Pick<Item, "key" | "description">, search: string): boolean {
  const text = `${item.key}\n${item.description}`.toLowerCase();
  return search
    .toLowerCase()
    .split(/\s+/)
    .every((word) => text.includes(word));
}

/** As many groups from the front as hold `count` keys together; the last one is cut. */
export function takeKeys(groups: readonly Group[], count: number): readonly Group[] {
  const taken: Group[] = [];
  let left = count;
  for (const { name, keys } of groups) {
    if (left > 0) {
      taken.push({ name, keys: keys.slice(0, left) });
      left -= keys.length;
    }
  }
  return taken;
}

/** Parts of `size` elements, the last one shorter. */
export function cut<T>(elements: readonly T[], size: number): readonly (readonly T[])[] {
  const parts: (readonly T[])[] = [];
  for (let begin = 0; begin < elements.length; begin += size) {
    parts.push(elements.slice(begin, begin + size));
  }
  return parts;
}
