// Where a user is logged in; for administrators, where every user is.
import { useCallback, useState } from "preact/hooks";
import { call, ProblemError, type Schemas } from "../../kit/Api";
import { ActionTable } from "../../kit/components/ActionTable";
import { Button, Foreign, Mark, makeVisible, Segments } from "../../kit/components/Basics";
import { ActionDialog } from "../ActionDialog";
import { text } from "../Language";
import { type Loaded, LoadedList, useLoaded } from "../Loaded";
import { Time } from "../Time";
import { describeUserAgent } from "../UserAgent";

type LogIn = Schemas["Sessions"]["sessions"][number];
type Scope = "own" | "all";

export function SessionList({ isAdministrator }: { readonly isAdministrator: boolean }) {
  const [scope, setScope] = useState<Scope>("own");
  const [ending, setEnding] = useState<readonly LogIn[] | undefined>();
  const read = useCallback(
    async (signal: AbortSignal) => {
      const query = scope === "all" ? { all: "true" } : {};
      return (await call("get", "/api/v1/sessions", undefined, { query, signal })).sessions;
    },
    [scope],
  );
  const loaded = useLoaded(read);
  const close = (isDone: boolean) => {
    setEnding(undefined);
    if (isDone) {
      void loaded.reload();
    }
  };
  return (
    <section class="oxa-stack" aria-label={text("sessions.title")}>
      <SessionsHead
        scope={scope}
        onScope={isAdministrator ? setScope : undefined}
        loaded={loaded}
        onEnd={setEnding}
      />
      <LoadedList loaded={loaded} empty={text("sessions.empty")}>
        {(sessions) => <SessionTable sessions={sessions} scope={scope} onEnd={(each) => setEnding([each])} />}
      </LoadedList>
      {ending ? <EndDialog sessions={ending} onClose={close} /> : null}
    </section>
  );
}

interface HeadProps {
  readonly scope: Scope;
  readonly onScope: ((scope: Scope) => void) | undefined;
  readonly loaded: Loaded<readonly LogIn[]>;
  readonly onEnd: (sessions: readonly LogIn[]) => void;
}

function SessionsHead({ scope, onScope, loaded, onEnd }: HeadProps) {
  const others = (loaded.value ?? []).filter((each) => !each.current);
  const choices = [
    { value: "own", label: text("sessions.own") },
    { value: "all", label: text("sessions.all") },
  ] as const;
  return (
    <div class="view-head">
      <h2 class="view-subtitle">{text("sessions.title")}</h2>
      <div class="oxa-row">
        {onScope ? (
          <Segments label={text("sessions.whose")} value={scope} choices={choices} onValue={onScope} />
        ) : null}
        {scope === "own" && others.length > 0 ? (
          <Button onClick={() => onEnd(others)}>{text("sessions.endOthers")}</Button>
        ) : null}
      </div>
    </div>
  );
}

interface TableProps {
  readonly sessions: readonly LogIn[];
  readonly scope: Scope;
  readonly onEnd: (session: LogIn) => void;
}

function SessionTable({ sessions, scope, onEnd }: TableProps) {
  return (
    <ActionTable
      columns={[
        ...(scope === "all" ? [text("users.name")] : []),
        text("sessions.client"),
        text("sessions.address"),
        text("sessions.created"),
        text("sessions.lastUsed"),
      ]}
      actions={text("view.actions")}
    >
      {sessions.map((each) => (
        <SessionRow key={each.id} session={each} scope={scope} onEnd={() => onEnd(each)} />
      ))}
    </ActionTable>
  );
}

interface RowProps {
  readonly session: LogIn;
  readonly scope: Scope;
  readonly onEnd: () => void;
}

function nameClient({ userAgent }: LogIn): string {
  return describeUserAgent(userAgent) || text("sessions.unknownClient");
}

function SessionRow({ session, scope, onEnd }: RowProps) {
  const client = nameClient(session);
  return (
    <tr>
      {scope === "all" ? (
        <td class="view-name">
          <Foreign text={session.user} />
        </td>
      ) : null}
      <td class={scope === "all" ? undefined : "view-name"} data-label={text("sessions.client")}>
        <span title={makeVisible(session.userAgent)}>
          <Foreign text={client} />
        </span>
      </td>
      <td data-label={text("sessions.address")}>
        <Foreign text={session.address} />
      </td>
      <td data-label={text("sessions.created")}>
        <Time value={session.created} />
      </td>
      <td data-label={text("sessions.lastUsed")}>
        <Time value={session.lastUsed} />
      </td>
      <td class="view-actions">
        {session.current ? (
          <Mark level="good">{text("sessions.current")}</Mark>
        ) : (
          <Button kind="quiet" aria-label={`${text("sessions.end")}: ${client}`} onClick={onEnd}>
            {text("sessions.end")}
          </Button>
        )}
      </td>
    </tr>
  );
}

interface EndDialogProps {
  readonly sessions: readonly LogIn[];
  readonly onClose: (isDone: boolean) => void;
}

function EndDialog({ sessions, onClose }: EndDialogProps) {
  const count = sessions.length;
  const end = async () => {
    for (const each of sessions) {
      await endSession(each.id);
    }
    return text("sessions.ended", { count });
  };
  return (
    <ActionDialog
      title={text("sessions.endTitle", { count })}
      submit={text("sessions.end")}
      kind="danger"
      action={end}
      onClose={onClose}
    >
      <ul class="oxa-stack">
        {sessions.map((each) => (
          <li key={each.id}>
            <Foreign text={each.user} />{" "}
            <span class="oxa-soft">
              <Foreign text={`${nameClient(each)}, ${each.address}`} />
            </span>
          </li>
        ))}
      </ul>
      <p>{text("sessions.endText")}</p>
    </ActionDialog>
  );
}

/** One that has ended by itself meanwhile is what was wanted. */
async function endSession(id: string): Promise<void> {
  try {
    await call("delete", "/api/v1/sessions/{id}", undefined, { parameters: { id } });
  } catch (error) {
    if (!(error instanceof ProblemError && error.code === "unknown-session")) {
      throw error;
    }
  }
}
