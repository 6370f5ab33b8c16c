// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_BASELINE_WIRE_H
#define HNIPC_TESTS_BASELINE_WIRE_H

#include "entry.h"

#include <QtCore/QString>

// What programs in any language find on the bus, from all descriptions in a directory, without
// their explanations. The order of the members is no promise. Throws where one is not understood.
Entries wireContract(const QString &directory);

#endif
