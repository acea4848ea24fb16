import { LogOut, Menu, TriangleAlert, X } from "lucide-preact";
import { useEffect, useRef } from "preact/hooks";
import { Button, Foreign, Select } from "../kit/components/Basics";
import { catalogueName, chooseByUser, languages, text } from "./Language";
import { LogOutButton } from "./LogOutButton";
import { secondsLeft, session } from "./Session";
import { attention, condition, device, isMenuOpen, navigate } from "./State";

export function Header() {
  return (
    <header class="shell-header">
      <p class="shell-device">
        <strong>
          <Foreign text={device.value?.name ?? text("shell.title")} />
        </strong>{" "}
        <span class="oxa-soft">
          <Foreign text={device.value?.serialNumber ?? ""} />
        </span>
      </p>
      <ConditionMark />
      <MenuButton />
    </header>
  );
}

/** On narrow screens the navigation and the account are behind it. */
function MenuButton() {
  const isOpen = isMenuOpen.value;
  const frame = useRef<HTMLSpanElement>(null);
  useEffect(() => {
    const close = ({ key, target }: KeyboardEvent) => {
      // A dialog that was opened from the menu has an Escape of its own.
      if (isOpen && key === "Escape" && target instanceof Element && !target.closest("dialog")) {
        isMenuOpen.value = false;
        frame.current?.querySelector("button")?.focus();
      }
    };
    window.addEventListener("keydown", close);
    return () => window.removeEventListener("keydown", close);
  }, [isOpen]);
  const Icon = isOpen ? X : Menu;
  return (
    <span class="shell-menu-button" ref={frame}>
      <Button
        kind="quiet"
        aria-expanded={isOpen}
        aria-label={text("shell.menu")}
        onClick={() => {
          isMenuOpen.value = !isOpen;
        }}
      >
        <Icon class="oxa-icon" aria-hidden="true" />
      </Button>
    </span>
  );
}

/** Session, language and user. */
export function AccountBar() {
  return (
    <section class="shell-account" aria-label={text("view.account")}>
      <SessionTime />
      <LanguageChoice />
      <Account />
    </section>
  );
}

function ConditionMark() {
  const count = attention.value?.length ?? 0;
  if (condition.value === "well" || condition.value === "unknown") {
    return null;
  }
  return (
    <span class="oxa-mark shell-condition" data-level={condition.value === "bad" ? "bad" : "warning"}>
      <TriangleAlert class="oxa-icon" size={14} aria-hidden="true" />
      {condition.value === "away" ? text("condition.away") : text("condition.count", { count })}
    </span>
  );
}

const warnBelowSeconds = 120;

function SessionTime() {
  const left = secondsLeft.value;
  if (left === undefined) {
    return null;
  }
  const minutes = Math.ceil(left / 60);
  return (
    <span class="shell-session" data-level={left < warnBelowSeconds ? "warning" : undefined}>
      {text("session.left")} <span>{text("session.minutes", { count: minutes })}</span>
    </span>
  );
}

export function LanguageChoice() {
  const names = new Intl.DisplayNames(languages, { type: "language" });
  const choices = languages.map((each) => ({
    value: each as string,
    label: new Intl.DisplayNames([each], { type: "language" }).of(each) ?? names.of(each) ?? each,
  }));
  return (
    <Select
      label={text("shell.language")}
      isLabelHidden={true}
      value={catalogueName.value}
      choices={choices}
      onValue={(chosen) => void chooseByUser(chosen)}
    />
  );
}

function Account() {
  const state = session.value;
  if (state.kind !== "loggedIn") {
    return null;
  }
  return (
    <>
      <Button kind="quiet" onClick={() => navigate("account")}>
        <Foreign text={state.user} />
      </Button>
      <LogOutButton>
        <LogOut class="oxa-icon" aria-hidden="true" />
      </LogOutButton>
    </>
  );
}
