import { AssertionError } from "node:assert/strict";

const mostMilliseconds = 15_000;
const pauseMilliseconds = 50;

/** Waits until `check` resolves to something else than false, and no assertion in it fails. */
export async function until(check) {
  for (const end = Date.now() + mostMilliseconds; ; ) {
    try {
      if ((await check()) !== false) {
        return;
      }
      if (Date.now() > end) {
        throw new Error(`not so after ${mostMilliseconds} ms: ${check}`);
      }
    } catch (error) {
      if (!(error instanceof AssertionError) || Date.now() > end) {
        throw error;
      }
    }
    await new Promise((resolve) => {
      setTimeout(resolve, pauseMilliseconds);
    });
  }
}
