// Shows a page that a module brings: loads its entry and texts, and gives it what it may use.
import { useEffect, useRef, useState } from "preact/hooks";
import { request } from "../kit/Api";
import { Banner } from "../kit/components/Basics";
import type { PageContext, PageModule, PageSession } from "../kit/Page";
import { type Catalogue, makeTextFunction } from "../kit/Texts";
import { getCatalogue, language, text } from "./Language";
import { keepFocus } from "./Loaded";
import { loadTexts } from "./PageTexts";
import { announce, attention, isAway, type ModulePage, navigate, showDevice } from "./State";

/** Each style sheet is loaded once and stays. */
function loadStyle(address: string): Promise<void> {
  if (document.querySelector(`link[href="${CSS.escape(address)}"]`)) {
    return Promise.resolve();
  }
  return new Promise((resolve, reject) => {
    const link = document.createElement("link");
    link.rel = "stylesheet";
    link.href = address;
    link.onload = () => resolve();
    link.onerror = () => reject(new Error(address));
    document.head.append(link);
  });
}

async function loadModule(entry: string): Promise<PageModule> {
  const module = (await import(entry)) as PageModule;
  const base = new URL(entry, document.baseURI);
  await Promise.all((module.styles ?? []).map((name) => loadStyle(new URL(name, base).pathname)));
  return module;
}

function makeContext(pageTexts: Catalogue, { user, role }: PageSession, signal: AbortSignal): PageContext {
  return {
    language: language.peek(),
    text: makeTextFunction({ ...getCatalogue(), ...pageTexts }, language.peek()),
    session: { user, role },
    signal,
    request: (provider, name, options = {}) => request(provider, name, { signal, ...options }),
    setAttention: (items) => {
      attention.value = items;
    },
    setDevice: showDevice,
    setAway: (away) => {
      isAway.value = away;
    },
    notify: announce,
    navigate,
  };
}

interface PageHostProps extends PageSession {
  readonly page: ModulePage;
}

/** Another user or role may do other things, so the page begins anew. */
export function PageHost({ page, user, role }: PageHostProps) {
  const root = useRef<HTMLDivElement>(null);
  const [hasFailed, setHasFailed] = useState(false);
  const usedLanguage = language.value;
  useEffect(() => {
    const aborted = new AbortController();
    let unmount: (() => void) | undefined;
    setHasFailed(false);
    const show = async () => {
      const [module, texts] = await Promise.all([loadModule(page.entry), loadTexts(page)]);
      if (!aborted.signal.aborted && root.current) {
        unmount = module.mount(root.current, makeContext(texts, { user, role }, aborted.signal));
      }
    };
    show().catch(() => setHasFailed(!aborted.signal.aborted));
    return () => {
      aborted.abort();
      unmount?.();
      keepFocus();
      attention.value = undefined;
    };
  }, [page.entry, usedLanguage, user, role]);
  return (
    <>
      {hasFailed ? <Banner>{text("shell.loadFailed")}</Banner> : null}
      <div class="shell-page" ref={root} />
    </>
  );
}
