// SPDX-License-Identifier: MIT
//
// hnipc-bench-startup: what it costs to make a client, with the daemons present and absent, beside
// the same steps by Qt alone; the memory that an idle client holds; and the time until main().

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
    compare(QByteArray("a client made and deleted, daemons ") + daemons, 100, 5,
            { { "Qt's steps", [] { RawClient client; } },
              { "HNIPC", [] { HNIPC client; } } });
}

static void run(const char *program)
{
    char *const arguments[] = { const_cast<char *>(program), const_cast<char *>("--nothing"),
                                nullptr };
    pid_t process = 0;
    int status = 0;
    if (posix_spawn(&process, program, nullptr, nullptr, arguments, environ) != 0
        || waitpid(process, &status, 0) != process || status != 0)
        qFatal("%s does not run", program);
}

static double idleKilobytes(const char *program)
{
    MortalProcess process;
    process.forwardErrors();
    process.start(QLatin1String(program), QStringList());
    if (!process.waitForFinished() || process.exitCode() != 0)
        qFatal("%s does not run", program);
    return process.readAllStandardOutput().trimmed().toDouble();
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    compareClients("absent");

    const DaemonProcess m4(HNIPC_BENCH_M4, "org.hnipc.m4");
    const DaemonProcess supplyd(HNIPC_BENCH_DAEMON, "org.hnipc.supplyd");
    compareClients("present");

    compare("a process that does nothing", 100, 5,
            { { "linked with Qt alone", [] { run(HNIPC_BENCH_IDLE_QT); } },
              { "HNIPC", [] { run(HNIPC_BENCH_IDLE_HNIPC); } } });
    for (int turn = 0; turn < 10; ++turn) {
        const QByteArray work = "private memory of an idle program";
        printSample(work, "on the bus", turn, idleKilobytes(HNIPC_BENCH_IDLE_QT),
                    "KiB");
        printSample(work, "HNIPC", turn, idleKilobytes(HNIPC_BENCH_IDLE_HNIPC),
                    "KiB");
    }
    return 0;
}
