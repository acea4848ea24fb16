// The last minutes or hours of an item, as the device keeps them.
import { useEffect, useState } from "preact/hooks";
import { makeVisible, Segments } from "../../kit/components/Basics";
import { Chart } from "../../kit/components/Chart";
import { explain } from "../../kit/Failures";
import { describeExtremes, toChartData } from "./History";
import type { TableContext } from "./ItemStore";
import type { ItemHistory } from "./Items";

const ranges = {
  minutes10: { milliseconds: 600_000, points: 60 },
  hour1: { milliseconds: 3_600_000, points: 300 },
  hours24: { milliseconds: 86_400_000, points: 288 },
} as const;

type RangeName = keyof typeof ranges;
const rangeNames: readonly RangeName[] = ["minutes10", "hour1", "hours24"];

interface Shown {
  readonly history: ItemHistory;
  readonly range: RangeName;
}

interface HistoryChartProps {
  readonly itemKey: string;
  readonly unit: string;
  readonly table: TableContext;
}

export function ItemHistoryChart({ itemKey, unit, table }: HistoryChartProps) {
  const { store, context } = table;
  const [range, setRange] = useState<RangeName>("hour1");
  const [shown, setShown] = useState<Shown | undefined>();
  const [failure, setFailure] = useState("");
  useEffect(() => {
    const { milliseconds, points } = ranges[range];
    const end = store.addHistory(async (abort) => {
      try {
        setShown({ history: await store.readHistory(itemKey, milliseconds, points, abort), range });
        setFailure("");
      } catch (error) {
        setFailure(abort.aborted ? "" : explain(error, context.text));
      }
    });
    table.readHistoriesSoon();
    return end;
  }, [itemKey, range, table]);
  const choices = rangeNames.map((value) => ({ value, label: context.text(`range.${value}`) }));
  return (
    <div class="items-history">
      <div class="items-history-head">
        <Extremes shown={shown} unit={unit} table={table} />
        <Segments label={context.text("range")} value={range} choices={choices} onValue={setRange} />
      </div>
      {failure ? <p class="oxa-card-note">{failure}</p> : null}
      <HistoryChart shown={shown} itemKey={itemKey} unit={unit} table={table} isOld={failure !== ""} />
    </div>
  );
}

interface ShownProps {
  readonly shown: Shown | undefined;
  readonly unit: string;
  readonly table: TableContext;
}

function describe({ shown, unit, table }: ShownProps): string {
  const format = (value: number) => formatValue(table, unit, value);
  const span = shown ? describeExtremes(shown.history, format) : undefined;
  return span
    ? table.context.text(`range.in.${shown?.range}`, { span })
    : table.context.text(shown ? "items.noHistory" : "items.reading");
}

function formatValue(table: TableContext, unit: string, value: number): string {
  const quantity = table.values.format({ value, unit });
  return [quantity.value, quantity.unit].filter(Boolean).join(" ");
}

function Extremes(props: ShownProps) {
  return <p class="oxa-soft">{describe(props)}</p>;
}

interface ChartProps extends ShownProps {
  readonly itemKey: string;
  readonly isOld: boolean;
}

function HistoryChart({ shown, unit, table, itemKey, isOld }: ChartProps) {
  if (!shown) {
    return <div class="items-chart" />;
  }
  const { start, stepMilliseconds, mean } = shown.history;
  return (
    <div class="items-chart">
      <Chart
        label={`${makeVisible(itemKey)}: ${describe({ shown, unit, table })}`}
        data={toChartData(shown.history)}
        from={start / 1000}
        to={(start + stepMilliseconds * mean.length) / 1000}
        formatValue={(value) => formatValue(table, unit, value)}
        formatTime={(seconds) => table.values.formatShortTime(seconds * 1000)}
        endLabel={table.context.text("items.now")}
        isOld={isOld}
        hasScale={true}
      />
    </div>
  );
}
