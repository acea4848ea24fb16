// The first password, or one that an administrator gave, has to be changed before anything else.
import { useEffect, useRef, useState } from "preact/hooks";
import { Button, Field } from "../kit/components/Basics";
import { useAction } from "./Action";
import { text } from "./Language";
import { LogOutButton } from "./LogOutButton";
import { PasswordField } from "./PasswordField";
import { changePassword } from "./Session";

export function PasswordChange({ user }: { readonly user: string }) {
  const main = useRef<HTMLElement>(null);
  useEffect(() => main.current?.querySelector<HTMLElement>("input[type=password]")?.focus(), []);
  return (
    <main class="shell-center" ref={main}>
      <div class="oxa-card oxa-stack shell-form">
        <h1 class="oxa-page-title">{text("password.title")}</h1>
        <p class="oxa-soft">{text("password.first", { user })}</p>
        <PasswordForm user={user} />
        <LogOutButton>{text("shell.logOut")}</LogOutButton>
      </div>
    </main>
  );
}

/** `onDone`: after the change; the user's other sessions have ended. */
export function PasswordForm({ user, onDone }: { readonly user: string; readonly onDone?: () => void }) {
  const [password, setPassword] = useState("");
  const [newPassword, setNewPassword] = useState("");
  const [repeated, setRepeated] = useState("");
  const [isDifferent, setIsDifferent] = useState(false);
  const { isRunning, failure, run } = useAction(async () => {
    await changePassword(password, newPassword);
    onDone?.();
  });
  const submit = (event: Event) => {
    event.preventDefault();
    setIsDifferent(newPassword !== repeated);
    if (newPassword === repeated) {
      void run();
    }
  };
  return (
    <form class="oxa-stack" onSubmit={submit}>
      <input hidden={true} name="user" autocomplete="username" value={user} readOnly={true} />
      <Field
        label={text("password.present")}
        value={password}
        onValue={setPassword}
        type="password"
        autocomplete="current-password"
        required={true}
      />
      <PasswordField label={text("password.new")} value={newPassword} onValue={setNewPassword} />
      <Field
        label={text("password.repeat")}
        value={repeated}
        onValue={setRepeated}
        type="password"
        autocomplete="new-password"
        required={true}
        error={isDifferent ? text("password.different") : failure}
      />
      <Button type="submit" kind="primary" aria-disabled={isRunning}>
        {text("password.submit")}
      </Button>
    </form>
  );
}
