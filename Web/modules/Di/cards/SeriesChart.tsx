// The chart of one of the collected values, and the extremes in words.
import { Chart } from "../../../kit/components/Chart";
import { ranges } from "../../../kit/Ranges";
import type { SeriesName } from "../Collected";
import type { OverviewStore, Section } from "../OverviewStore";
import type { CardProps } from "./SectionCard";

interface SeriesProps extends CardProps {
  readonly name: SeriesName;
  readonly unit: string;
}

interface SeriesChartProps extends SeriesProps {
  readonly title: string;
  readonly minimum?: number;
  readonly maximum?: number;
  readonly hasScale?: boolean;
}

const leastShownMilliseconds = 60_000;
/** Shorter times are labelled with their seconds. */
const secondsBelowMilliseconds = 180_000;

export function SeriesChart({ store, name, title, unit, ...scale }: SeriesChartProps) {
  const { collected, formats, context } = store;
  const range = store.getRange(name);
  collected.subscribe(name, range);
  const isOld = getSection(store, name).isOld.value;
  const now = Date.now();
  const first = Math.min(collected.firstTime.value ?? now, now - leastShownMilliseconds);
  const from = Math.max(first, now - ranges[range].milliseconds);
  return (
    <Chart
      label={`${title}: ${describeExtremes({ store, name, unit })}${describeLast({ store, name, unit })}`}
      data={collected.getPoints(name, range)}
      from={from / 1000}
      to={now / 1000}
      {...scale}
      formatTime={(seconds) =>
        now - from < secondsBelowMilliseconds
          ? formats.formatSeconds(seconds * 1000)
          : formats.formatTime(seconds * 1000)
      }
      formatValue={(value) => `${formats.formatNumber(value)} ${unit}`}
      endLabel={isOld ? undefined : context.text("chart.now")}
      isOld={isOld}
    />
  );
}

function getSection(store: OverviewStore, name: SeriesName): Section<object> {
  return name === "temperature" ? store.health : store.utilization;
}

/** "44–49 °C in 24 h". */
export function RangeText(props: SeriesProps) {
  const { store, name } = props;
  store.collected.subscribe(name, store.getRange(name));
  // Never narrower than the value beside it.
  void getSection(store, name).value.value;
  return <p class="oxa-soft overview-range">{describeExtremes(props)}</p>;
}

function describeExtremes({ store, name, unit }: SeriesProps): string {
  const { collected, formats, context } = store;
  const range = store.getRange(name);
  const extent = collected.getExtent(name, range);
  if (!extent) {
    return "";
  }
  const low = formats.formatNumber(extent.minimum);
  const high = formats.formatNumber(extent.maximum);
  const values = { span: low === high ? `${low} ${unit}` : `${low}–${high} ${unit}` };
  const firstTime = collected.firstTime.value ?? Date.now();
  const { milliseconds, buckets } = ranges[range];
  // The first period may have begun before the values.
  if (firstTime <= Date.now() - milliseconds + (2 * milliseconds) / buckets) {
    return context.text(`chart.in.${range}`, values);
  }
  return collected.hasHistory.value
    ? context.text("chart.since", { ...values, time: formats.formatTime(firstTime) })
    : context.text("chart.sinceOpened", values);
}

/** ", now 47 °C". */
function describeLast({ store, name, unit }: SeriesProps): string {
  const { text } = store.context;
  const { isOld } = getSection(store, name);
  const value = getValue(store, name);
  return value === undefined
    ? ""
    : `, ${text(isOld.value ? "chart.last" : "chart.now")} ${store.formats.formatNumber(value)} ${unit}`;
}

function getValue({ health, utilization }: OverviewStore, name: SeriesName): number | undefined {
  switch (name) {
    case "temperature":
      return health.value.peek()?.boardTemperature;
    case "load":
      return utilization.value.peek()?.cpuLoadTotal;
    case "memory":
      return utilization.value.peek()?.memoryUsagePercent;
  }
}
