# SPDX-License-Identifier: MIT
"""The printer, with calls that wait for the reply."""

from __future__ import annotations

import time
from types import TracebackType
from typing import Any, Generic, Iterator, Optional, Tuple, Type, TypeVar, Union, overload

from jeepney import HeaderFields, MessageType  # type: ignore[import]
from jeepney.bus import get_bus  # type: ignore[import]
from jeepney.io.blocking import DBusConnection, prep_socket  # type: ignore[import]

from . import _core as core
from ._methods import Methods

E = TypeVar("E")


class Link:
    """A connection to the bus that gives each reply to its call, and all else to an inbox."""

    def __init__(self, address: Optional[str], timeout: float) -> None:
        self.address = core.bus_address(address)
        self.inbox = core.Inbox()
        self.is_lost = False
        try:
            self.connection = DBusConnection(prep_socket(get_bus(self.address), timeout=timeout))
        except Exception as error:  # the binding raises what its parts raise
            raise core.no_bus(f"{self.address}: {error}") from error

    def lose(self) -> None:
        self.is_lost = True
        self.connection.close()

    def receive(self, deadline: Optional[float]) -> Any:
        """The next message, or None if the deadline passes before."""
        while not self.is_lost:
            left = None if deadline is None else deadline - time.monotonic()
            if left is not None and left <= 0:  # whatever else has come
                return None
            try:
                return self.connection.receive(timeout=left)
            except TimeoutError:
                return None
            except OSError:
                self.lose()
            except Exception:
                # A message that the binding cannot read. It has been taken off the stream.
                self.connection.parser.next_msg_size = None
        return None

    def send(self, message: Any, deadline: Optional[float]) -> Optional[int]:
        """The serial number of the message, or None if the bus did not take it. Half a message
        cannot be taken back, so the connection ends then."""
        serial = next(self.connection.outgoing_serial)
        left = None if deadline is None else max(deadline - time.monotonic(), 0.001)
        self.connection.sock.settimeout(left)
        try:
            self.connection.send(message, serial=serial)
        except OSError:
            self.lose()
            return None
        return int(serial)

    def call(self, message: Any, daemon: str, seconds: Optional[float]) -> Any:
        """The reply, whatever it is."""
        deadline = core.deadline_of(seconds)
        serial = None if self.is_lost else self.send(message, deadline)
        if serial is None:
            if deadline is not None and time.monotonic() >= deadline:
                raise core.timed_out(daemon, seconds, False)
            raise core.bus_lost()
        while True:
            reply = self.receive(deadline)
            if reply is None:
                raise core.bus_lost(daemon) if self.is_lost else \
                    core.timed_out(daemon, seconds, True)
            if reply.header.fields.get(HeaderFields.reply_serial) == serial:
                return reply
            self.inbox.put(reply)

    def ask_bus(self, timeout: float, member: str, signature: Optional[str] = None,
                *arguments: Any) -> Any:
        """What the bus replies, or None for an error."""
        message = core.bus_message(member, signature, *arguments)
        reply = self.call(message, "the bus", core.seconds_of(timeout))
        if reply.header.message_type is MessageType.error:
            return None
        return reply.body[0] if reply.body else True

    def subscribe(self, timeout: float) -> None:
        for rule in core.rules():
            if self.ask_bus(timeout, "AddMatch", "s", rule) is None:
                raise core.no_bus(f"{self.address}: it refuses to send the daemons' signals")
        for name in core.BUS_NAMES.values():
            self.inbox.owners[name] = self.ask_bus(timeout, "GetNameOwner", "s", name) or ""


class Events(Generic[E]):
    """Events in the order in which they came."""

    def __init__(self, link: Link, kinds: Tuple[core.Kind, ...], timeout: Optional[float]) -> None:
        self._link = link
        self._kinds = core.kinds_of(kinds)
        self._deadline = core.deadline_of(timeout)

    def __iter__(self) -> Iterator[E]:
        return self

    def __next__(self) -> E:
        while True:
            event: Optional[E] = self._link.inbox.take(self._kinds)
            if event is not None:
                return event
            message = self._link.receive(self._deadline)
            if message is None:
                if self._link.is_lost:
                    raise core.bus_lost()
                raise StopIteration
            self._link.inbox.put(message)


class Expect:
    """The with statement of Printer.expect()."""

    def __init__(self, printer: Printer, expected: core.Expectation, timeout: float) -> None:
        self._printer = printer
        self._expected = expected
        self._timeout = timeout

    def __enter__(self) -> core.Expectation:
        self._printer.sync()
        self._expected.after = self._printer._link.inbox.count
        return self._expected

    def __exit__(self, kind: Optional[Type[BaseException]], error: Optional[BaseException],
                 traceback: Optional[TracebackType]) -> None:
        if kind is not None:
            return
        expected, link = self._expected, self._printer._link
        deadline = core.deadline_of(self._timeout)
        self._printer.sync()
        while True:
            expected.event = link.inbox.take(expected.kinds, expected.after, expected.suits)
            if expected.event is not None:
                return
            message = link.receive(deadline)
            if message is None:
                if link.is_lost:
                    raise core.bus_lost()
                raise expected.failure(link.inbox, self._timeout)
            link.inbox.put(message)


class Printer(Methods):
    """The printer. Each method is one call of a daemon and returns its reply. A method without a
    reply raises NotSent, Refused or Unknown; arguments that do not fit raise TypeError or
    ValueError, and nothing is sent. Nothing is ever sent twice.

    address is that of the bus, by default the system bus; timeout is the deadline of a call in
    seconds, which each call can set for itself. An object belongs to one thread. Without a bus the
    constructor raises NotSent, and so does each call after the bus was lost.
    """

    def __init__(self, address: Optional[str] = None, *, timeout: float = 25.0) -> None:
        self.timeout = timeout
        seconds = core.seconds_of(timeout)
        self._link = Link(address, 25.0 if seconds is None else seconds)
        self.address = self._link.address
        try:
            self._link.subscribe(timeout)
        except BaseException:
            self._link.lose()
            raise

    def close(self) -> None:
        """Ends the connection to the bus."""
        if not self._link.is_lost:
            self._link.lose()

    def __enter__(self) -> Printer:
        return self

    def __exit__(self, *unused: object) -> None:
        self.close()

    def _call(self, forms: Tuple[core.Method, ...], arguments: Tuple[Any, ...],
              timeout: Optional[float]) -> Any:
        form, fitted = core.fitting(forms, arguments)
        seconds = core.seconds_of(self.timeout if timeout is None else timeout)
        reply = self._link.call(core.call_message(form, fitted), core.BUS_NAMES[form.daemon],
                                seconds)
        return core.judge(form, reply)

    def sync(self) -> None:
        """Waits until all has arrived that the bus has passed on before this call."""
        self._link.ask_bus(self.timeout, "GetId")

    @overload
    def events(self, *kinds: Type[E], timeout: Optional[float] = None) -> Events[E]:
        ...

    @overload
    def events(self, *kinds: Union[str, Type[Any]],
               timeout: Optional[float] = None) -> Events[Any]:
        ...

    def events(self, *kinds: Any, timeout: Optional[float] = None) -> Events[Any]:
        """Iterates over the events of the daemons in the order in which they came, from the
        construction of this object on. kinds are names or classes of hnipc.events; without any, all
        events. An event is taken by one iteration only, and events of other kinds stay for the next.

        The iteration ends when timeout seconds have passed since this call, or never. With 0, it
        has all events that the bus has passed on before this call.
        """
        if timeout is not None:
            if timeout != 0:
                core.seconds_of(timeout)
            self.sync()
        return Events(self._link, kinds, timeout)

    def expect(self, kind: Union[str, Type[Any]], *, timeout: float = 5.0, **values: Any) -> Expect:
        """A with statement that ends when this event has come, and fails with NotExpected if it has
        not come timeout seconds after the block. Events from before the block do not count. values
        are those of the event's parameters, or functions that judge them. The event is taken.
        """
        core.seconds_of(timeout)
        return Expect(self, core.Expectation(kind, values), timeout)

    def availability(self) -> core.Availability:
        """Which daemons are running."""
        self.sync()
        return self._link.inbox.availability()

    def wait_for_daemon(self, daemon: str, present: bool = True, *, timeout: float = 25.0) -> None:
        """Waits until ioexpd, m4 or supplyd is on the bus, or not; TimeoutError after that time."""
        name = core.busname_of(daemon)
        core.seconds_of(timeout)
        self.sync()
        deadline = core.deadline_of(timeout)
        while bool(self._link.inbox.owners.get(name)) != present:
            message = self._link.receive(deadline)
            if message is None:
                if self._link.is_lost:
                    raise core.bus_lost()
                raise core.not_seen(daemon, present, timeout)
            self._link.inbox.put(message)
