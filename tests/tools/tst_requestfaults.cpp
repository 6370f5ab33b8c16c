// SPDX-License-Identifier: MIT
#include "async/asyncdaemons.h"
#include "desk.h"
#include "support/memory.h"
#include "support/privatebus.h"
#include "support/qtmajors.h"

#include <hnipc/hnipcavailability.h>
#include <hnipc/hnipcrequest.h>

#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusConnectionInterface>
#include <QtTest/QTest>

#include <memory>
#include <vector>

#include <csignal>

// The outcome of a pending request at each fault of a daemon in another process.
class tst_RequestFaults : public QObject
{
    Q_OBJECT

private slots:
    void lateAnswerArrives();
    void otherRequestsFinishMeanwhile();
    void missingAnswerIsUnknown();
    void errorIsARefusal();
    void otherTypeIsUnknown();
    void deathAfterReadingIsUnknown();
    void deathBeforeReadingIsUnknown();
    void absentDaemonReceivesNoCall();
    void restartedDaemonIsCalled();
    void thousandAtOnce();
    void memoryDoesNotGrow();
};

namespace {

// A request that counts how often it finishes.
class Counted : public HNIPCRequest
{
public:
    explicit Counted(const char *method, const QVariantList &arguments = {})
    {
        setMethod(QString::fromLatin1(method));
        setArguments(arguments);
        connect(this, &HNIPCRequest::finished, this, [this]() { ++times; });
    }

    bool finishes()
    {
        return waitUntil([this]() { return !isPending(); });
    }

    int times = 0;
};

QString error(const char *name)
{
    return QString::fromLatin1("org.freedesktop.DBus.Error.") + QString::fromLatin1(name);
}

} // namespace

void tst_RequestFaults::lateAnswerArrives()
{
    Desk desk({ "m4", "supplyd" });
    desk.act("m4", "set", "('error', <7>)");
    SimulatedDaemon &daemon = desk.daemon("m4");
    QVERIFY(daemon.halt());
    Counted late("getError");
    late.setDeadline(60000);
    QVERIFY(late.send());
    Counted other("supplyId");
    QVERIFY(other.send());
    QVERIFY(other.finishes());
    QCOMPARE(other.outcome(), HNIPCRequest::Answered);
    QVERIFY(late.isPending());
    daemon.send(SIGCONT);
    QVERIFY(late.finishes());
    QCOMPARE(late.outcome(), HNIPCRequest::Answered);
    QCOMPARE(late.value(), QVariant(7));
    QCOMPARE(late.times, 1);
}

void tst_RequestFaults::otherRequestsFinishMeanwhile()
{
    Desk desk({ "m4" });
    desk.act("m4", "fault", "('calibrateSupply', 'never', <''>)");
    Counted slow("calibrateSupply");
    slow.setDeadline(60000);
    Counted quick("getAlert");
    QVERIFY(slow.send());
    QVERIFY(quick.send());
    QVERIFY(quick.finishes());
    QCOMPARE(quick.outcome(), HNIPCRequest::Answered);
    QVERIFY(slow.isPending());
    desk.stop("m4");
    QVERIFY(slow.finishes());
    QCOMPARE(slow.outcome(), HNIPCRequest::Unknown);
    QCOMPARE(slow.errorName(), error("NoReply"));
    QCOMPARE(slow.times, 1);
}

void tst_RequestFaults::missingAnswerIsUnknown()
{
    Desk desk({ "m4" });
    desk.act("m4", "fault", "('cycleCutter', 'never', <''>)");
    Counted request("cycleCutter");
    request.setDeadline(200);
    QVERIFY(request.send());
    QVERIFY(request.finishes());
    QCOMPARE(request.outcome(), HNIPCRequest::Unknown);
    QCOMPARE(request.errorName(), error("Timeout"));
    QCOMPARE(request.value(), QVariant());
    QCOMPARE(request.times, 1);
}

void tst_RequestFaults::errorIsARefusal()
{
    Desk desk({ "m4" });
    desk.act("m4", "fault", "('cycleCutter', 'error', <['org.example.LidOpen', 'close it']>)");
    Counted request("cycleCutter");
    QVERIFY(request.send());
    QVERIFY(request.finishes());
    QCOMPARE(request.outcome(), HNIPCRequest::Refused);
    QCOMPARE(request.errorName(), QString("org.example.LidOpen"));
    QCOMPARE(request.errorText(), QString("close it"));
    QCOMPARE(request.times, 1);
}

void tst_RequestFaults::otherTypeIsUnknown()
{
    Desk desk({ "m4" });
    desk.act("m4", "fault", "('cycleCutter', 'wrongtype', <''>)");
    Counted request("cycleCutter");
    QVERIFY(request.send());
    QVERIFY(request.finishes());
    QCOMPARE(request.outcome(), HNIPCRequest::Unknown);
    QCOMPARE(request.errorName(), error("InvalidSignature"));
    QCOMPARE(request.value(), QVariant());
    QCOMPARE(request.times, 1);
}

void tst_RequestFaults::deathAfterReadingIsUnknown()
{
    Desk desk({ "m4" });
    desk.act("m4", "fault", "('cycleCutter', 'die', <''>)");
    Counted request("cycleCutter");
    QVERIFY(request.send());
    QVERIFY(request.finishes());
    QCOMPARE(request.outcome(), HNIPCRequest::Unknown);
    QCOMPARE(request.errorName(), error("NoReply"));
    QCOMPARE(request.times, 1);
}

// The message is in the daemon's socket, and the daemon never reads it.
void tst_RequestFaults::deathBeforeReadingIsUnknown()
{
    Desk desk({ "m4" });
    SimulatedDaemon &daemon = desk.daemon("m4");
    QVERIFY(daemon.halt());
    Counted request("cycleCutter");
    QVERIFY(request.send());
    makeRequestsLeave();
    QVERIFY(request.isPending());
    daemon.send(SIGKILL);
    QVERIFY(request.finishes());
    QCOMPARE(request.outcome(), HNIPCRequest::Unknown);
    QCOMPARE(request.errorName(), error("NoReply"));
    QCOMPARE(request.times, 1);
}

void tst_RequestFaults::absentDaemonReceivesNoCall()
{
    Desk desk({ "ioexpd" });
    Counted request("cycleCutter");
    QVERIFY(request.send());
    QVERIFY(request.finishes());
    QCOMPARE(request.outcome(), HNIPCRequest::NotSent);
    QCOMPARE(request.errorName(), error("ServiceUnknown"));

    // The library knows that the daemon is running, and sends it only the next request.
    WireMonitor monitor;
    desk.start("m4");
    QVERIFY(passBusThread());
    Counted next("getError");
    QVERIFY(next.send());
    QVERIFY(next.finishes());
    QCOMPARE(next.outcome(), HNIPCRequest::Answered);
    const QByteArray thisProcess = QDBusConnection::systemBus().baseService().toLatin1();
    QList<QByteArray> members;
    for (const WireMessage &call : monitor.takeCallsFrom(thisProcess)) {
        members.append(call.member);
    }
    QCOMPARE(members, QList<QByteArray>({ "getError" }));
    QCOMPARE(request.times, 1);
}

void tst_RequestFaults::restartedDaemonIsCalled()
{
    Desk desk({ "m4" });
    HNIPCAvailability availability;
    QVERIFY(waitUntil([&]() { return availability.hasM4(); }));
    desk.stop("m4");
    QVERIFY(waitUntil([&]() { return !availability.hasM4(); }));
    Counted request("getError");
    QVERIFY(request.send());
    QVERIFY(request.finishes());
    QCOMPARE(request.outcome(), HNIPCRequest::NotSent);

    desk.start("m4");
    QVERIFY(waitUntil([&]() { return availability.hasM4(); }));
    QVERIFY(request.send());
    QVERIFY(request.finishes());
    QCOMPARE(request.outcome(), HNIPCRequest::Answered);
    QCOMPARE(request.times, 2);
}

void tst_RequestFaults::thousandAtOnce()
{
    Desk desk({ "m4", "supplyd" });
    HNIPC printer;
    const QStringList skus = printer.supplySKUList();
    QStringList names;
    for (const QString &sku : skus) {
        names += printer.supplyColorName(sku);
    }
    names.removeDuplicates();
    QVERIFY(names.size() > 1); // the names distinguish the outcomes
    std::vector<std::unique_ptr<Counted>> requests;
    for (int i = 0; i < 1000; ++i) {
        requests.emplace_back(new Counted("supplyColorName", { skus.at(i % skus.size()) }));
        QVERIFY(requests.back()->send());
    }
    for (int i = 0; i < 1000; ++i) {
        const Counted &request = *requests.at(size_t(i));
        QVERIFY(requests.at(size_t(i))->finishes());
        QVERIFY2(request.outcome() == HNIPCRequest::Answered, qPrintable(request.errorText()));
        QCOMPARE(request.value(), QVariant(printer.supplyColorName(skus.at(i % skus.size()))));
        QCOMPARE(request.times, 1);
    }
}

// Makes requests that end in different ways: answered, refused, not sent, cancelled, deleted while
// pending.
static bool makeRequests(int number)
{
    for (int i = 0; i < number / 5; ++i) {
        Counted answered("getError");
        Counted refused("getAlert");
        Counted notSent("getError", { 1 });
        Counted cancelled("getError");
        answered.send();
        refused.send();
        notSent.send();
        cancelled.send();
        cancelled.cancel();
        Counted("getError").send();
        if (!answered.finishes() || !refused.finishes() || !notSent.finishes()
            || !cancelled.finishes()) {
            qWarning("a request does not finish");
            return false;
        }
        if (answered.outcome() != HNIPCRequest::Answered
            || refused.outcome() != HNIPCRequest::Refused
            || notSent.outcome() != HNIPCRequest::NotSent
            || cancelled.reason() != HNIPCRequest::Cancelled) {
            qWarning("requests finish with the outcomes %d, %d, %d and the reason %d",
                     answered.outcome(), refused.outcome(), notSent.outcome(), cancelled.reason());
            return false;
        }
    }
    return true;
}

void tst_RequestFaults::memoryDoesNotGrow()
{
    if (!isHeapCounted()) {
        HNIPC_SKIP("the allocator does not say how much of the heap is in use");
    }
    const int number = 100000;
    Desk desk({ "m4" });
    desk.act("m4", "fault", "('getAlert', 'error', <'org.example.No no'>)");
    QVERIFY(makeRequests(number / 10));
    const long before = heapInUse();
    QVERIFY(makeRequests(number));
    // One byte for each request would be a leak. The heap's own data changes by less.
    const long after = heapInUse();
    QVERIFY2(after < before + number,
             qPrintable(QString("%1 bytes, and %2 before").arg(after).arg(before)));
}

HNIPC_TEST_MAIN(tst_RequestFaults)
#include "tst_requestfaults.moc"
