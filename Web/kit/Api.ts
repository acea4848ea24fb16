// Requests to the host. What a response holds is typed by the host's own description of its interface.
import type { components, paths } from "../generated/Api";

export type Schemas = components["schemas"];
export type Problem = Schemas["Problem"];

/** The host refused a request; `code` is stable and meant for programs. */
export class ProblemError extends Error {
  constructor(
    readonly problem: Problem,
    readonly retryAfterSeconds: number | undefined,
  ) {
    super(problem.detail);
  }

  get code(): string {
    return this.problem.code;
  }
}

/** A module carried a request out and reports an error of its own. */
export class ModuleError extends Error {
  constructor(readonly code: string) {
    super(code);
  }
}

/** No response, or one that is not the host's: the controller is away, or something between has failed. */
export class ConnectionError extends Error {}

type Method = "get" | "post" | "patch" | "delete";
type OperationOf<P extends keyof paths, M extends Method> = M extends keyof paths[P] ? paths[P][M] : never;
type JsonOf<T> = T extends { content: { "application/json": infer R } } ? R : undefined;
type ResponsesOf<T> = T extends { responses: infer R } ? R : never;
type ResultOf<T> =
  ResponsesOf<T> extends { 200: infer R }
    ? JsonOf<R>
    : ResponsesOf<T> extends { 201: infer R }
      ? JsonOf<R>
      : undefined;
type BodyOf<T> = T extends { requestBody: { content: { "application/json": infer R } } } ? R : undefined;

/** The paths that have the method. */
export type PathsOf<M extends Method> = {
  [P in keyof paths]: OperationOf<P, M> extends { responses: object } ? P : never;
}[keyof paths];

export interface RequestOptions {
  /** A request that the user did not cause: it does not keep the session alive. */
  readonly background?: boolean;
  readonly signal?: AbortSignal;
  /** For the whole response. Default: 20 s. */
  readonly timeoutMilliseconds?: number;
}

export interface CallOptions extends RequestOptions {
  /** Values for `{name}` in the path. */
  readonly parameters?: Readonly<Record<string, string>>;
  readonly query?: Readonly<Record<string, string | number>>;
}

export interface ModuleRequestOptions extends RequestOptions {
  /** The query as it stands behind `?`, or its parameters. */
  readonly query?: string | Readonly<Record<string, string | number>>;
  readonly method?: "GET" | "POST";
}

interface Envelope {
  readonly errorCode: string;
  readonly resultKind: number;
  readonly payload: object;
}

/** What the shell does about a session that ended, one that may no longer do what it did, and one that is used. */
export interface SessionObserver {
  sessionEnded(code: "no-session" | "password-change-needed"): void;
  permissionRefused(): void;
  sessionUsed(): void;
}

let observer: SessionObserver | undefined;

export function observeSession(newObserver: SessionObserver): void {
  observer = newObserver;
}

const usualTimeoutMilliseconds = 20_000;

/** Ends `exchange`, which reads the body as well, after its time or with the caller's signal. */
async function limit<T>(
  { signal, timeoutMilliseconds = usualTimeoutMilliseconds }: RequestOptions,
  exchange: (signal: AbortSignal) => Promise<T>,
): Promise<T> {
  const aborted = new AbortController();
  const abort = () => aborted.abort();
  // Not AbortSignal.timeout, which lives on for that long after each request.
  const timer = setTimeout(abort, timeoutMilliseconds);
  signal?.addEventListener("abort", abort);
  try {
    if (signal?.aborted) {
      throw new ConnectionError("aborted");
    }
    return await exchange(aborted.signal);
  } finally {
    clearTimeout(timer);
    signal?.removeEventListener("abort", abort);
  }
}

async function fetchResponse(path: string, init: RequestInit): Promise<Response> {
  try {
    return await fetch(path, { ...init, cache: "no-store", redirect: "error" });
  } catch (error) {
    throw new ConnectionError(error instanceof Error ? error.message : String(error));
  }
}

function isProblem(value: unknown): value is Problem {
  return typeof value === "object" && value !== null && "code" in value && typeof value.code === "string";
}

async function readProblem(response: Response): Promise<Error> {
  const body: unknown = await response.json().catch(() => undefined);
  if (!isProblem(body)) {
    return new ConnectionError(`HTTP ${response.status}`);
  }
  const seconds = Number(response.headers.get("Retry-After") ?? Number.NaN);
  return new ProblemError(body, Number.isFinite(seconds) ? seconds : undefined);
}

async function read(response: Response): Promise<unknown> {
  if (!response.ok) {
    throw await readProblem(response);
  }
  if (response.status === 204) {
    return undefined;
  }
  return response.json().catch(() => {
    throw new ConnectionError("the response is incomplete");
  });
}

function reportProblem(code: string): void {
  if (code === "no-session" || code === "password-change-needed") {
    observer?.sessionEnded(code);
  } else if (code === "no-permission") {
    observer?.permissionRefused();
  }
}

async function send(path: string, init: RequestInit, options: RequestOptions): Promise<unknown> {
  const headers = new Headers(init.headers);
  if (options.background) {
    headers.set("Oxa-Activity", "background");
  }
  try {
    const body = await limit(options, async (signal) =>
      read(await fetchResponse(path, { ...init, headers, signal })),
    );
    if (!options.background) {
      observer?.sessionUsed();
    }
    return body;
  } catch (error) {
    if (error instanceof ProblemError) {
      reportProblem(error.code);
    }
    throw error;
  }
}

function toQuery(query: string | Readonly<Record<string, string | number>> | undefined): string {
  if (query === undefined || typeof query === "string") {
    return query ? `?${query}` : "";
  }
  const pairs = Object.entries(query).map(([name, value]) => `${name}=${encodeURIComponent(value)}`);
  return pairs.length > 0 ? `?${pairs.join("&")}` : "";
}

function fillPath(path: string, parameters: Readonly<Record<string, string>> = {}): string {
  return path.replace(/\{([^}]+)\}/g, (_, name: string) => encodeURIComponent(parameters[name] ?? ""));
}

/** Sends a request of the host's own interface. Throws ProblemError or ConnectionError. */
export async function call<M extends Method, P extends PathsOf<M>>(
  method: M,
  path: P,
  body?: BodyOf<OperationOf<P, M>>,
  options: CallOptions = {},
): Promise<ResultOf<OperationOf<P, M>>> {
  const init: RequestInit = { method: method.toUpperCase() };
  if (body !== undefined) {
    init.body = JSON.stringify(body);
    init.headers = { "Content-Type": "application/json" };
  }
  const target = fillPath(path, options.parameters) + toQuery(options.query);
  return (await send(target, init, options)) as ResultOf<OperationOf<P, M>>;
}

/** Sends a request to a module's data provider and returns the payload. Throws ModuleError, ProblemError or
 * ConnectionError. The caller says what the payload is: that is between the page and its module. */
export async function request<T extends object>(
  provider: string,
  name: string,
  options: ModuleRequestOptions = {},
): Promise<T> {
  const path = `/api/v1/${encodeURIComponent(provider)}/${encodeURIComponent(name)}${toQuery(options.query)}`;
  const envelope = (await send(path, { method: options.method ?? "GET" }, options)) as Envelope;
  if (envelope.errorCode !== "") {
    throw new ModuleError(envelope.errorCode);
  }
  return envelope.payload as T;
}
