// A browser, and visits to the page, each of which must end without a fault in the browser's eyes.
import assert from "node:assert/strict";
import * as fs from "node:fs";
import * as path from "node:path";
import { build, load } from "./Places.mjs";

const { chromium, firefox } = load("playwright-core");

const flags = [
  "--disable-gpu",
  "--disable-quic",
  "--no-first-run",
  "--disable-background-networking",
  "--disable-component-update",
  "--disable-sync",
];

export const firefoxPath = process.env.OXA_FIREFOX ?? "/usr/bin/firefox-esr";

/** What the browser itself writes about responses and connections that a test expects. */
const expectedLines =
  /^Failed to load resource: (?:the server responded with a status of (?:401|403|503)\b|net::ERR_)/;

const pictures = path.join(build, "web-failures");

export class Browser {
  #browser;

  static async start(options = {}) {
    const browser = new Browser();
    browser.#browser = await chromium.launch({
      executablePath: process.env.OXA_CHROMIUM ?? "/usr/bin/chromium",
      // The sandbox needs name spaces of users, which root in a container has not got.
      chromiumSandbox: false,
      ...options,
      args: [...flags, ...(options.args ?? [])],
    });
    return browser;
  }

  /** Debian's Firefox, driven by WebDriver BiDi. */
  static async startFirefox() {
    const browser = new Browser();
    browser.#browser = await firefox.launch({ channel: "moz-firefox", executablePath: firefoxPath });
    return browser;
  }

  async stop() {
    await this.#browser.close();
  }

  /** Opens the page of the host as `user` at `route`, runs `body` with it, and closes it. Without a user it shows the
   * log-in. The other options are those of the browser's context.
   * expected: a pattern of further console lines that are no fault. prepare: called before the page is opened. */
  async visit({ host, user, route = "overview", expected, prepare, ...options }, body) {
    const context = await this.#browser.newContext({
      viewport: { width: 1440, height: 900 },
      locale: "en-GB",
      ignoreHTTPSErrors: true,
      ...options,
    });
    context.setDefaultTimeout(15_000);
    const page = await context.newPage();
    const faults = watch(page, host, expected);
    try {
      if (user) {
        await context.addCookies(toCookies(await host.logIn(user), host));
      }
      await prepare?.(page, context);
      await page.goto(`${host.address}/#/${route}`);
      await page.locator(user ? ".shell" : "main").waitFor();
      await body(page, context);
      assert.deepEqual(faults, [], "faults in the browser");
    } catch (error) {
      await keepPicture(page, error);
      throw error;
    } finally {
      await context.close();
    }
  }
}

function watch(page, host, expected) {
  const faults = [];
  page.on("console", (message) => {
    const text = message.text();
    if (message.type() === "error" && !expectedLines.test(text) && !expected?.test(text)) {
      faults.push(`console: ${text}`);
    }
  });
  page.on("pageerror", (error) => faults.push(`error: ${error.stack}`));
  page.on("request", (request) => {
    if (!/^(?:data|blob):/.test(request.url()) && !request.url().startsWith(`${host.address}/`)) {
      faults.push(`request to elsewhere: ${request.url()}`);
    }
  });
  return faults;
}

function toCookies({ cookies }, host) {
  return cookies.map((line) => {
    const [, name, value] = /^([^=]+)=([^;]*)/.exec(line);
    return { name, value, url: host.address, secure: true, httpOnly: true, sameSite: "Strict" };
  });
}

/** Fills in the form that a page shows without a session. */
export async function logIn(page, user, password) {
  await page.locator("input[name=user]").fill(user);
  await page.locator("input[name=password]").fill(password);
  await page.locator("button[type=submit]").click();
}

let count = 0;

async function keepPicture(page, error) {
  fs.mkdirSync(pictures, { recursive: true });
  const file = path.join(pictures, `${path.basename(process.argv[1] ?? "page", ".test.mjs")}-${++count}.png`);
  await page.screenshot({ path: file, timeout: 5_000 }).catch(() => undefined);
  error.message += `\nthe page at that time: ${file}`;
}
