// uPlot in the colours of the tokens, as large as its element.
import uPlot from "uplot";

/** The arrays have one length; `null` in all three is a gap. Times in seconds since 1970, ascending. */
export interface ChartData {
  readonly times: number[];
  readonly minimum: (number | null)[];
  readonly mean: (number | null)[];
  readonly maximum: (number | null)[];
}

export interface ChartView {
  readonly data: ChartData;
  /** What is shown; seconds since 1970. */
  readonly from: number;
  readonly to: number;
  /** Of the values' axis. */
  readonly low: number;
  readonly high: number;
}

interface Colors {
  line: string;
  area: string;
  band: string;
  grid: string;
}

const noData: ChartView = {
  data: { times: [], minimum: [], mean: [], maximum: [] },
  from: 0,
  to: 1,
  low: 0,
  high: 1,
};

export class Plot {
  private readonly plot: uPlot;
  private readonly observer: ResizeObserver;
  private readonly ended = new AbortController();
  private readonly colors: Colors = { line: "", area: "", band: "", grid: "" };
  private view = noData;

  /** `showPoint`: called with the index of the point under the pointer, or without one. */
  constructor(
    private readonly element: HTMLElement,
    private readonly hasGrid: boolean,
    showPoint: (index: number | undefined) => void,
  ) {
    this.readColors();
    this.plot = new uPlot(this.makeOptions(showPoint), [[], [], [], [], []], element);
    this.observer = new ResizeObserver(() => this.fit());
    this.observer.observe(element);
    for (const query of ["(prefers-color-scheme: dark)", "(forced-colors: active)"]) {
      window.matchMedia(query).addEventListener("change", this.recolor, { signal: this.ended.signal });
    }
  }

  show(view: ChartView): void {
    this.view = view;
    const { times, minimum, mean, maximum } = view.data;
    this.plot.setData([times, mean, maximum, minimum, mean]);
  }

  readonly recolor = (): void => {
    this.readColors();
    this.plot.redraw(false);
  };

  destroy(): void {
    this.ended.abort();
    this.observer.disconnect();
    this.plot.destroy();
  }

  private fit(): void {
    const { clientWidth: width, clientHeight: height } = this.element;
    if (width > 0 && height > 0) {
      this.plot.setSize({ width, height });
    }
  }

  private readColors(): void {
    const style = getComputedStyle(this.element);
    const get = (name: string) => style.getPropertyValue(name).trim();
    this.colors.line = get("--accent");
    this.colors.area = get("--accent-soft");
    this.colors.band = get("--accent-band");
    this.colors.grid = get("--line");
  }

  private makeOptions(showPoint: (index: number | undefined) => void): uPlot.Options {
    const { colors } = this;
    const points = { show: false };
    return {
      width: Math.max(1, this.element.clientWidth),
      height: Math.max(1, this.element.clientHeight),
      padding: [4, 0, 1, 0],
      legend: { show: false },
      cursor: { y: false, drag: { x: false, y: false }, points: { show: false } },
      scales: {
        x: { time: true, range: () => [this.view.from, this.view.to] },
        y: { range: () => [this.view.low, this.view.high] },
      },
      axes: [
        { show: false },
        {
          show: this.hasGrid,
          size: 0,
          gap: 0,
          ticks: { show: false },
          grid: { stroke: () => colors.grid, width: 1 },
          splits: () => [this.view.low, (this.view.low + this.view.high) / 2, this.view.high],
          values: (_, splits) => splits.map(() => ""),
        },
      ],
      // In the order in which they are drawn: the area, the span between the extremes, the line.
      series: [
        {},
        { fill: () => colors.area, width: 0, points },
        { width: 0, points },
        { width: 0, points },
        { stroke: () => colors.line, width: 2, points },
      ],
      bands: [{ series: [2, 3], fill: () => colors.band }],
      hooks: { setCursor: [(plot) => showPoint(plot.cursor.idx ?? undefined)] },
    };
  }
}
