"""The connection to the message bus: calls, signals, and who owns the service's name."""
from __future__ import annotations

import asyncio
from typing import Any, Callable, Optional

from dbus_fast import BusType, Message, MessageFlag, MessageType
from dbus_fast.aio.message_bus import MessageBus

from .errors import Call_failed, No_bus, No_service, Not_allowed

SERVICE = "com.quorin.system"
PREFIX = "/com/quorin/system/"
ANSWER_SECONDS = 25.0  # as other libraries of D-Bus wait
# A message bus refuses a connection the 129th call that is not answered yet.
MOST_CALLS = 64

_DBUS = "org.freedesktop.DBus"
_DBUS_PATH = "/org/freedesktop/DBus"
_ERROR = f"{_DBUS}.Error."
# A name without an owner, and an owner that leaves with a call unanswered.
_NO_SERVICE = {_ERROR + name for name in ("ServiceUnknown", "NameHasNoOwner", "NoReply")}
_ENDED = "the message bus has ended"

Key = tuple[str, str, str]  # path, interface and member of a signal


class Listener:
    """The signals of one kind since it was made: their arguments, or None for a new owner of the
    service, whose settings are as at its start."""

    def __init__(self, bus: Bus, key: Key) -> None:
        self._bus = bus
        self._key = key
        self._queue: asyncio.Queue[Optional[Message]] = asyncio.Queue()
        self._answer: Optional[Message] = None
        bus.add(key, self)

    def put(self, signal: Optional[Message]) -> None:
        self._queue.put_nowait(signal)

    async def get(self) -> Optional[list[Any]]:
        """Raises No_bus when the bus has ended and everything before that was taken."""
        while True:
            if self._queue.empty():
                self._bus.check()
            signal = await self._queue.get()
            if signal is None:
                self._bus.check()
                self._answer = None
                return None
            if self._answer is None or _is_later(signal, self._answer):
                self._answer = None
                return list(signal.body)

    def clear(self) -> None:
        """Forgets what has come until now."""
        while not self._queue.empty():
            self._queue.get_nowait()

    def forget_before(self, answer: Message) -> None:
        """Leaves out what the service has sent before this answer, which is newer."""
        self._answer = answer

    def close(self) -> None:
        self._bus.remove(self._key, self)

    def close_soon(self) -> None:
        """The same, from any thread and at any time."""
        self._bus.call_soon(self.close)


class _Message_bus(MessageBus):
    async def _auth_readline(self) -> str:
        """The library's own asks for ever when the bus hangs up before it has answered."""
        line = b""
        connection: Any = self._sock
        while not line.endswith(b"\r\n"):
            part = await self._loop.sock_recv(connection, 1)
            if not part:
                raise EOFError(_ENDED)
            line += part
        return line[:-2].decode()


class Bus:
    """One connection. Its methods are for the thread of the event loop, but call_soon()."""

    def __init__(self, address: Optional[str]) -> None:
        self._address = address
        self._bus: Optional[MessageBus] = None
        self._loop: Optional[asyncio.AbstractEventLoop] = None
        self._end: Optional[asyncio.Task[None]] = None
        self._calls = asyncio.Semaphore(MOST_CALLS)
        self._listeners: dict[Key, set[Listener]] = {}
        self._owner: Optional[str] = None
        self._is_owner_told = False  # by a signal
        self._changed = asyncio.Event()  # the owner, or the end of the bus

    @property
    def owner(self) -> Optional[str]:
        """The unique name of the service; none while it is not there."""
        return self._owner

    async def connect(self) -> None:
        self._loop = asyncio.get_running_loop()
        try:
            bus = (_Message_bus(bus_address=self._address) if self._address
                   else _Message_bus(bus_type=BusType.SYSTEM))
        except Exception as error:
            raise No_bus(f"no message bus: {error}") from error
        self._end = asyncio.create_task(self._wait_for_end(bus))
        try:
            await _be_greeted(bus)
            self._bus = bus
            await self._subscribe(bus)
        except BaseException:
            self._bus = bus
            self.close()
            raise

    def close(self) -> None:
        if self._bus is None or self._end is None:
            return
        self._bus.remove_message_handler(self._handle)
        self._bus.disconnect()
        self._bus = None
        self._end.cancel()
        self._end = None
        self._tell_of_end()

    def check(self) -> None:
        """Raises No_bus when there is none."""
        if self._bus is None or not self._bus.connected:
            raise No_bus(_ENDED)

    async def wait_for_service(self) -> None:
        while self._owner is None:
            self.check()
            self._changed.clear()
            await self._changed.wait()

    async def call(self, path: str, interface: str, member: str, signature: str = "",
                   *arguments: Any) -> Message:
        """The answer of a method of the service, whose body are its outputs."""
        return await self._send(SERVICE, PREFIX + path, interface, member, signature,
                                list(arguments))

    def add(self, key: Key, listener: Listener) -> None:
        listeners = self._listeners.setdefault(key, set())
        if not listeners:
            self._match("AddMatch", _rule(key))
        listeners.add(listener)

    def remove(self, key: Key, listener: Listener) -> None:
        listeners = self._listeners.get(key, set())
        if listener in listeners:
            listeners.discard(listener)
            if not listeners:
                del self._listeners[key]
                self._match("RemoveMatch", _rule(key))

    def call_soon(self, function: Callable[[], None]) -> None:
        """Calls it in the thread of the event loop, unless that has ended."""
        if self._loop is None:
            function()  # nothing is connected yet
            return
        try:
            self._loop.call_soon_threadsafe(function)
        except RuntimeError:
            pass

    async def _subscribe(self, bus: MessageBus) -> None:
        """To what has listeners already, and to the owner, who is asked for behind that."""
        self._is_owner_told = False
        bus.add_message_handler(self._handle)
        for key in self._listeners:
            self._match("AddMatch", _rule(key))
        self._match("AddMatch", f"type='signal',sender='{_DBUS}',path='{_DBUS_PATH}',"
                    f"interface='{_DBUS}',member='NameOwnerChanged',arg0='{SERVICE}'")
        try:
            answer = await self._send(_DBUS, _DBUS_PATH, _DBUS, "GetNameOwner", "s", [SERVICE])
        except No_service:
            return
        # What a signal has told by now is as new, or newer.
        if not self._is_owner_told:
            self._own(str(answer.body[0]))

    async def _send(self, destination: str, path: str, interface: str, member: str, signature: str,
                    body: list[Any]) -> Message:
        # Calling does not start the service: it switches a terminal off that is not configured.
        message = Message(destination=destination, path=path, interface=interface, member=member,
                          signature=signature, body=body, flags=MessageFlag.NO_AUTOSTART)
        async with self._calls:
            self.check()
            assert self._bus is not None
            try:
                async with asyncio.timeout(ANSWER_SECONDS):
                    answer = await self._bus.call(message)
            except TimeoutError as error:
                raise Call_failed(_ERROR + "Timeout", f"no answer to {member}") from error
            except (EOFError, OSError) as error:
                raise No_bus(f"{_ENDED}: {error}") from error
        if answer is None:
            raise No_bus(_ENDED)
        if answer.message_type is MessageType.ERROR:
            raise _error(str(answer.error_name), str(answer.body[0] if answer.body else ""))
        return answer

    def _match(self, method: str, rule: str) -> None:
        """The bus takes it before everything that is sent later."""
        if self._bus is not None and self._bus.connected:
            sent = self._bus.send(Message(destination=_DBUS, path=_DBUS_PATH, interface=_DBUS,
                                          member=method, signature="s", body=[rule],
                                          flags=MessageFlag.NO_REPLY_EXPECTED))
            sent.add_done_callback(_ignore)

    def _handle(self, message: Message) -> Optional[bool]:
        if message.message_type is not MessageType.SIGNAL:
            return None
        if message.member == "NameOwnerChanged" and message.sender == _DBUS:
            self._is_owner_told = True
            self._own(str(message.body[2]) or None)
        elif message.sender == self._owner and str(message.path).startswith(PREFIX):
            key = (str(message.path)[len(PREFIX):], str(message.interface), str(message.member))
            for listener in self._listeners.get(key, set()):
                listener.put(message)
        return None

    def _own(self, owner: Optional[str]) -> None:
        if owner == self._owner:
            return
        self._owner = owner
        self._changed.set()
        if owner is not None:
            self._tell_all_of_owner()

    async def _wait_for_end(self, bus: Any) -> None:
        try:
            await bus.wait_for_disconnect()
        except Exception:  # whatever ended it
            pass
        self._tell_of_end()

    def _tell_of_end(self) -> None:
        self._owner = None
        self._changed.set()
        self._tell_all_of_owner()

    def _tell_all_of_owner(self) -> None:
        for listeners in self._listeners.values():
            for listener in listeners:
                listener.put(None)


async def _be_greeted(bus: MessageBus) -> None:
    try:
        async with asyncio.timeout(ANSWER_SECONDS):
            await bus.connect()
    except TimeoutError as error:
        raise No_bus("no message bus: it does not answer") from error
    except Exception as error:
        raise No_bus(f"no message bus: {error}") from error
    # The library takes the text of a refusal for the name.
    if not str(bus.unique_name).startswith(":"):
        raise No_bus(f"no message bus: {bus.unique_name}")


def _is_later(signal: Message, answer: Message) -> bool:
    """A sender numbers its messages in the order in which it sends them, in 32 bits."""
    return 0 < (signal.serial - answer.serial) % 2 ** 32 < 2 ** 31


def _rule(key: Key) -> str:
    path, interface, member = key
    return (f"type='signal',sender='{SERVICE}',path='{PREFIX}{path}',"
            f"interface='{interface}',member='{member}'")


def _ignore(sent: asyncio.Future[Any]) -> None:
    """What cannot be sent is heard of as the end of the bus."""
    if not sent.cancelled():
        sent.exception()


def _error(name: str, text: str) -> Exception:
    if name == _ERROR + "AccessDenied":
        return Not_allowed(text)
    return No_service(text) if name in _NO_SERVICE else Call_failed(name, text)
