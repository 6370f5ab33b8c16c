// SPDX-License-Identifier: MIT
//
// hnipc-bench-signals: the time to receive 20,000 signals, for 1, 5, 20 and 50 clients with 59
// subscriptions each. Compares HNIPCEvents with HNIPC, and HNIPC with the same subscriptions of Qt
// alone. If a client misses a signal, or receives one out of order, the program aborts.

#include "daemons.h"
#include "rawclient.h"
#include "samples.h"

#include <hnipc/hnipc.h>
#include <hnipc/hnipcevents.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QTimer>
#include <QtDBus/QDBusMessage>

#include <memory>
#include <vector>

#include <sys/resource.h>

static const int count = 20000;
// The most deliveries that may wait at a time. dbus-broker disconnects clients for which more
// messages wait.
static const int waiting = 100000;

static double processorMicroseconds()
{
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1e6
        + double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
}

// A client in a separate process. After each portion, it prints the processor time used so far.
class Listener : public QObject
{
    Q_OBJECT

public:
    explicit Listener(int portion) : m_portion(portion), m_heard(0), m_before(0) {}

public Q_SLOTS:
    void isReady()
    {
        m_before = processorMicroseconds();
        std::puts("ready");
        std::fflush(stdout);
    }

    void onPercent(double value)
    {
        if (value != m_heard) {
            qFatal("received %d, expected %d", int(value), m_heard);
        }
        if (++m_heard % m_portion != 0) {
            return;
        }
        std::printf("%.1f\n", processorMicroseconds() - m_before);
        std::fflush(stdout);
        if (m_heard == count) {
            QCoreApplication::quit();
        }
    }

private:
    const int m_portion;
    int m_heard;
    double m_before;
};

static int listenAs(const QByteArray &kind, int portion)
{
    Listener listener(portion);
    QScopedPointer<QObject> client;
    if (kind == "HNIPCEvents") {
        client.reset(new HNIPCEvents);
        QObject::connect(client.data(), SIGNAL(SupplyPercentChanged(double)), &listener,
                         SLOT(onPercent(double)));
        QObject::connect(client.data(), SIGNAL(listeningChanged(bool)), &listener, SLOT(isReady()));
        return QCoreApplication::exec();
    }
    if (kind == "HNIPC") {
        client.reset(new HNIPC);
        QObject::connect(client.data(), SIGNAL(SupplyPercentChanged(double)), &listener,
                         SLOT(onPercent(double)));
    } else {
        client.reset(new RawClient);
        QObject::connect(client.data(), SIGNAL(percentChanged(double)), &listener,
                         SLOT(onPercent(double)));
    }
    // Qt holds back signals that arrive before the event loop runs, and may deliver them out of
    // order.
    QTimer::singleShot(0, &listener, SLOT(isReady()));
    return QCoreApplication::exec();
}

static void flood(int clients, const QByteArray &kind, int turn)
{
    const int portion = qMin(count, waiting / clients);
    std::vector<std::unique_ptr<MortalProcess>> listeners;
    for (int i = 0; i < clients; ++i) {
        listeners.emplace_back(new MortalProcess);
        listeners.back()->forwardErrors();
        listeners.back()->start(QCoreApplication::applicationFilePath(),
                                QStringList()
                                    << QLatin1String("--listen") << QString::fromLatin1(kind)
                                    << QString::number(portion));
    }
    for (auto &listener : listeners) {
        lineOf(listener.get());
    }

    QElapsedTimer clock;
    clock.start();
    double spent = 0;
    for (int first = 0; first < count; first += portion) {
        QDBusMessage call = QDBusMessage::createMethodCall(
            QLatin1String("org.hnipc.supplyd"), QLatin1String("/"),
            QLatin1String("local.IHNIPCSUPPLYD"), QLatin1String("flood"));
        call << first << portion;
        QDBusConnection::systemBus().send(call);
        spent = 0;
        for (auto &listener : listeners) {
            spent += lineOf(listener.get()).toDouble();
        }
    }
    const double delivered = double(count) * clients;
    const double elapsed = double(clock.nsecsElapsed()) / 1000;
    for (auto &listener : listeners) {
        listener->waitForFinished();
    }

    const QByteArray to = " to " + QByteArray::number(clients) + " clients, ";
    for (const QByteArray what : { "events", "signals" }) {
        if (kind == (what == "events" ? "Qt's subscriptions" : "HNIPCEvents")) {
            continue;
        }
        printSample(what + to + "time of a delivery", kind, turn, elapsed / delivered, "us");
        printSample(what + to + "processor of the client", kind, turn, spent / delivered, "us");
    }
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.value(1) == QLatin1String("--listen")) {
        return listenAs(arguments.value(2).toLatin1(), arguments.value(3).toInt());
    }

    const DaemonProcess m4(HNIPC_BENCH_M4, "org.hnipc.m4");
    const DaemonProcess supplyd(HNIPC_BENCH_DAEMON, "org.hnipc.supplyd");
    const QByteArray kinds[] = { "HNIPCEvents", "HNIPC", "Qt's subscriptions" };
    for (int clients : { 1, 5, 20, 50 }) {
        for (int turn = 0; turn < (clients < 10 ? 10 : 4); ++turn) {
            for (int i = 0; i < 3; ++i) {
                flood(clients, kinds[(turn + i) % 3], turn);
            }
        }
    }
    return 0;
}

#include "signals.moc"
