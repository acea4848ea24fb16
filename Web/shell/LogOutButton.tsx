import type { ComponentChildren } from "preact";
import { Button } from "../kit/components/Basics";
import { useAction } from "./Action";
import { ActionDialog } from "./ActionDialog";
import { text } from "./Language";
import { logOut } from "./Session";

/** When the host has not ended the session, the user is told that the browser still has it. */
export function LogOutButton({ children }: { readonly children: ComponentChildren }) {
  const logOutSilently = async () => {
    await logOut();
    return "";
  };
  const { isRunning, failure, run, forgetFailure } = useAction(logOut);
  return (
    <>
      <Button
        kind="quiet"
        aria-label={text("shell.logOut")}
        title={text("shell.logOut")}
        aria-disabled={isRunning}
        onClick={() => void run()}
      >
        {children}
      </Button>
      {failure ? (
        <ActionDialog
          title={text("logOut.failed")}
          submit={text("shell.logOut")}
          firstFailure={failure}
          action={logOutSilently}
          onClose={forgetFailure}
        >
          <p>{text("logOut.still")}</p>
        </ActionDialog>
      ) : null}
    </>
  );
}
