// SPDX-License-Identifier: MIT
//
// hnipc-bench-startup: the time to construct an HNIPC object, with the daemons running and not
// running, compared with the same steps with Qt alone; the time until main(); and, in new
// processes, how long HNIPCEvents and HNIPC take to start, and the memory of an idle program with
// each.

#include "daemons.h"
#include "rawclient.h"
#include "samples.h"

#include <hnipc/hnipc.h>

#include <QtCore/QCoreApplication>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

static void compareClients(const char *daemons)
{
    compare(QByteArray("a client constructed and deleted, daemons ") + daemons, 100, 5,
            { { "Qt's steps", [] { RawClient client; } }, { "HNIPC", [] { HNIPC client; } } });
}

static void run(const char *program)
{
    char *const arguments[] = { const_cast<char *>(program), const_cast<char *>("--nothing"),
                                nullptr };
    pid_t process = 0;
    int status = 0;
    if (posix_spawn(&process, program, nullptr, nullptr, arguments, environ) != 0
        || waitpid(process, &status, 0) != process || status != 0) {
        qFatal("%s did not run", program);
    }
}

// Runs a program that prints how long it took to start, and its private memory.
static void measureIdle(const char *program, const char *startName, const char *memoryName,
                        int turn)
{
    MortalProcess process;
    process.forwardErrors();
    process.start(QLatin1String(program), QStringList());
    const QList<QByteArray> figures = lineOf(&process).split(' ');
    process.waitForFinished();
    printSample("start in a fresh process", startName, turn, figures.value(0).toDouble(), "us");
    printSample("private memory of an idle program", memoryName, turn, figures.value(1).toDouble(),
                "KiB");
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    compareClients("absent");

    const DaemonProcess ioexpd(HNIPC_BENCH_IOEXPD, "org.hnipc.ioexpd");
    const DaemonProcess m4(HNIPC_BENCH_M4, "org.hnipc.m4");
    const DaemonProcess supplyd(HNIPC_BENCH_SUPPLYD, "org.hnipc.supplyd");
    compareClients("present");

    compare("a process that does nothing", 100, 5,
            { { "linked with Qt alone", [] { run(HNIPC_BENCH_IDLE_QT); } },
              { "HNIPC", [] { run(HNIPC_BENCH_IDLE_HNIPC); } } });
    for (int turn = 0; turn < 60; ++turn) {
        measureIdle(HNIPC_BENCH_IDLE_EVENTS, "HNIPCEvents, until it listens",
                    "HNIPCEvents and eight readings", turn);
        measureIdle(HNIPC_BENCH_IDLE_HNIPC, "HNIPC", "HNIPC", turn);
        measureIdle(HNIPC_BENCH_IDLE_QT, "only the connection", "connected to the bus", turn);
    }
    return 0;
}
