// SPDX-License-Identifier: MIT
#include "members.h"
#include "serverinterfacetest.h"
#include "support/privatebus.h"

#include <hnipc/ihnipcm4.h>

#include <QtCore/QStringList>

namespace {

class M4Recorder : public IHNIPCM4, public Recorder
{
public:
    using IHNIPCM4::IHNIPCM4;

    int getError() override { return answer<int>(__func__); }
    int getAlert() override { return answer<int>(__func__); }
    bool emitError(int value) override { return answer<bool>(__func__, value); }
    bool emitAlert(int value) override { return answer<bool>(__func__, value); }
    int getPrinterStatus(QString printerName) override
    {
        return answer<int>(__func__, printerName);
    }
    bool resetCutter() override { return answer<bool>(__func__); }
    bool resetPrinter() override { return answer<bool>(__func__); }
    bool cycleCutter() override { return answer<bool>(__func__); }
    bool calibrateSupply() override { return answer<bool>(__func__); }
    bool setDac(quint32 value) override { return answer<bool>(__func__, value); }
    bool setClearTailRibbon1(bool value) override { return answer<bool>(__func__, value); }
    bool setClearTailRibbon2(bool value) override { return answer<bool>(__func__, value); }
    bool setSupplySensor(qint32 value) override { return answer<bool>(__func__, value); }
    bool setSupplyWidth(bool value) override { return answer<bool>(__func__, value); }
    bool setSupplyLED(bool value) override { return answer<bool>(__func__, value); }
    bool cancelPrintJob() override { return answer<bool>(__func__); }
    bool retryPrintJob() override { return answer<bool>(__func__); }
    bool clearPrintJob() override { return answer<bool>(__func__); }
    bool clearAllPrintJobs() override { return answer<bool>(__func__); }
    bool printQueueFull(quint32 value) override { return answer<bool>(__func__, value); }
    bool printQueueComplete(quint32 value) override { return answer<bool>(__func__, value); }
    QString m4Version() override { return answer<QString>(__func__); }
    int getBatteryStatus() override { return answer<int>(__func__); }
    quint32 dac0() override { return answer<quint32>(__func__); }
    quint32 bMark() override { return answer<quint32>(__func__); }
    quint32 gap() override { return answer<quint32>(__func__); }
    quint32 preCutter() override { return answer<quint32>(__func__); }
    quint32 ribbonClr1() override { return answer<quint32>(__func__); }
    quint32 ribbonClr2() override { return answer<quint32>(__func__); }
    quint32 ribbonEnc1() override { return answer<quint32>(__func__); }
    quint32 ribbonEnc2() override { return answer<quint32>(__func__); }
    quint32 ribbonEnc3() override { return answer<quint32>(__func__); }
    quint32 ribbonEnc4() override { return answer<quint32>(__func__); }
    bool cutterCover() override { return answer<bool>(__func__); }
    bool cutterHome() override { return answer<bool>(__func__); }
    bool printerLid() override { return answer<bool>(__func__); }
    quint32 supplySensor() override { return answer<quint32>(__func__); }
    bool supplyLatch() override { return answer<bool>(__func__); }
    quint64 ribbon1Verify() override { return answer<quint64>(__func__); }
    quint64 ribbon2Verify() override { return answer<quint64>(__func__); }
    qint32 ribbon1Mileage() override { return answer<qint32>(__func__); }
    qint32 ribbon2Mileage() override { return answer<qint32>(__func__); }
    qint32 supplyMileage() override { return answer<qint32>(__func__); }
    bool sendMCCMessage(int type, int definedMessage, quint64 value) override
    {
        return answer<bool>(__func__, type, definedMessage, value);
    }
    bool sendMCCMessage(int type, int definedMessage, QString value) override
    {
        return answer<bool>(__func__, type, definedMessage, value);
    }
    bool forwardFeed(quint32 steps) override { return answer<bool>(__func__, steps); }
    bool backwardFeed(quint32 steps) override { return answer<bool>(__func__, steps); }
    bool solenoid1() override { return answer<bool>(__func__); }
    bool resetSolenoid1() override { return answer<bool>(__func__); }
    bool solenoid2() override { return answer<bool>(__func__); }
    bool resetSolenoid2() override { return answer<bool>(__func__); }
    bool solenoid3() override { return answer<bool>(__func__); }
    bool resetSolenoid3() override { return answer<bool>(__func__); }
    bool solenoid4() override { return answer<bool>(__func__); }
    bool resetSolenoid4() override { return answer<bool>(__func__); }
    bool ribbon1() override { return answer<bool>(__func__); }
    bool resetRibbon1() override { return answer<bool>(__func__); }
    bool ribbon2() override { return answer<bool>(__func__); }
    bool resetRibbon2() override { return answer<bool>(__func__); }
    bool resetPaperMotor1() override { return answer<bool>(__func__); }
    bool resetPaperMotor2() override { return answer<bool>(__func__); }
    bool resetMotor() override { return answer<bool>(__func__); }
    bool setUserSetting(int setting, qint32 value) override
    {
        return answer<bool>(__func__, setting, value);
    }
    bool refreshSettings() override { return answer<bool>(__func__); }
    bool refreshSensors() override { return answer<bool>(__func__); }
    bool refreshAll() override { return answer<bool>(__func__); }
    bool rfidTest() override { return answer<bool>(__func__); }
    bool dumpSettings() override { return answer<bool>(__func__); }
    bool reqTph1Therm() override { return answer<bool>(__func__); }
    bool reqTph2Therm() override { return answer<bool>(__func__); }
    bool reqTph1HeatIndex() override { return answer<bool>(__func__); }
    bool reqTph2HeatIndex() override { return answer<bool>(__func__); }
    bool reqTach1Tension() override { return answer<bool>(__func__); }
    bool reqTach2Tension() override { return answer<bool>(__func__); }
    bool reqTach3Tension() override { return answer<bool>(__func__); }
    bool reqTach4Tension() override { return answer<bool>(__func__); }
    bool reqRibbon1Verify() override { return answer<bool>(__func__); }
    bool reqRibbon2Verify() override { return answer<bool>(__func__); }
    bool reqRibbon1Mileage() override { return answer<bool>(__func__); }
    bool reqRibbon2Mileage() override { return answer<bool>(__func__); }
    bool reqSupplyMileage() override { return answer<bool>(__func__); }
    qint32 tph1Therm() override { return answer<qint32>(__func__); }
    qint32 tph2Therm() override { return answer<qint32>(__func__); }
    qint32 tph1HeatIndexOffset() override { return answer<qint32>(__func__); }
    qint32 tph2HeatIndexOffset() override { return answer<qint32>(__func__); }
    qint32 tach1Tension() override { return answer<qint32>(__func__); }
    qint32 tach2Tension() override { return answer<qint32>(__func__); }
    qint32 tach3Tension() override { return answer<qint32>(__func__); }
    qint32 tach4Tension() override { return answer<qint32>(__func__); }
};

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
    bool (M4::*const number)(int, int, quint64) = &M4::sendMCCMessage;
    bool (M4::*const text)(int, int, QString) = &M4::sendMCCMessage;
    QCOMPARE(
        virtualIndexes(
            &M4::getError, &M4::getAlert, &M4::emitError, &M4::emitAlert, &M4::getPrinterStatus,
            &M4::resetCutter, &M4::resetPrinter, &M4::cycleCutter, &M4::calibrateSupply,
            &M4::setDac, &M4::setClearTailRibbon1, &M4::setClearTailRibbon2, &M4::setSupplySensor,
            &M4::setSupplyWidth, &M4::setSupplyLED, &M4::cancelPrintJob, &M4::retryPrintJob,
            &M4::clearPrintJob, &M4::clearAllPrintJobs, &M4::printQueueFull,
            &M4::printQueueComplete, &M4::m4Version, &M4::getBatteryStatus, &M4::dac0, &M4::bMark,
            &M4::gap, &M4::preCutter, &M4::ribbonClr1, &M4::ribbonClr2, &M4::ribbonEnc1,
            &M4::ribbonEnc2, &M4::ribbonEnc3, &M4::ribbonEnc4, &M4::cutterCover, &M4::cutterHome,
            &M4::printerLid, &M4::supplySensor, &M4::supplyLatch, &M4::ribbon1Verify,
            &M4::ribbon2Verify, &M4::ribbon1Mileage, &M4::ribbon2Mileage, &M4::supplyMileage,
            number, text, &M4::forwardFeed, &M4::backwardFeed, &M4::solenoid1, &M4::resetSolenoid1,
            &M4::solenoid2, &M4::resetSolenoid2, &M4::solenoid3, &M4::resetSolenoid3,
            &M4::solenoid4, &M4::resetSolenoid4, &M4::ribbon1, &M4::resetRibbon1, &M4::ribbon2,
            &M4::resetRibbon2, &M4::resetPaperMotor1, &M4::resetPaperMotor2, &M4::resetMotor,
            &M4::setUserSetting, &M4::refreshSettings, &M4::refreshSensors, &M4::refreshAll,
            &M4::rfidTest, &M4::dumpSettings, &M4::reqTph1Therm, &M4::reqTph2Therm,
            &M4::reqTph1HeatIndex, &M4::reqTph2HeatIndex, &M4::reqTach1Tension,
            &M4::reqTach2Tension, &M4::reqTach3Tension, &M4::reqTach4Tension, &M4::reqRibbon1Verify,
            &M4::reqRibbon2Verify, &M4::reqRibbon1Mileage, &M4::reqRibbon2Mileage,
            &M4::reqSupplyMileage, &M4::tph1Therm, &M4::tph2Therm, &M4::tph1HeatIndexOffset,
            &M4::tph2HeatIndexOffset, &M4::tach1Tension, &M4::tach2Tension, &M4::tach3Tension,
            &M4::tach4Tension, &WithOneMore<M4>::oneMore),
        virtualIndexesAfterQObject(89 + 1));
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
