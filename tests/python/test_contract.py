# SPDX-License-Identifier: MIT
"""The package against the tables of the C++ client's tests: every member, and no other."""

import dataclasses
import inspect

import hnipc
import hnipc.aio
from conftest import SERVERS, operations, rows, slots, types_of
from hnipc import _core
from hnipc._methods import METHODS
from hnipc.testing import IOEXPD, M4, SUPPLYD

PYTHON = {"b": "bool", "i": "int", "u": "int", "t": "int", "d": "float", "s": "str",
          "as": "List[str]", "ay": "bytes", "a{sv}": "Dict[str, Any]", "": "None"}
# The daemon has the message without a value; the C++ client does not.
SHORT_MESSAGE = ("sendMCCMessage", ("type", "definedMessage"), "ii")


def forms_of_package():
    return {(form.name, tuple(name for name, _ in form.parameters), form.signature)
            for forms in METHODS.values() for form in forms}


def test_methods_are_those_of_the_table():
    table = {(slot["name"], tuple(slot["parameters"]), slot["in"]) for slot in slots()}
    assert forms_of_package() == table | {SHORT_MESSAGE}


def test_optional_arguments_are_those_of_the_client():
    shorter = {}
    for slot in slots():
        shorter[slot["name"]] = shorter.get(slot["name"], 0) + slot["optional"]
    for name in METHODS:
        if name == "sendMCCMessage":
            continue
        parameters = inspect.signature(getattr(hnipc.Printer, name)).parameters.values()
        defaults = [parameter for parameter in parameters
                    if parameter.default is not parameter.empty and parameter.name != "timeout"]
        assert len(defaults) == shorter[name], name


def test_both_clients_declare_the_types_of_the_table():
    for slot in slots():
        if slot["name"] == "sendMCCMessage":
            continue
        for client in (hnipc.Printer, hnipc.aio.Printer):
            method = getattr(client, slot["name"])
            signature = inspect.signature(method)
            parameters = list(signature.parameters.values())[1:]
            assert [parameter.name for parameter in parameters] == slot["parameters"] + ["timeout"]
            assert [parameter.annotation for parameter in parameters[:-1]] \
                == [PYTHON[kind] for kind in types_of(slot["in"])], slot["name"]
            expected = PYTHON.get(slot["out"], "SupplyInformation")
            assert signature.return_annotation == expected, slot["name"]
            assert method.__doc__
            assert inspect.iscoroutinefunction(method) == (client is hnipc.aio.Printer)


def test_no_other_public_name_is_on_the_client():
    own = {"address", "availability", "close", "events", "expect", "sync", "timeout",
           "wait_for_daemon"}
    for client in (hnipc.Printer, hnipc.aio.Printer):
        names = {name for name in dir(client) if not name.startswith("_")}
        assert names - own == {slot["name"] for slot in slots()}


def test_events_are_those_of_the_table():
    table = {(signature[:signature.index("(")], SERVERS[server], member)
             for _, signature, _, server, member in rows("clientsignals.h", "clientSignals")
             if server in SERVERS}
    assert {(cls.__name__, daemon, member)
            for (daemon, member), (cls, _) in _core.EVENTS.items()} == table


def test_the_record_has_the_fields_of_the_table_with_their_defaults():
    values = {"''": "", "@as []": [], "@ay []": b"", "@av []": []}
    table = [(name, kind, values.get(initial, None)) for name, kind, initial, _ in
             rows("record.h", "recordFields")]
    assert len(table) == 30
    assert [(name, kind) for name, kind, _ in table] == list(_core.MEMBERS)
    default = hnipc.SupplyInformation()
    assert [field.name for field in dataclasses.fields(default)] \
        == ["text0"] + [name for name, _, _ in table]
    for name, kind, initial in table:
        if kind in "di":
            initial = 1 if name == "integer5" else -1
        value = getattr(default, name)
        assert value == initial and type(value) is {"d": float, "i": int}.get(kind, type(initial))
    assert default.text0 == ""


def test_daemons_have_all_methods_of_their_interfaces():
    for cls in (IOEXPD, M4, SUPPLYD):
        expected = set(operations(cls.__name__))
        assert {(form.name, tuple(name for name, _ in form.parameters), form.signature)
                for form in cls.METHODS} == expected
        for name, _, _ in expected:
            assert callable(getattr(cls, name)), name
