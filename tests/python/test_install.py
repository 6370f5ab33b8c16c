# SPDX-License-Identifier: MIT
"""The package as pip installs it from the tree."""

import ast
import io
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tokenize

import pytest

import hnipc
from conftest import TREE

LIMIT = 1200
BUILT = pathlib.Path(hnipc.__file__).parent


def test_installed_package_is_the_tested_one(tmp_path):
    # A copy of the sources, because the build must not change the tree.
    for part in ("python", "interfaces", "include", "CMakeLists.txt"):
        source = TREE / part
        (shutil.copytree if source.is_dir() else shutil.copy)(source, tmp_path / part)
    target = tmp_path / "site"
    pip = [sys.executable, "-m", "pip", "install", "--quiet", "--no-index", "--no-deps",
           "--no-build-isolation", "--disable-pip-version-check", "--target", target]
    before = sorted(tmp_path.rglob("*"))
    process = subprocess.run(pip + [tmp_path / "python"], text=True, cwd=tmp_path,
                             stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                             env={name: value for name, value in os.environ.items()
                                  if name != "PYTHONDONTWRITEBYTECODE"}
                             | {"PIP_ROOT_USER_ACTION": "ignore"})
    assert process.returncode == 0, process.stdout
    assert [path for path in sorted(tmp_path.rglob("*"))
            if path not in before and target not in (path, *path.parents)] == []

    def files(directory):
        return {path.relative_to(directory): path.read_bytes()
                for path in directory.rglob("*") if path.is_file() and path.suffix != ".pyc"}

    assert files(target / "hnipc") == files(BUILT)
    metadata, = target.glob("hnipc-*.dist-info")
    version = re.search(r"project\(HNIPC VERSION (\S+)", (TREE / "CMakeLists.txt").read_text())
    assert metadata.name == f"hnipc-{version.group(1)}.dist-info"

    # pytest finds the plugin without options, and a test needs nothing else.
    (tmp_path / "test_own.py").write_text("def test_own(printer): assert printer.getError() == 0\n")
    environment = {name: value for name, value in os.environ.items()
                   if name != "PYTEST_DISABLE_PLUGIN_AUTOLOAD"}
    process = subprocess.run([sys.executable, "-m", "pytest", "test_own.py"], cwd=tmp_path,
                             stdout=subprocess.PIPE, text=True,
                             env={**environment, "PYTHONPATH": str(target)})
    assert process.returncode == 0 and "1 passed" in process.stdout, process.stdout


def test_missing_interfaces_are_reported(tmp_path):
    shutil.copytree(TREE / "python", tmp_path / "python")
    process = subprocess.run([sys.executable, "setup.py", "--version"], cwd=tmp_path / "python",
                             stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    assert process.returncode != 0
    assert "interfaces/ is not beside python/" in process.stderr


@pytest.mark.parametrize("old, new, text", [
    ("int panel = 1);", "int panel = first());", "supplyRibbonColorName: the default first()"),
    ("int panel = 1);", "int panel = defaultPanel);", "supplyRibbonColorName")])
def test_an_unknown_default_is_an_error(tmp_path, old, new, text):
    for part in ("python", "interfaces", "include"):
        shutil.copytree(TREE / part, tmp_path / part)
    header = tmp_path / "include/hnipc/hnipc.h"
    assert old in header.read_text()
    header.write_text(header.read_text().replace(old, new))
    process = subprocess.run([sys.executable, "generate.py", tmp_path / "site"],
                             cwd=tmp_path / "python", stderr=subprocess.PIPE, text=True)
    assert process.returncode != 0 and text in process.stderr


def code_lines(path):
    """The lines of code, without blank lines, comments and documentation."""
    text = path.read_text(encoding="utf-8")
    aside = (tokenize.COMMENT, tokenize.NL, tokenize.NEWLINE, tokenize.INDENT, tokenize.DEDENT,
             tokenize.ENDMARKER)
    lines = set()
    for token in tokenize.generate_tokens(io.StringIO(text).readline):
        if token.type not in aside:
            lines.update(range(token.start[0], token.end[0] + 1))
    for node in ast.walk(ast.parse(text)):
        if (isinstance(node, (ast.Module, ast.ClassDef, ast.FunctionDef, ast.AsyncFunctionDef))
                and ast.get_docstring(node) is not None):
            lines -= set(range(node.body[0].lineno, node.body[0].end_lineno + 1))
    return len(lines)


def test_the_hand_written_part_stays_small():
    files = [path for path in (TREE / "python").rglob("*.py")
             if not {"build", ".pybuild"} & set(path.relative_to(TREE).parts)]
    assert len(files) > 10
    assert sum(map(code_lines, files)) < LIMIT
