// Whose work is in the product, and under which terms.
import { Foreign } from "../../kit/components/Basics";
import { text } from "../Language";
import { type Loaded, LoadFailure, useLoaded } from "../Loaded";

interface LicencesFile {
  /** In the page. */
  readonly packages: readonly {
    readonly name: string;
    readonly version: string;
    readonly licence: string;
    readonly text: string;
  }[];
  /** That the server is linked with. */
  readonly libraries?: readonly { readonly name: string; readonly licence: string }[];
}

async function readLicences(signal: AbortSignal): Promise<LicencesFile> {
  const response = await fetch("/licences.json", { signal });
  if (!response.ok) {
    throw new Error(`HTTP ${response.status}`);
  }
  return (await response.json()) as LicencesFile;
}

export function Licences() {
  const loaded = useLoaded(readLicences);
  const { packages = [], libraries = [] } = loaded.value ?? {};
  return (
    <section class="oxa-card" aria-label={text("about.licences")}>
      <h2 class="oxa-card-title">{text("about.licences")}</h2>
      <Failure loaded={loaded} />
      <ul class="view-licences">
        {packages.map((each) => (
          <li key={each.name}>
            <details>
              <summary>
                <Foreign text={`${each.name} ${each.version}`} />{" "}
                <span class="oxa-soft">
                  <Foreign text={each.licence} />
                </span>
              </summary>
              <pre tabIndex={0}>{each.text}</pre>
            </details>
          </li>
        ))}
      </ul>
      {libraries.length > 0 ? <LibraryList libraries={libraries} /> : null}
    </section>
  );
}

function Failure({ loaded }: { readonly loaded: Loaded<LicencesFile> }) {
  return loaded.error === undefined ? null : <LoadFailure error={loaded.error} reload={loaded.reload} />;
}

interface LibraryListProps {
  readonly libraries: NonNullable<LicencesFile["libraries"]>;
}

function LibraryList({ libraries }: LibraryListProps) {
  return (
    <>
      <h3 class="oxa-card-title view-libraries-title">{text("about.libraries")}</h3>
      <ul class="view-libraries">
        {libraries.map((each) => (
          <li key={each.name}>
            <Foreign text={each.name} />{" "}
            <span class="oxa-soft">
              <Foreign text={each.licence} />
            </span>
          </li>
        ))}
      </ul>
    </>
  );
}
