// The page of dov-panel: what arrives goes to its section, what a person does goes back.
//
// Where a program finds what is on the page. The names are the words of dov-controller(1), the
// paths and members of the bus, and the names of "dov-line stats --json":
//
//   [data-word="input analog"]                 a control of the vehicle; [data-number=…] its
//                                              number, [data-wave=…], [data-wave-low=…],
//                                              [data-wave-high=…] and [data-wave-period=…] its
//                                              waveform, [data-state=…] what the controller tells
//   [data-fault="silence"]                     a fault; [data-fault-value="late"] its number
//   [data-lamp="output 0"]                     what the controller drives; data-on
//   [data-object="/com/…"][data-member="…"]    a value of the bus; [data-age="/com/…"] its age
//   [data-details="/com/…"]                    the button of an object's details, in them
//                                              [data-setting="/com/… hysteresis"] and, how often,
//                                              [data-object="/com/…"][data-signal="min_pass"]
//   [data-call="/com/… on"]                    a control of the terminal, by its first method
//   [data-plot="/com/…"], [data-lane="/com/…"] the button of a plot, and the plot
//   #frames tr[data-n="17"]                    a frame; #frame-filter and so on choose
//   [data-counter="response.p99_ms"]           a counter
//   [data-partner="bus"][data-state="here"]    a partner; [data-missing="bus"] what to do then
//   body[data-changing="true"]                 whether anything can be changed

import { Connection, Server_clock } from "./connection.js";
import { Line_view } from "./line.js";
import { Partners } from "./partners.js";
import { Plots } from "./plots.js";
import { Refresh, by_id, put_text } from "./elements.js";
import { Terminal } from "./terminal.js";
import { Vehicle } from "./vehicle.js";

const token_key = "dov-panel-token";
const ages_ms = 500;
const message_stays_ms = 10000;

class Panel {
    constructor() {
        this.clock_ = new Server_clock();
        this.refresh_ = new Refresh(() => this.draw_());
        this.control_ = false;
        this.is_changing_ = false;
        this.is_greeted_ = false;
        const changed = () => this.refresh_.ask();
        const said = (text, is_bad = false) => this.say_(text, is_bad);
        const now = () => this.clock_.now();
        const ask = (message) => this.connection_.ask(message);
        this.partners_ = new Partners(said);
        this.plots_ = new Plots(now, changed, said);
        this.terminal_ = new Terminal({ ask, changed, said, plots: this.plots_, now });
        this.vehicle_ = new Vehicle({
            ask, changed, said, bus_text: (path) => this.terminal_.text_at(path),
        });
        this.line_ = new Line_view({ changed });
        this.connection_ = new Connection((message) => this.take_(message),
            (state) => this.connection_changed_(state));
    }

    start() {
        this.take_token_from_address_();
        window.addEventListener("hashchange", () => {
            if (this.take_token_from_address_())
                this.send_token_();
        });
        document.addEventListener("visibilitychange", () => this.watch_());
        by_id("token-form").addEventListener("submit", (event) => {
            event.preventDefault();
            sessionStorage.setItem(token_key, by_id("token").value.trim());
            by_id("token").value = "";
            this.send_token_();
        });
        setInterval(() => this.refresh_.ask(), ages_ms);
        this.allow_(false);
        this.connection_.open();
    }

    // What arrives.

    take_(message) {
        switch (message.type) {
        case "hello":
            this.take_hello_(message);
            break;
        case "partners":
            for (const name of ["bus", "service", "controller", "tap"])
                this.partners_.set(name, message[name], message.texts?.[name]);
            this.partners_changed_();
            break;
        case "values":
            this.clock_.take(message.time);
            this.terminal_.take_values(message.time, message.values);
            break;
        case "history":
            this.terminal_.take_history(message.object, message.member, message.points);
            break;
        case "state":
            this.vehicle_.take_state(message.state);
            this.partners_changed_();
            break;
        case "frames":
            this.line_.take_frames(message.frames, message.dropped);
            break;
        case "line":
            this.line_.take_counters(message.counters);
            break;
        default:
            break;
        }
    }

    take_hello_(message) {
        put_text(by_id("version"), message.version);
        this.control_ = message.control;
        this.terminal_.set_catalogue(message.objects, message.kinds);
        // A second one comes when the token is taken.
        if (!this.is_greeted_)
            this.terminal_.renew();
        this.is_greeted_ = true;
        this.allow_(message.changing);
        if (!message.changing)
            this.send_token_();
        this.watch_();
    }

    connection_changed_(state) {
        this.partners_.set("panel", state);
        this.is_greeted_ = false;
        if (state === "away") {
            this.partners_.forget();
            this.allow_(false);
        }
    }

    partners_changed_() {
        if (this.partners_.state("service") !== "here")
            this.terminal_.forget();
        // What a controller was that is gone is nothing to look at.
        const is_empty = !this.vehicle_.has_state ||
            ["away", "none"].includes(this.partners_.state("controller"));
        by_id("vehicle-controls").hidden = is_empty;
        by_id("vehicle-links").hidden = is_empty;
        this.allow_(this.is_changing_);
    }

    /** Frames are many, and nobody reads them on a page that is out of sight. */
    watch_() {
        this.connection_.tell({ type: "watch", frames: !document.hidden });
    }

    // Whether anything can be changed.

    take_token_from_address_() {
        const token = new URLSearchParams(location.hash.slice(1)).get("token");
        if (token === null)
            return false;
        sessionStorage.setItem(token_key, token);
        history.replaceState(null, "", location.pathname);
        return true;
    }

    async send_token_() {
        const token = sessionStorage.getItem(token_key);
        if (token === null || token === "" || !this.control_)
            return;
        const answer = await this.connection_.ask({ type: "token", token });
        if (answer.ok) {
            this.allow_(true);
            return;
        }
        if (this.connection_.is_open)
            sessionStorage.removeItem(token_key);
        this.say_(`The token is not taken: ${answer.error}`, true);
    }

    allow_(is_changing) {
        this.is_changing_ = is_changing;
        document.body.dataset.changing = String(is_changing);
        put_text(by_id("changing"), is_changing ? "Changing allowed" : "Looking only");
        by_id("looking").hidden = is_changing || this.partners_.state("panel") !== "here";
        by_id("looking-control").hidden = this.control_;
        by_id("looking-token").hidden = !this.control_;
        this.vehicle_.allow(is_changing && this.partners_.state("controller") === "here");
        this.terminal_.allow(is_changing && this.partners_.state("service") === "here");
    }

    // What is shown.

    say_(text, is_bad) {
        const place = by_id("message");
        put_text(place, text);
        place.dataset.bad = String(is_bad);
        clearTimeout(this.message_timer_);
        this.message_timer_ = setTimeout(() => put_text(place, ""), message_stays_ms);
    }

    draw_() {
        // First: a text on a canvas has the browser lay out the page, if anything has changed.
        this.plots_.draw();
        this.terminal_.draw();
        this.vehicle_.draw();
        this.line_.draw();
    }
}

new Panel().start();
