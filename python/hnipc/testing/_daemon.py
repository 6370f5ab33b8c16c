# SPDX-License-Identifier: MIT
"""The base class of the daemons for tests."""

from __future__ import annotations

import pathlib
import re
import threading
import traceback
from contextlib import suppress
from typing import Any, List, NamedTuple, Optional, Tuple, TypeVar

from jeepney import (  # type: ignore[import]
    DBusAddress, HeaderFields, MessageFlag, MessageType, new_error, new_method_return, new_signal)

from .. import _core as core
from .._blocking import Client

Self = TypeVar("Self", bound="Daemon")


class Call(NamedTuple):
    """A call that a daemon has received."""

    method: str
    arguments: Tuple[Any, ...]


class ErrorReply(Exception):
    """Raise it in a method of a daemon: the caller receives this error reply."""

    def __init__(self, name: str, text: str = "") -> None:
        super().__init__(name, text)
        if len(name) > 255 or not re.fullmatch(r"[A-Za-z_]\w*(\.[A-Za-z_]\w*)+", name, re.ASCII):
            raise ValueError(f"{name!r} is not the name of an error, such as org.example.Busy")
        core.fit_all("ErrorReply", "s", (text,))
        self.name = name
        self.text = text


class Raw(NamedTuple):
    """Return it from a method of a daemon: a reply with these D-Bus types, not the declared ones."""

    signature: str
    values: Tuple[Any, ...]


#: Return it from a method of a daemon: the caller gets no reply.
SILENCE: Any = object()


class Daemon:
    """A daemon of the printer on the bus. Derive a class from IOEXPD, M4 or SUPPLYD and override
    methods; they run in a separate thread. The other methods do nothing and reply with a default:
    commands with true, switches with false, all others with 0 or an empty value.

    The daemon is on the bus within its with statement, or from start() to stop(). If a method
    raises another exception than ErrorReply, the caller receives an error reply with its text, and
    stop() raises the exception.
    """

    KIND = ""
    METHODS: Tuple[core.Method, ...] = ()

    def __init__(self, address: Optional[str] = None) -> None:
        self.address = core.bus_address(address)
        #: The calls that the daemon has received, the oldest first.
        self.calls: List[Call] = []
        self._forms = {(form.name, form.signature): form for form in self.METHODS}
        self._received = threading.Condition()
        self._sending = threading.Lock()
        self._error: Optional[BaseException] = None
        self._link: Optional[Client] = None
        self._thread: Optional[threading.Thread] = None

    def __enter__(self: Self) -> Self:
        self.start()
        return self

    def __exit__(self, *unused: object) -> None:
        self.stop()

    def start(self) -> None:
        """Acquires the bus name and serves calls. Raises RuntimeError if the name has an owner."""
        if self._link is not None:
            raise RuntimeError("the daemon is running")
        link = Client(self.address)
        link.open(25.0)
        name = core.busname_of(self.KIND)
        # 4: do not queue for the name. 1: the name was acquired.
        if link.ask_bus(25.0, "RequestName", "su", name, 4) != 1:
            link.close()
            raise RuntimeError(f"{name} is on the bus already, or the bus does not allow it")
        link.connection.sock.settimeout(None)
        self._link = link
        self._thread = threading.Thread(target=self._serve, args=(link,), daemon=True)
        self._thread.start()

    def stop(self) -> None:
        """Leaves the bus as a daemon that crashes does: it sends no reply to pending calls."""
        thread = self._thread  # as soon as the bus notices, another thread may call start()
        link, self._link = self._link, None
        if link is not None and thread is not None:
            with suppress(OSError):
                link.connection.sock.shutdown(2)  # wakes the thread, which closes it
            if thread is not threading.current_thread():
                thread.join()
        error, self._error = self._error, None
        if error is not None:
            raise error

    def wait_for_call(self, method: str, *, timeout: float = 5.0) -> Call:
        """Waits for the first call of a method. Raises AssertionError after timeout seconds."""
        seconds = core.seconds_of(timeout)

        def found() -> List[Call]:
            return [call for call in self.calls if call.method == method]

        with self._received:
            if not self._received.wait_for(found, seconds):
                raise AssertionError(f"{method} was not called within {timeout:g} s; "
                                     f"received: {self.calls}")
            return found()[0]

    def emit(self, member: str, signature: str, values: Tuple[Any, ...]) -> bool:
        """Sends a signal of its interface. The pulse methods call this with the right types."""
        fitted = core.fit_all(member, signature, values)
        signal = new_signal(DBusAddress("/", interface=core.INTERFACES[self.KIND]), member,
                            signature or None, fitted)
        return self._send(self._link, signal)

    def _send(self, link: Optional[Client], message: Any) -> bool:
        if link is not None:
            with self._sending, suppress(OSError):
                link.connection.send(message)
                return True
        return False

    def _serve(self, link: Client) -> None:
        while True:
            message = link.receive(None)
            if message is None:
                return
            if message.header.message_type is MessageType.method_call:
                reply = self._reply_to(message)
                if reply and not message.header.flags & MessageFlag.no_reply_expected:
                    self._send(link, reply)

    def _reply_to(self, message: Any) -> Any:
        fields = message.header.fields
        name, interface = fields[HeaderFields.member], fields.get(HeaderFields.interface)
        signature = fields.get(HeaderFields.signature, "")
        if interface == core.BUS + ".Peer" and name == "Ping":
            return new_method_return(message)
        if interface == core.BUS + ".Introspectable" and name == "Introspect":
            file = pathlib.Path(__file__).with_name(f"{core.INTERFACES[self.KIND]}.xml")
            return new_method_return(message, "s", (file.read_text(encoding="utf-8"),))
        form = self._forms.get((name, signature))
        if (form is None or fields.get(HeaderFields.path) != "/"
                or interface not in (None, core.INTERFACES[self.KIND])):
            return new_error(message, core.ERROR + "UnknownMethod", "s",
                             (f"no method {name} with the types \"{signature}\"",))
        return self._carry_out(form, message)

    def _carry_out(self, form: core.Method, message: Any) -> Any:
        kinds = [kind for _, kind in form.parameters]
        arguments = tuple(map(core.plain, message.body, kinds))
        with self._received:
            self.calls.append(Call(form.name, arguments))
            self._received.notify_all()
        try:
            result = getattr(self, form.name)(*arguments)
            if result is SILENCE:
                return None
            if isinstance(result, Raw):
                reply = new_method_return(message, result.signature or None, result.values)
                reply.serialise(1)  # raises an exception if a value does not fit
                return reply
            if not form.result:
                return new_method_return(message)
            return new_method_return(message, form.result, (core.fit(form.result, result),))
        except ErrorReply as error:
            return new_error(message, error.name, "s", (error.text,))
        except core.Misfit as misfit:
            return self._mistake(
                message, TypeError(f"{form.name} returned {result!r}, which is not {misfit}"))
        except BaseException as error:  # pytest.fail() raises a BaseException
            return self._mistake(message, error)

    def _mistake(self, message: Any, error: BaseException) -> Any:
        """The error reply for a mistake in the test, which stop() raises again."""
        self._error = error
        text = traceback.format_exception_only(type(error), error)[-1].replace("\0", "")
        return new_error(message, "org.hnipc.Error.Failed", "s",
                         (text.encode(errors="replace").decode(),))
