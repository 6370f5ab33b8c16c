// SPDX-License-Identifier: MIT
#include "printer.h"

#include "words.h"

#include <QtCore/QRegularExpression>

static const quint32 feedSteps = 400;
static const int mostPanels = 4;

Printer::Printer(int patience, QObject *parent)
    : QObject(parent),
      m_patience(patience),
      m_error(reading(&m_engineReadings, "getError", "Error")),
      m_alert(reading(&m_engineReadings, "getAlert", "Alert")),
      m_battery(reading(&m_engineReadings, "getBatteryStatus", "M4BatteryUpdate")),
      m_lid(reading(&m_engineReadings, "printerLid", "M4PrinterLid")),
      m_latch(reading(&m_engineReadings, "supplyLatch", "M4SupplyLatch")),
      m_cutterCover(reading(&m_engineReadings, "cutterCover", "M4CutterCover")),
      m_cutterHome(reading(&m_engineReadings, "cutterHome", "M4CutterHome")),
      m_supplySku(reading(&m_supplyReadings, "supplySKUCached", "SupplyChanged")),
      m_supplyRgb(reading(&m_supplyReadings, "supplySupplyRGB", "SupplyRGBChanged")),
      m_supplyPercent(reading(&m_supplyReadings, "supplySupplyPercent", "SupplyPercentChanged")),
      m_ribbonSkus(reading(&m_supplyReadings, "supplyRibbonSKUsCached", "RibbonChanged")),
      m_ribbon1Rgbs(reading(&m_supplyReadings, "supplyRibbon1RGBs", "Ribbon1RGBsChanged")),
      m_ribbon1Percent(
          reading(&m_supplyReadings, "supplyRibbon1Percent", "Ribbon1PercentChanged")),
      m_ribbon2Rgbs(reading(&m_supplyReadings, "supplyRibbon2RGBs", "Ribbon2RGBsChanged")),
      m_ribbon2Percent(
          reading(&m_supplyReadings, "supplyRibbon2Percent", "Ribbon2PercentChanged")),
      m_print(command({ "Print", "retry the job", "PR", "printing", "no stopped job" },
                      "retryPrintJob"))
{
    const char *const no = "refused by the printer";
    command({ "Feed", "50 mm", "F", "fed", no }, "forwardFeed", { feedSteps });
    command({ "Cut", "once", "X", "cut", no }, "cycleCutter");
    command({ "Calibrate", "supply", "K", "calibrated", no }, "calibrateSupply");
    command({ "Load", "new rolls", "L", "tags read", no }, "rfidTest");
    m_cancel = jobCommand({ "Cancel", "stop the job", "C", "job stopped", "no job is printing" },
                          "cancelPrintJob");
    jobCommand({ "Clear", "drop the job", "D", "job dropped", "no job to drop" }, "clearPrintJob");

    for (const char *method : { "supplyMaterialName", "supplyFormatName", "supplyColorName" }) {
        Reading *name = new Reading(QString::fromLatin1(method), this);
        m_supplyNames.append(name);
        connect(name, &Reading::changed, this, &Printer::supplyNameChanged);
    }
    for (int ribbon = 0; ribbon < 2; ++ribbon) {
        for (int panel = 0; panel < mostPanels; ++panel) {
            Reading *name = new Reading(QStringLiteral("supplyRibbonColorName"), this);
            m_panelNames[ribbon].append(name);
            connect(name, &Reading::changed, this, &Printer::ribbonNamesChanged);
        }
        const auto readNames = [this, ribbon]() { readPanelNames(ribbon); };
        connect(m_ribbonSkus, &Reading::changed, this, readNames);
        connect(ribbon == 0 ? m_ribbon1Rgbs : m_ribbon2Rgbs, &Reading::changed, this, readNames);
    }

    connect(m_error, &Reading::changed, this, &Printer::onStateChanged);
    connect(m_alert, &Reading::changed, this, &Printer::stateChanged);
    connect(m_supplySku, &Reading::changed, this, &Printer::readSupplyNames);

    connect(&m_daemons, &HNIPCAvailability::m4Changed, this, [this](bool available) {
        onAvailable(m_engineReadings, "Print engine", available);
        if (!available) {
            m_print->settle(QStringLiteral("unknown: look at the printer"), false);
        }
    });
    connect(&m_daemons, &HNIPCAvailability::supplydChanged, this, [this](bool available) {
        onAvailable(m_supplyReadings, "Supply daemon", available);
    });
    connect(&m_daemons, &HNIPCAvailability::ioexpdChanged, this, [this](bool available) {
        onAvailable({}, "I/O expander", available);
    });

    connect(&m_listener, &Listener::heard, this, &Printer::onSignal);
    connect(&m_listener, &Listener::listening, this, [this]() {
        // What has changed between the first reading and now was not heard.
        for (Reading *reading : m_engineReadings + m_supplyReadings) {
            if (reading->isKnown()) {
                reading->read();
            }
        }
        emit listening();
    });
    m_listener.start();
}

Reading *Printer::reading(Readings *of, const char *method, const char *signal)
{
    Reading *result = new Reading(QString::fromLatin1(method), this);
    of->append(result);
    m_bySignal.insert(QString::fromLatin1(signal), result);
    return result;
}

// The printer does not say why it says no; an error that stands is the likeliest reason.
Command *Printer::command(const Command::Words &words, const char *method,
                          const QVariantList &arguments)
{
    return add(new Command(words, QString::fromLatin1(method), arguments, m_patience,
                           [this]() { return error(); }, this));
}

// What takes a job away, which no error hinders.
Command *Printer::jobCommand(const Command::Words &words, const char *method)
{
    Command *result = add(new Command(words, QString::fromLatin1(method), {}, m_patience,
                                      []() { return QString(); }, this));
    connect(result, &Command::finished, this, [this, result]() {
        if (result->isGood()) {
            m_print->settle(QStringLiteral("stopped"), false);
        }
    });
    return result;
}

Command *Printer::add(Command *command)
{
    connect(command, &Command::finished, this, [this](const QString &name, const QString &outcome) {
        m_events.add(name + QLatin1String(": ") + outcome);
    });
    m_commands.append(command);
    return command;
}

QList<QObject *> Printer::commands() const
{
    return QList<QObject *>(m_commands.cbegin(), m_commands.cend());
}

bool Printer::press(const QString &key)
{
    for (Command *command : m_commands) {
        if (!key.isEmpty() && command->keys().contains(key, Qt::CaseInsensitive)) {
            command->run();
            return true;
        }
    }
    return false;
}

QString Printer::error() const
{
    return Words::error(m_error->value().toInt());
}

QString Printer::alert() const
{
    return Words::alert(m_alert->value().toInt());
}

QString Printer::checkedColor(const QString &text)
{
    static const QRegularExpression form(QStringLiteral("\\A#[0-9A-Fa-f]{6}\\z"));
    return form.match(text).hasMatch() ? text : QString();
}

void Printer::onSignal(const QString &signal, const QVariantList &arguments)
{
    const QString text = Words::event(signal, arguments);
    if (!text.isEmpty()) {
        m_events.add(text);
    }
    const QList<Reading *> changed = m_bySignal.values(signal);
    for (Reading *reading : changed) {
        reading->read();
    }
    if (signal == QLatin1String("PrintButton")) {
        m_print->run();
    } else if (signal == QLatin1String("CancelButton")) {
        m_cancel->run();
    } else if (signal == QLatin1String("HelpButton")) {
        emit helpWanted();
    } else if (signal == QLatin1String("PrintQueueComplete")) {
        m_print->settle(QStringLiteral("printed"), true);
    }
}

void Printer::onStateChanged()
{
    if (!error().isEmpty()) {
        m_print->settle(QStringLiteral("stopped: ") + error(), false);
    }
    emit stateChanged();
}

void Printer::onAvailable(const Readings &readings, const char *daemon, bool available)
{
    m_events.add(QLatin1String(daemon)
                 + QLatin1String(available ? " is there" : " is gone"));
    for (Reading *reading : readings) {
        if (available) {
            reading->read();
        } else {
            reading->forget();
        }
    }
}

void Printer::readSupplyNames()
{
    const QString sku = m_supplySku->value().toString();
    for (Reading *name : m_supplyNames) {
        if (sku.isEmpty()) {
            name->forget();
        } else {
            name->readWith({ sku });
        }
    }
}

// One name for each colour that the ribbon has.
void Printer::readPanelNames(int ribbon)
{
    const QString sku = m_ribbonSkus->value().toStringList().value(ribbon);
    const Reading *colors = ribbon == 0 ? m_ribbon1Rgbs : m_ribbon2Rgbs;
    const int panels = sku.isEmpty() ? 0 : int(colors->value().toStringList().size());
    for (int panel = 0; panel < mostPanels; ++panel) {
        Reading *name = m_panelNames[ribbon].at(panel);
        if (panel < panels) {
            name->readWith({ sku, panel + 1 });
        } else {
            name->forget();
        }
    }
}

QString Printer::joined(const Readings &names)
{
    QStringList texts;
    for (const Reading *name : names) {
        if (name->isKnown()) {
            texts += name->value().toString().simplified();
        }
    }
    return texts.join(QLatin1String(", "));
}
