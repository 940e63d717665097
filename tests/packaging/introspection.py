#!/usr/bin/python3
"""The checked-in interface descriptions against the running daemon and docs/dbus-api.md.

    introspection.py PROGRAM                     compares
    introspection.py PROGRAM --write DIRECTORY   writes them there: for tools/regenerate

The members are the daemon's, the texts the page's.
"""
from __future__ import annotations

import json
import sys
import xml.etree.ElementTree as ET
from pathlib import Path

import dbus
import describe
import stale
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


def as_described(text: str, documented: dict[str, describe.Interface]) -> str:
    """The file of an interface with what the page says of it."""
    interface = ET.fromstring(text)[0]
    describe.describe(interface, documented)
    return as_file(interface)


def shown(start: bool | float | str, types: str) -> str:
    """A start value as the page writes it."""
    if isinstance(start, bool):
        return str(start).lower()
    return str(float(start)) if types == "d" else str(start)


def untold(files: dict[str, str]) -> list[str]:
    """The start values and units of the catalogue that the text of an argument does not tell."""
    missing = []
    for kind in json.loads((SOURCES / "data/objects.json").read_text())["kinds"]:
        interface = ET.fromstring(files[kind["interface"] + ".xml"])[0]
        values = [(value["getter"], value) for value in kind["values"] if value["getter"]]
        values += [(f"get_{setting['name']}", setting) for setting in kind["settings"]]
        for getter, value in values:
            texts = [annotation.attrib["value"] for annotation in
                     interface.findall(f"method[@name='{getter}']/arg/annotation")]
            facts = [value.get("unit", "")]
            facts += [shown(value["start"], value["type"])] if value["start"] is not None else []
            missing += [f"{kind['name']}.{getter}: {fact}" for fact in facts
                        if not all(fact in text for text in texts)]
    return missing


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
    page = (SOURCES / "docs/dbus-api.md").read_text()
    documented = describe.interfaces(page, SERVICE)
    try:
        files = {f"{name}.xml": as_described(text, documented) for name, text in found.items()}
    except describe.Undocumented as difference:
        sys.exit(f"docs/dbus-api.md: {difference}")
    if sys.argv[2:3] == ["--write"]:
        for name, text in files.items():
            (Path(sys.argv[3]) / name).write_text(text)
        return
    checked_in = {path.name: path.read_text() for path in INTERFACES.glob("*.xml")}
    stale.check([stale.Kept(f"data/interfaces/{name}", checked_in.get(name, ""),
                            files.get(name, ""))
                 for name in sorted(files.keys() | checked_in.keys())], "interfaces")
    if missing := untold(checked_in):
        sys.exit("start values and units that no text tells:\n" + "\n".join(missing))
    print(f"{len(files)} interfaces as the daemon answers and docs/dbus-api.md says")


if __name__ == "__main__":
    main()
