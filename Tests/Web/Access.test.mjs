// Everybody can use every view: rules, widths, zoom, touch and keyboard.
import assert from "node:assert/strict";
import { after, test } from "node:test";
import { checkRules, checkTargets, checkWidth, open } from "./support/Access.mjs";
import { Browser } from "./support/Browser.mjs";
import { controller, stillItems } from "./support/Description.mjs";
import { Host } from "./support/Host.mjs";
import { until } from "./support/Until.mjs";

const [host, browser] = await Promise.all([
  Host.start({ description: controller(stillItems), hasSafetyPart: true }),
  Browser.start(),
]);
after(async () => {
  await browser.stop();
  await host.stop();
});

async function getRoutes(page) {
  await page.locator("nav.shell-navigation a").first().waitFor({ state: "attached" });
  const addresses = await page
    .locator("nav.shell-navigation a")
    .evaluateAll((links) => links.map((link) => link.getAttribute("href")));
  return addresses.map((address) => address.replace("#/", ""));
}

const looks = {
  light: { colorScheme: "light" },
  dark: { colorScheme: "dark" },
  "forced colours": { colorScheme: "dark", forcedColors: "active" },
};

test("no view breaks a rule of accessibility in light, dark and forced colours", async () => {
  await browser.visit({ host }, async (page) => {
    for (const [look, media] of Object.entries(looks)) {
      await page.emulateMedia({ forcedColors: "none", ...media });
      await checkRules(page, `the log-in, ${look}`);
    }
  });
  await browser.visit({ host, user: "admin" }, async (page) => {
    for (const route of await getRoutes(page)) {
      await open(page, route);
      for (const [look, media] of Object.entries(looks)) {
        await page.emulateMedia({ forcedColors: "none", ...media });
        await checkRules(page, `${route}, ${look}`);
      }
    }
  });
});

const screens = {
  "a small phone": { width: 320, height: 800 },
  "a phone": { width: 390, height: 844 },
  "a tablet": { width: 768, height: 1024 },
  "a laptop at 200 %": { width: 720, height: 450 },
  "a laptop": { width: 1440, height: 900 },
};

test("every view fits the width of the screen, with targets for fingers, in both languages", async () => {
  for (const locale of ["en-GB", "de-DE"]) {
    const hasTouch = true;
    await browser.visit({ host, user: "admin", locale, hasTouch }, async (page) => {
      for (const route of await getRoutes(page)) {
        await open(page, route);
        for (const [screen, size] of Object.entries(screens)) {
          await page.setViewportSize(size);
          await checkWidth(page, `${route} on ${screen}, ${locale}`);
          await checkTargets(page, `${route} on ${screen}, ${locale}`);
        }
      }
      await page.setViewportSize(screens["a small phone"]);
      await page.locator("header button[aria-expanded]").click();
      await page.locator("nav.shell-navigation a").first().waitFor();
      await checkWidth(page, `the menu, ${locale}`);
      await checkTargets(page, `the menu, ${locale}`);
    });
  }
});

const mostRounds = 3;

test("every link and button is reached by the keyboard, and the focus is seen", async () => {
  await browser.visit({ host, user: "admin" }, async (page) => {
    for (const route of await getRoutes(page)) {
      await open(page, route);
      let missed = [];
      // What was still loading is reached in another round.
      for (let round = 0; round < mostRounds && (round === 0 || missed.length > 0); ++round) {
        const reached = await tabThrough(page);
        const unseen = reached.filter(({ isSeen }) => !isSeen).map(({ text }) => text);
        assert.deepEqual(unseen, [], `focus that is not seen on ${route}`);
        missed = await findMissed(page);
      }
      assert.deepEqual(missed, [], `what the keyboard does not reach on ${route}`);
    }
  });
});

const mostSteps = 400;

/** What can have the focus and did not get it. */
function findMissed(page) {
  return page.evaluate(() =>
    [...document.querySelectorAll("a[href], button, input:not([type=hidden]), select, summary")]
      .filter((each) => each.checkVisibility() && !each.disabled && !each.dataset.reached)
      .filter((each) => each.type !== "radio" || each.checked)
      .map((each) => each.outerHTML.slice(0, 120)),
  );
}

/** Presses Tab until the focus is where it was first. */
async function tabThrough(page) {
  await page.evaluate(() => {
    document.activeElement.blur();
    for (const each of document.querySelectorAll("[data-reached]")) {
      delete each.dataset.reached;
    }
  });
  const steps = [];
  for (let count = 0; count < mostSteps; ++count) {
    await page.keyboard.press("Tab");
    const step = await page.evaluate(() => {
      const element = document.activeElement;
      if (!element || element === document.body) {
        return { isOutside: true };
      }
      // Some have several parts, one after the other.
      const isPart = element === window.reachedLast;
      const isKnown = element.dataset.reached === "true" && !isPart;
      element.dataset.reached = "true";
      window.reachedLast = element;
      // A box that lies over its label shows the focus there.
      const shown = element.type === "radio" ? element.nextElementSibling : element;
      const { outlineStyle, outlineWidth } = getComputedStyle(shown);
      // The browser draws the focus of the parts.
      const isSeen = isPart || (outlineStyle !== "none" && Number.parseFloat(outlineWidth) >= 2);
      return { isKnown, isSeen, text: element.outerHTML.slice(0, 120) };
    });
    if (step.isKnown) {
      return steps;
    }
    if (!step.isOutside) {
      steps.push(step);
    }
  }
  throw new Error(`the focus comes to no end after ${mostSteps} steps`);
}

/** What screen readers are told, from now on. */
function listenToAnnouncements() {
  window.announced = [];
  const live = "[role=status], [role=alert], [aria-live]:not([aria-live=off])";
  new MutationObserver((records) => {
    for (const { target } of records) {
      const element = target instanceof Element ? target : target.parentElement;
      const region = element?.closest(live);
      if (region) {
        window.announced.push(region.textContent);
      }
    }
  }).observe(document.body, { childList: true, subtree: true, characterData: true });
}

const quietRounds = 3;

test("polling is not read out, and a change of view takes the focus along", async () => {
  await browser.visit({ host, user: "admin" }, async (page) => {
    for (const route of ["overview", "items"]) {
      await open(page, route);
      await page.evaluate(listenToAnnouncements);
      for (let round = 0; round < quietRounds; ++round) {
        await page.waitForResponse((response) => /SectionName=Health|GetItems/.test(response.url()));
      }
      assert.deepEqual(await page.evaluate(() => window.announced), [], `read out on ${route}`);
    }
    await open(page, "users");
    await until(() => page.evaluate(() => document.activeElement.id === "content"));
    await page.keyboard.press("Shift+Tab");
    assert.equal(await page.evaluate(() => document.activeElement.closest("nav") !== null), true);
  });
});

const hasFocus = (page, selector) =>
  until(() => page.evaluate((each) => document.activeElement.matches(each), selector));

test("what goes away gives the focus to what stays", async () => {
  await browser.visit({ host, user: "admin" }, async (page) => {
    for (const [route, request] of [
      ["modules", "**/api/v1/modules"],
      ["items", "**/GetItems"],
    ]) {
      const fail = (each) => each.abort();
      await page.route(request, fail);
      await open(page, route);
      const retry = page.getByRole("button", { name: "Try again" });
      await retry.focus();
      await page.unroute(request, fail);
      await page.keyboard.press("Enter");
      await retry.waitFor({ state: "detached" });
      await hasFocus(page, "#content");
    }
    await page.setViewportSize(screens["a small phone"]);
    const menu = "header button[aria-expanded]";
    await page.locator(menu).click();
    await page.locator("nav.shell-navigation a").first().focus();
    await page.keyboard.press("Escape");
    await hasFocus(page, menu);
  });
});
