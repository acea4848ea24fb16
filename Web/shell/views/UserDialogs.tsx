// Adds, changes and removes a user.
import { useState } from "preact/hooks";
import { call, type Schemas } from "../../kit/Api";
import { Banner, Field, makeVisible } from "../../kit/components/Basics";
import { ActionDialog } from "../ActionDialog";
import { text } from "../Language";
import { PasswordField } from "../PasswordField";
import { RoleChoice, roleName } from "../Roles";
import { type Role, session } from "../Session";

type User = Schemas["User"];

export type UserDialog =
  | { readonly kind: "add" }
  | { readonly kind: "role" | "password" | "disable" | "remove"; readonly user: User };

interface DialogsProps {
  readonly dialog: UserDialog | undefined;
  readonly onClose: (isDone: boolean) => void;
}

export function UserDialogs({ dialog, onClose }: DialogsProps) {
  switch (dialog?.kind) {
    case undefined:
      return null;
    case "add":
      return <AddDialog onClose={onClose} />;
    case "role":
      return <RoleDialog user={dialog.user} onClose={onClose} />;
    case "password":
      return <NewPasswordDialog user={dialog.user} onClose={onClose} />;
    case "disable":
      return <DisableDialog user={dialog.user} onClose={onClose} />;
    case "remove":
      return <RemoveDialog user={dialog.user} onClose={onClose} />;
  }
}

interface DialogProps {
  readonly onClose: (isDone: boolean) => void;
}

interface OfUserProps extends DialogProps {
  readonly user: User;
}

function AddDialog({ onClose }: DialogProps) {
  const [user, setUser] = useState("");
  const [password, setPassword] = useState("");
  const [role, setRole] = useState<Role>("Viewer");
  const add = async () => {
    await call("post", "/api/v1/users", { user, password, role });
    return text("users.added", { user });
  };
  return (
    <ActionDialog title={text("users.add")} submit={text("users.addSubmit")} action={add} onClose={onClose}>
      <Field
        label={text("users.name")}
        value={user}
        onValue={setUser}
        maxLength={64}
        required={true}
        data-autofocus=""
      />
      <PasswordField label={text("users.newPassword")} value={password} onValue={setPassword} />
      <RoleChoice value={role} onValue={setRole} />
    </ActionDialog>
  );
}

async function change(user: User, changes: Schemas["UserChanges"]): Promise<void> {
  await call("patch", "/api/v1/users/{user}", changes, { parameters: { user: user.user } });
}

function RoleDialog({ user, onClose }: OfUserProps) {
  const [role, setRole] = useState<Role>(user.role);
  const action = async () => {
    await change(user, { role });
    return text("users.roleChanged", { user: user.user, role: roleName(role) });
  };
  return (
    <ActionDialog
      title={text("users.roleOf", { user: makeVisible(user.user) })}
      submit={text("users.roleSubmit")}
      action={action}
      onClose={onClose}
    >
      <OwnWarning user={user} />
      <RoleChoice value={role} onValue={setRole} />
    </ActionDialog>
  );
}

function NewPasswordDialog({ user, onClose }: OfUserProps) {
  const [password, setPassword] = useState("");
  const action = async () => {
    await change(user, { password });
    return text("users.passwordSet", { user: user.user });
  };
  return (
    <ActionDialog
      title={text("users.passwordOf", { user: makeVisible(user.user) })}
      submit={text("users.passwordSubmit")}
      action={action}
      onClose={onClose}
    >
      <p class="oxa-soft">{text("users.passwordEnds")}</p>
      <input type="hidden" name="user" autocomplete="username" value={user.user} />
      <PasswordField label={text("password.new")} value={password} onValue={setPassword} />
    </ActionDialog>
  );
}

function DisableDialog({ user, onClose }: OfUserProps) {
  const isDisabling = !user.disabled;
  const action = async () => {
    await change(user, { disabled: isDisabling });
    return text(isDisabling ? "users.nowDisabled" : "users.nowEnabled", { user: user.user });
  };
  return (
    <ActionDialog
      title={text(isDisabling ? "users.disableTitle" : "users.enableTitle", {
        user: makeVisible(user.user),
      })}
      submit={text(isDisabling ? "users.disable" : "users.enable")}
      kind={isDisabling ? "danger" : "primary"}
      action={action}
      onClose={onClose}
    >
      <OwnWarning user={user} />
      <p>{text(isDisabling ? "users.disableText" : "users.enableText")}</p>
    </ActionDialog>
  );
}

function RemoveDialog({ user, onClose }: OfUserProps) {
  const action = async () => {
    await call("delete", "/api/v1/users/{user}", undefined, { parameters: { user: user.user } });
    return text("users.removed", { user: user.user });
  };
  return (
    <ActionDialog
      title={text("users.removeTitle", { user: makeVisible(user.user) })}
      submit={text("users.remove")}
      kind="danger"
      action={action}
      onClose={onClose}
    >
      <OwnWarning user={user} />
      <p>{text("users.removeText")}</p>
    </ActionDialog>
  );
}

/** An administrator may change the user who is logged in here. */
function OwnWarning({ user }: { readonly user: User }) {
  const state = session.value;
  return state.kind === "loggedIn" && state.user === user.user ? (
    <Banner>{text("users.ownWarning")}</Banner>
  ) : null;
}
