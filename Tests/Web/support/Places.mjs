// Where the tests find what they try. CTest sets the variables; without them it is the build of the preset dev.
import * as fs from "node:fs";
import { createRequire } from "node:module";
import * as os from "node:os";
import * as path from "node:path";
import { fileURLToPath } from "node:url";

// Nobody else may write what the programs read and keep.
process.umask(0o077);

export const sources = path.resolve(path.dirname(fileURLToPath(import.meta.url)), "../../..");
export const build = path.resolve(process.env.OXA_BUILD ?? path.join(sources, "build/dev"));

const packages = createRequire(
  path.join(process.env.OXA_NODE_MODULES ?? path.join(sources, "Web/node_modules"), "/"),
);

/** One of the npm packages that Web/package.json names. */
export function load(name) {
  return packages(name);
}

/** The source of a script in one of these packages, to be run in a page. */
export function readScript(name) {
  return fs.readFileSync(packages.resolve(name), "utf8");
}

/** A new folder of mode 0700, removed with the end of the tests. */
export function makeFolder() {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), "oxa-web-"));
  process.once("exit", () => fs.rmSync(folder, { recursive: true, force: true }));
  return folder;
}
