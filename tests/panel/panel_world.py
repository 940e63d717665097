"""Everything that the panel stands between, each part of it to be stopped and started alone.

A message bus, dov-controller on a pseudo terminal, dov-line tap behind it, the daemon behind that,
and dov-panel: on a machine of nobody's, below one temporary directory.
"""
from __future__ import annotations

import json
import re
import socket
import subprocess
import sys
from contextlib import contextmanager
from pathlib import Path
from typing import Any, Callable, Iterator

import dbus

HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "packaging"))
from world import DEADLINE, PREFIX, SERVICE, SOURCES, World, open_policy  # noqa: E402

CATALOGUE = json.loads((SOURCES / "data/objects.json").read_text())
KINDS = {kind["name"]: kind for kind in CATALOGUE["kinds"]}
KIND_OF = {row["path"]: KINDS[row["kind"]] for row in CATALOGUE["objects"]}
PARTS = ("bus", "controller", "tap", "daemon", "panel")


class Panel_world(World):
    def __init__(self, build: Path, *inputs: str) -> None:
        super().__init__(str(build / "dov-dbus-test"), open_policy())
        self.build = build
        self._inputs = inputs
        self._running: dict[str, subprocess.Popen[bytes]] = {}
        self._port = 0
        self.control = True
        self.url = ""

    def _start_service(self) -> None:
        self._running["bus"] = self._children[-1]
        for part in PARTS[1:]:
            self.start(part)

    def start(self, part: str) -> None:
        before = len(self._children)
        {"bus": self._start_bus, "controller": self._start_controller, "tap": self._start_tap,
         "daemon": self._start_daemon, "panel": self._start_panel}[part]()
        if len(self._children) > before:
            self._running[part] = self._children[-1]

    def stop(self, part: str) -> None:
        child = self._running.pop(part)
        self._children.remove(child)
        self._end(child)

    def process(self, part: str) -> subprocess.Popen[bytes]:
        return self._running[part]

    def is_started(self, part: str) -> bool:
        return part in self._running

    def has_ended(self, part: str) -> bool:
        return self._running[part].poll() is not None

    def log(self, part: str) -> str:
        log = self.root / f"{part}.log"
        return log.read_text(errors="replace") if log.exists() else ""

    def _start_controller(self) -> None:
        options = [word for each in self._inputs for word in ("--input", each)]
        self._start("controller", [
            self.build / "dov-controller", "--link", self.root / "controller",
            "--socket", self.root / "bench", *options])
        self.wait_for("the controller", self._listens("bench"))

    def _start_tap(self) -> None:
        self._start("tap", [
            self.build / "dov-line", "tap", "--device", self.root / "controller",
            "--link", self.root / "dev/ttyUSB0", "--socket", self.root / "live", "--quiet"])
        self.wait_for("the tap", self._listens("live"))

    def _start_daemon(self) -> None:
        self.wait_for("the line", (self.root / "dev/ttyUSB0").exists)
        self._start("daemon", [self._program])
        self.wait_for("the daemon", self._is_published)

    def _start_panel(self) -> None:
        command: list[str | Path] = [
            self.build / "dov-panel", "--bus", self.address, "--controller", self.root / "bench",
            "--tap", self.root / "live", "--listen", f"127.0.0.1:{self._port}"]
        if self.control:
            command.append("--control")
        address = self._serve("panel", command)
        self.url = address[1]
        self._port = int(address[2])  # the same one when it comes back

    def _serve(self, part: str, command: list[str | Path]) -> re.Match[str]:
        (self.root / f"{part}.log").write_text("")
        self._start(part, command)
        self.wait_for(part, lambda: self._printed_address(part) is not None
                      or self._children[-1].poll() is not None)
        address = self._printed_address(part)
        if address is None:
            raise RuntimeError(f"{part} does not start: " + self.log(part))
        return address

    def _printed_address(self, part: str) -> re.Match[str] | None:
        return re.search(r"^dov-panel: (http://127\.0\.0\.1:(\d+)/\S*)\n", self.log(part),
                         re.MULTILINE)

    @contextmanager
    def another_panel(self, *options: str) -> Iterator[str]:
        """One more, with these options alone; its address."""
        address = self._serve("another-panel", [
            self.build / "dov-panel", "--listen", "127.0.0.1:0", *options])
        child = self._children.pop()
        try:
            yield address[1]
        finally:
            self._end(child)

    @property
    def port(self) -> int:
        return self._port

    @property
    def origin(self) -> str:
        return f"http://127.0.0.1:{self._port}"

    @property
    def token(self) -> str:
        return self.url.partition("#token=")[2]

    def _listens(self, name: str) -> Callable[[], bool]:
        def connects() -> bool:
            with socket.socket(socket.AF_UNIX) as probe:
                try:
                    probe.connect(str(self.root / name))
                except OSError:
                    return False
            return True
        return connects

    # What the vehicle is

    def bench(self, *words: str) -> list[str]:
        """Tells the controller these, one after the other, and gives what it tells but the oks."""
        told = []
        with socket.socket(socket.AF_UNIX) as line:
            line.settimeout(DEADLINE)
            line.connect(str(self.root / "bench"))
            with line.makefile("rw") as stream:
                for word in words:
                    stream.write(f"{word}\n")
                    stream.flush()
                    while (answer := stream.readline().rstrip("\n")) != "ok":
                        if not answer or answer.startswith("error"):
                            raise RuntimeError(f"the controller to {word!r}: {answer!r}")
                        told.append(answer)
        return told

    def state(self) -> dict[str, Any]:
        """Of the controller, without the panel."""
        return dict(json.loads(self.bench("state json")[0]))

    def input(self, name: str) -> dict[str, Any]:
        return next(row for row in self.state()["inputs"] if row["name"] == name)

    # What the terminal has

    def call(self, path: str, method: str, signature: str = "", *values: object) -> Any:
        bus = dbus.bus.BusConnection(self.address)
        try:
            return bus.call_blocking(SERVICE, path, KIND_OF[path]["interface"], method, signature,
                                     values)
        finally:
            bus.close()


def object_path(short: str) -> str:
    return f"{PREFIX}/{short}"


class Full_line_world(Panel_world):
    """The same with somebody else as the controller, at the other end of this device."""

    def __init__(self, build: Path, device: str) -> None:
        super().__init__(build)
        self._device = device

    def _start_controller(self) -> None:
        (self.root / "controller").symlink_to(self._device)
