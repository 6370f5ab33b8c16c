// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_BASELINE_BINARYINTERFACE_H
#define HNIPC_TESTS_BASELINE_BINARYINTERFACE_H

#include "entry.h"

// The parts of a library that compiled programs rely on: its symbols, and the layouts and virtual
// tables of the classes of these headers, without those of Qt and of the compiler. The description
// is the output of abidw (libabigail) for the library. Throws a message if it is not valid.
Entries binaryInterface(const QByteArray &description, const QList<QByteArray> &headers);

#endif
