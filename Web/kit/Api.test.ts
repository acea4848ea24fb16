import assert from "node:assert/strict";
import { test } from "node:test";
import { ConnectionError, call } from "./Api";

/** A server whose responses begin and never end. Requests are noted. */
function stall(): Request[] {
  const requests: Request[] = [];
  globalThis.fetch = (address, init) => {
    requests.push(new Request(new URL(String(address), "http://device/"), init));
    const begin = (controller: ReadableStreamDefaultController<Uint8Array>) => {
      controller.enqueue(new TextEncoder().encode('{"bootId":'));
      init?.signal?.addEventListener("abort", () => controller.error(new DOMException("", "AbortError")));
    };
    return Promise.resolve(new Response(new ReadableStream({ start: begin })));
  };
  return requests;
}

test("ends a response that stops in its body, by its time and by the caller", async () => {
  const requests = stall();
  await assert.rejects(
    call("get", "/api/v1/boot", undefined, { timeoutMilliseconds: 1, background: true }),
    ConnectionError,
  );
  const caller = new AbortController();
  const aborted = call("get", "/api/v1/boot", undefined, { signal: caller.signal });
  await Promise.resolve();
  caller.abort();
  await assert.rejects(aborted, ConnectionError);
  await assert.rejects(call("get", "/api/v1/boot", undefined, { signal: caller.signal }), ConnectionError);
  assert.deepEqual(
    requests.map(({ headers }) => headers.get("Oxa-Activity")),
    ["background", null],
  );
});
