# SPDX-License-Identifier: MIT
"""The plugin as pytest runs it: the fixtures, the report of a failed test, and the end of all
processes."""

import os
import pathlib

import pytest

from hnipc.testing import Sandbox

PLUGIN = ("-p", "hnipc.testing.plugin", "-p", "no:cacheprovider")


def programs_of(address):
    """The processes whose environment or command line names a bus."""
    key = address.split("=", 1)[1].split(",", 1)[0].encode()
    result = []
    for directory in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            text = (directory / "environ").read_bytes() + (directory / "cmdline").read_bytes()
        except OSError:
            continue
        if key in text:
            result.append(int(directory.name))
    return [process for process in result if process != os.getpid()]


def test_report_of_a_failed_test(pytester):
    pytester.makepyfile("""
        import pytest, hnipc

        def test_lid(printer, world, sandbox):
            world.set("printerLid", True)
            printer.forwardFeed(steps=400)
            printer.supplyMaterialName("x" * 2000)
            world.fault("getError", "error", "org.example.Busy not now")
            with pytest.raises(hnipc.Refused):
                printer.getError()
            world.fault("getAlert", "die")
            with pytest.raises(hnipc.Unknown):
                printer.getAlert()
            while not sandbox.output():
                pass
            assert False
        """)
    result = pytester.runpytest_subprocess(*PLUGIN)
    result.assert_outcomes(failed=1)
    result.stdout.re_match_lines_random([
        r"-+ hnipc: calls and events -+",
        r"world  :1\.\d+ to m4: set\('printerLid', True\) done",
        r"event  m4: M4PrinterLid\(value=True\)", r"event  m4: Error\(value=10\)",
        r"call   :1\.\d+ to m4: forwardFeed\(400\) = False",
        r"call   :1\.\d+ to supplyd: supplyMaterialName\('x{999}, ''\) = ''$",
        r"call   :1\.\d+ to m4: getError\(\): org.example.Busy: not now",
        r"call   :1\.\d+ to m4: getAlert\(\): org.freedesktop.DBus.Error.NoReply: .*",
        r"daemon m4 left the bus",
        r"-+ hnipc: output of the daemons -+", r"hnipc-sandbox: m4 exited with 1"])


def test_report_of_a_failed_fixture(pytester):
    pytester.makepyfile("""
        import pytest

        @pytest.fixture
        def open_lid(world):
            world.set("printerLid", True)
            assert False

        def test_lid(open_lid):
            pass
        """)
    result = pytester.runpytest_subprocess(*PLUGIN)
    result.assert_outcomes(errors=1)
    result.stdout.re_match_lines([r"world  :1\.\d+ to m4: set\('printerLid', True\) done"])


def test_a_passed_test_shows_nothing(pytester):
    pytester.makepyfile("def test_lid(printer, world): world.set('printerLid', True)")
    result = pytester.runpytest_subprocess(*PLUGIN)
    result.assert_outcomes(passed=1)
    result.stdout.no_fnmatch_line("*hnipc: calls*")


def test_a_lost_bus_does_not_hide_the_failure(pytester):
    pytester.makepyfile("""
        import os

        def test_bus(sandbox, printer):
            printer.getError()
            # The bus sends the reply above to its monitor before it replies to this call.
            name = "org.freedesktop.DBus"
            bus = printer._link.ask_bus(25, "GetConnectionUnixProcessID", "s", name)
            children = open(f"/proc/{bus}/task/{bus}/children").read()  # of dbus-broker
            os.system(f"kill -KILL {bus} {children}")
            printer.getError()
        """)
    result = pytester.runpytest_subprocess(*PLUGIN)
    result.assert_outcomes(failed=1)
    result.stdout.fnmatch_lines(["*hnipc._core.*was lost*", "*getError() = 0"])


def test_signals_of_strangers_do_not_hide_the_failure(pytester):
    pytester.makepyfile("""
        from jeepney import DBusAddress, new_signal
        from hnipc._blocking import Client

        def test_signals(sandbox, printer):
            stranger = Client(sandbox.address)
            stranger.open(25)
            place = DBusAddress("/", interface="org.example")
            stranger.connection.send(new_signal(place, "NameOwnerChanged"))
            stranger.connection.send(new_signal(place, "NameOwnerChanged", "as", ([],)))
            stranger.connection.send(new_signal(place, "NameOwnerChanged", "sss",
                                                ("org.hnipc.m4", "", ":1.0")))
            stranger.ask_bus(25, "GetId")
            assert printer.getError() == 1
        """)
    result = pytester.runpytest_subprocess(*PLUGIN)
    result.assert_outcomes(failed=1)
    result.stdout.re_match_lines([r"-+ hnipc: calls and events -+", r"call   .*getError\(\) = 0"])
    result.stdout.no_fnmatch_line("daemon m4 is on the bus")


def test_scenario_by_marker(pytester):
    pytester.makefile(".json", play="""{ "name": "Lid", "about": "The lid opens.", "acts": [
        { "at": 0, "daemon": "m4", "do": "set", "name": "printerLid", "value": true } ] }""")
    pytester.makepyfile("""
        import pytest

        pytestmark = pytest.mark.hnipc(scenario="play.json")

        def test_lid(printer):
            while not printer.printerLid():
                pass

        @pytest.mark.hnipc("play.json")
        def test_lid_again(printer):
            test_lid(printer)
        """)
    pytester.runpytest_subprocess(*PLUGIN, "--strict-markers").assert_outcomes(passed=2)


def test_a_wrong_marker(pytester):
    pytester.makepyfile("""
        import pytest

        @pytest.mark.hnipc(scenery="play.json")
        def test_lid(printer):
            pass
        """)
    result = pytester.runpytest_subprocess(*PLUGIN)
    result.assert_outcomes(errors=1)
    result.stdout.fnmatch_lines(["*unexpected keyword argument 'scenery'*"])


@pytest.mark.parametrize("end", ["assert False", "os.kill(os.getpid(), 9)", "os._exit(3)",
                                 "os.kill(os.getpid(), 15)", "raise KeyboardInterrupt"])
def test_nothing_is_left(pytester, end):
    pytester.makepyfile(f"""
        import os, pathlib

        def test_end(sandbox, printer, world):
            sandbox.stop_daemon("supplyd")
            sandbox.start_daemon("supplyd")
            pathlib.Path("address").write_text(sandbox.address)
            {end}
        """)
    pytester.runpytest_subprocess(*PLUGIN)
    address = pathlib.Path("address").read_text()
    while programs_of(address):  # they end by themselves
        pass


def test_sandboxes_side_by_side_leave_nothing():
    count = int(os.environ.get("HNIPC_TEST_SANDBOXES", "20"))
    addresses = []
    descriptors = len(os.listdir("/proc/self/fd"))
    for _ in range(count):
        with Sandbox() as sandbox:
            addresses.append(sandbox.address)
            assert programs_of(sandbox.address)
        assert not programs_of(sandbox.address)
    assert len(set(addresses)) == count
    assert len(os.listdir("/proc/self/fd")) <= descriptors + 1


def test_the_keys_of_the_terminal_are_for_the_test_alone(sandbox):
    assert os.getsid(sandbox._process.pid) != os.getsid(0)
