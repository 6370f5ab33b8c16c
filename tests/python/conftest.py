# SPDX-License-Identifier: MIT
"""A private bus without the package's own sandbox, with the test daemons of the tree and a monitor
of all messages."""

import ctypes
import os
import pathlib
import re
import signal
import subprocess
import uuid
import xml.etree.ElementTree
from collections import deque

import pytest
from jeepney import (DBusAddress, HeaderFields, MatchRule, MessageType, message_bus,
                     new_method_call, new_signal)
from jeepney.bus import get_bus
from jeepney.io.blocking import DBusConnection, prep_socket

import hnipc

pytest_plugins = ["pytester"]

TREE = pathlib.Path(__file__).resolve().parents[2]
EXPECTED = TREE / "tests" / "expected"
SERVERS = {"IOEXPD": "ioexpd", "M4": "m4", "SUPPLYD": "supplyd"}
LIBC = ctypes.CDLL(None)
RECORD = "(sasdisdisisisdiayddiiiddddasavavavavav)"


def rows(header, table):
    """The rows of a table that is typed in a header of tests/expected, as tuples of its cells."""
    text = (EXPECTED / header).read_text(encoding="utf-8")
    body = re.search(rf"{table}\[\] = {{\n(.*?)\n}};", text, re.S).group(1)
    found = re.findall(r"^    { (.*?) },$", body, re.S | re.M)
    assert found and len(found) == body.count("\n    {") + 1, f"{header} is not understood"
    for row in found:
        yield tuple(text if text is not None and not bare else bare for text, bare in (
            (cell[0].replace("\\\"", '"') if not cell[1] else None, cell[1])
            for cell in re.findall(r'"((?:[^"\\]|\\.)*)"|([\w-]+)', row)))


def slots():
    """The methods of the client: name, parameters, daemon, types of the call and of the reply, and
    how many arguments can be left out."""
    result = {}
    for signature, _, parameters, server, types, reply, added, *_ in rows(
            "clientslots.h", "clientSlots"):
        name = signature[:signature.index("(")]
        if added != "0":
            result[name][-1]["optional"] += 1
            continue
        result.setdefault(name, []).append({
            "name": name, "daemon": SERVERS[server], "in": types,
            "parameters": parameters.split(",") if parameters else [],
            "out": RECORD if reply == "recordType" else reply, "optional": 0})
    return [form for forms in result.values() for form in forms]


def operations(daemon):
    """The methods that interfaces/ has for a daemon: name, names of the parameters, types."""
    interface = f"local.IHNIPC{daemon}"
    tree = xml.etree.ElementTree.parse(TREE / "interfaces" / f"{interface}.xml")
    for method in tree.find(f"interface[@name='{interface}']").iterfind("method"):
        parameters = method.findall("arg[@direction='in']")
        yield (method.get("name"), tuple(each.get("name") for each in parameters),
               "".join(each.get("type") for each in parameters))


def types_of(signature):
    return re.findall(r"a\{sv\}|a[a-z]|[a-z]", signature)


def start(command, **options):
    """Starts a process that ends with the calling thread, however the test ends."""
    die_with_parent = 1  # PR_SET_PDEATHSIG
    return subprocess.Popen(command, stdout=subprocess.PIPE, **options,
                            preexec_fn=lambda: LIBC.prctl(die_with_parent, signal.SIGKILL))


def end(process):
    process.kill()
    process.wait(60)
    process.stdout.close()


class Bus:
    """A bus that ends with this process."""

    def __init__(self, config=TREE / "data/sandbox-bus.conf"):
        self.process = start(
            ["dbus-daemon", f"--config-file={config}", "--nofork", "--nopidfile",
             f"--address=unix:abstract=hnipc-python-{uuid.uuid4().hex}", "--print-address"])
        self.pid, self.address = self.process.pid, self.process.stdout.readline().decode().strip()
        self.programs = []

    def start(self, program):
        """Starts a daemon, and waits until it prints "ready"."""
        process = start([program], env={**os.environ, "DBUS_SYSTEM_BUS_ADDRESS": self.address})
        self.programs.append(process)
        assert process.stdout.readline() == b"ready\n"
        return process

    def signal(self, number):
        """Sends the signal to the children, too: the bus of dbus-broker is a child."""
        children = pathlib.Path(f"/proc/{self.pid}/task/{self.pid}/children").read_text().split()
        for process in [self.pid, *map(int, children)]:
            os.kill(process, number)

    def kill(self):
        self.signal(signal.SIGKILL)

    def stop(self):
        for process in [*self.programs, self.process]:
            end(process)


class Peer:
    """A bus connection that does not use the package."""

    def __init__(self, address):
        self.connection = DBusConnection(prep_socket(get_bus(address), timeout=25.0))
        self.name = self.connection.unique_name

    def call(self, name, path, interface, member, signature=None, *values):
        place = DBusAddress(path, bus_name=name, interface=interface)
        aside = deque()  # messages before the reply
        with self.connection.filter(MatchRule(), queue=aside):
            reply = self.connection.send_and_get_reply(
                new_method_call(place, member, signature, values), timeout=25)
        self.replies_aside = [message for message in aside
                              if message.header.message_type is not MessageType.signal]
        assert reply.header.message_type is MessageType.method_return, reply.body
        return reply.body

    def own(self, name):
        reply = self.connection.send_and_get_reply(message_bus.RequestName(name, 4), timeout=25)
        assert reply.body == (1,)

    def emit(self, interface, member, signature=None, *values, to=None, path="/"):
        message = new_signal(DBusAddress(path, interface=interface), member, signature, values)
        if to:
            message.header.fields[HeaderFields.destination] = to
        self.connection.send(message)
        self.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetId")

    def close(self):
        self.connection.close()


class Wire(Peer):
    """Records all messages on the bus, from its construction on."""

    def __init__(self, address):
        super().__init__(address)
        self.address = address
        self.call("org.freedesktop.DBus", "/org/freedesktop/DBus",
                  "org.freedesktop.DBus.Monitoring", "BecomeMonitor", "asu", [], 0)

    def calls(self):
        """The calls to the daemons since the last time, as tuples of the compared fields."""
        fence = Peer(self.address)
        result = []
        self.flags = set()
        self.replies = 0
        while True:
            message = self.connection.receive(timeout=25)
            fields = message.header.fields
            if fields.get(HeaderFields.sender) == fence.name:
                break
            if (message.header.message_type is MessageType.method_return
                    and fields[HeaderFields.sender] != "org.freedesktop.DBus"):
                self.replies += 1
            if (message.header.message_type is MessageType.method_call
                    and fields.get(HeaderFields.destination, "").startswith("org.hnipc.")):
                self.flags.add(message.header.flags)
                result.append((fields[HeaderFields.destination], fields[HeaderFields.path],
                               fields[HeaderFields.interface], fields[HeaderFields.member],
                               fields.get(HeaderFields.signature, ""), message.body))
        fence.close()
        return result


@pytest.fixture
def bus(monkeypatch):
    result = Bus()
    monkeypatch.setenv("DBUS_SYSTEM_BUS_ADDRESS", result.address)
    yield result
    result.stop()


@pytest.fixture(scope="module")
def served():
    """A bus with the three test daemons of the tree."""
    result = Bus()
    for daemon in SERVERS.values():
        result.start(f"{os.environ['HNIPC_TEST_DAEMON_DIR']}/hnipc-test-{daemon}")
    yield result
    result.stop()


@pytest.fixture
def client(served):
    with hnipc.Printer(served.address) as result:
        yield result


@pytest.fixture
def wire(served):
    result = Wire(served.address)
    yield result
    result.close()


@pytest.fixture
def peer(bus):
    result = Peer(bus.address)
    yield result
    result.close()
