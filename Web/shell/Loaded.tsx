// What a view reads from the host: not there yet, there, or failed.
import type { ComponentChildren } from "preact";
import { useCallback, useEffect, useRef, useState } from "preact/hooks";
import { FailureBanner, ListSkeleton } from "../kit/components/Loading";
import { explain } from "../kit/Failures";
import { Poller } from "../kit/Polling";
import { lookUp, text } from "./Language";

export interface Loaded<T> {
  readonly value: T | undefined;
  /** Of the last try; the value is then that of an earlier one. */
  readonly error: unknown;
  readonly reload: () => Promise<void>;
}

/** Reads when the view is opened, and when `load` changes, which has to be stable otherwise. */
export function useLoaded<T>(load: (signal: AbortSignal) => Promise<T>): Loaded<T> {
  const [value, setValue] = useState<T | undefined>();
  const [error, setError] = useState<unknown>();
  const aborted = useRef(new AbortController());
  const reload = useCallback(async () => {
    aborted.current.abort();
    const mine = new AbortController();
    aborted.current = mine;
    try {
      const found = await load(mine.signal);
      if (!mine.signal.aborted) {
        setValue(() => found);
        setError(undefined);
      }
    } catch (failure) {
      if (!mine.signal.aborted) {
        setError(failure);
      }
    }
  }, [load]);
  useEffect(() => {
    setValue(undefined);
    setError(undefined);
    void reload();
    return () => aborted.current.abort();
  }, [reload]);
  return { value, error, reload: () => reload().then(keepFocus) };
}

/** The element with the focus may be gone, for instance with its row. */
export function keepFocus(): void {
  requestAnimationFrame(() => {
    if (document.activeElement === document.body) {
      document.getElementById("content")?.focus({ preventScroll: true });
    }
  });
}

/** As `useLoaded`, again and again. */
export function usePolled<T>(
  load: (signal: AbortSignal) => Promise<T>,
  everyMilliseconds: number,
): Loaded<T> {
  const [value, setValue] = useState<T | undefined>();
  const [error, setError] = useState<unknown>();
  const poller = useRef<Poller | undefined>(undefined);
  useEffect(() => {
    const started = new Poller();
    poller.current = started;
    const read = async (signal: AbortSignal) => {
      try {
        const found = await load(signal);
        setValue(() => found);
        setError(undefined);
      } catch (failure) {
        if (!signal.aborted) {
          setError(failure);
        }
        throw failure;
      }
    };
    started.add({ read, everyMilliseconds });
    return () => started.stop();
  }, [load, everyMilliseconds]);
  const reload = useCallback(async () => poller.current?.refresh(), []);
  return { value, error, reload };
}

interface LoadedListProps<T> {
  readonly loaded: Loaded<readonly T[]>;
  /** Said when there is no element. */
  readonly empty: string;
  readonly children: (elements: readonly T[]) => ComponentChildren;
}

/** The elements, or what there is to say in their place. */
export function LoadedList<T>({ loaded, empty, children }: LoadedListProps<T>) {
  const { value, error } = loaded;
  return (
    <>
      {error === undefined ? null : <LoadFailure error={error} reload={loaded.reload} />}
      {value === undefined && error === undefined ? <ListSkeleton /> : null}
      {value?.length === 0 ? <p class="oxa-card oxa-soft">{empty}</p> : null}
      {value && value.length > 0 ? children(value) : null}
    </>
  );
}

export function LoadFailure({ error, reload }: { readonly error: unknown; readonly reload: () => unknown }) {
  return (
    <FailureBanner retryLabel={text("unreachable.retry")} onRetry={() => void reload()}>
      {explain(error, lookUp)}
    </FailureBanner>
  );
}
