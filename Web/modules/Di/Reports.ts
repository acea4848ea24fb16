// Tells the shell what it shows around the page: the device, what needs attention, whether the controller is away.
import { computed, effect } from "@preact/signals";
import { findAttention, type Seen } from "./Attention";
import { isDeviceAway } from "./commands/Commands";
import type { OverviewStore, Section } from "./OverviewStore";

/** A drift is told in whole seconds, so that it is not reported again with every read. */
function roundDrift(milliseconds: number | undefined): number | undefined {
  return milliseconds === undefined ? undefined : Math.trunc(milliseconds / 1000) * 1000;
}

/** An old value says nothing about now: only that it is old is told. */
function getFresh<T extends object>(section: Section<T>): T | undefined {
  return section.isOld.value ? undefined : section.value.value;
}

function see(store: OverviewStore, driftMilliseconds: number | undefined): Seen {
  const oldSections = store.sections.filter((section) => section.isOld.value);
  return {
    indicators: getFresh(store.indicators) ?? [],
    getSince: (name) => store.collected.changes.getSince(name),
    utilization: getFresh(store.utilization),
    driftMilliseconds: store.dateTime.isOld.value ? undefined : driftMilliseconds,
    oldCards: oldSections.map(({ title }) => title),
    isAllOld: oldSections.length === store.sections.length,
  };
}

export function startReports(store: OverviewStore): () => void {
  const { context } = store;
  const words = { text: context.text, formatTime: (time: number) => store.formats.formatTime(time) };
  const drift = computed(() => roundDrift(store.clock.value?.driftMilliseconds));
  const isAway = computed(() => store.sections.every((section) => section.isOld.value));
  let reported = "[]";
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
      const items = isDeviceAway.value ? [] : findAttention(see(store, drift.value), words);
      if (JSON.stringify(items) !== reported) {
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
