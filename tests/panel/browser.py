"""A browser without a display, and what a person does in it: look, click, press keys."""
from __future__ import annotations

import base64
import json
import tempfile
from pathlib import Path
from typing import Any, Callable, ContextManager

DEADLINE = 30.0

# The code points of the WebDriver standard.
KEYS = {
    "Backspace": "\ue003", "Tab": "\ue004", "Enter": "\ue007", "Shift": "\ue008",
    "Control": "\ue009", "Escape": "\ue00c", "PageUp": "\ue00e",
    "PageDown": "\ue00f", "End": "\ue010", "Home": "\ue011", "ArrowLeft": "\ue012",
    "ArrowUp": "\ue013", "ArrowRight": "\ue014", "ArrowDown": "\ue015", "Delete": "\ue017",
}

# What a condition is looked at for: every change of the page, and what is no change of its tree,
# as the value of a field.
UNTIL = """
const happened = async () => { CONDITION };
const deadline = performance.now() + MILLISECONDS;
for (;;) {
    const value = await happened();
    if (value || performance.now() > deadline) return value || null;
    await new Promise((resolve) => {
        const watch = new MutationObserver(done);
        const timer = setTimeout(done, 100);
        function done() { watch.disconnect(); clearTimeout(timer); resolve(); }
        watch.observe(document, {
            attributes: true, characterData: true, childList: true, subtree: true});
    });
}
"""

# Where the middle of an element is on the screen, and whether a person reaches it there.
MIDDLE = """
const [selector, along] = arguments;
const element = document.querySelector(selector);
if (!element) throw new Error("there is no " + selector);
element.scrollIntoView({block: "center", inline: "center", behavior: "instant"});
const box = element.getBoundingClientRect();
const at = {x: Math.round(box.x + box.width * along), y: Math.round(box.y + box.height / 2)};
const top = document.elementFromPoint(at.x, at.y);
const label = top && top.closest("label");
if (!top || !(element.contains(top) || top.contains(element) || label?.control === element))
    throw new Error(selector + " is covered by " + (top ? top.outerHTML.slice(0, 200) : "nothing"));
return at;
"""


class Page_failure(AssertionError):
    """The page does not do what it should, or its script has failed."""


def in_page(body: str, arguments: tuple[object, ...]) -> str:
    """An expression: a promise of the answer as JSON."""
    return ("(async function () {" + body + "}).apply(null, " + json.dumps(arguments) + ")"
            ".then((value) => JSON.stringify({value: value === undefined ? null : value}),"
            " (error) => JSON.stringify({error: String(error && error.stack || error)}))")


class Page:
    """One page that is open in a browser."""

    def __init__(self, browser: Browser, handle: str) -> None:
        self.browser = browser
        self.handle = handle

    def open(self, address: str) -> None:
        self.browser.open(self.handle, address)

    def run(self, body: str, *arguments: object) -> Any:
        """What the body of a function returns, or promises."""
        answer = json.loads(self.browser.evaluate(self.handle, in_page(body, arguments)))
        if "error" in answer:
            raise Page_failure(answer["error"])
        return answer["value"]

    def until(self, what: str, condition: str, *arguments: object) -> Any:
        """The first value of the function's body that counts as true."""
        # The arguments reach the inner function by the name, which arrows do not take away.
        body = (UNTIL.replace("CONDITION", condition)
                .replace("MILLISECONDS", str(int(DEADLINE * 1000))))
        value = self.run(body, *arguments)
        if not value:
            raise Page_failure(f"not within {DEADLINE:g} s: {what} ({condition.strip()}"
                               f" with {arguments})")
        return value

    def text(self, selector: str) -> str:
        return str(self.run("return document.querySelector(arguments[0]).innerText.trim();",
                            selector))

    def click(self, selector: str, along: float = 0.5) -> None:
        """Where a person would: on what is seen of it, so far along from the left."""
        at = self.run(MIDDLE, selector, along)
        self.browser.point(self.handle, at["x"], at["y"])

    def press(self, *keys: str) -> None:
        """Keys one after the other: "a", "Tab", or "Shift+Tab"."""
        for key in keys:
            *held, last = key.split("+") if len(key) > 1 else [key]
            self.browser.press(self.handle, [KEYS.get(one, one) for one in held],
                               KEYS.get(last, last))

    def type(self, text: str) -> None:
        self.press(*text)

    def resize(self, width: int, height: int) -> None:
        self.browser.resize(self.handle, width, height)

    def picture(self, path: Path) -> None:
        path.write_bytes(base64.b64decode(self.browser.picture(self.handle)))


class Browser:
    """What the two have in common; a handle names an open page."""

    name = ""

    def first_page(self) -> Page:
        raise NotImplementedError

    def new_page(self) -> Page:
        """In a window of its own: what is not seen is not drawn."""
        raise NotImplementedError

    def close_page(self, page: Page) -> None:
        raise NotImplementedError

    def open(self, handle: str, address: str) -> None:
        raise NotImplementedError

    def evaluate(self, handle: str, expression: str) -> str:
        raise NotImplementedError

    def point(self, handle: str, x: int, y: int) -> None:
        raise NotImplementedError

    def press(self, handle: str, held: list[str], key: str) -> None:
        raise NotImplementedError

    def resize(self, handle: str, width: int, height: int) -> None:
        raise NotImplementedError

    def picture(self, handle: str) -> str:
        raise NotImplementedError

    def in_the_dark(self, page: Page) -> ContextManager[Page]:
        """The page, or an empty one of the same kind, where the reader prefers the dark."""
        raise NotImplementedError

    def console(self) -> list[str]:
        """Warnings and errors since the last call."""
        raise NotImplementedError

    def end(self) -> None:
        raise NotImplementedError


class Started_browser:
    """A browser with a home of its own, for as long as a "with" lasts."""

    def __init__(self, make: Callable[[Path], Browser]) -> None:
        self._home = tempfile.TemporaryDirectory(prefix="dov-browser-", ignore_cleanup_errors=True)
        self._make = make

    def __enter__(self) -> Browser:
        self._browser = self._make(Path(self._home.name))
        return self._browser

    def __exit__(self, *_: object) -> None:
        try:
            self._browser.end()
        finally:
            self._home.cleanup()
