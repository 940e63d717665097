// What a value was over time, in bounded room.

const least_room = 256;

/**
 * Points of a value in the order of their times. A value stands until the next point; NaN is none.
 *
 * It never holds more than `most` points. What is older than `span_ms` goes first, but for the
 * point that still stood then; when that is not enough, the older half keeps the lowest and the
 * highest of every four points, so that no peak is lost.
 */
export class Series {
    constructor(span_ms = 600000, most = 16384) {
        this.span_ms_ = span_ms;
        this.most_ = most;
        this.clear();
    }

    get size() { return this.size_; }

    time(i) { return this.times_[i]; }

    value(i) { return this.values_[i]; }

    /** Forgets everything. */
    clear() {
        this.size_ = 0;
        const room = Math.min(least_room, this.most_);
        this.times_ = new Float64Array(room);
        this.values_ = new Float64Array(room);
    }

    /** Adds the newest point; a time before the last one's counts as that. */
    add(time_ms, value) {
        if (this.size_ === this.times_.length)
            this.make_room_(time_ms);
        const last = this.size_ > 0 ? this.times_[this.size_ - 1] : time_ms;
        this.times_[this.size_] = Math.max(time_ms, last);
        this.values_[this.size_] = value;
        ++this.size_;
    }

    /** Takes the points of somebody who has listened longer; what is here and newer stays. */
    put_before(points) {
        const first = this.size_ > 0 ? this.times_[0] : Infinity;
        const own = Array.from({ length: this.size_ }, (_, i) => [this.times_[i], this.values_[i]]);
        this.clear();
        for (const [time, value] of points.filter((point) => point[0] < first).concat(own))
            this.add(time, value === null ? NaN : Number(value));
    }

    /** The last point at or before a time, or -1. */
    position(time_ms) {
        let low = 0;
        let high = this.size_;
        while (low < high) {
            const middle = (low + high) >> 1;
            if (this.times_[middle] <= time_ms)
                low = middle + 1;
            else
                high = middle;
        }
        return low - 1;
    }

    /** The value that stood at a time; NaN for none. */
    at(time_ms) {
        const i = this.position(time_ms);
        return i < 0 ? NaN : this.values_[i];
    }

    /** Another one with the same points. */
    copy() {
        const other = new Series(this.span_ms_, this.most_);
        other.size_ = this.size_;
        other.times_ = this.times_.slice();
        other.values_ = this.values_.slice();
        return other;
    }

    make_room_(now_ms) {
        this.drop_(this.position(now_ms - this.span_ms_));
        if (this.size_ > this.times_.length * 0.75 && this.times_.length < this.most_) {
            this.grow_();
            return;
        }
        if (this.size_ > this.times_.length * 0.75)
            this.thin_();
        if (this.size_ > this.times_.length * 0.75)
            this.drop_(this.size_ >> 2);
    }

    grow_() {
        const room = Math.min(this.times_.length * 2, this.most_);
        for (const name of ["times_", "values_"]) {
            const larger = new Float64Array(room);
            larger.set(this[name]);
            this[name] = larger;
        }
    }

    drop_(count) {
        if (count <= 0)
            return;
        this.times_.copyWithin(0, count, this.size_);
        this.values_.copyWithin(0, count, this.size_);
        this.size_ -= count;
    }

    /** Of every four points of the older half, the lowest and the highest in their order. */
    thin_() {
        const half = (this.size_ >> 1) & ~3;
        let to = 0;
        for (let from = 0; from < half; from += 4) {
            for (const i of this.extremes_(from)) {
                this.times_[to] = this.times_[i];
                this.values_[to] = this.values_[i];
                ++to;
            }
        }
        this.times_.copyWithin(to, half, this.size_);
        this.values_.copyWithin(to, half, this.size_);
        this.size_ -= half - to;
    }

    extremes_(from) {
        let low = from;
        let high = from;
        for (let i = from; i < from + 4; ++i) {
            if (Number.isNaN(this.values_[i]))
                return [from, from + 1, from + 2, from + 3];
            if (this.values_[i] < this.values_[low])
                low = i;
            if (this.values_[i] >= this.values_[high])
                high = i;
        }
        // The first of the lowest and the last of the highest are never the same one.
        return low < high ? [low, high] : [high, low];
    }
}
