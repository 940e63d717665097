"""Reacts to the ignition and the power button."""
import asyncio

import dov


async def follow_ignition(terminal: dov.Terminal) -> None:
    async for is_on in terminal.ignition.changes():
        print("ignition", "on" if is_on else "off", flush=True)


async def follow_button(terminal: dov.Terminal) -> None:
    async for _ in terminal.button.short_press():
        print("pressed", flush=True)


async def main() -> None:
    async with dov.Terminal() as terminal:
        await asyncio.gather(follow_ignition(terminal), follow_button(terminal))

asyncio.run(main())
