// SPDX-License-Identifier: MIT
#include "fence.h"
#include "privatebus.h"
#include "waituntil.h"
#include "wirepeer.h"

#include <QtCore/QObject>
#include <QtCore/QThread>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusPendingCall>

namespace {

const char busName[] = "org.example.Peer";
const char interface[] = "org.example.Interface";

QDBusMessage callOf(const char *member)
{
    return QDBusMessage::createMethodCall(QLatin1String(busName), QLatin1String("/a"),
                                          QLatin1String(interface), QLatin1String(member));
}

QDBusMessage asked(const char *member) { return QDBusConnection::systemBus().call(callOf(member)); }

// The expected bodies of messages that carry the numbers from 0 on, in this order.
QList<QByteArray> numbered(int count)
{
    QList<QByteArray> result;
    for (int i = 0; i < count; ++i) {
        result << '(' + QByteArray::number(i) + ",)";
    }
    return result;
}

QList<QByteArray> bodiesOf(const QList<WireMessage> &messages, const QByteArray &member)
{
    QList<QByteArray> result;
    for (const WireMessage &message : messages) {
        if (message.member == member) {
            result << message.body;
        }
    }
    return result;
}

// Sends calls on a connection of its own, in a thread of Qt: Qt 4 cannot call in other threads.
class Caller : public QThread
{
public:
    ~Caller() override { wait(); }

protected:
    void run() override
    {
        const QString name = QString::number(quintptr(this));
        {
            QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SystemBus, name);
            for (int i = 0; i < 250; ++i) {
                bus.call(callOf("number") << i);
            }
        }
        QDBusConnection::disconnectFromBus(name);
    }
};

// A subscriber without code of the library.
class Counter : public QObject
{
    Q_OBJECT

public:
    explicit Counter(const WirePeer &sender) : count(0)
    {
        QDBusConnection::systemBus().connect(QString::fromLatin1(sender.uniqueName()),
                                             QLatin1String("/"), QLatin1String(interface),
                                             QLatin1String("Number"), this, SLOT(onNumber(int)));
    }

    int count;

public Q_SLOTS:
    void onNumber(int) { ++count; }
};

} // namespace

// The helpers by which the tests notice that a message arrived, or that none did.
class tst_WirePeer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void noCallIsLost();
    void noCallOfManyThreadsIsLost();
    void callIsRecordedUnchanged();
    void callsOfTheBusAreNotRecorded();
    void replies();
    void heldCallIsAnsweredLater();
    void peerThatLeaves();
    void noSignalIsLost();
    void monitorSeesEverything();
    void fenceWaitsForAllMessages();
    void fenceIgnoresOtherMarkers();
};

void tst_WirePeer::noCallIsLost()
{
    WirePeer peer;
    QVERIFY(peer.own(busName));
    peer.answer("last", "()");
    const int count = 2000;
    for (int i = 0; i < count; ++i) {
        QDBusConnection::systemBus().send(callOf("number") << i);
    }
    QCOMPARE(asked("last").type(), QDBusMessage::ReplyMessage); // sent after all others
    QCOMPARE(bodiesOf(peer.calls(), "number"), numbered(count));
    QCOMPARE(int(peer.calls().size()), count + 1);
    peer.clearCalls();
    QVERIFY(peer.calls().isEmpty());
}

void tst_WirePeer::noCallOfManyThreadsIsLost()
{
    WirePeer peer;
    QVERIFY(peer.own(busName));
    peer.answer("number", "()");
    Caller callers[4];
    for (Caller &caller : callers) {
        caller.start();
    }
    for (Caller &caller : callers) {
        caller.wait();
    }
    const QList<WireMessage> calls = peer.calls();
    QCOMPARE(int(calls.size()), 4 * 250);
    QList<QByteArray> senders;
    for (const WireMessage &call : calls) {
        if (!senders.contains(call.sender)) {
            senders << call.sender;
        }
    }
    QCOMPARE(int(senders.size()), 4);
}

void tst_WirePeer::callIsRecordedUnchanged()
{
    WirePeer peer;
    QVERIFY(peer.own(busName));
    QDBusMessage call = callOf("member");
    call << -1 << uint(2) << QString::fromLatin1("text") << (QStringList() << QLatin1String("a"));
    QDBusConnection::systemBus().call(call);
    QDBusConnection::systemBus().send(callOf("noReply"));
    asked("last");

    const QList<WireMessage> calls = peer.calls();
    QCOMPARE(int(calls.size()), 3);
    QCOMPARE(int(calls[0].type), int(WireMessage::MethodCall));
    QCOMPARE(calls[0].line(),
             QByteArray("/a org.example.Interface.member iusas (-1, uint32 2, 'text', ['a'])"));
    QCOMPARE(calls[0].sender, QDBusConnection::systemBus().baseService().toLatin1());
    QCOMPARE(calls[0].destination, QByteArray(busName));
    QVERIFY(calls[0].replyExpected);
    QVERIFY(calls[0].autoStart);
    QCOMPARE(calls[1].line(), QByteArray("/a org.example.Interface.noReply  ()"));
    QVERIFY(!calls[1].replyExpected);
}

void tst_WirePeer::callsOfTheBusAreNotRecorded()
{
    WirePeer peer;
    QVERIFY(peer.own(busName));
    peer.setIntrospection("<node/>");
    WirePeer other;
    QCOMPARE(other.call(busName, "/", "org.freedesktop.DBus.Introspectable", "Introspect").body,
             QByteArray("('<node/>',)"));
    QCOMPARE(int(other.call(busName, "/", "org.freedesktop.DBus.Peer", "Ping").type),
             int(WireMessage::MethodReturn));
    QCOMPARE(peer.introspections(), 1);
    QVERIFY(peer.calls().isEmpty());
}

void tst_WirePeer::replies()
{
    WirePeer peer;
    QVERIFY(peer.own(busName));
    peer.answer("one", "(1,)");
    peer.answerError("error", "org.example.Error", "text");
    QCOMPARE(asked("one").arguments(), QVariantList() << 1);
    QCOMPARE(asked("error").errorName(), QString::fromLatin1("org.example.Error"));
    QCOMPARE(asked("error").errorMessage(), QString::fromLatin1("text"));
    QCOMPARE(asked("other").errorName(),
             QString::fromLatin1("org.freedesktop.DBus.Error.UnknownMethod"));
    peer.answerAll("('all',)");
    QCOMPARE(asked("other").arguments(), QVariantList() << QString::fromLatin1("all"));
    QCOMPARE(asked("one").arguments(), QVariantList() << 1);
    peer.clearAnswers();
    QCOMPARE(asked("one").type(), QDBusMessage::ErrorMessage);
    peer.ignore("one");
    QCOMPARE(QDBusConnection::systemBus().call(callOf("one"), QDBus::Block, 1).errorName(),
             QString::fromLatin1("org.freedesktop.DBus.Error.NoReply"));
}

void tst_WirePeer::heldCallIsAnsweredLater()
{
    WirePeer peer;
    QVERIFY(peer.own(busName));
    peer.hold("held");
    QDBusPendingCall pending = QDBusConnection::systemBus().asyncCall(callOf("held"));
    QVERIFY(waitUntil([&]() { return peer.held() == 1; }));
    QVERIFY(!pending.isFinished());
    peer.answerHeld(0, "('later',)");
    pending.waitForFinished();
    QCOMPARE(pending.reply().arguments(), QVariantList() << QString::fromLatin1("later"));
}

void tst_WirePeer::peerThatLeaves()
{
    WirePeer peer;
    QVERIFY(peer.own(busName));
    WirePeer other;
    QVERIFY(!other.own(busName));
    peer.leaveOn("leave");
    QCOMPARE(asked("leave").errorName(), QString::fromLatin1("org.freedesktop.DBus.Error.NoReply"));
    QVERIFY(other.own(busName));
    QVERIFY(other.release(busName));
    QVERIFY(!other.release(busName));
}

void tst_WirePeer::noSignalIsLost()
{
    WirePeer sender;
    WirePeer receiver;
    QVERIFY(receiver.listen("type='signal',interface='org.example.Interface'"));
    const int count = 1000;
    for (int i = 0; i < count; ++i) {
        QVERIFY(sender.emitSignal("/", interface, "Number", numbered(i + 1).last()));
    }
    QVERIFY(sender.emitSignal("/", "org.example.Other", "Number", "(1,)"));
    QVERIFY(sender.emitSignal("/", interface, "Last"));
    QVERIFY(waitUntil([&]() { return receiver.heard("Last") == 1; }));
    QCOMPARE(bodiesOf(receiver.receivedSignals(), "Number"), numbered(count));
    QCOMPARE(receiver.heard("Number"), count);
    QCOMPARE(receiver.heard("Number", "(7,)"), 1);
    QCOMPARE(int(receiver.receivedSignals().size()), count + 1);
    receiver.clearSignals();
    QCOMPARE(receiver.heard("Number"), 0);
}

void tst_WirePeer::monitorSeesEverything()
{
    WireMonitor monitor;
    WirePeer peer;
    QVERIFY(peer.own(busName));
    const QByteArray caller = QDBusConnection::systemBus().baseService().toLatin1();
    monitor.clear();
    const int count = 500;
    for (int i = 0; i < count; ++i) {
        QDBusConnection::systemBus().send(callOf("number") << i);
    }
    asked("last");
    peer.emitSignal("/", interface, "Number", "(7,)");
    const QList<WireMessage> seen = monitor.take();
    QCOMPARE(bodiesOf(seen, "number"), numbered(count));
    QCOMPARE(bodiesOf(seen, "Number"), QList<QByteArray>() << "(7,)");
    QVERIFY(monitor.take().isEmpty());

    asked("last");
    WirePeer other;
    other.call(busName, "/", interface, "ofAnother");
    QCOMPARE(int(monitor.takeCallsFrom(caller).size()), 1);
}

void tst_WirePeer::fenceWaitsForAllMessages()
{
    WirePeer sender;
    Counter counter(sender);
    Fence fence;
    for (int round = 1; round <= 5; ++round) {
        for (int i = 0; i < 200; ++i) {
            sender.emitSignal("/", interface, "Number", "(1,)");
        }
        QVERIFY(fence.pass());
        QCOMPARE(counter.count, round * 200);
    }
}

void tst_WirePeer::fenceIgnoresOtherMarkers()
{
    WirePeer sender;
    Counter counter(sender);
    Fence fence;
    Fence other;
    QVERIFY(other.pass());
    sender.emitSignal("/", interface, "Number", "(1,)");
    QVERIFY(fence.pass());
    QCOMPARE(counter.count, 1);
}

HNIPC_TEST_MAIN(tst_WirePeer)

#include "tst_wirepeer.moc"
