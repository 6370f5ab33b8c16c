// SPDX-License-Identifier: MIT
#include "ioexpd.h"
#include "m4.h"
#include "simulator.h"
#include "supplyd.h"

#include "common/daemons.h"
#include "common/datafiles.h"
#include "common/exitcodes.h"
#include "common/failure.h"
#include "common/printable.h"
#include "common/qtmessages.h"
#include "common/scenario.h"

#include <hnipc/hnipc_version.h>

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QSocketNotifier>
#include <QtDBus/QDBusConnectionInterface>
#include <QtDBus/QDBusMetaType>
#include <QtDBus/QDBusReply>
#include <QtDBus/QDBusVariant>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

using namespace Toolkit;

namespace {

struct Request
{
    QString daemon;
    bool onSystemBus = false;
    std::optional<Catalogue> catalogue; // for supplyd only
    std::optional<Scenario> scenario;
};

// ---- The command line ----

QString oneOfDaemons()
{
    return QLatin1String("one of ") + daemonNames().join(QLatin1String(", "));
}

Request readCommandLine()
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Simulates one daemon of the label printer until SIGINT or SIGTERM. It uses the bus at the "
        "address in DBUS_SYSTEM_BUS_ADDRESS, which hnipc-sandbox sets."));
    const QCommandLineOption help({ QStringLiteral("h"), QStringLiteral("help") },
                                  QStringLiteral("Print this help."));
    parser.addOption(help);
    parser.addVersionOption();
    parser.addOption(
        { QStringLiteral("scenario"),
          QStringLiteral("Play the acts of a scenario that are for this daemon: a file, "
                         "or the name of an installed scenario."),
          QStringLiteral("file") });
    parser.addOption(
        { QStringLiteral("catalogue"),
          QStringLiteral("Read supplies and ribbons from this file (supplyd only); default "
                         "the installed catalogue."),
          QStringLiteral("file") });
    const QCommandLineOption systemBus(
        QStringLiteral("system-bus"),
        QStringLiteral(
            "Use this machine's system bus if DBUS_SYSTEM_BUS_ADDRESS is not set. Not on a "
            "printer: its programs would take simulated values for real ones."));
    parser.addOption(systemBus);
    parser.addPositionalArgument(QStringLiteral("daemon"), oneOfDaemons());
    if (!parser.parse(QCoreApplication::arguments())) {
        throw Failure { WrongUsage, parser.errorText() };
    }
    if (parser.isSet(QStringLiteral("version"))) {
        parser.showVersion();
    }
    if (parser.isSet(help)) {
        parser.showHelp(Done);
    }

    Request result;
    const QStringList daemons = parser.positionalArguments();
    result.daemon = daemons.value(0);
    result.onSystemBus = parser.isSet(systemBus);
    const bool isSupplyd = result.daemon == QLatin1String("supplyd");
    if (daemons.size() != 1 || !daemonNames().contains(result.daemon)) {
        throw Failure {
            WrongUsage,
            QLatin1String("expected ") + oneOfDaemons()
                + (daemons.isEmpty()
                       ? QString()
                       : QStringLiteral(", not \"%1\"").arg(daemons.join(QLatin1Char(' '))))
        };
    }
    QString error;
    if (isSupplyd) {
        const QString fileName = parser.isSet(QStringLiteral("catalogue"))
            ? parser.value(QStringLiteral("catalogue"))
            : dataFile(QStringLiteral("supplies.json"));
        if (fileName.isEmpty()) {
            throw Failure { BadValue, QStringLiteral("supplies.json is not installed") };
        }
        result.catalogue = readCatalogue(fileName, &error);
    } else if (parser.isSet(QStringLiteral("catalogue"))) {
        throw Failure { WrongUsage, QStringLiteral("--catalogue is for supplyd only") };
    }
    if (parser.isSet(QStringLiteral("scenario")) && error.isEmpty()) {
        result.scenario = readScenario(parser.value(QStringLiteral("scenario")), &error);
    }
    if (!error.isEmpty()) {
        throw Failure { BadValue, error };
    }
    return result;
}

// ---- Serving ----

// Checks that this program owns the name: to the library, any owner is a success.
void makeSureOfName(const QString &name)
{
    const QDBusConnection bus = QDBusConnection::systemBus();
    const QString owner = bus.interface()->serviceOwner(name).value();
    if (owner.isEmpty()) {
        throw Failure { NoBus, QStringLiteral("the bus does not allow the name %1").arg(name) };
    }
    if (owner != bus.baseService()) {
        const uint process = bus.interface()->servicePid(name).value();
        throw Failure {
            Failed, QStringLiteral("%1 is already owned, by process %2").arg(name).arg(process)
        };
    }
}

std::unique_ptr<Daemon> createDaemon(const Request &request)
{
    if (request.daemon == QLatin1String("ioexpd")) {
        return std::make_unique<Ioexpd>();
    }
    if (request.daemon == QLatin1String("m4")) {
        return std::make_unique<M4>();
    }
    return std::make_unique<Supplyd>(*request.catalogue);
}

void play(ScenarioPlayer *player)
{
    QObject::connect(player, &ScenarioPlayer::said, [](const QString &text) {
        puts(qPrintable(printable(text)));
        fflush(stdout);
    });
    QObject::connect(player, &ScenarioPlayer::failed, [](const QString &message) {
        fprintf(stderr, "hnipc-simulator: %s\n", qPrintable(printable(message)));
    });
    player->start();
}

int signalPipe[2];

// A signal handler may call few functions only, so the event loop reads the number and ends.
void passOn(int number)
{
    const int savedErrno = errno;
    const char byte = static_cast<char>(number);
    const ssize_t written = write(signalPipe[1], &byte, 1);
    static_cast<void>(written);
    errno = savedErrno;
}

// Called just before the event loop starts: until then, a signal ends the program by itself.
void catchSignals()
{
    if (pipe2(signalPipe, O_CLOEXEC | O_NONBLOCK) != 0) {
        throw Failure { Failed, QStringLiteral("cannot catch signals") };
    }
    struct sigaction action = {};
    action.sa_handler = passOn;
    action.sa_flags = SA_RESTART;
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
    // The reader of "ready" may have closed the pipe.
    signal(SIGPIPE, SIG_IGN);
}

int serve(const Request &request)
{
    // The bus library uses the real system bus for an empty address, too.
    if (!request.onSystemBus && qEnvironmentVariableIsEmpty("DBUS_SYSTEM_BUS_ADDRESS")) {
        throw Failure { NoBus,
                        QStringLiteral(
                            "DBUS_SYSTEM_BUS_ADDRESS is not set, and the system bus may be "
                            "a printer's: run this in hnipc-sandbox, or with "
                            "--system-bus") };
    }
    QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.isConnected()) {
        throw Failure { NoBus, QStringLiteral("no system bus: ") + bus.lastError().message() };
    }
    // Until the event loop runs, Qt holds back what the bus sends, also the names of the connection.
    // Then its thread stores them in a list, and a call of a daemon that reads the list at that moment
    // can crash: the first act of a scenario is such a call. So the first event calls the bus, which
    // does not read the list. If a message comes at the same time, Qt can hand over the first reply
    // before it stores the names. When the second returns, they are stored.
    const auto waitForNames = [bus]() {
        bus.interface()->serviceOwner(bus.baseService());
        bus.interface()->serviceOwner(bus.baseService());
    };
    QMetaObject::invokeMethod(qApp, waitForNames, Qt::QueuedConnection);

    qRegisterMetaType<QDBusVariant>("QDBusVariant"); // Qt 6 needs this to find the type by name
    qDBusRegisterMetaType<SupplyInformation>();
    const std::unique_ptr<Daemon> daemon = createDaemon(request);
    makeSureOfName(busName(request.daemon));
    Simulator simulator(daemon.get());
    bus.registerObject(QStringLiteral("/simulator"), &simulator,
                       QDBusConnection::ExportScriptableSlots);

    // Without the bus, the daemon would wait for ever.
    bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), qApp,
                SLOT(quit()));

    catchSignals();
    const QSocketNotifier signalled(signalPipe[0], QSocketNotifier::Read);
    QObject::connect(&signalled, &QSocketNotifier::activated, []() {
        char number = 0;
        if (read(signalPipe[0], &number, 1) == 1) {
            QCoreApplication::exit(number == SIGINT ? Interrupted : Done);
        }
    });

    daemon->begin();
    std::optional<ScenarioPlayer> player;
    if (request.scenario) {
        player.emplace(*request.scenario, bus, request.daemon);
        play(&*player);
    }
    puts("ready");
    fflush(stdout);
    const int code = bus.isConnected() ? QCoreApplication::exec() : 0;
    if (!bus.isConnected()) {
        throw Failure { NoBus, QStringLiteral("the connection to the system bus was lost") };
    }
    return code;
}

} // namespace

int main(int argc, char **argv)
{
    hideOwnerWarning();
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("hnipc-simulator"));
    QCoreApplication::setApplicationVersion(QStringLiteral(HNIPC_VERSION_STRING));
    try {
        return serve(readCommandLine());
    } catch (const Failure &failure) {
        fprintf(stderr, "hnipc-simulator: %s\n", qPrintable(printable(failure.message)));
        return failure.exitCode;
    }
}
