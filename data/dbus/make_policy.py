#!/usr/bin/python3
"""Writes the bus policy from the interface descriptions: make_policy.py DIRECTORY.

Methods named get..., is_... read; every other one changes something.
"""
from __future__ import annotations

import sys
import xml.etree.ElementTree as ET
from pathlib import Path

SERVICE = "com.quorin.system"
GROUP = "dov"
READERS = ("get", "is_")
STANDARD = (
    ("org.freedesktop.DBus.Introspectable", "Introspect"),
    ("org.freedesktop.DBus.Peer", "Ping"),
    ("org.freedesktop.DBus.Peer", "GetMachineId"),
    ("org.freedesktop.DBus.Properties", "Get"),
    ("org.freedesktop.DBus.Properties", "GetAll"),
)
HEADER = f"""<!DOCTYPE busconfig PUBLIC
 "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<!-- Written by make_policy.py from the interface descriptions.
     Root owns the name. Everybody reads and receives signals; what changes something is for root
     and the group {GROUP}. A call that names no interface is refused, since the daemon would run it
     on whatever interface has the method. -->
<busconfig>
"""


def is_reader(method: str) -> bool:
    return method.startswith(READERS)


def methods(directory: Path) -> list[tuple[str, str]]:
    found = []
    for path in sorted(directory.glob("*.xml")):
        for interface in ET.parse(path).getroot().iter("interface"):
            for method in interface.findall("method"):
                found.append((interface.attrib["name"], method.attrib["name"]))
    return sorted(set(found))


def allowed(interface: str, member: str) -> str:
    return (f'    <allow send_destination="{SERVICE}"\n'
            f'           send_interface="{interface}" send_member="{member}"/>\n')


def policy(directory: Path) -> str:
    every = methods(directory)
    reading = "".join(allowed(*m) for m in (*STANDARD, *(m for m in every if is_reader(m[1]))))
    changing = "".join(allowed(*m) for m in every if not is_reader(m[1]))
    return (
        f'{HEADER}  <policy context="default">\n    <deny own="{SERVICE}"/>\n'
        f'    <deny send_destination="{SERVICE}"/>\n{reading}  </policy>\n\n'
        f'  <policy group="{GROUP}">\n{changing}  </policy>\n\n'
        f'  <policy user="root">\n    <allow own="{SERVICE}"/>\n{changing}  </policy>\n'
        "</busconfig>\n")


if __name__ == "__main__":
    print(policy(Path(sys.argv[1])), end="")
