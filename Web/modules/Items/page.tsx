import "./items.css";

import { render } from "preact";
import type { MountFunction } from "../../kit/Page";
import { ItemsPage } from "./ItemsPage";

export const styles = ["page.css"];

export const mount: MountFunction = (root, context) => {
  render(<ItemsPage context={context} />, root);
  return () => render(null, root);
};
