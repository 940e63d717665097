// Where things are in a plot. Nothing here draws.

/** A step of 1, 2 or 5 times a power of ten, of which at most `most` fit into a width. */
export function nice_step(width, most) {
    if (!(width > 0))
        return 1;
    const rough = width / Math.max(most, 1);
    const power = 10 ** Math.floor(Math.log10(rough));
    const step = [1, 2, 5, 10].find((factor) => factor * power >= rough * (1 - 1e-9));
    return step * power;
}

/** The multiples of a nice step within a range. */
export function ticks(low, high, most) {
    const step = nice_step(high - low, most);
    const found = [];
    for (let n = Math.ceil(low / step - 1e-9) + 0; n * step <= high + step * 1e-9; ++n)
        found.push(n * step);
    return found;
}

/** So many decimals tell the ticks of a step apart. */
export function tick_decimals(step) {
    return Math.max(0, Math.min(6, -Math.floor(Math.log10(step) + 1e-9)));
}

const time_steps_ms = [
    100, 200, 500, 1000, 2000, 5000, 10000, 15000, 30000, 60000, 120000, 300000, 600000,
];

/** The step of a time axis of which at most `most` fit into a span. */
export function time_step(span_ms, most) {
    return time_steps_ms.find((step) => span_ms / step <= most) ??
        time_steps_ms[time_steps_ms.length - 1];
}

/**
 * The lowest and highest value that stood within a span of time, or null for none. The value that
 * stood when it began counts.
 */
export function value_range(series, from_ms, to_ms) {
    let low = Infinity;
    let high = -Infinity;
    for (let i = Math.max(series.position(from_ms), 0); i < series.size; ++i) {
        if (series.time(i) > to_ms)
            break;
        const value = series.value(i);
        if (value < low)
            low = value;
        if (value > high)
            high = value;
    }
    return low <= high ? { low, high } : null;
}

/** A range with room above and below, and never empty. `least`: what it spans at least. */
export function padded_range(range, least) {
    const width = Math.max(range.high - range.low, least, 1e-9);
    const middle = (range.low + range.high) / 2;
    return { low: middle - width * 0.58, high: middle + width * 0.58 };
}

/**
 * What a plot of so many columns shows: for each column the lowest and highest value that stood in
 * it, the one it began with and the one it ended with; NaN for none.
 */
export function columns(series, from_ms, to_ms, count) {
    const made = {
        low: new Float64Array(count).fill(NaN),
        high: new Float64Array(count).fill(NaN),
        first: new Float64Array(count).fill(NaN),
        last: new Float64Array(count).fill(NaN),
    };
    const per_column = (to_ms - from_ms) / count;
    let i = series.position(from_ms);
    let standing = i < 0 ? NaN : series.value(i);
    for (let column = 0; column < count; ++column) {
        const end = from_ms + (column + 1) * per_column;
        made.first[column] = standing;
        let low = standing;
        let high = standing;
        for (; i + 1 < series.size && series.time(i + 1) < end; ++i) {
            standing = series.value(i + 1);
            // Comparisons with NaN are false: a value after none takes its place.
            if (!(low <= standing) && !Number.isNaN(standing))
                low = standing;
            if (!(high >= standing) && !Number.isNaN(standing))
                high = standing;
        }
        made.low[column] = low;
        made.high[column] = high;
        made.last[column] = standing;
    }
    return made;
}

/**
 * The part of time that is shown: its end follows the present, or stands while it is paused.
 * Spans are between a second and ten minutes.
 */
export class View {
    constructor(span_ms = 120000, most_ms = 600000) {
        this.span_ms = span_ms;
        this.most_ms_ = most_ms;
        this.end_ms_ = null;
        this.paused_ms_ = null;
    }

    get is_paused() { return this.end_ms_ !== null; }

    /** When it was paused; null while it is not. */
    get paused_ms() { return this.paused_ms_; }

    end(now_ms) { return this.end_ms_ ?? now_ms; }

    begin(now_ms) { return this.end(now_ms) - this.span_ms; }

    pause(now_ms) {
        if (this.is_paused)
            return;
        this.end_ms_ = now_ms;
        this.paused_ms_ = now_ms;
    }

    resume() {
        this.end_ms_ = null;
        this.paused_ms_ = null;
    }

    /** Shows so much; `anchor` from 0 to 1 keeps its place, unless the present is followed. */
    set_span(span_ms, anchor = 1) {
        const span = Math.min(Math.max(span_ms, 1000), this.most_ms_);
        if (this.is_paused) {
            const place = this.end_ms_ - this.span_ms * (1 - anchor);
            this.end_ms_ = place + span * (1 - anchor);
        }
        this.span_ms = span;
        this.keep_inside_();
    }

    zoom(factor, anchor = 1) { this.set_span(this.span_ms * factor, anchor); }

    /** Moves it by a part of its span, which pauses it. */
    pan(part, now_ms) {
        this.pause(now_ms);
        this.end_ms_ += part * this.span_ms;
        this.keep_inside_();
    }

    keep_inside_() {
        if (!this.is_paused)
            return;
        const earliest = this.paused_ms_ - this.most_ms_ + this.span_ms;
        this.end_ms_ = Math.min(Math.max(this.end_ms_, earliest), this.paused_ms_);
    }
}

/**
 * What is plotted, as a table for a spreadsheet: a row for each time at which one of the values
 * changed, with all values as they stood then.
 */
export function plot_rows(all_series, from_ms, to_ms) {
    const times = new Set([from_ms]);
    for (const series of all_series) {
        for (let i = Math.max(series.position(from_ms), 0); i < series.size; ++i) {
            if (series.time(i) > from_ms && series.time(i) <= to_ms)
                times.add(series.time(i));
        }
    }
    const value_or_null = (value) => (Number.isNaN(value) ? null : value);
    return Float64Array.from(times).sort().reduce((rows, time) => {
        rows.push([time, ...all_series.map((series) => value_or_null(series.at(time)))]);
        return rows;
    }, []);
}
