# SPDX-License-Identifier: MIT

import hnipc

with hnipc.Printer() as printer:
    print(printer.m4Version())
