import { text } from "../Language";
import { ViewHead } from "../ViewHead";

export default function Tokens() {
  return <ViewHead title={text("view.tokens")} />;
}
