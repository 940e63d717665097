"""What can go wrong, told apart."""
from __future__ import annotations


class Error(Exception):
    """Every exception of this package."""


class No_bus(Error):
    """There is no message bus, or it has ended."""


class No_service(Error):
    """The service is not on the bus, or left it before it answered."""


class Not_allowed(Error):
    """The bus does not let this user do that: changes are for root and the group dov."""


class No_value_yet(Error):
    """The controller has not told this value yet."""


class Call_failed(Error):
    """Any other answer that is an error: `name` as D-Bus names it."""

    def __init__(self, name: str, text: str) -> None:
        super().__init__(f"{name}: {text}")
        self.name = name
