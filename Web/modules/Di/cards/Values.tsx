// Cards of single values: temperature, memory, user partition.
import { Meter, Skeleton, Value } from "../../../kit/components/Basics";
import { formatBytes } from "../../../kit/Texts";
import { type CardProps, SectionCard } from "./SectionCard";
import { RangeText, SeriesChart } from "./SeriesChart";

export function Temperature({ store }: CardProps) {
  const { text } = store.context;
  const value = store.health.value.value;
  return (
    <SectionCard
      store={store}
      title={text("temperature.title")}
      section={store.health}
      name="temperature"
      area="temperature"
    >
      <div class="overview-with-chart">
        {value ? (
          <Value number={store.formats.formatNumber(value.boardTemperature)} unit="°C" />
        ) : (
          <ValueSkeleton />
        )}
        <RangeText store={store} name="temperature" unit="°C" />
        <SeriesChart store={store} name="temperature" title={text("temperature.title")} unit="°C" />
      </div>
    </SectionCard>
  );
}

export function Memory({ store }: CardProps) {
  const { text } = store.context;
  const value = store.utilization.value.value;
  return (
    <SectionCard
      store={store}
      title={text("memory.title")}
      section={store.utilization}
      name="memory"
      area="memory"
    >
      <div class="overview-with-chart">
        {value ? (
          <Value number={store.formats.formatNumber(value.memoryUsagePercent)} unit="%">
            {text("memory.inUse")}
          </Value>
        ) : (
          <ValueSkeleton />
        )}
        <SeriesChart
          store={store}
          name="memory"
          title={text("memory.title")}
          unit="%"
          minimum={0}
          maximum={100}
        />
      </div>
    </SectionCard>
  );
}

export function Partition({ store }: CardProps) {
  const { text } = store.context;
  return (
    <SectionCard
      store={store}
      title={text("partition.title")}
      section={store.utilization}
      name="partition"
      area="partition"
    >
      <PartitionValue store={store} />
    </SectionCard>
  );
}

function PartitionValue({ store }: CardProps) {
  const { text, language } = store.context;
  const value = store.utilization.value.value;
  if (!value) {
    return <ValueSkeleton />;
  }
  if (value.userPartitionTotal === 0) {
    return <p class="oxa-soft">{text("partition.none")}</p>;
  }
  const total = formatBytes(value.userPartitionTotal, language);
  const used = formatBytes(value.userPartitionUsage, language);
  const amounts = {
    used: used.unit === total.unit ? used.value : `${used.value} ${used.unit}`,
    total: `${total.value} ${total.unit}`,
  };
  return (
    <>
      <Value number={store.formats.formatNumber(value.userPartitionUsagePercent)} unit="%">
        {text("partition.usedOf", amounts)}
      </Value>
      <div class="overview-partition-meter">
        <Meter percent={value.userPartitionUsagePercent} />
        <p class="overview-axis" aria-hidden="true">
          <span>0</span>
          <span>{amounts.total}</span>
        </p>
      </div>
    </>
  );
}

/** As high as the value that will come. */
export function ValueSkeleton() {
  return (
    <div class="oxa-value">
      <span class="oxa-value-number">
        <Skeleton width={3} />
      </span>
    </div>
  );
}
