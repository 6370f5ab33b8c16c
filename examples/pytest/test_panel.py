# SPDX-License-Identifier: MIT
"""The commands of the front panel, with daemons that work and with daemons that fail."""

import pytest

import hnipc

COMMANDS = {
    "feed": lambda printer: printer.forwardFeed(steps=400),
    "cut": lambda printer: printer.cycleCutter(),
    "calibrate": lambda printer: printer.calibrateSupply(),
}


@pytest.mark.parametrize("command", COMMANDS)
def test_command(printer, command):
    assert COMMANDS[command](printer) is True


@pytest.mark.parametrize("command", COMMANDS)
@pytest.mark.parametrize("switch, code", [("printerLid", 10), ("cutterCover", 11),
                                          ("supplyLatch", 12)])
def test_nothing_moves_while_something_is_open(printer, world, command, switch, code):
    with printer.expect("Error", value=code):
        world.set(switch, True)
    assert COMMANDS[command](printer) is False
    with printer.expect("Error", value=0):
        world.set(switch, False)
    assert COMMANDS[command](printer) is True


@pytest.mark.parametrize("command", COMMANDS)
def test_a_command_without_the_print_engine_is_not_sent(sandbox, printer, command):
    sandbox.stop_daemon("m4")
    with pytest.raises(hnipc.NotSent):
        COMMANDS[command](printer)


def test_a_job_is_stopped_by_the_lid_and_tried_again(printer, world):
    with printer.expect("M4PrintDone"):
        world.print(40)
    with printer.expect("Error", value=10):
        world.set("printerLid", True)
    assert printer.retryPrintJob() is False
    world.set("printerLid", False)
    with printer.expect("PrintQueueComplete", value=1, timeout=60):
        assert printer.retryPrintJob() is True


@pytest.mark.parametrize("reading, alert", [("supplyPercent", 20), ("ribbon1Percent", 21),
                                            ("ribbon2Percent", 22)])
def test_a_roll_that_runs_low(printer, world, reading, alert):
    with printer.expect("Alert", value=alert):
        world.set(reading, 9.5)
    assert printer.getAlert() == alert


def test_a_supply_daemon_that_is_slow(printer, world):
    world.fault("*", "delay", 800, daemon="supplyd")
    with pytest.raises(hnipc.Unknown) as unknown:
        printer.supplyId(timeout=0.1)
    assert unknown.value.reason is hnipc.Reason.TimedOut
    assert printer.supplyId() == "LBL-100060-WH"


def test_what_is_loaded_reads_back(printer, world):
    with printer.expect("SupplyChanged", supplySku="LBL-100150-WH"):
        world.load_supply("LBL-100150-WH", ["RIB-110-CMYK"])
    record = printer.supplyInformation()
    assert record.text1 == printer.supplySKUCached() == "LBL-100150-WH"
    assert record.textList1 == ["RIB-110-CMYK"]
    assert record.bytes1.startswith(b"\x89PNG")
