// SPDX-License-Identifier: MIT
#include "asyncdaemons.h"
#include "support/haltedbus.h"
#include "support/listener.h"
#include "support/privatebus.h"
#include "support/signalrecorder.h"
#include "support/waituntil.h"

#include <hnipc/hnipcavailability.h>

#include <QtCore/QMetaProperty>
#include <QtCore/QPointer>
#include <QtCore/QScopedPointer>
#include <QtCore/QThread>
#include <QtDBus/QDBusConnection>

using namespace Expected;

typedef QList<QByteArray> Lines;

namespace {

const char *const changes[ServerCount] = { "ioexpdChanged(bool)", "m4Changed(bool)",
                                           "supplydChanged(bool)" };

QByteArray line(const char *signal, bool value)
{
    return emission(signal, QVariantList() << value);
}

bool has(const HNIPCAvailability &availability, int server)
{
    return server == IOEXPD ? availability.hasIoexpd()
        : server == M4      ? availability.hasM4()
                            : availability.hasSupplyd();
}

bool hasAny(const HNIPCAvailability &availability)
{
    return availability.hasIoexpd() || availability.hasM4() || availability.hasSupplyd();
}

bool becomesKnown(const HNIPCAvailability &availability)
{
    return waitUntil([&availability]() { return availability.isKnown(); });
}

void addServers()
{
    QTest::addColumn<int>("server");
    for (int server = 0; server < ServerCount; ++server) {
        QTest::newRow(identities[server].tag) << server;
    }
}

} // namespace

// Which daemons are on the bus, as the bus reports it.
class tst_Availability : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void onlyTheBusIsAskedAndOnlyOnce();
    void propertiesNotify_data();
    void propertiesNotify();
    void daemonsThatAreThereBefore_data();
    void daemonsThatAreThereBefore();
    void daemonComesAndGoes_data();
    void daemonComesAndGoes();
    void daemonCrashes();
    void daemonIsReplacedWithoutAGap();
    void daemonComesBeforeTheBusHasTold_data();
    void daemonComesBeforeTheBusHasTold();
    void otherNamesAreNoDaemons();
    void constructionDoesNotWaitForTheBus();
    void mayBeDestroyedAtAnyTime();
    void deletedInItsOwnSignal_data();
    void deletedInItsOwnSignal();
    void receiverTurnsTheEventLoop();
    void mayBeMovedToAThread();

private:
    // The messages that this process has sent since the previous call of this function.
    QList<WireMessage> takeSent(WireMonitor *monitor)
    {
        const QByteArray self = QDBusConnection::systemBus().baseService().toLatin1();
        makeRoundTrip();
        QList<WireMessage> result;
        const QList<WireMessage> all = monitor->take();
        for (const WireMessage &message : all) {
            if (message.sender == self && message.member != "GetId") {
                result.append(message);
            }
        }
        return result;
    }

    QScopedPointer<AsyncDaemons> m_daemons;
};

void tst_Availability::initTestCase() { m_daemons.reset(new AsyncDaemons(false)); }

void tst_Availability::cleanupTestCase() { m_daemons.reset(); }

void tst_Availability::init()
{
    m_daemons->takeCalls();
    makeRoundTrip();
}

// Runs first: it needs the first object of the process.
void tst_Availability::onlyTheBusIsAskedAndOnlyOnce()
{
    m_daemons->FakeDaemons::start(M4);
    WireMonitor monitor;

    HNIPCAvailability availability;
    QVERIFY(becomesKnown(availability));
    // The process subscribes to each name before it asks for it. Otherwise it would miss a change
    // in between.
    Lines expected = Lines() << "AddMatch (\"type='signal',path='/org/freedesktop/DBus/Local',"
                                "interface='org.freedesktop.DBus.Local',member='Disconnected'\",)";
    for (const Identity &identity : identities) {
        const QByteArray name = identity.busName;
        expected << "AddMatch (\"type='signal',sender='org.freedesktop.DBus',"
                    "interface='org.freedesktop.DBus',member='NameOwnerChanged',arg0='"
                + name + "'\",)"
                 << "GetNameOwner ('" + name + "',)";
    }
    Lines sent;
    const QList<WireMessage> messages = takeSent(&monitor);
    for (const WireMessage &message : messages) {
        QCOMPARE(message.destination, QByteArray("org.freedesktop.DBus"));
        sent.append(message.member + ' ' + message.body);
    }
    QCOMPARE(sent, expected);

    // All objects of the process share this subscription.
    HNIPCAvailability another;
    QVERIFY(becomesKnown(another));
    QVERIFY(another.hasM4() && !another.hasIoexpd() && !another.hasSupplyd());
    for (int i = 0; i < 3; ++i) {
        for (int server = 0; server < ServerCount; ++server) {
            if (server == M4) {
                m_daemons->stop(M4);
                m_daemons->start(M4);
            } else {
                m_daemons->start(server);
                m_daemons->stop(server);
            }
        }
    }
    QVERIFY(takeSent(&monitor).isEmpty());
    m_daemons->stop(M4);
    QCOMPARE(m_daemons->takeCalls().size(), 0);
    for (int server = 0; server < ServerCount; ++server) {
        QCOMPARE((*m_daemons)[server].introspections(), 0);
    }
}

void tst_Availability::propertiesNotify_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("signal");
    QTest::newRow("known") << QByteArray("known") << QByteArray("knownChanged(bool)");
    QTest::newRow("ioexpd") << QByteArray("ioexpd") << QByteArray("ioexpdChanged(bool)");
    QTest::newRow("m4") << QByteArray("m4") << QByteArray("m4Changed(bool)");
    QTest::newRow("supplyd") << QByteArray("supplyd") << QByteArray("supplydChanged(bool)");
}

void tst_Availability::propertiesNotify()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, signal);
    const QMetaObject &meta = HNIPCAvailability::staticMetaObject;
    QCOMPARE(meta.propertyCount() - meta.propertyOffset(), 4);
    const QMetaProperty property = meta.property(meta.indexOfProperty(name.constData()));
    QCOMPARE(QByteArray(property.typeName()), QByteArray("bool"));
    QVERIFY(property.isReadable() && !property.isWritable());
    QCOMPARE(property.notifySignalIndex(), meta.indexOfSignal(signal.constData()));

    // The daemon with this name.
    const int server = name == "ioexpd" ? IOEXPD : name == "m4" ? M4 : SUPPLYD;
    m_daemons->start(server);
    HNIPCAvailability availability;
    QVERIFY(!availability.property(name.constData()).toBool());
    QVERIFY(becomesKnown(availability));
    QVERIFY(availability.property(name.constData()).toBool());
    m_daemons->stop(server);
}

void tst_Availability::daemonsThatAreThereBefore_data()
{
    QTest::addColumn<int>("mask");
    for (int mask = 0; mask < 1 << ServerCount; ++mask) {
        QTest::newRow(QByteArray::number(mask, 2).constData()) << mask;
    }
}

void tst_Availability::daemonsThatAreThereBefore()
{
    QFETCH(int, mask);
    Lines expected;
    for (int server = 0; server < ServerCount; ++server) {
        if (mask & (1 << server)) {
            m_daemons->start(server);
            expected.append(line(changes[server], true));
        }
    }
    expected.append(line("knownChanged(bool)", true));

    HNIPCAvailability availability;
    SignalRecorder recorder(&availability);
    QVERIFY(!availability.isKnown());
    QVERIFY(!hasAny(availability));
    QVERIFY(becomesKnown(availability));
    for (int server = 0; server < ServerCount; ++server) {
        QCOMPARE(has(availability, server), (mask & (1 << server)) != 0);
    }
    QVERIFY(m_daemons->passFence());
    QCOMPARE(recorder.take(), expected);

    for (int server = 0; server < ServerCount; ++server) {
        if (mask & (1 << server)) {
            m_daemons->stop(server);
        }
    }
    QVERIFY(!hasAny(availability));
    QVERIFY(availability.isKnown());
}

void tst_Availability::daemonComesAndGoes_data() { addServers(); }

void tst_Availability::daemonComesAndGoes()
{
    QFETCH(int, server);
    HNIPCAvailability availability;
    QVERIFY(becomesKnown(availability));
    SignalRecorder recorder(&availability);
    for (int i = 0; i < 3; ++i) {
        m_daemons->start(server);
        QVERIFY(has(availability, server));
        QCOMPARE(recorder.take(), Lines() << line(changes[server], true));
        m_daemons->stop(server);
        QVERIFY(!hasAny(availability));
        QCOMPARE(recorder.take(), Lines() << line(changes[server], false));
    }
    QVERIFY(availability.isKnown());
}

void tst_Availability::daemonCrashes()
{
    HNIPCAvailability availability;
    QVERIFY(becomesKnown(availability));
    SignalRecorder recorder(&availability);
    {
        WirePeer mortal;
        QVERIFY(mortal.own(identities[M4].busName));
        QVERIFY(m_daemons->passFence());
        QVERIFY(availability.hasM4());
    }
    QVERIFY(waitUntil([&]() { return !availability.hasM4(); }));
    QVERIFY(m_daemons->passFence());
    QCOMPARE(recorder.take(),
             Lines() << line("m4Changed(bool)", true) << line("m4Changed(bool)", false));
}

void tst_Availability::daemonIsReplacedWithoutAGap()
{
    WirePeer first;
    WirePeer second;
    QVERIFY(first.takeOver(identities[M4].busName));
    QVERIFY(m_daemons->passFence());
    HNIPCAvailability availability;
    QVERIFY(becomesKnown(availability));
    QVERIFY(availability.hasM4());
    SignalRecorder recorder(&availability);
    for (int i = 0; i < 3; ++i) {
        QVERIFY(second.takeOver(identities[M4].busName));
        QVERIFY(first.takeOver(identities[M4].busName));
    }
    QVERIFY(m_daemons->passFence());
    QVERIFY(availability.hasM4());
    QCOMPARE(recorder.take(), Lines());
    QVERIFY(first.release(identities[M4].busName));
    QVERIFY(m_daemons->passFence());
    QVERIFY(!availability.hasM4());
    QCOMPARE(recorder.take(), Lines() << line("m4Changed(bool)", false));
}

void tst_Availability::daemonComesBeforeTheBusHasTold_data()
{
    QTest::addColumn<int>("steps");
    QTest::newRow("comes") << 1;
    QTest::newRow("comes and goes") << 2;
    QTest::newRow("comes, goes and comes") << 3;
}

// The reply is older or newer than these changes. It never undoes one.
void tst_Availability::daemonComesBeforeTheBusHasTold()
{
    QFETCH(int, steps);
    WirePeer peer;
    for (int attempt = 0; attempt < 200; ++attempt) {
        HNIPCAvailability availability;
        SignalRecorder recorder(&availability);
        bool isThere = false;
        for (int i = 0; i < steps; ++i) { // no event loop turns meanwhile
            QVERIFY(isThere ? peer.release(identities[M4].busName)
                            : peer.own(identities[M4].busName));
            isThere = !isThere;
        }
        QVERIFY(becomesKnown(availability));
        QVERIFY(m_daemons->passFence());
        QCOMPARE(availability.hasM4(), isThere);
        // Each signal reports a change.
        const Lines lines = recorder.take();
        QCOMPARE(int(lines.count(line("knownChanged(bool)", true))), 1);
        bool told = false;
        for (const QByteArray &emitted : lines) {
            if (emitted != line("knownChanged(bool)", true)) {
                told = !told;
                QCOMPARE(emitted, line("m4Changed(bool)", told));
            }
        }
        QCOMPARE(told, isThere);
        QVERIFY(!isThere || peer.release(identities[M4].busName));
        QVERIFY(m_daemons->passFence());
    }
}

void tst_Availability::otherNamesAreNoDaemons()
{
    HNIPCAvailability availability;
    QVERIFY(becomesKnown(availability));
    SignalRecorder recorder(&availability);
    const char *const names[] = { "org.hnipc", "org.hnipc.m4.other", "org.hnipc.m", "org.hnipc.M4",
                                  "other.org.hnipc.m4" };
    WirePeer peer;
    for (const char *const name : names) {
        QVERIFY(peer.own(name));
        QVERIFY(m_daemons->passFence());
        QVERIFY(peer.release(name));
    }
    QVERIFY(m_daemons->passFence());
    QCOMPARE(recorder.take(), Lines());
    QVERIFY(!hasAny(availability));
}

void tst_Availability::constructionDoesNotWaitForTheBus()
{
    m_daemons->start(SUPPLYD);
    HaltedBus bus;
    HNIPCAvailability availability;
    HNIPCAvailability *const another = new HNIPCAvailability;
    QVERIFY(!availability.isKnown());
    delete another;
    QVERIFY(bus.resume());
    QVERIFY(becomesKnown(availability));
    QVERIFY(availability.hasSupplyd());
    m_daemons->stop(SUPPLYD);
}

void tst_Availability::mayBeDestroyedAtAnyTime()
{
    m_daemons->start(M4);
    HNIPCAvailability other;
    for (int i = 0; i < 100; ++i) {
        QScopedPointer<HNIPCAvailability> availability(new HNIPCAvailability);
        if (i % 3 == 1) { // the replies are under way
            (*m_daemons)[M4].sync();
        } else if (i % 3 == 2) {
            QVERIFY(becomesKnown(*availability));
        }
    }
    m_daemons->stop(M4);
    QVERIFY(other.isKnown());
    QVERIFY(!other.hasM4());
}

void tst_Availability::deletedInItsOwnSignal_data()
{
    QTest::addColumn<QByteArray>("signal");
    QTest::newRow("ioexpdChanged") << QByteArray(SIGNAL(ioexpdChanged(bool)));
    QTest::newRow("m4Changed") << QByteArray(SIGNAL(m4Changed(bool)));
    QTest::newRow("supplydChanged") << QByteArray(SIGNAL(supplydChanged(bool)));
    QTest::newRow("knownChanged") << QByteArray(SIGNAL(knownChanged(bool)));
}

void tst_Availability::deletedInItsOwnSignal()
{
    QFETCH(QByteArray, signal);
    for (int server = 0; server < ServerCount; ++server) {
        m_daemons->start(server);
    }
    const QPointer<HNIPCAvailability> availability = new HNIPCAvailability;
    Listener listener(availability, signal.constData(), [&]() { delete availability.data(); });
    QVERIFY(waitUntil([&]() { return availability.isNull(); }));
    QVERIFY(m_daemons->passFence());
    for (int server = 0; server < ServerCount; ++server) {
        m_daemons->stop(server);
    }
}

void tst_Availability::receiverTurnsTheEventLoop()
{
    for (int server = 0; server < ServerCount; ++server) {
        m_daemons->start(server);
    }
    HNIPCAvailability availability;
    SignalRecorder recorder(&availability);
    // Passing the bus thread posts a new event. Without one, Qt's GLib event loop does not see
    // events that were queued before the nested loop started.
    Listener listener(&availability, SIGNAL(ioexpdChanged(bool)), [&]() {
        passBusThread();
        waitUntil([&]() { return availability.isKnown(); });
    });
    QVERIFY(becomesKnown(availability));
    QVERIFY(m_daemons->passFence());
    QCOMPARE(recorder.take(),
             Lines() << line("ioexpdChanged(bool)", true) << line("m4Changed(bool)", true)
                     << line("supplydChanged(bool)", true) << line("knownChanged(bool)", true));
    for (int server = 0; server < ServerCount; ++server) {
        m_daemons->stop(server);
    }
}

void tst_Availability::mayBeMovedToAThread()
{
    m_daemons->start(M4);
    QThread thread;
    thread.start();
    HNIPCAvailability *const availability = new HNIPCAvailability;
    Listener *const listener = new Listener(availability, SIGNAL(knownChanged(bool)), [&]() {
        if (QThread::currentThread() == &thread && availability->hasM4()) {
            thread.quit();
        }
    });
    listener->setParent(availability);
    availability->moveToThread(&thread);
    QVERIFY(waitUntil([&]() { return thread.isFinished(); }));
    delete availability;
    m_daemons->stop(M4);
}

HNIPC_TEST_MAIN(tst_Availability)

#include "tst_availability.moc"
