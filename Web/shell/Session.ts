// Who is logged in, in one signal, and how long the session lasts without use.
import { computed, signal } from "@preact/signals";
import { ConnectionError, call, observeSession, ProblemError, type Schemas } from "../kit/Api";

export type Role = Schemas["Role"];

export type SessionState =
  | { readonly kind: "unknown" }
  /** The host does not answer, so it is not known whether there is a session. */
  | { readonly kind: "unreachable" }
  | { readonly kind: "loggedOut"; readonly hasEnded: boolean }
  | { readonly kind: "passwordChange"; readonly user: string }
  | {
      readonly kind: "loggedIn";
      readonly user: string;
      readonly role: Role;
      readonly idleSeconds: number;
    };

export const session = signal<SessionState>({ kind: "unknown" });

/** Now, on the browser's clock, once in a while: `performance.now()` in milliseconds. */
export const clock = signal(performance.now());
const lastUse = signal(performance.now());
/** When the session ends also with use. The host says how long that is: its clock may be wrong, or the browser's. */
const lifeEnd = signal(performance.now());

/** Whole seconds until the session ends by itself; not set without one. */
export const secondsLeft = computed(() => {
  const state = session.value;
  if (state.kind !== "loggedIn") {
    return undefined;
  }
  const idleLeft = state.idleSeconds - (clock.value - lastUse.value) / 1000;
  const lifeLeft = (lifeEnd.value - clock.value) / 1000;
  return Math.max(0, Math.floor(Math.min(idleLeft, lifeLeft)));
});

/** In time of the reader's clock. */
export const sessionEnd = computed(() => new Date(Date.now() + lifeEnd.value - performance.now()));

const clockMilliseconds = 10_000;
/** How often the host is asked how long the session lasts: another tab may use it, an administrator may end it. */
const readMilliseconds = 60_000;
const useMilliseconds = 30_000;
const timeoutMilliseconds = 5_000;
let lastSent = 0;
let lastRead = 0;

export function startSession(): void {
  observeSession({
    sessionEnded: (code) => {
      const { value } = session;
      if (code === "password-change-needed" && value.kind === "loggedIn") {
        session.value = { kind: "passwordChange", user: value.user };
      } else if (code === "no-session" && value.kind !== "loggedOut") {
        session.value = {
          kind: "loggedOut",
          hasEnded: value.kind !== "unknown" && value.kind !== "unreachable",
        };
      }
    },
    // An administrator may have changed the role.
    permissionRefused: readAgain,
    sessionUsed: () => {
      lastUse.value = clock.value = performance.now();
    },
  });
  setInterval(tick, clockMilliseconds);
  document.addEventListener("visibilitychange", tick);
  // Another user may have logged in with another tab.
  window.addEventListener("focus", readAgain);
  for (const event of ["pointerdown", "keydown"]) {
    window.addEventListener(event, reportUse, { passive: true });
  }
}

function tick(): void {
  clock.value = performance.now();
  const isDue = clock.value - lastRead > readMilliseconds || secondsLeft.value === 0;
  if (!document.hidden && isDue) {
    readAgain();
  }
}

function readAgain(): void {
  const asked = session.peek();
  if (asked.kind === "loggedIn") {
    lastRead = performance.now();
    const acceptIfSame = (found: Schemas["Session"]) => {
      // The response of a session that has been left meanwhile says nothing.
      if (session.peek() === asked) {
        accept(found);
      }
    };
    void call("get", "/api/v1/session", undefined, { background: true }).then(acceptIfSame, () => undefined);
  }
}

/** Who uses the page without sending requests keeps the session alive as well. */
function reportUse(): void {
  if (session.peek().kind === "loggedIn" && performance.now() - lastSent > useMilliseconds) {
    lastSent = performance.now();
    void call("get", "/api/v1/session").catch(() => undefined);
  }
}

function accept(found: Schemas["Session"] | Schemas["NewSession"]): void {
  if (found.mustChangePassword) {
    session.value = { kind: "passwordChange", user: found.user };
    return;
  }
  const { user, role, idleSeconds = 0, idleLeftSeconds = 0, expiresInSeconds = 0 } = found;
  const now = performance.now();
  lastUse.value = now - (idleSeconds - idleLeftSeconds) * 1000;
  lifeEnd.value = now + expiresInSeconds * 1000;
  clock.value = now;
  const present = session.peek();
  const isSame = present.kind === "loggedIn" && present.user === user && present.role === role;
  if (!isSame || present.idleSeconds !== idleSeconds) {
    session.value = { kind: "loggedIn", user, role, idleSeconds };
  }
}

function isWithoutSession(error: unknown): boolean {
  return error instanceof ProblemError && error.code === "no-session";
}

/** Whether there is a session. One that is known stays when the host does not answer. */
export async function readSession(signal = new AbortController().signal): Promise<void> {
  try {
    const found = await call("get", "/api/v1/session", undefined, { signal, timeoutMilliseconds });
    accept(found);
  } catch (error) {
    const { kind } = session.peek();
    if (!signal.aborted && !isWithoutSession(error) && (kind === "unknown" || kind === "unreachable")) {
      session.value =
        error instanceof ConnectionError ? { kind: "unreachable" } : { kind: "loggedOut", hasEnded: false };
    }
  }
}

export async function logIn(user: string, password: string): Promise<void> {
  accept(await call("post", "/api/v1/session", { user, password }));
}

export async function changePassword(password: string, newPassword: string): Promise<void> {
  accept(await call("post", "/api/v1/session/password", { password, newPassword }));
}

/** Throws when the host has not ended the session: the browser then still has the cookie. */
export async function logOut(): Promise<void> {
  try {
    await call("delete", "/api/v1/session", undefined, { timeoutMilliseconds });
  } catch (error) {
    if (!isWithoutSession(error)) {
      throw error;
    }
  }
  session.value = { kind: "loggedOut", hasEnded: false };
}
