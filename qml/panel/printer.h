// SPDX-License-Identifier: MIT
#ifndef HNIPC_PANEL_PRINTER_H
#define HNIPC_PANEL_PRINTER_H

#include "command.h"
#include "eventlist.h"

#include <hnipc/hnipcavailability.h>
#include <hnipc/hnipcevents.h>
#include <hnipc/hnipcreading.h>

#include <QtCore/QList>
#include <QtCore/QObject>

/// All that the front panel shows and does. Nothing here waits for a daemon.
class Printer : public QObject
{
    Q_OBJECT
    Q_PROPERTY(HNIPCAvailability *daemons READ daemons CONSTANT)

    Q_PROPERTY(HNIPCReading *supplySku READ supplySku CONSTANT)
    Q_PROPERTY(HNIPCReading *supplyRgb READ supplyRgb CONSTANT)
    Q_PROPERTY(HNIPCReading *supplyPercent READ supplyPercent CONSTANT)
    Q_PROPERTY(HNIPCReading *ribbonSkus READ ribbonSkus CONSTANT)
    Q_PROPERTY(HNIPCReading *ribbon1Rgbs READ ribbon1Rgbs CONSTANT)
    Q_PROPERTY(HNIPCReading *ribbon1Percent READ ribbon1Percent CONSTANT)
    Q_PROPERTY(HNIPCReading *ribbon2Rgbs READ ribbon2Rgbs CONSTANT)
    Q_PROPERTY(HNIPCReading *ribbon2Percent READ ribbon2Percent CONSTANT)
    Q_PROPERTY(QString supplyName READ supplyName NOTIFY supplyNameChanged)
    Q_PROPERTY(QString ribbon1Name READ ribbon1Name NOTIFY ribbonNamesChanged)
    Q_PROPERTY(QString ribbon2Name READ ribbon2Name NOTIFY ribbonNamesChanged)

    Q_PROPERTY(HNIPCReading *battery READ battery CONSTANT)
    Q_PROPERTY(HNIPCReading *lid READ lid CONSTANT)
    Q_PROPERTY(HNIPCReading *latch READ latch CONSTANT)
    Q_PROPERTY(HNIPCReading *cutterCover READ cutterCover CONSTANT)
    Q_PROPERTY(HNIPCReading *cutterHome READ cutterHome CONSTANT)
    Q_PROPERTY(QString error READ error NOTIFY stateChanged)
    Q_PROPERTY(QString alert READ alert NOTIFY stateChanged)
    Q_PROPERTY(bool stateKnown READ isStateKnown NOTIFY stateChanged)

    Q_PROPERTY(QList<QObject *> commands READ commands CONSTANT)
    Q_PROPERTY(EventList *events READ events CONSTANT)

public:
    /// @p patience in milliseconds: when a command has no answer until then, a person goes and
    /// looks; when a value has none, it is read again.
    explicit Printer(int patience = 30 * 1000, QObject *parent = nullptr);

    HNIPCAvailability *daemons() { return &m_daemons; }

    HNIPCReading *supplySku() const { return m_supplySku; }
    HNIPCReading *supplyRgb() const { return m_supplyRgb; }
    HNIPCReading *supplyPercent() const { return m_supplyPercent; }
    HNIPCReading *ribbonSkus() const { return m_ribbonSkus; }
    HNIPCReading *ribbon1Rgbs() const { return m_ribbon1Rgbs; }
    HNIPCReading *ribbon1Percent() const { return m_ribbon1Percent; }
    HNIPCReading *ribbon2Rgbs() const { return m_ribbon2Rgbs; }
    HNIPCReading *ribbon2Percent() const { return m_ribbon2Percent; }
    QString supplyName() const { return joined(m_supplyNames); }
    QString ribbon1Name() const { return joined(m_panelNames[0]); } ///< the colours of its panels
    QString ribbon2Name() const { return joined(m_panelNames[1]); }
    HNIPCReading *battery() const { return m_battery; }
    HNIPCReading *lid() const { return m_lid; }
    HNIPCReading *latch() const { return m_latch; }
    HNIPCReading *cutterCover() const { return m_cutterCover; }
    HNIPCReading *cutterHome() const { return m_cutterHome; }

    QString error() const; ///< in words; empty for none
    QString alert() const; ///< in words; empty for none
    bool isStateKnown() const { return m_error->isKnown() && m_alert->isKnown(); }

    QList<QObject *> commands() const;
    EventList *events() { return &m_events; }

    /// The colour that a daemon's text names, or an empty text where it is none.
    Q_INVOKABLE static QString checkedColor(const QString &text);

    /// A daemon's text as the screen can take it.
    Q_INVOKABLE static QString brief(const QString &text);

    /// Gives the command that has this key. False if none has.
    Q_INVOKABLE bool press(const QString &key);

signals:
    void stateChanged();
    void supplyNameChanged();
    void ribbonNamesChanged();
    void helpWanted();
    void listeningChanged(bool listening); ///< whether no event is missed

private:
    using Readings = QList<HNIPCReading *>;
    enum Argument { NoArgument = -1, FirstArgument = 0 };

    HNIPCReading *reading(const char *method, const char *signal = nullptr,
                          Argument value = FirstArgument);
    Command *command(const Command::Words &words, const char *method,
                     const QVariantList &arguments = {});
    Command *jobCommand(const Command::Words &words, const char *method);
    Command *add(Command *command);
    static QString joined(const Readings &names);
    void onSignal(const QString &signal, const QVariantList &arguments);
    void onStateChanged();
    void onAvailable(const char *daemon, bool available);
    void readSupplyNames();
    void readPanelNames(int ribbon);

    const int m_patience;
    HNIPCAvailability m_daemons;
    HNIPCEvents m_signals;

    HNIPCReading *m_error;
    HNIPCReading *m_alert;
    HNIPCReading *m_battery;
    HNIPCReading *m_lid;
    HNIPCReading *m_latch;
    HNIPCReading *m_cutterCover;
    HNIPCReading *m_cutterHome;
    HNIPCReading *m_supplySku;
    HNIPCReading *m_supplyRgb;
    HNIPCReading *m_supplyPercent;
    HNIPCReading *m_ribbonSkus;
    HNIPCReading *m_ribbon1Rgbs;
    HNIPCReading *m_ribbon1Percent;
    HNIPCReading *m_ribbon2Rgbs;
    HNIPCReading *m_ribbon2Percent;
    Readings m_supplyNames;   ///< material, format, colour
    Readings m_panelNames[2]; ///< of each ribbon

    QList<Command *> m_commands;
    EventList m_events;
    Command *m_print;
    Command *m_cancel;
};

#endif
