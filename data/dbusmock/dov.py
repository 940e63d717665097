"""A terminal without a terminal: the whole service com.quorin.system as a python-dbusmock template.

    python3 -m dbusmock --template /usr/share/python-dbusmock/templates/dov.py

puts every object with its methods and signals on the system bus, or with --session on the session
bus, as the daemon has them when it has just started: the hysteresis of every input is 1000000.0,
what the controller tells is -1000000.0, 255 or "No PC Comms", limits that are passed latch, some
signals never come. Nothing is ever switched off: the power switches only remember.

What a terminal does by itself, a test does by the methods of com.quorin.system.mock at
/com/quorin/system. Paths are those of the objects, whole or behind /com/quorin/system/.

    set_input(s path, v value)            an input measures this, in its unit, or is on or off
    report()                              every input is reported again as it is
    set_ignition(b on, y mode)            the controller tells of the ignition
    press_button()                        the power button is pressed
    acknowledge()                         the controller acknowledges (ATX)
    set_media(as names)                   these are the entries of /media/
    set_version(s path, s text)           a version or identity is this
    set_output(u number, b on, b enabled) the controller tells of a digital output
    set_configuration(y oem_code, y offset, y value)
                                          the controller tells of a configuration byte
    set_oem_code(y code)                  the controller tells of the OEM code
    set_silent(b silent)                  the controller answers nothing and reports nothing; inputs
                                          and versions that change meanwhile are told afterwards

Parameters (--parameters, JSON):

    silent      true: as if by set_silent(true) from the start; false
    allowed     false: as for a caller outside the group dov, changes are refused; true
    interfaces  false: calls that name no interface are taken; true, they are refused, as on a
                terminal
    suspended   the power switches that are off, as ["device/camera/power"]; none
    versions    what the terminal's own versions read, by path; those of a terminal with number 1234
    digest_ms   after how long inputs of the digest are reported again when a setting of theirs has
                changed; 100, 0 for never
    poll_ms     the same for inputs that are polled; 3000

The objects are those of the catalogue, objects.json, and their members those of the descriptions of
the interfaces. Both are found beside this file, where the package or the sources have them.
"""
import json
import math
import xml.etree.ElementTree as ET
from pathlib import Path

import dbus
import dbus.lowlevel
import dbus.service
from dbusmock import mockobject
from gi.repository import GLib

BUS_NAME = "com.quorin.system"
MAIN_OBJ = "/com/quorin/system"
MAIN_IFACE = "com.quorin.system.mock"
SYSTEM_BUS = True

ANSWER_MS = 3  # a request and its answer on a line of 115200 baud
SHORTEST_PERIOD_MS = 130
LONGEST_PERIOD_MS = 2147483647
MILLI = 0.001
FULL_LIGHT_VOLTS = 4.995
FULL_LEVEL = 254
PERCENT_PER_LEVEL = 0.3937007874015748
MEDIA = "/media/"

PARAMETERS = {
    "silent": False,
    "allowed": True,
    "interfaces": True,
    "suspended": [],
    "versions": {
        "version/kernel": "6.1.0-21-amd64-v7.3\n",
        "version/serial_number": "1234\n",
        "version/customer_part_number": "PN-1\n,VP2\n,B3\n",
    },
    "digest_ms": 100,
    "poll_ms": 3000,
}


def wrong(text):
    return dbus.exceptions.DBusException(text, name="org.freedesktop.DBus.Error.InvalidArgs")


# What the objects of each kind do. The methods are those of the D-Bus interface.


class Device:
    def __init__(self, terminal, path, kind):
        self.terminal = terminal
        self.path = path
        self.kind = kind
        self.start(kind["values"][0]["start"] if kind["values"] else None)

    def start(self, value):
        """The state in which the service starts."""

    def emit(self, signal, *arguments):
        self.terminal.emit(self, signal, arguments)


class Input(Device):
    """What the controller measures and tells."""
    measured = None  # nothing yet

    def set(self, measured):
        self.measured = self.checked(measured)
        self.report()

    def report(self):
        if self.measured is not None and not self.terminal.silent:
            self.update(self.measured)


class Digital_input(Input):
    def start(self, value):
        self.value = value

    def checked(self, measured):
        return bool(measured)

    def update(self, value):
        if value != self.value:
            self.value = value
            self.emit("changed", value)

    def is_on(self):
        return self.value


class Measured_input(Input):
    """A number that is reported when it has changed by more than a hysteresis, and again when
    nothing has been reported for a time."""
    scale = 1
    lowest, highest = 0, 65535  # as the controller counts

    def start(self, value):
        self.value = self.reported = value
        for setting in self.kind["settings"]:
            setattr(self, setting["name"], float(setting["start"]))
        self.time_out = 0
        self.timer = None

    def checked(self, measured):
        """What the controller makes of a value: it counts in steps."""
        if not math.isfinite(measured):
            raise wrong(f"{measured} is no value")
        count = self.count(measured)
        if not self.lowest <= count <= self.highest:
            raise wrong(f"{self.path} measures {self.value_of(self.lowest)} to "
                        f"{self.value_of(self.highest)}, not {measured}")
        return self.value_of(count)

    def count(self, value):
        return round(value / self.scale)

    def value_of(self, count):
        return float(count * self.scale)

    def update(self, value):
        if abs(self.reported - value) > self.hysteresis:
            self.emit("val_changed", value, False)
            self.reported = value
            self.start_timer()
        self.value = value

    def start_timer(self):
        self.terminal.forget(self.timer)
        self.timer = None
        if self.time_out:
            period = min(self.time_out, LONGEST_PERIOD_MS)
            self.timer = self.terminal.every(period, self.handle_timeout)

    def handle_timeout(self):
        self.emit("val_changed", self.value, True)

    def get_value(self):
        return self.value

    def set_hysteresis(self, value):
        self.hysteresis = value
        self.terminal.report_later(self)

    def get_hysteresis(self):
        return self.hysteresis

    def set_time_out(self, period):
        self.time_out = max(period, SHORTEST_PERIOD_MS) if period else 0
        self.start_timer()

    def get_time_out(self):
        return self.time_out


class Limited_input(Measured_input):
    """One that has limits, too. A limit that is passed latches."""
    below_min = False
    above_max = False

    def update(self, value):
        if self.min_value > value:
            if not self.below_min:
                self.emit("min_pass", value)
            self.below_min = True
        elif value > self.min_value + self.hysteresis:
            self.below_min = False
        if value > self.max_value:
            if not self.above_max:
                self.emit("max_pass", value)
            self.above_max = True
        elif self.max_value - self.hysteresis > value:
            self.above_max = False
        super().update(value)

    def set_max_value(self, value):
        self.max_value = value
        self.terminal.report_later(self)

    def get_max_value(self):
        return self.max_value

    def set_min_value(self, value):
        self.min_value = value
        self.terminal.report_later(self)

    def get_min_value(self):
        return self.min_value


class Volts_input(Limited_input):
    scale = MILLI


class Temperature_input(Limited_input):
    lowest, highest = -128, 127


class Ambient_light_input(Limited_input):
    def count(self, value):
        return round(value * FULL_LIGHT_VOLTS / 100 / MILLI)

    def value_of(self, count):
        return min(100.0, count * MILLI * 100 / FULL_LIGHT_VOLTS)

    def checked(self, measured):
        if measured > 100:
            raise wrong(f"{self.path} measures 0 to 100 %, not {measured}")
        return super().checked(measured)


class Digital_output(Device):
    def start(self, value):
        self.value, self.enabled = (row["start"] for row in self.kind["values"])

    def on(self):
        self.set(True, self.enabled)

    def off(self):
        self.set(False, self.enabled)

    def set(self, value, enabled):
        self.value, self.enabled = value, enabled

    def is_on(self):
        return self.value

    def enable(self):
        self.set(self.value, True)

    def disable(self):
        self.set(self.value, False)

    def is_enabled(self):
        return self.enabled

    def told(self, value, enabled):
        """Of an output that is disabled the controller tells no level."""
        self.set(value if enabled else self.value, enabled)


class Frequency_output(Device):
    def set(self, value):
        """It cannot be read back."""


class Operating_voltage(Device):
    def start(self, value):
        self.value = int(value)

    def set_operating_voltage(self, value):
        self.value = value

    def get_operating_voltage(self):
        return self.value


class Led(Device):
    def start(self, value):
        self.brightness = float(value)

    def set_brightness(self, value):
        """An LED cannot be set."""

    def get_brightness(self):
        return self.brightness


class Backlight(Led):
    def set_brightness(self, value):
        self.brightness = 0.0 if value < 0.0 else value
        self.terminal.answer(self.told, self.level(value))

    @staticmethod
    def level(value):
        """The first of the two levels that the number carries, as the controller counts."""
        if not value > 0.0:
            return 0
        whole = math.trunc(min(value, 101.0))
        return FULL_LEVEL if whole > 100 else math.trunc(whole * FULL_LEVEL / 100 + 0.5)

    def told(self, level):
        self.brightness = level * PERCENT_PER_LEVEL


class Buzzer(Device):
    def start(self, value):
        self.volume = float(value)
        self.file = "/etc/buzzer.wav"

    def set_volume(self, value):
        is_number = -2.0 ** 63 <= value < 2.0 ** 63
        self.emit("volume_changed", math.trunc(value) & 0xff if is_number else 0)
        self.volume = value

    def get_volume(self):
        return self.volume

    def get_buzzer_file(self):
        return self.file

    def set_buzzer_file(self, name):
        self.file = name
        volume = self.volume
        self.set_volume(0.0)
        self.set_volume(volume)


class Power_switch(Device):
    def start(self, value):
        self.suspended = self.path in self.terminal.parameters["suspended"]

    def suspend(self):
        self.suspended = True
        return 0

    def resume(self):
        self.suspended = False

    def is_suspended(self):
        return self.suspended


class Ignition(Device):
    def start(self, value):
        self.on, self.mode = (row["start"] for row in self.kind["values"])

    def is_on(self):
        return self.on

    def get_mode(self):
        return int(self.mode)

    def told(self, on, mode):
        self.mode = mode
        if on != self.on:
            self.on = on
            self.emit("changed", on)


class Power_lock(Device):
    def set_hold(self, value):
        """Without effect."""

    def hold(self):
        """Without effect."""

    def release(self):
        """Without effect."""

    def is_hold(self):
        return False


class Power_button(Device):
    def told(self):
        self.emit("short_press", 1)


class Atx(Device):
    def send_ack(self):
        self.terminal.answer(self.told)

    def told(self):
        self.emit("received")


class Camera(Device):
    def is_connected(self):
        return False

    def without_effect(self, *_):
        """The methods can be called."""

    media_changed = switch_channel = scan_channels = without_effect
    request4 = request5 = request6 = without_effect


class System_version(Device):
    def start(self, value):
        self.text = self.terminal.parameters["versions"].get(self.path, "")

    def set(self, text):
        self.text = text

    def get(self):
        return self.text


class Controller_version(Input):
    def start(self, value):
        self.text = value

    def checked(self, measured):
        return str(measured)

    def update(self, text):
        self.text = text

    def get(self):
        return self.text


class Media(Device):
    """A scan tells what differs from the scan before, of whatever directory."""

    def start(self, value):
        self.known = []

    def media_changed(self, directory):
        names = self.terminal.media if directory == MEDIA else []
        found = sorted((name for name in names if name.startswith("usb")), key=str.lower)
        for name in self.known:
            if name not in found:
                self.emit("connection", directory + name, False)
        for name in found:
            if name not in self.known:
                self.emit("connection", directory + name, True)
        self.known = found


class Configuration(Device):
    def start(self, value):
        self.last = (int(value),) * 3
        self.kept = {}

    def set(self, oem_code, offset, value):
        self.kept[(oem_code, offset)] = value
        self.query(oem_code, offset)

    def query(self, oem_code, offset):
        self.terminal.answer(self.told, oem_code, offset, self.kept.get((oem_code, offset), 0))

    def get(self):
        return self.last

    def told(self, oem_code, offset, value):
        self.kept[(oem_code, offset)] = value
        self.last = (oem_code, offset, value)


class Oem_profile(Device):
    def start(self, value):
        self.code = int(value)

    def get_code(self):
        return self.code

    def set_code(self, code):
        self.terminal.answer(self.told, code)

    def told(self, code):
        self.code = code


KINDS = {
    "digital_input": Digital_input,
    "analog_input": Volts_input,
    "frequency_input": Measured_input,
    "voltage_input": Volts_input,
    "temperature_input": Temperature_input,
    "ambient_light_input": Ambient_light_input,
    "digital_output": Digital_output,
    "frequency_output": Frequency_output,
    "operating_voltage": Operating_voltage,
    "led": Led,
    "backlight": Backlight,
    "buzzer": Buzzer,
    "power_switch": Power_switch,
    "ignition": Ignition,
    "power_lock": Power_lock,
    "power_button": Power_button,
    "atx": Atx,
    "camera": Camera,
    "controller_version": Controller_version,
    "system_version": System_version,
    "media": Media,
    "configuration": Configuration,
    "oem_profile": Oem_profile,
}


# The service: objects on the bus with these behaviours.


class Data:
    """The catalogue of objects, and the descriptions of their interfaces by name."""

    def __init__(self, template):
        sources, share = template.resolve().parents[1:3]
        places = [sources / "objects.json", share / "dov-dbus/objects.json"]
        catalogue = next((file for file in places if file.exists()), places[-1])
        self.catalogue = json.loads(catalogue.read_text(encoding="utf-8"))
        self.interfaces = {}
        for file in self.descriptions(sources / "interfaces", share / "dbus-1/interfaces",
                                      Path("/usr/share/dbus-1/interfaces")):
            element = ET.parse(file).getroot().find("interface")
            self.interfaces[element.attrib["name"]] = element

    @staticmethod
    def descriptions(*directories):
        """Those of the first directory that has some."""
        found = (sorted(directory.glob(f"{BUS_NAME}.*.xml")) for directory in directories)
        return next(filter(None, found), [])


def signature(member, direction):
    """The types of the arguments of a method or signal."""
    return "".join(argument.attrib["type"] for argument in member.findall("arg")
                   if argument.attrib["direction"] == direction)


def calling(method):
    return lambda _, *arguments: method(*arguments)


class Object_of_the_service(mockobject.DBusMockObject):
    """One that describes itself as the daemon's does."""
    description = None

    @dbus.service.method(dbus.INTROSPECTABLE_IFACE, out_signature="s",
                         path_keyword="object_path", connection_keyword="connection")
    def Introspect(self, object_path, connection):
        node = ET.fromstring(super().Introspect(object_path, connection))
        for interface in node.findall("interface"):
            if interface.attrib["name"] == self.interface:
                node.remove(interface)
        node.insert(0, self.description)
        return ET.tostring(node, encoding="unicode")


class Terminal:
    def __init__(self, mock, parameters):
        unknown = parameters.keys() - PARAMETERS.keys()
        if unknown:
            raise wrong(f"no parameter {', '.join(sorted(unknown))}")
        self.parameters = {**PARAMETERS, **parameters}
        self.silent = bool(self.parameters["silent"])
        self.media = []
        self.mock = mock
        self.sources = set()
        self.due = set()  # inputs that are going to be reported
        self.devices = {}
        self.data = Data(Path(__file__))
        self.prefix = self.data.catalogue["path_prefix"]
        kinds = {kind["name"]: kind for kind in self.data.catalogue["kinds"]}
        for row in self.data.catalogue["objects"]:
            self.add(row["path"], kinds[row["kind"]])
        self.readers = readers(kinds.values())
        self.connection = mock.bus_name.get_bus()
        self.filter = self.refuse  # the same object when it is taken away
        self.connection.add_message_filter(self.filter)

    def close(self):
        self.connection.remove_message_filter(self.filter)
        for source in self.sources:
            GLib.source_remove(source)

    def add(self, path, kind):
        device = KINDS[kind["name"]](self, path[len(self.prefix):], kind)
        description = self.data.interfaces[kind["interface"]]
        # A class of its own: what is added to an object is added to its class.
        made = type(f"Object_{len(self.devices)}", (Object_of_the_service,), {})(
            self.mock.bus_name, path, kind["interface"], {})
        made.description = description
        made.logfile, made.is_logfile_owner = self.mock.logfile, False
        for method in description.findall("method"):
            name = method.attrib["name"]
            made.AddMethod(kind["interface"], name, signature(method, "in"),
                           signature(method, "out"), calling(getattr(device, name)))
        mockobject.objects[path] = made
        self.devices[device.path] = device

    def device(self, path, what):
        found = self.devices.get(path[len(self.prefix):] if path.startswith("/") else path)
        if not isinstance(found, what):
            raise wrong(f"{path} is not among the objects for this")
        return found

    def emit(self, device, name, arguments):
        interface = device.kind["interface"]
        signal = self.data.interfaces[interface].find(f"signal[@name='{name}']")
        mockobject.objects[self.prefix + device.path].EmitSignal(
            interface, name, signature(signal, "out"), arguments)

    def answer(self, told, *arguments):
        """The controller answers a request, unless it is silent by then."""
        def arrives():
            if not self.silent:
                told(*arguments)
        self.after(ANSWER_MS, arrives)

    def tell(self, told, *arguments):
        """The controller tells something now."""
        if not self.silent:
            told(*arguments)

    def report(self):
        for device in self.devices.values():
            if isinstance(device, Input):
                device.report()

    def report_later(self, device):
        """The next report of an input finds its settings changed."""
        period = self.parameters["digest_ms" if device.kind["in_digest"] else "poll_ms"]
        if period and device not in self.due:
            def report():
                self.due.discard(device)
                device.report()
            self.due.add(device)
            self.after(period, report)

    def after(self, milliseconds, call):
        def once():
            self.sources.discard(source)
            call()
            return GLib.SOURCE_REMOVE
        source = GLib.timeout_add(milliseconds, once)
        self.sources.add(source)

    def every(self, milliseconds, call):
        def again():
            call()
            return GLib.SOURCE_CONTINUE
        source = GLib.timeout_add(milliseconds, again)
        self.sources.add(source)
        return source

    def forget(self, source):
        if source in self.sources:
            self.sources.discard(source)
            GLib.source_remove(source)

    def refuse(self, connection, message):
        """Answers a call as the message bus does that does not allow it."""
        if not isinstance(message, dbus.lowlevel.MethodCallMessage) or self.allows(
                message.get_interface(), message.get_member()):
            return dbus.lowlevel.HANDLER_RESULT_NOT_YET_HANDLED
        connection.send_message(dbus.lowlevel.ErrorMessage(
            message, "org.freedesktop.DBus.Error.AccessDenied",
            f"Rejected send message: interface=\"{message.get_interface()}\" "
            f"member=\"{message.get_member()}\""))
        return dbus.lowlevel.HANDLER_RESULT_HANDLED

    def allows(self, interface, member):
        if interface is None:
            return not self.parameters["interfaces"]
        return (self.parameters["allowed"] or interface not in self.data.interfaces
                or (interface, member) in self.readers)


def readers(kinds):
    """The methods that read, which are everybody's to call."""
    found = set()
    for kind in kinds:
        members = [value["getter"] for value in kind["values"]]
        members += ["get_" + setting["name"] for setting in kind["settings"]]
        found |= {(kind["interface"], member) for member in members}
    return found


def load(mock, parameters):
    if hasattr(mock, "terminal"):
        mock.terminal.close()
    mock.terminal = Terminal(mock, parameters)


# What a terminal does by itself.


@dbus.service.method(MAIN_IFACE, in_signature="sv", out_signature="")
def set_input(self, path, value):
    self.terminal.device(path, (Digital_input, Measured_input)).set(value)


@dbus.service.method(MAIN_IFACE, in_signature="", out_signature="")
def report(self):
    self.terminal.report()


@dbus.service.method(MAIN_IFACE, in_signature="by", out_signature="")
def set_ignition(self, on, mode):
    self.terminal.tell(self.terminal.device("power/ignition", Ignition).told, on, mode)


@dbus.service.method(MAIN_IFACE, in_signature="", out_signature="")
def press_button(self):
    self.terminal.tell(self.terminal.device("power/button", Power_button).told)


@dbus.service.method(MAIN_IFACE, in_signature="", out_signature="")
def acknowledge(self):
    self.terminal.tell(self.terminal.device("atx", Atx).told)


@dbus.service.method(MAIN_IFACE, in_signature="as", out_signature="")
def set_media(self, names):
    self.terminal.media = [str(name) for name in names]
    self.terminal.device("media", Media).media_changed(MEDIA)


@dbus.service.method(MAIN_IFACE, in_signature="ss", out_signature="")
def set_version(self, path, text):
    self.terminal.device(path, (Controller_version, System_version)).set(text)


@dbus.service.method(MAIN_IFACE, in_signature="ubb", out_signature="")
def set_output(self, number, on, enabled):
    output = self.terminal.device(f"device/io/output/digital/{number}", Digital_output)
    self.terminal.tell(output.told, on, enabled)


@dbus.service.method(MAIN_IFACE, in_signature="yyy", out_signature="")
def set_configuration(self, oem_code, offset, value):
    configuration = self.terminal.device("configuration", Configuration)
    self.terminal.tell(configuration.told, oem_code, offset, value)


@dbus.service.method(MAIN_IFACE, in_signature="y", out_signature="")
def set_oem_code(self, code):
    self.terminal.tell(self.terminal.device("oem_profile", Oem_profile).told, code)


@dbus.service.method(MAIN_IFACE, in_signature="b", out_signature="")
def set_silent(self, silent):
    self.terminal.silent = bool(silent)
    self.terminal.report()
