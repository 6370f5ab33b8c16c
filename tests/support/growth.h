// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_GROWTH_H
#define HNIPC_TESTS_GROWTH_H

#include "memory.h"

#include <QtCore/QtGlobal>

#include <cstdio>

// Does something many times. Returns whether the heap of this process grows by less than 16 bytes
// each time, after the first tenth. The peers in this process and the allocator's caches grow by
// less, and the smallest block has 32 bytes.
template <typename Action>
bool leavesNothing(int times, const Action &action)
{
    const long leastLeak = 16;
    long before = 0;
    for (int i = 0; i < times; ++i) {
        if (i == times / 10) {
            before = heapInUse();
        }
        if (!action(i)) {
            qFatal("number %d went wrong", i);
        }
    }
    const long growth = heapInUse() - before;
    printf("%d times, growth %ld bytes\n", times, growth);
    return growth < leastLeak * (times - times / 10);
}

#endif
