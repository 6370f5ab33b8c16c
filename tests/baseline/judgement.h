// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_BASELINE_JUDGEMENT_H
#define HNIPC_TESTS_BASELINE_JUDGEMENT_H

#include "entry.h"

// What a change does to those who were there before it, the least first.
enum Verdict { Same, Harmless, Addition, Break };

struct Judgement
{
    Verdict verdict;
    QByteArray report; // what changed, and for whom that matters
};

Judgement judge(const Entries &baseline, const Entries &now);

// The lowest version that may follow: 1.2.3 becomes 1.2.4, 1.3.0 or 2.0.0.
QByteArray versionAfter(const QByteArray &version, Verdict verdict);
// Whether the first is the second or a later one.
bool isAtLeast(const QByteArray &version, const QByteArray &other);

#endif
