// Saves every row of the filter as a file.
import { Download } from "lucide-preact";
import { useEffect, useRef, useState } from "preact/hooks";
import { Banner, Button } from "../../kit/components/Basics";
import { formatFileTime, saveFile } from "../../kit/Download";
import { explain } from "../../kit/Failures";
import { type AuditFilter, maximumExportRows, readAll, toTable } from "../AuditRows";
import { formatCsv } from "../Csv";
import { language, lookUp, text } from "../Language";
import { announce } from "../State";

type Progress =
  | { readonly kind: "idle" }
  | { readonly kind: "reading"; readonly count: number }
  | { readonly kind: "cut" }
  | { readonly kind: "failed"; readonly error: unknown };

export function AuditExport({ filter }: { readonly filter: AuditFilter }) {
  const [progress, setProgress] = useState<Progress>({ kind: "idle" });
  const aborted = useRef<AbortController | undefined>(undefined);
  useEffect(() => () => aborted.current?.abort(), []);
  const start = async () => {
    const mine = new AbortController();
    aborted.current = mine;
    setProgress({ kind: "reading", count: 0 });
    try {
      const { rows, isCut } = await readAll(
        filter,
        (count) => setProgress({ kind: "reading", count }),
        mine.signal,
      );
      saveFile(`audit-${formatFileTime(new Date())}.csv`, "text/csv;charset=utf-8", formatCsv(toTable(rows)));
      setProgress({ kind: isCut ? "cut" : "idle" });
      announce(text("audit.exported", { count: rows.length }));
    } catch (error) {
      setProgress(mine.signal.aborted ? { kind: "idle" } : { kind: "failed", error });
    }
  };
  return (
    <>
      <ExportMessage progress={progress} />
      {progress.kind === "reading" ? (
        <Button onClick={() => aborted.current?.abort()}>{text("dialog.cancel")}</Button>
      ) : (
        <Button onClick={() => void start()}>
          <Download class="oxa-icon" aria-hidden="true" />
          {text("audit.export")}
        </Button>
      )}
    </>
  );
}

function ExportMessage({ progress }: { readonly progress: Progress }) {
  const format = (count: number) => new Intl.NumberFormat(language.value).format(count);
  switch (progress.kind) {
    case "idle":
      return null;
    case "reading":
      return <span class="oxa-soft">{text("audit.exporting", { rows: format(progress.count) })}</span>;
    case "cut":
      return <Banner>{text("audit.exportCut", { rows: format(maximumExportRows) })}</Banner>;
    case "failed":
      return <Banner level="bad">{explain(progress.error, lookUp)}</Banner>;
  }
}
