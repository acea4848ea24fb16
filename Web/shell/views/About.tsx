import { text } from "../Language";
import { ViewHead } from "../ViewHead";

export default function About() {
  return <ViewHead title={text("view.about")} />;
}
