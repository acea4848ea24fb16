// "All values" against what the interface says, for a device with almost as many items as there can be.
import assert from "node:assert/strict";
import { after, test } from "node:test";
import { checkRules, checkWidth, settle } from "./support/Access.mjs";
import { Browser } from "./support/Browser.mjs";
import { controller, stillItems } from "./support/Description.mjs";
import { Host } from "./support/Host.mjs";
import { until } from "./support/Until.mjs";

const many = 4_000;
const added = Object.fromEntries(
  Array.from({ length: many }, (_, number) => [`Test.Group${number % 40}.Value${number}`, number / 8]),
);
const absent = { "Status.Leds.Zelo.E": '<absent part="LED"/>' };

const [host, browser] = await Promise.all([
  Host.start({ description: controller({ ...stillItems, ...absent, ...added }) }),
  Browser.start(),
]);
after(async () => {
  await browser.stop();
  await host.stop();
});

async function readAll() {
  const items = [];
  for (let isCut = true; isCut; ) {
    const after_ = items.length > 0 ? `?after=${encodeURIComponent(items.at(-1).key)}` : "";
    const payload = await host.read("DeviceItemsDp", `GetItems${after_}`);
    items.push(...payload.items);
    isCut = payload.isCut;
  }
  return items;
}

const row = (page, key) => page.getByRole("row").filter({ hasText: key }).first();

test("every item is there with value, unit and origin, and is found by a search", async () => {
  await browser.visit({ host, user: "viewer", route: "items" }, async (page) => {
    await settle(page);
    const items = await readAll();
    assert.ok(items.length > many);
    const total = items.length.toLocaleString("en");
    await page.getByText(`${total} of ${total} values`).waitFor();
    // Only what is near is in the document.
    assert.ok((await page.getByRole("row").count()) < 500);

    const search = page.getByLabel("Search");
    await search.fill("Value3999");
    await page.getByText(`1 of ${total} values`).waitFor();
    await row(page, "Test.Group39.Value3999").getByText("499.875").waitFor();
    await search.fill("no such item");
    await page.getByText("No value matches the search.").waitFor();

    await search.fill("Status.Board");
    const temperature = row(page, "Status.Board.Temperature.Centigrade");
    await temperature.getByText("47", { exact: true }).waitFor();
    await temperature.getByText("°C").waitFor();
    await temperature.getByText("simulated").waitFor();
    await page.getByRole("button", { name: "Details of Status.Board.Temperature.Centigrade" }).click();
    await page.locator(".items-chart canvas").first().waitFor();
    await page.getByText("Made by a simulation.").waitFor();
    await checkRules(page, "the details of an item");
    await page.setViewportSize({ width: 320, height: 800 });
    await checkWidth(page, "the details of an item");

    await page.setViewportSize({ width: 1440, height: 900 });
    await search.fill("Zelo.E");
    await row(page, "Status.Leds.Zelo.E").getByText("absent").waitFor();
    await search.fill("General.SerialNumber");
    await row(page, "General.SerialNumber").getByText("SIM-000001").waitFor();
  });
});

test("scrolling shows all items, a part at a time", async () => {
  await browser.visit({ host, user: "viewer", route: "items" }, async (page) => {
    await settle(page);
    const last = page.getByText("Test.Group9.Value969", { exact: true });
    await until(async () => {
      await page.evaluate(() => window.scrollTo(0, document.documentElement.scrollHeight));
      return (await last.count()) > 0;
    });
  });
});

test("values and histories whose responses do not come look old, and come back", async () => {
  await browser.visit({ host, user: "viewer", route: "items" }, async (page) => {
    await settle(page);
    await page.getByLabel("Search").fill("Status.Board.Temperature.Centigrade");
    await page.getByRole("button", { name: "Details of Status.Board.Temperature.Centigrade" }).click();
    await page.locator(".oxa-chart[data-stale=false] canvas").waitFor();

    const held = [];
    const requests = /DeviceItemsDp/;
    await page.route(requests, (route) => held.push(route));
    await until(() => held.length > 0);
    await page.evaluate(() => {
      const now = performance.now.bind(performance);
      performance.now = () => now() + 11_000;
    });
    const banner = page
      .getByRole("alert")
      .getByText(/^Not updated since .*The controller does not answer\.$/);
    await banner.waitFor();
    await page.locator(".items-groups[data-stale=true] .oxa-chart[data-stale=true]").waitFor();

    await page.unroute(requests);
    await Promise.all(held.map((route) => route.continue().catch(() => undefined)));
    await banner.waitFor({ state: "detached" });
    await page.locator(".items-groups[data-stale=false] .oxa-chart[data-stale=false]").waitFor();
  });
});
