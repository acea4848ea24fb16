// From the first visit to a page that works, and to the end of the session.
import assert from "node:assert/strict";
import { after, test } from "node:test";
import { Browser, logIn } from "./support/Browser.mjs";
import { Host, password } from "./support/Host.mjs";
import { until } from "./support/Until.mjs";

const [host, fresh, browser] = await Promise.all([
  Host.start({ sessions: 'idleSeconds="120"' }),
  Host.start({ isFresh: true }),
  Browser.start(),
]);
after(async () => {
  await browser.stop();
  await Promise.all([host.stop(), fresh.stop()]);
});

const shell = ".shell";
const form = "form input[name=user]";

test("the first password has to be changed before anything else is shown", async () => {
  await browser.visit({ host: fresh, expected: /status of 400/ }, async (page) => {
    await logIn(page, "admin", "not the password");
    await page.getByText("User name or password is wrong.").waitFor();
    await logIn(page, "admin", fresh.firstPassword);
    await page.getByRole("heading", { name: "Change password" }).waitFor();
    assert.equal(await page.locator("nav").count(), 0);

    const fill = async (present, next, repeated) => {
      await page.getByLabel("Present password").fill(present);
      await page.getByLabel("New password", { exact: true }).fill(next);
      await page.getByLabel("New password, again").fill(repeated);
      await page.getByRole("button", { name: "Change password" }).click();
    };
    const { firstPassword } = fresh;
    await fill(firstPassword, password, `${password}!`);
    await page.getByText("The two new passwords differ.").waitFor();
    await fill(firstPassword, "password1234", "password1234");
    await page.getByText("The new password is too short or too common.").waitFor();
    await fill("not the password", password, password);
    await page.getByText("The password is wrong.").waitFor();
    await fill(firstPassword, password, password);
    await page.locator(shell).waitFor();

    await page.reload();
    await page.locator(shell).waitFor();
    await page.getByRole("button", { name: "Log out" }).click();
    await page.locator(form).waitFor();
    await logIn(page, "admin", password);
    await page.locator(shell).waitFor();
  });
});

test("wrong passwords and too many of them are told, and the right one still logs in", async () => {
  await browser.visit({ host, expected: /status of 429/ }, async (page) => {
    const tooMany = page
      .getByRole("alert")
      .getByText(/^Too many wrong passwords\. Try again in \d+ seconds?\.$/);
    await until(async () => {
      await logIn(page, "technician", "wrong");
      await page.locator("button[type=submit]:not([aria-disabled=true])").waitFor();
      return tooMany.isVisible();
    });
    await logIn(page, "viewer", password);
    await page.locator(shell).waitFor();
  });
});

test("the operator's notice is read before the log-in", async () => {
  const notice = await Host.start({
    sessions: 'notice="For staff of <b>Example Works</b>.&#10;All is recorded."'.replaceAll("<", "&lt;"),
  });
  try {
    await browser.visit({ host: notice }, async (page) => {
      await page.getByText("For staff of <b>Example Works</b>.").waitFor();
      await page.locator(form).waitFor();
    });
  } finally {
    await notice.stop();
  }
});

test("the language is the browser's, and stays the one that is chosen", async () => {
  await browser.visit({ host, locale: "de-CH" }, async (page) => {
    await page.getByRole("button", { name: "Anmelden" }).waitFor();
    await page.locator("html[lang=de]").waitFor();
    await page.locator("select").selectOption("en");
    await page.getByRole("button", { name: "Log in" }).waitFor();
    await page.reload();
    await page.getByRole("button", { name: "Log in" }).waitFor();
    await page.locator("html[lang=en]").waitFor();
    await logIn(page, "viewer", password);
    await page.locator("nav").getByText("Overview").waitFor();
    await page.locator("header, nav, .shell-account").locator("select").selectOption("de");
    await page.locator("nav").getByText("Übersicht").waitFor();
  });
  await browser.visit({ host, locale: "fr-FR" }, async (page) => {
    await page.getByRole("button", { name: "Log in" }).waitFor();
  });
});

test("a session that is ended elsewhere leads to the log-in, and from there back to where it was", async () => {
  await browser.visit({ host, user: "engineer", route: "items" }, async (page) => {
    const { body } = await host.ask("GET", "/api/v1/sessions?all=true", { token: host.token });
    for (const { id } of body.sessions.filter((each) => each.user === "engineer")) {
      await host.ask("DELETE", `/api/v1/sessions/${id}`, { token: host.token });
    }
    await page.getByText("The session has ended.").waitFor();
    await logIn(page, "engineer", password);
    await page.locator("nav a[aria-current=page][href='#/items']").waitFor();
  });
});

test("a session without use ends, although the page polls", async () => {
  const short = await Host.start({ sessions: 'idleSeconds="3"' });
  try {
    await browser.visit({ host: short, user: "viewer" }, async (page) => {
      await page.getByText("The session has ended.").waitFor();
    });
  } finally {
    await short.stop();
  }
});

test("a host that does not answer is told, and the page comes by itself when it does", async () => {
  const unreachable = (route) => route.abort("connectionrefused");
  const prepare = (page) => page.route("**/api/v1/session", unreachable);
  await browser.visit({ host, prepare }, async (page) => {
    await page.getByRole("heading", { name: "The controller does not answer" }).waitFor();
    await page.unroute("**/api/v1/session", unreachable);
    await page.locator(form).waitFor();
  });
});

test("a log-out that the host has not carried out is told, and can be repeated", async () => {
  const fail = (route) => (route.request().method() === "DELETE" ? route.abort() : route.continue());
  await browser.visit({ host, user: "viewer" }, async (page) => {
    await page.route("**/api/v1/session", fail);
    const logOut = page.getByRole("button", { name: "Log out" });
    await logOut.click();
    const dialog = page.getByRole("dialog", { name: "You are still logged in" });
    await dialog.getByRole("alert").getByText("The controller does not answer.").waitFor();
    await dialog.getByRole("button", { name: "Cancel" }).click();
    await dialog.waitFor({ state: "detached" });
    await until(() => logOut.evaluate((button) => button === document.activeElement));
    await logOut.click();
    await dialog.waitFor();
    await page.unroute("**/api/v1/session", fail);
    await dialog.getByRole("button", { name: "Log out" }).click();
    await page.locator(form).waitFor();
    await page.reload();
    await page.locator(form).waitFor();
  });
});

/** Ten years ahead. */
const setClockAhead = () => {
  const Real = Date;
  globalThis.Date = class extends Real {
    constructor(...parts) {
      super(...(parts.length === 0 ? [globalThis.Date.now()] : parts));
    }

    static now() {
      return Real.now() + 315_000_000_000;
    }
  };
};

test("neither session nor token ends for a browser with another clock than the host's", async () => {
  const prepare = (page) => page.addInitScript(setClockAhead);
  const body = { name: "monitor", role: "Viewer", days: 1 };
  await host.ask("POST", "/api/v1/tokens", { token: host.token, body });
  await browser.visit({ host, user: "admin", route: "tokens", prepare }, async (page) => {
    await page.locator("tr", { hasText: "monitor" }).waitFor();
    assert.equal(await page.getByText("expired").count(), 0);
    await page.locator(".shell-session").getByText("2 min").waitFor();
  });
});
