#!/usr/bin/python3
"""The checked-in interface descriptions against the running daemon.

    introspection.py PROGRAM                     compares
    introspection.py PROGRAM --write DIRECTORY   writes them there: for tools/regenerate
"""
from __future__ import annotations

import sys
import xml.etree.ElementTree as ET
from pathlib import Path

import dbus
from world import PREFIX, SERVICE, SOURCES, World, open_policy

INTERFACES = SOURCES / "data/interfaces"
HEADER = """<!DOCTYPE node PUBLIC "-//freedesktop//DTD D-BUS Object Introspection 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/introspect.dtd">
"""


def described(bus: dbus.bus.BusConnection, path: str, found: dict[str, str]) -> None:
    """The interfaces of the object at a path and of all below it."""
    proxy = bus.get_object(SERVICE, path, introspect=False)
    node = ET.fromstring(proxy.Introspect(dbus_interface="org.freedesktop.DBus.Introspectable"))
    for interface in node.findall("interface"):
        name = interface.attrib["name"]
        if name.startswith(SERVICE):
            text = as_file(interface)
            if found.setdefault(name, text) != text:
                sys.exit(f"{name} differs between objects")
    for child in node.findall("node"):
        described(bus, f"{path}/{child.attrib['name']}", found)


def as_file(interface: ET.Element) -> str:
    node = ET.Element("node")
    node.append(interface)
    ET.indent(node)
    return HEADER + ET.tostring(node, encoding="unicode") + "\n"


def main() -> None:
    found: dict[str, str] = {}
    with World(sys.argv[1], open_policy()) as world:
        described(dbus.bus.BusConnection(world.address), PREFIX, found)
        if world.power_offs():
            sys.exit("the daemon has switched the terminal off")
    files = {f"{name}.xml": text for name, text in found.items()}
    if sys.argv[2:3] == ["--write"]:
        for name, text in files.items():
            (Path(sys.argv[3]) / name).write_text(text)
        return
    checked_in = {path.name: path.read_text() for path in INTERFACES.glob("*.xml")}
    different = sorted(name for name in files.keys() | checked_in.keys()
                       if files.get(name) != checked_in.get(name))
    if different:
        sys.exit(f"not as the daemon answers: {', '.join(different)}\n"
                 "to write them anew: tools/regenerate interfaces")
    print(f"{len(files)} interfaces as the daemon answers")


if __name__ == "__main__":
    main()
