import { useComputed, useSignalEffect } from "@preact/signals";
import { useRef } from "preact/hooks";
import { Segments, Value } from "../../../kit/components/Basics";
import { rangeNames } from "../../../kit/Ranges";
import { type CardProps, SectionCard } from "./SectionCard";
import { RangeText, SeriesChart } from "./SeriesChart";
import { ValueSkeleton } from "./Values";

export function Load({ store }: CardProps) {
  const { text } = store.context;
  return (
    <SectionCard
      store={store}
      title={text("load.title")}
      section={store.utilization}
      name="load"
      area="load"
      aside={<RangeChoice store={store} />}
    >
      <div class="overview-load-body">
        <div class="overview-with-chart">
          <LoadValue store={store} />
          <RangeText store={store} name="load" unit="%" />
          <SeriesChart
            store={store}
            name="load"
            title={text("load.title")}
            unit="%"
            minimum={0}
            maximum={100}
            hasScale={true}
          />
        </div>
        <Cores store={store} />
      </div>
    </SectionCard>
  );
}

function RangeChoice({ store }: CardProps) {
  const { text } = store.context;
  return (
    <Segments
      label={text("load.range")}
      value={store.loadRange.value}
      choices={rangeNames.map((name) => ({ value: name, label: text(`range.${name}`) }))}
      onValue={(name) => store.chooseLoadRange(name)}
    />
  );
}

function LoadValue({ store }: CardProps) {
  const load = useComputed(() => store.utilization.value.value?.cpuLoadTotal).value;
  return load === undefined ? (
    <ValueSkeleton />
  ) : (
    <Value number={store.formats.formatNumber(load)} unit="%">
      {store.context.text("load.allCores")}
    </Value>
  );
}

const usualCores = 4;
/** More cores than this are shown in several columns. */
const coresOfOneColumn = 8;

/** Up to 255 rows every two seconds: only what changed is written, and not through the virtual DOM. */
function Cores({ store }: CardProps) {
  const { text } = store.context;
  const list = useRef<HTMLUListElement>(null);
  const count = useComputed(() => store.utilization.value.value?.cpuCoresLoad.length ?? usualCores).value;
  useSignalEffect(() => {
    const loads = store.utilization.value.value?.cpuCoresLoad ?? [];
    const rows = list.current?.children ?? [];
    for (let index = 0; index < rows.length; index += 1) {
      const row = rows[index];
      const load = loads[index];
      if (row instanceof HTMLElement && row.dataset.load !== String(load)) {
        row.dataset.load = String(load);
        showLoad(row, load, store.formats.formatNumber(load ?? 0));
      }
    }
  });
  return (
    <ul
      key={count}
      ref={list}
      class="overview-cores"
      data-many={count > coresOfOneColumn}
      aria-label={text("load.cores")}
      // Scrolls, so the keyboard has to reach it.
      tabIndex={count > coresOfOneColumn ? 0 : undefined}
    >
      {Array.from({ length: count }, (_, index) => (
        <Core key={index} number={index + 1} label={text("load.core", { number: index + 1 })} />
      ))}
    </ul>
  );
}

function Core({ number, label }: { readonly number: number; readonly label: string }) {
  return (
    <li class="overview-core">
      <span class="oxa-soft" aria-hidden="true">
        {number}
      </span>
      <span class="oxa-hidden">{label}</span>
      <span class="overview-core-bar" aria-hidden="true">
        <span />
      </span>
      <span class="overview-core-load" />
    </li>
  );
}

function showLoad(row: HTMLElement, load: number | undefined, text: string): void {
  const value = row.lastElementChild;
  const bar = value?.previousElementSibling?.firstElementChild;
  if (value && bar instanceof HTMLElement) {
    value.textContent = load === undefined ? "" : `${text} %`;
    bar.style.transform = `translateX(${(load ?? 0) - 100}%)`;
  }
}
