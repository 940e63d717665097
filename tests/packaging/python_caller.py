"""Makes three calls by the Python client and prints what became of each: python_caller.py ADDRESS.

Read from standard input, so that it runs as a user who may not read this directory.
"""
import asyncio
import sys

import dov


async def main() -> None:
    async with dov.Terminal(sys.argv[1]) as terminal:
        for call in (terminal.backlight.set_brightness(50), terminal.backlight.get_brightness(),
                     anext(terminal.inputs.analog[0].changes(hysteresis=1))):
            try:
                print(await call)
            except dov.Error as error:
                print(type(error).__name__)

asyncio.run(main())
