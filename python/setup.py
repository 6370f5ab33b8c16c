# SPDX-License-Identifier: MIT
"""Builds the package from the interfaces and headers of this tree: pip install ./python"""

import pathlib
import sys
import tempfile

from setuptools import setup
from setuptools.command.build_py import build_py

sys.dont_write_bytecode = True  # write nothing to the tree, which may be read-only
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
import generate  # noqa: E402

if not (generate.TREE / "interfaces").is_dir():
    sys.exit("hnipc has to be built in its source tree: interfaces/ is not beside python/")


class BuildWithContract(build_py):
    def run(self):
        super().run()
        generate.generate(pathlib.Path(self.build_lib) / "hnipc")


with tempfile.TemporaryDirectory() as aside:
    setup(version=generate.version(), cmdclass={"build_py": BuildWithContract},
          options={"build": {"build_base": aside}, "egg_info": {"egg_base": aside}})
