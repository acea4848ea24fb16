// What a module's page and the shell say to each other. A page is an ES module with `mount`; see Docs/WritingAPage.md.
import type { ModuleRequestOptions } from "./Api";
import type { TextFunction } from "./Texts";

/** Something on the device that a person should look at; the shell shows it on top and counts it in title and icon. */
export interface AttentionItem {
  /** The same as long as it is the same matter. */
  readonly id: string;
  readonly level: "warning" | "bad";
  readonly subject: string;
  readonly text: string;
}

export interface PageSession {
  readonly user: string;
  readonly role: "Admin" | "Engineer" | "Viewer";
}

export interface DeviceIdentity {
  readonly name: string;
  readonly serialNumber: string;
}

export interface PageContext {
  /** BCP 47, for instance "de". The page is mounted again when it changes. */
  readonly language: string;
  /** Texts of the page's own catalogue. */
  readonly text: TextFunction;
  /** The page is mounted again when it changes. */
  readonly session: PageSession;
  /** Aborted when the page is closed. */
  readonly signal: AbortSignal;
  /** Sends a request to a data provider and returns the payload. Rejects with an error whose `code` is the problem's or
   * the module's. Requests that the user did not cause have `background: true`. */
  request<T extends object>(provider: string, name: string, options?: ModuleRequestOptions): Promise<T>;
  /** Replaces what the page reported before. Empty: the device is well. Until the first call nothing is claimed. */
  setAttention(items: readonly AttentionItem[]): void;
  /** Shown in the header. */
  setDevice(identity: DeviceIdentity): void;
  /** The controller is away: it was told to restart, or does not answer. */
  setAway(isAway: boolean): void;
  /** Shows a line to the user and reads it out. */
  notify(text: string): void;
  /** Opens another page. */
  navigate(pageName: string): void;
}

/** Shows the page in `root`, which is empty, and returns what ends it. */
export type MountFunction = (root: HTMLElement, context: PageContext) => () => void;

export interface PageModule {
  readonly mount: MountFunction;
  /** Style sheets to load before, relative to the entry. */
  readonly styles?: readonly string[];
}
