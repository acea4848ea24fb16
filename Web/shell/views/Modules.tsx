import { text } from "../Language";
import { ViewHead } from "../ViewHead";

export default function Modules() {
  return <ViewHead title={text("view.modules")} />;
}
