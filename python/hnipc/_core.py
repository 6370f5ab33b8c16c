# SPDX-License-Identifier: MIT
"""Builds calls and interprets replies and signals. Nothing here reads or writes."""

from __future__ import annotations

import bisect
import enum
import functools
import os
import time
from collections import deque
from numbers import Integral
from typing import (
    Any, Callable, Deque, Dict, Iterator, List, NamedTuple, Optional, Tuple, Type, Union)

from jeepney import (  # type: ignore[import]
    DBusAddress, HeaderFields, MessageFlag, MessageType, new_method_call)

from .events import EVENTS
from .record import MEMBERS, SupplyInformation

BUS = "org.freedesktop.DBus"
BUS_NAMES = {"ioexpd": "org.hnipc.ioexpd", "m4": "org.hnipc.m4", "supplyd": "org.hnipc.supplyd"}
INTERFACES = {daemon: f"local.IHNIPC{daemon.upper()}" for daemon in BUS_NAMES}
ADDRESSES = {daemon: DBusAddress("/", bus_name=name, interface=INTERFACES[daemon])
             for daemon, name in BUS_NAMES.items()}
OMITTED: Any = object()


# ---- Failures --------------------------------------------------------------------------------

class Reason(enum.Enum):
    """Why a call has failed, with the names of the C++ library."""

    DaemonError = "the daemon's own error"
    DaemonAbsent = "the daemon is not running"
    AccessDenied = "the bus does not let this user call the daemon"
    BusError = "the bus itself replied with another error"
    BusLost = "there is no bus, or its connection was lost"
    TimedOut = "the deadline passed"
    DaemonLeft = "the daemon left the bus before it replied"
    WrongType = "the reply is not of the declared type"


class CallFailed(Exception):
    """A call has failed. The subclass says whether the daemon can have carried it out."""

    def __init__(self, reason: Reason, error_name: str, error_text: str) -> None:
        super().__init__(error_text)
        self.reason = reason
        self.error_name = error_name
        self.error_text = error_text


class NotSent(CallFailed):
    """The daemon has not received the call. It is safe to try again."""


class Refused(CallFailed):
    """The daemon replied with an error: see error_name and error_text."""


class Unknown(CallFailed):
    """The daemon may or may not have carried out the call."""


ERROR = "org.freedesktop.DBus.Error."


def no_bus(why: object) -> NotSent:
    return NotSent(Reason.BusLost, ERROR + "Disconnected", f"there is no bus: {why}")


def bus_lost(daemon: Optional[str] = None) -> CallFailed:
    """For a call that was sent to the daemon; without a daemon, nothing was sent."""
    text = f"the bus was lost before {daemon} replied" if daemon else \
        "the connection to the bus is closed or was lost"
    return (Unknown if daemon else NotSent)(Reason.BusLost, ERROR + "Disconnected", text)


def timed_out(daemon: str, seconds: Optional[float], is_sent: bool) -> CallFailed:
    text = "{} did not reply within {:g} s" if is_sent else \
        "the bus did not accept the call to {} within {:g} s"
    return (Unknown if is_sent else NotSent)(Reason.TimedOut, ERROR + "Timeout",
                                             text.format(daemon, seconds))


# ---- Arguments -------------------------------------------------------------------------------

class Method(NamedTuple):
    """One overload of a method."""

    daemon: str
    name: str
    parameters: Tuple[Tuple[str, str], ...]  # name and D-Bus type
    result: str

    @property
    def signature(self) -> str:
        return "".join(kind for _, kind in self.parameters)


class Misfit(Exception):
    """A value does not fit its D-Bus type. The text says what would fit."""

    def __init__(self, expected: str, kind: Type[Exception]) -> None:
        super().__init__(expected)
        self.kind = kind


RANGES = {"i": (-2**31, 2**31 - 1), "u": (0, 2**32 - 1),
          "x": (-2**63, 2**63 - 1), "t": (0, 2**64 - 1)}
RECORD = "(" + "".join(kind for _, kind in MEMBERS) + ")"
ACCEPTED: Dict[str, Tuple[Any, str]] = {
    "b": (bool, "a bool"), "d": ((int, float), "a float"), "a{sv}": (dict, "a dict"),
    "s": (str, "a str"), "as": ((list, tuple), "a list of str"), "av": ((list, tuple), "a list"),
    "ay": ((bytes, bytearray), "a bytes object"), RECORD: (SupplyInformation, "a supply record")}
VARIANTS: Tuple[Tuple[Any, str], ...] = ((bool, "b"), (int, "i x t"), (float, "d"), (str, "s"),
    ((bytes, bytearray), "ay"), (dict, "a{sv}"), ((list, tuple), "as av"))


def integer(kind: str, value: Any) -> int:
    low, high = RANGES[kind]
    # numpy's integers are Integral. Its bool and arrays are not, although they have __index__().
    if type(value) is not int and (isinstance(value, bool) or not isinstance(value, Integral)):
        raise Misfit(f"an int from {low} to {high}", TypeError)
    if not low <= int(value) <= high:
        raise Misfit(f"an int from {low} to {high}", ValueError)
    return int(value)


def fit(kind: str, value: Any) -> Any:
    """The value as jeepney expects it for this D-Bus type. Raises Misfit if it does not fit."""
    if kind in RANGES:
        return integer(kind, value)
    if kind == "v":
        return variant(value)
    accepted, text = ACCEPTED[kind]
    if not isinstance(value, accepted) or kind == "d" and isinstance(value, bool):
        raise Misfit(text, TypeError)
    if kind == "s":
        if "\0" in value or not value.isascii() and any("\ud800" <= c <= "\udfff" for c in value):
            raise Misfit("a str without NUL characters and surrogates", ValueError)
    elif kind in ("as", "av"):
        return [fit(kind[1], element) for element in value]
    elif kind == "a{sv}":
        return {fit("s", key): variant(element) for key, element in value.items()}
    elif kind == RECORD:
        return tuple(fit(each, getattr(value, name)) for name, each in MEMBERS)
    return float(value) if kind == "d" else bytes(value) if kind == "ay" else value


def fit_all(name: str, signature: str, values: Tuple[Any, ...]) -> Tuple[Any, ...]:
    """The values as jeepney expects them. Raises TypeError or ValueError if one does not fit."""
    types = complete_types(signature)
    if len(types) != len(values):
        raise TypeError(f"{name}: {len(values)} values, expected {len(types)}")
    try:
        return tuple(map(fit, types, values))
    except Misfit as misfit:
        raise misfit.kind(f"{name}: {values!r:.200}: not {misfit}") from None


def variant(value: Any) -> Tuple[str, Any]:
    """A D-Bus variant: the type and the value."""
    misfit = Misfit("a bool, int, float, str, bytes, list or dict", TypeError)
    for kinds in (kinds for accepted, kinds in VARIANTS if isinstance(value, accepted)):
        for kind in kinds.split():
            try:
                return kind, fit(kind, value)
            except Misfit as error:
                misfit = error
        break
    raise misfit


def given(*arguments: Any) -> Tuple[Any, ...]:
    """The arguments without those that were omitted."""
    return tuple(argument for argument in arguments if argument is not OMITTED)


def fitting(forms: Tuple[Method, ...],
            arguments: Tuple[Any, ...]) -> Tuple[Method, Tuple[Any, ...]]:
    """The overload that the arguments fit, and the arguments in its types."""
    furthest = -1  # the error names the types of the overloads that fit the most
    misfits: Dict[str, Type[Exception]] = {}
    for form in forms:
        if len(form.parameters) != len(arguments):
            continue
        fitted = []
        try:
            for argument, parameter in zip(arguments, form.parameters):
                fitted.append(fit(parameter[1], argument))
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
    # A number out of range has the right type for one of the overloads.
    kind = ValueError if ValueError in misfits.values() else TypeError
    raise kind(f"{forms[0].name}: argument {furthest + 1} ({longest[furthest][0]}): "
               f"{arguments[furthest]!r:.200} is not {' or '.join(misfits)}")


LONGEST = 20 * 24 * 3600  # seconds; epoll() refuses longer timeouts, so they become no timeout


def seconds_of(timeout: Any) -> Optional[float]:
    """The timeout as a float; None if it has no limit."""
    if isinstance(timeout, bool) or not isinstance(timeout, (int, float)):
        raise TypeError(f"timeout: {timeout!r} is not a number of seconds")
    if not timeout > 0:
        raise ValueError(f"timeout: {timeout!r} is not a number of seconds above 0")
    return float(timeout) if timeout <= LONGEST else None


def deadline_of(seconds: Optional[float]) -> Optional[float]:
    """The deadline on the clock of time.monotonic(); None for no deadline."""
    return None if seconds is None or seconds > LONGEST else time.monotonic() + seconds


def call_message(form: Method, arguments: Tuple[Any, ...]) -> Any:
    message = new_method_call(ADDRESSES[form.daemon], form.name, form.signature or None, arguments)
    message.header.flags |= MessageFlag.no_auto_start
    return message


def bus_message(member: str, signature: Optional[str] = None, *arguments: Any) -> Any:
    return new_method_call(DBusAddress("/org/freedesktop/DBus", bus_name=BUS, interface=BUS),
                           member, signature, arguments)


# ---- Replies ---------------------------------------------------------------------------------

@functools.lru_cache(maxsize=1000)
def complete_types(signature: str) -> Tuple[str, ...]:
    """The single complete types of a signature. The bus has checked that it is valid."""
    result, start, depth = [], 0, 0
    for place, code in enumerate(signature):
        depth += (code in "({") - (code in ")}")
        if depth == 0 and code != "a":
            result.append(signature[start:place + 1])
            start = place + 1
    return tuple(result)


def plain(value: Any, signature: str) -> Any:
    """The value that jeepney has read, without the types of its variants."""
    if signature[0] not in "av(":
        return value
    if signature == "v":
        return plain(value[1], value[0])
    if signature == "ay":
        return bytes(value)
    if signature.startswith("a{"):
        key, element = complete_types(signature[2:-1])
        return {plain(name, key): plain(each, element) for name, each in value.items()}
    if signature.startswith("a"):
        return [plain(element, signature[1:]) for element in value]
    return tuple(map(plain, value, complete_types(signature[1:-1])))


def read_record(value: Tuple[Any, ...], signature: str) -> SupplyInformation:
    """Reads up to the first member that is missing or of another type, as the C++ library does."""
    result = SupplyInformation()
    for member, kind, (name, expected) in zip(value, complete_types(signature[1:-1]), MEMBERS):
        if kind != expected:
            break
        setattr(result, name, plain(member, kind))
    return result


def judge(form: Method, reply: Any) -> Any:
    """The value of a reply. Raises the exception for an error reply or a wrong type."""
    busname = BUS_NAMES[form.daemon]
    types = types_of(reply, busname)
    if not form.result:
        return None
    if types and types[0] == form.result and form.result != RECORD:
        value = reply.body[0]
        return plain(value, form.result) if form.result[0] == "a" else value
    if types and types[0][0] == "(" and form.result == RECORD:
        return read_record(reply.body[0], types[0])
    raise Unknown(Reason.WrongType, ERROR + "InvalidSignature", f"{busname} replied with the type "
                  f"\"{''.join(types)}\", expected \"{form.result}\"")


def types_of(reply: Any, busname: str) -> Tuple[str, ...]:
    """The D-Bus types of a reply. Raises the exception for an error reply."""
    fields = reply.header.fields
    if reply.header.message_type is MessageType.error:
        raise failure(busname, fields.get(HeaderFields.error_name, ""), reply.body,
                      fields.get(HeaderFields.sender) == BUS)
    return complete_types(fields.get(HeaderFields.signature, ""))


def failure(busname: str, name: str, body: Tuple[Any, ...], is_of_bus: bool) -> CallFailed:
    text = body[0] if body and isinstance(body[0], str) else name
    if not is_of_bus:
        return Refused(Reason.DaemonError, name, text)
    if name == ERROR + "NoReply":
        return Unknown(Reason.DaemonLeft, name, f"{busname} left the bus before it replied")
    if name in (ERROR + "ServiceUnknown", ERROR + "NameHasNoOwner"):
        return NotSent(Reason.DaemonAbsent, ERROR + "ServiceUnknown",
                       f"{busname} is not on the bus")
    is_denied = name == ERROR + "AccessDenied"
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
    """The classes of these events; empty for all events."""
    for kind in kinds:
        if kind not in EVENT_NAMES and kind not in EVENT_NAMES.values():
            raise ValueError(f"{kind!r} is not an event of the printer")
    return tuple(EVENT_NAMES[kind] if isinstance(kind, str) else kind for kind in kinds)


class Inbox:
    """The received replies, events that were not returned yet, and owners of the daemons' names."""

    def __init__(self) -> None:
        self.owners: Dict[str, str] = {}
        self.events: Deque[Tuple[int, Any]] = deque()
        self.count = 0  # of all events that have arrived
        self.replies: Dict[int, Any] = {}  # by serial of the pending call; None until it arrives

    def put(self, message: Any) -> None:
        fields, kind = message.header.fields, message.header.message_type
        if kind is not MessageType.signal:
            serial = fields.get(HeaderFields.reply_serial)
            if serial in self.replies and kind is not MessageType.method_call:
                self.replies[serial] = message
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

    def search(self, kinds: Tuple[Type[Any], ...], after: int = 0,
               suits: Callable[[Any], bool] = lambda event: True) -> Iterator[Any]:
        """Yields the oldest of these events and removes it from the inbox; yields None if there is
        none. Never ends. It looks at each event only once, because an inbox can be long."""
        while True:
            first = bisect.bisect(self.events, after, key=lambda row: row[0])
            for place in range(first, len(self.events)):
                after, event = self.events[place]
                if (not kinds or type(event) in kinds) and suits(event):
                    del self.events[place]
                    yield event
                    break
            else:
                yield None

    def availability(self) -> Availability:
        return Availability(*(bool(self.owners.get(name)) for name in BUS_NAMES.values()))


def rules() -> List[str]:
    """The match rules of a client: the daemons' signals, and changes of their names' owners."""
    return [rule for daemon, name in BUS_NAMES.items() for rule in (
        f"type='signal',sender='{BUS}',interface='{BUS}',member='NameOwnerChanged',arg0='{name}'",
        f"type='signal',sender='{name}',path='/',interface='{INTERFACES[daemon]}'")]


class NotExpected(AssertionError):
    """The event that a test expected has not arrived."""


class Expectation:
    """The event that expect() waits for; event is the one that has arrived."""

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
        came = "".join(f"\n    {event!r}" for count, event in inbox.events if count > self.after)
        text = f"these events arrived instead:{came}" if came else "no event arrived"
        return NotExpected(f"no {self.kinds[0].__name__}({wanted}) within {seconds:g} s; {text}")


def bus_address(address: Optional[str]) -> str:
    """The address of the bus. jeepney uses only the first one of a list."""
    return (address or os.environ.get("DBUS_SYSTEM_BUS_ADDRESS")
            or "unix:path=/run/dbus/system_bus_socket")


def busname_of(daemon: str) -> str:
    if daemon not in BUS_NAMES:
        raise ValueError(f"{daemon!r} is not one of {', '.join(BUS_NAMES)}")
    return BUS_NAMES[daemon]
