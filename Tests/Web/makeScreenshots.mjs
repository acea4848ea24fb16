// Makes the pictures of the page for README and Docs. Run by Tools/make-screenshots.
// Usage: node makeScreenshots.mjs FOLDER
// Each run shows the same: nothing of the device changes, and the page's clock and histories are made up.
import * as path from "node:path";
import { settle } from "./support/Access.mjs";
import { Browser } from "./support/Browser.mjs";
import { controller, stillItems } from "./support/Description.mjs";
import { Host } from "./support/Host.mjs";
import { until } from "./support/Until.mjs";

const folder = path.resolve(process.argv[2] ?? ".");
const name = "controller.example";
const desktop = { width: 1440, height: 900 };
const phone = { width: 390, height: 844 };
const time = Date.UTC(2026, 10, 22, 9, 41, 7);

const host = await Host.start({
  description: controller({ ...stillItems, "General.Firmware.Version": "1.0.0" }),
  http: `hosts="${name}"`,
  name,
});
const browser = await Browser.start({
  args: [`--host-resolver-rules=MAP ${name}:443 127.0.0.1:${host.port}`],
});

/** Waves around the present value of the item, as a device gives that has been on for days. */
function makeHistory({ searchParams }) {
  const [from, to, points] = ["from", "to", "points"].map((each) => Number(searchParams.get(each)));
  const key = searchParams.get("key");
  const swing = key.includes("Temperature") ? 3 : 9;
  const step = Math.floor((to - from) / points);
  const start = Math.floor(from / step) * step;
  const mean = Array.from({ length: points }, (_, index) => {
    const hours = (start + index * step - time) / 3_600_000;
    const waves = [0.31, 1.7, 67, 191].map((pace) => Math.sin(hours * pace));
    return stillItems[key] + swing * (waves[0] + 0.5 * waves[1] + 0.15 * waves[2] + 0.1 * waves[3]);
  });
  const shifted = (shift) => mean.map((each) => each + shift);
  const values = { minimum: shifted(-1), mean, maximum: shifted(1) };
  return { key, unit: "", start, stepMilliseconds: step, ...values };
}

async function installClock(page) {
  await page.clock.install({ time });
  page.inProgress = 0;
  page.on("request", () => page.inProgress++);
  page.on("requestfinished", () => page.inProgress--);
  page.on("requestfailed", () => page.inProgress--);
}

/** The page's clock stands, and goes on only with `goOn`. */
async function prepare(page) {
  await installClock(page);
  await page.clock.pauseAt(time + 1_000);
  const payload = (each) => ({ json: { errorCode: "", resultKind: 1, payload: each } });
  await page.route("**/GetDataSection?SectionName=DateTime", async (route) => {
    const now = await page.evaluate(() => Date.now());
    const systemUpTime = stillItems["Status.System.UpTime.Seconds"];
    await route.fulfill(payload({ DateTime: { systemUpTime, currentTimestamp: `${now * 1_000}` } }));
  });
  await page.route("**/GetHistory?*", (route) =>
    route.fulfill(payload(makeHistory(new URL(route.request().url())))),
  );
}

const stepMilliseconds = 100;

/** Puts the clock forward, a little at a time, so that each response comes at the same moment. */
async function goOn(page, milliseconds) {
  for (let gone = 0; gone < milliseconds; gone += stepMilliseconds) {
    await page.clock.runFor(stepMilliseconds);
    await page.evaluate(() => undefined);
    await until(() => page.inProgress === 0);
  }
}

async function take(file, options, show = () => undefined) {
  const context = { viewport: desktop, timezoneId: "UTC", locale: "en-GB", reducedMotion: "reduce" };
  await browser.visit({ host, prepare, ...context, ...options }, async (page) => {
    await goOn(page, 4_000);
    await settle(page);
    await show(page);
    await page.screenshot({ path: path.join(folder, `${file}.png`) });
  });
}

try {
  // It shows no time, and comes only once the page's clock has gone on.
  await take("log-in", { prepare: installClock });
  await take("overview-light", { user: "engineer", colorScheme: "light" });
  await take("overview-dark", { user: "engineer", colorScheme: "dark" });
  await take("overview-phone", { user: "engineer", viewport: phone, hasTouch: true, isMobile: true });
  await take("users", { user: "admin", route: "users" });
  await take("restart", { user: "engineer" }, async (page) => {
    await page.getByRole("button", { name: "Restart…" }).click();
    await goOn(page, 1_000);
    await page.getByRole("dialog").waitFor();
  });
} finally {
  await browser.stop();
  await host.stop();
}
