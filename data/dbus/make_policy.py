#!/usr/bin/python3
"""Writes the bus policy: make_policy.py DATA.

The methods are those of the interface descriptions in the directory. Those by which the catalogue
of objects learns values and settings read; every other one changes something.
"""
from __future__ import annotations

import json
import sys
import xml.etree.ElementTree as ET
from pathlib import Path

GROUP = "dov"
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


def readers(catalogue: dict) -> set[tuple[str, str]]:
    found = set()
    for kind in catalogue["kinds"]:
        members = [value["getter"] for value in kind["values"] if value["getter"]]
        members += ["get_" + setting["name"] for setting in kind["settings"]]
        found |= {(kind["interface"], member) for member in members}
    return found


def methods(directory: Path) -> list[tuple[str, str]]:
    found = []
    for path in sorted(directory.glob("*.xml")):
        for interface in ET.parse(path).getroot().iter("interface"):
            for method in interface.findall("method"):
                found.append((interface.attrib["name"], method.attrib["name"]))
    return sorted(set(found))


def allowed(service: str, interface: str, member: str) -> str:
    return (f'    <allow send_destination="{service}"\n'
            f'           send_interface="{interface}" send_member="{member}"/>\n')


def policy(data: Path) -> str:
    catalogue = json.loads((data / "objects.json").read_text())
    service = catalogue["service"]
    every = methods(data / "interfaces")
    reading = [m for m in every if m in readers(catalogue)]
    changing = [m for m in every if m not in reading]
    all_read = "".join(allowed(service, *m) for m in (*STANDARD, *reading))
    some_change = "".join(allowed(service, *m) for m in changing)
    return (
        f'{HEADER}  <policy context="default">\n    <deny own="{service}"/>\n'
        f'    <deny send_destination="{service}"/>\n{all_read}  </policy>\n\n'
        f'  <policy group="{GROUP}">\n{some_change}  </policy>\n\n'
        f'  <policy user="root">\n    <allow own="{service}"/>\n{some_change}  </policy>\n'
        "</busconfig>\n")


if __name__ == "__main__":
    print(policy(Path(sys.argv[1])), end="")
