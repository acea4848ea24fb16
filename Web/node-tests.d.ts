// What unit tests use of Node. The types of all of Node would also give the page's code functions that browsers lack.
declare module "node:test" {
  type Run = () => void | Promise<void>;
  export function test(name: string, run: Run): void;
  export function describe(name: string, run: () => void): void;
  export function beforeEach(run: Run): void;
  export function afterEach(run: Run): void;
}

declare module "node:assert/strict" {
  type Expected = RegExp | object;
  interface Assert {
    (value: unknown, message?: string): asserts value;
    ok(value: unknown, message?: string): asserts value;
    equal(actual: unknown, expected: unknown, message?: string): void;
    notEqual(actual: unknown, expected: unknown, message?: string): void;
    deepEqual(actual: unknown, expected: unknown, message?: string): void;
    match(actual: string, expected: RegExp, message?: string): void;
    throws(run: () => unknown, expected?: Expected, message?: string): void;
    rejects(
      run: Promise<unknown> | (() => Promise<unknown>),
      expected?: Expected,
      message?: string,
    ): Promise<void>;
    fail(message?: string): never;
  }
  const assert: Assert;
  export default assert;
}
