# SPDX-License-Identifier: MIT
"""The printer for asyncio: all methods, events, and failures that differ from blocking calls."""

import asyncio
import signal

import pytest

import hnipc
import hnipc.aio
from conftest import slots
from hnipc import Reason
from test_calls import call_of, sample_arguments
from test_failures import ERROR, Server, check, new_method_return


def run(address, act, **options):
    async def inside():
        async with hnipc.aio.Printer(address, **options) as printer:
            return await act(printer)
    return asyncio.run(inside())


async def begun(call):
    """A call that has been sent, and has no reply yet."""
    result = asyncio.ensure_future(call)
    await asyncio.sleep(0)
    return result


def test_all_methods(served, wire):
    expected = []

    async def act(printer):
        for slot in slots():
            arguments = sample_arguments(slot["in"])
            await getattr(printer, slot["name"])(*arguments)
            expected.append(call_of(slot, arguments))

    run(served.address, act)
    assert wire.calls() == expected


def test_results_are_those_of_the_blocking_client(served, client):
    async def act(printer):
        return (await printer.supplyInformation(), await printer.supplyColorHash(),
                await printer.supplyBackgroundImage("LBL-100060-WH"), await printer.m4Version())

    assert run(served.address, act) == (
        client.supplyInformation(), client.supplyColorHash(),
        client.supplyBackgroundImage("LBL-100060-WH"), client.m4Version())


def test_wrong_arguments(served, wire):
    async def act(printer):
        for arguments, kind in ((("lots",), TypeError), ((-1,), ValueError)):
            with pytest.raises(kind, match="forwardFeed.*steps"):
                await printer.forwardFeed(*arguments)
        with pytest.raises(ValueError, match="timeout"):
            await printer.forwardFeed(1, timeout=0)

    run(served.address, act)
    assert wire.calls() == []


def test_pending_calls_finish_in_any_order(bus, monkeypatch):
    async def act(printer):
        server = Server(bus.address, "org.hnipc.m4")
        first = await begun(printer.getError())
        second = await begun(printer.getAlert())
        await printer.sync()
        calls = {}
        for _ in range(2):
            call = server.next_call()
            calls[call.header.fields[3]] = call
        server.connection.send(new_method_return(calls["getAlert"], "i", (2,)))
        assert await second == 2
        assert not first.done()
        server.connection.send(new_method_return(calls["getError"], "i", (1,)))
        assert await first == 1
        server.close()

    run(bus.address, act)


def test_events_and_expect(served, client):
    async def act(printer):
        async with printer.expect("M4Dac0", value=8) as expected:
            await printer.setDac(7)
            await printer.setDac(8)
        assert expected.event == hnipc.events.M4Dac0(8)
        events = [event async for event in printer.events(hnipc.events.M4Dac0, timeout=0)]
        assert events == [hnipc.events.M4Dac0(7)]
        with pytest.raises(hnipc.NotExpected, match=r"no M4Dac0\(value=1\).*\n    M4Dac0\(value=2"):
            async with printer.expect("M4Dac0", value=1, timeout=0.05):
                await printer.setDac(2)
        with pytest.raises(KeyError):
            async with printer.expect("M4Dac0", timeout=3600):
                raise KeyError
        with pytest.raises(ValueError, match="is not an event"):
            printer.events("NoSuchEvent")

    run(served.address, act)


def test_an_iteration_waits(served):
    async def act(printer):
        async def next_alert():
            async for event in printer.events("Alert"):
                return event

        waiting = await begun(next_alert())
        await printer.sync()
        assert not waiting.done()
        await printer.emitAlert(5)
        assert await waiting == (5,)
        await printer.emitAlert(0)

    run(served.address, act)


def test_availability(bus):
    async def act(printer):
        assert await printer.availability() == (False, False, False)
        waiting = await begun(printer.wait_for_daemon("m4"))
        await printer.sync()
        server = Server(bus.address, "org.hnipc.m4")
        await waiting
        assert await printer.availability() == (False, True, False)
        server.close()
        await printer.wait_for_daemon("m4", present=False)
        with pytest.raises(TimeoutError, match="supplyd did not appear within 0.05 s"):
            await printer.wait_for_daemon("supplyd", timeout=0.05)

    run(bus.address, act)


def test_absent_silent_and_dying_daemons(bus):
    async def act(printer):
        with pytest.raises(hnipc.CallFailed) as raised:
            await printer.getError()
        check(raised, hnipc.NotSent, Reason.DaemonAbsent, ERROR + "ServiceUnknown")
        server = Server(bus.address, "org.hnipc.m4")
        with pytest.raises(hnipc.CallFailed) as raised:
            await printer.getError(timeout=0.05)
        check(raised, hnipc.Unknown, Reason.TimedOut, ERROR + "Timeout", "within 0.05 s")
        pending = await begun(printer.getError())
        await printer.sync()
        server.close()
        with pytest.raises(hnipc.CallFailed) as raised:
            await pending
        check(raised, hnipc.Unknown, Reason.DaemonLeft, ERROR + "NoReply")

    run(bus.address, act)


def test_a_call_that_is_cancelled(served):
    async def act(printer):
        call = await begun(printer.getError())
        call.cancel()
        with pytest.raises(asyncio.CancelledError):
            await call
        assert await printer.getError() == 0

    run(served.address, act)


def test_lost_bus(bus):
    async def act(printer):
        server = Server(bus.address, "org.hnipc.m4")
        pending = await begun(printer.getError())
        events = await begun(printer.events("Error").__anext__())
        await printer.sync()
        bus.kill()
        with pytest.raises(hnipc.CallFailed) as raised:
            await pending
        check(raised, hnipc.Unknown, Reason.BusLost, ERROR + "Disconnected")
        for act in (events, printer.getError(), printer.availability()):
            with pytest.raises(hnipc.CallFailed) as raised:
                await act
            check(raised, hnipc.NotSent, Reason.BusLost, ERROR + "Disconnected")
        server.close()

    run(bus.address, act)


def test_no_bus():
    async def act(printer):
        raise AssertionError("connected")

    for address in ("unix:path=/nonexistent/bus", "nonsense"):
        with pytest.raises(hnipc.NotSent, match=address):
            run(address, act)


def test_halted_bus(bus):
    bus.signal(signal.SIGSTOP)

    async def act(printer):
        raise AssertionError("connected")

    with pytest.raises(hnipc.NotSent):
        run(bus.address, act, timeout=0.05)


def test_outside_of_its_with_statement():
    printer = hnipc.aio.Printer()
    with pytest.raises(hnipc.NotSent, match="is closed or was lost"):
        asyncio.run(printer.getError())
