import type { PageContext } from "../../kit/Page";

export function Overview({ context }: { readonly context: PageContext }) {
  return <p>{context.session.user}</p>;
}
