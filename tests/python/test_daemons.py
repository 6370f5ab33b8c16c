# SPDX-License-Identifier: MIT
"""Daemons in Python: with the package's own client, and with a peer that knows only the wire."""

import socket
import struct
import threading

import pytest
from jeepney import DBusAddress, MessageFlag, new_method_call

import hnipc
from conftest import EXPECTED, Peer, RECORD, SERVERS, Wire, operations, slots
from hnipc import Reason
from hnipc.testing import IOEXPD, M4, SILENCE, SUPPLYD, ErrorReply, Raw
from test_calls import BUS_NAMES, INTERFACES, sample_arguments
from test_events import VALUES, types_of

CLASSES = {"ioexpd": IOEXPD, "m4": M4, "supplyd": SUPPLYD}


@pytest.fixture
def daemons(bus):
    with IOEXPD() as ioexpd, M4() as m4, SUPPLYD() as supplyd:
        yield {"ioexpd": ioexpd, "m4": m4, "supplyd": supplyd}


@pytest.fixture
def client(bus):
    with hnipc.Printer() as result:
        yield result


def test_methods_that_are_not_overridden_do_nothing(daemons, client):
    switches = {"cutterCover", "cutterHome", "printerLid", "supplyLatch"}
    empty = {"": None, "b": True, "i": 0, "u": 0, "t": 0, "d": 0.0, "s": "", "as": [], "ay": b"",
             "a{sv}": {}, RECORD: hnipc.SupplyInformation()}
    for slot in slots():
        arguments = sample_arguments(slot["in"])
        value = getattr(client, slot["name"])(*arguments)
        expected = False if slot["name"] in switches else empty[slot["out"]]
        assert value == expected and type(value) is type(expected), slot["name"]
        call = daemons[slot["daemon"]].calls[-1]
        assert call == (slot["name"], tuple(arguments))
    assert sum(len(daemon.calls) for daemon in daemons.values()) == len(slots())


def test_all_pulses(daemons, client):
    expected = []
    for tag, daemon in SERVERS.items():
        full = {}  # the first form of a pulse has all arguments
        for operation, _, types in operations(tag):
            full.setdefault(operation, types)
        for operation, types in full.items():
            if operation.startswith("pulse"):
                values = [VALUES[kind] for kind in types_of(types)]
                assert getattr(daemons[daemon], operation)(*values) is True
                member = f"{tag}_{operation[len('pulse'):-len('Signal')]}"
                expected.append((member, tuple(values)))
    # When a daemon has replied, the bus has delivered its earlier signals.
    client.printerSoftCancel(), client.getError(), client.supplyId()
    events = [(event, next(member for (_, member), (cls, _) in hnipc._core.EVENTS.items()
                           if cls is type(event))) for event in client.events(timeout=0)]
    # The order is defined only within each of the three connections.
    key = repr
    assert sorted(((member, tuple(event)) for event, member in events), key=key) \
        == sorted(expected, key=key)


def test_a_pulse_that_is_called_over_the_bus(daemons, client, peer):
    assert peer.call("org.hnipc.m4", "/", "local.IHNIPCM4", "pulseErrorSignal", "i", 10) == (True,)
    assert next(client.events(timeout=25)) == hnipc.events.Error(10)


def test_overridden_methods(client):
    class Engine(M4):
        def forwardFeed(self, steps: int) -> bool:
            self.pulseErrorSignal(steps)
            return False

        def sendMCCMessage(self, type, definedMessage, value=0):
            return value in (0, 5, "x")

    with Engine() as engine:
        with client.expect("Error", value=7):
            assert client.forwardFeed(7) is False
        assert client.sendMCCMessage(1, 2, 5) and client.sendMCCMessage(1, 2, "x")
        assert client.sendMCCMessage(1, 2) and not client.sendMCCMessage(1, 2, "y")
        assert engine.calls == [
            ("forwardFeed", (7,)), ("sendMCCMessage", (1, 2, 5)), ("sendMCCMessage", (1, 2, "x")),
            ("sendMCCMessage", (1, 2)), ("sendMCCMessage", (1, 2, "y"))]
        assert engine.wait_for_call("sendMCCMessage") == ("sendMCCMessage", (1, 2, 5))
        with pytest.raises(AssertionError, match="setDac was not called within 0.05 s.*forwardF"):
            engine.wait_for_call("setDac", timeout=0.05)


@pytest.fixture(autouse=True)
def _bus(bus):
    pass


def test_values_of_all_types(client):
    record = hnipc.SupplyInformation(
        text1="LBL", textList1=["a"], real1=1.5, bytes1=b"\0\xff", integer5=3,
        variantList1=[1, "two", True, 2.5, b"x", ["v", "w"], [1, "x"], {"a": 1}, 2**40, 2**63])

    class Supplies(SUPPLYD):
        def supplyInformation(self, printerName):
            return record

        def supplyColorHash(self):
            return {"number": 1, "text": "x", "list": ["a", "b"]}

        def supplyBackgroundImage(self, sku):
            return b"\x89PNG"

    with Supplies():
        assert client.supplyInformation() == record
        assert client.supplyColorHash() == {"number": 1, "text": "x", "list": ["a", "b"]}
        assert client.supplyBackgroundImage("LBL") == b"\x89PNG"


def test_refusing_silent_and_wrong_replies(client):
    class Engine(M4):
        def getError(self):
            raise ErrorReply("org.example.Busy", "not now")

        def getAlert(self):
            return SILENCE

        def m4Version(self):
            return Raw("i", (5,))

        def resetMotor(self):
            self.stop()
            return True

    with Engine() as engine:
        with pytest.raises(hnipc.Refused) as raised:
            client.getError()
        assert (raised.value.error_name, raised.value.error_text) == ("org.example.Busy", "not now")
        with pytest.raises(hnipc.Unknown) as raised:
            client.getAlert(timeout=0.05)
        assert raised.value.reason is Reason.TimedOut
        with pytest.raises(hnipc.Unknown) as raised:
            client.m4Version()
        assert raised.value.reason is Reason.WrongType
        with pytest.raises(hnipc.Unknown) as raised:
            client.resetMotor()
        assert raised.value.reason is Reason.DaemonLeft
        client.wait_for_daemon("m4", present=False)
        engine.start()
        assert client.getBatteryStatus() == 0


def test_daemon_that_stops_itself_may_be_started_at_once(client, bus, monkeypatch):
    started = threading.Event()
    threads = []

    class Engine(M4):
        def resetMotor(self):
            threads.append(threading.current_thread())
            self.stop()
            return True

    shutdown = socket.socket.shutdown

    def shutdown_and_wait(connection, how):  # so that stop() lasts until start() was called
        shutdown(connection, how)
        if threading.current_thread() in threads:
            assert started.wait(10)

    monkeypatch.setattr(socket.socket, "shutdown", shutdown_and_wait)
    wire = Wire(bus.address)
    with Engine() as engine:
        with pytest.raises(hnipc.Unknown) as raised:
            client.resetMotor()
        assert raised.value.reason is Reason.DaemonLeft
        client.wait_for_daemon("m4", present=False)
        engine.start()
        started.set()
        threads[0].join(10)
        assert not threads[0].is_alive()  # stop() did not wait for the new thread
        assert client.getError() == 0
        assert [call[3] for call in wire.calls()] == ["resetMotor", "getError"]
        assert wire.replies == 1  # the new connection does not reply to the old call
    wire.close()


def test_mistakes_of_a_daemon_fail_its_test(client):
    class Engine(M4):
        def getError(self):
            return "lots"

        def getAlert(self):
            raise ZeroDivisionError("in the test's daemon")

        def dac0(self):
            raise ErrorReply("Busy", "not now")

        def gap(self):
            raise ErrorReply("org.example.Busy", "not\0now")

        def bMark(self):
            return Raw("u", ("lots",))

        def preCutter(self):
            raise ValueError("not\0now, \ud800")

        def m4Version(self):
            pytest.fail("it is not asked for")

    for method, kind, text in ((client.getError, TypeError, "getError returned 'lots'"),
                               (client.getAlert, ZeroDivisionError, "in the test's daemon"),
                               (client.dac0, ValueError, "'Busy' is not the name of an error"),
                               (client.gap, ValueError, "a str without NUL"),
                               (client.bMark, struct.error, "not an integer"),
                               (client.preCutter, ValueError, "not.?now"),
                               (client.m4Version, pytest.fail.Exception, "it is not asked for")):
        with pytest.raises(kind, match=text):
            with Engine():
                with pytest.raises(hnipc.Refused, match=text):
                    method()
                assert client.getBatteryStatus() == 0


def test_pulses_with_wrong_values(client):
    with M4() as engine:
        with pytest.raises(TypeError, match="M4_Error: .*'ten'.* an int from -2147483648"):
            engine.pulseErrorSignal("ten")
        with pytest.raises(ValueError, match="M4_Error: .* an int from -2147483648"):
            engine.pulseErrorSignal(2**31)
        with pytest.raises(TypeError, match="M4_Error: 2 values, expected 1"):
            engine.emit("M4_Error", "i", (1, 2))
        with client.expect("Error", value=10):
            assert engine.pulseErrorSignal(10)


def test_a_caller_that_wants_no_reply_gets_none(peer):
    with M4() as engine:
        message = new_method_call(DBusAddress("/", "org.hnipc.m4", "local.IHNIPCM4"), "getError")
        message.header.flags |= MessageFlag.no_reply_expected
        peer.connection.send(message, serial=1000)
        assert peer.call("org.hnipc.m4", "/", "local.IHNIPCM4", "getAlert") == (0,)
        assert [call.method for call in engine.calls] == ["getError", "getAlert"]
        assert peer.replies_aside == []


def test_one_name_has_one_daemon():
    with M4() as first:
        with pytest.raises(RuntimeError, match="org.hnipc.m4 is on the bus already"):
            M4().start()
        with pytest.raises(RuntimeError, match="is running"):
            first.start()
    with M4():
        pass
    assert not first.pulseErrorSignal(1)


def test_calls_of_other_members(peer):
    with M4() as engine:
        for path, interface, member in (("/", "local.IHNIPCM4", "noSuchMethod"),
                                        ("/other", "local.IHNIPCM4", "getError"),
                                        ("/", "local.Other", "getError")):
            with pytest.raises(AssertionError, match="no method"):
                peer.call("org.hnipc.m4", path, interface, member)
        with pytest.raises(AssertionError, match="no method setDac with the types \"s\""):
            peer.call("org.hnipc.m4", "/", "local.IHNIPCM4", "setDac", "s", "x")
        assert engine.calls == []
        assert peer.call("org.hnipc.m4", "/", None, "getError") == (0,)


@pytest.mark.parametrize("daemon", CLASSES)
def test_introspection_data(peer, daemon):
    with CLASSES[daemon]():
        name = BUS_NAMES[daemon]
        peer.call(name, "/", "org.freedesktop.DBus.Peer", "Ping")
        text, = peer.call(name, "/", "org.freedesktop.DBus.Introspectable", "Introspect")
        file = EXPECTED.parents[1] / "interfaces" / f"{INTERFACES[daemon]}.xml"
        assert text == file.read_text(encoding="utf-8")
