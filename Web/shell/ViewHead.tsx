// The title of a view, with what can be done in it beside.
import type { ComponentChildren } from "preact";

interface ViewHeadProps {
  readonly title: string;
  readonly children?: ComponentChildren;
}

export function ViewHead({ title, children }: ViewHeadProps) {
  return (
    <div class="view-head">
      <h1 class="oxa-page-title">{title}</h1>
      {children ? <div class="oxa-row">{children}</div> : null}
    </div>
  );
}
