// Runs the unit tests of the page's code, NAME.test.ts beside NAME.ts. Usage: node runTests.mjs [PATTERN]
// PATTERN: only tests whose path contains it.
import { spawnSync } from "node:child_process";
import * as fs from "node:fs";
import * as os from "node:os";
import * as path from "node:path";
import { fileURLToPath } from "node:url";
import * as esbuild from "esbuild";

const root = path.dirname(fileURLToPath(import.meta.url));
const pattern = process.argv[2] ?? "";
const tests = ["kit", "modules", "shell"]
  .flatMap((folder) => list(path.join(root, folder)))
  .filter((name) => /\.test\.tsx?$/.test(name) && name.includes(pattern))
  .sort();

function list(folder) {
  return fs.readdirSync(folder, { withFileTypes: true }).flatMap((entry) => {
    const name = path.join(folder, entry.name);
    return entry.isDirectory() ? list(name) : [name];
  });
}

if (tests.length === 0) {
  console.error("runTests: there is no such test");
  process.exit(1);
}
const folder = fs.mkdtempSync(path.join(os.tmpdir(), "oxa-page-tests-"));
try {
  const result = await esbuild.build({
    absWorkingDir: root,
    entryPoints: tests,
    outdir: folder,
    outbase: root,
    outExtension: { ".js": ".mjs" },
    bundle: true,
    platform: "node",
    format: "esm",
    target: "node18",
    jsx: "automatic",
    jsxImportSource: "preact",
    loader: { ".css": "empty" },
    sourcemap: "inline",
    metafile: true,
  });
  const files = Object.keys(result.metafile.outputs).map((name) => path.resolve(root, name));
  const { status } = spawnSync(process.execPath, ["--enable-source-maps", "--test", ...files], {
    stdio: "inherit",
  });
  process.exitCode = status ?? 1;
} finally {
  fs.rmSync(folder, { recursive: true });
}
