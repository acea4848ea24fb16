import type { RefObject } from "preact";
import { useEffect, useRef, useState } from "preact/hooks";
import { call } from "../../../kit/Api";
import { Banner, Field } from "../../../kit/components/Basics";
import { Dialog } from "../../../kit/components/Dialog";
import type { PageContext } from "../../../kit/Page";
import { useCommand } from "./Command";
import { chooseWord, mayRun } from "./Confirmation";
import { Actions, DeviceLines, FailureLine } from "./DialogParts";
import type { CommandDialogProps } from "./RestartDialog";

/** The host's responses to a password that is not accepted. */
const codesOfPassword = ["wrong-password", "too-many-log-ins"];

export function ResetDialog({ context, device, position, onClose }: CommandDialogProps) {
  const word = chooseWord(device, window.location.host);
  const [typed, setTyped] = useState("");
  const [password, setPassword] = useState("");
  const [submissions, setSubmissions] = useState(0);
  const { isSending, failure, sendCommand } = useCommand(context, "reset", device, onClose);
  const { text } = context;
  const fields = useFocusOnInvalid(submissions, isSending);
  const wasSubmitted = submissions > 0;
  const isWordRight = typed.trim() === word;
  const submit = () => {
    setSubmissions(submissions + 1);
    if (isWordRight && password !== "") {
      void sendCommand(() => call("post", "/api/v1/session/confirm", { password }));
    }
  };
  const passwordFailure = failure && codesOfPassword.includes(failure.code) ? failure : undefined;
  const missingPassword = wasSubmitted && password === "" ? text("command.reset.passwordMissing") : undefined;
  return (
    <Dialog
      title={text("command.reset.title")}
      onCancel={isSending ? () => undefined : onClose}
      onSubmit={submit}
      actions={
        <Actions
          context={context}
          kind="danger"
          label={text("command.reset.confirm")}
          isSending={isSending}
          isArmed={true}
          onClose={onClose}
        />
      }
    >
      <DeviceLines context={context} device={device} />
      {mayRun(position) ? <Banner>{text(`command.reset.switch.${position}`)}</Banner> : null}
      <Consequences context={context} />
      <div class="oxa-stack" ref={fields}>
        <input hidden={true} autocomplete="username" value={context.session.user} readOnly={true} />
        <Field
          label={text("command.reset.type", { word })}
          value={typed}
          onValue={setTyped}
          error={wasSubmitted && !isWordRight ? text("command.reset.typeDifferent") : undefined}
        />
        <Field
          label={text("command.reset.password", { user: context.session.user })}
          value={password}
          onValue={setPassword}
          error={missingPassword ?? passwordFailure?.text}
          type="password"
          autocomplete="current-password"
        />
      </div>
      {failure && !passwordFailure ? <FailureLine context={context} failure={failure} /> : null}
    </Dialog>
  );
}

/** Fields with an error get the focus once the submission is over. */
function useFocusOnInvalid(submissions: number, isSending: boolean): RefObject<HTMLDivElement> {
  const fields = useRef<HTMLDivElement>(null);
  useEffect(() => {
    if (submissions > 0 && !isSending) {
      const invalid = fields.current?.querySelector<HTMLInputElement>("[aria-invalid=true]");
      invalid?.focus();
      invalid?.scrollIntoView({ block: "center" });
    }
  }, [submissions, isSending]);
  return fields;
}

function Consequences({ context: { text } }: { readonly context: PageContext }) {
  return (
    <dl class="command-consequences">
      <dt>{text("command.reset.erased")}</dt>
      <dd>{text("command.reset.erasedDevice")}</dd>
      <dd>{text("command.reset.erasedPage")}</dd>
      <dt>{text("command.reset.kept")}</dt>
      <dd>{text("command.reset.keptText")}</dd>
      <dt>{text("command.reset.after")}</dt>
      <dd>{text("command.reset.afterText")}</dd>
    </dl>
  );
}
