// SPDX-License-Identifier: MIT
#ifndef HNIPCEVENTS_H
#define HNIPCEVENTS_H

#include <hnipc/hnipc_export.h>

#include <QtCore/QObject>
#include <QtCore/QScopedPointer>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

class HNIPCEventsPrivate;

/**
 * The events of the daemons: the signals that HNIPC relays, with the same names, parameters and
 * order. This class never waits for a daemon.
 *
 *     HNIPCEvents *events = new HNIPCEvents(this);
 *     connect(events, SIGNAL(M4PrinterLid(bool)), SLOT(onLid(bool)));
 *
 * The constructor calls no daemon, and with Qt 5 and 6 it does not wait for the bus either. With
 * Qt 4, the event loop of the application's thread opens the connection (see HNIPCRequest). It also
 * waits for three replies of the bus, when the first object in the process subscribes to signals.
 * All objects in the process share one subscription to each daemon. After listeningChanged(true),
 * no event is missed until the bus is lost, even if a daemon starts or restarts.
 *
 * A signal of a daemon is relayed if its arguments have the declared types. Extra arguments after
 * these are dropped. All other signals are ignored. Signals of other senders are ignored, too.
 *
 * Events arrive in the order in which the daemon sent them, through the event loop of the thread
 * that the object belongs to. The object can be moved to another thread, and destroyed at any time.
 */
class HNIPC_EXPORT HNIPCEvents : public QObject
{
    Q_OBJECT
    /// See isListening().
    Q_PROPERTY(bool listening READ isListening NOTIFY listeningChanged)

public:
    /// Construct it after the QCoreApplication.
    explicit HNIPCEvents(QObject *parent = nullptr);
    virtual ~HNIPCEvents();

    /// True while no event is missed: the bus has confirmed the subscriptions and is not lost.
    bool isListening() const;

Q_SIGNALS:
    /// @name The I/O expander
    /// @{

    /// The cancel button was pressed.
    void CancelButton();
    /// The help button was pressed.
    void HelpButton();
    /// The print button was pressed.
    void PrintButton();
    /// @}

    /// @name The print engine
    /// @{

    /// The micro-controller sent a message. @p value: its text.
    void M4MessageReceived(const QString &value);
    /// A message was sent to the micro-controller. @p value: its text.
    void M4MessageSent(const QString &value);
    /// The version string of the print-engine controller.
    void M4Version(const QString &value);
    /// The DAC value, in the daemon's unit.
    void M4Dac0(const quint32 &value);
    /// The reading of the black-mark sensor, in the daemon's unit.
    void M4BMark(const quint32 &value);
    /// The reading of the gap sensor, in the daemon's unit.
    void M4Gap(const quint32 &value);
    /// The reading of the pre-cutter sensor, in the daemon's unit.
    void M4PreCutter(const quint32 &value);
    /// The reading of ribbon clear sensor 1, in the daemon's unit.
    void M4RibbonClr1(const quint32 &value);
    /// The reading of ribbon clear sensor 2, in the daemon's unit.
    void M4RibbonClr2(const quint32 &value);
    /// The reading of ribbon encoder 1, in the daemon's unit.
    void M4RibbonEnc1(const quint32 &value);
    /// The reading of ribbon encoder 2, in the daemon's unit.
    void M4RibbonEnc2(const quint32 &value);
    /// The reading of ribbon encoder 3, in the daemon's unit.
    void M4RibbonEnc3(const quint32 &value);
    /// The reading of ribbon encoder 4, in the daemon's unit.
    void M4RibbonEnc4(const quint32 &value);
    /// The state of the cutter cover switch; true when active.
    void M4CutterCover(const bool &value);
    /// The state of the cutter home switch; true when active.
    void M4CutterHome(const bool &value);
    /// The state of the printer lid switch; true when active.
    void M4PrinterLid(const bool &value);
    /// The reading of the supply sensor, in the daemon's unit.
    void M4SupplySensor(const quint32 &value);
    /// The state of the supply latch switch; true when active.
    void M4SupplyLatch(const bool &value);
    /// The reading of film tachometer 1, in the daemon's unit.
    void M4Film1Tach(const quint32 &value);
    /// The reading of film tachometer 2, in the daemon's unit.
    void M4Film2Tach(const quint32 &value);
    /// The reading of film tachometer 3, in the daemon's unit.
    void M4Film3Tach(const quint32 &value);
    /// The reading of film tachometer 4, in the daemon's unit.
    void M4Film4Tach(const quint32 &value);
    /// A print is done.
    void M4PrintDone();
    /// The 64-bit verification value of ribbon 1, defined by the daemon.
    void M4RibbonVerify1(const quint64 &value);
    /// The 64-bit verification value of ribbon 2, defined by the daemon.
    void M4RibbonVerify2(const quint64 &value);
    /// Print head 1 has a fault.
    void M4Tph1Fault();
    /// Print head 2 has a fault.
    void M4Tph2Fault();
    /// The identifier of the supply.
    void M4SupplyID(const QString &value);
    /// The identifiers of the ribbons.
    void M4RibbonIDs(const QStringList &value);
    /// The unique identifier of the supply.
    void M4SupplyUID(const QString &value);
    /// The unique identifier of ribbon 1.
    void M4Ribbon1UID(const QString &value);
    /// The unique identifier of ribbon 2.
    void M4Ribbon2UID(const QString &value);
    /// The mileage of ribbon 1, in the daemon's unit.
    void M4Ribbon1Mileage(const qint32 &value);
    /// The mileage of ribbon 2, in the daemon's unit.
    void M4Ribbon2Mileage(const qint32 &value);
    /// The mileage of the supply, in the daemon's unit.
    void M4SupplyMileage(const qint32 &value);
    /// The battery status, a code defined by the daemon.
    void M4BatteryUpdate(const qint32 &value);
    /// The error code, defined by the daemon.
    void Error(int value);
    /// The alert code, defined by the daemon.
    void Alert(int value);
    /// The print queue is full. @p value: defined by the daemon.
    void PrintQueueFull(int value);
    /// The print queue is clear. @p value: defined by the daemon.
    void PrintQueueClear(int value);
    /// The print queue is complete. @p value: defined by the daemon.
    void PrintQueueComplete(int value);
    /// The readings of the tachometers, as one string in a format defined by the daemon.
    void M4TachValues(const QString &value);
    /// The value of the user setting with the number @p setting; the daemon defines both.
    void M4UserSetting(const int &setting, const qint32 &value);
    /// The thermistor reading of print head @p tph, in the daemon's unit.
    void M4TphTherm(const int &tph, const qint32 &value);
    /// The heat-index offset of print head @p tph, in the daemon's unit.
    void M4TphHeatIndexOffset(const int &tph, const qint32 &value);
    /// The tension at tachometer @p tach, in the daemon's unit.
    void M4TachIndex(const int &tach, const qint32 &value);
    /// @}

    /// @name The supply daemon
    /// @{

    /// The supply daemon is ready. The daemon defines what that means.
    void HNIPCReady();
    /// The loaded supply changed to @p supplySku, in the printer @p printerName.
    void SupplyChanged(QString supplySku, const QString &printerName);
    /// The loaded ribbons changed to @p ribbonSkus, in the printer @p printerName.
    void RibbonChanged(QStringList ribbonSkus, const QString &printerName);
    /// The remaining part of the supply, in percent.
    void SupplyPercentChanged(double percentage);
    /// The remaining part of ribbon 1, in percent.
    void Ribbon1PercentChanged(double percentage);
    /// The remaining part of ribbon 2, in percent.
    void Ribbon2PercentChanged(double percentage);
    /// The colour of the loaded supply, as a string in a format defined by the daemon.
    void SupplyRGBChanged(QString rgb);
    /// The colours of the panels of ribbon 1, as strings in a format defined by the daemon.
    void Ribbon1RGBsChanged(QStringList rgbs);
    /// The colours of the panels of ribbon 2, as strings in a format defined by the daemon.
    void Ribbon2RGBsChanged(QStringList rgbs);
    /// The supply daemon requests that the applications close.
    void CloseApplicationSignal();
    /// @}

    /// @name All events
    /// @{

    /// An event arrived. @p name: the name of its signal; @p values: its arguments. Emitted for
    /// every event, after the signal itself.
    void received(const QString &name, const QVariantList &values);
    /// No event is missed from now on (true), or the bus was lost (false).
    void listeningChanged(bool listening);
    /// @}

private:
    Q_DISABLE_COPY(HNIPCEvents)
    friend class HNIPCEventsPrivate;

    QScopedPointer<HNIPCEventsPrivate> d;
};

#endif
