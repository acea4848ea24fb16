// The shell's own views, each loaded when it is opened.
import { FileText, Info, KeyRound, Package, User, Users } from "lucide-preact";
import type { ComponentType } from "preact";
import type { TextKey } from "./Language";
import type { Role } from "./Session";

export interface View {
  readonly name: string;
  readonly title: TextKey;
  readonly icon: typeof Info;
  /** Who sees it; everybody without. */
  readonly role?: Role;
  readonly load: () => Promise<{ readonly default: ComponentType }>;
}

export const views: readonly View[] = [
  { name: "audit", title: "view.audit", icon: FileText, role: "Admin", load: () => import("./views/Audit") },
  { name: "users", title: "view.users", icon: Users, role: "Admin", load: () => import("./views/Users") },
  {
    name: "tokens",
    title: "view.tokens",
    icon: KeyRound,
    role: "Admin",
    load: () => import("./views/Tokens"),
  },
  {
    name: "modules",
    title: "view.modules",
    icon: Package,
    role: "Admin",
    load: () => import("./views/Modules"),
  },
  { name: "account", title: "view.account", icon: User, load: () => import("./views/Account") },
  { name: "about", title: "view.about", icon: Info, load: () => import("./views/About") },
];
