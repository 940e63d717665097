// Who is there: the panel itself, the bus, the service on it, the bench controller and the line's
// tap. What is missing is said with what to do about it.

import { by_id, element, put_attribute, put_text } from "./elements.js";

const state_words = {
    here: "here", away: "away", refused: "refused", none: "not asked for", unknown: "…",
};

const controller_command =
    "dov-controller --link /tmp/controller --socket /tmp/controller.socket";
const tap_command =
    "dov-line tap --device /tmp/controller --link /tmp/line --socket /tmp/line.socket";

/** The partners in the order of the way from the page to the vehicle. */
const partners = [
    {
        name: "panel", title: "dov-panel",
        missing: {
            away: {
                what: "dov-panel does not answer",
                text: "What stands here is what was last known. It is tried again by itself.",
                commands: ["dov-panel"],
            },
        },
    },
    {
        name: "bus", title: "Message bus", place: "terminal",
        missing: {
            away: {
                what: "The message bus is not there",
                text: "The system bus is looked for, or the one that an option names.",
                commands: ["dov-panel --bus unix:path=/tmp/bus"],
            },
            refused: {
                what: "The message bus refuses dov-panel",
                text: "Its user has to be allowed there: on a terminal, a member of the group dov.",
                commands: ["sudo adduser \"$USER\" dov"],
            },
        },
    },
    {
        name: "service", title: "dov-dbus", place: "terminal",
        missing: {
            away: {
                what: "dov-dbus does not run on this bus",
                text: "The terminal's values come when it does. On a terminal, and without any:",
                commands: ["sudo systemctl start dov-dbus", "./demo.sh --panel"],
            },
        },
    },
    {
        name: "controller", title: "Bench controller", place: "vehicle",
        missing: {
            away: {
                what: "The bench controller does not run",
                text: "It plays the vehicle, and has to listen where dov-panel looks for it.",
                commands: [controller_command],
            },
            none: {
                what: "No bench controller was asked for",
                text: "The vehicle is whatever is on the line. To play one here, start both:",
                commands: [
                    controller_command, "dov-panel --controller /tmp/controller.socket --control",
                ],
            },
        },
    },
    {
        name: "tap", title: "Line tap", place: "line",
        missing: {
            away: {
                what: "Nobody listens to the line",
                text: "A tap stands between controller and dov-dbus, and has to listen where " +
                    "dov-panel looks for it.",
                commands: [tap_command],
            },
            none: {
                what: "No tap of the line was asked for",
                text: "A tap stands between controller and dov-dbus. To see what passes, start " +
                    "both:",
                commands: [tap_command, "dov-panel --tap /tmp/line.socket"],
            },
        },
    },
];

function command_line(command) {
    const copy = element("button", {
        type: "button", class: "copy", "aria-label": `Copy the command ${command}`,
        click: async () => {
            await navigator.clipboard.writeText(command);
            put_text(copy, "Copied");
        },
    }, "Copy");
    return element("div", { class: "command" }, element("code", {}, command), copy);
}

export class Partners {
    /** `said` tells the reader of changes. */
    constructor(said) {
        this.said_ = said;
        this.states_ = new Map(partners.map(({ name }) => [name, "unknown"]));
        this.lamps_ = new Map();
        for (const partner of partners)
            this.build_(partner);
    }

    state(name) { return this.states_.get(name); }

    /** Who of the others is there can only dov-panel tell, and it is gone. */
    forget() {
        for (const { name } of partners) {
            if (name !== "panel")
                this.set(name, "unknown");
        }
    }

    /** Takes the state of one partner, and why. */
    set(name, state, reason = "") {
        const partner = partners.find((each) => each.name === name);
        const before = this.states_.get(name);
        this.states_.set(name, state);
        const { lamp, word } = this.lamps_.get(name);
        put_attribute(lamp, "data-state", state);
        put_text(word, state_words[state] ?? state);
        lamp.title = reason;
        this.show_missing_(partner, state, reason);
        if (before !== "unknown" && state !== "unknown" && before !== state)
            this.said_(`${partner.title}: ${state_words[state] ?? state}`, state !== "here");
        document.body.dataset[name] = state;
    }

    build_(partner) {
        const word = element("span", { class: "partner-state" }, state_words.unknown);
        const lamp = element("li", { "data-partner": partner.name, "data-state": "unknown" },
            element("span", { class: "lamp", "aria-hidden": "true" }),
            element("span", { class: "partner-name" }, partner.title), word);
        by_id("partners").append(lamp);
        const notice = element("div",
            { class: "notice", "data-missing": partner.name, hidden: true });
        const place = partner.place === undefined ? by_id("notices")
            : by_id(`${partner.place}-notices`);
        place.append(notice);
        this.lamps_.set(partner.name, { lamp, word, notice });
    }

    show_missing_(partner, state, reason) {
        const { notice } = this.lamps_.get(partner.name);
        // Without a bus there is no service either; one notice says it.
        const is_told = partner.name === "service" && this.states_.get("bus") !== "here";
        const missing = is_told ? undefined : partner.missing[state];
        notice.hidden = missing === undefined;
        if (missing === undefined)
            return;
        notice.replaceChildren(
            element("p", { class: "notice-what" }, missing.what),
            element("p", {}, missing.text),
            ...missing.commands.map(command_line),
            element("p", { class: "notice-reason" }, reason));
    }
}
