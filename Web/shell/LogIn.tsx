import { useEffect, useRef, useState } from "preact/hooks";
import { Banner, Button, Field } from "../kit/components/Basics";
import { explain } from "../kit/Failures";
import { LanguageChoice } from "./Header";
import { lookUp, text } from "./Language";
import { logIn } from "./Session";

export function LogIn({ hasEnded }: { readonly hasEnded: boolean }) {
  const [user, setUser] = useState("");
  const [password, setPassword] = useState("");
  const [failure, setFailure] = useState("");
  const [isSending, setIsSending] = useState(false);
  const form = useRef<HTMLFormElement>(null);
  useEffect(() => form.current?.querySelector("input")?.focus(), []);
  const submit = async (event: Event) => {
    event.preventDefault();
    if (isSending) {
      return;
    }
    setIsSending(true);
    setFailure("");
    try {
      await logIn(user, password);
    } catch (error) {
      setFailure(explain(error, lookUp));
      setIsSending(false);
    }
  };
  return (
    <main class="shell-center">
      <form ref={form} class="oxa-card oxa-stack shell-form" onSubmit={(event) => void submit(event)}>
        <div>
          <h1 class="oxa-page-title">{text("shell.title")}</h1>
          <p class="oxa-soft">{window.location.hostname}</p>
        </div>
        {hasEnded ? <Banner level="info">{text("logIn.ended")}</Banner> : null}
        <Field
          label={text("logIn.user")}
          value={user}
          onValue={setUser}
          name="user"
          autocomplete="username"
          autocapitalize="none"
          spellcheck={false}
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
        <Button type="submit" kind="primary" aria-disabled={isSending}>
          {text("logIn.submit")}
        </Button>
        <div class="shell-form-foot">
          <LanguageChoice />
        </div>
      </form>
    </main>
  );
}
