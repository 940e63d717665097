// The terminal: every object of the catalogue with its values, and what of it can be switched.

import { Details } from "./details.js";
import { age_text, dash, event_text, value_text } from "./format.js";
import { Paced, Sizes, by_id, element, put_attribute, put_text } from "./elements.js";
import { draw_spark } from "./plots.js";
import { Series } from "./series.js";

/** What a value beside an object's first one is called. */
const member_labels = {
    is_enabled: "enabled",
    get_mode: "mode",
    get_buzzer_file: "file",
};

/** What is plotted until somebody chooses: by the ends of the paths. */
const plotted_at_first = [
    "/device/io/input/analog/0", "/device/io/input/voltage/0", "/device/io/input/temperature/0",
];

const plotted_types = "bdyu";

/** A row of "values" that tells a signal has so many members, and one of a value fewer. */
const signal_members = 5;

export class Terminal {
    /** `ask` sends a request and brings its answer; `changed` asks for a refresh. */
    constructor({ ask, changed, said, plots, now }) {
        this.ask_ = ask;
        this.changed_ = changed;
        this.said_ = said;
        this.plots_ = plots;
        this.now_ = now;
        this.objects_ = [];
        this.by_path_ = new Map();
        this.dirty_ = new Set();
        this.dirty_events_ = new Set();
        this.controls_ = [];
        this.catalogue_ = "";
        this.drawn_ms_ = 0;
        this.sizes_ = new Sizes(changed);
        this.details_ = new Details({ ask, said, now });
        plots.removed = (key) => this.show_plotted_(key, false);
        by_id("object-filter").addEventListener("input",
            (event) => this.filter_(event.target.value));
    }

    /** Takes the catalogue. The page is built anew only when it is another one. */
    set_catalogue(objects, kinds) {
        const catalogue = JSON.stringify([objects, kinds]);
        const is_new = catalogue !== this.catalogue_;
        if (is_new) {
            this.catalogue_ = catalogue;
            this.build_(objects, new Map(kinds.map((kind) => [kind.name, kind])));
            for (const object of this.objects_) {
                if (plotted_at_first.some((end) => object.path.endsWith(end)))
                    this.plot_(object);
            }
        }
    }

    /** A connection has come, and with it somebody who has listened and counted all the while. */
    renew() {
        for (const object of this.objects_) {
            object.has_history = false;
            for (const signal of object.signals.values())
                signal.count = 0;
            if (object.event !== null)
                this.dirty_events_.add(object);
        }
        this.fetch_histories_();
    }

    /**
     * Takes values, [object, member, value, age_ms] each, and signals, [object, name, arguments,
     * age_ms, count] each.
     */
    take_values(time_ms, rows) {
        for (const row of rows) {
            if (row.length === signal_members)
                this.take_signal_(time_ms, row);
            else
                this.take_value_(time_ms, row);
        }
        this.changed_();
    }

    take_value_(time_ms, [index, member, value, age_ms]) {
        const shown = this.objects_[index]?.members.get(member);
        if (shown === undefined)
            return;
        shown.value = value;
        shown.changed_ms = time_ms - age_ms;
        if (shown.series !== null)
            shown.series.add(shown.changed_ms, value === null ? NaN : Number(value));
        this.dirty_.add(shown);
    }

    take_signal_(time_ms, [index, name, told, age_ms, count]) {
        const object = this.objects_[index];
        const signal = object?.signals.get(name);
        if (signal === undefined)
            return;
        Object.assign(signal, { told, count, heard_ms: time_ms - age_ms });
        if (object.event !== null)
            this.dirty_events_.add(object);
    }

    take_history(index, member, points) {
        this.objects_[index]?.members.get(member)?.series?.put_before(points);
        this.changed_();
    }

    /** The service has gone: no value is known any more. What it has signalled, it has. */
    forget() {
        const now = this.now_();
        for (const object of this.objects_) {
            for (const shown of object.members.values()) {
                if (shown.value === null)
                    continue;
                shown.value = null;
                shown.series?.add(now, NaN);
                this.dirty_.add(shown);
            }
        }
        this.changed_();
    }

    /** Whether something can be switched. */
    allow(is_allowed) {
        for (const control of this.controls_)
            control.disabled = !is_allowed;
        this.details_.allow(is_allowed);
    }

    /** The text of an object's first value. */
    text_at(path) {
        const first = this.by_path_.get(path)?.first;
        return first === undefined || first === null ? dash : value_text(first.row, first.value);
    }

    /** Brings changed values to the screen. */
    draw() {
        for (const shown of this.dirty_)
            this.show_value_(shown);
        this.dirty_.clear();
        for (const { event } of this.dirty_events_)
            show_event(event);
        this.dirty_events_.clear();
        const now = this.now_();
        if (Math.abs(now - this.drawn_ms_) < 400)
            return;
        this.drawn_ms_ = now;
        this.draw_ages_(now);
        this.draw_sparks_(now);
        this.details_.draw();
    }

    draw_ages_(now) {
        for (const object of this.objects_) {
            const since = latest_ms(object);
            put_text(object.age, since === null ? "" : age_text(now - since));
        }
    }

    draw_sparks_(now) {
        for (const object of this.objects_) {
            if (object.spark !== null && object.first.series.size > 0)
                draw_spark(object.spark, this.sizes_.of(object.spark), object.first.series, now,
                    object.kind.spark_span, this.plots_.colours);
        }
    }

    show_value_(shown) {
        put_text(shown.text, value_text(shown.row, shown.value));
        if (shown.row.type === "b") {
            const state = shown.value === null ? "none"
                : shown.value === shown.row.good ? "good" : "other";
            put_attribute(shown.text, "data-lamp-state", state);
        }
        for (const control of shown.controls)
            control.show(shown.value);
    }

    // Building.

    build_(objects, kinds) {
        const place = by_id("objects");
        place.replaceChildren();
        this.objects_ = [];
        this.by_path_.clear();
        this.dirty_.clear();
        this.dirty_events_.clear();
        this.details_.close();
        this.controls_ = [];
        const cards = new Map();
        objects.forEach((row) => {
            if (!cards.has(row.section))
                cards.set(row.section, this.card_(place, row.section));
            const object = this.object_(row, kinds.get(row.kind));
            this.objects_.push(object);
            this.by_path_.set(object.path, object);
            cards.get(row.section).append(object.root);
        });
        by_id("object-count").textContent = `${objects.length} objects`;
    }

    card_(place, title) {
        const id = `section-${title.toLowerCase().replace(/[^a-z]+/g, "-")}`;
        const list = element("ul", { class: "rows", role: "list" });
        if (title === "LEDs")
            list.classList.add("small-rows");
        place.append(element("div", { class: "card", role: "group", "aria-labelledby": id },
            element("h3", { id }, title), list));
        return list;
    }

    object_(row, kind) {
        const object = { ...row, kind, members: new Map(), signals: new Map(), spark: null };
        for (const value of kind.values)
            this.add_member_(object, value.getter ?? value.signal, value);
        for (const { name, sent } of kind.signals)
            object.signals.set(name, { name, sent, told: null, count: 0, heard_ms: 0 });
        [object.first = null] = object.members.values();
        object.event = object.first === null ? this.event_(object) : null;
        object.age = element("span", { class: "age", "data-age": row.path });
        object.root = element("li", { class: `row row-${kind.name}` });
        this.fill_row_(object);
        return object;
    }

    /** The signal of an object that has nothing else. */
    event_(object) {
        const [signal] = object.signals.values();
        signal.text = element("span", {
            class: "value", "data-object": object.path, "data-member": signal.name,
        });
        show_event(signal);
        return signal;
    }

    add_member_(object, member, row) {
        const is_plotted = plotted_types.includes(row.type);
        const text = element("span", {
            class: "value", "data-object": object.path, "data-member": member,
        }, dash);
        if (row.type === "b")
            text.dataset.lampState = "none";
        object.members.set(member, {
            member, row, text, controls: [], value: null, changed_ms: null,
            series: is_plotted ? new Series() : null,
        });
    }

    fill_row_(object) {
        const { kind, root, first } = object;
        const about = `${object.path}\n${kind.interface}`;
        const can_plot = first !== null && first.series !== null && first.row.getter !== null;
        if (can_plot && kind.name !== "led") {
            object.plot = element("button", {
                type: "button", class: "row-title plot-button", title: `Plot\n${about}`,
                "data-plot": object.path, "aria-pressed": "false",
                "aria-label": `Plot ${object.title}`, click: () => this.toggle_plot_(object),
            }, element("span", { class: "plot-mark", "aria-hidden": "true" }), object.title);
            root.append(object.plot);
        } else {
            root.append(element("span", { class: "row-title", title: about }, object.title));
        }
        if (kind.spark_span > 0) {
            object.spark = element("canvas", { class: "spark", "aria-hidden": "true" });
            this.sizes_.watch(object.spark);
            root.append(object.spark);
        }
        const put = (shown) => {
            const control = this.control_of_(object, shown.member);
            root.append(...(control === null ? [] : [control]), shown.text);
        };
        if (first === null)
            root.append(object.event.text);
        else
            put(first);
        root.append(object.age, this.details_button_(object));
        for (const shown of [...object.members.values()].slice(1)) {
            root.append(element("span", { class: "row-more" },
                member_labels[shown.member] ?? shown.member));
            put(shown);
        }
    }

    details_button_(object) {
        const button = element("button", {
            type: "button", class: "details-button", "data-details": object.path,
            "aria-expanded": "false", "aria-controls": "details", title: "Details",
            "aria-label": `Details of ${object.section}: ${object.title}`,
            click: () => this.details_.toggle(object, button),
        });
        return button;
    }

    /** What switches a value; null for what only shows. */
    control_of_(object, member) {
        switch (`${object.kind.name} ${member}`) {
        case "digital_output is_on":
            return this.switch_(object, member, "on", "off", "on");
        case "digital_output is_enabled":
            return this.switch_(object, member, "enable", "disable", "enabled");
        case "backlight get_brightness":
            return this.brightness_(object);
        case "frequency_output changed":
            return this.number_(object, member, "set", 65535);
        case "operating_voltage get_operating_voltage":
            return this.number_(object, member, "set_operating_voltage", 255);
        default:
            return null;
        }
    }

    /** A control that follows a value, unless somebody has it in hand. */
    control_(object, member, input, put) {
        this.controls_.push(input);
        object.members.get(member).controls.push({
            show: (value) => {
                if (value !== null && !input.matches(":active") && input.dataset.busy !== "true")
                    put(value);
            },
        });
    }

    switch_(object, member, yes, no, label) {
        const input = element("input", {
            type: "checkbox", role: "switch", "data-call": `${object.path} ${yes}`,
            "aria-label": `${object.title} ${label}`,
            change: () => this.call_(object, input.checked ? yes : no, [],
                () => { input.checked = object.members.get(member).value === true; }),
        });
        this.control_(object, member, input, (value) => { input.checked = value; });
        return element("span", { class: "switch row-control" }, input);
    }

    brightness_(object) {
        const paced = new Paced((value) => this.call_(object, "set_brightness", [value]));
        const input = element("input", {
            type: "range", class: "row-control", min: "0", max: "100", step: "1",
            "aria-label": "Brightness, percent",
            "data-call": `${object.path} set_brightness`,
            input: () => paced.put(Number(input.value)),
        });
        this.control_(object, "get_brightness", input, (value) => { input.value = value; });
        return input;
    }

    number_(object, member, method, most) {
        const input = element("input", {
            type: "number", class: "row-control", min: "0", max: String(most), step: "1",
            placeholder: "set",
            "aria-label": `Set ${object.title}`, "data-call": `${object.path} ${method}`,
            change: () => {
                if (input.value !== "" && input.checkValidity())
                    this.call_(object, method, [Number(input.value)]);
                else
                    this.said_(`${object.title}: a whole number from 0 to ${most}.`, true);
            },
        });
        this.control_(object, member, input, () => {});
        return input;
    }

    async call_(object, method, call_arguments, undo = () => {}) {
        const answer = await this.ask_({
            type: "call", path: object.path, interface: object.kind.interface, method,
            arguments: call_arguments,
        });
        if (answer.ok)
            return;
        undo();
        this.said_(`${object.title}: ${answer.error}`, true);
    }

    // Plots and history.

    toggle_plot_(object) {
        if (this.plots_.has(object.path))
            this.plots_.remove(object.path);
        else if (this.plots_.is_full)
            this.said_("There is no room for more plots. Remove one first.", true);
        else
            this.plot_(object);
    }

    plot_(object) {
        const { row, series } = object.first;
        this.plots_.add({
            key: object.path, title: object.title, unit: row.unit, decimals: row.decimals,
            is_truth: row.type === "b", words: [row.no, row.yes], series,
            least_span: Math.max(object.kind.spark_span, 10 ** -row.decimals * 4),
        });
        this.show_plotted_(object.path, true);
        this.fetch_history_(object);
    }

    show_plotted_(path, is_plotted) {
        const button = this.by_path_.get(path)?.plot;
        if (button !== undefined)
            put_attribute(button, "aria-pressed", String(is_plotted));
    }

    /** What was before the page came: one after the other, what is plotted first. */
    async fetch_histories_() {
        const wanted = this.objects_.filter((object) =>
            object.spark !== null || this.plots_.has(object.path));
        wanted.sort((a, b) => this.plots_.has(b.path) - this.plots_.has(a.path));
        for (const object of wanted)
            await this.fetch_history_(object);
    }

    fetch_history_(object) {
        if (object.has_history)
            return Promise.resolve();
        object.has_history = true;
        return this.ask_({
            type: "history", object: this.objects_.indexOf(object), member: object.first.member,
        });
    }

    filter_(text) {
        const words = text.toLowerCase().split(/\s+/);
        const passes = (object) => words.every((word) =>
            `${object.title} ${object.section} ${object.path}`.toLowerCase().includes(word));
        for (const object of this.objects_)
            object.root.hidden = !passes(object);
        for (const card of by_id("objects").children)
            card.hidden = card.querySelector("li:not([hidden])") === null;
    }
}

function show_event({ text, name, told, count }) {
    put_text(text, event_text(name, told, count));
    put_attribute(text, "data-none", String(count === 0));
}

/** When an object's value has changed, or its event has come; null for not yet. */
function latest_ms({ first, event }) {
    if (event !== null)
        return event.count > 0 ? event.heard_ms : null;
    return first.value === null ? null : first.changed_ms;
}
