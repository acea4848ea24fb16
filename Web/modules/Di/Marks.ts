// Where the values of a card come from, by the module "Items".

/** As `GetItems` of `DeviceItemsDp` describes an item; what this page does not use is left out. */
export interface Item {
  readonly key: string;
  readonly origin: "measured" | "fixed" | "simulated" | "absent";
  readonly quality: "good" | "old" | "missing";
  readonly cause: string;
}

export interface ItemsPayload {
  readonly items: readonly Item[];
}

export type MarkName = "simulated" | "partlySimulated" | "absent" | "partlyAbsent";

export interface CardItems {
  readonly mark: MarkName | undefined;
  /** Why values are old or missing, without repetition. */
  readonly causes: readonly string[];
}

/** What the items of one card say together. */
export function summarize(items: readonly Item[]): CardItems {
  const causes = new Set<string>();
  let simulated = 0;
  let absent = 0;
  for (const item of items) {
    simulated += item.origin === "simulated" ? 1 : 0;
    absent += item.origin === "absent" ? 1 : 0;
    if (item.quality !== "good" && item.origin !== "absent" && item.cause !== "") {
      causes.add(item.cause);
    }
  }
  return { mark: chooseMark(items.length, simulated, absent), causes: [...causes] };
}

function chooseMark(count: number, simulated: number, absent: number): MarkName | undefined {
  if (simulated > 0) {
    return simulated + absent === count ? "simulated" : "partlySimulated";
  }
  if (absent > 0) {
    return absent === count ? "absent" : "partlyAbsent";
  }
  return undefined;
}
