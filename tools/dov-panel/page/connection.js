// The way to dov-panel: one WebSocket, opened again when it is gone.

const subprotocol = "dov-panel.1";
const patience_ms = [250, 500, 1000, 2000];

/**
 * Takes and sends the messages of dov-panel. `heard` is called with each message, `state_changed`
 * with "here" or "away".
 */
export class Connection {
    constructor(heard, state_changed) {
        this.heard_ = heard;
        this.state_changed_ = state_changed;
        this.waiting_ = new Map();
        this.next_id_ = 1;
        this.failures_ = 0;
        this.socket_ = null;
    }

    open() {
        const scheme = location.protocol === "https:" ? "wss:" : "ws:";
        const socket = new WebSocket(`${scheme}//${location.host}/live`, subprotocol);
        this.socket_ = socket;
        socket.onopen = () => {
            this.failures_ = 0;
            this.state_changed_("here");
        };
        socket.onmessage = (event) => this.take_(JSON.parse(event.data));
        socket.onclose = () => this.closed_();
    }

    get is_open() { return this.socket_ !== null && this.socket_.readyState === WebSocket.OPEN; }

    /** Sends what is not answered. */
    tell(message) {
        if (this.is_open)
            this.socket_.send(JSON.stringify(message));
    }

    /** Sends a request; the promise brings { ok, error }. */
    ask(message) {
        if (!this.is_open)
            return Promise.resolve({ ok: false, error: "dov-panel does not answer" });
        const id = this.next_id_++;
        return new Promise((resolve) => {
            this.waiting_.set(id, resolve);
            this.tell({ ...message, id });
        });
    }

    take_(message) {
        if (message.type !== "answer") {
            this.heard_(message);
            return;
        }
        this.waiting_.get(message.to)?.(message);
        this.waiting_.delete(message.to);
    }

    closed_() {
        for (const resolve of this.waiting_.values())
            resolve({ ok: false, error: "dov-panel has gone away" });
        this.waiting_.clear();
        this.state_changed_("away");
        const wait = patience_ms[Math.min(this.failures_++, patience_ms.length - 1)];
        setTimeout(() => this.open(), wait);
    }
}

/** The present by the clock of dov-panel, whose times the values have. */
export class Server_clock {
    constructor() {
        this.offset_ms_ = null;
    }

    /** A message that was sent at this time has arrived now. */
    take(time_ms, arrived_ms = performance.now()) {
        const offset = time_ms - arrived_ms;
        // The fastest message tells best; what is slower is taken by a hundredth, for clocks drift.
        if (this.offset_ms_ === null || offset > this.offset_ms_ ||
            Math.abs(offset - this.offset_ms_) > 5000)
            this.offset_ms_ = offset;
        else
            this.offset_ms_ += (offset - this.offset_ms_) * 0.01;
    }

    now(arrived_ms = performance.now()) {
        return this.offset_ms_ === null ? Date.now() : arrived_ms + this.offset_ms_;
    }
}
