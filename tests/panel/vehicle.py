"""The vehicle: every control, from the page over the line to the bus, and back to the page."""
from __future__ import annotations

from panel_world import CATALOGUE
from stage import Page_test

# An input of the controller's, the object that it moves, and the object's value for the input's.
INPUTS = {
    "analog": ("device/io/input/analog/0", lambda value: value / 1000),
    "light": ("device/io/input/ambientlight/0", lambda value: min(100.0, value / 49.95)),
    "frequency": ("device/io/input/frequency/0", float),
    **{f"voltage{index}": (f"device/io/input/voltage/{index}", lambda value: value / 1000)
       for index in range(6)},
    **{f"temperature{index}": (f"device/io/input/temperature/{index}", float)
       for index in range(6)},
}
KIND_OF_PATH = {row["path"].split("system/", 1)[1]: row["kind"] for row in CATALOGUE["objects"]}
DECIMALS = {kind["name"]: kind["values"][0]["decimals"]
            for kind in CATALOGUE["kinds"] if kind["values"]}

IS_CHECKED = """const box = document.querySelector(arguments[0]);
return arguments[1] === (box.type === "checkbox" ? box.checked : "true" === (
    box.getAttribute("aria-checked") ?? box.getAttribute("aria-pressed")));"""
CHOOSE = """const list = document.querySelector(arguments[0]);
list.value = arguments[1];
list.dispatchEvent(new Event("input", {bubbles: true}));
list.dispatchEvent(new Event("change", {bubbles: true}));
return list.value === arguments[1];"""


class Vehicle(Page_test):
    def setUp(self) -> None:
        super().setUp()
        self.partner_is("controller", "here")
        self.partner_is("service", "here")

    def choose(self, selector: str, value: str) -> None:
        self.assertTrue(self.page.run(CHOOSE, selector, value), f"{selector} has no {value}")

    def is_checked(self, selector: str, checked: bool) -> None:
        self.page.until(f"{selector} is {checked}", IS_CHECKED, selector, checked)

    def input_arrives(self, name: str, value: float) -> None:
        """In the controller, on the bus and in both halves of the page."""
        path, scaled = INPUTS[name]
        self.terminal_has(path, "get_value", scaled(value))
        decimals = DECIMALS[KIND_OF_PATH[path]]
        self.page.until(
            f"the terminal's {path} shows {scaled(value):.{decimals}f}",
            "return document.querySelector(arguments[0]).innerText.trim()"
            ".replace(',', '.').startsWith(arguments[1]);",
            self.value_selector(path, "get_value"), f"{scaled(value):.{decimals}f}")

    def test_every_slider_moves_its_input(self) -> None:
        moved = {}
        for name in INPUTS:
            slider = f'[data-word="input {name}"]'
            self.page.click(slider, 0.3)
            moved[name] = float(self.page.run(
                "return document.querySelector(arguments[0]).value;", slider))
            self.assertNotEqual(moved[name], self.world.input(name)["least"], name)
        for name, value in moved.items():
            with self.subTest(name):
                self.world.wait_for(name, lambda: self.world.input(name)["value"] == value)
                self.input_arrives(name, value)

    def test_every_number_is_taken_as_written(self) -> None:
        numbers = {name: 21 + 3 * index for index, name in enumerate(INPUTS)}
        for name, number in numbers.items():
            self.enter(f'[data-number="input {name}"]', str(number))
        for name, number in numbers.items():
            with self.subTest(name):
                self.world.wait_for(name, lambda: self.world.input(name)["value"] == number)
                self.input_arrives(name, number)

    def test_every_digital_input_is_switched(self) -> None:
        for index in range(4):
            with self.subTest(index):
                path = f"device/io/input/digital/{index}"
                switch = f'[data-word="input digital{index}"]'
                self.page.click(switch)
                self.terminal_has(path, "is_on", True)
                self.shows(self.value_selector(path, "is_on"), "on")
                self.is_checked(switch, True)
                self.page.click(switch)
                self.terminal_has(path, "is_on", False)
                self.shows(self.value_selector(path, "is_on"), "off")

    def test_what_is_said_elsewhere_moves_the_page(self) -> None:
        self.world.bench("input analog 1234", "input digital1 1", "ignition off")
        self.page.until("the slider",
                        "return document.querySelector(arguments[0]).value === '1234';",
                        '[data-word="input analog"]')
        self.is_checked('[data-word="input digital1"]', True)
        self.is_checked('[data-word="ignition"]', False)
        self.input_arrives("analog", 1234)

    def test_waveforms(self) -> None:
        for shape in ("sine", "triangle", "square", "ramp", "random"):
            with self.subTest(shape):
                self.choose('[data-wave="input analog"]', shape)
                for field, number, key, value in (("low", "1000", "low", 1000),
                                                  ("high", "4000", "high", 4000),
                                                  ("period", "5", "period_ms", 5000)):
                    self.enter(f'[data-wave-{field}="input analog"]', number)
                    self.world.wait_for(f"{shape} {field}", lambda: self.world.input("analog")
                                        ["waveform"].get(key) == value)
                wave = self.world.input("analog")["waveform"]
                self.assertEqual([shape, 1000, 4000, 5000], [
                    wave.get(key) for key in ("shape", "low", "high", "period_ms")])
        self.choose('[data-wave="input analog"]', "constant")
        self.world.wait_for("constant", lambda: self.world.input("analog")["waveform"]["shape"]
                            == "constant")

    def test_every_input_takes_a_waveform(self) -> None:
        for row in self.world.state()["inputs"]:
            with self.subTest(row["name"]):
                self.choose(f'[data-wave="input {row["name"]}"]', "square")
                self.enter(f'[data-wave-period="input {row["name"]}"]', "4")
                self.world.wait_for(row["name"], lambda: [
                    self.world.input(row["name"])["waveform"].get(key)
                    for key in ("shape", "period_ms")] == ["square", 4000])

    def test_a_touch_of_the_slider_ends_a_waveform(self) -> None:
        # A square one has the handle at one end or the other: a click on it would change nothing.
        self.choose('[data-wave="input voltage2"]', "square")
        self.world.wait_for("square", lambda: self.world.input("voltage2")["waveform"]["shape"]
                            == "square")
        self.page.click('[data-word="input voltage2"]', 0.7)
        self.world.wait_for("constant", lambda: self.world.input("voltage2")["waveform"]["shape"]
                            == "constant")
        self.page.until("the picker shows it", """return document.querySelector(
            '[data-wave="input voltage2"]').value === "constant";""")

    def test_below_an_input_stands_what_the_bus_has(self) -> None:
        for name, (path, scaled) in INPUTS.items():
            with self.subTest(name):
                decimals = DECIMALS[KIND_OF_PATH[path]]
                text = f"{scaled(self.world.input(name)['value']):.{decimals}f}"
                self.page.until(f"{name} {text}", """return document
                    .querySelector(arguments[0]).closest(".input").querySelector(".echo")
                    .innerText.startsWith(arguments[1]);""",
                                f'[data-word="input {name}"]', text)

    def test_what_the_controller_drives(self) -> None:
        self.world.bench("backlight 127 254", "frequency-output 1234", "configuration 7 3 99",
                         "digest 250ms", "output 1 disabled", "output 2 on")
        self.addCleanup(self.world.bench, "configuration 7 3 0")
        for lamp, text in (("backlight", "50 and 100 %"), ("frequency-output", "1234"),
                           ("configuration", "7/3: 99"), ("digest", "every 250 ms"),
                           ("device", self.world.state()["device"])):
            with self.subTest(lamp):
                self.shows(f'[data-lamp="{lamp}"]', text)
        for lamp, state in (("output 1", "disabled"), ("output 2", "true"), ("output 3", "false")):
            self.page.until(f"{lamp} {state}", """return document.querySelector(
                `[data-lamp="${arguments[0]}"]`).dataset.on === arguments[1];""", lamp, state)

    def test_ignition(self) -> None:
        self.is_checked('[data-word="ignition"]', True)
        self.page.click('[data-word="ignition"]')
        self.terminal_has("power/ignition", "is_on", False)
        self.shows(self.value_selector("power/ignition", "is_on"), "off")
        self.page.click('[data-word="ignition"]')
        self.terminal_has("power/ignition", "is_on", True)
        self.shows(self.value_selector("power/ignition", "is_on"), "on")

    def test_button(self) -> None:
        row = self.value_selector("power/button", "short_press")
        before = self.page.text(row)
        self.page.click('[data-word="button press"]')
        self.page.until("the press", """const text = document.querySelector(arguments[0])
            .innerText;
            return text.startsWith("pressed") && text !== arguments[1];""", row, before)
        self.page.click('[data-word="button"]')
        self.bench_has("the button is held", "button_down", value=True)
        self.page.click('[data-word="button"]')
        self.bench_has("the button is let go", "button_down", value=False)

    def test_versions(self) -> None:
        self.choose('[data-word="generation"]', "legacy")
        self.bench_has("the generation", "generation", value="legacy")
        for word, key, text, value in (
                ("hardware", "hardware", "15", 15), ("firmware", "firmware", "2.3.4", "2.3.4"),
                ("unique-id", "unique_id", "00112233445566", "00112233445566"),
                ("oem", "oem", "7", 7), ("operating-voltage", "operating_voltage", "3", 3),
                ("line15", "line15", "2", 2)):
            with self.subTest(word):
                self.enter(f'[data-word="{word}"]', text)
                self.bench_has(word, key, value=value)

    def test_every_fault(self) -> None:
        badge = "#fault-count"
        for fault, numbers, state in (
                ("silence", {}, {"silence": True}), ("late", {"late": "40"}, {"late_ms": 40}),
                ("corrupt", {"corrupt": "25"}, {"corrupt_percent": 25}),
                ("split", {"split": "5", "split gap": "30"}, {"split_size": 5, "split_gap_ms": 30}),
                ("addresses", {"addresses": "7", "addresses to": "9"}, {"addresses": [7, 9]}),
                ("double", {}, {"double": True})):
            with self.subTest(fault):
                for field, number in numbers.items():
                    self.enter(f'[data-fault-value="{field}"]', number)
                without = self.world.state()["faults"]
                switch = f'[data-fault="{fault}"]'
                self.page.click(switch)
                for key, value in state.items():
                    self.bench_has(fault, "faults", key, value=value)
                self.is_checked(switch, True)
                self.shows(badge, "1 fault on")
                self.page.click(switch)
                self.bench_has(f"no {fault}", "faults", value=without)
                self.is_checked(switch, False)
                self.shows(badge, "no faults")

    def test_a_number_of_a_fault_that_is_on_counts_at_once(self) -> None:
        self.page.click('[data-fault="late"]')
        self.is_checked('[data-fault="late"]', True)
        self.enter('[data-fault-value="late"]', "70")
        self.bench_has("later", "faults", "late_ms", value=70)
        self.enter('[data-fault-value="late"]', "0")
        self.page.until("what is wrong", """return document.querySelector("#message").innerText
            .includes("1 to 600000");""")
        self.bench_has("as it was", "faults", "late_ms", value=70)

    def test_cut_line(self) -> None:
        # The daemon opens its line once; another one finds what has come in its place.
        self.addCleanup(self.world.start, "daemon")
        self.addCleanup(self.world.stop, "daemon")
        switch = '[data-fault="disconnect"]'
        self.page.click(switch)
        self.bench_has("the line is cut", "faults", "disconnected", value=True)
        self.is_checked(switch, True)
        self.page.click(switch)
        self.bench_has("the line is whole", "faults", "disconnected", value=False)
        self.is_checked(switch, False)

    def test_all_faults_are_ended_at_once(self) -> None:
        for fault in ("silence", "addresses", "double"):
            self.page.click(f'[data-fault="{fault}"]')
        self.shows("#fault-count", "3 faults on")
        self.page.click("#healthy")
        self.shows("#fault-count", "no faults")
        for key, value in (("silence", False), ("addresses", None), ("double", False)):
            self.bench_has("healthy", "faults", key, value=value)

    def test_faults_of_a_moment_are_counted(self) -> None:
        self.partner_is("tap", "here")
        for fault, number, counter in (("corrupt next", "2", "checksum_errors"),
                                       ("garbage", "40", "skipped_bytes")):
            with self.subTest(counter):
                button = f'[data-fault="{fault}"]'
                self.enter(f'[data-fault-value="{fault}"]', number)
                count = f"Number(document.querySelector('[data-counter=\"{counter}\"]')" \
                        ".innerText.replace(/\\D/g, ''))"
                before = self.page.run(f"return {count};")
                self.page.click(button)
                self.page.until(f"{counter} grows by {number}",
                                f"return {count} >= arguments[0];", before + int(number))

    def test_restart(self) -> None:
        self.world.bench("input analog 4444", "ignition off")
        self.page.click("#restart")
        self.bench_has("the start", "ignition", value=True)
        self.world.wait_for("the input", lambda: self.world.input("analog")["value"] != 4444)
        # dov-dbus asks for digests once.
        self.bench_has("the digests go on", "digest_ms", value=100)
        self.world.bench("input analog 1234")
        self.input_arrives("analog", 1234)

    def test_any_word(self) -> None:
        self.enter("#bench-line", "frequency-output 4711")
        self.bench_has("the word", "frequency_output", value=4711)
        self.enter("#bench-line", "nonsense")
        self.page.until("what is wrong is told",
                        "return document.querySelector('#message').innerText"
                        ".includes(arguments[0]);", "nonsense")
