# SPDX-License-Identifier: MIT
"""Calls that fail: daemons that are not running, refuse, do not reply, die or send wrong types,
and a lost bus."""

import contextlib
import os
import pathlib
import signal
import time

import pytest
from jeepney import (DBusAddress, HeaderFields, MessageType, new_error, new_method_call,
                     new_method_return, new_signal)

import hnipc
from conftest import Bus, Peer, RECORD, rows
from hnipc import Reason

ERROR = "org.freedesktop.DBus.Error."


@pytest.fixture
def client(bus):
    with hnipc.Printer(bus.address) as result:
        yield result


class Server(Peer):
    """A daemon whose replies the test sends."""

    def __init__(self, address, name):
        super().__init__(address)
        self.own(name)

    def next_call(self):
        while True:
            message = self.connection.receive(timeout=25)
            if message.header.message_type is MessageType.method_call:
                return message


def answered(bus, name, call, answer):
    """The result of a call to a daemon that replies in a separate process."""
    # The server has to own the name before the process forks.
    server = Server(bus.address, name)
    child = os.fork()
    if child == 0:
        try:
            answer(server, server.next_call())
            signal.pause()
        finally:
            os._exit(0)
    server.connection.sock.close()
    try:
        return call()
    finally:
        os.kill(child, signal.SIGKILL)
        os.waitpid(child, 0)


def replying(signature, *values):
    return lambda server, call: server.connection.send(new_method_return(call, signature, values))


def check(raised, kind, reason, name, text=None):
    assert type(raised.value) is kind
    assert raised.value.reason is reason
    assert raised.value.error_name == name
    assert raised.value.error_text == str(raised.value) and raised.value.error_text
    if text is not None:
        assert text in raised.value.error_text


def test_absent_daemon(client):
    for call in (client.getError, client.enableAudioAmp, client.supplySKUList):
        with pytest.raises(hnipc.CallFailed) as raised:
            call(*[True] * (call == client.enableAudioAmp))
        check(raised, hnipc.NotSent, Reason.DaemonAbsent, ERROR + "ServiceUnknown",
              "is not on the bus")


def test_refusing_daemon(bus, client):
    def refuse(server, call):
        server.connection.send(new_error(call, "org.example.Busy", "s", ("not now",)))

    with pytest.raises(hnipc.CallFailed) as raised:
        answered(bus, "org.hnipc.m4", client.getError, refuse)
    check(raised, hnipc.Refused, Reason.DaemonError, "org.example.Busy", "not now")


@pytest.mark.parametrize("name", ["NoReply", "ServiceUnknown", "AccessDenied", "Timeout"])
def test_errors_with_names_of_the_bus_are_the_daemons_if_it_sends_them(bus, client, name):
    def refuse(server, call):
        server.connection.send(new_error(call, ERROR + name))

    with pytest.raises(hnipc.CallFailed) as raised:
        answered(bus, "org.hnipc.m4", client.getError, refuse)
    check(raised, hnipc.Refused, Reason.DaemonError, ERROR + name)


def test_silent_daemon(bus, client):
    with pytest.raises(hnipc.CallFailed) as raised:
        answered(bus, "org.hnipc.m4", lambda: client.getError(timeout=0.05), lambda *_: None)
    check(raised, hnipc.Unknown, Reason.TimedOut, ERROR + "Timeout",
          "org.hnipc.m4 did not reply within 0.05 s")


def test_the_deadline_of_the_object(bus):
    with hnipc.Printer(bus.address, timeout=0.5) as printer:
        with pytest.raises(hnipc.Unknown, match="within 0.5 s"):
            answered(bus, "org.hnipc.m4", printer.getError, lambda *_: None)
        printer.timeout = 0.25
        with pytest.raises(hnipc.Unknown, match="within 0.25 s"):
            answered(bus, "org.hnipc.m4", printer.getError, lambda *_: None)
        printer.timeout = 0
        with pytest.raises(ValueError, match="timeout"):
            printer.getError()


def test_a_late_reply_is_not_taken_for_that_of_the_next_call(bus, client):
    def late(server, first):
        second = server.next_call()
        server.connection.send(new_method_return(first, "i", (1,)))
        server.connection.send(new_method_return(second, "i", (2,)))

    def calls():
        with pytest.raises(hnipc.Unknown):
            client.getError(timeout=0.05)
        return client.getError()

    assert answered(bus, "org.hnipc.m4", calls, late) == 2
    assert client._link.inbox.replies == {}


class Interrupt(BaseException):
    """Replaces KeyboardInterrupt, which would end pytest."""


def state_of(process):
    """The state as ps prints it: S if the process sleeps."""
    with open(f"/proc/{process}/stat", encoding="utf-8") as stat:
        return stat.read().rsplit(")", 1)[1].split()[0]


def test_a_reply_to_an_interrupted_call_is_not_taken_for_that_of_the_next(bus, client):
    def interrupt(*_):
        raise Interrupt

    def late(server, first):
        while state_of(os.getppid()) != "S":  # blocked; an earlier interrupt ends the connection
            pass
        os.kill(os.getppid(), signal.SIGUSR1)
        second = server.next_call()
        server.connection.send(new_method_return(first, "i", (1,)))
        server.connection.send(new_method_return(second, "i", (2,)))

    def calls():
        with pytest.raises(Interrupt):
            client.getError()
        return client.getError()

    before = signal.signal(signal.SIGUSR1, interrupt)
    try:
        assert answered(bus, "org.hnipc.m4", calls, late) == 2
    finally:
        signal.signal(signal.SIGUSR1, before)


class Interrupted:
    """A socket that is interrupted within a message."""

    def __init__(self, sock):
        self.sock = sock

    def __getattr__(self, name):
        return getattr(self.sock, name)

    def sendall(self, data):
        self.sock.sendall(data[:20])
        raise Interrupt


def test_a_call_whose_sending_is_interrupted_ends_the_connection(client):
    client._link.connection.sock = Interrupted(client._link.connection.sock)
    with pytest.raises(Interrupt):
        client.getError()
    with pytest.raises(hnipc.NotSent, match="is closed or was lost"):
        client.getError()


def test_an_interrupt_within_a_message_ends_the_connection(bus, client, monkeypatch):
    def interrupt(*_):
        raise Interrupt

    for place in ("add_data", "get_next_message"):
        with hnipc.Printer(bus.address) as printer:
            with monkeypatch.context() as patch:
                patch.setattr(printer._link.connection.parser, place, interrupt)
                with pytest.raises(Interrupt):
                    printer.getError()
            with pytest.raises(hnipc.NotSent, match="is closed or was lost"):
                printer.getError()


@pytest.mark.parametrize("forged", [
    new_signal(DBusAddress("/", interface="org.example"), "Forged", "i", (1,)),
    new_method_call(DBusAddress("/", "x.y", "org.example"), "Forged", "i", (1,))])
def test_other_messages_with_a_reply_serial_are_ignored(bus, client, forged):
    stranger = Peer(bus.address)

    def forge_first(server, call):
        forged.header.fields[HeaderFields.destination] = call.header.fields[HeaderFields.sender]
        forged.header.fields[HeaderFields.reply_serial] = call.header.serial
        stranger.connection.send(forged)
        stranger.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                      "GetId")
        server.connection.send(new_method_return(call, "i", (2,)))

    assert answered(bus, "org.hnipc.m4", client.getError, forge_first) == 2


def test_a_printer_in_a_forked_process(client):
    child = os.fork()
    if child == 0:
        status = 1
        try:
            for act in (client.getError, lambda: next(client.events())):
                with pytest.raises(RuntimeError, match="before a fork"):
                    act()
            client.close()
            with hnipc.Printer(client.address) as own:
                with pytest.raises(hnipc.NotSent, match="is not on the bus"):
                    own.getError()
            status = 0
        finally:
            os._exit(status)
    assert os.waitpid(child, 0)[1] == 0
    with pytest.raises(hnipc.NotSent, match="is not on the bus"):
        client.getError()


def test_dying_daemon(bus, client):
    with pytest.raises(hnipc.CallFailed) as raised:
        answered(bus, "org.hnipc.m4", client.getError, lambda *_: os._exit(1))
    check(raised, hnipc.Unknown, Reason.DaemonLeft, ERROR + "NoReply",
          "org.hnipc.m4 left the bus before it replied")


@pytest.mark.parametrize("method, signature, values", [
    ("getError", None, ()), ("getError", "u", (1,)), ("getError", "s", ("1",)),
    ("getError", "v", (("i", 1),)), ("getError", "(i)", ((1,),)), ("dac0", "i", (1,)),
    ("printerLid", "i", (1,)), ("m4Version", "as", (["1"],)), ("supplyColorHash", "a{ss}", ({},)),
    ("supplyInformation", "s", ("",)), ("supplyInformation", "a{sv}", ({},)),
    ("supplyInformation", None, ()), ("supplySKUList", "s", ("",))])
def test_reply_of_another_type(bus, client, method, signature, values):
    name = "org.hnipc.supplyd" if method.startswith("supply") else "org.hnipc.m4"
    with pytest.raises(hnipc.CallFailed) as raised:
        answered(bus, name, getattr(client, method), replying(signature, *values))
    check(raised, hnipc.Unknown, Reason.WrongType, ERROR + "InvalidSignature",
          f"replied with the type \"{signature or ''}\"")


def test_reply_with_more_values(bus, client):
    assert answered(bus, "org.hnipc.m4", client.getError, replying("is", 5, "more")) == 5
    assert answered(bus, "org.hnipc.ioexpd", client.printerSoftCancel, replying("i", 5)) is None


def test_nested_values_are_plain(bus, client):
    answer = replying("a{sv}", {"a": ("v", ("i", 1)), "b": ("ay", b"\0"), "c": ("as", ["x"]),
                                "d": ("a{sv}", {"e": ("d", 0.5)}), "f": ("(is)", (1, "y")),
                                "g": ("av", [("s", "z"), ("b", True)])})
    assert answered(bus, "org.hnipc.supplyd", client.supplyColorHash, answer) == {
        "a": 1, "b": b"\0", "c": ["x"], "d": {"e": 0.5}, "f": (1, "y"), "g": ["z", True]}


# A record with a different value in each field.
TELLING = {
    "text1": "text ä 1", "textList1": ["list", "", "one"], "real1": 1.5, "integer1": 101,
    "text2": "text 2", "real2": -2.25, "integer2": -102, "text3": "text 3",
    "integer3": 2147483647, "text4": "text 4", "integer4": -2147483648, "text5": "text 5",
    "real3": 3.125, "integer5": 105, "bytes1": b"\x00\xff\x00\x7f", "real4": 4.5, "real5": 5.5,
    "integer6": 106, "integer7": 107, "integer8": 108, "real6": 6.5, "real7": 7.5, "real8": 8.5,
    "real9": 9.5, "textList2": ["list two"], "variantList1": [("i", 1), ("s", "two")],
    "variantList2": [("b", True)], "variantList3": [("u", 3), ("t", 33)],
    "variantList4": [("d", 4.5)], "variantList5": [("s", "five"), ("i", 5), ("as", ["v", "w"])]}
FIELDS = [(row[0], row[1]) for row in rows("record.h", "recordFields")]


def plain(name):
    value = TELLING[name]
    return [each for _, each in value] if name.startswith("variantList") else value


def up_to(count):
    return hnipc.SupplyInformation(**{name: plain(name) for name, _ in FIELDS[:count]})


def record(bus, client, signature, values):
    return answered(bus, "org.hnipc.supplyd", client.supplyInformation,
                    replying(f"({signature})", tuple(values)))


def test_whole_record(bus, client):
    values = [TELLING[name] for name, _ in FIELDS]
    signature = "".join(kind for _, kind in FIELDS)
    assert f"({signature})" == RECORD
    assert record(bus, client, signature, values) == up_to(30)
    assert record(bus, client, signature + "si", values + ["more", 1]) == up_to(30)


@pytest.mark.parametrize("count", range(1, 30))
def test_record_that_is_short_or_has_another_member(bus, client, count):
    values = [TELLING[name] for name, _ in FIELDS]
    kinds = [kind for _, kind in FIELDS]
    assert record(bus, client, "".join(kinds[:count]), values[:count]) == up_to(count)
    kinds[count], values[count] = "x", 7
    assert record(bus, client, "".join(kinds), values) == up_to(count)


def test_no_bus():
    for address in ("unix:path=/nonexistent/bus", "unix:abstract=no-such-bus", "tcp:host=x",
                    "nonsense", "unix:"):
        with pytest.raises(hnipc.CallFailed) as raised:
            hnipc.Printer(address)
        check(raised, hnipc.NotSent, Reason.BusLost, ERROR + "Disconnected", address)


def test_the_address_of_the_environment(monkeypatch):
    monkeypatch.setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/named")
    with pytest.raises(hnipc.NotSent, match="/nonexistent/named"):
        hnipc.Printer()


def test_lost_bus_during_a_call(bus, client):
    with pytest.raises(hnipc.CallFailed) as raised:
        answered(bus, "org.hnipc.m4", client.getError, lambda *_: bus.kill())
    check(raised, hnipc.Unknown, Reason.BusLost, ERROR + "Disconnected")
    for _ in range(2):
        with pytest.raises(hnipc.CallFailed) as raised:
            client.getError()
        check(raised, hnipc.NotSent, Reason.BusLost, ERROR + "Disconnected")


@pytest.mark.parametrize("wait", [
    lambda client: next(client.events()), lambda client: next(client.events(timeout=25)),
    lambda client: client.availability(), lambda client: client.wait_for_daemon("m4"),
    lambda client: client.expect("Error").__enter__()])
def test_lost_bus_during_a_wait(bus, client, wait):
    bus.kill()
    with pytest.raises(hnipc.CallFailed) as raised:
        wait(client)
    assert raised.value.reason is Reason.BusLost


def test_lost_bus_during_expect(bus, client):
    with pytest.raises(hnipc.CallFailed):
        with client.expect("Error"):
            bus.kill()


def test_halted_bus(bus, client):
    bus.signal(signal.SIGSTOP)
    with pytest.raises(hnipc.CallFailed) as raised:
        client.getError(timeout=0.05)
    check(raised, hnipc.Unknown, Reason.TimedOut, ERROR + "Timeout")
    with pytest.raises(hnipc.NotSent):
        hnipc.Printer(bus.address, timeout=0.05)
    bus.signal(signal.SIGCONT)
    with pytest.raises(hnipc.NotSent, match="org.hnipc.m4 is not on the bus"):
        client.getError()


def test_a_call_that_the_halted_bus_does_not_accept_is_not_sent(bus, client):
    bus.signal(signal.SIGSTOP)
    with pytest.raises(hnipc.CallFailed) as raised:
        client.supplyMaterialName("x" * 16 * 1024 * 1024, timeout=0.2)
    check(raised, hnipc.NotSent, Reason.TimedOut, ERROR + "Timeout", "did not accept the call")
    with pytest.raises(hnipc.CallFailed) as raised:
        client.getError()
    check(raised, hnipc.NotSent, Reason.BusLost, ERROR + "Disconnected")


def test_closed_printer(bus):
    printer = hnipc.Printer(bus.address)
    printer.close()
    printer.close()
    with pytest.raises(hnipc.NotSent, match="is closed or was lost"):
        printer.getError()


def test_refused_by_the_policy_of_the_bus(tmp_path, bus):
    # A separate bus, whose policy denies all calls to the print engine.
    config = tmp_path / "bus.conf"
    config.write_text("""<busconfig><type>system</type><listen>unix:tmpdir=/tmp</listen>
        <policy context="default"><allow user="*"/><allow own="*"/><allow send_destination="*"/>
        <allow receive_sender="*"/><deny send_destination="org.hnipc.m4"/></policy></busconfig>""")
    strict = Bus(config)
    try:
        server = Server(strict.address, "org.hnipc.m4")
        with hnipc.Printer(strict.address) as printer:
            with pytest.raises(hnipc.CallFailed) as raised:
                printer.getError()
            check(raised, hnipc.NotSent, Reason.AccessDenied, ERROR + "AccessDenied")
        server.close()
    finally:
        strict.stop()


def test_bus_and_daemons_end_with_the_tests():
    reader, writer = os.pipe()
    tests = os.fork()
    if tests == 0:
        bus = Bus()
        daemon = bus.start(f"{os.environ['HNIPC_TEST_DAEMON_DIR']}/hnipc-test-m4")
        os.write(writer, f"{bus.pid} {daemon.pid}".encode())
        signal.pause()
    processes = os.read(reader, 100).decode().split()
    os.kill(tests, signal.SIGKILL)
    os.waitpid(tests, 0)
    for process in processes:
        with contextlib.suppress(FileNotFoundError):
            while pathlib.Path(f"/proc/{process}/cmdline").read_bytes():
                time.sleep(0.01)
    os.close(reader)
    os.close(writer)
