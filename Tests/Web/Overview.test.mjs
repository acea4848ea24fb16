// The cards of the overview against what the interface says.
import assert from "node:assert/strict";
import * as fs from "node:fs";
import * as path from "node:path";
import { after, test } from "node:test";
import { checkRules, checkWidth, open, settle } from "./support/Access.mjs";
import { Browser } from "./support/Browser.mjs";
import { controller, stillItems } from "./support/Description.mjs";
import { Host } from "./support/Host.mjs";
import { makeFolder } from "./support/Places.mjs";
import { until } from "./support/Until.mjs";

const leds = {
  "Status.Leds.Runtime.Run": 0x10001,
  "Status.Leds.Runtime.Fail": 0x30003,
  "Status.Leds.Runtime.Debug": 0x20000,
  "Status.Leds.Runtime.Ext": 0x10002,
  "Status.Leds.Zelo.E": '<absent part="LED"/>',
};
const folder = makeFolder();
const controls = path.join(folder, "controls");
fs.writeFileSync(controls, "bell\x07 escape\x1b[31m delete\x7f next\u0085line \u202egnp.exe\u2066");
const hostile = {
  "General.ArticleName":
    '<img src=x onerror="document.title=1"> & "quoted" \u{1f4a5}\u{1f469}\u200d\u{1f680}',
  "General.ArticleNumber": "W".repeat(511),
  "General.SerialNumber": `<file path="${controls}"/>`,
  "General.Firmware.Version": "\u0645\u0631\u062d\u0628\u0627 \u202eabc",
  "General.Hardware.Version": "A\u0308\u0301\u0327".repeat(60),
  "General.Fpga.Version": "</bdi></dd><script>document.title=2</script>",
};

const [host, plain, strange, browser] = await Promise.all([
  Host.start({
    description: controller({ ...stillItems, ...leds, "General.Fpga.Version": '<absent part="FPGA"/>' }),
    hasSafetyPart: true,
  }),
  Host.start({ description: controller(stillItems) }),
  Host.start({ description: controller({ ...stillItems, ...hostile }), hasSafetyPart: true }),
  Browser.start(),
]);
after(async () => {
  await browser.stop();
  await Promise.all([host, plain, strange].map((each) => each.stop()));
});

/** The text of the card, blanks as in a line. */
async function read(page, title) {
  const text = await page.getByRole("region", { name: title, exact: true }).innerText();
  return text.replace(/\s+/g, " ");
}

function assertHas(text, ...parts) {
  for (const part of parts) {
    assert.ok(text.includes(String(part)), `'${part}' is missing in '${text}'`);
  }
}

test("each card shows what the interface says", async () => {
  const permissions = ["clipboard-read", "clipboard-write"];
  await browser.visit({ host, user: "engineer", permissions }, async (page) => {
    await settle(page);
    await page.getByText("simulated", { exact: true }).first().waitFor();
    const health = await host.readSection("Health");
    assertHas(await read(page, "Board temperature"), health.boardTemperature, "°C", "simulated");

    const use = await host.readSection("Utilization");
    assertHas(await read(page, "Memory"), `${use.memoryUsagePercent} %`, "in use");
    assertHas(await read(page, "User partition"), `${use.userPartitionUsagePercent} %`, "2.8 of 7.5 GiB");
    const load = await read(page, "Load");
    assertHas(load, `${use.cpuLoadTotal} %`, ...use.cpuCoresLoad);
    assert.equal(use.cpuCoresCount, 4);

    const general = await host.readSection("GeneralData");
    const { articleName, orderNumber, serialNumber, fullFirmwareVersion, hardwareVersion } = general;
    const identity = await read(page, "Identity");
    assertHas(identity, articleName, orderNumber, serialNumber, fullFirmwareVersion, hardwareVersion);
    assert.equal(general.fpgaVersion, "N/A");
    assertHas(identity, "FPGA not available");
    assertHas(await read(page, "Safety part"), general.splcFirmwareVersion, general.splcFpgaVersion);
    await until(async () => assertHas(await page.locator("header").innerText(), articleName, serialNumber));
    await page.getByRole("button", { name: "Copy: Serial no." }).click();
    await until(async () =>
      assert.equal(await page.evaluate(() => navigator.clipboard.readText()), serialNumber),
    );

    assert.deepEqual(await host.read("DeviceInterfaceDp", "IsRunStopSwitchInRun"), { result: false });
    assertHas(await read(page, "Run/stop switch"), "Stop", "since");
    const { systemUpTime, currentTimestamp } = await host.readSection("DateTime");
    assert.equal(systemUpTime, stillItems["Status.System.UpTime.Seconds"]);
    const time = await read(page, "Date and time");
    assertHas(time, "Up for 3 d 14 h 47 min");
    const [, shown] = /(\d\d:\d\d ?:\d\d) UTC/.exec(time);
    const told = new Date(Number(currentTimestamp) / 1000);
    const difference = told - new Date(`${told.toISOString().slice(0, 10)}T${shown.replace(" ", "")}Z`);
    assert.ok(Math.abs(difference) < 5_000, `${shown} is shown, ${told.toISOString()} was told`);
  });
});

const led = (page, name) => page.locator(".overview-leds li").filter({ hasText: name }).first();

/** Opacities of the light a tenth of a period after its begin, and after half of it. */
function sampleBlinking(row) {
  const light = row.querySelector(".overview-led-light");
  const [animation] = light.getAnimations();
  if (!animation) {
    return { opacity: getComputedStyle(light).opacity };
  }
  const { duration } = animation.effect.getTiming();
  const { startTime } = animation;
  const at = (share) => {
    animation.currentTime = share * duration;
    return getComputedStyle(light).opacity;
  };
  return { duration, startTime, lit: at(0.1), dark: at(0.6) };
}

test("LEDs blink with 0.5 and 2 Hz in step, are told in words and shapes, and rest with reduced motion", async () => {
  await browser.visit({ host, user: "viewer" }, async (page) => {
    await settle(page);
    const indicators = await host.readSection("StatusIndicators");
    assert.equal(indicators.length, 10);
    for (const [name, words] of [
      ["FAIL", "red, fast blinking"],
      ["EXT", "green, slow blinking"],
      ["DBG", "off"],
    ]) {
      assertHas(await led(page, name).textContent(), words);
    }
    const panel = await read(page, "Front panel");
    assertHas(panel, "E no value");
    const blinking = { startTime: 0, lit: "1", dark: "0" };
    assert.deepEqual(await led(page, "EXT").evaluate(sampleBlinking), { duration: 2000, ...blinking });
    assert.deepEqual(await led(page, "FAIL").evaluate(sampleBlinking), { duration: 500, ...blinking });
    assert.deepEqual(await led(page, "RUN").evaluate(sampleBlinking), { opacity: "1" });
    assert.deepEqual(await led(page, "DBG").evaluate(sampleBlinking), { opacity: "0" });
    const shape = (name) =>
      led(page, name)
        .locator(".overview-led-light")
        .evaluate((light) => getComputedStyle(light, "::before").clipPath.split("(")[0]);
    assert.equal(await shape("RUN"), "circle");
    assert.equal(await shape("FAIL"), "polygon");

    await page.emulateMedia({ reducedMotion: "reduce" });
    await until(async () => {
      assert.deepEqual(await led(page, "FAIL").evaluate(sampleBlinking), { opacity: "1" });
      assertHas(await page.locator("main").innerText(), "Runtime FAIL", "red, blinking fast");
      assert.match(await page.title(), /^Warning – Demo 400 S/);
      assert.match(await page.locator("link[rel=icon]").getAttribute("href"), /warning/);
    });
  });
});

test("title and icon claim nothing of the device while another view is open", async () => {
  await browser.visit({ host: plain, user: "admin", route: "items" }, async (page) => {
    const showsIcon = (name) =>
      until(async () =>
        assert.equal(await page.locator("link[rel=icon]").getAttribute("href"), `/icons/${name}.svg`),
      );
    await settle(page);
    await showsIcon("unknown");
    await open(page, "overview");
    await showsIcon("well");
    await open(page, "users");
    await showsIcon("unknown");
    assert.equal((await page.request.get(`${plain.address}/icons/unknown.svg`)).status(), 200);
    // The tab still knows which device this is.
    await page.reload();
    await settle(page);
    await page.locator("header").getByText("SIM-000001").waitFor();
    await until(async () => assert.equal(await page.title(), "Users – Demo 400 S"));
  });
});

test("a clock that differs from the browser's by more than 5 s is a warning", async () => {
  const prepare = (page) => page.clock.install({ time: Date.now() - 60_000 });
  await browser.visit({ host: plain, user: "viewer", prepare }, async (page) => {
    await settle(page);
    await page.getByText(/(?:59 s|1 min 00 s) ahead, compared with this browser/).waitFor();
  });
});

test("the load is charted for ten minutes, an hour or a day, from the device's history", async () => {
  await browser.visit({ host: plain, user: "viewer" }, async (page) => {
    await settle(page);
    const card = page.getByRole("region", { name: "Load", exact: true });
    for (const [choice, milliseconds] of [
      ["24 h", 86_400_000],
      ["1 h", 3_600_000],
      ["10 min", 600_000],
    ]) {
      const isWanted = (request) => {
        const { searchParams } = new URL(request.url());
        const span = Number(searchParams.get("to")) - Number(searchParams.get("from"));
        return searchParams.get("key") === "Status.Cpu.0.Load.Percent" && span === milliseconds;
      };
      await Promise.all([
        page.waitForRequest(isWanted),
        card.getByRole("radio", { name: choice }).check({ force: true }),
      ]);
    }
    const chart = card.getByRole("img");
    await until(async () => assert.match(await chart.first().getAttribute("aria-label"), /^Load: 23 %/));
    await card.locator("canvas").waitFor();
  });
});

test("German texts, numbers and units are German", async () => {
  await browser.visit({ host, user: "viewer", locale: "de-DE" }, async (page) => {
    await settle(page);
    assertHas(
      await page.locator("main").innerText(),
      "2,8 von 7,5 GiB",
      "Platinentemperatur",
      "blinkt schnell",
    );
    await page.locator("html[lang=de]").waitFor();
  });
});

async function getTop(page, title) {
  return (await page.getByRole("region", { name: title, exact: true }).boundingBox()).y;
}

test("a wide screen shows everything at once, a phone begins with health, switch and panel", async () => {
  for (const each of [plain, host]) {
    await browser.visit({ host: each, user: "admin" }, async (page) => {
      await settle(page);
      await until(async () => {
        const { height, shown } = await page.evaluate(() => ({
          height: document.documentElement.scrollHeight,
          shown: window.innerHeight,
        }));
        assert.ok(height <= shown, `${height} px high`);
      });
      await page.setViewportSize({ width: 390, height: 844 });
      const titles = ["Board temperature", "Run/stop switch", "Front panel", "Date and time", "Load"];
      await until(async () => {
        const tops = await Promise.all(titles.map((title) => getTop(page, title)));
        const isInOrder = tops.every((top, index) => index === 0 || top > tops[index - 1]);
        assert.ok(tops[0] < 400 && isInOrder, `${tops}`);
      });
    });
  }
});

test("hostile texts of a device are shown as text, and break nothing", async () => {
  await browser.visit({ host: strange, user: "admin" }, async (page) => {
    for (const route of ["overview", "items"]) {
      await open(page, route);
      await page.getByText("<img src=x").first().waitFor();
      assert.equal(await page.locator("img, main script").count(), 0);
      const text = await page.locator("body").innerText();
      assert.deepEqual(
        text.match(/[\p{Cc}\p{Bidi_Control}]/gu)?.filter((each) => !"\n\t".includes(each)) ?? [],
        [],
      );
      for (const width of [320, 768, 1440]) {
        await page.setViewportSize({ width, height: 900 });
        await checkWidth(page, `hostile texts on ${route}, ${width} px`);
      }
      await checkRules(page, `hostile texts on ${route}`);
    }
    await until(async () => assert.match(await page.title(), /<img src=x/));
  });
});
