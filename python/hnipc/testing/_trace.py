# SPDX-License-Identifier: MIT
"""The traffic on the bus during a test: the calls of all programs, and all events."""

from __future__ import annotations

import time
from contextlib import suppress
from typing import Any, Dict, List, Tuple

from jeepney import DBusAddress, HeaderFields, MessageType, new_method_call  # type: ignore[import]

from .. import _core as core
from .._blocking import Client

DAEMON_OF = {name: daemon for daemon, name in core.BUS_NAMES.items()}


class Trace(Client):
    """Monitors the bus from its construction. The messages wait in the socket until lines() reads
    them."""

    def __init__(self, address: str) -> None:
        super().__init__(address)
        self.open(25.0)
        place = DBusAddress("/org/freedesktop/DBus", core.BUS, core.BUS + ".Monitoring")
        message = new_method_call(place, "BecomeMonitor", "asu", ([], 0))
        reply = self.call(message, "the bus", 25.0)
        if reply.header.message_type is MessageType.error:
            raise core.no_bus(reply.body)
        self._calls: Dict[Tuple[str, int], int] = {}
        self._lines: List[str] = []

    def lines(self) -> List[str]:
        """One line per call or event, in the order in which the bus delivered them."""
        deadline = time.monotonic() + 5
        fence = Client(self.address)
        with suppress(core.NotSent):  # the bus has ended; what it sent before can still be read
            fence.open(5.0)
        while True:
            message = self.receive(deadline)
            if message is None:
                break
            fields = message.header.fields
            if fence.is_open and fence.connection.unique_name in (
                    fields.get(HeaderFields.sender), fields.get(HeaderFields.destination)):
                break
            self._add(message)
        fence.close()
        return self._lines

    def _add(self, message: Any) -> None:
        fields = message.header.fields
        values = tuple(map(core.plain, message.body,
                           core.complete_types(fields.get(HeaderFields.signature, ""))))
        kind = message.header.message_type
        if kind is MessageType.method_call:
            daemon = DAEMON_OF.get(fields.get(HeaderFields.destination))
            member, sender = fields.get(HeaderFields.member), fields.get(HeaderFields.sender)
            if daemon and member != "names":  # World itself calls it
                who = "world" if fields.get(HeaderFields.path) == "/simulator" else "call"
                self._calls[sender, message.header.serial] = len(self._lines)
                self._lines.append(f"{who:6} {sender} to {daemon}: {member}"
                                   f"({', '.join(map('{!r:.1000}'.format, values))})")
        elif kind is MessageType.signal:
            self._add_signal(fields, values)
        else:
            key = (fields.get(HeaderFields.destination), fields.get(HeaderFields.reply_serial))
            place = self._calls.pop(key, None)
            if place is not None and kind is MessageType.error:
                error = fields.get(HeaderFields.error_name)
                self._lines[place] += f": {error}: {' '.join(map(str, values))}"
            elif place is not None:
                self._lines[place] += f" = {values[0]!r:.1000}" if values else " done"

    def _add_signal(self, fields: Any, values: Tuple[Any, ...]) -> None:
        member = fields.get(HeaderFields.member)
        is_of_bus = fields.get(HeaderFields.sender) == core.BUS
        if is_of_bus and member == "NameOwnerChanged" and values[0] in DAEMON_OF:
            verb = "is on" if values[2] else "left"
            self._lines.append(f"daemon {DAEMON_OF[values[0]]} {verb} the bus")
        known = core.BY_MEMBER.get((fields.get(HeaderFields.interface), member))
        if known:
            daemon, cls, _ = known
            text = repr(cls(*values)) if len(values) == len(cls._fields) else f"{member}{values!r}"
            self._lines.append(f"event  {daemon}: {text}")
