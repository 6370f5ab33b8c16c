# SPDX-License-Identifier: MIT
"""All methods with the test daemons of the tree, by what crosses the bus."""

import asyncio
import enum
import fractions
import math
import numbers

import pytest
from jeepney import MessageFlag

import hnipc
import hnipc.aio
from conftest import RECORD, slots, types_of

# A value of each type, and another one for the second parameter of the type.
SAMPLES = {"b": [True], "i": [-7, 12], "u": [4294967295], "t": [18446744073709551615],
           "s": ["LBL-100060-WH", "ä€🖨", ""], "as": [["RIB-110-CMY", "ß"]]}
RESULTS = {"": type(None), "b": bool, "i": int, "u": int, "t": int, "d": float, "s": str,
           "as": list, "ay": bytes, "a{sv}": dict, RECORD: hnipc.SupplyInformation}
BUS_NAMES = {"ioexpd": "org.hnipc.ioexpd", "m4": "org.hnipc.m4", "supplyd": "org.hnipc.supplyd"}
INTERFACES = {"ioexpd": "local.IHNIPCIOEXPD", "m4": "local.IHNIPCM4",
              "supplyd": "local.IHNIPCSUPPLYD"}
DEFAULTS = {"printerName": "", "panel": 1}


def sample_arguments(types):
    used = {}
    result = []
    for kind in types_of(types):
        values = SAMPLES[kind]
        result.append(values[used.get(kind, 0) % len(values)])
        used[kind] = used.get(kind, 0) + 1
    return result


def call_of(slot, arguments):
    return (BUS_NAMES[slot["daemon"]], "/", INTERFACES[slot["daemon"]], slot["name"], slot["in"],
            tuple(arguments))


@pytest.mark.parametrize("slot", slots(), ids=lambda slot: f"{slot['name']}-{slot['in']}")
def test_method(client, wire, slot):
    arguments = sample_arguments(slot["in"])
    by_position = getattr(client, slot["name"])(*arguments)
    by_name = getattr(client, slot["name"])(**dict(zip(slot["parameters"], arguments)), timeout=20)
    assert type(by_position) is type(by_name) is RESULTS[slot["out"]]
    expected = [call_of(slot, arguments)] * 2
    if slot["optional"]:
        shortened = arguments[:-slot["optional"]]
        getattr(client, slot["name"])(*shortened)
        left_out = [DEFAULTS[name] for name in slot["parameters"][len(shortened):]]
        expected.append(call_of(slot, shortened + left_out))
    assert wire.calls() == expected


def test_three_forms_of_one_method(client, wire):
    assert client.sendMCCMessage(1, 2, 5) is True
    assert client.sendMCCMessage(1, 2, "five") is True
    assert client.sendMCCMessage(1, 2) is True
    assert client.sendMCCMessage(type=1, definedMessage=2, value=18446744073709551615) is True
    assert [(types, values) for _, _, _, _, types, values in wire.calls()] == [
        ("iit", (1, 2, 5)), ("iis", (1, 2, "five")), ("ii", (1, 2)),
        ("iit", (1, 2, 18446744073709551615))]


def test_a_call_starts_no_daemon_and_wants_a_reply(client, wire):
    client.getError()
    client.enableAudioAmp(True)
    assert len(wire.calls()) == 2
    assert wire.flags == {MessageFlag.no_auto_start}


def test_values_that_the_daemon_keeps(client):
    client.setDac(4294967295)
    assert client.dac0() == 4294967295
    client.emitError(-2147483648)
    assert client.getError() == -2147483648
    client.emitError(0)
    assert client.getPrinterStatus("no such printer") != client.getPrinterStatus("labelprinter")


class Number(enum.IntEnum):
    SEVEN = 7


class Whole(fractions.Fraction):
    """Like the integers of numpy: not an int, but registered as an integral number."""


numbers.Integral.register(Whole)


class Indexed:
    """Like the bool of numpy: it has __index__(), and is not an integral number."""

    def __index__(self):
        return 1


@pytest.mark.parametrize("seven", [7, Number.SEVEN, Whole(7)])
def test_whole_numbers_of_any_kind(client, wire, seven):
    client.setDac(seven)
    client.emitAlert(seven)
    assert [values for *_, values in wire.calls()] == [(7,), (7,)]


WRONG = [
    ("forwardFeed", (), TypeError, "steps"),
    ("forwardFeed", (1, 2), TypeError, "positional"),
    ("forwardFeed", ("lots",), TypeError, r"argument 1 \(steps\): 'lots' is not an int from 0 to "
     "4294967295"),
    ("forwardFeed", (b"1",), TypeError, "steps"),
    ("forwardFeed", (1.0,), TypeError, "steps"),
    ("forwardFeed", (True,), TypeError, "steps"),
    ("forwardFeed", (None,), TypeError, "steps"),
    ("forwardFeed", ([1],), TypeError, "steps"),
    ("forwardFeed", (Indexed(),), TypeError, "steps"),
    ("forwardFeed", ("x" * 201,), TypeError, r"\): 'x{199} is not an int"),
    ("forwardFeed", (-1,), ValueError, "steps.*0 to 4294967295"),
    ("forwardFeed", (4294967296,), ValueError, "steps.*0 to 4294967295"),
    ("emitError", (2147483648,), ValueError, "value.*-2147483648 to 2147483647"),
    ("emitError", (-2147483649,), ValueError, "value.*-2147483648 to 2147483647"),
    ("emitError", (math.nan,), TypeError, "value"),
    ("emitError", (1j,), TypeError, "value"),
    ("setSupplyLED", (1,), TypeError, r"value\): 1 is not a bool"),
    ("setSupplyLED", (0,), TypeError, "a bool"),
    ("setSupplyLED", ("true",), TypeError, "a bool"),
    ("setSupplyLED", (None,), TypeError, "a bool"),
    ("enableBacklight", ([],), TypeError, "a bool"),
    ("supplyMaterialName", (5,), TypeError, "sku.*a str"),
    ("supplyMaterialName", (b"LBL",), TypeError, "sku.*a str"),
    ("supplyMaterialName", (None,), TypeError, "sku.*a str"),
    ("supplyMaterialName", ("a\0b",), ValueError, "sku.*NUL"),
    ("supplyMaterialName", ("a\ud800b",), ValueError, "sku.*surrogates"),
    ("supplyMaterialName", ("LBL", 1), TypeError, "argument 2.*printerName"),
    ("supplyInformationBySKUs", ("LBL", "RIB"), TypeError, "ribbonSkus.*a list of str"),
    ("supplyInformationBySKUs", ("LBL", [1]), TypeError, "ribbonSkus"),
    ("supplyInformationBySKUs", ("LBL", {"RIB"}), TypeError, "ribbonSkus"),
    ("supplyInformationBySKUs", ("LBL", ["a\0"]), ValueError, "ribbonSkus"),
    ("supplyRibbonColorName", ("RIB", "1"), TypeError, "panel"),
    ("sendMCCMessage", (1,), TypeError, "definedMessage"),
    ("sendMCCMessage", (1, 2, 3, 4), TypeError, "positional"),
    ("sendMCCMessage", (1, 2, []), TypeError, "value.*18446744073709551615 or a str"),
    ("sendMCCMessage", (1, 2, -1), ValueError, "value.*18446744073709551615"),
    ("sendMCCMessage", (1, 2, 18446744073709551616), ValueError, "value"),
    ("sendMCCMessage", (1, 2, 3.0), TypeError, "value"),
    ("sendMCCMessage", (1, 2, None), TypeError, "value"),
    ("sendMCCMessage", (1, "2", 3), TypeError, "argument 2.*definedMessage"),
]


@pytest.mark.parametrize("method, arguments, kind, text", WRONG)
def test_wrong_arguments_are_refused_and_not_sent(client, wire, method, arguments, kind, text):
    with pytest.raises(kind, match=text) as raised:
        getattr(client, method)(*arguments)
    assert method in str(raised.value)
    assert wire.calls() == []


@pytest.mark.parametrize("timeout, kind", [
    (0, ValueError), (-1, ValueError), (math.nan, ValueError), ("5", TypeError), (True, TypeError)])
def test_wrong_deadlines_are_refused_and_not_sent(client, wire, served, timeout, kind):
    with pytest.raises(kind, match="timeout"):
        client.getError(timeout=timeout)
    with pytest.raises(kind, match="timeout"):
        hnipc.Printer(served.address, timeout=timeout)
    with pytest.raises(kind, match="timeout"):
        hnipc.aio.Printer(served.address, timeout=timeout)
    assert wire.calls() == []


@pytest.mark.parametrize("timeout", [math.inf, 1e300, 1e10, 3e6, 10**400],
                         ids=["inf", "1e300", "1e10", "3e6", "10**400"])
def test_no_deadline(served, timeout):
    async def inside():
        async with hnipc.aio.Printer(served.address, timeout=timeout) as printer:
            await printer.wait_for_daemon("m4", timeout=timeout)
            async with printer.expect("Error", timeout=timeout):
                await printer.emitError(0, timeout=timeout)

    with hnipc.Printer(served.address, timeout=timeout) as printer:
        assert printer.getError(timeout=timeout) == 0
        printer.wait_for_daemon("m4", timeout=timeout)
        with printer.expect("Error", timeout=timeout):
            printer.emitError(0)
        printer.emitError(0)
        assert next(printer.events(timeout=timeout)) == (0,)
    asyncio.run(inside())


def test_names_that_do_not_exist(client):
    with pytest.raises(AttributeError):
        client.noSuchMethod()
    with pytest.raises(TypeError, match="labels"):
        client.forwardFeed(labels=1)
