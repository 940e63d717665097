// What a value was over time: order, bounds, and that no peak is lost.

import assert from "node:assert/strict";
import test from "node:test";

import { Series } from "../../../tools/dov-panel/page/series.js";

function filled(count, step_ms, value_of, series = new Series(600000, 1024)) {
    for (let i = 0; i < count; ++i)
        series.add(i * step_ms, value_of(i));
    return series;
}

function points(series) {
    return Array.from({ length: series.size }, (_, i) => [series.time(i), series.value(i)]);
}

test("a value stands until the next one", () => {
    const series = new Series();
    series.add(1000, 5);
    series.add(2000, 7);
    assert.ok(Number.isNaN(series.at(999)));
    assert.equal(series.at(1000), 5);
    assert.equal(series.at(1999), 5);
    assert.equal(series.at(2000), 7);
    assert.equal(series.at(1e9), 7);
});

test("of several points at one time the last one counts", () => {
    const series = new Series();
    series.add(1000, 5);
    series.add(1000, 6);
    assert.equal(series.at(1000), 6);
});

test("times never run back", () => {
    const series = new Series();
    series.add(2000, 1);
    series.add(1500, 2);
    assert.deepEqual(points(series), [[2000, 1], [2000, 2]]);
});

test("no more points than allowed, however many come", () => {
    const series = filled(200000, 1, (i) => i % 100);
    assert.ok(series.size <= 1024, `${series.size} points`);
    assert.equal(series.time(series.size - 1), 199999);
});

test("points that are too old go, but for the one that still stood", () => {
    const series = filled(5000, 1000, (i) => i);
    const last_ms = 4999000;
    assert.ok(series.time(0) <= last_ms - 600000, `begins at ${series.time(0)}`);
    assert.ok(series.size < 1024);
});

test("thinning keeps the lowest and the highest", () => {
    const extremes = new Map([[996000, 1e6], [700001, -1e6]]);
    const series = filled(1000000, 0.5, (i) => extremes.get(i) ?? 0);
    const values = points(series).map(([, value]) => value);
    assert.ok(values.includes(1e6), "the peak is gone");
    assert.ok(values.includes(-1e6), "the dip is gone");
});

test("thinning keeps the order of times", () => {
    const series = filled(50000, 1, (i) => Math.sin(i));
    const times = points(series).map(([time]) => time);
    assert.deepEqual(times, times.slice().sort((a, b) => a - b));
});

test("nothing but gaps is bounded, too", () => {
    const series = filled(100000, 1, () => NaN);
    assert.ok(series.size <= 1024);
});

test("history goes before what is here already", () => {
    const series = new Series();
    series.add(5000, 50);
    series.put_before([[1000, 10], [2000, null], [3000, true], [5000, 99], [6000, 99]]);
    assert.deepEqual(points(series), [[1000, 10], [2000, NaN], [3000, 1], [5000, 50]]);
});

test("a copy does not follow", () => {
    const series = filled(10, 1, (i) => i);
    const copy = series.copy();
    series.add(100, 100);
    assert.equal(copy.size, 10);
    copy.add(20, 1);
    assert.equal(series.size, 11);
});

test("clear forgets everything", () => {
    const series = filled(300, 1, (i) => i);
    series.clear();
    assert.equal(series.size, 0);
    assert.ok(Number.isNaN(series.at(1e9)));
});
