// What has to be confirmed before a command.
import { makeVisible } from "../../../kit/components/Basics";
import type { DeviceIdentity } from "../../../kit/Page";
import type { SwitchState } from "../OverviewStore";

/** `none`: the device has no run/stop switch. `unknown`: it has not been read, or its value is old. */
export type SwitchPosition = "none" | "stop" | "run" | "unknown";

export function getPosition(state: SwitchState | undefined, isOld: boolean): SwitchPosition {
  if (state?.isSupported === false) {
    return "none";
  }
  if (state === undefined || isOld) {
    return "unknown";
  }
  return state.isInRun ? "run" : "stop";
}

/** Where a machine may be running, a command needs one more deliberate step. */
export function mayRun(position: SwitchPosition): position is "run" | "unknown" {
  return position === "run" || position === "unknown";
}

const longestWord = 64;

/** What has to be typed before a reset: the first of serial number, name and address that a keyboard can write. */
export function chooseWord(device: DeviceIdentity | undefined, address: string): string {
  const words = [device?.serialNumber, device?.name].map((word) => (word ?? "").trim());
  return words.find(isTypeable) ?? address;
}

function isTypeable(word: string): boolean {
  return (
    word !== "" &&
    word !== "N/A" &&
    word.length <= longestWord &&
    /^[\p{L}\p{N}\p{P}\p{S} ]+$/u.test(word) &&
    makeVisible(word) === word
  );
}
