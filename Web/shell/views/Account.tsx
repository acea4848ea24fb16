// The user who is logged in here: password, language, sessions.
import { useState } from "preact/hooks";
import { Banner, Foreign } from "../../kit/components/Basics";
import { Card } from "../../kit/components/Card";
import { LanguageChoice } from "../Header";
import { text } from "../Language";
import { PasswordForm } from "../PasswordChange";
import { roleName } from "../Roles";
import { session, sessionEnd } from "../Session";
import { announce } from "../State";
import { Time } from "../Time";
import { ViewHead } from "../ViewHead";
import { SessionList } from "./SessionList";

export default function Account() {
  const state = session.value;
  // A change of the password ends the sessions and makes a new one: the list is read again.
  const [passwordChanges, setPasswordChanges] = useState(0);
  const changed = () => {
    setPasswordChanges((count) => count + 1);
    announce(text("account.passwordChanged"));
  };
  if (state.kind !== "loggedIn") {
    return null;
  }
  return (
    <>
      <ViewHead title={text("view.account")} />
      <div class="view-columns">
        <div class="oxa-stack">
          <Card title={text("account.user")}>
            <dl class="oxa-list">
              <dt>{text("users.name")}</dt>
              <dd>
                <Foreign text={state.user} />
              </dd>
              <dt>{text("role")}</dt>
              <dd>{roleName(state.role)}</dd>
              <dt>{text("account.ends")}</dt>
              <dd>
                <Time value={sessionEnd.value.toISOString()} />
              </dd>
            </dl>
            <p class="oxa-field-hint">{text(`role.${state.role}.may`)}</p>
          </Card>
          <Card title={text("shell.language")}>
            <LanguageChoice />
            <p class="oxa-field-hint">{text("account.languageHint")}</p>
          </Card>
        </div>
        <Card title={text("password.title")}>
          {passwordChanges > 0 ? <Banner level="info">{text("account.passwordChanged")}</Banner> : null}
          <PasswordForm key={passwordChanges} user={state.user} onDone={changed} />
        </Card>
      </div>
      <SessionList key={`sessions${passwordChanges}`} isAdministrator={state.role === "Admin"} />
    </>
  );
}
