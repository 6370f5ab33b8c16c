# SPDX-License-Identifier: MIT
"""One mistake on each line. mypy has to find all of them."""

import hnipc
import hnipc.aio
from hnipc.events import M4PrinterLid
from hnipc.testing import M4


def mistakes(printer: hnipc.Printer, engine: M4) -> None:
    printer.forwardFeed("lots")
    printer.forwardFeed()
    printer.forwardFeed(labels=1)
    printer.noSuchMethod()
    printer.sendMCCMessage(1, 2, [])
    printer.supplyInformationBySKUs("LBL", "RIB")
    version: int = printer.m4Version()
    image: str = printer.supplyBackgroundImage("LBL")
    printer.supplyInformation().text9
    next(printer.events(M4PrinterLid)).steps
    engine.pulseErrorSignal("ten")
    engine.pulseNoSuchSignal()


async def more(printer: hnipc.aio.Printer) -> None:
    done: bool = printer.forwardFeed(1)
    await printer.forwardFeed("lots")
