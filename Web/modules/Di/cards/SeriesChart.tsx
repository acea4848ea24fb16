// The chart of one of the collected values, and the extremes in words.
import { Chart } from "../../../kit/components/Chart";
import type { SeriesName } from "../Collected";
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

export function SeriesChart({ store, name, title, unit, ...scale }: SeriesChartProps) {
  const { collected, formats, context } = store;
  const range = store.getRange(name);
  // The chart is drawn again when this changes.
  void collected.redraws[range].value;
  const isOld = (name === "temperature" ? store.health : store.utilization).isOld.value;
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
      formatTime={(seconds) => formats.formatTime(seconds * 1000)}
      formatValue={(value) => `${formats.formatNumber(value)} ${unit}`}
      endLabel={isOld ? undefined : context.text("chart.now")}
      isOld={isOld}
    />
  );
}

/** "44–49 °C in 24 h". */
export function RangeText(props: SeriesProps) {
  const { collected } = props.store;
  void collected.redraws[props.store.getRange(props.name)].value;
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
