// What a button or a form does: one run at a time, and why the last one failed, in words.
import { useRef, useState } from "preact/hooks";
import { explain } from "../kit/Failures";
import { lookUp } from "./Language";

export interface Action {
  readonly isRunning: boolean;
  /** Empty when it did not fail. */
  readonly failure: string;
  readonly run: () => Promise<void>;
  readonly forgetFailure: () => void;
}

/** `firstFailure`: of an attempt before. */
export function useAction(action: () => Promise<void>, firstFailure = ""): Action {
  const [failure, setFailure] = useState(firstFailure);
  const [isRunning, setIsRunning] = useState(false);
  const isBusy = useRef(false);
  const run = async () => {
    if (isBusy.current) {
      return;
    }
    isBusy.current = true;
    setIsRunning(true);
    setFailure("");
    try {
      await action();
    } catch (error) {
      setFailure(explain(error, lookUp));
    }
    isBusy.current = false;
    setIsRunning(false);
  };
  return { isRunning, failure, run, forgetFailure: () => setFailure("") };
}
