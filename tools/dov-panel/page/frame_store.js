// The newest frames of the line, and which of them are wanted.

import { identifier_text } from "./format.js";

/** A filter of frames: what a person has typed and chosen. */
export class Frame_filter {
    constructor() {
        this.text = "";
        this.from = "";
        this.name = "";
        this.only_faults = false;
    }

    /** Whether a frame passes. Every word of the text has to be in it somewhere. */
    passes(frame) {
        if (this.from !== "" && frame.from !== this.from)
            return false;
        if (this.name !== "" && frame.name !== this.name)
            return false;
        if (this.only_faults && !frame.fault)
            return false;
        const words = this.text.toLowerCase().split(/\s+/).filter((word) => word !== "");
        return words.every((word) => Frame_filter.searched(frame).includes(word));
    }

    /** What the words are looked for in. */
    static searched(frame) {
        const { id, from, name, text, bytes, fault } = frame;
        return [identifier_text(id), from, name, text, bytes, fault]
            .filter((part) => part).join(" ").toLowerCase();
    }
}

/** The newest frames, at most `most`, and those of them that pass the filter. */
export class Frame_store {
    constructor(most = 5000) {
        this.most_ = most;
        this.filter = new Frame_filter();
        this.all_ = [];
        this.passing_ = [];
        this.held_ = null;
        this.arrived_ = 0;
        this.next_place_ = 0;
        this.names = new Set();
    }

    /** The frames to show, oldest first. */
    get shown() { return this.held_ ?? this.passing_; }

    get size() { return this.all_.length; }

    get is_held() { return this.held_ !== null; }

    /** How many passing ones have come since it is held. */
    get arrived_since_held() { return this.arrived_; }

    /** Adds frames. Whether a name has come that was not there before. */
    add(frames) {
        const names_before = this.names.size;
        for (const frame of frames) {
            frame.place = this.next_place_++;
            this.all_.push(frame);
            if (frame.name)
                this.names.add(frame.name);
            if (this.filter.passes(frame)) {
                this.passing_.push(frame);
                this.arrived_ += this.is_held ? 1 : 0;
            }
        }
        this.trim_();
        return this.names.size > names_before;
    }

    clear() {
        this.all_ = [];
        this.passing_ = [];
        this.release();
    }

    /** What is shown stays as it is, whatever comes. */
    hold() {
        this.held_ = this.held_ ?? this.passing_.slice();
        this.arrived_ = 0;
    }

    release() {
        this.held_ = null;
        this.arrived_ = 0;
    }

    /** To be called when the filter has changed. */
    filter_again() {
        this.passing_ = this.all_.filter((frame) => this.filter.passes(frame));
        if (this.is_held)
            this.held_ = this.passing_.slice();
        this.arrived_ = 0;
    }

    trim_() {
        // A quarter more than is kept, so that not every frame moves all of them.
        if (this.all_.length < this.most_ * 1.25)
            return;
        this.all_ = this.all_.slice(-this.most_);
        const oldest = this.all_[0].place;
        const first = this.passing_.findIndex((frame) => frame.place >= oldest);
        this.passing_ = first < 0 ? [] : this.passing_.slice(first);
    }
}
