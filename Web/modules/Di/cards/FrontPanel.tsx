// The LEDs as on the front of the controller: each has a colour, a shape, a blinking that is in step with the others,
// and its state in words.
import { useEffect, useRef } from "preact/hooks";
import { Skeleton } from "../../../kit/components/Basics";
import { type LedGroup, type LedPlace, ledGroups, readLed } from "../Leds";
import type { StatusIndicator } from "../Sections";
import { type CardProps, SectionCard } from "./SectionCard";

export function FrontPanel({ store }: CardProps) {
  const { text } = store.context;
  const indicators = store.indicators.value.value;
  const panel = useRef<HTMLDivElement>(null);
  useEffect(() => alignBlinking(panel.current), [indicators]);
  return (
    <SectionCard
      store={store}
      title={text("panel.title")}
      section={store.indicators}
      name="panel"
      area="panel"
    >
      <div class="overview-leds" ref={panel}>
        {ledGroups.map((group) => (
          <Group key={group.name} store={store} group={group} indicators={indicators} />
        ))}
      </div>
    </SectionCard>
  );
}

/** All LEDs of one pace are lit at the same time. */
function alignBlinking(panel: HTMLElement | null): void {
  for (const animation of panel?.getAnimations({ subtree: true }) ?? []) {
    animation.startTime = 0;
  }
}

interface GroupProps extends CardProps {
  readonly group: LedGroup;
  readonly indicators: readonly StatusIndicator[] | undefined;
}

function Group({ store, group, indicators }: GroupProps) {
  return (
    <section class="overview-led-group">
      <h3>{group.name}</h3>
      <ul>
        {group.leds.map((place) => (
          <LedRow
            key={place.fullName}
            store={store}
            place={place}
            indicator={indicators?.find((each) => each.fullName === place.fullName)}
            isKnown={indicators !== undefined}
          />
        ))}
      </ul>
    </section>
  );
}

interface LedRowProps extends CardProps {
  readonly place: LedPlace;
  readonly indicator: StatusIndicator | undefined;
  /** Whether the section was read. */
  readonly isKnown: boolean;
}

function LedRow({ store, place, indicator, isKnown }: LedRowProps) {
  const led = indicator ? readLed(indicator) : undefined;
  const isFault = place.kind === "fault" && led !== undefined && led.state !== "off";
  return (
    <li>
      <span
        class="overview-led"
        aria-hidden="true"
        data-kind={place.kind}
        data-state={led?.state ?? "none"}
        data-color={led?.color}
      >
        <span class="overview-led-light" />
      </span>
      <strong>{place.label}</strong>
      <span
        class="overview-led-state"
        data-fault={isFault}
        data-lit={led !== undefined && led.state !== "off"}
      >
        {isKnown ? <LedWords store={store} place={place} indicator={indicator} /> : <Skeleton width={6} />}
      </span>
    </li>
  );
}

function LedWords({ store, place, indicator }: Omit<LedRowProps, "isKnown">) {
  const { text } = store.context;
  if (!indicator) {
    return <>{text("led.none")}</>;
  }
  const led = readLed(indicator);
  const since = store.collected.changes.getSince(place.fullName);
  const code = indicator.stateCode;
  return (
    <>
      {led.state === "off" ? null : <span class="oxa-hidden">{`${text(`led.color.${led.color}`)}, `}</span>}
      {text(`led.short.${led.state}`, { code })}
      {since?.isExact ? (
        <span class="oxa-soft"> {text("led.since", { time: store.formats.formatTime(since.time) })}</span>
      ) : null}
    </>
  );
}
