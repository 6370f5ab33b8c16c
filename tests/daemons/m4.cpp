// SPDX-License-Identifier: MIT
#include "m4.h"

#include <QtCore/QStringList>
#include <QtCore/QTextStream>

#include <cstdio>

TestM4::TestM4(QObject *parent) : IHNIPCM4(parent)
{
    m_userSettings.insert(1, 100);
    m_userSettings.insert(2, -20);
}

// Codes and status

int TestM4::getError() { return m_error; }

int TestM4::getAlert() { return m_alert; }

bool TestM4::emitError(int value)
{
    m_error = value;
    return pulseErrorSignal(m_error);
}

bool TestM4::emitAlert(int value)
{
    m_alert = value;
    return pulseAlertSignal(m_alert);
}

int TestM4::getPrinterStatus(QString printerName)
{
    if (printerName != QLatin1String("labelprinter")) {
        return UnknownPrinter;
    }
    if (m_error != 0) {
        return Faulty;
    }
    if (m_jobs == 0) {
        return Ready;
    }
    return m_jobStopped ? Stopped : Printing;
}

QString TestM4::m4Version() { return QLatin1String("4.2.0-test"); }

int TestM4::getBatteryStatus() { return m_battery; }

// Cutter and printer

bool TestM4::resetCutter()
{
    m_cutterHome = true;
    return pulseM4CutterHomeSignal(m_cutterHome);
}

bool TestM4::cycleCutter()
{
    m_cutterHome = false;
    const bool left = pulseM4CutterHomeSignal(m_cutterHome);
    m_cutterHome = true;
    const bool back = pulseM4CutterHomeSignal(m_cutterHome);
    return left && back;
}

bool TestM4::resetPrinter()
{
    for (bool &solenoid : m_solenoid) {
        solenoid = false;
    }
    for (bool &ribbon : m_ribbon) {
        ribbon = false;
    }
    return resetCutter() && emitError(0) && emitAlert(0);
}

bool TestM4::calibrateSupply()
{
    return pulseM4BMarkSignal(++m_bMark) && pulseM4GapSignal(++m_gap);
}

// Settings

bool TestM4::setDac(quint32 value)
{
    m_dac0 = value;
    return pulseM4Dac0Signal(m_dac0);
}

bool TestM4::setClearTailRibbon1(bool value)
{
    m_clearTailRibbon[0] = value;
    return true;
}

bool TestM4::setClearTailRibbon2(bool value)
{
    m_clearTailRibbon[1] = value;
    return true;
}

bool TestM4::setSupplySensor(qint32 value)
{
    m_supplySensor = static_cast<quint32>(value);
    return pulseM4SupplySensorSignal(m_supplySensor);
}

bool TestM4::setSupplyWidth(bool value)
{
    m_supplyWidth = value;
    return true;
}

bool TestM4::setSupplyLED(bool value)
{
    m_supplyLED = value;
    return true;
}

bool TestM4::setUserSetting(int setting, qint32 value)
{
    m_userSettings.insert(setting, value);
    return pulseM4UserSettingSignal(setting, value);
}

bool TestM4::refreshSettings()
{
    bool sent = true;
    for (auto it = m_userSettings.constBegin(); it != m_userSettings.constEnd(); ++it) {
        sent = pulseM4UserSettingSignal(it.key(), it.value()) && sent;
    }
    return sent;
}

bool TestM4::dumpSettings()
{
    QTextStream out(stderr);
    out << "dac " << m_dac0 << '\n'
        << "supply sensor " << m_supplySensor << '\n'
        << "supply width " << m_supplyWidth << '\n'
        << "supply LED " << m_supplyLED << '\n'
        << "clear tail of ribbons " << m_clearTailRibbon[0] << ' ' << m_clearTailRibbon[1] << '\n'
        << "solenoids " << m_solenoid[0] << ' ' << m_solenoid[1] << ' ' << m_solenoid[2] << ' '
        << m_solenoid[3] << '\n'
        << "ribbon units " << m_ribbon[0] << ' ' << m_ribbon[1] << '\n'
        << "paper motors " << m_paperMotorSteps[0] << ' ' << m_paperMotorSteps[1] << '\n'
        << "motor " << m_motorSteps << '\n';
    for (auto it = m_userSettings.constBegin(); it != m_userSettings.constEnd(); ++it) {
        out << "user setting " << it.key() << ' ' << it.value() << '\n';
    }
    return true;
}

// Print queue

bool TestM4::cancelPrintJob()
{
    if (m_jobs == 0 || m_jobStopped) {
        return false;
    }
    m_jobStopped = true;
    return true;
}

bool TestM4::retryPrintJob()
{
    if (m_jobs == 0 || !m_jobStopped) {
        return false;
    }
    m_jobStopped = false;
    return true;
}

bool TestM4::clearPrintJob()
{
    if (m_jobs == 0) {
        return false;
    }
    --m_jobs;
    m_jobStopped = false;
    return pulsePrintQueueClearSignal(static_cast<int>(m_jobs));
}

bool TestM4::clearAllPrintJobs()
{
    m_jobs = 0;
    m_jobStopped = false;
    return pulsePrintQueueClearSignal(0);
}

bool TestM4::printQueueFull(quint32 value)
{
    m_jobs = value;
    return pulsePrintQueueFullSignal(static_cast<int>(value));
}

bool TestM4::printQueueComplete(quint32 value)
{
    m_jobs = 0;
    m_jobStopped = false;
    return pulsePrintQueueCompleteSignal(static_cast<int>(value));
}

// Sensors

quint32 TestM4::dac0() { return m_dac0; }

quint32 TestM4::bMark() { return m_bMark; }

quint32 TestM4::gap() { return m_gap; }

quint32 TestM4::preCutter() { return m_preCutter; }

quint32 TestM4::ribbonClr1() { return m_ribbonClr[0]; }

quint32 TestM4::ribbonClr2() { return m_ribbonClr[1]; }

quint32 TestM4::ribbonEnc1() { return m_ribbonEnc[0]; }

quint32 TestM4::ribbonEnc2() { return m_ribbonEnc[1]; }

quint32 TestM4::ribbonEnc3() { return m_ribbonEnc[2]; }

quint32 TestM4::ribbonEnc4() { return m_ribbonEnc[3]; }

bool TestM4::cutterCover() { return m_cutterCover; }

bool TestM4::cutterHome() { return m_cutterHome; }

bool TestM4::printerLid() { return m_printerLid; }

quint32 TestM4::supplySensor() { return m_supplySensor; }

bool TestM4::supplyLatch() { return m_supplyLatch; }

bool TestM4::refreshSensors()
{
    return pulseM4Dac0Signal(m_dac0) && pulseM4BMarkSignal(m_bMark) && pulseM4GapSignal(m_gap)
        && pulseM4PreCutterSignal(m_preCutter) && pulseM4RibbonClr1Signal(m_ribbonClr[0])
        && pulseM4RibbonClr2Signal(m_ribbonClr[1]) && pulseM4RibbonEnc1Signal(m_ribbonEnc[0])
        && pulseM4RibbonEnc2Signal(m_ribbonEnc[1]) && pulseM4RibbonEnc3Signal(m_ribbonEnc[2])
        && pulseM4RibbonEnc4Signal(m_ribbonEnc[3]) && pulseM4CutterCoverSignal(m_cutterCover)
        && pulseM4CutterHomeSignal(m_cutterHome) && pulseM4PrinterLidSignal(m_printerLid)
        && pulseM4SupplySensorSignal(m_supplySensor) && pulseM4SupplyLatchSignal(m_supplyLatch);
}

bool TestM4::refreshAll()
{
    return refreshSettings() && refreshSensors() && pulseM4BatteryUpdateSignal(m_battery)
        && pulseM4VersionSignal(m4Version());
}

bool TestM4::rfidTest()
{
    const QStringList ribbonIds = QStringList()
        << QLatin1String("R-110-CMY") << QLatin1String("R-60-BLACK");
    return pulseM4SupplyIDSignal(QLatin1String("S-100-WHITE")) && pulseM4RibbonIDsSignal(ribbonIds)
        && pulseM4SupplyUIDSignal(QLatin1String("E004015012345601"))
        && pulseM4Ribbon1UIDSignal(QLatin1String("E004015012345602"))
        && pulseM4Ribbon2UIDSignal(QLatin1String("E004015012345603"));
}

// Messages to the micro-controller, which acknowledges each of them

bool TestM4::sendMCCMessage(int type, int definedMessage, quint64 value)
{
    return sendMessage(type, definedMessage, QString::number(value));
}

bool TestM4::sendMCCMessage(int type, int definedMessage, QString value)
{
    return sendMessage(type, definedMessage, QLatin1Char('"') + value + QLatin1Char('"'));
}

bool TestM4::sendMessage(int type, int definedMessage, const QString &value)
{
    const QString message = QString::number(type) + QLatin1Char(' ')
        + QString::number(definedMessage) + QLatin1Char(' ');
    return pulseM4MessageSentSignal(message + value)
        && pulseM4MessageReceivedSignal(message + QLatin1String("ok"));
}

// Feeds and motors

bool TestM4::forwardFeed(quint32 steps) { return feed(steps); }

bool TestM4::backwardFeed(quint32 steps) { return feed(0 - steps); }

// The counters wrap around, as those of the real print engine do.
bool TestM4::feed(quint32 steps)
{
    m_paperMotorSteps[0] += steps;
    m_paperMotorSteps[1] += steps;
    m_motorSteps += steps;
    m_supplyMileage += steps;
    return pulseM4SupplyMileageSignal(static_cast<qint32>(m_supplyMileage));
}

bool TestM4::resetPaperMotor1()
{
    m_paperMotorSteps[0] = 0;
    return true;
}

bool TestM4::resetPaperMotor2()
{
    m_paperMotorSteps[1] = 0;
    return true;
}

bool TestM4::resetMotor()
{
    m_motorSteps = 0;
    return true;
}

bool TestM4::solenoid1()
{
    m_solenoid[0] = true;
    return true;
}

bool TestM4::resetSolenoid1()
{
    m_solenoid[0] = false;
    return true;
}

bool TestM4::solenoid2()
{
    m_solenoid[1] = true;
    return true;
}

bool TestM4::resetSolenoid2()
{
    m_solenoid[1] = false;
    return true;
}

bool TestM4::solenoid3()
{
    m_solenoid[2] = true;
    return true;
}

bool TestM4::resetSolenoid3()
{
    m_solenoid[2] = false;
    return true;
}

bool TestM4::solenoid4()
{
    m_solenoid[3] = true;
    return true;
}

bool TestM4::resetSolenoid4()
{
    m_solenoid[3] = false;
    return true;
}

bool TestM4::ribbon1()
{
    m_ribbon[0] = true;
    return true;
}

bool TestM4::resetRibbon1()
{
    m_ribbon[0] = false;
    return true;
}

bool TestM4::ribbon2()
{
    m_ribbon[1] = true;
    return true;
}

bool TestM4::resetRibbon2()
{
    m_ribbon[1] = false;
    return true;
}

// Measurements: the request measures and sends a signal with the reading, the query returns the
// reading

bool TestM4::reqTph1Therm() { return pulseM4TphThermSignal(1, ++m_tphTherm[0]); }

bool TestM4::reqTph2Therm() { return pulseM4TphThermSignal(2, ++m_tphTherm[1]); }

bool TestM4::reqTph1HeatIndex()
{
    return pulseM4TphHeatIndexOffsetSignal(1, ++m_tphHeatIndexOffset[0]);
}

bool TestM4::reqTph2HeatIndex()
{
    return pulseM4TphHeatIndexOffsetSignal(2, ++m_tphHeatIndexOffset[1]);
}

bool TestM4::reqTach1Tension() { return pulseM4TachIndexSignal(1, ++m_tachTension[0]); }

bool TestM4::reqTach2Tension() { return pulseM4TachIndexSignal(2, ++m_tachTension[1]); }

bool TestM4::reqTach3Tension() { return pulseM4TachIndexSignal(3, ++m_tachTension[2]); }

bool TestM4::reqTach4Tension() { return pulseM4TachIndexSignal(4, ++m_tachTension[3]); }

bool TestM4::reqRibbon1Verify() { return pulseM4RibbonVerify1Signal(++m_ribbonVerify[0]); }

bool TestM4::reqRibbon2Verify() { return pulseM4RibbonVerify2Signal(++m_ribbonVerify[1]); }

bool TestM4::reqRibbon1Mileage() { return pulseM4Ribbon1MileageSignal(++m_ribbonMileage[0]); }

bool TestM4::reqRibbon2Mileage() { return pulseM4Ribbon2MileageSignal(++m_ribbonMileage[1]); }

bool TestM4::reqSupplyMileage()
{
    return pulseM4SupplyMileageSignal(static_cast<qint32>(++m_supplyMileage));
}

quint64 TestM4::ribbon1Verify() { return m_ribbonVerify[0]; }

quint64 TestM4::ribbon2Verify() { return m_ribbonVerify[1]; }

qint32 TestM4::ribbon1Mileage() { return m_ribbonMileage[0]; }

qint32 TestM4::ribbon2Mileage() { return m_ribbonMileage[1]; }

qint32 TestM4::supplyMileage() { return static_cast<qint32>(m_supplyMileage); }

qint32 TestM4::tph1Therm() { return m_tphTherm[0]; }

qint32 TestM4::tph2Therm() { return m_tphTherm[1]; }

qint32 TestM4::tph1HeatIndexOffset() { return m_tphHeatIndexOffset[0]; }

qint32 TestM4::tph2HeatIndexOffset() { return m_tphHeatIndexOffset[1]; }

qint32 TestM4::tach1Tension() { return m_tachTension[0]; }

qint32 TestM4::tach2Tension() { return m_tachTension[1]; }

qint32 TestM4::tach3Tension() { return m_tachTension[2]; }

qint32 TestM4::tach4Tension() { return m_tachTension[3]; }
