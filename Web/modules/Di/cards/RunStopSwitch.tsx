// The run/stop switch: drawn as what it is, a switch on the device that the page only looks at.
import { Skeleton } from "../../../kit/components/Basics";
import { CommandButtons } from "../commands/Commands";
import { getPosition } from "../commands/Confirmation";
import type { Since } from "../Leds";
import { type CardProps, SectionCard } from "./SectionCard";

export function RunStopSwitch({ store }: CardProps) {
  const { text } = store.context;
  const state = store.runStopSwitch.value.value;
  const general = store.general.value.value;
  return (
    <SectionCard
      store={store}
      title={text("switch.title")}
      section={store.runStopSwitch}
      name="switch"
      area="switch"
      footer={
        <CommandButtons
          context={store.context}
          device={general && { name: general.articleName, serialNumber: general.serialNumber }}
          position={getPosition(state, store.runStopSwitch.isOld.value)}
          mayControl={store.mayControl.value}
        />
      }
    >
      {state?.isSupported === false ? (
        <p class="oxa-soft">{text("switch.none")}</p>
      ) : (
        <Position store={store} isInRun={state?.isInRun} />
      )}
    </SectionCard>
  );
}

function Position({ store, isInRun }: CardProps & { readonly isInRun: boolean | undefined }) {
  const { text } = store.context;
  const position = isInRun === undefined ? "unknown" : isInRun ? "run" : "stop";
  return (
    <div class="overview-switch-position" data-position={position}>
      <span class="overview-switch-case" aria-hidden="true">
        <span class="overview-switch-knob" />
      </span>
      <span class="overview-switch-legend" aria-hidden="true">
        <span>RUN</span>
        <span>STOP</span>
      </span>
      <p class="overview-switch-state">
        {isInRun === undefined ? (
          <Skeleton width={6} />
        ) : (
          <>
            <strong>{text(`switch.${position}`)}</strong>
            <span class="oxa-soft">{describeSince(store, store.collected.getSwitchSince())}</span>
          </>
        )}
      </p>
    </div>
  );
}

function describeSince({ context, formats }: CardProps["store"], since: Since | undefined): string {
  if (!since) {
    return "";
  }
  const time = formats.formatTime(since.time);
  return context.text(since.isExact ? "switch.since" : "switch.already", { time });
}
