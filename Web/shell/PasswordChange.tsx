// The first password, or one that an administrator gave, has to be changed before anything else.
import { useEffect, useRef, useState } from "preact/hooks";
import { Button, Field } from "../kit/components/Basics";
import { explain } from "../kit/Failures";
import { lookUp, text } from "./Language";
import { minimumPasswordCharacters } from "./PasswordField";
import { changePassword, logOut } from "./Session";

export function PasswordChange({ user }: { readonly user: string }) {
  const main = useRef<HTMLElement>(null);
  useEffect(() => main.current?.querySelector<HTMLElement>("input[type=password]")?.focus(), []);
  return (
    <main class="shell-center" ref={main}>
      <div class="oxa-card oxa-stack shell-form">
        <h1 class="oxa-page-title">{text("password.title")}</h1>
        <p class="oxa-soft">{text("password.first", { user })}</p>
        <PasswordForm user={user} />
        <Button kind="quiet" onClick={() => void logOut()}>
          {text("shell.logOut")}
        </Button>
      </div>
    </main>
  );
}

/** `onDone`: after the change; the user's other sessions have ended. */
export function PasswordForm({ user, onDone }: { readonly user: string; readonly onDone?: () => void }) {
  const [password, setPassword] = useState("");
  const [newPassword, setNewPassword] = useState("");
  const [repeated, setRepeated] = useState("");
  const [failure, setFailure] = useState("");
  const isSending = useRef(false);
  const submit = async (event: Event) => {
    event.preventDefault();
    if (isSending.current) {
      return;
    }
    if (newPassword !== repeated) {
      setFailure(text("password.different"));
      return;
    }
    setFailure("");
    isSending.current = true;
    try {
      await changePassword(password, newPassword);
      onDone?.();
    } catch (error) {
      setFailure(explain(error, lookUp));
    }
    isSending.current = false;
  };
  return (
    <form class="oxa-stack" onSubmit={(event) => void submit(event)}>
      <input hidden={true} name="user" autocomplete="username" value={user} readOnly={true} />
      <Field
        label={text("password.present")}
        value={password}
        onValue={setPassword}
        type="password"
        autocomplete="current-password"
        required={true}
      />
      <Field
        label={text("password.new")}
        hint={text("password.rule", { count: minimumPasswordCharacters })}
        value={newPassword}
        onValue={setNewPassword}
        type="password"
        autocomplete="new-password"
        minLength={minimumPasswordCharacters}
        required={true}
      />
      <Field
        label={text("password.repeat")}
        value={repeated}
        onValue={setRepeated}
        type="password"
        autocomplete="new-password"
        required={true}
        error={failure}
      />
      <Button type="submit" kind="primary">
        {text("password.submit")}
      </Button>
    </form>
  );
}
