// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_BASELINE_ANSWERS_H
#define HNIPC_TESTS_BASELINE_ANSWERS_H

#include "entry.h"

// The types of the public functions that are not slots. The symbol of a function does not contain
// its return type; for slots the meta-objects do.
Entries answers();

#endif
