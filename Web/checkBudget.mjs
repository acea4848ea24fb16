// Checks how much a first visit transfers: the shell in one language and the overview with all that it may load, as
// compressed for browsers (Brotli). Usage: node checkBudget.mjs FOLDER     (that of build.mjs --out)
import * as fs from "node:fs";
import * as path from "node:path";

const budgetBytes = 70_000;
const folder = process.argv[2];
if (!folder) {
  console.error("Usage: node checkBudget.mjs FOLDER");
  process.exit(64);
}

/** Address → file: modules lie beside "www". */
function locate(address) {
  return path.join(folder, address.startsWith("/modules/") ? "" : "www", address);
}

function getBytes(address) {
  return fs.statSync(`${locate(address)}.br`).size;
}

function findImports(address, isDynamic) {
  const text = fs.readFileSync(locate(address), "utf8");
  const pattern = isDynamic ? /\bimport\("([^"]+)"/g : /(?<![."\w])(?:from|import)"([^"]+)"/g;
  return [...text.matchAll(pattern)].map((match) => match[1]);
}

/** Adds the script and what it imports. */
function addScript(visit, address, withDynamic) {
  if (visit.has(address)) {
    return;
  }
  visit.add(address);
  const dynamic = withDynamic ? findImports(address, true) : [];
  for (const each of [...findImports(address, false), ...dynamic]) {
    addScript(visit, each, withDynamic);
  }
}

function findLargest(addresses) {
  return addresses.reduce((largest, each) => (getBytes(each) > getBytes(largest) ? each : largest));
}

function listVisit() {
  const visit = new Set(["/index.html"]);
  const index = fs.readFileSync(locate("/index.html"), "utf8");
  for (const [, address] of index.matchAll(/(?:src|href)="(\/[^"]+)"/g)) {
    visit.add(address);
  }
  const main = [...visit].find((address) => /\/main-[^/]*\.js$/.test(address));
  visit.delete(main);
  addScript(visit, main, false);
  const catalogues = fs
    .readdirSync(locate("/assets/"))
    .filter((name) => /^[a-z]{2}-[A-Z2-7]{8}\.js$/.test(name))
    // The views have catalogues of their own.
    .filter((name) => fs.readFileSync(locate(`/assets/${name}`), "utf8").includes("logIn.submit"));
  addScript(visit, findLargest(catalogues.map((name) => `/assets/${name}`)), false);

  addScript(visit, "/modules/Di/page.js", true);
  const files = fs.readdirSync(locate("/modules/Di/")).map((name) => `/modules/Di/${name}`);
  visit.add(findLargest(files.filter((name) => name.endsWith(".json"))));
  for (const style of files.filter((name) => name.endsWith(".css"))) {
    visit.add(style);
  }
  return [...visit];
}

const visit = listVisit();
const total = visit.reduce((sum, address) => sum + getBytes(address), 0);
if (total > budgetBytes) {
  for (const address of visit.sort((a, b) => getBytes(b) - getBytes(a))) {
    console.error(`${String(getBytes(address)).padStart(7)} ${address}`);
  }
}
console.log(`first visit: ${visit.length} files, ${total} of at most ${budgetBytes} bytes`);
process.exit(total > budgetBytes ? 1 : 0);
