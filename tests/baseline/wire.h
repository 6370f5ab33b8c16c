// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_BASELINE_WIRE_H
#define HNIPC_TESTS_BASELINE_WIRE_H

#include "entry.h"

#include <QtCore/QString>

// The interfaces on the bus, as programs in any language see them: from all descriptions in a
// directory, without their documentation. The order of the members is not guaranteed. Throws a
// message if a description is not understood.
Entries wireContract(const QString &directory);

#endif
