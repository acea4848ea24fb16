// What the log-in and every page need, so that the bundler makes one file of it; not the charts, which are large.
import "preact";
import "preact/hooks";
import "@preact/signals";
import "./kit/Api";
import "./kit/Failures";
import "./kit/Ids";
import "./kit/Polling";
import "./kit/Texts";
import "./kit/components/Basics";
import "./kit/components/Card";
import "./kit/components/CopyButton";
import "./kit/components/Dialog";
import "./shell/Header";
import "./shell/Language";
import "./shell/PasswordChange";
import "./shell/Session";
import "./shell/State";
