// Adds a token, and shows its secret the one time that it can be seen.
import { useEffect, useRef, useState } from "preact/hooks";
import { call, type Schemas } from "../../kit/Api";
import { Button, Field, makeVisible } from "../../kit/components/Basics";
import { CopyButton } from "../../kit/components/CopyButton";
import { ActionDialog } from "../ActionDialog";
import { text } from "../Language";
import { RoleChoice } from "../Roles";
import type { Role } from "../Session";

type IssuedToken = Schemas["NewApiToken"];

const maximumDays = 36_500;
const usualDays = "365";

interface AddTokenDialogProps {
  readonly onIssued: (token: IssuedToken) => void;
  readonly onClose: (isDone: boolean) => void;
}

export function AddTokenDialog({ onIssued, onClose }: AddTokenDialogProps) {
  const [name, setName] = useState("");
  const [role, setRole] = useState<Role>("Viewer");
  const [days, setDays] = useState(usualDays);
  const add = async () => {
    const limit = days.trim() === "" ? {} : { days: Number(days) };
    onIssued(await call("post", "/api/v1/tokens", { name, role, ...limit }));
    return text("tokens.added", { name });
  };
  return (
    <ActionDialog title={text("tokens.add")} submit={text("users.addSubmit")} action={add} onClose={onClose}>
      <Field
        label={text("tokens.name")}
        hint={text("tokens.nameHint")}
        value={name}
        onValue={setName}
        maxLength={64}
        required={true}
        data-autofocus=""
      />
      <RoleChoice value={role} onValue={setRole} />
      <Field
        label={text("tokens.days")}
        hint={text("tokens.daysHint")}
        value={days}
        onValue={setDays}
        type="number"
        inputMode="numeric"
        min={1}
        max={maximumDays}
        step={1}
      />
    </ActionDialog>
  );
}

interface IssuedTokenProps {
  readonly token: IssuedToken;
  readonly onDone: () => void;
}

/** On the page and not in a dialog, which a key could close before the secret is stored. */
export function IssuedToken({ token, onDone }: IssuedTokenProps) {
  const section = useRef<HTMLElement>(null);
  useEffect(() => section.current?.focus(), []);
  const title = text("tokens.issued", { name: makeVisible(token.name) });
  return (
    <section class="oxa-card oxa-stack view-issued" ref={section} tabIndex={-1} aria-label={title}>
      <h2 class="view-subtitle">{title}</h2>
      <p>{text("tokens.once")}</p>
      <Secret text={token.token} label={text("tokens.copy")} />
      <p class="oxa-soft">{text("tokens.example")}</p>
      <Secret text={makeExample(token.token)} label={text("tokens.copyExample")} />
      <div class="oxa-row">
        <Button kind="accent" onClick={onDone}>
          {text("tokens.stored")}
        </Button>
      </div>
    </section>
  );
}

function makeExample(token: string): string {
  const address = `${window.location.origin}/api/v1/DeviceInterfaceDp/GetDataSection?SectionName=Health`;
  return `curl -H 'Authorization: Bearer ${token}' '${address}'`;
}

function Secret({ text: secret, label }: { readonly text: string; readonly label: string }) {
  return (
    <div class="view-secret">
      <code>{secret}</code>
      <CopyButton text={secret} label={label} doneLabel={text("view.copied")} />
    </div>
  );
}
