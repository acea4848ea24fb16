// One file for a support request: everything that the page can read about the device and the server. It has no
// passwords, tokens, sessions or names of other users.
import { ConnectionError, call, ModuleError, ProblemError, request } from "../kit/Api";
import { version } from "../package.json";
import type { Role } from "./Session";

const sections = ["GeneralData", "DateTime", "Health", "StatusIndicators", "Utilization"] as const;

/** What was read, or why it could not be. */
export type Outcome = { readonly value: unknown } | { readonly error: unknown };

export interface SupportFile {
  readonly madeAt: string;
  readonly page: { readonly version: string; readonly address: string };
  readonly browser: Readonly<Record<string, unknown>>;
  readonly session: { readonly user: string; readonly role: Role };
  readonly server: Readonly<Record<string, Outcome>>;
  readonly device: Readonly<Record<string, Outcome>>;
  readonly items: Outcome;
}

/** What fails is part of the file: it is made most of all when something does not work. */
export async function attempt(read: () => Promise<unknown>): Promise<Outcome> {
  try {
    return { value: await read() };
  } catch (error) {
    return { error: describe(error) };
  }
}

function describe(error: unknown): unknown {
  if (error instanceof ProblemError) {
    return error.problem;
  }
  if (error instanceof ModuleError || error instanceof ConnectionError) {
    return { code: error instanceof ModuleError ? error.code : "connection", detail: error.message };
  }
  return { code: "page", detail: String(error) };
}

interface ItemsPage {
  readonly items: readonly { readonly key: string }[];
  readonly isCut: boolean;
}

/** Follows the pages of an answer: `read` gets the last key of the page before. */
export async function readItemPages(
  read: (after: string | undefined) => Promise<ItemsPage>,
): Promise<unknown[]> {
  const items: { readonly key: string }[] = [];
  let after: string | undefined;
  let isCut = true;
  while (isCut) {
    const page = await read(after);
    items.push(...page.items);
    const last = page.items.at(-1)?.key;
    isCut = page.isCut && last !== undefined && last !== after;
    after = last;
  }
  return items;
}

function describeBrowser(): Readonly<Record<string, unknown>> {
  const { locale, timeZone } = new Intl.DateTimeFormat().resolvedOptions();
  return {
    userAgent: navigator.userAgent,
    languages: navigator.languages,
    formats: locale,
    timeZone,
    window: `${window.innerWidth} × ${window.innerHeight} at ${window.devicePixelRatio}`,
    isDark: window.matchMedia("(prefers-color-scheme: dark)").matches,
    hasReducedMotion: window.matchMedia("(prefers-reduced-motion: reduce)").matches,
    isOnline: navigator.onLine,
  };
}

/** The version that the description of the interface names. */
export async function readServerVersion(signal: AbortSignal): Promise<string> {
  const { info } = await call("get", "/api/v1/openapi.json", undefined, { signal });
  const hasVersion = typeof info === "object" && info !== null && "version" in info;
  return hasVersion ? String(info.version) : "";
}

async function readServer(role: Role, signal: AbortSignal): Promise<Record<string, Outcome>> {
  const options = { signal };
  const server: Record<string, Outcome> = {
    health: await attempt(() => call("get", "/healthz", undefined, options)),
    readiness: await attempt(() => call("get", "/readyz", undefined, options)),
    boot: await attempt(() => call("get", "/api/v1/boot", undefined, options)),
    pages: await attempt(() => call("get", "/api/v1/pages", undefined, options)),
    interface: await attempt(
      async () => (await call("get", "/api/v1/openapi.json", undefined, options)).info,
    ),
  };
  if (role === "Admin") {
    server.modules = await attempt(() => call("get", "/api/v1/modules", undefined, options));
  }
  return server;
}

async function readDevice(signal: AbortSignal): Promise<Record<string, Outcome>> {
  const device: Record<string, Outcome> = {};
  for (const name of sections) {
    const query = { SectionName: name };
    device[name] = await attempt(() => request("DeviceInterfaceDp", "GetDataSection", { query, signal }));
  }
  for (const name of ["IsRunStopSwitchSupported", "IsRunStopSwitchInRun"]) {
    device[name] = await attempt(() => request("DeviceInterfaceDp", name, { signal }));
  }
  return device;
}

/** Throws only when `signal` is aborted. */
export async function makeSupportFile(user: string, role: Role, signal: AbortSignal): Promise<SupportFile> {
  const readItems = (after: string | undefined) =>
    request<ItemsPage>("DeviceItemsDp", "GetItems", { query: after === undefined ? {} : { after }, signal });
  const file: SupportFile = {
    madeAt: new Date().toISOString(),
    page: { version, address: window.location.href },
    browser: describeBrowser(),
    session: { user, role },
    server: await readServer(role, signal),
    device: await readDevice(signal),
    items: await attempt(() => readItemPages(readItems)),
  };
  signal.throwIfAborted();
  return file;
}
