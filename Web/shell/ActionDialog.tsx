// A dialog that carries one action out: asks or takes what is needed, says why it failed, closes when it is done.
import type { ComponentChildren } from "preact";
import { useState } from "preact/hooks";
import { Button, type ButtonKind } from "../kit/components/Basics";
import { Dialog } from "../kit/components/Dialog";
import { explain } from "../kit/Failures";
import { lookUp, text } from "./Language";
import { announce } from "./State";

interface ActionDialogProps {
  readonly title: string;
  readonly submit: string;
  /** "danger": Cancel has the focus. */
  readonly kind?: ButtonKind;
  /** The text that is read out when it is done. Throws what the host said. */
  readonly action: () => Promise<string>;
  readonly onClose: (isDone: boolean) => void;
  readonly children: ComponentChildren;
}

export function ActionDialog(props: ActionDialogProps) {
  const { title, submit, kind = "primary", action, onClose, children } = props;
  const [failure, setFailure] = useState("");
  const [isRunning, setIsRunning] = useState(false);
  const run = async () => {
    if (isRunning) {
      return;
    }
    setIsRunning(true);
    setFailure("");
    try {
      announce(await action());
      onClose(true);
    } catch (error) {
      setFailure(explain(error, lookUp));
      setIsRunning(false);
    }
  };
  const actions = (
    <>
      <Button data-autofocus={kind === "danger" ? "" : undefined} onClick={() => onClose(false)}>
        {text("dialog.cancel")}
      </Button>
      <Button type="submit" kind={kind} aria-disabled={isRunning}>
        {submit}
      </Button>
    </>
  );
  return (
    <Dialog title={title} onCancel={() => onClose(false)} onSubmit={() => void run()} actions={actions}>
      {children}
      {failure ? (
        <p class="oxa-banner" data-level="bad" role="alert">
          {failure}
        </p>
      ) : null}
    </Dialog>
  );
}
