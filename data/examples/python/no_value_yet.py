"""Runs while the controller has not told a value yet."""
import asyncio

import dov


async def main() -> None:
    async with dov.Terminal() as terminal:
        try:
            print("controller", await terminal.versions.bootloader.get(), flush=True)
        except dov.No_value_yet:
            print("controller not heard yet", flush=True)

asyncio.run(main())
