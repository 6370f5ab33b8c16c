// SPDX-License-Identifier: MIT
#include "asyncdaemons.h"
#include "client/relayrows.h"
#include "support/haltedbus.h"
#include "support/listener.h"
#include "support/privatebus.h"
#include "support/qtmajors.h"
#include "support/signalrecorder.h"
#include "support/table.h"

#include <hnipc/hnipcavailability.h>
#include <hnipc/hnipcevents.h>

#include <QtCore/QPointer>
#include <QtCore/QThread>
#include <QtDBus/QDBusConnection>

using namespace Expected;

namespace {

const QByteArray m4Name = identities[M4].busName;

const char *const changes[ServerCount] = { "ioexpdChanged(bool)", "m4Changed(bool)",
                                           "supplydChanged(bool)" };

QByteArray changed(int server, bool value)
{
    return emission(changes[server], QVariantList() << value);
}

QByteArray known() { return emission("knownChanged(bool)", QVariantList() << true); }

// An availability that records its signals.
class RecordedAvailability : public HNIPCAvailability
{
public:
    RecordedAvailability() : m_recorder(this) {}

    // The daemons that are available, such as "IOEXPD M4"; "unknown" before the bus has reported.
    QByteArray daemons() const
    {
        Lines result;
        if (!isKnown()) {
            result << "unknown";
        }
        const bool has[] = { hasIoexpd(), hasM4(), hasSupplyd() };
        for (int server = 0; server < ServerCount; ++server) {
            if (has[server]) {
                result << identities[server].tag;
            }
        }
        return joined(result, " ");
    }

    bool becomesKnown() const
    {
        return waitUntil([this]() { return isKnown(); });
    }

    Lines takeSignals() { return m_recorder.take(); }

private:
    SignalRecorder m_recorder;
};

#define COMPARE_DAEMONS(availability, tags) QCOMPARE((availability).daemons(), QByteArray(tags))

const struct
{
    const char *name;
    int steps;
} startSteps[] = { { "starts", 1 }, { "starts and stops", 2 }, { "starts, stops and starts", 3 } };

const struct
{
    const char *name;
    const char *signal;
} ownSignals[] = {
    { "ioexpdChanged", SIGNAL(ioexpdChanged(bool)) },
    { "m4Changed", SIGNAL(m4Changed(bool)) },
    { "supplydChanged", SIGNAL(supplydChanged(bool)) },
    { "knownChanged", SIGNAL(knownChanged(bool)) },
};

} // namespace

// Which daemons are on the bus, as the bus reports it.
class tst_Availability : public QObject
{
    Q_OBJECT

public:
    tst_Availability() : m_daemons(false) {}

private Q_SLOTS:
    void init();
    void cleanup();
    void onlyTheBusIsAskedAndOnlyOnce();
    void daemonsThatAreThereBefore_data();
    void daemonsThatAreThereBefore();
    void daemonComesAndGoes_data() { addServers(); }
    void daemonComesAndGoes();
    void daemonCrashes();
    void daemonIsReplacedWithoutAGap();
    void daemonComesBeforeTheBusHasTold_data() { addTable(startSteps); }
    void daemonComesBeforeTheBusHasTold();
    void otherNamesAreNoDaemons();
    void subscriptionToSignalsMakesNoDaemonAvailable();
    void constructionDoesNotWaitForTheBus();
    void mayBeDestroyedAtAnyTime();
    void deletedInItsOwnSignal_data() { addTable(ownSignals); }
    void deletedInItsOwnSignal();
    void receiverTurnsTheEventLoop();
    void mayBeMovedToAThread();

private:
    void startAll()
    {
        for (int server = 0; server < ServerCount; ++server) {
            m_daemons.start(server);
        }
    }

    AsyncDaemons m_daemons;
};

void tst_Availability::init()
{
    m_daemons.takeCalls();
    makeRoundTrip();
}

// Each test begins without daemons.
void tst_Availability::cleanup()
{
    for (int server = 0; server < ServerCount; ++server) {
        m_daemons[server].release(identities[server].busName);
    }
    QVERIFY(m_daemons.passFence());
}

// Runs first: it needs the first object of the process.
void tst_Availability::onlyTheBusIsAskedAndOnlyOnce()
{
    m_daemons.FakeDaemons::start(M4);
    WireMonitor monitor;
    const auto takeSent = [&]() {
        const QByteArray self = QDBusConnection::systemBus().baseService().toLatin1();
        makeRoundTrip();
        Lines result;
        const QList<WireMessage> messages = monitor.take();
        for (const WireMessage &message : messages) {
            if (message.sender == self && message.member != "GetId") {
                result << message.destination + ' ' + message.member + ' ' + message.body;
            }
        }
        return result;
    };

    RecordedAvailability availability;
    QVERIFY(availability.becomesKnown());
    QCOMPARE(availability.takeSignals(), Lines() << changed(M4, true) << known());
    // The process subscribes to each name before it asks for it. Otherwise it would miss a change
    // in between.
    const QByteArray toTheBus = "org.freedesktop.DBus ";
    Lines expected = Lines() << toTheBus
            + "AddMatch (\"type='signal',path='/org/freedesktop/DBus/Local',"
              "interface='org.freedesktop.DBus.Local',member='Disconnected'\",)";
    for (const Identity &identity : identities) {
        const QByteArray name = identity.busName;
        expected << toTheBus
                + "AddMatch (\"type='signal',sender='org.freedesktop.DBus',"
                  "interface='org.freedesktop.DBus',member='NameOwnerChanged',arg0='"
                + name + "'\",)"
                 << toTheBus + "GetNameOwner ('" + name + "',)";
    }
    QCOMPARE(takeSent(), expected);

    // All objects of the process share this subscription.
    RecordedAvailability another;
    QVERIFY(another.becomesKnown());
    COMPARE_DAEMONS(another, "M4");
    for (int i = 0; i < 3; ++i) {
        cleanup();
        startAll();
    }
    QCOMPARE(takeSent(), Lines());
    QCOMPARE(m_daemons.takeCalls().size(), 0);
    for (int server = 0; server < ServerCount; ++server) {
        QCOMPARE(m_daemons[server].introspections(), 0);
    }
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
    Lines tags;
    for (int server = 0; server < ServerCount; ++server) {
        if (mask & (1 << server)) {
            m_daemons.start(server);
            expected << changed(server, true);
            tags << identities[server].tag;
        }
    }
    RecordedAvailability availability;
    COMPARE_DAEMONS(availability, "unknown");
    QVERIFY(availability.becomesKnown());
    COMPARE_DAEMONS(availability, joined(tags, " "));
    QVERIFY(m_daemons.passFence());
    QCOMPARE(availability.takeSignals(), expected << known());
    cleanup();
    COMPARE_DAEMONS(availability, "");
}

void tst_Availability::daemonComesAndGoes()
{
    QFETCH(int, server);
    RecordedAvailability availability;
    QVERIFY(availability.becomesKnown());
    availability.takeSignals();
    for (int i = 0; i < 3; ++i) {
        m_daemons.start(server);
        COMPARE_DAEMONS(availability, identities[server].tag);
        QCOMPARE(availability.takeSignals(), Lines() << changed(server, true));
        m_daemons.stop(server);
        COMPARE_DAEMONS(availability, "");
        QCOMPARE(availability.takeSignals(), Lines() << changed(server, false));
    }
}

void tst_Availability::daemonCrashes()
{
    RecordedAvailability availability;
    QVERIFY(availability.becomesKnown());
    availability.takeSignals();
    {
        WirePeer mortal;
        QVERIFY(mortal.own(m4Name));
        QVERIFY(m_daemons.passFence());
        COMPARE_DAEMONS(availability, "M4");
    }
    QVERIFY(waitUntil([&]() { return !availability.hasM4(); }));
    QVERIFY(m_daemons.passFence());
    QCOMPARE(availability.takeSignals(), Lines() << changed(M4, true) << changed(M4, false));
}

void tst_Availability::daemonIsReplacedWithoutAGap()
{
    WirePeer first;
    WirePeer second;
    QVERIFY(first.takeOver(m4Name));
    QVERIFY(m_daemons.passFence());
    RecordedAvailability availability;
    QVERIFY(availability.becomesKnown());
    COMPARE_DAEMONS(availability, "M4");
    availability.takeSignals();
    for (int i = 0; i < 3; ++i) {
        QVERIFY(second.takeOver(m4Name));
        QVERIFY(first.takeOver(m4Name));
    }
    QVERIFY(m_daemons.passFence());
    COMPARE_DAEMONS(availability, "M4");
    QCOMPARE(availability.takeSignals(), Lines());
    QVERIFY(first.release(m4Name));
    QVERIFY(m_daemons.passFence());
    COMPARE_DAEMONS(availability, "");
    QCOMPARE(availability.takeSignals(), Lines() << changed(M4, false));
}

// The reply is older or newer than these changes. It never undoes one.
void tst_Availability::daemonComesBeforeTheBusHasTold()
{
    const int steps = currentRow(startSteps).steps;
    WirePeer peer;
    for (int attempt = 0; attempt < 200; ++attempt) {
        RecordedAvailability availability;
        bool isThere = false;
        for (int i = 0; i < steps; ++i) { // no event loop turns meanwhile
            QVERIFY(isThere ? peer.release(m4Name) : peer.own(m4Name));
            isThere = !isThere;
        }
        QVERIFY(availability.becomesKnown());
        QVERIFY(m_daemons.passFence());
        COMPARE_DAEMONS(availability, isThere ? "M4" : "");
        // Each signal reports a change.
        Lines lines = availability.takeSignals();
        QCOMPARE(int(lines.removeAll(known())), 1);
        bool told = false;
        for (int i = 0; i < lines.size(); ++i) {
            told = !told;
            QCOMPARE(lines.at(i), changed(M4, told));
        }
        QCOMPARE(told, isThere);
        QVERIFY(!isThere || peer.release(m4Name));
        QVERIFY(m_daemons.passFence());
    }
}

void tst_Availability::otherNamesAreNoDaemons()
{
    RecordedAvailability availability;
    QVERIFY(availability.becomesKnown());
    availability.takeSignals();
    const char *const names[] = { "org.hnipc", "org.hnipc.m4.other", "org.hnipc.m", "org.hnipc.M4",
                                  "other.org.hnipc.m4" };
    WirePeer peer;
    for (const char *const name : names) {
        QVERIFY(peer.own(name));
        QVERIFY(m_daemons.passFence());
        QVERIFY(peer.release(name));
    }
    QVERIFY(m_daemons.passFence());
    QCOMPARE(availability.takeSignals(), Lines());
}

void tst_Availability::subscriptionToSignalsMakesNoDaemonAvailable()
{
    RecordedAvailability availability;
    QVERIFY(availability.becomesKnown());
    availability.takeSignals();
    const HNIPCEvents events;
    QVERIFY(waitUntil([&]() { return events.isListening(); }));
    QCOMPARE(availability.takeSignals(), Lines());
    COMPARE_DAEMONS(availability, "");
}

void tst_Availability::constructionDoesNotWaitForTheBus()
{
    m_daemons.start(SUPPLYD);
    HaltedBus bus;
    RecordedAvailability availability;
    delete new HNIPCAvailability;
    COMPARE_DAEMONS(availability, "unknown");
    QVERIFY(bus.resume());
    QVERIFY(availability.becomesKnown());
    COMPARE_DAEMONS(availability, "SUPPLYD");
}

void tst_Availability::mayBeDestroyedAtAnyTime()
{
    m_daemons.start(M4);
    RecordedAvailability other;
    for (int i = 0; i < 100; ++i) {
        RecordedAvailability availability;
        if (i % 3 == 1) { // the replies are under way
            m_daemons[M4].sync();
        } else if (i % 3 == 2) {
            QVERIFY(availability.becomesKnown());
        }
    }
    COMPARE_DAEMONS(other, "M4");
}

void tst_Availability::deletedInItsOwnSignal()
{
    startAll();
    const QPointer<HNIPCAvailability> availability = new HNIPCAvailability;
    Listener listener(availability, currentRow(ownSignals).signal,
                      [&]() { delete availability.data(); });
    QVERIFY(waitUntil([&]() { return availability.isNull(); }));
    QVERIFY(m_daemons.passFence());
}

void tst_Availability::receiverTurnsTheEventLoop()
{
    startAll();
    RecordedAvailability availability;
    // Passing the bus thread posts a new event. Without one, Qt's GLib event loop does not see
    // events that were queued before the nested loop started.
    Listener listener(&availability, SIGNAL(ioexpdChanged(bool)), [&]() {
        passBusThread();
        availability.becomesKnown();
    });
    QVERIFY(availability.becomesKnown());
    QVERIFY(m_daemons.passFence());
    QCOMPARE(availability.takeSignals(),
             Lines() << changed(IOEXPD, true) << changed(M4, true) << changed(SUPPLYD, true)
                     << known());
}

void tst_Availability::mayBeMovedToAThread()
{
    m_daemons.start(M4);
    QThread thread;
    thread.start();
    HNIPCAvailability availability;
    Listener *const listener = new Listener(&availability, SIGNAL(knownChanged(bool)), [&]() {
        if (QThread::currentThread() == &thread && availability.hasM4()) {
            thread.quit();
        }
    });
    listener->setParent(&availability);
    availability.moveToThread(&thread);
    QVERIFY(waitUntil([&]() { return thread.isFinished(); }));
}

HNIPC_TEST_MAIN(tst_Availability)

#include "tst_availability.moc"
