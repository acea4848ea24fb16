// A program under test.
import { spawn } from "node:child_process";
import { createInterface } from "node:readline";

const startMilliseconds = 20_000;

/** None outlives the tests, however they end. */
const running = new Set();
process.prependListener("exit", () => {
  for (const child of running) {
    child.kill("SIGKILL");
  }
});

export class Process {
  #child;
  #ended;
  #waiting = [];
  output = "";

  constructor(file, args) {
    this.#child = spawn(file, args, { stdio: ["ignore", "pipe", "pipe"] });
    running.add(this.#child);
    this.#child.once("exit", () => running.delete(this.#child));
    this.#ended = new Promise((resolve) => this.#child.once("exit", resolve).once("error", resolve));
    for (const stream of [this.#child.stdout, this.#child.stderr]) {
      createInterface({ input: stream }).on("line", (line) => this.#take(line));
    }
    this.#child.once("error", (error) => this.#take(`cannot start: ${error.message}`));
    this.#child.once("exit", (code, signal) => this.#take(`ended with ${code ?? signal}`));
  }

  get isRunning() {
    return this.#child.pid !== undefined && this.#child.exitCode === null && this.#child.signalCode === null;
  }

  #take(line) {
    this.output += `${line}\n`;
    for (const look of [...this.#waiting]) {
      look();
    }
  }

  /** The first group of the pattern, as soon as the output has a line that fits. */
  waitFor(pattern) {
    return new Promise((resolve, reject) => {
      const done = (settle, value) => {
        clearTimeout(timer);
        this.#waiting = this.#waiting.filter((each) => each !== look);
        settle(value);
      };
      const look = () => {
        const found = pattern.exec(this.output);
        if (found) {
          done(resolve, found[1]);
        } else if (!this.isRunning) {
          done(reject, new Error(`the program ended early:\n${this.output}`));
        }
      };
      const timer = setTimeout(
        () => done(reject, new Error(`no line like ${pattern} in\n${this.output}`)),
        startMilliseconds,
      );
      this.#waiting.push(look);
      look();
    });
  }

  signal(name) {
    this.#child.kill(name);
  }

  /** Ends it, and waits until it has ended. */
  async end(name = "SIGTERM") {
    if (this.isRunning) {
      this.#child.kill("SIGCONT");
      this.#child.kill(name);
    }
    await this.#ended;
  }
}
