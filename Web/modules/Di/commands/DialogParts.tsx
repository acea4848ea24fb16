// What the dialogs of both commands have in common.
import { Fragment } from "preact";
import { Button, type ButtonKind, Foreign } from "../../../kit/components/Basics";
import type { DeviceIdentity, PageContext } from "../../../kit/Page";
import type { CommandFailure } from "./Command";

interface DeviceLinesProps {
  readonly context: PageContext;
  readonly device: DeviceIdentity | undefined;
}

/** Names the device, and its address: the reader may have several pages open. */
export function DeviceLines({ context: { text }, device }: DeviceLinesProps) {
  const lines = [
    { label: text("command.device.name"), value: device?.name },
    { label: text("command.device.serialNumber"), value: device?.serialNumber },
    { label: text("command.device.address"), value: window.location.host },
  ];
  return (
    <dl class="oxa-list command-device">
      {lines
        .filter(({ value }) => value)
        .map(({ label, value }) => (
          <Fragment key={label}>
            <dt>{label}</dt>
            <dd>
              <Foreign text={value ?? ""} />
            </dd>
          </Fragment>
        ))}
    </dl>
  );
}

interface FailureLineProps {
  readonly context: PageContext;
  readonly failure: CommandFailure;
}

/** Why the command was not carried out. */
export function FailureLine({ context: { text }, failure }: FailureLineProps) {
  return (
    <div class="oxa-banner" data-level="bad" role="alert">
      <strong>{failure.isForeign ? text("command.refused") : text("command.failed")}</strong>
      <Foreign text={failure.text} />
    </div>
  );
}

interface ActionsProps {
  readonly context: PageContext;
  readonly kind: ButtonKind;
  readonly label: string;
  readonly isSending: boolean;
  readonly isArmed: boolean;
  readonly onClose: () => void;
  /** Without it the button submits the dialog's form. */
  readonly onConfirm?: () => void;
}

/** The focus begins on Cancel. What has been sent cannot be cancelled any more. */
export function Actions({
  context: { text },
  kind,
  label,
  isSending,
  isArmed,
  onClose,
  onConfirm,
}: ActionsProps) {
  return (
    <>
      <Button data-autofocus={true} aria-disabled={isSending} onClick={isSending ? undefined : onClose}>
        {text("command.cancel")}
      </Button>
      <Button
        type={onConfirm ? "button" : "submit"}
        kind={kind}
        aria-disabled={isSending || !isArmed}
        onClick={onConfirm}
      >
        {isSending ? text("command.sending") : label}
      </Button>
    </>
  );
}
