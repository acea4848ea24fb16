import assert from "node:assert/strict";
import { test } from "node:test";
import { describeUserAgent } from "./UserAgent";

const webKit = "AppleWebKit/537.36 (KHTML, like Gecko)";

test("names browser and system, and leaves programs as they are", () => {
  const cases = [
    ["Mozilla/5.0 (X11; Linux x86_64; rv:128.0) Gecko/20100101 Firefox/128.0", "Firefox 128, Linux"],
    [
      `Mozilla/5.0 (Windows NT 10.0; Win64; x64) ${webKit} Chrome/130.0.0.0 Safari/537.36`,
      "Chrome 130, Windows",
    ],
    [
      `Mozilla/5.0 (Windows NT 10.0; Win64; x64) ${webKit} Chrome/130.0.0.0 Safari/537.36 Edg/130.0.0.0`,
      "Edge 130, Windows",
    ],
    [
      `Mozilla/5.0 (Linux; Android 14) ${webKit} Chrome/130.0.0.0 Mobile Safari/537.36`,
      "Chrome 130, Android",
    ],
    [
      "Mozilla/5.0 (iPhone; CPU iPhone OS 17_5 like Mac OS X) AppleWebKit/605.1.15 (KHTML, like Gecko) Version/17.5 Mobile/15E148 Safari/604.1",
      "Safari 17, iOS",
    ],
    ["curl/7.88.1", "curl/7.88.1"],
    ["", ""],
  ] as const;
  for (const [userAgent, expected] of cases) {
    assert.equal(describeUserAgent(userAgent), expected, userAgent);
  }
});
