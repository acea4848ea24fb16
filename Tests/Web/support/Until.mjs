const mostMilliseconds = 15_000;
const pauseMilliseconds = 50;

/** Waits until `isSo` resolves to true. */
export async function until(isSo) {
  for (const end = Date.now() + mostMilliseconds; !(await isSo()); ) {
    if (Date.now() > end) {
      throw new Error(`not so after ${mostMilliseconds} ms: ${isSo}`);
    }
    await new Promise((resolve) => {
      setTimeout(resolve, pauseMilliseconds);
    });
  }
}
