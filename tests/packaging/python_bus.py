#!/usr/bin/python3
"""The connection of the Python client where the bus is difficult, and where much happens at once.

    python_bus.py PROGRAM
"""
from __future__ import annotations

import asyncio
import gc
import os
import random
import socket
import sys
import tempfile
import threading
from pathlib import Path
from typing import Any
from unittest import mock as patches

from python_client import dov, ended, raised, soon, until
from mock import Daemon_side, expect
from world import Bus_alone, World, open_policy

NOBODY_IN = '<busconfig><limit name="max_completed_connections">0</limit></busconfig>'
MANY_CALLS = 300  # the message bus itself takes 128
ROUNDS = 100


async def entered(address: str) -> str:
    """How entering a terminal ends: by which exception, and what it says."""
    try:
        async with dov.Terminal(address, wait=False):
            return "entered"
    except dov.Error as error:
        return f"{type(error).__name__}: {error}"


# A bus that is none, or not yet, or no more.


async def hangs_up(path: Path) -> None:
    """As a bus does that ends, or has too many clients that are not greeted yet."""
    async def hang_up(reader: asyncio.StreamReader, writer: asyncio.StreamWriter) -> None:
        await reader.read(1)
        writer.close()
    async with await asyncio.start_unix_server(hang_up, path):
        expect("a bus that hangs up", await soon("an end", entered(f"unix:path={path}")),
               "No_bus: no message bus: the message bus has ended")


async def does_not_answer(path: Path) -> None:
    with socket.socket(socket.AF_UNIX) as listener, \
            patches.patch.object(dov.bus, "ANSWER_SECONDS", 0.1):
        listener.bind(str(path))
        listener.listen()
        expect("a bus that does not answer",
               await soon("an end", entered(f"unix:path={path}")),
               "No_bus: no message bus: it does not answer")


async def leaves_nothing_when_cancelled(path: Path) -> None:
    with socket.socket(socket.AF_UNIX) as listener:
        listener.bind(str(path))
        listener.listen()
        before = open_files()
        task = asyncio.create_task(entered(f"unix:path={path}"))
        await until("connection", lambda: is_true(open_files() > before))
        await ended(task)
        del task  # whose exception knows the connection
        await until("closed files", lambda: is_true(open_files() == before))


async def refuses(address: str) -> None:
    outcome = await soon("an end", entered(address))
    if not outcome.startswith("No_bus: no message bus: The maximum number"):
        sys.exit(f"a bus that refuses: {outcome}")


def open_files() -> int:
    gc.collect()
    return len(os.listdir("/proc/self/fd"))


async def is_true(condition: bool) -> bool:
    return condition


# A service that leaves while it is asked for.


async def leaves_at_the_start(world: World) -> None:
    """The answer about the owner and the news of its end come together."""
    greet = dov.bus._be_greeted

    async def greet_and_stop(bus: Any) -> None:
        await greet(bus)
        # Runs when the question has been sent, and lets nothing be read before the end.
        asyncio.get_running_loop().call_soon(world.stop_service)

    with patches.patch.object(dov.bus, "_be_greeted", greet_and_stop):
        async with dov.Terminal(world.address, wait=False) as terminal:
            await until("the end", lambda: is_true(not terminal.is_there))
            expect("a call", await raised(terminal.lock.is_hold()), "No_service")
    world.start_service()


# Much at once.


async def calls_often(terminal: dov.Terminal) -> None:
    calls = [terminal.lock.is_hold() for _ in range(MANY_CALLS)]
    expect("calls at once", set(await soon("answers", asyncio.gather(*calls))), {False})


async def can_be_cancelled(terminal: dov.Terminal) -> None:
    """At whatever moment: also when an answer has just come."""
    async def call_on() -> None:
        while True:
            await terminal.lock.is_hold()

    for _ in range(ROUNDS):
        task = asyncio.create_task(call_on())
        for _ in range(random.randrange(1, 40)):
            await asyncio.sleep(0)
        task.cancel()
        await soon("a cancelled call", asyncio.wait([task]))


async def hears_what_was_asked_before(side: Daemon_side) -> None:
    """Before the terminal was entered, and again when it is entered anew."""
    terminal = dov.Terminal(side.world.address)
    presses = terminal.button.short_press()
    for _ in range(2):
        async with terminal:
            side.press()
            expect("a press", await soon("press", anext(presses)), 1)


async def drops_signals_anywhere(terminal: dov.Terminal) -> None:
    """The last reference may be dropped in another thread; the connection is for one alone."""
    removing: list[int] = []
    remove = dov.bus.Bus.remove

    def note_and_remove(bus: Any, *arguments: Any) -> None:
        removing.append(threading.get_ident())
        remove(bus, *arguments)

    with patches.patch.object(dov.bus.Bus, "remove", note_and_remove):
        kept = [terminal.button.short_press()]
        thread = threading.Thread(target=kept.clear)
        thread.start()
        thread.join()
        await until("removal", lambda: is_true(bool(removing)))
    expect("the thread that removes", removing, [threading.get_ident()])


async def at_once(side: Daemon_side) -> None:
    async with dov.Terminal(side.world.address) as terminal:
        await calls_often(terminal)
        await can_be_cancelled(terminal)
        await drops_signals_anywhere(terminal)
    await hears_what_was_asked_before(side)


def main() -> None:
    with tempfile.TemporaryDirectory(prefix="dov-python-bus-") as name:
        for number, test in enumerate((hangs_up, does_not_answer, leaves_nothing_when_cancelled)):
            asyncio.run(test(Path(name, str(number))))
    with Bus_alone(NOBODY_IN) as bus:
        asyncio.run(refuses(bus.address))
    with World(sys.argv[1], open_policy()) as world:
        asyncio.run(at_once(Daemon_side(world)))
        asyncio.run(leaves_at_the_start(world))


if __name__ == "__main__":
    main()
