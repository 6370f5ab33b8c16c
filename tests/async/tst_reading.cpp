// SPDX-License-Identifier: MIT
#include "expected/clientsignals.h"
#include "expected/clientslots.h"
#include "expected/properties.h"
#include "expected/samples.h"
#include "readings.h"
#include "requests.h"
#include "support/fakedaemons.h"
#include "support/haltedbus.h"
#include "support/privatebus.h"
#include "support/qtmajors.h"
#include "support/signalrecorder.h"

#include <hnipc/hnipc.h>
#include <hnipc/hnipcreading.h>

#include <QtCore/QEventLoop>
#include <QtCore/QMetaProperty>
#include <QtCore/QPointer>
#include <QtCore/QScopedPointer>
#include <QtCore/QThread>
#include <QtDBus/QDBusConnection>

#include <algorithm>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

using namespace Expected;

typedef QList<QByteArray> Lines;

#define VERIFY_SHOWS(reading, expected)                                                            \
    QCOMPARE(awaited(reading, QByteArray(expected)), QByteArray(expected))

namespace {

const char absent[] = "unknown DaemonAbsent org.freedesktop.DBus.Error.ServiceUnknown: "
                      "org.hnipc.m4 is not on the bus";

QStringList names(const char *first, const char *second = nullptr)
{
    QStringList result(QString::fromLatin1(first));
    if (second) {
        result.append(QString::fromLatin1(second));
    }
    return result;
}

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

// Ends while its readings are still reading.
class HastyThread : public QThread
{
public:
    explicit HastyThread(bool turns) : m_turns(turns) {}

protected:
    void run() override
    {
        HNIPCReading reading;
        reading.setCall(HNIPC_METHOD(getError));
        reading.setSignalNames(names("Error"));
        if (m_turns) {
            waitUntil([&]() { return reading.isKnown(); });
        }
    }

private:
    const bool m_turns;
};

} // namespace

// A value of a daemon that is updated automatically.
class tst_Reading : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init();

    void startsUnknown();
    void propertiesNotify_data();
    void propertiesNotify();
    void settersNotify();
    void worksByNameAlone();

    void readsWhenTheDaemonIsRunning();
    void readsAgainAtItsSignals();
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
    void valueArgumentIsOfTheOneReading();

    void failedReadIsRepeated_data();
    void failedReadIsRepeated();
    void repeatsBecomeRarer();
    void repeatsStartAgain_data();
    void repeatsStartAgain();
    void signalDoesNotWaitForTheRepeat();
    void signalsDoNotHideAFailure();
    void readsOftenerThanReplies();
    void receiverOfSetCallMayDestroyTheReading();
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
    void destroyedInASignal_data();
    void destroyedInASignal();
    void destroyedAtAnyTime();
    void eventLoopInASignal_data();
    void eventLoopInASignal();
    void reconfiguredInChanged();
    void severalOfTheSameMethod();
    void movedToAnotherThread_data();
    void movedToAnotherThread();
    void threadMayEnd_data();
    void threadMayEnd();
    void haltedBusBlocksNobody();

private:
    WirePeer &m4() { return (*m_daemons)[M4]; }
    WirePeer &supplyd() { return (*m_daemons)[SUPPLYD]; }

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

    bool isHeld(int count)
    {
        return waitUntil([this, count]() { return m4().held() == count; });
    }

    bool emitM4(const QByteArray &member, const QByteArray &body = "()")
    {
        return m_daemons->emitSignal(M4, member, body);
    }

    // A reading of a value for which the print engine holds the reply until the test releases it.
    HNIPCReading *newHeldReading(QObject *parent = nullptr)
    {
        HNIPCReading *const reading = new HNIPCReading(parent);
        reading->setCall(HNIPC_METHOD(getAlert));
        reading->setSignalNames(names("Alert", "Error"));
        return reading;
    }

    QScopedPointer<FakeDaemons> m_daemons;
};

void tst_Reading::initTestCase()
{
    m_daemons.reset(new FakeDaemons);
    (*m_daemons)[IOEXPD].answer("printerSoftCancel", "()");
}

void tst_Reading::cleanupTestCase() { m_daemons.reset(); }

void tst_Reading::init()
{
    m4().own(identities[M4].busName); // in case a test left the name without an owner
    m4().clearAnswers();
    supplyd().clearAnswers();
    m4().answer("getError", "(7,)");
    m4().hold("getAlert");
    takeCalls();
}

// ---- Properties and meta-object ------------------------------------------------------------

void tst_Reading::startsUnknown()
{
    HNIPCReading reading;
    History history(&reading);
    QCOMPARE(reading.method(), QString());
    QCOMPARE(reading.arguments(), QVariantList());
    QCOMPARE(reading.signalNames(), QStringList());
    QCOMPARE(reading.valueArgument(), -1);
    QCOMPARE(reading.deadline(), -1);
    QCOMPARE(shown(reading), QByteArray("unknown"));
    reading.read();
    QVERIFY(settle());
    QCOMPARE(shown(reading), QByteArray("unknown"));
    QCOMPARE(history.take(), Lines());
    QCOMPARE(takeCalls(), Lines());
}

void tst_Reading::propertiesNotify_data()
{
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<bool>("isWritable");
    QTest::addColumn<QByteArray>("signal");
    const struct
    {
        const char *name;
        const char *type;
        bool isWritable;
        const char *signal;
    } rows[] = {
        { "method", "QString", true, "methodChanged()" },
        { "parameters", "QVariantList", true, "argumentsChanged()" },
        { "signals", "QStringList", true, "signalNamesChanged()" },
        { "valueArgument", "int", true, "valueArgumentChanged()" },
        { "deadline", "int", true, "deadlineChanged()" },
        { "known", "bool", false, "changed()" },
        { "current", "bool", false, "changed()" },
        { "value", "QVariant", false, "changed()" },
        { "reason", "HNIPCRequest::Reason", false, "changed()" },
        { "errorName", "QString", false, "changed()" },
        { "errorText", "QString", false, "changed()" },
    };
    const QMetaObject &meta = HNIPCReading::staticMetaObject;
    QCOMPARE(meta.propertyCount() - meta.propertyOffset(), int(sizeof rows / sizeof rows[0]));
    for (const auto &row : rows) {
        QTest::newRow(row.name) << QByteArray(row.type) << row.isWritable << QByteArray(row.signal);
    }
}

void tst_Reading::propertiesNotify()
{
    QFETCH(QByteArray, type);
    QFETCH(bool, isWritable);
    QFETCH(QByteArray, signal);
    const QMetaObject &meta = HNIPCReading::staticMetaObject;
    const QMetaProperty property = meta.property(meta.indexOfProperty(QTest::currentDataTag()));
    QVERIFY(property.isReadable());
    QCOMPARE(QByteArray(property.typeName()), type);
    QCOMPARE(property.isWritable(), isWritable);
    QVERIFY(meta.indexOfSignal(signal.constData()) >= 0);
    QCOMPARE(property.notifySignalIndex(), meta.indexOfSignal(signal.constData()));
}

void tst_Reading::settersNotify()
{
    HNIPCReading reading;
    SignalRecorder recorder(&reading);
    const QVariantList arguments = QVariantList() << 5 << QLatin1String("a");
    QVERIFY(reading.setProperty("method", QLatin1String("getError")));
    QCOMPARE(recorder.take(), Lines() << emission("methodChanged()"));
    QVERIFY(reading.setProperty("parameters", arguments));
    QCOMPARE(recorder.take(), Lines() << emission("argumentsChanged()"));
    QVERIFY(reading.setProperty("signals", names("Error", "Alert")));
    QCOMPARE(recorder.take(), Lines() << emission("signalNamesChanged()"));
    QVERIFY(reading.setProperty("valueArgument", 2));
    QCOMPARE(recorder.take(), Lines() << emission("valueArgumentChanged()"));
    QVERIFY(reading.setProperty("deadline", 5000));
    QCOMPARE(recorder.take(), Lines() << emission("deadlineChanged()"));

    QCOMPARE(reading.method(), QString::fromLatin1("getError"));
    QCOMPARE(reading.arguments(), arguments);
    QCOMPARE(reading.signalNames(), names("Error", "Alert"));
    QCOMPARE(reading.valueArgument(), 2);
    QCOMPARE(reading.deadline(), 5000);
    QCOMPARE(reading.property("method").toString(), reading.method());
    QCOMPARE(reading.property("parameters").toList(), arguments);
    QCOMPARE(reading.property("signals").toStringList(), reading.signalNames());
    QCOMPARE(reading.property("valueArgument").toInt(), 2);
    QCOMPARE(reading.property("deadline").toInt(), 5000);

    reading.setMethod(reading.method());
    reading.setSignalNames(reading.signalNames());
    reading.setValueArgument(reading.valueArgument());
    reading.setDeadline(reading.deadline());
    reading.setArguments(reading.arguments());
    QCOMPARE(recorder.take(), Lines());

    // Equal variants of other types cause other calls.
    const QVariantList others[] = {
        QVariantList() << QVariant(5),
        QVariantList() << QVariant(5u),
        QVariantList() << QVariant(QLatin1String("5")),
        QVariantList() << QVariant(QVariantList() << 5),
        QVariantList() << QVariant(QVariantList() << QLatin1String("5")),
        QVariantList() << QVariant(QVariantList() << QLatin1String("5") << QLatin1String("6")),
        QVariantList() << QLatin1String("5") << QLatin1String("6"),
        QVariantList(),
    };
    for (const QVariantList &other : others) {
        reading.setArguments(other);
        QCOMPARE(recorder.take(), Lines() << emission("argumentsChanged()"));
        reading.setArguments(other);
        QCOMPARE(recorder.take(), Lines());
    }
}

void tst_Reading::worksByNameAlone()
{
    supplyd().answer("supplyColorRGB", "(5,)");
    HNIPCReading reading;
    QObject *const object = &reading;
    QVERIFY(object->setProperty("method", QLatin1String("supplyColorRGB")));
    QVERIFY(object->setProperty("parameters", QVariantList() << QLatin1String("S-100")));
    QVERIFY(object->setProperty("signals", names("SupplyChanged")));
    QVERIFY(waitUntil([&]() { return object->property("current").toBool(); }));
    QVERIFY(object->property("known").toBool());
    QCOMPARE(object->property("value"), QVariant(5));
    QVERIFY(object->property("reason").isValid());
    QCOMPARE(object->property("reason").toInt(), int(HNIPCRequest::NoReason));
    QCOMPARE(object->property("errorName"), QVariant(QString()));
    QCOMPARE(takeCalls(), Lines() << "supplyColorRGB('S-100', '')");

    supplyd().answerError("supplyColorRGB", "org.hnipc.Error.Busy", "no");
    QVERIFY(QMetaObject::invokeMethod(object, "read"));
    QVERIFY(waitUntil([&]() { return !object->property("known").toBool(); }));
    QVERIFY(!object->property("current").toBool());
    QVERIFY(!object->property("value").isValid());
    QCOMPARE(object->property("reason").toInt(), int(HNIPCRequest::DaemonError));
    QCOMPARE(object->property("errorName").toString(), QString::fromLatin1("org.hnipc.Error.Busy"));
    QCOMPARE(object->property("errorText").toString(), QString::fromLatin1("no"));
}

// ---- When it reads -------------------------------------------------------------------------

void tst_Reading::readsWhenTheDaemonIsRunning()
{
    m_daemons->stop(M4);
    HNIPCReading reading;
    reading.setCall(HNIPC_METHOD(getError));
    History history(&reading);
    QCOMPARE(shown(reading), QByteArray("unknown"));
    VERIFY_SHOWS(reading, absent);
    QCOMPARE(history.take(), Lines() << absent);
    reading.read();
    QVERIFY(settle());
    QCOMPARE(history.take(), Lines());

    WireMonitor monitor;
    reading.read();
    QVERIFY(settle());
    const QList<WireMessage> messages = monitor.take();
    for (const WireMessage &message : messages) {
        QVERIFY(message.destination != "org.hnipc.m4" && message.member != "getError");
    }

    m_daemons->start(M4);
    VERIFY_SHOWS(reading, "current int 7");
    QCOMPARE(history.take(),
             Lines() << "unknown"
                     << "current int 7");
    settle();
    const QList<WireMessage> calls = m4().calls();
    QCOMPARE(calls.size(), 1);
    QCOMPARE(calls.first().line(), QByteArray("/ local.IHNIPCM4.getError  ()"));
    QVERIFY(!calls.first().autoStart);
    QVERIFY(settle());
    QCOMPARE(takeCalls().size(), 1);
    QCOMPARE(history.take(), Lines());
}

void tst_Reading::readsAgainAtItsSignals()
{
    HNIPCReading reading;
    reading.setCall(HNIPC_METHOD(getError));
    reading.setSignalNames(names("Error", "M4PrintDone"));
    VERIFY_SHOWS(reading, "current int 7");
    History history(&reading);
    QCOMPARE(takeCalls(), Lines() << "getError()");

    m4().answer("getError", "(8,)");
    QVERIFY(emitM4("M4_Error", "(1,)"));
    VERIFY_SHOWS(reading, "current int 8");
    QCOMPARE(history.take(),
             Lines() << "known int 7"
                     << "current int 8");
    m4().answer("getError", "(9,)");
    QVERIFY(emitM4("M4_M4PrintDone"));
    VERIFY_SHOWS(reading, "current int 9");
    QCOMPARE(history.take(),
             Lines() << "known int 8"
                     << "current int 9");
    QCOMPARE(takeCalls(),
             Lines() << "getError()"
                     << "getError()");

    // Signals of others, and messages that only resemble a signal of this reading.
    QVERIFY(emitM4("M4_Alert", "(1,)"));
    QVERIFY(emitM4("Error", "(1,)"));
    QVERIFY(emitM4("M4_Error", "('text',)"));
    QVERIFY(m_daemons->emitSignal(SUPPLYD, "M4_Error", "(1,)"));
    WirePeer stranger;
    QVERIFY(stranger.emitSignal("/", identities[M4].interface, "M4_Error", "(1,)"));
    QCOMPARE(takeCalls(), Lines());
    QCOMPARE(history.take(), Lines());
}

void tst_Reading::readsAgainAtEachSignal()
{
    m4().answer("getError", "(7,)");
    for (const ClientSignal &row : clientSignals) {
        if (!row.member) { // no daemon emits it
            continue;
        }
        const QByteArray signature = row.signature;
        const QByteArray name = signature.left(signature.indexOf('('));
        HNIPCReading reading;
        reading.setMethod("getError");
        reading.setSignalNames(QStringList(QString::fromLatin1(name)));
        VERIFY_SHOWS(reading, "current int 7");
        m_daemons->takeCalls();
        const QByteArray body = wireBody(argumentSamples(signature, 0));
        QVERIFY(m_daemons->emitSignal(row.server, row.member, body));
        QVERIFY2(waitUntil([&]() { return m4().calls().size() == 1; }), row.signature);
        VERIFY_SHOWS(reading, "current int 7");
    }
}

void tst_Reading::signalOfAnotherDaemon()
{
    HNIPCReading reading;
    reading.setCall(HNIPC_METHOD(m4Version));
    reading.setSignalNames(names("SupplyChanged"));
    reading.setValueArgument(0);
    m4().answer("m4Version", "('one',)");
    VERIFY_SHOWS(reading, "current QString one");
    m4().hold("m4Version");
    takeCalls();
    QVERIFY(m_daemons->emitSignal(SUPPLYD, "SUPPLYD_SupplyChanged", "('S-100', '')"));
    VERIFY_SHOWS(reading, "known QString S-100");
    QVERIFY(isHeld(1));
    m4().answerHeld(0, "('two',)");
    VERIFY_SHOWS(reading, "current QString two");
    QCOMPARE(takeCalls(), Lines() << "m4Version()");

    // The value of a daemon that is not running is unknown, whatever the other daemons send.
    m_daemons->stop(M4);
    VERIFY_SHOWS(reading, absent);
    History history(&reading);
    QVERIFY(m_daemons->emitSignal(SUPPLYD, "SUPPLYD_SupplyChanged", "('S-200', '')"));
    QVERIFY(settle());
    QCOMPARE(history.take(), Lines());
    QCOMPARE(shown(reading), QByteArray(absent));
}

void tst_Reading::returnedDaemonIsReadAgain()
{
    HNIPCReading reading;
    reading.setCall(HNIPC_METHOD(getError));
    VERIFY_SHOWS(reading, "current int 7");
    History history(&reading);
    for (int i = 0; i < 3; ++i) {
        m_daemons->stop(M4);
        VERIFY_SHOWS(reading, absent);
        m4().answer("getError", '(' + QByteArray::number(i) + ",)");
        m_daemons->start(M4);
        const QByteArray current = "current int " + QByteArray::number(i);
        VERIFY_SHOWS(reading, current);
        QCOMPARE(history.take(), Lines() << absent << "unknown" << current);
    }
    QCOMPARE(takeCalls().size(), 4);

    // Another daemon has no influence.
    m_daemons->stop(SUPPLYD);
    m_daemons->start(SUPPLYD);
    QVERIFY(settle());
    QCOMPARE(history.take(), Lines());
    QCOMPARE(takeCalls(), Lines());

    // The same with a daemon that crashes.
    m_daemons->stop(M4);
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
    m_daemons->stop(M4);
    WirePeer former;
    WirePeer later;
    former.hold("getAlert");
    later.hold("getAlert");
    QVERIFY(former.takeOver("org.hnipc.m4"));
    QScopedPointer<HNIPCReading> reading(newHeldReading());
    QVERIFY(waitUntil([&]() { return former.held() == 1; }));
    History history(reading.data());

    // The value that the former owner returns is not shown, although it replies.
    QVERIFY(later.takeOver("org.hnipc.m4"));
    QVERIFY(waitUntil([&]() { return later.held() == 1; }));
    former.answerHeld(0, "(1,)");
    former.sync();
    QVERIFY(settle());
    QCOMPARE(shown(*reading), QByteArray("unknown"));
    later.answerHeld(0, "(2,)");
    VERIFY_SHOWS(*reading, "current int 2");
    QCOMPARE(history.take(), Lines() << "current int 2");

    // A known value becomes unknown as soon as another process replaces its daemon. So does a value
    // from a signal.
    QVERIFY(former.takeOver("org.hnipc.m4"));
    QVERIFY(waitUntil([&]() { return former.held() == 2; }));
    QVERIFY(settle());
    QCOMPARE(history.take(), Lines() << "unknown");
    former.answerHeld(1, "(3,)");
    VERIFY_SHOWS(*reading, "current int 3");
    QCOMPARE(former.calls().size(), 2);
    QCOMPARE(later.calls().size(), 1);

    // The signals of the former owner are ignored.
    history.take();
    QVERIFY(later.emitSignal("/", identities[M4].interface, "M4_Alert", "(4,)"));
    QVERIFY(settle());
    QCOMPARE(history.take(), Lines());
    QCOMPARE(former.calls().size(), 2);
}

void tst_Reading::readSlot()
{
    QScopedPointer<HNIPCReading> reading(newHeldReading());
    QVERIFY(isHeld(1));
    reading->read();
    reading->read();
    m4().answerHeld(0, "(1,)");
    VERIFY_SHOWS(*reading, "current int 1");
    QVERIFY(isHeld(2));
    m4().answerHeld(1, "(2,)");
    VERIFY_SHOWS(*reading, "current int 2");
    QCOMPARE(takeCalls().size(), 2);

    reading->read();
    QVERIFY(isHeld(3));
    m4().answerHeld(2, "(3,)");
    VERIFY_SHOWS(*reading, "current int 3");
    QCOMPARE(takeCalls().size(), 1);
}

// ---- Signals and reads ---------------------------------------------------------------------

void tst_Reading::readBeforeTheSignalIsNotUsed()
{
    QScopedPointer<HNIPCReading> reading(newHeldReading());
    History history(reading.data());
    QVERIFY(isHeld(1));
    QVERIFY(emitM4("M4_Alert", "(5,)"));
    m4().answerHeld(0, "(1,)");
    QVERIFY(isHeld(2));
    QVERIFY(settle());
    QCOMPARE(history.take(), Lines());
    m4().answerHeld(1, "(2,)");
    VERIFY_SHOWS(*reading, "current int 2");
    QCOMPARE(history.take(), Lines() << "current int 2");

    // The same with a known value, and at every second read.
    for (int i = 0; i < 3; ++i) {
        QVERIFY(emitM4("M4_Alert", "(5,)"));
        QVERIFY(isHeld(3 + 2 * i));
        QVERIFY(emitM4("M4_Error", "(5,)"));
        m4().answerHeld(2 + 2 * i, "(99,)");
        QVERIFY(isHeld(4 + 2 * i));
        m4().answerHeld(3 + 2 * i, '(' + QByteArray::number(3 + i) + ",)");
        VERIFY_SHOWS(*reading, "current int " + QByteArray::number(3 + i));
        QCOMPARE(history.take(),
                 Lines() << "known int " + QByteArray::number(2 + i)
                         << "current int " + QByteArray::number(3 + i));
    }
    QCOMPARE(takeCalls().size(), 8);
}

void tst_Reading::failedReadBeforeTheSignalIsNotUsed()
{
    QScopedPointer<HNIPCReading> reading(newHeldReading());
    History history(reading.data());
    QVERIFY(isHeld(1));
    QVERIFY(emitM4("M4_Alert", "(5,)"));
    m4().clearAnswers(); // the daemon replies to the held call with an error
    m4().hold("getAlert");
    QVERIFY(isHeld(1));
    m4().answerHeld(0, "(2,)");
    VERIFY_SHOWS(*reading, "current int 2");
    QCOMPARE(history.take(), Lines() << "current int 2");
    QCOMPARE(takeCalls().size(), 2);
}

void tst_Reading::manySignalsWhileOneReadIsHeld()
{
    QScopedPointer<HNIPCReading> reading(newHeldReading());
    reading->setValueArgument(0);
    int changes = 0;
    Listener listener(reading.data(), SIGNAL(changed()), [&]() { ++changes; });
    QVERIFY(isHeld(1));
    const int count = 10000;
    for (int i = 1; i <= count; ++i) {
        QVERIFY(emitM4("M4_Alert", '(' + QByteArray::number(i) + ",)"));
    }
    VERIFY_SHOWS(*reading, "known int 10000");
    QCOMPARE(changes, count);
    QVERIFY(settle());
    QCOMPARE(m4().held(), 1);
    m4().answerHeld(0, "(-1,)");
    QVERIFY(isHeld(2));
    QVERIFY(settle());
    QCOMPARE(shown(*reading), QByteArray("known int 10000"));
    m4().answerHeld(1, "(-2,)");
    VERIFY_SHOWS(*reading, "current int -2");
    QCOMPARE(takeCalls().size(), 2);
}

void tst_Reading::manySignals()
{
    HNIPCReading reading;
    reading.setCall(HNIPC_METHOD(getError));
    reading.setSignalNames(names("Error"));
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
        m4().answer("getError", '(' + QByteArray::number(7 + i) + ",)");
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

void tst_Reading::valueArgument_data()
{
    QTest::addColumn<QString>("method");
    QTest::addColumn<QString>("signal");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("index");
    QTest::addColumn<QByteArray>("expected"); // empty: not used
    const struct
    {
        const char *name;
        const char *method;
        const char *signal;
        const char *body;
        int index;
        const char *expected;
    } rows[] = {
        { "int", "getError", "Error", "(-5,)", 0, "int -5" },
        { "bool", "printerLid", "M4PrinterLid", "(true,)", 0, "bool true" },
        { "false", "printerLid", "M4PrinterLid", "(false,)", 0, "bool false" },
        { "uint", "dac0", "M4Dac0", "(uint32 4294967295,)", 0, "uint 4294967295" },
        { "quint64", "ribbon1Verify", "M4RibbonVerify1", "(uint64 18446744073709551615,)", 0,
          "qulonglong 18446744073709551615" },
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
    for (const auto &row : rows) {
        QTest::newRow(row.name) << QString::fromLatin1(row.method)
                                << QString::fromLatin1(row.signal) << QByteArray(row.body)
                                << row.index << QByteArray(row.expected);
    }
}

void tst_Reading::valueArgument()
{
    QFETCH(QString, method);
    QFETCH(QString, signal);
    QFETCH(QByteArray, body);
    QFETCH(int, index);
    QFETCH(QByteArray, expected);
    const bool isM4 = !method.startsWith(QLatin1String("supply"));
    WirePeer &daemon = isM4 ? m4() : supplyd();
    daemon.hold(method.toLatin1());
    HNIPCReading reading;
    reading.setMethod(method);
    reading.setSignalNames(QStringList(signal));
    reading.setValueArgument(index);
    History history(&reading);
    const int held = daemon.held();
    QVERIFY(waitUntil([&]() { return daemon.held() == held + 1; }));
    const bool isOfSupplyd = signal.startsWith(QLatin1String("Supply"));
    QVERIFY(m_daemons->emitSignal(isOfSupplyd ? SUPPLYD : M4,
                                  (isOfSupplyd ? "SUPPLYD_" : "M4_") + signal.toLatin1(), body));
    QVERIFY(settle());
    QCOMPARE(history.take(), expected.isEmpty() ? Lines() : Lines() << "known " + expected);
    daemon.answer(method.toLatin1(), "()"); // of another type: the reads fail
    daemon.clearAnswers();
    QVERIFY(settle());
    QVERIFY(shown(reading).startsWith(expected.isEmpty() ? QByteArray("unknown DaemonError")
                                                         : "known " + expected + " DaemonError"));
}

void tst_Reading::valueOfTheSignalIsConfirmed()
{
    QScopedPointer<HNIPCReading> reading(newHeldReading());
    reading->setValueArgument(0);
    History history(reading.data());
    QVERIFY(isHeld(1));
    m4().answerHeld(0, "(1,)");
    VERIFY_SHOWS(*reading, "current int 1");
    QVERIFY(emitM4("M4_Alert", "(2,)"));
    VERIFY_SHOWS(*reading, "known int 2");
    QVERIFY(isHeld(2));
    QVERIFY(emitM4("M4_Alert", "(3,)")); // while the read is held
    VERIFY_SHOWS(*reading, "known int 3");
    m4().answerHeld(1, "(2,)");
    QVERIFY(isHeld(3));
    QVERIFY(settle());
    QCOMPARE(shown(*reading), QByteArray("known int 3"));
    m4().answerHeld(2, "(3,)");
    VERIFY_SHOWS(*reading, "current int 3");
    QCOMPARE(history.take(),
             Lines() << "current int 1"
                     << "known int 2"
                     << "known int 3"
                     << "current int 3");
    // The result of the read replaces the value of the signal.
    QVERIFY(emitM4("M4_Alert", "(4,)"));
    QVERIFY(isHeld(4));
    m4().answerHeld(3, "(5,)");
    VERIFY_SHOWS(*reading, "current int 5");
    QCOMPARE(history.take(),
             Lines() << "known int 4"
                     << "current int 5");
    QCOMPARE(takeCalls().size(), 4);
}

void tst_Reading::valueOfTheSignalStaysIfTheConfirmationFails()
{
    const QByteArray busy = " DaemonError org.hnipc.Error.Busy: no";
    m4().answerError("getError", "org.hnipc.Error.Busy", "no");
    HNIPCReading reading;
    reading.setCall(HNIPC_METHOD(getError));
    reading.setSignalNames(names("Error", "M4PrintDone"));
    reading.setValueArgument(0);
    History history(&reading);
    VERIFY_SHOWS(reading, "unknown" + busy);
    QVERIFY(emitM4("M4_Error", "(5,)"));
    VERIFY_SHOWS(reading, "known int 5" + busy);
    m4().answer("getError", "(6,)"); // the repetition
    VERIFY_SHOWS(reading, "current int 6");
    m4().answerError("getError", "org.hnipc.Error.Busy", "no");
    QVERIFY(emitM4("M4_Error", "(8,)"));
    VERIFY_SHOWS(reading, "known int 8" + busy);
    QCOMPARE(history.take(),
             Lines() << "unknown" + busy << "known int 5" + busy << "current int 6"
                     << "known int 8"
                     << "known int 8" + busy);

    // A signal that does not carry the value makes the value outdated.
    QVERIFY(emitM4("M4_M4PrintDone"));
    VERIFY_SHOWS(reading, "unknown" + busy);

    // A value that was read, and could not be read again, does not count as the value of a signal.
    m4().answer("getError", "(9,)");
    QVERIFY(emitM4("M4_Error", "(8,)"));
    VERIFY_SHOWS(reading, "current int 9");
    m4().answerError("getError", "org.hnipc.Error.Busy", "no");
    reading.read();
    VERIFY_SHOWS(reading, "unknown" + busy);

    // The value of a signal is not valid for the next process of the daemon either.
    QVERIFY(emitM4("M4_Error", "(8,)"));
    VERIFY_SHOWS(reading, "known int 8" + busy);
    history.take();
    m_daemons->stop(M4);
    m_daemons->start(M4);
    VERIFY_SHOWS(reading, "unknown" + busy);
    QCOMPARE(history.take(),
             Lines() << absent << "unknown"
                     << "unknown" + busy);
}

// Two readings of the same signal, each with another argument as its value. The other argument of
// the supply property's signal is only the name of its printer.
void tst_Reading::valueArgumentIsOfTheOneReading()
{
    HNIPCReading first;
    HNIPCReading second;
    HNIPCReading *const readings[] = { &first, &second };
    m4().hold("tph1Therm");
    for (int i = 0; i < 2; ++i) {
        readings[i]->setCall(HNIPC_METHOD(tph1Therm));
        readings[i]->setSignalNames(names("M4TphTherm"));
        readings[i]->setValueArgument(i);
    }
    QVERIFY(isHeld(2));
    QVERIFY(emitM4("M4_M4TphTherm", "(1, 80)"));
    VERIFY_SHOWS(first, "known int 1");
    VERIFY_SHOWS(second, "known int 80");
}

// ---- Failed reads --------------------------------------------------------------------------

void tst_Reading::failedReadIsRepeated_data()
{
    QTest::addColumn<QByteArray>("errorName");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("refused") << QByteArray("org.hnipc.Error.Busy") << QByteArray("the lid is open")
                             << QByteArray("unknown DaemonError org.hnipc.Error.Busy: "
                                           "the lid is open");
    QTest::newRow("no such method")
        << QByteArray("org.freedesktop.DBus.Error.UnknownMethod") << QByteArray("not yet")
        << QByteArray("unknown DaemonError org.freedesktop.DBus.Error.UnknownMethod: not yet");
    QTest::newRow("invalid arguments, says the daemon")
        << QByteArray("org.freedesktop.DBus.Error.InvalidArgs") << QByteArray("no")
        << QByteArray("unknown DaemonError org.freedesktop.DBus.Error.InvalidArgs: no");
    QTest::newRow("another type") << QByteArray() << QByteArray("('text',)")
                                  << QByteArray("unknown WrongType ");
}

void tst_Reading::failedReadIsRepeated()
{
    QFETCH(QByteArray, errorName);
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, expected);
    if (errorName.isEmpty()) {
        m4().answer("getError", body);
    } else {
        m4().answerError("getError", errorName, body);
    }
    HNIPCReading reading;
    reading.setCall(HNIPC_METHOD(getError));
    History history(&reading);
    QVERIFY(waitUntil([&]() { return reading.reason() != HNIPCRequest::NoReason; }));
    const QByteArray failed = shown(reading);
    QVERIFY2(errorName.isEmpty() ? failed.startsWith(expected) : failed == expected,
             failed.constData());
    // No signal is sent and no daemon restarts: the reading repeats the read by itself.
    QVERIFY(waitUntil([&]() { return m4().calls().size() >= 2; }));
    m4().answer("getError", "(8,)");
    VERIFY_SHOWS(reading, "current int 8");
    QCOMPARE(history.take(), Lines() << failed << "current int 8"); // the same failure is no change
    QVERIFY(takeCalls().size() >= 3);
}

void tst_Reading::repeatsBecomeRarer()
{
    m4().answerError("getError", "org.hnipc.Error.Busy", "no");
    m4().answerError("getAlert", "org.hnipc.Error.Busy", "no");
    HNIPCReading reading;
    reading.setCall(HNIPC_METHOD(getError));
    const auto calls = [this](const QByteArray &member) {
        const QList<WireMessage> all = m4().calls();
        return int(std::count_if(all.begin(), all.end(),
                                 [&](const WireMessage &call) { return call.member == member; }));
    };
    // Each of these takes as long as the first pause. They run one after the other.
    const int rounds = 8;
    for (int i = 1; i <= rounds; ++i) {
        HNIPCReading measure;
        measure.setCall(HNIPC_METHOD(getAlert));
        QVERIFY(waitUntil([&]() { return calls("getAlert") >= 2 * i; }));
    }
    const int repeated = calls("getError");
    QVERIFY2(repeated >= 3 && repeated < rounds, QByteArray::number(repeated).constData());
}

void tst_Reading::repeatsStartAgain_data()
{
    QTest::addColumn<QByteArray>("after");
    QTest::newRow("success") << QByteArray("success");
    QTest::newRow("restart") << QByteArray("restart");
    QTest::newRow("reconfigured") << QByteArray("reconfigured");
}

// The pauses become long. After that they are as short again as those of a new reading.
void tst_Reading::repeatsStartAgain()
{
    QFETCH(QByteArray, after);
    m4().answerError("getError", "org.hnipc.Error.Busy", "no");
    m4().answerError("getAlert", "org.hnipc.Error.Busy", "no");
    const auto calls = [this](const QByteArray &member) {
        const QList<WireMessage> all = m4().calls();
        return int(std::count_if(all.begin(), all.end(),
                                 [&](const WireMessage &call) { return call.member == member; }));
    };
    HNIPCReading reading;
    reading.setCall(HNIPC_METHOD(getError));
    reading.setSignalNames(names("Error"));
    QVERIFY(waitUntil([&]() { return calls("getError") >= 4; }));
    if (after == "success") {
        m4().answer("getError", "(7,)");
        QVERIFY(emitM4("M4_Error", "(1,)"));
        VERIFY_SHOWS(reading, "current int 7");
        m4().answerError("getError", "org.hnipc.Error.Busy", "no");
        m4().clearCalls();
        QVERIFY(emitM4("M4_Error", "(1,)"));
    } else if (after == "restart") {
        m_daemons->stop(M4);
        VERIFY_SHOWS(reading, absent);
        m4().clearCalls();
        m_daemons->start(M4);
    } else {
        m4().clearCalls();
        reading.setSignalNames(names("Alert"));
    }
    QVERIFY(waitUntil([&]() { return calls("getError") == 1; }));
    HNIPCReading measure;
    measure.setCall(HNIPC_METHOD(getAlert));
    QVERIFY(waitUntil([&]() { return calls("getError") == 2 || calls("getAlert") == 4; }));
    QCOMPARE(calls("getError"), 2);
}

// A daemon that still sends signals but does not reply. It gets no more calls than without signals.
void tst_Reading::signalsDoNotHideAFailure()
{
    m4().hold("getError");
    HNIPCReading reading;
    reading.setCall(HNIPC_METHOD(getError));
    reading.setSignalNames(names("Error"));
    reading.setDeadline(100);
    QVERIFY(isHeld(1));
    QVERIFY(waitUntil([&]() {
        return emitM4("M4_Error", "(8,)") && reading.reason() == HNIPCRequest::TimedOut;
    }));
    QVERIFY(!reading.isKnown());
    HNIPCReading measure; // without signals
    measure.setCall(HNIPC_METHOD(getError));
    measure.setDeadline(100);
    const int before = m4().held();
    QVERIFY(waitUntil([&]() { return emitM4("M4_Error", "(8,)") && m4().held() >= before + 4; }));
    QVERIFY2(m4().held() <= before + 5, QByteArray::number(m4().held() - before).constData());
}

void tst_Reading::readsOftenerThanReplies()
{
    m4().hold("getError");
    HNIPCReading reading;
    reading.setCall(HNIPC_METHOD(getError));
    for (int i = 0; i < 5; ++i) {
        QVERIFY(isHeld(i + 1));
        reading.read();
        reading.read();
        m4().answerHeld(i, '(' + QByteArray::number(i) + ",)");
        VERIFY_SHOWS(reading, "current int " + QByteArray::number(i));
    }
    QVERIFY(isHeld(6));
    m4().answerHeld(5, "(5,)");
    VERIFY_SHOWS(reading, "current int 5");
    QVERIFY(settle());
    QCOMPARE(m4().held(), 6);
}

void tst_Reading::receiverOfSetCallMayDestroyTheReading()
{
    const QPointer<HNIPCReading> reading = new HNIPCReading;
    Listener listener(reading, SIGNAL(methodChanged()), [&]() { delete reading.data(); });
    reading->setCall(HNIPC_METHOD(supplyMaterialName), QLatin1String("S"));
    QVERIFY(reading.isNull());
}

void tst_Reading::signalDoesNotWaitForTheRepeat()
{
    m4().answerError("getError", "org.hnipc.Error.Busy", "no");
    HNIPCReading reading;
    reading.setCall(HNIPC_METHOD(getError));
    reading.setSignalNames(names("Error"));
    QVERIFY(waitUntil([&]() { return reading.reason() == HNIPCRequest::DaemonError; }));
    m4().answer("getError", "(7,)");
    QVERIFY(emitM4("M4_Error", "(1,)"));
    VERIFY_SHOWS(reading, "current int 7");
    // The pending repetition has been replaced, too.
    takeCalls();
    m4().answerError("getAlert", "org.hnipc.Error.Busy", "no");
    {
        HNIPCReading measure;
        measure.setCall(HNIPC_METHOD(getAlert));
        QVERIFY(waitUntil([&]() { return m4().calls().size() >= 3; }));
    }
    QVERIFY(!takeCalls().contains("getError()"));

    m4().answerError("getError", "org.hnipc.Error.Busy", "no");
    for (int i = 0; i < 20; ++i) { // the pauses would add up to some minutes
        QVERIFY(emitM4("M4_Error", "(1,)"));
        QVERIFY(waitUntil([&]() { return reading.reason() == HNIPCRequest::DaemonError; }));
        QVERIFY(settle());
    }
    m4().answer("getError", "(8,)");
    QVERIFY(emitM4("M4_Error", "(1,)"));
    VERIFY_SHOWS(reading, "current int 8");
}

void tst_Reading::timedOutReadIsRepeated()
{
    m4().hold("getError");
    HNIPCReading reading;
    reading.setCall(HNIPC_METHOD(getError));
    reading.setDeadline(50);
    VERIFY_SHOWS(reading,
                 "unknown TimedOut org.freedesktop.DBus.Error.Timeout: "
                 "org.hnipc.m4 did not reply within 50 ms");
    QVERIFY(isHeld(2));
    m4().answer("getError", "(8,)");
    VERIFY_SHOWS(reading, "current int 8");
    // Late replies are ignored.
    History history(&reading);
    m4().answerHeld(0, "(1,)");
    m4().answerHeld(1, "(2,)");
    m4().sync();
    QVERIFY(settle());
    QCOMPARE(history.take(), Lines());
}

void tst_Reading::invalidDeadline()
{
    HNIPCReading reading;
    reading.setCall(HNIPC_METHOD(getError));
    reading.setDeadline(0);
    VERIFY_SHOWS(reading,
                 "unknown InvalidArguments org.freedesktop.DBus.Error.InvalidArgs: "
                 "the deadline has to be 1 ms or more, or -1, not 0");
    QCOMPARE(takeCalls(), Lines());
    reading.setDeadline(30 * 1000);
    VERIFY_SHOWS(reading, "current int 7");
    QCOMPARE(takeCalls().size(), 1);
}

void tst_Reading::whatCannotBeRead_data()
{
    QTest::addColumn<QString>("method");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QStringList>("signalNames");
    QTest::addColumn<QByteArray>("expected");
    const QString getError = QLatin1String("getError");
    QTest::newRow("unknown method")
        << QString::fromLatin1("getErrors") << QVariantList() << names("Error")
        << QByteArray("UnknownMethod org.freedesktop.DBus.Error.UnknownMethod: "
                      "the printer has no method \"getErrors\"");
    QTest::newRow("unknown signal")
        << getError << QVariantList() << names("Error", "M4_Error")
        << QByteArray("InvalidArguments org.freedesktop.DBus.Error.InvalidArgs: "
                      "the printer has no signal \"M4_Error\"");
    QTest::newRow("empty signal") << getError << QVariantList() << names("")
                                  << QByteArray(
                                         "InvalidArguments org.freedesktop.DBus.Error.InvalidArgs: "
                                         "the printer has no signal \"\"");
    QTest::newRow("too many arguments")
        << getError << (QVariantList() << 1) << names("Error")
        << QByteArray("InvalidArguments org.freedesktop.DBus.Error.InvalidArgs: "
                      "getError takes 0 arguments, not 1");
    QTest::newRow("missing argument")
        << QString::fromLatin1("supplyColorRGB") << QVariantList() << names("Error")
        << QByteArray("InvalidArguments org.freedesktop.DBus.Error.InvalidArgs: "
                      "supplyColorRGB takes 1 to 2 arguments, not 0");
    QTest::newRow("argument of another type")
        << QString::fromLatin1("supplyColorRGB") << (QVariantList() << 1) << names("Error")
        << QByteArray("InvalidArguments org.freedesktop.DBus.Error.InvalidArgs: "
                      "argument 1 (sku) of supplyColorRGB has to be QString, not 1");
}

void tst_Reading::whatCannotBeRead()
{
    QFETCH(QString, method);
    QFETCH(QVariantList, arguments);
    QFETCH(QStringList, signalNames);
    QFETCH(QByteArray, expected);
    supplyd().answer("supplyColorRGB", "(5,)");
    HNIPCReading reading;
    reading.setMethod(method);
    reading.setArguments(arguments);
    reading.setSignalNames(signalNames);
    reading.setValueArgument(0);
    History history(&reading);
    VERIFY_SHOWS(reading, "unknown " + expected);
    QCOMPARE(history.take(), Lines() << "unknown " + expected);

    // Nothing changes this state.
    QVERIFY(emitM4("M4_Error", "(5,)"));
    reading.read();
    m_daemons->stop(M4);
    m_daemons->stop(SUPPLYD);
    QVERIFY(emitM4("M4_Error", "(5,)"));
    QVERIFY(pass());
    m_daemons->start(SUPPLYD);
    m_daemons->start(M4);
    QCOMPARE(takeCalls(), Lines());
    QCOMPARE(history.take(), Lines());

    // Only a correction of the invalid properties does.
    reading.setMethod(QLatin1String("getError"));
    reading.setArguments(QVariantList());
    reading.setSignalNames(names("Error"));
    VERIFY_SHOWS(reading, "current int 7");
    QCOMPARE(takeCalls(), Lines() << "getError()");
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
    QTest::addColumn<int>("row");
    const QMetaObject &meta = HNIPC::staticMetaObject;
    QCOMPARE(meta.propertyCount() - meta.propertyOffset(), clientPropertyCount);
    for (int row = 0; row < clientPropertyCount; ++row) {
        QTest::newRow(clientProperties[row].name) << row;
    }
}

void tst_Reading::propertyOfTheClient()
{
    QFETCH(int, row);
    const ClientProperty &property = clientProperties[row];
    const QByteArray member = property.method;
    const QByteArray call = member + property.body;
    const QByteArray reply = QByteArray("(") + valuesOf(property).first + ",)";
    const QByteArray current = QByteArray("current ") + valuesOf(property).firstShown;
    WirePeer &daemon = (*m_daemons)[property.server];
    daemon.answer(member, reply);
    HNIPCReading reading;
    reading.setMethod(QString::fromLatin1(property.name));
    VERIFY_SHOWS(reading, current);
    QCOMPARE(takeCalls(), Lines() << call);

    daemon.clearAnswers();
    daemon.hold(member);
    History history(&reading);
    QVERIFY(m_daemons->emitSignal(property.server, property.member, signalBody(property)));
    QVERIFY(waitUntil([&]() { return daemon.held() == 1; }));
    QVERIFY(settle());
    QCOMPARE(history.take(),
             Lines() << QByteArray("known ")
                     + (saysTheValue(property) ? valuesOf(property).secondShown
                                               : valuesOf(property).firstShown));
    daemon.answerHeld(0, reply);
    VERIFY_SHOWS(reading, current);
    QCOMPARE(takeCalls(), Lines() << call);

    // The signals of all other properties have no influence.
    history.take();
    for (const ClientProperty &other : clientProperties) {
        if (&other != &property) {
            QVERIFY(m_daemons->emitSignal(other.server, other.member, signalBody(other)));
        }
    }
    QCOMPARE(takeCalls(), Lines());
    QCOMPARE(history.take(), Lines());
}

void tst_Reading::propertyOfTheClientWithOtherSignals()
{
    HNIPCReading reading;
    reading.setMethod(QLatin1String("qmlPrintEngineErrorCode"));
    reading.setSignalNames(names("Alert"));
    VERIFY_SHOWS(reading, "current int 7");
    takeCalls();
    History history(&reading);
    QVERIFY(emitM4("M4_Error", "(5,)"));
    QCOMPARE(takeCalls(), Lines());
    m4().answer("getError", "(8,)");
    QVERIFY(emitM4("M4_Alert", "(5,)"));
    VERIFY_SHOWS(reading, "current int 8");
    QCOMPARE(history.take(),
             Lines() << "known int 7"
                     << "current int 8");
    reading.setValueArgument(0);
    VERIFY_SHOWS(reading, "current int 8");
    history.take();
    QVERIFY(emitM4("M4_Alert", "(5,)"));
    QVERIFY(settle());
    QCOMPARE(history.take(),
             Lines() << "known int 5"
                     << "current int 8");
}

void tst_Reading::propertyOfTheClientWithArguments()
{
    supplyd().answer("supplySKUCached", "('S-300',)");
    HNIPCReading reading;
    reading.setMethod(QLatin1String("qmlSupplySKU"));
    reading.setArguments(QVariantList() << QLatin1String("left"));
    VERIFY_SHOWS(reading, "current QString S-300");
    QCOMPARE(takeCalls(), Lines() << "supplySKUCached('left',)");
}

// ---- Calls and values ----------------------------------------------------------------------

void tst_Reading::setCall()
{
    supplyd().answer("supplyRibbonHeat", "(5,)");
    HNIPCReading reading;
    SignalRecorder recorder(&reading);
    reading.setCall(HNIPC_METHOD(supplyRibbonHeat), QLatin1String("R"), 2,
                    QString::fromLatin1("S"));
    QCOMPARE(reading.method(), QString::fromLatin1("supplyRibbonHeat"));
    QCOMPARE(reading.arguments(),
             QVariantList() << QString::fromLatin1("R") << 2 << QString::fromLatin1("S"));
    QCOMPARE(recorder.take(),
             Lines() << emission("methodChanged()") << emission("argumentsChanged()"));
    VERIFY_SHOWS(reading, "current int 5");
    QCOMPARE(takeCalls(), Lines() << "supplyRibbonHeat('R', 2, 'S')");
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
    m_daemons->stop(M4);
    VERIFY_SHOWS(reading, absent);
    QCOMPARE(reading.valueOr(-1), -1);

    QList<QByteArray> fields = tellingFields();
    supplyd().answer("supplyInformation", wireStructure({ wireStructure(fields) }));
    reading.setCall(HNIPC_METHOD(supplyInformation));
    QVERIFY(waitUntil([&]() { return reading.isCurrent(); }));
    QCOMPARE(difference(reading.valueOr(SupplyInformation()), tellingRecord()), QByteArray());
    QCOMPARE(reading.valueOr(5), 5);
}

void tst_Reading::everyMethod_data()
{
    QTest::addColumn<int>("row");
    for (int row = 0; row < int(sizeof clientSlots / sizeof clientSlots[0]); ++row) {
        if (*clientSlots[row].result) {
            QTest::newRow(clientSlots[row].signature) << row;
        }
    }
}

void tst_Reading::everyMethod()
{
    QFETCH(int, row);
    const ClientSlot &slot = clientSlots[row];
    const QByteArray signature = slot.signature;
    const QByteArray member = signature.left(signature.indexOf('('));
    const QList<Sample> arguments = argumentSamples(signature, 1);
    const QList<Sample> results = samplesOf(slot.result);
    WirePeer &daemon = (*m_daemons)[slot.server];
    for (const Sample &result : results) {
        daemon.answer(member, wireStructure({ result.wire }));
        HNIPCReading reading;
        reading.setMethod(QString::fromLatin1(member));
        reading.setArguments(values(arguments));
        QVERIFY(waitUntil([&]() { return reading.isKnown(); }));
        QVERIFY(reading.isCurrent());
        QVERIFY(same(reading.value(), result.value));
        QCOMPARE(takeCalls(),
                 Lines() << member
                         + wireBody(arguments,
                                    slot.added ? QList<QByteArray>() << slot.added
                                               : QList<QByteArray>()));
    }
}

void tst_Reading::largeValues()
{
    const QByteArray text(1024 * 1024, 'x');
    m4().answer("m4Version", "('" + text + "',)");
    QByteArray list = "([";
    for (int i = 0; i < 10000; ++i) {
        list += (i ? ", '" : "'") + QByteArray::number(i) + '\'';
    }
    supplyd().answer("supplySKUList", list + "],)");
    HNIPCReading version;
    version.setCall(HNIPC_METHOD(m4Version));
    version.setSignalNames(names("M4Version"));
    version.setValueArgument(0);
    HNIPCReading skus;
    skus.setCall(HNIPC_METHOD(supplySKUList));
    QVERIFY(waitUntil([&]() { return version.isKnown() && skus.isKnown(); }));
    QVERIFY(version.valueOr(QString()) == QString::fromLatin1(text));
    const QStringList found = skus.valueOr(QStringList());
    QCOMPARE(int(found.size()), 10000);
    for (int i = 0; i < 10000; ++i) {
        QCOMPARE(found.at(i), QString::number(i));
    }
    m4().hold("m4Version");
    QVERIFY(emitM4("M4_M4Version", "('" + QByteArray(text).replace('x', 'y') + "',)"));
    QVERIFY(isHeld(1));
    QVERIFY(settle());
    QVERIFY(version.valueOr(QString()) == QString::fromLatin1(QByteArray(text).replace('x', 'y')));
    QVERIFY(!version.isCurrent());
}

// ---- Changes of the properties -------------------------------------------------------------

void tst_Reading::reconfigured_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QByteArray>("expected"); // the call
    QTest::newRow("method") << QByteArray("method") << QVariant(QLatin1String("supplyColorName"))
                            << QByteArray("supplyColorName('one', '')");
    QTest::newRow("arguments") << QByteArray("parameters")
                               << QVariant(QVariantList() << QLatin1String("two"))
                               << QByteArray("supplyMaterialName('two', '')");
    QTest::newRow("signals") << QByteArray("signals") << QVariant(names("RibbonChanged"))
                             << QByteArray("supplyMaterialName('one', '')");
    QTest::newRow("no signals") << QByteArray("signals") << QVariant(QStringList())
                                << QByteArray("supplyMaterialName('one', '')");
    QTest::newRow("value argument") << QByteArray("valueArgument") << QVariant(1)
                                    << QByteArray("supplyMaterialName('one', '')");
}

void tst_Reading::reconfigured()
{
    QFETCH(QByteArray, name);
    QFETCH(QVariant, value);
    QFETCH(QByteArray, expected);
    const QByteArray call = "supplyMaterialName('one', '')";
    supplyd().hold("supplyMaterialName");
    supplyd().hold("supplyColorName");
    HNIPCReading reading;
    reading.setCall(HNIPC_METHOD(supplyMaterialName), QLatin1String("one"));
    reading.setSignalNames(names("SupplyChanged"));
    reading.setValueArgument(0);
    History history(&reading);
    QVERIFY(waitUntil([&]() { return supplyd().held() == 1; }));
    supplyd().answerHeld(0, "('first',)");
    VERIFY_SHOWS(reading, "current QString first");
    QVERIFY(m_daemons->emitSignal(SUPPLYD, "SUPPLYD_SupplyChanged", "('second', '')"));
    VERIFY_SHOWS(reading, "known QString second");
    QVERIFY(waitUntil([&]() { return supplyd().held() == 2; }));
    QCOMPARE(takeCalls(), Lines() << call << call);
    history.take();

    // The value is unknown before any receiver is notified of the change.
    QByteArray atTheChange;
    const QMetaProperty property = reading.metaObject()->property(
        reading.metaObject()->indexOfProperty(name.constData()));
#if QT_VERSION < QT_VERSION_CHECK(5, 0, 0)
    const QByteArray signal = property.notifySignal().signature();
#else
    const QByteArray signal = property.notifySignal().methodSignature();
#endif
    Listener listener(&reading, ('2' + signal).constData(),
                      [&]() { atTheChange = shown(reading); });
    QVERIFY(reading.setProperty(name.constData(), value));
    QCOMPARE(atTheChange, QByteArray("unknown"));
    QCOMPARE(shown(reading), QByteArray("unknown"));
    QCOMPARE(history.take(), Lines() << "unknown");

    // The old signals and the old reply do not count for the new configuration.
    QVERIFY(waitUntil([&]() { return supplyd().held() == 3; }));
    supplyd().answerHeld(1, "('old',)");
    supplyd().sync();
    QVERIFY(settle());
    QCOMPARE(shown(reading), QByteArray("unknown"));
    supplyd().answerHeld(2, "('new',)");
    VERIFY_SHOWS(reading, "current QString new");
    QCOMPARE(history.take(), Lines() << "current QString new");
    QCOMPARE(takeCalls(), Lines() << expected);

    QVERIFY(m_daemons->emitSignal(SUPPLYD, "SUPPLYD_SupplyChanged", "('third', 'printer')"));
    QVERIFY(settle());
    const QByteArray shows = name == "signals" ? "current QString new"
        : name == "valueArgument"              ? "known QString printer"
                                               : "known QString third";
    QCOMPARE(shown(reading), shows);
}

void tst_Reading::manyChangesCostOneRead()
{
    HNIPCReading reading;
    reading.setCall(HNIPC_METHOD(getError));
    VERIFY_SHOWS(reading, "current int 7");
    QCOMPARE(takeCalls(), Lines() << "getError()");
    History history(&reading);
    for (int i = 0; i < 100; ++i) {
        reading.setCall(HNIPC_METHOD(getBatteryStatus));
        reading.setSignalNames(names("Alert"));
        reading.setValueArgument(i);
        reading.read();
        reading.setSignalNames(names("Error"));
        reading.setCall(HNIPC_METHOD(getError));
    }
    VERIFY_SHOWS(reading, "current int 7");
    QCOMPARE(takeCalls(), Lines() << "getError()");
    QCOMPARE(history.take(),
             Lines() << "unknown"
                     << "current int 7");
    // One subscription is left.
    reading.setValueArgument(-1);
    VERIFY_SHOWS(reading, "current int 7");
    takeCalls();
    QVERIFY(emitM4("M4_Error", "(1,)"));
    QCOMPARE(takeCalls(), Lines() << "getError()");
    QVERIFY(emitM4("M4_Alert", "(1,)"));
    QCOMPARE(takeCalls(), Lines());
}

void tst_Reading::deadlineIsOfTheNextRead()
{
    QScopedPointer<HNIPCReading> reading(newHeldReading());
    QVERIFY(isHeld(1));
    reading->setDeadline(50); // neither ends the current read nor starts another
    QVERIFY(settle());
    QVERIFY(emitM4("M4_Alert", "(1,)"));
    QVERIFY(settle());
    m4().answerHeld(0, "(1,)");
    VERIFY_SHOWS(*reading,
                 "unknown TimedOut org.freedesktop.DBus.Error.Timeout: "
                 "org.hnipc.m4 did not reply within 50 ms");
    reading->setDeadline(-1);
    QVERIFY(isHeld(3)); // the repeated read has the new deadline
    QVERIFY(waitUntil([&]() { return reading->deadline() == -1; }));
    m4().answerHeld(2, "(2,)");
    VERIFY_SHOWS(*reading, "current int 2");
}

void tst_Reading::withoutAMethodAgain()
{
    HNIPCReading reading;
    reading.setCall(HNIPC_METHOD(getError));
    reading.setSignalNames(names("Error"));
    VERIFY_SHOWS(reading, "current int 7");
    History history(&reading);
    reading.setMethod(QString());
    QCOMPARE(history.take(), Lines() << "unknown");
    takeCalls();
    QVERIFY(emitM4("M4_Error", "(1,)"));
    reading.read();
    m_daemons->stop(M4);
    m_daemons->start(M4);
    QCOMPARE(takeCalls(), Lines());
    QCOMPARE(history.take(), Lines());
    reading.setMethod(QLatin1String("getError"));
    VERIFY_SHOWS(reading, "current int 7");
}

// ---- The object ----------------------------------------------------------------------------

void tst_Reading::changedOnlyIfSomethingChanged()
{
    HNIPCReading reading;
    reading.setCall(HNIPC_METHOD(getError));
    reading.setSignalNames(names("Error"));
    reading.setValueArgument(0);
    History history(&reading);
    VERIFY_SHOWS(reading, "current int 7");
    reading.read();
    QCOMPARE(takeCalls().size(), 2);
    QCOMPARE(history.take(), Lines() << "current int 7");

    // A second signal with the same value while the first is being confirmed.
    m4().hold("getError");
    QVERIFY(emitM4("M4_Error", "(7,)"));
    QVERIFY(emitM4("M4_Error", "(7,)"));
    QVERIFY(settle());
    QCOMPARE(history.take(), Lines() << "known int 7");
    QVERIFY(isHeld(1));
    m4().answer("getError", "(7,)");
    m4().answerHeld(0, "(7,)");
    VERIFY_SHOWS(reading, "current int 7");
    QCOMPARE(history.take(), Lines() << "current int 7");

    // The same number in another type.
    m4().answer("dac0", "(uint32 7,)");
    reading.setCall(HNIPC_METHOD(dac0));
    VERIFY_SHOWS(reading, "current uint 7");
    QCOMPARE(history.take(),
             Lines() << "unknown"
                     << "current uint 7");

    // The same failure with another name, message, or reason.
    history.take();
    m4().answerError("dac0", "org.hnipc.Error.Busy", "no");
    reading.read();
    VERIFY_SHOWS(reading, "unknown DaemonError org.hnipc.Error.Busy: no");
    m4().answerError("dac0", "org.hnipc.Error.Busy", "never");
    reading.read();
    VERIFY_SHOWS(reading, "unknown DaemonError org.hnipc.Error.Busy: never");
    m4().answerError("dac0", "org.hnipc.Error.Gone", "never");
    reading.read();
    VERIFY_SHOWS(reading, "unknown DaemonError org.hnipc.Error.Gone: never");
    QCOMPARE(int(history.take().size()), 3);
    reading.read();
    QVERIFY(settle());
    QCOMPARE(history.take(), Lines());

    // The daemon replies with the same name and message as the library.
    const QByteArray name = "org.freedesktop.DBus.Error.Timeout";
    const QByteArray text = "org.hnipc.m4 did not reply within 50 ms";
    m4().hold("dac0");
    reading.setDeadline(50);
    reading.read();
    VERIFY_SHOWS(reading, "unknown TimedOut " + name + ": " + text);
    m4().answerError("dac0", name, text);
    VERIFY_SHOWS(reading, "unknown DaemonError " + name + ": " + text);
    QCOMPARE(int(history.take().size()), 2);

    // A method that returns nothing has no value.
    WirePeer &ioexpd = (*m_daemons)[IOEXPD];
    ioexpd.answer("enableBacklight", "()");
    HNIPCReading nothing;
    nothing.setCall(HNIPC_METHOD(enableBacklight), true);
    nothing.setSignalNames(names("Error"));
    VERIFY_SHOWS(nothing, "current");
    ioexpd.hold("enableBacklight");
    QVERIFY(emitM4("M4_Error", "(7,)"));
    VERIFY_SHOWS(nothing, "known");
    History nothingHistory(&nothing);
    nothing.setSignalNames(QStringList());
    QCOMPARE(nothingHistory.take(), Lines() << "unknown");
    nothing.setMethod(QString());
    QVERIFY(pass());
    ioexpd.clearAnswers();
    ioexpd.answer("printerSoftCancel", "()");
}

void tst_Reading::destroyedInASignal_data()
{
    QTest::addColumn<QByteArray>("signal");
    QTest::addColumn<int>("occurrence");
    QTest::newRow("method") << QByteArray(SIGNAL(methodChanged())) << 1;
    QTest::newRow("arguments") << QByteArray(SIGNAL(argumentsChanged())) << 1;
    QTest::newRow("signals") << QByteArray(SIGNAL(signalNamesChanged())) << 1;
    QTest::newRow("valueArgument") << QByteArray(SIGNAL(valueArgumentChanged())) << 1;
    QTest::newRow("deadline") << QByteArray(SIGNAL(deadlineChanged())) << 1;
    const char *const changes[] = { "unknown method", "read",   "signal",  "confirmed",
                                    "failed",         "absent", "present", "reconfigured" };
    for (int i = 0; i < 8; ++i) {
        QTest::newRow(changes[i]) << QByteArray(SIGNAL(changed())) << i + 1;
    }
}

void tst_Reading::destroyedInASignal()
{
    QFETCH(QByteArray, signal);
    QFETCH(int, occurrence);
    const QPointer<HNIPCReading> reading = new HNIPCReading;
    int occurred = 0;
    Listener listener(reading, signal.constData(), [&]() {
        if (++occurred == occurrence) {
            delete reading.data();
        }
    });
    // clang-format off
    const std::function<bool()> steps[] = {
        [&]() { reading->setMethod(QLatin1String("nothing")); return settle(); },
        [&]() {
            reading->setMethod(QLatin1String("getError")); // emits one of the changed() signals
            return settle();
        },
        [&]() {
            if (signal == SIGNAL(argumentsChanged())) {
                reading->setArguments(QVariantList() << 5);
            }
            return true;
        },
        [&]() { reading->setSignalNames(names("Error")); return true; },
        [&]() { reading->setValueArgument(0); return true; },
        [&]() { reading->setDeadline(20 * 1000); return true; },
        [&]() { return settle(); },
        [&]() { return emitM4("M4_Error", "(8,)") && settle(); },
        [&]() {
            m4().answerError("getError", "org.hnipc.Error.Busy", "no");
            reading->read();
            return settle();
        },
        [&]() { m_daemons->stop(M4); return pass(); },
        [&]() { m_daemons->start(M4); return settle(); },
        [&]() { reading->setMethod(QString()); return settle(); },
    };
    // clang-format on
    for (const std::function<bool()> &step : steps) {
        if (reading) {
            QVERIFY(step());
        }
    }
    QVERIFY(reading.isNull());
    QCOMPARE(occurred, occurrence);
    QVERIFY(settle());
}

void tst_Reading::destroyedAtAnyTime()
{
    const QStringList error = names("Error");
    for (int i = 0; i < 200; ++i) {
        QObject parent;
        HNIPCReading *const reading = new HNIPCReading(i % 2 ? &parent : nullptr);
        reading->setCall(HNIPC_METHOD(getError));
        reading->setSignalNames(error);
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
    HNIPCReading reading;
    reading.setCall(HNIPC_METHOD(getBatteryStatus));
    reading.setSignalNames(names("Error"));
    m4().answer("getBatteryStatus", "(1,)");
    VERIFY_SHOWS(reading, "current int 1");
    bool isNested = false;
    QByteArray within;
    // The slot runs an event loop, as a dialog does.
    Listener listener(&reading, signal.constData(), [&]() {
        if (isNested) {
            return;
        }
        isNested = true;
        within = awaited(reading, "current int 7");
        m4().answer("getError", "(8,)");
        emitM4("M4_Error", "(1,)");
        within += ", " + awaited(reading, "current int 8");
        m_daemons->stop(M4);
        within += ", " + awaited(reading, absent);
        m4().answer("getError", "(9,)");
        m_daemons->start(M4);
        within += ", " + awaited(reading, "current int 9");
    });
    reading.setMethod(QLatin1String("getError"));
    QCOMPARE(within, QByteArray("current int 7, current int 8, ") + absent + ", current int 9");
    QVERIFY(settle());
    QCOMPARE(shown(reading), QByteArray("current int 9"));

    // The same in the slot for a read and in that for a signal.
    isNested = false;
    m4().answer("getError", "(7,)");
    reading.read();
    QVERIFY(waitUntil([&]() { return within.endsWith("current int 9"); }));
    VERIFY_SHOWS(reading, "current int 9");
}

void tst_Reading::reconfiguredInChanged()
{
    m4().answer("getBatteryStatus", "(1,)");
    HNIPCReading reading;
    reading.setCall(HNIPC_METHOD(getBatteryStatus));
    Listener listener(&reading, SIGNAL(changed()), [&]() {
        if (reading.isKnown()) {
            reading.setMethod(QLatin1String("getError"));
        }
    });
    QVERIFY(waitUntil([&]() { return reading.method() == QLatin1String("getError"); }));
    VERIFY_SHOWS(reading, "current int 7");
    QCOMPARE(takeCalls(),
             Lines() << "getBatteryStatus()"
                     << "getError()");
}

void tst_Reading::severalOfTheSameMethod()
{
    const int count = 10;
    std::vector<std::unique_ptr<HNIPCReading>> readings;
    for (int i = 0; i < count; ++i) {
        readings.emplace_back(newHeldReading());
        readings.back()->setValueArgument(i % 2 ? 0 : -1);
    }
    QVERIFY(isHeld(count));
    for (int i = 0; i < count; ++i) {
        m4().answerHeld(i, '(' + QByteArray::number(i) + ",)");
    }
    for (int i = 0; i < count; ++i) {
        VERIFY_SHOWS(*readings[i], "current int " + QByteArray::number(i));
    }
    QVERIFY(emitM4("M4_Alert", "(100,)"));
    QVERIFY(isHeld(2 * count));
    QVERIFY(settle());
    for (int i = 0; i < count; ++i) {
        QCOMPARE(shown(*readings[i]),
                 i % 2 ? QByteArray("known int 100") : "known int " + QByteArray::number(i));
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
    const char *const rows[] = { "before it starts", "under way", "known", "pause" };
    for (const char *const row : rows) {
        QTest::newRow(row) << QByteArray(row);
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
    HNIPCReading *const reading = newHeldReading();
    if (when == "under way") {
        QVERIFY(isHeld(1));
    } else if (when == "known") {
        m4().answer("getAlert", "(1,)");
        VERIFY_SHOWS(*reading, "current int 1");
        m4().hold("getAlert");
        QVERIFY(emitM4("M4_Alert", "(1,)"));
    } else if (when == "pause") {
        m4().answerError("getAlert", "org.hnipc.Error.Busy", "no");
        VERIFY_SHOWS(*reading, "unknown DaemonError org.hnipc.Error.Busy: no");
        m4().hold("getAlert");
    }
    reading->moveToThread(&worker);
    lock.unlock();
    QVERIFY(isHeld(1));
    m4().answerHeld(0, "(2,)");
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
    m_daemons->stop(M4);
    QVERIFY2(becomes(absent), found.constData());
    m_daemons->start(M4);
    QVERIFY2(becomes("current int 3"), found.constData());
    QThread *const here = QThread::currentThread();
    worker.run([&]() { reading->moveToThread(here); });
    m4().answer("getAlert", "(4,)");
    QVERIFY(emitM4("M4_Error", "(1,)"));
    VERIFY_SHOWS(*reading, "current int 4");
    delete reading;
}

void tst_Reading::threadMayEnd_data()
{
    QTest::addColumn<bool>("turns");
    QTest::newRow("at once") << false;
    QTest::newRow("with a value") << true;
}

void tst_Reading::threadMayEnd()
{
    QFETCH(bool, turns);
    HNIPCReading other;
    other.setCall(HNIPC_METHOD(getError));
    other.setSignalNames(names("Error"));
    for (int i = 0; i < 50; ++i) {
        HastyThread thread(turns);
        thread.start();
        QVERIFY(waitUntil([&]() { return thread.isFinished(); }));
        std::thread([]() { // a thread that Qt did not start
            HNIPCReading reading;
            reading.setCall(HNIPC_METHOD(getError));
        })
            .join();
    }
    m4().answer("getError", "(8,)");
    takeCalls();
    QVERIFY(emitM4("M4_Error", "(1,)"));
    VERIFY_SHOWS(other, "current int 8");
    QCOMPARE(takeCalls(), Lines() << "getError()");
}

void tst_Reading::haltedBusBlocksNobody()
{
    HNIPCReading known;
    known.setCall(HNIPC_METHOD(getError));
#if QT_VERSION < QT_VERSION_CHECK(5, 0, 0)
    // This thread makes the first subscription of the program, and Qt calls the bus meanwhile.
    known.setSignalNames(names("Alert"));
#endif
    VERIFY_SHOWS(known, "current int 7");
    HaltedBus bus;
    {
        HNIPCReading deleted;
        deleted.setCall(HNIPC_METHOD(getError));
        deleted.setSignalNames(names("Error"));
        QCoreApplication::processEvents();
    }
    HNIPCReading reading;
    reading.setCall(HNIPC_METHOD(getBatteryStatus));
    reading.setSignalNames(names("Error", "SupplyChanged"));
    known.setDeadline(50);
    known.read();
    QVERIFY(waitUntil([&]() { return !known.isKnown(); }));
    QCOMPARE(int(known.reason()), int(HNIPCRequest::TimedOut));
    QCOMPARE(shown(reading), QByteArray("unknown"));
    reading.setCall(HNIPC_METHOD(getError));
    QVERIFY(bus.resume());
    known.setDeadline(-1);
    VERIFY_SHOWS(reading, "current int 7");
    VERIFY_SHOWS(known, "current int 7");
}

HNIPC_TEST_MAIN(tst_Reading)

#include "tst_reading.moc"
