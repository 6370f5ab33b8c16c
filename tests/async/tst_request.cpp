// SPDX-License-Identifier: MIT
#include "asyncdaemons.h"
#include "requests.h"
#include "support/haltedbus.h"
#include "support/listener.h"
#include "support/privatebus.h"
#include "support/signalrecorder.h"

#include <hnipc/hnipc.h>
#include <hnipc/hnipcrequest.h>

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QEventLoop>
#include <QtCore/QMetaProperty>
#include <QtCore/QPointer>
#include <QtCore/QScopedPointer>
#include <QtCore/QSemaphore>
#include <QtCore/QThread>
#include <QtDBus/QDBusConnection>

#include <algorithm>
#include <atomic>
#include <functional>
#include <limits>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

using namespace Expected;

typedef QList<QByteArray> Lines;

namespace {

const char cancelled[] = "Unknown org.hnipc.Error.Cancelled: cancelled";
const char cancelledWaiting[] = "NotSent org.hnipc.Error.Cancelled: cancelled";
const char
    absent[] = "NotSent org.freedesktop.DBus.Error.ServiceUnknown: org.hnipc.m4 is not on the bus";
const char noMethod[] = "NotSent org.freedesktop.DBus.Error.UnknownMethod: "
                        "the printer has no method \"nothing\"";

// The most requests in flight to one daemon.
const int mostInFlight = 32;

QByteArray timedOut(int deadline)
{
    return "Unknown org.freedesktop.DBus.Error.Timeout: org.hnipc.m4 did not reply within "
        + QByteArray::number(deadline) + " ms";
}

QByteArray waitedTooLong(int deadline)
{
    return "NotSent org.freedesktop.DBus.Error.Timeout: "
           "the call was not sent to org.hnipc.m4 within "
        + QByteArray::number(deadline) + " ms";
}

// A short deadline may pass before the library's thread has sent the call.
bool isTimeOut(const QByteArray &outcome, int deadline)
{
    return outcome == timedOut(deadline) || outcome == waitedTooLong(deadline);
}

Lines sentLines() { return Lines() << emission("stateChanged()"); }

Lines finishedLines() { return Lines() << emission("stateChanged()") << emission("finished()"); }

// A number of requests that record how often and in which order they have finished.
class Requests : public QObject
{
    Q_OBJECT

public:
    explicit Requests(int count)
    {
        for (int i = 0; i < count; ++i) {
            m_requests.push_back(std::unique_ptr<HNIPCRequest>(new HNIPCRequest));
            m_requests.back()->setObjectName(QString::number(i));
            connect(m_requests.back().get(), SIGNAL(finished()), SLOT(onFinished()));
        }
    }

    HNIPCRequest &operator[](int i) { return *m_requests.at(i); }
    QList<int> order() const { return m_order; }
    void clearOrder() { m_order.clear(); }

    bool allAreSent()
    {
        for (const auto &request : m_requests) {
            if (!request->send()) {
                return false;
            }
        }
        return true;
    }

    // The number of times that each has finished since the order was cleared; -1 if these differ.
    int timesEachHasFinished() const
    {
        std::vector<int> times(m_requests.size());
        for (const int number : m_order) {
            ++times[number];
        }
        const bool isSame = std::count(times.begin(), times.end(), times.front())
            == std::ptrdiff_t(times.size());
        return isSame ? times.front() : -1;
    }

private Q_SLOTS:
    void onFinished() { m_order.append(sender()->objectName().toInt()); }

private:
    std::vector<std::unique_ptr<HNIPCRequest>> m_requests;
    QList<int> m_order;
};

// A request on its own thread, on which its signals have to be delivered, too.
class RequestThread : public QThread
{
public:
    QByteArray outcome;
    QVariant value;
    Lines emissions;

protected:
    void run() override
    {
        HNIPCRequest request;
        SignalRecorder recorder(&request);
        request.setCall(HNIPC_METHOD(getError));
        QEventLoop loop;
        loop.connect(&request, SIGNAL(finished()), SLOT(quit()));
        if (request.send()) {
            loop.exec();
        }
        outcome = outcomeOf(request);
        value = request.value();
        emissions = recorder.take();
    }
};

// Runs a function on a thread without an event loop. The thread ends when the test allows it.
class PlainThread : public QThread
{
public:
    explicit PlainThread(const std::function<void()> &action) : m_action(action) {}

    void mayEnd() { m_end.release(); }

protected:
    void run() override
    {
        m_action();
        m_end.acquire();
    }

private:
    std::function<void()> m_action;
    QSemaphore m_end;
};

// A worker as in Qt's documentation, which lives in a thread with an event loop.
class Worker : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    void send()
    {
        m_request.setParent(this);
        m_request.setCall(HNIPC_METHOD(getAlert));
        m_request.send();
    }

private:
    HNIPCRequest m_request;
};

} // namespace

// The life of a request.
class tst_Request : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init();

    void startsWithoutOutcome();
    void propertiesNotify_data();
    void propertiesNotify();
    void settersTellOfChanges();
    void outcomesAreNamedInTheMetaObject();
    void sendAndCancelAreInvokable();

    void answered();
    void notSentFinishesAfterSendHasReturned();
    void refusedWithTheDaemonsOwnWords_data();
    void refusedWithTheDaemonsOwnWords();
    void absentDaemonIsNotCalledAndMayReturn();
    void daemonLeavesInsteadOfAnswering();
    void daemonThatGaveUpItsNameStillAnswers();
    void otherDaemonMayLeave();

    void deadlineBelowOneIsRefused_data();
    void deadlineBelowOneIsRefused();
    void deadlinePasses_data();
    void deadlinePasses();
    void answerBeforeTheDeadline_data();
    void answerBeforeTheDeadline();
    void passedDeadlineOfAFinishedRequestIsNothing();

    void cancelledInFlight();
    void cancelledBeforeItIsKnownNotToBeSent();
    void cancelledNotSentRequestMayBeSentAgain();
    void cancelOutOfFlightIsNothing();
    void cancelWithinFinishedIsNothing();
    void cancelAsSoonAsSent();

    void nothingFinishesWithinSend_data();
    void nothingFinishesWithinSend();
    void stateIsKnownBeforeFinished();

    void sendInFlightIsRefused();
    void changesInFlightAreForTheNext();
    void argumentsOfOneCallAreNotKept();
    void sentAgainAfterEachOutcome();
    void sentAgainFromWithinFinished();

    void deletedWithinASignal_data();
    void deletedWithinASignal();
    void deletedInFlight();
    void deletedBeforeItIsKnownNotToBeSent();

    void elapsedStandsStillAfterFinishing();
    void thousandAreAnsweredInAnyOrder();
    void oneTooManyWaitsForItsTurn();
    void eachDaemonHasItsShare();
    void deadlineCountsFromSend();
    void turnComesAfterTheDeadline();
    void deadlineIsNeverEarly();
    void everyEndGivesBackTheTurn();
    void blockingCallsSideBySide();
    void onAThreadOfItsOwn();
    void threadMayEndInFlight_data();
    void threadMayEndInFlight();
    void moveToThreadInFlight();
    void haltedBusBlocksNobody();
    void deadlineRacesWithTheAnswer();
    void cancelRacesWithTheAnswer();

private:
    WirePeer &m4() { return (*m_daemons)[M4]; }

    bool answerHeld(int number, const QByteArray &body)
    {
        m4().answerHeld(number, body);
        m4().sync();
        return m_daemons->passFence();
    }

    bool isHeld(int count)
    {
        return waitUntil([this, count]() { return m4().held() == count; });
    }

    // Waits until the sent calls have reached the print engine and its replies have passed the bus.
    // Turns no event loop.
    void settle()
    {
        makeRequestsLeave();
        m4().sync();
    }

    // The calls that have reached any of the daemons since the previous call of this function.
    QList<WireMessage> takeCalls()
    {
        settle();
        return m_daemons->takeCalls();
    }

    // True when all requests that the print engine has replied to have finished. A reply that
    // arrives before the library waits for it takes two turns of the event loop.
    bool nothingIsInFlight()
    {
        settle();
        return m_daemons->passFence() && m_daemons->passFence();
    }

    QScopedPointer<AsyncDaemons> m_daemons;
};

void tst_Request::initTestCase() { m_daemons.reset(new AsyncDaemons); }

void tst_Request::cleanupTestCase() { m_daemons.reset(); }

void tst_Request::init()
{
    // Discards the requests that earlier tests have left in flight.
    settle();
    m4().clearAnswers();
    QVERIFY(nothingIsInFlight());
    m4().answer("getError", "(7,)");
    m4().answer("setUserSetting", "(true,)");
    m4().hold("getAlert");
    takeCalls();
}

// ---- Properties and meta-object ------------------------------------------------------------

void tst_Request::startsWithoutOutcome()
{
    HNIPCRequest request;
    QCOMPARE(request.method(), QString());
    QCOMPARE(request.arguments(), QVariantList());
    QCOMPARE(request.deadline(), -1);
    QVERIFY(!request.isPending());
    QCOMPARE(outcomeOf(request), QByteArray("NoOutcome"));
    QCOMPARE(request.elapsed(), 0);
}

void tst_Request::propertiesNotify_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<bool>("writable");
    QTest::addColumn<QByteArray>("signal");
    const struct
    {
        const char *name;
        const char *type;
        bool writable;
        const char *signal;
    } rows[] = {
        { "method", "QString", true, "methodChanged()" },
        { "parameters", "QVariantList", true, "argumentsChanged()" },
        { "deadline", "int", true, "deadlineChanged()" },
        { "pending", "bool", false, "stateChanged()" },
        { "outcome", "Outcome", false, "stateChanged()" },
        { "reason", "Reason", false, "stateChanged()" },
        { "done", "bool", false, "stateChanged()" },
        { "value", "QVariant", false, "stateChanged()" },
        { "errorName", "QString", false, "stateChanged()" },
        { "errorText", "QString", false, "stateChanged()" },
        { "elapsed", "int", false, "stateChanged()" },
    };
    const QMetaObject &meta = HNIPCRequest::staticMetaObject;
    QCOMPARE(meta.propertyCount() - meta.propertyOffset(), int(sizeof rows / sizeof rows[0]));
    for (const auto &row : rows) {
        QTest::newRow(row.name) << QByteArray(row.name) << QByteArray(row.type) << row.writable
                                << QByteArray(row.signal);
    }
}

void tst_Request::propertiesNotify()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, type);
    QFETCH(bool, writable);
    QFETCH(QByteArray, signal);
    const QMetaObject &meta = HNIPCRequest::staticMetaObject;
    const QMetaProperty property = meta.property(meta.indexOfProperty(name.constData()));
    QVERIFY(property.isReadable());
    QCOMPARE(QByteArray(property.typeName()).replace("HNIPCRequest::", ""), type);
    QCOMPARE(property.isEnumType(), type == "Outcome" || type == "Reason");
    QCOMPARE(property.isWritable(), writable);
    QCOMPARE(property.notifySignalIndex(), meta.indexOfSignal(signal.constData()));
}

void tst_Request::settersTellOfChanges()
{
    HNIPCRequest request;
    SignalRecorder recorder(&request);
    const QVariantList arguments = QVariantList() << 5 << 6;
    QVERIFY(request.setProperty("method", QLatin1String("setUserSetting")));
    QVERIFY(request.setProperty("parameters", arguments));
    QVERIFY(request.setProperty("deadline", 5000));
    QCOMPARE(recorder.take(),
             Lines() << emission("methodChanged()") << emission("argumentsChanged()")
                     << emission("deadlineChanged()"));
    QCOMPARE(request.method(), QString::fromLatin1("setUserSetting"));
    QCOMPARE(request.arguments(), arguments);
    QCOMPARE(request.deadline(), 5000);
    request.setMethod(request.method());
    request.setDeadline(request.deadline());
    QCOMPARE(recorder.take(), Lines());

    QVERIFY(request.send());
    QVERIFY(request.property("pending").toBool());
    QVERIFY(waitUntilFinished(request));
    QVERIFY(!request.property("pending").toBool());
    QCOMPARE(request.property("outcome").toInt(), int(HNIPCRequest::Answered));
    QCOMPARE(request.property("value"), QVariant(true));
    QCOMPARE(request.property("elapsed").toInt(), request.elapsed());
    request.setMethod(QLatin1String("nothing"));
    QCOMPARE(outcomeOfSending(request), QByteArray(noMethod));
    QCOMPARE(request.property("errorName").toString(), request.errorName());
    QCOMPARE(request.property("errorText").toString(), request.errorText());
}

void tst_Request::outcomesAreNamedInTheMetaObject()
{
    const QMetaObject &meta = HNIPCRequest::staticMetaObject;
    const QMetaEnum outcomes = meta.enumerator(meta.indexOfEnumerator("Outcome"));
    const char *const names[] = { "NoOutcome", "NotSent", "Answered", "Refused", "Unknown" };
    const int count = sizeof names / sizeof names[0];
    QCOMPARE(outcomes.keyCount(), count);
    for (int i = 0; i < count; ++i) {
        QCOMPARE(QByteArray(outcomes.key(i)), QByteArray(names[i]));
        QCOMPARE(outcomes.value(i), i);
    }
    QCOMPARE(outcomes.keyToValue("Unknown"), int(HNIPCRequest::Unknown));
}

void tst_Request::sendAndCancelAreInvokable()
{
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(getAlert));
    bool accepted = false;
    QVERIFY(QMetaObject::invokeMethod(&request, "send", Qt::DirectConnection,
                                      Q_RETURN_ARG(bool, accepted)));
    QVERIFY(accepted);
    QVERIFY(request.isPending());
    QVERIFY(isHeld(1));
    QVERIFY(QMetaObject::invokeMethod(&request, "cancel", Qt::DirectConnection));
    QCOMPARE(outcomeOf(request), QByteArray(cancelled));
}

// ---- Outcomes ------------------------------------------------------------------------------

void tst_Request::answered()
{
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(getAlert));
    SignalRecorder recorder(&request);
    QVERIFY(request.send());
    QCOMPARE(recorder.take(), sentLines());
    QVERIFY(isHeld(1));
    QVERIFY(m_daemons->passFence());
    QVERIFY(request.isPending());
    QCOMPARE(recorder.take(), Lines());

    QByteArray within;
    Listener listener(&request, SIGNAL(finished()), [&request, &within]() {
        within = request.isPending() ? QByteArray("pending") : outcomeOf(request);
    });
    QVERIFY(answerHeld(0, "(-3,)"));
    QCOMPARE(recorder.take(), finishedLines());
    QCOMPARE(within, QByteArray("Answered"));
    QVERIFY(!request.isPending());
    QCOMPARE(request.value(), QVariant(-3));
    QCOMPARE(takeCalls().size(), 1);
}

void tst_Request::notSentFinishesAfterSendHasReturned()
{
    HNIPCRequest request;
    request.setMethod(QLatin1String("nothing"));
    SignalRecorder recorder(&request);
    QVERIFY(request.send());
    QVERIFY(request.isPending());
    QCOMPARE(outcomeOf(request), QByteArray("NoOutcome"));
    QCOMPARE(recorder.take(), sentLines());
    QVERIFY(!request.send());
    QVERIFY(waitUntilFinished(request));
    QCOMPARE(outcomeOf(request), QByteArray(noMethod));
    QVERIFY(m_daemons->passFence());
    QCOMPARE(recorder.take(), finishedLines());
}

void tst_Request::refusedWithTheDaemonsOwnWords_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("own") << QByteArray("org.hnipc.Error.Busy") << QByteArray("the lid is open");
    QTest::newRow("no text") << QByteArray("org.hnipc.Error.Busy") << QByteArray();
    QTest::newRow("not Latin") << QByteArray("org.hnipc.Error.Busy")
                               << QByteArray("zu hei\xc3\x9f: 80 \xe2\x84\x83");
    // Names that a request also uses for its own errors, when the daemon sends them.
    const char *const names[] = { "NoReply",          "Timeout",       "TimedOut",
                                  "ServiceUnknown",   "UnknownMethod", "InvalidArgs",
                                  "Disconnected",     "AccessDenied",  "LimitsExceeded",
                                  "InvalidSignature", "Failed",        "NoMemory" };
    for (const char *const name : names) {
        QTest::newRow(name) << QByteArray("org.freedesktop.DBus.Error.") + name
                            << QByteArray("from the daemon");
    }
    QTest::newRow("Cancelled") << QByteArray("org.hnipc.Error.Cancelled") << QByteArray("no");
}

void tst_Request::refusedWithTheDaemonsOwnWords()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, text);
    m4().answerError("getError", name, text);
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(getError));
    SignalRecorder recorder(&request);
    QCOMPARE(outcomeOfSending(request), "Refused " + name + ": " + text);
    QVERIFY(m_daemons->passFence());
    QCOMPARE(recorder.take(), sentLines() + finishedLines());
    QCOMPARE(takeCalls().size(), 1);
}

void tst_Request::absentDaemonIsNotCalledAndMayReturn()
{
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(getError));
    SignalRecorder recorder(&request);
    m_daemons->stop(M4);
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(outcomeOfSending(request), QByteArray(absent));
        QVERIFY(m_daemons->passFence());
        QCOMPARE(recorder.take(), sentLines() + finishedLines());
    }
    m_daemons->start(M4);
    QVERIFY(m_daemons->passFence());
    QCOMPARE(takeCalls().size(), 0);

    QCOMPARE(outcomeOfSending(request), QByteArray("Answered"));
    QCOMPARE(request.value(), QVariant(7));
    QCOMPARE(takeCalls().size(), 1);
}

void tst_Request::daemonLeavesInsteadOfAnswering()
{
    m_daemons->stop(M4);
    {
        WirePeer mortal;
        mortal.leaveOn("getError");
        QVERIFY(mortal.own(identities[M4].busName));
        HNIPCRequest request;
        request.setCall(HNIPC_METHOD(getError));
        SignalRecorder recorder(&request);
        QCOMPARE(outcomeOfSending(request),
                 QByteArray("Unknown org.freedesktop.DBus.Error.NoReply: "
                            "org.hnipc.m4 left the bus before it replied"));
        QVERIFY(m_daemons->passFence());
        QCOMPARE(recorder.take(), sentLines() + finishedLines());
        QCOMPARE(mortal.calls().size(), 1);
    }
    m_daemons->start(M4);
    QVERIFY(m_daemons->passFence());
    QCOMPARE(takeCalls().size(), 0); // not sent a second time
}

void tst_Request::daemonThatGaveUpItsNameStillAnswers()
{
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(getAlert));
    QVERIFY(request.send());
    QVERIFY(isHeld(1));
    m_daemons->stop(M4);
    QVERIFY(request.isPending());
    QVERIFY(answerHeld(0, "(5,)"));
    QCOMPARE(outcomeOf(request), QByteArray("Answered"));
    m_daemons->start(M4);
}

void tst_Request::otherDaemonMayLeave()
{
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(getAlert));
    QVERIFY(request.send());
    QVERIFY(isHeld(1));
    m_daemons->stop(IOEXPD);
    m_daemons->start(IOEXPD);
    QVERIFY(request.isPending());
    QVERIFY(answerHeld(0, "(5,)"));
    QCOMPARE(outcomeOf(request), QByteArray("Answered"));
}

// ---- Deadline ------------------------------------------------------------------------------

void tst_Request::deadlineBelowOneIsRefused_data()
{
    QTest::addColumn<int>("deadline");
    QTest::newRow("0") << 0;
    QTest::newRow("-2") << -2;
    QTest::newRow("-5") << -5;
    QTest::newRow("lowest") << std::numeric_limits<int>::min();
}

void tst_Request::deadlineBelowOneIsRefused()
{
    QFETCH(int, deadline);
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(getError));
    request.setDeadline(deadline);
    WireMonitor monitor;
    QCOMPARE(outcomeOfSending(request),
             "NotSent org.freedesktop.DBus.Error.InvalidArgs: the deadline has to be 1 ms or more, "
             "or -1, not "
                 + QByteArray::number(deadline));
    makeRoundTrip();
    QVERIFY(monitor.takeCallsFrom(QDBusConnection::systemBus().baseService().toLatin1()).isEmpty());

    request.setDeadline(-1);
    QCOMPARE(outcomeOfSending(request), QByteArray("Answered"));
}

void tst_Request::deadlinePasses_data()
{
    QTest::addColumn<int>("deadline");
    QTest::newRow("1") << 1;
    QTest::newRow("20") << 20;
    QTest::newRow("1000") << 1000;
}

void tst_Request::deadlinePasses()
{
    QFETCH(int, deadline);
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(getAlert));
    request.setDeadline(deadline);
    SignalRecorder recorder(&request);
    const QByteArray outcome = outcomeOfSending(request);
    QVERIFY2(isTimeOut(outcome, deadline), outcome.constData());
    QCOMPARE(recorder.take(), sentLines() + finishedLines());

    // The reply is late, and the daemon was called once.
    const int sent = outcome == waitedTooLong(deadline) ? 0 : 1;
    QVERIFY(sent == 1 || deadline < 1000);
    QVERIFY(isHeld(sent));
    m4().answerHeld(0, "(5,)");
    settle();
    QCOMPARE(outcomeOf(request), outcome);
    QCOMPARE(recorder.take(), Lines());
    QCOMPARE(takeCalls().size(), sent);
}

void tst_Request::answerBeforeTheDeadline_data()
{
    QTest::addColumn<int>("deadline");
    QTest::newRow("the bus's own") << -1;
    QTest::newRow("an hour") << 60 * 60 * 1000;
    QTest::newRow("highest") << std::numeric_limits<int>::max();
}

void tst_Request::answerBeforeTheDeadline()
{
    QFETCH(int, deadline);
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(getError));
    request.setDeadline(deadline);
    QCOMPARE(outcomeOfSending(request), QByteArray("Answered"));
    QCOMPARE(request.value(), QVariant(7));
}

void tst_Request::passedDeadlineOfAFinishedRequestIsNothing()
{
    const int deadline = 200;
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(getError));
    request.setDeadline(deadline);
    HNIPCRequest later;
    later.setCall(HNIPC_METHOD(getAlert));
    later.setDeadline(deadline);
    const QByteArray outcome = outcomeOfSending(request);
    // On a slow machine the deadline may pass. If so, it passes before the other request is sent.
    QVERIFY2(outcome == "Answered" || isTimeOut(outcome, deadline), outcome.constData());
    SignalRecorder recorder(&request);
    QVERIFY(isTimeOut(outcomeOfSending(later), deadline));
    QVERIFY(m_daemons->passFence());
    QCOMPARE(recorder.take(), Lines());
    QCOMPARE(outcomeOf(request), outcome);
}

// ---- Cancelling ----------------------------------------------------------------------------

void tst_Request::cancelledInFlight()
{
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(getAlert));
    QVERIFY(request.send());
    QVERIFY(isHeld(1));
    SignalRecorder recorder(&request);
    request.cancel();
    QVERIFY(!request.isPending());
    QCOMPARE(outcomeOf(request), QByteArray(cancelled));
    QCOMPARE(recorder.take(), finishedLines());
    request.cancel();
    QVERIFY(answerHeld(0, "(5,)"));
    QCOMPARE(recorder.take(), Lines());
    QCOMPARE(outcomeOf(request), QByteArray(cancelled));
}

void tst_Request::cancelledBeforeItIsKnownNotToBeSent()
{
    HNIPCRequest request;
    request.setMethod(QLatin1String("nothing"));
    QVERIFY(request.send());
    SignalRecorder recorder(&request);
    request.cancel();
    QCOMPARE(outcomeOf(request), QByteArray(noMethod)); // not sent, so the outcome is not unknown
    QCOMPARE(recorder.take(), finishedLines());
    QVERIFY(m_daemons->passFence());
    QCOMPARE(recorder.take(), Lines());
}

void tst_Request::cancelledNotSentRequestMayBeSentAgain()
{
    HNIPCRequest request;
    SignalRecorder recorder(&request);
    request.setMethod(QLatin1String("nothing"));
    QVERIFY(request.send());
    request.cancel();
    request.setMethod(QLatin1String("getAlert"));
    QVERIFY(request.send());
    QVERIFY(isHeld(1));
    QVERIFY(m_daemons->passFence());
    QVERIFY(request.isPending());
    QVERIFY(answerHeld(0, "(5,)"));
    QCOMPARE(outcomeOf(request), QByteArray("Answered"));
    const Lines changed = Lines() << emission("methodChanged()");
    QCOMPARE(recorder.take(),
             changed + sentLines() + finishedLines() + changed + sentLines() + finishedLines());

    request.setMethod(QLatin1String("nothing"));
    recorder.take();
    HNIPCRequest between; // its failure is reported after that of the cancelled one
    between.setMethod(QLatin1String("nothing"));
    bool isPendingThen = false;
    Listener listener(&between, SIGNAL(finished()), [&]() { isPendingThen = request.isPending(); });
    QVERIFY(request.send());
    request.cancel();
    QVERIFY(between.send());
    QVERIFY(request.send());
    QVERIFY(waitUntilFinished(request));
    QVERIFY(isPendingThen);
    QVERIFY(m_daemons->passFence());
    QCOMPARE(recorder.take(), sentLines() + finishedLines() + sentLines() + finishedLines());
}

void tst_Request::cancelOutOfFlightIsNothing()
{
    HNIPCRequest request;
    SignalRecorder recorder(&request);
    request.cancel();
    QVERIFY(m_daemons->passFence());
    QCOMPARE(recorder.take(), Lines());
    QCOMPARE(outcomeOf(request), QByteArray("NoOutcome"));

    request.setCall(HNIPC_METHOD(getError));
    QCOMPARE(outcomeOfSending(request), QByteArray("Answered"));
    recorder.take();
    request.cancel();
    QVERIFY(m_daemons->passFence());
    QCOMPARE(recorder.take(), Lines());
    QCOMPARE(outcomeOf(request), QByteArray("Answered"));
    QCOMPARE(request.value(), QVariant(7));
}

void tst_Request::cancelWithinFinishedIsNothing()
{
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(getError));
    Listener listener(&request, SIGNAL(finished()), [&request]() { request.cancel(); });
    SignalRecorder recorder(&request);
    QCOMPARE(outcomeOfSending(request), QByteArray("Answered"));
    QVERIFY(m_daemons->passFence());
    QCOMPARE(recorder.take(), sentLines() + finishedLines());

    request.setCall(HNIPC_METHOD(getAlert));
    recorder.take();
    QVERIFY(request.send());
    QVERIFY(isHeld(1));
    request.cancel();
    QVERIFY(m_daemons->passFence());
    QCOMPARE(recorder.take(), sentLines() + finishedLines());
    QCOMPARE(outcomeOf(request), QByteArray(cancelled));
}

void tst_Request::cancelAsSoonAsSent()
{
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(getError));
    SignalRecorder recorder(&request);
    Listener canceller(&request, SIGNAL(stateChanged()), [&request]() { request.cancel(); });
    QVERIFY(request.send());
    QCOMPARE(recorder.take(), sentLines()); // finished() is never emitted within send()
    QVERIFY(waitUntilFinished(request));
    const QByteArray outcome = outcomeOf(request);
    QVERIFY2(outcome == cancelled || outcome == cancelledWaiting, outcome.constData());
    QVERIFY(m_daemons->passFence());
    QCOMPARE(recorder.take(), finishedLines());
    QCOMPARE(takeCalls().size(), outcome == cancelled ? 1 : 0);
}

// ---- Within its signals --------------------------------------------------------------------

void tst_Request::nothingFinishesWithinSend_data()
{
    QTest::addColumn<QByteArray>("method");
    QTest::newRow("answered") << QByteArray("getError");
    QTest::newRow("not sent") << QByteArray("nothing");
    QTest::newRow("timed out") << QByteArray("getAlert");
}

// Also if a receiver of stateChanged() turns the event loop until the outcome is known.
void tst_Request::nothingFinishesWithinSend()
{
    QFETCH(QByteArray, method);
    HNIPCRequest request;
    request.setMethod(QString::fromLatin1(method));
    request.setDeadline(method == "getAlert" ? 20 : -1);
    SignalRecorder recorder(&request);
    bool isFirst = true;
    Listener loop(&request, SIGNAL(stateChanged()), [&]() {
        if (isFirst) {
            isFirst = false;
            waitUntil([&]() { return request.elapsed() > 40; });
            m_daemons->passFence();
        }
    });
    QVERIFY(request.send());
    QVERIFY(request.isPending());
    QCOMPARE(recorder.take(), sentLines());
    QVERIFY(waitUntilFinished(request));
    const QByteArray outcome = outcomeOf(request);
    QVERIFY2(outcome == (method == "getError" ? "Answered" : noMethod)
                 || (method == "getAlert" && isTimeOut(outcome, 20)),
             outcome.constData());
    QVERIFY(m_daemons->passFence());
    QCOMPARE(recorder.take(), finishedLines());
}

void tst_Request::stateIsKnownBeforeFinished()
{
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(getError));
    QByteArray atStateChanged;
    bool isAccepted = true;
    Listener state(&request, SIGNAL(stateChanged()), [&]() {
        if (!request.isPending()) {
            atStateChanged = outcomeOf(request);
            isAccepted = request.send(); // finished() has not been emitted yet
            request.cancel();
        }
    });
    SignalRecorder recorder(&request);
    QCOMPARE(outcomeOfSending(request), QByteArray("Answered"));
    QCOMPARE(atStateChanged, QByteArray("Answered"));
    QVERIFY(!isAccepted);
    QVERIFY(m_daemons->passFence());
    QCOMPARE(recorder.take(), sentLines() + finishedLines());
    QCOMPARE(takeCalls().size(), 1);
}

// ---- Sending again -------------------------------------------------------------------------

void tst_Request::sendInFlightIsRefused()
{
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(getAlert));
    QVERIFY(request.send());
    QVERIFY(isHeld(1));
    SignalRecorder recorder(&request);
    QVERIFY(!request.send());
    QVERIFY(!request.send());
    QVERIFY(m_daemons->passFence());
    QCOMPARE(recorder.take(), Lines());
    QVERIFY(answerHeld(0, "(5,)"));
    QCOMPARE(request.value(), QVariant(5));
    QCOMPARE(takeCalls().size(), 1);
}

void tst_Request::changesInFlightAreForTheNext()
{
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(getAlert));
    QVERIFY(request.send());
    request.setCall(HNIPC_METHOD(setUserSetting), 5, 6);
    request.setDeadline(1);
    QVERIFY(isHeld(1));
    QVERIFY(m_daemons->passFence());
    QVERIFY(request.isPending());
    QVERIFY(answerHeld(0, "(5,)"));
    QCOMPARE(outcomeOf(request), QByteArray("Answered"));
    QCOMPARE(request.value(), QVariant(5));

    request.setDeadline(-1);
    QCOMPARE(outcomeOfSending(request), QByteArray("Answered"));
    QCOMPARE(request.value(), QVariant(true));
    const QList<WireMessage> calls = takeCalls();
    QCOMPARE(calls.size(), 2);
    QCOMPARE(calls.at(1).line(), QByteArray("/ local.IHNIPCM4.setUserSetting ii (5, 6)"));
}

void tst_Request::argumentsOfOneCallAreNotKept()
{
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(setUserSetting), 5, 6);
    SignalRecorder recorder(&request);
    QVERIFY(request.send(QVariantList() << 7 << 8));
    QVERIFY(!request.send(QVariantList() << 9 << 9));
    QCOMPARE(recorder.take(), sentLines());
    QVERIFY(waitUntilFinished(request));
    QCOMPARE(outcomeOf(request), QByteArray("Answered"));
    QCOMPARE(request.arguments(), QVariantList() << 5 << 6);
    QCOMPARE(outcomeOfSending(request), QByteArray("Answered"));

    bool isAccepted = false;
    QVERIFY(QMetaObject::invokeMethod(&request, "send", Qt::DirectConnection,
                                      Q_RETURN_ARG(bool, isAccepted),
                                      Q_ARG(QVariantList, QVariantList() << -1 << 10)));
    QVERIFY(isAccepted);
    QVERIFY(waitUntilFinished(request));

    // An invalid list of arguments is not replaced by the property.
    QVERIFY(request.send(QVariantList()));
    QVERIFY(waitUntilFinished(request));
    QCOMPARE(request.reason(), HNIPCRequest::InvalidArguments);

    const QList<WireMessage> calls = takeCalls();
    QCOMPARE(calls.size(), 3);
    QCOMPARE(calls.at(0).line(), QByteArray("/ local.IHNIPCM4.setUserSetting ii (7, 8)"));
    QCOMPARE(calls.at(1).line(), QByteArray("/ local.IHNIPCM4.setUserSetting ii (5, 6)"));
    QCOMPARE(calls.at(2).line(), QByteArray("/ local.IHNIPCM4.setUserSetting ii (-1, 10)"));
}

void tst_Request::sentAgainAfterEachOutcome()
{
    // outcomeOfSending() checks that nothing of the previous outcome is left while the request is
    // in flight.
    HNIPCRequest request;
    for (int i = 0; i < 3; ++i) {
        request.setCall(HNIPC_METHOD(getError));
        request.setDeadline(-1);
        m4().answer("getError", "(7,)");
        QCOMPARE(outcomeOfSending(request), QByteArray("Answered"));
        m4().answerError("getError", "org.hnipc.Error.Busy", "no");
        QCOMPARE(outcomeOfSending(request), QByteArray("Refused org.hnipc.Error.Busy: no"));
        request.setCall(HNIPC_METHOD(getAlert));
        request.setDeadline(1);
        QVERIFY(isTimeOut(outcomeOfSending(request), 1));
        request.setMethod(QLatin1String("nothing"));
        QCOMPARE(outcomeOfSending(request), QByteArray(noMethod));
    }
}

void tst_Request::sentAgainFromWithinFinished()
{
    const int times = 5;
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(setUserSetting), 0, 0);
    Lines outcomes;
    int accepted = 0;
    Listener listener(&request, SIGNAL(finished()), [&]() {
        outcomes.append(outcomeOf(request));
        if (outcomes.size() < times) {
            request.setCall(HNIPC_METHOD(setUserSetting), int(outcomes.size()), 0);
            accepted += request.send() ? 1 : 0;
        }
    });
    QVERIFY(request.send());
    QVERIFY(waitUntil([&]() { return outcomes.size() == times; }));
    QVERIFY(m_daemons->passFence());
    QCOMPARE(accepted, times - 1);
    QVERIFY(!request.isPending());
    QCOMPARE(int(outcomes.count("Answered")), times);
    QCOMPARE(int(outcomes.size()), times);
    const QList<WireMessage> calls = takeCalls();
    QCOMPARE(calls.size(), times);
    for (int i = 0; i < times; ++i) {
        QCOMPARE(calls.at(i).body, '(' + QByteArray::number(i) + ", 0)");
    }

    // The same for a request that is not sent, and for one that is cancelled.
    outcomes.clear();
    Listener other(&request, SIGNAL(finished()), [&]() {
        if (outcomes.size() == 1) {
            request.cancel();
        }
    });
    request.setMethod(QLatin1String("nothing"));
    QVERIFY(request.send());
    QVERIFY(waitUntil([&]() { return outcomes.size() == times; }));
    QVERIFY(m_daemons->passFence());
    QCOMPARE(int(outcomes.size()), times);
    QCOMPARE(outcomes.at(0), QByteArray(noMethod));
    QVERIFY(outcomes.at(1) == cancelled || outcomes.at(1) == cancelledWaiting);
    QCOMPARE(outcomes.at(2), QByteArray("Answered"));
}

// ---- Destruction ---------------------------------------------------------------------------

void tst_Request::deletedWithinASignal_data()
{
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<bool>("cancels");
    QTest::addColumn<QByteArray>("signal");
    QTest::addColumn<int>("occurrence");
    const char *const methods[] = { "getError", "nothing", "getAlert" };
    for (const char *const method : methods) {
        const bool cancels = QByteArray(method) == "getAlert";
        const struct
        {
            const char *name;
            const char *signal;
            int occurrence;
        } moments[] = {
            { "sent", SIGNAL(stateChanged()), 1 },
            { "finished", SIGNAL(finished()), 1 },
            { "result known", SIGNAL(stateChanged()), 2 },
        };
        for (const auto &moment : moments) {
            QTest::newRow((QByteArray(method) + ", " + moment.name).constData())
                << QByteArray(method) << cancels << QByteArray(moment.signal) << moment.occurrence;
        }
    }
}

void tst_Request::deletedWithinASignal()
{
    QFETCH(QByteArray, method);
    QFETCH(bool, cancels);
    QFETCH(QByteArray, signal);
    QFETCH(int, occurrence);
    const QPointer<HNIPCRequest> request = new HNIPCRequest;
    request->setMethod(QString::fromLatin1(method));
    SignalRecorder recorder(request);
    int occurred = 0;
    Listener listener(request, signal.constData(), [&]() {
        if (++occurred == occurrence) {
            delete request.data();
        }
    });
    QVERIFY(request->send());
    if (cancels && request) {
        request->cancel();
    }
    QVERIFY(waitUntil([&request]() { return request.isNull(); }));
    QVERIFY(m_daemons->passFence());
    const Lines whole = sentLines() + finishedLines();
    const int until = signal == SIGNAL(finished()) ? 3 : occurrence;
    QCOMPARE(recorder.take(), whole.mid(0, until));
}

void tst_Request::deletedInFlight()
{
    QObject parent;
    HNIPCRequest *const request = new HNIPCRequest;
    HNIPCRequest *const child = new HNIPCRequest(&parent);
    request->setCall(HNIPC_METHOD(getAlert));
    child->setCall(HNIPC_METHOD(getAlert));
    SignalRecorder recorder(request);
    SignalRecorder childRecorder(child);
    QVERIFY(request->send());
    QVERIFY(child->send());
    QVERIFY(isHeld(2));
    recorder.take();
    childRecorder.take();
    delete request;
    delete child;
    m4().answerHeld(1, "(5,)");
    QVERIFY(answerHeld(0, "('of another type',)"));
    QCOMPARE(recorder.take(), Lines());
    QCOMPARE(childRecorder.take(), Lines());

    // The reply is already on its way to this thread.
    const int count = mostInFlight;
    QScopedPointer<Requests> requests(new Requests(count));
    for (int i = 0; i < count; ++i) {
        (*requests)[i].setCall(HNIPC_METHOD(getError));
    }
    takeCalls();
    QVERIFY(requests->allAreSent());
    QCOMPARE(takeCalls().size(), count);
    requests.reset();
    QVERIFY(m_daemons->passFence());
}

void tst_Request::deletedBeforeItIsKnownNotToBeSent()
{
    HNIPCRequest *const request = new HNIPCRequest;
    SignalRecorder recorder(request);
    QVERIFY(request->send());
    QCOMPARE(recorder.take(), sentLines());
    delete request;
    QVERIFY(m_daemons->passFence());
    QCOMPARE(recorder.take(), Lines());
}

// ---- Time, number and threads --------------------------------------------------------------

void tst_Request::elapsedStandsStillAfterFinishing()
{
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(getError));
    QCOMPARE(outcomeOfSending(request), QByteArray("Answered"));
    HNIPCRequest notSent;
    QVERIFY(outcomeOfSending(notSent).startsWith("NotSent"));
    HNIPCRequest late;
    late.setCall(HNIPC_METHOD(getAlert));
    late.setDeadline(20);
    QVERIFY(isTimeOut(outcomeOfSending(late), 20));
    const int elapsed[] = { request.elapsed(), notSent.elapsed(), late.elapsed() };
    QVERIFY(elapsed[0] >= 0 && elapsed[1] >= 0 && elapsed[2] >= 0);

    HNIPCRequest clock;
    clock.setCall(HNIPC_METHOD(getAlert));
    QVERIFY(clock.send());
    const int least = clock.elapsed();
    QVERIFY(least >= 0);
    QVERIFY(waitUntil([&]() { return clock.elapsed() > least + 5; }));
    QCOMPARE(request.elapsed(), elapsed[0]);
    QCOMPARE(notSent.elapsed(), elapsed[1]);
    QCOMPARE(late.elapsed(), elapsed[2]);
    clock.cancel();
    QVERIFY(clock.elapsed() > least + 5);

    // It restarts with the next send().
    QVERIFY(waitUntil([&]() {
        const int before = clock.elapsed();
        const bool isLess = clock.send() && clock.elapsed() < before;
        clock.cancel();
        return isLess;
    }));
}

void tst_Request::thousandAreAnsweredInAnyOrder()
{
    const int count = 1000;
    WirePeer &supplyd = (*m_daemons)[SUPPLYD];
    supplyd.hold("supplyColorRGB");
    Requests requests(count);
    for (int i = 0; i < count; ++i) {
        requests[i].setCall(HNIPC_METHOD(supplyColorRGB), QString::number(i));
    }
    QVERIFY(requests.allAreSent());

    // The daemon holds as many calls as may be in flight. It replies to a random one of them with
    // the call's own argument.
    QList<int> unanswered;
    QList<int> order;
    int arrived = 0;
    quint32 random = 1;
    while (order.size() < count) {
        const int expected = qMin(count, int(order.size()) + mostInFlight);
        QVERIFY(waitUntil([&]() { return supplyd.held() >= expected; }));
        while (arrived < expected) {
            unanswered.append(arrived++);
        }
        random = random * 1664525u + 1013904223u;
        order.append(unanswered.takeAt(int((random >> 8) % quint32(unanswered.size()))));
        supplyd.answerHeld(order.last(), '(' + QByteArray::number(order.last()) + ",)");
    }
    QVERIFY(waitUntil([&]() { return requests.order().size() >= count; }));
    QVERIFY(m_daemons->passFence());
    QCOMPARE(requests.order(), order);
    QCOMPARE(requests.timesEachHasFinished(), 1);
    const QList<WireMessage> calls = takeCalls();
    QCOMPARE(calls.size(), count);
    for (int i = 0; i < count; ++i) {
        QCOMPARE(calls.at(i).body, "('" + QByteArray::number(i) + "', '')"); // in order of sending
        QCOMPARE(outcomeOf(requests[i]), QByteArray("Answered"));
        QCOMPARE(requests[i].value(), QVariant(i));
    }
    supplyd.clearAnswers();
}

void tst_Request::oneTooManyWaitsForItsTurn()
{
    Requests requests(mostInFlight);
    for (int i = 0; i < mostInFlight; ++i) {
        requests[i].setCall(HNIPC_METHOD(getAlert));
    }
    QVERIFY(requests.allAreSent());
    Requests waiting(6);
    for (int i = 0; i < 6; ++i) {
        waiting[i].setCall(HNIPC_METHOD(setUserSetting), i, 0);
    }
    waiting[0].setDeadline(20);
    waiting[1].setDeadline(20);
    QVERIFY(waiting.allAreSent());
    QScopedPointer<HNIPCRequest> deleted(new HNIPCRequest);
    deleted->setCall(HNIPC_METHOD(setUserSetting), 6, 0);
    QVERIFY(deleted->send());

    // A request that is never sent does not wait for its turn.
    HNIPCRequest nothing;
    nothing.setMethod(QLatin1String("nothing"));
    QCOMPARE(outcomeOfSending(nothing), QByteArray(noMethod));

    QVERIFY(!waiting[0].send());
    waiting[0].cancel();
    QCOMPARE(outcomeOf(waiting[0]), QByteArray(cancelledWaiting));
    QVERIFY(waitUntilFinished(waiting[1]));
    QCOMPARE(outcomeOf(waiting[1]), waitedTooLong(20));
    deleted.reset();
    QVERIFY(isHeld(mostInFlight));
    QCOMPARE(takeCalls().size(), mostInFlight);

    // An abandoned call counts until the daemon replies to it, because the bus counts it until
    // then.
    requests[0].cancel();
    settle();
    QVERIFY(m_daemons->passFence());
    QVERIFY(waiting[2].isPending());
    QCOMPARE(takeCalls().size(), 0);

    // A reply starts the next request that still waits. Cancelled requests are skipped.
    waiting[2].cancel();
    waiting[3].cancel();
    QCOMPARE(outcomeOf(waiting[2]), QByteArray(cancelledWaiting));
    QVERIFY(waiting[3].send());
    QVERIFY(answerHeld(1, "(5,)"));
    QVERIFY(waitUntilFinished(waiting[4]));
    QCOMPARE(outcomeOf(waiting[4]), QByteArray("Answered"));
    QVERIFY(waitUntilFinished(waiting[5]));
    QVERIFY(waitUntilFinished(waiting[3]));
    QCOMPARE(waiting.order(), QList<int>() << 0 << 1 << 2 << 3 << 4 << 5 << 3);
    QVERIFY(answerHeld(0, "(5,)"));

    const QList<WireMessage> calls = takeCalls();
    QCOMPARE(calls.size(), 3);
    QCOMPARE(calls.at(0).body, QByteArray("(4, 0)"));
    QCOMPARE(calls.at(1).body, QByteArray("(5, 0)"));
    QCOMPARE(calls.at(2).body, QByteArray("(3, 0)"));
    QCOMPARE(requests.order(), QList<int>() << 0 << 1);
}

// Neither pending calls to a daemon that does not reply nor abandoned ones delay calls to another
// daemon.
void tst_Request::eachDaemonHasItsShare()
{
    WirePeer &supplyd = (*m_daemons)[SUPPLYD];
    supplyd.answer("supplySupplyPercent", "(12.5,)");
    Requests requests(mostInFlight + 50);
    for (int i = 0; i < mostInFlight + 50; ++i) {
        requests[i].setCall(HNIPC_METHOD(getAlert));
    }
    QVERIFY(requests.allAreSent());
    QVERIFY(isHeld(mostInFlight));
    for (int i = 0; i < mostInFlight + 50; ++i) {
        requests[i].cancel();
        QCOMPARE(outcomeOf(requests[i]),
                 QByteArray(i < mostInFlight ? cancelled : cancelledWaiting));
    }
    HNIPCRequest other;
    other.setCall(HNIPC_METHOD(supplySupplyPercent));
    QCOMPARE(outcomeOfSending(other), QByteArray("Answered"));
    QCOMPARE(other.value(), QVariant(12.5));

    // The library sends nothing more to the daemon that does not reply.
    HNIPCRequest late;
    late.setCall(HNIPC_METHOD(forwardFeed), 5);
    late.setDeadline(20);
    QCOMPARE(outcomeOfSending(late), waitedTooLong(20));
    takeCalls();
    for (int i = 0; i < mostInFlight; ++i) {
        m4().answerHeld(i, "(5,)");
    }
    QVERIFY(nothingIsInFlight());
    QCOMPARE(takeCalls().size(), 0);
    supplyd.clearAnswers();
}

void tst_Request::deadlineCountsFromSend()
{
    const int deadline = 200;
    Requests requests(mostInFlight);
    for (int i = 0; i < mostInFlight; ++i) {
        requests[i].setCall(HNIPC_METHOD(getAlert));
    }
    QVERIFY(requests.allAreSent());
    QVERIFY(isHeld(mostInFlight));

    // A deadline that started with the turn of the request would pass after that of the measure,
    // which gets no turn. If the machine stops for a while, an attempt shows nothing, so there are
    // several.
    bool isShown = false;
    for (int attempt = 0; attempt < 20 && !isShown; ++attempt) {
        HNIPCRequest request;
        request.setCall(HNIPC_METHOD(getAlert));
        request.setDeadline(deadline);
        HNIPCRequest measure;
        measure.setCall(HNIPC_METHOD(getAlert));
        measure.setDeadline(deadline + deadline / 4);
        bool isFirst = false;
        Listener listener(&request, SIGNAL(finished()), [&]() { isFirst = measure.isPending(); });
        QVERIFY(request.send());
        QVERIFY(measure.send());
        QVERIFY(waitUntil([&]() { return request.elapsed() > deadline / 2; }));
        m4().answerHeld(attempt, "(5,)");
        QVERIFY(waitUntilFinished(request));
        QVERIFY(waitUntilFinished(measure));
        const QByteArray outcome = outcomeOf(request);
        QVERIFY2(isTimeOut(outcome, deadline), outcome.constData());
        isShown = isFirst && outcome == timedOut(deadline);
        if (!isShown) {
            QVERIFY(waitUntilFinished(requests[attempt]));
            QVERIFY(requests[attempt].send());
        }
    }
    QVERIFY(isShown);
}

void tst_Request::turnComesAfterTheDeadline()
{
    const int deadline = 20;
    Requests requests(mostInFlight);
    for (int i = 0; i < mostInFlight; ++i) {
        requests[i].setCall(HNIPC_METHOD(getAlert));
    }
    QVERIFY(requests.allAreSent());
    QVERIFY(isHeld(mostInFlight));
    takeCalls();
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(forwardFeed), 400);
    request.setDeadline(deadline);
    QVERIFY(request.send());
    makeRequestsLeave();
    // This thread is too busy to notice that the deadline has passed.
    while (request.elapsed() <= deadline) {
        std::this_thread::yield();
    }
    m4().answerHeld(0, "(5,)");
    settle();
    QVERIFY(waitUntilFinished(request));
    QCOMPARE(outcomeOf(request), waitedTooLong(deadline));
    QVERIFY(m_daemons->passFence());
    QCOMPARE(takeCalls().size(), 0);
}

void tst_Request::deadlineIsNeverEarly()
{
    const int count = 30;
    Requests requests(count);
    for (int i = 0; i < count; ++i) {
        requests[i].setCall(HNIPC_METHOD(getAlert));
        requests[i].setDeadline(100 + 13 * i);
    }
    QVERIFY(requests.allAreSent());
    QVERIFY(waitUntil([&]() { return requests.order().size() == count; }));
    for (int i = 0; i < count; ++i) {
        QVERIFY(isTimeOut(outcomeOf(requests[i]), requests[i].deadline()));
        QVERIFY2(requests[i].elapsed() >= requests[i].deadline(),
                 QByteArray::number(requests[i].elapsed()).constData());
    }
}

// Each of these outcomes occurs more often than there are turns. If one of them kept its turn,
// later requests would wait forever.
void tst_Request::everyEndGivesBackTheTurn()
{
    for (int i = 0; i <= mostInFlight; ++i) {
        m4().answerError("resetCutter", "org.hnipc.Error.Busy", "no");
        HNIPCRequest request;
        request.setCall(HNIPC_METHOD(getError));
        QCOMPARE(outcomeOfSending(request), QByteArray("Answered"));
        request.setCall(HNIPC_METHOD(resetCutter));
        QCOMPARE(outcomeOfSending(request), QByteArray("Refused org.hnipc.Error.Busy: no"));
        request.setCall(HNIPC_METHOD(getAlert));
        request.setDeadline(1);
        QVERIFY(isTimeOut(outcomeOfSending(request), 1));
        QVERIFY(request.send());
        request.cancel();
        request.setDeadline(-1);
        QVERIFY(request.send());
        HNIPCRequest *const deleted = new HNIPCRequest;
        deleted->setCall(HNIPC_METHOD(getAlert));
        QVERIFY(deleted->send());
        delete deleted;
        settle();
        m4().clearAnswers();
        QVERIFY(waitUntilFinished(request));
        init();
    }
    m_daemons->stop(M4);
    for (int i = 0; i <= mostInFlight; ++i) {
        HNIPCRequest request;
        request.setCall(HNIPC_METHOD(getError));
        QCOMPARE(outcomeOfSending(request), QByteArray(absent));
    }
    m_daemons->start(M4);
}

void tst_Request::blockingCallsSideBySide()
{
    HNIPC client(0);
    HNIPCRequest held;
    held.setCall(HNIPC_METHOD(getAlert));
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(getError));
    QVERIFY(held.send());
    QVERIFY(request.send());
    QCOMPARE(client.getError(), 7);
    QVERIFY(client.setUserSetting(1, 2));
    QVERIFY(request.isPending()); // a blocking call turns no event loop
    QVERIFY(waitUntilFinished(request));
    QVERIFY(held.isPending());
    QVERIFY(answerHeld(0, "(5,)"));
    QCOMPARE(held.value(), QVariant(5));
    QCOMPARE(request.value(), QVariant(7));
    QCOMPARE(takeCalls().size(), 4);
}

void tst_Request::onAThreadOfItsOwn()
{
    const int count = 4;
    Requests others(mostInFlight);
    for (int i = 0; i < mostInFlight; ++i) {
        others[i].setCall(HNIPC_METHOD(getAlert));
    }
    // Sent immediately, and after waiting for the reply to a call of this thread.
    for (int round = 0; round < 2; ++round) {
        if (round == 1) {
            QVERIFY(others.allAreSent());
        }
        RequestThread threads[count];
        for (RequestThread &thread : threads) {
            thread.start();
        }
        if (round == 1) {
            QVERIFY(isHeld(mostInFlight));
            m4().answerHeld(0, "(5,)");
        }
        for (RequestThread &thread : threads) {
            QVERIFY(waitUntil([&thread]() { return thread.isFinished(); }));
            QCOMPARE(thread.outcome, QByteArray("Answered"));
            QCOMPARE(thread.value, QVariant(7));
            QCOMPARE(thread.emissions,
                     Lines() << emission("methodChanged()") << emission("argumentsChanged()")
                             << sentLines() << finishedLines());
        }
    }
}

void tst_Request::threadMayEndInFlight_data()
{
    QTest::addColumn<int>("way");
    QTest::newRow("destroyed by the thread") << 0;
    QTest::newRow("left behind by a thread that goes on") << 1;
    QTest::newRow("destroyed after the thread has ended") << 2;
    QTest::newRow("worker, deleteLater") << 3;
    QTest::newRow("worker, deleted after the thread has ended") << 4;
    QTest::newRow("unknown to Qt") << 5;
}

// However a thread abandons its requests, their calls count exactly until the daemon replies.
void tst_Request::threadMayEndInFlight()
{
    QFETCH(int, way);
    std::vector<std::unique_ptr<HNIPCRequest>> left;
    std::vector<std::unique_ptr<PlainThread>> threads;
    std::mutex mutex;
    for (int i = 0; i < mostInFlight; ++i) {
        const auto send = [&left, &mutex]() {
            const std::lock_guard<std::mutex> lock(mutex); // until the list contains it
            left.emplace_back(new HNIPCRequest);
            left.back()->setCall(HNIPC_METHOD(getAlert));
            left.back()->send();
        };
        if (way <= 2) {
            threads.emplace_back(new PlainThread(send));
            threads.back()->start();
            QVERIFY(isHeld(i + 1));
            if (way == 0) {
                threads.back()->mayEnd();
                QVERIFY(threads.back()->wait());
                left.clear();
            } else if (way == 2) {
                threads.back()->mayEnd();
                QVERIFY(threads.back()->wait());
            }
        } else if (way <= 4) {
            QThread thread;
            const QPointer<Worker> worker = new Worker;
            worker->moveToThread(&thread);
            if (way == 3) {
                worker->connect(&thread, SIGNAL(finished()), SLOT(deleteLater()));
            }
            worker->connect(&thread, SIGNAL(started()), SLOT(send()));
            thread.start();
            QVERIFY(isHeld(i + 1));
            thread.quit();
            QVERIFY(thread.wait());
            if (way == 4) {
                delete worker.data();
            }
            QVERIFY(!worker);
        } else {
            QSemaphore end;
            std::thread thread([&]() {
                send();
                end.acquire();
                left.clear();
            });
            const bool held = isHeld(i + 1);
            end.release();
            thread.join();
            QVERIFY(held);
        }
    }
    HNIPCRequest next;
    next.setCall(HNIPC_METHOD(getError));
    QVERIFY(next.send());
    QVERIFY(m_daemons->passFence());
    QVERIFY(next.isPending());
    for (int i = 0; i < mostInFlight; ++i) {
        QVERIFY(answerHeld(i, "(5,)"));
    }
    QVERIFY(waitUntilFinished(next));
    QCOMPARE(outcomeOf(next), QByteArray("Answered"));

    Requests requests(mostInFlight);
    for (int i = 0; i < mostInFlight; ++i) {
        requests[i].setCall(HNIPC_METHOD(getAlert));
    }
    QVERIFY(requests.allAreSent());
    QVERIFY(isHeld(2 * mostInFlight));
    for (const auto &thread : threads) {
        thread->mayEnd();
        QVERIFY(thread->wait());
    }
    left.clear();
}

void tst_Request::moveToThreadInFlight()
{
    QThread thread;
    thread.start();
    QObject *const home = new QObject;
    home->moveToThread(&thread);
    HNIPCRequest *const answered = new HNIPCRequest;
    answered->setCall(HNIPC_METHOD(getAlert));
    HNIPCRequest *const late = new HNIPCRequest;
    late->setCall(HNIPC_METHOD(getAlert));
    late->setDeadline(500);
    HNIPCRequest *const nothing = new HNIPCRequest;
    nothing->setMethod(QLatin1String("nothing"));
    HNIPCRequest *const all[] = { answered, late, nothing };
    std::atomic<int> finished(0);
    std::atomic<int> elsewhere(0);
    std::atomic<int> timers(0);
    for (HNIPCRequest *const request : all) {
        Listener *const listener = new Listener(request, SIGNAL(finished()), [&, request]() {
            elsewhere += QThread::currentThread() == &thread ? 1 : 0;
            // Qt restarts the timers of an object that is moved.
            const QObjectList children = request->children();
            for (QObject *const child : children) {
                timers += int(QAbstractEventDispatcher::instance()->registeredTimers(child).size());
            }
            ++finished;
        });
        listener->setParent(request); // moved together with the request
        QVERIFY(request->send());
        request->moveToThread(&thread);
    }
    QVERIFY(isHeld(2));
    QVERIFY(waitUntil([&]() { return finished == 2; }));
    m4().answerHeld(0, "(5,)");
    QVERIFY(waitUntil([&]() { return finished == 3; }));
    thread.quit();
    QVERIFY(thread.wait());
    QCOMPARE(int(elsewhere), 3);
    QCOMPARE(int(timers), 0);
    QCOMPARE(outcomeOf(*answered), QByteArray("Answered"));
    QCOMPARE(outcomeOf(*late), timedOut(500));
    QVERIFY(late->elapsed() >= 500);
    QCOMPARE(outcomeOf(*nothing), QByteArray(noMethod));
    delete answered;
    delete late;
    delete nothing;
    delete home;
    m4().answerHeld(1, "(5,)");
}

void tst_Request::haltedBusBlocksNobody()
{
    HNIPCRequest late;
    late.setCall(HNIPC_METHOD(getAlert));
    late.setDeadline(500);
    HNIPCRequest given;
    given.setCall(HNIPC_METHOD(getAlert));
    HNIPCRequest patient;
    patient.setCall(HNIPC_METHOD(getError));
    HaltedBus bus;
    QVERIFY(patient.send());
    QVERIFY(given.send());
    QCOMPARE(outcomeOfSending(late), timedOut(500));
    given.cancel();
    QCOMPARE(outcomeOf(given), QByteArray(cancelled));
    QVERIFY(patient.isPending());
    QVERIFY(bus.resume());
    QVERIFY(waitUntilFinished(patient));
    QCOMPARE(outcomeOf(patient), QByteArray("Answered"));
    QVERIFY(isHeld(2));
    QCOMPARE(takeCalls().size(), 3);
}

void tst_Request::deadlineRacesWithTheAnswer()
{
    const int batches = 100;
    const int size = 100;
    Requests requests(size);
    for (int i = 0; i < size; ++i) {
        requests[i].setCall(HNIPC_METHOD(getError));
        requests[i].setDeadline(1);
    }
    int sent = 0;
    for (int batch = 0; batch < batches; ++batch) {
        QVERIFY(requests.allAreSent());
        QVERIFY(waitUntil([&]() { return requests.order().size() >= size; }));
        for (int i = 0; i < size; ++i) {
            const QByteArray outcome = outcomeOf(requests[i]);
            QVERIFY2(isTimeOut(outcome, 1)
                         || (outcome == "Answered" && requests[i].value() == QVariant(7)),
                     outcome.constData());
            sent += outcome == waitedTooLong(1) ? 0 : 1;
        }
        QCOMPARE(requests.timesEachHasFinished(), 1);
        requests.clearOrder();
        // Late replies may arrive during the next rounds. The replies are awaited here because the
        // bus allows only 128 calls without a reply.
        settle();
    }
    QVERIFY(m_daemons->passFence());
    QVERIFY(requests.order().isEmpty());
    QCOMPARE(takeCalls().size(), sent);
}

void tst_Request::cancelRacesWithTheAnswer()
{
    const int batches = 100;
    const int size = 100;
    Requests requests(size);
    for (int i = 0; i < size; ++i) {
        requests[i].setCall(HNIPC_METHOD(getError));
    }
    int sent = 0;
    for (int batch = 0; batch < batches; ++batch) {
        QVERIFY(requests.allAreSent());
        int unanswered = size;
        switch (batch % 3) {
        case 0: // the call may not have been sent yet
            break;
        case 1: // the replies have passed the bus
            settle();
            break;
        case 2: // some replies have been delivered
            QVERIFY(waitUntil([&]() { return requests.order().size() >= size / 3; }));
            unanswered = size - int(requests.order().size());
            break;
        }
        int found = 0;
        for (int i = size - 1; i >= 0; --i) {
            requests[i].cancel();
            const QByteArray outcome = outcomeOf(requests[i]);
            found += outcome == "Answered" ? 0 : 1;
            sent += outcome == cancelledWaiting ? 0 : 1;
            QVERIFY2(outcome == cancelled || outcome == cancelledWaiting
                         || (outcome == "Answered" && requests[i].value() == QVariant(7)),
                     outcome.constData());
        }
        QCOMPARE(found, unanswered);
        QCOMPARE(requests.timesEachHasFinished(), 1);
        requests.clearOrder();
        QVERIFY(nothingIsInFlight());
    }
    QVERIFY(m_daemons->passFence());
    QVERIFY(requests.order().isEmpty());
    QCOMPARE(takeCalls().size(), sent);
}

HNIPC_TEST_MAIN(tst_Request)

#include "tst_request.moc"
