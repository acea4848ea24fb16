import { LogOut, Menu, TriangleAlert, X } from "lucide-preact";
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
  const Icon = isMenuOpen.value ? X : Menu;
  return (
    <span class="shell-menu-button">
      <Button
        kind="quiet"
        aria-expanded={isMenuOpen.value}
        aria-label={text("shell.menu")}
        onClick={() => {
          isMenuOpen.value = !isMenuOpen.value;
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
  const count = attention.value.length;
  if (condition.value === "well") {
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
