// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_BASELINE_METAOBJECTS_H
#define HNIPC_TESTS_BASELINE_METAOBJECTS_H

#include "entry.h"

// The members of the public classes that QML, introspection and connections by text or index find.
// Indices count from the first member of the class itself.
Entries metaObjects();

#endif
