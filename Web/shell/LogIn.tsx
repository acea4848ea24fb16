import { useState } from "preact/hooks";
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
      <form class="oxa-card oxa-stack shell-form" onSubmit={(event) => void submit(event)}>
        <h1 class="oxa-page-title">{text("logIn.title")}</h1>
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
        <LanguageChoice />
      </form>
    </main>
  );
}
