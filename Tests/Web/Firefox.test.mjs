// A short walk through the page in Firefox, which only CI installs.
import assert from "node:assert/strict";
import * as fs from "node:fs";
import { after, test } from "node:test";
import { checkWidth, open, settle } from "./support/Access.mjs";
import { Browser, firefoxPath, logIn } from "./support/Browser.mjs";
import { controller, stillItems } from "./support/Description.mjs";
import { Host, password } from "./support/Host.mjs";
import { until } from "./support/Until.mjs";

const isInstalled = fs.existsSync(firefoxPath);
const skip = isInstalled ? false : `${firefoxPath} is not installed`;
const [host, browser] = isInstalled
  ? await Promise.all([
      Host.start({ description: controller({ ...stillItems, "Status.Leds.Runtime.Ext": 0x10002 }) }),
      Browser.startFirefox(),
    ])
  : [];
after(async () => {
  await browser?.stop();
  await host?.stop();
});

test("Firefox logs in, shows the device, changes the language, and restarts the device", {
  skip,
}, async () => {
  await browser.visit({ host }, async (page) => {
    await logIn(page, "engineer", "not the password");
    await page.getByText("User name or password is wrong.").waitFor();
    await logIn(page, "engineer", password);
    await settle(page);
    const card = (name) => page.getByRole("region", { name, exact: true });
    await card("Board temperature").getByText("47", { exact: true }).waitFor();
    await card("Identity").getByText("SIM-000001").waitFor();
    const light = card("Front panel").locator("[data-state=slow] .overview-led-light");
    await until(() => light.evaluate((each) => each.getAnimations().length === 1));
    for (const width of [320, 768, 1440]) {
      await page.setViewportSize({ width, height: 900 });
      await checkWidth(page, `the overview, ${width} px`);
    }

    await page.locator(".shell-account select").selectOption("de");
    await page.getByRole("heading", { name: "Platinentemperatur" }).waitFor();
    await page.locator(".shell-account select").selectOption("en");
    for (const route of ["items", "account", "about", "overview"]) {
      await open(page, route);
    }

    const { body: before } = await host.ask("GET", "/api/v1/boot");
    await page.getByRole("button", { name: "Restart…" }).click();
    await page.getByRole("dialog").getByRole("button", { name: "Restart" }).click();
    await page.getByRole("heading", { name: "is back, restarted" }).waitFor();
    const { body: afterwards } = await host.ask("GET", "/api/v1/boot");
    assert.notEqual(afterwards.bootId, before.bootId);
  });
});
