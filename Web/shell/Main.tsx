import "../kit/tokens.css";
import "../kit/kit.css";
import "./shell.css";
import "./views.css";

import { render } from "preact";
import { App } from "./App";
import { startLanguage } from "./Language";
import { readSession, startSession } from "./Session";

startSession();
await Promise.all([startLanguage(), readSession()]);
const root = document.getElementById("app");
if (root) {
  render(<App />, root);
}
