# SPDX-License-Identifier: MIT
"""A private bus with simulated daemons, and the world around them."""

from __future__ import annotations

import os
import shutil
import signal
import subprocess
import tempfile
from contextlib import closing, suppress
from typing import Any, List, Optional, Sequence

from jeepney import DBusAddress, new_method_call  # type: ignore[import]

from .. import _core as core
from .._blocking import Client, Printer
from .._methods import METHODS

SIMULATOR = "org.hnipc.Simulator"
LIMIT = 60.0  # seconds: long enough for a loaded machine


def program(name: str) -> str:
    path = shutil.which(name)
    if path is None:
        raise FileNotFoundError(f"{name} is not on the PATH; it comes with the package hnipc-tools")
    return path


class Sandbox:
    """hnipc-sandbox as an object: a private bus with simulated daemons, from start() to stop() or
    within a with statement. address is the address of the bus. The sandbox ends with this process,
    even if the process is killed.
    """

    def __init__(self, scenario: Optional[str] = None,
                 daemons: Sequence[str] = ("ioexpd", "m4", "supplyd")) -> None:
        for daemon in daemons:
            core.busname_of(daemon)
        self.scenario = scenario
        self.daemons = tuple(daemons)
        self.address = ""
        self._errors = tempfile.TemporaryFile()
        self._process: Optional[subprocess.Popen[bytes]] = None
        self._started: List[subprocess.Popen[bytes]] = []

    def __enter__(self) -> Sandbox:
        self.start()
        return self

    def __exit__(self, *unused: object) -> None:
        self.stop()

    def start(self) -> None:
        command = [program("hnipc-sandbox"), "--daemons", ",".join(self.daemons) or "none"]
        if self.scenario:
            command += ["--scenario", self.scenario]
        # When this process ends, the pipe closes, the command exits, and so does the sandbox. The
        # new session keeps signals of the terminal, such as Ctrl-C, away from the sandbox.
        command += ["--", "sh", "-c", 'echo "$DBUS_SYSTEM_BUS_ADDRESS"; exec cat']
        self._process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                         stderr=self._errors, start_new_session=True)
        assert self._process.stdout
        self.address = self._process.stdout.readline().decode().strip()
        if not self.address:
            self.stop()
            raise RuntimeError(f"the sandbox did not start: {self.output().strip()}")
        self._settle()

    def _settle(self) -> None:
        """Waits until the supply daemon has sent the loaded rolls to the print engine."""
        # If a call fails, one of them is not running.
        with closing(World(self.address)) as world, suppress(core.CallFailed):
            while world._act("supplyd", "names") and not world._act("m4", "get", "s", "supplyID"):
                pass
            world._act("supplyd", "names")  # after this reply, it has sent the rest
            world._act("m4", "names")  # after this reply, the rest has arrived

    def stop(self) -> None:
        process, self._process = self._process, None
        if process is not None:
            assert process.stdin and process.stdout
            process.stdin.close()
            try:
                process.wait(LIMIT)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()
            process.stdout.close()
        for daemon in self._started:  # they exit, because their bus has ended
            daemon.wait()
        self._started.clear()

    def output(self) -> str:
        """The text that the daemons and the scenario have printed."""
        return os.pread(self._errors.fileno(), 1 << 20, 0).decode(errors="replace")

    def stop_daemon(self, daemon: str) -> None:
        """Stops a daemon with SIGTERM, as systemd does, and waits until it has left the bus."""
        name = core.busname_of(daemon)
        with Printer(self.address, timeout=LIMIT) as printer:
            process = printer._link.ask_bus(LIMIT, "GetConnectionUnixProcessID", "s", name)
            if process is None:
                raise RuntimeError(f"{daemon} is not running")
            os.kill(process, signal.SIGTERM)
            printer.wait_for_daemon(daemon, present=False, timeout=LIMIT)

    def start_daemon(self, daemon: str) -> None:
        """Starts a simulated daemon that is not running, and waits until it serves calls."""
        core.busname_of(daemon)
        process = subprocess.Popen(
            [program("hnipc-simulator"), daemon], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
            stderr=self._errors, start_new_session=True,
            env=os.environ | {"DBUS_SYSTEM_BUS_ADDRESS": self.address})
        assert process.stdout
        is_ready = process.stdout.readline() == b"ready\n"
        process.stdout.close()
        if not is_ready:
            process.wait()
            raise RuntimeError(f"{daemon} did not start: {self.output().strip()}")
        self._started.append(process)
        if daemon != "ioexpd":
            self._settle()


class World:
    """The world around simulated daemons: the methods of their object /simulator, which
    hnipc-simulator(1) describes. Raises hnipc.Refused if the simulator refuses a call."""

    def __init__(self, address: Optional[str] = None) -> None:
        self._link = Client(address)
        self._link.open(LIMIT)

    def close(self) -> None:
        self._link.close()

    def _act(self, daemon: str, member: str, signature: str = "", *arguments: Any) -> Any:
        name = core.busname_of(daemon)
        place = DBusAddress("/simulator", bus_name=name, interface=SIMULATOR)
        fitted = core.fit_all(member, signature, arguments)
        message = new_method_call(place, member, signature or None, fitted)
        reply = self._link.call(message, name, LIMIT)
        types = core.types_of(reply, name)
        return core.plain(reply.body[0], types[0]) if types else None

    def names(self, daemon: str) -> List[str]:
        """The readings and switches of a daemon that can be set."""
        return list(map(str, self._act(daemon, "names")))

    def _daemon_with(self, name: str) -> str:
        for daemon in core.BUS_NAMES:
            with suppress(core.NotSent):  # it is not running
                if name in self.names(daemon):
                    return daemon
        raise ValueError(f"{name!r} is not a reading or switch of a daemon that is running")

    def set(self, name: str, value: Any) -> None:
        """Sets a reading or a switch. Its daemon announces the value."""
        self._act(self._daemon_with(name), "set", "sv", name, value)

    def get(self, name: str) -> Any:
        """The value of a reading or a switch."""
        return self._act(self._daemon_with(name), "get", "s", name)

    def press(self, button: str) -> None:
        """Presses a button of the front panel: print, help or cancel."""
        self._act("ioexpd", "press", "s", button)

    def load_supply(self, supply: str = "", ribbons: Sequence[str] = ()) -> None:
        """Loads new rolls, by their SKUs. Without a supply or ribbons, the old ones stay loaded."""
        self._act("supplyd", "load", "sas", supply, list(ribbons))

    def print(self, labels: int) -> None:
        """Queues a print job with this number of labels."""
        self._act("m4", "print", "u", labels)

    def emit(self, event: str, *values: Any) -> None:
        """Sends an event, by its name in the client, such as M4Dac0."""
        self._act(self._sender_of(event), "emit", "sav", event, list(values))

    def flood(self, event: str, count: int) -> None:
        """Sends an event count times, as fast as the bus accepts it."""
        self._act(self._sender_of(event), "flood", "su", event, count)

    def _sender_of(self, event: str) -> str:
        cls, = core.kinds_of((event,))
        return next(daemon for daemon, known, _ in core.BY_MEMBER.values() if known is cls)

    def fault(self, method: str, kind: str, detail: Any = "", *,
              daemon: Optional[str] = None) -> None:
        """Sets a fault for the calls of a method. kind is delay (detail: milliseconds), never,
        error (detail: "NAME TEXT"), wrongtype or die; none clears it. With "*" as the method, the
        fault is for all calls of daemon."""
        if daemon is None:
            if method not in METHODS:
                raise ValueError(f"{method!r} is not a method of the printer")
            daemon = METHODS[method][0].daemon
        self._act(daemon, "fault", "ssv", method, kind, detail)

    def malform(self, shape: str) -> None:
        """Makes the supply daemon send malformed records from now on: short, wrongtype, dictionary,
        plain, empty or long; none ends this."""
        self._act("supplyd", "malform", "s", shape)

    def reset(self) -> None:
        """Clears all faults of the daemons that are running."""
        for daemon in core.BUS_NAMES:
            with suppress(core.NotSent):
                self._act(daemon, "reset")
