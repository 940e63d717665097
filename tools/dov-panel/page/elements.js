// Making and changing elements.

/**
 * An element. Of the attributes, functions are handlers, true is an empty attribute, and false and
 * undefined are none; of the children, strings are text.
 */
export function element(tag, attributes = {}, ...children) {
    const made = document.createElement(tag);
    for (const [name, value] of Object.entries(attributes)) {
        if (typeof value === "function")
            made.addEventListener(name, value);
        else if (value !== false && value !== undefined)
            made.setAttribute(name, value === true ? "" : value);
    }
    made.append(...children.filter((child) => child !== null && child !== undefined));
    return made;
}

/** The element with an id, which is there. */
export function by_id(id) {
    return document.getElementById(id);
}

/** Changes an element's text, if it is another one. */
export function put_text(to, text) {
    const node = to.firstChild;
    if (node === null)
        to.append(text);
    else if (node.data !== text)
        node.data = text;
}

/** Changes an attribute, if it is another one. */
export function put_attribute(to, name, value) {
    if (to.getAttribute(name) !== value)
        to.setAttribute(name, value);
}

/**
 * The sizes of elements, told by the browser whenever they change: to ask for them would have it
 * lay out the page at once. `changed` is called then.
 */
export class Sizes {
    constructor(changed) {
        this.sizes_ = new WeakMap();
        this.observer_ = new ResizeObserver((entries) => {
            for (const { target, contentRect } of entries)
                this.sizes_.set(target, { width: contentRect.width, height: contentRect.height });
            changed();
        });
    }

    watch(of) { this.observer_.observe(of); }

    forget(of) { this.observer_.unobserve(of); }

    /** The room inside an element; none before the browser has told it. */
    of(of) { return this.sizes_.get(of) ?? { width: 0, height: 0 }; }
}

/** Lets the reader save a text or a picture as a file. */
export function save_file(name, blob) {
    const address = URL.createObjectURL(blob);
    const link = element("a", { href: address, download: name });
    document.body.append(link);
    link.click();
    link.remove();
    // The browser has opened it by then.
    setTimeout(() => URL.revokeObjectURL(address), 60000);
}

/** Calls `draw` once before the next refresh of the screen, however often it is asked. */
export class Refresh {
    constructor(draw) {
        this.draw_ = draw;
        this.is_asked_ = false;
    }

    ask() {
        if (this.is_asked_)
            return;
        this.is_asked_ = true;
        requestAnimationFrame(() => {
            this.is_asked_ = false;
            this.draw_();
        });
    }
}

/**
 * Sends what a slider says: at once, and while it moves at most every 50 ms, the last one always.
 */
export class Paced {
    constructor(send) {
        this.send_ = send;
        this.next_ = null;
        this.is_waiting_ = false;
    }

    put(value) {
        this.next_ = value;
        if (!this.is_waiting_)
            this.send_next_();
    }

    send_next_() {
        if (this.next_ === null)
            return;
        const value = this.next_;
        this.next_ = null;
        this.is_waiting_ = true;
        this.send_(value);
        setTimeout(() => {
            this.is_waiting_ = false;
            this.send_next_();
        }, 50);
    }
}
