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
 * The events of the daemons, without ever waiting for a daemon: the 59 signals that HNIPC relays,
 * with the same names, parameters and order.
 *
 *     HNIPCEvents *events = new HNIPCEvents(this);
 *     connect(events, SIGNAL(M4PrinterLid(bool)), SLOT(onLid(bool)));
 *
 * The constructor calls no daemon, and with Qt 5 and 6 it does not wait for the bus either. With
 * Qt 4 the event loop of the application's thread opens the connection, see HNIPCRequest, and waits
 * for three replies of the bus when the first object of this class subscribes. All objects in the
 * process share one subscription to each daemon. From listeningChanged(true) on no event is missed,
 * whenever a daemon starts or restarts, until the bus is lost.
 *
 * A signal of a daemon is emitted if its arguments have the declared types; further arguments are
 * left out. Other signals are ignored, whatever they contain, and so are signals of other senders.
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

    /// True if no event is missed: the bus has confirmed the subscriptions and is not lost.
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

    /// A message came from the micro-controller. @p value: its text.
    void M4MessageReceived(const QString &value);
    /// A message went to the micro-controller. @p value: its text.
    void M4MessageSent(const QString &value);
    /// The version text of the print-engine controller.
    void M4Version(const QString &value);
    /// The DAC value; unit the daemon's.
    void M4Dac0(const quint32 &value);
    /// The reading of the black-mark sensor; unit the daemon's.
    void M4BMark(const quint32 &value);
    /// The reading of the gap sensor; unit the daemon's.
    void M4Gap(const quint32 &value);
    /// The reading of the pre-cutter sensor; unit the daemon's.
    void M4PreCutter(const quint32 &value);
    /// The reading of ribbon clear sensor 1; unit the daemon's.
    void M4RibbonClr1(const quint32 &value);
    /// The reading of ribbon clear sensor 2; unit the daemon's.
    void M4RibbonClr2(const quint32 &value);
    /// The reading of ribbon encoder 1; unit the daemon's.
    void M4RibbonEnc1(const quint32 &value);
    /// The reading of ribbon encoder 2; unit the daemon's.
    void M4RibbonEnc2(const quint32 &value);
    /// The reading of ribbon encoder 3; unit the daemon's.
    void M4RibbonEnc3(const quint32 &value);
    /// The reading of ribbon encoder 4; unit the daemon's.
    void M4RibbonEnc4(const quint32 &value);
    /// The state of the cutter cover switch; true when active.
    void M4CutterCover(const bool &value);
    /// The state of the cutter home switch; true when active.
    void M4CutterHome(const bool &value);
    /// The state of the printer lid switch; true when active.
    void M4PrinterLid(const bool &value);
    /// The reading of the supply sensor; unit the daemon's.
    void M4SupplySensor(const quint32 &value);
    /// The state of the supply latch switch; true when active.
    void M4SupplyLatch(const bool &value);
    /// The reading of film tachometer 1; unit the daemon's.
    void M4Film1Tach(const quint32 &value);
    /// The reading of film tachometer 2; unit the daemon's.
    void M4Film2Tach(const quint32 &value);
    /// The reading of film tachometer 3; unit the daemon's.
    void M4Film3Tach(const quint32 &value);
    /// The reading of film tachometer 4; unit the daemon's.
    void M4Film4Tach(const quint32 &value);
    /// A print is done.
    void M4PrintDone();
    /// The verification value of ribbon 1; 64 bits of the daemon's.
    void M4RibbonVerify1(const quint64 &value);
    /// The verification value of ribbon 2; 64 bits of the daemon's.
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
    /// The mileage of ribbon 1; unit the daemon's.
    void M4Ribbon1Mileage(const qint32 &value);
    /// The mileage of ribbon 2; unit the daemon's.
    void M4Ribbon2Mileage(const qint32 &value);
    /// The mileage of the supply; unit the daemon's.
    void M4SupplyMileage(const qint32 &value);
    /// The battery status; a code of the daemon's.
    void M4BatteryUpdate(const qint32 &value);
    /// The error code; the daemon's.
    void Error(int value);
    /// The alert code; the daemon's.
    void Alert(int value);
    /// The print queue is full. @p value: the daemon's.
    void PrintQueueFull(int value);
    /// The print queue is clear. @p value: the daemon's.
    void PrintQueueClear(int value);
    /// The print queue is complete. @p value: the daemon's.
    void PrintQueueComplete(int value);
    /// The readings of the tachometers, as one string in a format defined by the daemon.
    void M4TachValues(const QString &value);
    /// The user setting @p setting has a value. Number and value are the daemon's.
    void M4UserSetting(const int &setting, const qint32 &value);
    /// The thermistor reading of print head @p tph; unit the daemon's.
    void M4TphTherm(const int &tph, const qint32 &value);
    /// The heat-index offset of print head @p tph; unit the daemon's.
    void M4TphHeatIndexOffset(const int &tph, const qint32 &value);
    /// The tension at tachometer @p tach; unit the daemon's.
    void M4TachIndex(const int &tach, const qint32 &value);
    /// @}

    /// @name The supply daemon
    /// @{

    /// The supply daemon is ready; it defines for what.
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
    /// The colours of ribbon 1, as strings in a format defined by the daemon.
    void Ribbon1RGBsChanged(QStringList rgbs);
    /// The colours of ribbon 2, as strings in a format defined by the daemon.
    void Ribbon2RGBsChanged(QStringList rgbs);
    /// The applications are asked to close.
    void CloseApplicationSignal();
    /// @}

    /// @name All of them
    /// @{

    /// Any event: the name of its signal, and the values of its parameters. Emitted after the
    /// signal itself.
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
