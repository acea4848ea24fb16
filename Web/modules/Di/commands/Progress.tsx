import { Check, TriangleAlert } from "lucide-preact";
import { Button, Foreign, Meter } from "../../../kit/components/Basics";
import type { PageContext } from "../../../kit/Page";
import { formatDuration } from "../../../kit/Texts";
import { isEnd, type RestartState } from "./RestartProgress";
import { dismissRestart, isRestartLate, time } from "./RestartWatch";
import { describeLastTimes, describeRestart, type Level } from "./RestartWords";

interface ProgressProps {
  readonly context: PageContext;
  readonly state: RestartState;
}

/** Phases are read out by the shell, so nothing here is a live region. */
export function Progress({ context, state }: ProgressProps) {
  const { text } = context;
  const { level, title, advice } = describeRestart(state, isRestartLate.value, text);
  const canDismiss = isEnd(state.phase) || isRestartLate.value || state.answer !== "accepted";
  const when = new Intl.DateTimeFormat(context.language, { timeStyle: "medium" }).format(state.beganAt);
  return (
    <section class="oxa-card command-progress" aria-labelledby="command-progress" data-level={level}>
      <div class="command-progress-head">
        <ProgressIcon level={level} />
        <div class="command-progress-title">
          <h2 id="command-progress">{title}</h2>
          <p class="oxa-soft">
            {text(`command.requested.${state.command}`, { time: when })} <Foreign text={state.user} />
          </p>
        </div>
        {canDismiss ? (
          <Button onClick={dismiss}>
            {text(isEnd(state.phase) ? "command.close" : "command.stopWatching")}
          </Button>
        ) : null}
      </div>
      {isEnd(state.phase) ? null : <Steps context={context} state={state} />}
      {advice ? <p>{advice}</p> : null}
    </section>
  );
}

/** The focus goes to where the restart began. */
function dismiss() {
  const target =
    document.querySelector<HTMLElement>("[data-command=restart]") ?? document.getElementById("content");
  dismissRestart();
  target?.focus();
}

function ProgressIcon({ level }: { readonly level: Level }) {
  switch (level) {
    case "info":
      return null;
    case "good":
      return <Check class="oxa-icon" aria-hidden="true" />;
    case "warning":
      return <TriangleAlert class="oxa-icon" aria-hidden="true" />;
  }
}

const steps = ["accepted", "goingDown", "away", "back"] as const;

function Steps({ context, state }: ProgressProps) {
  const { text } = context;
  const current = state.phase === "away" ? 2 : state.answer === "accepted" ? 1 : 0;
  return (
    <>
      <ol class="command-steps">
        {steps.map((step, index) => (
          <li key={step} aria-current={index === current ? "step" : undefined} data-done={index < current}>
            {text(step === "accepted" ? `command.step.${state.answer}` : `command.step.${step}`)}
          </li>
        ))}
      </ol>
      <Elapsed context={context} state={state} />
    </>
  );
}

function Elapsed({ context: { text }, state: { beganAt, lastTimes } }: ProgressProps) {
  const seconds = Math.max(0, (time.value - beganAt) / 1_000);
  const mean = lastTimes.reduce((sum, each) => sum + each, 0) / lastTimes.length;
  return (
    <div class="command-elapsed">
      {lastTimes.length > 0 ? <Meter percent={(100 * seconds) / mean} /> : null}
      <p>
        {text("command.elapsed", { duration: formatDuration(seconds) })}{" "}
        <span class="oxa-soft">{describeLastTimes(lastTimes, text)}</span>
      </p>
    </div>
  );
}
