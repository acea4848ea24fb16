// What an administrator does around the device, and what others see of it.
import assert from "node:assert/strict";
import * as fs from "node:fs";
import { after, test } from "node:test";
import { open, settle } from "./support/Access.mjs";
import { Browser } from "./support/Browser.mjs";
import { Host, password } from "./support/Host.mjs";
import { until } from "./support/Until.mjs";

const [host, browser] = await Promise.all([Host.start(), Browser.start()]);
after(async () => {
  await browser.stop();
  await host.stop();
});

const newPassword = "copper-lantern-meadow";

/** The status of a log-in over the interface. */
async function tryLogIn(user, with_) {
  const { status } = await host.ask("POST", "/api/v1/session", { body: { user, password: with_ } });
  return status;
}

async function getUser(name) {
  const { body } = await host.ask("GET", "/api/v1/users", { token: host.token });
  return body.users.find(({ user }) => user === name);
}

test("an administrator adds, changes and removes a user, and the host knows it each time", async () => {
  const expected = /status of (?:400|409)/;
  await browser.visit({ host, user: "admin", route: "users", expected }, async (page) => {
    const dialog = page.getByRole("dialog");
    const row = page.getByRole("row").filter({ hasText: "olga" });
    const press = (name) => dialog.getByRole("button", { name, exact: true }).click();
    await settle(page);

    await page.getByRole("button", { name: "Add user" }).click();
    await dialog.getByLabel("User", { exact: true }).fill("viewer");
    await dialog.locator("input[type=password]").fill(newPassword);
    await press("Add");
    await dialog.getByText("There is a user of this name.").waitFor();
    await dialog.getByLabel("User", { exact: true }).fill("olga");
    await dialog.locator("input[type=password]").fill("password1234");
    await press("Add");
    await dialog.getByText("The new password is too short or too common.").waitFor();
    await dialog.locator("input[type=password]").fill(password);
    await press("Add");
    await row.getByText("Viewer").waitFor();
    assert.deepEqual(await tryLogIn("olga", password), 200);

    await page.getByRole("button", { name: "Role olga" }).click();
    await dialog.getByLabel("Role").selectOption("Engineer");
    await press("Change role");
    await row.getByText("Engineer").waitFor();
    assert.equal((await getUser("olga")).role, "Engineer");

    await page.getByRole("button", { name: "Password olga" }).click();
    await dialog.locator("input[type=password]").fill(newPassword);
    await press("Set password");
    await dialog.waitFor({ state: "detached" });
    assert.equal(await tryLogIn("olga", newPassword), 200);

    await page.getByRole("button", { name: "Disable olga" }).click();
    await dialog.waitFor();
    await until(() => page.evaluate(() => document.activeElement.textContent === "Cancel"));
    await press("Disable");
    await row.getByText("disabled").waitFor();
    assert.equal(await tryLogIn("olga", newPassword), 401);
    await page.getByRole("button", { name: "Enable olga" }).click();
    await press("Enable");
    await row.getByText("active").waitFor();

    await page.getByRole("button", { name: "Delete olga" }).click();
    await dialog.waitFor();
    await page.keyboard.press("Escape");
    await dialog.waitFor({ state: "detached" });
    await until(() => page.evaluate(() => document.activeElement.ariaLabel === "Delete olga"));
    await page.getByRole("button", { name: "Delete olga" }).click();
    await press("Delete");
    await row.waitFor({ state: "detached" });
    assert.equal(await getUser("olga"), undefined);

    await page.getByRole("button", { name: "Disable admin" }).click();
    await press("Disable");
    await dialog.getByText("At least one active administrator has to be left.").waitFor();
  });
});

test("a token works once it is issued, is shown once, and works no more when it is withdrawn", async () => {
  await browser.visit({ host, user: "admin", route: "tokens" }, async (page) => {
    const dialog = page.getByRole("dialog");
    await settle(page);
    await page.getByText("There are no tokens.").waitFor();
    await page.getByRole("button", { name: "Add token" }).click();
    await dialog.getByLabel("Name").fill("=monitor");
    await dialog.getByLabel("Valid for, in days").fill("30");
    await dialog.getByRole("button", { name: "Add", exact: true }).click();
    const issued = page.getByRole("region", { name: "Token =monitor" });
    const secret = await issued.locator("code").first().textContent();
    assert.ok((await issued.innerText()).includes(`Authorization: Bearer ${secret}`));
    const health = "/api/v1/DeviceInterfaceDp/GetDataSection?SectionName=Health";
    assert.equal((await host.ask("GET", health, { token: secret })).status, 200);
    await page.getByRole("button", { name: "I have stored it" }).click();
    await until(async () => !(await page.locator("body").innerText()).includes(secret));
    await until(() => page.evaluate(() => document.activeElement.id === "content"));
    const row = page.getByRole("row").filter({ hasText: "=monitor" });
    await row.getByText("Viewer").waitFor();

    // What has been sent is not cancelled any more, and its failure is seen.
    const withdrawal = "**/api/v1/tokens/*";
    let fail;
    await page.route(withdrawal, (route) => {
      fail = () => route.abort();
    });
    await page.getByRole("button", { name: "Withdraw =monitor" }).click();
    await dialog.getByRole("button", { name: "Withdraw" }).click();
    await until(() => fail !== undefined);
    await dialog.getByRole("button", { name: "Cancel" }).click({ force: true });
    await page.keyboard.press("Escape");
    await fail();
    await dialog.getByText("The controller does not answer.").waitFor();
    await page.unroute(withdrawal);
    await dialog.getByRole("button", { name: "Withdraw" }).click();
    await row.waitFor({ state: "detached" });
    assert.equal((await host.ask("GET", health, { token: secret })).status, 401);
  });
});

/** What saving with this button gives. */
async function save(page, name) {
  const [download] = await Promise.all([
    page.waitForEvent("download"),
    page.getByRole("button", { name }).click(),
  ]);
  return { name: download.suggestedFilename(), text: fs.readFileSync(await download.path(), "utf8") };
}

test("the audit trail is shown newest first, filtered, and exported as the host has it", async () => {
  const token = (name) => ({ token: host.token, body: { name, role: "Viewer" } });
  await host.ask("POST", "/api/v1/tokens", token("=1+1"));
  await browser.visit({ host, user: "admin", route: "audit" }, async (page) => {
    await settle(page);
    const rows = page.locator("tbody tr");
    const { body } = await host.ask("GET", "/api/v1/audit?limit=50", { token: host.token });
    assert.deepEqual(await rows.first().locator("td").nth(1).innerText(), body.rows[0].user);
    await page.getByLabel("Action").selectOption({ label: "Token added" });
    await page.getByRole("button", { name: "Filter" }).click();
    const filter = "/api/v1/audit?action=TokenAdded";
    const { body: filtered } = await host.ask("GET", filter, { token: host.token });
    await until(async () => {
      const shown = await rows.allInnerTexts();
      return shown.length === filtered.rows.length && shown.every((each) => each.includes("Token added"));
    });
    await page
      .getByRole("button", { name: /^Details of entry/ })
      .first()
      .click();
    await page.getByText("Request id").waitFor();

    const { name, text } = await save(page, "Export as CSV");
    assert.match(name, /^audit-[\d-]+.*\.csv$/);
    const lines = text
      .replace(/^\ufeff/, "")
      .trimEnd()
      .split("\r\n");
    assert.equal(text.codePointAt(0), 0xfeff);
    assert.equal(lines.length, filtered.rows.length + 1);
    // Programs for tables would calculate a cell that begins so.
    assert.doesNotMatch(text, /(?:^|,)"?[=+@]/m);
    assert.match(text, /=1\+1/);
  });
});

test("older entries that come late are not put below those of another filter", async () => {
  const makeRow = (sequence, user) => ({
    ...{ sequence, user, time: "2026-11-22T10:00:00Z", address: "", action: "LoggedIn", object: "" },
    ...{ outcome: "success", bootId: "", requestId: "", details: {} },
  });
  const held = [];
  const respond = (route) => {
    const { searchParams } = new URL(route.request().url());
    if (searchParams.has("before")) {
      held.push(() => route.fulfill({ json: { rows: [makeRow(1, "older")] } }).catch(() => undefined));
      return;
    }
    route.fulfill({ json: { rows: [makeRow(2, searchParams.get("user") ?? "newest")], before: 2 } });
  };
  const prepare = (page) => page.route("**/api/v1/audit?*", respond);
  await browser.visit({ host, user: "admin", route: "audit", prepare }, async (page) => {
    const users = page.locator("tbody td[data-label=User]");
    const older = page.getByRole("button", { name: "Show older" });
    await older.click();
    await until(() => held.length === 1);
    await page.getByLabel("User").fill("another");
    await page.getByRole("button", { name: "Filter" }).click();
    await users.getByText("another").waitFor();
    await held[0]();
    await older.click();
    await until(() => held.length === 2);
    await held[1]();
    await until(async () => assert.deepEqual(await users.allInnerTexts(), ["another", "older"]));
    // The button is gone with the last page, and the focus with it.
    await until(() => page.evaluate(() => document.activeElement.id === "content"));
  });
});

test("modules are shown with their state, and the support file has everything but secrets", async () => {
  await browser.visit({ host, user: "admin", route: "modules" }, async (page) => {
    await settle(page);
    for (const name of ["Di", "Items"]) {
      await page.getByRole("region", { name, exact: true }).getByText("running").waitFor();
    }
    await open(page, "about");
    await page.getByText("preact", { exact: false }).first().waitFor();
    const { text } = await save(page, "Save file");
    const file = JSON.parse(text);
    for (const word of ["SIM-000001", "boardTemperature", "userPartitionTotal", "Status.Leds.Zelo.D"]) {
      assert.ok(text.includes(word), `${word} is missing in ${Object.keys(file)}`);
    }
    assert.ok(!text.includes(password) && !text.includes(host.token) && !text.includes("engineer"));
  });
});

test("a user changes the own password, and ends other sessions", async () => {
  const { token } = host;
  const body = { user: "karl", password, role: "Engineer" };
  await host.ask("POST", "/api/v1/users", { token, body });
  const other = await host.logIn("karl");
  await browser.visit({ host, user: "karl", route: "account" }, async (page) => {
    await settle(page);
    const isIn = async (session) => (await host.ask("GET", "/api/v1/session", session)).status === 200;
    assert.ok(await isIn(other));
    await page.getByRole("button", { name: "End all others" }).click();
    await page.getByRole("dialog").getByRole("button", { name: "End", exact: true }).click();
    await page.getByRole("dialog").waitFor({ state: "detached" });
    assert.ok(!(await isIn(other)));

    await page.getByLabel("Present password").fill(password);
    await page.getByLabel("New password", { exact: true }).fill(newPassword);
    await page.getByLabel("New password, again").fill(newPassword);
    await page.getByRole("button", { name: "Change password" }).click();
    await page.getByText("The password is changed.").first().waitFor();
    assert.equal(await tryLogIn("karl", newPassword), 200);
    await page.reload();
    await page.locator(".shell").waitFor();
  });
});

test("a viewer sees no administration, not even by its address", async () => {
  await browser.visit({ host, user: "viewer" }, async (page) => {
    await settle(page);
    const refused = [];
    page.on("response", (response) => response.status() === 403 && refused.push(response.url()));
    const links = await page.locator("nav a").evaluateAll((all) => all.map((each) => each.hash));
    assert.deepEqual(links, ["#/overview", "#/items", "#/account", "#/about"]);
    for (const route of ["users", "tokens", "audit", "modules"]) {
      await page.evaluate((hash) => {
        window.location.hash = hash;
      }, `#/${route}`);
      await page.getByText("You have no permission for this.").waitFor();
    }
    assert.deepEqual(refused, []);
  });
});
