// SPDX-License-Identifier: MIT
#ifndef HNIPC_BENCHMARKS_SAMPLES_H
#define HNIPC_BENCHMARKS_SAMPLES_H

#include <QtCore/QByteArray>
#include <QtCore/QElapsedTimer>

#include <cstdio>
#include <functional>
#include <vector>

// One thing that is measured beside others.
struct Contender
{
    Contender(
        const char *contenderName, const std::function<void()> &act, int callsOfIt = 1,
        const std::function<void()> &cleanUp = [] {})
        : name(contenderName), once(act), calls(callsOfIt), after(cleanUp)
    {
    }

    QByteArray name;
    std::function<void()> once;
    int calls;                   // that one act makes; the time is that of one
    std::function<void()> after; // each turn, not measured
};

// For report.py, one figure a line; it makes medians and ratios of them.
inline void printSample(const QByteArray &work, const QByteArray &name, int turn, double value,
                        const char *unit)
{
    std::printf("%s\t%s\t%d\t%.4f\t%s\n", work.constData(), name.constData(), turn, value, unit);
}

// Lets the contenders take turns, so that what disturbs the machine disturbs all alike. Each turn
// begins with another one: who comes first finds the caches as the last of them left them.
inline void compare(const QByteArray &work, int turns, int timesATurn,
                    const std::vector<Contender> &contenders)
{
    const int count = int(contenders.size());
    for (int turn = -1; turn < turns; ++turn) { // the first warms up
        for (int i = 0; i < count; ++i) {
            const Contender &contender = contenders.at(size_t((i + turn + count) % count));
            QElapsedTimer clock;
            clock.start();
            for (int time = 0; time < timesATurn; ++time) {
                contender.once();
            }
            const double elapsed = double(clock.nsecsElapsed()) / 1000;
            contender.after();
            if (turn >= 0) {
                printSample(work, contender.name, turn, elapsed / timesATurn / contender.calls,
                            "us");
            }
        }
    }
}

#endif
