// The newest frames, and which of them are wanted.

import assert from "node:assert/strict";
import test from "node:test";

import { Frame_filter, Frame_store } from "../../../tools/dov-panel/page/frame_store.js";

function frame(n, more = {}) {
    return {
        n, from: "controller", id: 0x36, name: "digest", text: "analog 2.500 V", bytes: "18ef5978",
        fault: null, ...more,
    };
}

const numbers = (frames) => frames.map(({ n }) => n);

test("a filter without wishes passes everything", () => {
    assert.ok(new Frame_filter().passes(frame(1)));
    const skipped = { n: 1, from: "host", id: null, name: null, fault: "skipped" };
    assert.ok(new Frame_filter().passes(skipped));
});

test("every word has to be found", () => {
    const filter = new Frame_filter();
    for (const [text, passes] of [
        ["digest", true], ["DIGEST", true], ["0x36", true], ["2.500 controller", true],
        ["18ef", true], ["digest host", false], ["0x37", false], ["  ", true],
    ]) {
        filter.text = text;
        assert.equal(filter.passes(frame(1)), passes, text);
    }
});

test("side, message and faults", () => {
    const filter = new Frame_filter();
    filter.from = "host";
    assert.ok(!filter.passes(frame(1)));
    filter.from = "controller";
    filter.name = "digest";
    assert.ok(filter.passes(frame(1)));
    assert.ok(!filter.passes(frame(1, { name: "atx" })));
    filter.only_faults = true;
    assert.ok(!filter.passes(frame(1)));
    assert.ok(filter.passes(frame(1, { fault: "late" })));
});

test("a store is bounded, and keeps the newest", () => {
    const store = new Frame_store(100);
    for (let n = 1; n <= 1000; ++n)
        store.add([frame(n)]);
    assert.ok(store.size <= 125, `${store.size} frames`);
    assert.ok(store.shown.length <= 125, `${store.shown.length} passing`);
    assert.equal(store.shown[store.shown.length - 1].n, 1000);
});

test("passing frames go with the others", () => {
    const store = new Frame_store(100);
    store.filter.name = "rare";
    store.add([frame(1, { name: "rare" })]);
    for (let n = 2; n <= 500; ++n)
        store.add([frame(n)]);
    assert.deepEqual(store.shown, []);
});

test("an entry that repeats an old number stays as long as one that is new", () => {
    const store = new Frame_store(100);
    for (let n = 1; n <= 124; ++n)
        store.add([frame(n)]);
    store.add([frame(3, { fault: "unanswered" })]);
    assert.equal(store.size, 100);
    assert.equal(store.shown.length, 100);
    assert.equal(store.shown[99].fault, "unanswered");
});

test("held, nothing moves, and what comes is counted", () => {
    const store = new Frame_store(100);
    store.add([frame(1), frame(2)]);
    store.hold();
    store.add([frame(3), frame(4, { name: "atx" })]);
    assert.deepEqual(numbers(store.shown), [1, 2]);
    assert.equal(store.arrived_since_held, 2);
    store.release();
    assert.deepEqual(numbers(store.shown), [1, 2, 3, 4]);
});

test("another filter is for what is there already, held or not", () => {
    const store = new Frame_store(100);
    store.add([frame(1), frame(2, { name: "atx" })]);
    store.hold();
    store.add([frame(3, { name: "atx" })]);
    store.filter.name = "atx";
    store.filter_again();
    assert.deepEqual(numbers(store.shown), [2, 3]);
    store.filter.name = "";
    store.filter_again();
    assert.deepEqual(numbers(store.shown), [1, 2, 3]);
});

test("new names are told once", () => {
    const store = new Frame_store(100);
    assert.ok(store.add([frame(1)]));
    assert.ok(!store.add([frame(2)]));
    assert.ok(store.add([frame(3, { name: "atx" })]));
    assert.deepEqual([...store.names], ["digest", "atx"]);
});

test("clear forgets the frames, and holds no more", () => {
    const store = new Frame_store(100);
    store.add([frame(1)]);
    store.hold();
    store.clear();
    assert.deepEqual(store.shown, []);
    assert.ok(!store.is_held);
});
