# SPDX-License-Identifier: MIT
"""Events, sent by a peer that does not use the package, and availability."""

import time

import pytest
from jeepney import DBusAddress, new_signal

import hnipc
import hnipc.events
from conftest import SERVERS, rows, types_of
from test_calls import BUS_NAMES, INTERFACES

VALUES = {"b": True, "i": -2147483648, "u": 4294967295, "t": 18446744073709551615, "d": -0.25,
          "s": "ä€🖨", "as": ["RIB-110-CMY", ""]}
# The types of each event's parameters in C++, and on the bus.
WIRE = {"bool": "b", "quint32": "u", "quint64": "t", "qint32": "i", "int": "i", "double": "d",
        "QString": "s", "QStringList": "as"}


def events_of_table():
    for _, signature, parameters, server, member in rows("clientsignals.h", "clientSignals"):
        if server in SERVERS:
            name, types = signature[:-1].split("(")
            yield (name, SERVERS[server], member, "".join(WIRE[each] for each in types.split(",")
                                                          if each), tuple(parameters.split(",")))


@pytest.fixture
def peers(bus, peer):
    """A peer that owns the names of all three daemons."""
    for name in BUS_NAMES.values():
        peer.own(name)
    return peer


@pytest.fixture
def client(bus, peers):
    with hnipc.Printer(bus.address) as result:
        yield result


def emit(peer, member, *values, types="", daemon="m4", **more):
    peer.emit(INTERFACES[daemon], member, types or None, *values, **more)


def names(events):
    return [type(event).__name__ for event in events]


def test_all_events_arrive_in_order_with_their_values(peers, client):
    expected = []
    for name, daemon, member, types, parameters in events_of_table():
        values = [VALUES[kind] for kind in types_of(types)]
        emit(peers, member, *values, types=types, daemon=daemon)
        expected.append((name, dict(zip(parameters, values))))
    came = [(type(event).__name__, event._asdict()) for event in client.events(timeout=0)]
    assert came == expected
    assert all(hasattr(hnipc.events, name) for name, _ in expected)


def test_an_iteration_returns_only_the_events_that_it_names(peers, client):
    emit(peers, "M4_M4PrinterLid", True, types="b")
    emit(peers, "M4_Error", 10, types="i")
    emit(peers, "M4_M4PrinterLid", False, types="b")
    lids = [event.value for event in client.events(hnipc.events.M4PrinterLid, timeout=0)]
    assert lids == [True, False]
    assert list(client.events("Alert", timeout=0)) == []
    assert list(client.events("Alert", "Error", timeout=0)) == [hnipc.events.Error(10)]
    assert list(client.events(timeout=0)) == []


def test_an_iteration_waits(peers, client):
    events = client.events("Alert", timeout=60)
    emit(peers, "M4_Alert", 1, types="i")
    assert next(events) == (1,)
    emit(peers, "M4_Alert", 2, types="i")
    assert next(iter(client.events())) == (2,)


def test_a_deadline_ends_a_wait_while_messages_arrive(peers, client):
    emit(peers, "M4_Error", 1, types="i")
    assert client._link.receive(time.monotonic()) is None
    events = client.events("Alert", timeout=0.05)
    emit(peers, "M4_Error", 2, types="i")
    assert list(events) == []
    assert list(client.events(timeout=0)) == [(1,), (2,)]


def test_unknown_events_are_refused(client):
    for kind in ("NoSuchEvent", "M4_Error", int, hnipc.SupplyInformation):
        with pytest.raises(ValueError, match="is not an event"):
            client.events(kind)
        with pytest.raises(ValueError, match="is not an event"):
            client.expect(kind)
    with pytest.raises(TypeError, match="M4PrinterLid has no steps"):
        client.expect("M4PrinterLid", steps=1)
    with pytest.raises(ValueError, match="timeout"):
        client.expect("M4PrinterLid", timeout=0)
    with pytest.raises(ValueError, match="timeout"):
        client.events(timeout=-1)


def test_expect_returns_the_event_that_fits(peers, client):
    with client.expect("M4UserSetting", setting=2, value=lambda value: value > 100) as expected:
        emit(peers, "M4_M4UserSetting", 2, 100, types="ii")
        emit(peers, "M4_M4UserSetting", 3, 101, types="ii")
        emit(peers, "M4_M4UserSetting", 2, 101, types="ii")
    assert expected.event == hnipc.events.M4UserSetting(setting=2, value=101)
    assert list(client.events(timeout=0)) == [(2, 100), (3, 101)]


def test_each_event_is_examined_once(peers, client):
    judged = []

    def judge(value):
        judged.append(value)
        if value < 9:
            emit(peers, "M4_Error", value + 1, types="i")
        return value == 9

    with client.expect("Error", value=judge):
        emit(peers, "M4_Error", 0, types="i")
    assert judged == list(range(10))
    assert list(client.events(timeout=0)) == [(value,) for value in range(9)]


def test_expect_lists_the_events_that_arrived_instead(peers, client):
    emit(peers, "M4_M4PrinterLid", True, types="b")
    with pytest.raises(AssertionError) as raised:
        with client.expect("M4PrinterLid", value=True, timeout=0.05):
            emit(peers, "M4_M4PrinterLid", False, types="b")
            emit(peers, "M4_Error", 10, types="i")
    assert str(raised.value) == (
        "no M4PrinterLid(value=True) within 0.05 s; these events arrived instead:\n"
        "    M4PrinterLid(value=False)\n    Error(value=10)")
    assert isinstance(raised.value, hnipc.NotExpected)
    with pytest.raises(hnipc.NotExpected, match=r"no PrintButton\(\) within .*; no event arrived"):
        with client.expect(hnipc.events.PrintButton, timeout=0.05):
            pass


def test_an_exception_in_the_block_is_not_hidden(client):
    with pytest.raises(KeyError):
        with client.expect("PrintButton", timeout=3600):
            raise KeyError


def test_expect_within_expect(peers, client):
    with client.expect("Error", value=10), client.expect("M4PrinterLid", value=True):
        emit(peers, "M4_Error", 10, types="i")
        emit(peers, "M4_M4PrinterLid", True, types="b")


def test_signals_that_do_not_fit_are_ignored(bus, peers, client):
    stranger = type(peers)(bus.address)
    to = client._link.connection.unique_name
    emit(stranger, "M4_Error", 1, types="i")
    emit(stranger, "M4_Error", 2, types="i", to=to)
    emit(peers, "M4_Error", 3, types="i", path="/other", to=to)
    emit(peers, "M4_Error", 4, types="i", daemon="supplyd", to=to)
    emit(peers, "M4_NoSuchSignal", 5, types="i")
    emit(peers, "M4_Error", "six", types="s")
    emit(peers, "M4_Error")
    emit(peers, "M4_Error", 8, types="u")
    emit(peers, "M4_Error", (9,), types="(i)")
    emit(peers, "M4_M4TphTherm", 10, types="i")
    emit(peers, "M4_Error", 11, "more", types="is")
    assert list(client.events(timeout=0)) == [hnipc.events.Error(11)]
    stranger.close()


def test_messages_that_jeepney_cannot_read_are_ignored(peers, client):
    signal = new_signal(DBusAddress("/", interface="local.IHNIPCM4"), "M4_Error", "u", (1,))
    # The signature contains a file descriptor, but the message has none.
    client._link.connection.parser.add_data(signal.serialise(1).replace(b"\1u\0", b"\1h\0"))
    emit(peers, "M4_Error", 2, types="i")
    assert next(client.events(timeout=5)) == (2,)


def test_the_events_of_a_daemon_that_restarts(bus, client, peers):
    peers.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
               "ReleaseName", "s", "org.hnipc.m4")
    emit(peers, "M4_Error", 1, types="i", to=client._link.connection.unique_name)
    second = type(peers)(bus.address)
    second.own("org.hnipc.m4")
    emit(second, "M4_Error", 2, types="i")
    assert list(client.events(timeout=0)) == [(2,)]
    second.close()


def test_availability(bus, peer):
    with hnipc.Printer(bus.address) as client:
        assert client.availability() == hnipc.Availability(False, False, False)
        peer.own("org.hnipc.m4")
        assert client.availability() == hnipc.Availability(ioexpd=False, m4=True, supplyd=False)
        client.wait_for_daemon("m4", timeout=60)
        with pytest.raises(TimeoutError, match="org.hnipc.supplyd did not appear within 0.05 s"):
            client.wait_for_daemon("supplyd", timeout=0.05)
        with pytest.raises(TimeoutError, match="org.hnipc.m4 did not disappear"):
            client.wait_for_daemon("m4", present=False, timeout=0.05)
        peer.close()
        client.wait_for_daemon("m4", present=False, timeout=60)
        assert client.availability() == (False, False, False)
        with pytest.raises(ValueError, match="'printd' is not one of ioexpd, m4, supplyd"):
            client.wait_for_daemon("printd")
