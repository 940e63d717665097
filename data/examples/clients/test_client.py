#!/usr/bin/python3
"""A test of client.py, on a machine that is no terminal: the mock takes the daemon's place."""
import subprocess
import unittest
from pathlib import Path

import dbus
import dbusmock

TEMPLATE = "/usr/share/python-dbusmock/templates/dov.py"
CLIENT = Path(__file__).with_name("client.py")


class Client_test(dbusmock.DBusTestCase):
    template = TEMPLATE

    def setUp(self):
        self.start_system_bus()  # one of its own, which nothing else is on
        bus = self.get_dbus(system_bus=True)
        self.mock, root = self.spawn_server_template(self.template, stdout=subprocess.DEVNULL)
        self.terminal = dbus.Interface(root, "com.quorin.system.mock")
        self.backlight = dbus.Interface(
            bus.get_object("com.quorin.system", "/com/quorin/system/device/display/backlight"),
            "org.freedesktop.DBus.Mock")

    def tearDown(self):
        self.mock.terminate()
        self.mock.wait()
        self.tearDownClass()

    def test_dims_and_tells(self):
        with subprocess.Popen([CLIENT, "50"], stdout=subprocess.PIPE, text=True) as client:
            self.assertEqual(client.stdout.readline(), "terminal 1234\n")
            # One of the steps of the display: the controller's answer may come before the reading.
            self.assertEqual(client.stdout.readline(), "brightness 50\n")
            self.assertEqual(client.stdout.readline(), "watching the media\n")
            self.terminal.set_media(["usb0"])
            self.assertEqual(client.stdout.readline(), "/media/usb0 has come\n")
            client.terminate()
        [(_, [brightness])] = self.backlight.GetMethodCalls("set_brightness")
        self.assertEqual(brightness, 50.0)


if __name__ == "__main__":
    unittest.main()
