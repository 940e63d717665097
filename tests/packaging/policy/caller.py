"""Makes the calls of a file on a bus and prints what became of each: caller.py ADDRESS CALLS.

Read from standard input, so that it runs as a user who may not read this directory.
"""
from __future__ import annotations

import json
import sys

import dbus
from dbus.lowlevel import MethodCallMessage

SECONDS = 30.0
DENIED = "org.freedesktop.DBus.Error.AccessDenied"
EXAMPLES = {"b": False, "y": 1, "i": 1, "u": 1, "d": 1.0, "s": "text", "v": dbus.Int32(1)}


def outcome(bus: dbus.bus.BusConnection, call: dict[str, str]) -> str:
    message = MethodCallMessage(call["destination"], call["path"], call["interface"] or None,
                                call["member"])
    message.append(*(EXAMPLES[kind] for kind in call["signature"]), signature=call["signature"])
    try:
        bus.send_message_with_reply_and_block(message, SECONDS)
    except dbus.DBusException as error:
        return "denied" if error.get_dbus_name() == DENIED else "taken"
    return "taken"


def name_request(bus: dbus.bus.BusConnection) -> str:
    try:
        bus.request_name("com.quorin.system", dbus.bus.NAME_FLAG_DO_NOT_QUEUE)
    except dbus.DBusException as error:
        return "denied" if error.get_dbus_name() == DENIED else str(error)
    return "taken"


def main() -> None:
    bus = dbus.bus.BusConnection(sys.argv[1])
    with open(sys.argv[2], encoding="utf-8") as file:
        outcomes = [outcome(bus, call) for call in json.load(file)]
    print(json.dumps({"name": name_request(bus), "calls": outcomes}))


main()
