# SPDX-License-Identifier: MIT
"""A test with types, as users write it. Only mypy reads it; it never runs."""

from typing import List, Optional

import hnipc
import hnipc.aio
from hnipc.events import M4PrinterLid, M4UserSetting
from hnipc.testing import M4, World


class Engine(M4):
    def forwardFeed(self, steps: int) -> bool:
        return self.pulseErrorSignal(10) and steps > 0


def test_results(printer: hnipc.Printer, world: World) -> None:
    done: bool = printer.forwardFeed(steps=400, timeout=5)
    version: str = printer.m4Version()
    skus: List[str] = printer.supplySKUList()
    image: bytes = printer.supplyBackgroundImage("LBL-100060-WH")
    record: hnipc.SupplyInformation = printer.supplyInformation()
    numbers: int = record.integer1 + printer.getError()
    printer.sendMCCMessage(1, 2, 5)
    printer.sendMCCMessage(1, 2, "five")
    printer.sendMCCMessage(1, 2)
    for lid in printer.events(M4PrinterLid, timeout=1):
        open_: bool = lid.value
    with printer.expect("M4PrinterLid", value=True) as expected:
        world.set("printerLid", True)
    setting: Optional[M4UserSetting] = expected.event
    with Engine() as engine:
        assert engine.calls[0].method == "forwardFeed"


async def test_async_results() -> None:
    async with hnipc.aio.Printer() as printer:
        done: bool = await printer.forwardFeed(steps=400)
        async for lid in printer.events(M4PrinterLid, timeout=1):
            open_: bool = lid.value
