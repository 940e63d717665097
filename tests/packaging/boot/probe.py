"""What the daemon does with the machine, done under the restrictions of its unit."""
from __future__ import annotations

import ctypes
import os
import subprocess
import sys
import syslog
from pathlib import Path


def shell(command: str) -> bool:
    return subprocess.run(command, shell=True, check=False).returncode == 0


def opens_the_port() -> bool:
    os.close(os.open("/dev/dov/controller", os.O_RDWR | os.O_NOCTTY))
    return shell("stty -F /dev/dov/controller 115200 raw -echo")


def removes_the_marker() -> bool:
    Path("/tmp/input_activity").unlink()
    return not Path("/tmp/input_activity").exists()


def watches_media() -> bool:
    library = ctypes.CDLL(None, use_errno=True)
    all_changes = 0x3C6
    return library.inotify_add_watch(library.inotify_init1(0), b"/media/", all_changes) > 0 and \
        os.listdir("/media") == ["stick"]


def logs() -> bool:
    syslog.syslog("probe")
    return True


def cannot_write_elsewhere() -> bool:
    try:
        Path("/etc/written").touch()
    except OSError:
        return True
    return False


def reads_versions() -> bool:
    return shell('sh -c "echo `uname -r`-v`cat /etc/bsp_version_short`"') and \
        shell("cat /nv/info/SERIAL_NUMBER")


def switches_off() -> bool:
    return shell("/driver/systemctl poweroff --no-block")


DOINGS = (opens_the_port, removes_the_marker, watches_media, logs, cannot_write_elsewhere,
          reads_versions, switches_off)

failed = [doing.__name__ for doing in DOINGS if not doing()]
Path("/tmp/probe").write_text(f"tried: {len(DOINGS)}, failed: {failed}")
sys.exit(len(failed))
