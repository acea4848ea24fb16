// Whether everybody can use what a page shows: rules that axe knows, widths, and the size of what is touched.
import assert from "node:assert/strict";
import { readScript } from "./Places.mjs";
import { until } from "./Until.mjs";

const axe = readScript("axe-core/axe.min.js");

/** Waits until the view is there and no part of it is a skeleton. */
export async function settle(page) {
  await page.locator("main :is(h1, h2)").first().waitFor();
  await page.waitForFunction(() => !document.querySelector(".oxa-skeleton"));
}

/** Goes to another view and waits until that one is shown. */
export async function open(page, route) {
  await page.evaluate((hash) => {
    window.location.hash = hash;
  }, `#/${route}`);
  await page.locator(`nav a[aria-current=page][href="#/${route}"]`).waitFor({ state: "attached" });
  await settle(page);
}

/** What is on its way, such as a colour that fades or a chart that takes its new size, may end it first. */
export function checkRules(page, what) {
  return until(() => findBrokenRules(page, what));
}

async function findBrokenRules(page, what) {
  await page.evaluate(`window.axe || (() => { ${axe} })()`);
  const { violations } = await page.evaluate(() =>
    window.axe.run(document, {
      preload: false,
      resultTypes: ["violations"],
      runOnly: ["wcag2a", "wcag2aa", "wcag21a", "wcag21aa", "wcag22aa", "best-practice"],
    }),
  );
  const found = violations.flatMap(({ id, nodes }) =>
    nodes.map((node) => `${id}: ${node.html.slice(0, 200)}: ${node.failureSummary.split("\n")[1] ?? ""}`),
  );
  const repeated = await page.evaluate(() => {
    const ids = [...document.querySelectorAll("[id]")].map((each) => each.id);
    return ids.filter((id, index) => ids.indexOf(id) !== index);
  });
  assert.deepEqual([...found, ...repeated], [], `axe and ids on ${what}`);
}

/** Elements that reach past the right edge make a page wider than the screen. */
export function checkWidth(page, what) {
  return until(() => findWideElements(page, what));
}

async function findWideElements(page, what) {
  const wide = await page.evaluate(() => {
    const { scrollWidth, clientWidth } = document.documentElement;
    if (scrollWidth <= clientWidth) {
      return [];
    }
    const describe = (each) => `${each.tagName}.${each.className}: ${each.textContent.slice(0, 40)}`;
    const found = [...document.body.querySelectorAll("*")].filter(
      (each) => each.getBoundingClientRect().right > clientWidth + 1,
    );
    return [`${scrollWidth} > ${clientWidth}`, ...found.slice(0, 5).map(describe)];
  });
  assert.deepEqual(wide, [], `width of ${what}`);
}

/** Links within a sentence may be as small as its text. */
export function checkTargets(page, what) {
  return until(() => findSmallTargets(page, what));
}

async function findSmallTargets(page, what) {
  const small = await page.evaluate(() => {
    const least = 44;
    const targets = document.querySelectorAll(
      "a[href], button, input:not([type=hidden]), select, summary, textarea",
    );
    const isSmall = (each) => {
      const { width, height } = each.getBoundingClientRect();
      return width < least - 0.5 || height < least - 0.5;
    };
    const isInSentence = (each) => each.tagName === "A" && getComputedStyle(each).display === "inline";
    // Of a box with a label, the label is touched as well.
    const getTarget = (each) => (/^(?:checkbox|radio)$/.test(each.type) ? (each.labels?.[0] ?? each) : each);
    return [...targets]
      .filter((each) => each.checkVisibility() && !each.closest("[inert]") && !isInSentence(each))
      .filter((each) => !each.classList.contains("shell-skip"))
      .filter((each) => isSmall(each) && isSmall(getTarget(each)))
      .map((each) => {
        const { width, height } = each.getBoundingClientRect();
        return `${width} x ${height}: ${each.outerHTML.slice(0, 120)}`;
      });
  });
  assert.deepEqual(small, [], `touch targets of ${what}`);
}
