// Descriptions of devices: the simulated controller with other values for some items.
import * as fs from "node:fs";
import * as path from "node:path";
import { sources } from "./Places.mjs";

const shipped = fs.readFileSync(path.join(sources, "Device/Descriptions/controller.xml"), "utf8");

export function escapeText(text) {
  return text.replace(/[&<>"\n\r\t]/g, (found) => `&#${found.codePointAt(0)};`);
}

/** Values that stay as they are: with them each run shows the same. */
export const stillItems = {
  "Status.Cpu.0.Load.Percent": 23,
  "Status.Cpu.1.Load.Percent": 31,
  "Status.Cpu.2.Load.Percent": 14,
  "Status.Cpu.3.Load.Percent": 8,
  "Status.Cpu.4.Load.Percent": 39,
  "Status.Memory.Usage.Percent.Actual": 48,
  "Status.Board.Temperature.Centigrade": 47,
  "Status.System.UpTime.Seconds": 312_431,
  "Status.Leds.Runtime.Fail": 196_608,
  "Status.Leds.Runtime.Ext": 65_536,
  "Status.Leds.Pnio.Bf_C": 196_608,
  "Status.RunStopSwitch.Position": "Stop",
};

/** Item key → value: a number or text that stays as it is, or the element of a source. */
export function controller(items = {}) {
  const added = Object.entries(items).map(([key, value]) => {
    const text = String(value);
    const source =
      text.startsWith("<") && text.endsWith("/>") ? text : `<simulated value="${escapeText(text)}"/>`;
    return `<Item key="${key}">${source}</Item>`;
  });
  const kept = Object.keys(items).reduce(
    (text, key) =>
      text.replace(new RegExp(`<Item key="${key.replaceAll(".", "\\.")}"[^>]*>[\\s\\S]*?</Item>`), ""),
    shipped,
  );
  return kept.replace("</DeviceDescriptionDocument>", `${added.join("\n")}\n</DeviceDescriptionDocument>`);
}
