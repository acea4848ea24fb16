// The device that this tab showed last: what other views call it before its own page has been opened.
import type { DeviceIdentity } from "../kit/Page";

const storageKey = "oxa.device";

/** Not set for anything that is no device. */
export function parseDevice(text: string | null): DeviceIdentity | undefined {
  try {
    const value = JSON.parse(text ?? "null") as Partial<Record<keyof DeviceIdentity, unknown>> | null;
    const { name, serialNumber } = value ?? {};
    return typeof name === "string" && typeof serialNumber === "string" ? { name, serialNumber } : undefined;
  } catch {
    return undefined;
  }
}

/** A browser that stores nothing knows no last device. */
export function loadDevice(): DeviceIdentity | undefined {
  try {
    return parseDevice(sessionStorage.getItem(storageKey));
  } catch {
    return undefined;
  }
}

export function saveDevice(device: DeviceIdentity): void {
  try {
    sessionStorage.setItem(storageKey, JSON.stringify(device));
  } catch {
    // Without a place to keep it, it is shown as long as this page is.
  }
}
