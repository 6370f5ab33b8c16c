// SPDX-License-Identifier: MIT
#include "asyncdaemons.h"
#include "expected/clientslots.h"
#include "expected/samples.h"
#include "requests.h"
#include "support/listener.h"
#include "support/privatebus.h"
#include "support/qtmajors.h"
#include "support/table.h"

#include <hnipc/hnipc.h>
#include <hnipc/hnipcrequest.h>

#include <QtCore/QPointer>
#include <QtCore/QScopedPointer>
#include <QtDBus/QDBusConnection>

#include <limits>

using namespace Expected;

namespace {

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

void addSlots()
{
    QTest::addColumn<int>("row");
    for (int row = 0; row < clientSlotCount; ++row) {
        QTest::newRow(clientSlots[row].signature) << row;
    }
}

// Adds the columns of a test of one call.
void addCallColumns()
{
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QByteArray>("expected");
}

void addCall(const QByteArray &name, const char *method, const QVariantList &arguments,
             const QByteArray &expected)
{
    QTest::newRow(name.constData()) << QByteArray(method) << arguments << expected;
}

// An argument, and how it is sent or how an error message shows it.
struct Argument
{
    const char *name;
    QVariant value;
    const char *shown;
};

} // namespace

// A request's method and its arguments as they cross the bus, and the value of the reply.
class tst_RequestMethods : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void everyMethodIsCalledByItsName_data() { addSlots(); }
    void everyMethodIsCalledByItsName();
    void theBlockingCallSendsTheSame_data() { addSlots(); }
    void theBlockingCallSendsTheSame();
    void argumentFits_data();
    void argumentFits();
    void argumentDoesNotFit_data();
    void argumentDoesNotFit();
    void thereIsNoSuchMethod();
    void otherArgumentReplacesAnEqualOne();
    void typedCallHasTheDeclaredTypes();
    void numberOutOfRangeIsRefused_data();
    void numberOutOfRangeIsRefused() { argumentDoesNotFit(); }
    void largestNumbersOfATypedCall();
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
    WirePeer &m4() { return m_daemons[M4]; }
    WirePeer &daemon(const ClientSlot &slot) { return m_daemons[slot.server]; }

    // All messages that this process has sent since the previous call of this function.
    QList<WireMessage> takeSent()
    {
        const QByteArray self = QDBusConnection::systemBus().baseService().toLatin1();
        makeRoundTrip();
        QList<WireMessage> result;
        const QList<WireMessage> all = m_monitor.take();
        for (const WireMessage &message : all) {
            if (message.sender == self && message.member != "GetId") {
                result.append(message);
            }
        }
        return result;
    }

    // Sends the request, and returns the only message that this process has sent.
    QByteArray messageOf(HNIPCRequest &request)
    {
        outcomeOfSending(request);
        const QList<WireMessage> sent = takeSent();
        return sent.size() == 1 ? sent.first().line()
                                : QByteArray::number(int(sent.size())) + " messages";
    }

    AsyncDaemons m_daemons;
    WireMonitor m_monitor;
};

void tst_RequestMethods::initTestCase()
{
    // The first request of a process also subscribes to the loss of the bus.
    RecordedRequest request("getError");
    outcomeOfSending(request);
}

void tst_RequestMethods::init()
{
    for (int server = 0; server < ServerCount; ++server) {
        m_daemons[server].clearAnswers();
    }
    m_daemons.takeCalls();
    makeRoundTrip();
    m_monitor.clear();
}

void tst_RequestMethods::everyMethodIsCalledByItsName()
{
    const ClientSlot &slot = currentRow(clientSlots);
    const QByteArray line = QByteArray("/ ") + identities[slot.server].interface + '.'
        + nameOf(slot) + ' ' + slot.in + ' ';
    RecordedRequest request(nameOf(slot).constData());
    for (int round = 0; round < 6; ++round) { // more rounds than a type has samples
        QByteArray reply = "()";
        QVariant value;
        if (*slot.result) {
            const QList<Sample> samples = samplesOf(slot.result);
            reply = '(' + samples.at(round % samples.size()).wire + ",)";
            value = samples.at(round % samples.size()).value;
        }
        daemon(slot).answer(nameOf(slot), reply);
        const QList<Sample> arguments = argumentSamples(slot.signature, round);
        request.setArguments(values(arguments));
        SEND_AND_COMPARE(request, "Answered");
        QVERIFY2(same(request.value(), value), reply.constData());

        const QList<WireMessage> sent = takeSent();
        QCOMPARE(sent.size(), 1);
        const WireMessage &call = sent.first();
        QCOMPARE(int(call.type), int(WireMessage::MethodCall));
        QCOMPARE(call.line(),
                 line + wireBody(arguments, slot.added ? Lines() << slot.added : Lines()));
        QCOMPARE(call.destination, QByteArray(identities[slot.server].busName));
        QVERIFY(call.replyExpected);
        QVERIFY(!call.autoStart);
    }
}

void tst_RequestMethods::theBlockingCallSendsTheSame()
{
    QFETCH(int, row);
    const ClientSlot &slot = clientSlots[row];
    const QVariantList arguments = values(argumentSamples(slot.signature, 1));
    HNIPC client(0);
    slot.call.invoke(client, arguments);
    RecordedRequest request(nameOf(slot).constData());
    request.setArguments(arguments);
    // The daemon implements neither.
    SEND_AND_COMPARE(
        request, "Refused DaemonError org.freedesktop.DBus.Error.UnknownMethod: no such method");

    const QList<WireMessage> calls = m_daemons.takeCalls();
    QCOMPARE(calls.size(), 2);
    QCOMPARE(calls.at(1).line(), calls.at(0).line());
    QCOMPARE(calls.at(1).destination, calls.at(0).destination);
}

// clang-format off
void tst_RequestMethods::argumentFits_data()
{
    const Argument ints[] = {
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
    const Argument uints[] = {
        { "lowest", 0, "0" },
        { "highest", 4294967295u, "4294967295" },
        { "highest, long long", 4294967295LL, "4294967295" },
        { "highest, unsigned long long", 4294967295ULL, "4294967295" },
        { "highest, double", 4294967295.0, "4294967295" },
        { "above int", 2147483648.0, "2147483648" },
        { "float", QVariant::fromValue(16777216.0f), "16777216" },
        { "negative zero", -0.0, "0" },
    };
    const Argument ulonglongs[] = {
        { "lowest", 0, "0" },
        { "highest", 18446744073709551615ULL, "18446744073709551615" },
        { "highest long long", 9223372036854775807LL, "9223372036854775807" },
        { "more digits than a double has", 9007199254740993LL, "9007199254740993" },
        { "highest double", 18446744073709549568.0, "18446744073709549568" },
        { "double above long long", 9223372036854775808.0, "9223372036854775808" },
        { "double", 3.0, "3" },
        { "negative zero", -0.0, "0" },
    };
    addCallColumns();
    for (const Argument &row : ints) {
        addCall(QByteArray("int: ") + row.name, "setSupplySensor", list(row.value),
                QByteArray("IHNIPCM4.setSupplySensor i (") + row.shown + ",)");
    }
    for (const Argument &row : uints) {
        addCall(QByteArray("quint32: ") + row.name, "setDac", list(row.value),
                QByteArray("IHNIPCM4.setDac u (uint32 ") + row.shown + ",)");
    }
    for (const Argument &row : ulonglongs) {
        addCall(QByteArray("quint64: ") + row.name, "sendMCCMessage", list(1, 2, row.value),
                QByteArray("IHNIPCM4.sendMCCMessage iit (1, 2, uint64 ") + row.shown + ")");
    }
    addCall("overload for a text", "sendMCCMessage", list(1, 2, text("5")),
            "IHNIPCM4.sendMCCMessage iis (1, 2, '5')");
    addCall("overload for an empty text", "sendMCCMessage", list(1, 2, QString()),
            "IHNIPCM4.sendMCCMessage iis (1, 2, '')");
    addCall("overload, all of it doubles", "sendMCCMessage", list(1.0, 2.0, 3.0),
            "IHNIPCM4.sendMCCMessage iit (1, 2, uint64 3)");
    addCall("bool", "setSupplyLED", list(true), "IHNIPCM4.setSupplyLED b (true,)");
    addCall("list of texts", "supplyInformationBySKUs",
            list(text("S"), oneValue(list(text("R1"), text("R2")))),
            "IHNIPCSUPPLYD.supplyInformationBySKUs sass ('S', ['R1', 'R2'], '')");
    addCall("list of nothing", "supplyInformationBySKUs",
            list(text("S"), oneValue(QVariantList()), text("printer")),
            "IHNIPCSUPPLYD.supplyInformationBySKUs sass ('S', @as [], 'printer')");
    addCall("default panel", "supplyRibbonColorName", list(text("R")),
            "IHNIPCSUPPLYD.supplyRibbonColorName si ('R', 1)");
    addCall("default printer name", "supplySKUCached", QVariantList(),
            "IHNIPCSUPPLYD.supplySKUCached s ('',)");
}
// clang-format on

void tst_RequestMethods::argumentFits()
{
    QFETCH(QByteArray, method);
    QFETCH(QVariantList, arguments);
    QFETCH(QByteArray, expected);
    RecordedRequest request(method.constData());
    request.setArguments(arguments);
    QCOMPARE(messageOf(request), "/ local." + expected);
    QCOMPARE(request.outcome(), HNIPCRequest::Refused); // the daemon implements none
}

// clang-format off
void tst_RequestMethods::argumentDoesNotFit_data()
{
    const double infinity = std::numeric_limits<double>::infinity();
    const double notANumber = std::numeric_limits<double>::quiet_NaN();
    // None of these is of a number type, whatever its content.
    const Argument noNumbers[] = {
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
    const Argument outOfInt[] = {
        { "below", -2147483649LL, "-2147483649" },
        { "below, double", -2147483649.0, "-2147483649" },
        { "above", 2147483648LL, "2147483648" },
        { "above, unsigned", 2147483648u, "2147483648" },
        { "above, double", 2147483648.0, "2147483648" },
        { "above, unsigned long long", 18446744073709551615ULL, "18446744073709551615" },
        { "lowest long long", -9223372036854775807LL - 1, "-9223372036854775808" },
        { "whole turn", 4294967296LL, "4294967296" },
    };
    const Argument outOfUint[] = {
        { "below", -1, "-1" },
        { "below, double", -1.0, "-1" },
        { "above", 4294967296LL, "4294967296" },
        { "above, double", 4294967296.0, "4294967296" },
        { "above, unsigned long long", 18446744073709551615ULL, "18446744073709551615" },
    };
    const Argument outOfUlonglong[] = {
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
    const QByteArray noInt = "argument 1 (value) of setSupplySensor has to be int (-2147483648 to 2147483647), not ";
    const QByteArray noUint = "argument 1 (value) of setDac has to be quint32 (0 to 4294967295), not ";
    const QByteArray noUlonglong = "argument 3 (value) of sendMCCMessage has to be quint64 (0 to 18446744073709551615) or QString, not ";
    addCallColumns();
    for (const Argument &row : noNumbers) {
        addCall(QByteArray("int: ") + row.name, "setSupplySensor", list(row.value), noInt + row.shown);
        addCall(QByteArray("quint32: ") + row.name, "setDac", list(row.value), noUint + row.shown);
    }
    for (const Argument &row : outOfInt) {
        addCall(QByteArray("int: ") + row.name, "setSupplySensor", list(row.value), noInt + row.shown);
    }
    for (const Argument &row : outOfUint) {
        addCall(QByteArray("quint32: ") + row.name, "setDac", list(row.value), noUint + row.shown);
    }
    for (const Argument &row : outOfUlonglong) {
        addCall(QByteArray("either overload: ") + row.name, "sendMCCMessage", list(1, 2, row.value), noUlonglong + row.shown);
    }
    addCall("both overloads want the same", "sendMCCMessage", list(1, text("2"), text("3")),
            "argument 2 (definedMessage) of sendMCCMessage has to be int (-2147483648 to 2147483647), not the string \"2\"");
    addCall("bool: number", "setSupplyLED", list(1),
            "argument 1 (value) of setSupplyLED has to be bool, not 1");
    addCall("bool: text", "setSupplyLED", list(text("true")),
            "argument 1 (value) of setSupplyLED has to be bool, not the string \"true\"");
    addCall("text: number", "getPrinterStatus", list(5),
            "argument 1 (printerName) of getPrinterStatus has to be QString, not 5");
    addCall("text: bytes", "getPrinterStatus", list(QByteArray("a")),
            "argument 1 (printerName) of getPrinterStatus has to be QString, not a QByteArray");
    addCall("list: text", "supplyInformationBySKUs", list(text("S"), text("R")),
            "argument 2 (ribbonSkus) of supplyInformationBySKUs has to be QStringList, not the string \"R\"");
    addCall("list: mixed", "supplyInformationBySKUs", list(text("S"), oneValue(list(text("R"), 5))),
            "argument 2 (ribbonSkus) of supplyInformationBySKUs has to be QStringList, not a QVariantList");
    addCall("second", "setUserSetting", list(5, 2.5),
            "argument 2 (value) of setUserSetting has to be int (-2147483648 to 2147483647), not 2.5");
    addCall("first of two", "setUserSetting", list(text("x"), text("y")),
            "argument 1 (setting) of setUserSetting has to be int (-2147483648 to 2147483647), not the string \"x\"");
    addCall("one that may be left out", "supplyRibbonColorName", list(text("R"), QVariant()),
            "argument 2 (panel) of supplyRibbonColorName has to be int (-2147483648 to 2147483647), not undefined");

    addCall("none for one", "setDac", QVariantList(), "setDac takes 1 argument, not 0");
    addCall("two for one", "setDac", list(1, 2), "setDac takes 1 argument, not 2");
    addCall("one for two", "setUserSetting", list(1), "setUserSetting takes 2 arguments, not 1");
    addCall("one for none", "getError", list(1), "getError takes 0 arguments, not 1");
    addCall("two for three, of overloads", "sendMCCMessage", list(1, 2),
            "sendMCCMessage takes 3 arguments, not 2");
    addCall("two for one at most", "supplySKUCached", list(text(""), text("")),
            "supplySKUCached takes 0 to 1 argument, not 2");
    addCall("none for one at least", "supplyWidth", QVariantList(),
            "supplyWidth takes 1 to 2 arguments, not 0");
    addCall("one for two at least", "supplyInformationBySKUs", list(text("")),
            "supplyInformationBySKUs takes 2 to 3 arguments, not 1");
}
// clang-format on

void tst_RequestMethods::argumentDoesNotFit()
{
    QFETCH(QByteArray, method);
    QFETCH(QVariantList, arguments);
    QFETCH(QByteArray, expected);
    RecordedRequest request(method.constData());
    request.setArguments(arguments);
    SEND_AND_COMPARE(
        request, "NotSent InvalidArguments org.freedesktop.DBus.Error.InvalidArgs: " + expected);
    QVERIFY(takeSent().isEmpty());
}

void tst_RequestMethods::thereIsNoSuchMethod()
{
    // clang-format off
    const char *const methods[] = { "", "nothing", "GetError", "getError()", " getError",
                                    "Error", "M4Dac0", "qmlBatteryStatus", "deleteLater",
                                    "pulseErrorSignal", "registerDbusService" };
    // clang-format on
    for (const char *const method : methods) {
        RecordedRequest request(method);
        const QByteArray
            outcome = "NotSent UnknownMethod org.freedesktop.DBus.Error.UnknownMethod: "
                      "the printer has no method \""
            + QByteArray(method) + '"';
        SEND_AND_COMPARE(request, outcome);
        request.setArguments(list(1));
        SEND_AND_COMPARE(request, outcome);
    }
    QVERIFY(takeSent().isEmpty());
}

// For a variant, 5 and "5" may be equal, and so may 1 and true, and large numbers that differ by 1.
void tst_RequestMethods::otherArgumentReplacesAnEqualOne()
{
    // clang-format off
    const struct { const char *method; QVariantList arguments; const char *sent; } rows[] = {
        { "sendMCCMessage", list(1, 2, 5), "IHNIPCM4.sendMCCMessage iit (1, 2, uint64 5)" },
        { "sendMCCMessage", list(1, 2, text("5")), "IHNIPCM4.sendMCCMessage iis (1, 2, '5')" },
        { "sendMCCMessage", list(1, 2, 9007199254740991.0), "IHNIPCM4.sendMCCMessage iit (1, 2, uint64 9007199254740991)" },
        { "sendMCCMessage", list(1, 2, 9007199254740990.0), "IHNIPCM4.sendMCCMessage iit (1, 2, uint64 9007199254740990)" },
        { "setSupplySensor", list(true), "" },
        { "setSupplySensor", list(1), "IHNIPCM4.setSupplySensor i (1,)" },
        { "supplyInformationBySKUs", list(text("S"), oneValue(list(5))), "" },
        { "supplyInformationBySKUs", list(text("S"), oneValue(list(text("5")))), "IHNIPCSUPPLYD.supplyInformationBySKUs sass ('S', ['5'], '')" },
    };
    // clang-format on
    HNIPCRequest request;
    for (const auto &row : rows) {
        request.setMethod(text(row.method));
        request.setArguments(row.arguments);
        QCOMPARE(messageOf(request),
                 *row.sent ? QByteArray("/ local.") + row.sent : QByteArray("0 messages"));
    }
}

void tst_RequestMethods::typedCallHasTheDeclaredTypes()
{
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(getError));
    QCOMPARE(request.method(), text("getError"));
    QVERIFY(request.arguments().isEmpty());
    QCOMPARE(messageOf(request), QByteArray("/ local.IHNIPCM4.getError  ()"));

    request.setCall(HNIPC_METHOD(setDac), 5);
    QCOMPARE(request.arguments().value(0).userType(), int(QMetaType::UInt));
    QCOMPARE(messageOf(request), QByteArray("/ local.IHNIPCM4.setDac u (uint32 5,)"));

    request.setCall(HNIPC_METHOD(setUserSetting), 5, short(-3));
    QCOMPARE(request.arguments().value(1).userType(), int(QMetaType::Int));
    QCOMPARE(messageOf(request), QByteArray("/ local.IHNIPCM4.setUserSetting ii (5, -3)"));

    request.setCall(HNIPC_METHOD(enableBacklight), false);
    QCOMPARE(request.arguments().value(0).userType(), int(QMetaType::Bool));
    QCOMPARE(messageOf(request), QByteArray("/ local.IHNIPCIOEXPD.enableBacklight b (false,)"));

    request.setCall(HNIPC_METHOD(supplyInformationBySKUs), QLatin1String("S"),
                    QStringList() << text("R"));
    QCOMPARE(request.arguments().size(), 2);
    QCOMPARE(request.arguments().value(0).userType(), int(QMetaType::QString));
    QCOMPARE(messageOf(request),
             QByteArray("/ local.IHNIPCSUPPLYD.supplyInformationBySKUs sass ('S', ['R'], '')"));

    request.setCall(HNIPC_METHOD(supplyModuleReady), 1, -1, text("label"));
    QCOMPARE(messageOf(request),
             QByteArray("/ local.IHNIPCSUPPLYD.supplyModuleReady iis (1, -1, 'label')"));

    // The type of an overload is its name.
    request.setCall(HNIPC_OVERLOAD(sendMCCMessage, bool(int, int, quint64)), 1, 2, 5);
    QCOMPARE(messageOf(request),
             QByteArray("/ local.IHNIPCM4.sendMCCMessage iit (1, 2, uint64 5)"));
    request.setCall(HNIPC_OVERLOAD(sendMCCMessage, bool(int, int, QString)), 1, 2,
                    QLatin1String("5"));
    QCOMPARE(messageOf(request), QByteArray("/ local.IHNIPCM4.sendMCCMessage iis (1, 2, '5')"));
}

namespace {

enum Steps { Backward = -1, Forward = 400 };

// Adds a row with the arguments of setCall().
template <typename Method, typename... Arguments>
void addTypedCall(const char *name, const char *expected, const Method &method,
                  const Arguments &...arguments)
{
    HNIPCRequest request;
    request.setCall(method, arguments...);
    addCall(name, method.name(), request.arguments(), expected);
}

} // namespace

// clang-format off
void tst_RequestMethods::numberOutOfRangeIsRefused_data()
{
    addCallColumns();
    addTypedCall("-1 steps", "argument 1 (steps) of forwardFeed has to be quint32 (0 to 4294967295), not -1",
                 HNIPC_METHOD(forwardFeed), -1);
    addTypedCall("negative enumerator", "argument 1 (steps) of forwardFeed has to be quint32 (0 to 4294967295), not -1",
                 HNIPC_METHOD(forwardFeed), Backward);
    addTypedCall("one step too many", "argument 1 (steps) of forwardFeed has to be quint32 (0 to 4294967295), not 4294967296",
                 HNIPC_METHOD(forwardFeed), Q_INT64_C(4294967296));
    addTypedCall("highest", "argument 1 (steps) of forwardFeed has to be quint32 (0 to 4294967295), not 18446744073709551615",
                 HNIPC_METHOD(forwardFeed), std::numeric_limits<quint64>::max());
    addTypedCall("beyond int", "argument 2 (value) of setUserSetting has to be int (-2147483648 to 2147483647), not 2147483648",
                 HNIPC_METHOD(setUserSetting), 1, 2147483648u);
    addTypedCall("below int", "argument 2 (value) of setUserSetting has to be int (-2147483648 to 2147483647), not -2147483649",
                 HNIPC_METHOD(setUserSetting), 1, Q_INT64_C(-2147483649));
    addTypedCall("-1 as 64 bits", "argument 3 (value) of sendMCCMessage has to be quint64 (0 to 18446744073709551615) or QString, not -1",
                 HNIPC_OVERLOAD(sendMCCMessage, bool(int, int, quint64)), 1, 2, -1);
    addTypedCall("missing", "setUserSetting takes 2 arguments, not 1", HNIPC_METHOD(setUserSetting), 1);
}
// clang-format on

void tst_RequestMethods::largestNumbersOfATypedCall()
{
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(forwardFeed), Forward);
    QCOMPARE(messageOf(request), QByteArray("/ local.IHNIPCM4.forwardFeed u (uint32 400,)"));
    request.setCall(HNIPC_METHOD(forwardFeed), Q_INT64_C(4294967295));
    QCOMPARE(messageOf(request), QByteArray("/ local.IHNIPCM4.forwardFeed u (uint32 4294967295,)"));
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
    m4().answer("printerLid", "(true,)");
    m4().answer("m4Version", "('1.0',)");
    m4().answerError("getError", "org.hnipc.Error.Busy", "no");
    RecordedRequest request("printerLid");
    SEND_AND_COMPARE(request, "Answered");
    const HNIPCAnswer<bool> lid(request);
    QVERIFY(lid.isAnswered());
    QVERIFY(lid.value());
    QVERIFY(lid.valueOr(false));
    QVERIFY(lid.isDone());

    request.setCall(HNIPC_METHOD(m4Version));
    SEND_AND_COMPARE(request, "Answered");
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
    m_daemons[SUPPLYD].answer("supplyModuleReady", "()");
    outcomeOfSending(request);
    const HNIPCAnswer<void> ready(request);
    QVERIFY(ready.isAnswered());
    QVERIFY(ready.isDone());
    QCOMPARE(ready.outcome(), HNIPCRequest::Answered);
    QCOMPARE(ready.reason(), HNIPCRequest::NoReason);
}

void tst_RequestMethods::answerOfAnotherTypeIsNone()
{
    m4().answer("printerLid", "(true,)");
    RecordedRequest request("printerLid");
    SEND_AND_COMPARE(request, "Answered");
    QVERIFY(!HNIPCAnswer<int>(request).isAnswered());
    QCOMPARE(HNIPCAnswer<int>(request).valueOr(-7), -7);

    m4().answer("printerLid", "(1,)");
    outcomeOfSending(request);
    const HNIPCAnswer<bool> lid(request);
    QVERIFY(!lid.isAnswered());
    QCOMPARE(lid.reason(), HNIPCRequest::WrongType);
    QCOMPARE(lid.outcome(), HNIPCRequest::Unknown);
}

void tst_RequestMethods::commandIsDoneUnlessItsAnswerIsFalse()
{
    m4().answer("forwardFeed", "(false,)");
    HNIPCRequest request;
    QVERIFY(!request.isDone());
    request.setCall(HNIPC_METHOD(forwardFeed), 5);
    SEND_AND_COMPARE(request, "Answered");
    QVERIFY(!request.isDone());
    QVERIFY(HNIPCAnswer<bool>(request).isAnswered());
    QVERIFY(!HNIPCAnswer<bool>(request).isDone());
    m4().answer("forwardFeed", "(true,)");
    SEND_AND_COMPARE(request, "Answered");
    QVERIFY(request.isDone());
    QVERIFY(request.send());
    QVERIFY(!request.isDone());
    QVERIFY(waitUntilFinished(request));
    // Not every 0 means that the daemon refused.
    m4().answer("getError", "(0,)");
    request.setCall(HNIPC_METHOD(getError));
    SEND_AND_COMPARE(request, "Answered");
    QVERIFY(request.isDone());
}

void tst_RequestMethods::singleCallDeletesItself()
{
    m4().answer("setUserSetting", "(true,)");
    const QPointer<HNIPCRequest> request = hnipcCall(HNIPC_METHOD(setUserSetting), 1, 2).send();
    QVERIFY(request);
    QVERIFY(request->isPending());
    QCOMPARE(request->deadline(), -1);
    QByteArray outcome;
    Listener listener(request, SIGNAL(finished()), [&]() { outcome = outcomeOf(*request); });
    QVERIFY(waitUntil([&]() { return request.isNull(); }));
    QCOMPARE(outcome, QByteArray("Answered"));
    QCOMPARE(takeSent().first().body, QByteArray("(1, 2)"));

    QObject parent;
    m4().ignore("getError");
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
    m4().answer("printerLid", "(true,)");
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
    QVERIFY(m_daemons.passFence());
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
    RecordedRequest request(nameOf(slot).constData());
    request.setArguments(values(argumentSamples(slot.signature, 1)));
    const QByteArray outcome = outcomeOfSending(request);
    if (fits) {
        QCOMPARE(outcome, QByteArray("Answered"));
        QVERIFY(same(request.value(), value));
    } else {
        // Qt adds the rest of the message.
        const QByteArray
            start = QByteArray("Unknown WrongType org.freedesktop.DBus.Error.InvalidSignature: ")
            + identities[slot.server].busName + " replied with another type: ";
        QVERIFY2(outcome.startsWith(start), outcome.constData());
        QVERIFY(outcome.size() > start.size() && !outcome.endsWith("with a value"));
    }
}

void tst_RequestMethods::methodWithoutAnswerTakesAny()
{
    const char *const bodies[] = { "()", "(5,)", "('text', true)", "((1,),)" };
    for (const char *const body : bodies) {
        m_daemons[IOEXPD].answer("printerSoftCancel", body);
        HNIPCRequest request;
        request.setCall(HNIPC_METHOD(printerSoftCancel));
        SEND_AND_COMPARE(request, "Answered");
        QVERIFY(!request.value().isValid());
    }
}

void tst_RequestMethods::firstOfSeveralAnswersCounts()
{
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(getError));
    m4().answer("getError", "(5, 'text')");
    SEND_AND_COMPARE(request, "Answered");
    QCOMPARE(request.value(), QVariant(5));
    m4().answer("getError", "('text', 5)");
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
    m_daemons[SUPPLYD].answer("supplyInformation", '(' + record + ",)");
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(supplyInformation));
    SEND_AND_COMPARE(request, "Answered");
    QCOMPARE(request.value().userType(), qMetaTypeId<SupplyInformation>());
    QCOMPARE(difference(request.value().value<SupplyInformation>(), tellingUpTo(fields)),
             QByteArray());
}

HNIPC_TEST_MAIN(tst_RequestMethods)

#include "tst_requestmethods.moc"
