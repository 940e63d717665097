#!/usr/bin/python3
"""The recipe for a broker, as the page has it, with mosquitto, which is restarted meanwhile.

    broker.py PROGRAM WATCH
"""
from __future__ import annotations

import json
import os
import random
import re
import socket
import subprocess
import sys
from pathlib import Path

from world import SOURCES, World, open_policy

# Below those that the kernel gives out to whoever asks for any.
PORTS = range(20000, 30000)
TRIES = 50
# Where users other than root do not look.
PROGRAM = "/usr/sbin/mosquitto"
# Sessions outlive the broker: what comes before the listener is back is kept for it.
CONFIGURATION = """listener {port} 127.0.0.1
allow_anonymous true
persistence true
persistence_location {root}/
"""


def listens(port: int) -> bool:
    with socket.socket() as client:
        return client.connect_ex(("127.0.0.1", port)) == 0


class Broker:
    def __init__(self, world: World) -> None:
        self._world = world
        self._file = world.root / "mosquitto.conf"
        self._root = world.root / "mosquitto"
        self._root.mkdir()
        self._root.chmod(0o777)  # as root it becomes a user of its own
        self.port = 0
        for _ in range(TRIES):
            self.port = random.choice(PORTS)
            if not listens(self.port) and self.start():
                return
        sys.exit("no port for the broker")

    def start(self) -> bool:
        """Whether it came to listen, and did not end for want of the port."""
        self._file.write_text(CONFIGURATION.format(port=self.port, root=self._root))
        log = (self._world.root / "mosquitto.log").open("ab")
        self._running = subprocess.Popen([PROGRAM, "-c", self._file], stdout=log, stderr=log)
        self._world.wait_for("the broker", lambda: self._running.poll() is not None
                             or listens(self.port))
        return self._running.poll() is None

    def stop(self) -> None:
        self._running.terminate()
        self._running.wait()


def recipe(port: int, watch: str) -> str:
    """The page's, with another broker and the program of this build."""
    page = (SOURCES / "docs/metrics.md").read_text()
    found = re.search(r"\n    dov-watch --json.*\n        mosquitto_pub .*\n", page)
    if found is None:
        sys.exit("the page has no recipe for a broker")
    return found[0].replace("-h broker", f"-h 127.0.0.1 -p {port}").replace("dov-watch", watch, 1)


def heard(file: Path) -> list[object]:
    """What the medium of each message told."""
    lines = [line for line in file.read_text().splitlines(keepends=True) if line.endswith("\n")]
    told = [json.loads(line) for line in lines if line.startswith("{")]
    return [each["value"] for each in told if each["member"] == "connection"]


def tell(world: World, file: Path, name: str) -> None:
    """A medium comes, and the listener hears of it."""
    world.set_media(world.media | {name})
    world.wait_for(f"news of {name}", lambda: [world.medium(name), True] in heard(file))


def try_recipe(world: World, watch: str) -> None:
    broker = Broker(world)
    messages = world.root / "messages"
    listener = ["stdbuf", "-oL", "mosquitto_sub", "-h", "127.0.0.1", "-p", str(broker.port),
                "-t", "terminals/#", "-q", "1", "-c", "-i", "listener", "-d"]
    with messages.open("wb") as output:
        running = [subprocess.Popen(listener, stdout=output, stderr=output)]
    try:
        world.wait_for("the listener", lambda: "Subscribed (mid: 1)" in messages.read_text())
        running.append(subprocess.Popen(["sh", "-c", recipe(broker.port, watch)],
                                        env=world.environment(), start_new_session=True))
        world.wait_for("the first picture",
                       lambda: '"member":"get_brightness"' in messages.read_text())
        tell(world, messages, "usb-before")
        broker.stop()
        world.set_media(world.media | {"usb-meanwhile"})
        if not broker.start():
            sys.exit("the broker does not start again")
        tell(world, messages, "usb-after")
        tell(world, messages, "usb-meanwhile")
    finally:
        for process in running[1:]:
            os.killpg(process.pid, 15)
        for process in running:
            process.terminate()
            process.wait()
        broker.stop()


def main() -> None:
    program, watch = sys.argv[1:]
    with World(program, open_policy()) as world:
        try:
            try_recipe(world, watch)
        except TimeoutError as error:
            sys.exit(f"{error}; heard: {heard(world.root / 'messages')}\n"
                     f"the broker: {(world.root / 'mosquitto.log').read_text()}")
        if world.power_offs():
            sys.exit("the daemon has switched the terminal off")


if __name__ == "__main__":
    main()
