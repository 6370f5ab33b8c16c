# SPDX-License-Identifier: MIT
"""The annotations, as mypy reads them."""

import pathlib
import re
import subprocess
import sys

import hnipc

TYPED = pathlib.Path(__file__).with_name("typed")
PACKAGE = pathlib.Path(hnipc.__file__).parent


def mypy(path, tmp_path):
    process = subprocess.run(
        [sys.executable, "-m", "mypy", "--strict", "--cache-dir", tmp_path, path], cwd=tmp_path,
        stdout=subprocess.PIPE, text=True)
    return process.returncode, process.stdout


def test_the_package(tmp_path):
    assert mypy(PACKAGE, tmp_path) == (0, "Success: no issues found in 14 source files\n")


def test_the_types_of_a_test(tmp_path):
    assert mypy(TYPED / "sample.py", tmp_path) == (0, "Success: no issues found in 1 source file\n")


def test_mistakes_are_found(tmp_path):
    path = TYPED / "wrong.py"
    lines = path.read_text().splitlines()
    mistakes = {number for number, line in enumerate(lines, 1)
                if line.startswith("    ")}
    _, output = mypy(path, tmp_path)
    assert {int(number) for number in re.findall(r"wrong\.py:(\d+): error", output)} == mistakes
