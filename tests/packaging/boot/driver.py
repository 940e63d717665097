"""A service in the booted sandbox: plays adapter, udev and syslog, and looks at the unit."""
from __future__ import annotations

import json
import os
import pty
import select
import socket
import struct
import subprocess
import time
import tty
from pathlib import Path
from typing import Any, Callable
from urllib.request import urlopen

import websocket

SYSTEMCTL = "/driver/systemctl"
UNIT = "dov-dbus.service"
TAP = "dov-line-tap.service"
METRICS = "dov-metrics.service"
METRICS_FILE = Path("/run/dov-metrics/dov.prom")
PANEL = "dov-panel.service"
PANEL_PORT = 8037
# Tenths of systemd's exposure level; one listens.
MOST_EXPOSED = {METRICS: 6, PANEL: 14}
SERVICE = "com.quorin.system"
PREFIX = "/com/quorin/system"
PORT = Path("/dev/dov/controller")
DEADLINE = 60.0
# The unit waits two seconds before it starts the daemon again.
QUIET = 5.0

UDEV_MAGIC = 0xFEEDCAFE
UDEV_GROUP = 2
NETLINK_KOBJECT_UEVENT = 15
ALL_TAGS = 0xFFFFFFFF


def run(*command: str) -> subprocess.CompletedProcess[str]:
    return subprocess.run(command, capture_output=True, text=True, check=False)


def systemctl(*arguments: str) -> str:
    done = run(SYSTEMCTL, *arguments)
    return (done.stdout + done.stderr).strip()


def state(name: str, unit: str = UNIT) -> str:
    return systemctl("show", "--value", f"--property={name}", unit)


def wait_for(what: str, happened: Callable[[], bool]) -> None:
    end = time.monotonic() + DEADLINE
    while not happened():
        if time.monotonic() > end:
            units = systemctl("status", UNIT, TAP, METRICS, PANEL)
            raise TimeoutError(f"{what}: {units}")
        time.sleep(0.05)
    print(f"seen: {what}", flush=True)


def stays(what: str, holds: Callable[[], bool]) -> None:
    end = time.monotonic() + QUIET
    while time.monotonic() < end:
        if not holds():
            raise AssertionError(f"not so: {what}: {systemctl('status', UNIT)}")
        time.sleep(0.1)
    print(f"seen: {what}", flush=True)


def expect(what: str, holds: bool) -> None:
    if not holds:
        raise AssertionError(f"not so: {what}: {systemctl('status', UNIT)}")
    print(f"seen: {what}", flush=True)


def owner() -> int:
    """The process that owns the daemon's name, or 0. Wakes nothing."""
    answer = run("busctl", "call", "--auto-start=no", "org.freedesktop.DBus",
                 "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetConnectionUnixProcessID",
                 "s", SERVICE)
    return int(answer.stdout.split()[1]) if answer.returncode == 0 else 0


def answers(auto_start: str) -> bool:
    call = run("busctl", "call", f"--auto-start={auto_start}", SERVICE,
               f"{PREFIX}/version/serial_number", f"{SERVICE}.version", "get")
    return call.stdout.startswith('s "SN-1')


def serves() -> bool:
    """Whether the unit's main process owns the name and answers on it."""
    main = int(state("MainPID"))
    return main != 0 and owner() == main and state("ActiveState") == "active" and answers("no")


def tell_of_device(action: str) -> None:
    """As udev tells those who listen, for a device that its rules have tagged for systemd.

    The port is the device itself here: a link to it would be looked up in a real /sys.
    """
    facts = {"ACTION": action, "DEVPATH": "/devices/virtual/tty/ttyUSB0", "SUBSYSTEM": "tty",
             "DEVNAME": str(PORT), "MAJOR": "188", "MINOR": "0", "SEQNUM": "1",
             "USEC_INITIALIZED": "1", "TAGS": ":systemd:", "CURRENT_TAGS": ":systemd:"}
    body = b"".join(f"{key}={value}\0".encode() for key, value in facts.items())
    header_size = 40
    header = struct.pack("=8sIIII", b"libudev\0", socket.htonl(UDEV_MAGIC), header_size,
                         header_size, len(body))
    header += struct.pack("!IIII", murmur("tty"), 0, ALL_TAGS, ALL_TAGS)
    with socket.socket(socket.AF_NETLINK, socket.SOCK_RAW, NETLINK_KOBJECT_UEVENT) as line:
        line.bind((0, 0))
        line.sendto(header + body, (0, UDEV_GROUP))


def murmur(text: str) -> int:
    """MurmurHash2 with seed 0: the hash by which udev's listeners filter subsystems."""
    data = text.encode()
    factor, mask = 0x5BD1E995, 0xFFFFFFFF
    mixed = len(data)
    whole = len(data) // 4 * 4
    for start in range(0, whole, 4):
        word = int.from_bytes(data[start:start + 4], "little") * factor & mask
        word = (word ^ word >> 24) * factor & mask
        mixed = (mixed * factor & mask) ^ word
    if data[whole:]:
        mixed = (mixed ^ int.from_bytes(data[whole:], "little")) * factor & mask
    mixed = (mixed ^ mixed >> 13) * factor & mask
    return mixed ^ mixed >> 15


class Adapter:
    """A serial adapter: a pseudo-terminal under the name that the daemon opens."""

    def __init__(self) -> None:
        self.master = -1

    def plug(self) -> None:
        self._make_line()
        tell_of_device("add")

    def unplug(self) -> None:
        self._hang_up()
        PORT.unlink()
        tell_of_device("remove")

    def hang_up_and_return(self) -> None:
        """The line is lost and there again before anybody could tell of it."""
        old = self.master
        PORT.unlink()
        self._make_line()
        os.close(old)

    def hears(self) -> bool:
        """Whether a request of the daemon's is there."""
        ready, _, _ = select.select([self.master], [], [], 0)
        return bool(ready) and b"\x18\xef\x78\x59" in os.read(self.master, 65536)

    def _make_line(self) -> None:
        self.master, slave = pty.openpty()
        tty.setraw(slave)
        PORT.parent.mkdir(exist_ok=True)
        PORT.symlink_to(os.ttyname(slave))
        os.close(slave)

    def _hang_up(self) -> None:
        os.close(self.master)


def starts_with_its_device(adapter: Adapter) -> None:
    expect("not enabled, it is not started by a call", not answers("yes"))
    systemctl("enable", UNIT)
    expect("enabled, and the activation file finds it", Path(
        "/etc/systemd/system/dbus-com.quorin.system.service").is_symlink())
    stays("without its device it does not run", lambda: state("ActiveState") == "inactive")
    adapter.plug()
    wait_for("the device brings it up", serves)


def survives_the_bus(adapter: Adapter) -> None:
    del adapter
    before = owner()
    systemctl("restart", "dbus.service")
    wait_for("back after the bus was restarted", lambda: serves() and owner() != before)
    before = owner()
    systemctl("kill", "--signal=KILL", "dbus.service")
    wait_for("stopped with a bus that was killed",
             lambda: not Path(f"/proc/{before}").exists())
    # The next client wakes the bus, through its socket.
    wait_for("back after the bus was killed",
             lambda: run("busctl", "--no-pager").returncode == 0 and serves())


def survives_the_line(adapter: Adapter) -> None:
    before = owner()
    adapter.hang_up_and_return()
    wait_for("back after a hang-up", lambda: serves() and owner() != before)
    adapter.unplug()
    wait_for("stopped without its device", lambda: state("ActiveState") == "inactive")
    stays("no restarts while there is no device",
          lambda: state("ActiveState") == "inactive" and owner() == 0)
    adapter.plug()
    wait_for("back with its device", serves)


def survives_its_own_end(adapter: Adapter) -> None:
    del adapter
    before = owner()
    systemctl("kill", "--signal=KILL", UNIT)
    wait_for("back after it was killed", lambda: serves() and owner() != before)
    before, restarts = owner(), state("NRestarts")
    stays("no restart loop", lambda: owner() == before and state("NRestarts") == restarts)


def stops_cleanly(adapter: Adapter) -> None:
    del adapter
    systemctl("stop", UNIT)
    expect("stopped with status 0", (state("ActiveState"), state("Result"),
           state("ExecMainStatus")) == ("inactive", "success", "0"))
    stays("stays stopped", lambda: state("ActiveState") == "inactive" and owner() == 0)
    expect("enabled, it is started by a call", answers("yes"))


def dimming(user: str) -> str:
    """What comes of a user's setting the brightness."""
    return run("setpriv", f"--reuid={user}", f"--regid={user}", "--init-groups", "busctl", "call",
               SERVICE, f"{PREFIX}/device/display/backlight", f"{SERVICE}.device.dimmable",
               "set_brightness", "d", "50").stderr.strip()


def obeys_its_group(adapter: Adapter) -> None:
    del adapter
    expect("a member of the group changes what the terminal does", dimming("daemon") == "")
    expect("root does", dimming("root") == "")
    expect("nobody else does", "denied" in dimming("games"))


def reload_units() -> None:
    """Which devices there are systemd asks the udev database then, and here there is none."""
    systemctl("daemon-reload")
    tell_of_device("add")


def serves_by_the_tap(adapter: Adapter) -> bool:
    """Whether the daemon has the tap's line, and its requests reach the adapter."""
    if not (serves() and state("ActiveState", TAP) == "active"):
        return False
    try:
        line = os.readlink("/run/dov-line/controller")
        has_line = any(os.readlink(opened) == line
                       for opened in Path(f"/proc/{owner()}/fd").iterdir())
    except OSError:  # what was there a moment ago has gone
        return False
    return has_line and adapter.hears()


def can_be_tapped(adapter: Adapter) -> None:
    if not Path("/etc/tap.conf").exists():
        return
    drop_in = Path("/etc/systemd/system", f"{UNIT}.d", "tap.conf")
    drop_in.parent.mkdir()
    Path("/var/tmp").mkdir()  # what the tap's unit has a private one of
    drop_in.write_text(Path("/etc/tap.conf").read_text())
    reload_units()
    systemctl("restart", UNIT)
    wait_for("serves by the tap", lambda: serves_by_the_tap(adapter))
    wait_for("the line is recorded",
             lambda: b"host" in Path("/var/log/dov-line/line.txt").read_bytes())
    wait_for("the line is counted",
             lambda: '"has_host": true' in Path("/run/dov-line/status.json").read_text())
    metrics_have_the_line()
    panel_shows_all(adapter)
    before = owner()
    systemctl("kill", "--signal=KILL", TAP)
    wait_for("back after the tap was killed",
             lambda: owner() != before and serves_by_the_tap(adapter))
    adapter.unplug()
    wait_for("neither runs without the device",
             lambda: {state("ActiveState"), state("ActiveState", TAP)} == {"inactive"})
    adapter.plug()
    wait_for("both are back with the device", lambda: serves_by_the_tap(adapter))
    drop_in.unlink()
    reload_units()
    systemctl("stop", TAP)
    systemctl("restart", UNIT)
    wait_for("back without the tap", lambda: serves() and adapter.hears())


def metrics() -> str:
    try:
        return METRICS_FILE.read_text()
    except FileNotFoundError:
        return ""


def metrics_have_the_line() -> None:
    systemctl("start", METRICS)
    wait_for("the tap is among the metrics", lambda: "\ndov_line_device_present 1\n" in metrics())
    systemctl("stop", METRICS)


class Page:
    """A page of the panel's, without a browser."""

    def __init__(self) -> None:
        where = f"127.0.0.1:{PANEL_PORT}"
        self._socket = websocket.create_connection(
            f"ws://{where}/live", subprotocols=["dov-panel.1"], origin=f"http://{where}",
            timeout=DEADLINE)
        self._last_id = 0
        self._last: dict[str, dict[str, Any]] = {}

    def wait_for(self, kind: str, holds: Callable[[dict[str, Any]], bool]) -> dict[str, Any]:
        """The last message of a kind, once it holds of that."""
        end = time.monotonic() + DEADLINE
        while kind not in self._last or not holds(self._last[kind]):
            if time.monotonic() > end:
                raise TimeoutError(f"the panel says {self._last.get(kind)}")
            message: dict[str, Any] = json.loads(self._socket.recv())
            self._last[message["type"]] = message
        return self._last[kind]

    def ask(self, **request: Any) -> Any:
        """What is answered: True, or why not."""
        self._last_id += 1
        self._socket.send(json.dumps({**request, "id": self._last_id}))
        answer = self.wait_for("answer", lambda message: message["to"] == self._last_id)
        return answer["ok"] or answer["error"]


def on_page(what: str, page: Page, kind: str, holds: Callable[[dict[str, Any]], bool]) -> None:
    page.wait_for(kind, holds)
    print(f"seen: {what}", flush=True)


def has_partners(page: Page, *partners: str) -> None:
    on_page("the panel has " + ", ".join(partners), page, "partners",
            lambda message: all(message[name] == "here" for name in partners))


def change_panel() -> None:
    """As the manual says, with a token that can be read here without a journal."""
    drop_in = Path("/etc/systemd/system", f"{PANEL}.d", "bench.conf")
    drop_in.parent.mkdir()
    drop_in.write_text(
        "[Service]\nRuntimeDirectory=dov-panel\nExecStart=\n"
        "ExecStart=dov-panel --tap /run/dov-line/live --controller /run/dov-bench/commands "
        "--control --token-file /run/dov-panel/token\n")
    reload_units()


def panel_shows_all(adapter: Adapter) -> None:
    if not Path("/usr/lib/systemd/system", PANEL).exists():
        return
    systemctl("start", PANEL)
    wait_for("the panel serves", lambda: panel_answers("/"))
    expect("as a user of its own",
           Path("/proc", state("MainPID", PANEL)).stat().st_uid not in (0, 64000))
    exposed_to_next_to_nothing(PANEL)
    page = Page()
    has_partners(page, "bus", "service", "tap")
    expect("frames are asked for", page.ask(type="watch", frames=True) is True)
    on_page("frames are on the page", page, "frames", lambda message: bool(message["frames"]))
    wait_for("the line can be saved", lambda: " host " in panel_answers("/recording"))
    output = {"path": f"{PREFIX}/device/io/output/digital/0",
              "interface": f"{SERVICE}.device.io.output.digital", "arguments": []}
    expect("nothing is changed",
           page.ask(type="call", method="on", **output) == "changing is not allowed")
    change_panel()
    systemctl("restart", UNIT)
    wait_for("serves by the tap again", lambda: serves_by_the_tap(adapter))
    run("systemd-run", "--unit=dov-bench", "--property=RuntimeDirectory=dov-bench",
        "--property=Group=dov", "--property=UMask=0007", "dov-controller",
        "--link", "/run/dov-bench/line", "--socket", "/run/dov-bench/commands")
    systemctl("restart", PANEL)
    wait_for("the panel serves again", lambda: panel_answers("/"))
    page = Page()
    has_partners(page, "bus", "service", "controller", "tap")
    on_page("the vehicle is on the page", page, "state",
            lambda message: message["state"] is not None and message["state"]["ignition"])
    token = Path("/run/dov-panel/token").read_text().strip()
    expect("the token is taken", page.ask(type="token", token=token) is True)
    expect("the terminal is changed", page.ask(type="call", method="on", **output) is True)
    expect("the vehicle is changed", page.ask(type="bench", line="ignition off") is True)
    on_page("the page has the change", page, "state",
            lambda message: not message["state"]["ignition"])
    systemctl("stop", "dov-bench.service", PANEL)
    expect("stopped in order", state("Result", PANEL) == "success")


def panel_answers(path: str) -> str:
    try:
        with urlopen(f"http://127.0.0.1:{PANEL_PORT}{path}", timeout=DEADLINE) as answer:
            return str(answer.read().decode())
    except OSError:  # it does not listen yet
        return ""


def exposed_to_next_to_nothing(unit: str) -> None:
    exposure = run("systemd-analyze", "security", "--no-pager",
                   f"--threshold={MOST_EXPOSED[unit]}", unit)
    print(exposure.stdout[-200:], exposure.stderr, flush=True)
    expect("it is exposed to next to nothing", exposure.returncode == 0)


def version_of_metrics() -> tuple[int, int]:
    status = METRICS_FILE.stat()
    return status.st_ino, status.st_mtime_ns


def keeps_metrics(adapter: Adapter) -> None:
    del adapter
    if not Path("/usr/lib/systemd/system", METRICS).exists():
        return
    systemctl("start", METRICS)
    wait_for("metrics of the service", lambda: "\ndov_service_up 1\n" in metrics())
    before = version_of_metrics()
    wait_for("the file is replaced", lambda: version_of_metrics() != before)
    status = METRICS_FILE.stat()
    expect("it belongs to a user of its own, and everybody reads it",
           status.st_uid != 0 and status.st_mode & 0o777 == 0o644)
    checked = subprocess.run(["promtool", "check", "metrics"], input=metrics(), text=True,
                             capture_output=True, check=False)
    print(checked.stdout, checked.stderr, flush=True)
    expect("promtool has nothing to say", checked.returncode == 0 and not checked.stderr)
    exposed_to_next_to_nothing(METRICS)
    process = state("MainPID", METRICS)
    systemctl("stop", UNIT)
    wait_for("metrics without the service", lambda: "\ndov_service_up 0\n" in metrics())
    systemctl("start", UNIT)
    wait_for("metrics with the service again", lambda: "\ndov_service_up 1\n" in metrics())
    expect("by the same process", state("MainPID", METRICS) == process)
    systemctl("stop", METRICS)
    expect("stopped, it leaves no file", not METRICS_FILE.exists()
           and state("Result", METRICS) == "success")


def can_do_its_work(adapter: Adapter) -> None:
    del adapter
    expect("nothing was switched off", not Path("/tmp/systemctl.calls").exists())
    expect("a call to switch off is taken", run(
        "busctl", "call", SERVICE, f"{PREFIX}/device/system/power", f"{SERVICE}.device.power",
        "suspend").returncode == 0)
    calls = Path("/tmp/systemctl.calls")
    wait_for("the daemon runs systemctl",
             lambda: calls.exists() and calls.read_text() == "poweroff --no-block\n")
    Path("/tmp/input_activity").touch()
    os.chown("/tmp/input_activity", 1000, 1000)
    Path("/media/stick").mkdir()
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as syslog:
        syslog.bind("/dev/log")
        complaint = systemctl("start", "probe.service")
        report = Path("/tmp/probe")
        print(complaint, report.read_text() if report.exists() else "", flush=True)
        expect("each of the daemon's doings works with the rights of the unit",
               not complaint and state("Result", "probe.service") == "success")
        syslog.settimeout(DEADLINE)
        while b"probe" not in syslog.recv(1000):  # the daemon may have something to say, too
            pass
    wait_for("systemctl reaches systemd", Path("/report/power-off").exists)


def main() -> None:
    adapter = Adapter()
    for part in (starts_with_its_device, survives_the_bus, survives_the_line,
                 survives_its_own_end, stops_cleanly, obeys_its_group, can_be_tapped,
                 keeps_metrics, can_do_its_work):
        part(adapter)


if __name__ == "__main__":
    try:
        main()
        result = "0"
    except Exception as error:  # whatever it is, it has to be reported before the sandbox ends
        print(f"failed: {error!r}", flush=True)
        result = "1"
    systemctl("--force", "exit", result)
