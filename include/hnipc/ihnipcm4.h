// SPDX-License-Identifier: MIT
#ifndef IHNIPCM4_H
#define IHNIPCM4_H

#include <hnipc/hnipcserver.h>

#include <QtCore/QStringList>

/**
 * The print-engine daemon: the process that talks to the print engine's micro-controller.
 *
 * Construct the object once, in the thread whose event loop serves its calls. Every slot is a
 * method of the interface on the bus. The daemon implements the pure virtual slots: they are called
 * over the bus. This class implements the pulse operations: the daemon calls one to send one signal
 * of the interface to all clients. A pulse operation returns false if the signal could not be queued
 * for sending. Pulse operations can be called over the bus, too; the installed bus policy refuses
 * such calls of applications.
 *
 * A command returns true if it was accepted or carried out. Where a comment says "the daemon's
 * unit" or "defined by the daemon", the implementation defines the unit, code or format.
 */
class HNIPC_EXPORT IHNIPCM4 : public HNIPCServer
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "local.IHNIPCM4")

public:
    /// Acquires the bus name org.hnipc.m4 and exports the object; see HNIPCServer.
    explicit IHNIPCM4(QObject *parent = nullptr) : HNIPCServer(HNIPCServer::M4, parent) {}
    virtual ~IHNIPCM4() {}

public Q_SLOTS:
    /// @name Events
    /// @{

    /// The micro-controller sent a message. @p value: its text.
    Q_SCRIPTABLE bool pulseM4MessageReceivedSignal(const QString &value);
    /// A message was sent to the micro-controller. @p value: its text.
    Q_SCRIPTABLE bool pulseM4MessageSentSignal(const QString &value);
    /// The version string of the print-engine controller.
    Q_SCRIPTABLE bool pulseM4VersionSignal(const QString &value);
    /// The DAC value, in the daemon's unit.
    Q_SCRIPTABLE bool pulseM4Dac0Signal(const quint32 &value);
    /// The reading of the black-mark sensor, in the daemon's unit.
    Q_SCRIPTABLE bool pulseM4BMarkSignal(const quint32 &value);
    /// The reading of the gap sensor, in the daemon's unit.
    Q_SCRIPTABLE bool pulseM4GapSignal(const quint32 &value);
    /// The reading of the pre-cutter sensor, in the daemon's unit.
    Q_SCRIPTABLE bool pulseM4PreCutterSignal(const quint32 &value);
    /// The reading of ribbon clear sensor 1, in the daemon's unit.
    Q_SCRIPTABLE bool pulseM4RibbonClr1Signal(const quint32 &value);
    /// The reading of ribbon clear sensor 2, in the daemon's unit.
    Q_SCRIPTABLE bool pulseM4RibbonClr2Signal(const quint32 &value);
    /// The reading of ribbon encoder 1, in the daemon's unit.
    Q_SCRIPTABLE bool pulseM4RibbonEnc1Signal(const quint32 &value);
    /// The reading of ribbon encoder 2, in the daemon's unit.
    Q_SCRIPTABLE bool pulseM4RibbonEnc2Signal(const quint32 &value);
    /// The reading of ribbon encoder 3, in the daemon's unit.
    Q_SCRIPTABLE bool pulseM4RibbonEnc3Signal(const quint32 &value);
    /// The reading of ribbon encoder 4, in the daemon's unit.
    Q_SCRIPTABLE bool pulseM4RibbonEnc4Signal(const quint32 &value);
    /// The state of the cutter cover switch; true when active.
    Q_SCRIPTABLE bool pulseM4CutterCoverSignal(const bool &value);
    /// The state of the cutter home switch; true when active.
    Q_SCRIPTABLE bool pulseM4CutterHomeSignal(const bool &value);
    /// The state of the printer lid switch; true when active.
    Q_SCRIPTABLE bool pulseM4PrinterLidSignal(const bool &value);
    /// The reading of the supply sensor, in the daemon's unit.
    Q_SCRIPTABLE bool pulseM4SupplySensorSignal(const quint32 &value);
    /// The state of the supply latch switch; true when active.
    Q_SCRIPTABLE bool pulseM4SupplyLatchSignal(const bool &value);
    /// The reading of film tachometer 1, in the daemon's unit.
    Q_SCRIPTABLE bool pulseM4Film1TachSignal(const quint32 &value);
    /// The reading of film tachometer 2, in the daemon's unit.
    Q_SCRIPTABLE bool pulseM4Film2TachSignal(const quint32 &value);
    /// The reading of film tachometer 3, in the daemon's unit.
    Q_SCRIPTABLE bool pulseM4Film3TachSignal(const quint32 &value);
    /// The reading of film tachometer 4, in the daemon's unit.
    Q_SCRIPTABLE bool pulseM4Film4TachSignal(const quint32 &value);
    /// A print is done.
    Q_SCRIPTABLE bool pulseM4PrintDoneSignal();
    /// The 64-bit verification value of ribbon 1, defined by the daemon.
    Q_SCRIPTABLE bool pulseM4RibbonVerify1Signal(const quint64 &value);
    /// The 64-bit verification value of ribbon 2, defined by the daemon.
    Q_SCRIPTABLE bool pulseM4RibbonVerify2Signal(const quint64 &value);
    /// Print head 1 has a fault.
    Q_SCRIPTABLE bool pulseM4Tph1FaultSignal();
    /// Print head 2 has a fault.
    Q_SCRIPTABLE bool pulseM4Tph2FaultSignal();
    /// The identifier of the supply.
    Q_SCRIPTABLE bool pulseM4SupplyIDSignal(const QString &value);
    /// The identifiers of the ribbons.
    Q_SCRIPTABLE bool pulseM4RibbonIDsSignal(const QStringList &value);
    /// The unique identifier of the supply.
    Q_SCRIPTABLE bool pulseM4SupplyUIDSignal(const QString &value);
    /// The unique identifier of ribbon 1.
    Q_SCRIPTABLE bool pulseM4Ribbon1UIDSignal(const QString &value);
    /// The unique identifier of ribbon 2.
    Q_SCRIPTABLE bool pulseM4Ribbon2UIDSignal(const QString &value);
    /// The mileage of ribbon 1, in the daemon's unit.
    Q_SCRIPTABLE bool pulseM4Ribbon1MileageSignal(const qint32 &value);
    /// The mileage of ribbon 2, in the daemon's unit.
    Q_SCRIPTABLE bool pulseM4Ribbon2MileageSignal(const qint32 &value);
    /// The mileage of the supply, in the daemon's unit.
    Q_SCRIPTABLE bool pulseM4SupplyMileageSignal(const qint32 &value);
    /// The battery status, a code defined by the daemon.
    Q_SCRIPTABLE bool pulseM4BatteryUpdateSignal(const qint32 &value);
    /// The error code, defined by the daemon.
    Q_SCRIPTABLE bool pulseErrorSignal(int value);
    /// The alert code, defined by the daemon.
    Q_SCRIPTABLE bool pulseAlertSignal(int value);
    /// The print queue is full. @p value: defined by the daemon.
    Q_SCRIPTABLE bool pulsePrintQueueFullSignal(int value);
    /// The print queue is clear. @p value: defined by the daemon.
    Q_SCRIPTABLE bool pulsePrintQueueClearSignal(int value);
    /// The print queue is complete. @p value: defined by the daemon.
    Q_SCRIPTABLE bool pulsePrintQueueCompleteSignal(int value);
    /// The readings of the tachometers, as one string in a format defined by the daemon.
    Q_SCRIPTABLE bool pulseM4TachValuesSignal(const QString &value);
    /// @}

    /// @name Operations: codes, commands, print jobs, readings
    /// @{

    /// The current error code, defined by the daemon.
    virtual Q_SCRIPTABLE int getError() = 0;
    /// The current alert code, defined by the daemon.
    virtual Q_SCRIPTABLE int getAlert() = 0;
    /// A client sends an error code. @p value: defined by the daemon.
    virtual Q_SCRIPTABLE bool emitError(int value) = 0;
    /// A client sends an alert code. @p value: defined by the daemon.
    virtual Q_SCRIPTABLE bool emitAlert(int value) = 0;
    /// The status of the printer @p printerName, a code defined by the daemon.
    virtual Q_SCRIPTABLE int getPrinterStatus(QString printerName) = 0;
    /// Resets the cutter.
    virtual Q_SCRIPTABLE bool resetCutter() = 0;
    /// Resets the whole printer.
    virtual Q_SCRIPTABLE bool resetPrinter() = 0;
    /// Runs one cutter cycle.
    virtual Q_SCRIPTABLE bool cycleCutter() = 0;
    /// Calibrates for the loaded supply.
    virtual Q_SCRIPTABLE bool calibrateSupply() = 0;
    /// Sets the DAC value, which dac0() returns. @p value: in the daemon's unit.
    virtual Q_SCRIPTABLE bool setDac(quint32 value) = 0;
    /// Switches the clear-tail option of ribbon 1 on (true) or off.
    virtual Q_SCRIPTABLE bool setClearTailRibbon1(bool value) = 0;
    /// Switches the clear-tail option of ribbon 2 on (true) or off.
    virtual Q_SCRIPTABLE bool setClearTailRibbon2(bool value) = 0;
    /// Sets the supply sensor. @p value: in the daemon's unit; signed here, unsigned in
    /// supplySensor().
    virtual Q_SCRIPTABLE bool setSupplySensor(qint32 value) = 0;
    /// Switches the supply width. @p value: a switch, not a measure; the daemon defines its
    /// meaning.
    virtual Q_SCRIPTABLE bool setSupplyWidth(bool value) = 0;
    /// Switches the supply LED on (true) or off.
    virtual Q_SCRIPTABLE bool setSupplyLED(bool value) = 0;
    /// Cancels the current print job.
    virtual Q_SCRIPTABLE bool cancelPrintJob() = 0;
    /// Retries the current print job.
    virtual Q_SCRIPTABLE bool retryPrintJob() = 0;
    /// Clears the current print job.
    virtual Q_SCRIPTABLE bool clearPrintJob() = 0;
    /// Clears all print jobs.
    virtual Q_SCRIPTABLE bool clearAllPrintJobs() = 0;
    /// A client sends the number of a full print queue. @p value: defined by the daemon; unsigned
    /// here, signed in the signal PrintQueueFull.
    virtual Q_SCRIPTABLE bool printQueueFull(quint32 value) = 0;
    /// A client sends the number of a complete print queue. @p value: defined by the daemon;
    /// unsigned here, signed in the signal PrintQueueComplete.
    virtual Q_SCRIPTABLE bool printQueueComplete(quint32 value) = 0;
    /// The version string of the print-engine controller.
    virtual Q_SCRIPTABLE QString m4Version() = 0;
    /// The battery status, a code defined by the daemon.
    virtual Q_SCRIPTABLE int getBatteryStatus() = 0;
    /// The DAC value, in the daemon's unit.
    virtual Q_SCRIPTABLE quint32 dac0() = 0;
    /// The reading of the black-mark sensor, in the daemon's unit.
    virtual Q_SCRIPTABLE quint32 bMark() = 0;
    /// The reading of the gap sensor, in the daemon's unit.
    virtual Q_SCRIPTABLE quint32 gap() = 0;
    /// The reading of the pre-cutter sensor, in the daemon's unit.
    virtual Q_SCRIPTABLE quint32 preCutter() = 0;
    /// The reading of ribbon clear sensor 1, in the daemon's unit.
    virtual Q_SCRIPTABLE quint32 ribbonClr1() = 0;
    /// The reading of ribbon clear sensor 2, in the daemon's unit.
    virtual Q_SCRIPTABLE quint32 ribbonClr2() = 0;
    /// The reading of ribbon encoder 1, in the daemon's unit.
    virtual Q_SCRIPTABLE quint32 ribbonEnc1() = 0;
    /// The reading of ribbon encoder 2, in the daemon's unit.
    virtual Q_SCRIPTABLE quint32 ribbonEnc2() = 0;
    /// The reading of ribbon encoder 3, in the daemon's unit.
    virtual Q_SCRIPTABLE quint32 ribbonEnc3() = 0;
    /// The reading of ribbon encoder 4, in the daemon's unit.
    virtual Q_SCRIPTABLE quint32 ribbonEnc4() = 0;
    /// Whether the switch of the cutter cover is active.
    virtual Q_SCRIPTABLE bool cutterCover() = 0;
    /// Whether the cutter home switch is active.
    virtual Q_SCRIPTABLE bool cutterHome() = 0;
    /// Whether the switch of the printer lid is active.
    virtual Q_SCRIPTABLE bool printerLid() = 0;
    /// The reading of the supply sensor, in the daemon's unit.
    virtual Q_SCRIPTABLE quint32 supplySensor() = 0;
    /// Whether the switch of the supply latch is active.
    virtual Q_SCRIPTABLE bool supplyLatch() = 0;
    /// The 64-bit verification value of ribbon 1, defined by the daemon.
    virtual Q_SCRIPTABLE quint64 ribbon1Verify() = 0;
    /// The 64-bit verification value of ribbon 2, defined by the daemon.
    virtual Q_SCRIPTABLE quint64 ribbon2Verify() = 0;
    /// The mileage of ribbon 1, in the daemon's unit.
    virtual Q_SCRIPTABLE qint32 ribbon1Mileage() = 0;
    /// The mileage of ribbon 2, in the daemon's unit.
    virtual Q_SCRIPTABLE qint32 ribbon2Mileage() = 0;
    /// The mileage of the supply, in the daemon's unit.
    virtual Q_SCRIPTABLE qint32 supplyMileage() = 0;
    /// @}

    /// @name Events with a number
    /// @{

    /// The value of the user setting with the number @p setting; the daemon defines both.
    Q_SCRIPTABLE bool pulseM4UserSettingSignal(const int &setting, const qint32 &value);
    /// The thermistor reading of print head @p tph, in the daemon's unit.
    Q_SCRIPTABLE bool pulseM4TphThermSignal(const int &tph, const qint32 &value);
    /// The heat-index offset of print head @p tph, in the daemon's unit.
    Q_SCRIPTABLE bool pulseM4TphHeatIndexOffsetSignal(const int &tph, const qint32 &value);
    /// The tension at tachometer @p tach, in the daemon's unit.
    Q_SCRIPTABLE bool pulseM4TachIndexSignal(const int &tach, const qint32 &value);
    /// @}

    /// @name Operations: messages, mechanisms, settings, requests for readings
    /// @{

    /// Sends a message to the print engine's micro-controller, with a number as its value. The
    /// micro-controller defines the codes @p type and @p definedMessage, and the value's meaning.
    virtual Q_SCRIPTABLE bool sendMCCMessage(int type, int definedMessage, quint64 value = 0) = 0;
    /// The same, with a string as its value.
    virtual Q_SCRIPTABLE bool sendMCCMessage(int type, int definedMessage, QString value) = 0;
    /// Feeds the media forward. @p steps: the distance, in feed steps of the print engine.
    virtual Q_SCRIPTABLE bool forwardFeed(quint32 steps) = 0;
    /// Feeds the media backward. @p steps: the distance, in feed steps of the print engine.
    virtual Q_SCRIPTABLE bool backwardFeed(quint32 steps) = 0;
    /// Sets solenoid 1.
    virtual Q_SCRIPTABLE bool solenoid1() = 0;
    /// Resets solenoid 1.
    virtual Q_SCRIPTABLE bool resetSolenoid1() = 0;
    /// Sets solenoid 2.
    virtual Q_SCRIPTABLE bool solenoid2() = 0;
    /// Resets solenoid 2.
    virtual Q_SCRIPTABLE bool resetSolenoid2() = 0;
    /// Sets solenoid 3.
    virtual Q_SCRIPTABLE bool solenoid3() = 0;
    /// Resets solenoid 3.
    virtual Q_SCRIPTABLE bool resetSolenoid3() = 0;
    /// Sets solenoid 4.
    virtual Q_SCRIPTABLE bool solenoid4() = 0;
    /// Resets solenoid 4.
    virtual Q_SCRIPTABLE bool resetSolenoid4() = 0;
    /// Sets ribbon unit 1: a command, not a query.
    virtual Q_SCRIPTABLE bool ribbon1() = 0;
    /// Resets ribbon unit 1.
    virtual Q_SCRIPTABLE bool resetRibbon1() = 0;
    /// Sets ribbon unit 2: a command, not a query.
    virtual Q_SCRIPTABLE bool ribbon2() = 0;
    /// Resets ribbon unit 2.
    virtual Q_SCRIPTABLE bool resetRibbon2() = 0;
    /// Resets paper motor 1.
    virtual Q_SCRIPTABLE bool resetPaperMotor1() = 0;
    /// Resets paper motor 2.
    virtual Q_SCRIPTABLE bool resetPaperMotor2() = 0;
    /// Resets the motor.
    virtual Q_SCRIPTABLE bool resetMotor() = 0;
    /// Writes one user setting. @p setting: its number, @p value: its value, both defined by the
    /// daemon.
    virtual Q_SCRIPTABLE bool setUserSetting(int setting, qint32 value) = 0;
    /// Reads the settings again.
    virtual Q_SCRIPTABLE bool refreshSettings() = 0;
    /// Reads the sensors again.
    virtual Q_SCRIPTABLE bool refreshSensors() = 0;
    /// Reads the settings and the sensors again.
    virtual Q_SCRIPTABLE bool refreshAll() = 0;
    /// Runs the RFID test.
    virtual Q_SCRIPTABLE bool rfidTest() = 0;
    /// Dumps the settings, in a way defined by the daemon.
    virtual Q_SCRIPTABLE bool dumpSettings() = 0;
    /// Takes a new reading of tph1Therm(); the daemon announces it with pulseM4TphThermSignal().
    virtual Q_SCRIPTABLE bool reqTph1Therm() = 0;
    /// Takes a new reading of tph2Therm(); the daemon announces it with pulseM4TphThermSignal().
    virtual Q_SCRIPTABLE bool reqTph2Therm() = 0;
    /// Takes a new reading of tph1HeatIndexOffset(); the daemon announces it with
    /// pulseM4TphHeatIndexOffsetSignal().
    virtual Q_SCRIPTABLE bool reqTph1HeatIndex() = 0;
    /// Takes a new reading of tph2HeatIndexOffset(); the daemon announces it with
    /// pulseM4TphHeatIndexOffsetSignal().
    virtual Q_SCRIPTABLE bool reqTph2HeatIndex() = 0;
    /// Takes a new reading of tach1Tension(); the daemon announces it with
    /// pulseM4TachIndexSignal().
    virtual Q_SCRIPTABLE bool reqTach1Tension() = 0;
    /// Takes a new reading of tach2Tension(); the daemon announces it with
    /// pulseM4TachIndexSignal().
    virtual Q_SCRIPTABLE bool reqTach2Tension() = 0;
    /// Takes a new reading of tach3Tension(); the daemon announces it with
    /// pulseM4TachIndexSignal().
    virtual Q_SCRIPTABLE bool reqTach3Tension() = 0;
    /// Takes a new reading of tach4Tension(); the daemon announces it with
    /// pulseM4TachIndexSignal().
    virtual Q_SCRIPTABLE bool reqTach4Tension() = 0;
    /// Takes a new reading of ribbon1Verify(); the daemon announces it with
    /// pulseM4RibbonVerify1Signal().
    virtual Q_SCRIPTABLE bool reqRibbon1Verify() = 0;
    /// Takes a new reading of ribbon2Verify(); the daemon announces it with
    /// pulseM4RibbonVerify2Signal().
    virtual Q_SCRIPTABLE bool reqRibbon2Verify() = 0;
    /// Takes a new reading of ribbon1Mileage(); the daemon announces it with
    /// pulseM4Ribbon1MileageSignal().
    virtual Q_SCRIPTABLE bool reqRibbon1Mileage() = 0;
    /// Takes a new reading of ribbon2Mileage(); the daemon announces it with
    /// pulseM4Ribbon2MileageSignal().
    virtual Q_SCRIPTABLE bool reqRibbon2Mileage() = 0;
    /// Takes a new reading of supplyMileage(); the daemon announces it with
    /// pulseM4SupplyMileageSignal().
    virtual Q_SCRIPTABLE bool reqSupplyMileage() = 0;
    /// The thermistor reading of print head 1, in the daemon's unit.
    virtual Q_SCRIPTABLE qint32 tph1Therm() = 0;
    /// The thermistor reading of print head 2, in the daemon's unit.
    virtual Q_SCRIPTABLE qint32 tph2Therm() = 0;
    /// The heat-index offset of print head 1, in the daemon's unit.
    virtual Q_SCRIPTABLE qint32 tph1HeatIndexOffset() = 0;
    /// The heat-index offset of print head 2, in the daemon's unit.
    virtual Q_SCRIPTABLE qint32 tph2HeatIndexOffset() = 0;
    /// The tension at tachometer 1, in the daemon's unit.
    virtual Q_SCRIPTABLE qint32 tach1Tension() = 0;
    /// The tension at tachometer 2, in the daemon's unit.
    virtual Q_SCRIPTABLE qint32 tach2Tension() = 0;
    /// The tension at tachometer 3, in the daemon's unit.
    virtual Q_SCRIPTABLE qint32 tach3Tension() = 0;
    /// The tension at tachometer 4, in the daemon's unit.
    virtual Q_SCRIPTABLE qint32 tach4Tension() = 0;
    /// @}

private:
    Q_DISABLE_COPY(IHNIPCM4)
};

#endif
