# SPDX-License-Identifier: MIT
"""The program examples/client, as its user sees it."""

import os
import subprocess
import threading

import pytest


@pytest.fixture
def client(sandbox):
    with subprocess.Popen([os.environ["CLIENT"]], stdout=subprocess.PIPE, text=True) as program:
        if_it_hangs = threading.Timer(60, program.kill)
        if_it_hangs.start()
        yield program
        if_it_hangs.cancel()
        program.terminate()


def wait_for(program, text):
    """Reads until a line contains the text. If the program exits first, the test fails."""
    lines = []
    for line in program.stdout:
        lines.append(line)
        if text in line:
            return
    pytest.fail(f"no line with {text!r} in {lines}")


def test_shows_the_lid(client, world):
    wait_for(client, "lid closed")
    world.set("printerLid", True)
    wait_for(client, "lid open")


def test_feeds_by_the_print_button(client, world):
    wait_for(client, "lid closed")
    world.press("print")
    wait_for(client, "feed: done")


def test_shows_that_the_print_engine_is_not_running(client, sandbox):
    wait_for(client, "lid closed")
    sandbox.stop_daemon("m4")
    wait_for(client, "lid not known")
