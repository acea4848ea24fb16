// Tokens with which programs read and command, instead of a log-in.
import { Plus } from "lucide-preact";
import { useState } from "preact/hooks";
import { call, type Schemas } from "../../kit/Api";
import { ActionTable } from "../../kit/components/ActionTable";
import { Button, Foreign, Mark, makeVisible } from "../../kit/components/Basics";
import { ActionDialog } from "../ActionDialog";
import { text } from "../Language";
import { keepFocus, LoadedList, useLoaded } from "../Loaded";
import { roleName } from "../Roles";
import { Time } from "../Time";
import { ViewHead } from "../ViewHead";
import { AddTokenDialog, IssuedToken } from "./NewToken";

type Token = Schemas["ApiTokens"]["tokens"][number];

const readTokens = async (signal: AbortSignal) =>
  (await call("get", "/api/v1/tokens", undefined, { signal })).tokens;

export default function Tokens() {
  const loaded = useLoaded(readTokens);
  const [isAdding, setIsAdding] = useState(false);
  const [issued, setIssued] = useState<Schemas["NewApiToken"] | undefined>();
  const [removed, setRemoved] = useState<Token | undefined>();
  const close = (isDone: boolean) => {
    setIsAdding(false);
    setRemoved(undefined);
    if (isDone) {
      void loaded.reload();
    }
  };
  const forgetIssued = () => {
    setIssued(undefined);
    keepFocus();
  };
  return (
    <>
      <ViewHead title={text("view.tokens")}>
        <Button kind="primary" onClick={() => setIsAdding(true)}>
          <Plus class="oxa-icon" aria-hidden="true" />
          {text("tokens.add")}
        </Button>
      </ViewHead>
      {issued ? <IssuedToken token={issued} onDone={forgetIssued} /> : null}
      <LoadedList loaded={loaded} empty={text("tokens.empty")}>
        {(tokens) => <TokenTable tokens={tokens} onRemove={setRemoved} />}
      </LoadedList>
      {isAdding ? <AddTokenDialog onIssued={setIssued} onClose={close} /> : null}
      {removed ? <RemoveDialog token={removed} onClose={close} /> : null}
    </>
  );
}

interface TokenTableProps {
  readonly tokens: readonly Token[];
  readonly onRemove: (token: Token) => void;
}

function TokenTable({ tokens, onRemove }: TokenTableProps) {
  return (
    <ActionTable
      columns={[
        text("tokens.name"),
        text("role"),
        text("tokens.created"),
        text("tokens.expires"),
        text("tokens.lastUsed"),
      ]}
      actions={text("view.actions")}
    >
      {tokens.map((token) => (
        <TokenRow key={token.name} token={token} onRemove={() => onRemove(token)} />
      ))}
    </ActionTable>
  );
}

interface TokenRowProps {
  readonly token: Token;
  readonly onRemove: () => void;
}

function TokenRow({ token, onRemove }: TokenRowProps) {
  return (
    <tr>
      <td class="view-name">
        <Foreign text={token.name} />
      </td>
      <td data-label={text("role")}>{roleName(token.role)}</td>
      <td data-label={text("tokens.created")}>
        <span>
          <Time value={token.created} />{" "}
          <span class="oxa-soft">
            <Foreign text={text("tokens.by", { user: token.createdBy })} />
          </span>
        </span>
      </td>
      <td data-label={text("tokens.expires")}>
        <Expiry token={token} />
      </td>
      <td data-label={text("tokens.lastUsed")}>
        {token.lastUsed ? <Time value={token.lastUsed} /> : text("tokens.never")}
      </td>
      <td class="view-actions">
        <Button kind="quiet" aria-label={`${text("tokens.remove")} ${token.name}`} onClick={onRemove}>
          {text("tokens.remove")}
        </Button>
      </td>
    </tr>
  );
}

/** Whether it has expired is the host's to say: its clock may be wrong, or the browser's. */
function Expiry({ token: { expires, expiresInSeconds } }: { readonly token: Token }) {
  if (!expires) {
    return <>{text("tokens.unlimited")}</>;
  }
  return (
    <span>
      <Time value={expires} />{" "}
      {expiresInSeconds === 0 ? <Mark level="warning">{text("tokens.expired")}</Mark> : null}
    </span>
  );
}

interface RemoveDialogProps {
  readonly token: Token;
  readonly onClose: (isDone: boolean) => void;
}

function RemoveDialog({ token, onClose }: RemoveDialogProps) {
  const { name } = token;
  const remove = async () => {
    await call("delete", "/api/v1/tokens/{name}", undefined, { parameters: { name } });
    return text("tokens.removed", { name });
  };
  return (
    <ActionDialog
      title={text("tokens.removeTitle", { name: makeVisible(name) })}
      submit={text("tokens.remove")}
      kind="danger"
      action={remove}
      onClose={onClose}
    >
      <p>{text("tokens.removeText")}</p>
    </ActionDialog>
  );
}
