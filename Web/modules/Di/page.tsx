import "./overview.css";

import { render } from "preact";
import type { MountFunction } from "../../kit/Page";
import { Overview } from "./Overview";

export const styles = ["page.css"];

export const mount: MountFunction = (root, context) => {
  render(<Overview context={context} />, root);
  return () => render(null, root);
};
