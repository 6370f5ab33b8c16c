// SPDX-License-Identifier: MIT
#ifndef M4_H
#define M4_H

#include <hnipc/ihnipcm4.h>

#include <QtCore/QMap>

/// A print engine without hardware: one printer, "labelprinter", with three waiting jobs. It
/// returns true for each command that it carried out and whose signal it sent. Each new reading is
/// larger by one than the previous one.
class TestM4 : public IHNIPCM4
{
public:
    /// The values that getPrinterStatus() returns.
    enum PrinterStatus {
        UnknownPrinter = 0,
        Ready = 1,    ///< Nothing to print.
        Printing = 2, ///< The first job of the queue is being printed.
        Stopped = 3,  ///< The first job was cancelled, and waits to be retried or cleared.
        Faulty = 4    ///< There is an error code.
    };

    explicit TestM4(QObject *parent = 0);

    int getError() override;
    int getAlert() override;
    bool emitError(int value) override;
    bool emitAlert(int value) override;
    int getPrinterStatus(QString printerName) override;

    bool resetCutter() override;
    bool resetPrinter() override;
    bool cycleCutter() override;
    bool calibrateSupply() override;

    bool setDac(quint32 value) override;
    bool setClearTailRibbon1(bool value) override;
    bool setClearTailRibbon2(bool value) override;
    bool setSupplySensor(qint32 value) override;
    bool setSupplyWidth(bool value) override;
    bool setSupplyLED(bool value) override;

    bool cancelPrintJob() override;
    bool retryPrintJob() override;
    bool clearPrintJob() override;
    bool clearAllPrintJobs() override;
    bool printQueueFull(quint32 value) override;
    bool printQueueComplete(quint32 value) override;

    QString m4Version() override;
    int getBatteryStatus() override;
    quint32 dac0() override;
    quint32 bMark() override;
    quint32 gap() override;
    quint32 preCutter() override;
    quint32 ribbonClr1() override;
    quint32 ribbonClr2() override;
    quint32 ribbonEnc1() override;
    quint32 ribbonEnc2() override;
    quint32 ribbonEnc3() override;
    quint32 ribbonEnc4() override;
    bool cutterCover() override;
    bool cutterHome() override;
    bool printerLid() override;
    quint32 supplySensor() override;
    bool supplyLatch() override;
    quint64 ribbon1Verify() override;
    quint64 ribbon2Verify() override;
    qint32 ribbon1Mileage() override;
    qint32 ribbon2Mileage() override;
    qint32 supplyMileage() override;

    bool sendMCCMessage(int type, int definedMessage, quint64 value) override;
    bool sendMCCMessage(int type, int definedMessage, QString value) override;

    bool forwardFeed(quint32 steps) override;
    bool backwardFeed(quint32 steps) override;

    bool solenoid1() override;
    bool resetSolenoid1() override;
    bool solenoid2() override;
    bool resetSolenoid2() override;
    bool solenoid3() override;
    bool resetSolenoid3() override;
    bool solenoid4() override;
    bool resetSolenoid4() override;
    bool ribbon1() override;
    bool resetRibbon1() override;
    bool ribbon2() override;
    bool resetRibbon2() override;
    bool resetPaperMotor1() override;
    bool resetPaperMotor2() override;
    bool resetMotor() override;

    bool setUserSetting(int setting, qint32 value) override;
    bool refreshSettings() override;
    bool refreshSensors() override;
    bool refreshAll() override;
    bool rfidTest() override;
    bool dumpSettings() override;

    bool reqTph1Therm() override;
    bool reqTph2Therm() override;
    bool reqTph1HeatIndex() override;
    bool reqTph2HeatIndex() override;
    bool reqTach1Tension() override;
    bool reqTach2Tension() override;
    bool reqTach3Tension() override;
    bool reqTach4Tension() override;
    bool reqRibbon1Verify() override;
    bool reqRibbon2Verify() override;
    bool reqRibbon1Mileage() override;
    bool reqRibbon2Mileage() override;
    bool reqSupplyMileage() override;
    qint32 tph1Therm() override;
    qint32 tph2Therm() override;
    qint32 tph1HeatIndexOffset() override;
    qint32 tph2HeatIndexOffset() override;
    qint32 tach1Tension() override;
    qint32 tach2Tension() override;
    qint32 tach3Tension() override;
    qint32 tach4Tension() override;

private:
    bool sendMessage(int type, int definedMessage, const QString &value);
    bool feed(quint32 steps);

    int m_error = 0;
    int m_alert = 0;
    int m_battery = 87;
    quint32 m_jobs = 3;
    bool m_jobStopped = false;

    quint32 m_dac0 = 2048;
    quint32 m_bMark = 310;
    quint32 m_gap = 512;
    quint32 m_preCutter = 77;
    quint32 m_ribbonClr[2] = { 201, 202 };
    quint32 m_ribbonEnc[4] = { 1001, 1002, 1003, 1004 };
    bool m_cutterCover = true;
    bool m_cutterHome = true;
    bool m_printerLid = true;
    quint32 m_supplySensor = 640;
    bool m_supplyLatch = true;

    quint64 m_ribbonVerify[2] = { Q_UINT64_C(0x1122334455667788), Q_UINT64_C(0x8877665544332211) };
    qint32 m_ribbonMileage[2] = { 15000, 16000 };
    quint32 m_supplyMileage = 42000;
    qint32 m_tphTherm[2] = { 241, 243 };
    qint32 m_tphHeatIndexOffset[2] = { -12, 12 };
    qint32 m_tachTension[4] = { 31, 32, 33, 34 };

    bool m_solenoid[4] = { false, false, false, false };
    bool m_ribbon[2] = { false, false };
    quint32 m_paperMotorSteps[2] = { 0, 0 };
    quint32 m_motorSteps = 0;

    bool m_clearTailRibbon[2] = { false, false };
    bool m_supplyWidth = false;
    bool m_supplyLED = false;
    QMap<int, qint32> m_userSettings;
};

#endif
