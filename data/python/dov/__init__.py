"""A typed client of com.quorin.system, the service of a vehicle display terminal, for asyncio.

    async with dov.Terminal() as terminal:
        async for change in terminal.inputs.analog[0].changes(hysteresis=0.05):
            print(change.value)
"""
from .errors import Call_failed, Error, No_bus, No_service, No_value_yet, Not_allowed
from .remote import Change, Signals
from .terminal import Terminal

__all__ = ["Call_failed", "Change", "Error", "No_bus", "No_service", "No_value_yet", "Not_allowed",
           "Signals", "Terminal"]
