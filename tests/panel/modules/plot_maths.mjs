// Where things are in a plot.

import assert from "node:assert/strict";
import test from "node:test";

import {
    View, columns, nice_step, padded_range, plot_rows, tick_decimals, ticks, time_step, value_range,
} from "../../../tools/dov-panel/page/plot_maths.js";
import { Series } from "../../../tools/dov-panel/page/series.js";

function series_of(...points) {
    const series = new Series();
    for (const [time, value] of points)
        series.add(time, value);
    return series;
}

test("steps are 1, 2 or 5 times a power of ten", () => {
    for (const [width, most, step] of [
        [10, 10, 1], [10, 5, 2], [10, 4, 5], [10, 2, 5], [11, 1, 20], [0.03, 3, 0.01],
        [65535, 4, 20000], [0, 3, 1],
    ])
        assert.ok(Math.abs(nice_step(width, most) / step - 1) < 1e-9,
            `${width} in ${most}: ${nice_step(width, most)}, not ${step}`);
});

test("ticks are the multiples within the range", () => {
    assert.deepEqual(ticks(0, 10, 5), [0, 2, 4, 6, 8, 10]);
    assert.deepEqual(ticks(-3, 3, 3), [-2, 0, 2]);
    assert.deepEqual(ticks(23.4, 28.6, 3), [24, 26, 28]);
});

test("ticks are told apart", () => {
    for (const [step, decimals] of [[20, 0], [1, 0], [0.5, 1], [0.2, 1], [0.01, 2], [1e-9, 6]])
        assert.equal(tick_decimals(step), decimals, `step ${step}`);
});

test("the axis of time has round steps", () => {
    assert.equal(time_step(120000, 8), 15000);
    assert.equal(time_step(600000, 10), 60000);
    assert.equal(time_step(1000, 10), 100);
    assert.equal(time_step(1e9, 2), 600000);
});

test("the range has what stood when it began", () => {
    const series = series_of([0, 100], [1000, 1], [2000, 3], [9000, 50]);
    assert.deepEqual(value_range(series, 500, 5000), { low: 1, high: 100 });
    assert.deepEqual(value_range(series, 1500, 5000), { low: 1, high: 3 });
    assert.deepEqual(value_range(series, 20000, 30000), { low: 50, high: 50 });
});

test("no range of nothing, and of gaps", () => {
    assert.equal(value_range(new Series(), 0, 1000), null);
    assert.equal(value_range(series_of([0, NaN]), 0, 1000), null);
    assert.equal(value_range(series_of([5000, 1]), 0, 1000), null);
});

test("a range is never empty", () => {
    const { low, high } = padded_range({ low: 21, high: 21 }, 2);
    assert.ok(low < 20 + 1e-9 && high > 22 - 1e-9, `${low} to ${high}`);
});

test("columns hold a value, and keep what is shorter than they are", () => {
    const series = series_of([0, 1], [1500, 9], [1600, 1]);
    const made = columns(series, 0, 4000, 4);
    assert.deepEqual([...made.low], [1, 1, 1, 1]);
    assert.deepEqual([...made.high], [1, 9, 1, 1]);
    assert.deepEqual([...made.last], [1, 1, 1, 1]);
});

test("columns before the first value and in gaps are empty", () => {
    const series = series_of([1000, 5], [2000, NaN], [3000, 6]);
    const made = columns(series, 0, 5000, 5);
    assert.deepEqual([...made.high], [NaN, 5, 5, 6, 6]);
    assert.deepEqual([...made.last], [NaN, 5, NaN, 6, 6]);
    assert.deepEqual([...made.first], [NaN, NaN, 5, NaN, 6]);
});

test("a view follows the present until it is paused", () => {
    const view = new View(60000);
    assert.deepEqual([view.begin(100000), view.end(100000)], [40000, 100000]);
    view.pause(100000);
    assert.ok(view.is_paused);
    assert.equal(view.end(200000), 100000);
    view.resume();
    assert.equal(view.end(200000), 200000);
});

test("zooming keeps the present, or the place that is pointed at", () => {
    const view = new View(60000);
    view.zoom(0.5);
    assert.deepEqual([view.begin(100000), view.end(100000)], [70000, 100000]);
    view.pause(100000);
    view.set_span(60000);
    view.zoom(0.5, 0.5);
    assert.deepEqual([view.begin(0), view.end(0)], [55000, 85000]);
});

test("spans are between a second and ten minutes", () => {
    const view = new View();
    view.set_span(1);
    assert.equal(view.span_ms, 1000);
    view.set_span(1e9);
    assert.equal(view.span_ms, 600000);
});

test("panning pauses, and stays within the ten minutes and the present", () => {
    const view = new View(60000);
    view.pan(-0.5, 1000000);
    assert.equal(view.end(2000000), 970000);
    view.pan(10, 2000000);
    assert.equal(view.end(2000000), 1000000);
    view.pan(-100, 2000000);
    assert.equal(view.begin(2000000), 400000);
});

test("the table has a row for each change, with all values as they stood", () => {
    const first = series_of([0, 1], [2000, 2]);
    const second = series_of([1000, 10], [2000, NaN], [9000, 1]);
    assert.deepEqual(plot_rows([first, second], 500, 5000),
        [[500, 1, null], [1000, 1, 10], [2000, 2, null]]);
});
