# SPDX-License-Identifier: MIT
"""The printer for asyncio: what hnipc.Printer has, with await. Any number of calls may be pending.

    async with hnipc.aio.Printer() as printer:
        async with printer.expect("M4PrintDone"):
            await printer.forwardFeed(steps=400)
"""

from __future__ import annotations

import asyncio
import time
from typing import (Any, AsyncIterator, Callable, Dict, Generic, List, Optional, Tuple, Type,
                    TypeVar, Union, overload)

from jeepney import HeaderFields, MessageType  # type: ignore[import]
from jeepney.io.asyncio import open_dbus_connection  # type: ignore[import]

from . import _core as core
from ._methods import AsyncMethods

E = TypeVar("E")
__all__ = ["Events", "Expect", "Printer"]


class Link:
    """A connection whose messages a task gives to the calls and to the inbox."""

    def __init__(self, connection: Any) -> None:
        self.connection = connection
        self.inbox = core.Inbox()
        self.is_lost = False
        self._replies: Dict[int, asyncio.Future[Any]] = {}
        self._waiting: List[asyncio.Future[None]] = []
        self._task = asyncio.get_running_loop().create_task(self._receive())

    async def _receive(self) -> None:
        while not self.is_lost:
            try:
                message = await self.connection.receive()
            except (EOFError, OSError):
                self.lose()
                return
            except Exception:
                # A message that the binding cannot read. It has been taken off the stream.
                self.connection.parser.next_msg_size = None
                continue
            reply = self._replies.get(message.header.fields.get(HeaderFields.reply_serial))
            if reply is not None:
                if not reply.done():
                    reply.set_result(message)
                continue
            self.inbox.put(message)
            self._wake()

    def _wake(self) -> None:
        waiting, self._waiting = self._waiting, []
        for future in waiting:
            if not future.done():
                future.set_result(None)

    def lose(self) -> None:
        self.is_lost = True
        self.connection.writer.close()
        for reply in self._replies.values():
            if not reply.done():
                reply.set_result(None)
        self._wake()

    async def close(self) -> None:
        self.lose()
        self._task.cancel()
        await asyncio.gather(self._task, return_exceptions=True)

    async def until(self, found: Callable[[], Any], deadline: Optional[float]) -> Any:
        """What is found in the inbox, or None if the deadline passes before."""
        while True:
            result = found()
            if result is not None:
                return result
            if self.is_lost:
                raise core.bus_lost()
            left = None if deadline is None else deadline - time.monotonic()
            if left is not None and left <= 0:
                return None
            changed: asyncio.Future[None] = asyncio.get_running_loop().create_future()
            self._waiting.append(changed)
            await asyncio.wait([changed], timeout=left)

    async def call(self, message: Any, daemon: str, seconds: Optional[float]) -> Any:
        """The reply, whatever it is."""
        if self.is_lost:
            raise core.bus_lost()
        serial = next(self.connection.outgoing_serial)
        future: asyncio.Future[Any] = asyncio.get_running_loop().create_future()
        self._replies[serial] = future
        try:
            # Not drained: what is written is sent before anything that is written later.
            self.connection.writer.write(message.serialise(serial))
            await asyncio.wait([future], timeout=seconds)
            if not future.done():
                raise core.timed_out(daemon, seconds, True)
            if future.result() is None:
                raise core.bus_lost(daemon)
            return future.result()
        finally:
            del self._replies[serial]

    async def ask_bus(self, timeout: float, member: str, signature: Optional[str] = None,
                      *arguments: Any) -> Any:
        message = core.bus_message(member, signature, *arguments)
        reply = await self.call(message, "the bus", core.seconds_of(timeout))
        if reply.header.message_type is MessageType.error:
            return None
        return reply.body[0] if reply.body else True


class Events(Generic[E]):
    """Events in the order in which they came."""

    def __init__(self, printer: Printer, kinds: Tuple[core.Kind, ...],
                 timeout: Optional[float]) -> None:
        self._printer = printer
        self._kinds = core.kinds_of(kinds)
        self._is_synced = timeout is None
        self._deadline = core.deadline_of(timeout)

    def __aiter__(self) -> AsyncIterator[E]:
        return self

    async def __anext__(self) -> E:
        link = self._printer._open_link()
        if not self._is_synced:
            self._is_synced = True
            await self._printer.sync()
        event: Optional[E] = await link.until(lambda: link.inbox.take(self._kinds), self._deadline)
        if event is None:
            raise StopAsyncIteration
        return event


class Expect:
    """The async with statement of Printer.expect()."""

    def __init__(self, printer: Printer, expected: core.Expectation, timeout: float) -> None:
        self._printer = printer
        self._expected = expected
        self._timeout = timeout

    async def __aenter__(self) -> core.Expectation:
        await self._printer.sync()
        self._expected.after = self._printer._open_link().inbox.count
        return self._expected

    async def __aexit__(self, kind: Optional[Type[BaseException]], *unused: object) -> None:
        if kind is not None:
            return
        expected, link = self._expected, self._printer._open_link()
        deadline = core.deadline_of(self._timeout)
        await self._printer.sync()
        expected.event = await link.until(
            lambda: link.inbox.take(expected.kinds, expected.after, expected.suits), deadline)
        if expected.event is None:
            raise expected.failure(link.inbox, self._timeout)


class Printer(AsyncMethods):
    """hnipc.Printer for asyncio. Used as "async with Printer() as printer", which connects; without
    a bus that raises NotSent. A call that is cancelled may have been carried out."""

    def __init__(self, address: Optional[str] = None, *, timeout: float = 25.0) -> None:
        core.seconds_of(timeout)
        self.timeout = timeout
        self.address = core.bus_address(address)
        self._link: Optional[Link] = None

    def _open_link(self) -> Link:
        if self._link is None:
            raise RuntimeError("the printer is used outside of its async with statement")
        return self._link

    async def __aenter__(self) -> Printer:
        try:
            connection = await asyncio.wait_for(open_dbus_connection(self.address),
                                                core.seconds_of(self.timeout))
        except Exception as error:  # the binding raises what its parts raise
            raise core.no_bus(f"{self.address}: {error}") from error
        self._link = link = Link(connection)
        try:
            for rule in core.rules():
                if await link.ask_bus(self.timeout, "AddMatch", "s", rule) is None:
                    raise core.no_bus(f"{self.address}: it refuses to send the daemons' signals")
            for name in core.BUS_NAMES.values():
                owner = await link.ask_bus(self.timeout, "GetNameOwner", "s", name)
                link.inbox.owners[name] = owner or ""
        except BaseException:
            await link.close()
            raise
        return self

    async def __aexit__(self, *unused: object) -> None:
        await self._open_link().close()

    async def _call(self, forms: Tuple[core.Method, ...], arguments: Tuple[Any, ...],
                    timeout: Optional[float]) -> Any:
        form, fitted = core.fitting(forms, arguments)
        seconds = core.seconds_of(self.timeout if timeout is None else timeout)
        reply = await self._open_link().call(core.call_message(form, fitted),
                                             core.BUS_NAMES[form.daemon], seconds)
        return core.judge(form, reply)

    async def sync(self) -> None:
        """See hnipc.Printer.sync()."""
        await self._open_link().ask_bus(self.timeout, "GetId")

    @overload
    def events(self, *kinds: Type[E], timeout: Optional[float] = None) -> Events[E]:
        ...

    @overload
    def events(self, *kinds: Union[str, Type[Any]],
               timeout: Optional[float] = None) -> Events[Any]:
        ...

    def events(self, *kinds: Any, timeout: Optional[float] = None) -> Events[Any]:
        """See hnipc.Printer.events(); for "async for"."""
        if timeout is not None and timeout != 0:
            core.seconds_of(timeout)
        return Events(self, kinds, timeout)

    def expect(self, kind: Union[str, Type[Any]], *, timeout: float = 5.0, **values: Any) -> Expect:
        """See hnipc.Printer.expect(); for "async with"."""
        core.seconds_of(timeout)
        return Expect(self, core.Expectation(kind, values), timeout)

    async def availability(self) -> core.Availability:
        """Which daemons are running."""
        await self.sync()
        return self._open_link().inbox.availability()

    async def wait_for_daemon(self, daemon: str, present: bool = True, *,
                              timeout: float = 25.0) -> None:
        """See hnipc.Printer.wait_for_daemon()."""
        name = core.busname_of(daemon)
        core.seconds_of(timeout)
        await self.sync()
        link = self._open_link()
        seen = await link.until(
            lambda: bool(link.inbox.owners.get(name)) == present or None,
            core.deadline_of(timeout))
        if seen is None:
            raise core.not_seen(daemon, present, timeout)
