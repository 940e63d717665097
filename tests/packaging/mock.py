#!/usr/bin/python3
"""The template of python-dbusmock beside the daemon: the same objects, answers and signals.

    mock.py PROGRAM BUILD

BUILD has dov-watch and dov-controller, and what is installed of the client's part.
"""
from __future__ import annotations

import difflib
import importlib.metadata
import json
import pprint
import random
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import time
import xml.etree.ElementTree as ET
from pathlib import Path
from typing import Any, Callable, Optional

import dbus
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib

from clients import EXAMPLES, check, installed, run
from introspection import INTERFACES, as_file
from world import DEADLINE, PREFIX, SERVICE, SOURCES, Mock_world, World, open_policy

CATALOGUE = json.loads((SOURCES / "data/objects.json").read_text())
KINDS = {kind["name"]: kind for kind in CATALOGUE["kinds"]}
INTERFACE_OF = {row["path"][len(PREFIX) + 1:]: KINDS[row["kind"]]["interface"]
                for row in CATALOGUE["objects"]}
SEEDS = range(1, 9)
STEPS = 120
MILLI = 0.001


class Client:
    """Calls and hears one of the two."""

    def __init__(self, world: World) -> None:
        self.world = world
        self.heard: list[tuple[Any, ...]] = []
        self._bus = dbus.bus.BusConnection(world.address, mainloop=DBusGMainLoop())
        self._bus.add_signal_receiver(self._hear, bus_name=SERVICE, path_keyword="path",
                                      member_keyword="member", interface_keyword="interface")
        # An answer behind it: from here on every signal is heard.
        self._bus.get_name_owner(SERVICE)

    def call(self, path: str, method: str, signature: str = "", *values: Any) -> Any:
        return self._bus.call_blocking(SERVICE, f"{PREFIX}/{path}", INTERFACE_OF[path], method,
                                       signature, values)

    def wait(self, what: str, happened: Callable[[], bool],
             why: Optional[Callable[[], Any]] = None) -> None:
        """Fails with what there is in its place: by default what was heard."""
        end = time.monotonic() + DEADLINE
        tick = GLib.timeout_add(20, lambda: True)
        while not happened():
            if time.monotonic() > end:
                sys.exit(f"{type(self.world).__name__}: no {what}; there is "
                         f"{why() if why else self.heard[-20:]}")
            GLib.MainContext.default().iteration(True)
        GLib.source_remove(tick)

    def heard_until(self, press: Callable[[], None]) -> list[tuple[Any, ...]]:
        """The signals up to a press of the button that is made now."""
        press()
        self.wait("press of the button",
                  lambda: any(signal[1] == "short_press" for signal in self.heard))
        signals, self.heard = self.heard, []
        return signals

    def _hear(self, *values: Any, path: str, member: str, interface: str) -> None:
        if interface.startswith(SERVICE):
            self.heard.append((path[len(PREFIX) + 1:], str(member),
                               *(plain(value) for value in values)))


def plain(value: Any) -> Any:
    if value is None:
        return None
    for is_type, made in ((dbus.Boolean, bool), (float, float), (int, int), (str, str)):
        if isinstance(value, is_type):
            return made(value)
    return tuple(plain(part) for part in value)


def expect(what: str, found: Any, expected: Any) -> None:
    if found != expected:
        difference = difflib.unified_diff(
            pprint.pformat(expected).splitlines(), pprint.pformat(found).splitlines(),
            "expected", "found", lineterm="", n=2)
        sys.exit("\n".join([f"{what}:", *difference]))


# One side of each trial: what the daemon hears from its controller, and what the mock is told.


class Daemon_side(Client):
    def press(self) -> None:
        self.world.tell(b"\x1c\x01")

    def report_digest(self, values: dict[str, int]) -> None:
        self.world.tell(b"\x36" + bytes([digital_byte(values)]) + b"".join(
            values[f"device/io/input/{name}/0"].to_bytes(2, "big")
            for name in ("analog", "ambientlight", "frequency")))

    def report_digital(self, values: dict[str, int]) -> None:
        self.world.tell(b"\x10" + bytes([digital_byte(values)]))

    def report_voltages(self, values: dict[str, int], first: int) -> None:
        self.world.tell(bytes([0x24 if first else 0x22]) + b"".join(
            values[f"device/io/input/voltage/{first + n}"].to_bytes(2, "big") for n in range(3)))

    def report_temperatures(self, values: dict[str, int]) -> None:
        self.world.tell(b"\x28" + bytes(
            values[f"device/io/input/temperature/{n}"] & 0xff for n in range(6)))

    def ignition(self, on: bool, mode: int) -> None:
        self.world.tell(bytes([0x06, mode, 0, 0, 1 if on else 0]))

    def acknowledge(self) -> None:
        self.world.tell(b"\x40")

    def output(self, number: int, on: bool, enabled: bool) -> None:
        code = 3 if not enabled else 2 if on else 1
        self.world.tell(bytes([0x34, 0, code << 2 * number]))


class Mock_side(Client):
    world: Mock_world

    def press(self) -> None:
        self.world.control("press_button")

    def report_digest(self, values: dict[str, int]) -> None:
        self._set(values, *(f"digital/{n}" for n in range(4)),
                  "ambientlight/0", "analog/0", "frequency/0")

    def report_digital(self, values: dict[str, int]) -> None:
        self._set(values, *(f"digital/{n}" for n in range(4)))

    def report_voltages(self, values: dict[str, int], first: int) -> None:
        self._set(values, *(f"voltage/{first + n}" for n in range(3)))

    def report_temperatures(self, values: dict[str, int]) -> None:
        self._set(values, *(f"temperature/{n}" for n in range(6)))

    def ignition(self, on: bool, mode: int) -> None:
        self.world.control("set_ignition", "by", on, mode)

    def acknowledge(self) -> None:
        self.world.control("acknowledge")

    def output(self, number: int, on: bool, enabled: bool) -> None:
        self.world.control("set_output", "ubb", number, on, enabled)

    def _set(self, values: dict[str, int], *names: str) -> None:
        for name in names:
            path = f"device/io/input/{name}"
            self.world.control("set_input", "sv", path, measured(path, values[path]))


def digital_byte(values: dict[str, int]) -> int:
    return sum(values[f"device/io/input/digital/{n}"] << n for n in range(4))


def measured(path: str, count: int) -> Any:
    """In the unit of the input."""
    name = path.split("/")[-2]
    if name == "digital":
        return dbus.Boolean(count)
    scaled = {"analog": MILLI, "voltage": MILLI, "ambientlight": MILLI * 100 / 4.995}
    value = count * scaled.get(name, 1.0)
    return min(value, 100.0) if name == "ambientlight" else value


# Random sequences of what a terminal measures and what clients do.


def random_steps(seed: int) -> list[tuple[Any, ...]]:
    rng = random.Random(seed)
    values = {path: 0 for path in INTERFACE_OF if path.startswith("device/io/input/")}
    steps: list[tuple[Any, ...]] = []
    for _ in range(STEPS):
        if rng.random() < 0.45:
            steps.append(("call", *random_call(rng)))
        else:
            change(rng, values)
            steps.append(random_report(rng, dict(values)))
    return steps


def change(rng: random.Random, values: dict[str, int]) -> None:
    for path in rng.sample(sorted(values), 6):
        name = path.split("/")[-2]
        if name == "digital":
            values[path] ^= 1
        elif name == "temperature":
            values[path] = rng.randint(-128, 127)
        else:
            values[path] = rng.choice((rng.randint(0, 6000), rng.randint(0, 65535), values[path]))


def random_report(rng: random.Random, values: dict[str, int]) -> tuple[Any, ...]:
    return rng.choice((
        ("report_digest", values), ("report_digest", values), ("report_digital", values),
        ("report_voltages", values, 0), ("report_voltages", values, 3),
        ("report_temperatures", values), ("acknowledge",),
        ("ignition", rng.random() < 0.5, rng.randint(0, 255)),
        ("output", rng.randint(0, 3), rng.random() < 0.5, rng.random() < 0.7)))


def random_call(rng: random.Random) -> tuple[Any, ...]:
    """Of every interface equally often, but of those whose calls a controller answers."""
    paths = sorted(path for path, interface in INTERFACE_OF.items()
                   if ".input." in interface or "output.digital" in interface
                   or path in ("device/buzzer", "device/camera/power", "multi_led/7",
                               "device/operating_voltage", "power/lock"))
    chosen = rng.choice(sorted({INTERFACE_OF[path] for path in paths}))
    path = rng.choice([path for path in paths if INTERFACE_OF[path] == chosen])
    interface = ET.parse(INTERFACES / f"{INTERFACE_OF[path]}.xml").getroot()[0]
    methods = [method for method in interface.findall("method")
               if method.attrib["name"] != "set_time_out"]
    method = rng.choice(methods)
    types = "".join(argument.attrib["type"] for argument in method.findall("arg")
                    if argument.attrib["direction"] == "in")
    return (path, method.attrib["name"], types, *(random_value(rng, type) for type in types))


def random_value(rng: random.Random, type: str) -> Any:
    if type == "b":
        return rng.random() < 0.5
    if type == "d":
        return rng.choice((0.0, 0.05, 1.0, 10.0, 1e6, -3.7, float("nan"), rng.uniform(-150, 150)))
    return "/tmp/a sound.wav" if type == "s" else rng.randint(0, 300)


def walk(side: Daemon_side | Mock_side, steps: list[tuple[Any, ...]]) -> list[Any]:
    """What was answered and heard at each step."""
    found = []
    for name, *arguments in steps:
        answer = None
        if name == "call":
            answer = plain(side.call(*arguments))
        else:
            getattr(side, name)(*arguments)
        found.append((answer, side.heard_until(side.press)))
    return found


def states(client: Client) -> dict[tuple[str, str], Any]:
    """What every value and setting reads."""
    found = {}
    for row in CATALOGUE["objects"]:
        kind, path = KINDS[row["kind"]], row["path"][len(PREFIX) + 1:]
        members = [value["getter"] for value in kind["values"] if value["getter"]]
        members += [f"get_{setting['name']}" for setting in kind["settings"]]
        found |= {(path, member): plain(client.call(path, member)) for member in members}
    return found


def compare_sequences(program: str) -> None:
    for seed in SEEDS:
        steps = random_steps(seed)
        with World(program, open_policy()) as daemon, \
                Mock_world(open_policy(), digest_ms=0, poll_ms=0,
                           **as_configured(daemon)) as mock:
            sides = (Daemon_side(daemon), Mock_side(mock))
            found = [walk(side, steps) for side in sides]
            for step, expected, answered in zip(steps, *found):
                expect(f"seed {seed}, {step}: the mock", repr(answered), repr(expected))
            expect(f"seed {seed}: the mock reads", repr(states(sides[1])), repr(states(sides[0])))
            check_no_power_off(daemon)
    signals = sum(len(heard) - 1 for _, heard in found[0])
    print(f"{len(SEEDS)} sequences of {STEPS} steps, {signals} signals in the last", flush=True)


def as_configured(world: World) -> dict[str, Any]:
    """What the terminal and its configuration decide, as parameters of the mock."""
    client = Client(world)
    own = {row["path"][len(PREFIX) + 1:]: row["kind"] for row in CATALOGUE["objects"]}
    return {"versions": {path: str(client.call(path, "get")) for path, kind in own.items()
                         if kind == "system_version"},
            "suspended": [path for path, kind in own.items()
                          if kind == "power_switch" and client.call(path, "is_suspended")]}


def check_no_power_off(daemon: World) -> None:
    if daemon.power_offs():
        sys.exit("the daemon has switched the terminal off")


# The description, the examples of the document, and programs.


def check_descriptions(mock: World) -> None:
    bus = dbus.bus.BusConnection(mock.address)
    for path, interface in INTERFACE_OF.items():
        text = bus.call_blocking(SERVICE, f"{PREFIX}/{path}", "org.freedesktop.DBus.Introspectable",
                                 "Introspect", "", ())
        described = next(element for element in ET.fromstring(text).findall("interface")
                         if element.attrib["name"].startswith(SERVICE))
        expect(path, as_file(described), (INTERFACES / f"{interface}.xml").read_text())
    print(f"{len(INTERFACE_OF)} objects described", flush=True)


def examples() -> list[tuple[str, str, str, tuple[Any, ...]]]:
    made = {"b": lambda text: text == "true", "d": float, "s": str}
    found = []
    for line in re.findall(r"^\$ busctl call (.*)", (SOURCES / "docs/dbus-api.md").read_text(),
                           re.MULTILINE):
        words = shlex.split(line.replace("$Q", SERVICE).replace("$P/", ""))
        _, path, _, method, types, *texts = (*words, *([""] * (4 - len(words) + 1)))
        found.append((path, method, types,
                      tuple(made.get(type, int)(text) for type, text in zip(types, texts))))
    return found


def compare_examples(daemon: World, mock: Mock_world) -> None:
    clients = (Client(daemon), Client(mock))
    for path, method, types, values in examples():
        answers = [plain(client.call(path, method, types, *values)) for client in clients]
        expect(f"{path} {method} of the mock", answers[1], answers[0])
    expect("the mock reads", states(clients[1]), states(clients[0]))
    for client in clients:
        client.wait("volume", lambda client=client: ("device/buzzer", "volume_changed", 3)
                    in client.heard)
    print(f"{len(examples())} examples answered", flush=True)


class Watch:
    """dov-watch at work."""

    def __init__(self, program: str, world: World) -> None:
        self._output = world.root / "watched"
        with self._output.open("w") as output:
            self._running = subprocess.Popen([program, "--json", "--address", world.address],
                                             stdout=output)

    def shown(self) -> dict[str, Any]:
        """Every value as it was told last, and each event as told at least once. Whether a value
        was read or signalled is a matter of time."""
        found: dict[str, Any] = {}
        for line in self._output.read_text().splitlines(keepends=True):
            if line.endswith("\n"):
                told = json.loads(line)
                name = VALUE_OF.get((told["path"], told["member"]))
                event = f"{told['path']} {told['member']} {told['value']}"
                found |= {name: told["value"]} if name else {event: True}
        return found

    def end(self) -> None:
        self._running.terminate()
        self._running.wait()


def values_by_member() -> dict[tuple[str, str], str]:
    """A value's name, by path and by the method or the signal that tells it."""
    return {(row["path"], value[member]): f"{row['path']} {value['getter']}"
            for row in CATALOGUE["objects"] for value in KINDS[row["kind"]]["values"]
            for member in ("signal", "getter") if value["getter"] and value.get(member)}


VALUE_OF = values_by_member()


def compare_watch(program: str, sides: tuple[Daemon_side, Mock_side]) -> None:
    watches = [Watch(program, side.world) for side in sides]
    # What came before them can still be on its way, and is no matter here.
    names = set(VALUE_OF.values())

    def differences() -> list[str]:
        shown = [watch.shown() for watch in watches]
        return [f"{name}: {[each.get(name, 'nothing') for each in shown]}" for name in sorted(names)
                if name not in shown[0] or name not in shown[1] or shown[0][name] != shown[1][name]]

    try:
        sides[0].wait("first picture of dov-watch", lambda: not differences(), differences)
        for side in sides:
            side.call("device/io/output/digital/2", "on")
            side.call("device/buzzer", "set_volume", "d", 7.0)
            side.heard_until(side.press)
        names |= {f"{PREFIX}/device/buzzer volume_changed 7",
                  f"{PREFIX}/power/button short_press 1"}
        sides[0].wait("events told by dov-watch", lambda: not differences(), differences)
        for path, value in (("device/io/output/digital/2 is_on", True),
                            ("device/buzzer get_volume", 7)):
            sides[0].wait(path, lambda: all(watch.shown()[f"{PREFIX}/{path}"] == value
                                            for watch in watches), differences)
    finally:
        for watch in watches:
            watch.end()
    print(f"{len(names)} values and events of dov-watch", flush=True)


def compare_programs(daemon: World, mock: Mock_world) -> None:
    for number, name in enumerate(("client.py", "client.sh")):
        for world in (daemon, mock):
            check(world, EXAMPLES / name, 60 + number)


# What takes time, and what the mock alone can do.


def compare_time_out(side: Daemon_side | Mock_side) -> None:
    path = "device/io/input/frequency/0"
    side.call(path, "set_time_out", "u", 1)
    expect("the period", plain(side.call(path, "get_time_out")), 130)
    repeated = (path, "val_changed", plain(side.call(path, "get_value")), True)
    side.wait("repeated report", lambda: side.heard.count(repeated) > 1)
    side.call(path, "set_time_out", "u", 0)


def check_late_reports(mock: Mock_world) -> None:
    """An input that has been reported is reported again after a change of its settings."""
    client = Client(mock)
    path = "device/io/input/analog/0"
    for value in (2.5, 3.0):
        mock.control("set_input", "sv", path, value)
    client.call(path, "set_hysteresis", "d", 0.05)
    client.wait("late report", lambda: (path, "val_changed", 3.0, False) in client.heard)
    client.call(path, "set_max_value", "d", 2.75)
    client.wait("late limit", lambda: (path, "max_pass", 3.0) in client.heard)


def check_answers(client: Client, act: Callable[[str], None]) -> None:
    """What the controller answers: the same of the mock and of a daemon with dov-controller."""
    client.call("device/display/backlight", "set_brightness", "d", 50.025)
    client.wait("answer about the backlight", lambda: plain(
        client.call("device/display/backlight", "get_brightness")) == 127 * 0.3937007874015748)
    client.call("configuration", "set", "yyy", 2, 4, 20)
    client.wait("configuration", lambda: plain(client.call("configuration", "get")) == (2, 4, 20))
    client.call("configuration", "query", "yy", 7, 9)
    client.wait("configuration", lambda: plain(client.call("configuration", "get")) == (7, 9, 0))
    client.call("oem_profile", "set_code", "y", 9)
    client.wait("OEM code", lambda: plain(client.call("oem_profile", "get_code")) == 9)
    client.call("atx", "send_ack")
    client.wait("acknowledgement", lambda: ("atx", "received") in client.heard)
    act("button")
    client.wait("press", lambda: ("power/button", "short_press", 1) in client.heard)
    act("versions")
    for path, text in (("bootloader", "v2.1.7"), ("hardware", "v2.0")):
        client.wait(path, lambda: plain(client.call(f"version/{path}", "get")) == text)


def check_silence(mock: Mock_world) -> None:
    client = Client(mock)
    path = "device/io/input/voltage/2"
    mock.control("set_silent", "b", True)
    mock.control("set_input", "sv", path, 12.0)
    mock.control("press_button")
    mock.control("acknowledge")
    client.call("oem_profile", "set_code", "y", 77)
    expect("a silent input", plain(client.call(path, "get_value")), -1000000.0)
    mock.control("set_silent", "b", False)
    client.wait("report after silence", lambda: bool(client.heard))
    expect("after silence", client.heard, [(path, "val_changed", 12.0, False)])
    mock.control("set_silent", "b", True)


def refusal(call: Callable[[], Any]) -> str:
    try:
        call()
    except dbus.DBusException as error:
        return error.get_dbus_name().split(".")[-1]
    return "none"


def check_refusals() -> None:
    lock = f"{PREFIX}/power/lock"
    with Mock_world(open_policy()) as mock:
        bus = dbus.bus.BusConnection(mock.address)
        expect("without an interface",
               refusal(lambda: bus.call_blocking(SERVICE, lock, None, "hold", "", ())),
               "AccessDenied")
        for path, value in (("power/lock", 1.0), ("device/io/input/analog/0", 65.6),
                            ("device/io/input/ambientlight/0", 101.0)):
            expect(f"an input {path} of {value}",
                   refusal(lambda: mock.control("set_input", "sv", path, value)), "InvalidArgs")
    with Mock_world(open_policy(), allowed=False, interfaces=False,
                    suspended=["device/eth/power"]) as mock:
        bus = dbus.bus.BusConnection(mock.address)
        expect("a call without an interface",
               refusal(lambda: bus.call_blocking(SERVICE, lock, None, "is_hold", "", ())), "none")
        client = Client(mock)
        expect("a change", refusal(lambda: client.call("power/lock", "hold")), "AccessDenied")
        expect("a suspended switch", plain(client.call("device/eth/power", "is_suspended")), True)
        bus.call_blocking(SERVICE, PREFIX, "org.freedesktop.DBus.Mock", "Reset", "", ())
        expect("a change after a reset", refusal(lambda: client.call("power/lock", "hold")),
               "AccessDenied")
    print("refusals", flush=True)


def check_installed(build: str) -> None:
    """The template as it is installed, in the test of the example client."""
    with tempfile.TemporaryDirectory(prefix="dov-mock-") as name:
        prefix = installed(build, Path(name))
        share = next(prefix.glob("**/python-dbusmock")).parent
        test = (EXAMPLES / "test_client.py").read_text()
        template = str(share / "python-dbusmock/templates/dov.py")
        expect("the path in the example", test.count('"/usr/share/python-dbusmock'), 1)
        copy = share / "test_client.py"
        copy.write_text(test.replace("/usr/share/python-dbusmock/templates/dov.py", template))
        shutil.copy(EXAMPLES / "client.py", share)
        print(run("/usr/bin/python3", "-B", copy), flush=True)
        check_by_name(share)


def check_by_name(share: Path) -> None:
    """python-dbusmock finds what is installed by name since 0.29; before, by path alone."""
    version = importlib.metadata.version("python-dbusmock")
    if tuple(int(part) for part in version.split(".")[:2]) < (0, 29):
        print(f"python-dbusmock {version} looks for templates by path")
        return
    with Mock_world(open_policy(), share) as mock:
        expect("the mock by name", plain(Client(mock).call("power/lock", "is_hold")), False)
    print(f"python-dbusmock {version} finds the template by name", flush=True)


class Bench_world(World):
    """A daemon whose controller is dov-controller."""

    def __init__(self, program: str, controller: str) -> None:
        super().__init__(program, open_policy())
        self._controller = controller

    def _start_service(self) -> None:
        link = self.root / "line"
        self._start("the controller", [self._controller, "--link", link], subprocess.PIPE)
        self.wait_for("the controller", link.exists)
        self._start("the daemon", [self._program, "--port", str(link)])
        self.wait_for("the daemon", self._is_published)

    def say(self, command: str) -> None:
        """A command of dov-controller's."""
        commands = self._children[1].stdin
        assert commands is not None
        commands.write(f"{command}\n".encode())
        commands.flush()


def main() -> None:
    program, build = sys.argv[1:]
    watch, controller = (str(Path(build) / name) for name in ("dov-watch", "dov-controller"))
    with World(program, open_policy()) as daemon:
        with Mock_world(open_policy(), silent=True, **as_configured(daemon)) as mock:
            check_descriptions(mock)
            compare_examples(daemon, mock)
            compare_programs(daemon, mock)
            sides = (Daemon_side(daemon), Mock_side(mock))
            for side in sides:
                compare_time_out(side)
            mock.control("set_silent", "b", False)
            compare_watch(watch, sides)
            check_no_power_off(daemon)
    with Mock_world(open_policy()) as mock:
        check_late_reports(mock)
        check_answers(Client(mock), lambda what: act_on_mock(mock, what))
        with Bench_world(program, controller) as bench:
            check_answers(Client(bench), lambda what: act_on_bench(bench, what))
            check_no_power_off(bench)
        check_silence(mock)
    check_refusals()
    check_installed(build)
    compare_sequences(program)


def act_on_mock(mock: Mock_world, what: str) -> None:
    if what == "button":
        mock.control("press_button")
    else:
        mock.control("set_version", "ss", "version/bootloader", "v2.1.7")
        mock.control("set_version", "ss", "version/hardware", "v2.0")


def act_on_bench(bench: Bench_world, what: str) -> None:
    """The versions are asked for every 3 s."""
    if what == "button":
        bench.say("button press")


if __name__ == "__main__":
    main()
