# SPDX-License-Identifier: MIT

import asyncio
import subprocess

import pytest

import hnipc
import hnipc.aio
from hnipc import events
from hnipc.testing import M4, ErrorReply


def test_calls(printer):
    assert printer.m4Version() == "4.2.1-simulated"
    assert printer.supplyRibbonColorName("RIB-110-CMY") == "Cyan"  # panel=1 is the default
    assert printer.supplyInformation().text1 == "LBL-100060-WH"
    with pytest.raises(ValueError, match="steps"):
        printer.forwardFeed(steps=-1)  # nothing is sent


def test_a_print_engine_that_fails(printer, world):
    world.fault("getError", "error", "org.example.Busy not now")
    with pytest.raises(hnipc.Refused) as refused:
        printer.getError()
    assert refused.value.error_name == "org.example.Busy"

    world.fault("getError", "never")
    with pytest.raises(hnipc.Unknown) as unknown:
        printer.getError(timeout=0.5)
    assert unknown.value.reason is hnipc.Reason.TimedOut


def test_a_job(printer, world):
    with printer.expect("PrintQueueComplete", timeout=30) as expected:
        world.print(3)
    assert expected.event.value == 1
    assert len(list(printer.events(events.M4PrintDone, timeout=0))) == 3


def test_without_the_supply_daemon(sandbox, printer):
    sandbox.stop_daemon("supplyd")
    with pytest.raises(hnipc.NotSent):
        printer.supplyId()
    sandbox.start_daemon("supplyd")
    assert printer.supplyId() == "LBL-100060-WH"


@pytest.mark.hnipc(scenario="ordinary-day")
def test_the_shop_opens(printer):
    with printer.expect("PrintQueueComplete", timeout=60):
        pass


def test_my_program(sandbox, world):
    world.set("batteryStatus", 12)
    output = subprocess.run(["hnipcctl", "call", "getBatteryStatus"], stdout=subprocess.PIPE,
                            check=True, text=True).stdout
    assert output == "12\n"


class JammedEngine(M4):
    def forwardFeed(self, steps: int) -> bool:
        self.pulseErrorSignal(20)
        return False

    def cycleCutter(self) -> bool:
        raise ErrorReply("org.example.Jam", "a label is in the cutter")


@pytest.mark.hnipc(daemons=["ioexpd", "supplyd"])
def test_a_jam(printer):
    with JammedEngine() as engine:
        with printer.expect("Error", value=20):
            assert printer.forwardFeed(steps=400) is False
        with pytest.raises(hnipc.Refused, match="a label is in the cutter"):
            printer.cycleCutter()
        assert engine.calls[0] == ("forwardFeed", (400,))


def test_two_calls_at_once(sandbox):
    async def temperatures():
        async with hnipc.aio.Printer() as printer:
            return await asyncio.gather(printer.tph1Therm(), printer.tph2Therm())

    assert all(value > 0 for value in asyncio.run(temperatures()))
