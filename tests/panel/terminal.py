"""The terminal: every value of every object, what can be switched, and the plots."""
from __future__ import annotations

import csv
import io
from typing import Any

from panel_world import CATALOGUE, KINDS, object_path
from stage import Page_test

# What plain readers of the bus may call, with whose values the page is compared.
VALUES = [(row["path"], value) for row in CATALOGUE["objects"]
          for value in KINDS[row["kind"]]["values"] if value["getter"]]

PRESSED = """return document.querySelector(arguments[0]).getAttribute("aria-pressed")
    === arguments[1];"""

# A link that is followed saves a file; here what would be in it is kept.
CATCH_DOWNLOADS = """
globalThis.saved = [];
const click = HTMLAnchorElement.prototype.click;
HTMLAnchorElement.prototype.click = function () { if (!this.download) click.call(this); };
const make = URL.createObjectURL;
URL.createObjectURL = (blob) => {
    blob.arrayBuffer().then((bytes) =>
        globalThis.saved.push(Array.from(new Uint8Array(bytes))));
    return make.call(URL, blob);
};
"""


def shown(value: dict[str, Any], answer: Any) -> str:
    """The beginning of what a person is shown of a value."""
    if value["type"] == "b":
        return str(value["yes"] if answer else value["no"])
    if value["type"] == "d":
        if value["start_is_no_value"] and float(answer) == value["start"]:
            return "–"
        return f"{float(answer):.{value['decimals']}f}"
    if value["type"] in ("y", "u"):
        return str(int(answer))
    if value["type"] == "s":
        return " ".join(str(answer).split()) or "–"
    return " ".join(str(int(each)) for each in answer)


class Terminal(Page_test):
    def setUp(self) -> None:
        super().setUp()
        self.partner_is("service", "here")

    def test_every_object_is_there(self) -> None:
        for row in CATALOGUE["objects"]:
            with self.subTest(row["path"]):
                self.assertGreater(self.page.run(
                    "return document.querySelectorAll(`[data-object='${arguments[0]}']`).length;",
                    row["path"]), 0)

    def test_every_value_is_what_the_bus_has(self) -> None:
        for path, value in VALUES:
            with self.subTest(path=path, member=value["getter"]):
                answer = self.world.call(path, value["getter"])
                text = shown(value, answer)
                self.page.until(
                    f"{path} {value['getter']} shows {text!r}",
                    "return document.querySelector(arguments[0]).innerText.trim()"
                    r".replace(/\s+/g, ' ').startsWith(arguments[1]);",
                    f'[data-object="{path}"][data-member="{value["getter"]}"]', text)

    def test_values_have_units_and_ages(self) -> None:
        for short, unit in (("device/io/input/analog/0", "V"),
                            ("device/io/input/temperature/0", "°C"),
                            ("device/io/input/ambientlight/0", "%")):
            with self.subTest(short):
                self.page.until("the unit", """
                    const value = document.querySelector(arguments[0]);
                    const row = value.closest("tr, li, [role=row], [role=listitem], .row, .object")
                        ?? value.parentElement;
                    return row.innerText.includes(arguments[1]);""",
                                self.value_selector(short, "get_value"), unit)
                self.page.until("the age", r"""return /\d/.test(
                    document.querySelector(`[data-age="${arguments[0]}"]`).innerText);""",
                                object_path(short))

    def test_outputs(self) -> None:
        for index in range(4):
            short = f"device/io/output/digital/{index}"
            switch = f'[data-call="{object_path(short)} on"]'
            with self.subTest(short):
                # An earlier test may just have switched it: a click means what the page shows.
                self.shows(self.value_selector(short, "is_on"), "off")
                self.page.until("the switch", """
                    return !document.querySelector(arguments[0]).checked;""", switch)
                self.page.click(switch)
                self.bench_has("on", "outputs", index, "on", value=True)
                self.shows(self.value_selector(short, "is_on"), "on")
                self.page.until("the lamp", """return document.querySelector(
                    `[data-lamp="output ${arguments[0]}"]`).dataset.on === "true";""", index)
                self.page.click(switch)
                self.bench_has("off", "outputs", index, "on", value=False)
                self.shows(self.value_selector(short, "is_on"), "off")
                self.page.click(f'[data-call="{object_path(short)} enable"]')
                self.bench_has("disabled", "outputs", index, "enabled", value=False)
                self.page.click(f'[data-call="{object_path(short)} enable"]')
                self.bench_has("enabled", "outputs", index, "enabled", value=True)

    def test_backlight(self) -> None:
        slider = f'[data-call="{object_path("device/display/backlight")} set_brightness"]'
        self.page.click(slider, 0.5)
        self.world.wait_for("the brightness", lambda:
                            100 < self.world.state()["backlight"][0] < 154)
        percent = float(self.world.call(object_path("device/display/backlight"), "get_brightness"))
        self.page.until("the brightness", """return document.querySelector(arguments[0])
            .innerText.trim().startsWith(arguments[1]);""",
                        self.value_selector("device/display/backlight", "get_brightness"),
                        f"{percent:.0f}")

    def test_what_is_switched_elsewhere_is_seen(self) -> None:
        self.world.call(object_path("device/io/output/digital/2"), "on")
        self.shows(self.value_selector("device/io/output/digital/2", "is_on"), "on")
        self.world.call(object_path("device/io/output/digital/2"), "off")
        self.shows(self.value_selector("device/io/output/digital/2", "is_on"), "off")

    def saved(self, button: str) -> bytes:
        self.page.run(CATCH_DOWNLOADS)
        self.page.click(button)
        self.page.until(f"{button} saves", "return globalThis.saved.length > 0;")
        return bytes(self.page.run("return globalThis.saved[0];"))

    def plot_analog(self) -> str:
        path = object_path("device/io/input/analog/0")
        selector = f'[data-plot="{path}"]'
        if not self.page.run("""const at = document.querySelector(arguments[0]);
                return at.checked || at.getAttribute("aria-pressed") === "true";""", selector):
            self.page.click(selector)
        self.world.bench("input analog triangle 1000 4000 2s")
        return path

    def test_plot_is_saved_as_a_table(self) -> None:
        path = self.plot_analog()
        value = self.value_selector("device/io/input/analog/0", "get_value")
        self.page.run("""globalThis.different = new Set();
            const at = document.querySelector(arguments[0]);
            new MutationObserver(() => globalThis.different.add(at.innerText)).observe(
                at, {characterData: true, childList: true, subtree: true});""", value)
        self.page.until("some values have passed", "return globalThis.different.size > 3;")
        rows = list(csv.reader(io.StringIO(self.saved("#plot-csv").decode())))
        numbers = set()
        for row in rows[1:]:
            for cell in row:
                try:
                    numbers.add(float(cell))
                except ValueError:
                    pass
        self.assertGreater(len([each for each in numbers if 1 <= each <= 4]), 3,
                           f"{path}: {rows[:5]}")

    def test_plot_is_saved_as_a_picture(self) -> None:
        self.plot_analog()
        self.assertEqual(b"\x89PNG\r\n\x1a\n", self.saved("#plot-png")[:8])

    def test_plot_is_paused_and_zoomed(self) -> None:
        self.plot_analog()
        pause = "#plot-pause"
        self.page.click(pause)
        self.page.until("it is paused", """return document.querySelector(arguments[0])
            .getAttribute("aria-pressed") === "true";""", pause)
        self.page.click(pause)
        self.page.until("it goes on", """return document.querySelector(arguments[0])
            .getAttribute("aria-pressed") === "false";""", pause)
        chosen = """return arguments[1] === (document.querySelector(
            `[data-span="${arguments[0]}"]`).getAttribute("aria-pressed") === "true");"""
        self.page.click('[data-span="30"]')
        self.page.until("half a minute", chosen, 30, True)
        self.page.click("#plot-zoom-out")
        self.page.until("more than that", chosen, 30, False)
        self.page.click("#plot-zoom-in")
        self.page.until("half a minute again", chosen, 30, True)
        self.page.click('[data-span="600"]')
        self.page.until("ten minutes", chosen, 600, True)

    def test_a_paused_plot_stays_as_it_is(self) -> None:
        path = self.plot_analog()
        bus = self.value_selector("device/io/input/analog/0", "get_value")
        lane = f'[data-lane="{path}"] .lane-value'
        differs = "return document.querySelector(arguments[0]).innerText !== arguments[1];"
        self.page.click("#plot-pause")
        self.shows("#plot-pause", "Go on")
        # It has been drawn once more behind the click.
        self.page.run("""await new Promise((resolve) =>
            requestAnimationFrame(() => requestAnimationFrame(resolve)));""")
        kept = self.page.text(lane)
        for _ in range(3):
            self.page.until("the value moves on", differs, bus, self.page.text(bus))
            self.assertEqual(kept, self.page.text(lane))
        self.page.click("#plot-pause")
        self.page.until("the plot moves on", differs, lane, kept)

    def test_plots_by_keys_alone(self) -> None:
        self.plot_analog()
        self.page.click('[data-span="120"]')
        self.page.run("document.querySelector('#plot-lanes').focus();")
        self.page.press("+")
        self.page.until("nearer", PRESSED, '[data-span="120"]', "false")
        self.page.press("-")
        self.page.until("as it was", PRESSED, '[data-span="120"]', "true")
        self.page.press(" ")
        self.page.until("it pauses", PRESSED, "#plot-pause", "true")
        self.page.press(" ")
        self.page.until("it goes on", PRESSED, "#plot-pause", "false")
        self.page.press("ArrowLeft")
        self.page.until("the past stands still", PRESSED, "#plot-pause", "true")
        self.page.click("#plot-pause")
        self.page.until("it goes on", PRESSED, "#plot-pause", "false")

    def test_plots_come_and_go(self) -> None:
        for short in ("device/io/input/temperature/3", "device/io/input/digital/1"):
            path = object_path(short)
            for there in (True, False):
                self.page.click(f'[data-plot="{path}"]')
                self.page.until(f"its plot: {there}", """return arguments[1] ===
                    (document.querySelector(`[data-lane="${arguments[0]}"]`) !== null);""",
                                path, there)

    def test_power_switches_and_versions(self) -> None:
        self.shows(self.value_selector("version/hardware", "get"),
                   str(self.world.call(object_path("version/hardware"), "get")))
        short = "device/can/0/power"
        self.world.call(object_path(short), "suspend")
        self.shows(self.value_selector(short, "is_suspended"), "off")
        self.world.call(object_path(short), "resume")
        self.shows(self.value_selector(short, "is_suspended"), "on")

    def test_nothing_is_switched_off_by_looking(self) -> None:
        self.assertEqual([], self.world.power_offs())
