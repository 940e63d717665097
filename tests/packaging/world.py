"""A daemon of the test build on a message bus of its own, below one temporary directory.

The message bus is a real system-type bus that includes the policy given. Nothing of the machine's
is touched: the test build keeps every path and command below the directory.
"""
from __future__ import annotations

import os
import pty
import subprocess
import tempfile
import time
from pathlib import Path
from typing import Callable

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
        self._children: list[subprocess.Popen[bytes]] = []
        self._directory = tempfile.TemporaryDirectory(prefix="dov-packaging-")
        self.root = Path(self._directory.name)
        self.root.chmod(0o755)
        self._socket = self.root / "bus"
        self.address = f"unix:path={self._socket}"
        self._write_files(policy_text)

    def __enter__(self) -> World:
        self._start_bus()
        self._start_daemon()
        return self

    def __exit__(self, *_: object) -> None:
        for child in reversed(self._children):
            child.terminate()
            try:
                child.wait(20)
            except subprocess.TimeoutExpired:
                child.kill()
                child.wait()
        for end in self._line:
            os.close(end)
        self._directory.cleanup()

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
        self._children.append(subprocess.Popen(
            ["dbus-daemon", f"--config-file={self.root}/bus.conf", "--nofork"], stderr=log))
        self.wait_for("the message bus", self._socket.exists)

    def _start_daemon(self) -> None:
        self._line = pty.openpty()
        port = os.ttyname(self._line[1])
        log = (self.root / "daemon.log").open("wb")
        self._children.append(subprocess.Popen(
            [self._program, "--port", port], env=self.environment(), cwd=self.root,
            stdout=log, stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL))
        self.wait_for("the daemon", self._is_published)

    def _is_published(self) -> bool:
        # The last object of the table.
        call = ["dbus-send", f"--bus={self.address}", "--print-reply", f"--dest={SERVICE}",
                f"{PREFIX}/atx", "org.freedesktop.DBus.Introspectable.Introspect"]
        answer = subprocess.run(call, capture_output=True, check=False)
        return b"com.quorin.system.atx" in answer.stdout


OPEN_POLICY = """<busconfig><policy context="default">
<allow own="*"/><allow send_destination="*"/></policy></busconfig>"""


def open_policy() -> str:
    """Lets everybody do everything."""
    return OPEN_POLICY

