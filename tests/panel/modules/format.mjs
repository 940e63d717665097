// Values, times and files as text.

import assert from "node:assert/strict";
import test from "node:test";

import {
    age_text, arguments_text, clock_text, count_text, csv_cell, event_text, file_time,
    identifier_text, milliseconds_word, number_text, value_text,
} from "../../../tools/dov-panel/page/format.js";

test("values", () => {
    const volts = { type: "d", unit: "V", decimals: 3 };
    const lamp = { type: "b", yes: "on", no: "off", unit: "" };
    for (const [row, value, text] of [
        [volts, 2.5, "2.500 V"], [volts, null, "–"], [volts, undefined, "–"], [volts, NaN, "– V"],
        [volts, -0.0001, "0.000 V"], [lamp, true, "on"], [lamp, false, "off"], [lamp, null, "–"],
        [{ unit: "" }, " v2.1.7 ", "v2.1.7"], [{ unit: "" }, "", "–"],
        [{ unit: "" }, [3, 4, 20], "3 4 20"], [{ unit: "" }, [], "–"],
        [{ unit: "", decimals: 0 }, 3, "3"],
    ])
        assert.equal(value_text(row, value), text);
});

test("numbers", () => {
    assert.equal(number_text(1.005, 1), "1.0");
    assert.equal(number_text(-0.04, 1), "0.0");
    assert.equal(number_text(-0.06, 1), "-0.1");
    assert.equal(number_text(Infinity, 1), "–");
});

test("ages", () => {
    for (const [age, text] of [
        [-5, "now"], [0, "now"], [999, "now"], [1000, "1 s"], [59999, "59 s"], [60000, "1 min"],
        [3599999, "59 min"], [3600000, "1 h"], [86399999, "23 h"], [86400000, "1 d"],
    ])
        assert.equal(age_text(age), text);
});

test("what a signal has told", () => {
    const volts = { type: "d", decimals: 3, unit: "V" };
    assert.equal(arguments_text(true), "");
    assert.equal(arguments_text(4.1, volts), "4.100 V");
    assert.equal(arguments_text([2.5, false], volts), "2.500 V false");
    assert.equal(arguments_text([7], { type: "y" }), "7");
    assert.equal(arguments_text(["/media/usb0", true]), "/media/usb0 true");
});

test("events", () => {
    for (const [name, told, count, text] of [
        ["short_press", null, 0, "not yet"],
        ["short_press", 1, 1, "pressed"],
        ["short_press", 1, 2, "pressed, 2 ×"],
        ["received", true, 1, "acknowledged"],
        ["connection", ["/media/usb0", true], 1, "/media/usb0 has come"],
        ["connection", ["/media/usb0", false], 4, "/media/usb0 has gone, 4 ×"],
        ["another", [3, "x"], 1, "another 3 x"],
        ["another", true, 1, "another"],
    ])
        assert.equal(event_text(name, told, count), text);
});

test("the time of day", () => {
    const time = new Date(2026, 10, 22, 7, 5, 9, 42).getTime();
    assert.equal(clock_text(time), "07:05:09.042");
    assert.equal(clock_text(time, 1), "07:05:09.0");
    assert.equal(clock_text(time, 0), "07:05:09");
});

test("identifiers and counts", () => {
    assert.equal(identifier_text(0x36), "0x36");
    assert.equal(identifier_text(5), "0x05");
    assert.equal(identifier_text(0), "0x00");
    assert.equal(identifier_text(null), "");
    assert.equal(count_text(0), "0");
    assert.equal(count_text(999), "999");
    assert.equal(count_text(1234567), "1\u202f234\u202f567");
});

test("words and files", () => {
    assert.equal(milliseconds_word(1500.4), "1500ms");
    assert.equal(file_time(Date.UTC(2026, 10, 22, 7, 5, 9)), "20261122-070509");
    for (const [value, text] of [
        ["plain", "plain"], ["a,b", "\"a,b\""], ["say \"so\"", "\"say \"\"so\"\"\""],
        ["two\nlines", "\"two\nlines\""], [null, ""], [3, "3"],
    ])
        assert.equal(csv_cell(value), text);
});
