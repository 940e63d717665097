#!/usr/bin/python3
"""The bus policy on a real message bus, for every method that the daemon answers.

    policy.py PROGRAM

First as this user, put by the policy into each of the roles in turn, which takes no rights; then,
where this is root, as users and groups of their own.
"""
from __future__ import annotations

import json
import os
import subprocess
import sys
import xml.etree.ElementTree as ET
from pathlib import Path

import dbus

HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent))
import stale  # noqa: E402
from roles import POLICY, ROLES, command_as  # noqa: E402
from roles import policy_for_real_users, policy_for_this_user  # noqa: E402
from world import PREFIX, SERVICE, SOURCES, World  # noqa: E402

MAKE_POLICY = SOURCES / "data/dbus/make_policy.py"
INTROSPECTABLE = "org.freedesktop.DBus.Introspectable"
PROPERTIES = "org.freedesktop.DBus.Properties"
PEER = "org.freedesktop.DBus.Peer"

READS = {
    "get", "get_brightness", "get_buzzer_file", "get_code", "get_hysteresis", "get_max_value",
    "get_min_value", "get_mode", "get_operating_voltage", "get_time_out", "get_value", "get_volume",
    "is_connected", "is_enabled", "is_hold", "is_on", "is_suspended",
    # The bus's own interfaces
    "Introspect", "Ping", "GetMachineId", "Get", "GetAll",
}
CHANGES = {
    "disable", "enable", "handle_timeout", "hold", "media_changed", "off", "on", "query", "release",
    "request4", "request5", "request6", "resume", "scan_channels", "send_ack", "set",
    "set_brightness", "set_buzzer_file", "set_code", "set_hold", "set_hysteresis", "set_max_value",
    "set_min_value", "set_operating_voltage", "set_time_out", "set_volume", "suspend",
    "switch_channel",
}
# There is nothing to set.
NOBODYS = {"Set"}

MOST_SHOWN = 10


def allowed(role: str, member: str, interface: str) -> bool:
    if not interface or member in NOBODYS:
        return False
    return member in READS or (member in CHANGES and role in ("root", "member"))


def methods_below(bus: dbus.bus.BusConnection, path: str) -> list[dict[str, str]]:
    """The methods of the object at a path and of all below it."""
    proxy = bus.get_object(SERVICE, path, introspect=False)
    node = ET.fromstring(proxy.Introspect(dbus_interface=INTROSPECTABLE))
    found = []
    for interface in node.findall("interface"):
        for method in interface.findall("method"):
            signature = "".join(arg.attrib["type"] for arg in method.findall("arg")
                                if arg.attrib.get("direction", "in") == "in")
            found.append({"path": path, "interface": interface.attrib["name"],
                          "member": method.attrib["name"], "signature": signature})
    for child in node.findall("node"):
        found += methods_below(bus, f"{path}/{child.attrib['name']}")
    return found


def every_call(address: str) -> list[dict[str, str]]:
    """Each method once, at the first object that has it, by each way to address it."""
    bus = dbus.bus.BusConnection(address)
    methods = {}
    for method in methods_below(bus, PREFIX):
        methods.setdefault((method["interface"], method["member"]), method)
    unknown = {member for _, member in methods} - READS - CHANGES - NOBODYS
    if unknown:
        sys.exit(f"neither in READS nor in CHANGES of {Path(__file__).name}, which say who may "
                 f"call what: {', '.join(sorted(unknown))}")
    if len({interface for interface, _ in methods if interface.startswith(SERVICE)}) < 20:
        sys.exit(f"too few interfaces: {methods.keys()}")
    calls = []
    for destination in (SERVICE, str(bus.get_name_owner(SERVICE))):
        for method in methods.values():
            calls.append({**method, "destination": destination})
            calls.append({**method, "destination": destination, "interface": ""})
    return calls


def check_calls(world: World, role: str, prefix: list[str], name_expected: str) -> int:
    """Makes every call in a role; returns how many were made."""
    calls = every_call(world.address)
    file = world.root / "calls.json"
    file.write_text(json.dumps(calls))
    answer = subprocess.run(
        [*prefix, "/usr/bin/python3", "-", world.address, str(file)], cwd="/", check=True,
        stdin=(HERE / "caller.py").open("rb"), stdout=subprocess.PIPE).stdout
    outcomes = json.loads(answer)
    wrong = []
    for call, outcome in zip(calls, outcomes["calls"]):
        expected = "taken" if allowed(role, call["member"], call["interface"]) else "denied"
        if outcome != expected:
            wrong.append(f"{role}: {outcome}, not {expected}: {call}")
    if outcomes["name"] != name_expected:
        wrong.append(f"{role}: {outcomes['name']}, not {name_expected}, when asking for the name")
    if wrong or len(calls) != len(outcomes["calls"]):
        sys.exit("\n".join([f"{len(wrong)} wrong", *wrong[:MOST_SHOWN],
                            f"who may call what, as this test has it: {Path(__file__).name}; as "
                            "the bus has it: data/dbus/com.quorin.system.conf, written by "
                            "tools/regenerate interfaces policy"]))
    return len(calls)


def check_signals(world: World, role: str, prefix: list[str]) -> None:
    """A medium that comes is heard of."""
    heard = world.root / f"heard-{role}"
    with heard.open("wb") as output:
        listener = subprocess.Popen(
            [*prefix, "dbus-monitor", "--address", world.address,
             f"type='signal',sender='{SERVICE}'"], cwd="/", stdout=output, stderr=subprocess.STDOUT)
    try:
        world.wait_for("the listener", lambda: "NameAcquired" in heard.read_text())
        (world.root / "media" / f"usb-{role}").mkdir()
        world.wait_for("a signal", lambda: "member=connection" in heard.read_text())
    finally:
        listener.terminate()
        listener.wait()


def as_this_user(program: str) -> int:
    """Whoever runs this, once in each role. The daemon has to own its name in all of them."""
    made = 0
    for role in ROLES:
        with World(program, policy_for_this_user(role)) as world:
            made += check_calls(world, role, [], "taken")
            check_signals(world, role, [])
    return made


def as_real_users(program: str) -> int:
    made = 0
    with World(program, policy_for_real_users()) as world:
        for role in ROLES:
            prefix = command_as(role)
            made += check_calls(world, role, prefix, "taken" if role == "root" else "denied")
            check_signals(world, role, prefix)
    return made


def check_generated() -> None:
    made = subprocess.run([sys.executable, "-B", MAKE_POLICY, SOURCES / "data"],
                          check=True, capture_output=True, text=True).stdout
    stale.check([stale.Kept(str(POLICY.relative_to(SOURCES)), POLICY.read_text(), made)], "policy")


def main() -> None:
    check_generated()
    print(f"{as_this_user(sys.argv[1])} calls as this user")
    if os.geteuid() == 0:
        print(f"{as_real_users(sys.argv[1])} calls as users of their own")
    else:
        print("not root: no calls as other users")


if __name__ == "__main__":
    main()
