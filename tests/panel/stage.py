"""What every test of the page stands on: the world, a browser, and the page in it."""
from __future__ import annotations

import unittest
from pathlib import Path
from typing import Any, ClassVar

from browser import Browser, Page
from panel_world import PARTS, Panel_world, object_path

# What the vehicle is when a test begins, so that each value is known.
STILL = [f"digital{index} 0" for index in range(4)] + [
    "analog 2500", "light 2500", "frequency 100",
    *(f"voltage{index} {5000 + 100 * index}" for index in range(6)),
    *(f"temperature{index} {20 + index}" for index in range(6))]
AT_REST = ["healthy", "generation profile", "line15 1", "ignition on", "button up", "oem 255",
           "operating-voltage 0", "frequency-output 0", "backlight 254", "digest 100ms",
           *(f"output {index} off" for index in range(4)), *(f"input {each}" for each in STILL)]

# What a browser says by itself of a server that is away for a while.
EXPECTED_OF_A_SERVER_THAT_GOES = ("WebSocket connection to", "can’t establish a connection",
                                  "was interrupted while the page was loading")

# Of what the daemon and a test reckon of the same number.
LEAST_DIFFERENCE = 1e-9

CAN_CHANGE = "return document.body.dataset.changing === arguments[0];"
VALUE = "return document.querySelector(arguments[0]).innerText.trim() === arguments[1];"
TAKE_FIELD = """const field = document.querySelector(arguments[0]);
if (field.disabled) return false;
field.focus();
return document.activeElement === field;"""
STATE_OF_PARTNER = """return document.querySelector(
    `[data-partner="${arguments[0]}"]`).dataset.state === arguments[1];"""


class Stage:
    """One for all tests of a run in one browser."""

    def __init__(self, world: Panel_world, browser: Browser, pictures: Path,
                 measurements: Path | None = None) -> None:
        self.world = world
        self.browser = browser
        self.pictures = pictures
        self.measurements = measurements
        self.page = browser.first_page()
        self.server_goes = False

    def report(self, name: str, pages: list[Page], said: list[str]) -> None:
        """What a person needs to see who was not there."""
        self.pictures.mkdir(parents=True, exist_ok=True)
        for number, page in enumerate(pages):
            picture = self.pictures / f"{self.browser.name}-{name}-{number}.png"
            try:
                page.picture(picture)
                print(f"picture of the page: {picture}")
            except Exception as error:  # it is the first failure that counts
                print(f"no picture of the page: {error}")
        print("--- the page's console", *said, sep="\n")
        for part in PARTS:
            print(f"--- {part}", self.world.log(part)[-2000:], sep="\n")


class Page_test(unittest.TestCase):
    """A test with a fresh page that may change things."""

    stage: ClassVar[Stage]

    def setUp(self) -> None:
        self.world = self.stage.world
        self.browser = self.stage.browser
        self.page = self.stage.page
        self.pages = [self.page]
        self.server_goes = False
        self.browser.console()
        self.world.bench(*AT_REST)
        self.open(self.page, self.world.url)
        self.page.until("it may change", CAN_CHANGE, "true")

    def open(self, page: Page, address: str) -> None:
        """From nothing: another fragment alone would not load it."""
        page.open("about:blank")
        page.open(address)
        page.until("the page is connected", STATE_OF_PARTNER, "panel", "here")

    def another_page(self, address: str) -> Page:
        page = self.browser.new_page()
        self.pages.append(page)
        self.open(page, address)
        return page

    def tearDown(self) -> None:
        said = self.browser.console()
        outcome = getattr(self, "_outcome").result
        failed = any(test is self for test, _ in outcome.failures + outcome.errors)
        bad = [line for line in said if not (self.server_goes and any(
            text in line for text in EXPECTED_OF_A_SERVER_THAT_GOES))]
        if failed or bad:
            self.stage.report(self.id().split(".")[-1], self.pages, said)
        for page in self.pages[1:]:
            self.browser.close_page(page)
        for part in PARTS:
            self.assertFalse(self.world.has_ended(part), f"{part} has ended by itself")
        self.assertEqual([], bad, "the console has warnings or errors")

    # What the page shows

    def shows(self, selector: str, text: str, page: Page | None = None) -> None:
        (page or self.page).until(f"{selector} shows {text!r}", VALUE, selector, text)

    def value_selector(self, short: str, member: str) -> str:
        return f'[data-object="{object_path(short)}"][data-member="{member}"]'

    # What a person does

    def enter(self, selector: str, text: str) -> None:
        """Into the field, all of it anew, and Enter."""
        self.page.until(f"{selector} takes keys", TAKE_FIELD, selector)
        self.page.press("Control+a", "Delete")
        self.page.type(text)
        self.page.press("Enter")

    def partner_is(self, partner: str, state: str, page: Page | None = None) -> None:
        (page or self.page).until(f"{partner} is {state}", STATE_OF_PARTNER, partner, state)

    # What is behind the page

    def bench_has(self, what: str, *keys: object, value: Any) -> None:
        """Waits until the controller's own state has this."""
        found: Any = None

        def has() -> bool:
            nonlocal found
            found = self.world.state()
            for key in keys:
                found = found[key]
            return bool(found == value)
        try:
            self.world.wait_for(what, has)
        except TimeoutError:
            self.fail(f"{what}: the controller has {found!r}, and not {value!r}")

    def terminal_has(self, short: str, method: str, value: Any) -> None:
        """Waits until the object on the bus answers this."""
        found: Any = None

        def has() -> bool:
            nonlocal found
            found = self.world.call(object_path(short), method)
            if isinstance(value, float):
                return abs(float(found) - value) < LEAST_DIFFERENCE
            return bool(found == value)
        try:
            self.world.wait_for(short, has)
        except TimeoutError:
            self.fail(f"{short} {method}: the bus has {found!r}, and not {value!r}")
