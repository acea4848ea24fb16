// A new password, which can be shown while it is typed.
import { useState } from "preact/hooks";
import { Field } from "../kit/components/Basics";
import { text } from "./Language";

const minimumPasswordCharacters = 12;

interface PasswordFieldProps {
  readonly label: string;
  readonly value: string;
  readonly onValue: (value: string) => void;
}

export function PasswordField({ label, value, onValue }: PasswordFieldProps) {
  const [isShown, setIsShown] = useState(false);
  return (
    <div>
      <Field
        label={label}
        hint={text("password.rule", { count: minimumPasswordCharacters })}
        value={value}
        onValue={onValue}
        type={isShown ? "text" : "password"}
        autocomplete="new-password"
        minLength={minimumPasswordCharacters}
        required={true}
      />
      <label class="view-check">
        <input
          type="checkbox"
          checked={isShown}
          onChange={(event) => setIsShown(event.currentTarget.checked)}
        />
        {text("password.show")}
      </label>
    </div>
  );
}
