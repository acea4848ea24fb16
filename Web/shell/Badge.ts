// The state of the device in the title and in the icon of the browser's tab.

import { makeVisible } from "../kit/components/Basics";
import type { DeviceIdentity } from "../kit/Page";
import { text } from "./Language";
import type { Condition } from "./State";

/** `place`: the title of the page or view that is shown; empty on the first page. */
export function showCondition(condition: Condition, place: string, device: DeviceIdentity | undefined): void {
  const name = device ? makeVisible(device.name) : text("shell.title");
  const word = condition === "well" || condition === "unknown" ? "" : text(`condition.${condition}`);
  document.title = [word, place, name].filter(Boolean).join(" – ");
  const icon = document.querySelector<HTMLLinkElement>("link[rel=icon]");
  const file = `/icons/${condition === "bad" ? "warning" : condition}.svg`;
  if (icon && !icon.href.endsWith(file)) {
    icon.href = file;
  }
}
