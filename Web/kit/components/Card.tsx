// A card: one matter, with its title, and what is said when its values are old.
import type { ComponentChildren } from "preact";
import { useId } from "../Ids";

interface CardProps {
  readonly title: string;
  /** Behind the title: marks, choices. */
  readonly aside?: ComponentChildren;
  /** "as of 02:51"; set when the values are old. */
  readonly since?: string | undefined;
  /** Why they are old, in words. */
  readonly note?: ComponentChildren;
  /** For the grid of the page. */
  readonly class?: string;
  /** Below the body; not dimmed with it. */
  readonly footer?: ComponentChildren;
  readonly children: ComponentChildren;
}

export function Card({ title, aside, since, note, class: name = "", footer, children }: CardProps) {
  const titleId = useId();
  return (
    <section class={`oxa-card ${name}`} data-note={note ? "true" : undefined} aria-labelledby={titleId}>
      <div class="oxa-card-head">
        <h2 id={titleId} class="oxa-card-title">
          {title}
        </h2>
        <div class="oxa-card-aside">
          {since ? <span class="oxa-card-since">{since}</span> : null}
          {aside}
        </div>
      </div>
      <div class="oxa-card-body" data-stale={since ? "true" : "false"}>
        {children}
      </div>
      {footer}
      {note ? <p class="oxa-card-note">{note}</p> : null}
    </section>
  );
}
