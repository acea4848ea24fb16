// The modules that the server has loaded, and how they are.
import { call, type Schemas } from "../../kit/Api";
import { Foreign, Mark, type MarkLevel } from "../../kit/components/Basics";
import { language, text } from "../Language";
import { LoadedList, usePolled } from "../Loaded";
import { Time } from "../Time";
import { ViewHead } from "../ViewHead";

type Module = Schemas["Module"];

const pollMilliseconds = 5_000;

const readModules = async (signal: AbortSignal) =>
  (await call("get", "/api/v1/modules", undefined, { signal, background: true })).modules;

export default function Modules() {
  const loaded = usePolled(readModules, pollMilliseconds);
  return (
    <>
      <ViewHead title={text("view.modules")} />
      <LoadedList loaded={loaded} empty={text("modules.empty")}>
        {(modules) => (
          <div class="view-columns">
            {modules.map((module) => (
              <ModuleCard key={module.name} module={module} />
            ))}
          </div>
        )}
      </LoadedList>
    </>
  );
}

const levels: Readonly<Record<Module["state"], MarkLevel>> = {
  starting: "info",
  running: "good",
  waiting: "warning",
  failed: "bad",
  refused: "bad",
  stopping: "info",
};

function ModuleCard({ module }: { readonly module: Module }) {
  return (
    <section class="oxa-card oxa-stack" aria-label={module.name}>
      <div class="view-module-head">
        <h2 class="view-subtitle">
          <Foreign text={module.name} />{" "}
          <span class="oxa-soft view-version">
            <Foreign text={module.version} />
          </span>
        </h2>
        <Mark level={levels[module.state]}>{text(`modules.state.${module.state}`)}</Mark>
      </div>
      {module.cause ? (
        <p class="oxa-banner" data-level={levels[module.state] === "bad" ? "bad" : "warning"}>
          <Foreign text={module.cause} />
        </p>
      ) : null}
      <ModuleFacts module={module} />
    </section>
  );
}

function ModuleFacts({ module }: { readonly module: Module }) {
  const names = new Intl.DisplayNames(language.value, { type: "language", fallback: "code" });
  return (
    <dl class="oxa-list view-facts">
      <dt>{text("modules.since")}</dt>
      <dd>
        <Time value={module.since} precision="second" />
      </dd>
      <dt>{text("modules.providers")}</dt>
      <dd>
        <Providers module={module} />
      </dd>
      <dt>{text("modules.pages")}</dt>
      <dd>
        <Foreign text={module.pages.join(", ") || "–"} />
      </dd>
      <dt>{text("modules.languages")}</dt>
      <dd>
        <Foreign text={module.languages.map(({ name }) => nameLanguage(names, name)).join(", ") || "–"} />
      </dd>
      <dt>{text("modules.library")}</dt>
      <dd>
        <Foreign text={module.library || "–"} />
      </dd>
    </dl>
  );
}

/** A manifest can name what is no language. */
function nameLanguage(names: Intl.DisplayNames, name: string): string {
  try {
    return names.of(name) ?? name;
  } catch {
    return name;
  }
}

function Providers({ module }: { readonly module: Module }) {
  return (
    <ul class="view-providers">
      {module.dataProviders.map((provider) => (
        <li key={provider.name}>
          <Foreign text={provider.name} />{" "}
          <Mark>{text(provider.safe ? "modules.reads" : "modules.commands")}</Mark>
          {provider.confirm.length > 0 ? (
            <p class="oxa-field-hint">
              <Foreign text={text("modules.confirm", { requests: provider.confirm.join(", ") })} />
            </p>
          ) : null}
        </li>
      ))}
    </ul>
  );
}
