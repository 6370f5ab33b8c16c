#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""The time of one call from Python, compared with the bare binding and the C++ client.

    python.py DIRECTORY        DIRECTORY contains the benchmark programs

Prints figures for report.py, which describes the format.
"""

import asyncio
import os
import pathlib
import subprocess
import sys
import time

import hnipc
import hnipc.aio
import jeepney
import jeepney.io.asyncio
import jeepney.io.blocking

PROGRAMS = pathlib.Path(sys.argv[1])
M4 = jeepney.DBusAddress("/", bus_name="org.hnipc.m4", interface="local.IHNIPCM4")
SUPPLYD = jeepney.DBusAddress("/", bus_name="org.hnipc.supplyd", interface="local.IHNIPCSUPPLYD")
SKU = "LBL-100060-WH"


def compare(work, turns, times, contenders):
    """Runs the contenders in turns; each turn begins with another one. A contender makes the given
    number of calls and returns how many seconds they took."""
    for turn in range(-1, turns):  # the first turn is not counted
        for place in range(len(contenders)):
            name, measure = contenders[(place + turn) % len(contenders)]
            elapsed = measure(times)
            if turn >= 0:
                print(f"{work}\t{name}\t{turn}\t{elapsed / times * 1e6:.4f}\tus", flush=True)


def timed(call):
    def measure(times):
        begin = time.perf_counter()
        for _ in range(times):
            call()
        return time.perf_counter() - begin
    return measure


def timed_in(loop, call):
    async def calls(times):
        begin = time.perf_counter()
        for _ in range(times):
            await call()
        return time.perf_counter() - begin
    return lambda times: loop.run_until_complete(calls(times))


def cpp_client():
    """The client in C++, in a separate process that reads how many calls to make."""
    process = subprocess.Popen([PROGRAMS / "hnipc-bench-caller"], stdin=subprocess.PIPE,
                               stdout=subprocess.PIPE)

    def measure(times):
        process.stdin.write(b"%d\n" % times)
        process.stdin.flush()
        return float(process.stdout.readline()) / 1e9
    return measure


def bare(connection, address, method, signature=None, arguments=()):
    def call():
        message = jeepney.new_method_call(address, method, signature, arguments)
        reply = connection.send_and_get_reply(message, timeout=25)
        return jeepney.wrappers.unwrap_msg(reply)[0]
    return call


async def asynchronous_contenders(loop):
    printer = await hnipc.aio.Printer().__aenter__()
    router = await jeepney.io.asyncio.open_dbus_router("SYSTEM").__aenter__()

    async def bare_call():
        reply = await asyncio.wait_for(
            router.send_and_get_reply(jeepney.new_method_call(M4, "printerLid")), 25)
        return jeepney.wrappers.unwrap_msg(reply)[0]
    return [("HNIPC in Python", timed_in(loop, printer.printerLid)),
            ("jeepney", timed_in(loop, bare_call))]


def main():
    daemons = [PROGRAMS.parent / "tests/daemons/hnipc-test-m4", PROGRAMS / "hnipc-bench-daemon"]
    processes = [subprocess.Popen([daemon], stdout=subprocess.DEVNULL) for daemon in daemons]
    try:
        printer = hnipc.Printer()
        for daemon in ("m4", "supplyd"):
            printer.wait_for_daemon(daemon)
        connection = jeepney.io.blocking.open_dbus_connection("SYSTEM")
        compare("one call from Python", 100, 100, [
            ("HNIPC in Python", timed(printer.printerLid)),
            ("jeepney", timed(bare(connection, M4, "printerLid"))),
            ("HNIPC in C++", cpp_client())])
        compare("the record from Python", 40, 50, [
            ("HNIPC in Python", timed(lambda: printer.supplyInformation(SKU))),
            ("jeepney", timed(bare(connection, SUPPLYD, "supplyInformation", "s", (SKU,))))])
        loop = asyncio.new_event_loop()
        compare("one call from Python with asyncio", 40, 100,
                loop.run_until_complete(asynchronous_contenders(loop)))
    finally:
        sys.stdout.flush()
        for process in processes:
            process.kill()
    os._exit(0)  # without destructors: the connections are not closed


if __name__ == "__main__":
    main()
