// The present by the clock of dov-panel.

import assert from "node:assert/strict";
import test from "node:test";

import { Server_clock } from "../../../tools/dov-panel/page/connection.js";

test("the fastest message tells best", () => {
    const clock = new Server_clock();
    clock.take(100000, 40);
    assert.equal(clock.now(140), 100100);
    clock.take(100200, 210);
    assert.equal(clock.now(240), 100230, "this one was faster");
});

test("a slow message changes little", () => {
    const clock = new Server_clock();
    clock.take(100000, 0);
    clock.take(100100, 200);
    assert.ok(Math.abs(clock.now(300) - 100299) < 0.001, String(clock.now(300)));
});

test("another clock is taken at once", () => {
    const clock = new Server_clock();
    clock.take(100000, 0);
    clock.take(50000, 100);
    assert.equal(clock.now(100), 50000);
});
