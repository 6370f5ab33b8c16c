// SPDX-License-Identifier: MIT
#include "console.h"
#include "request.h"
#include "values.h"

#include <hnipc/hnipcreading.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDateTime>
#include <QtCore/QTimer>

namespace {

const int nameWidth = 25;

struct Row
{
    const Property *property;
    HNIPCReading reading;
    QString shown; ///< the last printed value
};

// The live table.
class Watch
{
public:
    explicit Watch(const Context &context);

private:
    void onChanged(Row *row);
    void print(const Row &row, const Outcome &outcome);
    void draw();

    const Context &m_context;
    const bool m_isTable;
    std::vector<Row> m_rows;
    QTimer m_redraw; // limits how often a flood of signals is drawn
    bool m_drawn = false;
};

// A failed read is shown even if a signal has brought a value.
Outcome outcomeOf(const Row &row) { return outcomeOf(*row.property->method->daemon, row.reading); }

bool isKnown(const Row &row)
{
    return row.reading.isKnown() || row.reading.reason() != HNIPCRequest::NoReason;
}

QString textOf(const Outcome &outcome)
{
    return outcome.ok() ? textOf(outcome.value) : outcome.shortError();
}

Watch::Watch(const Context &context)
    : m_context(context), m_isTable(Console::isTerminal() && !context.json),
      m_rows(context.contract.properties().size())
{
    for (size_t i = 0; i < m_rows.size(); ++i) {
        Row *row = &m_rows[i];
        row->property = &context.contract.properties()[i];
        row->reading.setMethod(row->property->name);
        row->reading.setDeadline(context.timeout);
        QObject::connect(&row->reading, &HNIPCReading::changed, [this, row]() { onChanged(row); });
    }
    m_redraw.setSingleShot(true);
    m_redraw.setInterval(40);
    QObject::connect(&m_redraw, &QTimer::timeout, [this]() { draw(); });
    if (m_isTable) {
        Console::hideCursor([this]() {
            m_drawn = false; // draws a new table below the shell's output
            draw();
        });
        m_redraw.start();
    }
}

void Watch::onChanged(Row *row)
{
    if (row->reading.reason() == HNIPCRequest::BusLost) {
        QCoreApplication::exit(Toolkit::NoBus);
    } else if (m_isTable && !m_redraw.isActive()) {
        m_redraw.start();
    } else if (!m_isTable && isKnown(*row)) {
        const Outcome outcome = outcomeOf(*row);
        // A read that confirms the value of a signal prints nothing.
        if (row->shown != textOf(outcome)) {
            row->shown = textOf(outcome);
            print(*row, outcome);
        }
    }
}

void Watch::print(const Row &row, const Outcome &outcome)
{
    const QString name = row.property->name;
    if (m_context.json) {
        QJsonObject object = outcome.json();
        object.insert(QStringLiteral("time"),
                      QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs));
        object.insert(QStringLiteral("daemon"), row.property->method->daemon->name);
        object.insert(QStringLiteral("property"), name);
        Console::printLine(object);
    } else {
        Console::print(QDateTime::currentDateTime().toString(QStringLiteral("HH:mm:ss.zzz "))
                       + name.leftJustified(nameWidth) + row.shown);
    }
    Console::flush();
}

void Watch::draw()
{
    const int width = qMax(1, Console::columns() - nameWidth - 1);
    QString text = m_drawn ? QStringLiteral("\033[%1A").arg(m_rows.size()) : QString();
    for (const Row &row : m_rows) {
        const Outcome outcome = outcomeOf(row);
        const QString value = !isKnown(row) ? QStringLiteral("...")
            : outcome.ok()                  ? colouredText(outcome.value, width)
                                            : Console::warning(outcome.shortError().left(width));
        text += QLatin1Char('\r') + Console::bold(row.property->name.leftJustified(nameWidth))
            + value + QLatin1String("\033[K\n");
    }
    m_drawn = true;
    Console::write(text.toUtf8());
    Console::flush();
}

int run(const Context &context, const QStringList &)
{
    const Watch watch(context);
    const int exitCode = QCoreApplication::exec();
    return exitCode == Toolkit::NoBus ? busLost() : exitCode;
}

} // namespace

// clang-format off
const Command watchCommand = {
    "watch", "", "Shows the values of all properties as they change",
    "On a terminal, shows a table and keeps it up to date until Ctrl-C. Otherwise, or\n"
    "with --json, prints a line for each new value. A value is read again when its\n"
    "signal arrives and when its daemon appears or disappears. A failed read is\n"
    "repeated.",
    {}, 0, 0, true, nullptr, run, nullptr, true, false, false
};
// clang-format on
