// Copies a text; the button shows that it was copied.
import { Check, Copy } from "lucide-preact";
import { useEffect, useState } from "preact/hooks";

interface CopyButtonProps {
  readonly text: string;
  /** What the button does, for instance "Copy serial number". */
  readonly label: string;
  /** After it, for instance "Copied". */
  readonly doneLabel: string;
  readonly isLabelShown?: boolean;
}

const shownMilliseconds = 2_000;

/** Browsers have the clipboard's interface over TLS only; the old way needs a selection beside the button, so that it
 * works in a dialog as well. */
async function copyText(text: string, button: HTMLElement): Promise<boolean> {
  if ("clipboard" in navigator) {
    return navigator.clipboard.writeText(text).then(
      () => true,
      () => false,
    );
  }
  const field = document.createElement("textarea");
  field.className = "oxa-hidden";
  field.value = text;
  button.after(field);
  field.select();
  const isDone = document.execCommand("copy");
  field.remove();
  button.focus();
  return isDone;
}

export function CopyButton({ text, label, doneLabel, isLabelShown }: CopyButtonProps) {
  const [isCopied, setIsCopied] = useState(false);
  useEffect(() => {
    const timer = isCopied ? setTimeout(() => setIsCopied(false), shownMilliseconds) : undefined;
    return () => clearTimeout(timer);
  }, [isCopied]);
  const copy = async (button: HTMLElement) => setIsCopied(await copyText(text, button));
  const shown = isCopied ? doneLabel : label;
  return (
    <button
      type="button"
      class="oxa-button"
      data-kind={isLabelShown ? "plain" : "quiet"}
      title={isLabelShown ? undefined : shown}
      onClick={(event) => void copy(event.currentTarget)}
    >
      {isCopied ? (
        <Check class="oxa-icon" aria-hidden="true" />
      ) : (
        <Copy class="oxa-icon" aria-hidden="true" />
      )}
      <span class={isLabelShown ? undefined : "oxa-hidden"} aria-live="polite">
        {shown}
      </span>
    </button>
  );
}
