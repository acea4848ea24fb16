import { useState } from "preact/hooks";
import { Dialog } from "../../../kit/components/Dialog";
import type { DeviceIdentity, PageContext } from "../../../kit/Page";
import { useCommand } from "./Command";
import { Actions, DeviceLines, FailureLine } from "./DialogParts";
import { loadTimes } from "./RestartStorage";
import { describeLastTimes } from "./RestartWords";

export interface CommandDialogProps {
  readonly context: PageContext;
  readonly device: DeviceIdentity | undefined;
  readonly isInRun: boolean;
  readonly onClose: () => void;
}

export function RestartDialog({ context, device, isInRun, onClose }: CommandDialogProps) {
  const [isArmed, setIsArmed] = useState(!isInRun);
  const { isSending, failure, sendCommand } = useCommand(context, "restart", device, onClose);
  const { text } = context;
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
      {isInRun ? (
        <label class="command-check">
          <input
            type="checkbox"
            checked={isArmed}
            onChange={(event) => setIsArmed(event.currentTarget.checked)}
          />
          <span>{text("command.restart.inRun")}</span>
        </label>
      ) : null}
      {failure ? <FailureLine context={context} failure={failure} /> : null}
    </Dialog>
  );
}
