import assert from "node:assert/strict";
import { test } from "node:test";
import { Series } from "./Series";

const start = 1_795_257_600_000;
const minute = 60_000;

test("a range holds its time and no more", () => {
  const series = new Series();
  for (let time = start; time <= start + 30 * minute; time += 2000) {
    series.add(time, (time - start) / minute);
  }
  const now = start + 30 * minute;
  assert.deepEqual(series.getExtent("minutes10", now)?.maximum, 30);
  assert.ok((series.getExtent("minutes10", now)?.minimum ?? 0) >= 20);
  assert.deepEqual(series.getExtent("hour1", now), { minimum: 0, maximum: 30 });
  assert.equal(series.getPoints("minutes10", now).times.length, 150);
  assert.equal(series.getPoints("hour1", now).times.length, 151);
});

test("a bucket keeps the extremes of its values", () => {
  const series = new Series();
  for (const value of [40, 10, 70]) {
    series.add(start, value);
  }
  const { mean, minimum, maximum } = series.getPoints("hours24", start + 1);
  assert.deepEqual([mean, minimum, maximum], [[40], [10], [70]]);
});

test("a pause makes a gap, the period between two samples does not", () => {
  const series = new Series();
  for (const time of [0, 10_000, 20_000, 90_000]) {
    series.add(start + time, 1);
  }
  assert.deepEqual(series.getPoints("minutes10", start + 100_000).mean, [1, 1, 1, null, 1]);
});

test("the device's history fills only what was not collected, on the browser's clock", () => {
  const series = new Series();
  const offset = 3_600_000;
  series.add(start + 15_000, 99);
  const values = [1, null, 3];
  const history = {
    start: start + offset - 20_000,
    stepMilliseconds: 20_000,
    minimum: values,
    mean: values,
    maximum: values,
  };
  series.fill("minutes10", history, offset);
  series.fill("minutes10", history, offset);
  const points = series.getPoints("minutes10", start + 60_000);
  assert.deepEqual(points.mean, [1, 99, 3]);
  assert.ok(Math.abs((points.times[0] ?? 0) * 1000 - (start - 10_000)) <= 4000);
  assert.equal(series.getExtent("hour1", start + 60_000)?.maximum, 99);
});

test("a clock that was set back begins anew where it is", () => {
  const series = new Series();
  series.add(start, 1);
  series.add(start - 8 * minute, 2);
  assert.deepEqual(series.getPoints("minutes10", start - 8 * minute).mean, [2]);
});
