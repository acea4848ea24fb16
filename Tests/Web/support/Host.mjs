// The shipped host over TLS, with a state folder and a configuration of its own and the simulated controller, in one
// process or in two.
import * as fs from "node:fs";
import * as https from "node:https";
import * as path from "node:path";
import { controller } from "./Description.mjs";
import { build, makeFolder, sources } from "./Places.mjs";
import { Process } from "./Process.mjs";

export const password = "sunlit-gravel-harbour";
/** Name → role of the users that every host gets. */
export const users = { admin: "Admin", engineer: "Engineer", viewer: "Viewer" };

const library = path.join(build, "lib/libOxa.Device.Linux.so");

export class Host {
  folder = makeFolder();
  #options;
  #process;
  #device;
  #port = 0;

  /** description: a document. isApart: the device services run in a process of their own. http, sessions: attributes of
   * these elements. hasSafetyPart: a setting of the module. isFresh: the first password is not changed yet. name: what
   * browsers call it instead of its address. */
  static async start(options = {}) {
    const host = new Host();
    host.#options = options;
    host.#write();
    if (options.isApart) {
      await host.startDevice();
    }
    await host.startAgain();
    if (!options.isFresh) {
      await host.#addUsers();
    }
    return host;
  }

  #write() {
    const { description = controller(), isApart, http = "", sessions = "", hasSafetyPart } = this.#options;
    fs.mkdirSync(this.#path("state"), { recursive: true, mode: 0o700 });
    fs.writeFileSync(this.#path("device.xml"), description);
    const settings = path.join(sources, "Host/Configuration");
    for (const name of fs.readdirSync(settings).filter((each) => each.endsWith(".xml"))) {
      fs.copyFileSync(path.join(settings, name), this.#path(name));
    }
    const module = fs.readFileSync(this.#path("Di.xml"), "utf8");
    fs.writeFileSync(
      this.#path("Di.xml"),
      module.replace(/splcSupported="\w+"/, `splcSupported="${hasSafetyPart ?? false}"`),
    );
    const component = `<Component name="Linux" library="${library}" settings="${this.#path("device.xml")}"/>`;
    const where = isApart
      ? `<Services><Provider name="Oxa.Device" socket="${this.#path("socket")}"/></Services>`
      : `<Components>${component}</Components>`;
    fs.writeFileSync(
      this.#path("host.xml"),
      `<WbmHostDocument><Http address="127.0.0.1" tls="true" ${http}/>
        <Page folder="\${OXA_LIBRARIES}/../share/oxa-wbm/www"/>
        <Users database="\${OXA_STATE}/users.sqlite"/><Audit database="\${OXA_STATE}/audit.sqlite"/>
        <Sessions ${sessions}/>${where}<Modules folder="\${OXA_LIBRARIES}/oxa/modules"/></WbmHostDocument>`,
    );
    fs.writeFileSync(
      this.#path("device.conf"),
      `<DeviceServerDocument><Server socket="${this.#path("socket")}">
        <User name="${process.getuid()}" commands="true"/></Server>
        <Components>${component}</Components></DeviceServerDocument>`,
    );
  }

  #path(name) {
    return path.join(this.folder, name);
  }

  get port() {
    return this.#port;
  }

  /** Where browsers find it. */
  get address() {
    return `https://${this.#options.name ?? `127.0.0.1:${this.#port}`}`;
  }

  get log() {
    return this.#process.output;
  }

  get firstPassword() {
    return fs.readFileSync(this.#path("state/initial-password"), "utf8").trim();
  }

  /** Starts it, at the same port when it ran before. */
  async startAgain() {
    this.#process = new Process(path.join(build, "bin/oxa-wbm"), [
      "--config",
      this.#path("host.xml"),
      "--state",
      this.#path("state"),
      "--port",
      String(this.#port),
    ]);
    this.#port = Number(await this.#process.waitFor(/listening on https:\/\/127\.0\.0\.1:(\d+)/));
  }

  /** Ends it at once. */
  async kill() {
    await this.#process.end("SIGKILL");
  }

  /** Another description replaces the one before. */
  async startDevice(description) {
    if (description) {
      fs.writeFileSync(this.#path("device.xml"), description);
    }
    this.#device = new Process(path.join(build, "bin/oxa-device"), ["--config", this.#path("device.conf")]);
    await this.#device.waitFor(/(serving)/);
  }

  /** The device services end at once. */
  async killDevice() {
    await this.#device.end("SIGKILL");
  }

  /** The device services hang until `resumeDevice`. */
  suspendDevice() {
    this.#device.signal("SIGSTOP");
  }

  resumeDevice() {
    this.#device.signal("SIGCONT");
  }

  async stop() {
    await this.#process?.end();
    await this.#device?.end();
  }

  /** One request; the status, the header fields and the parsed body. */
  ask(method, target, { body, token, headers = {} } = {}) {
    const fields = { Connection: "close", ...headers };
    if (token) {
      fields.Authorization = `Bearer ${token}`;
    }
    if (body !== undefined) {
      fields["Content-Type"] = "application/json";
    }
    return new Promise((resolve, reject) => {
      const request = https.request(`https://127.0.0.1:${this.#port}${target}`, {
        method,
        headers: fields,
        rejectUnauthorized: false,
      });
      request.once("error", reject);
      request.once("response", async (response) => {
        let text = "";
        for await (const piece of response.setEncoding("utf8")) {
          text += piece;
        }
        const isJson = /json/.test(response.headers["content-type"] ?? "");
        resolve({
          status: response.statusCode,
          headers: response.headers,
          body: isJson ? JSON.parse(text) : text,
        });
      });
      request.end(body === undefined ? undefined : JSON.stringify(body));
    });
  }

  /** A new session. */
  async logIn(user, with_ = password) {
    const response = await this.ask("POST", "/api/v1/session", { body: { user, password: with_ } });
    if (response.status !== 200) {
      throw new Error(`cannot log in: ${JSON.stringify(response.body)}`);
    }
    return { token: response.body.token, cookies: response.headers["set-cookie"] };
  }

  async #addUsers() {
    const { token } = await this.logIn("admin", this.firstPassword);
    const changed = await this.ask("POST", "/api/v1/session/password", {
      token,
      body: { password: this.firstPassword, newPassword: password },
    });
    this.token = changed.body.token;
    for (const [user, role] of Object.entries(users).filter(([name]) => name !== "admin")) {
      await this.ask("POST", "/api/v1/users", { token: this.token, body: { user, password, role } });
    }
  }

  /** The payload of a request to a data provider, as the administrator. */
  async read(provider, request) {
    const { body } = await this.ask("GET", `/api/v1/${provider}/${request}`, { token: this.token });
    return body.payload;
  }

  async readSection(name) {
    return (await this.read("DeviceInterfaceDp", `GetDataSection?SectionName=${name}`))[name];
  }
}
