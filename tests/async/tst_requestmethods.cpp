// SPDX-License-Identifier: MIT
#include "asyncdaemons.h"
#include "expected/clientslots.h"
#include "expected/samples.h"
#include "requests.h"
#include "support/listener.h"
#include "support/privatebus.h"
#include "support/qtmajors.h"

#include <hnipc/hnipc.h>
#include <hnipc/hnipcrequest.h>

#include <QtCore/QPointer>
#include <QtCore/QScopedPointer>
#include <QtDBus/QDBusConnection>

#include <limits>

using namespace Expected;

namespace {

const int rounds = 6;

const char intRange[] = "int (-2147483648 to 2147483647)";
const char uintRange[] = "quint32 (0 to 4294967295)";
const char ulonglongRange[] = "quint64 (0 to 18446744073709551615)";

QByteArray nameOf(const ClientSlot &slot)
{
    const QByteArray signature = slot.signature;
    return signature.left(signature.indexOf('('));
}

QString text(const char *latin1) { return QString::fromLatin1(latin1); }

QVariantList list(const QVariant &a) { return QVariantList() << a; }

QVariantList list(const QVariant &a, const QVariant &b) { return QVariantList() << a << b; }

QVariantList list(const QVariant &a, const QVariant &b, const QVariant &c)
{
    return QVariantList() << a << b << c;
}

// A list as one argument, not as the list of arguments.
QVariant oneValue(const QVariantList &values) { return QVariant(values); }

void addRows()
{
    QTest::addColumn<int>("row");
    for (int row = 0; row < clientSlotCount; ++row) {
        QTest::newRow(clientSlots[row].signature) << row;
    }
}

} // namespace

// A request's method and its arguments as they cross the bus, and the value of the reply.
class tst_RequestMethods : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void everyMethodIsCalledByItsName_data();
    void everyMethodIsCalledByItsName();
    void theBlockingCallSendsTheSame_data();
    void theBlockingCallSendsTheSame();
    void argumentFits_data();
    void argumentFits();
    void argumentDoesNotFit_data();
    void argumentDoesNotFit();
    void numberOfArgumentsDoesNotFit_data();
    void numberOfArgumentsDoesNotFit();
    void thereIsNoSuchMethod_data();
    void thereIsNoSuchMethod();
    void otherArgumentReplacesAnEqualOne();
    void typedCallHasTheDeclaredTypes();
    void typedOverloadIsNamedByItsType();
    void numberOutOfRangeIsRefused_data();
    void numberOutOfRangeIsRefused();
    void missingArgumentIsRefused();
    void receiverOfSetCallMayDestroyTheRequest();
    void answerHasTheTypeOfTheMethod();
    void answerOfAnotherTypeIsNone();
    void commandIsDoneUnlessItsAnswerIsFalse();
    void singleCallDeletesItself();
    void singleCallCallsAFunction();
    void answerIsOfTheDeclaredTypeOrUnknown_data();
    void answerIsOfTheDeclaredTypeOrUnknown();
    void methodWithoutAnswerTakesAny();
    void firstOfSeveralAnswersCounts();
    void recordMayHaveAnyNumberOfFields_data();
    void recordMayHaveAnyNumberOfFields();

private:
    WirePeer &daemon(const ClientSlot &slot) { return (*m_daemons)[slot.server]; }

    // All messages that this process has sent since the previous call of this function.
    QList<WireMessage> takeSent()
    {
        const QByteArray self = QDBusConnection::systemBus().baseService().toLatin1();
        makeRoundTrip();
        QList<WireMessage> result;
        const QList<WireMessage> all = m_monitor->take();
        for (const WireMessage &message : all) {
            if (message.sender == self && message.member != "GetId") {
                result.append(message);
            }
        }
        return result;
    }

    // The only message that this process has sent since then.
    QByteArray onlyMessage()
    {
        const QList<WireMessage> sent = takeSent();
        return sent.size() == 1 ? sent.first().line()
                                : QByteArray::number(int(sent.size())) + " messages";
    }

    QByteArray outcomeOfCalling(const char *method, const QVariantList &arguments)
    {
        HNIPCRequest request;
        request.setMethod(text(method));
        request.setArguments(arguments);
        return outcomeOfSending(request);
    }

    QScopedPointer<AsyncDaemons> m_daemons;
    QScopedPointer<WireMonitor> m_monitor;
};

void tst_RequestMethods::initTestCase()
{
    m_daemons.reset(new AsyncDaemons);
    m_monitor.reset(new WireMonitor);
    // The first request of a process also subscribes to the loss of the bus.
    outcomeOfCalling("getError", QVariantList());
}

void tst_RequestMethods::cleanupTestCase()
{
    m_monitor.reset();
    m_daemons.reset();
}

void tst_RequestMethods::init()
{
    for (int server = 0; server < ServerCount; ++server) {
        (*m_daemons)[server].clearAnswers();
    }
    m_daemons->takeCalls();
    makeRoundTrip();
    m_monitor->clear();
}

void tst_RequestMethods::everyMethodIsCalledByItsName_data() { addRows(); }

void tst_RequestMethods::everyMethodIsCalledByItsName()
{
    QFETCH(int, row);
    const ClientSlot &slot = clientSlots[row];
    const QByteArray result = slot.result;
    HNIPCRequest request;
    request.setMethod(QString::fromLatin1(nameOf(slot)));
    QList<QByteArray> added;
    if (slot.added) {
        added.append(slot.added);
    }
    for (int round = 0; round < rounds; ++round) {
        QByteArray reply = "()";
        QVariant answer;
        if (!result.isEmpty()) {
            const QList<Sample> samples = samplesOf(result);
            const Sample sample = samples.at(round % samples.size());
            reply = '(' + sample.wire + ",)";
            answer = sample.value;
        }
        daemon(slot).answer(nameOf(slot), reply);
        const QList<Sample> arguments = argumentSamples(slot.signature, round);
        request.setArguments(values(arguments));
        QCOMPARE(outcomeOfSending(request), QByteArray("Answered"));
        QVERIFY2(same(request.value(), answer), reply.constData());

        const QList<WireMessage> sent = takeSent();
        QCOMPARE(sent.size(), 1);
        const WireMessage &call = sent.first();
        QCOMPARE(int(call.type), int(WireMessage::MethodCall));
        QCOMPARE(call.line(),
                 QByteArray("/ ") + identities[slot.server].interface + '.' + nameOf(slot) + ' '
                     + slot.in + ' ' + wireBody(arguments, added));
        QCOMPARE(call.destination, QByteArray(identities[slot.server].busName));
        QVERIFY(call.replyExpected);
        QVERIFY(!call.autoStart);
    }
}

void tst_RequestMethods::theBlockingCallSendsTheSame_data() { addRows(); }

void tst_RequestMethods::theBlockingCallSendsTheSame()
{
    QFETCH(int, row);
    const ClientSlot &slot = clientSlots[row];
    const QVariantList arguments = values(argumentSamples(slot.signature, 1));
    HNIPC client(0);
    slot.call.invoke(client, arguments);
    HNIPCRequest request;
    request.setMethod(QString::fromLatin1(nameOf(slot)));
    request.setArguments(arguments);
    // The bus replies to neither.
    QCOMPARE(outcomeOfSending(request),
             QByteArray("Refused org.freedesktop.DBus.Error.UnknownMethod: no such method"));

    const QList<WireMessage> calls = m_daemons->takeCalls();
    QCOMPARE(calls.size(), 2);
    QCOMPARE(calls.at(1).line(), calls.at(0).line());
    QCOMPARE(calls.at(1).destination, calls.at(0).destination);
}

void tst_RequestMethods::argumentFits_data()
{
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QByteArray>("sent");

    const struct
    {
        const char *name;
        QVariant number;
        const char *sent;
    } ints[] = {
        { "lowest", -2147483647 - 1, "-2147483648" },
        { "lowest, long long", -2147483648LL, "-2147483648" },
        { "lowest, double", -2147483648.0, "-2147483648" },
        { "highest", 2147483647, "2147483647" },
        { "highest, long long", 2147483647LL, "2147483647" },
        { "highest, unsigned", 2147483647u, "2147483647" },
        { "highest, unsigned long long", 2147483647ULL, "2147483647" },
        { "highest, double", 2147483647.0, "2147483647" },
        { "short", QVariant::fromValue(short(-5)), "-5" },
        { "unsigned short", QVariant::fromValue(static_cast<unsigned short>(65535)), "65535" },
        { "long", QVariant::fromValue(-5L), "-5" },
        { "unsigned long", QVariant::fromValue(5UL), "5" },
        { "float", QVariant::fromValue(-7.0f), "-7" },
        { "double", 3.0, "3" },
        { "negative zero", -0.0, "0" },
    };
    for (const auto &row : ints) {
        QTest::newRow((QByteArray("int: ") + row.name).constData())
            << QByteArray("setSupplySensor") << list(row.number)
            << "/ local.IHNIPCM4.setSupplySensor i (" + QByteArray(row.sent) + ",)";
    }

    const struct
    {
        const char *name;
        QVariant number;
        const char *sent;
    } uints[] = {
        { "lowest", 0, "0" },
        { "highest", 4294967295u, "4294967295" },
        { "highest, long long", 4294967295LL, "4294967295" },
        { "highest, unsigned long long", 4294967295ULL, "4294967295" },
        { "highest, double", 4294967295.0, "4294967295" },
        { "above int", 2147483648.0, "2147483648" },
        { "float", QVariant::fromValue(16777216.0f), "16777216" },
        { "negative zero", -0.0, "0" },
    };
    for (const auto &row : uints) {
        QTest::newRow((QByteArray("quint32: ") + row.name).constData())
            << QByteArray("setDac") << list(row.number)
            << "/ local.IHNIPCM4.setDac u (uint32 " + QByteArray(row.sent) + ",)";
    }

    const struct
    {
        const char *name;
        QVariant number;
        const char *sent;
    } ulonglongs[] = {
        { "lowest", 0, "0" },
        { "highest", 18446744073709551615ULL, "18446744073709551615" },
        { "highest long long", 9223372036854775807LL, "9223372036854775807" },
        { "more digits than a double has", 9007199254740993LL, "9007199254740993" },
        { "highest double", 18446744073709549568.0, "18446744073709549568" },
        { "double above long long", 9223372036854775808.0, "9223372036854775808" },
        { "double", 3.0, "3" },
        { "negative zero", -0.0, "0" },
    };
    for (const auto &row : ulonglongs) {
        QTest::newRow((QByteArray("quint64: ") + row.name).constData())
            << QByteArray("sendMCCMessage") << list(1, 2, row.number)
            << "/ local.IHNIPCM4.sendMCCMessage iit (1, 2, uint64 " + QByteArray(row.sent) + ")";
    }

    QTest::newRow("overload for a text")
        << QByteArray("sendMCCMessage") << list(1, 2, text("5"))
        << QByteArray("/ local.IHNIPCM4.sendMCCMessage iis (1, 2, '5')");
    QTest::newRow("overload for an empty text")
        << QByteArray("sendMCCMessage") << list(1, 2, QString())
        << QByteArray("/ local.IHNIPCM4.sendMCCMessage iis (1, 2, '')");
    QTest::newRow("overload, all of it doubles")
        << QByteArray("sendMCCMessage") << list(1.0, 2.0, 3.0)
        << QByteArray("/ local.IHNIPCM4.sendMCCMessage iit (1, 2, uint64 3)");
    QTest::newRow("bool") << QByteArray("setSupplyLED") << list(true)
                          << QByteArray("/ local.IHNIPCM4.setSupplyLED b (true,)");
    QTest::newRow("list of texts")
        << QByteArray("supplyInformationBySKUs")
        << list(text("S"), oneValue(list(text("R1"), text("R2"))))
        << QByteArray("/ local.IHNIPCSUPPLYD.supplyInformationBySKUs sass "
                      "('S', ['R1', 'R2'], '')");
    QTest::newRow("list of nothing")
        << QByteArray("supplyInformationBySKUs")
        << list(text("S"), oneValue(QVariantList()), text("printer"))
        << QByteArray("/ local.IHNIPCSUPPLYD.supplyInformationBySKUs sass "
                      "('S', @as [], 'printer')");
    QTest::newRow("default panel")
        << QByteArray("supplyRibbonColorName") << list(text("R"))
        << QByteArray("/ local.IHNIPCSUPPLYD.supplyRibbonColorName si ('R', 1)");
    QTest::newRow("default printer name")
        << QByteArray("supplySKUCached") << QVariantList()
        << QByteArray("/ local.IHNIPCSUPPLYD.supplySKUCached s ('',)");
}

void tst_RequestMethods::argumentFits()
{
    QFETCH(QByteArray, method);
    QFETCH(QVariantList, arguments);
    QFETCH(QByteArray, sent);
    const QByteArray outcome = outcomeOfCalling(method.constData(), arguments);
    QVERIFY2(outcome.startsWith("Refused"), outcome.constData()); // the daemon implements none
    QCOMPARE(onlyMessage(), sent);
}

void tst_RequestMethods::argumentDoesNotFit_data()
{
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QByteArray>("error");

    const double infinity = std::numeric_limits<double>::infinity();
    const double notANumber = std::numeric_limits<double>::quiet_NaN();
    // None of these is of a number type, whatever its content.
    const struct
    {
        const char *name;
        QVariant value;
        const char *shown;
    } noNumbers[] = {
        { "true", true, "true" },
        { "false", false, "false" },
        { "text of a number", text("5"), "the string \"5\"" },
        { "empty text", QString(), "the string \"\"" },
        { "bytes", QByteArray("5"), "a QByteArray" },
        { "list", oneValue(list(5)), "a QVariantList" },
        { "list of texts", QStringList() << text("5"), "a QStringList" },
        { "map", QVariantMap(), "a QVariantMap" },
        { "undefined", QVariant(), "undefined" },
        { "fraction", 3.5, "3.5" },
        { "negative fraction", -0.5, "-0.5" },
        { "float", QVariant::fromValue(0.25f), "0.25" },
        { "huge", 1e300, "1e+300" },
        { "negative and huge", -1e300, "-1e+300" },
        { "no number", notANumber, "nan" },
        { "infinity", infinity, "inf" },
        { "negative infinity", -infinity, "-inf" },
    };
    const struct
    {
        const char *name;
        const char *method;
        const char *parameter;
        const char *range;
    } takers[] = {
        { "int", "setSupplySensor", "value", intRange },
        { "quint32", "setDac", "value", uintRange },
    };
    for (const auto &taker : takers) {
        for (const auto &row : noNumbers) {
            QTest::newRow((QByteArray(taker.name) + ": " + row.name).constData())
                << QByteArray(taker.method) << list(row.value)
                << QByteArray("argument 1 (value) of ") + taker.method + " has to be " + taker.range
                    + ", not " + row.shown;
        }
    }

    const struct
    {
        const char *name;
        QVariant number;
        const char *shown;
    } outOfInt[] = {
        { "below", -2147483649LL, "-2147483649" },
        { "below, double", -2147483649.0, "-2147483649" },
        { "above", 2147483648LL, "2147483648" },
        { "above, unsigned", 2147483648u, "2147483648" },
        { "above, double", 2147483648.0, "2147483648" },
        { "above, unsigned long long", 18446744073709551615ULL, "18446744073709551615" },
        { "lowest long long", -9223372036854775807LL - 1, "-9223372036854775808" },
        { "whole turn", 4294967296LL, "4294967296" },
    };
    for (const auto &row : outOfInt) {
        QTest::newRow((QByteArray("int: ") + row.name).constData())
            << QByteArray("setSupplySensor") << list(row.number)
            << QByteArray("argument 1 (value) of setSupplySensor has to be ") + intRange + ", not "
                + row.shown;
    }

    const struct
    {
        const char *name;
        QVariant number;
        const char *shown;
    } outOfUint[] = {
        { "below", -1, "-1" },
        { "below, double", -1.0, "-1" },
        { "above", 4294967296LL, "4294967296" },
        { "above, double", 4294967296.0, "4294967296" },
        { "above, unsigned long long", 18446744073709551615ULL, "18446744073709551615" },
    };
    for (const auto &row : outOfUint) {
        QTest::newRow((QByteArray("quint32: ") + row.name).constData())
            << QByteArray("setDac") << list(row.number)
            << QByteArray("argument 1 (value) of setDac has to be ") + uintRange + ", not "
                + row.shown;
    }

    const struct
    {
        const char *name;
        QVariant value;
        QByteArray shown;
    } outOfUlonglong[] = {
        { "below", -1, "-1" },
        { "below, double", -1.0, "-1" },
        { "lowest long long", -9223372036854775807LL - 1, "-9223372036854775808" },
        { "fraction", 3.5, "3.5" },
        { "huge", 1e300, "1e+300" },
        { "infinity", infinity, "inf" },
        { "bool", true, "true" },
        { "bytes", QByteArray("5"), "a QByteArray" },
        { "undefined", QVariant(), "undefined" },
    };
    for (const auto &row : outOfUlonglong) {
        QTest::newRow((QByteArray("either overload: ") + row.name).constData())
            << QByteArray("sendMCCMessage") << list(1, 2, row.value)
            << QByteArray("argument 3 (value) of sendMCCMessage has to be ") + ulonglongRange
                + " or QString, not " + row.shown;
    }
    QTest::newRow("both overloads want the same")
        << QByteArray("sendMCCMessage") << list(1, text("2"), text("3"))
        << QByteArray("argument 2 (definedMessage) of sendMCCMessage has to be ") + intRange
            + ", not the string \"2\"";

    QTest::newRow("bool: number") << QByteArray("setSupplyLED") << list(1)
                                  << QByteArray("argument 1 (value) of setSupplyLED has to be bool,"
                                                " not 1");
    QTest::newRow("bool: text") << QByteArray("setSupplyLED") << list(text("true"))
                                << QByteArray("argument 1 (value) of setSupplyLED has to be bool,"
                                              " not the string \"true\"");
    QTest::newRow("text: number") << QByteArray("getPrinterStatus") << list(5)
                                  << QByteArray("argument 1 (printerName) of getPrinterStatus has"
                                                " to be QString, not 5");
    QTest::newRow("text: bytes") << QByteArray("getPrinterStatus") << list(QByteArray("a"))
                                 << QByteArray("argument 1 (printerName) of getPrinterStatus has"
                                               " to be QString, not a QByteArray");
    QTest::newRow("list: text") << QByteArray("supplyInformationBySKUs")
                                << list(text("S"), text("R"))
                                << QByteArray("argument 2 (ribbonSkus) of supplyInformationBySKUs"
                                              " has to be QStringList, not the string \"R\"");
    QTest::newRow("list: mixed") << QByteArray("supplyInformationBySKUs")
                                 << list(text("S"), oneValue(list(text("R"), 5)))
                                 << QByteArray("argument 2 (ribbonSkus) of supplyInformationBySKUs"
                                               " has to be QStringList, not a QVariantList");
    QTest::newRow("second") << QByteArray("setUserSetting") << list(5, 2.5)
                            << QByteArray("argument 2 (value) of setUserSetting has to be ")
            + intRange + ", not 2.5";
    QTest::newRow("first of two") << QByteArray("setUserSetting") << list(text("x"), text("y"))
                                  << QByteArray("argument 1 (setting) of setUserSetting has to be ")
            + intRange + ", not the string \"x\"";
    QTest::newRow("one that may be left out")
        << QByteArray("supplyRibbonColorName") << list(text("R"), QVariant())
        << QByteArray("argument 2 (panel) of supplyRibbonColorName has to be ") + intRange
            + ", not undefined";
}

void tst_RequestMethods::argumentDoesNotFit()
{
    QFETCH(QByteArray, method);
    QFETCH(QVariantList, arguments);
    QFETCH(QByteArray, error);
    QCOMPARE(outcomeOfCalling(method.constData(), arguments),
             "NotSent org.freedesktop.DBus.Error.InvalidArgs: " + error);
    QVERIFY(takeSent().isEmpty());
}

void tst_RequestMethods::numberOfArgumentsDoesNotFit_data()
{
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QByteArray>("error");
    QTest::newRow("none for one") << QByteArray("setDac") << QVariantList()
                                  << QByteArray("setDac takes 1 argument, not 0");
    QTest::newRow("two for one") << QByteArray("setDac") << list(1, 2)
                                 << QByteArray("setDac takes 1 argument, not 2");
    QTest::newRow("one for two") << QByteArray("setUserSetting") << list(1)
                                 << QByteArray("setUserSetting takes 2 arguments, not 1");
    QTest::newRow("one for none") << QByteArray("getError") << list(1)
                                  << QByteArray("getError takes 0 arguments, not 1");
    QTest::newRow("two for three, of overloads")
        << QByteArray("sendMCCMessage") << list(1, 2)
        << QByteArray("sendMCCMessage takes 3 arguments, not 2");
    QTest::newRow("two for one at most")
        << QByteArray("supplySKUCached") << list(text(""), text(""))
        << QByteArray("supplySKUCached takes 0 to 1 argument, not 2");
    QTest::newRow("none for one at least") << QByteArray("supplyWidth") << QVariantList()
                                           << QByteArray("supplyWidth takes 1 to 2 arguments,"
                                                         " not 0");
    QTest::newRow("one for two at least") << QByteArray("supplyInformationBySKUs") << list(text(""))
                                          << QByteArray("supplyInformationBySKUs takes 2 to 3"
                                                        " arguments, not 1");
}

void tst_RequestMethods::numberOfArgumentsDoesNotFit() { argumentDoesNotFit(); }

void tst_RequestMethods::thereIsNoSuchMethod_data()
{
    QTest::addColumn<QByteArray>("method");
    // clang-format off
    const char *const methods[] = { "", "nothing", "GetError", "getError()", " getError",
                                    "Error", "M4Dac0", "qmlBatteryStatus", "deleteLater",
                                    "pulseErrorSignal", "registerDbusService" };
    // clang-format on
    for (const char *const method : methods) {
        QTest::newRow(*method ? method : "no name") << QByteArray(method);
    }
}

void tst_RequestMethods::thereIsNoSuchMethod()
{
    QFETCH(QByteArray, method);
    const QByteArray outcome = "NotSent org.freedesktop.DBus.Error.UnknownMethod: "
                               "the printer has no method \""
        + method + '"';
    QCOMPARE(outcomeOfCalling(method.constData(), QVariantList()), outcome);
    QCOMPARE(outcomeOfCalling(method.constData(), list(1)), outcome);
    QVERIFY(takeSent().isEmpty());
}

// For a variant, 5 and "5" may be equal, and so may 1 and true, and large numbers that differ by 1.
void tst_RequestMethods::otherArgumentReplacesAnEqualOne()
{
    HNIPCRequest request;
    request.setMethod(text("sendMCCMessage"));
    request.setArguments(list(1, 2, 5));
    outcomeOfSending(request);
    QCOMPARE(onlyMessage(), QByteArray("/ local.IHNIPCM4.sendMCCMessage iit (1, 2, uint64 5)"));
    request.setArguments(list(1, 2, text("5")));
    outcomeOfSending(request);
    QCOMPARE(onlyMessage(), QByteArray("/ local.IHNIPCM4.sendMCCMessage iis (1, 2, '5')"));

    request.setArguments(list(1, 2, 9007199254740991.0));
    outcomeOfSending(request);
    QCOMPARE(onlyMessage(),
             QByteArray("/ local.IHNIPCM4.sendMCCMessage iit "
                        "(1, 2, uint64 9007199254740991)"));
    request.setArguments(list(1, 2, 9007199254740990.0));
    outcomeOfSending(request);
    QCOMPARE(onlyMessage(),
             QByteArray("/ local.IHNIPCM4.sendMCCMessage iit "
                        "(1, 2, uint64 9007199254740990)"));

    request.setMethod(text("setSupplySensor"));
    request.setArguments(list(true));
    QVERIFY(outcomeOfSending(request).startsWith("NotSent"));
    request.setArguments(list(1));
    outcomeOfSending(request);
    QCOMPARE(onlyMessage(), QByteArray("/ local.IHNIPCM4.setSupplySensor i (1,)"));

    request.setMethod(text("supplyInformationBySKUs"));
    request.setArguments(list(text("S"), oneValue(list(5))));
    QVERIFY(outcomeOfSending(request).startsWith("NotSent"));
    request.setArguments(list(text("S"), oneValue(list(text("5")))));
    outcomeOfSending(request);
    QCOMPARE(onlyMessage(),
             QByteArray("/ local.IHNIPCSUPPLYD.supplyInformationBySKUs sass "
                        "('S', ['5'], '')"));
}

void tst_RequestMethods::typedCallHasTheDeclaredTypes()
{
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(getError));
    QCOMPARE(request.method(), text("getError"));
    QVERIFY(request.arguments().isEmpty());
    outcomeOfSending(request);
    QCOMPARE(onlyMessage(), QByteArray("/ local.IHNIPCM4.getError  ()"));

    request.setCall(HNIPC_METHOD(setDac), 5);
    QCOMPARE(request.arguments().value(0).userType(), int(QMetaType::UInt));
    outcomeOfSending(request);
    QCOMPARE(onlyMessage(), QByteArray("/ local.IHNIPCM4.setDac u (uint32 5,)"));

    request.setCall(HNIPC_METHOD(setUserSetting), 5, short(-3));
    QCOMPARE(request.arguments().value(1).userType(), int(QMetaType::Int));
    outcomeOfSending(request);
    QCOMPARE(onlyMessage(), QByteArray("/ local.IHNIPCM4.setUserSetting ii (5, -3)"));

    request.setCall(HNIPC_METHOD(enableBacklight), false);
    QCOMPARE(request.arguments().value(0).userType(), int(QMetaType::Bool));
    outcomeOfSending(request);
    QCOMPARE(onlyMessage(), QByteArray("/ local.IHNIPCIOEXPD.enableBacklight b (false,)"));

    request.setCall(HNIPC_METHOD(supplyInformationBySKUs), QLatin1String("S"),
                    QStringList() << text("R"));
    QCOMPARE(request.arguments().size(), 2);
    QCOMPARE(request.arguments().value(0).userType(), int(QMetaType::QString));
    outcomeOfSending(request);
    QCOMPARE(onlyMessage(),
             QByteArray("/ local.IHNIPCSUPPLYD.supplyInformationBySKUs sass "
                        "('S', ['R'], '')"));

    request.setCall(HNIPC_METHOD(supplyModuleReady), 1, -1, text("label"));
    (*m_daemons)[SUPPLYD].answer("supplyModuleReady", "()");
    QCOMPARE(outcomeOfSending(request), QByteArray("Answered"));
    QCOMPARE(onlyMessage(),
             QByteArray("/ local.IHNIPCSUPPLYD.supplyModuleReady iis "
                        "(1, -1, 'label')"));
}

void tst_RequestMethods::typedOverloadIsNamedByItsType()
{
    HNIPCRequest request;
    request.setCall(HNIPC_OVERLOAD(sendMCCMessage, bool(int, int, quint64)), 1, 2, 5);
    outcomeOfSending(request);
    QCOMPARE(onlyMessage(), QByteArray("/ local.IHNIPCM4.sendMCCMessage iit (1, 2, uint64 5)"));
    request.setCall(HNIPC_OVERLOAD(sendMCCMessage, bool(int, int, QString)), 1, 2,
                    QLatin1String("5"));
    outcomeOfSending(request);
    QCOMPARE(onlyMessage(), QByteArray("/ local.IHNIPCM4.sendMCCMessage iis (1, 2, '5')"));
}

namespace {

enum Steps { Backward = -1, Forward = 400 };

void addWrong(const char *name, const HNIPCRequest &request, const char *error)
{
    QTest::newRow(name) << request.method() << request.arguments() << QByteArray(error);
}

// Calls the method with the arguments of setCall().
template <typename Method, typename... Arguments>
void addWrongCall(const char *name, const char *error, const Method &method,
                  const Arguments &...arguments)
{
    HNIPCRequest request;
    request.setCall(method, arguments...);
    addWrong(name, request, error);
}

} // namespace

void tst_RequestMethods::numberOutOfRangeIsRefused_data()
{
    QTest::addColumn<QString>("method");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QByteArray>("error");
    addWrongCall("-1 steps",
                 "argument 1 (steps) of forwardFeed has to be quint32 (0 to 4294967295), not -1",
                 HNIPC_METHOD(forwardFeed), -1);
    addWrongCall("negative enumerator",
                 "argument 1 (steps) of forwardFeed has to be quint32 (0 to 4294967295), not -1",
                 HNIPC_METHOD(forwardFeed), Backward);
    addWrongCall("one step too many",
                 "argument 1 (steps) of forwardFeed has to be quint32 (0 to 4294967295), "
                 "not 4294967296",
                 HNIPC_METHOD(forwardFeed), Q_INT64_C(4294967296));
    addWrongCall("highest",
                 "argument 1 (steps) of forwardFeed has to be quint32 (0 to 4294967295), "
                 "not 18446744073709551615",
                 HNIPC_METHOD(forwardFeed), std::numeric_limits<quint64>::max());
    addWrongCall("beyond int",
                 "argument 2 (value) of setUserSetting has to be int (-2147483648 to 2147483647), "
                 "not 2147483648",
                 HNIPC_METHOD(setUserSetting), 1, 2147483648u);
    addWrongCall("below int",
                 "argument 2 (value) of setUserSetting has to be int (-2147483648 to 2147483647), "
                 "not -2147483649",
                 HNIPC_METHOD(setUserSetting), 1, Q_INT64_C(-2147483649));
    addWrongCall("-1 as 64 bits",
                 "argument 3 (value) of sendMCCMessage has to be "
                 "quint64 (0 to 18446744073709551615) or QString, not -1",
                 HNIPC_OVERLOAD(sendMCCMessage, bool(int, int, quint64)), 1, 2, -1);
}

void tst_RequestMethods::numberOutOfRangeIsRefused()
{
    QFETCH(QString, method);
    QFETCH(QVariantList, arguments);
    QFETCH(QByteArray, error);
    HNIPCRequest request;
    request.setMethod(method);
    request.setArguments(arguments);
    QCOMPARE(outcomeOfSending(request), "NotSent org.freedesktop.DBus.Error.InvalidArgs: " + error);
    QCOMPARE(request.reason(), HNIPCRequest::InvalidArguments);
    QVERIFY(takeSent().isEmpty());

    // The last valid arguments.
    request.setCall(HNIPC_METHOD(forwardFeed), Forward);
    outcomeOfSending(request);
    QCOMPARE(onlyMessage(), QByteArray("/ local.IHNIPCM4.forwardFeed u (uint32 400,)"));
    request.setCall(HNIPC_METHOD(forwardFeed), Q_INT64_C(4294967295));
    outcomeOfSending(request);
    QCOMPARE(onlyMessage(), QByteArray("/ local.IHNIPCM4.forwardFeed u (uint32 4294967295,)"));
}

void tst_RequestMethods::missingArgumentIsRefused()
{
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(setUserSetting), 1);
    QCOMPARE(outcomeOfSending(request),
             QByteArray("NotSent org.freedesktop.DBus.Error.InvalidArgs: "
                        "setUserSetting takes 2 arguments, not 1"));
    QVERIFY(takeSent().isEmpty());
}

void tst_RequestMethods::receiverOfSetCallMayDestroyTheRequest()
{
    const QPointer<HNIPCRequest> request = new HNIPCRequest;
    Listener listener(request, SIGNAL(methodChanged()), [&]() { delete request.data(); });
    request->setCall(HNIPC_METHOD(forwardFeed), 5);
    QVERIFY(request.isNull());
}

void tst_RequestMethods::answerHasTheTypeOfTheMethod()
{
    (*m_daemons)[M4].answer("printerLid", "(true,)");
    (*m_daemons)[M4].answer("m4Version", "('1.0',)");
    (*m_daemons)[M4].answerError("getError", "org.hnipc.Error.Busy", "no");
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(printerLid));
    QCOMPARE(outcomeOfSending(request), QByteArray("Answered"));
    const HNIPCAnswer<bool> lid(request);
    QVERIFY(lid.isAnswered());
    QVERIFY(lid.value());
    QVERIFY(lid.valueOr(false));
    QVERIFY(lid.isDone());

    request.setCall(HNIPC_METHOD(m4Version));
    QCOMPARE(outcomeOfSending(request), QByteArray("Answered"));
    QCOMPARE(HNIPCAnswer<QString>(request).value(), text("1.0"));

    request.setCall(HNIPC_METHOD(getError));
    outcomeOfSending(request);
    const HNIPCAnswer<int> code(request);
    QVERIFY(!code.isAnswered());
    QVERIFY(!code.isDone());
    QCOMPARE(code.valueOr(-7), -7);
    QCOMPARE(code.outcome(), HNIPCRequest::Refused);
    QCOMPARE(code.reason(), HNIPCRequest::DaemonError);
    QCOMPARE(code.errorName(), text("org.hnipc.Error.Busy"));
    QCOMPARE(code.errorText(), text("no"));

    request.setCall(HNIPC_METHOD(supplyModuleReady), 1, -1, text("label"));
    (*m_daemons)[SUPPLYD].answer("supplyModuleReady", "()");
    outcomeOfSending(request);
    const HNIPCAnswer<void> ready(request);
    QVERIFY(ready.isAnswered());
    QVERIFY(ready.isDone());
    QCOMPARE(ready.outcome(), HNIPCRequest::Answered);
    QCOMPARE(ready.reason(), HNIPCRequest::NoReason);
}

void tst_RequestMethods::answerOfAnotherTypeIsNone()
{
    (*m_daemons)[M4].answer("printerLid", "(true,)");
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(printerLid));
    QCOMPARE(outcomeOfSending(request), QByteArray("Answered"));
    QVERIFY(!HNIPCAnswer<int>(request).isAnswered());
    QCOMPARE(HNIPCAnswer<int>(request).valueOr(-7), -7);

    (*m_daemons)[M4].answer("printerLid", "(1,)");
    outcomeOfSending(request);
    const HNIPCAnswer<bool> lid(request);
    QVERIFY(!lid.isAnswered());
    QCOMPARE(lid.reason(), HNIPCRequest::WrongType);
    QCOMPARE(lid.outcome(), HNIPCRequest::Unknown);
}

void tst_RequestMethods::commandIsDoneUnlessItsAnswerIsFalse()
{
    (*m_daemons)[M4].answer("forwardFeed", "(false,)");
    HNIPCRequest request;
    QVERIFY(!request.isDone());
    request.setCall(HNIPC_METHOD(forwardFeed), 5);
    QCOMPARE(outcomeOfSending(request), QByteArray("Answered"));
    QVERIFY(!request.isDone());
    QVERIFY(HNIPCAnswer<bool>(request).isAnswered());
    QVERIFY(!HNIPCAnswer<bool>(request).isDone());
    (*m_daemons)[M4].answer("forwardFeed", "(true,)");
    QCOMPARE(outcomeOfSending(request), QByteArray("Answered"));
    QVERIFY(request.isDone());
    QVERIFY(request.send());
    QVERIFY(!request.isDone());
    QVERIFY(waitUntilFinished(request));
    // Not every 0 means that the daemon refused.
    (*m_daemons)[M4].answer("getError", "(0,)");
    request.setCall(HNIPC_METHOD(getError));
    QCOMPARE(outcomeOfSending(request), QByteArray("Answered"));
    QVERIFY(request.isDone());
}

void tst_RequestMethods::singleCallDeletesItself()
{
    (*m_daemons)[M4].answer("setUserSetting", "(true,)");
    const QPointer<HNIPCRequest> request = hnipcCall(HNIPC_METHOD(setUserSetting), 1, 2).send();
    QVERIFY(request);
    QVERIFY(request->isPending());
    QCOMPARE(request->deadline(), -1);
    QByteArray outcome;
    Listener listener(request, SIGNAL(finished()), [&]() { outcome = outcomeOf(*request); });
    QVERIFY(waitUntil([&]() { return request.isNull(); }));
    QCOMPARE(outcome, QByteArray("Answered"));
    QCOMPARE(onlyMessage(), QByteArray("/ local.IHNIPCM4.setUserSetting ii (1, 2)"));

    QObject parent;
    (*m_daemons)[M4].ignore("getError");
    const QPointer<HNIPCRequest> late = hnipcCall(HNIPC_METHOD(getError)).within(30).send(&parent);
    QCOMPARE(late->parent(), &parent);
    QCOMPARE(late->deadline(), 30);
    Listener lateListener(late, SIGNAL(finished()), [&]() { outcome = outcomeOf(*late); });
    QVERIFY(waitUntil([&]() { return late.isNull(); }));
    QVERIFY(outcome.contains("Timeout"));
}

void tst_RequestMethods::singleCallCallsAFunction()
{
#if QT_VERSION < QT_VERSION_CHECK(5, 0, 0)
    HNIPC_SKIP("Qt 4 has no connections to functions");
#else
    (*m_daemons)[M4].answer("printerLid", "(true,)");
    QObject context;
    QByteArray lid;
    const QPointer<HNIPCRequest> request = hnipcCall(HNIPC_METHOD(printerLid))
                                               .then(&context,
                                                     [&](const HNIPCAnswer<bool> &answer) {
                                                         lid = answer.isAnswered() && answer.value()
                                                             ? "open"
                                                             : "not known";
                                                     });
    QCOMPARE(request->parent(), &context);
    QVERIFY(waitUntil([&]() { return request.isNull(); }));
    QCOMPARE(lid, QByteArray("open"));

    // The function is not called if the context has been destroyed.
    bool isCalled = false;
    QScopedPointer<QObject> gone(new QObject);
    hnipcCall(HNIPC_METHOD(printerLid)).then(gone.data(), [&](const HNIPCAnswer<bool> &) {
        isCalled = true;
    });
    gone.reset();
    QVERIFY(m_daemons->passFence());
    QVERIFY(!isCalled);
#endif
}

void tst_RequestMethods::answerIsOfTheDeclaredTypeOrUnknown_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("fits");
    QTest::addColumn<QVariant>("value");

    // A method of each result type, and a reply of each wire type.
    // clang-format off
    const char *const methods[] = { "emitError(int)", "getError()", "dac0()", "ribbon1Verify()",
                                    "supplySupplyPercent()", "m4Version()", "supplySKUList()",
                                    "supplyBackgroundImage(QString)", "supplyColorHash()",
                                    "supplyInformation(QString)" };
    // clang-format on
    QVariantHash hash;
    hash.insert(text("a"), 1);
    hash.insert(text("b"), text("text"));
    const struct
    {
        const char *type;
        const char *wire;
        QVariant value; // the value in the result type that this reply fits
    } answers[] = {
        { "b", "true", true },
        { "i", "-5", -5 },
        { "u", "uint32 4294967295", 4294967295u },
        { "t", "uint64 18446744073709551615", 18446744073709551615ull },
        { "d", "0.1", 0.1 },
        { "s", "'text'", text("text") },
        { "as", "['a', '']", QStringList() << text("a") << text("") },
        { "as", "@as []", QStringList() },
        { "ay", "[byte 0x00, 0xff]", QByteArray("\0\xff", 2) },
        { "a{sv}", "{'a': <1>, 'b': <'text'>}", hash },
        { recordType, 0, QVariant::fromValue(tellingRecord()) },
        { "y", "byte 0x05", QVariant() },
        { "n", "int16 -5", QVariant() },
        { "q", "uint16 5", QVariant() },
        { "x", "int64 -5", QVariant() },
        { "o", "objectpath '/a'", QVariant() },
        { "g", "signature 's'", QVariant() },
        { "v", "<5>", QVariant() },
        { "av", "[<1>, <'x'>]", QVariant() },
        { "ai", "[1, 2]", QVariant() },
        { "ao", "[objectpath '/a']", QVariant() },
        { "aay", "[[byte 0x01]]", QVariant() },
        { "a{ss}", "{'a': 'b'}", QVariant() },
        { "a{iv}", "{1: <1>}", QVariant() },
        { "", "", QVariant() },
    };
    for (const char *const method : methods) {
        int row = 0;
        while (row < clientSlotCount && QByteArray(clientSlots[row].signature) != method) {
            ++row;
        }
        QVERIFY(row < clientSlotCount);
        for (const auto &answer : answers) {
            const QByteArray wire = answer.wire ? QByteArray(answer.wire)
                                                : wireStructure(tellingFields());
            const bool fits = QByteArray(clientSlots[row].out) == answer.type;
            const QByteArray shown = !answer.wire ? "a record" : wire.isEmpty() ? "nothing" : wire;
            QTest::newRow((shown + " for " + clientSlots[row].result).constData())
                << row << (wire.isEmpty() ? "()" : '(' + wire + ",)") << fits
                << (fits ? answer.value : QVariant());
        }
    }
}

void tst_RequestMethods::answerIsOfTheDeclaredTypeOrUnknown()
{
    QFETCH(int, row);
    QFETCH(QByteArray, body);
    QFETCH(bool, fits);
    QFETCH(QVariant, value);
    const ClientSlot &slot = clientSlots[row];
    daemon(slot).answer(nameOf(slot), body);
    const QByteArray outcome = outcomeOfCalling(nameOf(slot).constData(),
                                                values(argumentSamples(slot.signature, 1)));
    if (fits) {
        QCOMPARE(outcome, QByteArray("Answered"));
        HNIPCRequest request;
        request.setMethod(QString::fromLatin1(nameOf(slot)));
        request.setArguments(values(argumentSamples(slot.signature, 1)));
        outcomeOfSending(request);
        QVERIFY(same(request.value(), value));
    } else {
        // Qt adds the rest of the message.
        const QByteArray start = QByteArray("Unknown org.freedesktop.DBus.Error.InvalidSignature: ")
            + identities[slot.server].busName + " replied with another type: ";
        QVERIFY2(outcome.startsWith(start), outcome.constData());
        QVERIFY(outcome.size() > start.size() && !outcome.endsWith("with a value"));
    }
}

void tst_RequestMethods::methodWithoutAnswerTakesAny()
{
    const char *const bodies[] = { "()", "(5,)", "('text', true)", "((1,),)" };
    for (const char *const body : bodies) {
        (*m_daemons)[IOEXPD].answer("printerSoftCancel", body);
        HNIPCRequest request;
        request.setCall(HNIPC_METHOD(printerSoftCancel));
        QCOMPARE(outcomeOfSending(request), QByteArray("Answered"));
        QVERIFY(!request.value().isValid());
    }
}

void tst_RequestMethods::firstOfSeveralAnswersCounts()
{
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(getError));
    (*m_daemons)[M4].answer("getError", "(5, 'text')");
    QCOMPARE(outcomeOfSending(request), QByteArray("Answered"));
    QCOMPARE(request.value(), QVariant(5));
    (*m_daemons)[M4].answer("getError", "('text', 5)");
    QVERIFY(outcomeOfSending(request).startsWith("Unknown"));
}

void tst_RequestMethods::recordMayHaveAnyNumberOfFields_data()
{
    QTest::addColumn<QByteArray>("record");
    QTest::addColumn<int>("fields");
    for (int fields = 1; fields <= recordFieldCount; ++fields) {
        QTest::newRow(QByteArray::number(fields).constData())
            << wireStructure(tellingFields().mid(0, fields)) << fields;
    }
    QTest::newRow("more than there are") << wireStructure(tellingFields() << "'more'"
                                                                          << "5")
                                         << recordFieldCount;
    QTest::newRow("another type in front") << wireStructure({ "5", "['list']" }) << 0;
}

void tst_RequestMethods::recordMayHaveAnyNumberOfFields()
{
    QFETCH(QByteArray, record);
    QFETCH(int, fields);
    (*m_daemons)[SUPPLYD].answer("supplyInformation", '(' + record + ",)");
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(supplyInformation));
    QCOMPARE(outcomeOfSending(request), QByteArray("Answered"));
    QCOMPARE(request.value().userType(), qMetaTypeId<SupplyInformation>());
    QCOMPARE(difference(request.value().value<SupplyInformation>(), tellingUpTo(fields)),
             QByteArray());
}

HNIPC_TEST_MAIN(tst_RequestMethods)

#include "tst_requestmethods.moc"
