// SPDX-License-Identifier: MIT
#ifndef HNIPC_H
#define HNIPC_H

#include <hnipc/hnipc_export.h>
#include <hnipc/hnipc_version.h>
#include <hnipc/supplyinformation.h>

#include <QtCore/QByteArray>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

class HNIPCPrivate;

/**
 * The client with blocking calls. An application that must not block, such as one with a screen,
 * uses HNIPCEvents, HNIPCReading and HNIPCRequest instead.
 *
 * Each method is one call on the system bus to the daemon that its group names, and returns the
 * daemon's reply. The library neither checks nor changes arguments, and stores no reply. The method
 * blocks its thread until the daemon has replied, for up to 25 s, which is the default timeout of
 * the bus library.
 *
 * The constructor blocks as well. It calls each daemon that is running, for its introspection data,
 * and waits up to 25 s for each that does not reply. The event loop blocks in the same way when a
 * daemon appears.
 *
 * Failures are not reported. A method fails if the daemon is not running, replies with an error or
 * with another type, or does not reply in time. On failure, a query returns the empty value of its
 * result type, which is in the comment of the method. A command returns false. A method without a
 * result just returns. Such a value looks the same as one that the daemon has sent.
 *
 * The bus sends a signal when a daemon leaves it. Once the event loop has processed this signal,
 * nothing is sent to the daemon. Calls are neither queued nor retried. The bus sends another signal
 * when the daemon is back. Once the event loop has processed it, the next call is sent.
 *
 * The daemons' events arrive as the signals of this class, through the event loop, for as long as
 * the object lives. They also arrive after a daemon starts or restarts.
 *
 * Create the object in the thread that uses it: it belongs to that thread. Never move it or its
 * parent to another thread. In a child process made by fork() without exec(), its calls do not
 * return, and neither does the constructor of another HNIPC object.
 *
 * Where a comment says "the daemon's unit" or "defined by the daemon", the library passes the value
 * on unchanged. This includes printer names. The default of a printer name is the null string; it
 * arrives as an empty string, and the daemon defines which printer that means.
 *
 * The signals have the result type bool. A program that emits one gets the value that a directly
 * connected receiver returned. Without a receiver, the value is undefined.
 *
 * The order of signals and slots is part of the binary interface, which a major version keeps.
 */
class HNIPC_EXPORT HNIPC : public QObject
{
    Q_OBJECT
    /// @name For QML: each read of a property is one blocking call; QML reads again after the signal
    /// @{

    /// The reply of supplySupplyPercent(); SupplyPercentChanged() is its signal.
    Q_PROPERTY(double qmlSupplyPercent READ supplySupplyPercent NOTIFY SupplyPercentChanged)
    /// The reply of supplySupplyRGB(); SupplyRGBChanged() is its signal.
    Q_PROPERTY(QString qmlSupplyColorRGB READ supplySupplyRGB NOTIFY SupplyRGBChanged)
    /// The reply of supplyRibbon1Percent(); Ribbon1PercentChanged() is its signal.
    Q_PROPERTY(double qmlRibbonPercent READ supplyRibbon1Percent NOTIFY Ribbon1PercentChanged)
    /// The reply of supplyRibbon1RGBs(); Ribbon1RGBsChanged() is its signal.
    Q_PROPERTY(QStringList qmlRibbonColorRGBs READ supplyRibbon1RGBs NOTIFY Ribbon1RGBsChanged)
    /// The reply of supplySKUCached(); SupplyChanged() is its signal.
    Q_PROPERTY(QString qmlSupplySKU READ supplySKUCached NOTIFY SupplyChanged)
    /// The reply of getError(); Error() is its signal.
    Q_PROPERTY(int qmlPrintEngineErrorCode READ getError NOTIFY Error)
    /// The reply of getAlert(); Alert() is its signal.
    Q_PROPERTY(int qmlPrintEngineAlertCode READ getAlert NOTIFY Alert)
    /// The reply of getBatteryStatus(); M4BatteryUpdate() is its signal.
    Q_PROPERTY(int qmlBatteryStatus READ getBatteryStatus NOTIFY M4BatteryUpdate)
    /// @}

public:
    /// Construct it after the QCoreApplication. Blocks until each daemon that is running has
    /// replied to a call for its introspection data, up to 25 s for each.
    explicit HNIPC(QObject *parent = nullptr);
    /// Ends the subscriptions. Sends nothing to the daemons.
    virtual ~HNIPC();

Q_SIGNALS:
    /// @name The I/O expander
    /// @{

    /// The cancel button was pressed.
    bool CancelButton();
    /// The help button was pressed.
    bool HelpButton();
    /// The print button was pressed.
    bool PrintButton();
    /// @}

    /// @name The print engine
    /// @{

    /// The micro-controller sent a message. @p value: its text.
    bool M4MessageReceived(const QString &value);
    /// A message was sent to the micro-controller. @p value: its text.
    bool M4MessageSent(const QString &value);
    /// The version string of the print-engine controller.
    bool M4Version(const QString &value);
    /// The DAC value, in the daemon's unit.
    bool M4Dac0(const quint32 &value);
    /// The reading of the black-mark sensor, in the daemon's unit.
    bool M4BMark(const quint32 &value);
    /// The reading of the gap sensor, in the daemon's unit.
    bool M4Gap(const quint32 &value);
    /// The reading of the pre-cutter sensor, in the daemon's unit.
    bool M4PreCutter(const quint32 &value);
    /// The reading of ribbon clear sensor 1, in the daemon's unit.
    bool M4RibbonClr1(const quint32 &value);
    /// The reading of ribbon clear sensor 2, in the daemon's unit.
    bool M4RibbonClr2(const quint32 &value);
    /// The reading of ribbon encoder 1, in the daemon's unit.
    bool M4RibbonEnc1(const quint32 &value);
    /// The reading of ribbon encoder 2, in the daemon's unit.
    bool M4RibbonEnc2(const quint32 &value);
    /// The reading of ribbon encoder 3, in the daemon's unit.
    bool M4RibbonEnc3(const quint32 &value);
    /// The reading of ribbon encoder 4, in the daemon's unit.
    bool M4RibbonEnc4(const quint32 &value);
    /// The state of the cutter cover switch; true when active.
    bool M4CutterCover(const bool &value);
    /// The state of the cutter home switch; true when active.
    bool M4CutterHome(const bool &value);
    /// The state of the printer lid switch; true when active.
    bool M4PrinterLid(const bool &value);
    /// The reading of the supply sensor, in the daemon's unit.
    bool M4SupplySensor(const quint32 &value);
    /// The state of the supply latch switch; true when active.
    bool M4SupplyLatch(const bool &value);
    /// The reading of film tachometer 1, in the daemon's unit.
    bool M4Film1Tach(const quint32 &value);
    /// The reading of film tachometer 2, in the daemon's unit.
    bool M4Film2Tach(const quint32 &value);
    /// The reading of film tachometer 3, in the daemon's unit.
    bool M4Film3Tach(const quint32 &value);
    /// The reading of film tachometer 4, in the daemon's unit.
    bool M4Film4Tach(const quint32 &value);
    /// A print is done.
    bool M4PrintDone();
    /// The 64-bit verification value of ribbon 1, defined by the daemon.
    bool M4RibbonVerify1(const quint64 &value);
    /// The 64-bit verification value of ribbon 2, defined by the daemon.
    bool M4RibbonVerify2(const quint64 &value);
    /// Print head 1 has a fault.
    bool M4Tph1Fault();
    /// Print head 2 has a fault.
    bool M4Tph2Fault();
    /// The identifier of the supply.
    bool M4SupplyID(const QString &value);
    /// The identifiers of the ribbons.
    bool M4RibbonIDs(const QStringList &value);
    /// The unique identifier of the supply.
    bool M4SupplyUID(const QString &value);
    /// The unique identifier of ribbon 1.
    bool M4Ribbon1UID(const QString &value);
    /// The unique identifier of ribbon 2.
    bool M4Ribbon2UID(const QString &value);
    /// The mileage of ribbon 1, in the daemon's unit.
    bool M4Ribbon1Mileage(const qint32 &value);
    /// The mileage of ribbon 2, in the daemon's unit.
    bool M4Ribbon2Mileage(const qint32 &value);
    /// The mileage of the supply, in the daemon's unit.
    bool M4SupplyMileage(const qint32 &value);
    /// The battery status, a code defined by the daemon.
    bool M4BatteryUpdate(const qint32 &value);
    /// The error code, defined by the daemon.
    bool Error(int value);
    /// The alert code, defined by the daemon.
    bool Alert(int value);
    /// The print queue is full. @p value: defined by the daemon.
    bool PrintQueueFull(int value);
    /// The print queue is clear. @p value: defined by the daemon.
    bool PrintQueueClear(int value);
    /// The print queue is complete. @p value: defined by the daemon.
    bool PrintQueueComplete(int value);
    /// The readings of the tachometers, as one string in a format defined by the daemon.
    bool M4TachValues(const QString &value);
    /// The value of the user setting with the number @p setting; the daemon defines both.
    bool M4UserSetting(const int &setting, const qint32 &value);
    /// The thermistor reading of print head @p tph, in the daemon's unit.
    bool M4TphTherm(const int &tph, const qint32 &value);
    /// The heat-index offset of print head @p tph, in the daemon's unit.
    bool M4TphHeatIndexOffset(const int &tph, const qint32 &value);
    /// The tension at tachometer @p tach, in the daemon's unit.
    bool M4TachIndex(const int &tach, const qint32 &value);
    /// @}

    /// @name The supply daemon
    /// @{

    /// The supply daemon is ready. The daemon defines what that means.
    bool HNIPCReady();
    /// The status of the printer @p printerName. No daemon sends this signal. Only the application
    /// itself can emit it.
    bool StatusChanged(int status, const QString &printerName);
    /// The loaded supply changed to @p supplySku, in the printer @p printerName.
    bool SupplyChanged(QString supplySku, const QString &printerName);
    /// The loaded ribbons changed to @p ribbonSkus, in the printer @p printerName.
    bool RibbonChanged(QStringList ribbonSkus, const QString &printerName);
    /// The remaining part of the supply, in percent.
    bool SupplyPercentChanged(double percentage);
    /// The remaining part of ribbon 1, in percent.
    bool Ribbon1PercentChanged(double percentage);
    /// The remaining part of ribbon 2, in percent.
    bool Ribbon2PercentChanged(double percentage);
    /// The colour of the loaded supply, as a string in a format defined by the daemon.
    bool SupplyRGBChanged(QString rgb);
    /// The colours of the panels of ribbon 1, as strings in a format defined by the daemon.
    bool Ribbon1RGBsChanged(QStringList rgbs);
    /// The colours of the panels of ribbon 2, as strings in a format defined by the daemon.
    bool Ribbon2RGBsChanged(QStringList rgbs);
    /// The supply daemon requests that the applications close.
    bool CloseApplicationSignal();
    /// @}

public Q_SLOTS:
    /// @name The I/O expander (buttons, amplifier, backlight)
    /// @{

    /// Switches the audio amplifier on (true) or off.
    void enableAudioAmp(bool value);
    /// Switches the display backlight on (true) or off.
    void enableBacklight(bool value);
    /// Sends the daemon a cancel request.
    void printerSoftCancel();
    /// @}

    /// @name The print engine: codes, commands and print jobs; commands return false on failure
    /// @{

    /// The current error code, defined by the daemon; 0 on failure.
    int getError();
    /// The current alert code, defined by the daemon; 0 on failure.
    int getAlert();
    /// Sends the daemon an error code. @p value: defined by the daemon.
    bool emitError(int value);
    /// Sends the daemon an alert code. @p value: defined by the daemon.
    bool emitAlert(int value);
    /// Resets the cutter.
    bool resetCutter();
    /// Resets the whole printer.
    bool resetPrinter();
    /// Runs one cutter cycle.
    bool cycleCutter();
    /// Calibrates for the loaded supply.
    bool calibrateSupply();
    /// Sets the DAC value, which dac0() returns. @p value: in the daemon's unit.
    bool setDac(quint32 value);
    /// Switches the clear-tail option of ribbon 1 on (true) or off.
    bool setClearTailRibbon1(bool value);
    /// Switches the clear-tail option of ribbon 2 on (true) or off.
    bool setClearTailRibbon2(bool value);
    /// Sets the supply sensor. @p value: in the daemon's unit; signed here, unsigned in
    /// supplySensor().
    bool setSupplySensor(qint32 value);
    /// Switches the supply width. @p value: a switch, not a measure; the daemon defines its
    /// meaning.
    bool setSupplyWidth(bool value);
    /// Switches the supply LED on (true) or off.
    bool setSupplyLED(bool value);
    /// Cancels the current print job.
    bool cancelPrintJob();
    /// Retries the current print job.
    bool retryPrintJob();
    /// Clears the current print job.
    bool clearPrintJob();
    /// Clears all print jobs.
    bool clearAllPrintJobs();
    /// Sends the daemon the number of a full print queue. @p value: defined by the daemon; unsigned
    /// here, signed in the signal PrintQueueFull.
    bool printQueueFull(quint32 value);
    /// Sends the daemon the number of a complete print queue. @p value: defined by the daemon;
    /// unsigned here, signed in the signal PrintQueueComplete.
    bool printQueueComplete(quint32 value);
    /// @}

    /// @name The print engine: version, battery, sensors, counters
    /// @{

    /// The version string of the print-engine controller; a null string on failure.
    QString m4Version();
    /// The battery status, a code defined by the daemon; 0 on failure.
    int getBatteryStatus();
    /// The DAC value, in the daemon's unit; 0 on failure.
    quint32 dac0();
    /// The reading of the black-mark sensor, in the daemon's unit; 0 on failure.
    quint32 bMark();
    /// The reading of the gap sensor, in the daemon's unit; 0 on failure.
    quint32 gap();
    /// The reading of the pre-cutter sensor, in the daemon's unit; 0 on failure.
    quint32 preCutter();
    /// The reading of ribbon clear sensor 1, in the daemon's unit; 0 on failure.
    quint32 ribbonClr1();
    /// The reading of ribbon clear sensor 2, in the daemon's unit; 0 on failure.
    quint32 ribbonClr2();
    /// The reading of ribbon encoder 1, in the daemon's unit; 0 on failure.
    quint32 ribbonEnc1();
    /// The reading of ribbon encoder 2, in the daemon's unit; 0 on failure.
    quint32 ribbonEnc2();
    /// The reading of ribbon encoder 3, in the daemon's unit; 0 on failure.
    quint32 ribbonEnc3();
    /// The reading of ribbon encoder 4, in the daemon's unit; 0 on failure.
    quint32 ribbonEnc4();
    /// Whether the switch of the cutter cover is active; false on failure.
    bool cutterCover();
    /// Whether the cutter home switch is active; false on failure.
    bool cutterHome();
    /// Whether the switch of the printer lid is active; false on failure.
    bool printerLid();
    /// The reading of the supply sensor, in the daemon's unit; 0 on failure.
    quint32 supplySensor();
    /// Whether the switch of the supply latch is active; false on failure.
    bool supplyLatch();
    /// The 64-bit verification value of ribbon 1, defined by the daemon; 0 on failure.
    quint64 ribbon1Verify();
    /// The 64-bit verification value of ribbon 2, defined by the daemon; 0 on failure.
    quint64 ribbon2Verify();
    /// The mileage of ribbon 1, in the daemon's unit; 0 on failure.
    qint32 ribbon1Mileage();
    /// The mileage of ribbon 2, in the daemon's unit; 0 on failure.
    qint32 ribbon2Mileage();
    /// The mileage of the supply, in the daemon's unit; 0 on failure.
    qint32 supplyMileage();
    /// @}

    /// @name The print engine: messages, feeds, mechanisms; false on failure
    /// @{

    /// Sends a message to the print engine's micro-controller, with a number as its value. The
    /// micro-controller defines the codes @p type and @p definedMessage, and the value's meaning.
    bool sendMCCMessage(int type, int definedMessage, quint64 value);
    /// The same, with a string as its value.
    bool sendMCCMessage(int type, int definedMessage, QString value);
    /// Feeds the media forward. @p steps: the distance, in feed steps of the print engine.
    bool forwardFeed(quint32 steps);
    /// Feeds the media backward. @p steps: the distance, in feed steps of the print engine.
    bool backwardFeed(quint32 steps);
    /// Sets solenoid 1.
    bool solenoid1();
    /// Resets solenoid 1.
    bool resetSolenoid1();
    /// Sets solenoid 2.
    bool solenoid2();
    /// Resets solenoid 2.
    bool resetSolenoid2();
    /// Sets solenoid 3.
    bool solenoid3();
    /// Resets solenoid 3.
    bool resetSolenoid3();
    /// Sets solenoid 4.
    bool solenoid4();
    /// Resets solenoid 4.
    bool resetSolenoid4();
    /// Sets ribbon unit 1: a command, not a query.
    bool ribbon1();
    /// Resets ribbon unit 1.
    bool resetRibbon1();
    /// Sets ribbon unit 2: a command, not a query.
    bool ribbon2();
    /// Resets ribbon unit 2.
    bool resetRibbon2();
    /// Resets paper motor 1.
    bool resetPaperMotor1();
    /// Resets paper motor 2.
    bool resetPaperMotor2();
    /// Resets the motor.
    bool resetMotor();
    /// @}

    /// @name The print engine: settings and tests; false on failure
    /// @{

    /// Writes one user setting. @p setting: its number, @p value: its value, both defined by the
    /// daemon.
    bool setUserSetting(int setting, qint32 value);
    /// Reads the settings again.
    bool refreshSettings();
    /// Reads the sensors again.
    bool refreshSensors();
    /// Reads the settings and the sensors again.
    bool refreshAll();
    /// Runs the RFID test.
    bool rfidTest();
    /// Makes the daemon dump its settings.
    bool dumpSettings();
    /// @}

    /// @name The print engine: requests for a new reading; true if accepted, false on failure
    /// @{

    /// Requests a new reading of tph1Therm(); the signal M4TphTherm announces it.
    bool reqTph1Therm();
    /// Requests a new reading of tph2Therm(); the signal M4TphTherm announces it.
    bool reqTph2Therm();
    /// Requests a new reading of tph1HeatIndexOffset(); the signal M4TphHeatIndexOffset announces
    /// it.
    bool reqTph1HeatIndex();
    /// Requests a new reading of tph2HeatIndexOffset(); the signal M4TphHeatIndexOffset announces
    /// it.
    bool reqTph2HeatIndex();
    /// Requests a new reading of tach1Tension(); the signal M4TachIndex announces it.
    bool reqTach1Tension();
    /// Requests a new reading of tach2Tension(); the signal M4TachIndex announces it.
    bool reqTach2Tension();
    /// Requests a new reading of tach3Tension(); the signal M4TachIndex announces it.
    bool reqTach3Tension();
    /// Requests a new reading of tach4Tension(); the signal M4TachIndex announces it.
    bool reqTach4Tension();
    /// Requests a new reading of ribbon1Verify(); the signal M4RibbonVerify1 announces it.
    bool reqRibbon1Verify();
    /// Requests a new reading of ribbon2Verify(); the signal M4RibbonVerify2 announces it.
    bool reqRibbon2Verify();
    /// Requests a new reading of ribbon1Mileage(); the signal M4Ribbon1Mileage announces it.
    bool reqRibbon1Mileage();
    /// Requests a new reading of ribbon2Mileage(); the signal M4Ribbon2Mileage announces it.
    bool reqRibbon2Mileage();
    /// Requests a new reading of supplyMileage(); the signal M4SupplyMileage announces it.
    bool reqSupplyMileage();
    /// @}

    /// @name The print engine: the latest readings of the daemon
    /// @{

    /// The thermistor reading of print head 1, in the daemon's unit; 0 on failure.
    qint32 tph1Therm();
    /// The thermistor reading of print head 2, in the daemon's unit; 0 on failure.
    qint32 tph2Therm();
    /// The heat-index offset of print head 1, in the daemon's unit; 0 on failure.
    qint32 tph1HeatIndexOffset();
    /// The heat-index offset of print head 2, in the daemon's unit; 0 on failure.
    qint32 tph2HeatIndexOffset();
    /// The tension at tachometer 1, in the daemon's unit; 0 on failure.
    qint32 tach1Tension();
    /// The tension at tachometer 2, in the daemon's unit; 0 on failure.
    qint32 tach2Tension();
    /// The tension at tachometer 3, in the daemon's unit; 0 on failure.
    qint32 tach3Tension();
    /// The tension at tachometer 4, in the daemon's unit; 0 on failure.
    qint32 tach4Tension();
    /// @}

    /// @name The supply daemon: the database
    /// @{

    /// The SKUs of all supplies in the database; an empty list on failure.
    QStringList supplySKUList();
    /// The SKUs of all ribbons in the database; an empty list on failure.
    QStringList supplyRibbonSKUList();
    /// The table of supply colours, with keys and values defined by the daemon; an empty hash on
    /// failure.
    QVariantHash supplyColorHash();
    /// The table of ribbon colours, with keys and values defined by the daemon; an empty hash on
    /// failure.
    QVariantHash supplyRibbonColorHash();
    /// @}

    /// @name The supply daemon: what is loaded
    /// @{

    /// The identifier of the loaded supply; a null string on failure.
    QString supplyId();
    /// The supply SKU that the daemon has stored for the printer; a null string on failure.
    QString supplySKUCached(QString printerName = QString());
    /// The ribbon SKUs that the daemon has stored for the printer; an empty list on failure.
    QStringList supplyRibbonSKUsCached(QString printerName = QString());
    /// The remaining part of the loaded supply, in percent; 0.0 on failure.
    double supplySupplyPercent();
    /// The remaining part of ribbon 1, in percent; 0.0 on failure.
    double supplyRibbon1Percent();
    /// The remaining part of ribbon 2, in percent; 0.0 on failure.
    double supplyRibbon2Percent();
    /// The colour of the loaded supply, as a string in a format defined by the daemon; a null
    /// string on failure.
    QString supplySupplyRGB(QString printerName = QString());
    /// The colours of the panels of ribbon 1, as strings in a format defined by the daemon; an
    /// empty list on failure.
    QStringList supplyRibbon1RGBs(QString printerName = QString());
    /// The colours of the panels of ribbon 2, as strings in a format defined by the daemon; an
    /// empty list on failure.
    QStringList supplyRibbon2RGBs(QString printerName = QString());
    /// The unique identifier of the loaded supply; a null string on failure.
    QString supplySupplyUID();
    /// The unique identifier of ribbon 1; a null string on failure.
    QString supplyRibbon1UID();
    /// The unique identifier of ribbon 2; a null string on failure.
    QString supplyRibbon2UID();
    /// @}

    /// @name The supply daemon: the supply record
    /// @{

    /// The supply record of what is loaded in the printer; a default record on failure.
    SupplyInformation supplyInformation(QString printerName = QString());
    /// The supply record of the given supply and ribbons; a default record on failure.
    SupplyInformation supplyInformationBySKUs(QString supplySku, QStringList ribbonSkus,
                                              QString printerName = QString());
    /// @}

    /// @name The supply daemon: one supply
    /// @{

    /// The name of the material of the supply @p sku; a null string on failure.
    QString supplyMaterialName(QString sku, QString printerName = QString());
    /// The name of the format of the supply @p sku; a null string on failure.
    QString supplyFormatName(QString sku, QString printerName = QString());
    /// The colour of the supply @p sku, as a number in a format defined by the daemon; 0 on
    /// failure.
    qint32 supplyColorRGB(QString sku, QString printerName = QString());
    /// The name of the colour of the supply @p sku; a null string on failure.
    QString supplyColorName(QString sku, QString printerName = QString());
    /// The width of the supply @p sku, in the daemon's unit; 0.0 on failure.
    double supplyWidth(QString sku, QString printerName = QString());
    /// Whether the supply @p sku is printed in landscape, as a number defined by the daemon; 0 on
    /// failure.
    qint32 supplyIsLandscape(QString sku);
    /// The background image of the supply @p sku, as bytes in a format defined by the daemon; a
    /// null byte array on failure.
    QByteArray supplyBackgroundImage(QString sku);
    /// The length of one label of the supply @p sku, in the daemon's unit; 0.0 on failure.
    double supplyNonContinuousLength(QString sku, QString printerName = QString());
    /// The type of the supply @p sku, an index defined by the daemon; 0 on failure.
    qint32 supplyTypeIndex(QString sku, QString printerName = QString());
    /// @}

    /// @name The supply daemon: one ribbon; panels count from 1
    /// @{

    /// The number of panels of the ribbon @p ribbonSku; 0 on failure.
    qint32 supplyRibbonPanels(QString ribbonSku);
    /// The width of the ribbon @p ribbonSku, in the daemon's unit; 0.0 on failure.
    double supplyRibbonWidth(QString ribbonSku);
    /// The length of the ribbon @p ribbonSku, in the daemon's unit; 0.0 on failure.
    double supplyRibbonLength(QString ribbonSku);
    /// The name of the colour of one panel of the ribbon @p ribbonSku; a null string on failure.
    QString supplyRibbonColorName(QString ribbonSku, int panel = 1);
    /// The colour of one panel of the ribbon @p ribbonSku, as a number in a format defined by the
    /// daemon; 0 on failure.
    qint32 supplyRibbonColorRGB(QString ribbonSku, int panel = 1);
    /// The heat for printing one panel of @p ribbonSku on @p supplySku, in the daemon's unit; 0 on
    /// failure.
    qint32 supplyRibbonHeat(QString ribbonSku, int panel, QString supplySku);
    /// The heat offset for one panel of @p ribbonSku on @p supplySku, in the daemon's unit; 0 on
    /// failure.
    qint32 supplyRibbonHeatOffset(QString ribbonSku, int panel, QString supplySku);
    /// The highest speed for one panel of @p ribbonSku on @p supplySku, in the daemon's unit; 0 on
    /// failure.
    qint32 supplyRibbonMaxSpeed(QString ribbonSku, int panel, QString supplySku);
    /// The tension for one panel of @p ribbonSku on @p supplySku, in the daemon's unit; 0 on
    /// failure.
    qint32 supplyRibbonTension(QString ribbonSku, int panel, QString supplySku);
    /// @}

    /// @name The supply daemon: notices from applications
    /// @{

    /// Informs the daemon that the application module @p applicationName is ready, with its window
    /// and process identifiers.
    void supplyModuleReady(int windowId, int processId, QString applicationName);
    /// Informs the daemon that an application was clicked.
    void applicationWasClicked();
    /// @}

    /// @name The print engine: status
    /// @{

    /// The status of the printer @p printerName, a code defined by the daemon; 0 on failure.
    int getPrinterStatus(QString printerName);
    /// @}

    /// @name The supply daemon: the printer of the module
    /// @{

    /// Informs the daemon which printer the module works with. This object does not store the name:
    /// the default of a printer name is still the null string in later calls.
    void setModulePrinterName(QString printerName);
    /// @}

private:
    Q_DISABLE_COPY(HNIPC)

    HNIPCPrivate *d;
};

#endif
