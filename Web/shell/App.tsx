import { useSignalEffect } from "@preact/signals";
import { useEffect, useMemo, useRef } from "preact/hooks";
import { Button } from "../kit/components/Basics";
import { Poller } from "../kit/Polling";
import { showCondition } from "./Badge";
import { AccountBar, Header } from "./Header";
import { text } from "./Language";
import { LogIn } from "./LogIn";
import { MainContent } from "./MainContent";
import { getPlaceTitle, Navigation } from "./Navigation";
import { PasswordChange } from "./PasswordChange";
import { readSession, session } from "./Session";
import { condition, device, isMenuOpen, notice, readPages } from "./State";

/** A module that is set up later brings its pages then. */
const pagesMilliseconds = 5_000;

export function App() {
  const state = session.value;
  useSignalEffect(() => {
    const place = session.value.kind === "loggedIn" ? getPlaceTitle() : "";
    showCondition(condition.value, place, device.value);
  });
  const previous = useRef(state.kind);
  useEffect(() => {
    const hasLoggedIn = previous.current === "loggedOut" || previous.current === "passwordChange";
    previous.current = state.kind;
    if (state.kind !== "loggedIn") {
      return;
    }
    if (hasLoggedIn) {
      // The field that had the focus is gone.
      focusContent();
    }
    const poller = new Poller();
    poller.add({ read: readPages, everyMilliseconds: pagesMilliseconds });
    return () => poller.stop();
  }, [state.kind]);
  switch (state.kind) {
    case "unknown":
      return null;
    case "unreachable":
      return <Unreachable />;
    case "loggedOut":
      return <LogIn hasEnded={state.hasEnded} />;
    case "passwordChange":
      return <PasswordChange user={state.user} />;
    case "loggedIn":
      return <Frame />;
  }
}

function Unreachable() {
  const poller = useMemo(() => new Poller(), []);
  useEffect(() => {
    poller.add({ read: readSession });
    return () => poller.stop();
  }, [poller]);
  return (
    <main class="shell-center">
      <div class="oxa-card shell-form">
        <h1 class="oxa-page-title">{text("unreachable.title")}</h1>
        <p role="status">{text("unreachable.text")}</p>
        <Button onClick={poller.refresh}>{text("unreachable.retry")}</Button>
      </div>
    </main>
  );
}

function Frame() {
  return (
    <div class="shell" data-menu={isMenuOpen.value ? "open" : "closed"}>
      <button type="button" class="shell-skip" onClick={focusContent}>
        {text("shell.skip")}
      </button>
      <Header />
      <AccountBar />
      <Navigation />
      <MainContent />
      <p class="oxa-hidden" role="status">
        {notice.value}
      </p>
    </div>
  );
}

function focusContent() {
  document.getElementById("content")?.focus();
}
