// SPDX-License-Identifier: MIT
#include "printer.h"

#include "words.h"

#include <QtCore/QRegularExpression>

static const quint32 feedSteps = 400;
static const int mostPanels = 4;

Printer::Printer(int patience, QObject *parent)
    : QObject(parent),
      m_patience(patience),
      m_error(reading("getError", "Error")),
      m_alert(reading("getAlert", "Alert")),
      m_battery(reading("getBatteryStatus", "M4BatteryUpdate")),
      m_lid(reading("printerLid", "M4PrinterLid")),
      m_latch(reading("supplyLatch", "M4SupplyLatch")),
      m_cutterCover(reading("cutterCover", "M4CutterCover")),
      m_cutterHome(reading("cutterHome", "M4CutterHome")),
      // These two signals may be of another printer, so their arguments are not used.
      m_supplySku(reading("supplySKUCached", "SupplyChanged", NoArgument)),
      m_supplyRgb(reading("supplySupplyRGB", "SupplyRGBChanged")),
      m_supplyPercent(reading("supplySupplyPercent", "SupplyPercentChanged")),
      m_ribbonSkus(reading("supplyRibbonSKUsCached", "RibbonChanged", NoArgument)),
      m_ribbon1Rgbs(reading("supplyRibbon1RGBs", "Ribbon1RGBsChanged")),
      m_ribbon1Percent(reading("supplyRibbon1Percent", "Ribbon1PercentChanged")),
      m_ribbon2Rgbs(reading("supplyRibbon2RGBs", "Ribbon2RGBsChanged")),
      m_ribbon2Percent(reading("supplyRibbon2Percent", "Ribbon2PercentChanged")),
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
        HNIPCReading *name = reading(method);
        m_supplyNames.append(name);
        connect(name, &HNIPCReading::changed, this, &Printer::supplyNameChanged);
    }
    for (int ribbon = 0; ribbon < 2; ++ribbon) {
        for (int panel = 0; panel < mostPanels; ++panel) {
            HNIPCReading *name = reading("supplyRibbonColorName");
            m_panelNames[ribbon].append(name);
            connect(name, &HNIPCReading::changed, this, &Printer::ribbonNamesChanged);
        }
        const auto readNames = [this, ribbon]() { readPanelNames(ribbon); };
        connect(m_ribbonSkus, &HNIPCReading::changed, this, readNames);
        connect(ribbon == 0 ? m_ribbon1Rgbs : m_ribbon2Rgbs, &HNIPCReading::changed, this,
                readNames);
    }

    connect(m_error, &HNIPCReading::changed, this, &Printer::onStateChanged);
    connect(m_alert, &HNIPCReading::changed, this, &Printer::stateChanged);
    connect(m_supplySku, &HNIPCReading::changed, this, &Printer::readSupplyNames);

    connect(&m_daemons, &HNIPCAvailability::m4Changed, this, [this](bool available) {
        onAvailable("Print engine", available);
        if (!available) {
            m_print->settle(QStringLiteral("unknown: look at the printer"), false);
        }
    });
    connect(&m_daemons, &HNIPCAvailability::supplydChanged, this,
            [this](bool available) { onAvailable("Supply daemon", available); });
    connect(&m_daemons, &HNIPCAvailability::ioexpdChanged, this,
            [this](bool available) { onAvailable("I/O expander", available); });

    connect(&m_signals, &HNIPCEvents::received, this, &Printer::onSignal);
    connect(&m_signals, &HNIPCEvents::listeningChanged, this, &Printer::listeningChanged);
}

// The value of one without a signal is read when the daemon starts and when its arguments change.
HNIPCReading *Printer::reading(const char *method, const char *signal, Argument value)
{
    HNIPCReading *result = new HNIPCReading(this);
    result->setMethod(QString::fromLatin1(method));
    result->setDeadline(m_patience);
    if (signal) {
        result->setSignalNames({ QString::fromLatin1(signal) });
        result->setValueArgument(value);
    }
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

QString Printer::brief(const QString &text)
{
    return Words::brief(text);
}

void Printer::onSignal(const QString &signal, const QVariantList &arguments)
{
    const QString text = Words::event(signal, arguments);
    if (!text.isEmpty()) {
        m_events.add(text);
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

void Printer::onAvailable(const char *daemon, bool available)
{
    m_events.add(QLatin1String(daemon)
                 + QLatin1String(available ? " is there" : " is gone"));
}

// Without arguments none is read.
void Printer::readSupplyNames()
{
    const QString sku = m_supplySku->value().toString();
    for (HNIPCReading *name : m_supplyNames) {
        name->setArguments(sku.isEmpty() ? QVariantList() : QVariantList { sku });
    }
}

// One name for each colour that the ribbon has.
void Printer::readPanelNames(int ribbon)
{
    if (m_ribbonSkus->isKnown() && !m_ribbonSkus->isCurrent()) {
        return; // the colours may be those of the next ribbon already
    }
    const QString sku = m_ribbonSkus->value().toStringList().value(ribbon);
    const HNIPCReading *colors = ribbon == 0 ? m_ribbon1Rgbs : m_ribbon2Rgbs;
    const int panels = sku.isEmpty() ? 0 : int(colors->value().toStringList().size());
    for (int panel = 0; panel < mostPanels; ++panel) {
        m_panelNames[ribbon].at(panel)->setArguments(
            panel < panels ? QVariantList { sku, panel + 1 } : QVariantList());
    }
}

QString Printer::joined(const Readings &names)
{
    QStringList texts;
    for (const HNIPCReading *name : names) {
        if (name->isKnown()) {
            texts += Words::brief(name->value().toString());
        }
    }
    return texts.join(QLatin1String(", "));
}
