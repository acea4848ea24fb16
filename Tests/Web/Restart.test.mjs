// Restart and factory reset, from the button to the device that is back, or not.
import assert from "node:assert/strict";
import { after, test } from "node:test";
import { open, settle } from "./support/Access.mjs";
import { Browser } from "./support/Browser.mjs";
import { controller, stillItems } from "./support/Description.mjs";
import { Host, password } from "./support/Host.mjs";
import { until } from "./support/Until.mjs";

const inStop = controller(stillItems);
const inRun = controller({ ...stillItems, "Status.RunStopSwitch.Position": "Run" });
const withoutRestart = inStop.replace('<Restart action="simulate"/>', '<Restart action="none"/>');

const [host, apart, refusing, browser] = await Promise.all([
  Host.start({ description: inRun }),
  Host.start({ description: inStop, isApart: true }),
  Host.start({ description: withoutRestart, isApart: true }),
  Browser.start(),
]);
const hosts = [host, apart, refusing];
after(async () => {
  await browser.stop();
  await Promise.all(hosts.map((each) => each.stop()));
});

async function readBootId(of) {
  return (await of.ask("GET", "/api/v1/boot")).body.bootId;
}

const button = (page, name) => page.getByRole("button", { name });
const inDialog = (page, name) => page.getByRole("dialog").getByRole("button", { name });
const progress = (page, text) => page.getByRole("heading", { name: text });

async function restart(page) {
  await button(page, "Restart…").click();
  await inDialog(page, "Restart").click();
  await page.getByRole("dialog").waitFor({ state: "detached" });
}

test("a restart names the device, needs a further step in Run, and is followed to the new boot id", async () => {
  await browser.visit({ host, user: "engineer" }, async (page) => {
    const before = await readBootId(host);
    const dialog = page.getByRole("dialog");
    await button(page, "Restart…").click();
    await dialog.getByText("Demo 400 S").waitFor();
    await dialog.getByText("SIM-000001").waitFor();
    await until(() => page.evaluate(() => document.activeElement.textContent === "Cancel"));
    await page.keyboard.press("Enter");
    await dialog.waitFor({ state: "detached" });
    await until(() => page.evaluate(() => document.activeElement.textContent === "Restart…"));
    assert.equal(await readBootId(host), before);

    await page.keyboard.press("Enter");
    await page.locator("dialog button[aria-disabled=true]").getByText("Restart").waitFor();
    await inDialog(page, "Restart").click({ force: true });
    await dialog.getByRole("checkbox").check();
    await inDialog(page, "Restart").click();
    await progress(page, "away").waitFor();
    await until(async () => {
      assert.match(await page.title(), /^Away/);
      assert.match(await page.locator("link[rel=icon]").getAttribute("href"), /away/);
    });
    await page.reload();
    await progress(page, /restarted in \d+ s/).waitFor();
    assert.notEqual(await readBootId(host), before);
    await button(page, "Close").click();
    await until(async () => assert.doesNotMatch(await page.title(), /^Away/));
    await button(page, "Restart…").click();
    await dialog.getByText(/Last time it took \d+ s/).waitFor();
    await page.keyboard.press("Escape");

    // A device restarts once in a minute, and says so of a reset only.
    await button(page, "Factory reset…").click();
    await dialog.getByLabel(/type SIM-000001/).fill("SIM-000001");
    await dialog.locator("input[type=password]").fill(password);
    await inDialog(page, "Erase and restart").click();
    await dialog.getByText("The device refused the command:").waitFor();
    await dialog.getByText("busy").waitFor();
  });
});

test("a switch that changes while the dialog is open decides anew", async () => {
  const request = "**/IsRunStopSwitchInRun";
  const answer = (result) => ({ json: { errorCode: "", resultKind: 4, payload: { result } } });
  await browser.visit({ host: refusing, user: "engineer" }, async (page) => {
    const show = async (response) => {
      await page.unroute(request);
      await page.route(request, (route) => route.fulfill(response));
    };
    const box = page.getByRole("dialog").getByRole("checkbox");
    const isDisabled = (value) =>
      until(async () =>
        assert.equal(await inDialog(page, "Restart").getAttribute("aria-disabled"), `${value}`),
      );
    await page.getByRole("region", { name: "Run/stop switch" }).getByText("Stop", { exact: true }).waitFor();
    await button(page, "Restart…").click();
    await isDisabled(false);
    assert.equal(await box.count(), 0);
    await show(answer(true));
    await box.waitFor();
    assert.equal(await box.isChecked(), false);
    await isDisabled(true);
    await box.check();
    await isDisabled(false);
    await show({ status: 503, body: "" });
    await page.getByText("The position of the switch is not known. I know").waitFor();
    assert.equal(await box.isChecked(), false);
    await isDisabled(true);
    await show(answer(false));
    await box.waitFor({ state: "detached" });
    await isDisabled(false);
  });
});

test("a command that times out is watched, because it may have been carried out", async () => {
  const prepare = (page) =>
    page.route("**/RestartController", (route) =>
      route.fulfill({
        status: 504,
        contentType: "application/problem+json",
        body: '{"type":"about:blank","title":"","status":504,"code":"service-timeout","detail":""}',
      }),
    );
  const expected = /status of 504/;
  await browser.visit({ host: refusing, user: "engineer", prepare, expected }, async (page) => {
    await restart(page);
    await progress(page, "may have carried out the command").waitFor();
  });
});

test("a device that does not go down is told", async () => {
  const prepare = (page) => page.clock.install();
  await browser.visit({ host: refusing, user: "engineer", prepare }, async (page) => {
    const before = await readBootId(refusing);
    await restart(page);
    await progress(page, "going down").waitFor();
    await page.clock.fastForward(31_000);
    await progress(page, "did not go down").waitFor();
    assert.equal(await readBootId(refusing), before);
  });
});

test("a device that is back without a restart is told", async () => {
  const prepare = (page) => page.clock.install();
  await browser.visit({ host: refusing, user: "engineer", prepare }, async (page) => {
    await restart(page);
    await progress(page, "going down").waitFor();
    await refusing.killDevice();
    await progress(page, "away").waitFor();
    await refusing.startDevice();
    await until(async () => {
      await page.clock.fastForward(11_000);
      return progress(page, "has not restarted").isVisible();
    });
  });
});

test("a device that does not come back is told, and is noticed when it does", async () => {
  const prepare = (page) => page.clock.install();
  await browser.visit({ host: apart, user: "admin", prepare }, async (page) => {
    await restart(page);
    await progress(page, "away").waitFor();
    apart.suspendDevice();
    await page.clock.fastForward(200_000);
    await progress(page, "longer than usual").waitFor();
    apart.resumeDevice();
    await progress(page, /is back, restarted/).waitFor();
  });
});

test("a factory reset needs the serial number and the password, and is followed as a restart", async () => {
  const expected = /status of 400/;
  await browser.visit({ host: refusing, user: "engineer", expected }, async (page) => {
    const dialog = page.getByRole("dialog");
    const erase = inDialog(page, "Erase and restart");
    await button(page, "Factory reset…").click();
    await erase.click();
    await dialog.getByText("This is different from the text above.").waitFor();
    await dialog.getByLabel(/type SIM-000001/).fill("SIM-000001");
    await erase.click();
    await dialog.getByText("Type your password.").waitFor();
    await dialog.locator("input[type=password]").fill("not the password");
    await erase.click();
    await dialog.getByText("The password is wrong.").waitFor();
    await dialog.locator("input[type=password]").fill(password);
    await erase.click();
    await progress(page, "away").waitFor();
    await progress(page, "is back, restarted").waitFor();
  });
});

test("without a permission the buttons say why, and open nothing", async () => {
  await browser.visit({ host, user: "viewer" }, async (page) => {
    const restartButton = button(page, "Restart…");
    await page.getByText("You may only read.").waitFor();
    assert.equal(await restartButton.getAttribute("aria-disabled"), "true");
    await restartButton.click({ force: true });
    assert.equal(await page.getByRole("dialog").count(), 0);
    const { status } = await page.evaluate(() =>
      fetch("/api/v1/DeviceInterfaceControlDp/RestartController", { method: "POST" }),
    );
    assert.notEqual(status, 200);
  });
});

test("a page follows the role and the user that the host has by now", async () => {
  const { token } = refusing;
  await refusing.ask("POST", "/api/v1/users", { token, body: { user: "rosa", password, role: "Engineer" } });
  const setRole = (role) => refusing.ask("PATCH", "/api/v1/users/rosa", { token, body: { role } });
  await browser.visit({ host: refusing, user: "rosa" }, async (page, context) => {
    const restartButton = button(page, "Restart…");
    const refusal = page.getByText("You may only read.");
    const isDisabled = (value) =>
      until(async () => assert.equal(await restartButton.getAttribute("aria-disabled"), `${value}`));
    await settle(page);
    await isDisabled(false);
    // Refused once, the page asks who it is.
    await setRole("Viewer");
    await restartButton.click();
    await inDialog(page, "Restart").click();
    await refusal.waitFor();
    await isDisabled(true);
    assert.equal(await page.getByRole("dialog").count(), 0);
    await until(() => page.evaluate(() => document.activeElement.id === "content"));

    const look = () => page.evaluate(() => window.dispatchEvent(new Event("focus")));
    await setRole("Engineer");
    await look();
    await refusal.waitFor({ state: "detached" });
    await isDisabled(false);

    await open(page, "account");
    await page.getByRole("row").first().waitFor();
    const { cookies } = await refusing.logIn("admin");
    const [, name, value] = /^([^=]+)=([^;]*)/.exec(cookies[0]);
    await context.addCookies([{ name, value, url: refusing.address, secure: true, sameSite: "Strict" }]);
    await Promise.all([page.waitForResponse("**/api/v1/sessions*"), look()]);
    await page.locator("nav").getByText("Users").waitFor({ state: "attached" });
    await open(page, "overview");
    await button(page, "Factory reset…").click();
    await page.getByLabel("Password of admin").waitFor();
  });
});
