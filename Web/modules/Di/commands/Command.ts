// Sends a command and begins to watch what comes of it.
import { useState } from "preact/hooks";
import { ConnectionError, ModuleError, ProblemError } from "../../../kit/Api";
import { explain } from "../../../kit/Failures";
import type { DeviceIdentity, PageContext } from "../../../kit/Page";
import { controlProvider } from "../Sections";
import type { Answer, CommandName } from "./RestartProgress";
import { beginRestart, readBootId } from "./RestartWatch";

const requests = { restart: "RestartController", reset: "ResetControllerToFactoryDefault" } as const;
/** The device's text for a reset that goes on after the response. */
const unfinishedReset = "timed out";

/** Of these problems the host does not know what became of the request; any other refuses it. */
const unknownStatuses = [500, 502, 504];
const codeOfLostService = "service-lost";

/** What an error tells about a command that was sent; not set when it was not carried out. */
export function interpretError(error: unknown): Answer | undefined {
  if (error instanceof ModuleError && error.code === unfinishedReset) {
    return "unfinished";
  }
  const isUnknown =
    error instanceof ConnectionError ||
    (error instanceof ProblemError &&
      (unknownStatuses.includes(error.problem.status) || error.code === codeOfLostService));
  return isUnknown ? "unknown" : undefined;
}

/** Throws when the command was not carried out. */
async function send(context: PageContext, command: CommandName): Promise<Answer> {
  try {
    await context.request(controlProvider, requests[command], { method: "POST" });
    return "accepted";
  } catch (error) {
    const answer = interpretError(error);
    if (answer === undefined) {
      throw error;
    }
    return answer;
  }
}

/** What failed, in the device's own words or in those of the page. */
export interface CommandFailure {
  readonly text: string;
  readonly isForeign: boolean;
  readonly code: string;
}

function toFailure(error: unknown, context: PageContext): CommandFailure {
  const isForeign = error instanceof ModuleError;
  const code = error instanceof ProblemError || isForeign ? error.code : "";
  return { text: isForeign ? code : explain(error, context.text), isForeign, code };
}

export interface CommandSending {
  readonly isSending: boolean;
  readonly failure: CommandFailure | undefined;
  /** `prepare`: what has to succeed before, for instance that the password is right. */
  readonly sendCommand: (prepare?: () => Promise<void>) => Promise<void>;
}

export function useCommand(
  context: PageContext,
  command: CommandName,
  device: DeviceIdentity | undefined,
  onSent: () => void,
): CommandSending {
  const [isSending, setIsSending] = useState(false);
  const [failure, setFailure] = useState<CommandFailure | undefined>();
  const sendCommand = async (prepare?: () => Promise<void>) => {
    if (isSending) {
      return;
    }
    setIsSending(true);
    setFailure(undefined);
    try {
      const bootId = await readBootId();
      await prepare?.();
      const answer = await send(context, command);
      const { user } = context.session;
      beginRestart({ command, answer, bootId, user, serialNumber: device?.serialNumber ?? "" });
      onSent();
    } catch (error) {
      setFailure(toFailure(error, context));
      setIsSending(false);
    }
  };
  return { isSending, failure, sendCommand };
}
