// Restart and factory reset: the buttons, their dialogs, and the progress on top of the page.
import "./commands.css";

import { useEffect, useState } from "preact/hooks";
import { Button } from "../../../kit/components/Basics";
import { useId } from "../../../kit/Ids";
import type { DeviceIdentity, PageContext } from "../../../kit/Page";
import type { SwitchPosition } from "./Confirmation";
import { Progress } from "./Progress";
import { ResetDialog } from "./ResetDialog";
import { RestartDialog } from "./RestartDialog";
import type { CommandName } from "./RestartProgress";
import { attach, isRunning, restart } from "./RestartWatch";

export { isDeviceAway } from "./RestartWatch";

interface CommandButtonsProps {
  readonly context: PageContext;
  /** Not set while it has not been read. */
  readonly device: DeviceIdentity | undefined;
  readonly position: SwitchPosition;
  /** Not set while it is not known. */
  readonly mayControl: boolean | undefined;
}

export function CommandButtons({ context, device, position, mayControl }: CommandButtonsProps) {
  const [opened, setOpened] = useState<CommandName | undefined>();
  const hintId = useId();
  const { text } = context;
  const hint = findHint(context, mayControl);
  const isDisabled = mayControl !== true || isRunning.value;
  const open = (command: CommandName) => () => setOpened(isDisabled ? undefined : command);
  const close = () => setOpened(undefined);
  const rest = { "aria-disabled": isDisabled, "aria-describedby": hint ? hintId : undefined };
  return (
    <div class="command-buttons">
      <div class="oxa-row">
        <Button kind="accent" data-command="restart" onClick={open("restart")} {...rest}>
          {text("command.restart.open")}
        </Button>
        <Button kind="danger" data-command="reset" onClick={open("reset")} {...rest}>
          {text("command.reset.open")}
        </Button>
      </div>
      {hint ? (
        <p id={hintId} class={isRunning.value ? "oxa-hidden" : "command-hint"}>
          {hint}
        </p>
      ) : null}
      {opened === "restart" ? (
        <RestartDialog context={context} device={device} position={position} onClose={close} />
      ) : null}
      {opened === "reset" ? (
        <ResetDialog context={context} device={device} position={position} onClose={close} />
      ) : null}
    </div>
  );
}

/** Why the buttons are disabled. */
function findHint({ text }: PageContext, mayControl: boolean | undefined): string {
  if (isRunning.value) {
    return text("command.disabled.running");
  }
  return mayControl === false ? text("command.disabled.role") : "";
}

export function CommandProgress({ context }: { readonly context: PageContext }) {
  useEffect(() => attach(context), [context]);
  const state = restart.value;
  return state ? <Progress context={context} state={state} /> : null;
}
