# SPDX-License-Identifier: MIT
"""The daemons behind the front panel, through an ordinary and a bad day."""

import pytest

from hnipc import events

PATIENCE = 60  # seconds, for a slow machine: each step ends as soon as its event arrives


def next_event(printer, *kinds):
    """Waits for the next event of these kinds."""
    for event in printer.events(*kinds, timeout=PATIENCE):
        return event
    pytest.fail(f"none of {[kind.__name__ for kind in kinds]} arrived")


def labels_until_complete(printer):
    """Returns how many labels are printed until the queue is complete, and the event's value."""
    labels = 0
    while True:
        event = next_event(printer, events.M4PrintDone, events.PrintQueueComplete)
        if isinstance(event, events.PrintQueueComplete):
            return labels, event.value
        labels += 1


@pytest.mark.hnipc(scenario="ordinary-day")
def test_ordinary_day(printer):
    next_event(printer, events.PrintButton)
    assert labels_until_complete(printer) == (30, 1)
    assert labels_until_complete(printer) == (35, 2)
    assert next_event(printer, events.M4BatteryUpdate).value == 84

    # The colour ribbon runs low during the next job, which is still printed.
    assert labels_until_complete(printer) == (30, 1)
    assert next_event(printer, events.Alert).value == 21

    # The ribbon is changed, with the lid open.
    assert next_event(printer, events.M4PrinterLid).value is True
    assert next_event(printer, events.Error).value == 10
    assert next_event(printer, events.RibbonChanged).ribbonSkus == ["RIB-110-CMYK", "RIB-110-BK"]
    assert next_event(printer, events.Alert).value == 0
    assert next_event(printer, events.Error).value == 0
    assert printer.supplyRibbon1RGBs() == ["#00aeef", "#ec008c", "#ffd500", "#000000"]
    assert printer.supplyRibbonPanels("RIB-110-CMYK") == 4

    next_event(printer, events.HelpButton)
    assert labels_until_complete(printer) == (25, 1)
    assert printer.getError() == 0
    assert printer.getPrinterStatus("labelprinter") == 1


@pytest.mark.hnipc(scenario="bad-day")
def test_bad_day(printer):
    # The lid is opened during a job, then the black ribbon tears.
    for code in (10, 0, 22):
        assert next_event(printer, events.Error).value == code

    # The lid is opened, a new ribbon is loaded, and the lid is closed.
    assert next_event(printer, events.Error).value == 10
    assert next_event(printer, events.RibbonChanged).ribbonSkus[1] == "RIB-110-BK"
    assert next_event(printer, events.Error).value == 0

    # The print-engine daemon crashes when other labels are loaded. It restarts without the job, and
    # reads what is loaded.
    assert next_event(printer, events.SupplyChanged).supplySku == "LBL-100150-WH"
    assert next_event(printer, events.M4SupplyID).value == "LBL-100150-WH"
    assert printer.supplySKUCached() == "LBL-100150-WH"
    assert next_event(printer, events.PrintQueueComplete).value == 1

    # The battery is low, and a job that was printed by mistake is cleared.
    assert next_event(printer, events.Alert).value == 1
    assert next_event(printer, events.PrintQueueClear).value == 0
    assert next_event(printer, events.Alert).value == 0
    assert printer.supplyId() == "LBL-100150-WH"
    assert printer.getError() == printer.getAlert() == 0
