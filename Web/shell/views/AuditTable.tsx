// Rows of the audit trail, each with its details when it is opened.
import { ChevronDown, ChevronRight } from "lucide-preact";
import { useState } from "preact/hooks";
import { ActionTable } from "../../kit/components/ActionTable";
import { Foreign, Mark, type MarkLevel } from "../../kit/components/Basics";
import type { AuditRow } from "../AuditRows";
import { language, text } from "../Language";
import { formatUtc, Time } from "../Time";
import { actionName } from "./AuditFilterForm";

export function AuditTable({ rows }: { readonly rows: readonly AuditRow[] }) {
  return (
    <ActionTable
      columns={[
        text("audit.time"),
        text("users.name"),
        text("audit.action"),
        text("audit.object"),
        text("audit.outcome"),
        text("sessions.address"),
      ]}
      actions={text("audit.details")}
    >
      {rows.map((row) => (
        <Row key={row.sequence} row={row} />
      ))}
    </ActionTable>
  );
}

function Row({ row }: { readonly row: AuditRow }) {
  const [isOpen, setIsOpen] = useState(false);
  const Icon = isOpen ? ChevronDown : ChevronRight;
  return (
    <>
      <tr>
        <td class="view-time">
          <Time value={row.time} precision="second" />
        </td>
        <td data-label={text("users.name")}>
          <Foreign text={row.user || "–"} />
        </td>
        <td data-label={text("audit.action")}>
          <Foreign text={actionName(row.action)} />
        </td>
        <td class="view-object" data-label={text("audit.object")}>
          <Foreign text={row.object} />
        </td>
        <td data-label={text("audit.outcome")}>
          <Outcome outcome={row.outcome} />
        </td>
        <td data-label={text("sessions.address")}>
          <Foreign text={row.address || "–"} />
        </td>
        <td class="view-actions view-corner">
          <button
            type="button"
            class="oxa-button"
            data-kind="quiet"
            aria-expanded={isOpen}
            aria-label={text("audit.detailsOf", { sequence: row.sequence })}
            title={text("audit.details")}
            onClick={() => setIsOpen(!isOpen)}
          >
            <Icon class="oxa-icon" aria-hidden="true" />
          </button>
        </td>
      </tr>
      {isOpen ? <Details row={row} /> : null}
    </>
  );
}

const levels: Readonly<Record<AuditRow["outcome"], MarkLevel>> = {
  success: "good",
  failure: "bad",
  refused: "warning",
  unknown: "info",
};

function Outcome({ outcome }: { readonly outcome: AuditRow["outcome"] }) {
  return <Mark level={levels[outcome]}>{text(`audit.outcome.${outcome}`)}</Mark>;
}

function Details({ row }: { readonly row: AuditRow }) {
  const number = new Intl.NumberFormat(language.value).format(row.sequence);
  const entries: readonly (readonly [string, string])[] = [
    [text("audit.sequence"), number],
    [text("audit.time"), formatUtc(new Date(row.time))],
    [text("audit.action"), row.action],
    [text("audit.requestId"), row.requestId || "–"],
    [text("audit.bootId"), row.bootId || "–"],
    ...Object.entries(row.details),
  ];
  return (
    <tr class="view-details">
      <td colSpan={7}>
        <dl>
          {entries.map(([name, value]) => (
            <div key={name}>
              <dt>
                <Foreign text={name} />
              </dt>
              <dd>
                <Foreign text={value} />
              </dd>
            </div>
          ))}
        </dl>
      </td>
    </tr>
  );
}
