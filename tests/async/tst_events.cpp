// SPDX-License-Identifier: MIT
#include "asyncdaemons.h"
#include "client/relayrows.h"
#include "client/signalparameters.h"
#include "events.h"
#include "support/listener.h"
#include "support/privatebus.h"
#include "support/qtmajors.h"
#include "support/signature.h"
#include "support/table.h"

#include <hnipc/hnipcevents.h>

#include <QtCore/QPointer>

using namespace Expected;

namespace {

const int eventCount = 59;

// The signals of HNIPC in their order, without the one that no daemon sends.
QList<const ClientSignal *> rows()
{
    QList<const ClientSignal *> result;
    for (const ClientSignal &row : clientSignals) {
        if (row.member) {
            result.append(&row);
        }
    }
    return result;
}

QMetaMethod method(int index)
{
    return HNIPCEvents::staticMetaObject.method(HNIPCEvents::staticMetaObject.methodOffset()
                                                + index);
}

QList<QByteArray> names(const char *list)
{
    return QByteArray(list).isEmpty() ? QList<QByteArray>() : QByteArray(list).split(',');
}

// Compiles only if the class declares the signals of its own with these parameters.
class Probe : public HNIPCEvents
{
public:
    typedef void (HNIPCEvents::*Received)(const QString &, const QVariantList &);
    static Received receivedSignal() { return &Probe::received; }
    static void (HNIPCEvents::*listeningSignal())(bool) { return &Probe::listeningChanged; }
};

// A class of an application that derives from HNIPCEvents.
class OwnEvents : public HNIPCEvents
{
    Q_OBJECT

public:
    OwnEvents() { connect(this, SIGNAL(Alert(int)), SLOT(onAlert(int))); }

    QList<int> alerts;

private Q_SLOTS:
    void onAlert(int value) { alerts.append(value); }
};

const struct
{
    const char *name;
    const char *signal;
    int emissions; // until the slot destroys the object
} destructions[] = {
    { "listeningChanged", SIGNAL(listeningChanged(bool)), 1 },
    { "its own signal", SIGNAL(M4Dac0(quint32)), 2 },
    { "received", SIGNAL(received(QString, QVariantList)), 3 },
};

} // namespace

// The daemons' signals are emitted as events, and nothing else is.
class tst_Events : public QObject
{
    Q_OBJECT

public:
    tst_Events() : m_recorder(&m_events) {}

private Q_SLOTS:
    void initTestCase();
    void classIsPlain();
    void signalsAreDeclaredInOrder();
    void stateIsKnownBeforeListeningChanged();
    void signalIsRelayedWithItsValues_data() { addRows(); }
    void signalIsRelayedWithItsValues();
    void furtherArgumentsAreLeftOut_data() { addRows(); }
    void furtherArgumentsAreLeftOut();
    void misfitIsNotRelayed_data() { addRows(); }
    void misfitIsNotRelayed();
    void foreignAddressIsNotRelayed_data() { addRows(); }
    void foreignAddressIsNotRelayed();
    void signalOfAnotherSenderIsIgnored_data() { addRows(); }
    void signalOfAnotherSenderIsIgnored();
    void signalToThisProcessAloneIsRelayed();
    void oneProcessMayBeAllDaemons();
    void statusChangedIsNoEvent();
    void largeValuesArriveWhole();
    void orderIsKept();
    void orderIsThatOfTheBus();
    void daemonMayStartLaterAndAgain_data() { addServers(); }
    void daemonMayStartLaterAndAgain();
    void daemonMayBeReplaced();
    void daemonsDoNotChangeWhatIsListenedTo();
    void eachObjectReceivesEverySignal();
    void destroyedObjectLeavesTheOthersTheirs();
    void ownClassReceivesToo();
    void parentDestroysIt();
    void destroyedInItsSlot_data();
    void destroyedInItsSlot();
    void allDestroyedInASlot();
    void eventLoopInASlot();
    void eventLoopInASlotAndDestroyed();

private:
    bool emitRow(const ClientSignal &row, int round, const Lines &more = Lines())
    {
        return ::emitRow(&m_daemons, row, round, more);
    }

    bool emitNumber(quint32 number) { return ::emitNumber(&m_daemons[M4], number); }

    // All emissions of the object so far.
    Lines emitted()
    {
        return m_daemons.passFence() ? m_recorder.take() : Lines() << "the fence is lost";
    }

    AsyncDaemons m_daemons;
    HNIPCEvents m_events;
    SignalRecorder m_recorder;
};

void tst_Events::initTestCase()
{
    QVERIFY(!m_events.isListening());
    QVERIFY(waitUntilListening(m_events));
    QCOMPARE(emitted(), Lines() << listeningChangedTo(true));
}

void tst_Events::classIsPlain()
{
    const QMetaObject &meta = HNIPCEvents::staticMetaObject;
    QCOMPARE(QByteArray(meta.className()), QByteArray("HNIPCEvents"));
    QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
    QCOMPARE(meta.methodCount() - meta.methodOffset(), eventCount + 2);
    QCOMPARE(meta.propertyCount() - meta.propertyOffset(), 1);
    QCOMPARE(meta.classInfoCount() - meta.classInfoOffset(), 0);
    QCOMPARE(meta.enumeratorCount() - meta.enumeratorOffset(), 0);
    QCOMPARE(meta.constructorCount(), 0);
    QCOMPARE(int(rows().size()), eventCount);
}

void tst_Events::signalsAreDeclaredInOrder()
{
    SignalParameters<HNIPCEvents, void>::check();
    Probe::receivedSignal();
    Probe::listeningSignal();
    for (int index = 0; index < eventCount + 2; ++index) {
        const QMetaMethod signal = method(index);
        QByteArray signature = "received(QString,QVariantList)";
        const char *parameters = "name,values";
        if (index < eventCount) {
            signature = rows().at(index)->signature;
            parameters = rows().at(index)->parameters;
        } else if (index > eventCount) {
            signature = "listeningChanged(bool)";
            parameters = "listening";
        }
        QCOMPARE(signatureOf(signal), withoutAliases(signature));
        QCOMPARE(signal.parameterNames(), names(parameters));
        QCOMPARE(resultOf(signal), QByteArray());
        QCOMPARE(signal.methodType(), QMetaMethod::Signal);
        QCOMPARE(signal.attributes(), 0);
        QCOMPARE(QByteArray(signal.tag()), QByteArray());
    }
}

void tst_Events::stateIsKnownBeforeListeningChanged()
{
    HNIPCEvents events;
    bool seen = false;
    Listener listener(&events, SIGNAL(listeningChanged(bool)),
                      [&]() { seen = events.isListening(); });
    QVERIFY(waitUntilListening(events));
    QVERIFY(seen);
}

void tst_Events::signalIsRelayedWithItsValues()
{
    QFETCH(int, index);
    const ClientSignal &row = clientSignals[index];
    Lines expected;
    for (int round = 0; round < 6; ++round) { // more rounds than a type has samples
        QVERIFY(emitRow(row, round));
        expected += relayed(row, round);
    }
    QCOMPARE(emitted(), expected);
}

void tst_Events::furtherArgumentsAreLeftOut()
{
    QFETCH(int, index);
    const ClientSignal &row = clientSignals[index];
    const char *const further[] = {
        "42",         "'text'",       "(true, 'x')",          "@a{sv} {}",
        "{'a': <1>}", "<(1, 2)>",     "[(1, 'a'), (2, 'b')]", "@aai []",
        "@ax [1]",    "[<1>, <'a'>]", "{1: {2: [<3>]}}"
    };
    Lines expected;
    Lines all;
    for (const char *const one : further) {
        QVERIFY(emitRow(row, 1, Lines() << one));
        expected += relayed(row, 1);
        all << one;
    }
    QVERIFY(emitRow(row, 2, all));
    QCOMPARE(emitted(), expected + relayed(row, 2));
}

// The process does not crash either, whatever the signal with wrong types contains.
void tst_Events::misfitIsNotRelayed()
{
    QFETCH(int, index);
    const ClientSignal &row = clientSignals[index];
    QCOMPARE(emitMisfits(&m_daemons, row, simpleMisfits), simpleMisfitCount * parameterCount(row));
    // clang-format off
    const Misfit containers[] = {
        { "", "(42,)" }, { "", "(1, 'a')" }, { "", "{'a': <1>}" }, { "", "@a{sv} {}" },
        { "", "{'a': 'b'}" }, { "", "[(1, 2)]" }, { "", "@a(ss) []" }, { "", "[['42']]" },
        { "", "@aas []" }, { "", "[42]" }, { "", "@ai []" }, { "", "[42.5]" },
        { "", "[objectpath '/a']" }, { "", "[signature 's']" }, { "", "[true]" }, { "", "@av []" },
        { "", "<<'42'>>" }, { "", "<(1, 2)>" }, { "", "('42', ['42'])" },
    };
    // clang-format on
    QCOMPARE(emitMisfits(&m_daemons, row, containers), 19 * parameterCount(row));
    if (row.member == QByteArray("SUPPLYD_RibbonChanged")) { // its two types differ
        const QList<Sample> fitting = argumentSamples(row.signature, 1);
        const QList<Sample> swapped = QList<Sample>() << fitting.at(1) << fitting.at(0);
        QVERIFY(m_daemons.emitSignal(row.server, row.member, wireBody(swapped)));
    }
    QCOMPARE(emitted(), Lines());
}

void tst_Events::foreignAddressIsNotRelayed()
{
    QFETCH(int, index);
    const ClientSignal &row = clientSignals[index];
    const int other = (row.server + 1) % ServerCount;
    WirePeer &daemon = m_daemons[row.server];
    const QByteArray interface = identities[row.server].interface;
    const QByteArray otherInterface = identities[other].interface;
    const QByteArray member = row.member;
    const QByteArray body = wireBody(argumentSamples(row.signature, 1));
    // The bus delivers all of them to this process, whatever it subscribed to.
    const QByteArray destinations[] = { QByteArray(),
                                        QDBusConnection::systemBus().baseService().toLatin1() };

    for (const QByteArray &destination : destinations) {
        QVERIFY(daemon.emitSignal("/a", interface, member, body, destination));
        QVERIFY(daemon.emitSignal("/", otherInterface, member, body, destination));
        QVERIFY(daemon.emitSignal("/", interface.mid(6) + ".x", member, body, destination));
        QVERIFY(daemon.emitSignal("/", interface, member.mid(member.indexOf('_') + 1), body,
                                  destination));
        QVERIFY(daemon.emitSignal("/", interface, member.toLower(), body, destination));
        QVERIFY(daemon.emitSignal("/", interface, member + "Signal", body, destination));
        // A member of one daemon in the interface of another daemon.
        QVERIFY(m_daemons[other].emitSignal("/", otherInterface, member, body, destination));
    }
    QCOMPARE(emitted(), Lines());
}

void tst_Events::signalOfAnotherSenderIsIgnored()
{
    QFETCH(int, index);
    const ClientSignal &row = clientSignals[index];
    const QByteArray interface = identities[row.server].interface;
    const QByteArray body = wireBody(argumentSamples(row.signature, 1));
    const QByteArray self = QDBusConnection::systemBus().baseService().toLatin1();
    const QByteArray destinations[] = { QByteArray(), self };

    WirePeer stranger;
    WirePeer &otherDaemon = m_daemons[(row.server + 1) % ServerCount];
    for (const QByteArray &destination : destinations) {
        QVERIFY(stranger.emitSignal("/", interface, row.member, body, destination));
        QVERIFY(otherDaemon.emitSignal("/", interface, row.member, body, destination));
    }
    m_daemons.stop(row.server); // so the name has no owner
    QVERIFY(stranger.emitSignal("/", interface, row.member, body, self));
    m_daemons.start(row.server);
    QCOMPARE(emitted(), Lines());
}

void tst_Events::signalToThisProcessAloneIsRelayed()
{
    const QByteArray self = QDBusConnection::systemBus().baseService().toLatin1();
    QVERIFY(
        m_daemons[M4].emitSignal("/", identities[M4].interface, "M4_M4Dac0", "(uint32 7,)", self));
    QCOMPARE(emitted(), relayedNumber(7));
}

void tst_Events::oneProcessMayBeAllDaemons()
{
    Lines expected;
    {
        WirePeer all;
        for (int server = 0; server < ServerCount; ++server) {
            m_daemons.stop(server);
            QVERIFY(all.own(identities[server].busName));
        }
        for (int server = 0; server < ServerCount; ++server) {
            const ClientSignal &row = rowOf(server);
            const QByteArray body = wireBody(argumentSamples(row.signature, 1));
            QVERIFY(all.emitSignal("/", identities[server].interface, row.member, body));
            expected += relayed(row, 1);
        }
    }
    for (int server = 0; server < ServerCount; ++server) {
        m_daemons.start(server);
    }
    QCOMPARE(emitted(), expected);
}

void tst_Events::statusChangedIsNoEvent()
{
    QVERIFY(emitStatusChanged(&m_daemons));
    QCOMPARE(emitted(), Lines());
}

void tst_Events::largeValuesArriveWhole()
{
    const QByteArray text(1024 * 1024, 'x');
    QStringList list;
    Lines items;
    for (int i = 0; i < 10000; ++i) {
        list.append(QString::number(i));
        items.append('\'' + QByteArray::number(i) + '\'');
    }
    QVERIFY(m_daemons.emitSignal(M4, "M4_M4TachValues", "('" + text + "',)"));
    QVERIFY(m_daemons.emitSignal(M4, "M4_M4RibbonIDs", "([" + joined(items, ",") + "],)"));
    // Not compared by QCOMPARE, which aborts on strings of this length.
    QVERIFY(emitted()
            == relayed("M4TachValues(QString)", QVariantList() << QString::fromLatin1(text))
                + relayed("M4RibbonIDs(QStringList)", QVariantList() << list));
}

void tst_Events::orderIsKept()
{
    Lines expected;
    for (int round = 0; round < 3; ++round) {
        for (int i = 0; i < eventCount; ++i) {
            const ClientSignal &row = *rows().at(i * 20 % eventCount); // the daemons in turn
            QVERIFY(emitRow(row, round));
            expected += relayed(row, round);
        }
    }
    QCOMPARE(int(expected.size()), 3 * 59 * 2);
    QCOMPARE(emitted(), expected);
}

// Three daemons send at the same time, and another program receives their signals, too.
void tst_Events::orderIsThatOfTheBus()
{
    WirePeer witness;
    QVERIFY(witness.listen("type='signal',path='/'"));
    const int each = 200;
    std::thread threads[ServerCount];
    for (int server = 0; server < ServerCount; ++server) {
        threads[server] = std::thread([this, server]() {
            for (int i = 0; i < each; ++i) {
                emitRow(rowOf(server), i);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    for (int server = 0; server < ServerCount; ++server) {
        QVERIFY(waitUntil([&]() { return witness.heard(rowOf(server).member) == each; }));
    }

    Lines expected;
    int rounds[ServerCount] = { 0, 0, 0 };
    const QList<WireMessage> heard = witness.receivedSignals();
    for (const WireMessage &message : heard) {
        for (int server = 0; server < ServerCount; ++server) {
            if (message.member == rowOf(server).member) {
                expected += relayed(rowOf(server), rounds[server]++);
            }
        }
    }
    QCOMPARE(int(expected.size()), ServerCount * each * 2);
    QCOMPARE(emitted(), expected);
}

void tst_Events::daemonMayStartLaterAndAgain()
{
    QFETCH(int, server);
    const ClientSignal &row = rowOf(server);
    m_daemons.stop(server);
    HNIPCEvents events;
    SignalRecorder recorder(&events);
    QVERIFY(waitUntilListening(events));
    QCOMPARE(recorder.take(), Lines() << listeningChangedTo(true));
    for (int start = 0; start < 5; ++start) {
        // The daemon's first signal follows immediately.
        QVERIFY(m_daemons[server].own(identities[server].busName));
        QVERIFY(emitRow(row, start));
        QVERIFY(m_daemons.passFence());
        QCOMPARE(recorder.take(), relayed(row, start));

        // Signals of a process that has lost the name are ignored.
        m_daemons.stop(server);
        QVERIFY(emitRow(row, start));
        QVERIFY(m_daemons.passFence());
        QCOMPARE(recorder.take(), Lines());
    }
    m_daemons.start(server);
    emitted();
}

void tst_Events::daemonMayBeReplaced()
{
    m_daemons.stop(M4);
    WirePeer first;
    WirePeer second;
    QVERIFY(first.takeOver(identities[M4].busName));
    Lines expected;
    for (quint32 i = 0; i < 20; ++i) {
        WirePeer &newOne = i % 2 ? first : second;
        WirePeer &oldOne = i % 2 ? second : first;
        QVERIFY(newOne.takeOver(identities[M4].busName));
        QVERIFY(::emitNumber(&newOne, i));
        QVERIFY(::emitNumber(&oldOne, 1000));
        expected += relayedNumber(i);
    }
    QCOMPARE(emitted(), expected);
    QVERIFY(first.release(identities[M4].busName) || second.release(identities[M4].busName));
    m_daemons.start(M4);
}

void tst_Events::daemonsDoNotChangeWhatIsListenedTo()
{
    HNIPCAvailability availability; // of the same process, and notified of daemons
    QVERIFY(waitUntil([&]() { return availability.hasM4(); }));
    m_daemons.stop(M4);
    QVERIFY(waitUntil([&]() { return !availability.hasM4(); }));
    QVERIFY(m_events.isListening());
    m_daemons.start(M4);
    QVERIFY(waitUntil([&]() { return availability.hasM4(); }));
    QVERIFY(m_events.isListening());
    QVERIFY(emitNumber(1));
    QCOMPARE(emitted(), relayedNumber(1));
    QVERIFY(availability.isKnown() && availability.hasM4());
}

void tst_Events::eachObjectReceivesEverySignal()
{
    HNIPCEvents events;
    SignalRecorder recorder(&events);
    QVERIFY(waitUntilListening(events));
    Lines expected;
    for (const ClientSignal *row : rows()) {
        QVERIFY(emitRow(*row, 1));
        expected += relayed(*row, 1);
    }
    QCOMPARE(emitted(), expected);
    QCOMPARE(recorder.take(), Lines() << listeningChangedTo(true) << expected);
}

void tst_Events::destroyedObjectLeavesTheOthersTheirs()
{
    delete new HNIPCEvents;
    {
        HNIPCEvents events;
        QVERIFY(waitUntilListening(events));
    }
    QVERIFY(emitNumber(2));
    QCOMPARE(emitted(), relayedNumber(2));
    QVERIFY(m_events.isListening());
}

void tst_Events::ownClassReceivesToo()
{
    OwnEvents events;
    QVERIFY(waitUntilListening(events));
    QVERIFY(m_daemons.emitSignal(M4, "M4_Alert", "(5,)"));
    QVERIFY(m_daemons.emitSignal(M4, "M4_Error", "(6,)"));
    QVERIFY(m_daemons.emitSignal(M4, "M4_Alert", "(-7,)"));
    emitted();
    QCOMPARE(events.alerts, QList<int>() << 5 << -7);
}

void tst_Events::parentDestroysIt()
{
    QPointer<HNIPCEvents> events;
    {
        QObject parent;
        events = new HNIPCEvents(&parent);
        QCOMPARE(events->parent(), &parent);
        QVERIFY(waitUntilListening(*events));
        QVERIFY(emitNumber(3)); // on its way to the object
    }
    QVERIFY(!events);
    QCOMPARE(emitted(), relayedNumber(3));
}

void tst_Events::destroyedInItsSlot_data() { addTable(destructions); }

void tst_Events::destroyedInItsSlot()
{
    const auto &row = currentRow(destructions);
    HNIPCEvents *const events = new HNIPCEvents;
    QPointer<HNIPCEvents> guard = events;
    SignalRecorder recorder(events);
    Listener listener(events, row.signal, [&]() { delete events; });
    QVERIFY(waitUntil([&]() { return !guard || guard->isListening(); }));
    QVERIFY(emitNumber(1));
    QVERIFY(emitNumber(2));
    QCOMPARE(emitted(), relayedNumber(1) + relayedNumber(2));
    QVERIFY(!guard);
    const Lines all = Lines() << listeningChangedTo(true) << relayedNumber(1);
    QCOMPARE(recorder.take(), all.mid(0, row.emissions));
}

void tst_Events::allDestroyedInASlot()
{
    QList<HNIPCEvents *> all;
    QList<SignalRecorder *> recorders;
    for (int i = 0; i < 5; ++i) {
        all.append(new HNIPCEvents);
        QVERIFY(waitUntilListening(*all.last()));
        recorders.append(new SignalRecorder(all.last()));
    }
    Listener listener(all.at(2), SIGNAL(M4Dac0(quint32)), [&]() {
        qDeleteAll(all);
        all.clear();
    });
    QVERIFY(emitNumber(1));
    QVERIFY(emitNumber(2));
    QCOMPARE(emitted(), relayedNumber(1) + relayedNumber(2));
    QVERIFY(all.isEmpty());
    // The signal is delivered to the objects one after the other.
    for (int i = 0; i < 5; ++i) {
        const Lines told = recorders.at(i)->take();
        QCOMPARE(told, i < 2 ? relayedNumber(1) : relayedNumber(1).mid(0, i == 2 ? 1 : 0));
    }
    qDeleteAll(recorders);
}

void tst_Events::eventLoopInASlot()
{
    const int numbers = 20;
    int heard = 0;
    Listener listener(&m_events, SIGNAL(M4Dac0(quint32)), [&]() {
        if (++heard == 1) {
            waitUntil([&]() { return heard == numbers; });
        }
    });
    Lines expected = relayedNumber(0).mid(0, 1);
    for (quint32 i = 0; i < numbers; ++i) {
        QVERIFY(emitNumber(i));
        if (i > 0) {
            expected += relayedNumber(i);
        }
    }
    QVERIFY(waitUntil([&]() { return heard == numbers; }));
    const Lines told = emitted();
    // The second half of the last signal's emissions and that of the first follow the nested loop.
    QCOMPARE(int(told.size()), 2 * numbers);
    QCOMPARE(told.mid(0, 2 * numbers - 2), expected.mid(0, 2 * numbers - 2));
    Lines end = expected.mid(2 * numbers - 2) + relayedNumber(0).mid(1);
    QCOMPARE(told.mid(2 * numbers - 2), end);
}

void tst_Events::eventLoopInASlotAndDestroyed()
{
    HNIPCEvents *const events = new HNIPCEvents;
    SignalRecorder recorder(events);
    QVERIFY(waitUntilListening(*events));
    recorder.take();
    int heard = 0;
    Listener listener(events, SIGNAL(M4Dac0(quint32)), [&]() {
        if (++heard == 3) {
            delete events;
        } else {
            waitUntil([&]() { return heard == 3; });
        }
    });
    for (quint32 i = 0; i < 5; ++i) {
        QVERIFY(emitNumber(i));
    }
    QVERIFY(waitUntil([&]() { return heard == 3; }));
    emitted();
    QCOMPARE(recorder.take(),
             relayedNumber(0).mid(0, 1) + relayedNumber(1).mid(0, 1) + relayedNumber(2).mid(0, 1));
}

HNIPC_TEST_MAIN(tst_Events)

#include "tst_events.moc"
