// The last minutes or hours of an item, as the device keeps them.
import { useEffect, useState } from "preact/hooks";
import { makeVisible, Segments } from "../../kit/components/Basics";
import { Chart } from "../../kit/components/Chart";
import { explain } from "../../kit/Failures";
import { type RangeName, rangeNames, ranges } from "../../kit/Ranges";
import { describeExtremes, toChartData } from "./History";
import type { TableContext } from "./ItemStore";
import type { ItemHistory } from "./Items";

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
    const { milliseconds, historyPoints } = ranges[range];
    let isChosen = true;
    const end = store.addHistory(async (abort) => {
      try {
        const history = await store.readHistory(itemKey, milliseconds, historyPoints, abort);
        if (isChosen) {
          setShown({ history, range });
          setFailure("");
        }
      } catch (error) {
        if (isChosen && !abort.aborted) {
          setFailure(explain(error, context.text));
        }
      }
    });
    table.readHistoriesSoon();
    return () => {
      isChosen = false;
      end();
    };
  }, [itemKey, range, table]);
  const isOld = failure !== "" || store.failure.value !== undefined;
  const choices = rangeNames.map((value) => ({ value, label: context.text(`range.${value}`) }));
  return (
    <div class="items-history">
      <div class="items-history-head">
        <Extremes shown={shown} unit={unit} table={table} />
        <Segments label={context.text("range")} value={range} choices={choices} onValue={setRange} />
      </div>
      {failure ? <p class="oxa-card-note">{failure}</p> : null}
      <HistoryChart shown={shown} itemKey={itemKey} unit={unit} table={table} isOld={isOld} />
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
        endLabel={isOld ? undefined : table.context.text("items.now")}
        isOld={isOld}
        hasScale={true}
      />
    </div>
  );
}
