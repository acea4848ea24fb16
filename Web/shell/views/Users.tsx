// Who may log in.
import { Plus } from "lucide-preact";
import { useState } from "preact/hooks";
import { call, type Schemas } from "../../kit/Api";
import { ActionTable } from "../../kit/components/ActionTable";
import { Button, Foreign, Mark } from "../../kit/components/Basics";
import { text } from "../Language";
import { keepFocus, LoadedList, useLoaded } from "../Loaded";
import { RoleList, roleName } from "../Roles";
import { readSession, session } from "../Session";
import { navigate } from "../State";
import { ViewHead } from "../ViewHead";
import { type UserDialog, UserDialogs } from "./UserDialogs";

type User = Schemas["User"];

const readUsers = async (signal: AbortSignal) =>
  (await call("get", "/api/v1/users", undefined, { signal })).users;

export default function Users() {
  const loaded = useLoaded(readUsers);
  const [dialog, setDialog] = useState<UserDialog | undefined>();
  const close = (isDone: boolean) => {
    const isOwnChanged = dialog !== undefined && "user" in dialog && isOwn(dialog.user.user);
    setDialog(undefined);
    if (isDone) {
      void refresh(isOwnChanged, loaded.reload);
    }
  };
  return (
    <>
      <ViewHead title={text("view.users")}>
        <Button kind="primary" onClick={() => setDialog({ kind: "add" })}>
          <Plus class="oxa-icon" aria-hidden="true" />
          {text("users.add")}
        </Button>
      </ViewHead>
      <LoadedList loaded={loaded} empty={text("users.empty")}>
        {(users) => <UserTable users={users} onDialog={setDialog} />}
      </LoadedList>
      <RoleList />
      <UserDialogs dialog={dialog} onClose={close} />
    </>
  );
}

/** The role of the user who is logged in may be another one now, or the session may have ended. */
async function refresh(isOwnChanged: boolean, reload: () => Promise<void>): Promise<void> {
  if (isOwnChanged) {
    await readSession();
    keepFocus();
  }
  const state = session.peek();
  if (state.kind === "loggedIn" && state.role === "Admin") {
    await reload();
  }
}

interface UserTableProps {
  readonly users: readonly User[];
  readonly onDialog: (dialog: UserDialog) => void;
}

function UserTable({ users, onDialog }: UserTableProps) {
  return (
    <ActionTable
      columns={[text("users.name"), text("role"), text("users.state")]}
      actions={text("view.actions")}
    >
      {users.map((user) => (
        <UserRow key={user.user} user={user} onDialog={onDialog} />
      ))}
    </ActionTable>
  );
}

function isOwn(name: string): boolean {
  const state = session.value;
  return state.kind === "loggedIn" && state.user === name;
}

interface UserRowProps {
  readonly user: User;
  readonly onDialog: (dialog: UserDialog) => void;
}

function UserRow({ user, onDialog }: UserRowProps) {
  return (
    <tr>
      <td class="view-name">
        <span>
          <Foreign text={user.user} /> {isOwn(user.user) ? <Mark>{text("users.you")}</Mark> : null}
        </span>
      </td>
      <td data-label={text("role")}>{roleName(user.role)}</td>
      <td data-label={text("users.state")}>
        <UserState user={user} />
      </td>
      <td class="view-actions">
        <UserActions user={user} onDialog={onDialog} />
      </td>
    </tr>
  );
}

function UserState({ user }: { readonly user: User }) {
  if (user.disabled) {
    return <Mark level="warning">{text("users.disabled")}</Mark>;
  }
  return user.mustChangePassword ? (
    <Mark>{text("users.mustChange")}</Mark>
  ) : (
    <Mark level="good">{text("users.active")}</Mark>
  );
}

function UserActions({ user, onDialog }: UserRowProps) {
  // The name is in what a screen reader says of each button: the same four stand in every row.
  const label = (action: string) => `${action} ${user.user}`;
  const changePassword = () =>
    isOwn(user.user) ? navigate("account") : onDialog({ kind: "password", user });
  return (
    <>
      <Button
        kind="quiet"
        aria-label={label(text("users.role"))}
        onClick={() => onDialog({ kind: "role", user })}
      >
        {text("users.role")}
      </Button>
      <Button kind="quiet" aria-label={label(text("users.password"))} onClick={changePassword}>
        {text("users.password")}
      </Button>
      <Button
        kind="quiet"
        aria-label={label(text(user.disabled ? "users.enable" : "users.disable"))}
        onClick={() => onDialog({ kind: "disable", user })}
      >
        {text(user.disabled ? "users.enable" : "users.disable")}
      </Button>
      <Button
        kind="quiet"
        aria-label={label(text("users.remove"))}
        onClick={() => onDialog({ kind: "remove", user })}
      >
        {text("users.remove")}
      </Button>
    </>
  );
}
