# SPDX-License-Identifier: MIT
"""The label printer's daemons, for those who test printers.

    import hnipc

    with hnipc.Printer() as printer:
        print(printer.m4Version())
        with printer.expect("M4PrintDone"):
            printer.forwardFeed(steps=400)

hnipc.aio has the same for asyncio, hnipc.testing a pytest plugin with simulated daemons.
"""

from . import events
from ._blocking import Events, Printer
from ._core import (Availability, CallFailed, Expectation, NotExpected, NotSent, Reason, Refused,
                    Unknown)
from .record import SupplyInformation

__all__ = ["Availability", "CallFailed", "Events", "Expectation", "NotExpected", "NotSent",
           "Printer", "Reason", "Refused", "SupplyInformation", "Unknown", "events"]
