"""Signals and settings: what an object has beside its values, in the window of its details."""
from __future__ import annotations

from typing import Any

from panel_world import CATALOGUE, KIND_OF, object_path
from stage import Page_test

# Inputs with limits: the controller's name, beyond which readings it reports, and where it goes.
LIMITED = {
    "device/io/input/analog/0": ("analog", (2.0, 3.0), (1000, 4000)),
    "device/io/input/ambientlight/0": ("light", (40.0, 60.0), (1000, 4000)),
    **{f"device/io/input/voltage/{index}": (f"voltage{index}", (4.0, 6.0), (3000, 7000))
       for index in range(6)},
    **{f"device/io/input/temperature/{index}": (f"temperature{index}", (15.0, 30.0), (10, 40))
       for index in range(6)},
}
FREQUENCY = "device/io/input/frequency/0"
# One of each kind that has settings, and a value for each setting that none of them starts with.
WITH_SETTINGS = ("device/io/input/analog/0", FREQUENCY, "device/io/input/voltage/3",
                 "device/io/input/temperature/5", "device/io/input/ambientlight/0")
OTHER_SETTINGS = {"hysteresis": 2.5, "min_value": -20.5, "max_value": 130.25, "time_out": 700}

COUNT = r"""return Number(document.querySelector(
    `[data-object="${arguments[0]}"][data-signal="${arguments[1]}"]`)
    .innerText.replace(/\D/g, ""))"""
HAS_VALUE = "return document.querySelector(arguments[0]).value === arguments[1];"


class Signals(Page_test):
    def setUp(self) -> None:
        super().setUp()
        self.partner_is("controller", "here")
        self.partner_is("service", "here")

    def open_details(self, short: str) -> None:
        button = f'[data-details="{object_path(short)}"]'
        self.page.click(button)
        self.page.until(f"the details of {short}", """return document.querySelector("#details").open
            && document.querySelector("#details-path").innerText === arguments[0];""",
                        object_path(short))

    def close_details(self) -> None:
        self.page.click("#details-close")
        self.page.until("no details", "return !document.querySelector('#details').open;")

    def count(self, short: str, signal: str) -> int:
        return int(self.page.run(COUNT + ";", object_path(short), signal))

    def counts(self) -> dict[tuple[str, str], int]:
        """Of the signals of the numeric inputs."""
        found = {}
        for short in (*LIMITED, FREQUENCY):
            self.open_details(short)
            for signal in KIND_OF[object_path(short)]["signals"]:
                found[short, signal["name"]] = self.count(short, signal["name"])
            self.close_details()
        return found

    def set_settings(self, short: str, **settings: float) -> None:
        for name, value in settings.items():
            self.world.call(object_path(short), f"set_{name}", "d", value)

    def settings_as_at_the_start(self) -> None:
        for short in (*LIMITED, FREQUENCY):
            for row in KIND_OF[object_path(short)]["settings"]:
                self.world.call(object_path(short), f"set_{row['name']}", row["type"], row["start"])

    def test_every_signal_of_every_object_is_named(self) -> None:
        for row in CATALOGUE["objects"]:
            short = row["path"].partition("/com/quorin/system/")[2]
            with self.subTest(short):
                self.open_details(short)
                self.assertEqual(
                    [signal["name"] for signal in KIND_OF[row["path"]]["signals"]],
                    self.page.run("""return [...document.querySelectorAll("#details [data-signal]")]
                        .map((each) => each.dataset.signal);"""))
                self.assertEqual(KIND_OF[row["path"]]["interface"],
                                 self.page.text("#details-interface"))
                self.close_details()

    def test_numeric_inputs_report_changes_and_limits(self) -> None:
        self.addCleanup(self.settings_as_at_the_start)
        before = self.counts()
        self.set_settings(FREQUENCY, hysteresis=0.0)
        for short, (_, (least, most), _) in LIMITED.items():
            self.set_settings(short, hysteresis=0.0, min_value=least, max_value=most)
        for end in (1, 0):
            self.world.bench(f"input frequency {500 * (1 + end)}",
                             *(f"input {name} {ends[end]}" for name, _, ends in LIMITED.values()))
            self.terminal_has(FREQUENCY, "get_value", 500.0 * (1 + end))
            for short, (_, limits, _) in LIMITED.items():
                self.world.wait_for(short, lambda: self.is_beyond(short, end, limits[end]))
        for short, signal in before:
            with self.subTest(short=short, signal=signal):
                self.open_details(short)
                self.page.until(f"{signal} of {short}", f"{COUNT} > arguments[2];",
                                object_path(short), signal, before[short, signal])
                self.close_details()

    def is_beyond(self, short: str, end: int, limit: float) -> bool:
        value = float(self.world.call(object_path(short), "get_value"))
        return value > limit if end else value < limit

    def test_truths_are_counted_at_each_change(self) -> None:
        for short, words in (
                *((f"device/io/input/digital/{index}",
                   (f"input digital{index} 1", f"input digital{index} 0")) for index in range(4)),
                ("power/ignition", ("ignition off", "ignition on"))):
            with self.subTest(short):
                self.open_details(short)
                for word in words:
                    before = self.count(short, "changed")
                    self.world.bench(word)
                    self.page.until(word, f"{COUNT} > arguments[2];", object_path(short),
                                    "changed", before)
                self.close_details()

    def event_is_told(self, short: str, signal: str, words: str, *causes: str) -> None:
        """In the row itself, with its age, and counted in the details."""
        row = self.value_selector(short, signal)
        self.open_details(short)
        for word in causes:
            before = self.count(short, signal)
            self.world.bench(word)
            self.page.until(word, f"{COUNT} > arguments[2];", object_path(short), signal, before)
            self.page.until("the same count in the row", f"""
                const count = (function () {{ {COUNT}; }}).apply(null, arguments);
                return document.querySelector(arguments[2]).innerText ===
                    (count === 1 ? arguments[3] : `${{arguments[3]}}, ${{count}} ×`);""",
                            object_path(short), signal, row, words)
            self.page.until("its age", """return document.querySelector(
                `[data-age="${arguments[0]}"]`).innerText !== "";""", object_path(short))
        self.close_details()

    def test_the_button(self) -> None:
        self.event_is_told("power/button", "short_press", "pressed",
                           "button press", "button press")

    def test_the_acknowledgement(self) -> None:
        self.event_is_told("atx", "received", "acknowledged", "atx", "atx")

    def test_media(self) -> None:
        row = self.value_selector("media", "connection")
        self.addCleanup(self.world.set_media, set())
        for media, words in (({"usb0"}, "has come"), (set(), "has gone")):
            self.world.set_media(media)
            self.page.until(words, """return document.querySelector(arguments[0]).innerText
                .includes(arguments[1]);""", row, f"{self.world.medium('usb0')} {words}")

    def test_the_buzzer(self) -> None:
        short = "device/buzzer"
        self.open_details(short)
        before = self.count(short, "volume_changed")
        self.addCleanup(self.world.call, object_path(short), "set_volume", "d", 0.0)
        self.world.call(object_path(short), "set_volume", "d", 30.0)
        self.page.until("the signal", f"{COUNT} > arguments[2];", object_path(short),
                        "volume_changed", before)
        self.shows(self.value_selector(short, "get_volume"), "30.0")

    def test_who_comes_later_sees_what_was(self) -> None:
        self.world.bench("button press")
        row = self.value_selector("power/button", "short_press")
        self.page.until("the press", """return document.querySelector(arguments[0]).innerText
            .startsWith("pressed");""", row)
        other = self.another_page(self.world.url)
        self.shows(row, self.page.text(row), other)

    def test_a_new_panel_has_heard_nothing(self) -> None:
        self.world.bench("button press")
        row = self.value_selector("power/button", "short_press")
        self.page.until("the press", """return document.querySelector(arguments[0]).innerText
            .startsWith("pressed");""", row)
        self.server_goes = True
        self.world.stop("panel")
        self.partner_is("panel", "away")
        self.world.start("panel")
        self.partner_is("panel", "here")
        self.shows(row, "not yet")

    # Settings

    def field(self, short: str, setting: str) -> str:
        return f'[data-setting="{object_path(short)} {setting}"]'

    def setting_is(self, short: str, name: str, value: Any) -> None:
        self.terminal_has(short, f"get_{name}", value)

    def test_every_setting_is_made(self) -> None:
        self.addCleanup(self.settings_as_at_the_start)
        for short in WITH_SETTINGS:
            self.open_details(short)
            for row in KIND_OF[object_path(short)]["settings"]:
                with self.subTest(short=short, setting=row["name"]):
                    other = OTHER_SETTINGS[row["name"]]
                    self.enter(self.field(short, row["name"]), str(other))
                    self.setting_is(short, row["name"], other)
                    self.page.until("it stays", HAS_VALUE, self.field(short, row["name"]),
                                    str(other))
                    self.enter(self.field(short, row["name"]), "")
                    self.setting_is(short, row["name"], row["start"])
            self.close_details()

    def test_settings_of_others_are_seen(self) -> None:
        self.addCleanup(self.settings_as_at_the_start)
        short = "device/io/input/analog/0"
        self.open_details(short)
        for row in KIND_OF[object_path(short)]["settings"]:
            field = self.field(short, row["name"])
            other = OTHER_SETTINGS[row["name"]]
            self.world.call(object_path(short), f"set_{row['name']}", row["type"], other)
            self.page.until(f"{row['name']} {other}", HAS_VALUE, field, str(other))
            self.world.call(object_path(short), f"set_{row['name']}", row["type"], row["start"])
            self.page.until(f"{row['name']} as at the start", HAS_VALUE, field, "")

    def test_what_is_no_setting_is_told(self) -> None:
        short = "device/io/input/analog/0"
        self.open_details(short)
        self.enter(self.field(short, "hysteresis"), "-1")
        self.page.until("what is wrong", """return document.querySelector("#message").innerText
            .includes("0 or more");""")
        self.setting_is(short, "hysteresis", 1000000.0)

    def test_details_by_keys_alone(self) -> None:
        button = f'[data-details="{object_path("device/io/input/analog/0")}"]'
        self.page.run("document.querySelector(arguments[0]).focus();", button)
        self.page.press("Enter")
        self.page.until("the focus is inside", """return document.querySelector("#details")
            .contains(document.activeElement);""")
        self.page.press("Escape")
        self.page.until("the focus is back", """return !document.querySelector("#details").open
            && document.activeElement.matches(arguments[0]);""", button)
