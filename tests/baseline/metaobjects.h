// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_BASELINE_METAOBJECTS_H
#define HNIPC_TESTS_BASELINE_METAOBJECTS_H

#include "entry.h"

// What QML, introspection and connections by text or index find in the public classes. Indices
// count from the first of the class's own.
Entries metaObjects();

#endif
