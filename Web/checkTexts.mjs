// Checks the catalogues of texts against each other and against the sources that use them. Usage: node checkTexts.mjs
// A catalogue is a folder with a file for each language; every language has the same keys, with the same placeholders.
// Sources use a key that the catalogue has, and every key of a catalogue is used. A template such as `role.${name}` stands
// for all keys of that form.
import * as fs from "node:fs";
import * as path from "node:path";
import { fileURLToPath } from "node:url";
import ts from "typescript";

const root = path.dirname(fileURLToPath(import.meta.url));
const example = path.join(root, "../Examples/HelloModule/Page");
/** The functions that take a key first. */
const textFunctions = new Set(["text", "lookUp"]);
const faults = [];

function report(where, fault) {
  faults.push(`${path.relative(path.dirname(root), where)}: ${fault}`);
}

function listSources(folder) {
  return fs
    .readdirSync(folder, { withFileTypes: true })
    .flatMap((entry) => {
      const name = path.join(folder, entry.name);
      return entry.isDirectory() ? listSources(name) : [name];
    })
    .filter((name) => /\.(?:js|tsx?)$/.test(name) && !name.includes(".test."));
}

/** JSON.parse keeps the last of two members with the same name. */
function findRepeated(content) {
  const names = [...content.matchAll(/^\s*("(?:[^"\\]|\\.)*")\s*:/gm)].map((match) => match[1]);
  return names.filter((name, index) => names.indexOf(name) !== index);
}

/** Language → key → text. */
function readCatalogues(folder) {
  const catalogues = new Map();
  for (const file of fs.readdirSync(folder).filter((name) => name.endsWith(".json"))) {
    const content = fs.readFileSync(path.join(folder, file), "utf8");
    for (const name of findRepeated(content)) {
      report(path.join(folder, file), `${name} occurs twice`);
    }
    catalogues.set(file, new Map(Object.entries(JSON.parse(content))));
  }
  return catalogues;
}

function findPlaceholders(text) {
  return [...new Set(text.match(/\{\w+\}/g) ?? [])].sort().join(" ");
}

function checkText(where, key, text, reference) {
  if (typeof text !== "string" || text.trim() === "") {
    report(where, `"${key}" has no text`);
  } else if (!reference.has(key)) {
    report(where, `"${key}" is not in English`);
  } else if (findPlaceholders(text) !== findPlaceholders(String(reference.get(key)))) {
    report(where, `"${key}" has other placeholders than in English: ${findPlaceholders(text)}`);
  }
}

/** Returns the keys. */
function compareLanguages(folder) {
  const catalogues = readCatalogues(folder);
  const english = catalogues.get("en.json");
  for (const [name, catalogue] of catalogues) {
    const where = path.join(folder, name);
    for (const [key, text] of catalogue) {
      checkText(where, key, text, english);
    }
    for (const key of [...english.keys()].filter((each) => !catalogue.has(each))) {
      report(where, `"${key}" is missing`);
    }
  }
  return new Set(english.keys());
}

function escapePattern(text) {
  return text.replace(/[\\^$.*+?()[\]{}|/-]/g, "\\$&");
}

/** Of a key, or of the keys that a template makes. */
function toPattern(node) {
  const tail = ts.isTemplateExpression(node)
    ? [node.head, ...node.templateSpans.map((span) => span.literal)]
        .map((part) => escapePattern(part.text))
        .join(".+")
    : escapePattern(node.text);
  return new RegExp(`^${tail}(?:\\.(?:zero|one|two|few|many|other))?$`);
}

/** A template without such a part makes other texts than keys. */
function isKey(node) {
  if (ts.isTemplateExpression(node)) {
    return [node.head, ...node.templateSpans.map((span) => span.literal)].some(({ text }) =>
      /\w\.|\.\w/.test(text),
    );
  }
  return ts.isStringLiteralLike(node);
}

/** The keys and templates that an argument may be. */
function listKeys(node) {
  if (ts.isParenthesizedExpression(node)) {
    return listKeys(node.expression);
  }
  if (ts.isConditionalExpression(node)) {
    return [...listKeys(node.whenTrue), ...listKeys(node.whenFalse)];
  }
  return isKey(node) ? [node] : [];
}

function getCalledName(call) {
  const called = call.expression;
  return ts.isPropertyAccessExpression(called) ? called.name.text : called.text;
}

/** `literals`: patterns of all strings, some of which are keys. `asked`: what is certainly a key, with its place. */
function readSource(file) {
  const kind = file.endsWith(".tsx") ? ts.ScriptKind.TSX : ts.ScriptKind.TS;
  const source = ts.createSourceFile(file, fs.readFileSync(file, "utf8"), ts.ScriptTarget.Latest, true, kind);
  const found = { literals: [], asked: [] };
  const visit = (node) => {
    if (isKey(node)) {
      found.literals.push(toPattern(node));
    }
    if (ts.isCallExpression(node) && textFunctions.has(getCalledName(node)) && node.arguments.length > 0) {
      for (const key of listKeys(node.arguments[0])) {
        const { line } = source.getLineAndCharacterOfPosition(key.getStart());
        found.asked.push({ pattern: toPattern(key), where: `${file}:${line + 1}`, text: key.getText() });
      }
    }
    ts.forEachChild(node, visit);
  };
  visit(source);
  return found;
}

function readSources(folder) {
  const found = listSources(folder).map(readSource);
  return { literals: found.flatMap((each) => each.literals), asked: found.flatMap((each) => each.asked) };
}

const kit = readSources(path.join(root, "kit"));
const shell = readSources(path.join(root, "shell"));
const shellFolder = path.join(root, "shell/texts");
const shellKeys = compareLanguages(shellFolder);
/** Loaded with the first view, and not for pages. */
const viewsFolder = path.join(root, "shell/views/texts");
const viewKeys = compareLanguages(viewsFolder);

/** Pages get the shell's texts as well; the shell uses titles of pages. */
function checkArea(folder, keys, sources, allKeys, users) {
  for (const { pattern, where, text } of sources.asked) {
    if (![...allKeys].some((key) => pattern.test(key))) {
      report(where, `no text has the key ${text}`);
    }
  }
  const literals = users.flatMap((each) => each.literals);
  for (const key of keys) {
    if (!literals.some((pattern) => pattern.test(key))) {
      report(folder, `"${key}" is not used`);
    }
  }
}

function checkPage(textsFolder, sourceFolder) {
  const keys = compareLanguages(textsFolder);
  const sources = readSources(sourceFolder);
  checkArea(textsFolder, keys, sources, new Set([...keys, ...shellKeys]), [sources, kit, shell]);
  return sources;
}

const pages = fs
  .readdirSync(path.join(root, "modules"))
  .map((name) => path.join(root, "modules", name))
  .map((folder) => checkPage(path.join(folder, "texts"), folder));
checkPage(example, example);
const allShellKeys = new Set([...shellKeys, ...viewKeys]);
checkArea(shellFolder, shellKeys, { asked: [...shell.asked, ...kit.asked] }, allShellKeys, [
  shell,
  kit,
  ...pages,
]);
checkArea(viewsFolder, viewKeys, { asked: [] }, allShellKeys, [shell]);
for (const key of [...shellKeys].filter((each) => viewKeys.has(each))) {
  report(viewsFolder, `"${key}" is also in the shell's texts`);
}

for (const fault of faults) {
  console.error(`checkTexts: ${fault}`);
}
process.exit(faults.length > 0 ? 1 : 0);
