"""The terminal: its objects by name."""
from __future__ import annotations

from typing import Optional

from .bus import Bus
from .interfaces import (
    Atx,
    Configuration,
    Device_buzzer,
    Device_camera,
    Device_dimmable,
    Device_io_input_ambientlight,
    Device_io_input_analog,
    Device_io_input_digital,
    Device_io_input_frequency,
    Device_io_input_temperature,
    Device_io_input_voltage,
    Device_io_output_digital,
    Device_io_output_frequency,
    Device_operating_voltage,
    Device_power,
    Media,
    Oem_profile,
    Power_button,
    Power_ignition,
    Power_lock,
    Version,
)


class Inputs:
    def __init__(self, bus: Bus) -> None:
        path = "device/io/input"
        self.digital = tuple(Device_io_input_digital(bus, f"{path}/digital/{n}") for n in range(4))
        self.analog = (Device_io_input_analog(bus, f"{path}/analog/0"),)
        self.frequency = (Device_io_input_frequency(bus, f"{path}/frequency/0"),)
        self.voltage = tuple(Device_io_input_voltage(bus, f"{path}/voltage/{n}") for n in range(6))
        self.temperature = tuple(Device_io_input_temperature(bus, f"{path}/temperature/{n}")
                                 for n in range(6))
        self.ambient_light = (Device_io_input_ambientlight(bus, f"{path}/ambientlight/0"),)


class Outputs:
    def __init__(self, bus: Bus) -> None:
        path = "device/io/output"
        self.digital = tuple(Device_io_output_digital(bus, f"{path}/digital/{n}") for n in range(4))
        self.frequency = (Device_io_output_frequency(bus, f"{path}/frequency/0"),)


class Power:
    """The power switches. Suspending `system` switches the terminal off."""

    def __init__(self, bus: Bus) -> None:
        self.system = Device_power(bus, "device/system/power")
        self.lvds = Device_power(bus, "device/lvds/power")
        self.display = Device_power(bus, "device/display/power")
        self.backlight = Device_power(bus, "device/display/backlight/power")
        self.can = tuple(Device_power(bus, f"device/can/{n}/power") for n in range(4))
        self.eth = Device_power(bus, "device/eth/power")
        self.video = Device_power(bus, "device/video/power")
        self.camera = Device_power(bus, "device/camera/power")
        self.uart = Device_power(bus, "device/uart/power")
        self.usb = Device_power(bus, "device/usb/power")


class Versions:
    def __init__(self, bus: Bus) -> None:
        self.bootloader = Version(bus, "version/bootloader")
        self.kernel = Version(bus, "version/kernel")
        self.unique_device_id = Version(bus, "version/unique_device_id")
        self.serial_number = Version(bus, "version/serial_number")
        self.customer_part_number = Version(bus, "version/customer_part_number")
        self.hardware = Version(bus, "version/hardware")


class Terminal:
    """Everything that the service publishes.

        async with Terminal() as terminal:
            await terminal.backlight.set_brightness(50)

    Entering connects to the message bus and waits for the service; leaving ends the connection.

    address: of the bus; the machine's system bus without it
    wait: false: the service may be missing, and what is called then raises No_service

    Its methods and those of its objects are for one thread, that of the event loop. They raise
    No_bus, No_service, Not_allowed, No_value_yet or Call_failed.
    """

    def __init__(self, address: Optional[str] = None, wait: bool = True) -> None:
        self._bus = Bus(address)
        self._waits = wait
        self.inputs = Inputs(self._bus)
        self.outputs = Outputs(self._bus)
        self.power = Power(self._bus)
        self.versions = Versions(self._bus)
        self.backlight = Device_dimmable(self._bus, "device/display/backlight")
        self.leds = tuple(Device_dimmable(self._bus, f"multi_led/{n}") for n in range(20))
        self.operating_voltage = Device_operating_voltage(self._bus, "device/operating_voltage")
        self.buzzer = Device_buzzer(self._bus, "device/buzzer")
        self.camera = Device_camera(self._bus, "device/camera")
        self.ignition = Power_ignition(self._bus, "power/ignition")
        self.button = Power_button(self._bus, "power/button")
        self.lock = Power_lock(self._bus, "power/lock")
        self.atx = Atx(self._bus, "atx")
        self.media = Media(self._bus, "media")
        self.configuration = Configuration(self._bus, "configuration")
        self.oem_profile = Oem_profile(self._bus, "oem_profile")

    async def __aenter__(self) -> Terminal:
        await self._bus.connect()
        if self._waits:
            try:
                await self.wait()
            except BaseException:
                self._bus.close()
                raise
        return self

    async def __aexit__(self, *_: object) -> None:
        self._bus.close()

    @property
    def is_there(self) -> bool:
        """Whether the service is on the bus."""
        return self._bus.owner is not None

    async def wait(self) -> None:
        """Until the service is on the bus."""
        await self._bus.wait_for_service()
