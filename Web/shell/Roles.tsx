// The roles of users and tokens, each with what it may do.
import { Select } from "../kit/components/Basics";
import { text } from "./Language";
import type { Role } from "./Session";

export const roles: readonly Role[] = ["Viewer", "Engineer", "Admin"];

export function roleName(role: Role): string {
  return text(`role.${role}`);
}

interface RoleChoiceProps {
  readonly value: Role;
  readonly onValue: (role: Role) => void;
}

/** With the explanation of the chosen one below. */
export function RoleChoice({ value, onValue }: RoleChoiceProps) {
  const choices = roles.map((role) => ({ value: role, label: roleName(role) }));
  return (
    <div>
      <Select label={text("role")} value={value} choices={choices} onValue={onValue} />
      <p class="oxa-field-hint" aria-live="polite">
        {text(`role.${value}.may`)}
      </p>
    </div>
  );
}

export function RoleList() {
  return (
    <dl class="view-roles">
      {roles.map((role) => (
        <div key={role}>
          <dt>{roleName(role)}</dt>
          <dd class="oxa-soft">{text(`role.${role}.may`)}</dd>
        </div>
      ))}
    </dl>
  );
}
