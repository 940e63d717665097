"""A daemon of the test build on a message bus of its own, below one temporary directory.

The message bus is a real system-type bus that includes the policy given. Nothing of the machine's
is touched: the test build keeps every path and command below the directory.
"""
from __future__ import annotations

import json
import os
import pty
import subprocess
import tempfile
import time
from pathlib import Path
from typing import Callable, Optional

import dbus

SERVICE = "com.quorin.system"
PREFIX = "/com/quorin/system"
DEADLINE = 60.0
SOURCES = Path(__file__).resolve().parents[2]

BUS_CONFIGURATION = """<!DOCTYPE busconfig PUBLIC
 "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>unix:path={socket}</listen>
  <policy context="default">
    <allow user="*"/>
    <deny own="*"/>
    <deny send_type="method_call"/>
    <allow send_type="signal"/>
    <allow send_requested_reply="true" send_type="method_return"/>
    <allow send_requested_reply="true" send_type="error"/>
    <allow receive_type="method_call"/>
    <allow receive_type="method_return"/>
    <allow receive_type="error"/>
    <allow receive_type="signal"/>
    <allow send_destination="org.freedesktop.DBus"/>
  </policy>
  {include}
</busconfig>
"""


class World:
    def __init__(self, program: str, policy_text: str) -> None:
        self._program = program
        self._line: tuple[int, ...] = ()
        self.media: set[str] = set()
        self._children: list[subprocess.Popen[bytes]] = []
        self._directory = tempfile.TemporaryDirectory(prefix="dov-packaging-")
        self.root = Path(self._directory.name)
        self.root.chmod(0o755)
        self._socket = self.root / "bus"
        self.address = f"unix:path={self._socket}"
        self._write_files(policy_text)

    def __enter__(self) -> World:
        try:
            self._start_bus()
            self._start_service()
        except BaseException:
            self.__exit__()  # nobody else would end what has been started
            raise
        return self

    def __exit__(self, *_: object) -> None:
        for child in reversed(self._children):
            self._end(child)
        self._close_line()
        self._directory.cleanup()

    @staticmethod
    def _end(child: subprocess.Popen[bytes]) -> None:
        child.terminate()
        try:
            child.wait(20)
        except subprocess.TimeoutExpired:
            child.kill()
            child.wait()

    def _close_line(self) -> None:
        for end in self._line:
            os.close(end)
        self._line = ()

    def environment(self) -> dict[str, str]:
        return {
            **os.environ,
            "DBUS_SYSTEM_BUS_ADDRESS": self.address,
            "DOV_TEST_ROOT": str(self.root),
            "PATH": f"{self.root}/bin:{os.environ['PATH']}",
        }

    def power_offs(self) -> list[str]:
        """What systemctl was called with, line by line."""
        calls = self.root / "systemctl.calls"
        return calls.read_text().splitlines() if calls.exists() else []

    def wait_for(self, what: str, happened: Callable[[], bool]) -> None:
        end = time.monotonic() + DEADLINE
        while not happened():
            if time.monotonic() > end:
                raise TimeoutError(f"{what} does not start")
            time.sleep(0.05)

    def stop_service(self) -> None:
        self._end(self._children.pop())

    def start_service(self) -> None:
        self._start_service()

    def stop_bus(self) -> None:
        self._end(self._children.pop(0))

    def tell(self, message: bytes) -> None:
        """What the controller says, in its frame."""
        frame = b"\x18\xef\x59\x78" + message.ljust(8, b"\0")
        os.write(self._line[0], frame + bytes([sum(frame) & 0xff]))

    def medium(self, name: str) -> str:
        """The path that clients hear of."""
        return str(self.root / "media" / name)

    def set_media(self, names: set[str]) -> None:
        """These are in, and no other."""
        self.media = names
        for path in (self.root / "media").iterdir():
            if path.name not in names:
                path.rmdir()
        for name in names:
            (self.root / "media" / name).mkdir(exist_ok=True)

    def _write_files(self, policy_text: str) -> None:
        subprocess.run([SOURCES / "tests/fixtures/make-root", self.root], check=True)
        for name in ("power_manage.conf", "oem_profile.conf"):
            text = (SOURCES / "data/examples" / name).read_text()
            (self.root / "etc" / name).write_text(text)
        (self.root / "policy.conf").write_text(policy_text)
        include = f"<include>{self.root}/policy.conf</include>"
        (self.root / "bus.conf").write_text(
            BUS_CONFIGURATION.format(socket=self._socket, include=include))

    def _start_bus(self) -> None:
        log = (self.root / "bus.log").open("wb")
        bus = subprocess.Popen(
            ["dbus-daemon", f"--config-file={self.root}/bus.conf", "--nofork", "--print-address"],
            stdout=subprocess.PIPE, stderr=log)
        self._children.append(bus)
        # Its socket is there before it listens.
        if bus.stdout is None or not bus.stdout.readline():
            raise RuntimeError((self.root / "bus.log").read_text())

    def _start_service(self) -> None:
        self._close_line()
        self._line = pty.openpty()
        self._start("the daemon", [self._program, "--port", os.ttyname(self._line[1])])
        self.wait_for("the daemon", self._is_published)

    def _start(self, what: str, command: list[str | Path], stdin: int = subprocess.DEVNULL) -> None:
        log = (self.root / f"{what.split()[-1]}.log").open("wb")
        self._children.append(subprocess.Popen(
            command, env=self.environment(), cwd=self.root,
            stdout=log, stderr=subprocess.STDOUT, stdin=stdin))

    def _is_published(self) -> bool:
        # The last object of the table.
        call = ["dbus-send", f"--bus={self.address}", "--print-reply", f"--dest={SERVICE}",
                f"{PREFIX}/atx", "org.freedesktop.DBus.Introspectable.Introspect"]
        answer = subprocess.run(call, capture_output=True, check=False)
        return b"com.quorin.system.atx" in answer.stdout


class Bus_alone(World):
    """The message bus without a service."""

    def __init__(self, policy_text: str) -> None:
        super().__init__("", policy_text)

    def _start_service(self) -> None:
        """There is none."""


class Mock_world(World):
    """The same without a daemon: the template of python-dbusmock has its place, by path, or by name
    in a directory of shared data."""

    def __init__(self, policy_text: str, share: Optional[Path] = None,
                 **parameters: object) -> None:
        super().__init__("", policy_text)
        self._share = share
        self._template = "dov" if share else SOURCES / "data/dbusmock/dov.py"
        self._parameters = parameters

    def environment(self) -> dict[str, str]:
        return super().environment() | ({"XDG_DATA_DIRS": str(self._share)} if self._share else {})

    def _start_service(self) -> None:
        self._start("the mock", [
            "/usr/bin/python3", "-B", "-m", "dbusmock", "--system", "--template", self._template,
            "--parameters", json.dumps(self._parameters)])
        self.wait_for("the mock", self._is_published)

    def control(self, method: str, signature: str = "", *arguments: object) -> None:
        """What the terminal does by itself."""
        bus = dbus.bus.BusConnection(self.address)
        bus.call_blocking(SERVICE, PREFIX, f"{SERVICE}.mock", method, signature, arguments)
        bus.close()

    def medium(self, name: str) -> str:
        return f"/media/{name}"

    def set_media(self, names: set[str]) -> None:
        self.media = names
        self.control("set_media", "as", sorted(names))


OPEN_POLICY = """<busconfig><policy context="default">
<allow own="*"/><allow send_destination="*"/></policy></busconfig>"""


def open_policy() -> str:
    """Lets everybody do everything."""
    return OPEN_POLICY
