// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_BASELINE_ANSWERS_H
#define HNIPC_TESTS_BASELINE_ANSWERS_H

#include "entry.h"

// The types of the public functions that are no slots. What a function answers is no part of its
// symbol; for slots the meta-objects tell it.
Entries answers();

#endif
