# SPDX-License-Identifier: MIT
"""What is said to a daemon, and what its reply means. Nothing here reads or writes."""

from __future__ import annotations

import enum
import functools
import math
import operator
import os
import time
from collections import deque
from typing import Any, Callable, Deque, Dict, List, NamedTuple, Optional, Tuple, Type, Union

from jeepney import (  # type: ignore[import]
    DBusAddress, HeaderFields, Message, MessageFlag, MessageType, new_method_call)

from .events import EVENTS
from .record import MEMBERS, SupplyInformation

BUS = "org.freedesktop.DBus"
BUS_NAMES = {"ioexpd": "org.hnipc.ioexpd", "m4": "org.hnipc.m4", "supplyd": "org.hnipc.supplyd"}
INTERFACES = {"ioexpd": "local.IHNIPCIOEXPD", "m4": "local.IHNIPCM4",
              "supplyd": "local.IHNIPCSUPPLYD"}
OMITTED: Any = object()


# ---- Failures --------------------------------------------------------------------------------

class Reason(enum.Enum):
    """Why a call has no answer, with the names of the C++ library."""

    DaemonError = "the daemon's own error"
    DaemonAbsent = "the daemon is not running"
    AccessDenied = "the bus does not let this user call the daemon"
    BusError = "the bus sent another error in place of the daemon"
    BusLost = "there is no bus, or its connection was lost"
    TimedOut = "the deadline passed"
    DaemonLeft = "the daemon left the bus before it replied"
    WrongType = "the reply is not of the declared type"


class CallFailed(Exception):
    """A call without an answer. Its subclass says whether the daemon can have carried it out."""

    def __init__(self, reason: Reason, error_name: str, error_text: str) -> None:
        super().__init__(error_text)
        self.reason = reason
        self.error_name = error_name
        self.error_text = error_text


class NotSent(CallFailed):
    """The daemon has not received the call: trying again is safe."""


class Refused(CallFailed):
    """The daemon replied with an error: see error_name and error_text."""


class Unknown(CallFailed):
    """The daemon may or may not have carried out the call."""


def standard(name: str) -> str:
    return "org.freedesktop.DBus.Error." + name


def no_bus(why: object) -> NotSent:
    return NotSent(Reason.BusLost, standard("Disconnected"), f"there is no bus: {why}")


def bus_lost(daemon: Optional[str] = None) -> CallFailed:
    """Without a daemon, nothing was sent."""
    if daemon is None:
        return NotSent(Reason.BusLost, standard("Disconnected"), "the bus was lost")
    return Unknown(Reason.BusLost, standard("Disconnected"),
                   f"the bus was lost before {daemon} replied")


def timed_out(daemon: str, seconds: Optional[float], is_sent: bool) -> CallFailed:
    if is_sent:
        return Unknown(Reason.TimedOut, standard("Timeout"),
                       f"{daemon} did not reply within {seconds:g} s")
    return NotSent(Reason.TimedOut, standard("Timeout"),
                   f"the bus did not take the call to {daemon} within {seconds:g} s")


# ---- Arguments -------------------------------------------------------------------------------

class Method(NamedTuple):
    """One form of a method."""

    daemon: str
    name: str
    parameters: Tuple[Tuple[str, str], ...]  # name and D-Bus type
    result: str

    @property
    def signature(self) -> str:
        return "".join(kind for _, kind in self.parameters)


class Misfit(Exception):
    """A value that does not fit, and what would."""

    def __init__(self, expected: str, kind: Type[Exception]) -> None:
        super().__init__(expected)
        self.kind = kind


def integer(low: int, high: int) -> Callable[[Any], int]:
    def fit(value: Any) -> int:
        if type(value) is not int:
            if isinstance(value, bool) or not hasattr(type(value), "__index__"):
                raise Misfit(f"an int from {low} to {high}", TypeError)
            value = operator.index(value)
        if not low <= value <= high:
            raise Misfit(f"an int from {low} to {high}", ValueError)
        return int(value)
    return fit


def boolean(value: Any) -> bool:
    if not isinstance(value, bool):
        raise Misfit("a bool", TypeError)
    return value


def number(value: Any) -> float:
    if isinstance(value, bool) or not isinstance(value, (int, float)):
        raise Misfit("a float", TypeError)
    return float(value)


def string(value: Any) -> str:
    if not isinstance(value, str):
        raise Misfit("a str", TypeError)
    if "\0" in value or not value.isascii() and any("\ud800" <= c <= "\udfff" for c in value):
        raise Misfit("a str without NUL characters and surrogates", ValueError)
    return value


def strings(value: Any) -> List[str]:
    if not isinstance(value, (list, tuple)):
        raise Misfit("a list of str", TypeError)
    return [string(element) for element in value]


def octets(value: Any) -> bytes:
    if not isinstance(value, (bytes, bytearray, memoryview)):
        raise Misfit("a bytes object", TypeError)
    return bytes(value)


def variant(value: Any) -> Tuple[str, Any]:
    """A value that carries its D-Bus type with it."""
    if isinstance(value, bool):
        return "b", value
    if isinstance(value, int):
        for kind in "ixt":
            try:
                return kind, FIT[kind](value)
            except Misfit:
                pass
        raise Misfit("an int of at most 64 bits", ValueError)
    if isinstance(value, float):
        return "d", value
    if isinstance(value, str):
        return "s", string(value)
    if isinstance(value, (bytes, bytearray)):
        return "ay", bytes(value)
    if isinstance(value, dict):
        return "a{sv}", table(value)
    if isinstance(value, (list, tuple)):
        is_strings = bool(value) and all(isinstance(element, str) for element in value)
        return ("as", strings(value)) if is_strings else ("av", variants(value))
    raise Misfit("a bool, int, float, str, bytes, list or dict", TypeError)


def variants(value: Any) -> List[Tuple[str, Any]]:
    if not isinstance(value, (list, tuple)):
        raise Misfit("a list", TypeError)
    return [variant(element) for element in value]


def table(value: Any) -> Dict[str, Tuple[str, Any]]:
    if not isinstance(value, dict):
        raise Misfit("a dict", TypeError)
    return {string(key): variant(element) for key, element in value.items()}


def record(value: Any) -> Tuple[Any, ...]:
    if not isinstance(value, SupplyInformation):
        raise Misfit("a SupplyInformation", TypeError)
    return tuple(FIT[kind](getattr(value, name)) for name, kind in MEMBERS)


RECORD = "(" + "".join(kind for _, kind in MEMBERS) + ")"
FIT: Dict[str, Callable[[Any], Any]] = {
    "b": boolean, "i": integer(-2**31, 2**31 - 1), "u": integer(0, 2**32 - 1),
    "x": integer(-2**63, 2**63 - 1), "t": integer(0, 2**64 - 1), "d": number, "s": string,
    "as": strings, "ay": octets, "v": variant, "av": variants, "a{sv}": table, RECORD: record}


def given(*arguments: Any) -> Tuple[Any, ...]:
    """The arguments without those that were left out."""
    return tuple(argument for argument in arguments if argument is not OMITTED)


def fitting(forms: Tuple[Method, ...], arguments: Tuple[Any, ...]) -> Tuple[Method, Tuple[Any, ...]]:
    """The form that the arguments fit, and the arguments in its types."""
    furthest = -1  # those that came furthest are what was meant
    misfits: Dict[str, Type[Exception]] = {}
    for form in forms:
        if len(form.parameters) != len(arguments):
            continue
        fitted = []
        try:
            for argument, parameter in zip(arguments, form.parameters):
                fitted.append(FIT[parameter[1]](argument))
            return form, tuple(fitted)
        except Misfit as misfit:
            if len(fitted) > furthest:
                furthest, misfits = len(fitted), {}
            if len(fitted) == furthest:
                misfits[str(misfit)] = misfit.kind
    if not misfits:
        counts = sorted({len(form.parameters) for form in forms})
        raise TypeError(f"{forms[0].name}: it takes {' or '.join(map(str, counts))} arguments, "
                        f"not {len(arguments)}")
    longest = max(forms, key=lambda form: len(form.parameters)).parameters
    # A number out of range is of the right kind for one of the forms.
    kind = ValueError if ValueError in misfits.values() else TypeError
    raise kind(f"{forms[0].name}: argument {furthest + 1} ({longest[furthest][0]}): "
               f"{arguments[furthest]!r} is not {' or '.join(misfits)}")


def seconds_of(timeout: Any) -> Optional[float]:
    """None for no limit."""
    if isinstance(timeout, bool) or not isinstance(timeout, (int, float)):
        raise TypeError(f"timeout: {timeout!r} is not a number of seconds")
    if not timeout > 0:
        raise ValueError(f"timeout: {timeout!r} is not a number of seconds above 0")
    return None if timeout == math.inf else float(timeout)


def deadline_of(seconds: Optional[float]) -> Optional[float]:
    """On the clock of time.monotonic(); None for never."""
    return None if seconds is None or seconds == math.inf else time.monotonic() + seconds


@functools.lru_cache(maxsize=None)
def address_of(daemon: str) -> Any:
    return DBusAddress("/", bus_name=BUS_NAMES[daemon], interface=INTERFACES[daemon])


def call_message(form: Method, arguments: Tuple[Any, ...]) -> Any:
    message = new_method_call(address_of(form.daemon), form.name, form.signature or None, arguments)
    message.header.flags |= MessageFlag.no_auto_start
    return message


def bus_message(member: str, signature: Optional[str] = None, *arguments: Any) -> Any:
    return new_method_call(DBusAddress("/org/freedesktop/DBus", bus_name=BUS, interface=BUS),
                           member, signature, arguments)


# ---- Replies ---------------------------------------------------------------------------------

@functools.lru_cache(maxsize=1000)
def complete_types(signature: str) -> Tuple[str, ...]:
    """The single complete types of a signature, which the bus has checked."""
    result, start, depth = [], 0, 0
    for place, code in enumerate(signature):
        depth += (code in "({") - (code in ")}")
        if depth == 0 and code != "a":
            result.append(signature[start:place + 1])
            start = place + 1
    return tuple(result)


def plain(value: Any, signature: str) -> Any:
    """What the binding read, without the types that variants carry."""
    if signature == "v":
        return plain(value[1], value[0])
    if signature == "ay":
        return bytes(value)
    if signature.startswith("a{"):
        key, element = complete_types(signature[2:-1])
        return {plain(name, key): plain(each, element) for name, each in value.items()}
    if signature.startswith("a"):
        return [plain(element, signature[1:]) for element in value]
    if signature.startswith("("):
        return tuple(map(plain, value, complete_types(signature[1:-1])))
    return value


def read_record(value: Tuple[Any, ...], signature: str) -> SupplyInformation:
    """Up to the first member that is missing or of another type, as the C++ library reads it."""
    result = SupplyInformation()
    for member, kind, (name, expected) in zip(value, complete_types(signature[1:-1]), MEMBERS):
        if kind != expected:
            break
        setattr(result, name, plain(member, kind))
    return result


def judge(form: Method, reply: Any) -> Any:
    """The value of a reply, or the exception that it means."""
    fields = reply.header.fields
    busname = BUS_NAMES[form.daemon]
    if reply.header.message_type is MessageType.error:
        raise failure(busname, fields.get(HeaderFields.error_name, ""), reply.body,
                      fields.get(HeaderFields.sender) == BUS)
    if not form.result:
        return None
    types = complete_types(fields.get(HeaderFields.signature, ""))
    if types and types[0] == form.result and form.result != RECORD:
        value = reply.body[0]
        return plain(value, form.result) if form.result[0] == "a" else value
    if types and types[0][0] == "(" and form.result == RECORD:
        return read_record(reply.body[0], types[0])
    raise Unknown(Reason.WrongType, standard("InvalidSignature"),
                  f"{busname} replied with the type \"{''.join(types)}\" in place of "
                  f"\"{form.result}\"")


def failure(busname: str, name: str, body: Tuple[Any, ...], is_of_bus: bool) -> CallFailed:
    text = body[0] if body and isinstance(body[0], str) else name
    if not is_of_bus:
        return Refused(Reason.DaemonError, name, text)
    if name == standard("NoReply"):
        return Unknown(Reason.DaemonLeft, name, f"{busname} left the bus before it replied")
    if name in (standard("ServiceUnknown"), standard("NameHasNoOwner")):
        return NotSent(Reason.DaemonAbsent, standard("ServiceUnknown"),
                       f"{busname} is not on the bus")
    is_denied = name == standard("AccessDenied")
    return NotSent(Reason.AccessDenied if is_denied else Reason.BusError, name, text)


# ---- Events ----------------------------------------------------------------------------------

class Availability(NamedTuple):
    """Which daemons are running."""

    ioexpd: bool
    m4: bool
    supplyd: bool


Kind = Union[str, Type[Any]]
EVENT_NAMES = {cls.__name__: cls for cls, _ in EVENTS.values()}
BY_MEMBER = {(INTERFACES[daemon], member): (daemon, cls, complete_types(signature))
             for (daemon, member), (cls, signature) in EVENTS.items()}


def kinds_of(kinds: Tuple[Kind, ...]) -> Tuple[Type[Any], ...]:
    """The classes of events that are named; none for all."""
    result: List[Type[Any]] = []
    for kind in kinds:
        cls = EVENT_NAMES.get(kind) if isinstance(kind, str) else kind
        if cls is None or cls not in EVENT_NAMES.values():
            raise ValueError(f"{kind!r} is not an event of the printer")
        result.append(cls)
    return tuple(result)


class Inbox:
    """The events of the printer that nobody has taken yet, and who owns the daemons' names."""

    def __init__(self) -> None:
        self.owners: Dict[str, str] = {}
        self.events: Deque[Tuple[int, Any]] = deque()
        self.count = 0  # of all events that ever came

    def put(self, message: Any) -> None:
        """Any message but a reply."""
        fields = message.header.fields
        if message.header.message_type is not MessageType.signal:
            return
        member, sender = fields.get(HeaderFields.member), fields.get(HeaderFields.sender)
        if sender == BUS:
            if member == "NameOwnerChanged":
                self.owners[message.body[0]] = message.body[2]
            return
        known = BY_MEMBER.get((fields.get(HeaderFields.interface), member))
        if not known or fields.get(HeaderFields.path) != "/":
            return
        daemon, cls, types = known
        signature = fields.get(HeaderFields.signature, "")
        if (self.owners.get(BUS_NAMES[daemon]) == sender
                and complete_types(signature)[:len(types)] == types):
            self.count += 1
            self.events.append((self.count, cls(*message.body[:len(types)])))

    def take(self, kinds: Tuple[Type[Any], ...], after: int = 0,
             suits: Callable[[Any], bool] = lambda event: True) -> Any:
        """The oldest of these events, which leaves the inbox; None if there is none."""
        for place, (number_, event) in enumerate(self.events):
            if number_ > after and (not kinds or type(event) in kinds) and suits(event):
                del self.events[place]
                return event
        return None

    def since(self, after: int) -> List[Any]:
        return [event for number_, event in self.events if number_ > after]

    def availability(self) -> Availability:
        return Availability(*(bool(self.owners.get(name)) for name in BUS_NAMES.values()))


def rules() -> List[str]:
    """What a client asks the bus for: the daemons' signals, and who owns their names."""
    result = []
    for daemon, name in BUS_NAMES.items():
        result.append(f"type='signal',sender='{BUS}',interface='{BUS}',"
                      f"member='NameOwnerChanged',arg0='{name}'")
        result.append(f"type='signal',sender='{name}',path='/',interface='{INTERFACES[daemon]}'")
    return result


class NotExpected(AssertionError):
    """The event that a test expected did not come."""


class Expectation:
    """What expect() waits for; event is what came."""

    def __init__(self, kind: Kind, values: Dict[str, Any]) -> None:
        self.kinds = kinds_of((kind,))
        self.values = values
        self.after = 0
        self.event: Any = None
        unknown = set(values) - set(self.kinds[0]._fields)
        if unknown:
            raise TypeError(f"{self.kinds[0].__name__} has no {' and no '.join(sorted(unknown))}")

    def suits(self, event: Any) -> bool:
        return all(value(getattr(event, name)) if callable(value) else getattr(event, name) == value
                   for name, value in self.values.items())

    def failure(self, inbox: Inbox, seconds: float) -> NotExpected:
        wanted = ", ".join(f"{name}={value!r}" for name, value in self.values.items())
        came = "".join(f"\n    {event!r}" for event in inbox.since(self.after))
        return NotExpected(f"no {self.kinds[0].__name__}({wanted}) came within {seconds:g} s; "
                           + (f"these events came instead:{came}" if came else "no event came"))


def bus_address(address: Optional[str]) -> str:
    """For the binding, which reads the first address of a list."""
    if address is None:
        address = os.environ.get("DBUS_SYSTEM_BUS_ADDRESS")
    return address or "unix:path=/run/dbus/system_bus_socket"


def not_seen(daemon: str, present: bool, seconds: float) -> TimeoutError:
    return TimeoutError(f"{BUS_NAMES[daemon]} did not {'appear' if present else 'disappear'} "
                        f"within {seconds:g} s")


def busname_of(daemon: str) -> str:
    if daemon not in BUS_NAMES:
        raise ValueError(f"{daemon!r} is not one of {', '.join(BUS_NAMES)}")
    return BUS_NAMES[daemon]
