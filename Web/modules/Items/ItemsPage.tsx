// All values of the device, by groups, with search.
import { useEffect, useMemo, useRef, useState } from "preact/hooks";
import { Field, Select } from "../../kit/components/Basics";
import { FailureBanner, ListSkeleton } from "../../kit/components/Loading";
import { explain } from "../../kit/Failures";
import type { PageContext } from "../../kit/Page";
import { type ItemPolling, ItemStore, startPolling, type TableContext } from "./ItemStore";
import { type Group, groupKeys, matches } from "./Items";
import { ItemTables } from "./ItemTables";
import { Values } from "./Values";

export function ItemsPage({ context }: { readonly context: PageContext }) {
  const store = useMemo(() => new ItemStore(context), [context]);
  const polling = useRef<ItemPolling | undefined>(undefined);
  useEffect(() => {
    const started = startPolling(store);
    polling.current = started;
    return started.stop;
  }, [store]);
  const table = useMemo<TableContext>(
    () => ({
      store,
      context,
      values: new Values(context.language, context.text),
      readHistoriesSoon: () => polling.current?.readHistoriesSoon(),
    }),
    [store, context],
  );
  return (
    <div class="items">
      <h1 class="oxa-page-title">{context.text("page.items")}</h1>
      <FailureLine table={table} retry={() => polling.current?.refresh()} />
      <Items table={table} />
    </div>
  );
}

interface FailureLineProps {
  readonly table: TableContext;
  readonly retry: () => void;
}

function FailureLine({ table, retry }: FailureLineProps) {
  const { store, context, values } = table;
  const failure = store.failure.value;
  if (!failure) {
    return null;
  }
  const cause = explain(failure.error, context.text);
  const hasValues = store.keys.value !== undefined;
  return (
    <FailureBanner
      level={hasValues ? "warning" : "bad"}
      retryLabel={context.text("items.retry")}
      onRetry={retry}
    >
      {hasValues
        ? context.text("items.notUpdated", { time: values.formatTime(failure.since), cause })
        : cause}
    </FailureBanner>
  );
}

function Items({ table }: { readonly table: TableContext }) {
  const { store, context } = table;
  const [search, setSearch] = useState("");
  const [groupName, setGroupName] = useState("");
  const keys = store.keys.value;
  const groups = useMemo(() => groupKeys(keys ?? []), [keys]);
  const found = useMemo(() => select(store, groups, groupName, search), [store, groups, groupName, search]);
  if (keys === undefined) {
    return store.failure.value ? null : <ListSkeleton />;
  }
  const number = new Intl.NumberFormat(context.language);
  const count = found.reduce((sum, group) => sum + group.keys.length, 0);
  return (
    <>
      <div class="items-bar">
        <Field label={context.text("items.search")} type="search" value={search} onValue={setSearch} />
        <Select
          label={context.text("items.group")}
          value={groupName}
          choices={[
            { value: "", label: context.text("items.allGroups") },
            ...groups.map(({ name }) => ({ value: name, label: name })),
          ]}
          onValue={setGroupName}
        />
        <p class="oxa-soft items-count" role="status">
          {context.text("items.count", {
            count,
            shown: number.format(count),
            total: number.format(keys.length),
          })}
        </p>
      </div>
      {count === 0 ? <p class="oxa-card oxa-soft">{context.text("items.nothing")}</p> : null}
      <ItemTables key={`${groupName}\n${search}`} groups={found} table={table} />
    </>
  );
}

function select(
  store: ItemStore,
  groups: readonly Group[],
  groupName: string,
  search: string,
): readonly Group[] {
  return groups
    .filter(({ name }) => groupName === "" || name === groupName)
    .map(({ name, keys }) => ({ name, keys: keys.filter((key) => isFound(store, key, search)) }))
    .filter(({ keys }) => keys.length > 0);
}

function isFound(store: ItemStore, key: string, search: string): boolean {
  const item = store.get(key)?.peek();
  return item !== undefined && matches(item, search);
}
