// Ids of elements that name or describe others.
import { useState } from "preact/hooks";

let count = 0;

/** Unlike that of preact/hooks, unique over shell and page, which are rendered apart in one document. */
export function useId(): string {
  const [id] = useState(() => {
    count += 1;
    return `oxa-${count}`;
  });
  return id;
}
