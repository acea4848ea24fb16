import { text } from "../Language";
import { ViewHead } from "../ViewHead";

export default function Audit() {
  return <ViewHead title={text("view.audit")} />;
}
