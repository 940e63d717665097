"""A class for each interface. Written by make_interfaces.py from their descriptions."""
from __future__ import annotations

from .remote import Measured_input, Remote, Signals, Switched_input


class Atx(Remote):
    """The ATX acknowledgement: atx."""
    INTERFACE = "com.quorin.system.atx"

    def received(self) -> Signals[None]:
        """Each time: the controller has acknowledged."""
        return self._signals("received", lambda told: None)

    async def send_ack(self) -> None:
        """Sends the acknowledgement to the controller."""
        await self._call("send_ack")


class Configuration(Remote):
    """One byte of the controller's configuration, by OEM code and offset: configuration. Offset
    4 is the remote switch power-up time. The answer comes later and without a signal; get
    tells the one that came last.

    The daemon uses the same object for its own needs at the start, when the controller keeps
    OEM profiles: check in the answer of get that it is the byte you have asked for.
    """
    INTERFACE = "com.quorin.system.configuration"

    async def set(self, oem_code: int, offset: int, value: int) -> None:
        """Asks the controller to write value.

        oem_code: 0 to 255
        offset: 0 to 255; 4 is the remote switch power-up time
        value: 0 to 255, in the controller's units
        """
        await self._call("set", "yyy", int(oem_code), int(offset), int(value))

    async def query(self, oem_code: int, offset: int) -> None:
        """Asks the controller to report the byte.

        oem_code: 0 to 255
        offset: 0 to 255; 4 is the remote switch power-up time
        """
        await self._call("query", "yy", int(oem_code), int(offset))

    async def get(self) -> tuple[int, int, int]:
        """The byte the controller reported last.

        oem_code: that of the byte; 255 until the first
        offset: that of the byte; 255 until the first
        value: in the controller's units; 255 until the first
        Raises No_value_yet until the controller has told it.
        """
        outputs = await self._call("get")
        self._known(outputs, 255)
        return (int(outputs[0]), int(outputs[1]), int(outputs[2]))


class Device_buzzer(Remote):
    """The settings of the buzzer, for the application that sounds it: device/buzzer. The daemon
    itself makes no sound.
    """
    INTERFACE = "com.quorin.system.device.buzzer"

    def volume_changed(self) -> Signals[int]:
        """Each time: the volume was set.

        val: the whole part of the volume, of which the low 8 bits
        """
        return self._signals("volume_changed", lambda told: int(told[0]))

    async def set_volume(self, val: float) -> None:
        """Sets the volume.

        val: in the application's unit
        """
        await self._call("set_volume", "d", float(val))

    async def get_volume(self) -> float:
        """The volume as set.

        val: in the application's unit; 0.0 at the start
        """
        outputs = await self._call("get_volume")
        return float(outputs[0])

    async def get_buzzer_file(self) -> str:
        """The sound file.

        res: a path; /etc/buzzer.wav at the start
        """
        outputs = await self._call("get_buzzer_file")
        return str(outputs[0])

    async def set_buzzer_file(self, fname: str) -> None:
        """Sets the sound file; reports volume 0 and the volume again, so that listeners load the
        file anew.

        fname: a path; it is not opened
        """
        await self._call("set_buzzer_file", "s", str(fname))


class Device_camera(Remote):
    """The camera switch: device/camera. The methods can be called and have no effect."""
    INTERFACE = "com.quorin.system.device.camera"

    async def media_changed(self, path: str) -> None:
        """Without effect.

        path: it is not looked at
        """
        await self._call("media_changed", "s", str(path))

    async def is_connected(self) -> bool:
        """Always false.

        res: always false
        """
        outputs = await self._call("is_connected")
        return bool(outputs[0])

    async def switch_channel(self, channel: int) -> None:
        """Without effect.

        channel: it is not looked at
        """
        await self._call("switch_channel", "u", int(channel))

    async def scan_channels(self, q_chs: str, rate: int) -> None:
        """Without effect.

        q_chs: they are not looked at
        rate: they are not looked at
        """
        await self._call("scan_channels", "su", str(q_chs), int(rate))

    async def request4(self, b0: int, b1: int, b2: int, b3: int) -> None:
        """Without effect.

        b0: any bytes; they are not looked at
        b1: any bytes; they are not looked at
        b2: any bytes; they are not looked at
        b3: any bytes; they are not looked at
        """
        await self._call("request4", "yyyy", int(b0), int(b1), int(b2), int(b3))

    async def request5(self, b0: int, b1: int, b2: int, b3: int, b4: int) -> None:
        """Without effect.

        b0: any bytes; they are not looked at
        b1: any bytes; they are not looked at
        b2: any bytes; they are not looked at
        b3: any bytes; they are not looked at
        b4: any bytes; they are not looked at
        """
        await self._call("request5", "yyyyy", int(b0), int(b1), int(b2), int(b3), int(b4))

    async def request6(self, b0: int, b1: int, b2: int, b3: int, b4: int, b5: int) -> None:
        """Without effect.

        b0: any bytes; they are not looked at
        b1: any bytes; they are not looked at
        b2: any bytes; they are not looked at
        b3: any bytes; they are not looked at
        b4: any bytes; they are not looked at
        b5: any bytes; they are not looked at
        """
        await self._call("request6", "yyyyyy", int(b0), int(b1), int(b2), int(b3), int(b4), int(b5))


class Device_dimmable(Remote):
    """A brightness: device/display/backlight and multi_led/0 to 19.

    The display takes two levels in one number: the whole part is the first in percent, 0 to
    100, and the first three decimals, as thousandths, are the second, 0 to 100. 50.025 means
    50 % and 25 %. A level above 100 is sent as out of range and not clamped; a value below
    0.0 sets both levels, and the value, to 0; a NaN sends 0 for both levels and is kept. The
    LEDs take no brightness: a request is dropped.
    """
    INTERFACE = "com.quorin.system.device.dimmable"

    async def set_brightness(self, val: float) -> None:
        """Sets the brightness.

        val: percent, 0 to 100, for the display with a second level in its decimals
        """
        await self._call("set_brightness", "d", float(val))

    async def get_brightness(self) -> float:
        """The brightness, as last set or reported.

        val: %; at the start 100.0 for the display, 0.0 for an LED
        """
        outputs = await self._call("get_brightness")
        return float(outputs[0])


class Device_io_input_ambientlight(Measured_input):
    """The ambient light: device/io/input/ambientlight/0. Values are 0 to 100 %. 4.995 V at the
    sensor and everything above it is 100 %.

    A limit that is passed is reported once. It is reported again only after the value has
    come back by more than the hysteresis: with the starting hysteresis of 1000000.0, never. A
    NaN as hysteresis or limit compares false with every value, so nothing is reported for it.
    A period beyond 2147483647 is kept as set, and the timer runs with 2147483647.
    """
    INTERFACE = "com.quorin.system.device.io.input.ambientlight"

    def val_changed(self) -> Signals[tuple[float, bool]]:
        """Each time: the value, because it changed (timeout false) or because the time-out
        passed (true).

        val: the value, in the values' unit. Values are 0 to 100 %
        timeout: false when the value has changed, true when the time-out has passed
        """
        return self._signals("val_changed", lambda told: (float(told[0]), bool(told[1])))

    def min_pass(self) -> Signals[float]:
        """Each time: the value has fallen below the lower limit.

        val: the value, in the values' unit. Values are 0 to 100 %
        """
        return self._signals("min_pass", lambda told: float(told[0]))

    def max_pass(self) -> Signals[float]:
        """Each time: the value has risen above the upper limit.

        val: the value, in the values' unit. Values are 0 to 100 %
        """
        return self._signals("max_pass", lambda told: float(told[0]))

    async def handle_timeout(self) -> None:
        """Emits val_changed with the value as it is and timeout true."""
        await self._call("handle_timeout")

    async def get_value(self) -> float:
        """The latest value.

        val: in the values' unit; -1000000.0 until the controller's first message. Values are 0 to
            100 %
        Raises No_value_yet until the controller has told it.
        """
        outputs = await self._call("get_value")
        self._known(outputs, -1000000)
        return float(outputs[0])

    async def set_hysteresis(self, val: float) -> None:
        """Sets how far the value has to move to be reported, and how far to come back from a
        limit until the limit is reported again.

        val: in the values' unit, 0 or more; 0 reports every change. Values are 0 to 100 %
        """
        await self._call("set_hysteresis", "d", float(val))

    async def get_hysteresis(self) -> float:
        """The hysteresis in force.

        val: in the values' unit; 1000000.0 at the start. Values are 0 to 100 %
        """
        outputs = await self._call("get_hysteresis")
        return float(outputs[0])

    async def set_max_value(self, val: float) -> None:
        """Sets the upper limit.

        val: in the values' unit. Values are 0 to 100 %
        """
        await self._call("set_max_value", "d", float(val))

    async def get_max_value(self) -> float:
        """The upper limit in force.

        val: in the values' unit; 1000000.0 at the start. Values are 0 to 100 %
        """
        outputs = await self._call("get_max_value")
        return float(outputs[0])

    async def set_min_value(self, val: float) -> None:
        """Sets the lower limit.

        val: in the values' unit. Values are 0 to 100 %
        """
        await self._call("set_min_value", "d", float(val))

    async def get_min_value(self) -> float:
        """The lower limit in force.

        val: in the values' unit; -1000000.0 at the start. Values are 0 to 100 %
        """
        outputs = await self._call("get_min_value")
        return float(outputs[0])

    async def set_time_out(self, val: int) -> None:
        """Sets the period after which the value is reported again when no change was.

        val: milliseconds; 1 to 129 become 130, 0 switches it off
        """
        await self._call("set_time_out", "u", int(val))

    async def get_time_out(self) -> int:
        """The period in force.

        val: milliseconds; 0, for none, at the start
        """
        outputs = await self._call("get_time_out")
        return int(outputs[0])


class Device_io_input_analog(Measured_input):
    """The analog input, in volts: device/io/input/analog/0. Values are 0 to 65.535 V in steps of
    1 mV.

    A limit that is passed is reported once. It is reported again only after the value has
    come back by more than the hysteresis: with the starting hysteresis of 1000000.0, never. A
    NaN as hysteresis or limit compares false with every value, so nothing is reported for it.
    A period beyond 2147483647 is kept as set, and the timer runs with 2147483647.
    """
    INTERFACE = "com.quorin.system.device.io.input.analog"

    def val_changed(self) -> Signals[tuple[float, bool]]:
        """Each time: the value, because it changed (timeout false) or because the time-out
        passed (true).

        val: the value, in the values' unit. Values are 0 to 65.535 V in steps of 1 mV
        timeout: false when the value has changed, true when the time-out has passed
        """
        return self._signals("val_changed", lambda told: (float(told[0]), bool(told[1])))

    def min_pass(self) -> Signals[float]:
        """Each time: the value has fallen below the lower limit.

        val: the value, in the values' unit. Values are 0 to 65.535 V in steps of 1 mV
        """
        return self._signals("min_pass", lambda told: float(told[0]))

    def max_pass(self) -> Signals[float]:
        """Each time: the value has risen above the upper limit.

        val: the value, in the values' unit. Values are 0 to 65.535 V in steps of 1 mV
        """
        return self._signals("max_pass", lambda told: float(told[0]))

    async def handle_timeout(self) -> None:
        """Emits val_changed with the value as it is and timeout true."""
        await self._call("handle_timeout")

    async def get_value(self) -> float:
        """The latest value.

        val: in the values' unit; -1000000.0 until the controller's first message. Values are 0 to
            65.535 V in steps of 1 mV
        Raises No_value_yet until the controller has told it.
        """
        outputs = await self._call("get_value")
        self._known(outputs, -1000000)
        return float(outputs[0])

    async def set_hysteresis(self, val: float) -> None:
        """Sets how far the value has to move to be reported, and how far to come back from a
        limit until the limit is reported again.

        val: in the values' unit, 0 or more; 0 reports every change. Values are 0 to 65.535 V in
            steps of 1 mV
        """
        await self._call("set_hysteresis", "d", float(val))

    async def get_hysteresis(self) -> float:
        """The hysteresis in force.

        val: in the values' unit; 1000000.0 at the start. Values are 0 to 65.535 V in steps of 1 mV
        """
        outputs = await self._call("get_hysteresis")
        return float(outputs[0])

    async def set_max_value(self, val: float) -> None:
        """Sets the upper limit.

        val: in the values' unit. Values are 0 to 65.535 V in steps of 1 mV
        """
        await self._call("set_max_value", "d", float(val))

    async def get_max_value(self) -> float:
        """The upper limit in force.

        val: in the values' unit; 1000000.0 at the start. Values are 0 to 65.535 V in steps of 1 mV
        """
        outputs = await self._call("get_max_value")
        return float(outputs[0])

    async def set_min_value(self, val: float) -> None:
        """Sets the lower limit.

        val: in the values' unit. Values are 0 to 65.535 V in steps of 1 mV
        """
        await self._call("set_min_value", "d", float(val))

    async def get_min_value(self) -> float:
        """The lower limit in force.

        val: in the values' unit; -1000000.0 at the start. Values are 0 to 65.535 V in steps of 1 mV
        """
        outputs = await self._call("get_min_value")
        return float(outputs[0])

    async def set_time_out(self, val: int) -> None:
        """Sets the period after which the value is reported again when no change was.

        val: milliseconds; 1 to 129 become 130, 0 switches it off
        """
        await self._call("set_time_out", "u", int(val))

    async def get_time_out(self) -> int:
        """The period in force.

        val: milliseconds; 0, for none, at the start
        """
        outputs = await self._call("get_time_out")
        return int(outputs[0])


class Device_io_input_digital(Switched_input):
    """A digital input: device/io/input/digital/0 to 3."""
    INTERFACE = "com.quorin.system.device.io.input.digital"

    def changed(self) -> Signals[bool]:
        """Each time: the level has changed to ret.

        ret: true is on
        """
        return self._signals("changed", lambda told: bool(told[0]))

    async def is_on(self) -> bool:
        """The level.

        res: true is on; false until the controller's first report
        """
        outputs = await self._call("is_on")
        return bool(outputs[0])


class Device_io_input_frequency(Measured_input):
    """The frequency input: device/io/input/frequency/0. Values are whole numbers from 0 to 65535
    as the controller counts them. It reports as the analog input does and has no limits.
    """
    INTERFACE = "com.quorin.system.device.io.input.frequency"

    def val_changed(self) -> Signals[tuple[float, bool]]:
        """Each time: the value, because it changed (timeout false) or because the time-out
        passed (true).

        val: the value, in the values' unit. Values are whole numbers from 0 to 65535 as the
            controller counts them
        timeout: false when the value has changed, true when the time-out has passed
        """
        return self._signals("val_changed", lambda told: (float(told[0]), bool(told[1])))

    async def handle_timeout(self) -> None:
        """Emits val_changed with the value as it is and timeout true."""
        await self._call("handle_timeout")

    async def get_value(self) -> float:
        """The latest value.

        val: in the values' unit; -1000000.0 until the controller's first message. Values are whole
            numbers from 0 to 65535 as the controller counts them
        Raises No_value_yet until the controller has told it.
        """
        outputs = await self._call("get_value")
        self._known(outputs, -1000000)
        return float(outputs[0])

    async def set_hysteresis(self, val: float) -> None:
        """Sets how far the value has to move to be reported.

        val: in the values' unit, 0 or more; 0 reports every change. Values are whole numbers from 0
            to 65535 as the controller counts them
        """
        await self._call("set_hysteresis", "d", float(val))

    async def get_hysteresis(self) -> float:
        """The hysteresis in force.

        val: in the values' unit; 1000000.0 at the start. Values are whole numbers from 0 to 65535
            as the controller counts them
        """
        outputs = await self._call("get_hysteresis")
        return float(outputs[0])

    async def set_time_out(self, val: int) -> None:
        """Sets the period after which the value is reported again when no change was.

        val: milliseconds; 1 to 129 become 130, 0 switches it off
        """
        await self._call("set_time_out", "u", int(val))

    async def get_time_out(self) -> int:
        """The period in force.

        val: milliseconds; 0, for none, at the start
        """
        outputs = await self._call("get_time_out")
        return int(outputs[0])


class Device_io_input_temperature(Measured_input):
    """A temperature in degrees Celsius: device/io/input/temperature/0 to 5. Values are whole
    numbers from -128 to 127 °C, polled every 3 s.

    A limit that is passed is reported once. It is reported again only after the value has
    come back by more than the hysteresis: with the starting hysteresis of 1000000.0, never. A
    NaN as hysteresis or limit compares false with every value, so nothing is reported for it.
    A period beyond 2147483647 is kept as set, and the timer runs with 2147483647.
    """
    INTERFACE = "com.quorin.system.device.io.input.temperature"

    def val_changed(self) -> Signals[tuple[float, bool]]:
        """Each time: the value, because it changed (timeout false) or because the time-out
        passed (true).

        val: the value, in the values' unit. Values are whole numbers from -128 to 127 °C, polled
            every 3 s
        timeout: false when the value has changed, true when the time-out has passed
        """
        return self._signals("val_changed", lambda told: (float(told[0]), bool(told[1])))

    def min_pass(self) -> Signals[float]:
        """Each time: the value has fallen below the lower limit.

        val: the value, in the values' unit. Values are whole numbers from -128 to 127 °C, polled
            every 3 s
        """
        return self._signals("min_pass", lambda told: float(told[0]))

    def max_pass(self) -> Signals[float]:
        """Each time: the value has risen above the upper limit.

        val: the value, in the values' unit. Values are whole numbers from -128 to 127 °C, polled
            every 3 s
        """
        return self._signals("max_pass", lambda told: float(told[0]))

    async def handle_timeout(self) -> None:
        """Emits val_changed with the value as it is and timeout true."""
        await self._call("handle_timeout")

    async def get_value(self) -> float:
        """The latest value.

        val: in the values' unit; -1000000.0 until the controller's first message. Values are whole
            numbers from -128 to 127 °C, polled every 3 s
        Raises No_value_yet until the controller has told it.
        """
        outputs = await self._call("get_value")
        self._known(outputs, -1000000)
        return float(outputs[0])

    async def set_hysteresis(self, val: float) -> None:
        """Sets how far the value has to move to be reported, and how far to come back from a
        limit until the limit is reported again.

        val: in the values' unit, 0 or more; 0 reports every change. Values are whole numbers from
            -128 to 127 °C, polled every 3 s
        """
        await self._call("set_hysteresis", "d", float(val))

    async def get_hysteresis(self) -> float:
        """The hysteresis in force.

        val: in the values' unit; 1000000.0 at the start. Values are whole numbers from -128 to 127
            °C, polled every 3 s
        """
        outputs = await self._call("get_hysteresis")
        return float(outputs[0])

    async def set_max_value(self, val: float) -> None:
        """Sets the upper limit.

        val: in the values' unit. Values are whole numbers from -128 to 127 °C, polled every 3 s
        """
        await self._call("set_max_value", "d", float(val))

    async def get_max_value(self) -> float:
        """The upper limit in force.

        val: in the values' unit; 1000000.0 at the start. Values are whole numbers from -128 to 127
            °C, polled every 3 s
        """
        outputs = await self._call("get_max_value")
        return float(outputs[0])

    async def set_min_value(self, val: float) -> None:
        """Sets the lower limit.

        val: in the values' unit. Values are whole numbers from -128 to 127 °C, polled every 3 s
        """
        await self._call("set_min_value", "d", float(val))

    async def get_min_value(self) -> float:
        """The lower limit in force.

        val: in the values' unit; -1000000.0 at the start. Values are whole numbers from -128 to 127
            °C, polled every 3 s
        """
        outputs = await self._call("get_min_value")
        return float(outputs[0])

    async def set_time_out(self, val: int) -> None:
        """Sets the period after which the value is reported again when no change was.

        val: milliseconds; 1 to 129 become 130, 0 switches it off
        """
        await self._call("set_time_out", "u", int(val))

    async def get_time_out(self) -> int:
        """The period in force.

        val: milliseconds; 0, for none, at the start
        """
        outputs = await self._call("get_time_out")
        return int(outputs[0])


class Device_io_input_voltage(Measured_input):
    """A supply voltage in volts: device/io/input/voltage/0 to 5. Values are 0 to 65.535 V in
    steps of 1 mV, polled every 3 s.

    A limit that is passed is reported once. It is reported again only after the value has
    come back by more than the hysteresis: with the starting hysteresis of 1000000.0, never. A
    NaN as hysteresis or limit compares false with every value, so nothing is reported for it.
    A period beyond 2147483647 is kept as set, and the timer runs with 2147483647.
    """
    INTERFACE = "com.quorin.system.device.io.input.voltage"

    def val_changed(self) -> Signals[tuple[float, bool]]:
        """Each time: the value, because it changed (timeout false) or because the time-out
        passed (true).

        val: the value, in the values' unit. Values are 0 to 65.535 V in steps of 1 mV, polled every
            3 s
        timeout: false when the value has changed, true when the time-out has passed
        """
        return self._signals("val_changed", lambda told: (float(told[0]), bool(told[1])))

    def min_pass(self) -> Signals[float]:
        """Each time: the value has fallen below the lower limit.

        val: the value, in the values' unit. Values are 0 to 65.535 V in steps of 1 mV, polled every
            3 s
        """
        return self._signals("min_pass", lambda told: float(told[0]))

    def max_pass(self) -> Signals[float]:
        """Each time: the value has risen above the upper limit.

        val: the value, in the values' unit. Values are 0 to 65.535 V in steps of 1 mV, polled every
            3 s
        """
        return self._signals("max_pass", lambda told: float(told[0]))

    async def handle_timeout(self) -> None:
        """Emits val_changed with the value as it is and timeout true."""
        await self._call("handle_timeout")

    async def get_value(self) -> float:
        """The latest value.

        val: in the values' unit; -1000000.0 until the controller's first message. Values are 0 to
            65.535 V in steps of 1 mV, polled every 3 s
        Raises No_value_yet until the controller has told it.
        """
        outputs = await self._call("get_value")
        self._known(outputs, -1000000)
        return float(outputs[0])

    async def set_hysteresis(self, val: float) -> None:
        """Sets how far the value has to move to be reported, and how far to come back from a
        limit until the limit is reported again.

        val: in the values' unit, 0 or more; 0 reports every change. Values are 0 to 65.535 V in
            steps of 1 mV, polled every 3 s
        """
        await self._call("set_hysteresis", "d", float(val))

    async def get_hysteresis(self) -> float:
        """The hysteresis in force.

        val: in the values' unit; 1000000.0 at the start. Values are 0 to 65.535 V in steps of 1 mV,
            polled every 3 s
        """
        outputs = await self._call("get_hysteresis")
        return float(outputs[0])

    async def set_max_value(self, val: float) -> None:
        """Sets the upper limit.

        val: in the values' unit. Values are 0 to 65.535 V in steps of 1 mV, polled every 3 s
        """
        await self._call("set_max_value", "d", float(val))

    async def get_max_value(self) -> float:
        """The upper limit in force.

        val: in the values' unit; 1000000.0 at the start. Values are 0 to 65.535 V in steps of 1 mV,
            polled every 3 s
        """
        outputs = await self._call("get_max_value")
        return float(outputs[0])

    async def set_min_value(self, val: float) -> None:
        """Sets the lower limit.

        val: in the values' unit. Values are 0 to 65.535 V in steps of 1 mV, polled every 3 s
        """
        await self._call("set_min_value", "d", float(val))

    async def get_min_value(self) -> float:
        """The lower limit in force.

        val: in the values' unit; -1000000.0 at the start. Values are 0 to 65.535 V in steps of 1
            mV, polled every 3 s
        """
        outputs = await self._call("get_min_value")
        return float(outputs[0])

    async def set_time_out(self, val: int) -> None:
        """Sets the period after which the value is reported again when no change was.

        val: milliseconds; 1 to 129 become 130, 0 switches it off
        """
        await self._call("set_time_out", "u", int(val))

    async def get_time_out(self) -> int:
        """The period in force.

        val: milliseconds; 0, for none, at the start
        """
        outputs = await self._call("get_time_out")
        return int(outputs[0])


class Device_io_output_digital(Remote):
    """A switched output: device/io/output/digital/0 to 3. At the start the daemon commands each
    one enabled and off. Level and enabling are remembered as last set or as the controller
    reports them.
    """
    INTERFACE = "com.quorin.system.device.io.output.digital"

    async def on(self) -> None:
        """Commands the output on, as far as it is enabled."""
        await self._call("on")

    async def off(self) -> None:
        """Commands it off, as far as it is enabled."""
        await self._call("off")

    async def set(self, val: bool, enabled: bool) -> None:
        """Commands level and enabling at once; an output that is disabled is not driven, and its
        level is kept for the time when it is enabled.

        val: true is on
        enabled: true is driven
        """
        await self._call("set", "bb", bool(val), bool(enabled))

    async def is_on(self) -> bool:
        """The level.

        res: true is on; false at the start
        """
        outputs = await self._call("is_on")
        return bool(outputs[0])

    async def enable(self) -> None:
        """Commands it enabled, with the level it has."""
        await self._call("enable")

    async def disable(self) -> None:
        """Commands it disabled."""
        await self._call("disable")

    async def is_enabled(self) -> bool:
        """Whether it is driven.

        res: true is driven; true at the start
        """
        outputs = await self._call("is_enabled")
        return bool(outputs[0])


class Device_io_output_frequency(Remote):
    """The frequency output: device/io/output/frequency/0. At the start the daemon commands 0."""
    INTERFACE = "com.quorin.system.device.io.output.frequency"

    async def set(self, val: int) -> None:
        """Commands the value. It cannot be read back.

        val: in the controller's units; its low 16 bits go out
        """
        await self._call("set", "u", int(val))


class Device_operating_voltage(Remote):
    """The supply voltage setting: device/operating_voltage."""
    INTERFACE = "com.quorin.system.device.operating_voltage"

    async def set_operating_voltage(self, val: int) -> None:
        """Commands the code.

        val: in the controller's units; its low 8 bits go out, all of it is remembered
        """
        await self._call("set_operating_voltage", "u", int(val))

    async def get_operating_voltage(self) -> int:
        """The code as last set.

        val: in the controller's units; 0 at the start
        """
        outputs = await self._call("get_operating_voltage")
        return int(outputs[0])


class Device_power(Remote):
    """The power switch of a device: the thirteen objects whose paths end in /power. In each
    power state of the terminal ("on", "low-power", "sleep") the daemon suspends what
    /etc/power_manage.conf has off in that state and resumes the rest. At the start it enters
    "on".

    Two of the switches act, at every call and whatever they were before: device/system/power,
    whose suspension runs systemctl poweroff --no-block, and device/display/backlight/power,
    which commands the controller. The others only remember; it is for the applications that
    use the device to follow them.
    """
    INTERFACE = "com.quorin.system.device.power"

    async def suspend(self) -> int:
        """Switches the device off.

        val: always 0
        """
        outputs = await self._call("suspend")
        return int(outputs[0])

    async def resume(self) -> None:
        """Switches it on."""
        await self._call("resume")

    async def is_suspended(self) -> bool:
        """Whether it is off, as last switched by a client or by a change of power state.

        ret: true is off; what the power configuration says for "on" at the start
        """
        outputs = await self._call("is_suspended")
        return bool(outputs[0])


class Media(Remote):
    """The removable media: media. The daemon watches /media/ for entries whose names begin with
    usb, in lower case.

    What is there when the daemon starts is reported then, before a client can listen. To see
    it, list /media/. Scanning another directory replaces what the daemon remembers of
    /media/. When /media/ is missing at the start, nothing is reported until the daemon is
    started again.
    """
    INTERFACE = "com.quorin.system.media"

    def connection(self) -> Signals[tuple[str, bool]]:
        """Each time: the entry path, /media/usb0 for example, has come (true) or gone (false).

        path: of the entry
        connected: true has come, false has gone
        """
        return self._signals("connection", lambda told: (str(told[0]), bool(told[1])))

    async def media_changed(self, path: str) -> None:
        """Scans a directory now, whose path has to end in /, and reports what differs from the
        scan before.

        path: of a directory, with / at its end
        """
        await self._call("media_changed", "s", str(path))


class Oem_profile(Remote):
    """The OEM code in force in the controller: oem_profile."""
    INTERFACE = "com.quorin.system.oem_profile"

    async def get_code(self) -> int:
        """The code the controller reported last.

        code: 0 to 255; 255 until the controller has told
        Raises No_value_yet until the controller has told it.
        """
        outputs = await self._call("get_code")
        self._known(outputs, 255)
        return int(outputs[0])

    async def set_code(self, code: int) -> None:
        """Asks the controller to take the code.

        code: 0 to 255
        """
        await self._call("set_code", "y", int(code))


class Power_button(Remote):
    """The power button: power/button, polled every 3 s. It has no methods."""
    INTERFACE = "com.quorin.system.power.button"

    def short_press(self) -> Signals[int]:
        """Each time: the button was pressed.

        val: always 1
        """
        return self._signals("short_press", lambda told: int(told[0]))


class Power_ignition(Switched_input):
    """The ignition: power/ignition."""
    INTERFACE = "com.quorin.system.power.ignition"

    def changed(self) -> Signals[bool]:
        """Each time: the ignition has changed to ret.

        ret: true is on
        """
        return self._signals("changed", lambda told: bool(told[0]))

    async def is_on(self) -> bool:
        """Whether it is on.

        res: true is on; true until the controller's first message
        """
        outputs = await self._call("is_on")
        return bool(outputs[0])

    async def get_mode(self) -> int:
        """The mode of line 15.

        mode: as the controller numbers it; 255 until its first message
        Raises No_value_yet until the controller has told it.
        """
        outputs = await self._call("get_mode")
        self._known(outputs, 255)
        return int(outputs[0])


class Power_lock(Remote):
    """The power lock: power/lock. The methods can be called and have no effect but a line on the
    daemon's standard output.
    """
    INTERFACE = "com.quorin.system.power.lock"

    async def set_hold(self, val: bool) -> None:
        """Without effect.

        val: it is not looked at
        """
        await self._call("set_hold", "b", bool(val))

    async def hold(self) -> None:
        """Without effect."""
        await self._call("hold")

    async def release(self) -> None:
        """Without effect."""
        await self._call("release")

    async def is_hold(self) -> bool:
        """Always false.

        res: always false
        """
        outputs = await self._call("is_hold")
        return bool(outputs[0])


class Version(Remote):
    """A version or identity text: the six objects below version/.

    Version/bootloader: the controller's firmware, as in v2.1.7; No PC Comms until it has
    told.

    Version/hardware: the controller's hardware: v1.0, v1.1 or v2.0; No PC Comms until it has
    told.

    Version/unique_device_id: 14 upper-case hexadecimal digits; No PC Comms until the
    controller has told.

    Version/kernel: kernel release, -v and the content of /etc/bsp_version_short.

    Version/serial_number: the content of /nv/info/SERIAL_NUMBER.

    Version/customer_part_number: PART_NUMBER, VEHICLE_PLATFORM_CODE and BRAND_CODE of
    /nv/info, joined by commas.

    The last three are the output of commands that ran at the start, line ends included. When
    such a command prints an error, because a file is missing for example, that error is the
    text instead; failed to run cmd and a line end when it cannot run, takes longer than 30 s,
    or prints more than 16 MiB on either stream.
    """
    INTERFACE = "com.quorin.system.version"

    async def get(self) -> str:
        """The text as it is known; nothing is asked for.

        res: No PC Comms while the controller has not told what it is to tell
        Raises No_value_yet until the controller has told it.
        """
        outputs = await self._call("get")
        self._known(outputs, 'No PC Comms')
        return str(outputs[0])
