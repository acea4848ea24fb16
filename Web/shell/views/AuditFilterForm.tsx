// Selects rows of the audit trail.
import { useState } from "preact/hooks";
import { Button, Field, Select } from "../../kit/components/Basics";
import { type AuditFilter, everything, knownActions } from "../AuditRows";
import { language, lookUp, text } from "../Language";

/** The action in words; without a text for it, its name. */
export function actionName(action: string): string {
  const key = `audit.action.${action}`;
  const found = lookUp(key);
  return found === key ? action : found;
}

function listActions() {
  const actions = knownActions.map((value) => ({ value: value as string, label: actionName(value) }));
  actions.sort((a, b) => a.label.localeCompare(b.label, language.value));
  return [{ value: "", label: text("audit.anyAction") }, ...actions];
}

export function AuditFilterForm({ onApply }: { readonly onApply: (filter: AuditFilter) => void }) {
  const [draft, setDraft] = useState<AuditFilter>(everything);
  const set = (change: Partial<AuditFilter>) => setDraft({ ...draft, ...change });
  const submit = (event: Event) => {
    event.preventDefault();
    onApply(draft);
  };
  const clear = () => {
    setDraft(everything);
    onApply(everything);
  };
  return (
    <form class="oxa-card view-filter" onSubmit={submit} aria-label={text("audit.filter")}>
      <Select
        label={text("audit.action")}
        value={draft.action}
        choices={listActions()}
        onValue={(action) => set({ action })}
      />
      <Field
        label={text("users.name")}
        value={draft.user}
        onValue={(user) => set({ user })}
        maxLength={128}
      />
      <Field
        label={text("audit.from")}
        value={draft.from}
        onValue={(from) => set({ from })}
        type="datetime-local"
      />
      <Field label={text("audit.to")} value={draft.to} onValue={(to) => set({ to })} type="datetime-local" />
      <div class="oxa-row view-filter-actions">
        <Button type="submit" kind="accent">
          {text("audit.apply")}
        </Button>
        <Button kind="quiet" onClick={clear}>
          {text("audit.clear")}
        </Button>
      </div>
    </form>
  );
}
