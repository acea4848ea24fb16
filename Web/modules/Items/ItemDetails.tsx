// Everything about one item, with its history where the device keeps one.
import { Fragment } from "preact";
import { Foreign, makeVisible } from "../../kit/components/Basics";
import { CopyButton } from "../../kit/components/CopyButton";
import { ItemHistoryChart } from "./ItemHistoryChart";
import type { ReadItem, TableContext } from "./ItemStore";

/** Broken into lines behind its points where it can be. */
export function ItemKey({ text: key }: { readonly text: string }) {
  const parts = makeVisible(key).split(".");
  return (
    <bdi>
      {parts.map((part, index) => (
        <Fragment key={index}>
          {index === 0 ? null : <wbr />}
          {index < parts.length - 1 ? `${part}.` : part}
        </Fragment>
      ))}
    </bdi>
  );
}

interface ItemDetailsProps {
  readonly item: ReadItem;
  readonly table: TableContext;
}

export function ItemDetails({ item, table }: ItemDetailsProps) {
  return (
    <tr class="items-details" role="row">
      <td role="cell">
        <Facts item={item} table={table} />
        {item.history ? <ItemHistoryChart itemKey={item.key} unit={item.unit} table={table} /> : null}
      </td>
    </tr>
  );
}

function Facts({ item, table }: ItemDetailsProps) {
  const { text } = table.context;
  return (
    <dl class="items-facts">
      <div>
        <dt>{text("items.key")}</dt>
        <dd class="items-key">
          <ItemKey text={item.key} />
          <CopyButton text={item.key} label={text("items.copyKey")} doneLabel={text("items.copied")} />
        </dd>
      </div>
      <Fact name={text("items.value")} value={table.values.formatExact(item)} />
      <Fact name={text("items.type")} value={item.type} />
      <Fact name={text("items.origin")} value={text(`origin.${item.origin}.long`)} />
      {item.quality === "good" ? null : <Fact name={text("items.cause")} value={item.cause || "–"} />}
    </dl>
  );
}

function Fact({ name, value }: { readonly name: string; readonly value: string }) {
  return (
    <div>
      <dt>{name}</dt>
      <dd>
        <Foreign text={value} />
      </dd>
    </div>
  );
}
