// The view or page that the address names.
import type { ComponentType } from "preact";
import { useEffect, useRef, useState } from "preact/hooks";
import { Banner } from "../kit/components/Basics";
import { addViewTexts, lookUp, text } from "./Language";
import { PageHost } from "./PageHost";
import { session } from "./Session";
import { attention, homeRoute, pages, route } from "./State";
import { type View, views } from "./Views";

export function MainContent() {
  const name = route.value || homeRoute;
  const main = useRef<HTMLElement>(null);
  const shownName = useRef(name);
  useEffect(() => {
    // A change of view moves the focus, so that it is never lost.
    if (shownName.current !== name) {
      shownName.current = name;
      main.current?.focus();
      window.scrollTo(0, 0);
    }
  }, [name]);
  return (
    <main id="content" class="shell-content" tabIndex={-1} ref={main}>
      <AttentionLines />
      <Content key={name} name={name} />
    </main>
  );
}

function AttentionLines() {
  const items = attention.value ?? [];
  return items.length > 0 ? (
    <div class="shell-attention">
      {items.map((item) => (
        <Banner key={item.id} level={item.level} title={item.subject}>
          {item.text}
        </Banner>
      ))}
    </div>
  ) : null;
}

function Content({ name }: { readonly name: string }) {
  const state = session.value;
  if (state.kind !== "loggedIn") {
    return null;
  }
  const view = views.find((each) => each.name === name);
  if (view) {
    const isAllowed = view.role === undefined || view.role === state.role;
    return isAllowed ? <ShellView key={state.user} view={view} /> : <NoPermission view={view} />;
  }
  const page = pages.value.find((each) => each.pageName === name && each.entry !== "");
  if (page) {
    // Also while its module is unavailable: the page itself says what it lacks, and goes on when it is back.
    return <PageHost page={page} user={state.user} role={state.role} />;
  }
  return pages.value.length > 0 ? <h1 class="oxa-page-title">{text("shell.unknownPage")}</h1> : null;
}

function NoPermission({ view }: { readonly view: View }) {
  return (
    <>
      <h1 class="oxa-page-title">{text(view.title)}</h1>
      <Banner>{lookUp("failure.no-permission")}</Banner>
    </>
  );
}

function ShellView({ view }: { readonly view: View }) {
  const [Loaded, setLoaded] = useState<ComponentType | undefined>();
  const [hasFailed, setHasFailed] = useState(false);
  useEffect(() => {
    let isShown = true;
    Promise.all([view.load(), addViewTexts()]).then(
      ([found]) => isShown && setLoaded(() => found.default),
      () => isShown && setHasFailed(true),
    );
    return () => {
      isShown = false;
    };
  }, [view]);
  if (hasFailed) {
    return <Banner>{text("shell.loadFailed")}</Banner>;
  }
  return Loaded ? <Loaded /> : <h1 class="oxa-page-title">{text(view.title)}</h1>;
}
