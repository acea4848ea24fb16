import assert from "node:assert/strict";
import { test } from "node:test";
import { ConnectionError, ModuleError, ProblemError } from "../kit/Api";
import { attempt, readItemPages } from "./SupportFile";

const problem = {
  type: "about:blank",
  title: "Service Unavailable",
  status: 503,
  code: "not-ready",
  detail: "Some configured parts are not available.",
} as const;

test("keeps why something could not be read", async () => {
  const cases = [
    [new ProblemError(problem, 1), problem],
    [new ModuleError("UnknownError"), { code: "UnknownError", detail: "UnknownError" }],
    [new ConnectionError("refused"), { code: "connection", detail: "refused" }],
    [new TypeError("x"), { code: "page", detail: "TypeError: x" }],
  ] as const;
  for (const [error, expected] of cases) {
    assert.deepEqual(await attempt(() => Promise.reject(error)), { error: expected });
  }
  assert.deepEqual(await attempt(() => Promise.resolve(7)), { value: 7 });
});

test("follows the pages of the items, and ends when they do not go on", async () => {
  const pages = new Map<string | undefined, { items: { key: string }[]; isCut: boolean }>([
    [undefined, { items: [{ key: "a" }, { key: "b" }], isCut: true }],
    ["b", { items: [{ key: "c" }], isCut: true }],
    ["c", { items: [], isCut: true }],
  ]);
  const asked: (string | undefined)[] = [];
  const items = await readItemPages(async (after) => {
    asked.push(after);
    return pages.get(after) ?? { items: [], isCut: false };
  });
  assert.deepEqual(asked, [undefined, "b", "c"]);
  assert.deepEqual(items, [{ key: "a" }, { key: "b" }, { key: "c" }]);
});
