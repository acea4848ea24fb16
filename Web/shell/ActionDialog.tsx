// A dialog that carries one action out: asks or takes what is needed, says why it failed, closes when it is done.
import type { ComponentChildren } from "preact";
import { Button, type ButtonKind } from "../kit/components/Basics";
import { Dialog } from "../kit/components/Dialog";
import { useAction } from "./Action";
import { text } from "./Language";
import { announce } from "./State";

interface ActionDialogProps {
  readonly title: string;
  readonly submit: string;
  /** "danger": Cancel has the focus. */
  readonly kind?: ButtonKind;
  /** The text that is read out when it is done. Throws what the host said. */
  readonly action: () => Promise<string>;
  /** Of an attempt before the dialog was opened. */
  readonly firstFailure?: string;
  readonly onClose: (isDone: boolean) => void;
  readonly children: ComponentChildren;
}

export function ActionDialog(props: ActionDialogProps) {
  const { title, submit, kind = "primary", action, firstFailure, onClose, children } = props;
  const { isRunning, failure, run } = useAction(async () => {
    announce(await action());
    onClose(true);
  }, firstFailure);
  // What has been sent cannot be cancelled any more, and a failure has to be seen.
  const cancel = () => {
    if (!isRunning) {
      onClose(false);
    }
  };
  const actions = (
    <>
      <Button data-autofocus={kind === "danger" ? "" : undefined} aria-disabled={isRunning} onClick={cancel}>
        {text("dialog.cancel")}
      </Button>
      <Button type="submit" kind={kind} aria-disabled={isRunning}>
        {submit}
      </Button>
    </>
  );
  return (
    <Dialog title={title} onCancel={cancel} onSubmit={() => void run()} actions={actions}>
      {children}
      {failure ? (
        <p class="oxa-banner" data-level="bad" role="alert">
          {failure}
        </p>
      ) : null}
    </Dialog>
  );
}
