// SPDX-License-Identifier: MIT
#ifndef HNIPC_BENCHMARKS_SAMPLES_H
#define HNIPC_BENCHMARKS_SAMPLES_H

#include <QtCore/QByteArray>
#include <QtCore/QElapsedTimer>

#include <cstdio>
#include <functional>
#include <vector>

// One of the things that are compared.
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
    int calls;                   // in one act; the time is that of one call
    std::function<void()> after; // after each turn, not measured
};

// Prints one figure as a line for report.py, which computes medians and ratios.
inline void printSample(const QByteArray &work, const QByteArray &name, int turn, double value,
                        const char *unit)
{
    std::printf("%s\t%s\t%d\t%.4f\t%s\n", work.constData(), name.constData(), turn, value, unit);
}

// Runs the contenders in turns, so that other load on the machine affects all alike. Each turn
// begins with another contender, because the state of the caches depends on the one before.
inline void compare(const QByteArray &work, int turns, int timesATurn,
                    const std::vector<Contender> &contenders)
{
    const int count = int(contenders.size());
    for (int turn = -1; turn < turns; ++turn) { // the first turn is not counted
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
