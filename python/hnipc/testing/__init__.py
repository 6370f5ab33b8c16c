# SPDX-License-Identifier: MIT
"""Printers for tests. hnipc.testing.plugin is the pytest plugin with the fixtures sandbox, printer
and world. This module has the classes that the plugin uses, and daemons in Python."""

from ._daemon import SILENCE, Call, ErrorReply, Raw
from ._sandbox import Sandbox, World
from .daemons import IOEXPD, M4, SUPPLYD

__all__ = ["Call", "ErrorReply", "IOEXPD", "M4", "Raw", "SILENCE", "SUPPLYD", "Sandbox", "World"]
