// What is said of a restart: a line for each phase, and what to do.
import { formatDuration, type TextFunction } from "../../../kit/Texts";
import { getDuration, type RestartState } from "./RestartProgress";

export type Level = "info" | "good" | "warning";

export interface Description {
  readonly level: Level;
  readonly title: string;
  /** What it means or what to do; empty when nothing has to be added. */
  readonly advice: string;
}

export function describeRestart(state: RestartState, isLate: boolean, text: TextFunction): Description {
  const { command, phase, answer } = state;
  switch (phase) {
    case "goingDown":
      return { level: "info", title: text(`command.goingDown.${answer}`), advice: "" };
    case "returned":
      return { level: "info", title: text("command.returned"), advice: "" };
    case "away":
      return isLate
        ? { level: "warning", title: text("command.late"), advice: text(`command.late.advice.${command}`) }
        : { level: "info", title: text("command.away"), advice: "" };
    case "back":
      return {
        level: "good",
        title: describeBack(state, text),
        advice: command === "reset" ? text(`command.back.reset.${answer}`) : "",
      };
    case "notDown":
      return { level: "warning", title: text("command.notDown"), advice: text("command.notDown.advice") };
    case "notRestarted":
      return {
        level: "warning",
        title: text("command.notRestarted"),
        advice: text("command.notRestarted.advice"),
      };
  }
}

function describeBack(state: RestartState, text: TextFunction): string {
  const seconds = getDuration(state);
  return seconds === undefined
    ? text("command.back")
    : text("command.backAfter", { duration: formatDuration(seconds) });
}

/** "36 s to 42 s"; empty without earlier restarts. */
export function describeLastTimes(lastTimes: readonly number[], text: TextFunction): string {
  if (lastTimes.length === 0) {
    return "";
  }
  const shortest = formatDuration(Math.min(...lastTimes));
  const longest = formatDuration(Math.max(...lastTimes));
  const duration = shortest === longest ? shortest : text("command.range", { shortest, longest });
  return text("command.lastTimes", { count: lastTimes.length, duration });
}
