// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_CHANCE_H
#define HNIPC_TESTS_CHANCE_H

#include "support/sanitized.h"

#include <QtCore/QByteArray>

#include <cstdio>
#include <random>

// The number of repetitions of a test: the usual number, a fifth of it if a sanitizer slows the
// test down, or the value of the environment variable, for a long run by hand.
inline int timesFromEnvironment(const char *variable, int usual)
{
#ifdef HNIPC_SANITIZED
    usual = usual < 5 ? 1 : usual / 5;
#endif
    const int times = qgetenv(variable).toInt();
    return times > 0 ? times : usual;
}

// Random numbers that can be repeated: HNIPC_SEED repeats the run that printed it.
class Chance
{
public:
    Chance()
    {
        const QByteArray given = qgetenv("HNIPC_SEED");
        const quint32 seed = given.isEmpty() ? std::random_device()() : given.toUInt();
        printf("seed: HNIPC_SEED=%u\n", seed);
        fflush(stdout);
        m_engine.seed(seed);
    }

    // A number from 0 to count - 1.
    int below(int count) { return int(m_engine() % quint32(count)); }
    bool oneIn(int count) { return below(count) == 0; }
    quint64 bits() { return quint64(m_engine()) << 32 | m_engine(); }

    template <typename T, int count>
    const T &of(const T (&values)[count])
    {
        return values[below(count)];
    }

private:
    std::mt19937 m_engine;
};

#endif
