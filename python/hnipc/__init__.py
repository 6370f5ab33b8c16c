# SPDX-License-Identifier: MIT
"""A client of the label printer's daemons, for tests.

    import hnipc

    with hnipc.Printer() as printer:
        print(printer.m4Version())
        with printer.expect("M4PrintDone"):
            printer.forwardFeed(steps=400)

hnipc.aio is the same for asyncio. hnipc.testing is a pytest plugin with simulated daemons.
"""

from . import events
from ._blocking import Events, Printer
from ._core import (Availability, CallFailed, Expectation, NotExpected, NotSent, Reason, Refused,
                    Unknown)
from .record import SupplyInformation

__all__ = ["Availability", "CallFailed", "Events", "Expectation", "NotExpected", "NotSent",
           "Printer", "Reason", "Refused", "SupplyInformation", "Unknown", "events"]
