// What the shell shows around a page.
import { computed, signal } from "@preact/signals";
import { call, type Schemas } from "../kit/Api";
import type { AttentionItem, DeviceIdentity } from "../kit/Page";
import { applyAnnounced } from "./Language";
import { loadDevice, saveDevice } from "./LastDevice";

export type ModulePage = Schemas["Pages"]["pages"][number];

/** The name behind "#/". */
export const route = signal(readRoute());
export const pages = signal<readonly ModulePage[]>([]);
/** Not set while the page or view that is shown does not tell. */
export const attention = signal<readonly AttentionItem[] | undefined>(undefined);
export const device = signal<DeviceIdentity | undefined>(loadDevice());
export const isAway = signal(false);
/** On narrow screens, where the navigation is hidden otherwise. */
export const isMenuOpen = signal(false);
/** The last line for the user; read out. */
export const notice = signal("");

/** Reads a line out, also one that was the last already. */
export function announce(line: string): void {
  notice.value = line === notice.peek() ? `${line}\u00a0` : line;
}

export function showDevice(identity: DeviceIdentity): void {
  device.value = identity;
  saveDevice(identity);
}

/** `unknown`: nothing is claimed of the device, for instance while a list of users is shown. */
export type Condition = "unknown" | "well" | "warning" | "bad" | "away";

/** What the badge shows. */
export const condition = computed<Condition>(() => {
  if (isAway.value) {
    return "away";
  }
  if (attention.value === undefined) {
    return "unknown";
  }
  if (attention.value.some((item) => item.level === "bad")) {
    return "bad";
  }
  return attention.value.length > 0 ? "warning" : "well";
});

export const homeRoute = "overview";

function readRoute(): string {
  const name = window.location.hash.replace(/^#\/?/, "");
  try {
    return decodeURIComponent(name);
  } catch {
    // No name of a page is spelled like this.
    return name;
  }
}

export function navigate(name: string): void {
  window.location.hash = `#/${encodeURIComponent(name)}`;
}

window.addEventListener("hashchange", () => {
  route.value = readRoute();
  isMenuOpen.value = false;
});

export async function readPages(signal: AbortSignal): Promise<void> {
  const found = await call("get", "/api/v1/pages", undefined, { background: true, signal });
  await applyAnnounced(found.languages);
  if (JSON.stringify(found.pages) !== JSON.stringify(pages.peek())) {
    pages.value = found.pages;
  }
}
