// SPDX-License-Identifier: MIT
#include "expected/clientslots.h"
#include "expected/samples.h"
#include "support/fakedaemons.h"
#include "support/privatebus.h"

#include <hnipc/hnipc.h>

#include <QtCore/QScopedPointer>
#include <QtDBus/QDBusConnection>

using namespace Expected;

namespace {

const int rounds = 6;

QByteArray nameOf(const ClientSlot &slot)
{
    const QByteArray signature = slot.signature;
    return signature.left(signature.indexOf('('));
}

bool answersNothing(const ClientSlot &slot) { return QByteArray(slot.result).isEmpty(); }

QVariant emptyResult(const ClientSlot &slot)
{
    return answersNothing(slot) ? QVariant() : samplesOf(slot.result).first().value;
}

QByteArray expectedCall(const ClientSlot &slot, int round)
{
    QList<QByteArray> added;
    if (slot.added) {
        added.append(slot.added);
    }
    return QByteArray("/ ") + identities[slot.server].interface + '.' + nameOf(slot) + ' ' + slot.in
        + ' ' + wireBody(argumentSamples(slot.signature, round), added);
}

QVariant callDirectly(HNIPC &client, const ClientSlot &slot, const QVariantList &arguments)
{
    return slot.call.invoke(client, arguments);
}

QVariant callByIndex(HNIPC &client, const ClientSlot &slot, const QVariantList &values)
{
    // Not the empty value: it would hide that a result is not stored.
    QVariant result = answersNothing(slot) ? QVariant() : samplesOf(slot.result).at(1).value;
    void *arguments[4] = { result.isValid() ? result.data() : 0 };
    for (int i = 0; i < values.size(); ++i) {
        arguments[i + 1] = const_cast<void *>(values.at(i).constData());
    }
    QMetaObject::metacall(&client, QMetaObject::InvokeMetaMethod,
                          client.metaObject()->methodOffset() + indexOf(slot), arguments);
    return result;
}

typedef QVariant (*Way)(HNIPC &, const ClientSlot &, const QVariantList &);
const Way ways[] = { callDirectly, callByIndex };

void addRows()
{
    QTest::addColumn<int>("row");
    for (int row = 0; row < clientSlotCount; ++row) {
        QTest::newRow(clientSlots[row].signature) << row;
    }
}

} // namespace

// Each method makes one call to its daemon, by each way to call it and with each value.
class tst_ClientMethods : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void declarationHasTheTypes_data();
    void declarationHasTheTypes();
    void oneCallCarriesTheArgumentsAndTheAnswer_data();
    void oneCallCarriesTheArgumentsAndTheAnswer();
    void callsWorkWithoutAPlaceForTheResult();
    void failedCallGivesTheEmptyValue_data();
    void failedCallGivesTheEmptyValue();
    void absentDaemonGivesTheEmptyValueAndIsNotCalled_data();
    void absentDaemonGivesTheEmptyValueAndIsNotCalled();

    void switchIsOneCallWithOneBoolean();
    void softCancelIsOneCallWithoutArguments();
    void extremeNumbersAreSentUnchanged();
    void mccMessageWithNumberAndWithTextAreTwoCalls();
    void feedOfZeroStepsIsSent();
    void userSettingKeepsTheOrderOfItsArguments();
    void extremeReadingsAreReturnedUnchanged();
    void verificationValueIsReturnedWhole();
    void printerStatusWithoutANameIsCalled();
    void defaultPanelIsOne();
    void shortFormsThroughTheMetaObjectAddTheirDefault();
    void defaultPrinterNameIsSentAsEmptyText();
    void informationBySkusSendsTheListInTheMiddle();
    void emptySkuIsSent();
    void negativePanelIsSent();

private:
    WirePeer &daemon(const ClientSlot &slot) { return (*m_daemons)[slot.server]; }

    // The only call since the previous call of this function.
    QByteArray onlyCall()
    {
        const QList<WireMessage> calls = m_daemons->takeCalls();
        return calls.size() == 1 ? calls.first().line()
                                 : QByteArray::number(int(calls.size())) + " calls";
    }

    QScopedPointer<FakeDaemons> m_daemons;
    QScopedPointer<HNIPC> m_client;
    QScopedPointer<WireMonitor> m_monitor;
};

void tst_ClientMethods::initTestCase()
{
    m_daemons.reset(new FakeDaemons);
    m_client.reset(new HNIPC(0));
    m_monitor.reset(new WireMonitor);
}

void tst_ClientMethods::cleanupTestCase()
{
    m_monitor.reset();
    m_client.reset();
    m_daemons.reset();
}

void tst_ClientMethods::init()
{
    for (int server = 0; server < ServerCount; ++server) {
        (*m_daemons)[server].clearAnswers();
    }
    m_daemons->takeCalls();
    m_monitor->clear();
}

void tst_ClientMethods::declarationHasTheTypes_data() { addRows(); }

void tst_ClientMethods::declarationHasTheTypes()
{
    QFETCH(int, row);
    QByteArray types;
    for (const QByteArray &type : clientSlots[row].call.arguments) {
        types += (types.isEmpty() ? "" : ",") + type;
    }
    QCOMPARE(nameOf(clientSlots[row]) + '(' + types + ')',
             withoutAliases(clientSlots[row].signature));
    QCOMPARE(clientSlots[row].call.result, withoutAliases(clientSlots[row].result));
}

void tst_ClientMethods::oneCallCarriesTheArgumentsAndTheAnswer_data() { addRows(); }

void tst_ClientMethods::oneCallCarriesTheArgumentsAndTheAnswer()
{
    QFETCH(int, row);
    const ClientSlot &slot = clientSlots[row];
    for (int round = 0; round < rounds; ++round) {
        QByteArray reply = "()";
        QVariant answer;
        if (!answersNothing(slot)) {
            const QList<Sample> samples = samplesOf(slot.result);
            const Sample sample = samples.at(round % samples.size());
            reply = '(' + sample.wire + ",)";
            answer = sample.value;
        }
        daemon(slot).answer(nameOf(slot), reply);
        const QVariantList arguments = values(argumentSamples(slot.signature, round));
        for (const Way way : ways) {
            const QVariant result = way(*m_client, slot, arguments);
            QVERIFY2(same(result, answer), reply.constData());
            const QList<WireMessage> calls = m_daemons->takeCalls();
            QCOMPARE(calls.size(), 1);
            QCOMPARE(calls.first().line(), expectedCall(slot, round));
            QCOMPARE(calls.first().destination, QByteArray(identities[slot.server].busName));
            QVERIFY(calls.first().replyExpected);
        }
    }
}

void tst_ClientMethods::callsWorkWithoutAPlaceForTheResult()
{
    for (const ClientSlot &slot : clientSlots) {
        const QVariantList arguments = values(argumentSamples(slot.signature, 1));
        void *places[4] = { 0 };
        for (int i = 0; i < arguments.size(); ++i) {
            places[i + 1] = const_cast<void *>(arguments.at(i).constData());
        }
        QMetaObject::metacall(m_client.data(), QMetaObject::InvokeMetaMethod,
                              m_client->metaObject()->methodOffset() + indexOf(slot), places);
        QCOMPARE(onlyCall(), expectedCall(slot, 1));
    }
}

void tst_ClientMethods::failedCallGivesTheEmptyValue_data() { addRows(); }

void tst_ClientMethods::failedCallGivesTheEmptyValue()
{
    QFETCH(int, row);
    const ClientSlot &slot = clientSlots[row];
    const QVariantList arguments = values(argumentSamples(slot.signature, 1));

    QList<QByteArray> wrongReplies;
    const char *const types[] = { "bool",    "int",         "uint",       "qulonglong",  "double",
                                  "QString", "QStringList", "QByteArray", "QVariantHash" };
    for (const char *const type : types) {
        if (withoutAliases(slot.result) != type) {
            wrongReplies.append('(' + samplesOf(type).at(1).wire + ",)");
        }
    }
    wrongReplies.append("()");
    for (const QByteArray &reply : wrongReplies) {
        daemon(slot).answer(nameOf(slot), reply);
        QVERIFY2(sameOnFailure(callDirectly(*m_client, slot, arguments), emptyResult(slot)),
                 reply.constData());
    }

    daemon(slot).answerError(nameOf(slot), "org.hnipc.Error.Failed", "no");
    for (const Way way : ways) {
        QVERIFY(sameOnFailure(way(*m_client, slot, arguments), emptyResult(slot)));
    }
}

void tst_ClientMethods::absentDaemonGivesTheEmptyValueAndIsNotCalled_data() { addRows(); }

void tst_ClientMethods::absentDaemonGivesTheEmptyValueAndIsNotCalled()
{
    QFETCH(int, row);
    const ClientSlot &slot = clientSlots[row];
    const QVariantList arguments = values(argumentSamples(slot.signature, 1));
    QByteArray reply = "()";
    if (!answersNothing(slot)) {
        reply = '(' + samplesOf(slot.result).at(1).wire + ",)";
    }
    daemon(slot).answer(nameOf(slot), reply);

    m_daemons->stop(slot.server);
    m_monitor->clear();
    for (const Way way : ways) {
        QVERIFY(sameOnFailure(way(*m_client, slot, arguments), emptyResult(slot)));
    }
    const QByteArray self = QDBusConnection::systemBus().baseService().toLatin1();
    QCOMPARE(m_monitor->takeCallsFrom(self).size(), 0);

    m_daemons->start(slot.server);
    QVERIFY(answersNothing(slot)
            || same(callDirectly(*m_client, slot, arguments), samplesOf(slot.result).at(1).value));
}

void tst_ClientMethods::switchIsOneCallWithOneBoolean()
{
    m_client->enableAudioAmp(true);
    QCOMPARE(onlyCall(), QByteArray("/ local.IHNIPCIOEXPD.enableAudioAmp b (true,)"));
    m_client->enableBacklight(false);
    QCOMPARE(onlyCall(), QByteArray("/ local.IHNIPCIOEXPD.enableBacklight b (false,)"));
}

void tst_ClientMethods::softCancelIsOneCallWithoutArguments()
{
    m_client->printerSoftCancel();
    QCOMPARE(onlyCall(), QByteArray("/ local.IHNIPCIOEXPD.printerSoftCancel  ()"));
}

void tst_ClientMethods::extremeNumbersAreSentUnchanged()
{
    m_client->setSupplySensor(-1);
    QCOMPARE(onlyCall(), QByteArray("/ local.IHNIPCM4.setSupplySensor i (-1,)"));
    m_client->setDac(4294967295u);
    QCOMPARE(onlyCall(), QByteArray("/ local.IHNIPCM4.setDac u (uint32 4294967295,)"));
}

void tst_ClientMethods::mccMessageWithNumberAndWithTextAreTwoCalls()
{
    m_client->sendMCCMessage(1, 2, 0);
    QCOMPARE(onlyCall(), QByteArray("/ local.IHNIPCM4.sendMCCMessage iit (1, 2, uint64 0)"));
    m_client->sendMCCMessage(1, 2, QString());
    QCOMPARE(onlyCall(), QByteArray("/ local.IHNIPCM4.sendMCCMessage iis (1, 2, '')"));
}

void tst_ClientMethods::feedOfZeroStepsIsSent()
{
    m_client->forwardFeed(0);
    QCOMPARE(onlyCall(), QByteArray("/ local.IHNIPCM4.forwardFeed u (uint32 0,)"));
}

void tst_ClientMethods::userSettingKeepsTheOrderOfItsArguments()
{
    m_client->setUserSetting(5, -3);
    QCOMPARE(onlyCall(), QByteArray("/ local.IHNIPCM4.setUserSetting ii (5, -3)"));
}

void tst_ClientMethods::extremeReadingsAreReturnedUnchanged()
{
    (*m_daemons)[M4].answer("ribbonEnc1", "(uint32 4294967295,)");
    QCOMPARE(m_client->ribbonEnc1(), quint32(4294967295u));
    (*m_daemons)[M4].answer("tph2Therm", "(-5,)");
    QCOMPARE(m_client->tph2Therm(), -5);
}

void tst_ClientMethods::verificationValueIsReturnedWhole()
{
    (*m_daemons)[M4].answer("ribbon2Verify", "(uint64 81985529216486895,)");
    QCOMPARE(m_client->ribbon2Verify(), quint64(0x0123456789abcdefull));
}

void tst_ClientMethods::printerStatusWithoutANameIsCalled()
{
    m_client->getPrinterStatus(QString());
    QCOMPARE(onlyCall(), QByteArray("/ local.IHNIPCM4.getPrinterStatus s ('',)"));
}

void tst_ClientMethods::defaultPanelIsOne()
{
    m_client->supplyRibbonColorName(QLatin1String("R1"));
    QCOMPARE(onlyCall(), QByteArray("/ local.IHNIPCSUPPLYD.supplyRibbonColorName si ('R1', 1)"));
    m_client->supplyRibbonColorRGB(QLatin1String("R1"));
    QCOMPARE(onlyCall(), QByteArray("/ local.IHNIPCSUPPLYD.supplyRibbonColorRGB si ('R1', 1)"));
}

void tst_ClientMethods::shortFormsThroughTheMetaObjectAddTheirDefault()
{
    const int offset = m_client->metaObject()->methodOffset();
    QVERIFY(m_client->metaObject()
                ->method(offset + 196)
                .invoke(m_client.data(), Q_ARG(QString, QLatin1String("R1"))));
    QCOMPARE(onlyCall(), QByteArray("/ local.IHNIPCSUPPLYD.supplyRibbonColorName si ('R1', 1)"));
    QVERIFY(m_client->metaObject()->method(offset + 157).invoke(m_client.data()));
    QCOMPARE(onlyCall(), QByteArray("/ local.IHNIPCSUPPLYD.supplySKUCached s ('',)"));
}

void tst_ClientMethods::defaultPrinterNameIsSentAsEmptyText()
{
    // Differs from the previous name.
    m_client->setModulePrinterName(QLatin1String("printer"));
    m_daemons->takeCalls();
    m_client->supplyColorRGB(QLatin1String("S1"));
    QCOMPARE(onlyCall(), QByteArray("/ local.IHNIPCSUPPLYD.supplyColorRGB ss ('S1', '')"));
}

void tst_ClientMethods::informationBySkusSendsTheListInTheMiddle()
{
    m_client->supplyInformationBySKUs(QLatin1String("S1"),
                                      QStringList() << QLatin1String("R1") << QLatin1String("R2"));
    QCOMPARE(onlyCall(),
             QByteArray("/ local.IHNIPCSUPPLYD.supplyInformationBySKUs sass "
                        "('S1', ['R1', 'R2'], '')"));
}

void tst_ClientMethods::emptySkuIsSent()
{
    m_client->supplyIsLandscape(QString());
    QCOMPARE(onlyCall(), QByteArray("/ local.IHNIPCSUPPLYD.supplyIsLandscape s ('',)"));
}

void tst_ClientMethods::negativePanelIsSent()
{
    m_client->supplyRibbonTension(QLatin1String("R1"), -2, QLatin1String("S1"));
    QCOMPARE(onlyCall(),
             QByteArray("/ local.IHNIPCSUPPLYD.supplyRibbonTension sis ('R1', -2, 'S1')"));
}

HNIPC_TEST_MAIN(tst_ClientMethods)

#include "tst_clientmethods.moc"
