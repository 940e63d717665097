"""Hears the changes of an input that are larger than 0.05 V."""
import asyncio

import dov


async def main() -> None:
    async with dov.Terminal() as terminal:
        async for change in terminal.inputs.analog[0].changes(hysteresis=0.05):
            print(f"analog {change.value:.3f} V", flush=True)

asyncio.run(main())
