// A value over time: a line, the span between its extremes, and the time below it.
import { useEffect, useRef } from "preact/hooks";
import { type ChartData, type ChartView, Plot } from "../Plot";

interface ChartProps {
  /** What it shows, for those who do not see it: "Load, 02:48 to now: 12 to 64 %, now 38 %". */
  readonly label: string;
  readonly data: ChartData;
  /** The time that is shown; seconds since 1970. */
  readonly from: number;
  readonly to: number;
  /** The ends of the values' axis; without them, such that the values fill it. */
  readonly minimum?: number | undefined;
  readonly maximum?: number | undefined;
  readonly formatValue: (value: number) => string;
  /** Of seconds since 1970. */
  readonly formatTime: (seconds: number) => string;
  /** Below the end of the line, "now"; the time without. */
  readonly endLabel?: string | undefined;
  /** The values are old: drawn without colour. */
  readonly isOld?: boolean;
  /** Lines at the ends and in the middle of the values' axis, which are written beside them. */
  readonly hasScale?: boolean;
}

export function Chart(props: ChartProps) {
  const frame = useRef<HTMLDivElement>(null);
  const readout = useRef<HTMLSpanElement>(null);
  const plot = useRef<Plot>();
  const latest = useRef(props);
  latest.current = props;
  const { data, from, to, isOld, hasScale } = props;
  const [low, high] = getScale(props);
  useEffect(() => {
    if (!frame.current) {
      return undefined;
    }
    const made = new Plot(frame.current, hasScale === true, (index) => {
      if (readout.current) {
        readout.current.textContent = describePoint(latest.current, index);
      }
    });
    plot.current = made;
    return () => made.destroy();
  }, []);
  useEffect(() => plot.current?.show({ data, from, to, low, high } satisfies ChartView), [data, from, to]);
  useEffect(() => plot.current?.recolor(), [isOld]);
  const { label, formatTime, formatValue, endLabel } = props;
  return (
    <figure class="oxa-chart" role="img" aria-label={label} data-stale={isOld ? "true" : "false"}>
      <div class="oxa-chart-plot" ref={frame}>
        {hasScale ? (
          <>
            <span class="oxa-chart-high">{formatValue(high)}</span>
            <span class="oxa-chart-low">{formatValue(low)}</span>
          </>
        ) : null}
        <span class="oxa-chart-readout" ref={readout} />
      </div>
      <div class="oxa-chart-times" aria-hidden="true">
        <span>{formatTime(from)}</span>
        <span>{formatTime((from + to) / 2)}</span>
        <span>{endLabel ?? formatTime(to)}</span>
      </div>
    </figure>
  );
}

function describePoint({ data, formatTime, formatValue }: ChartProps, index: number | undefined): string {
  const mean = index === undefined ? undefined : data.mean[index];
  const time = index === undefined ? undefined : data.times[index];
  return typeof mean === "number" && time !== undefined ? `${formatTime(time)}  ${formatValue(mean)}` : "";
}

const leastSpan = 4;

/** The ends of the values' axis: a little more than the values have, on whole numbers. */
function getScale({ data, minimum, maximum }: ChartProps): [number, number] {
  let low = Number.POSITIVE_INFINITY;
  let high = Number.NEGATIVE_INFINITY;
  for (let index = 0; index < data.times.length; index += 1) {
    low = Math.min(low, data.minimum[index] ?? low);
    high = Math.max(high, data.maximum[index] ?? high);
  }
  if (low > high) {
    return [minimum ?? 0, maximum ?? 1];
  }
  const span = Math.max(leastSpan, high - low);
  return [minimum ?? Math.floor(low - span / 2), maximum ?? Math.ceil(high + span / 4)];
}
