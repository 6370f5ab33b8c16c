// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_BASELINE_JUDGEMENT_H
#define HNIPC_TESTS_BASELINE_JUDGEMENT_H

#include "entry.h"

// The effect of a change on older programs, in increasing order.
enum Verdict { Same, Harmless, Addition, Break };

struct Judgement
{
    Verdict verdict;
    QByteArray report; // the changes, and the programs concerned
};

Judgement judge(const Entries &baseline, const Entries &now);

// The lowest permitted next version: 1.2.4, 1.3.0 or 2.0.0 after 1.2.3.
QByteArray versionAfter(const QByteArray &version, Verdict verdict);
// Returns true if the first version is equal to or later than the second.
bool isAtLeast(const QByteArray &version, const QByteArray &other);

#endif
