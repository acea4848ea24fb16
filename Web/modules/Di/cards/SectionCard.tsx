// A card that shows a section: with its mark, and with what is said when its values are old.
import type { ComponentChildren } from "preact";
import { Foreign, Mark } from "../../../kit/components/Basics";
import { Card } from "../../../kit/components/Card";
import { formatDuration } from "../../../kit/Texts";
import { isDeviceAway } from "../commands/Commands";
import type { CardName, OverviewStore, Section } from "../OverviewStore";

export interface CardProps {
  readonly store: OverviewStore;
}

interface SectionCardProps extends CardProps {
  readonly title: string;
  readonly section: Section<object>;
  /** Whose origin is marked. */
  readonly name?: CardName;
  /** For the grid of the page. */
  readonly area: string;
  readonly aside?: ComponentChildren;
  readonly footer?: ComponentChildren;
  readonly children: ComponentChildren;
}

export function SectionCard({
  store,
  title,
  section,
  name,
  area,
  aside,
  footer,
  children,
}: SectionCardProps) {
  const { text } = store.context;
  const isOld = section.isOld.value;
  return (
    <Card
      title={title}
      class={`overview-${area}`}
      aside={
        <>
          {name && !isOld ? <OriginMark store={store} name={name} /> : null}
          {aside}
        </>
      }
      footer={footer}
      since={describeTime(store, section, isOld)}
      note={
        isOld && !isDeviceAway.value ? <StaleNote store={store} section={section} name={name} /> : undefined
      }
    >
      {section.readTime === 0 && isOld ? <p class="oxa-hidden">{text("card.noValue")}</p> : null}
      {children}
    </Card>
  );
}

function describeTime(store: OverviewStore, section: Section<object>, isOld: boolean): string | undefined {
  const { text } = store.context;
  if (isDeviceAway.value) {
    return text("card.restarting");
  }
  if (!isOld) {
    return undefined;
  }
  return section.readTime === 0
    ? text("card.noValue")
    : text("card.asOf", { time: store.formats.formatTime(section.readTime) });
}

function OriginMark({ store, name }: CardProps & { readonly name: CardName }) {
  const mark = store.marks.value[name]?.mark;
  return mark ? <Mark>{store.context.text(`mark.${mark}`)}</Mark> : null;
}

interface StaleNoteProps extends CardProps {
  readonly section: Section<object>;
  readonly name: CardName | undefined;
}

/** "Not updated for 7 min. The device service does not answer. Next try in 8 s." */
function StaleNote({ store, section, name }: StaleNoteProps) {
  const { text } = store.context;
  // Counts with the seconds.
  void store.ticks.value;
  const causes = name ? (store.marks.value[name]?.causes ?? []) : [];
  const seconds = store.getSecondsToNextTry(section);
  return (
    <>
      {section.readTime > 0
        ? `${text("card.notUpdated", { duration: formatAge(Date.now() - section.readTime) })} `
        : null}
      {section.cause.value || text("card.noAnswerYet")}{" "}
      {causes.map((cause) => (
        <span key={cause}>
          <Foreign text={cause} />{" "}
        </span>
      ))}
      {seconds > 0 ? text("card.nextTry", { count: seconds }) : text("card.trying")}
    </>
  );
}

/** Whole minutes from the first one on. */
function formatAge(milliseconds: number): string {
  const minutes = Math.floor(milliseconds / 60_000);
  if (minutes === 0 || minutes >= 60) {
    return formatDuration(milliseconds / 1000);
  }
  return `${minutes} min`;
}
