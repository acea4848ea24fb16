// What runs here, whose work is in it, and the file for a support request.
import { Download } from "lucide-preact";
import { useEffect, useRef } from "preact/hooks";
import { Banner, Button, Skeleton } from "../../kit/components/Basics";
import { Card } from "../../kit/components/Card";
import { formatFileTime, saveFile } from "../../kit/Download";
import { version as pageVersion } from "../../package.json";
import { useAction } from "../Action";
import { text } from "../Language";
import { LoadFailure, useLoaded } from "../Loaded";
import { session } from "../Session";
import { announce } from "../State";
import { makeSupportFile, readServerVersion } from "../SupportFile";
import { ViewHead } from "../ViewHead";
import { Licences } from "./Licences";

export default function About() {
  return (
    <>
      <ViewHead title={text("view.about")} />
      <div class="view-columns">
        <Versions />
        <Support />
      </div>
      <Licences />
    </>
  );
}

function Versions() {
  const { value, error, reload } = useLoaded(readServerVersion);
  return (
    <Card title={text("about.versions")}>
      {error === undefined ? null : <LoadFailure error={error} reload={reload} />}
      <dl class="oxa-list">
        <dt>{text("about.server")}</dt>
        <dd>{value ?? (error === undefined ? <Skeleton width={5} /> : "–")}</dd>
        <dt>{text("about.page")}</dt>
        <dd>{pageVersion}</dd>
        <dt>{text("about.interface")}</dt>
        <dd>
          <a class="view-link" href="/api/v1/openapi.json" target="_blank" rel="noreferrer">
            OpenAPI
          </a>
        </dd>
      </dl>
    </Card>
  );
}

function Support() {
  const aborted = useRef(new AbortController());
  useEffect(() => () => aborted.current.abort(), []);
  const state = session.value;
  const { isRunning, failure, run } = useAction(async () => {
    if (state.kind === "loggedIn") {
      const file = await makeSupportFile(state.user, state.role, aborted.current.signal);
      const name = `support-${formatFileTime(new Date())}.json`;
      saveFile(name, "application/json", JSON.stringify(file, null, 2));
      announce(text("about.supportSaved"));
    }
  });
  return (
    <Card title={text("about.support")}>
      <div class="oxa-stack">
        <p>{text("about.supportText")}</p>
        {failure ? <Banner level="bad">{failure}</Banner> : null}
        <div class="oxa-row">
          <Button aria-disabled={isRunning} onClick={() => void run()}>
            <Download class="oxa-icon" aria-hidden="true" />
            {text(isRunning ? "about.supportMaking" : "about.supportSave")}
          </Button>
        </div>
      </div>
    </Card>
  );
}
