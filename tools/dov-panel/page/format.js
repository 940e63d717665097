// Values, times and files as text.

/** What stands where nothing is known. */
export const dash = "–";

/**
 * A value as a person reads it, by its row of the catalogue: words for truths, decimals and unit
 * for numbers.
 */
export function value_text(row, value) {
    if (value === null || value === undefined)
        return dash;
    if (typeof value === "boolean")
        return value ? row.yes ?? "yes" : row.no ?? "no";
    if (Array.isArray(value))
        return value.length === 0 ? dash : value.join(" ");
    if (typeof value !== "number")
        return String(value).trim() || dash;
    const text = number_text(value, row.decimals ?? 0);
    return row.unit ? `${text} ${row.unit}` : text;
}

/** A number with so many decimals, and no "-0". */
export function number_text(value, decimals) {
    if (!Number.isFinite(value))
        return dash;
    const text = value.toFixed(decimals);
    return Number(text) === 0 ? text.replace("-", "") : text;
}

/**
 * What a signal has told: an argument alone, a list of several, or true for none. Fractions are
 * written as those of the object's value, whose row of the catalogue this is.
 */
export function arguments_text(told, row = {}) {
    const text = (each) => (typeof each === "number" && row.type === "d"
        ? value_text(row, each) : String(each));
    if (told === true)
        return "";
    return (Array.isArray(told) ? told : [told]).map(text).join(" ");
}

const event_words = {
    short_press: () => "pressed",
    received: () => "acknowledged",
    connection: ([path, is_here]) => `${path} ${is_here ? "has come" : "has gone"}`,
};

/** An event, its name and what it has told, as a person would tell it; and how often. */
export function event_text(name, told, count) {
    if (count === 0)
        return "not yet";
    const words = event_words[name];
    const text = words === undefined ? `${name} ${arguments_text(told)}`.trim()
        : words(Array.isArray(told) ? told : [told]);
    return count === 1 ? text : `${text}, ${count_text(count)} ×`;
}

/** How long ago, short: "now", "9 s", "3 min", "2 h", "4 d". */
export function age_text(age_ms) {
    const seconds = Math.floor(age_ms / 1000);
    if (seconds < 1)
        return "now";
    if (seconds < 60)
        return `${seconds} s`;
    if (seconds < 3600)
        return `${Math.floor(seconds / 60)} min`;
    if (seconds < 86400)
        return `${Math.floor(seconds / 3600)} h`;
    return `${Math.floor(seconds / 86400)} d`;
}

/** The time of day, here, with so many decimals of the second. */
export function clock_text(time_ms, decimals = 3) {
    const time = new Date(time_ms);
    const two = (number) => String(number).padStart(2, "0");
    const text = `${two(time.getHours())}:${two(time.getMinutes())}:${two(time.getSeconds())}`;
    if (decimals === 0)
        return text;
    return `${text}.${String(time.getMilliseconds()).padStart(3, "0").slice(0, decimals)}`;
}

/** An identifier of a message: 0x36. */
export function identifier_text(id) {
    return id === null || id === undefined ? "" : `0x${id.toString(16).padStart(2, "0")}`;
}

/** A count with its thousands apart. */
export function count_text(count) {
    return String(count).replace(/\B(?=(\d{3})+(?!\d))/g, "\u202f");
}

/** A time for the words of dov-controller, which take a number and its unit. */
export function milliseconds_word(time_ms) {
    return `${Math.round(time_ms)}ms`;
}

/** One cell of CSV: in quotes where it has to be. */
export function csv_cell(value) {
    const text = value === null || value === undefined ? "" : String(value);
    return /[",\r\n]/.test(text) ? `"${text.replace(/"/g, "\"\"")}"` : text;
}

/** For the name of a file: 20261122-071225. */
export function file_time(time_ms) {
    return new Date(time_ms).toISOString().slice(0, 19).replace(/[-:]/g, "").replace("T", "-");
}
