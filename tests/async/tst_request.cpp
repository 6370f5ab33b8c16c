// SPDX-License-Identifier: MIT
#include "asyncdaemons.h"
#include "client/relayrows.h"
#include "requests.h"
#include "support/haltedbus.h"
#include "support/listener.h"
#include "support/privatebus.h"
#include "support/table.h"

#include <hnipc/hnipc.h>
#include <hnipc/hnipcrequest.h>

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QEventLoop>
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

namespace {

const char cancelled[] = "Unknown Cancelled org.hnipc.Error.Cancelled: cancelled";
const char cancelledWaiting[] = "NotSent Cancelled org.hnipc.Error.Cancelled: cancelled";
const char absent[] = "NotSent DaemonAbsent org.freedesktop.DBus.Error.ServiceUnknown: "
                      "org.hnipc.m4 is not on the bus";
const char noMethod[] = "NotSent UnknownMethod org.freedesktop.DBus.Error.UnknownMethod: "
                        "the printer has no method \"nothing\"";
const char busy[] = "Refused DaemonError org.hnipc.Error.Busy: no";

// The most requests in flight to one daemon.
const int mostInFlight = 32;

QByteArray timedOut(int deadline)
{
    return "Unknown TimedOut org.freedesktop.DBus.Error.Timeout: org.hnipc.m4 did not reply within "
        + QByteArray::number(deadline) + " ms";
}

QByteArray waitedTooLong(int deadline)
{
    return "NotSent TimedOut org.freedesktop.DBus.Error.Timeout: "
           "the call was not sent to org.hnipc.m4 within "
        + QByteArray::number(deadline) + " ms";
}

// A short deadline may pass before the library's thread has sent the call.
bool isTimeOut(const QByteArray &outcome, int deadline)
{
    return outcome == timedOut(deadline) || outcome == waitedTooLong(deadline);
}

// A number of requests that record how often and in which order they have finished.
class Requests : public QObject
{
    Q_OBJECT

public:
    Requests(int count, const char *method, int deadline = -1)
    {
        for (int i = 0; i < count; ++i) {
            m_requests.emplace_back(new HNIPCRequest);
            m_requests.back()->setMethod(QLatin1String(method));
            m_requests.back()->setDeadline(deadline);
            m_requests.back()->setObjectName(QString::number(i));
            connect(m_requests.back().get(), SIGNAL(finished()), SLOT(onFinished()));
        }
    }

    HNIPCRequest &operator[](int i) { return *m_requests.at(i); }
    QList<int> order() const { return m_order; }
    void clearOrder() { m_order.clear(); }

    bool allAreSent()
    {
        return std::all_of(
            m_requests.begin(), m_requests.end(),
            [](const std::unique_ptr<HNIPCRequest> &request) { return request->send(); });
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
    QByteArray emitted;

protected:
    void run() override
    {
        RecordedRequest request("getError");
        outcome = outcomeOfSending(request);
        value = request.value();
        emitted = request.takeSignals();
    }
};

// Runs a function on a thread without an event loop. The thread ends when the test allows it.
class PlainThread : public QThread
{
public:
    explicit PlainThread(const std::function<void()> &action) : m_action(action) { start(); }

    bool end()
    {
        m_end.release();
        return wait();
    }

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

#if QT_VERSION >= QT_VERSION_CHECK(5, 0, 0)
QtMessageHandler printMessage;
std::atomic<int> wrongTimers(0); // timers that Qt did not stop, because the request has none

void countWrongTimers(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    wrongTimers += message.contains(QLatin1String("killTimer")) ? 1 : 0;
    printMessage(type, context, message);
}
#endif

} // namespace

// The life of a request.
class tst_Request : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void startsWithoutOutcome();
    void settersTellOfChanges();

    void answered();
    void refusedWithTheDaemonsOwnWords_data();
    void refusedWithTheDaemonsOwnWords();
    void absentDaemonIsNotCalledAndMayReturn();
    void daemonLeavesInsteadOfAnswering();
    void daemonReleasesItsNameInFlight_data() { addServers(); }
    void daemonReleasesItsNameInFlight();

    void deadlineBelowOneIsRefused();
    void deadlinePasses_data();
    void deadlinePasses();
    void answerBeforeTheDeadline();
    void passedDeadlineOfAFinishedRequestIsNothing();

    void cancelledInFlight();
    void cancelledBeforeItIsKnownNotToBeSent();
    void cancelledNotSentRequestMayBeSentAgain();
    void cancelOutOfFlightIsNothing();
    void cancelAsSoonAsSent();
    void cancelledWithinSendItIsNotSentLater();

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
    void threadGetsItsEventLoopAfterSend();
    void haltedBusBlocksNobody();
    void deadlineRacesWithTheAnswer();
    void cancelRacesWithTheAnswer();

private:
    WirePeer &m4() { return m_daemons[M4]; }

    bool answerHeld(int number, const QByteArray &body)
    {
        m4().answerHeld(number, body);
        m4().sync();
        return m_daemons.passFence();
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
    Lines takeCalls()
    {
        settle();
        Lines result;
        const QList<WireMessage> calls = m_daemons.takeCalls();
        for (const WireMessage &call : calls) {
            result.append(call.member + call.body);
        }
        return result;
    }

    // True when all requests that the print engine has replied to have finished. A reply that
    // arrives before the library waits for it takes two turns of the event loop.
    bool nothingIsInFlight()
    {
        settle();
        return m_daemons.passFence() && m_daemons.passFence();
    }

    AsyncDaemons m_daemons;
};

// Qt 4 prints no such warnings.
void tst_Request::initTestCase()
{
#if QT_VERSION >= QT_VERSION_CHECK(5, 0, 0)
    printMessage = qInstallMessageHandler(countWrongTimers);
#endif
}

void tst_Request::cleanup()
{
#if QT_VERSION >= QT_VERSION_CHECK(5, 0, 0)
    QCOMPARE(wrongTimers.exchange(0), 0);
#endif
}

void tst_Request::cleanupTestCase()
{
#if QT_VERSION >= QT_VERSION_CHECK(5, 0, 0)
    qInstallMessageHandler(printMessage);
#endif
}

// In all tests, getError() returns 7, and the replies to getAlert() are held until the test sends
// them.
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

// ---- Properties ----------------------------------------------------------------------------

void tst_Request::startsWithoutOutcome()
{
    HNIPCRequest request;
    QCOMPARE(request.method(), QString());
    QCOMPARE(request.arguments(), QVariantList());
    QCOMPARE(request.deadline(), -1);
    QVERIFY(!request.isPending());
    COMPARE_OUTCOME(request, "NoOutcome");
    QCOMPARE(request.elapsed(), 0);
}

void tst_Request::settersTellOfChanges()
{
    RecordedRequest request;
    const QVariantList arguments = QVariantList() << 5 << 6;
    QVERIFY(request.setProperty("method", QLatin1String("setUserSetting")));
    QVERIFY(request.setProperty("parameters", arguments));
    QVERIFY(request.setProperty("deadline", 5000));
    COMPARE_SIGNALS(request, "methodChanged argumentsChanged deadlineChanged");
    QCOMPARE(request.method(), QString::fromLatin1("setUserSetting"));
    QCOMPARE(request.arguments(), arguments);
    QCOMPARE(request.deadline(), 5000);
    request.setMethod(request.method());
    request.setArguments(arguments);
    request.setDeadline(request.deadline());
    COMPARE_SIGNALS(request, "argumentsChanged");
}

// ---- Outcomes ------------------------------------------------------------------------------

void tst_Request::answered()
{
    RecordedRequest request("getAlert");
    QVERIFY(request.send());
    COMPARE_SIGNALS(request, sentSignals);
    QVERIFY(isHeld(1));
    QVERIFY(m_daemons.passFence());
    QVERIFY(request.isPending());
    COMPARE_SIGNALS(request, "");

    QByteArray within;
    Listener listener(&request, SIGNAL(finished()), [&]() {
        within = request.isPending() ? QByteArray("pending") : outcomeOf(request);
    });
    QVERIFY(answerHeld(0, "(-3,)"));
    COMPARE_SIGNALS(request, finishedSignals);
    QCOMPARE(within, QByteArray("Answered"));
    QVERIFY(!request.isPending());
    QCOMPARE(request.value(), QVariant(-3));
    QCOMPARE(takeCalls(), Lines({ "getAlert()" }));
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
    RecordedRequest request("getError");
    SEND_AND_COMPARE(request, "Refused DaemonError " + name + ": " + text);
    QVERIFY(m_daemons.passFence());
    COMPARE_SIGNALS(request, allSignals);
    QCOMPARE(takeCalls(), Lines({ "getError()" }));
}

void tst_Request::absentDaemonIsNotCalledAndMayReturn()
{
    RecordedRequest request("getError");
    m_daemons.stop(M4);
    for (int i = 0; i < 3; ++i) {
        SEND_AND_COMPARE(request, absent);
        QVERIFY(m_daemons.passFence());
        COMPARE_SIGNALS(request, allSignals);
    }
    m_daemons.start(M4);
    QVERIFY(m_daemons.passFence());
    QCOMPARE(takeCalls(), Lines());

    SEND_AND_COMPARE(request, "Answered");
    QCOMPARE(request.value(), QVariant(7));
    QCOMPARE(takeCalls(), Lines({ "getError()" }));
}

void tst_Request::daemonLeavesInsteadOfAnswering()
{
    m_daemons.stop(M4);
    {
        WirePeer mortal;
        mortal.leaveOn("getError");
        QVERIFY(mortal.own(identities[M4].busName));
        RecordedRequest request("getError");
        SEND_AND_COMPARE(request,
                         "Unknown DaemonLeft org.freedesktop.DBus.Error.NoReply: "
                         "org.hnipc.m4 left the bus before it replied");
        QVERIFY(m_daemons.passFence());
        COMPARE_SIGNALS(request, allSignals);
        QCOMPARE(mortal.calls().size(), 1);
    }
    m_daemons.start(M4);
    QVERIFY(m_daemons.passFence());
    QCOMPARE(takeCalls(), Lines()); // not sent a second time
}

// A daemon that has released its name still replies. Another daemon has no influence.
void tst_Request::daemonReleasesItsNameInFlight()
{
    QFETCH(int, server);
    RecordedRequest request("getAlert");
    QVERIFY(request.send());
    QVERIFY(isHeld(1));
    m_daemons.stop(server);
    QVERIFY(request.isPending());
    QVERIFY(answerHeld(0, "(5,)"));
    COMPARE_OUTCOME(request, "Answered");
    m_daemons.start(server);
}

// ---- Deadline ------------------------------------------------------------------------------

void tst_Request::deadlineBelowOneIsRefused()
{
    RecordedRequest request("getError");
    WireMonitor monitor;
    for (const int deadline : { 0, -2, -5, std::numeric_limits<int>::min() }) {
        request.setDeadline(deadline);
        SEND_AND_COMPARE(request,
                         "NotSent InvalidArguments org.freedesktop.DBus.Error.InvalidArgs: "
                         "the deadline has to be 1 ms or more, or -1, not "
                             + QByteArray::number(deadline));
    }
    makeRoundTrip();
    QVERIFY(monitor.takeCallsFrom(QDBusConnection::systemBus().baseService().toLatin1()).isEmpty());
}

void tst_Request::deadlinePasses_data()
{
    QTest::addColumn<int>("deadline");
    for (const int deadline : { 1, 20, 1000 }) {
        QTest::newRow(QByteArray::number(deadline).constData()) << deadline;
    }
}

void tst_Request::deadlinePasses()
{
    QFETCH(int, deadline);
    RecordedRequest request("getAlert", deadline);
    const QByteArray outcome = outcomeOfSending(request);
    QVERIFY2(isTimeOut(outcome, deadline), outcome.constData());
    COMPARE_SIGNALS(request, allSignals);

    // The reply is late, and the daemon was called once.
    const int sent = outcome == waitedTooLong(deadline) ? 0 : 1;
    QVERIFY(sent == 1 || deadline < 1000);
    QVERIFY(isHeld(sent));
    if (sent == 1) {
        m4().answerHeld(0, "(5,)");
    }
    settle();
    COMPARE_OUTCOME(request, outcome);
    COMPARE_SIGNALS(request, "");
    QCOMPARE(takeCalls().size(), sent);
}

void tst_Request::answerBeforeTheDeadline()
{
    for (const int deadline : { -1, 60 * 60 * 1000, std::numeric_limits<int>::max() }) {
        RecordedRequest request("getError", deadline);
        SEND_AND_COMPARE(request, "Answered");
        QCOMPARE(request.value(), QVariant(7));
    }
}

void tst_Request::passedDeadlineOfAFinishedRequestIsNothing()
{
    const int deadline = 200;
    RecordedRequest request("getError", deadline);
    RecordedRequest later("getAlert", deadline);
    const QByteArray outcome = outcomeOfSending(request);
    // On a slow machine the deadline may pass. If so, it passes before the other request is sent.
    QVERIFY2(outcome == "Answered" || isTimeOut(outcome, deadline), outcome.constData());
    request.takeSignals();
    QVERIFY(isTimeOut(outcomeOfSending(later), deadline));
    QVERIFY(m_daemons.passFence());
    COMPARE_SIGNALS(request, "");
    COMPARE_OUTCOME(request, outcome);
}

// ---- Cancelling ----------------------------------------------------------------------------

void tst_Request::cancelledInFlight()
{
    RecordedRequest request("getAlert");
    Listener listener(&request, SIGNAL(finished()), [&]() { request.cancel(); }); // does nothing
    QVERIFY(request.send());
    QVERIFY(isHeld(1));
    COMPARE_SIGNALS(request, sentSignals);
    request.cancel();
    QVERIFY(!request.isPending());
    COMPARE_OUTCOME(request, cancelled);
    COMPARE_SIGNALS(request, finishedSignals);
    request.cancel();
    QVERIFY(answerHeld(0, "(5,)"));
    COMPARE_SIGNALS(request, "");
    COMPARE_OUTCOME(request, cancelled);
}

void tst_Request::cancelledBeforeItIsKnownNotToBeSent()
{
    RecordedRequest request("nothing");
    QVERIFY(request.send());
    request.cancel();
    COMPARE_OUTCOME(request, noMethod); // not sent, so the outcome is not unknown
    COMPARE_SIGNALS(request, allSignals);
    QVERIFY(m_daemons.passFence());
    COMPARE_SIGNALS(request, "");
}

void tst_Request::cancelledNotSentRequestMayBeSentAgain()
{
    RecordedRequest request("nothing");
    QVERIFY(request.send());
    request.cancel();
    COMPARE_SIGNALS(request, allSignals);
    request.setMethod(QLatin1String("getAlert"));
    QVERIFY(request.send());
    QVERIFY(isHeld(1));
    QVERIFY(m_daemons.passFence());
    QVERIFY(request.isPending());
    QVERIFY(answerHeld(0, "(5,)"));
    COMPARE_OUTCOME(request, "Answered");
    COMPARE_SIGNALS(request, "methodChanged stateChanged stateChanged finished");

    request.setMethod(QLatin1String("nothing"));
    RecordedRequest between("nothing"); // its failure is reported after that of the cancelled one
    bool isPendingThen = false;
    Listener listener(&between, SIGNAL(finished()), [&]() { isPendingThen = request.isPending(); });
    QVERIFY(request.send());
    request.cancel();
    request.takeSignals();
    QVERIFY(between.send());
    QVERIFY(request.send());
    QVERIFY(waitUntilFinished(request));
    QVERIFY(isPendingThen);
    QVERIFY(m_daemons.passFence());
    COMPARE_SIGNALS(request, allSignals);
}

void tst_Request::cancelOutOfFlightIsNothing()
{
    RecordedRequest request("getError");
    request.cancel();
    QVERIFY(m_daemons.passFence());
    COMPARE_SIGNALS(request, "");
    COMPARE_OUTCOME(request, "NoOutcome");

    Listener listener(&request, SIGNAL(finished()), [&]() { request.cancel(); });
    SEND_AND_COMPARE(request, "Answered");
    request.cancel();
    QVERIFY(m_daemons.passFence());
    COMPARE_SIGNALS(request, allSignals);
    COMPARE_OUTCOME(request, "Answered");
    QCOMPARE(request.value(), QVariant(7));
}

void tst_Request::cancelAsSoonAsSent()
{
    RecordedRequest request("getError");
    Listener canceller(&request, SIGNAL(stateChanged()), [&]() { request.cancel(); });
    QVERIFY(request.send());
    COMPARE_SIGNALS(request, sentSignals); // finished() is never emitted within send()
    QVERIFY(waitUntilFinished(request));
    const QByteArray outcome = outcomeOf(request);
    QVERIFY2(outcome == cancelled || outcome == cancelledWaiting, outcome.constData());
    QVERIFY(m_daemons.passFence());
    COMPARE_SIGNALS(request, finishedSignals);
    QCOMPARE(takeCalls().size(), outcome == cancelled ? 1 : 0);
}

void tst_Request::cancelledWithinSendItIsNotSentLater()
{
    Requests requests(mostInFlight, "getAlert");
    QVERIFY(requests.allAreSent());
    QVERIFY(isHeld(mostInFlight));
    RecordedRequest waiting("setUserSetting");
    waiting.setArguments(QVariantList() << 1 << 2);
    bool hasTurn = false;
    Listener canceller(&waiting, SIGNAL(stateChanged()), [&]() {
        if (waiting.isPending()) {
            waiting.cancel();
            hasTurn = answerHeld(0, "(5,)") && waitUntilFinished(requests[0]);
            settle();
        }
    });
    QVERIFY(waiting.send());
    QVERIFY(hasTurn);
    QVERIFY(waitUntilFinished(waiting));
    COMPARE_OUTCOME(waiting, cancelledWaiting);
    QCOMPARE(takeCalls().count("setUserSetting(1, 2)"), 0);
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
    RecordedRequest request(method.constData(), method == "getAlert" ? 20 : -1);
    bool isFirst = true;
    Listener loop(&request, SIGNAL(stateChanged()), [&]() {
        if (isFirst) {
            isFirst = false;
            waitUntil([&]() { return request.elapsed() > 40; });
            m_daemons.passFence();
        }
    });
    QVERIFY(request.send());
    QVERIFY(request.isPending());
    COMPARE_OUTCOME(request, "NoOutcome");
    COMPARE_SIGNALS(request, sentSignals);
    QVERIFY(waitUntilFinished(request));
    const QByteArray outcome = outcomeOf(request);
    QVERIFY2(outcome == (method == "getError" ? "Answered" : noMethod)
                 || (method == "getAlert" && isTimeOut(outcome, 20)),
             outcome.constData());
    QVERIFY(m_daemons.passFence());
    COMPARE_SIGNALS(request, finishedSignals);
}

void tst_Request::stateIsKnownBeforeFinished()
{
    RecordedRequest request("getError");
    QByteArray atStateChanged;
    bool isAccepted = true;
    Listener state(&request, SIGNAL(stateChanged()), [&]() {
        if (!request.isPending()) {
            atStateChanged = outcomeOf(request);
            isAccepted = request.send(); // finished() has not been emitted yet
            request.cancel();
        }
    });
    SEND_AND_COMPARE(request, "Answered");
    QCOMPARE(atStateChanged, QByteArray("Answered"));
    QVERIFY(!isAccepted);
    QVERIFY(m_daemons.passFence());
    COMPARE_SIGNALS(request, allSignals);
    QCOMPARE(takeCalls(), Lines({ "getError()" }));
}

// ---- Sending again -------------------------------------------------------------------------

void tst_Request::sendInFlightIsRefused()
{
    RecordedRequest request("getAlert");
    QVERIFY(request.send());
    QVERIFY(!request.send());
    QVERIFY(isHeld(1));
    QVERIFY(!request.send());
    QVERIFY(m_daemons.passFence());
    COMPARE_SIGNALS(request, sentSignals);
    QVERIFY(answerHeld(0, "(5,)"));
    QCOMPARE(request.value(), QVariant(5));
    QCOMPARE(takeCalls(), Lines({ "getAlert()" }));
}

void tst_Request::changesInFlightAreForTheNext()
{
    RecordedRequest request("getAlert");
    QVERIFY(request.send());
    request.setCall(HNIPC_METHOD(setUserSetting), 5, 6);
    request.setDeadline(1);
    QVERIFY(isHeld(1));
    QVERIFY(m_daemons.passFence());
    QVERIFY(request.isPending());
    QVERIFY(answerHeld(0, "(5,)"));
    COMPARE_OUTCOME(request, "Answered");
    QCOMPARE(request.value(), QVariant(5));

    request.setDeadline(-1);
    SEND_AND_COMPARE(request, "Answered");
    QCOMPARE(request.value(), QVariant(true));
    QCOMPARE(takeCalls(), Lines({ "getAlert()", "setUserSetting(5, 6)" }));
}

void tst_Request::argumentsOfOneCallAreNotKept()
{
    RecordedRequest request;
    request.setCall(HNIPC_METHOD(setUserSetting), 5, 6);
    request.takeSignals();
    QVERIFY(request.send(QVariantList() << 7 << 8));
    QVERIFY(!request.send(QVariantList() << 9 << 9));
    COMPARE_SIGNALS(request, sentSignals);
    QVERIFY(waitUntilFinished(request));
    COMPARE_OUTCOME(request, "Answered");
    QCOMPARE(request.arguments(), QVariantList() << 5 << 6);
    SEND_AND_COMPARE(request, "Answered");

    // An invalid list of arguments is not replaced by the property.
    QVERIFY(request.send(QVariantList()));
    QVERIFY(waitUntilFinished(request));
    COMPARE_OUTCOME(request,
                    "NotSent InvalidArguments org.freedesktop.DBus.Error.InvalidArgs: "
                    "setUserSetting takes 2 arguments, not 0");
    QCOMPARE(takeCalls(), Lines({ "setUserSetting(7, 8)", "setUserSetting(5, 6)" }));
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
        SEND_AND_COMPARE(request, "Answered");
        m4().answerError("getError", "org.hnipc.Error.Busy", "no");
        SEND_AND_COMPARE(request, busy);
        request.setCall(HNIPC_METHOD(getAlert));
        request.setDeadline(1);
        QVERIFY(isTimeOut(outcomeOfSending(request), 1));
        request.setMethod(QLatin1String("nothing"));
        SEND_AND_COMPARE(request, noMethod);
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
    QVERIFY(m_daemons.passFence());
    QCOMPARE(accepted, times - 1);
    QVERIFY(!request.isPending());
    QCOMPARE(outcomes, Lines({ "Answered", "Answered", "Answered", "Answered", "Answered" }));
    QCOMPARE(takeCalls(),
             Lines({ "setUserSetting(0, 0)", "setUserSetting(1, 0)", "setUserSetting(2, 0)",
                     "setUserSetting(3, 0)", "setUserSetting(4, 0)" }));

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
    QVERIFY(m_daemons.passFence());
    QCOMPARE(int(outcomes.size()), times);
    QCOMPARE(outcomes.at(0), QByteArray(noMethod));
    QVERIFY(outcomes.at(1) == cancelled || outcomes.at(1) == cancelledWaiting);
    QCOMPARE(outcomes.at(2), QByteArray("Answered"));
}

// ---- Destruction ---------------------------------------------------------------------------

namespace {

const struct
{
    const char *name;
    const char *method; // a request for getAlert() is cancelled
    const char *signal;
    int occurrence;      // the request is destroyed at this one
    const char *emitted; // until then
} deletions[] = {
    { "answered, sent", "getError", SIGNAL(stateChanged()), 1, sentSignals },
    { "answered, result known", "getError", SIGNAL(stateChanged()), 2,
      "stateChanged stateChanged" },
    { "answered, finished", "getError", SIGNAL(finished()), 1, allSignals },
    { "not sent, sent", "nothing", SIGNAL(stateChanged()), 1, sentSignals },
    { "not sent, result known", "nothing", SIGNAL(stateChanged()), 2, "stateChanged stateChanged" },
    { "not sent, finished", "nothing", SIGNAL(finished()), 1, allSignals },
    { "cancelled, sent", "getAlert", SIGNAL(stateChanged()), 1, sentSignals },
    { "cancelled, result known", "getAlert", SIGNAL(stateChanged()), 2,
      "stateChanged stateChanged" },
    { "cancelled, finished", "getAlert", SIGNAL(finished()), 1, allSignals },
};

} // namespace

void tst_Request::deletedWithinASignal_data() { addTable(deletions); }

void tst_Request::deletedWithinASignal()
{
    const auto &row = currentRow(deletions);
    const QPointer<HNIPCRequest> request = new HNIPCRequest;
    request->setMethod(QLatin1String(row.method));
    SignalRecorder recorder(request);
    int occurred = 0;
    Listener listener(request, row.signal, [&]() {
        if (++occurred == row.occurrence) {
            delete request.data();
        }
    });
    QVERIFY(request->send());
    if (request && request->method() == QLatin1String("getAlert")) {
        request->cancel();
    }
    QVERIFY(waitUntil([&]() { return request.isNull(); }));
    QVERIFY(m_daemons.passFence());
    QCOMPARE(namesOf(recorder.take()), QByteArray(row.emitted));
}

void tst_Request::deletedInFlight()
{
    {
        QObject parent;
        RecordedRequest request("getAlert");
        HNIPCRequest *const child = new HNIPCRequest(&parent);
        child->setCall(HNIPC_METHOD(getAlert));
        QVERIFY(request.send());
        QVERIFY(child->send());
        QVERIFY(isHeld(2));
    }
    m4().answerHeld(1, "(5,)");
    QVERIFY(answerHeld(0, "('of another type',)"));

    // The reply is already on its way to this thread.
    QScopedPointer<Requests> requests(new Requests(mostInFlight, "getError"));
    takeCalls();
    QVERIFY(requests->allAreSent());
    QCOMPARE(takeCalls().size(), mostInFlight);
    requests.reset();
    QVERIFY(m_daemons.passFence());
}

void tst_Request::deletedBeforeItIsKnownNotToBeSent()
{
    HNIPCRequest *const request = new HNIPCRequest;
    SignalRecorder recorder(request);
    QVERIFY(request->send());
    delete request;
    QVERIFY(m_daemons.passFence());
    QCOMPARE(namesOf(recorder.take()), QByteArray(sentSignals));
}

// ---- Time, number and threads --------------------------------------------------------------

void tst_Request::elapsedStandsStillAfterFinishing()
{
    RecordedRequest request("getError");
    SEND_AND_COMPARE(request, "Answered");
    RecordedRequest notSent("nothing");
    SEND_AND_COMPARE(notSent, noMethod);
    RecordedRequest late("getAlert", 20);
    QVERIFY(isTimeOut(outcomeOfSending(late), 20));
    const int elapsed[] = { request.elapsed(), notSent.elapsed(), late.elapsed() };
    QVERIFY(elapsed[0] >= 0 && elapsed[1] >= 0 && elapsed[2] >= 0);

    RecordedRequest clock("getAlert");
    QVERIFY(clock.send());
    const int least = clock.elapsed();
    QVERIFY(least >= 0);
    QVERIFY(waitUntil([&]() { return clock.elapsed() > least + 5; }));
    QCOMPARE(request.elapsed(), elapsed[0]);
    QCOMPARE(notSent.elapsed(), elapsed[1]);
    QCOMPARE(late.elapsed(), elapsed[2]);
    QCOMPARE(late.property("elapsed"), QVariant(elapsed[2]));
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
    WirePeer &supplyd = m_daemons[SUPPLYD];
    supplyd.hold("supplyColorRGB");
    Requests requests(count, "supplyColorRGB");
    Lines calls;
    for (int i = 0; i < count; ++i) {
        requests[i].setArguments(QVariantList() << QString::number(i));
        calls << "supplyColorRGB('" + QByteArray::number(i) + "', '')";
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
        QVERIFY(waitUntil([&]() { return supplyd.held() == expected; }));
        while (arrived < expected) {
            unanswered.append(arrived++);
        }
        random = random * 1664525u + 1013904223u;
        order.append(unanswered.takeAt(int((random >> 8) % quint32(unanswered.size()))));
        supplyd.answerHeld(order.last(), '(' + QByteArray::number(order.last()) + ",)");
    }
    QVERIFY(waitUntil([&]() { return requests.order().size() >= count; }));
    QVERIFY(m_daemons.passFence());
    QCOMPARE(requests.order(), order);
    QCOMPARE(requests.timesEachHasFinished(), 1);
    for (int i = 0; i < count; ++i) {
        COMPARE_OUTCOME(requests[i], "Answered");
        QCOMPARE(requests[i].value(), QVariant(i));
    }
    QCOMPARE(takeCalls(), calls); // in the order of send()
    supplyd.clearAnswers();
}

void tst_Request::oneTooManyWaitsForItsTurn()
{
    Requests requests(mostInFlight, "getAlert");
    QVERIFY(requests.allAreSent());
    Requests waiting(6, "setUserSetting");
    for (int i = 0; i < 6; ++i) {
        waiting[i].setArguments(QVariantList() << i << 0);
    }
    waiting[0].setDeadline(20);
    waiting[1].setDeadline(20);
    QVERIFY(waiting.allAreSent());
    QScopedPointer<HNIPCRequest> deleted(new HNIPCRequest);
    deleted->setCall(HNIPC_METHOD(setUserSetting), 6, 0);
    QVERIFY(deleted->send());

    // A request that is never sent does not wait for its turn.
    RecordedRequest nothing("nothing");
    SEND_AND_COMPARE(nothing, noMethod);

    QVERIFY(!waiting[0].send());
    waiting[0].cancel();
    COMPARE_OUTCOME(waiting[0], cancelledWaiting);
    QVERIFY(waitUntilFinished(waiting[1]));
    COMPARE_OUTCOME(waiting[1], waitedTooLong(20));
    deleted.reset();
    QVERIFY(isHeld(mostInFlight));
    QCOMPARE(takeCalls().size(), mostInFlight);

    // An abandoned call counts until the daemon replies to it, because the bus counts it until
    // then.
    requests[0].cancel();
    settle();
    QVERIFY(m_daemons.passFence());
    QVERIFY(waiting[2].isPending());
    QCOMPARE(takeCalls(), Lines());

    // A reply starts the next request that still waits. Cancelled requests are skipped.
    waiting[2].cancel();
    waiting[3].cancel();
    COMPARE_OUTCOME(waiting[2], cancelledWaiting);
    QVERIFY(waiting[3].send());
    QVERIFY(answerHeld(1, "(5,)"));
    QVERIFY(waitUntilFinished(waiting[4]));
    COMPARE_OUTCOME(waiting[4], "Answered");
    QVERIFY(waitUntilFinished(waiting[5]));
    QVERIFY(waitUntilFinished(waiting[3]));
    QCOMPARE(waiting.order(), QList<int>() << 0 << 1 << 2 << 3 << 4 << 5 << 3);
    QVERIFY(answerHeld(0, "(5,)"));
    QCOMPARE(takeCalls(),
             Lines({ "setUserSetting(4, 0)", "setUserSetting(5, 0)", "setUserSetting(3, 0)" }));
    QCOMPARE(requests.order(), QList<int>() << 0 << 1);
}

// Neither pending calls to a daemon that does not reply nor abandoned ones delay calls to another
// daemon.
void tst_Request::eachDaemonHasItsShare()
{
    WirePeer &supplyd = m_daemons[SUPPLYD];
    supplyd.answer("supplySupplyPercent", "(12.5,)");
    Requests requests(mostInFlight + 50, "getAlert");
    QVERIFY(requests.allAreSent());
    QVERIFY(isHeld(mostInFlight));
    for (int i = 0; i < mostInFlight + 50; ++i) {
        requests[i].cancel();
        COMPARE_OUTCOME(requests[i], i < mostInFlight ? cancelled : cancelledWaiting);
    }
    RecordedRequest other("supplySupplyPercent");
    SEND_AND_COMPARE(other, "Answered");
    QCOMPARE(other.value(), QVariant(12.5));

    // The library sends nothing more to the daemon that does not reply.
    RecordedRequest late("resetCutter", 20);
    SEND_AND_COMPARE(late, waitedTooLong(20));
    takeCalls();
    for (int i = 0; i < mostInFlight; ++i) {
        m4().answerHeld(i, "(5,)");
    }
    QVERIFY(nothingIsInFlight());
    QCOMPARE(takeCalls(), Lines());
    supplyd.clearAnswers();
}

void tst_Request::deadlineCountsFromSend()
{
    Requests requests(mostInFlight, "getAlert");
    QVERIFY(requests.allAreSent());
    QVERIFY(isHeld(mostInFlight));

    // A deadline that started with the turn of the request would pass after that of the measure,
    // which gets no turn. If the machine stops for a while, an attempt shows nothing, so there are
    // several, with longer and longer deadlines.
    bool isShown = false;
    for (int attempt = 0; attempt < 20 && !isShown; ++attempt) {
        const int deadline = 200 * (attempt + 1);
        RecordedRequest request("getAlert", deadline);
        RecordedRequest measure("getAlert", deadline + deadline * 2 / 5);
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
    Requests requests(mostInFlight, "getAlert");
    QVERIFY(requests.allAreSent());
    QVERIFY(isHeld(mostInFlight));
    takeCalls();
    RecordedRequest request("resetCutter", deadline);
    QVERIFY(request.send());
    makeRequestsLeave();
    // This thread is too busy to notice that the deadline has passed.
    while (request.elapsed() <= deadline) {
        std::this_thread::yield();
    }
    m4().answerHeld(0, "(5,)");
    settle();
    QVERIFY(waitUntilFinished(request));
    COMPARE_OUTCOME(request, waitedTooLong(deadline));
    QVERIFY(m_daemons.passFence());
    QCOMPARE(takeCalls(), Lines());
}

void tst_Request::deadlineIsNeverEarly()
{
    const int count = 30;
    Requests requests(count, "getAlert");
    for (int i = 0; i < count; ++i) {
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
        RecordedRequest answered("getError");
        SEND_AND_COMPARE(answered, "Answered");
        RecordedRequest refused("resetCutter");
        SEND_AND_COMPARE(refused, busy);
        RecordedRequest request("getAlert", 1);
        QVERIFY(isTimeOut(outcomeOfSending(request), 1));
        QVERIFY(request.send());
        request.cancel();
        request.setDeadline(-1);
        QVERIFY(request.send());
        {
            RecordedRequest deleted("getAlert");
            QVERIFY(deleted.send());
        }
        settle();
        m4().clearAnswers();
        QVERIFY(waitUntilFinished(request));
        init();
    }
    m_daemons.stop(M4);
    for (int i = 0; i <= mostInFlight; ++i) {
        RecordedRequest request("getError");
        SEND_AND_COMPARE(request, absent);
    }
    m_daemons.start(M4);
}

void tst_Request::blockingCallsSideBySide()
{
    HNIPC client(0);
    RecordedRequest held("getAlert");
    RecordedRequest request("getError");
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
    Requests others(mostInFlight, "getAlert");
    // Sent immediately, and after waiting for the reply to a call of this thread.
    for (int round = 0; round < 2; ++round) {
        QVERIFY(round == 0 || others.allAreSent());
        RequestThread threads[4];
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
            QCOMPARE(thread.emitted, QByteArray(allSignals));
        }
    }
}

namespace {

enum Way { DestroyedByThread, LeftBehind, DestroyedLater, WorkerLater, WorkerDeleted, UnknownToQt };

const struct
{
    const char *name;
    Way way;
} ways[] = {
    { "destroyed by the thread", DestroyedByThread },
    { "left behind by a thread that goes on", LeftBehind },
    { "destroyed after the thread has ended", DestroyedLater },
    { "worker, deleteLater", WorkerLater },
    { "worker, deleted after the thread has ended", WorkerDeleted },
    { "unknown to Qt", UnknownToQt },
};

} // namespace

void tst_Request::threadMayEndInFlight_data() { addTable(ways); }

// However a thread abandons its requests, their calls count exactly until the daemon replies.
void tst_Request::threadMayEndInFlight()
{
    const Way way = currentRow(ways).way;
    std::vector<std::unique_ptr<HNIPCRequest>> left;
    std::vector<std::unique_ptr<PlainThread>> threads;
    std::mutex mutex;
    const auto send = [&left, &mutex]() {
        const std::lock_guard<std::mutex> lock(mutex); // until the list contains it
        left.emplace_back(new HNIPCRequest);
        left.back()->setCall(HNIPC_METHOD(getAlert));
        left.back()->send();
    };
    for (int i = 0; i < mostInFlight; ++i) {
        if (way == WorkerLater || way == WorkerDeleted) {
            QThread thread;
            const QPointer<Worker> worker = new Worker;
            worker->moveToThread(&thread);
            if (way == WorkerLater) {
                worker->connect(&thread, SIGNAL(finished()), SLOT(deleteLater()));
            }
            worker->connect(&thread, SIGNAL(started()), SLOT(send()));
            thread.start();
            QVERIFY(isHeld(i + 1));
            thread.quit();
            QVERIFY(thread.wait());
            if (way == WorkerDeleted) {
                delete worker.data();
            }
            QVERIFY(!worker);
        } else if (way == UnknownToQt) {
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
        } else {
            threads.emplace_back(new PlainThread(send));
            QVERIFY(isHeld(i + 1));
            QVERIFY(way == LeftBehind || threads.back()->end());
            if (way == DestroyedByThread) {
                left.clear();
            }
        }
    }
    RecordedRequest next("getError");
    QVERIFY(next.send());
    QVERIFY(m_daemons.passFence());
    QVERIFY(next.isPending());
    for (int i = 0; i < mostInFlight; ++i) {
        QVERIFY(answerHeld(i, "(5,)"));
    }
    QVERIFY(waitUntilFinished(next));
    COMPARE_OUTCOME(next, "Answered");

    Requests requests(mostInFlight, "getAlert");
    QVERIFY(requests.allAreSent());
    QVERIFY(isHeld(2 * mostInFlight));
    for (const auto &thread : threads) {
        QVERIFY(way != LeftBehind || thread->end());
    }
    left.clear();
}

void tst_Request::moveToThreadInFlight()
{
    QThread thread;
    thread.start();
    HNIPCRequest answered;
    answered.setCall(HNIPC_METHOD(getAlert));
    HNIPCRequest late;
    late.setCall(HNIPC_METHOD(getAlert));
    late.setDeadline(500);
    HNIPCRequest nothing;
    nothing.setMethod(QLatin1String("nothing"));
    std::atomic<int> finished(0);
    std::atomic<int> elsewhere(0);
    std::atomic<int> timers(0);
    for (HNIPCRequest *const request : { &answered, &late, &nothing }) {
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
    COMPARE_OUTCOME(answered, "Answered");
    COMPARE_OUTCOME(late, timedOut(500));
    QVERIFY(late.elapsed() >= 500);
    COMPARE_OUTCOME(nothing, noMethod);
    m4().answerHeld(1, "(5,)");
}

// Until then, the thread cannot have a timer.
void tst_Request::threadGetsItsEventLoopAfterSend()
{
    QByteArray outcome;
    std::atomic<bool> isEnding(false);
    std::thread thread([&]() { // a QThread has an event dispatcher from its start
        HNIPCRequest request;
        request.setCall(HNIPC_METHOD(getAlert));
        request.setDeadline(500);
        request.send();
        const QEventLoop loop;
        waitUntilFinished(request);
        outcome = outcomeOf(request);
        isEnding = true;
    });
    const bool isSent = isHeld(1);
    const bool hasEnded = waitUntil([&]() { return bool(isEnding); });
    thread.join();
    QVERIFY(isSent);
    QVERIFY(hasEnded);
    QCOMPARE(outcome, timedOut(500));
    m4().answerHeld(0, "(5,)");
}

void tst_Request::haltedBusBlocksNobody()
{
    RecordedRequest late("getAlert", 500);
    RecordedRequest given("getAlert");
    RecordedRequest patient("getError");
    HaltedBus bus;
    QVERIFY(patient.send());
    QVERIFY(given.send());
    SEND_AND_COMPARE(late, timedOut(500));
    given.cancel();
    COMPARE_OUTCOME(given, cancelled);
    QVERIFY(patient.isPending());
    QVERIFY(bus.resume());
    QVERIFY(waitUntilFinished(patient));
    COMPARE_OUTCOME(patient, "Answered");
    QVERIFY(isHeld(2));
    QCOMPARE(takeCalls().size(), 3);
}

void tst_Request::deadlineRacesWithTheAnswer()
{
    const int size = 100;
    Requests requests(size, "getError", 1);
    int sent = 0;
    for (int batch = 0; batch < 100; ++batch) {
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
    QVERIFY(m_daemons.passFence());
    QVERIFY(requests.order().isEmpty());
    QCOMPARE(takeCalls().size(), sent);
}

void tst_Request::cancelRacesWithTheAnswer()
{
    const int size = 100;
    Requests requests(size, "getError");
    int sent = 0;
    for (int batch = 0; batch < 100; ++batch) {
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
    QVERIFY(m_daemons.passFence());
    QVERIFY(requests.order().isEmpty());
    QCOMPARE(takeCalls().size(), sent);
}

HNIPC_TEST_MAIN(tst_Request)

#include "tst_request.moc"
