import { signal } from "@preact/signals";
import { useEffect, useMemo } from "preact/hooks";
import type { PageContext } from "../../kit/Page";
import { Collected } from "./Collected";
import { DateAndTime } from "./cards/DateAndTime";
import { FrontPanel } from "./cards/FrontPanel";
import { Identity, SafetyPart } from "./cards/Identity";
import { Load } from "./cards/Load";
import { RunStopSwitch } from "./cards/RunStopSwitch";
import { Memory, Partition, Temperature } from "./cards/Values";
import { CommandProgress } from "./commands/Commands";
import { OverviewStore } from "./OverviewStore";
import { startReports } from "./Reports";

const collected = new Collected();
/** Of the last device that was read: the cards keep their places while nothing is known. */
const hasSafetyPart = signal(false);

export function Overview({ context }: { readonly context: PageContext }) {
  const store = useMemo(() => new OverviewStore(context, collected), [context]);
  useEffect(() => {
    const stopReports = startReports(store);
    store.start();
    return () => {
      store.stop();
      stopReports();
    };
  }, [store]);
  const general = store.general.value.value;
  if (general) {
    hasSafetyPart.value = general.splcSupported;
  }
  return (
    <>
      <h1 class="oxa-hidden">{context.text("overview.title")}</h1>
      <CommandProgress context={context} />
      <div class="overview" data-safety={hasSafetyPart.value}>
        <Temperature store={store} />
        <RunStopSwitch store={store} />
        <FrontPanel store={store} />
        <DateAndTime store={store} />
        <Identity store={store} />
        <Load store={store} />
        <Memory store={store} />
        <Partition store={store} />
        {hasSafetyPart.value ? <SafetyPart store={store} /> : null}
      </div>
    </>
  );
}
