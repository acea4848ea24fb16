// The state of the device in the title and in the icon of the browser's tab.

import { makeVisible } from "../kit/components/Basics";
import type { DeviceIdentity } from "../kit/Page";
import { text } from "./Language";
import type { Condition } from "./State";

export function showCondition(condition: Condition, device: DeviceIdentity | undefined): void {
  const name = device ? makeVisible(device.name) : text("shell.title");
  document.title = condition === "well" ? name : `${text(`condition.${condition}`)} – ${name}`;
  const icon = document.querySelector<HTMLLinkElement>("link[rel=icon]");
  const file = `/icons/${condition === "bad" ? "warning" : condition}.svg`;
  if (icon && !icon.href.endsWith(file)) {
    icon.href = file;
  }
}
