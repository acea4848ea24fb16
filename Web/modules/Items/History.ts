// A history as the chart takes it, and in words.
import type { ChartData } from "../../kit/Plot";
import type { ItemHistory } from "./Items";

/** Each point in the middle of its step. */
export function toChartData({ start, stepMilliseconds, minimum, mean, maximum }: ItemHistory): ChartData {
  return {
    times: mean.map((_, index) => (start + stepMilliseconds * (index + 0.5)) / 1000),
    minimum: [...minimum],
    mean: [...mean],
    maximum: [...maximum],
  };
}

/** "44 °C to 52 °C"; not set without a value. */
export function describeExtremes(
  { minimum, maximum }: Pick<ItemHistory, "minimum" | "maximum">,
  format: (value: number) => string,
): string | undefined {
  let low = Number.POSITIVE_INFINITY;
  let high = Number.NEGATIVE_INFINITY;
  for (let index = 0; index < minimum.length; index += 1) {
    low = Math.min(low, minimum[index] ?? low);
    high = Math.max(high, maximum[index] ?? high);
  }
  if (low > high) {
    return undefined;
  }
  const [lowText, highText] = [format(low), format(high)];
  return lowText === highText ? lowText : `${lowText} – ${highText}`;
}
