# SPDX-License-Identifier: MIT
"""The sandbox and the simulated daemons' world."""

import os

import pytest

import hnipc
from hnipc import Reason
from hnipc.testing import Sandbox, World


def test_the_sandbox_plays_the_system_bus(sandbox):
    assert os.environ["DBUS_SYSTEM_BUS_ADDRESS"] == sandbox.address
    with hnipc.Printer() as printer:
        assert printer.address == sandbox.address
        assert printer.availability() == (True, True, True)


def test_every_test_has_its_own_sandbox(sandbox, printer, world):
    assert printer.getError() == 0
    world.set("printerLid", True)
    with Sandbox() as other, hnipc.Printer(other.address) as another:
        assert other.address != sandbox.address
        assert (printer.getError(), another.getError()) == (10, 0)


@pytest.mark.parametrize("time", range(10))
def test_nothing_happens_by_itself(printer, time):
    assert list(printer.events(timeout=0)) == []
    assert printer.supplySensor() != 0


def test_nothing_happens_after_a_start(sandbox, printer, world):
    sandbox.stop_daemon("m4")
    sandbox.start_daemon("m4")
    world.set("ribbonClr2", 4000)
    list(printer.events(timeout=0))
    assert world.get("ribbonClr2") == 4000
    sandbox.stop_daemon("supplyd")
    sandbox.start_daemon("supplyd")


@pytest.mark.parametrize("time", [1, 2])
def test_each_test_has_a_new_printer(printer, world, time):
    assert printer.printerLid() is False
    world.set("printerLid", True)


def test_set_and_get(printer, world):
    with printer.expect("M4PrinterLid", value=True), printer.expect("Error", value=10):
        world.set("printerLid", True)
    assert world.get("printerLid") is True and printer.printerLid() is True
    with printer.expect("SupplyPercentChanged", percentage=lambda percent: percent < 30):
        world.set("supplyPercent", 25.0)
    world.set("tph1Therm", 310)
    assert world.get("tph1Therm") == 310
    assert "backlight" in world.names("ioexpd") and "printerLid" in world.names("m4")
    printer.enableBacklight(False)
    assert world.get("backlight") is False
    with pytest.raises(ValueError, match="'noSuchReading' is not a reading"):
        world.set("noSuchReading", 1)
    with pytest.raises(hnipc.Refused):
        world.set("printerLid", "open")
    with pytest.raises(TypeError, match="set"):
        world.set("printerLid", object())


def test_buttons(printer, world):
    for button, event in (("print", "PrintButton"), ("help", "HelpButton"),
                          ("cancel", "CancelButton")):
        with printer.expect(event):
            world.press(button)
    with pytest.raises(hnipc.Refused) as raised:
        world.press("stop")
    assert raised.value.error_name == "org.hnipc.Simulator.Error"


def test_load_supply(printer, world):
    with printer.expect("SupplyChanged", supplySku="LBL-100150-WH"):
        world.load_supply("LBL-100150-WH")
    assert printer.supplySKUCached() == "LBL-100150-WH"
    with printer.expect("RibbonChanged", ribbonSkus=["RIB-110-BK"]):
        world.load_supply(ribbons=["RIB-110-BK"])
    assert printer.supplyRibbonSKUsCached() == ["RIB-110-BK"]


def test_print(printer, world):
    with printer.expect("PrintQueueComplete", value=1):
        world.print(3)
    assert [type(event).__name__ for event in printer.events("M4PrintDone", timeout=0)] \
        == ["M4PrintDone"] * 3


def test_emit_and_flood(printer, world):
    with printer.expect("M4UserSetting", setting=1, value=2):
        world.emit("M4UserSetting", 1, 2)
    with printer.expect("CloseApplicationSignal"):
        world.emit("CloseApplicationSignal")
    with printer.expect("M4Dac0", value=999):
        world.flood("M4Dac0", 1000)
    assert [event.value for event in printer.events("M4Dac0", timeout=0)] == list(range(999))
    with pytest.raises(ValueError, match="is not an event"):
        world.emit("M4_M4Dac0", 1)


def test_faults(printer, world):
    def failed(call, **options):
        with pytest.raises(hnipc.CallFailed) as raised:
            call(**options)
        return type(raised.value), raised.value.reason

    world.fault("getError", "error", "org.example.Busy not now")
    with pytest.raises(hnipc.Refused, match="not now") as raised:
        printer.getError()
    assert raised.value.error_name == "org.example.Busy"
    world.fault("getAlert", "never")
    assert failed(printer.getAlert, timeout=0.05) == (hnipc.Unknown, Reason.TimedOut)
    world.fault("dac0", "wrongtype")
    assert failed(printer.dac0) == (hnipc.Unknown, Reason.WrongType)
    world.fault("bMark", "delay", 1)
    assert printer.bMark() >= 0
    world.fault("getError", "none")
    assert printer.getError() == 0
    world.fault("*", "error", "org.example.Busy not now", daemon="supplyd")
    assert failed(printer.supplyId) == (hnipc.Refused, Reason.DaemonError)
    world.malform("short")
    world.reset()
    assert printer.supplyId() and printer.dac0() >= 0
    world.fault("getError", "die")
    assert failed(printer.getError) == (hnipc.Unknown, Reason.DaemonLeft)
    assert failed(printer.getError) == (hnipc.NotSent, Reason.DaemonAbsent)
    world.reset()
    for method in ("noSuchMethod", "*"):
        with pytest.raises(ValueError, match="is not a method"):
            world.fault(method, "never")


def test_records_of_other_shapes(printer, world):
    whole = printer.supplyInformation()
    world.malform("short")
    short = printer.supplyInformation()
    assert (short.text1, short.integer1) == (whole.text1, whole.integer1)
    assert short == hnipc.SupplyInformation(
        text1=whole.text1, textList1=whole.textList1, real1=whole.real1, integer1=whole.integer1,
        text2=whole.text2)
    world.malform("plain")
    with pytest.raises(hnipc.Unknown):
        printer.supplyInformation()
    world.malform("long")
    assert printer.supplyInformation() == whole


def test_daemons_stop_and_start(sandbox, printer, world):
    sandbox.stop_daemon("m4")
    assert printer.availability() == (True, False, True)
    with pytest.raises(RuntimeError, match="m4 is not running"):
        sandbox.stop_daemon("m4")
    with pytest.raises(hnipc.NotSent):
        printer.getError()
    assert "printerLid" not in world.names("ioexpd")
    sandbox.start_daemon("m4")
    assert printer.getError() == 0
    world.set("printerLid", True)
    with pytest.raises(RuntimeError, match="m4 did not start"):
        sandbox.start_daemon("m4")
    sandbox.stop_daemon("m4")
    assert not printer.availability().m4


def test_a_daemon_starts_beside_a_print_engine_without_supply(sandbox, printer, world):
    world.set("supplyID", "")
    sandbox.stop_daemon("ioexpd")
    sandbox.start_daemon("ioexpd")
    assert printer.availability().ioexpd


@pytest.mark.hnipc(daemons=["supplyd"])
def test_some_daemons(printer, world):
    assert printer.availability() == (False, False, True)
    world.set("supplyPercent", 50.0)
    world.reset()


@pytest.mark.hnipc(daemons=[])
def test_no_daemons(printer):
    assert printer.availability() == (False, False, False)


def test_mistakes(tmp_path, monkeypatch):
    with pytest.raises(ValueError, match="'printd' is not one of"):
        Sandbox(daemons=["printd"])
    with pytest.raises(RuntimeError, match="the sandbox did not start: .*no-such-scenario"):
        Sandbox(scenario="no-such-scenario").start()
    with pytest.raises(hnipc.NotSent):
        World("unix:path=/nonexistent/bus")
    monkeypatch.setenv("PATH", str(tmp_path))
    with pytest.raises(FileNotFoundError, match="hnipc-sandbox is not on the PATH.*hnipc-tools"):
        Sandbox().start()
