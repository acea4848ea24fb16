// What an administrator does around the device, and what others see of it.
import assert from "node:assert/strict";
import { after, test } from "node:test";
import { settle } from "./support/Access.mjs";
import { Browser } from "./support/Browser.mjs";
import { Host, password } from "./support/Host.mjs";

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
    assert.equal(await page.evaluate(() => document.activeElement.textContent), "Cancel");
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
    assert.equal(await page.evaluate(() => document.activeElement.ariaLabel), "Delete olga");
    await page.getByRole("button", { name: "Delete olga" }).click();
    await press("Delete");
    await row.waitFor({ state: "detached" });
    assert.equal(await getUser("olga"), undefined);

    await page.getByRole("button", { name: "Disable admin" }).click();
    await press("Disable");
    await dialog.getByText("At least one active administrator has to be left.").waitFor();
  });
});
