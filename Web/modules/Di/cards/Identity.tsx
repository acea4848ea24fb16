import { Foreign, Skeleton } from "../../../kit/components/Basics";
import { CopyButton } from "../../../kit/components/CopyButton";
import { type GeneralData, notAvailable } from "../Sections";
import { type CardProps, SectionCard } from "./SectionCard";

type TextMember = Exclude<keyof GeneralData, "splcSupported">;

const identityMembers: readonly TextMember[] = [
  "articleName",
  "orderNumber",
  "serialNumber",
  "fullFirmwareVersion",
  "hardwareVersion",
  "fpgaVersion",
];

const safetyMembers: readonly TextMember[] = ["splcFirmwareVersion", "splcFpgaVersion"];

export function Identity({ store }: CardProps) {
  return (
    <SectionCard
      store={store}
      title={store.context.text("identity.title")}
      section={store.general}
      name="identity"
      area="identity"
    >
      <Members store={store} members={identityMembers} />
    </SectionCard>
  );
}

export function SafetyPart({ store }: CardProps) {
  return (
    <SectionCard
      store={store}
      title={store.context.text("safety.title")}
      section={store.general}
      area="safety"
    >
      <Members store={store} members={safetyMembers} />
    </SectionCard>
  );
}

function Members({ store, members }: CardProps & { readonly members: readonly TextMember[] }) {
  const { text } = store.context;
  const general = store.general.value.value;
  return (
    <dl class="oxa-list overview-members">
      {members.map((name) => (
        <div key={name}>
          <dt>{text(`identity.${name}`)}</dt>
          <dd>
            {general ? (
              <Member store={store} label={text(`identity.${name}`)} value={general[name]} />
            ) : (
              <Skeleton width={10} />
            )}
          </dd>
        </div>
      ))}
    </dl>
  );
}

interface MemberProps extends CardProps {
  readonly label: string;
  readonly value: string;
}

function Member({ store, label, value }: MemberProps) {
  const { text } = store.context;
  if (value === notAvailable || value === "") {
    return <span class="oxa-soft">{text("identity.none")}</span>;
  }
  return (
    <>
      <Foreign text={value} />
      <CopyButton text={value} label={text("identity.copy", { label })} doneLabel={text("identity.copied")} />
    </>
  );
}
