// Rows of the audit trail: read by pages, and made a table for export.
import { call, type Schemas } from "../kit/Api";

export type AuditPage = Schemas["AuditRows"];
export type AuditRow = AuditPage["rows"][number];

/** Empty texts select everything. */
export interface AuditFilter {
  readonly user: string;
  readonly action: string;
  /** As a field of the type "datetime-local" has it, on the reader's clock. */
  readonly from: string;
  readonly to: string;
}

export const everything: AuditFilter = { user: "", action: "", from: "", to: "" };

/** The kinds that the host is known to write; it may have others. */
export const knownActions = [
  "AuditNotWritable",
  "AuditWritable",
  "CertificateChanged",
  "CommandExecuted",
  "CommandFailed",
  "CommandRefused",
  "CommandRequested",
  "ConfigurationReloaded",
  "CrossOriginRefused",
  "HostCrashed",
  "HostStarted",
  "HostStopped",
  "LogInFailed",
  "LogInThrottled",
  "LoggedIn",
  "LoggedOut",
  "ModuleStateChanged",
  "PasswordConfirmationFailed",
  "PasswordConfirmed",
  "RightsRefused",
  "ServiceBack",
  "ServiceLost",
  "SessionEndedByOther",
  "SessionExpired",
  "TokenAdded",
  "TokenRemoved",
  "UserAdded",
  "UserChanged",
  "UserDisabled",
  "UserEnabled",
  "UserRemoved",
] as const;

/** The host takes whole seconds in UTC; an invalid time is passed on, and the host refuses it. */
export function toHostTime(local: string): string {
  const time = new Date(local);
  return Number.isNaN(time.getTime()) ? local : `${time.toISOString().slice(0, 19)}Z`;
}

export function toQuery(filter: AuditFilter): Readonly<Record<string, string>> {
  return {
    ...(filter.user ? { user: filter.user } : {}),
    ...(filter.action ? { action: filter.action } : {}),
    ...(filter.from ? { from: toHostTime(filter.from) } : {}),
    ...(filter.to ? { to: toHostTime(filter.to) } : {}),
  };
}

/** The newest rows before the sequence number `before`, or of all. */
export function readPage(
  filter: AuditFilter,
  before: number | undefined,
  limit: number,
  signal: AbortSignal,
): Promise<AuditPage> {
  const query = { ...toQuery(filter), limit, ...(before === undefined ? {} : { before }) };
  return call("get", "/api/v1/audit", undefined, { query, signal });
}

const exportPageRows = 200;
/** What a browser keeps in memory without trouble, and more than a trail of the usual size has. */
export const maximumExportRows = 100_000;

export interface Export {
  readonly rows: readonly AuditRow[];
  /** There are older ones that the bound left out. */
  readonly isCut: boolean;
}

/** Reads every row of the filter, the newest first. */
export async function readAll(
  filter: AuditFilter,
  onCount: (count: number) => void,
  signal: AbortSignal,
): Promise<Export> {
  const rows: AuditRow[] = [];
  let before: number | undefined;
  do {
    const page = await readPage(filter, before, exportPageRows, signal);
    rows.push(...page.rows);
    before = page.before;
    onCount(rows.length);
  } while (before !== undefined && rows.length < maximumExportRows);
  return { rows, isCut: before !== undefined };
}

const columns = [
  "sequence",
  "time",
  "user",
  "address",
  "action",
  "object",
  "outcome",
  "requestId",
  "bootId",
] as const;

/** The header line, then the rows; times are UTC, the details one cell of JSON. */
export function toTable(rows: readonly AuditRow[]): string[][] {
  return [
    [...columns, "details"],
    ...rows.map((row) => [...columns.map((name) => String(row[name])), JSON.stringify(row.details)]),
  ];
}
