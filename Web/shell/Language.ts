// The language of the page and the shell's texts in it.
import { computed, signal } from "@preact/signals";
import {
  type Catalogue,
  chooseLanguage,
  isSameLanguage,
  makeTextFunction,
  type TextFunction,
  type Values,
} from "../kit/Texts";
import type english from "./texts/en.json";
import type viewsEnglish from "./views/texts/en.json";

type WithoutForm<K> = K extends `${infer Base}.one` | `${infer Base}.other` ? Base : K;
/** A key of the catalogue, without the ending of a plural form. */
export type TextKey = WithoutForm<keyof typeof english | keyof typeof viewsEnglish>;

/** The shell's own languages; a module may have others or fewer, then its page comes in English. */
export const languages = ["en", "de"] as const;
const storageKey = "oxa.language";

/** Of the texts, one of `languages`. */
export const catalogueName = signal<string>("en");
/** Of the texts with the browser's region, such as "en-GB": how numbers and dates are written depends on that. */
export const language = signal<string>("en");
const catalogue = signal<Catalogue>({});

const textFunction = computed<TextFunction>(() => makeTextFunction(catalogue.value, language.value));

export function text(key: TextKey, values?: Values): string {
  return textFunction.value(key, values);
}

/** For keys that are made at run time, such as those of failures. */
export function lookUp(key: string, values?: Values): string {
  return textFunction.value(key, values);
}

/** The shell's texts in the present language, for pages. */
export function getCatalogue(): Catalogue {
  return catalogue.value;
}

// With the attribute the file is one object; without it, it would be exported a second time member by member.
async function load(name: string): Promise<Catalogue> {
  return name === "de"
    ? (await import("./texts/de.json", { with: { type: "json" } })).default
    : (await import("./texts/en.json", { with: { type: "json" } })).default;
}

async function loadViewTexts(name: string): Promise<Catalogue> {
  return name === "de"
    ? (await import("./views/texts/de.json", { with: { type: "json" } })).default
    : (await import("./views/texts/en.json", { with: { type: "json" } })).default;
}

let hasViewTexts = false;
let viewTexts: Promise<void> | undefined;

/** The views have texts of their own, which a first visit to the overview does not load. */
export function addViewTexts(): Promise<void> {
  hasViewTexts = true;
  viewTexts ??= setLanguage(catalogueName.peek()).catch((error: unknown) => {
    viewTexts = undefined;
    throw error;
  });
  return viewTexts;
}

/** `name`: one of `languages`. */
export async function setLanguage(name: string): Promise<void> {
  const [texts, more] = await Promise.all([load(name), hasViewTexts ? loadViewTexts(name) : {}]);
  catalogue.value = { ...texts, ...more };
  catalogueName.value = name;
  language.value = navigator.languages.find((tag) => isSameLanguage(tag, name)) ?? name;
  document.documentElement.lang = name;
}

export async function startLanguage(): Promise<void> {
  const stored = localStorage.getItem(storageKey);
  await setLanguage(chooseLanguage(stored ? [stored] : navigator.languages, languages));
}

/** Takes the browser's choice among what the host announces, unless the user chose a language. */
export async function applyAnnounced(announced: readonly string[]): Promise<void> {
  const offered = languages.filter((each) => announced.includes(each));
  if (!localStorage.getItem(storageKey) && offered.length > 0) {
    const chosen = chooseLanguage(navigator.languages, offered);
    if (chosen !== catalogueName.peek()) {
      await setLanguage(chosen);
    }
  }
}

export async function chooseByUser(name: string): Promise<void> {
  localStorage.setItem(storageKey, name);
  await setLanguage(name);
}
