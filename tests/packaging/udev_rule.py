#!/usr/bin/python3
"""What the udev rule gives to which port: udev_rule.py.

It is read as udev reads it, as far as it goes: matches, assignments, GOTO and LABEL.
"""
from __future__ import annotations

import re
import sys
from pathlib import Path

RULES = Path(__file__).resolve().parents[2] / "data/udev/60-dov-dbus.rules"
TOKEN = re.compile(r'\s*([A-Z]+(?:\{\w+\})?)(==|!=|\+=|:=|=)"([^"]*)"\s*(?:,|$)')
DEFAULT = 'KERNEL=="ttyUSB0", ENV{DOV_CONTROLLER}="1"'
NOTHING: dict[str, str] = {}
EVERYTHING = {"ENV{DOV_CONTROLLER}": "1", "SYMLINK": "dov/controller", "TAG": "systemd",
              "ENV{ID_MM_DEVICE_IGNORE}": "1", "ENV{ID_MM_PORT_IGNORE}": "1",
              "ENV{ID_MM_TTY_BLACKLIST}": "1"}


def tokens(line: str) -> list[tuple[str, str, str]]:
    found, end = [], 0
    while end < len(line):
        token = TOKEN.match(line, end)
        if token is None:
            sys.exit(f"not a rule: {line}")
        found.append((token[1], token[2], token[3]))
        end = token.end()
    return found


def given(rules: str, port: dict[str, str]) -> dict[str, str]:
    """What the rules add to a port, by key."""
    added: dict[str, str] = {}
    sought = ""
    for line in rules.splitlines():
        if not line.strip() or line.startswith("#"):
            continue
        rule = tokens(line)
        if sought:
            sought = "" if ("LABEL", "=", sought) in rule else sought
            continue
        world = {**port, **added}
        if not all((world.get(key, "") == value) == (operator == "==")
                   for key, operator, value in rule if operator in ("==", "!=")):
            continue
        for key, operator, value in rule:
            if operator in ("==", "!=") or key == "LABEL":
                continue
            if key == "GOTO":
                sought = value
            else:
                added[key] = value
    if sought:
        sys.exit(f"no label {sought}")
    return added


def documented_other() -> str:
    """The line of the rule's own comment that names an adapter."""
    return next(line.lstrip("# ") for line in RULES.read_text().splitlines() if "ATTRS" in line)


def main() -> None:
    rules = RULES.read_text()
    if DEFAULT not in rules:
        sys.exit(f"{RULES} lacks the line {DEFAULT}")
    adapter = {"SUBSYSTEM": "tty", "SUBSYSTEMS": "usb", "ATTRS{idVendor}": "0403",
               "ATTRS{serial}": "A1B2C3"}
    by_adapter = rules.replace(DEFAULT, documented_other())
    cases = (
        (rules, {"SUBSYSTEM": "tty", "KERNEL": "ttyUSB0"}, EVERYTHING),
        (rules, {"SUBSYSTEM": "tty", "KERNEL": "ttyUSB1"}, NOTHING),
        (rules, {"SUBSYSTEM": "tty", "KERNEL": "ttyS0"}, NOTHING),
        (rules, {"SUBSYSTEM": "usb-serial", "KERNEL": "ttyUSB0"}, NOTHING),
        (by_adapter, {**adapter, "KERNEL": "ttyUSB3"}, EVERYTHING),
        (by_adapter, {**adapter, "KERNEL": "ttyUSB0", "ATTRS{serial}": "other"}, NOTHING),
    )
    for text, port, expected in cases:
        if given(text, port) != expected:
            sys.exit(f"{port} gets {given(text, port)}, not {expected}")
    print(f"{len(cases)} ports get what they should")


if __name__ == "__main__":
    main()
