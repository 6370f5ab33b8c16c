// SPDX-License-Identifier: MIT
#include "console.h"
#include "request.h"
#include "signalfeed.h"
#include "values.h"

#include <QtCore/QDateTime>
#include <QtCore/QTimer>
#include <QtDBus/QDBusPendingCallWatcher>

namespace {

const int nameWidth = 25;

struct Row
{
    const Property *property;
    Outcome now;
    bool known = false;   ///< read at least once
    bool reading = false;
    bool again = false;   ///< something happened since the reading began
};

// The live table. Nothing here waits for a daemon, so that one that hangs spoils its rows only.
class Watch : public QObject
{
public:
    explicit Watch(const Context &context);

    void refresh(const Daemon *daemon, const ClientSignal *notify);

private:
    void read(Row *row);
    void onRead(Row *row, const Outcome &outcome);
    void draw();

    const Context &m_context;
    std::vector<Row> m_rows;
    DaemonWatcher m_daemons;
    QTimer m_redraw; // a flood of signals is drawn a few times a second only
    bool m_drawn = false;
};

Watch::Watch(const Context &context)
    : m_context(context)
    , m_daemons(context, [this](const Daemon &daemon, bool, bool) { refresh(&daemon, nullptr); })
{
    for (const Property &property : context.contract.properties()) {
        m_rows.push_back({ &property, Outcome() });
    }
    m_redraw.setSingleShot(true);
    m_redraw.setInterval(40);
    connect(&m_redraw, &QTimer::timeout, this, [this]() { draw(); });
    if (Console::isTerminal() && !context.json) {
        Console::hideCursor();
        m_redraw.start();
    }
}

// Reads what this daemon, or this signal, is about; all for neither.
void Watch::refresh(const Daemon *daemon, const ClientSignal *notify)
{
    for (Row &row : m_rows) {
        if ((!daemon || row.property->method->daemon == daemon)
            && (!notify || row.property->notify == notify)) {
            read(&row);
        }
    }
}

void Watch::read(Row *row)
{
    row->again = row->reading;
    if (row->reading) {
        return;
    }
    row->reading = true;
    auto *watcher
        = new QDBusPendingCallWatcher(send(m_context, *row->property->method), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, row, watcher]() {
        watcher->deleteLater();
        row->reading = false;
        onRead(row, outcome(m_context, *row->property->method, *watcher));
        if (row->again) {
            read(row);
        }
    });
}

void Watch::onRead(Row *row, const Outcome &outcome)
{
    if (row->known && outcome.error == row->now.error
        && textOf(outcome.value) == textOf(row->now.value)) {
        return;
    }
    row->known = true;
    row->now = outcome;
    const QString name = row->property->name;
    if (m_context.json) {
        QJsonObject object = outcome.json();
        object.insert(QStringLiteral("time"),
                      QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs));
        object.insert(QStringLiteral("daemon"), row->property->method->daemon->name);
        object.insert(QStringLiteral("property"), name);
        Console::printLine(object);
        Console::flush();
    } else if (!Console::isTerminal()) {
        Console::print(QDateTime::currentDateTime().toString(QStringLiteral("HH:mm:ss.zzz "))
                       + name.leftJustified(nameWidth)
                       + (outcome.ok() ? textOf(outcome.value) : outcome.shortError()));
        Console::flush();
    } else if (!m_redraw.isActive()) {
        m_redraw.start();
    }
}

void Watch::draw()
{
    const int width = qMax(1, Console::columns() - nameWidth - 1);
    QString text = m_drawn ? QStringLiteral("\033[%1A").arg(m_rows.size()) : QString();
    for (const Row &row : m_rows) {
        const QString value = !row.known ? QStringLiteral("...")
            : row.now.ok() ? colouredText(row.now.value, width)
                           : Console::warning(row.now.shortError().left(width));
        text += QLatin1Char('\r') + Console::bold(row.property->name.leftJustified(nameWidth))
            + value + QLatin1String("\033[K\n");
    }
    m_drawn = true;
    Console::write(text.toUtf8());
    Console::flush();
}

int run(const Context &context, const QStringList &)
{
    Watch watch(context);
    std::vector<const ClientSignal *> wanted;
    for (const Property &property : context.contract.properties()) {
        wanted.push_back(property.notify);
    }
    // First heard, then read, so that nothing falls between.
    const SignalFeed feed(context, wanted,
                          [&watch](const ClientSignal &signal, const QDBusMessage &) {
        watch.refresh(nullptr, &signal);
    });
    watch.refresh(nullptr, nullptr);
    return BusLoop::run(context);
}

} // namespace

const Command watchCommand = {
    "watch", "", "The values of all properties, as they change",
    "On a terminal, a table that is kept up to date until Ctrl-C; elsewhere, or with\n"
    "--json, a line for each new value. A value is read anew when its signal comes,\n"
    "and when its daemon comes or goes.",
    {}, 0, 0, true, nullptr, run, nullptr, true
};
