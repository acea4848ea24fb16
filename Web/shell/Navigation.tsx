import { LayoutDashboard, List, PanelsTopLeft } from "lucide-preact";
import type { ComponentChildren } from "preact";
import { makeVisible } from "../kit/components/Basics";
import { text } from "./Language";
import { getPageTitle } from "./PageTexts";
import { session } from "./Session";
import { homeRoute, pages, route } from "./State";
import { views } from "./Views";

const pageIcons = new Map([
  ["overview", LayoutDashboard],
  ["items", List],
]);

/** Of the page or view that the address names; empty on the first page. */
export function getPlaceTitle(): string {
  const name = route.value;
  if (name === "" || name === homeRoute) {
    return "";
  }
  const view = views.find((each) => each.name === name);
  const page = pages.value.find((each) => each.pageName === name);
  return view ? text(view.title) : page ? makeVisible(getPageTitle(name)) : "";
}

export function Navigation() {
  const state = session.value;
  const role = state.kind === "loggedIn" ? state.role : undefined;
  const shown = pages.value.filter((page) => page.visibility !== "hidden" && page.entry !== "");
  return (
    <nav class="shell-navigation" aria-label={text("shell.navigation")}>
      <ul>
        {shown.map((page) => {
          const Icon = pageIcons.get(page.pageName) ?? PanelsTopLeft;
          return (
            <Entry
              key={page.pageName}
              name={page.pageName}
              icon={<Icon class="oxa-icon" aria-hidden="true" />}
            >
              {getPageTitle(page.pageName)}
            </Entry>
          );
        })}
        {views
          .filter((view) => view.role === undefined || view.role === role)
          .map(({ name, title, icon: Icon }) => (
            <Entry key={name} name={name} icon={<Icon class="oxa-icon" aria-hidden="true" />}>
              {text(title)}
            </Entry>
          ))}
      </ul>
    </nav>
  );
}

interface EntryProps {
  readonly name: string;
  readonly icon: ComponentChildren;
  readonly children: ComponentChildren;
}

function Entry({ name, icon, children }: EntryProps) {
  const isCurrent = (route.value || homeRoute) === name;
  return (
    <li>
      <a href={`#/${encodeURIComponent(name)}`} aria-current={isCurrent ? "page" : undefined}>
        {icon}
        <span>{children}</span>
      </a>
    </li>
  );
}
