"""What docs/dbus-api.md says of the interfaces, as annotations of their descriptions.

The page is what people write; the descriptions get their texts from it. A text becomes an
annotation org.gtk.GDBus.DocString of what it is about, argument or member or interface: the DTD of
introspection data allows annotations everywhere and no other elements, every XML reader sees them,
which is not true of comments, gdbus-codegen makes documents of them, and qdbusxml2cpp passes over
them.
"""
from __future__ import annotations

import re
import xml.etree.ElementTree as ET
from dataclasses import dataclass, field

DOC = "org.gtk.GDBus.DocString"
SHORT = "org.gtk.GDBus.DocString.Short"
MEMBERS_AS_OF = re.compile(r"Members as of `([\w.]+)`\.")
MEMBER = re.compile(r"(\w+)\(")
# An argument "in the values' unit" is told what the section's sentence says of them.
VALUES = re.compile(r"Values are .*?\.(?= |$)")
VALUES_UNIT = "in the values' unit"


class Undocumented(Exception):
    """The page and an interface differ in what there is."""


@dataclass
class Interface:
    """A section of the page."""
    prose: list[str] = field(default_factory=list)
    notes: list[str] = field(default_factory=list)  # behind the table of members
    members: dict[tuple[str, str], str] = field(default_factory=dict)
    arguments: dict[tuple[str, str, str], str] = field(default_factory=dict)
    members_as_of: str = ""


def plain(text: str) -> str:
    """Without the marks of code and links."""
    return re.sub(r"\[([^]]+)]\([^)]*\)", r"\1", text).replace("`", "")


def cells(line: str) -> list[str]:
    return [cell.strip() for cell in line.strip("|").split("|")]


def add_row(interface: Interface, row: list[str], member: tuple[str, str]) -> tuple[str, str]:
    """Notes what a row of the table of members says; returns the member it is about."""
    kind, names, text = row
    if kind:
        found = MEMBER.match(plain(names))
        if found is None:
            raise Undocumented(f"no member: {names}")
        member = (kind, found[1])
        interface.members[member] = plain(text)
    else:
        for name in plain(names).split(", "):
            interface.arguments[(*member, name)] = plain(text)
    return member


def add_table(interface: Interface, lines: list[str]) -> None:
    rows = [cells(line) for line in lines]
    if rows[0][0] != "Kind":
        interface.notes += [f"{plain(row[0])}: {plain(row[1])}." for row in rows[2:]]
        return
    member = ("", "")
    for row in rows[2:]:
        member = add_row(interface, row, member)


def section(text: str) -> Interface:
    interface = Interface()
    for block in re.sub(r"```.*?```", "", text, flags=re.DOTALL).split("\n\n"):
        lines = block.strip().splitlines()
        as_of = MEMBERS_AS_OF.match(block.strip())
        if as_of:
            interface.members_as_of = as_of[1]
        elif lines and lines[0].startswith("|"):
            add_table(interface, lines)
        elif lines:
            texts = interface.notes if interface.members else interface.prose
            texts.append(plain(" ".join(lines)))
    return interface


def interfaces(page: str, service: str) -> dict[str, Interface]:
    """The sections whose headings are names of interfaces, by these."""
    found = {}
    for text in re.split(r"^## ", page, flags=re.MULTILINE):
        name, _, body = text.partition("\n")
        if name.startswith(f"{service}."):
            found[name] = section(body)
    for interface in found.values():
        if interface.members_as_of:
            base = found[interface.members_as_of]
            interface.members, interface.arguments = base.members, base.arguments
            interface.notes = base.notes + interface.notes
    return found


def annotate(element: ET.Element, name: str, text: str) -> None:
    annotations = len(element.findall("annotation"))
    element.insert(annotations, ET.Element("annotation", {"name": name, "value": text}))


def argument_text(interface: Interface, text: str) -> str:
    if VALUES_UNIT not in text:
        return text
    values = VALUES.search(" ".join(interface.prose))
    if values is None:
        raise Undocumented(f"no sentence says what the values are: {interface.prose}")
    return f"{text}. {values[0].removesuffix('.')}"


def describe(element: ET.Element, documented: dict[str, Interface]) -> None:
    """Adds its annotations to an interface and to everything in it."""
    name = element.attrib["name"]
    if name not in documented:
        raise Undocumented(f"{name} has no section")
    interface = documented[name]
    known = {(member.tag, member.attrib["name"]): member for member in element}
    arguments = {(*key, argument.attrib["name"]): argument
                 for key, member in known.items() for argument in member.findall("arg")}
    for what, there, told in (("members", known.keys(), interface.members.keys()),
                              ("arguments", arguments.keys(), interface.arguments.keys())):
        if there != told:
            raise Undocumented(f"{name}: {what} without text: {sorted(there - told)}, "
                               f"texts without one: {sorted(told - there)}")
    for member_key, member in known.items():
        annotate(member, DOC, interface.members[member_key])
    for argument_key, argument in arguments.items():
        annotate(argument, DOC, argument_text(interface, interface.arguments[argument_key]))
    annotate(element, SHORT, re.split(r"[:.](?: |$)", interface.prose[0])[0])
    annotate(element, DOC, "\n\n".join(interface.prose + interface.notes))
