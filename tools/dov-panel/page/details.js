// What an object has beside its values: where it is on the bus, what its clients have set, and
// which signals it has sent. One object's at a time, in a window that leaves the page usable.

import { age_text, arguments_text, clock_text, count_text, value_text } from "./format.js";
import { by_id, element, put_text } from "./elements.js";

const read_again_ms = 1000;

/** The settings as a person calls them. A setting at its start does what `none` says. */
const settings_words = {
    hysteresis: {
        title: "Hysteresis", none: "reports nothing", least: 0,
        help: "A change is reported that is larger. A limit counts again once the value has come " +
            "back by so much.",
    },
    min_value: { title: "Lower limit", none: "no limit", help: "min_pass is sent below it." },
    max_value: { title: "Upper limit", none: "no limit", help: "max_pass is sent above it." },
    time_out: {
        title: "Time-out", none: "off", unit: "ms", least: 0, most: 4294967295,
        help: "val_changed is sent again after so long without a change.",
    },
};

export class Details {
    /** `ask` sends a request and brings its answer; `now` tells the present. */
    constructor({ ask, said, now }) {
        this.ask_ = ask;
        this.said_ = said;
        this.now_ = now;
        this.window_ = by_id("details");
        this.object_ = null;
        this.opener_ = null;
        this.fields_ = [];
        this.signals_ = [];
        this.is_allowed_ = false;
        this.is_reading_ = false;
        by_id("details-close").addEventListener("click", () => this.close());
        this.window_.addEventListener("keydown", (event) => {
            if (event.key === "Escape")
                this.close();
        });
        setInterval(() => this.read_(), read_again_ms);
    }

    /** Shows an object's details; its button again closes them. */
    toggle(object, opener) {
        const is_shown = this.object_ === object;
        this.close();
        if (is_shown)
            return;
        this.object_ = object;
        this.opener_ = opener;
        opener.setAttribute("aria-expanded", "true");
        this.build_(object);
        this.window_.show();
        by_id("details-close").focus();
        this.draw();
        this.read_();
    }

    close() {
        if (this.object_ === null)
            return;
        const has_focus = this.window_.contains(document.activeElement);
        this.opener_.setAttribute("aria-expanded", "false");
        this.object_ = null;
        this.window_.close();
        if (has_focus)
            this.opener_.focus();
    }

    /** Whether settings can be changed. */
    allow(is_allowed) {
        this.is_allowed_ = is_allowed;
        for (const field of this.fields_)
            field.input.disabled = !is_allowed;
    }

    /** Brings what has changed to the screen. */
    draw() {
        if (this.object_ === null)
            return;
        const { first } = this.object_;
        put_text(by_id("details-value"), first === null ? "" : value_text(first.row, first.value));
        for (const { signal, cells } of this.signals_)
            this.texts_of_(signal).forEach((text, i) => put_text(cells[i], text));
    }

    /** How often a signal has come, what it told the last time, and when. */
    texts_of_(signal) {
        const { count, told, heard_ms } = signal;
        if (count === 0)
            return ["0 ×", "", signal.sent ? "not yet" : "dov-dbus sends none"];
        const age = age_text(this.now_() - heard_ms);
        return [`${count_text(count)} ×`, arguments_text(told, this.object_.first?.row),
            `${clock_text(heard_ms, 0)}, ${age}`];
    }

    // Building.

    build_(object) {
        const { kind } = object;
        put_text(by_id("details-title"), object.title);
        put_text(by_id("details-path"), object.path);
        put_text(by_id("details-interface"), kind.interface);
        this.fields_ = kind.settings.map((setting) => this.field_(object, setting));
        this.signals_ = [...object.signals.values()].map((signal) => this.signal_(object, signal));
        by_id("details-settings").replaceChildren(...this.fields_.map(({ root }) => root));
        by_id("details-settings").hidden = this.fields_.length === 0;
        by_id("details-signals").replaceChildren(...this.signals_.map(({ root }) => root));
        const has_signals = this.signals_.length > 0;
        document.querySelector("#details .signals").hidden = !has_signals;
        by_id("details-none").hidden = has_signals;
        this.allow(this.is_allowed_);
    }

    signal_(object, signal) {
        const cells = [
            element("td", { "data-object": object.path, "data-signal": signal.name }),
            element("td"), element("td"),
        ];
        const root = element("tr", {},
            element("th", { scope: "row" }, element("code", {}, signal.name)), ...cells);
        return { signal, root, cells };
    }

    field_(object, setting) {
        const words = settings_words[setting.name] ?? { title: setting.name, none: "", help: "" };
        const unit = words.unit ?? object.first?.row.unit ?? "";
        const id = `setting-${setting.name}`;
        const field = { setting, words, shown: undefined, sets: 0 };
        field.input = element("input", {
            type: "number", id, "data-setting": `${object.path} ${setting.name}`,
            min: words.least, max: words.most, step: setting.type === "d" ? "any" : "1",
            "aria-describedby": `${id}-help`, placeholder: "–",
            change: () => this.set_(object, field),
        });
        field.root = element("div", { class: "setting" },
            element("label", { for: id }, words.title),
            element("span", { class: "with-unit" }, field.input,
                element("span", { class: "unit" }, unit)),
            element("span", { class: "help", id: `${id}-help` }, words.help));
        return field;
    }

    // Settings, which no signal tells.

    /** Reads the settings that are seen, one after the other. */
    async read_() {
        const object = this.object_;
        if (object === null || this.is_reading_ || document.hidden)
            return;
        this.is_reading_ = true;
        for (const field of this.fields_) {
            const { sets } = field;
            const answer = await this.call_(object, `get_${field.setting.name}`, []);
            if (this.object_ !== object)
                break;
            // What was read while somebody set it may be from before.
            if (field.sets === sets)
                this.show_(field, answer.ok ? answer.value : undefined);
        }
        this.is_reading_ = false;
    }

    /** Shows a setting, but not under the hands of who types another one. */
    show_(field, value) {
        const { input, setting, words } = field;
        const is_typed = document.activeElement === input && input.value !== field.shown;
        if (is_typed)
            return;
        const is_start = value === setting.start;
        input.placeholder = is_start ? words.none : "–";
        field.shown = value === undefined || value === null || is_start ? "" : String(value);
        if (input.value !== field.shown)
            input.value = field.shown;
    }

    /** An empty field is the setting at its start. */
    async set_(object, field) {
        const { input, setting, words } = field;
        if (!input.checkValidity()) {
            const range = words.most === undefined ? `${words.least} or more`
                : `${words.least} to ${words.most}`;
            this.said_(`${words.title}: a number, ${range}.`, true);
            return;
        }
        const value = input.value === "" ? setting.start : Number(input.value);
        field.shown = input.value;
        ++field.sets;
        const answer = await this.call_(object, `set_${setting.name}`, [value]);
        ++field.sets;
        if (!answer.ok)
            this.said_(`${object.title}: ${answer.error}`, true);
        this.read_();
    }

    call_(object, method, call_arguments) {
        return this.ask_({
            type: "call", path: object.path, interface: object.kind.interface, method,
            arguments: call_arguments,
        });
    }
}
