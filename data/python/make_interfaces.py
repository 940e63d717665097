#!/usr/bin/python3
"""Writes the typed classes of the interfaces: make_interfaces.py DATA.

Methods and signals are those of the descriptions in the directory, without the signals that never
come; the catalogue of objects says what is no value yet.
"""
from __future__ import annotations

import json
import sys
import textwrap
import xml.etree.ElementTree as ET
from pathlib import Path

SERVICE = "com.quorin.system"
TYPES = {"b": "bool", "y": "int", "i": "int", "u": "int", "d": "float", "s": "str"}
DOC = "org.gtk.GDBus.DocString"
HEADER = '''"""A class for each interface. Written by make_interfaces.py from their descriptions."""
from __future__ import annotations

from .remote import Measured_input, Remote, Signals, Switched_input
'''


def text_of(element: ET.Element) -> str:
    found = element.find(f"annotation[@name='{DOC}']")
    return "" if found is None else found.attrib["value"]


def class_name(interface: str) -> str:
    """Device_dimmable for com.quorin.system.device.dimmable, as in the other typed clients."""
    name = interface[len(SERVICE) + 1:].replace(".", "_")
    return name[0].upper() + name[1:]


def arguments(member: ET.Element, direction: str) -> list[tuple[str, str, str]]:
    """Name, type and text of each; a signal's are outputs."""
    return [(argument.attrib["name"].lstrip("_"), argument.attrib["type"], text_of(argument))
            for argument in member.findall("arg") if argument.attrib["direction"] == direction]


def sentence(text: str) -> str:
    return text[0].upper() + text[1:] + ("" if text.endswith(".") else ".")


def docstring(text: str, rows: list[str], indent: str) -> str:
    width = 100 - len(indent)
    paragraphs = [textwrap.wrap(sentence(part), width - 6) for part in text.split("\n\n")]
    paragraphs += [textwrap.wrap(row, width, subsequent_indent="    ") for row in rows]
    body = ""
    for number, lines in enumerate(paragraphs):
        body += ("\n\n" if 0 < number <= len(paragraphs) - len(rows) else "\n" if number else "")
        body += "\n".join(lines)
    several = "\n" in body
    body = body.replace("\n", f"\n{indent}").replace(f"\n{indent}\n", "\n\n")
    return f'{indent}"""{body}' + (f'\n{indent}"""\n' if several else '"""\n')


def rows(*lists: list[tuple[str, str, str]]) -> list[str]:
    return [f"{name}: {text}" for entries in lists for name, _, text in entries]


def tuple_of(outputs: list[tuple[str, str, str]]) -> str:
    types = [TYPES[type_] for _, type_, _ in outputs]
    if not types:
        return "None"
    return types[0] if len(types) == 1 else f"tuple[{', '.join(types)}]"


def value_of(outputs: list[tuple[str, str, str]], source: str) -> str:
    values = [f"{TYPES[type_]}({source}[{n}])" for n, (_, type_, _) in enumerate(outputs)]
    return values[0] if len(values) == 1 else f"({', '.join(values)})" if values else "None"


def method(member: ET.Element, unknown: object) -> str:
    name = member.attrib["name"]
    inputs, outputs = arguments(member, "in"), arguments(member, "out")
    parameters = "".join(f", {name}: {TYPES[type_]}" for name, type_, _ in inputs)
    signature = "".join(type_ for _, type_, _ in inputs)
    values = "".join(f", {TYPES[type_]}({name})" for name, type_, _ in inputs)
    passed = f'"{name}"' + (f', "{signature}"{values}' if inputs else "")
    told = rows(inputs, outputs)
    if unknown is not None:
        told.append("Raises No_value_yet until the controller has told it.")
    text = (f"    async def {name}(self{parameters}) -> {tuple_of(outputs)}:\n"
            + docstring(text_of(member), told, " " * 8))
    if not outputs:
        return text + f"        await self._call({passed})\n"
    text += f"        outputs = await self._call({passed})\n"
    if unknown is not None:
        text += f"        self._known(outputs, {unknown!r})\n"
    return text + f"        return {value_of(outputs, 'outputs')}\n"


def signal(member: ET.Element) -> str:
    name, outputs = member.attrib["name"], arguments(member, "out")
    taken = f"lambda told: {value_of(outputs, 'told')}"
    return (f"    def {name}(self) -> Signals[{tuple_of(outputs)}]:\n"
            + docstring("Each time: " + text_of(member), rows(outputs), " " * 8)
            + f'        return self._signals("{name}", {taken})\n')


def base(element: ET.Element) -> str:
    members = {member.attrib["name"] for member in element}
    if "val_changed" in members:
        return "Measured_input"
    return "Switched_input" if {"changed", "is_on", "on"} & members == {"changed", "is_on"} \
        else "Remote"


def interface(element: ET.Element, kinds: list[dict]) -> str:
    sent = {row["name"] for kind in kinds for row in kind["signals"] if row["sent"]}
    unknown = {value["getter"]: value["start"] for kind in kinds for value in kind["values"]
               if value["start_is_no_value"]}
    parts = [signal(member) for member in element.findall("signal")
             if member.attrib["name"] in sent]
    parts += [method(member, unknown.get(member.attrib["name"]))
              for member in element.findall("method")]
    name = element.attrib["name"]
    return (f"\n\nclass {class_name(name)}({base(element)}):\n"
            + docstring(text_of(element), [], "    ")
            + f'    INTERFACE = "{name}"\n\n' + "\n".join(parts))


def module(data: Path) -> str:
    kinds = json.loads((data / "objects.json").read_text())["kinds"]
    text = HEADER
    for file in sorted((data / "interfaces").glob("*.xml")):
        element = ET.parse(file).getroot()[0]
        text += interface(element, [kind for kind in kinds
                                    if kind["interface"] == element.attrib["name"]])
    return text


if __name__ == "__main__":
    print(module(Path(sys.argv[1])), end="")
