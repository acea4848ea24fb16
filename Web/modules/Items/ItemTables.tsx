// One table per group. Only what the reader has scrolled to is in the document: a device may have thousands of items.
import { type ReadonlySignal, useSignal } from "@preact/signals";
import { ChevronDown, ChevronRight } from "lucide-preact";
import { useEffect, useLayoutEffect, useRef, useState } from "preact/hooks";
import { Button, Foreign, Mark, makeVisible } from "../../kit/components/Basics";
import { useId } from "../../kit/Ids";
import { ItemDetails, ItemKey } from "./ItemDetails";
import type { ReadItem, TableContext } from "./ItemStore";
import { cut, type Group, takeKeys } from "./Items";

const rowsAtOnce = 200;
const rowsPerBlock = 40;
const nearDistance = "400px";

interface TablesProps {
  readonly groups: readonly Group[];
  readonly table: TableContext;
}

export function ItemTables({ groups, table }: TablesProps) {
  const [limit, setLimit] = useState(rowsAtOnce);
  const total = groups.reduce((sum, group) => sum + group.keys.length, 0);
  return (
    <div class="items-groups" data-stale={table.store.failure.value !== undefined}>
      {takeKeys(groups, limit).map((group) => (
        <GroupTable key={group.name} group={group} table={table} />
      ))}
      {total > limit ? (
        <MoreRows label={table.context.text("items.more")} onMore={() => setLimit(limit + rowsAtOnce)} />
      ) : null}
    </div>
  );
}

/** Goes on by itself when it comes into view. */
function MoreRows({ label, onMore }: { readonly label: string; readonly onMore: () => void }) {
  const element = useRef<HTMLDivElement>(null);
  const latest = useRef(onMore);
  latest.current = onMore;
  useEffect(() => {
    const observer = new IntersectionObserver(
      (entries) => {
        if (entries.some((entry) => entry.isIntersecting)) {
          latest.current();
        }
      },
      { rootMargin: nearDistance },
    );
    if (element.current) {
      observer.observe(element.current);
    }
    return () => observer.disconnect();
  });
  return (
    <div class="oxa-row items-more" ref={element}>
      <Button onClick={onMore}>{label}</Button>
    </div>
  );
}

// The roles are named because tables lose them where their display is another.
function GroupTable({ group, table }: { readonly group: Group; readonly table: TableContext }) {
  const { text } = table.context;
  const titleId = useId();
  return (
    <section class="items-group">
      <h2 class="items-group-title" id={titleId}>
        <Foreign text={group.name} />
      </h2>
      <table class="items-table" role="table" aria-labelledby={titleId}>
        <thead class="oxa-hidden" role="rowgroup">
          <tr role="row">
            <th role="columnheader">{text("items.item")}</th>
            <th role="columnheader">{text("items.value")}</th>
            <th role="columnheader">{text("items.state")}</th>
            <th role="columnheader">{text("items.details")}</th>
          </tr>
        </thead>
        {cut(group.keys, rowsPerBlock).map((keys) => (
          <RowBlock key={keys[0]} keys={keys} table={table} />
        ))}
      </table>
    </section>
  );
}

interface RowBlockProps {
  readonly keys: readonly string[];
  readonly table: TableContext;
}

/** Rows that are drawn and follow their values only while they are near what the reader sees. */
function RowBlock({ keys, table }: RowBlockProps) {
  const element = useRef<HTMLTableSectionElement>(null);
  const isNear = useSignal(true);
  useEffect(() => {
    const observer = new IntersectionObserver(
      (entries) => {
        isNear.value = entries.at(-1)?.isIntersecting ?? true;
      },
      { rootMargin: nearDistance },
    );
    if (element.current) {
      observer.observe(element.current);
    }
    return () => observer.disconnect();
  }, [isNear]);
  useLayoutEffect(
    () => element.current?.style.setProperty("--items-rows", String(keys.length)),
    [keys.length],
  );
  return (
    <tbody class="items-block" role="rowgroup" ref={element}>
      {keys.map((key) => (
        <Row key={key} itemKey={key} isNear={isNear} table={table} />
      ))}
    </tbody>
  );
}

interface RowProps {
  readonly itemKey: string;
  readonly isNear: ReadonlySignal<boolean>;
  readonly table: TableContext;
}

function Row({ itemKey, isNear, table }: RowProps) {
  const [isOpen, setIsOpen] = useState(false);
  const source = table.store.get(itemKey);
  const item = isNear.value ? source?.value : source?.peek();
  if (!item) {
    return null;
  }
  const { text } = table.context;
  const Icon = isOpen ? ChevronDown : ChevronRight;
  return (
    <>
      <tr class="items-row" role="row">
        <td class="items-name" role="cell">
          <ItemKey text={item.key} />
          {item.description ? (
            <span class="oxa-soft">
              <Foreign text={item.description} />
            </span>
          ) : null}
        </td>
        <td class="items-value" role="cell">
          <ItemValue item={item} table={table} />
        </td>
        <td class="items-state" role="cell">
          <ItemState item={item} table={table} />
        </td>
        <td class="items-open" role="cell">
          <button
            type="button"
            class="oxa-button"
            data-kind="quiet"
            aria-expanded={isOpen}
            aria-label={text("items.detailsOf", { key: makeVisible(item.key) })}
            onClick={() => setIsOpen(!isOpen)}
          >
            <Icon class="oxa-icon" aria-hidden="true" />
          </button>
        </td>
      </tr>
      {isOpen ? <ItemDetails item={item} table={table} /> : null}
    </>
  );
}

interface ItemProps {
  readonly item: ReadItem;
  readonly table: TableContext;
}

function ItemValue({ item, table }: ItemProps) {
  const { value, unit } = table.values.format(item);
  return (
    <span class="items-value-text" data-quality={item.quality}>
      <bdi>{value}</bdi>
      {unit ? <span class="oxa-soft"> {unit}</span> : null}
    </span>
  );
}

function ItemState({ item, table }: ItemProps) {
  const { text } = table.context;
  return (
    <>
      {item.origin === "measured" ? null : <Mark>{text(`origin.${item.origin}`)}</Mark>}
      {item.quality === "good" ? <span class="oxa-soft items-good">{text("quality.good")}</span> : null}
      {item.quality === "old" ? (
        <Mark level="warning">
          {text("quality.oldSince", { time: table.values.formatTime(item.valueTime) })}
        </Mark>
      ) : null}
      {item.quality === "missing" && item.origin !== "absent" ? (
        <Mark level="bad">{text("quality.missing")}</Mark>
      ) : null}
      {item.cause && item.quality !== "good" ? (
        <span class="oxa-soft items-cause">
          <Foreign text={item.cause} />
        </span>
      ) : null}
    </>
  );
}
