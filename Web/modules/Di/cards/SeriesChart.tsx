// The chart of one of the collected values, and the extremes in words.
import { Chart } from "../../../kit/components/Chart";
import type { SeriesName } from "../Collected";
import type { OverviewStore, Section } from "../OverviewStore";
import { ranges } from "../Series";
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
  const extremes = describeExtremes({ store, name, unit });
  return (
    <Chart
      label={`${title}: ${extremes}`}
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
  // Never narrower than the value beside it.
  void getSection(props.store, props.name).value.value;
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
  if (firstTime <= Date.now() - ranges[range].milliseconds) {
    return context.text(`chart.in.${range}`, values);
  }
  return collected.hasHistory.value
    ? context.text("chart.since", { ...values, time: formats.formatTime(firstTime) })
    : context.text("chart.sinceOpened", values);
}
