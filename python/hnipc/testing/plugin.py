# SPDX-License-Identifier: MIT
"""The pytest plugin: the fixtures sandbox, printer and world, and the marker hnipc."""

from __future__ import annotations

from contextlib import closing
from typing import Any, Generator, Iterator, Tuple

import pytest

from .._blocking import Printer
from ._sandbox import Sandbox, World
from ._trace import Trace

TRACE = pytest.StashKey[Tuple[Sandbox, Trace]]()


def pytest_configure(config: pytest.Config) -> None:
    config.addinivalue_line(
        "markers", "hnipc(scenario=None, daemons=('ioexpd', 'm4', 'supplyd')): what the fixture "
        "sandbox contains; scenario is a file, ordinary-day or bad-day")


@pytest.fixture
def sandbox(request: pytest.FixtureRequest, monkeypatch: pytest.MonkeyPatch) -> Iterator[Sandbox]:
    """A private bus with simulated daemons. All programs that the test starts use it as the system
    bus."""
    marker = request.node.get_closest_marker("hnipc")
    with Sandbox(*marker.args, **marker.kwargs) if marker else Sandbox() as result:
        monkeypatch.setenv("DBUS_SYSTEM_BUS_ADDRESS", result.address)
        trace = Trace(result.address)
        request.node.stash[TRACE] = (result, trace)
        try:
            yield result
        finally:
            trace.close()


@pytest.fixture
def printer(sandbox: Sandbox) -> Iterator[Printer]:
    """The printer of the sandbox."""
    with Printer(sandbox.address) as result:
        yield result


@pytest.fixture
def world(sandbox: Sandbox) -> Iterator[World]:
    """The world around the simulated daemons of the sandbox."""
    with closing(World(sandbox.address)) as result:
        yield result


@pytest.hookimpl(hookwrapper=True)  # type: ignore[misc]
def pytest_runtest_makereport(item: pytest.Item) -> Generator[None, Any, None]:
    """Adds the traffic on the bus and the output of the daemons to the report of a failed test."""
    outcome = yield
    report = outcome.get_result()
    if report.when != "teardown" and report.failed and TRACE in item.stash:
        sandbox, trace = item.stash[TRACE]
        lines = trace.lines() or ["nothing"]
        report.sections.append(("hnipc: calls and events", "\n".join(lines)))
        if sandbox.output():
            report.sections.append(("hnipc: output of the daemons", sandbox.output()))
