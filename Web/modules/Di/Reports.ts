// Tells the shell what it shows around the page: the device, what needs attention, whether the controller is away.
import { computed, effect } from "@preact/signals";
import { findAttention, type Seen } from "./Attention";
import { findLargeDrift } from "./Clock";
import { isDeviceAway } from "./commands/Commands";
import type { OverviewStore, Section } from "./OverviewStore";

/** An old value says nothing about now: only that it is old is told. */
function getFresh<T extends object>(section: Section<T>): T | undefined {
  return section.isOld.value ? undefined : section.value.value;
}

function see(store: OverviewStore, largeDriftMilliseconds: number | undefined): Seen {
  const oldSections = store.sections.filter((section) => section.isOld.value);
  return {
    indicators: getFresh(store.indicators) ?? [],
    getSince: (name) => store.collected.changes.getSince(name),
    utilization: getFresh(store.utilization),
    largeDriftMilliseconds: store.dateTime.isOld.value ? undefined : largeDriftMilliseconds,
    oldCards: oldSections.map(({ title }) => title),
    isAllOld: oldSections.length === store.sections.length,
  };
}

export function startReports(store: OverviewStore): () => void {
  const { context } = store;
  const words = { text: context.text, formatTime: (time: number) => store.formats.formatTime(time) };
  const largeDrift = computed(() => findLargeDrift(store.clock.value?.driftMilliseconds));
  const isAway = computed(() => store.sections.every((section) => section.isOld.value));
  const isRead = computed(() => store.sections.every(({ value, cause }) => value.value || cause.value));
  let reported = "";
  let wasAway = false;
  const stops = [
    effect(() => {
      const general = store.general.value.value;
      if (general) {
        context.setDevice({ name: general.articleName, serialNumber: general.serialNumber });
      }
    }),
    effect(() => context.setAway(isAway.value || isDeviceAway.value)),
    effect(() => {
      // What failed meanwhile would be tried again much later.
      if (wasAway && !isDeviceAway.value) {
        store.refresh();
      }
      wasAway = isDeviceAway.value;
    }),
    effect(() => {
      const items = isDeviceAway.value ? [] : findAttention(see(store, largeDrift.value), words);
      // That nothing needs attention is known when everything has been looked at.
      const isKnown = items.length > 0 || isRead.value || isDeviceAway.value;
      if (isKnown && JSON.stringify(items) !== reported) {
        reported = JSON.stringify(items);
        context.setAttention(items);
      }
    }),
  ];
  return () => {
    for (const stop of stops) {
      stop();
    }
  };
}
