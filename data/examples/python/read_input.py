"""Reads an input."""
import asyncio

import dov


async def main() -> None:
    async with dov.Terminal() as terminal:
        print(f"supply {await terminal.inputs.voltage[0].get_value():.1f} V", flush=True)

asyncio.run(main())
