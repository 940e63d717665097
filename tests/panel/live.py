"""A client of the panel without a browser: what a page could say, and what it had better not."""
from __future__ import annotations

import json
import time
from typing import Any, Callable

import websocket

DEADLINE = 30.0
PROTOCOL = "dov-panel.1"


class Live:
    def __init__(self, port: int, *, origin: str | None = None, host: str | None = None,
                 path: str = "/live", protocols: tuple[str, ...] = (PROTOCOL,)) -> None:
        self.seen: list[dict[str, Any]] = []
        self._count = 1000  # not what a message that is wrong might have
        self._socket = websocket.create_connection(
            f"ws://127.0.0.1:{port}{path}", timeout=DEADLINE, subprotocols=list(protocols),
            origin=origin or f"http://127.0.0.1:{port}", host=host)

    def __enter__(self) -> Live:
        return self

    def __exit__(self, *_: object) -> None:
        self._socket.close()

    def send_text(self, text: str | bytes) -> None:
        self._socket.send(text)

    def send_bytes(self, data: bytes) -> None:
        self._socket.send_binary(data)

    def send(self, **message: object) -> None:
        self.send_text(json.dumps(message))

    def receive(self, what: Callable[[dict[str, Any]], bool]) -> dict[str, Any]:
        """The next message that is meant."""
        end = time.monotonic() + DEADLINE
        while time.monotonic() < end:
            message = json.loads(self._socket.recv())
            self.seen.append(message)
            if what(message):
                return dict(message)
        raise TimeoutError(f"it does not come; there were {[one['type'] for one in self.seen]}")

    def receive_type(self, name: str) -> dict[str, Any]:
        return self.receive(lambda message: message["type"] == name)

    def ask(self, **message: object) -> dict[str, Any]:
        """Sends a request, and gives the answer to it."""
        self._count += 1
        number = self._count
        self.send(id=number, **message)
        return self.receive(lambda each: each["type"] == "answer" and each["to"] == number)

    def end_of_it(self) -> int:
        """The status that the server closes with."""
        while True:
            opcode, data = self._socket.recv_data(control_frame=True)
            if opcode == websocket.ABNF.OPCODE_CLOSE:
                return int.from_bytes(data[:2], "big")
