// Bundles the page. Usage: node build.mjs --out FOLDER
// Writes FOLDER/www, which the host serves at "/", and FOLDER/modules/NAME, served at "/modules/NAME/". Text files get
// compressed ones beside them. The same sources give the same bytes.
import * as fs from "node:fs/promises";
import * as path from "node:path";
import { fileURLToPath } from "node:url";
import { parseArgs, promisify } from "node:util";
import * as zlib from "node:zlib";
import * as esbuild from "esbuild";

const root = path.dirname(fileURLToPath(import.meta.url));
const { values } = parseArgs({ options: { out: { type: "string" } } });
if (!values.out) {
  console.error("Usage: node build.mjs --out FOLDER");
  process.exit(64);
}
const out = path.resolve(values.out);
const modules = (await fs.readdir(path.join(root, "modules"))).sort();

const result = await esbuild.build({
  absWorkingDir: root,
  entryPoints: [
    { in: "shell/Main.tsx", out: "www/assets/main" },
    ...modules.map((name) => ({ in: `modules/${name}/page.tsx`, out: `modules/${name}/page` })),
  ],
  outdir: out,
  entryNames: "[dir]/[name]",
  chunkNames: "www/assets/[name]-[hash]",
  assetNames: "www/assets/[name]-[hash]",
  bundle: true,
  // What most pages share comes as one file: each file costs a request, with 700 bytes of header fields.
  inject: ["common.ts"],
  splitting: true,
  format: "esm",
  target: ["chrome109", "firefox115", "safari16.4"],
  supported: { "top-level-await": true },
  jsx: "automatic",
  jsxImportSource: "preact",
  minify: true,
  legalComments: "none",
  metafile: true,
  write: false,
});

/** Path below `out` → content. */
const files = new Map(result.outputFiles.map((file) => [path.relative(out, file.path), file.contents]));
const encoder = new TextEncoder();

/** In FOLDER the module pages lie beside "www", in addresses below it: imports between them have absolute paths. */
function useAddresses() {
  for (const [name, contents] of files) {
    if (name.endsWith(".js")) {
      const text = new TextDecoder().decode(contents);
      const absolute = text.replace(
        /(["'])(?:\.\.?\/)+(?:www\/)?(?:assets\/)?([\w-]+-[A-Z2-7]{8}\.js)\1/g,
        "$1/assets/$2$1",
      );
      files.set(name, encoder.encode(absolute));
    }
  }
}

/** Names a file by its content, so that browsers may keep it. */
async function nameByContent(name) {
  const contents = files.get(name);
  const { createHash } = await import("node:crypto");
  const digest = createHash("sha256").update(contents).digest();
  const alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZ234567";
  const hash = [...digest.subarray(0, 8)].map((byte) => alphabet[byte % 32]).join("");
  const { dir, name: base, ext } = path.parse(name);
  const named = `${dir}/${base}-${hash}${ext}`;
  files.delete(name);
  files.set(named, contents);
  return `/${path.relative("www", named)}`;
}

async function addTexts() {
  for (const name of modules) {
    for (const file of await fs.readdir(path.join(root, "modules", name, "texts"))) {
      const text = await fs.readFile(path.join(root, "modules", name, "texts", file), "utf8");
      files.set(`modules/${name}/${file}`, encoder.encode(JSON.stringify(JSON.parse(text))));
    }
  }
}

async function addIcons() {
  for (const file of await fs.readdir(path.join(root, "shell/icons"))) {
    files.set(`www/icons/${file}`, await fs.readFile(path.join(root, "shell/icons", file)));
  }
}

/** What the shell's script imports, so that browsers load it at once and not in steps. */
function makePreloads() {
  const outputs = new Map(
    Object.entries(result.metafile.outputs).map(([name, output]) => [path.resolve(root, name), output]),
  );
  const found = new Set();
  const follow = (name) => {
    for (const each of outputs.get(name)?.imports ?? []) {
      const file = path.resolve(root, each.path);
      if (each.kind === "import-statement" && !found.has(file)) {
        found.add(file);
        follow(file);
      }
    }
  };
  follow(path.join(out, "www/assets/main.js"));
  return [...found]
    .map((file) => `<link rel="modulepreload" href="/assets/${path.basename(file)}">`)
    .join("");
}

async function addIndex() {
  const style = await nameByContent("www/assets/main.css");
  const script = await nameByContent("www/assets/main.js");
  const template = await fs.readFile(path.join(root, "shell/index.html"), "utf8");
  const html = template
    .replace("{{style}}", style)
    .replace("{{script}}", script)
    .replace("{{preloads}}", makePreloads());
  files.set("www/index.html", encoder.encode(html));
}

/** Of the packages whose code is in the bundle, and of the libraries of the programs. */
async function addLicences() {
  const packages = new Set();
  for (const input of Object.keys(result.metafile.inputs)) {
    const found = /^node_modules\/((?:@[^/]+\/)?[^/]+)\//.exec(input);
    if (found) {
      packages.add(found[1]);
    }
  }
  const licences = [];
  for (const name of [...packages].sort()) {
    const folder = path.join(root, "node_modules", name);
    const { version, license } = JSON.parse(await fs.readFile(path.join(folder, "package.json"), "utf8"));
    const file = (await fs.readdir(folder)).find((each) => /^licen[cs]e/i.test(each));
    if (!file || !license) {
      throw new Error(`the package ${name} has no licence`);
    }
    const text = await fs.readFile(path.join(folder, file), "utf8");
    licences.push({ name, version, licence: license, text });
  }
  const listed = JSON.parse(await fs.readFile(path.join(root, "../Packaging/libraries.json"), "utf8"));
  const libraries = listed.map(({ name, licence }) => ({ name, licence }));
  files.set("www/licences.json", encoder.encode(JSON.stringify({ packages: licences, libraries })));
}

const brotli = promisify(zlib.brotliCompress);
const gzip = promisify(zlib.gzip);

async function write(name, contents) {
  const target = path.join(out, name);
  await fs.mkdir(path.dirname(target), { recursive: true });
  await fs.writeFile(target, contents);
  const options = { params: { [zlib.constants.BROTLI_PARAM_SIZE_HINT]: contents.length } };
  await fs.writeFile(`${target}.br`, await brotli(contents, options));
  await fs.writeFile(`${target}.gz`, await gzip(contents, { level: 9 }));
}

useAddresses();
await addTexts();
await addIcons();
await addIndex();
await addLicences();
await fs.rm(path.join(out, "www"), { recursive: true, force: true });
await fs.rm(path.join(out, "modules"), { recursive: true, force: true });
for (const [name, contents] of files) {
  await write(name, contents);
}
