import { useState } from "preact/hooks";
import { Dialog } from "../../../kit/components/Dialog";
import type { DeviceIdentity, PageContext } from "../../../kit/Page";
import { useCommand } from "./Command";
import { mayRun, type SwitchPosition } from "./Confirmation";
import { Actions, DeviceLines, FailureLine } from "./DialogParts";
import { loadTimes } from "./RestartStorage";
import { describeLastTimes } from "./RestartWords";

export interface CommandDialogProps {
  readonly context: PageContext;
  readonly device: DeviceIdentity | undefined;
  readonly position: SwitchPosition;
  readonly onClose: () => void;
}

export function RestartDialog({ context, device, position, onClose }: CommandDialogProps) {
  const [confirmed, setConfirmed] = useState<SwitchPosition | undefined>();
  const { isSending, failure, sendCommand } = useCommand(context, "restart", device, onClose);
  const { text } = context;
  // What was confirmed of one position does not hold for another.
  const isConfirmed = confirmed === position;
  const isArmed = isConfirmed || !mayRun(position);
  const usual = describeLastTimes(loadTimes(device?.serialNumber ?? ""), text);
  const confirm = () => {
    if (isArmed) {
      void sendCommand();
    }
  };
  return (
    <Dialog
      title={text("command.restart.title")}
      onCancel={isSending ? () => undefined : onClose}
      actions={
        <Actions
          context={context}
          kind="primary"
          label={text("command.restart.confirm")}
          isSending={isSending}
          isArmed={isArmed}
          onClose={onClose}
          onConfirm={confirm}
        />
      }
    >
      <DeviceLines context={context} device={device} />
      <p>{text("command.restart.explanation")}</p>
      {usual ? <p class="oxa-soft">{usual}</p> : null}
      {mayRun(position) ? (
        <label class="command-check">
          <input
            type="checkbox"
            checked={isConfirmed}
            onChange={(event) => setConfirmed(event.currentTarget.checked ? position : undefined)}
          />
          <span>{text(`command.restart.switch.${position}`)}</span>
        </label>
      ) : null}
      {failure ? <FailureLine context={context} failure={failure} /> : null}
    </Dialog>
  );
}
