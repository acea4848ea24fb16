import { text } from "../Language";
import { ViewHead } from "../ViewHead";

export default function Account() {
  return <ViewHead title={text("view.account")} />;
}
