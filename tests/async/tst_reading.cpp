// SPDX-License-Identifier: MIT
#include "client/relayrows.h"
#include "expected/clientslots.h"
#include "expected/properties.h"
#include "expected/samples.h"
#include "readings.h"
#include "requests.h"
#include "support/haltedbus.h"
#include "support/privatebus.h"
#include "support/signalrecorder.h"
#include "support/table.h"

#include <hnipc/hnipc.h>
#include <hnipc/hnipcreading.h>

#include <QtCore/QEventLoop>
#include <QtCore/QMetaProperty>
#include <QtCore/QPointer>
#include <QtCore/QThread>
#include <QtDBus/QDBusConnection>

#include <memory>
#include <mutex>
#include <thread>
#include <vector>

using namespace Expected;

namespace {

const char absent[] = "unknown DaemonAbsent org.freedesktop.DBus.Error.ServiceUnknown: "
                      "org.hnipc.m4 is not on the bus";
const char busy[] = "unknown DaemonError org.hnipc.Error.Busy: no";
const char timedOut[] = "unknown TimedOut org.freedesktop.DBus.Error.Timeout: "
                        "org.hnipc.m4 did not reply within 50 ms";

// The body of a reply or a signal with this number.
QByteArray body(int number) { return '(' + QByteArray::number(number) + ",)"; }

QByteArray current(int number) { return "current int " + QByteArray::number(number); }

QByteArray known(int number) { return "known int " + QByteArray::number(number); }

// A thread with an event loop that runs functions.
class Worker : public QThread
{
public:
    Worker() { start(); }

    ~Worker()
    {
        quit();
        wait();
    }

    void post(const std::function<void()> &function)
    {
        Task *const task = new Task(function);
        task->moveToThread(this);
        task->deleteLater();
    }

    // Runs the function in the thread and waits until it has returned.
    void run(const std::function<void()> &function)
    {
        bool isDone = false;
        std::mutex mutex;
        post([&]() {
            function();
            const std::lock_guard<std::mutex> lock(mutex);
            isDone = true;
        });
        waitUntil([&]() {
            const std::lock_guard<std::mutex> lock(mutex);
            return isDone;
        });
    }

protected:
    void run() override { exec(); }

private:
    struct Task : QObject
    {
        explicit Task(const std::function<void()> &itsFunction) : function(itsFunction) {}
        // The event loop of the thread destroys the task, which calls the function.
        ~Task() { function(); }

        std::function<void()> function;
    };
};

} // namespace

// A value of a daemon that is updated automatically.
class tst_Reading : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void startsUnknown();
    void settersNotify();

    void readsWhenTheDaemonIsRunning();
    void readsAgainAtItsSignals();
    void readsAgainAtEachSignal_data() { addRows(); }
    void readsAgainAtEachSignal();
    void signalOfAnotherDaemon();
    void returnedDaemonIsReadAgain();
    void replacedDaemonIsReadAgain();
    void readSlot();

    void readBeforeTheSignalIsNotUsed();
    void failedReadBeforeTheSignalIsNotUsed();
    void manySignalsWhileOneReadIsHeld();
    void manySignals();

    void valueArgument_data();
    void valueArgument();
    void valueOfTheSignalIsConfirmed();
    void valueOfTheSignalStaysIfTheConfirmationFails();

    void failedReadIsRepeated_data();
    void failedReadIsRepeated();
    void repeatsBecomeRarer();
    void repeatsStartAgain_data();
    void repeatsStartAgain();
    void signalDoesNotWaitForTheRepeat();
    void signalsDoNotHideAFailure();
    void timedOutReadIsRepeated();
    void invalidDeadline();
    void whatCannotBeRead_data();
    void whatCannotBeRead();

    void propertyOfTheClient_data();
    void propertyOfTheClient();
    void propertyOfTheClientWithOtherSignals();
    void propertyOfTheClientWithArguments();

    void setCall();
    void valueOr();
    void everyMethod_data();
    void everyMethod();
    void largeValues();

    void reconfigured_data();
    void reconfigured();
    void manyChangesCostOneRead();
    void deadlineIsOfTheNextRead();
    void withoutAMethodAgain();

    void changedOnlyIfSomethingChanged();
    void valueOfNothing();
    void receiverOfSetCallMayDestroyTheReading();
    void destroyedInASignal_data();
    void destroyedInASignal();
    void destroyedAtAnyTime();
    void eventLoopInASignal_data();
    void eventLoopInASignal();
    void reconfiguredInChanged();
    void severalOfTheSameMethod();
    void movedToAnotherThread_data();
    void movedToAnotherThread();
    void threadMayEnd();
    void haltedBusBlocksNobody();

private:
    WirePeer &m4() { return m_daemons[M4]; }
    WirePeer &supplyd() { return m_daemons[SUPPLYD]; }

    // Waits until everything that has passed the bus before is delivered to the objects of this
    // thread. The request takes the same way.
    bool pass()
    {
        HNIPCRequest request;
        request.setCall(HNIPC_METHOD(printerSoftCancel));
        return outcomeOfSending(request) == "Answered";
    }

    // Waits until the calls of the readings have reached the daemons, and the replies are delivered.
    bool settle()
    {
        bool hasPassed = true;
        for (int i = 0; i < 3; ++i) {
            hasPassed = pass() && hasPassed;
            m4().sync();
            supplyd().sync();
        }
        return hasPassed;
    }

    // The calls that have reached the print engine and the supply daemon since the previous call of
    // this function.
    Lines takeCalls()
    {
        settle();
        Lines result;
        const QList<WireMessage> calls = m4().calls() + supplyd().calls();
        m4().clearCalls();
        supplyd().clearCalls();
        for (const WireMessage &call : calls) {
            result.append(call.member + call.body);
        }
        return result;
    }

    // The number of the calls of this method that have reached the print engine.
    int callsOf(const QByteArray &member)
    {
        int result = 0;
        const QList<WireMessage> calls = m4().calls();
        for (const WireMessage &call : calls) {
            result += call.member == member ? 1 : 0;
        }
        return result;
    }

    static bool isHeld(WirePeer &daemon, int count)
    {
        return waitUntil([&]() { return daemon.held() == count; });
    }

    bool isHeld(int count) { return isHeld(m4(), count); }

    // Waits until this call is held, and no later one, and replies to it.
    static bool reply(WirePeer &daemon, int number, const QByteArray &body)
    {
        const bool isLast = isHeld(daemon, number + 1);
        daemon.answerHeld(number, body);
        return isLast;
    }

    bool reply(int number, const QByteArray &body) { return reply(m4(), number, body); }

    // The print engine replies to this method with the error that busy[] shows.
    void refuse(const QByteArray &member)
    {
        m4().answerError(member, "org.hnipc.Error.Busy", "no");
    }

    bool emitM4(const QByteArray &member, const QByteArray &body = "()")
    {
        return m_daemons.emitSignal(M4, member, body);
    }

    void restartM4()
    {
        m_daemons.stop(M4);
        m_daemons.start(M4);
    }

    FakeDaemons m_daemons;
};

// In all tests, getError() returns 7, and the replies to getAlert() are held until the test sends
// them.
void tst_Reading::init()
{
    m4().own(identities[M4].busName); // in case a test left the name without an owner
    for (int server = 0; server < ServerCount; ++server) {
        m_daemons[server].clearAnswers();
    }
    m_daemons[IOEXPD].answer("printerSoftCancel", "()");
    m4().answer("getError", "(7,)");
    m4().hold("getAlert");
    takeCalls();
}

// ---- Properties ----------------------------------------------------------------------------

void tst_Reading::startsUnknown()
{
    RecordedReading reading;
    QCOMPARE(reading.method(), QString());
    QCOMPARE(reading.arguments(), QVariantList());
    QCOMPARE(reading.signalNames(), QStringList());
    QCOMPARE(reading.valueArgument(), -1);
    QCOMPARE(reading.deadline(), -1);
    reading.read();
    QCOMPARE(takeCalls(), Lines());
    QCOMPARE(shown(reading), QByteArray("unknown"));
    QCOMPARE(reading.takeHistory(), Lines());
}

void tst_Reading::settersNotify()
{
    HNIPCReading reading;
    SignalRecorder recorder(&reading);
    const QVariantList arguments = QVariantList() << 5 << QLatin1String("a");
    const struct
    {
        const char *property;
        QVariant value;
        const char *signal;
    } rows[] = {
        { "method", QLatin1String("getError"), "methodChanged()" },
        { "parameters", arguments, "argumentsChanged()" },
        { "signals", words("Error Alert"), "signalNamesChanged()" },
        { "valueArgument", 2, "valueArgumentChanged()" },
        { "deadline", 5000, "deadlineChanged()" },
    };
    for (const auto &row : rows) {
        QVERIFY(reading.setProperty(row.property, row.value));
        QCOMPARE(recorder.take(), Lines() << emission(row.signal));
        QCOMPARE(reading.property(row.property), row.value);
        QVERIFY(reading.setProperty(row.property, row.value)); // the value that it has
        QCOMPARE(recorder.take(), Lines());
    }
    QCOMPARE(reading.method(), QString::fromLatin1("getError"));
    QCOMPARE(reading.arguments(), arguments);
    QCOMPARE(reading.signalNames(), words("Error Alert"));
    QCOMPARE(reading.valueArgument(), 2);
    QCOMPARE(reading.deadline(), 5000);

    // Equal variants of other types cause other calls.
    const QString five = QLatin1String("5");
    const QVariantList others[] = {
        QVariantList() << QVariant(5),
        QVariantList() << QVariant(5u),
        QVariantList() << five,
        QVariantList() << QVariant(QVariantList() << 5),
        QVariantList() << QVariant(QVariantList() << five),
        QVariantList() << QVariant(QVariantList() << five << QLatin1String("6")),
        QVariantList() << five << QLatin1String("6"),
        QVariantList(),
    };
    for (const QVariantList &other : others) {
        reading.setArguments(other);
        QCOMPARE(recorder.take(), Lines() << emission("argumentsChanged()"));
        reading.setArguments(other);
        QCOMPARE(recorder.take(), Lines());
    }
}

// ---- When it reads -------------------------------------------------------------------------

void tst_Reading::readsWhenTheDaemonIsRunning()
{
    m_daemons.stop(M4);
    RecordedReading reading("getError");
    QCOMPARE(shown(reading), QByteArray("unknown"));
    VERIFY_HISTORY(reading, absent);

    WireMonitor monitor;
    reading.read();
    QVERIFY(settle());
    const QList<WireMessage> messages = monitor.take();
    for (const WireMessage &message : messages) {
        QVERIFY(message.destination != "org.hnipc.m4" && message.member != "getError");
    }

    m_daemons.start(M4);
    VERIFY_HISTORY(reading, "unknown", "current int 7");
    QCOMPARE(takeCalls(), Lines({ "getError()" }));
    QCOMPARE(reading.takeHistory(), Lines());
}

void tst_Reading::readsAgainAtItsSignals()
{
    RecordedReading reading("getError", "Error M4PrintDone");
    VERIFY_HISTORY(reading, "current int 7");
    m4().answer("getError", "(8,)");
    QVERIFY(emitM4("M4_Error", "(1,)"));
    VERIFY_HISTORY(reading, "known int 7", "current int 8");
    m4().answer("getError", "(9,)");
    QVERIFY(emitM4("M4_M4PrintDone"));
    VERIFY_HISTORY(reading, "known int 8", "current int 9");
    QCOMPARE(takeCalls(), Lines({ "getError()", "getError()", "getError()" }));

    // Signals of others, and messages that only resemble a signal of this reading.
    for (const ClientSignal &row : clientSignals) {
        const QByteArray member = row.member;
        if (row.member && member != "M4_Error" && member != "M4_M4PrintDone") {
            QVERIFY(emitRow(&m_daemons, row, 0));
        }
    }
    QVERIFY(emitM4("Error", "(1,)"));
    QVERIFY(emitM4("M4_Error", "('text',)"));
    QVERIFY(m_daemons.emitSignal(SUPPLYD, "M4_Error", "(1,)"));
    WirePeer stranger;
    QVERIFY(stranger.emitSignal("/", identities[M4].interface, "M4_Error", "(1,)"));
    QCOMPARE(takeCalls(), Lines());
    QCOMPARE(reading.takeHistory(), Lines());
}

void tst_Reading::readsAgainAtEachSignal()
{
    QFETCH(int, index);
    const ClientSignal &row = clientSignals[index];
    const QByteArray signature = row.signature;
    RecordedReading reading("getError", signature.left(signature.indexOf('(')).constData());
    VERIFY_HISTORY(reading, "current int 7");
    QVERIFY(emitRow(&m_daemons, row, 0));
    VERIFY_HISTORY(reading, "known int 7", "current int 7");
    QCOMPARE(takeCalls(), Lines({ "getError()", "getError()" }));
}

void tst_Reading::signalOfAnotherDaemon()
{
    m4().hold("m4Version");
    RecordedReading reading("m4Version", "SupplyChanged", 0);
    QVERIFY(reply(0, "('one',)"));
    VERIFY_HISTORY(reading, "current QString one");
    QVERIFY(m_daemons.emitSignal(SUPPLYD, "SUPPLYD_SupplyChanged", "('S-100', '')"));
    VERIFY_HISTORY(reading, "known QString S-100");
    QVERIFY(reply(1, "('two',)"));
    VERIFY_HISTORY(reading, "current QString two");

    // The value of a daemon that is not running is unknown, whatever the other daemons send.
    m_daemons.stop(M4);
    VERIFY_HISTORY(reading, absent);
    QVERIFY(m_daemons.emitSignal(SUPPLYD, "SUPPLYD_SupplyChanged", "('S-200', '')"));
    QVERIFY(settle());
    QCOMPARE(reading.takeHistory(), Lines());
}

void tst_Reading::returnedDaemonIsReadAgain()
{
    RecordedReading reading("getError");
    VERIFY_HISTORY(reading, "current int 7");
    for (int i = 0; i < 3; ++i) {
        m_daemons.stop(M4);
        VERIFY_HISTORY(reading, absent);
        m4().answer("getError", body(i));
        m_daemons.start(M4);
        VERIFY_HISTORY(reading, "unknown", current(i));
    }
    QCOMPARE(takeCalls().size(), 4);

    // Another daemon has no influence.
    m_daemons.stop(SUPPLYD);
    m_daemons.start(SUPPLYD);
    QCOMPARE(takeCalls(), Lines());
    QCOMPARE(reading.takeHistory(), Lines());

    // The same with a daemon that crashes.
    m_daemons.stop(M4);
    {
        WirePeer mortal;
        mortal.answer("getError", "(5,)");
        QVERIFY(mortal.own("org.hnipc.m4"));
        VERIFY_SHOWS(reading, "current int 5");
    }
    VERIFY_SHOWS(reading, absent);
}

void tst_Reading::replacedDaemonIsReadAgain()
{
    m_daemons.stop(M4);
    WirePeer former;
    WirePeer later;
    former.hold("getAlert");
    later.hold("getAlert");
    QVERIFY(former.takeOver("org.hnipc.m4"));
    RecordedReading reading("getAlert", "Alert");
    QVERIFY(isHeld(former, 1));
    reading.takeHistory();

    // The value that the former owner returns is not shown, although it replies.
    QVERIFY(later.takeOver("org.hnipc.m4"));
    QVERIFY(isHeld(later, 1));
    QVERIFY(reply(former, 0, "(1,)"));
    former.sync();
    QVERIFY(settle());
    QCOMPARE(shown(reading), QByteArray("unknown"));
    QVERIFY(reply(later, 0, "(2,)"));
    VERIFY_HISTORY(reading, "current int 2");

    // A known value becomes unknown as soon as another process replaces its daemon.
    QVERIFY(former.takeOver("org.hnipc.m4"));
    VERIFY_HISTORY(reading, "unknown");
    QVERIFY(reply(former, 1, "(3,)"));
    VERIFY_HISTORY(reading, "current int 3");

    // The signals of the former owner are ignored.
    QVERIFY(later.emitSignal("/", identities[M4].interface, "M4_Alert", "(4,)"));
    QVERIFY(settle());
    QCOMPARE(reading.takeHistory(), Lines());
    QCOMPARE(former.calls().size(), 2);
    QCOMPARE(later.calls().size(), 1);
    QVERIFY(former.release("org.hnipc.m4"));
}

void tst_Reading::readSlot()
{
    RecordedReading reading("getAlert");
    for (int i = 0; i < 5; ++i) {
        QVERIFY(isHeld(i + 1));
        reading.read();
        reading.read(); // both of them make one call, after the reply
        QVERIFY(reply(i, body(i)));
        VERIFY_HISTORY(reading, current(i));
    }
    QVERIFY(reply(5, "(5,)"));
    VERIFY_HISTORY(reading, "current int 5");
    QCOMPARE(takeCalls().size(), 6);
    reading.read();
    QVERIFY(reply(6, "(6,)"));
    VERIFY_HISTORY(reading, "current int 6");
    QCOMPARE(takeCalls().size(), 1);
}

// ---- Signals and reads ---------------------------------------------------------------------

void tst_Reading::readBeforeTheSignalIsNotUsed()
{
    RecordedReading reading("getAlert", "Alert Error");
    QVERIFY(isHeld(1));
    QVERIFY(emitM4("M4_Alert", "(5,)"));
    QVERIFY(reply(0, "(1,)"));
    QVERIFY(isHeld(2));
    QVERIFY(settle());
    QCOMPARE(reading.takeHistory(), Lines());
    QVERIFY(reply(1, "(2,)"));
    VERIFY_HISTORY(reading, "current int 2");

    // The same with a known value, and at every second read.
    for (int i = 2; i < 5; ++i) {
        QVERIFY(emitM4("M4_Alert", "(5,)"));
        QVERIFY(isHeld(2 * i - 1));
        QVERIFY(emitM4("M4_Error", "(5,)"));
        QVERIFY(reply(2 * i - 2, "(99,)"));
        QVERIFY(reply(2 * i - 1, body(i + 1)));
        VERIFY_HISTORY(reading, known(i), current(i + 1));
    }
    QCOMPARE(takeCalls().size(), 8);
}

void tst_Reading::failedReadBeforeTheSignalIsNotUsed()
{
    RecordedReading reading("getAlert", "Alert");
    QVERIFY(isHeld(1));
    QVERIFY(emitM4("M4_Alert", "(5,)"));
    m4().clearAnswers(); // the daemon replies to the held call with an error
    m4().hold("getAlert");
    QVERIFY(reply(0, "(2,)"));
    VERIFY_HISTORY(reading, "current int 2");
    QCOMPARE(takeCalls().size(), 2);
}

void tst_Reading::manySignalsWhileOneReadIsHeld()
{
    RecordedReading reading("getAlert", "Alert", 0);
    reading.setDeadline(1000 * 1000); // a busy machine needs longer than the default deadline
    QVERIFY(isHeld(1));
    const int count = 10000;
    for (int i = 1; i <= count; ++i) {
        QVERIFY(emitM4("M4_Alert", body(i)));
    }
    VERIFY_SHOWS(reading, "known int 10000");
    QCOMPARE(reading.takeHistory().size(), count);
    QVERIFY(settle());
    QVERIFY(reply(0, "(-1,)"));
    QVERIFY(isHeld(2));
    QVERIFY(settle());
    QCOMPARE(shown(reading), QByteArray("known int 10000"));
    QVERIFY(reply(1, "(-2,)"));
    VERIFY_HISTORY(reading, "current int -2");
    QCOMPARE(takeCalls().size(), 2);
}

void tst_Reading::manySignals()
{
    HNIPCReading reading;
    reading.setCall(HNIPC_METHOD(getError));
    reading.setSignalNames(words("Error"));
    VERIFY_SHOWS(reading, "current int 7");
    int largest = 7;
    bool isInOrder = true;
    Listener listener(&reading, SIGNAL(changed()), [&]() {
        isInOrder = isInOrder && reading.value().toInt() >= largest;
        largest = reading.value().toInt();
    });
    WireMonitor monitor;
    const int count = 10000;
    for (int i = 1; i <= count; ++i) {
        m4().answer("getError", body(7 + i));
        QVERIFY(emitM4("M4_Error", "(0,)"));
        if (i % 10 == 0) {
            QCoreApplication::processEvents();
        }
    }
    VERIFY_SHOWS(reading, "current int 10007");
    QVERIFY(isInOrder);

    // Each read finishes before the next starts.
    int calls = 0;
    int replies = 0;
    const QList<WireMessage> messages = monitor.take();
    for (const WireMessage &message : messages) {
        if (message.type == WireMessage::MethodCall && message.member == "getError") {
            QCOMPARE(calls, replies);
            ++calls;
        } else if (message.type == WireMessage::MethodReturn
                   && message.sender == m4().uniqueName()) {
            ++replies;
        }
    }
    QCOMPARE(calls, replies);
    QVERIFY(calls > 0 && calls <= count);
}

// ---- The value of a signal -----------------------------------------------------------------

namespace {

// clang-format off
const struct
{
    const char *name;
    const char *method;
    const char *signal;
    const char *body;
    int index;
    const char *shown; // empty if the argument is not used
} valueArguments[] = {
    { "int", "getError", "Error", "(-5,)", 0, "int -5" },
    { "bool", "printerLid", "M4PrinterLid", "(true,)", 0, "bool true" },
    { "false", "printerLid", "M4PrinterLid", "(false,)", 0, "bool false" },
    { "uint", "dac0", "M4Dac0", "(uint32 4294967295,)", 0, "uint 4294967295" },
    { "quint64", "ribbon1Verify", "M4RibbonVerify1", "(uint64 18446744073709551615,)", 0, "qulonglong 18446744073709551615" },
    { "string", "m4Version", "M4Version", "('',)", 0, "QString " },
    { "list", "supplySKUList", "M4RibbonIDs", "(['a', 'b'],)", 0, "QStringList a,b" },
    { "empty list", "supplySKUList", "M4RibbonIDs", "(@as [],)", 0, "QStringList " },
    { "double", "supplySupplyPercent", "SupplyPercentChanged", "(99.5,)", 0, "double 99.5" },
    { "second argument", "tph1Therm", "M4TphTherm", "(1, 80)", 1, "int 80" },
    { "first of two", "tph1Therm", "M4TphTherm", "(1, 80)", 0, "int 1" },
    { "uint for int", "getError", "M4Dac0", "(uint32 8,)", 0, "int 8" },
    { "int for uint", "dac0", "Error", "(8,)", 0, "uint 8" },
    { "uint for quint64", "ribbon1Verify", "M4Dac0", "(uint32 8,)", 0, "qulonglong 8" },
    { "whole double for int", "getError", "SupplyPercentChanged", "(8.0,)", 0, "int 8" },

    { "none", "getError", "Error", "(5,)", -1, "" },
    { "no argument of that number", "getError", "Error", "(5,)", 1, "" },
    { "beyond the declared ones", "getError", "Error", "(5, 6)", 1, "" },
    { "far beyond", "getError", "Error", "(5,)", 2147483647, "" },
    { "negative", "getError", "Error", "(5,)", -2, "" },
    { "most negative", "getError", "Error", "(5,)", -2147483647 - 1, "" },
    { "no arguments", "getError", "M4PrintDone", "()", 0, "" },
    { "too large", "getError", "M4Dac0", "(uint32 4294967295,)", 0, "" },
    { "negative for uint", "dac0", "Error", "(-1,)", 0, "" },
    { "bool for int", "getError", "M4PrinterLid", "(true,)", 0, "" },
    { "int for bool", "printerLid", "Error", "(1,)", 0, "" },
    { "string for int", "getError", "M4Version", "('5',)", 0, "" },
    { "int for string", "m4Version", "Error", "(5,)", 0, "" },
    { "int for double", "supplySupplyPercent", "Error", "(5,)", 0, "" },
    { "half for int", "getError", "SupplyPercentChanged", "(8.5,)", 0, "" },
    { "string for list", "supplySKUList", "M4Version", "('5',)", 0, "" },
    { "list for string", "m4Version", "M4RibbonIDs", "(['a'],)", 0, "" },
};
// clang-format on

} // namespace

void tst_Reading::valueArgument_data() { addTable(valueArguments); }

void tst_Reading::valueArgument()
{
    const auto &row = currentRow(valueArguments);
    const bool isUsed = *row.shown;
    const QByteArray known = QByteArray("known ") + row.shown;
    const QByteArray signal = row.signal;
    const QByteArray member = (signal.startsWith("Supply") ? "SUPPLYD_" : "M4_") + signal;
    WirePeer &daemon = QByteArray(row.method).startsWith("supply") ? supplyd() : m4();
    daemon.hold(row.method);
    RecordedReading reading(row.method, row.signal, row.index);
    QVERIFY(isHeld(daemon, 1));
    QVERIFY(m_daemons.emitSignal(signal.startsWith("Supply") ? SUPPLYD : M4, member, row.body));
    QVERIFY(settle());
    QCOMPARE(reading.takeHistory(), isUsed ? Lines() << known : Lines());
    daemon.clearAnswers(); // the reads fail
    QVERIFY(settle());
    QVERIFY(shown(reading).startsWith(isUsed ? known + " DaemonError"
                                             : QByteArray("unknown DaemonError")));
}

void tst_Reading::valueOfTheSignalIsConfirmed()
{
    RecordedReading reading("getAlert", "Alert", 0);
    QVERIFY(reply(0, "(1,)"));
    VERIFY_HISTORY(reading, "current int 1");
    QVERIFY(emitM4("M4_Alert", "(2,)"));
    VERIFY_HISTORY(reading, "known int 2");
    QVERIFY(isHeld(2));
    QVERIFY(emitM4("M4_Alert", "(3,)")); // while the read is held
    VERIFY_HISTORY(reading, "known int 3");
    QVERIFY(reply(1, "(2,)"));
    QVERIFY(isHeld(3));
    QVERIFY(settle());
    QCOMPARE(shown(reading), QByteArray("known int 3"));
    QVERIFY(reply(2, "(3,)"));
    VERIFY_HISTORY(reading, "current int 3");
    // The result of the read replaces the value of the signal.
    QVERIFY(emitM4("M4_Alert", "(4,)"));
    QVERIFY(reply(3, "(5,)"));
    VERIFY_HISTORY(reading, "known int 4", "current int 5");
    QCOMPARE(takeCalls().size(), 4);
}

void tst_Reading::valueOfTheSignalStaysIfTheConfirmationFails()
{
    const char known5[] = "known int 5 DaemonError org.hnipc.Error.Busy: no";
    const char known8[] = "known int 8 DaemonError org.hnipc.Error.Busy: no";
    refuse("getError");
    RecordedReading reading("getError", "Error M4PrintDone", 0);
    VERIFY_HISTORY(reading, busy);
    QVERIFY(emitM4("M4_Error", "(5,)"));
    VERIFY_HISTORY(reading, known5);
    m4().answer("getError", "(6,)"); // the repetition
    VERIFY_HISTORY(reading, "current int 6");
    refuse("getError");
    QVERIFY(emitM4("M4_Error", "(8,)"));
    VERIFY_HISTORY(reading, "known int 8", known8);

    // A signal that does not carry the value makes the value outdated.
    QVERIFY(emitM4("M4_M4PrintDone"));
    VERIFY_SHOWS(reading, busy);

    // A value that was read, and could not be read again, does not count as the value of a signal.
    m4().answer("getError", "(9,)");
    QVERIFY(emitM4("M4_Error", "(8,)"));
    VERIFY_SHOWS(reading, "current int 9");
    refuse("getError");
    reading.read();
    VERIFY_SHOWS(reading, busy);

    // The value of a signal is not valid for the next process of the daemon either.
    QVERIFY(emitM4("M4_Error", "(8,)"));
    VERIFY_SHOWS(reading, known8);
    reading.takeHistory();
    restartM4();
    VERIFY_HISTORY(reading, absent, "unknown", busy);
}

// ---- Failed reads --------------------------------------------------------------------------

namespace {

const struct
{
    const char *name;
    const char *errorName; // empty: a reply
    const char *content;
    const char *shown; // the start of the line
} failures[] = {
    { "refused", "org.hnipc.Error.Busy", "the lid is open",
      "unknown DaemonError org.hnipc.Error.Busy: the lid is open" },
    { "no such method", "org.freedesktop.DBus.Error.UnknownMethod", "not yet",
      "unknown DaemonError org.freedesktop.DBus.Error.UnknownMethod: not yet" },
    { "invalid arguments, says the daemon", "org.freedesktop.DBus.Error.InvalidArgs", "no",
      "unknown DaemonError org.freedesktop.DBus.Error.InvalidArgs: no" },
    { "another type", "", "('text',)", "unknown WrongType " },
};

} // namespace

void tst_Reading::failedReadIsRepeated_data() { addTable(failures); }

void tst_Reading::failedReadIsRepeated()
{
    const auto &row = currentRow(failures);
    if (*row.errorName) {
        m4().answerError("getError", row.errorName, row.content);
    } else {
        m4().answer("getError", row.content);
    }
    RecordedReading reading("getError");
    QVERIFY(waitUntil([&]() { return reading.reason() != HNIPCRequest::NoReason; }));
    const QByteArray failed = shown(reading);
    QVERIFY2(*row.errorName ? failed == row.shown : failed.startsWith(row.shown),
             failed.constData());
    // No signal is sent and no daemon restarts: the reading repeats the read by itself.
    QVERIFY(waitUntil([&]() { return m4().calls().size() >= 2; }));
    m4().answer("getError", "(8,)");
    VERIFY_HISTORY(reading, failed, "current int 8"); // the same failure is no change
}

void tst_Reading::repeatsBecomeRarer()
{
    refuse("getError");
    refuse("getAlert");
    RecordedReading reading("getError");
    // Each of these takes as long as the first pause. They run one after the other.
    const int rounds = 8;
    for (int i = 1; i <= rounds; ++i) {
        RecordedReading measure("getAlert");
        QVERIFY(waitUntil([&]() { return callsOf("getAlert") >= 2 * i; }));
    }
    const int repeated = callsOf("getError");
    QVERIFY2(repeated >= 3 && repeated < rounds, QByteArray::number(repeated).constData());
}

void tst_Reading::repeatsStartAgain_data()
{
    QTest::addColumn<QByteArray>("after");
    for (const char *const after : { "success", "restart", "reconfigured" }) {
        QTest::newRow(after) << QByteArray(after);
    }
}

// The pauses become long. After that they are as short again as those of a new reading.
void tst_Reading::repeatsStartAgain()
{
    QFETCH(QByteArray, after);
    refuse("getError");
    refuse("getAlert");
    RecordedReading reading("getError", "Error");
    QVERIFY(waitUntil([&]() { return callsOf("getError") >= 4; }));
    if (after == "success") {
        m4().answer("getError", "(7,)");
        QVERIFY(emitM4("M4_Error", "(1,)"));
        VERIFY_SHOWS(reading, "current int 7");
        refuse("getError");
        m4().clearCalls();
        QVERIFY(emitM4("M4_Error", "(1,)"));
    } else if (after == "restart") {
        m_daemons.stop(M4);
        VERIFY_SHOWS(reading, absent);
        m4().clearCalls();
        m_daemons.start(M4);
    } else {
        m4().clearCalls();
        reading.setSignalNames(words("Alert"));
    }
    QVERIFY(waitUntil([&]() { return callsOf("getError") == 1; }));
    RecordedReading measure("getAlert");
    QVERIFY(waitUntil([&]() { return callsOf("getError") == 2 || callsOf("getAlert") == 4; }));
    QCOMPARE(callsOf("getError"), 2);
}

void tst_Reading::signalDoesNotWaitForTheRepeat()
{
    refuse("getError");
    RecordedReading reading("getError", "Error");
    VERIFY_SHOWS(reading, busy);
    m4().answer("getError", "(7,)");
    QVERIFY(emitM4("M4_Error", "(1,)"));
    VERIFY_SHOWS(reading, "current int 7");
    // The pending repetition has been replaced, too.
    takeCalls();
    refuse("getAlert");
    {
        RecordedReading measure("getAlert");
        QVERIFY(waitUntil([&]() { return callsOf("getAlert") >= 3; }));
    }
    QCOMPARE(callsOf("getError"), 0);

    refuse("getError");
    takeCalls();
    const int signalCount = 20; // the pauses would add up to some minutes
    for (int i = 0; i < signalCount; ++i) {
        QVERIFY(emitM4("M4_Error", "(1,)"));
        VERIFY_SHOWS(reading, busy);
        QVERIFY(settle());
    }
    QVERIFY(callsOf("getError") >= signalCount);
    m4().answer("getError", "(8,)");
    QVERIFY(emitM4("M4_Error", "(1,)"));
    VERIFY_SHOWS(reading, "current int 8");
}

// A daemon that still sends signals but does not reply. It gets no more calls than without signals.
void tst_Reading::signalsDoNotHideAFailure()
{
    m4().hold("getError");
    RecordedReading reading("getError", "Error");
    reading.setDeadline(100);
    QVERIFY(isHeld(1));
    QVERIFY(waitUntil([&]() {
        return emitM4("M4_Error", "(8,)") && reading.reason() == HNIPCRequest::TimedOut;
    }));
    QVERIFY(!reading.isKnown());
    RecordedReading measure("getError"); // without signals
    measure.setDeadline(100);
    const int before = m4().held();
    QVERIFY(waitUntil([&]() { return emitM4("M4_Error", "(8,)") && m4().held() >= before + 4; }));
    QVERIFY2(m4().held() <= before + 5, QByteArray::number(m4().held() - before).constData());
}

void tst_Reading::timedOutReadIsRepeated()
{
    m4().hold("getError");
    RecordedReading reading("getError");
    reading.setDeadline(50);
    VERIFY_SHOWS(reading, timedOut);
    QVERIFY(isHeld(2));
    m4().answer("getError", "(8,)");
    VERIFY_SHOWS(reading, "current int 8");
    // Late replies are ignored.
    reading.takeHistory();
    m4().answerHeld(0, "(1,)");
    m4().answerHeld(1, "(2,)");
    m4().sync();
    QVERIFY(settle());
    QCOMPARE(reading.takeHistory(), Lines());
}

void tst_Reading::invalidDeadline()
{
    RecordedReading reading("getError");
    reading.setDeadline(0);
    VERIFY_SHOWS(reading,
                 "unknown InvalidArguments org.freedesktop.DBus.Error.InvalidArgs: "
                 "the deadline has to be 1 ms or more, or -1, not 0");
    QCOMPARE(takeCalls(), Lines());
    reading.setDeadline(30 * 1000);
    VERIFY_SHOWS(reading, "current int 7");
    QCOMPARE(takeCalls(), Lines({ "getError()" }));
}

namespace {

// clang-format off
const struct
{
    const char *name;
    const char *method;
    QVariantList arguments;
    const char *signalNames;
    const char *failure;
} unreadable[] = {
    { "unknown method", "getErrors", QVariantList(), "Error",
      "UnknownMethod org.freedesktop.DBus.Error.UnknownMethod: the printer has no method \"getErrors\"" },
    { "unknown signal", "getError", QVariantList(), "Error M4_Error",
      "InvalidArguments org.freedesktop.DBus.Error.InvalidArgs: the printer has no signal \"M4_Error\"" },
    { "empty signal", "getError", QVariantList(), "Error ",
      "InvalidArguments org.freedesktop.DBus.Error.InvalidArgs: the printer has no signal \"\"" },
    { "too many arguments", "getError", QVariantList() << 1, "Error",
      "InvalidArguments org.freedesktop.DBus.Error.InvalidArgs: getError takes 0 arguments, not 1" },
    { "missing argument", "supplyColorRGB", QVariantList(), "Error",
      "InvalidArguments org.freedesktop.DBus.Error.InvalidArgs: supplyColorRGB takes 1 to 2 arguments, not 0" },
    { "argument of another type", "supplyColorRGB", QVariantList() << 1, "Error",
      "InvalidArguments org.freedesktop.DBus.Error.InvalidArgs: argument 1 (sku) of supplyColorRGB has to be QString, not 1" },
};
// clang-format on

} // namespace

void tst_Reading::whatCannotBeRead_data() { addTable(unreadable); }

void tst_Reading::whatCannotBeRead()
{
    const auto &row = currentRow(unreadable);
    RecordedReading reading(row.method, row.signalNames, 0);
    reading.setArguments(row.arguments);
    VERIFY_HISTORY(reading, QByteArray("unknown ") + row.failure);

    // Nothing changes this state.
    QVERIFY(emitM4("M4_Error", "(5,)"));
    reading.read();
    m_daemons.stop(M4);
    m_daemons.stop(SUPPLYD);
    QVERIFY(emitM4("M4_Error", "(5,)"));
    QVERIFY(pass());
    m_daemons.start(SUPPLYD);
    m_daemons.start(M4);
    QCOMPARE(takeCalls(), Lines());
    QCOMPARE(reading.takeHistory(), Lines());

    // Only a correction of the invalid properties does.
    reading.setMethod(QLatin1String("getError"));
    reading.setArguments(QVariantList());
    reading.setSignalNames(words("Error"));
    VERIFY_SHOWS(reading, "current int 7");
    QCOMPARE(takeCalls(), Lines({ "getError()" }));
}

// ---- The properties of the client ----------------------------------------------------------

namespace {

// Values of a type: as they are in a reply, and as a reading shows them.
struct Values
{
    const char *type;
    const char *first;
    const char *firstShown;
    const char *second;
    const char *secondShown;
};

const Values valuesByType[] = {
    { "double", "12.5", "double 12.5", "13.5", "double 13.5" },
    { "QString", "'00ff00'", "QString 00ff00", "'ff0000'", "QString ff0000" },
    { "QStringList", "['a', 'b']", "QStringList a,b", "['c']", "QStringList c" },
    { "int", "3", "int 3", "4", "int 4" },
};

const Values &valuesOf(const ClientProperty &property)
{
    int row = 0;
    while (qstrcmp(valuesByType[row].type, property.type) != 0) {
        ++row;
    }
    return valuesByType[row];
}

// True if the property's signal carries its value. The signal of a supply has a second argument and
// does not carry the value.
bool saysTheValue(const ClientProperty &property)
{
    return QByteArray(notifierOf(property).parameters).count(',') == 0;
}

QByteArray signalBody(const ClientProperty &property)
{
    return QByteArray("(") + valuesOf(property).second
        + (saysTheValue(property) ? ",)" : ", 'another')");
}

} // namespace

void tst_Reading::propertyOfTheClient_data()
{
    const QMetaObject &meta = HNIPC::staticMetaObject;
    QCOMPARE(meta.propertyCount() - meta.propertyOffset(), clientPropertyCount);
    addTable(clientProperties);
}

void tst_Reading::propertyOfTheClient()
{
    const ClientProperty &property = currentRow(clientProperties);
    const Values &values = valuesOf(property);
    const QByteArray value = QByteArray("(") + values.first + ",)";
    const QByteArray current = QByteArray("current ") + values.firstShown;
    const QByteArray known = QByteArray("known ")
        + (saysTheValue(property) ? values.secondShown : values.firstShown);
    WirePeer &daemon = m_daemons[property.server];
    daemon.hold(property.method);
    RecordedReading reading(property.name);
    QVERIFY(reply(daemon, 0, value));
    VERIFY_HISTORY(reading, current);
    QVERIFY(m_daemons.emitSignal(property.server, property.member, signalBody(property)));
    QVERIFY(isHeld(daemon, 2));
    QVERIFY(settle());
    VERIFY_HISTORY(reading, known);
    QVERIFY(reply(daemon, 1, value));
    VERIFY_HISTORY(reading, current);
    const QByteArray call = QByteArray(property.method) + property.body;
    QCOMPARE(takeCalls(), Lines({ call, call }));

    // The signals of all other properties have no influence.
    for (const ClientProperty &other : clientProperties) {
        if (&other != &property) {
            QVERIFY(m_daemons.emitSignal(other.server, other.member, signalBody(other)));
        }
    }
    QCOMPARE(takeCalls(), Lines());
    QCOMPARE(reading.takeHistory(), Lines());
}

void tst_Reading::propertyOfTheClientWithOtherSignals()
{
    RecordedReading reading("qmlPrintEngineErrorCode", "Alert");
    VERIFY_HISTORY(reading, "current int 7");
    takeCalls();
    QVERIFY(emitM4("M4_Error", "(5,)"));
    QCOMPARE(takeCalls(), Lines());
    m4().answer("getError", "(8,)");
    QVERIFY(emitM4("M4_Alert", "(5,)"));
    VERIFY_HISTORY(reading, "known int 7", "current int 8");
    reading.setValueArgument(0);
    VERIFY_HISTORY(reading, "unknown", "current int 8");
    QVERIFY(emitM4("M4_Alert", "(5,)"));
    VERIFY_HISTORY(reading, "known int 5", "current int 8");
}

void tst_Reading::propertyOfTheClientWithArguments()
{
    supplyd().answer("supplySKUCached", "('S-300',)");
    RecordedReading reading("qmlSupplySKU");
    reading.setArguments(QVariantList() << QLatin1String("left"));
    VERIFY_HISTORY(reading, "current QString S-300");
    QCOMPARE(takeCalls(), Lines({ "supplySKUCached('left',)" }));
}

// ---- Calls and values ----------------------------------------------------------------------

void tst_Reading::setCall()
{
    supplyd().answer("supplyRibbonHeat", "(5,)");
    HNIPCReading reading;
    reading.setCall(HNIPC_METHOD(supplyRibbonHeat), QLatin1String("R"), 2,
                    QString::fromLatin1("S"));
    QCOMPARE(reading.method(), QString::fromLatin1("supplyRibbonHeat"));
    QCOMPARE(reading.arguments(),
             QVariantList() << QString::fromLatin1("R") << 2 << QString::fromLatin1("S"));
    VERIFY_SHOWS(reading, "current int 5");
    QCOMPARE(takeCalls(), Lines({ "supplyRibbonHeat('R', 2, 'S')" }));
}

void tst_Reading::valueOr()
{
    HNIPCReading reading;
    QCOMPARE(reading.valueOr(-1), -1);
    reading.setCall(HNIPC_METHOD(getError));
    VERIFY_SHOWS(reading, "current int 7");
    QCOMPARE(reading.valueOr(-1), 7);
    QCOMPARE(reading.valueOr(5u), 5u);
    QCOMPARE(reading.valueOr(true), true);
    QCOMPARE(reading.valueOr(QString::fromLatin1("none")), QString::fromLatin1("none"));
    QCOMPARE(reading.valueOr(SupplyInformation()).integer5, 1);
    m_daemons.stop(M4);
    VERIFY_SHOWS(reading, absent);
    QCOMPARE(reading.valueOr(-1), -1);

    supplyd().answer("supplyInformation", wireStructure({ wireStructure(tellingFields()) }));
    reading.setCall(HNIPC_METHOD(supplyInformation));
    QVERIFY(waitUntil([&]() { return reading.isCurrent(); }));
    QCOMPARE(difference(reading.valueOr(SupplyInformation()), tellingRecord()), QByteArray());
    QCOMPARE(reading.valueOr(5), 5);
}

void tst_Reading::everyMethod_data()
{
    QTest::addColumn<int>("row");
    for (int row = 0; row < clientSlotCount; ++row) {
        if (*clientSlots[row].result) {
            QTest::newRow(clientSlots[row].signature) << row;
        }
    }
}

void tst_Reading::everyMethod()
{
    const ClientSlot &slot = currentRow(clientSlots);
    const QByteArray signature = slot.signature;
    const QByteArray member = signature.left(signature.indexOf('('));
    const QList<Sample> arguments = argumentSamples(signature, 1);
    const QByteArray call = member
        + wireBody(arguments, slot.added ? Lines() << slot.added : Lines());
    const QList<Sample> results = samplesOf(slot.result);
    for (const Sample &result : results) {
        m_daemons[slot.server].answer(member, wireStructure({ result.wire }));
        RecordedReading reading(member.constData());
        reading.setArguments(values(arguments));
        QVERIFY(waitUntil([&]() { return reading.isCurrent(); }));
        QVERIFY(same(reading.value(), result.value));
        QCOMPARE(takeCalls(), Lines() << call);
    }
}

void tst_Reading::largeValues()
{
    const QByteArray x(1024 * 1024, 'x');
    const QByteArray y(1024 * 1024, 'y');
    m4().hold("m4Version");
    RecordedReading version("m4Version", "M4Version", 0);
    QVERIFY(reply(0, "('" + x + "',)"));
    QVERIFY(waitUntil([&]() { return version.isCurrent(); }));
    QVERIFY(version.valueOr(QString()) == QString::fromLatin1(x));
    QVERIFY(emitM4("M4_M4Version", "('" + y + "',)"));
    QVERIFY(waitUntil([&]() { return !version.isCurrent(); }));
    QVERIFY(version.valueOr(QString()) == QString::fromLatin1(y));
}

// ---- Changes of the properties -------------------------------------------------------------

namespace {

const struct
{
    const char *name;
    const char *property;
    QVariant value;
    const char *signal; // the change of the property
    const char *call;   // the read that follows
    const char *shown;  // after the signal "SupplyChanged('third', 'printer')"
} changes[] = {
    { "method", "method", QLatin1String("supplyColorName"), SIGNAL(methodChanged()),
      "supplyColorName('one', '')", "known QString third" },
    { "arguments", "parameters", QVariantList() << QLatin1String("two"), SIGNAL(argumentsChanged()),
      "supplyMaterialName('two', '')", "known QString third" },
    { "signals", "signals", words("RibbonChanged"), SIGNAL(signalNamesChanged()),
      "supplyMaterialName('one', '')", "current QString new" },
    { "no signals", "signals", QStringList(), SIGNAL(signalNamesChanged()),
      "supplyMaterialName('one', '')", "current QString new" },
    { "value argument", "valueArgument", 1, SIGNAL(valueArgumentChanged()),
      "supplyMaterialName('one', '')", "known QString printer" },
};

} // namespace

void tst_Reading::reconfigured_data() { addTable(changes); }

void tst_Reading::reconfigured()
{
    const auto &row = currentRow(changes);
    supplyd().hold("supplyMaterialName");
    supplyd().hold("supplyColorName");
    RecordedReading reading("supplyMaterialName", "SupplyChanged", 0);
    reading.setArguments(QVariantList() << QLatin1String("one"));
    QVERIFY(reply(supplyd(), 0, "('first',)"));
    VERIFY_HISTORY(reading, "current QString first");
    QVERIFY(m_daemons.emitSignal(SUPPLYD, "SUPPLYD_SupplyChanged", "('second', '')"));
    VERIFY_HISTORY(reading, "known QString second");
    QVERIFY(isHeld(supplyd(), 2));
    takeCalls();

    // The value is unknown before any receiver is notified of the change.
    QByteArray atTheChange;
    Listener listener(&reading, row.signal, [&]() { atTheChange = shown(reading); });
    QVERIFY(reading.setProperty(row.property, row.value));
    QCOMPARE(atTheChange, QByteArray("unknown"));
    QCOMPARE(reading.takeHistory(), Lines({ "unknown" }));

    // The old signals and the old reply do not count for the new configuration.
    QVERIFY(isHeld(supplyd(), 3));
    supplyd().answerHeld(1, "('old',)");
    supplyd().sync();
    QVERIFY(settle());
    QCOMPARE(reading.takeHistory(), Lines());
    QVERIFY(reply(supplyd(), 2, "('new',)"));
    VERIFY_HISTORY(reading, "current QString new");
    QCOMPARE(takeCalls(), Lines({ row.call }));
    QVERIFY(m_daemons.emitSignal(SUPPLYD, "SUPPLYD_SupplyChanged", "('third', 'printer')"));
    QVERIFY(settle());
    QCOMPARE(shown(reading), QByteArray(row.shown));
}

void tst_Reading::manyChangesCostOneRead()
{
    RecordedReading reading("getError");
    VERIFY_HISTORY(reading, "current int 7");
    for (int i = 0; i < 100; ++i) {
        reading.setCall(HNIPC_METHOD(getBatteryStatus));
        reading.setSignalNames(words("Alert"));
        reading.setValueArgument(i);
        reading.read();
        reading.setSignalNames(words("Error"));
        reading.setCall(HNIPC_METHOD(getError));
    }
    VERIFY_HISTORY(reading, "unknown", "current int 7");
    QCOMPARE(takeCalls(), Lines({ "getError()", "getError()" }));
    // One subscription is left.
    QVERIFY(emitM4("M4_Error", "(1,)"));
    QCOMPARE(takeCalls(), Lines({ "getError()" }));
    QVERIFY(emitM4("M4_Alert", "(1,)"));
    QCOMPARE(takeCalls(), Lines());
}

void tst_Reading::deadlineIsOfTheNextRead()
{
    RecordedReading reading("getAlert", "Alert");
    QVERIFY(isHeld(1));
    reading.setDeadline(50); // neither ends the current read nor starts another
    QVERIFY(settle());
    QVERIFY(emitM4("M4_Alert", "(1,)"));
    QVERIFY(settle());
    QVERIFY(reply(0, "(1,)"));
    VERIFY_SHOWS(reading, timedOut);
    reading.setDeadline(-1);
    QVERIFY(reply(2, "(2,)")); // the repeated read has the new deadline
    VERIFY_SHOWS(reading, "current int 2");
}

void tst_Reading::withoutAMethodAgain()
{
    RecordedReading reading("getError", "Error");
    VERIFY_HISTORY(reading, "current int 7");
    reading.setMethod(QString());
    QCOMPARE(reading.takeHistory(), Lines({ "unknown" }));
    takeCalls();
    QVERIFY(emitM4("M4_Error", "(1,)"));
    reading.read();
    restartM4();
    QCOMPARE(takeCalls(), Lines());
    QCOMPARE(reading.takeHistory(), Lines());
    reading.setMethod(QLatin1String("getError"));
    VERIFY_SHOWS(reading, "current int 7");
}

// ---- The object ----------------------------------------------------------------------------

void tst_Reading::changedOnlyIfSomethingChanged()
{
    RecordedReading reading("getError", "Error", 0);
    VERIFY_HISTORY(reading, "current int 7");
    reading.read();
    QCOMPARE(takeCalls().size(), 2);
    QCOMPARE(reading.takeHistory(), Lines());

    // A second signal with the same value while the first is being confirmed.
    m4().hold("getError");
    QVERIFY(emitM4("M4_Error", "(7,)"));
    QVERIFY(emitM4("M4_Error", "(7,)"));
    QVERIFY(settle());
    QCOMPARE(reading.takeHistory(), Lines({ "known int 7" }));
    m4().answer("getError", "(7,)");
    QVERIFY(reply(0, "(7,)"));
    VERIFY_HISTORY(reading, "current int 7");

    // The same number in another type.
    m4().answer("dac0", "(uint32 7,)");
    reading.setCall(HNIPC_METHOD(dac0));
    VERIFY_HISTORY(reading, "unknown", "current uint 7");

    // The same failure with another name or message.
    refuse("dac0");
    reading.read();
    VERIFY_HISTORY(reading, busy);
    m4().answerError("dac0", "org.hnipc.Error.Busy", "never");
    reading.read();
    VERIFY_HISTORY(reading, "unknown DaemonError org.hnipc.Error.Busy: never");
    m4().answerError("dac0", "org.hnipc.Error.Gone", "never");
    reading.read();
    VERIFY_HISTORY(reading, "unknown DaemonError org.hnipc.Error.Gone: never");
    reading.read();
    QVERIFY(settle());
    QCOMPARE(reading.takeHistory(), Lines());

    // The same name and message with another reason: they are the library's, then the daemon's.
    m4().hold("dac0");
    RecordedReading late("dac0");
    late.setDeadline(50);
    VERIFY_SHOWS(late, timedOut);
    m4().answerError("dac0", "org.freedesktop.DBus.Error.Timeout",
                     "org.hnipc.m4 did not reply within 50 ms");
    const QByteArray ofTheDaemon = QByteArray(timedOut).replace("TimedOut", "DaemonError");
    VERIFY_SHOWS(late, ofTheDaemon);
    QCOMPARE(late.takeHistory().last(), ofTheDaemon);
}

// A method that returns nothing has no value, but it is known that it has returned.
void tst_Reading::valueOfNothing()
{
    WirePeer &ioexpd = m_daemons[IOEXPD];
    ioexpd.answer("enableBacklight", "()");
    RecordedReading reading("", "Error");
    reading.setCall(HNIPC_METHOD(enableBacklight), true);
    VERIFY_HISTORY(reading, "current");
    ioexpd.hold("enableBacklight");
    QVERIFY(emitM4("M4_Error", "(7,)"));
    VERIFY_HISTORY(reading, "known");
    reading.setSignalNames(QStringList());
    QCOMPARE(reading.takeHistory(), Lines({ "unknown" }));
}

void tst_Reading::receiverOfSetCallMayDestroyTheReading()
{
    const QPointer<HNIPCReading> reading = new HNIPCReading;
    Listener listener(reading, SIGNAL(methodChanged()), [&]() { delete reading.data(); });
    reading->setCall(HNIPC_METHOD(supplyMaterialName), QLatin1String("S"));
    QVERIFY(reading.isNull());
}

namespace {

const struct
{
    const char *name;
    const char *signal;
    int occurrence; // the reading is destroyed at this one
} ends[] = {
    { "method", SIGNAL(methodChanged()), 1 },
    { "arguments", SIGNAL(argumentsChanged()), 1 },
    { "signals", SIGNAL(signalNamesChanged()), 1 },
    { "valueArgument", SIGNAL(valueArgumentChanged()), 1 },
    { "deadline", SIGNAL(deadlineChanged()), 1 },
    { "unknown method", SIGNAL(changed()), 1 },
    { "read", SIGNAL(changed()), 2 },
    { "signal", SIGNAL(changed()), 3 },
    { "confirmed", SIGNAL(changed()), 4 },
    { "failed", SIGNAL(changed()), 5 },
    { "absent", SIGNAL(changed()), 6 },
    { "present", SIGNAL(changed()), 7 },
    { "reconfigured", SIGNAL(changed()), 8 },
};

} // namespace

void tst_Reading::destroyedInASignal_data() { addTable(ends); }

void tst_Reading::destroyedInASignal()
{
    const auto &row = currentRow(ends);
    const QPointer<HNIPCReading> reading = new HNIPCReading;
    int occurred = 0;
    Listener listener(reading, row.signal, [&]() {
        if (++occurred == row.occurrence) {
            delete reading.data();
        }
    });
    // clang-format off
    const std::function<void()> steps[] = {
        [&]() { reading->setMethod(QLatin1String("nothing")); },
        [&]() { reading->setMethod(QLatin1String("getError")); },
        [&]() {
            if (row.signal == QByteArray(SIGNAL(argumentsChanged()))) {
                reading->setArguments(QVariantList() << 5);
            }
        },
        [&]() { reading->setSignalNames(words("Error")); },
        [&]() { reading->setValueArgument(0); },
        [&]() { reading->setDeadline(20 * 1000); },
        [&]() { emitM4("M4_Error", "(8,)"); },
        [&]() { refuse("getError"); reading->read(); },
        [&]() { m_daemons.stop(M4); },
        [&]() { m_daemons.start(M4); },
        [&]() { reading->setMethod(QString()); },
    };
    // clang-format on
    for (const std::function<void()> &step : steps) {
        if (reading) {
            step();
            QVERIFY(settle());
        }
    }
    QVERIFY(reading.isNull());
    QCOMPARE(occurred, row.occurrence);
}

void tst_Reading::destroyedAtAnyTime()
{
    for (int i = 0; i < 200; ++i) {
        QObject parent;
        HNIPCReading *const reading = new HNIPCReading(i % 2 ? &parent : nullptr);
        reading->setCall(HNIPC_METHOD(getError));
        reading->setSignalNames(words("Error"));
        switch (i % 5) {
        case 0:
            break;
        case 1: // the subscription is under way
            QCoreApplication::processEvents();
            break;
        case 2:
            QVERIFY(pass());
            break;
        case 3:
            VERIFY_SHOWS(*reading, "current int 7");
            break;
        case 4: // a signal is under way
            QVERIFY(settle());
            QVERIFY(emitM4("M4_Error", "(1,)"));
            break;
        }
        if (i % 2 == 0) {
            delete reading;
        }
    }
    // No reading reads any more.
    takeCalls();
    QVERIFY(emitM4("M4_Error", "(1,)"));
    QCOMPARE(takeCalls(), Lines());
}

void tst_Reading::eventLoopInASignal_data()
{
    QTest::addColumn<QByteArray>("signal");
    QTest::newRow("changed") << QByteArray(SIGNAL(changed()));
    QTest::newRow("methodChanged") << QByteArray(SIGNAL(methodChanged()));
}

void tst_Reading::eventLoopInASignal()
{
    QFETCH(QByteArray, signal);
    m4().answer("getBatteryStatus", "(1,)");
    RecordedReading reading("getBatteryStatus", "Error");
    VERIFY_SHOWS(reading, "current int 1");
    bool isNested = false;
    Lines within;
    // The slot runs an event loop, as a dialog does.
    Listener listener(&reading, signal.constData(), [&]() {
        if (isNested) {
            return;
        }
        isNested = true;
        within = Lines() << awaited(reading, "current int 7");
        m4().answer("getError", "(8,)");
        emitM4("M4_Error", "(1,)");
        within << awaited(reading, "current int 8");
        m_daemons.stop(M4);
        within << awaited(reading, absent);
        m4().answer("getError", "(9,)");
        m_daemons.start(M4);
        within << awaited(reading, "current int 9");
    });
    reading.setMethod(QLatin1String("getError"));
    QCOMPARE(within, Lines({ "current int 7", "current int 8", absent, "current int 9" }));
    QVERIFY(settle());
    QCOMPARE(shown(reading), QByteArray("current int 9"));

    // The same in the slot for a read and in that for a signal.
    isNested = false;
    m4().answer("getError", "(7,)");
    reading.read();
    QVERIFY(waitUntil([&]() { return within.last() == "current int 9"; }));
    VERIFY_SHOWS(reading, "current int 9");
}

void tst_Reading::reconfiguredInChanged()
{
    m4().answer("getBatteryStatus", "(1,)");
    RecordedReading reading("getBatteryStatus");
    Listener listener(&reading, SIGNAL(changed()), [&]() {
        if (reading.isKnown()) {
            reading.setMethod(QLatin1String("getError"));
        }
    });
    VERIFY_SHOWS(reading, "current int 7");
    QCOMPARE(takeCalls(), Lines({ "getBatteryStatus()", "getError()" }));
}

void tst_Reading::severalOfTheSameMethod()
{
    const int count = 10;
    std::vector<std::unique_ptr<HNIPCReading>> readings;
    for (int i = 0; i < count; ++i) {
        readings.emplace_back(new RecordedReading("getAlert", "Alert", i % 2 ? 0 : -1));
    }
    QVERIFY(isHeld(count));
    for (int i = 0; i < count; ++i) {
        m4().answerHeld(i, body(i));
    }
    for (int i = 0; i < count; ++i) {
        VERIFY_SHOWS(*readings[i], current(i));
    }
    QVERIFY(emitM4("M4_Alert", "(100,)"));
    QVERIFY(isHeld(2 * count));
    QVERIFY(settle());
    for (int i = 0; i < count; ++i) {
        QCOMPARE(shown(*readings[i]), known(i % 2 ? 100 : i));
    }
    readings.erase(readings.begin(), readings.begin() + count / 2);
    for (int i = 0; i < count; ++i) {
        m4().answerHeld(count + i, "(-1,)");
    }
    for (const auto &reading : readings) {
        VERIFY_SHOWS(*reading, "current int -1");
    }
    QCOMPARE(takeCalls().size(), 2 * count);
    QVERIFY(emitM4("M4_Alert", "(1,)"));
    QCOMPARE(takeCalls().size(), count / 2);
}

void tst_Reading::movedToAnotherThread_data()
{
    QTest::addColumn<QByteArray>("when");
    for (const char *const when : { "before it starts", "under way", "known", "pause" }) {
        QTest::newRow(when) << QByteArray(when);
    }
}

void tst_Reading::movedToAnotherThread()
{
    QFETCH(QByteArray, when);
    Worker worker;
    // ThreadSanitizer does not see Qt's locks. This mutex shows it that the thread owns the object
    // afterwards.
    std::mutex mutex;
    std::unique_lock<std::mutex> lock(mutex);
    worker.post([&mutex]() { const std::lock_guard<std::mutex> takeOver(mutex); });
    const std::unique_ptr<HNIPCReading> reading(new HNIPCReading);
    reading->setCall(HNIPC_METHOD(getAlert));
    reading->setSignalNames(words("Alert Error"));
    if (when == "under way") {
        QVERIFY(isHeld(1));
    } else if (when == "known") {
        m4().answer("getAlert", "(1,)");
        VERIFY_SHOWS(*reading, "current int 1");
        m4().hold("getAlert");
        QVERIFY(emitM4("M4_Alert", "(1,)"));
    } else if (when == "pause") {
        refuse("getAlert");
        VERIFY_SHOWS(*reading, busy);
        m4().hold("getAlert");
    }
    reading->moveToThread(&worker);
    lock.unlock();
    QVERIFY(reply(0, "(2,)"));
    QByteArray found;
    const auto becomes = [&](const QByteArray &expected) {
        return waitUntil([&]() {
            worker.run([&]() { found = shown(*reading); });
            return found == expected;
        });
    };
    QVERIFY2(becomes("current int 2"), found.constData());
    m4().answer("getAlert", "(3,)");
    QVERIFY(emitM4("M4_Error", "(1,)"));
    QVERIFY2(becomes("current int 3"), found.constData());
    m_daemons.stop(M4);
    QVERIFY2(becomes(absent), found.constData());
    m_daemons.start(M4);
    QVERIFY2(becomes("current int 3"), found.constData());
    QThread *const here = QThread::currentThread();
    worker.run([&]() { reading->moveToThread(here); });
    m4().answer("getAlert", "(4,)");
    QVERIFY(emitM4("M4_Error", "(1,)"));
    VERIFY_SHOWS(*reading, "current int 4");
}

// Threads end while their readings are still reading, and after that.
void tst_Reading::threadMayEnd()
{
    RecordedReading other("getError", "Error");
    for (int i = 0; i < 50; ++i) {
        Worker().run([]() { const RecordedReading reading("getError", "Error"); });
        Worker().run([]() {
            const RecordedReading reading("getError", "Error");
            waitUntil([&]() { return reading.isKnown(); });
        });
        // A thread that Qt did not start.
        std::thread([]() { const RecordedReading reading("getError"); }).join();
    }
    m4().answer("getError", "(8,)");
    takeCalls();
    QVERIFY(emitM4("M4_Error", "(1,)"));
    VERIFY_SHOWS(other, "current int 8");
    QCOMPARE(takeCalls(), Lines({ "getError()" }));
}

void tst_Reading::haltedBusBlocksNobody()
{
#if QT_VERSION < QT_VERSION_CHECK(5, 0, 0)
    // This thread makes the first subscription of the program, and Qt calls the bus meanwhile.
    RecordedReading known("getError", "Alert");
#else
    RecordedReading known("getError");
#endif
    VERIFY_SHOWS(known, "current int 7");
    HaltedBus bus;
    {
        const RecordedReading deleted("getError", "Error");
        QCoreApplication::processEvents();
    }
    RecordedReading reading("getBatteryStatus", "Error SupplyChanged");
    known.setDeadline(50);
    known.read();
    VERIFY_SHOWS(known, timedOut);
    QCOMPARE(shown(reading), QByteArray("unknown"));
    reading.setCall(HNIPC_METHOD(getError));
    QVERIFY(bus.resume());
    known.setDeadline(-1);
    VERIFY_SHOWS(reading, "current int 7");
    VERIFY_SHOWS(known, "current int 7");
}

HNIPC_TEST_MAIN(tst_Reading)

#include "tst_reading.moc"
