// Live plots: lanes one below the other over one axis of time, drawn on canvases.

import { clock_text, csv_cell, file_time, number_text } from "./format.js";
import { Sizes, by_id, element, put_attribute, put_text, save_file } from "./elements.js";
import {
    View, columns, nice_step, padded_range, plot_rows, tick_decimals, ticks, time_step, value_range,
} from "./plot_maths.js";

const gutter = 46; // for the numbers at the left
const margin = 8;
const axis_height = 22;
const most_lanes = 12;
const picture_lane_height = 120;
const label_interval_ms = 5000;
const redraw_ms = 90;

/** The colours of the page as it is now, for canvases know no style sheet. */
function page_colours() {
    const style = getComputedStyle(document.documentElement);
    const colour = (name) => style.getPropertyValue(`--${name}`).trim();
    return {
        back: colour("card"),
        text: colour("text"),
        muted: colour("muted"),
        grid: colour("grid"),
        line: colour("plot"),
        fill: colour("plot-fill"),
        cross: colour("cross"),
        font: `11px ${style.getPropertyValue("--font").trim() || "sans-serif"}`,
    };
}

/** A canvas's context, its room as large as its place on the screen; null while it has none. */
function fitted(canvas, { width, height }) {
    const ratio = window.devicePixelRatio || 1;
    if (width === 0 || height === 0)
        return null;
    const across = Math.round(width * ratio);
    const down = Math.round(height * ratio);
    if (canvas.width !== across || canvas.height !== down) {
        canvas.width = across;
        canvas.height = down;
    }
    const context = canvas.getContext("2d");
    context.setTransform(ratio, 0, 0, ratio, 0, 0);
    context.clearRect(0, 0, width, height);
    return { context, width, height };
}

/** Draws the columns as a line that holds each value until the next one. */
function trace_columns(context, made, x, y_of) {
    let is_down = false;
    for (let i = 0; i < made.last.length; ++i) {
        if (Number.isNaN(made.low[i])) {
            is_down = false;
            continue;
        }
        const begin = Number.isNaN(made.first[i]) ? made.low[i] : made.first[i];
        const points = [begin, made.low[i], made.high[i]];
        if (!is_down)
            context.moveTo(x + i, y_of(begin));
        for (const value of points)
            context.lineTo(x + i, y_of(value));
        is_down = !Number.isNaN(made.last[i]);
        if (is_down) {
            context.lineTo(x + i, y_of(made.last[i]));
            context.lineTo(x + i + 1, y_of(made.last[i]));
        }
    }
}

/** A small line without axes: the last minute. */
export function draw_spark(canvas, size, series, now_ms, least_span, colours) {
    const place = fitted(canvas, size);
    if (place === null)
        return;
    const { context, width, height } = place;
    const from = now_ms - 60000;
    const found = value_range(series, from, now_ms);
    if (found === null)
        return;
    const { low, high } = padded_range(found, least_span);
    const y_of = (value) => height - 1.5 - (value - low) / (high - low) * (height - 3);
    context.beginPath();
    trace_columns(context, columns(series, from, now_ms, Math.floor(width)), 0, y_of);
    context.strokeStyle = colours.line;
    context.lineWidth = 1.25;
    context.lineJoin = "round";
    context.stroke();
}

/** The plots of the page. An item is { key, title, unit, decimals, is_truth, words, series }. */
export class Plots {
    /** `changed` is called when something has to be drawn again, `now` tells the present. */
    constructor(now, changed, said) {
        this.now_ = now;
        this.changed_ = changed;
        this.said_ = said;
        this.view = new View();
        this.lanes_ = new Map();
        this.cross_ = null;
        this.drag_ = null;
        this.drawn_ms_ = 0;
        this.sizes_ = new Sizes(() => this.draw_soon_());
        this.colours = page_colours();
        this.place_ = by_id("plot-lanes");
        this.axis_ = by_id("plot-axis");
        this.removed = () => {};
        this.sizes_.watch(this.axis_);
        this.listen_();
    }

    has(key) { return this.lanes_.has(key); }

    get is_full() { return this.lanes_.size >= most_lanes; }

    /** Adds a lane below the others. */
    add(item) {
        if (this.has(item.key) || this.is_full)
            return;
        const lane = { item, frozen: this.view.is_paused ? item.series.copy() : null, told_ms: 0 };
        lane.canvas = element("canvas",
            { class: "lane-canvas", role: "img", "aria-label": item.title });
        lane.value = element("span", { class: "lane-value" }, " ");
        lane.range = element("span", { class: "lane-range" }, " ");
        const close = element("button", {
            type: "button", class: "lane-close", "aria-label": `Remove the plot of ${item.title}`,
            title: "Remove this plot", click: () => this.remove(item.key),
        }, "×");
        lane.root = element("div", { class: "lane", "data-lane": item.key },
            element("div", { class: "lane-head" },
                element("span", { class: "lane-title" }, item.title), lane.value, lane.range,
                close),
            lane.canvas);
        this.place_.append(lane.root);
        this.sizes_.watch(lane.canvas);
        this.lanes_.set(item.key, lane);
        this.show_count_();
    }

    remove(key) {
        const lane = this.lanes_.get(key);
        if (lane === undefined)
            return;
        this.sizes_.forget(lane.canvas);
        lane.root.remove();
        this.lanes_.delete(key);
        this.removed(key);
        this.show_count_();
    }

    show_count_() {
        by_id("plot-none").hidden = this.lanes_.size > 0;
        this.axis_.hidden = this.lanes_.size === 0;
        this.draw_soon_();
    }

    /** What a person does is seen at once. */
    draw_soon_() {
        this.drawn_ms_ = 0;
        this.changed_();
    }

    /** Draws everything as it is now, but not more often than anybody can follow. */
    draw() {
        if (performance.now() - this.drawn_ms_ < redraw_ms)
            return;
        this.drawn_ms_ = performance.now();
        const now = this.now_();
        const from = this.view.begin(now);
        const to = this.view.end(now);
        for (const lane of this.lanes_.values()) {
            const place = fitted(lane.canvas, this.sizes_.of(lane.canvas));
            if (place !== null)
                this.draw_lane_(place.context, lane, { x: 0, y: 0, ...place }, from, to);
        }
        const place = fitted(this.axis_, this.sizes_.of(this.axis_));
        if (place !== null)
            this.draw_axis_(place.context, { x: 0, y: 0, ...place }, from, to);
        for (const lane of this.lanes_.values())
            this.tell_lane_(lane, from, to, now);
    }

    series_(lane) { return lane.frozen ?? lane.item.series; }

    /** Words and numbers of a lane beside its picture. */
    tell_lane_(lane, from, to, now) {
        const series = this.series_(lane);
        const at = this.cross_ === null ? to : from + (to - from) * this.cross_;
        put_text(lane.value, this.text_(lane.item, series.at(at)));
        const range = value_range(series, from, to);
        const words = range === null || lane.item.is_truth
            ? "" : `${number_text(range.low, lane.item.decimals)} … ` +
                this.text_(lane.item, range.high);
        put_text(lane.range, words);
        if (Math.abs(now - lane.told_ms) > label_interval_ms) {
            lane.told_ms = now;
            put_attribute(lane.canvas, "aria-label", `${lane.item.title}, last ` +
                `${Math.round(this.view.span_ms / 1000)} seconds: ${words || "no numbers"}`);
        }
    }

    text_(item, value) {
        if (Number.isNaN(value))
            return "–";
        if (item.is_truth)
            return value ? item.words[1] : item.words[0];
        return number_text(value, item.decimals) + (item.unit ? ` ${item.unit}` : "");
    }

    draw_lane_(context, lane, box, from, to) {
        const { item } = lane;
        const series = this.series_(lane);
        const found = value_range(series, from, to);
        const range = item.is_truth ? { low: -0.15, high: 1.15 }
            : padded_range(found ?? { low: 0, high: 1 }, item.least_span);
        const x = box.x + gutter;
        const width = Math.max(Math.floor(box.width - gutter - margin), 1);
        const y_of = (value) => box.y + box.height - 3 -
            (value - range.low) / (range.high - range.low) * (box.height - 6);
        context.font = this.colours.font;
        this.draw_grid_(context, item, range, { ...box, x, width }, y_of, from, to);
        context.save();
        context.beginPath();
        context.rect(x, box.y, width, box.height);
        context.clip();
        const made = columns(series, from, to, width);
        context.beginPath();
        trace_columns(context, made, x, y_of);
        context.strokeStyle = this.colours.line;
        context.lineWidth = 1.5;
        context.lineJoin = "round";
        context.stroke();
        context.restore();
        if (this.cross_ !== null) {
            context.fillStyle = this.colours.cross;
            context.fillRect(x + this.cross_ * width, box.y, 1, box.height);
        }
    }

    draw_grid_(context, item, range, box, y_of, from, to) {
        const { colours } = this;
        context.fillStyle = colours.grid;
        for (const time of this.time_ticks_(from, to, box.width))
            context.fillRect(box.x + (time - from) / (to - from) * box.width, box.y, 1, box.height);
        context.textAlign = "right";
        context.textBaseline = "middle";
        const most = Math.max(3, Math.floor(box.height / 24));
        const values = item.is_truth ? [0, 1] : ticks(range.low, range.high, most);
        const decimals = tick_decimals(nice_step(range.high - range.low, most));
        for (const value of values) {
            const y = Math.round(y_of(value));
            context.fillStyle = colours.grid;
            context.fillRect(box.x, y, box.width, 1);
            if (y < box.y + 5 || y > box.y + box.height - 5)
                continue;
            context.fillStyle = colours.muted;
            const text = item.is_truth ? item.words[value] : number_text(value, decimals);
            context.fillText(text, box.x - 6, y, gutter - 8);
        }
    }

    time_ticks_(from, to, width) {
        const step = time_step(to - from, Math.max(2, width / 90));
        const found = [];
        for (let time = Math.ceil(from / step) * step; time <= to; time += step)
            found.push(time);
        return found;
    }

    draw_axis_(context, box, from, to) {
        const x = box.x + gutter;
        const width = Math.max(Math.floor(box.width - gutter - margin), 1);
        context.font = this.colours.font;
        context.textBaseline = "middle";
        context.textAlign = "center";
        const of_second = to - from < 5000 ? 1 : 0;
        const cross_x = this.cross_ === null ? null : x + this.cross_ * width;
        for (const time of this.time_ticks_(from, to, width)) {
            const at = x + (time - from) / (to - from) * width;
            if (at < x + 20 || at > x + width - 20 ||
                (cross_x !== null && Math.abs(at - cross_x) < 64))
                continue;
            context.fillStyle = this.colours.muted;
            context.fillText(clock_text(time, of_second), at, box.y + box.height / 2);
        }
        if (cross_x === null)
            return;
        context.fillStyle = this.colours.text;
        const at = Math.min(Math.max(cross_x, x + 34), x + width - 34);
        const time = from + (to - from) * this.cross_;
        context.fillText(clock_text(time, 1), at, box.y + box.height / 2);
    }

    // What a person does.

    listen_() {
        const place = this.place_;
        place.addEventListener("keydown", (event) => this.take_key_(event));
        place.addEventListener("pointerdown", (event) => this.grab_(event));
        place.addEventListener("pointermove", (event) => this.move_(event));
        for (const name of ["pointerup", "pointercancel"])
            place.addEventListener(name, () => { this.drag_ = null; });
        place.addEventListener("pointerleave", () => this.set_cross_(null));
        place.addEventListener("wheel", (event) => this.take_wheel_(event), { passive: false });
        by_id("plot-pause").addEventListener("click", () => this.toggle_pause());
        by_id("plot-zoom-in").addEventListener("click", () => this.zoom_(0.5));
        by_id("plot-zoom-out").addEventListener("click", () => this.zoom_(2));
        by_id("plot-csv").addEventListener("click", () => this.save_csv());
        by_id("plot-png").addEventListener("click", () => this.save_png());
        for (const button of document.querySelectorAll("[data-span]")) {
            button.addEventListener("click", () => {
                this.view.set_span(Number(button.dataset.span) * 1000);
                this.show_view_();
            });
        }
        window.matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => {
            this.colours = page_colours();
            this.draw_soon_();
        });
        this.show_view_();
    }

    toggle_pause() {
        if (this.view.is_paused)
            this.resume_();
        else
            this.pause_();
        this.show_view_();
    }

    pause_() {
        this.view.pause(this.now_());
        for (const lane of this.lanes_.values())
            lane.frozen = lane.frozen ?? lane.item.series.copy();
    }

    resume_() {
        this.view.resume();
        for (const lane of this.lanes_.values())
            lane.frozen = null;
    }

    zoom_(factor, anchor = this.view.is_paused ? 0.5 : 1) {
        this.view.zoom(factor, anchor);
        this.show_view_();
    }

    pan_(part) {
        this.pause_();
        this.view.pan(part, this.now_());
        this.show_view_();
    }

    show_view_() {
        const pause = by_id("plot-pause");
        put_attribute(pause, "aria-pressed", String(this.view.is_paused));
        put_text(pause, this.view.is_paused ? "Go on" : "Pause");
        for (const button of document.querySelectorAll("[data-span]")) {
            const is_it = Math.abs(Number(button.dataset.span) * 1000 - this.view.span_ms) < 1;
            put_attribute(button, "aria-pressed", String(is_it));
        }
        this.draw_soon_();
    }

    take_key_(event) {
        const acts = {
            ArrowLeft: () => this.pan_(-0.1),
            ArrowRight: () => this.pan_(0.1),
            "+": () => this.zoom_(0.5),
            "-": () => this.zoom_(2),
            " ": () => this.toggle_pause(),
        };
        const act = acts[event.key];
        if (act === undefined || event.target !== this.place_ || event.ctrlKey || event.altKey)
            return;
        event.preventDefault();
        act();
    }

    /** Where in the plot a pointer is, from 0 to 1. */
    part_(event) {
        const box = this.axis_.getBoundingClientRect();
        const width = box.width - gutter - margin;
        return Math.min(Math.max((event.clientX - box.left - gutter) / width, 0), 1);
    }

    grab_(event) {
        if (event.target.tagName !== "CANVAS" || event.button !== 0)
            return;
        this.drag_ = { x: event.clientX, moved: false };
        event.target.setPointerCapture(event.pointerId);
    }

    move_(event) {
        if (event.target.tagName !== "CANVAS")
            return;
        this.set_cross_(this.part_(event));
        if (this.drag_ === null)
            return;
        const moved = event.clientX - this.drag_.x;
        if (!this.drag_.moved && Math.abs(moved) < 4)
            return;
        this.drag_ = { x: event.clientX, moved: true };
        this.pan_(-moved / Math.max(this.axis_.clientWidth - gutter - margin, 1));
    }

    set_cross_(part) {
        this.cross_ = part;
        this.draw_soon_();
    }

    take_wheel_(event) {
        // Without a key it scrolls the page, as everywhere.
        if (!event.ctrlKey && !event.shiftKey && document.activeElement !== this.place_)
            return;
        event.preventDefault();
        this.zoom_((event.deltaY || event.deltaX) > 0 ? 1.25 : 0.8, this.part_(event));
    }

    // Files.

    save_csv() {
        const now = this.now_();
        const lanes = [...this.lanes_.values()];
        const title = ({ item }) => (item.unit ? `${item.title} (${item.unit})` : item.title);
        const rows = plot_rows(lanes.map((lane) => this.series_(lane)), this.view.begin(now),
            this.view.end(now));
        const lines = [["time", ...lanes.map(title)].map(csv_cell).join(",")];
        for (const [time, ...values] of rows) {
            const cells = values.map((value, i) =>
                (value === null ? "" : number_text(value, lanes[i].item.decimals)));
            lines.push([new Date(time).toISOString(), ...cells].join(","));
        }
        const name = `dov-panel-${file_time(now)}.csv`;
        save_file(name, new Blob([lines.join("\n"), "\n"], { type: "text/csv" }));
        this.said_(`Saved ${rows.length} rows as ${name}.`);
    }

    save_png() {
        const now = this.now_();
        const lanes = [...this.lanes_.values()];
        const width = Math.max(this.axis_.clientWidth, 800);
        const head = 20;
        const height = lanes.length * (picture_lane_height + head) + axis_height + margin;
        const picture = element("canvas");
        picture.width = width * 2;
        picture.height = height * 2;
        const context = picture.getContext("2d");
        context.scale(2, 2);
        context.fillStyle = this.colours.back;
        context.fillRect(0, 0, width, height);
        const from = this.view.begin(now);
        const to = this.view.end(now);
        lanes.forEach((lane, i) => {
            const y = i * (picture_lane_height + head) + head;
            context.font = this.colours.font;
            context.fillStyle = this.colours.text;
            context.textAlign = "left";
            context.textBaseline = "middle";
            const text = `${lane.item.title}   ${lane.range.textContent}`;
            context.fillText(text, gutter, y - head / 2);
            const box = { x: 0, y, width, height: picture_lane_height };
            this.draw_lane_(context, lane, box, from, to);
        });
        const y = height - axis_height - margin / 2;
        this.draw_axis_(context, { x: 0, y, width, height: axis_height }, from, to);
        const name = `dov-panel-${file_time(now)}.png`;
        picture.toBlob((blob) => {
            save_file(name, blob);
            this.said_(`Saved the plots as ${name}.`);
        }, "image/png");
    }
}
