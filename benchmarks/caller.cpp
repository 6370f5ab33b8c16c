// SPDX-License-Identifier: MIT
//
// hnipc-bench-caller: the C++ client for the benchmark in Python. It reads a number of calls, makes
// them, and prints how many nanoseconds they took.

#include <hnipc/hnipc.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>

#include <cstdio>

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    HNIPC printer;
    int calls = 0;
    while (std::scanf("%d", &calls) == 1) {
        QElapsedTimer clock;
        clock.start();
        for (int i = 0; i < calls; ++i) {
            printer.printerLid();
        }
        std::printf("%lld\n", static_cast<long long>(clock.nsecsElapsed()));
        std::fflush(stdout);
    }
    return 0;
}
