"""Sets the backlight: set_backlight.py PERCENT"""
import asyncio
import sys

import dov


async def main() -> None:
    async with dov.Terminal() as terminal:
        await terminal.backlight.set_brightness(float(sys.argv[1]))

asyncio.run(main())
