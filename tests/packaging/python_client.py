#!/usr/bin/python3
"""The typed Python client: its types, and the same tests against the daemon and against the mock.

    python_client.py PROGRAM
"""
from __future__ import annotations

import asyncio
import gc
import inspect
import json
import os
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path
from typing import Any, AsyncGenerator, Awaitable, Callable, Iterator

import stale
from mock import Daemon_side, Mock_side, as_configured, check_no_power_off, expect
from roles import ROLES, command_as, policy_for_real_users, policy_for_this_user
from world import DEADLINE, PREFIX, SOURCES, Bus_alone, Mock_world, World, open_policy

CALLER = Path(__file__).with_name("python_caller.py")
PACKAGE = SOURCES / "data/python"
EXAMPLES = SOURCES / "data/examples/python"
sys.path.insert(0, str(PACKAGE))
import dov  # noqa: E402 (found by the line above)
import make_interfaces  # noqa: E402
from dov.remote import Remote  # noqa: E402

SAMPLES: dict[str, Any] = {"bool": True, "int": 7, "float": 12.5, "str": "/media/"}
WRONG = """import dov
async def wrong(terminal: dov.Terminal) -> None:
    await terminal.backlight.set_brightness("50")
    level: str = await terminal.outputs.digital[0].is_on()
    async for change in terminal.inputs.analog[0].changes():
        print(change.volts)
    async for path, connected in terminal.media.connection():
        print(path + connected)
"""

Side = Daemon_side | Mock_side


# What needs no service.


def check_types() -> None:
    with tempfile.TemporaryDirectory(prefix="dov-mypy-") as name:
        def errors(*files: Path) -> list[str]:
            done = subprocess.run(
                ["/usr/bin/python3", "-m", "mypy", "--strict", "--cache-dir", name,
                 "--no-error-summary", *files], check=False, capture_output=True, text=True,
                env={**os.environ, "MYPYPATH": str(PACKAGE)})
            return [line for line in (done.stdout + done.stderr).splitlines() if "error" in line]

        expect("mypy", errors(PACKAGE / "dov", *sorted(EXAMPLES.glob("*.py"))), [])
        wrong = Path(name) / "wrong.py"
        wrong.write_text(WRONG)
        found = [line.split(":")[1] for line in errors(wrong)]
        expect("lines with a wrong type", found, ["3", "4", "6", "8"])


def check_generated() -> None:
    file = PACKAGE / "dov/interfaces.py"
    stale.check([stale.Kept(str(file.relative_to(SOURCES)), file.read_text(),
                            make_interfaces.module(SOURCES / "data"))], "python")


def remotes(holder: object) -> Iterator[Remote]:
    for value in vars(holder).values():
        for part in value if isinstance(value, tuple) else (value,):
            if isinstance(part, Remote):
                yield part
            elif type(part).__module__ == "dov.terminal":
                yield from remotes(part)


def check_objects() -> None:
    catalogue = json.loads((SOURCES / "data/objects.json").read_text())
    interface = {kind["name"]: kind["interface"] for kind in catalogue["kinds"]}
    expect("the objects of a terminal",
           sorted((f"{PREFIX}/{remote.path}", remote.INTERFACE)
                  for remote in remotes(dov.Terminal())),
           sorted((row["path"], interface[row["kind"]]) for row in catalogue["objects"]))


# Waiting.


async def soon(what: str, waiting: Awaitable[Any]) -> Any:
    try:
        return await asyncio.wait_for(waiting, DEADLINE)
    except asyncio.TimeoutError:
        sys.exit(f"not in time: {what}")


async def until(what: str, happened: Callable[[], Awaitable[bool]]) -> None:
    async def poll() -> None:
        while not await happened():
            await asyncio.sleep(0.02)
    await soon(what, poll())


async def raised(call: Awaitable[Any]) -> str:
    try:
        return str(await soon("an answer", call))
    except dov.Error as error:
        return type(error).__name__


# The tests, each of which gets a terminal and who stands behind it.


async def without_values(terminal: dov.Terminal, side: Side) -> None:
    unknown = (terminal.inputs.analog[0].get_value, terminal.inputs.frequency[0].get_value,
               terminal.inputs.voltage[5].get_value, terminal.inputs.temperature[0].get_value,
               terminal.inputs.ambient_light[0].get_value, terminal.ignition.get_mode,
               terminal.versions.hardware.get, terminal.configuration.get,
               terminal.oem_profile.get_code)
    for getter in unknown:
        expect(f"{getter}", await raised(getter()), "No_value_yet")
    expect("the number", await terminal.versions.serial_number.get(), "1234\n")


async def every_method(terminal: dov.Terminal, side: Side) -> list[Any]:
    """What each method of each object answers, but the one that powers off."""
    answers = []
    for remote in remotes(terminal):
        for name, method in inspect.getmembers(type(remote), inspect.iscoroutinefunction):
            if name.startswith("_") or (remote.path, name) == ("device/system/power", "suspend"):
                continue
            kinds = [parameter.annotation for parameter in
                     list(inspect.signature(method).parameters.values())[1:]]
            answer = await raised(method(remote, *(SAMPLES[kind] for kind in kinds)))
            answers.append((remote.path, name, answer))
    return answers


async def collect(changes: AsyncGenerator[Any, None], found: list[Any]) -> None:
    async for change in changes:
        found.append(change)


def counted(**values: int) -> dict[str, int]:
    """Every input of the digest, 0 but for these."""
    names = [*(f"digital/{n}" for n in range(4)), "ambientlight/0", "analog/0", "frequency/0"]
    return {f"device/io/input/{name}": values.get(name.split("/")[0], 0) for name in names}


async def hear_changes(terminal: dov.Terminal, side: Side) -> None:
    analog, found = terminal.inputs.analog[0], []
    levels: list[Any] = []
    await analog.set_hysteresis(9.0)
    side.report_digest(counted(analog=2000))
    await until("a first value", lambda: equals(analog.get_value(), 2.0))
    tasks = [asyncio.create_task(collect(analog.changes(hysteresis=0.05), found)),
             asyncio.create_task(collect(terminal.inputs.digital[1].changes(), levels))]
    # What is told from here on has been asked for.
    await until("the values as they are", lambda: true(bool(found) and bool(levels)))
    expect("hysteresis", await analog.get_hysteresis(), 0.05)
    for millivolts in (2500, 2520, 2600):
        side.report_digest(counted(analog=millivolts, digital=1))
    await until("changes", lambda: true(len(found) > 2 and len(levels) > 1))
    expect("changes", found, [dov.Change(value, False) for value in (2.0, 2.5, 2.6)])
    expect("levels", levels, [False, True])
    expect("the value", await analog.get_value(), 2.6)
    later: list[Any] = []
    tasks.append(asyncio.create_task(collect(analog.changes(), later)))
    await until("the value as it is", lambda: true(later == [dov.Change(2.6, False)]))
    await analog.set_time_out(130)
    await until("repetition", lambda: true(dov.Change(2.6, True) in found))
    await analog.set_time_out(0)
    await ended(*tasks)


async def hear_nothing_older(terminal: dov.Terminal, side: Side) -> None:
    """The value as it is comes first also while it changes all the time."""
    analog = terminal.inputs.analog[0]
    await analog.set_hysteresis(0.0)
    for _ in range(20):
        side.report_digest(counted(analog=999))
        await until("the first value", lambda: equals(analog.get_value(), 0.999))
        found: list[dov.Change] = []
        task = asyncio.create_task(collect(analog.changes(), found))
        for millivolts in range(1000, 1010):
            side.report_digest(counted(analog=millivolts))
            await asyncio.sleep(0)
        await until("the last value", lambda: true(bool(found) and found[-1].value > 1.0085))
        await ended(task)
        told = [change.value for change in found]
        expect("rising values", told, sorted(set(told)))


async def hear_signals(terminal: dov.Terminal, side: Side) -> None:
    with terminal.button.short_press() as presses, terminal.media.connection() as media, \
            terminal.atx.received() as received, terminal.buzzer.volume_changed() as volumes, \
            terminal.inputs.voltage[2].max_pass() as passes:
        await terminal.lock.is_hold()  # behind it, the bus knows what is listened for
        side.press()
        expect("a press", await soon("press", anext(presses)), 1)
        side.world.set_media({"usb7"})
        medium = side.world.medium("usb7")
        expect("a medium", await soon("medium", anext(media)), (medium, True))
        side.world.set_media(set())
        expect("a medium", await soon("medium", anext(media)), (medium, False))
        side.acknowledge()
        expect("acknowledgement", await soon("acknowledgement", anext(received)), None)
        await terminal.buzzer.set_volume(3.7)
        expect("the volume", await soon("volume", anext(volumes)), 3)
        await terminal.inputs.voltage[2].set_max_value(14.5)
        side.report_voltages({f"device/io/input/voltage/{n}": 15000 for n in range(3)}, 0)
        expect("a limit", await soon("limit", anext(passes)), 15.0)
    levels: list[Any] = []
    task = asyncio.create_task(collect(terminal.ignition.changes(), levels))
    await until("ignition", lambda: true(levels == [True]))
    side.ignition(False, 3)
    await until("ignition", lambda: true(levels == [True, False]))
    expect("the mode", await terminal.ignition.get_mode(), 3)
    await ended(task)


async def set_and_read(terminal: dov.Terminal, side: Side) -> None:
    await terminal.backlight.set_brightness(50)
    expect("brightness", await terminal.backlight.get_brightness(), 50.0)
    await terminal.outputs.digital[2].set(True, False)
    expect("an output", (await terminal.outputs.digital[2].is_on(),
                         await terminal.outputs.digital[2].is_enabled()), (True, False))
    await terminal.leds[19].set_brightness(30)
    expect("an LED", await terminal.leds[19].get_brightness(), 0.0)
    expect("a switch", await terminal.power.can[3].suspend(), 0)
    expect("a switch", await terminal.power.can[3].is_suspended(), True)


async def follow_restart(terminal: dov.Terminal, side: Side) -> None:
    frequency, found = terminal.inputs.frequency[0], []
    presses = terminal.button.short_press()
    task = asyncio.create_task(collect(frequency.changes(hysteresis=10), found))
    await until("hysteresis", lambda: equals(frequency.get_hysteresis(), 10.0))
    side.report_digest(counted(frequency=500))
    await until("a change", lambda: true(dov.Change(500.0, False) in found))
    side.world.stop_service()
    await until("the end of the service", lambda: true(not terminal.is_there))
    expect("a call of nobody", await raised(terminal.lock.is_hold()), "No_service")
    waiting = asyncio.create_task(terminal.wait())
    await asyncio.to_thread(side.world.start_service)
    await soon("the service", waiting)
    await until("hysteresis again", lambda: equals(frequency.get_hysteresis(), 10.0))
    side.report_digest(counted(frequency=600))
    await until("a change", lambda: true(dov.Change(600.0, False) in found))
    side.press()
    expect("a press", await soon("press", anext(presses)), 1)
    await ended(task)


async def end_of_the_bus(terminal: dov.Terminal, side: Side) -> None:
    presses = terminal.button.short_press()
    changes = asyncio.create_task(collect(terminal.inputs.digital[0].changes(), []))
    side.world.stop_bus()
    expect("signals", await raised(anext(presses)), "No_bus")
    expect("changes", await raised(changes), "No_bus")
    expect("a call", await raised(terminal.lock.is_hold()), "No_bus")
    expect("the wait", await raised(terminal.wait()), "No_bus")


async def open_and_close(address: str) -> None:
    """Nothing is left of a terminal that has been closed."""
    descriptors = len(os.listdir("/proc/self/fd"))
    for _ in range(20):
        async with dov.Terminal(address) as terminal:
            terminal.button.short_press()
            expect("a call", await soon("answer", terminal.lock.is_hold()), False)

    async def is_closed() -> bool:
        gc.collect()
        return len(os.listdir("/proc/self/fd")) <= descriptors
    await until("closed files", is_closed)


async def true(condition: bool) -> bool:
    return condition


async def equals(call: Awaitable[Any], value: Any) -> bool:
    return await raised(call) == str(value)


async def ended(*tasks: asyncio.Task[Any]) -> None:
    for task in tasks:
        task.cancel()
    await asyncio.gather(*tasks, return_exceptions=True)


async def against(side: Side) -> list[Any]:
    """All of it. Returns what every method answered."""
    async with dov.Terminal(side.world.address) as terminal:
        await without_values(terminal, side)
        for test in (hear_changes, hear_nothing_older, hear_signals, set_and_read):
            await test(terminal, side)
        answers = await every_method(terminal, side)
        await follow_restart(terminal, side)
        await open_and_close(side.world.address)
        await end_of_the_bus(terminal, side)
    expect("without a bus", await raised(dov.Terminal(side.world.address).__aenter__()), "No_bus")
    return answers


async def without_a_service() -> None:
    with Bus_alone(open_policy()) as bus:
        async with dov.Terminal(bus.address, wait=False) as terminal:
            expect("without a service", terminal.is_there, False)
            expect("a call", await raised(terminal.lock.is_hold()), "No_service")


# Who may do what, as programs of their own.


def outcomes(world: World, prefix: list[str]) -> list[str]:
    """What becomes of a change, a reading, and changes with a setting."""
    package = world.root / "python"
    if not package.exists():  # where everybody may read
        shutil.copytree(PACKAGE / "dov", package / "dov")
    done = subprocess.run(
        [*prefix, "/usr/bin/python3", "-B", "-", world.address], check=True, text=True, cwd="/",
        input=CALLER.read_text(), stdout=subprocess.PIPE, timeout=DEADLINE,
        env={**world.environment(), "PYTHONPATH": str(package)})
    return done.stdout.splitlines()


def check_role(side: Side, role: str, prefix: list[str]) -> None:
    side.report_digest(counted(analog=2000))
    if role == "other":
        expected = ["Not_allowed", "100.0", "Not_allowed"]
    else:
        expected = ["None", "50.0", "Change(value=2.0, repeated=False)"]
    expect(f"{role} of {type(side).__name__}", outcomes(side.world, prefix), expected)


def check_roles(program: str) -> None:
    for role in ROLES:
        with World(program, policy_for_this_user(role)) as world:
            check_role(Daemon_side(world), role, [])
    with Mock_world(open_policy(), allowed=False) as mock:
        check_role(Mock_side(mock), "other", [])
    if os.geteuid() != 0:
        print("not root: no calls as other users")
        return
    for role in ROLES:
        with World(program, policy_for_real_users()) as world:
            check_role(Daemon_side(world), role, command_as(role))
    print("roles", flush=True)


# The examples, as programs.


def started(world: World, name: str, *arguments: str) -> subprocess.Popen[str]:
    return subprocess.Popen(["/usr/bin/python3", "-B", EXAMPLES / name, *arguments], text=True,
                            stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                            env={**world.environment(), "PYTHONPATH": str(PACKAGE)})


def printed(world: World, name: str, *arguments: str) -> str:
    with started(world, name, *arguments) as running:
        return running.communicate(timeout=DEADLINE)[0]


def run_examples(side: Side) -> None:
    world = side.world
    expect("no_value_yet", printed(world, "no_value_yet.py"), "controller not heard yet\n")
    side.report_voltages({f"device/io/input/voltage/{n}": 11800 for n in range(3)}, 0)
    side.wait("voltage", lambda: round(
        float(side.call("device/io/input/voltage/0", "get_value")), 6) == 11.8)
    expect("read_input", printed(world, "read_input.py"), "supply 11.8 V\n")
    expect("set_backlight", printed(world, "set_backlight.py", "50"), "")
    expect("the brightness", float(side.call("device/display/backlight", "get_brightness")), 50.0)
    side.report_digest(counted(analog=3000))
    with started(world, "hear_changes.py") as running:
        expect("hear_changes", line_of(running), "analog 3.000 V\n")
        side.report_digest(counted(analog=3100))
        expect("hear_changes", line_of(running), "analog 3.100 V\n")
        running.terminate()
    with started(world, "ignition_and_button.py") as running:
        expect("ignition_and_button", line_of(running), "ignition on\n")
        side.ignition(False, 1)
        expect("ignition_and_button", line_of(running), "ignition off\n")
        side.press()
        expect("ignition_and_button", line_of(running), "pressed\n")
        running.terminate()


def line_of(running: subprocess.Popen[str]) -> str:
    assert running.stdout is not None
    line = running.stdout.readline()
    return line + running.stdout.read() if line.startswith("Traceback") else line


def main() -> None:
    program = sys.argv[1]
    check_types()
    check_generated()
    check_objects()
    print("types and objects", flush=True)
    with World(program, open_policy()) as daemon, \
            Mock_world(open_policy(), **as_configured(daemon)) as mock:
        sides = (Daemon_side(daemon), Mock_side(mock))
        for side in sides:
            run_examples(side)
        print("examples", flush=True)
        check_no_power_off(daemon)
    with World(program, open_policy()) as daemon, \
            Mock_world(open_policy(), **as_configured(daemon)) as mock:
        answers = [asyncio.run(against(side)) for side in (Daemon_side(daemon), Mock_side(mock))]
        for expected, found in zip(*answers):
            expect("an answer of the mock", found, expected)
        print(f"{len(answers[0])} methods called", flush=True)
        check_no_power_off(daemon)
    asyncio.run(without_a_service())
    check_roles(program)


if __name__ == "__main__":
    main()
