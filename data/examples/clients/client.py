#!/usr/bin/python3
"""Dims the display and tells of the media that come and go: client.py BRIGHTNESS"""
import sys

import dbus
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib

SERVICE = "com.quorin.system"
PREFIX = "/com/quorin/system"


def interface(bus, path, name):
    return dbus.Interface(bus.get_object(SERVICE, f"{PREFIX}/{path}"), f"{SERVICE}.{name}")


def tell_of_medium(path, connected):
    print(path, "has come" if connected else "has gone", flush=True)


def main():
    bus = dbus.SystemBus(mainloop=DBusGMainLoop())
    print("terminal", interface(bus, "version/serial_number", "version").get().strip())

    backlight = interface(bus, "device/display/backlight", "device.dimmable")
    backlight.set_brightness(float(sys.argv[1]))
    print(f"brightness {backlight.get_brightness():g}")

    interface(bus, "media", "media").connect_to_signal("connection", tell_of_medium)
    print("watching the media", flush=True)
    GLib.MainLoop().run()


if __name__ == "__main__":
    try:
        main()
    except dbus.DBusException as error:
        sys.exit(error.get_dbus_message())
