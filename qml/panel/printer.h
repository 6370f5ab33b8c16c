// SPDX-License-Identifier: MIT
#ifndef HNIPC_PANEL_PRINTER_H
#define HNIPC_PANEL_PRINTER_H

#include "command.h"
#include "eventlist.h"
#include "listener.h"
#include "reading.h"

#include <hnipc/hnipcavailability.h>

#include <QtCore/QList>
#include <QtCore/QMultiHash>
#include <QtCore/QObject>

/// All that the front panel shows and does. Nothing here waits for a daemon.
class Printer : public QObject
{
    Q_OBJECT
    Q_PROPERTY(HNIPCAvailability *daemons READ daemons CONSTANT)

    Q_PROPERTY(Reading *supplySku READ supplySku CONSTANT)
    Q_PROPERTY(Reading *supplyRgb READ supplyRgb CONSTANT)
    Q_PROPERTY(Reading *supplyPercent READ supplyPercent CONSTANT)
    Q_PROPERTY(Reading *ribbonSkus READ ribbonSkus CONSTANT)
    Q_PROPERTY(Reading *ribbon1Rgbs READ ribbon1Rgbs CONSTANT)
    Q_PROPERTY(Reading *ribbon1Percent READ ribbon1Percent CONSTANT)
    Q_PROPERTY(Reading *ribbon2Rgbs READ ribbon2Rgbs CONSTANT)
    Q_PROPERTY(Reading *ribbon2Percent READ ribbon2Percent CONSTANT)
    Q_PROPERTY(QString supplyName READ supplyName NOTIFY supplyNameChanged)
    Q_PROPERTY(QString ribbon1Name READ ribbon1Name NOTIFY ribbonNamesChanged)
    Q_PROPERTY(QString ribbon2Name READ ribbon2Name NOTIFY ribbonNamesChanged)

    Q_PROPERTY(Reading *battery READ battery CONSTANT)
    Q_PROPERTY(Reading *lid READ lid CONSTANT)
    Q_PROPERTY(Reading *latch READ latch CONSTANT)
    Q_PROPERTY(Reading *cutterCover READ cutterCover CONSTANT)
    Q_PROPERTY(Reading *cutterHome READ cutterHome CONSTANT)
    Q_PROPERTY(QString error READ error NOTIFY stateChanged)
    Q_PROPERTY(QString alert READ alert NOTIFY stateChanged)
    Q_PROPERTY(bool stateKnown READ isStateKnown NOTIFY stateChanged)

    Q_PROPERTY(QList<QObject *> commands READ commands CONSTANT)
    Q_PROPERTY(EventList *events READ events CONSTANT)

public:
    /// @p patience in milliseconds: when a command has no answer until then, a person goes and
    /// looks.
    explicit Printer(int patience = 30 * 1000, QObject *parent = nullptr);

    /// Stops listening, before the end. False if that takes longer than @p patience milliseconds.
    bool leave(unsigned long patience) { return m_listener.stop(patience); }

    HNIPCAvailability *daemons() { return &m_daemons; }

    Reading *supplySku() const { return m_supplySku; }
    Reading *supplyRgb() const { return m_supplyRgb; }
    Reading *supplyPercent() const { return m_supplyPercent; }
    Reading *ribbonSkus() const { return m_ribbonSkus; }
    Reading *ribbon1Rgbs() const { return m_ribbon1Rgbs; }
    Reading *ribbon1Percent() const { return m_ribbon1Percent; }
    Reading *ribbon2Rgbs() const { return m_ribbon2Rgbs; }
    Reading *ribbon2Percent() const { return m_ribbon2Percent; }
    QString supplyName() const { return joined(m_supplyNames); }
    QString ribbon1Name() const { return joined(m_panelNames[0]); } ///< the colours of its panels
    QString ribbon2Name() const { return joined(m_panelNames[1]); }
    Reading *battery() const { return m_battery; }
    Reading *lid() const { return m_lid; }
    Reading *latch() const { return m_latch; }
    Reading *cutterCover() const { return m_cutterCover; }
    Reading *cutterHome() const { return m_cutterHome; }

    QString error() const; ///< in words; empty for none
    QString alert() const; ///< in words; empty for none
    bool isStateKnown() const { return m_error->isKnown() && m_alert->isKnown(); }

    QList<QObject *> commands() const;
    EventList *events() { return &m_events; }

    /// The colour that a daemon's text names, or an empty text where it is none.
    Q_INVOKABLE static QString checkedColor(const QString &text);

    /// Gives the command that has this key. False if none has.
    Q_INVOKABLE bool press(const QString &key);

signals:
    void stateChanged();
    void supplyNameChanged();
    void ribbonNamesChanged();
    void helpWanted();
    void listening(); ///< from here on no event is missed

private:
    using Readings = QList<Reading *>;

    Reading *reading(Readings *of, const char *method, const char *signal);
    Command *command(const Command::Words &words, const char *method,
                     const QVariantList &arguments = {});
    Command *jobCommand(const Command::Words &words, const char *method);
    Command *add(Command *command);
    static QString joined(const Readings &names);
    void onSignal(const QString &signal, const QVariantList &arguments);
    void onStateChanged();
    void onAvailable(const Readings &readings, const char *daemon, bool available);
    void readSupplyNames();
    void readPanelNames(int ribbon);

    const int m_patience;
    HNIPCAvailability m_daemons;
    QMultiHash<QString, Reading *> m_bySignal; ///< that says that it has changed
    Readings m_engineReadings;
    Readings m_supplyReadings;

    Reading *m_error;
    Reading *m_alert;
    Reading *m_battery;
    Reading *m_lid;
    Reading *m_latch;
    Reading *m_cutterCover;
    Reading *m_cutterHome;
    Reading *m_supplySku;
    Reading *m_supplyRgb;
    Reading *m_supplyPercent;
    Reading *m_ribbonSkus;
    Reading *m_ribbon1Rgbs;
    Reading *m_ribbon1Percent;
    Reading *m_ribbon2Rgbs;
    Reading *m_ribbon2Percent;
    Readings m_supplyNames;   ///< material, format, colour
    Readings m_panelNames[2]; ///< of each ribbon

    QList<Command *> m_commands;
    EventList m_events;
    Command *m_print;
    Command *m_cancel;
    Listener m_listener; // the last one, so that it ends first
};

#endif
