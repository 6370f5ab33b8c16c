// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_BASELINE_BINARYINTERFACE_H
#define HNIPC_TESTS_BASELINE_BINARYINTERFACE_H

#include "entry.h"

// What programs that were compiled before rely on in a library: its symbols, and the layouts and
// virtual tables of the classes of these headers, without what is Qt's or the compiler's.
// Description: what abidw, of libabigail, writes of the library. Throws what is wrong with it.
Entries binaryInterface(const QByteArray &description, const QList<QByteArray> &headers);

#endif
