// Who did what, the newest first.
import { useCallback, useEffect, useRef, useState } from "preact/hooks";
import { Button } from "../../kit/components/Basics";
import { type AuditFilter, type AuditPage, type AuditRow, everything, readPage } from "../AuditRows";
import { text } from "../Language";
import { keepFocus, LoadedList, LoadFailure, useLoaded } from "../Loaded";
import { ViewHead } from "../ViewHead";
import { AuditExport } from "./AuditExport";
import { AuditFilterForm } from "./AuditFilterForm";
import { AuditTable } from "./AuditTable";

const pageRows = 50;

export default function Audit() {
  const [filter, setFilter] = useState<AuditFilter>(everything);
  const audit = useAudit(filter);
  const apply = (chosen: AuditFilter) => {
    if (chosen === filter) {
      void audit.newest.reload();
    } else {
      setFilter(chosen);
    }
  };
  return (
    <>
      <ViewHead title={text("view.audit")}>
        <AuditExport filter={filter} />
      </ViewHead>
      <AuditFilterForm onApply={apply} />
      <LoadedList loaded={audit.newest} empty={text("audit.empty")}>
        {() => <AuditTable rows={audit.rows} />}
      </LoadedList>
      {audit.olderError === undefined ? null : (
        <LoadFailure error={audit.olderError} reload={audit.readOlder} />
      )}
      {audit.before === undefined ? null : (
        <div class="oxa-row view-more">
          <Button aria-disabled={audit.isReading} onClick={() => void audit.readOlder()}>
            {text("audit.older")}
          </Button>
        </div>
      )}
    </>
  );
}

const nothingOlder: AuditPage = { rows: [] };

/** The newest page, and what was read behind it. */
function useAudit(filter: AuditFilter) {
  const read = useCallback((signal: AbortSignal) => readPage(filter, undefined, pageRows, signal), [filter]);
  const loaded = useLoaded(read);
  const [older, setOlder] = useState<AuditPage | undefined>();
  const [olderError, setOlderError] = useState<unknown>();
  const [isReading, setIsReading] = useState(false);
  const aborted = useRef(new AbortController());
  const newestPage = loaded.value;
  useEffect(() => {
    const mine = new AbortController();
    aborted.current = mine;
    setOlder(undefined);
    setOlderError(undefined);
    setIsReading(false);
    return () => mine.abort();
  }, [filter, newestPage]);
  const before = older ? older.before : newestPage?.before;
  const readOlder = async () => {
    if (before === undefined || isReading) {
      return;
    }
    setIsReading(true);
    setOlderError(undefined);
    const { signal } = aborted.current;
    try {
      const page = await readPage(filter, before, pageRows, signal);
      signal.throwIfAborted();
      const { rows } = older ?? nothingOlder;
      setOlder({ ...page, rows: [...rows, ...page.rows] });
    } catch (error) {
      // Neither rows nor a failure of another filter belong to what is shown.
      if (signal.aborted) {
        return;
      }
      setOlderError(error);
    }
    setIsReading(false);
    // The last page takes the button away.
    keepFocus();
  };
  const rows: readonly AuditRow[] = [...(newestPage?.rows ?? []), ...(older?.rows ?? [])];
  return { newest: { ...loaded, value: newestPage?.rows }, rows, before, readOlder, olderError, isReading };
}
