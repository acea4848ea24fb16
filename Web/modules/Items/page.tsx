import type { MountFunction } from "../../kit/Page";

export const mount: MountFunction = (root) => {
  root.textContent = "";
  return () => undefined;
};
