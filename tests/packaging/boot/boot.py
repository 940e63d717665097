#!/usr/bin/python3
"""Boots systemd with the shipped unit in a sandbox and reports what driver.py has seen there.

    boot.py PROGRAM UNIT [TAP_PROGRAM TAP_UNIT WATCH METRICS_UNIT [PANEL PANEL_UNIT CONTROLLER]]

With the tap's, the daemon also runs over it, by the drop-in beside its unit, and its metrics are
kept; with those behind, it is shown in the panel, beside a vehicle on the bench.

The sandbox has process, network, mount and control-group namespaces of its own, a file system
put together from temporary directories and read-only parts of /usr, an invented /sys, and a stub
in place of systemctl. Its power-off target is a unit that leaves a mark. Where the machine grants
no namespaces or control groups, it says so and exits with 77.
"""
from __future__ import annotations

import os
import shutil
import subprocess
import sys
import tempfile
import time
from pathlib import Path

HERE = Path(__file__).resolve().parent
DATA = HERE.parents[2] / "data"
SYSTEMD = Path("/lib/systemd/systemd")
DBUS_UNITS = Path("/lib/systemd/system")
DEADLINE = 200
GROUP_DEADLINE = 20
CANNOT_RUN = 77
# The other hierarchies of version 1 play no part, and a new group in cpuset takes no process.
HIERARCHIES = {"name=systemd", "memory", "pids", "devices", "cpu", "cpuacct", "blkio", "freezer"}

STUB = """#!/bin/sh
echo "$@" >>/tmp/systemctl.calls
"""
PLAIN_TARGETS = ("sysinit", "basic", "shutdown", "sockets", "umount", "default", "multi-user")
DRIVER_UNIT = """[Unit]
DefaultDependencies=no
[Service]
ExecStart=/usr/bin/python3 -B /driver/driver.py
StandardOutput=file:/report/report
StandardError=file:/report/report
"""
# What the daemon does, one by one, with the rights that its unit leaves it.
PROBE_UNIT = """[Unit]
DefaultDependencies=no
[Service]
Type=oneshot
ExecStart=/usr/bin/python3 -B /driver/probe.py
"""
NO_RIGHTS = ("Type=", "BusName=", "Exec", "Restart", "Standard", "#")
POWER_OFF_TARGET = """[Unit]
Description=Would switch off
DefaultDependencies=no
Wants=power-off-mark.service
"""
POWER_OFF_MARK = """[Unit]
DefaultDependencies=no
[Service]
Type=oneshot
ExecStart=/bin/touch /report/power-off
"""


def cannot_run(reason: str) -> None:
    print(f"cannot run here: {reason}")
    sys.exit(CANNOT_RUN)


def own_control_groups() -> list[Path]:
    """Where this process stands in each hierarchy that the sandbox needs."""
    mounted: dict[str, Path] = {}
    for line in Path("/proc/self/mounts").read_text().splitlines():
        _, point, kind, options = line.split()[:4]
        if kind == "cgroup2":
            mounted[""] = Path(point)
        elif kind == "cgroup":
            for name in HIERARCHIES.intersection(options.split(",")):
                mounted[name] = Path(point)
    found = []
    for line in Path("/proc/self/cgroup").read_text().splitlines():
        _, names, path = line.split(":", 2)
        for name in names.split(","):
            if name in mounted:
                found.append(mounted[name] / path.lstrip("/"))
    return found


def remove_group(directory: str) -> None:
    """Its last process may still be on its way out."""
    end = time.monotonic() + GROUP_DEADLINE
    while True:
        try:
            os.rmdir(directory)
            return
        except OSError:
            if time.monotonic() > end:
                raise
            time.sleep(0.05)


class Control_groups:
    """A group below this process's in each hierarchy, removed with all below it at the end."""

    def __init__(self) -> None:
        self._groups: list[Path] = []

    def __enter__(self) -> Control_groups:
        for parent in own_control_groups():
            group = parent / f"dov-boot-{os.getpid()}"
            try:
                group.mkdir()
            except OSError as error:
                self.__exit__()
                cannot_run(f"no control groups of its own: {error}")
            self._groups.append(group)
        if not self._groups:
            cannot_run("no control groups")
        return self

    def enter(self) -> None:
        for group in self._groups:
            (group / "cgroup.procs").write_text(str(os.getpid()))

    def __exit__(self, *_: object) -> None:
        for group in self._groups:
            for directory, _, _ in os.walk(group, topdown=False):
                remove_group(directory)


def write(path: Path, text: str, mode: int = 0o644) -> None:
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text)
    path.chmod(mode)


def make_units(units: Path, unit: str) -> None:
    for name in ("dbus.service", "dbus.socket"):
        shutil.copy(DBUS_UNITS / name, units)
    write(units / "dov-dbus.service", unit)
    service = unit[unit.index("[Service]\n"):unit.index("[Install]")].splitlines()[1:]
    rights = [line for line in service if not line.startswith(NO_RIGHTS)]
    write(units / "probe.service", PROBE_UNIT + "\n".join(rights))
    for target in PLAIN_TARGETS:
        write(units / f"{target}.target", "[Unit]\nDefaultDependencies=no\n")
    write(units / "default.target", "[Unit]\nDefaultDependencies=no\n"
          "Wants=dbus.socket driver.service\nAfter=dbus.socket\n")
    write(units / "driver.service", DRIVER_UNIT)
    write(units / "poweroff.target", POWER_OFF_TARGET)
    write(units / "power-off-mark.service", POWER_OFF_MARK)


def make_bus(bus: Path) -> None:
    bus.mkdir()
    shutil.copy("/usr/share/dbus-1/system.conf", bus)
    systemds = Path("/usr/share/dbus-1/system.d/org.freedesktop.systemd1.conf")
    for file, where in ((systemds, "system.d"),
                        (DATA / "dbus/com.quorin.system.conf", "system.d"),
                        (DATA / "dbus/com.quorin.system.service", "system-services")):
        (bus / where).mkdir(exist_ok=True)
        shutil.copy(file, bus / where)


def make_etc(etc: Path) -> None:
    (etc / "systemd/system").mkdir(parents=True)
    for name in ("passwd", "nsswitch.conf", "ld.so.cache"):
        if Path("/etc", name).exists():
            shutil.copy(Path("/etc", name), etc)
    with (etc / "passwd").open("a") as users:
        users.write("\ndov-metrics:x:64001:64001::/:/usr/sbin/nologin\n"
                    "dov-panel:x:64002:64002::/:/usr/sbin/nologin\n")
    write(etc / "group", Path("/etc/group").read_text()
          + "\ndov:x:64000:daemon\ndov-metrics:x:64001:\ndov-panel:x:64002:\n")
    write(etc / "machine-id", "0123456789abcdef0123456789abcdef\n")
    write(etc / "bsp_version_short", "1.2\n")
    for name in ("power_manage.conf", "oem_profile.conf"):
        write(etc / name, (DATA / "examples" / name).read_text())


def make_sysfs(sysfs: Path) -> None:
    """One tty of one adapter."""
    device = sysfs / "devices/virtual/tty/ttyUSB0"
    write(device / "uevent", "MAJOR=188\nMINOR=0\nDEVNAME=ttyUSB0\n")
    for directory in ("class/tty", "fs/cgroup"):
        (sysfs / directory).mkdir(parents=True)
    (device / "subsystem").symlink_to("../../../../class/tty")


def make_tool(root: Path, program: str, unit: Path) -> None:
    """The program is in a directory of the sandbox's own."""
    shutil.copy(program, root / "sbin" / Path(program).name)
    write(root / "units" / unit.name, unit.read_text().replace("/usr/bin/", "/usr/sbin/"))


def make_world(root: Path, program: str, unit: str, *tools: str) -> None:
    (root / "units").mkdir()
    make_units(root / "units", Path(unit).read_text())
    make_bus(root / "bus")
    make_etc(root / "etc")
    make_sysfs(root / "sys")
    write(root / "nv/info/SERIAL_NUMBER", "SN-1\n")
    (root / "sbin").mkdir()
    shutil.copy(program, root / "sbin/dov-dbus")
    if tools:
        line, tap, watch, metrics, *panel = tools
        make_tool(root, line, Path(tap))
        shutil.copy(Path(tap).parent / "tap.conf.example", root / "etc/tap.conf")
        make_tool(root, watch, Path(metrics))
        if panel:
            make_tool(root, panel[0], Path(panel[1]))
            shutil.copy(panel[2], root / "sbin")
    write(root / "stub", STUB, 0o755)
    write(root / "udev-control", "")
    (root / "report").mkdir()


def sandbox(root: Path) -> list[str]:
    command = ["bwrap", "--unshare-ipc", "--unshare-pid", "--unshare-net", "--unshare-uts",
               "--unshare-cgroup", "--die-with-parent", "--as-pid-1", "--cap-add", "ALL",
               "--clearenv", "--setenv", "container", "test",
               "--setenv", "PATH", "/usr/sbin:/usr/bin", "--perms", "0755", "--dir", "/usr",
               "--perms", "0755", "--dir", "/usr/share"]
    for name in ("bin", "sbin", "lib", "lib32", "lib64", "libx32"):
        if Path("/usr", name).exists() and name != "sbin":
            command += ["--ro-bind", f"/usr/{name}", f"/usr/{name}"]
        if Path("/", name).is_symlink():
            command += ["--symlink", f"usr/{name}", f"/{name}"]
    for source, target in (
            ("/usr/bin/systemctl", "/driver/systemctl"),
            (HERE / "driver.py", "/driver/driver.py"), (HERE / "probe.py", "/driver/probe.py"),
            (root / "stub", "/usr/bin/systemctl"), (root / "sbin", "/usr/sbin"),
            (root / "units", "/usr/lib/systemd/system"), (root / "bus", "/usr/share/dbus-1"),
            (root / "nv", "/nv")):
        command += ["--ro-bind", str(source), target]
    for name in ("etc", "sys", "report"):
        command += ["--bind", str(root / name), f"/{name}"]
    # systemd listens for devices only where this file is.
    command += ["--tmpfs", "/run", "--ro-bind", str(root / "udev-control"), "/run/udev/control"]
    for name in ("/tmp", "/media", "/home", "/root", "/var"):
        command += ["--tmpfs", name]
    command += ["--chmod", "1777", "/tmp", "--proc", "/proc", "--dev", "/dev"]
    return [*command, "--", str(SYSTEMD), "--system", "--unit=default.target",
            "--log-target=console", "--log-level=notice", "--show-status=no"]


def check_means() -> None:
    for needed in ("bwrap", "dbus-daemon", "busctl"):
        if shutil.which(needed) is None:
            sys.exit(f"there is no {needed}")
    for file in (SYSTEMD, DBUS_UNITS / "dbus.service"):
        if not file.exists():
            sys.exit(f"there is no {file}")
    if os.geteuid() != 0:
        cannot_run("only root can boot systemd")
    tried = subprocess.run(
        ["bwrap", "--unshare-pid", "--unshare-net", "--unshare-cgroup", "--cap-add", "ALL",
         "--ro-bind", "/", "/", "--proc", "/proc", "--dev", "/dev", "--tmpfs", "/run", "true"],
        capture_output=True, text=True, check=False)
    if tried.returncode != 0:
        cannot_run(f"no namespaces: {tried.stderr.strip()}")


def main() -> None:
    check_means()
    with tempfile.TemporaryDirectory(prefix="dov-boot-") as directory, Control_groups() as groups:
        root = Path(directory)
        make_world(root, *sys.argv[1:])
        with (root / "console").open("w") as console:
            booted = subprocess.Popen(
                sandbox(root), preexec_fn=groups.enter, stdin=subprocess.DEVNULL,
                stdout=console, stderr=subprocess.STDOUT)
            try:
                status = booted.wait(DEADLINE)
            except subprocess.TimeoutExpired:
                booted.kill()
                status = booted.wait()
        report = root / "report/report"
        print(report.read_text() if report.exists() else "the driver has not run")
        if status != 0:
            print(f"status {status}; systemd said:\n{(root / 'console').read_text()}")
            sys.exit(1)


if __name__ == "__main__":
    main()
