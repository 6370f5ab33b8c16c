# SPDX-License-Identifier: MIT

def test_the_lid_stops_a_feed(printer, world):
    with printer.expect("M4PrinterLid", value=True):
        world.set("printerLid", True)
    assert printer.forwardFeed(steps=400) is False
