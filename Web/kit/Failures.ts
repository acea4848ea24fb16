// Why a request failed, in words.
import { ModuleError, ProblemError } from "./Api";
import type { TextFunction } from "./Texts";

/** The shell's texts `failure.CODE`, which every page gets as well; of a code without a text, the code itself. */
export function explain(error: unknown, text: TextFunction): string {
  if (error instanceof ProblemError) {
    return explainCode(error.code, text, error.retryAfterSeconds);
  }
  if (error instanceof ModuleError) {
    return explainCode(error.code, text, undefined);
  }
  return text("failure.connection");
}

function explainCode(code: string, text: TextFunction, seconds = 1): string {
  const key = `failure.${code}`;
  const found = text(key, { seconds, count: seconds });
  return found === key ? text("failure.code", { code }) : found;
}
