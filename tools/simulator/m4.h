// SPDX-License-Identifier: MIT
#ifndef HNIPC_SIMULATOR_M4_H
#define HNIPC_SIMULATOR_M4_H

#include "daemon.h"
#include "engine.h"

#include <hnipc/ihnipcm4.h>

/// The print-engine daemon: each operation is a call of the engine.
class M4 : public DaemonOf<IHNIPCM4>
{
public:
    M4();

    Readings &readings() override { return m_engine; }
    QString print(uint labels) override;

    // Codes, commands, print jobs, readings
    int getError() override { return m_engine.get<int>(Engine::Error); }
    int getAlert() override { return m_engine.get<int>(Engine::Alert); }
    bool emitError(int value) override { return m_engine.handOver(Engine::Error, value); }
    bool emitAlert(int value) override { return m_engine.handOver(Engine::Alert, value); }
    int getPrinterStatus(QString printerName) override { return m_engine.status(printerName); }
    bool resetCutter() override { return m_engine.resetCutter(); }
    bool resetPrinter() override { return m_engine.reset(); }
    bool cycleCutter() override { return m_engine.cycleCutter(); }
    bool calibrateSupply() override { return m_engine.calibrate(); }
    bool setDac(quint32 value) override { return m_engine.set(Engine::Dac0, value); }
    bool setClearTailRibbon1(bool value) override
    {
        return m_engine.set(Engine::ClearTailRibbon1, value);
    }
    bool setClearTailRibbon2(bool value) override
    {
        return m_engine.set(Engine::ClearTailRibbon2, value);
    }
    bool setSupplySensor(qint32 value) override
    {
        return m_engine.set(Engine::SupplySensor, static_cast<quint32>(value));
    }
    bool setSupplyWidth(bool value) override { return m_engine.set(Engine::SupplyWidth, value); }
    bool setSupplyLED(bool value) override { return m_engine.set(Engine::SupplyLED, value); }
    bool cancelPrintJob() override { return m_engine.cancelJob(); }
    bool retryPrintJob() override { return m_engine.retryJob(); }
    bool clearPrintJob() override { return m_engine.clearJob(); }
    bool clearAllPrintJobs() override { return m_engine.clearAllJobs(); }
    bool printQueueFull(quint32 value) override
    {
        return pulsePrintQueueFullSignal(static_cast<int>(value));
    }
    bool printQueueComplete(quint32 value) override
    {
        return pulsePrintQueueCompleteSignal(static_cast<int>(value));
    }
    QString m4Version() override { return m_engine.get<QString>(Engine::M4Version); }
    int getBatteryStatus() override { return m_engine.get<int>(Engine::BatteryStatus); }
    quint32 dac0() override { return m_engine.get<quint32>(Engine::Dac0); }
    quint32 bMark() override { return m_engine.get<quint32>(Engine::BMark); }
    quint32 gap() override { return m_engine.get<quint32>(Engine::Gap); }
    quint32 preCutter() override { return m_engine.get<quint32>(Engine::PreCutter); }
    quint32 ribbonClr1() override { return m_engine.get<quint32>(Engine::RibbonClr1); }
    quint32 ribbonClr2() override { return m_engine.get<quint32>(Engine::RibbonClr2); }
    quint32 ribbonEnc1() override { return m_engine.get<quint32>(Engine::RibbonEnc1); }
    quint32 ribbonEnc2() override { return m_engine.get<quint32>(Engine::RibbonEnc2); }
    quint32 ribbonEnc3() override { return m_engine.get<quint32>(Engine::RibbonEnc3); }
    quint32 ribbonEnc4() override { return m_engine.get<quint32>(Engine::RibbonEnc4); }
    bool cutterCover() override { return m_engine.get<bool>(Engine::CutterCover); }
    bool cutterHome() override { return m_engine.get<bool>(Engine::CutterHome); }
    bool printerLid() override { return m_engine.get<bool>(Engine::PrinterLid); }
    quint32 supplySensor() override { return m_engine.get<quint32>(Engine::SupplySensor); }
    bool supplyLatch() override { return m_engine.get<bool>(Engine::SupplyLatch); }
    quint64 ribbon1Verify() override { return m_engine.get<quint64>(Engine::Ribbon1Verify); }
    quint64 ribbon2Verify() override { return m_engine.get<quint64>(Engine::Ribbon2Verify); }
    qint32 ribbon1Mileage() override { return m_engine.get<qint32>(Engine::Ribbon1Mileage); }
    qint32 ribbon2Mileage() override { return m_engine.get<qint32>(Engine::Ribbon2Mileage); }
    qint32 supplyMileage() override { return m_engine.get<qint32>(Engine::SupplyMileage); }

    // Messages, mechanisms, settings, requests for readings
    bool sendMCCMessage(int type, int definedMessage, quint64 value) override
    {
        return acknowledge(type, definedMessage, QString::number(value));
    }
    bool sendMCCMessage(int type, int definedMessage, QString value) override
    {
        return acknowledge(type, definedMessage, QLatin1Char('"') + value + QLatin1Char('"'));
    }
    bool forwardFeed(quint32 steps) override { return m_engine.forwardFeed(steps); }
    bool backwardFeed(quint32 steps) override { return m_engine.backwardFeed(steps); }
    bool solenoid1() override { return m_engine.engage(Engine::Solenoid1); }
    bool resetSolenoid1() override { return m_engine.set(Engine::Solenoid1, false); }
    bool solenoid2() override { return m_engine.engage(Engine::Solenoid2); }
    bool resetSolenoid2() override { return m_engine.set(Engine::Solenoid2, false); }
    bool solenoid3() override { return m_engine.engage(Engine::Solenoid3); }
    bool resetSolenoid3() override { return m_engine.set(Engine::Solenoid3, false); }
    bool solenoid4() override { return m_engine.engage(Engine::Solenoid4); }
    bool resetSolenoid4() override { return m_engine.set(Engine::Solenoid4, false); }
    bool ribbon1() override { return m_engine.engage(Engine::Ribbon1); }
    bool resetRibbon1() override { return m_engine.set(Engine::Ribbon1, false); }
    bool ribbon2() override { return m_engine.engage(Engine::Ribbon2); }
    bool resetRibbon2() override { return m_engine.set(Engine::Ribbon2, false); }
    bool resetPaperMotor1() override { return m_engine.resetMotors(); }
    bool resetPaperMotor2() override { return m_engine.resetMotors(); }
    bool resetMotor() override { return m_engine.resetMotors(); }
    bool setUserSetting(int setting, qint32 value) override
    {
        return m_engine.setSetting(setting, value);
    }
    bool refreshSettings() override { return m_engine.refreshSettings(); }
    bool refreshSensors() override { return m_engine.refreshSensors(); }
    bool refreshAll() override;
    bool rfidTest() override { return m_engine.readTags(); }
    bool dumpSettings() override;
    bool reqTph1Therm() override { return m_engine.measure(Engine::Tph1Therm); }
    bool reqTph2Therm() override { return m_engine.measure(Engine::Tph2Therm); }
    bool reqTph1HeatIndex() override { return m_engine.measure(Engine::Tph1HeatIndexOffset); }
    bool reqTph2HeatIndex() override { return m_engine.measure(Engine::Tph2HeatIndexOffset); }
    bool reqTach1Tension() override { return m_engine.measure(Engine::Tach1Tension); }
    bool reqTach2Tension() override { return m_engine.measure(Engine::Tach2Tension); }
    bool reqTach3Tension() override { return m_engine.measure(Engine::Tach3Tension); }
    bool reqTach4Tension() override { return m_engine.measure(Engine::Tach4Tension); }
    bool reqRibbon1Verify() override { return m_engine.measure(Engine::Ribbon1Verify); }
    bool reqRibbon2Verify() override { return m_engine.measure(Engine::Ribbon2Verify); }
    bool reqRibbon1Mileage() override { return m_engine.measure(Engine::Ribbon1Mileage); }
    bool reqRibbon2Mileage() override { return m_engine.measure(Engine::Ribbon2Mileage); }
    bool reqSupplyMileage() override { return m_engine.measure(Engine::SupplyMileage); }
    qint32 tph1Therm() override { return m_engine.get<qint32>(Engine::Tph1Therm); }
    qint32 tph2Therm() override { return m_engine.get<qint32>(Engine::Tph2Therm); }
    qint32 tph1HeatIndexOffset() override
    {
        return m_engine.get<qint32>(Engine::Tph1HeatIndexOffset);
    }
    qint32 tph2HeatIndexOffset() override
    {
        return m_engine.get<qint32>(Engine::Tph2HeatIndexOffset);
    }
    qint32 tach1Tension() override { return m_engine.get<qint32>(Engine::Tach1Tension); }
    qint32 tach2Tension() override { return m_engine.get<qint32>(Engine::Tach2Tension); }
    qint32 tach3Tension() override { return m_engine.get<qint32>(Engine::Tach3Tension); }
    qint32 tach4Tension() override { return m_engine.get<qint32>(Engine::Tach4Tension); }

private:
    bool acknowledge(int type, int definedMessage, const QString &value);

    Engine m_engine;
};

#endif
