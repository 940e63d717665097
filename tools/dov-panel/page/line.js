// The line: frames as they pass, decoded and filtered, and what is counted of them.

import { clock_text, count_text, dash, identifier_text, number_text } from "./format.js";
import { Sizes, by_id, element, put_attribute, put_text } from "./elements.js";
import { Frame_store } from "./frame_store.js";

/** So many rows can be scrolled back before it holds; then all of them. */
const rows_above = 100;

/** What is counted, in the names of "dov-line stats --json"; the second kind is wrong above 0. */
const counters = [
    { name: "host_frames", title: "Frames of the host" },
    { name: "controller_frames", title: "Frames of the controller" },
    { name: "unanswered", title: "Unanswered", is_bad: true },
    { name: "late_answers", title: "Late answers", is_bad: true },
    { name: "checksum_errors", title: "Wrong checksums", is_bad: true },
    { name: "address_errors", title: "Wrong addresses", is_bad: true },
    { name: "skipped_bytes", title: "Skipped bytes", is_bad: true },
    { name: "unknown_identifiers", title: "Unknown messages", is_bad: true },
    { name: "hang_ups", title: "Hang-ups", is_bad: true },
    { name: "missing_records", title: "Missing records", is_bad: true },
    { name: "response.p50_ms", title: "Answer, half within", unit: "ms", decimals: 2 },
    { name: "response.p99_ms", title: "Answer, 99 % within", unit: "ms", decimals: 2 },
    { name: "response.most_ms", title: "Slowest answer", unit: "ms", decimals: 2 },
    { name: "digest.asked_ms", title: "Digest asked", unit: "ms", decimals: 0 },
    { name: "digest.kept_ms", title: "Digest kept", unit: "ms", decimals: 1 },
    { name: "host_load", title: "Load by the host", unit: "%", decimals: 1, scale: 100 },
    {
        name: "controller_load", title: "Load by the controller", unit: "%", decimals: 1,
        scale: 100,
    },
];

const fault_texts = {
    checksum: "wrong checksum",
    skipped: "skipped bytes",
    address: "wrong addresses",
    unknown: "unknown message",
    unanswered: "no answer",
    late: "late answer",
    "hang-up": "hang-up",
    connection: "connection",
    gap: "missing records",
};

const cell_names = ["n", "time", "from", "id", "name", "text", "response", "fault", "bytes"];

/** A cell's text for each name. */
function cell_texts(frame) {
    return {
        n: String(frame.n),
        time: clock_text(frame.time),
        from: frame.from === "host" ? "→ host" : "← controller",
        id: identifier_text(frame.id),
        name: frame.name ?? "",
        text: frame.text ?? "",
        response: typeof frame.response_ms === "number"
            ? `${number_text(frame.response_ms, 2)} ms` : "",
        fault: frame.fault ? fault_texts[frame.fault] ?? frame.fault : "",
        bytes: (frame.bytes ?? "").replace(/(..)(?=.)/g, "$1 "),
    };
}

export class Line_view {
    constructor({ changed }) {
        this.changed_ = changed;
        this.store_ = new Frame_store();
        this.counters_ = null;
        this.dropped_ = 0;
        this.is_dirty_ = false;
        this.row_height_ = 24;
        this.heights_ = "";
        this.rows_ = [];
        this.place_ = by_id("frames-place");
        this.sizes_ = new Sizes(() => this.resized_());
        this.sizes_.watch(this.place_);
        this.body_ = document.querySelector("#frames tbody");
        this.above_ = this.spacer_();
        this.below_ = this.spacer_();
        this.body_.append(this.above_.row, this.below_.row);
        this.build_counters_();
        this.listen_();
    }

    take_frames(frames, dropped) {
        this.dropped_ += dropped ?? 0;
        if (this.store_.add(frames))
            this.offer_names_();
        this.ask_for_drawing_();
    }

    take_counters(counted) {
        this.counters_ = counted;
        this.ask_for_drawing_();
    }

    draw() {
        if (!this.is_dirty_)
            return;
        this.is_dirty_ = false;
        this.draw_counters_();
        this.draw_frames_();
    }

    ask_for_drawing_() {
        this.is_dirty_ = true;
        this.changed_();
    }

    // Counters.

    build_counters_() {
        const place = by_id("counters");
        for (const counter of counters) {
            counter.text = element("dd", { "data-counter": counter.name }, dash);
            place.append(element("div", { class: "counter" },
                element("dt", {}, counter.title), counter.text));
        }
    }

    draw_counters_() {
        if (this.counters_ === null)
            return;
        for (const counter of counters) {
            const value = counter.name.split(".")
                .reduce((part, name) => part?.[name], this.counters_);
            put_text(counter.text, counter_text(counter, value));
            if (counter.is_bad)
                put_attribute(counter.text, "data-bad", String(value > 0));
        }
        if (by_id("answers-block").open)
            this.draw_answers_(Object.entries(this.counters_.answers ?? {}));
    }

    draw_answers_(answers) {
        const body = document.querySelector("#answers tbody");
        while (body.rows.length < answers.length)
            body.append(element("tr", {}, ...Array.from({ length: 6 }, () => element("td"))));
        while (body.rows.length > answers.length)
            body.lastElementChild.remove();
        answers.forEach(([id, answer], i) => {
            const name = this.counters_.identifiers?.[id]?.name ?? "";
            const texts = [`${id} ${name.replace(/_/g, " ")}`, count_text(answer.count),
                number_text(answer.p50_ms, 2), number_text(answer.p99_ms, 2),
                number_text(answer.most_ms, 2), count_text(answer.unanswered + answer.late)];
            texts.forEach((text, column) => put_text(body.rows[i].cells[column], text));
        });
    }

    // Frames.

    spacer_() {
        const cell = element("td", { colspan: "1" });
        return { cell, row: element("tr", { class: "spacer", "aria-hidden": "true" }, cell) };
    }

    /** Shows the frames that are in sight, in rows that are used again. */
    draw_frames_() {
        const frames = this.store_.shown;
        const room = Math.ceil(this.sizes_.of(this.place_).height / this.row_height_) + 2;
        const newest = Math.max(frames.length - room, 0);
        const first = this.store_.is_held ? Math.min(this.first_in_sight_(), newest) : newest;
        const shown = frames.slice(first, first + room);
        this.fit_rows_(shown.length);
        shown.forEach((frame, i) => this.show_frame_(this.rows_[i], frame, first + i));
        put_attribute(by_id("frames"), "aria-rowcount", String(frames.length + 1));
        if (this.store_.is_held)
            this.set_heights_(first, frames.length - first - shown.length);
        else
            this.follow_(first, shown.length);
        this.tell_frames_(frames.length);
    }

    first_in_sight_() {
        return Math.max(Math.floor(this.place_.scrollTop / this.row_height_) - 1, 0);
    }

    /** The newest are at the end. Where nothing has changed there is nothing to scroll. */
    follow_(first, count) {
        if (this.set_heights_(Math.min(first, rows_above), 0, count))
            this.place_.scrollTop = this.place_.scrollHeight;
    }

    /** Leaves room for the rows that are not there. Whether that is another one than before. */
    set_heights_(above, below, count = 0) {
        const heights = `${above} ${below} ${count} ${this.row_height_}`;
        if (heights === this.heights_)
            return false;
        this.heights_ = heights;
        this.above_.cell.style.height = `${above * this.row_height_}px`;
        this.below_.cell.style.height = `${below * this.row_height_}px`;
        return true;
    }

    resized_() {
        const text = getComputedStyle(this.place_).getPropertyValue("--row-height");
        this.row_height_ = Number.parseFloat(text) || this.row_height_;
        this.heights_ = "";
        this.ask_for_drawing_();
    }

    fit_rows_(count) {
        while (this.rows_.length < count) {
            const cells = cell_names.map((name) =>
                element("td", { class: `cell-${name}`, role: "cell" }));
            const row = element("tr", { role: "row" }, ...cells);
            this.below_.row.before(row);
            this.rows_.push({ row, cells, frame: null });
        }
        while (this.rows_.length > count)
            this.rows_.pop().row.remove();
    }

    show_frame_(made, frame, index) {
        put_attribute(made.row, "aria-rowindex", String(index + 2));
        if (made.frame === frame)
            return;
        made.frame = frame;
        const texts = cell_texts(frame);
        cell_names.forEach((name, i) => put_text(made.cells[i], texts[name]));
        put_attribute(made.row, "data-n", String(frame.n));
        put_attribute(made.row, "data-from", frame.from ?? "");
        put_attribute(made.row, "data-faulty", frame.fault ?? "");
        made.row.title = [texts.name, texts.text, texts.bytes].filter((text) => text).join("\n");
    }

    tell_frames_(count) {
        const parts = [`${count_text(count)} of ${count_text(this.store_.size)} frames`];
        if (this.store_.is_held && this.store_.arrived_since_held > 0)
            parts.push(`${count_text(this.store_.arrived_since_held)} new`);
        if (this.dropped_ > 0)
            parts.push(`${count_text(this.dropped_)} not shown, too many`);
        put_text(by_id("frame-count"), parts.join(", "));
        by_id("frames-none").hidden = count > 0;
    }

    offer_names_() {
        const picker = by_id("frame-name");
        const chosen = picker.value;
        const names = [...this.store_.names].sort();
        picker.replaceChildren(element("option", { value: "" }, "all messages"),
            ...names.map((name) => element("option", { value: name }, name)));
        picker.value = chosen;
    }

    // What a person does.

    listen_() {
        const { filter } = this.store_;
        const follow = (id, take) => by_id(id).addEventListener("input", (event) => {
            take(event.target);
            this.store_.filter_again();
            this.ask_for_drawing_();
        });
        follow("frame-filter", (input) => { filter.text = input.value; });
        follow("frame-from", (input) => { filter.from = input.value; });
        follow("frame-name", (input) => { filter.name = input.value; });
        follow("frame-faults", (input) => { filter.only_faults = input.checked; });
        by_id("frame-hold").addEventListener("click", () => {
            if (this.store_.is_held)
                this.hold_(false);
            else
                this.hold_at_(0);
        });
        by_id("frame-bytes").addEventListener("input", (event) =>
            by_id("frames").classList.toggle("with-bytes", event.target.checked));
        by_id("frame-clear").addEventListener("click", () => {
            this.store_.clear();
            this.hold_(false);
        });
        this.place_.addEventListener("scroll", () => this.scrolled_());
        by_id("answers-block").addEventListener("toggle", () => this.ask_for_drawing_());
    }

    hold_(is_held) {
        if (is_held)
            this.store_.hold();
        else
            this.store_.release();
        const button = by_id("frame-hold");
        put_attribute(button, "aria-pressed", String(is_held));
        put_text(button, is_held ? "Follow" : "Hold");
        this.heights_ = "";
        this.ask_for_drawing_();
    }

    /** Whoever scrolls up wants to read. */
    scrolled_() {
        const { scrollTop, scrollHeight, clientHeight } = this.place_;
        const below = scrollHeight - scrollTop - clientHeight;
        if (this.store_.is_held)
            this.ask_for_drawing_();
        else if (below > 2 * this.row_height_ && this.store_.shown.length > 0)
            this.hold_at_(below);
    }

    /** Holds, with the same frames in sight: now there is room for all that are above them. */
    hold_at_(below) {
        this.hold_(true);
        const count = this.store_.shown.length;
        this.set_heights_(count - this.rows_.length, 0);
        this.place_.scrollTop = this.place_.scrollHeight - this.place_.clientHeight - below;
    }
}

function counter_text(counter, value) {
    if (typeof value !== "number")
        return dash;
    if (counter.decimals === undefined)
        return count_text(value);
    return `${number_text(value * (counter.scale ?? 1), counter.decimals)} ${counter.unit}`;
}
