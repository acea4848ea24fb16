// A value that is old never looks live, and comes back by itself.
import assert from "node:assert/strict";
import { after, test } from "node:test";
import { settle } from "./support/Access.mjs";
import { Browser, logIn } from "./support/Browser.mjs";
import { controller, stillItems } from "./support/Description.mjs";
import { Host, password } from "./support/Host.mjs";
import { until } from "./support/Until.mjs";

const blinking = { ...stillItems, "Status.Leds.Runtime.Ext": 0x10002 };

const [host, apart, browser] = await Promise.all([
  Host.start({ description: controller(stillItems) }),
  Host.start({ description: controller(blinking), isApart: true }),
  Browser.start(),
]);
after(async () => {
  await browser.stop();
  await Promise.all([host.stop(), apart.stop()]);
});

const cards = 8;
const old = (page) => page.locator(".oxa-card-body[data-stale=true]");
const card = (page, name) => page.getByRole("region", { name, exact: true });

const refusal = {
  status: 503,
  contentType: "application/problem+json",
  body: '{"type":"about:blank","title":"","status":503,"code":"service-not-available","detail":""}',
};

test("a section that fails dims its own card, says why, and comes back", async () => {
  await browser.visit({ host, user: "viewer" }, async (page) => {
    await settle(page);
    assert.equal(await old(page).count(), 0);
    const section = "**/GetDataSection?SectionName=Health";
    await page.route(section, (route) => route.fulfill(refusal));
    const temperature = card(page, "Board temperature");
    await temperature.getByText("The device service does not answer.").waitFor();
    await temperature.getByText("as of").waitFor();
    await temperature.getByText("47", { exact: true }).waitFor();
    assert.equal(await old(page).count(), 1);
    await page.getByText("Old values").waitFor();
    await page.unroute(section);
    await until(async () => (await old(page).count()) === 0);
    await page.getByText("Old values").waitFor({ state: "detached" });
  });
});

test("services that are killed dim every card; others that come back fill them anew", async () => {
  await browser.visit({ host: apart, user: "viewer" }, async (page) => {
    await settle(page);
    const blinks = () =>
      page.evaluate(() => document.getAnimations().filter((each) => each.animationName).length);
    await until(async () => (await blinks()) === 1);
    await apart.killDevice();
    await until(async () => {
      assert.equal(await old(page).count(), cards);
      assert.equal(await blinks(), 0);
      assert.match(await page.title(), /^Away/);
    });
    await apart.startDevice(
      controller({
        ...blinking,
        "General.ArticleName": "Another",
        "Status.Board.Temperature.Centigrade": 51,
      }),
    );
    await until(async () => (await old(page).count()) === 0);
    await card(page, "Board temperature").getByText("51", { exact: true }).waitFor();
    await page.locator("header").getByText("Another").waitFor();
    await until(async () => {
      assert.doesNotMatch(await page.title(), /^Away/);
      assert.equal(await blinks(), 1);
    });
  });
});

test("marks come when their module does, and stay until there are others", async () => {
  const items = "**/DeviceItemsDp/GetItems?*";
  const refuse = (page) => page.route(items, (route) => route.fulfill(refusal));
  await browser.visit({ host: apart, user: "viewer", prepare: refuse }, async (page) => {
    const mark = card(page, "Board temperature").getByText("simulated", { exact: true });
    const refused = page.waitForResponse(items);
    await settle(page);
    await refused;
    assert.equal(await mark.count(), 0);
    await page.unroute(items);
    await mark.waitFor();

    await refuse(page);
    await apart.killDevice();
    await until(async () => assert.equal(await old(page).count(), cards));
    await apart.startDevice(controller({ ...blinking, "Status.Board.Temperature.Centigrade": 52 }));
    await card(page, "Board temperature").getByText("52", { exact: true }).waitFor();
    await mark.waitFor();
  });
});

test("services that hang look old as well", async () => {
  await browser.visit({ host: apart, user: "viewer", expected: /status of 504/ }, async (page) => {
    await settle(page);
    apart.suspendDevice();
    await until(async () => (await old(page).count()) === cards);
    apart.resumeDevice();
    await until(async () => (await old(page).count()) === 0);
  });
});

test("requests never overlap, and none is sent while the page is hidden", async () => {
  const hide = () => {
    window.isHidden = false;
    Object.defineProperty(document, "hidden", { get: () => window.isHidden });
  };
  let inProgress = 0;
  let most = 0;
  let sent = 0;
  const prepare = async (page) => {
    await page.clock.install();
    await page.addInitScript(hide);
    page.on("request", (request) => {
      if (request.url().includes("/DeviceInterfaceDp/")) {
        sent += 1;
        inProgress += 1;
        most = Math.max(most, inProgress);
      }
    });
    const end = (request) => {
      inProgress -= request.url().includes("/DeviceInterfaceDp/") ? 1 : 0;
    };
    page.on("requestfinished", end);
    page.on("requestfailed", end);
  };
  await browser.visit({ host, user: "viewer", prepare }, async (page) => {
    await settle(page);
    // One response is held back while the clock goes on.
    let release;
    const held = new Promise((resolve) => {
      release = resolve;
    });
    const section = "**/GetDataSection?SectionName=Health";
    await page.route(section, async (route) => {
      await held;
      await route.continue();
    });
    await page.waitForRequest(section);
    await page.clock.runFor(6_000);
    release();
    await page.unroute(section, { behavior: "wait" });
    await page.waitForResponse(section);
    assert.equal(most, 1);

    await page.evaluate(() => {
      window.isHidden = true;
      document.dispatchEvent(new Event("visibilitychange"));
    });
    await until(() => inProgress === 0);
    const before = sent;
    await page.clock.runFor(30_000);
    await page.evaluate(() => fetch("/healthz"));
    // The one that was due when the page was hidden may have been on its way.
    assert.ok(sent <= before + 1, `${sent - before} requests while hidden`);
    await page.evaluate(() => {
      window.isHidden = false;
      document.dispatchEvent(new Event("visibilitychange"));
    });
    await page.waitForResponse(section);
  });
});

test("a host that is gone is told, and its next life asks to log in and goes on where the page was", async () => {
  await browser.visit({ host, user: "viewer" }, async (page) => {
    await settle(page);
    await host.kill();
    await until(async () => (await old(page).count()) === cards);
    await page.getByText("The controller does not answer.").first().waitFor();
    await host.startAgain();
    await page.getByText("The session has ended.").waitFor();
    await logIn(page, "viewer", password);
    await settle(page);
    await until(async () => (await old(page).count()) === 0);
  });
});
