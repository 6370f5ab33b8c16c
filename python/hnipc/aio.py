# SPDX-License-Identifier: MIT
"""The printer for asyncio: hnipc.Printer with await. Any number of calls may be pending.

    async with hnipc.aio.Printer() as printer:
        async with printer.expect("M4PrintDone"):
            await printer.forwardFeed(steps=400)
"""
# generate.py makes the blocking client from this file: it removes "async", "await", "Async", and
# "# blocking: " before the line that only the blocking client has.

from __future__ import annotations

from typing import (Any, AsyncIterator, Generic, Optional, Tuple, Type, TypeVar, overload)

from jeepney import MessageType  # type: ignore[import]

from . import _core as core
from ._link import AsyncLink
from ._methods import AsyncMethods

E = TypeVar("E")
__all__ = ["Client", "Events", "Expect", "Printer"]


class Client(AsyncLink):
    """A connection that waits for the reply of each call."""

    async def call(self, message: Any, daemon: str, seconds: Optional[float]) -> Any:
        """Sends a call and returns its reply, which may be an error reply."""
        deadline = core.deadline_of(seconds)
        serial = await self.send(message, daemon, seconds)
        replies = self.inbox.replies
        replies[serial] = None
        try:
            reply = await self.until(lambda: replies[serial], deadline, daemon)
        finally:
            del replies[serial]
        if reply is None:
            raise core.timed_out(daemon, seconds, True)
        return reply

    async def ask_bus(self, seconds: Optional[float], member: str, signature: Optional[str] = None,
                      *arguments: Any) -> Any:
        """Calls the bus and returns its reply: True if it is empty, None if it is an error."""
        reply = await self.call(core.bus_message(member, signature, *arguments), "the bus", seconds)
        is_error = reply.header.message_type is MessageType.error
        return None if is_error else reply.body[0] if reply.body else True

    async def subscribe(self, seconds: Optional[float]) -> None:
        for rule in core.rules():
            if await self.ask_bus(seconds, "AddMatch", "s", rule) is None:
                raise core.no_bus(f"{self.address}: it refuses to send the daemons' signals")
        for name in core.BUS_NAMES.values():
            self.inbox.owners[name] = await self.ask_bus(seconds, "GetNameOwner", "s", name) or ""


class Events(Generic[E]):
    """Iterates over events in the order in which they arrived."""

    def __init__(self, printer: Printer, kinds: Tuple[core.Kind, ...],
                 timeout: Optional[float]) -> None:
        self._printer = printer
        self._search = printer._link.inbox.search(core.kinds_of(kinds))
        self._is_synced = timeout is None
        self._deadline = core.deadline_of(timeout)

    def __aiter__(self) -> AsyncIterator[E]:
        return self

    async def __anext__(self) -> E:
        link = self._printer._link
        if not self._is_synced:
            self._is_synced = True
            await self._printer.sync()
        event: Optional[E] = await link.until(self._search.__next__, self._deadline)
        if event is None:
            raise StopAsyncIteration
        return event


class Expect:
    """The context manager of Printer.expect()."""

    def __init__(self, printer: Printer, expected: core.Expectation, timeout: float) -> None:
        self._printer = printer
        self._expected = expected
        self._timeout = timeout

    async def __aenter__(self) -> core.Expectation:
        await self._printer.sync()
        self._expected.after = self._printer._link.inbox.count
        return self._expected

    async def __aexit__(self, kind: Optional[Type[BaseException]], *unused: object) -> None:
        if kind is not None:
            return
        expected, link = self._expected, self._printer._link
        deadline = core.deadline_of(self._timeout)
        await self._printer.sync()
        search = link.inbox.search(expected.kinds, expected.after, expected.suits)
        expected.event = await link.until(search.__next__, deadline)
        if expected.event is None:
            raise expected.failure(link.inbox, self._timeout)


class Printer(AsyncMethods):
    """The printer. Each method is one call of a daemon and returns its reply. A call that fails
    raises NotSent, Refused or Unknown. Invalid arguments raise TypeError or ValueError, and nothing
    is sent. A call is never sent twice.

    address is the address of the bus, by default the system bus. timeout is the deadline of a call
    in seconds; each call can have another one. An object belongs to one thread. Connecting raises
    NotSent if there is no bus, and so does each call after the bus was lost. hnipc.Printer connects
    when it is constructed, hnipc.aio.Printer when its with statement starts.
    """

    def __init__(self, address: Optional[str] = None, *, timeout: float = 25.0) -> None:
        core.seconds_of(timeout)
        self.timeout = timeout
        self._link = Client(address)
        self.address = self._link.address
        # blocking: self._open()

    async def _open(self) -> None:
        seconds = core.seconds_of(self.timeout)
        await self._link.open(seconds)
        try:
            await self._link.subscribe(seconds)
        except BaseException:
            await self._link.close()
            raise

    async def close(self) -> None:
        """Closes the connection to the bus."""
        await self._link.close()

    async def __aenter__(self) -> Printer:
        if not self._link.is_open:
            await self._open()
        return self

    async def __aexit__(self, *unused: object) -> None:
        await self.close()

    async def _call(self, forms: Tuple[core.Method, ...], arguments: Tuple[Any, ...],
                    timeout: Optional[float]) -> Any:
        form, fitted = core.fitting(forms, arguments)
        seconds = core.seconds_of(self.timeout if timeout is None else timeout)
        reply = await self._link.call(core.call_message(form, fitted),
                                      core.BUS_NAMES[form.daemon], seconds)
        return core.judge(form, reply)

    async def sync(self) -> None:
        """Waits until everything has arrived that the bus delivered before this call."""
        await self._link.ask_bus(core.seconds_of(self.timeout), "GetId")

    @overload
    def events(self, *kinds: Type[E], timeout: Optional[float] = None) -> Events[E]:
        ...

    @overload
    def events(self, *kinds: core.Kind, timeout: Optional[float] = None) -> Events[Any]:
        ...

    def events(self, *kinds: Any, timeout: Optional[float] = None) -> Events[Any]:
        """Iterates over the events of the daemons since connecting, in the order in which they
        arrived. kinds are names or classes of hnipc.events; without any, all events. Each event is
        returned by one iteration only. Events of other kinds stay for later iterations.

        The iteration ends timeout seconds after this call; without a timeout, it never ends. With
        0, it returns the events that the bus has delivered before the iteration starts.
        """
        if timeout is not None and timeout != 0:
            core.seconds_of(timeout)
        return Events(self, kinds, timeout)

    def expect(self, kind: core.Kind, *, timeout: float = 5.0, **values: Any) -> Expect:
        """For a with statement: waits after the block until this event has arrived. Raises
        NotExpected if it has not arrived timeout seconds after the block. Events from before the
        block do not count. values are the expected values of the event's parameters, or functions
        that return whether a value is right. events() does not return the event again.
        """
        core.seconds_of(timeout)
        return Expect(self, core.Expectation(kind, values), timeout)

    async def availability(self) -> core.Availability:
        """Which daemons are running."""
        await self.sync()
        return self._link.inbox.availability()

    async def wait_for_daemon(self, daemon: str, present: bool = True, *,
                              timeout: float = 25.0) -> None:
        """Waits until ioexpd, m4 or supplyd is running; with present=False, until it is not. Raises
        TimeoutError after timeout seconds."""
        name, deadline = core.busname_of(daemon), core.deadline_of(core.seconds_of(timeout))
        await self.sync()
        owners = self._link.inbox.owners
        if not await self._link.until(lambda: bool(owners.get(name)) == present or None, deadline):
            raise TimeoutError(f"{name} did not {'appear' if present else 'disappear'} within "
                               f"{timeout:g} s")
