import assert from "node:assert/strict";
import { test } from "node:test";
import { ConnectionError, ModuleError, ProblemError } from "../../../kit/Api";
import { interpretError } from "./Command";

function problem(status: number, code: string): ProblemError {
  return new ProblemError({ type: "about:blank", title: "", status, code, detail: "" }, undefined);
}

test("only a refusal is told as one: of any other error the command may have been carried out", () => {
  const cases = [
    [new ModuleError("timed out"), "unfinished"],
    [new ModuleError("busy"), undefined],
    [new ConnectionError(), "unknown"],
    [problem(500, "internal-error"), "unknown"],
    [problem(502, "service-failed"), "unknown"],
    [problem(504, "service-timeout"), "unknown"],
    [problem(503, "service-lost"), "unknown"],
    [problem(503, "service-not-available"), undefined],
    [problem(403, "no-permission"), undefined],
    [problem(403, "confirmation-needed"), undefined],
  ] as const;
  for (const [error, answer] of cases) {
    assert.equal(interpretError(error), answer, error.message || error.name);
  }
});
