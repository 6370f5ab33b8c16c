// SPDX-License-Identifier: MIT
#include "members.h"
#include "operations/ihnipcm4.h"
#include "serverinterfacetest.h"
#include "support/privatebus.h"

#include <QtCore/QStringList>

namespace {

typedef Operations::M4<Recorder> M4Recorder;

typedef IHNIPCM4 M4;

static_assert(!std::is_convertible<QObject *, const M4Recorder &>::value, "not explicit");

// Daemons call the pulse operations with exactly these types.
// clang-format off
static_assert(areOfType<bool (M4::*)()>(
    &M4::pulseM4Tph2FaultSignal, &M4::pulseM4Tph1FaultSignal, &M4::pulseM4PrintDoneSignal), "");
static_assert(areOfType<bool (M4::*)(const int &, const qint32 &)>(
    &M4::pulseM4TachIndexSignal, &M4::pulseM4TphHeatIndexOffsetSignal, &M4::pulseM4TphThermSignal,
    &M4::pulseM4UserSettingSignal), "");
static_assert(areOfType<bool (M4::*)(const QString &)>(
    &M4::pulseM4TachValuesSignal, &M4::pulseM4Ribbon2UIDSignal, &M4::pulseM4Ribbon1UIDSignal,
    &M4::pulseM4SupplyUIDSignal, &M4::pulseM4SupplyIDSignal, &M4::pulseM4VersionSignal,
    &M4::pulseM4MessageSentSignal, &M4::pulseM4MessageReceivedSignal), "");
static_assert(areOfType<bool (M4::*)(int)>(
    &M4::pulsePrintQueueCompleteSignal, &M4::pulsePrintQueueClearSignal,
    &M4::pulsePrintQueueFullSignal, &M4::pulseAlertSignal, &M4::pulseErrorSignal), "");
static_assert(areOfType<bool (M4::*)(const qint32 &)>(
    &M4::pulseM4BatteryUpdateSignal, &M4::pulseM4SupplyMileageSignal,
    &M4::pulseM4Ribbon2MileageSignal, &M4::pulseM4Ribbon1MileageSignal), "");
static_assert(areOfType<bool (M4::*)(const QStringList &)>(
    &M4::pulseM4RibbonIDsSignal), "");
static_assert(areOfType<bool (M4::*)(const quint64 &)>(
    &M4::pulseM4RibbonVerify2Signal, &M4::pulseM4RibbonVerify1Signal), "");
static_assert(areOfType<bool (M4::*)(const quint32 &)>(
    &M4::pulseM4Film4TachSignal, &M4::pulseM4Film3TachSignal, &M4::pulseM4Film2TachSignal,
    &M4::pulseM4Film1TachSignal, &M4::pulseM4SupplySensorSignal, &M4::pulseM4RibbonEnc4Signal,
    &M4::pulseM4RibbonEnc3Signal, &M4::pulseM4RibbonEnc2Signal, &M4::pulseM4RibbonEnc1Signal,
    &M4::pulseM4RibbonClr2Signal, &M4::pulseM4RibbonClr1Signal, &M4::pulseM4PreCutterSignal,
    &M4::pulseM4GapSignal, &M4::pulseM4BMarkSignal, &M4::pulseM4Dac0Signal), "");
static_assert(areOfType<bool (M4::*)(const bool &)>(
    &M4::pulseM4SupplyLatchSignal, &M4::pulseM4PrinterLidSignal, &M4::pulseM4CutterHomeSignal,
    &M4::pulseM4CutterCoverSignal), "");
// clang-format on

} // namespace

class tst_M4Server : public ServerInterfaceTest
{
    Q_OBJECT

public:
    tst_M4Server() : ServerInterfaceTest(Expected::M4, IHNIPCM4::staticMetaObject) {}

protected:
    HNIPCServer *create(QObject *parent) override
    {
        return parent ? new M4Recorder(parent) : new M4Recorder;
    }

private slots:
    void virtualOperationsStandInTheOrderOfTheSlots();
    void messageWithoutValueHasTheValueZero();
    void messageWithNumber();
    void messageWithText();
    void remoteLidPulseIsBroadcastAndAnswered();
    void ribbonVerificationIsUnsignedOf64Bits();
    void printQueueMethodIsUnsignedAndItsSignalSigned();
};

void tst_M4Server::virtualOperationsStandInTheOrderOfTheSlots()
{
    QVERIFY(std::is_abstract<IHNIPCM4>::value);
    const QList<int> indexes = virtualIndexes<IHNIPCM4, M4Recorder>();
    QCOMPARE(indexes, virtualIndexesAfterQObject(int(indexes.size())));
}

void tst_M4Server::messageWithoutValueHasTheValueZero()
{
    recorder()->nextAnswer = true;
    QCOMPARE(call("sendMCCMessage", "(7, -8)").body, QByteArray("(true,)"));
    QCOMPARE(recorder()->calls,
             QList<QByteArray>() << callText("sendMCCMessage",
                                             QVariantList() << 7 << -8 << Q_UINT64_C(0)));
}

void tst_M4Server::messageWithNumber()
{
    recorder()->nextAnswer = true;
    QCOMPARE(call("sendMCCMessage", "(7, -8, uint64 9000000000)").body, QByteArray("(true,)"));
    QCOMPARE(recorder()->calls,
             QList<QByteArray>() << callText("sendMCCMessage",
                                             QVariantList() << 7 << -8 << Q_UINT64_C(9000000000)));
}

void tst_M4Server::messageWithText()
{
    recorder()->nextAnswer = true;
    QCOMPARE(call("sendMCCMessage", "(7, -8, '9')").body, QByteArray("(true,)"));
    QCOMPARE(recorder()->calls,
             QList<QByteArray>() << callText(
                 "sendMCCMessage", QVariantList() << 7 << -8 << QString(QLatin1Char('9'))));
}

void tst_M4Server::remoteLidPulseIsBroadcastAndAnswered()
{
    QCOMPARE(call("pulseM4PrinterLidSignal", "(false,)").body, QByteArray("(true,)"));
    QCOMPARE(sentSignals(), signalLine("M4_M4PrinterLid", "b", "(false,)"));
}

void tst_M4Server::ribbonVerificationIsUnsignedOf64Bits()
{
    QVERIFY(qobject_cast<IHNIPCM4 *>(server())->pulseM4RibbonVerify1Signal(1));
    QCOMPARE(sentSignals(), signalLine("M4_M4RibbonVerify1", "t", "(uint64 1,)"));
}

void tst_M4Server::printQueueMethodIsUnsignedAndItsSignalSigned()
{
    recorder()->nextAnswer = true;
    QCOMPARE(call("printQueueFull", "(uint32 3000000000,)").body, QByteArray("(true,)"));
    QCOMPARE(recorder()->calls,
             QList<QByteArray>() << callText("printQueueFull", QVariantList() << 3000000000u));
    QVERIFY(qobject_cast<IHNIPCM4 *>(server())->pulsePrintQueueFullSignal(-3));
    QCOMPARE(sentSignals(), signalLine("M4_PrintQueueFull", "i", "(-3,)"));
}

HNIPC_TEST_MAIN(tst_M4Server)
#include "tst_m4server.moc"
