// SPDX-License-Identifier: MIT
#include "serve.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QSocketNotifier>
#include <QtCore/QString>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusConnectionInterface>
#include <QtDBus/QDBusError>
#include <QtDBus/QDBusReply>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {

int signalPipe[2];

// A signal handler may call few functions only: the byte wakes the event loop, which does the rest.
void wakeEventLoop(int)
{
    const int savedErrno = errno;
    const char byte = 0;
    const ssize_t written = write(signalPipe[1], &byte, 1);
    static_cast<void>(written);
    errno = savedErrno;
}

bool catchSignals()
{
    if (pipe2(signalPipe, O_CLOEXEC | O_NONBLOCK) != 0) {
        return false;
    }

    struct sigaction action = {};
    action.sa_handler = wakeEventLoop;
    action.sa_flags = SA_RESTART;
    signal(SIGPIPE, SIG_IGN); // the reader of "ready" may have closed its end of the pipe
    return sigaction(SIGTERM, &action, 0) == 0 && sigaction(SIGINT, &action, 0) == 0;
}

int fail(const char *busName, const QString &reason)
{
    fprintf(stderr, "%s: %s\n", busName, qPrintable(reason));
    return 1;
}

} // namespace

int serve(const char *busName)
{
    QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.isConnected()) {
        return fail(busName, QLatin1String("no system bus: ") + bus.lastError().message());
    }

    // Only the bus knows whether this process owns the name. For the library, any owner means
    // success.
    const QString owner = bus.interface()->serviceOwner(QLatin1String(busName)).value();
    if (owner.isEmpty()) {
        return fail(busName, QLatin1String("the system bus refused the name"));
    }
    if (owner != bus.baseService()) {
        return fail(busName, QLatin1String("the name is already owned by ") + owner);
    }

    if (!catchSignals()) {
        return fail(busName, QLatin1String("cannot catch signals"));
    }
    QSocketNotifier signalled(signalPipe[0], QSocketNotifier::Read);
    QObject::connect(&signalled, SIGNAL(activated(int)), qApp, SLOT(quit()));

    // Without a bus a daemon would wait forever.
    bus.connect(QString(), QLatin1String("/org/freedesktop/DBus/Local"),
                QLatin1String("org.freedesktop.DBus.Local"), QLatin1String("Disconnected"), qApp,
                SLOT(quit()));

    puts("ready");
    fflush(stdout);
    QCoreApplication::exec();

    return bus.isConnected() ? 0 : fail(busName, QLatin1String("the system bus went away"));
}
