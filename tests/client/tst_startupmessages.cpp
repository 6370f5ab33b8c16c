// SPDX-License-Identifier: MIT
#include "expected/clientsignals.h"
#include "support/fakedaemons.h"
#include "support/privatebus.h"
#include "support/qtmajors.h"

#include <hnipc/hnipc.h>

#include <QtCore/QMap>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusConnectionInterface>
#include <QtDBus/QDBusReply>

using namespace Expected;

// The start and the end of the three daemons are watched by Qt, for their signals, and by the
// client. Qt 4 watches a name once and never stops: the client of initTestCase() makes these
// subscriptions before the tests.
static const int watches = QT_VERSION >= QT_VERSION_CHECK(5, 0, 0) ? 3 + 3 : 0;

// The messages that a client sends when it starts: the list is complete, so an added message is
// noticed.
class tst_StartupMessages : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { HNIPC(); }
    void firstClient_data() { addDaemons(); }
    void firstClient();
    void furtherClient_data() { addDaemons(); }
    void furtherClient();
    void lastClientLeavesNoSubscription();

private:
    typedef QMap<QByteArray, int> Messages;

    static void addDaemons();
    static Messages introspections(bool arePresent);
    static Messages takeSent(WireMonitor *monitor);
    static QString text(const Messages &messages);
};

void tst_StartupMessages::addDaemons()
{
    QTest::addColumn<bool>("arePresent");
    QTest::newRow("daemons present") << true;
    QTest::newRow("daemons absent") << false;
}

// The client introspects a daemon that is not running twice, the second time after the watch has
// begun.
tst_StartupMessages::Messages tst_StartupMessages::introspections(bool arePresent)
{
    const int times = arePresent ? 1 : 2;
    Messages result;
    result["org.hnipc.ioexpd Introspect"] = times;
    result["org.hnipc.m4 Introspect"] = times;
    result["org.hnipc.supplyd Introspect"] = times;
    return result;
}

// The messages of this process, counted by destination and name.
tst_StartupMessages::Messages tst_StartupMessages::takeSent(WireMonitor *monitor)
{
    const QByteArray self = QDBusConnection::systemBus().baseService().toLatin1();
    Messages result;
    const QList<WireMessage> all = monitor->take();
    for (const WireMessage &message : all) {
        if (message.sender == self) {
            ++result[message.destination + ' ' + message.member];
        }
    }
    return result;
}

// One line each: "destination member number".
QString tst_StartupMessages::text(const Messages &messages)
{
    QByteArray result;
    for (Messages::const_iterator it = messages.begin(); it != messages.end(); ++it) {
        result += it.key() + ' ' + QByteArray::number(it.value()) + '\n';
    }
    return QString::fromLatin1(result);
}

void tst_StartupMessages::firstClient()
{
    QFETCH(bool, arePresent);
    FakeDaemons daemons(arePresent);
    WireMonitor monitor;

    HNIPC client;
    Messages expected = introspections(arePresent);
    expected["org.freedesktop.DBus AddMatch"] = relayedSignalCount + watches;
    expected["org.freedesktop.DBus GetNameOwner"] = 3;
    if (!arePresent && watches > 0) { // each proxy without a daemon has a watch for a short time
        expected["org.freedesktop.DBus AddMatch"] += 3;
        expected["org.freedesktop.DBus RemoveMatch"] = 3;
    }
    QCOMPARE(text(takeSent(&monitor)), text(expected));
}

// Qt has the subscriptions already, and delivers each signal to both clients.
void tst_StartupMessages::furtherClient()
{
    QFETCH(bool, arePresent);
    FakeDaemons daemons(arePresent);
    HNIPC client;
    WireMonitor monitor;

    HNIPC further;
    QCOMPARE(text(takeSent(&monitor)), text(introspections(arePresent)));
}

void tst_StartupMessages::lastClientLeavesNoSubscription()
{
    FakeDaemons daemons;
    QScopedPointer<HNIPC> client(new HNIPC);
    QScopedPointer<HNIPC> further(new HNIPC);
    WireMonitor monitor;

    // The reply shows that all messages sent before have arrived.
    QDBusConnectionInterface *const bus = QDBusConnection::systemBus().interface();
    Messages expected;
    expected["org.freedesktop.DBus NameHasOwner"] = 1;
    further.reset();
    QVERIFY(bus->isServiceRegistered(QLatin1String("org.hnipc.m4")).value());
    QCOMPARE(text(takeSent(&monitor)), text(expected));
    client.reset();
    QVERIFY(bus->isServiceRegistered(QLatin1String("org.hnipc.m4")).value());
    expected["org.freedesktop.DBus RemoveMatch"] = relayedSignalCount + watches;
    QCOMPARE(text(takeSent(&monitor)), text(expected));
}

HNIPC_TEST_MAIN(tst_StartupMessages)

#include "tst_startupmessages.moc"
