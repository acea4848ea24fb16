import { useEffect, useRef, useState } from "preact/hooks";
import { call } from "../kit/Api";
import { Banner, Button, Field } from "../kit/components/Basics";
import { useAction } from "./Action";
import { LanguageChoice } from "./Header";
import { text } from "./Language";
import { logIn } from "./Session";

export function LogIn({ hasEnded }: { readonly hasEnded: boolean }) {
  const [user, setUser] = useState("");
  const [password, setPassword] = useState("");
  const { isRunning, failure, run } = useAction(() => logIn(user, password));
  const form = useRef<HTMLFormElement>(null);
  const notice = useNotice();
  useEffect(() => form.current?.querySelector("input")?.focus(), [notice]);
  const submit = (event: Event) => {
    event.preventDefault();
    void run();
  };
  if (notice === undefined) {
    return <main />;
  }
  return (
    <main class="shell-center">
      <form ref={form} class="oxa-card oxa-stack shell-form" onSubmit={submit}>
        <div>
          <h1 class="oxa-page-title">{text("shell.title")}</h1>
          <p class="oxa-soft">{window.location.hostname}</p>
        </div>
        {notice ? <p class="shell-notice">{notice}</p> : null}
        {hasEnded ? <Banner level="info">{text("logIn.ended")}</Banner> : null}
        <Field
          label={text("logIn.user")}
          value={user}
          onValue={setUser}
          name="user"
          autocomplete="username"
          required={true}
        />
        <Field
          label={text("logIn.password")}
          value={password}
          onValue={setPassword}
          name="password"
          type="password"
          autocomplete="current-password"
          required={true}
          error={failure}
        />
        <Button type="submit" kind="primary" aria-disabled={isRunning}>
          {text("logIn.submit")}
        </Button>
        <div class="shell-form-foot">
          <LanguageChoice />
        </div>
      </form>
    </main>
  );
}

/** What the operator wants everybody to read before the log-in; not set until it is known. */
function useNotice(): string | undefined {
  const [notice, setNotice] = useState<string | undefined>();
  useEffect(() => {
    const show = (found: { readonly text: string }) => setNotice(found.text);
    void call("get", "/api/v1/notice").then(show, () => setNotice(""));
  }, []);
  return notice;
}
