# SPDX-License-Identifier: MIT
"""What went over the bus during a test: the calls of all programs, and all events."""

from __future__ import annotations

import time
from typing import Any, Dict, List, Optional, Tuple

from jeepney import DBusAddress, HeaderFields, MessageType, new_method_call  # type: ignore[import]

from .. import _core as core
from .._blocking import Link
from .._methods import METHODS

DAEMON_OF = {name: daemon for daemon, name in core.BUS_NAMES.items()}


class Trace:
    """Collects from its construction on; the bus keeps the messages until lines() reads them."""

    def __init__(self, address: str) -> None:
        self._link = Link(address, 25.0)
        place = DBusAddress(f"/{core.BUS.replace('.', '/')}", bus_name=core.BUS,
                            interface=f"{core.BUS}.Monitoring")
        message = new_method_call(place, "BecomeMonitor", "asu", ([], 0))
        reply = self._link.call(message, "the bus", 25.0)
        if reply.header.message_type is MessageType.error:
            raise core.no_bus(reply.body)
        self._calls: Dict[Tuple[str, int], int] = {}
        self._lines: List[str] = []

    def close(self) -> None:
        if not self._link.is_lost:
            self._link.lose()

    def lines(self) -> List[str]:
        """One line a call or event, in the order in which the bus passed them on."""
        deadline = time.monotonic() + 5
        try:
            fence: Optional[Link] = Link(self._link.address, 5.0)
        except core.NotSent:  # the bus is gone; what it has sent can still be read
            fence = None
        while True:
            message = self._link.receive(deadline)
            if message is None:
                break
            fields = message.header.fields
            if fence and fence.connection.unique_name in (fields.get(HeaderFields.sender),
                                                          fields.get(HeaderFields.destination)):
                break
            self._add(message)
        if fence:
            fence.lose()
        return self._lines

    def _add(self, message: Any) -> None:
        fields, body = message.header.fields, message.body
        values = tuple(map(core.plain, body,
                           core.complete_types(fields.get(HeaderFields.signature, ""))))
        kind = message.header.message_type
        if kind is MessageType.method_call:
            daemon = DAEMON_OF.get(fields.get(HeaderFields.destination))
            if daemon and fields.get(HeaderFields.member) != "names":  # which World asks for
                key = (fields.get(HeaderFields.sender), message.header.serial)
                self._calls[key] = len(self._lines)
                self._lines.append(self._call(daemon, fields, values))
        elif kind is MessageType.signal:
            self._add_signal(fields, body, values)
        else:
            key = (fields.get(HeaderFields.destination), fields.get(HeaderFields.reply_serial))
            place = self._calls.pop(key, None)
            if place is not None:
                self._lines[place] += self._reply(kind, fields, values)

    @staticmethod
    def _call(daemon: str, fields: Any, values: Tuple[Any, ...]) -> str:
        member = fields.get(HeaderFields.member)
        forms = METHODS.get(member, ())
        names = next(([name for name, _ in form.parameters] for form in forms
                      if len(form.parameters) == len(values)), None)
        if fields.get(HeaderFields.path) == "/simulator" or names is None:
            given = ", ".join(map(repr, values))
        else:
            given = ", ".join(f"{name}={value!r}" for name, value in zip(names, values))
        who = "world" if fields.get(HeaderFields.path) == "/simulator" else "call"
        return f"{who:6} {fields.get(HeaderFields.sender)} to {daemon}: {member}({given})"

    @staticmethod
    def _reply(kind: Any, fields: Any, values: Tuple[Any, ...]) -> str:
        if kind is MessageType.error:
            return f": {fields.get(HeaderFields.error_name)}: {' '.join(map(str, values))}"
        return f" = {values[0]!r}" if values else " done"

    def _add_signal(self, fields: Any, body: Tuple[Any, ...], values: Tuple[Any, ...]) -> None:
        member = fields.get(HeaderFields.member)
        if member == "NameOwnerChanged" and body[0] in DAEMON_OF:
            verb = "is on" if body[2] else "left"
            self._lines.append(f"daemon {DAEMON_OF[body[0]]} {verb} the bus")
        known = core.BY_MEMBER.get((fields.get(HeaderFields.interface), member))
        if known:
            daemon, cls, _ = known
            text = repr(cls(*values)) if len(values) == len(cls._fields) else f"{member}{values!r}"
            self._lines.append(f"event  {daemon}: {text}")
