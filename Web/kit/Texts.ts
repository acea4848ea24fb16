// Texts of a catalogue in one language, and the forms of numbers, dates and units in it.

/** Key → text; `{name}` stands for a value. `key.one` and `key.other` are the plural forms of `key`. */
export type Catalogue = Readonly<Record<string, string>>;

export type Values = Readonly<Record<string, string | number>>;

/** The text of a key; the key itself when the catalogue lacks it. */
export type TextFunction<K extends string = string> = (key: K, values?: Values) => string;

export function formatText(text: string, values: Values): string {
  return text.replace(/\{(\w+)\}/g, (placeholder, name: string) => String(values[name] ?? placeholder));
}

/** Selects the plural form by the value `count`, where the catalogue has forms of the key. */
export function makeTextFunction(catalogue: Catalogue, language: string): TextFunction {
  const rules = new Intl.PluralRules(language);
  return (key, values = {}) => {
    const { count } = values;
    const form = typeof count === "number" ? catalogue[`${key}.${rules.select(count)}`] : undefined;
    return formatText(form ?? catalogue[key] ?? catalogue[`${key}.other`] ?? key, values);
  };
}

/** Compares without regions: "en-GB" and "en" are the same. */
export function isSameLanguage(tag: string, other: string): boolean {
  const primary = (each: string) => each.toLowerCase().split("-")[0];
  return primary(tag) === primary(other);
}

/** The first of the wanted languages that is offered, compared without regions; else the first one offered. */
export function chooseLanguage(wanted: readonly string[], offered: readonly string[]): string {
  for (const tag of wanted) {
    const found = offered.find((each) => isSameLanguage(each, tag));
    if (found) {
      return found;
    }
  }
  return offered[0] ?? "en";
}

const binaryUnits = ["B", "KiB", "MiB", "GiB", "TiB", "PiB"];

export interface Quantity {
  readonly value: string;
  readonly unit: string;
}

/** Bytes with the binary unit that leaves one to three digits before the point. */
export function formatBytes(bytes: number, language: string): Quantity {
  let value = bytes;
  let unit = 0;
  while (value >= 1000 && unit < binaryUnits.length - 1) {
    value /= 1024;
    unit += 1;
  }
  const maximumFractionDigits = unit === 0 || value >= 100 ? 0 : 1;
  return {
    value: new Intl.NumberFormat(language, { maximumFractionDigits }).format(value),
    unit: binaryUnits[unit] ?? "B",
  };
}

const secondsPer = { day: 86_400, hour: 3_600, minute: 60 } as const;

/** "3 d 14 h 07 min"; seconds only below an hour. */
export function formatDuration(totalSeconds: number): string {
  const seconds = Math.max(0, Math.floor(totalSeconds));
  const days = Math.floor(seconds / secondsPer.day);
  const hours = Math.floor((seconds % secondsPer.day) / secondsPer.hour);
  const minutes = Math.floor((seconds % secondsPer.hour) / secondsPer.minute);
  const pad = (value: number) => String(value).padStart(2, "0");
  if (days > 0) {
    return `${days} d ${pad(hours)} h ${pad(minutes)} min`;
  }
  if (hours > 0) {
    return `${hours} h ${pad(minutes)} min`;
  }
  return minutes > 0 ? `${minutes} min ${pad(seconds % secondsPer.minute)} s` : `${seconds} s`;
}
