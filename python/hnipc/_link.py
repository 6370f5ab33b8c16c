# SPDX-License-Identifier: MIT
"""The connection to the bus, in two forms: one that blocks, and one for asyncio."""

from __future__ import annotations

import asyncio
import os
import time
from typing import Any, Callable, List, Optional

from jeepney.bus import get_bus  # type: ignore[import]
from jeepney.io.asyncio import open_dbus_connection  # type: ignore[import]
from jeepney.io.blocking import DBusConnection, prep_socket, unwrap_read  # type: ignore[import]

from . import _core as core


class Link:
    """A blocking connection. It reads only during receive() and until()."""

    def __init__(self, address: Optional[str]) -> None:
        self.address = core.bus_address(address)
        self.inbox = core.Inbox()
        self.is_open = False
        self.connection: Any = None
        self._process = 0

    def open(self, seconds: Optional[float]) -> None:
        self._process = os.getpid()
        try:
            self.connection = DBusConnection(prep_socket(get_bus(self.address), timeout=seconds))
        except Exception as error:  # jeepney raises many types
            raise core.no_bus(f"{self.address}: {error}") from error
        self.is_open = True

    def close(self) -> None:
        if self.is_open:
            self.is_open = False
            self.connection.close()

    def _check_process(self) -> None:
        """Raises RuntimeError after a fork: two processes that read from one connection would take
        each other's messages."""
        if self.is_open and os.getpid() != self._process:
            raise RuntimeError("the printer was connected before a fork: connect after it")

    def receive(self, deadline: Optional[float]) -> Any:
        """The next message; None if the deadline passes first, or if the bus is lost."""
        parser = self.connection.parser
        while self.is_open:
            left = None if deadline is None else deadline - time.monotonic()
            if left is not None and left <= 0:  # even if messages keep arriving
                return None
            is_waiting = False
            try:
                message = parser.get_next_message()
                if message is not None:
                    return message
                is_waiting = True
                if not self.connection.selector.select(left):
                    return None
                is_waiting = False
                parser.add_data(unwrap_read(self.connection.sock.recv(1 << 16)))
            except OSError:
                self.close()
            except Exception:
                # jeepney cannot read this message, which it has removed from the stream.
                parser.next_msg_size = None
            except BaseException:
                if not is_waiting:  # a part of the stream may be lost
                    self.close()
                raise
        return None

    def send(self, message: Any, daemon: str, seconds: Optional[float]) -> int:
        """Sends the message and returns its serial number. A timeout or an interruption closes the
        connection, because half of the message may have been sent."""
        self._check_process()
        if not self.is_open:
            raise core.bus_lost()
        serial = next(self.connection.outgoing_serial)
        data = message.serialise(serial)
        self.connection.sock.settimeout(seconds)
        try:
            self.connection.sock.sendall(data)
        except BaseException as error:
            self.close()
            if isinstance(error, OSError):
                raise (core.timed_out(daemon, seconds, False) if isinstance(error, TimeoutError)
                       else core.bus_lost()) from None
            raise
        return int(serial)

    def until(self, found: Callable[[], Any], deadline: Optional[float],
              daemon: Optional[str] = None) -> Any:
        """Waits until found() returns a result. Returns None if the deadline passes first."""
        self._check_process()
        while True:
            result = found()
            if result is not None:
                return result
            message = self.receive(deadline)
            if message is not None:
                self.inbox.put(message)
            elif self.is_open:
                return None
            else:
                raise core.bus_lost(daemon)


class AsyncLink:
    """An asyncio connection. A separate task reads from it."""

    def __init__(self, address: Optional[str]) -> None:
        self.address = core.bus_address(address)
        self.inbox = core.Inbox()
        self.is_open = False
        self._waiting: List[asyncio.Future[None]] = []

    async def open(self, seconds: Optional[float]) -> None:
        try:
            self._connection = await asyncio.wait_for(open_dbus_connection(self.address), seconds)
        except Exception as error:  # jeepney raises many types
            raise core.no_bus(f"{self.address}: {error}") from error
        self.is_open = True
        self._task = asyncio.get_running_loop().create_task(self._receive())

    async def close(self) -> None:
        if self.is_open:
            self._lose()
            self._task.cancel()
            await asyncio.gather(self._task, return_exceptions=True)

    def _lose(self) -> None:
        self.is_open = False
        self._connection.writer.close()
        self._wake()

    async def _receive(self) -> None:
        while self.is_open:
            try:
                self.inbox.put(await self._connection.receive())
                self._wake()
            except (EOFError, OSError):
                self._lose()
            except Exception:
                self._connection.parser.next_msg_size = None  # as in Link.receive()

    def _wake(self) -> None:
        waiting, self._waiting = self._waiting, []
        for future in waiting:
            if not future.done():
                future.set_result(None)

    async def send(self, message: Any, daemon: str, seconds: Optional[float]) -> int:
        if not self.is_open:
            raise core.bus_lost()
        serial = next(self._connection.outgoing_serial)
        # Without drain(): messages are sent in the order in which they are written.
        self._connection.writer.write(message.serialise(serial))
        return int(serial)

    async def until(self, found: Callable[[], Any], deadline: Optional[float],
                    daemon: Optional[str] = None) -> Any:
        while True:
            result = found()
            if result is not None:
                return result
            if not self.is_open:
                raise core.bus_lost(daemon)
            left = None if deadline is None else deadline - time.monotonic()
            if left is not None and left <= 0:
                return None
            changed: asyncio.Future[None] = asyncio.get_running_loop().create_future()
            self._waiting.append(changed)
            await asyncio.wait([changed], timeout=left)
