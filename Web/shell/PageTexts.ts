// The catalogues of the pages that modules bring, and the titles of pages that the shell does not know.
import { effect, signal } from "@preact/signals";
import { type Catalogue, chooseLanguage } from "../kit/Texts";
import { language, lookUp } from "./Language";
import { type ModulePage, pages } from "./State";

/** By path. */
const catalogues = new Map<string, Promise<Catalogue>>();
/** By page name. */
const titles = signal<ReadonlyMap<string, string>>(new Map());

async function fetchCatalogue(path: string): Promise<Catalogue> {
  const response = await fetch(path);
  if (!response.ok) {
    catalogues.delete(path);
    return {};
  }
  return (await response.json()) as Catalogue;
}

/** In the language of the shell, else in English or what there is; empty without any. */
export async function loadTexts(page: ModulePage): Promise<Catalogue> {
  const texts = page.texts as Readonly<Record<string, string>>;
  const path = texts[chooseLanguage([language.value, "en"], Object.keys(texts))];
  if (!path) {
    return {};
  }
  const catalogue = catalogues.get(path) ?? fetchCatalogue(path);
  catalogues.set(path, catalogue);
  return catalogue.catch((error: unknown) => {
    catalogues.delete(path);
    throw error;
  });
}

function getTitleKey(pageName: string): string {
  return `page.${pageName}`;
}

function isKnown(pageName: string): boolean {
  const key = getTitleKey(pageName);
  return lookUp(key) !== key;
}

/** The title that the shell has for a page, else the page's own, else its name. */
export function getPageTitle(pageName: string): string {
  return isKnown(pageName) ? lookUp(getTitleKey(pageName)) : (titles.value.get(pageName) ?? pageName);
}

async function readTitle(page: ModulePage): Promise<readonly [string, string]> {
  const catalogue = await loadTexts(page).catch((): Catalogue => ({}));
  return [page.pageName, catalogue[getTitleKey(page.pageName)] ?? page.pageName];
}

effect(() => {
  const wanted = language.value;
  const unknown = pages.value.filter((page) => page.entry !== "" && !isKnown(page.pageName));
  if (unknown.length > 0) {
    void Promise.all(unknown.map(readTitle)).then((found) => {
      if (language.peek() === wanted) {
        titles.value = new Map(found);
      }
    });
  }
});
