// Copies a text, and says so on the button itself.
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

export function CopyButton({ text, label, doneLabel, isLabelShown }: CopyButtonProps) {
  const [isCopied, setIsCopied] = useState(false);
  useEffect(() => {
    const timer = isCopied ? setTimeout(() => setIsCopied(false), shownMilliseconds) : undefined;
    return () => clearTimeout(timer);
  }, [isCopied]);
  const copy = () =>
    navigator.clipboard.writeText(text).then(
      () => setIsCopied(true),
      () => setIsCopied(false),
    );
  const shown = isCopied ? doneLabel : label;
  return (
    <button
      type="button"
      class="oxa-button"
      data-kind={isLabelShown ? "plain" : "quiet"}
      title={isLabelShown ? undefined : shown}
      onClick={() => void copy()}
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
