// The vehicle: everything that dov-controller can be told to be, to measure and to do wrong.
//
// What is sent are the words that dov-controller(1) takes on its standard input; what is shown is
// the state that it tells.

import { milliseconds_word, number_text } from "./format.js";
import { Paced, by_id, element, put_attribute, put_text } from "./elements.js";

const held_ms = 400;

const waveforms = ["constant", "sine", "triangle", "square", "ramp", "random"];

/**
 * The inputs by the beginning of their names, in the order in which they are shown: what a slider
 * spans as long as nobody asks for more, and the object of the bus that tells the same.
 */
const input_groups = [
    { name: "analog", title: "Measured inputs", usual: [0, 5000], bus: "analog" },
    { name: "light", title: "Measured inputs", usual: [0, 5000], bus: "ambientlight" },
    { name: "frequency", title: "Measured inputs", usual: [0, 2000], bus: "frequency" },
    { name: "digital", title: "Digital inputs", usual: [0, 1], bus: "digital" },
    { name: "voltage", title: "Supply voltages", usual: [0, 6000], bus: "voltage" },
    { name: "temperature", title: "Temperatures", usual: [-40, 125], bus: "temperature" },
];
const usual_of = { voltage0: [0, 36000], voltage1: [0, 18000] };

/** Every lasting fault: its words, and what of the controller's state is its own. */
const faults = [
    {
        name: "silence", title: "Silence", help: "Nothing is sent. Commands are still carried out.",
        fields: [], on: () => "silence on", off: "silence off", is_on: (state) => state.silence,
    },
    {
        name: "late", title: "Late answers", help: "Answers come so much later.",
        fields: [{ name: "late", unit: "ms", least: 1, most: 600000, start: 500, of: "late_ms" }],
        on: ([time]) => `late ${milliseconds_word(time)}`, off: "late off",
        is_on: (state) => state.late_ms > 0,
    },
    {
        name: "corrupt", title: "Wrong checksums", help: "In so many frames of a hundred.",
        fields: [{
            name: "corrupt", unit: "%", least: 0.1, most: 100, start: 20, of: "corrupt_percent",
        }],
        on: ([percent]) => `corrupt rate ${percent}`, off: "corrupt off",
        is_on: (state) => state.corrupt_percent > 0,
    },
    {
        name: "split", title: "Frames in pieces", help: "Of so many bytes, so long apart.",
        fields: [
            { name: "split", unit: "bytes", least: 1, most: 12, start: 5, of: "split_size" },
            { name: "split gap", unit: "ms", least: 0, most: 60000, start: 20, of: "split_gap_ms" },
        ],
        on: ([size, gap]) => `split ${size} ${milliseconds_word(gap)}`, off: "split off",
        is_on: (state) => state.split_size > 0,
    },
    {
        name: "addresses", title: "Wrong addresses", help: "Source and destination of every frame.",
        fields: [
            { name: "addresses", before: "from", unit: "", least: 0, most: 255, start: 1 },
            { name: "addresses to", before: "to", unit: "", least: 0, most: 255, start: 2 },
        ],
        on: ([from, to]) => `addresses ${from} ${to}`, off: "addresses off",
        is_on: (state) => Array.isArray(state.addresses),
    },
    {
        name: "double", title: "Answers twice", help: "Every answer is sent two times.",
        fields: [], on: () => "double on", off: "double off", is_on: (state) => state.double,
    },
    {
        name: "disconnect", title: "Line cut",
        help: "The line hangs up until it is switched off here.",
        fields: [], on: () => "disconnect", off: "connect", is_on: (state) => state.disconnected,
    },
];

/** Every fault of a moment. */
const bursts = [
    {
        name: "garbage", title: "Garbage", help: "A burst of random bytes.", act: "Send",
        field: { name: "garbage", unit: "bytes", least: 1, most: 4096, start: 64 },
        words: (count) => `garbage ${count}`,
    },
    {
        name: "corrupt next", title: "Next frames wrong", help: "Wrong checksums in so many.",
        act: "Do",
        field: { name: "corrupt next", unit: "frames", least: 1, most: 1000000, start: 3 },
        words: (count) => `corrupt next ${count}`,
    },
];

/** What the controller tells of itself, and takes as one word with one argument. */
const identity = [
    { word: "hardware", title: "Hardware revision", of: (state) => state.hardware, most: 255 },
    { word: "firmware", title: "Firmware", of: (state) => state.firmware },
    { word: "unique-id", title: "Unique id", of: (state) => state.unique_id },
    { word: "oem", title: "OEM code", of: (state) => state.oem, most: 255 },
    { word: "line15", title: "Line-15 mode", of: (state) => state.line15, most: 255 },
    {
        word: "operating-voltage", title: "Supply code", of: (state) => state.operating_voltage,
        most: 255,
    },
];

/**
 * A control that shows what the controller tells, but not while somebody has it in hand, nor before
 * what it has sent is answered: dov-panel tells first what came of it.
 */
class Held_control {
    constructor(input, put, changed) {
        this.input_ = input;
        this.put_ = put;
        this.changed_ = changed;
        this.touched_ms_ = -Infinity;
        this.unanswered_ = 0;
        this.shown_ = undefined;
        this.is_typed_ = input.type === "text" || input.type === "number";
        if (this.is_typed_)
            input.addEventListener("focus", () => input.select());
        input.addEventListener("blur", () => this.show_again_());
    }

    touch() {
        this.touched_ms_ = performance.now();
        this.shown_ = undefined;
        setTimeout(this.changed_, held_ms + 10);
    }

    hold() { ++this.unanswered_; }

    answered() {
        --this.unanswered_;
        this.show_again_();
    }

    show_again_() {
        this.shown_ = undefined;
        this.changed_();
    }

    show(value) {
        if ((this.is_typed_ && document.activeElement === this.input_) ||
            this.input_.matches(":active") || this.unanswered_ > 0 ||
            performance.now() - this.touched_ms_ < held_ms || value === this.shown_)
            return;
        this.shown_ = value;
        this.put_(value);
    }
}

export class Vehicle {
    /** `ask` sends a request and brings its answer; `bus_text` tells an object's value as text. */
    constructor({ ask, changed, said, bus_text }) {
        this.ask_ = ask;
        this.changed_ = changed;
        this.said_ = said;
        this.bus_text_ = bus_text;
        this.state_ = null;
        this.is_dirty_ = false;
        this.inputs_ = new Map();
        this.shown_ = [];
        this.build_controls_();
        this.build_faults_();
        this.build_identity_();
        this.listen_();
    }

    get has_state() { return this.state_ !== null; }

    /** Takes what the controller tells of itself; null when it is gone. */
    take_state(state) {
        this.state_ = state;
        if (state === null)
            return;
        if (this.inputs_.size === 0) {
            this.build_inputs_(state.inputs);
            this.offer_generations_(state.generations);
        }
        this.ask_for_drawing_();
    }

    allow(is_allowed) {
        by_id("vehicle-controls").disabled = !is_allowed;
    }

    draw() {
        this.draw_bus_();
        if (!this.is_dirty_ || this.state_ === null)
            return;
        this.is_dirty_ = false;
        for (const show of this.shown_)
            show(this.state_);
        for (const input of this.state_.inputs)
            this.show_input_(input);
        this.show_lamps_(this.state_);
        const count = faults.filter((fault) => fault.is_on(this.state_.faults)).length;
        const text = count === 0 ? "no faults" : count === 1 ? "1 fault on" : `${count} faults on`;
        put_text(by_id("fault-count"), text);
        put_attribute(by_id("fault-count"), "data-count", String(count));
    }

    ask_for_drawing_() {
        this.is_dirty_ = true;
        this.changed_();
    }

    /** Sends words to the controller. Whether it took them. */
    async bench_(line) {
        const answer = await this.ask_({ type: "bench", line });
        if (!answer.ok)
            this.said_(`${line}: ${answer.error}`, true);
        return answer.ok;
    }

    /** A control that sends words and shows what `of` tells of the state. */
    bind_(input, of, put) {
        const control = new Held_control(input, put, () => this.ask_for_drawing_());
        this.shown_.push((state) => control.show(of(state)));
        return control;
    }

    /** Sends words; `controls` keep what they have until these are answered. */
    async send_(controls, line) {
        controls.forEach((control) => control.hold());
        await this.bench_(line);
        controls.forEach((control) => control.answered());
    }

    // Ignition and button.

    build_controls_() {
        for (const [word, of, yes, no] of [
            ["ignition", (state) => state.ignition, "on", "off"],
            ["button", (state) => state.button_down, "down", "up"],
        ]) {
            const input = document.querySelector(`[data-word="${word}"]`);
            const control = this.bind_(input, of, (value) => { input.checked = value; });
            input.addEventListener("change", () =>
                this.send_([control], `${word} ${input.checked ? yes : no}`));
        }
        const press = document.querySelector("[data-word=\"button press\"]");
        press.addEventListener("click", () => this.bench_("button press"));
    }

    show_lamps_(state) {
        state.outputs.forEach((output, i) => {
            const lamp = document.querySelector(`[data-lamp="output ${i}"]`);
            const is_on = output.enabled ? String(output.on) : "disabled";
            put_attribute(lamp, "data-on", is_on);
            put_text(lamp.lastElementChild, { true: "on", false: "off" }[is_on] ?? is_on);
        });
        const percent = state.backlight.map((level) => number_text(level / 2.54, 0));
        const text = percent[0] === percent[1] ? `${percent[0]} %` : `${percent.join(" and ")} %`;
        put_text(by_id("lamp-backlight"), state.backlight_power ? text : `off (${text})`);
        put_text(by_id("lamp-frequency"), String(state.frequency_output));
        put_text(by_id("lamp-digest"), state.digest_ms > 0 ? `every ${state.digest_ms} ms` : "off");
        put_text(by_id("lamp-device"), state.device || "closed");
        const bytes = state.configuration.map(([code, offset, value]) =>
            `${code}/${offset}: ${value}`);
        put_text(by_id("lamp-configuration"), bytes.join(", ") || "all 0");
    }

    // Inputs.

    build_inputs_(inputs) {
        const cards = new Map();
        for (const title of new Set(input_groups.map((group) => group.title))) {
            const list = element("div", { class: "inputs" });
            by_id("inputs").append(element("section", { class: "card" },
                element("h3", {}, title), list));
            cards.set(title, list);
        }
        for (const input of inputs) {
            const group = input_groups.find((each) => input.name.startsWith(each.name));
            const made = this.input_(input, group);
            this.inputs_.set(input.name, made);
            cards.get(group.title).append(made.root);
        }
    }

    input_(input, group) {
        const number = input.name.slice(group.name.length);
        const title = number === "" ? group.name : `${group.name} ${number}`;
        const made = {
            name: input.name, title, unit: input.unit, is_truth: group.name === "digital",
            usual: usual_of[input.name] ?? group.usual,
            bus: `/com/quorin/system/device/io/input/${group.bus}/${number || 0}`,
        };
        made.wave = this.wave_picker_(made);
        made.value = made.is_truth ? this.truth_(made) : this.slider_(made, input);
        made.echo = element("span", { class: "echo", title: "What the bus tells of it" });
        made.root = element("div", { class: made.is_truth ? "input input-truth" : "input" },
            element("div", { class: "input-title" },
                element("label", { for: `value-${made.name}` }, title), made.echo),
            ...made.value, made.wave.picker, made.wave.fields);
        return made;
    }

    truth_(made) {
        const word = `input ${made.name}`;
        const input = element("input", {
            type: "checkbox", role: "switch", id: `value-${made.name}`, "data-word": word,
            change: () => this.send_([made.control], `${word} ${input.checked ? 1 : 0}`),
        });
        const text = element("span", { "data-state": word }, "off");
        made.control = new Held_control(input, (value) => { input.checked = value >= 0.5; },
            () => this.ask_for_drawing_());
        made.show = (value) => {
            made.control.show(value);
            put_text(text, value >= 0.5 ? "on" : "off");
        };
        return [element("label", { class: "switch" }, input, text)];
    }

    slider_(made, input) {
        const word = `input ${made.name}`;
        const paced = new Paced((value) => this.send_([made.control], `${word} ${value}`));
        const slider = element("input", {
            type: "range", id: `value-${made.name}`, "data-word": word, min: made.usual[0],
            max: made.usual[1], step: "1", "aria-label": `${made.title} ${input.unit}`.trim(),
            input: () => {
                made.control.touch();
                paced.put(Number(slider.value));
                put_text(state, slider.value);
            },
        });
        const state = element("span", { class: "unseen", "data-state": word }, "–");
        const number = element("input", {
            type: "number", "data-number": word, min: input.least, max: input.most, step: "any",
            "aria-label": `${made.title}, any value ${input.unit}`.trim(),
            change: () => {
                if (number.value !== "")
                    this.send_([made.number_control], `${word} ${number.value}`);
            },
        });
        const redraw = () => this.ask_for_drawing_();
        made.control = new Held_control(slider, (value) => {
            stretch(slider, value);
            slider.value = value;
        }, redraw);
        made.number_control =
            new Held_control(number, (value) => { number.value = value; }, redraw);
        made.show = (value) => {
            made.control.show(value);
            made.number_control.show(value);
            put_text(state, String(value));
        };
        return [slider, element("div", { class: "with-unit" }, number,
            element("span", { class: "unit" }, input.unit), state)];
    }

    wave_picker_(made) {
        const word = `input ${made.name}`;
        const wave = {};
        wave.picker = element("select", {
            "data-wave": word, "aria-label": `Waveform of ${made.title}`,
            change: () => this.send_wave_(made),
        }, ...waveforms.map((shape) => element("option", { value: shape }, shape)));
        const field = (name, label, mark, unit) => {
            const input = element("input", {
                type: "number", step: "any", [`data-wave-${name}`]: word,
                "aria-label": `${made.title}: ${label}${unit ? `, ${unit}` : ""}`,
                change: () => this.send_wave_(made),
            });
            wave[name] = input;
            wave[`${name}_control`] =
                new Held_control(input, (value) => { input.value = value; },
                    () => this.ask_for_drawing_());
            return element("label", {}, mark ? `${mark} ` : "", input, unit ? ` ${unit}` : "");
        };
        const levels = [field("low", "from", "", ""), field("high", "to", "to", made.unit)];
        wave.fields = element("div", { class: "wave-fields", hidden: true },
            ...(made.is_truth ? [] : levels), field("period", "each", "each", "s"));
        wave.control = new Held_control(wave.picker, (value) => { wave.picker.value = value; },
            () => this.ask_for_drawing_());
        return wave;
    }

    send_wave_(made) {
        const input = this.state_.inputs.find((each) => each.name === made.name);
        const { wave } = made;
        const shape = wave.picker.value;
        const word = `input ${made.name}`;
        if (shape === "constant") {
            this.send_([wave.control], `${word} ${input.value}`);
            return;
        }
        const was_constant = input.waveform.shape === "constant";
        const number = (field, otherwise) =>
            (was_constant || field.value === "" ? otherwise : Number(field.value));
        const [low, high] = made.is_truth ? [0, 1]
            : [number(wave.low, made.usual[0]), number(wave.high, made.usual[1])];
        const period = number(wave.period, 10);
        const seed = shape === "random" ? ` ${input.waveform.seed ?? 0}` : "";
        this.send_([wave.control, wave.low_control, wave.high_control, wave.period_control],
            `${word} ${shape} ${low} ${high} ${milliseconds_word(period * 1000)}${seed}`);
        wave.low.value = low;
        wave.high.value = high;
        wave.period.value = period;
    }

    show_input_(input) {
        const made = this.inputs_.get(input.name);
        if (made === undefined)
            return;
        const { wave } = made;
        const { shape, low, high, period_ms } = input.waveform;
        made.show(input.value);
        wave.control.show(shape);
        const is_moving = shape !== "constant";
        wave.fields.hidden = !is_moving;
        if (!is_moving)
            return;
        wave.low_control.show(low);
        wave.high_control.show(high);
        wave.period_control.show(period_ms / 1000);
    }

    draw_bus_() {
        for (const made of this.inputs_.values())
            put_text(made.echo, this.bus_text_(made.bus));
    }

    // Faults.

    build_faults_() {
        const place = by_id("faults");
        for (const fault of faults)
            place.append(this.fault_(fault));
        for (const burst of bursts)
            place.append(this.burst_(burst));
    }

    fault_(fault) {
        const id = `fault-${fault.name}`;
        const fields = fault.fields.map((field) => fault_field(field));
        const words = () => fault.on(fields.map(({ input }) => Number(input.value)));
        const controls = [];
        const input = element("input", {
            type: "checkbox", role: "switch", id, "data-fault": fault.name,
            "aria-describedby": `${id}-help`,
            change: () => this.send_(controls, input.checked ? words() : fault.off),
        });
        controls.push(this.bind_(input, (state) => fault.is_on(state.faults),
            (value) => { input.checked = value; }));
        fault.fields.forEach((field, i) => {
            const of_field = fields[i].input;
            of_field.addEventListener("change", () => {
                if (!of_field.checkValidity())
                    this.said_(range_text(fault, field), true);
                else if (input.checked)
                    this.send_(controls, words());
            });
            if (field.of !== undefined)
                controls.push(this.bind_(of_field, (state) => state.faults[field.of] || undefined,
                    (value) => { of_field.value = value ?? of_field.value; }));
        });
        return element("div", { class: "fault" },
            element("label", { class: "switch", for: id }, input, element("span", {}, fault.title)),
            element("span", { class: "fault-fields" }, ...fields.map(({ root }) => root)),
            element("span", { class: "help", id: `${id}-help` }, fault.help));
    }

    burst_(burst) {
        const { root, input } = fault_field(burst.field);
        const id = `fault-${burst.name.replace(" ", "-")}-help`;
        const button = element("button", {
            type: "button", "data-fault": burst.name, "aria-describedby": id,
            "aria-label": `${burst.title}: ${burst.act.toLowerCase()}`,
            click: () => {
                if (input.checkValidity() && input.value !== "")
                    this.bench_(burst.words(Number(input.value)));
                else
                    this.said_(range_text(burst, burst.field), true);
            },
        }, burst.act);
        return element("div", { class: "fault" },
            element("span", { class: "burst-title" }, burst.title),
            element("span", { class: "fault-fields" }, root, button),
            element("span", { class: "help", id }, burst.help));
    }

    // What it is, and words by hand.

    build_identity_() {
        const place = by_id("identity");
        const picker = element("select", {
            id: "generation", "data-word": "generation",
            change: () => this.send_([control], `generation ${picker.value}`),
        }, element("option", { value: "", disabled: true }, "none of them"));
        const control = this.bind_(picker, (state) => state.generation ?? "",
            (value) => { picker.value = value; });
        place.append(element("label", { for: "generation" }, "Generation"), picker);
        for (const row of identity) {
            const id = `identity-${row.word}`;
            const input = element("input", {
                id, "data-word": row.word, type: row.most === undefined ? "text" : "number",
                min: "0", max: row.most, spellcheck: "false", autocomplete: "off",
                change: () => {
                    if (input.value.trim() !== "")
                        this.send_([own], `${row.word} ${input.value.trim()}`);
                },
            });
            const own = this.bind_(input, row.of, (value) => { input.value = value; });
            place.append(element("label", { for: id }, row.title), input);
        }
    }

    /** Back to the start; but dov-dbus asks for digests once, and they go on. */
    async restart_() {
        const { digest_ms } = this.state_;
        if (await this.bench_("restart") && digest_ms > 0)
            this.bench_(`digest ${milliseconds_word(digest_ms)}`);
    }

    offer_generations_(names) {
        by_id("generation").append(
            ...names.map((name) => element("option", { value: name }, name)));
    }

    listen_() {
        by_id("healthy").addEventListener("click", () => this.bench_("healthy"));
        by_id("restart").addEventListener("click", () => this.restart_());
        const line = by_id("bench-line");
        by_id("bench-form").addEventListener("submit", async (event) => {
            event.preventDefault();
            const words = line.value.trim();
            if (words !== "" && await this.bench_(words)) {
                this.said_(`Done: ${words}`);
                line.select();
            }
        });
    }
}

/** Widens a slider so that a value is on it. */
function stretch(slider, value) {
    const widened = (name, is_outside) => {
        if (is_outside)
            slider.setAttribute(name, value);
    };
    widened("max", value > Number(slider.max));
    widened("min", value < Number(slider.min));
}

function range_text(fault, field) {
    return `${fault.title}: ${field.least} to ${field.most} ${field.unit}`;
}

function fault_field(field) {
    const input = element("input", {
        type: "number", min: field.least, max: field.most, step: "any", value: field.start,
        required: true, "data-fault-value": field.name,
        "aria-label": field.unit ? `${field.name}, ${field.unit}` : field.name,
    });
    return {
        input,
        root: element("span", { class: "with-unit" },
            element("span", { class: "unit" }, field.before ?? ""), input,
            element("span", { class: "unit" }, field.unit)),
    };
}
