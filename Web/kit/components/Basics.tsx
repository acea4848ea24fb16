// The small parts that views are made of.
import type { ComponentChildren, JSX } from "preact";
import { useEffect, useRef } from "preact/hooks";
import { useId } from "../Ids";

/** Text that comes from outside: in its own direction, wrapped, and with every control character visible. */
export function Foreign({ text }: { readonly text: string }) {
  return <bdi>{makeVisible(text)}</bdi>;
}

/** Control characters as their pictures, and marks that change the direction of text as U+FFFD. */
export function makeVisible(text: string): string {
  let visible = "";
  for (const character of text) {
    const code = character.codePointAt(0) ?? 0;
    if (code < 0x20) {
      visible += String.fromCodePoint(0x2400 + code);
    } else if (code === 0x7f) {
      visible += "\u2421";
    } else if ((code >= 0x80 && code < 0xa0) || isDirectionMark(code)) {
      visible += "\ufffd";
    } else {
      visible += character;
    }
  }
  return visible;
}

function isDirectionMark(code: number): boolean {
  return (
    code === 0x61c ||
    code === 0x200e ||
    code === 0x200f ||
    (code >= 0x202a && code <= 0x202e) ||
    (code >= 0x2066 && code <= 0x2069)
  );
}

export type ButtonKind = "plain" | "primary" | "accent" | "danger" | "quiet";

interface ButtonProps extends Omit<JSX.ButtonHTMLAttributes<HTMLButtonElement>, "icon"> {
  readonly kind?: ButtonKind;
  readonly children: ComponentChildren;
}

export function Button({ kind = "plain", children, ...rest }: ButtonProps) {
  return (
    <button type="button" class="oxa-button" data-kind={kind} {...rest}>
      {children}
    </button>
  );
}

export type MarkLevel = "info" | "good" | "warning" | "bad";

/** A short word on an element: "simulated", "disabled". */
export function Mark({
  level = "info",
  children,
}: {
  readonly level?: MarkLevel;
  readonly children: ComponentChildren;
}) {
  return (
    <span class="oxa-mark" data-level={level}>
      {children}
    </span>
  );
}

interface BannerProps {
  readonly level?: "warning" | "bad" | "info";
  readonly title?: string;
  readonly children: ComponentChildren;
}

export function Banner({ level = "warning", title, children }: BannerProps) {
  return (
    <div class="oxa-banner" data-level={level}>
      {title ? <strong>{title}</strong> : null}
      <span>{children}</span>
    </div>
  );
}

/** A large number with a small unit behind it. */
export function Value(props: {
  readonly number: string;
  readonly unit?: string;
  readonly children?: ComponentChildren;
}) {
  return (
    <p class="oxa-value">
      <span class="oxa-value-number">{props.number}</span>
      {props.unit ? <span class="oxa-value-unit">{props.unit}</span> : null}
      {props.children ? <span>{props.children}</span> : null}
    </p>
  );
}

/** Takes the room of a value that has not come yet. `width` in characters. */
export function Skeleton({ width = 8 }: { readonly width?: number }) {
  return (
    <span class="oxa-skeleton" aria-hidden="true">
      {"0".repeat(width)}
    </span>
  );
}

/** 0 to 100. The number stands beside it as text, so the bar itself is for the eye only. */
export function Meter({ percent }: { readonly percent: number }) {
  const fill = useRef<HTMLSpanElement>(null);
  useEffect(() => {
    fill.current?.style.setProperty("transform", `translateX(${Math.min(100, Math.max(0, percent)) - 100}%)`);
  }, [percent]);
  return (
    <span class="oxa-meter" aria-hidden="true">
      <span class="oxa-meter-fill" ref={fill} />
    </span>
  );
}

interface FieldProps extends Omit<JSX.InputHTMLAttributes<HTMLInputElement>, "label"> {
  readonly label: string;
  readonly value: string;
  readonly onValue: (value: string) => void;
  readonly hint?: string | undefined;
  readonly error?: string | undefined;
}

/** A labelled line of text. Most are names and secrets, which browsers should neither complete nor correct. */
export function Field({ label, value, onValue, hint, error, ...rest }: FieldProps) {
  const id = useId();
  const describedBy = [hint ? `${id}-hint` : "", error ? `${id}-error` : ""].filter(Boolean).join(" ");
  return (
    <div class="oxa-field">
      <label for={id}>{label}</label>
      <input
        id={id}
        class="oxa-input"
        value={value}
        onInput={(event) => onValue(event.currentTarget.value)}
        autocomplete="off"
        autocapitalize="none"
        spellcheck={false}
        aria-invalid={error ? "true" : undefined}
        aria-describedby={describedBy || undefined}
        {...rest}
      />
      {hint ? (
        <span id={`${id}-hint`} class="oxa-field-hint">
          {hint}
        </span>
      ) : null}
      {error ? (
        <span id={`${id}-error`} class="oxa-field-error" role="alert">
          {error}
        </span>
      ) : null}
    </div>
  );
}

interface Choice<T extends string> {
  readonly value: T;
  readonly label: string;
}

interface SelectProps<T extends string> {
  readonly label: string;
  readonly value: T;
  readonly choices: readonly Choice<T>[];
  readonly onValue: (value: T) => void;
  readonly isLabelHidden?: boolean;
}

export function Select<T extends string>({ label, value, choices, onValue, isLabelHidden }: SelectProps<T>) {
  const id = useId();
  const choose = (text: string) => {
    const chosen = choices.find((choice) => choice.value === text);
    if (chosen) {
      onValue(chosen.value);
    }
  };
  return (
    <div class="oxa-field">
      <label for={id} class={isLabelHidden ? "oxa-hidden" : undefined}>
        {label}
      </label>
      <select id={id} class="oxa-input" value={value} onChange={(event) => choose(event.currentTarget.value)}>
        {choices.map((choice) => (
          <option key={choice.value} value={choice.value}>
            {choice.label}
          </option>
        ))}
      </select>
    </div>
  );
}

/** One of a few, side by side. */
export function Segments<T extends string>({ label, value, choices, onValue }: SelectProps<T>) {
  const name = useId();
  return (
    <fieldset class="oxa-segments">
      <legend class="oxa-hidden">{label}</legend>
      {choices.map((choice) => (
        <label key={choice.value}>
          <input
            type="radio"
            name={name}
            checked={choice.value === value}
            onChange={() => onValue(choice.value)}
          />
          <span>{choice.label}</span>
        </label>
      ))}
    </fieldset>
  );
}
