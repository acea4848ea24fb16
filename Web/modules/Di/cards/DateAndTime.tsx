import { Skeleton } from "../../../kit/components/Basics";
import { formatDuration } from "../../../kit/Texts";
import { describeDrift } from "../Attention";
import { type ClockReading, type CountedClock, countOn, findLargeDrift } from "../Clock";
import { type CardProps, SectionCard } from "./SectionCard";
import { ValueSkeleton } from "./Values";

export function DateAndTime({ store }: CardProps) {
  const { text } = store.context;
  return (
    <SectionCard store={store} title={text("time.title")} section={store.dateTime} area="time">
      <Time store={store} />
    </SectionCard>
  );
}

/** Counts on with the seconds, unless the values are old. */
function Time({ store }: CardProps) {
  const reading = store.clock.value;
  const now = store.dateTime.isOld.value ? (reading?.takenAt ?? 0) : store.ticks.value;
  const counted = reading ? countOn(reading, now) : undefined;
  return (
    <>
      {reading ? <Clock store={store} unixMilliseconds={counted?.unixMilliseconds} /> : <ValueSkeleton />}
      <TimeList store={store} reading={reading} counted={counted} />
    </>
  );
}

function Clock({ store, unixMilliseconds }: CardProps & { readonly unixMilliseconds: number | undefined }) {
  const { text } = store.context;
  if (unixMilliseconds === undefined) {
    return (
      <>
        <p class="oxa-value">
          <span class="oxa-value-number">--:--</span>
        </p>
        <p class="oxa-soft">{text("time.none")}</p>
      </>
    );
  }
  const time = new Date(unixMilliseconds).toISOString().replace(/^[^T]*T/, "");
  return (
    <>
      <p class="oxa-value overview-clock">
        <span class="oxa-value-number">{time.slice(0, 5)}</span>
        <span class="oxa-value-unit">{`${time.slice(5, 8)} UTC`}</span>
      </p>
      <p class="oxa-soft">{store.formats.formatUtcDate(unixMilliseconds)}</p>
    </>
  );
}

interface TimeListProps extends CardProps {
  readonly reading: ClockReading | undefined;
  readonly counted: CountedClock | undefined;
}

function TimeList({ store, reading, counted }: TimeListProps) {
  const { text } = store.context;
  const local = counted?.unixMilliseconds;
  return (
    <dl class="oxa-list overview-time-list">
      <dt>{text("time.local")}</dt>
      <dd>
        {!reading ? (
          <Skeleton width={12} />
        ) : local === undefined ? (
          "–"
        ) : (
          store.formats.formatLocalTime(local)
        )}
      </dd>
      <dt>{text("time.drift")}</dt>
      <dd>{reading ? <Drift store={store} reading={reading} /> : <Skeleton width={6} />}</dd>
      <dt>{text("time.up")}</dt>
      <dd>{counted ? formatDuration(counted.upTimeSeconds) : <Skeleton width={12} />}</dd>
    </dl>
  );
}

function Drift({ store, reading }: CardProps & { readonly reading: ClockReading }) {
  const { text } = store.context;
  const drift = reading.driftMilliseconds;
  if (drift === undefined) {
    return <>–</>;
  }
  if (reading.isStanding) {
    return <span class="overview-warning">{text("time.standing")}</span>;
  }
  const large = findLargeDrift(drift);
  if (large !== undefined) {
    return <span class="overview-warning">{describeDrift(large, text)}</span>;
  }
  return <>{`${store.formats.formatTenths(Math.abs(drift) / 1000)} s`}</>;
}
