"""What the objects on the bus have in common. What each interface has is in interfaces.py."""
from __future__ import annotations

from contextlib import aclosing
from typing import Any, AsyncGenerator, Callable, Generic, NamedTuple, Optional, TypeVar

from .bus import Bus, Listener
from .errors import No_service, No_value_yet

Item = TypeVar("Item")


class Change(NamedTuple):
    """A value that an input has told."""
    value: float
    repeated: bool  # told again because the input's time-out has passed


class Signals(Generic[Item]):
    """The signals of one kind from now on, for `async for`; also those of a service that has
    started anew. Closed at the end of a `with`, or when nobody has it any more."""

    def __init__(self, listener: Listener, made: Callable[[list[Any]], Item]) -> None:
        self._listener = listener
        self._made = made

    def __aiter__(self) -> Signals[Item]:
        return self

    async def __anext__(self) -> Item:
        while (arguments := await self._listener.get()) is None:
            pass
        return self._made(arguments)

    def __enter__(self) -> Signals[Item]:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def __del__(self) -> None:
        self._listener.close_soon()

    def close(self) -> None:
        self._listener.close()


class Remote:
    """An object of the service."""
    INTERFACE = ""

    def __init__(self, bus: Bus, path: str) -> None:
        self._bus = bus
        self.path = path

    async def _call(self, member: str, signature: str = "", *arguments: Any) -> list[Any]:
        answer = await self._bus.call(self.path, self.INTERFACE, member, signature, *arguments)
        return list(answer.body)

    def _listener(self, member: str) -> Listener:
        return Listener(self._bus, (self.path, self.INTERFACE, member))

    def _signals(self, member: str, made: Callable[[list[Any]], Item]) -> Signals[Item]:
        return Signals(self._listener(member), made)

    def _known(self, outputs: list[Any], unknown: object) -> list[Any]:
        """The outputs of a method, unless the controller has not told them yet."""
        if all(output == unknown for output in outputs):
            raise No_value_yet(f"{self.path}: the controller has not told it yet")
        return outputs

    async def _told(self, signal: str, getter: str,
                    prepare: Optional[Callable[[], Any]] = None) -> AsyncGenerator[list[Any], None]:
        """What the getter answers, and what the signal tells from then on; the same again from a
        service that has started anew."""
        listener = self._listener(signal)
        try:
            while True:
                await self._bus.wait_for_service()
                listener.clear()
                try:
                    if prepare is not None:
                        await prepare()
                    first = await self._bus.call(self.path, self.INTERFACE, getter)
                except No_service:
                    continue
                listener.forget_before(first)
                yield list(first.body)
                while (arguments := await listener.get()) is not None:
                    yield arguments
        finally:
            listener.close()


class Measured_input(Remote):
    """An input whose value is a number."""
    NO_VALUE = -1000000.0

    async def changes(self, hysteresis: Optional[float] = None) -> AsyncGenerator[Change, None]:
        """The value as it is, when the controller has told one, and every change that the service
        reports from then on, also after it has started anew.

        hysteresis: how far the value has to move to be reported, in its unit; 0.0 for every change.
        The setting is every client's. Without it nothing is set: after the first value nothing may
        come, since the service starts with 1000000.0.
        """
        async def prepare() -> None:
            if hysteresis is not None:
                await self._call("set_hysteresis", "d", float(hysteresis))

        async with aclosing(self._told("val_changed", "get_value", prepare)) as told:
            async for arguments in told:
                if arguments[0] != self.NO_VALUE:
                    yield Change(float(arguments[0]), arguments[1:] == [True])


class Switched_input(Remote):
    """An input that is on or off."""

    async def changes(self) -> AsyncGenerator[bool, None]:
        """The level as it is, and every change from then on, also after the service has started
        anew."""
        async with aclosing(self._told("changed", "is_on")) as told:
            async for arguments in told:
                yield bool(arguments[0])
