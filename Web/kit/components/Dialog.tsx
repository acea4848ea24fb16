// A modal dialog. The browser keeps the focus inside and gives it back; Escape cancels.
import type { ComponentChildren } from "preact";
import { useEffect, useRef } from "preact/hooks";
import { useId } from "../Ids";

interface DialogProps {
  readonly title: string;
  readonly onCancel: () => void;
  /** What the Enter key does as well; without it, nothing is submitted. */
  readonly onSubmit?: () => void;
  readonly actions: ComponentChildren;
  readonly children: ComponentChildren;
}

/** The element with `data-autofocus` gets the focus, else the first one that can have it. */
export function Dialog({ title, onCancel, onSubmit, actions, children }: DialogProps) {
  const dialog = useRef<HTMLDialogElement>(null);
  const titleId = useId();
  useEffect(() => {
    const element = dialog.current;
    const previous = document.activeElement;
    element?.showModal();
    element?.querySelector<HTMLElement>("[data-autofocus]")?.focus();
    // The browser has scrolled to what has the focus, but the actions are always in sight, and a text is read from its
    // begin.
    element?.scrollTo(0, 0);
    return () => {
      element?.close();
      if (previous instanceof HTMLElement && previous.isConnected) {
        previous.focus();
      }
    };
  }, []);
  const cancel = (event: Event) => {
    event.preventDefault();
    onCancel();
  };
  // Browsers close it on a second Escape, even when the first one was prevented.
  const reopen = () => {
    if (dialog.current && !dialog.current.open) {
      dialog.current.showModal();
    }
  };
  const submit = (event: Event) => {
    event.preventDefault();
    onSubmit?.();
  };
  return (
    <dialog ref={dialog} class="oxa-dialog" aria-labelledby={titleId} onCancel={cancel} onClose={reopen}>
      <form method="dialog" onSubmit={submit}>
        <h2 id={titleId}>{title}</h2>
        <div class="oxa-stack">{children}</div>
        <div class="oxa-dialog-actions">{actions}</div>
      </form>
    </dialog>
  );
}
