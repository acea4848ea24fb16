// Times of the host, which are UTC, as the reader's clock shows them.
import { language, text } from "./Language";

const forms = {
  minute: { dateStyle: "medium", timeStyle: "short" },
  second: { dateStyle: "medium", timeStyle: "medium" },
} as const;

export type TimePrecision = keyof typeof forms;

interface TimeProps {
  /** ISO 8601. */
  readonly value: string;
  readonly precision?: TimePrecision;
}

export function Time({ value, precision = "minute" }: TimeProps) {
  const time = new Date(value);
  if (Number.isNaN(time.getTime())) {
    return <span>{value}</span>;
  }
  const shown = new Intl.DateTimeFormat(language.value, forms[precision]).format(time);
  return (
    <time dateTime={value} title={formatUtc(time)}>
      {shown}
    </time>
  );
}

export function formatUtc(time: Date): string {
  const utc = new Intl.DateTimeFormat(language.value, { ...forms.second, timeZone: "UTC" }).format(time);
  return text("time.utc", { time: utc });
}
