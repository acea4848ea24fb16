import assert from "node:assert/strict";
import { test } from "node:test";
import { parseDevice } from "./LastDevice";

test("a stored device is read again, and a damaged entry is ignored", () => {
  const device = { name: "Demo \u202e<b>", serialNumber: "" };
  assert.deepEqual(parseDevice(JSON.stringify({ ...device, more: 1 })), device);
  for (const text of [
    null,
    "",
    "{",
    "null",
    "7",
    '"a"',
    "[]",
    "{}",
    '{"name":"a"}',
    '{"name":1,"serialNumber":"b"}',
  ]) {
    assert.equal(parseDevice(text), undefined, String(text));
  }
});
