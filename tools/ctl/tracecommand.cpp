// SPDX-License-Identifier: MIT
#include "busmonitor.h"
#include "console.h"
#include "hosts.h"
#include "outputfile.h"
#include "request.h"
#include "signalfeed.h"
#include "timeline.h"
#include "traffic.h"
#include "values.h"
#include "wirevalues.h"

#include <QtCore/QDateTime>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>

#include <dbus/dbus.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <optional>
#include <unistd.h>

namespace {

const int textWidth = 200;       // of a value in a line
const std::size_t mostRows = 30; // of callers in a table or a picture

// ---- The end of a trace --------------------------------------------------------------------

int stopPipe[2] = { -1, -1 };
volatile std::sig_atomic_t stopSignal = 0;

// A second signal ends the program at once.
void onStop(int number)
{
    stopSignal = number;
    const ssize_t written = ::write(stopPipe[1], "", 1);
    static_cast<void>(written);
}

bool handleStops()
{
    if (pipe(stopPipe) != 0) {
        return false;
    }
    for (const int number : { SIGINT, SIGTERM, SIGHUP }) {
        struct sigaction action = {};
        sigaction(number, nullptr, &action);
        if (action.sa_handler != SIG_IGN) { // as nohup sets it
            action.sa_handler = onStop;
            action.sa_flags = SA_RESTART | int(SA_RESETHAND);
            sigaction(number, &action, nullptr);
        }
    }
    return true;
}

// ---- From the thread that reads to the one that prints ---------------------------------------

// The calls that wait to be printed. If it is full, further calls are dropped, so that a slow output
// fills neither the memory of this program nor, with unread messages, that of the bus.
class CallQueue
{
public:
    struct Item
    {
        std::optional<TracedCall> call; ///< none at the end
        qint64 lostBefore = 0;
    };

    void push(TracedCall &&call)
    {
        const qint64 size = sizeOf(call.call) + sizeOf(call.reply);
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_bytes + size > mostBytes || m_calls.size() >= mostCalls) {
            if (m_lost == 0) { // not by the Console, which would block on standard output
                std::fputs("hnipcctl: standard output is not read fast enough: some calls are not "
                           "printed\n",
                           stderr);
            }
            ++m_lost;
            ++m_allLost;
            return;
        }
        m_bytes += size;
        m_calls.push_back({ std::move(call), m_lost, size });
        m_lost = 0;
        m_changed.notify_one();
    }

    void close()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isClosed = true;
        m_changed.notify_one();
    }

    Item pop()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this]() { return m_isClosed || !m_calls.empty(); });
        Item result;
        if (m_calls.empty()) {
            result.lostBefore = std::exchange(m_lost, 0);
            return result;
        }
        result.call = std::move(m_calls.front().call);
        result.lostBefore = m_calls.front().lostBefore;
        m_bytes -= m_calls.front().size;
        m_calls.pop_front();
        return result;
    }

    bool isEmpty()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_calls.empty();
    }

    qint64 allLost()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_allLost;
    }

private:
    struct Entry
    {
        TracedCall call;
        qint64 lostBefore;
        qint64 size;
    };

    static constexpr qint64 mostBytes = 64 * 1024 * 1024;
    static constexpr std::size_t mostCalls = 100000;

    static qint64 sizeOf(const WireMessagePointer &message)
    {
        char *bytes = nullptr;
        int size = 0;
        if (!message || !dbus_message_marshal(message.get(), &bytes, &size)) {
            return 0;
        }
        dbus_free(bytes);
        return size;
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Entry> m_calls;
    qint64 m_bytes = 0;
    qint64 m_lost = 0;
    qint64 m_allLost = 0;
    bool m_isClosed = false;
};

// ---- A call, printed ---------------------------------------------------------------------------

QString wireSignature(const WireMessagePointer &message)
{
    return QString::fromLatin1(dbus_message_get_signature(message.get()));
}

// The types of the reply if they differ from the method's description; otherwise null.
QString otherReply(const TracedCall &call)
{
    if (!call.declared || call.how != CallEnd::Reply) {
        return QString();
    }
    const QString declared = call.declared->signature(Toolkit::InterfaceArgument::Out);
    const QString sent = wireSignature(call.reply);
    return sent == declared ? QString()
                            : QStringLiteral("(replied \"%1\", not \"%2\")").arg(sent, declared);
}

// The only structure that a method returns is the supply record. It gets the names of its members.
QVariantList replyValues(const TracedCall &call)
{
    QVariantList values = wireValues(call.reply.get());
    if (call.declared && otherReply(call).isEmpty()
        && wireSignature(call.reply).startsWith(QLatin1Char('('))) {
        auto fields = qvariant_cast<Record>(plain(QVariant::fromValue(SupplyInformation())));
        const QVariantList members = values.at(0).toList();
        for (int i = 0; i < fields.size() && i < members.size(); ++i) {
            fields[i].second = members.at(i);
        }
        values[0] = QVariant::fromValue(fields);
    }
    return values;
}

class Printer
{
public:
    Printer(const Context &context, Callers *callers, const QDateTime &start)
        : m_context(context), m_callers(callers), m_start(start)
    {
    }

    void print(const TracedCall &call) const;
    void printLost(qint64 count) const;

private:
    void printText(const TracedCall &call, const Caller &caller) const;
    void printJson(const TracedCall &call, const Caller &caller) const;

    const Context &m_context;
    Callers *m_callers;
    const QDateTime m_start;
};

bool hasDuration(const TracedCall &call) { return call.call && call.how != CallEnd::NoReplyWanted; }

QString milliseconds(qint64 nanoseconds)
{
    return QString::number(double(nanoseconds) / 1e6, 'f', 2) + QLatin1String(" ms");
}

// A number for JSON, exact to the microsecond.
double millisecondsNumber(qint64 nanoseconds) { return double(nanoseconds / 1000) / 1000; }

QString shortened(const QString &text)
{
    return text.size() <= textWidth ? text : text.left(textWidth) + QLatin1String("...");
}

QString errorText(const TracedCall &call)
{
    const QString text = wireValues(call.reply.get()).value(0).toString();
    return QString::fromLatin1(dbus_message_get_error_name(call.reply.get()))
        + (text.isEmpty() ? QString() : QLatin1String(": ") + text);
}

// The end of a call in words; empty for a reply.
QString endNote(CallEnd how)
{
    switch (how) {
    case CallEnd::ErrorReply:
        return QStringLiteral("error reply");
    case CallEnd::NoReplyWanted:
        return QStringLiteral("no reply wanted");
    case CallEnd::DaemonLeft:
        return QStringLiteral("the daemon left the bus without a reply");
    case CallEnd::CallerLeft:
        return QStringLiteral("the caller left the bus before the reply");
    case CallEnd::Pending:
        return QStringLiteral("no reply until the trace ended");
    case CallEnd::Reply:
        break;
    }
    return QString();
}

QString endText(const TracedCall &call, const QString &daemon)
{
    switch (call.how) {
    case CallEnd::Reply: {
        QStringList texts;
        const QVariantList values = replyValues(call);
        for (const QVariant &value : values) {
            texts += shortened(textOf(value));
        }
        const QString other = otherReply(call);
        const QString note = other.isEmpty() ? QString()
                                             : QLatin1Char(' ') + Console::warning(other);
        return (texts.isEmpty() ? QStringLiteral("replied") : texts.join(QLatin1Char(' '))) + note;
    }
    case CallEnd::ErrorReply:
        return Console::warning(Console::printable(shortened(errorText(call))));
    case CallEnd::DaemonLeft:
        return Console::warning(daemon + QLatin1String(" left the bus without a reply"));
    default:
        return endNote(call.how);
    }
}

QString argumentName(const TracedCall &call, int index)
{
    return call.declared
        ? call.declared->arguments(Toolkit::InterfaceArgument::In).value(index).name
        : QString();
}

void Printer::print(const TracedCall &call) const
{
    Caller caller = m_callers->of(call.caller);
    caller.daemon = call.callerDaemon;
    if (m_context.json) {
        printJson(call, caller);
    } else {
        printText(call, caller);
    }
}

void Printer::printText(const TracedCall &call, const Caller &caller) const
{
    const QString daemon = m_context.contract.daemons()[size_t(call.daemon)].name;
    const QDateTime time = m_start.addMSecs(call.begin / 1000000);
    QStringList words {
        Console::dim(time.toString(QStringLiteral("HH:mm:ss.zzz"))),
        (hasDuration(call) ? milliseconds(call.end - call.begin) : QStringLiteral("-"))
            .rightJustified(12),
        Console::printable(caller.text()).leftJustified(20) + QLatin1Char(' ')
            + daemon.leftJustified(7),
        call.call ? Console::bold(call.method) : QStringLiteral("(called before the trace began)"),
    };
    const QVariantList values = call.call ? wireValues(call.call.get()) : QVariantList();
    for (int i = 0; i < values.size(); ++i) {
        const QString name = argumentName(call, i);
        words += (name.isEmpty() ? QString() : name + QLatin1Char('='))
            + shortened(textOf(values.at(i)));
    }
    words << QStringLiteral("->") << endText(call, daemon);
    Console::print(words.join(QLatin1Char(' ')));
}

QJsonValue argumentsJson(const TracedCall &call)
{
    const QVariantList values = wireValues(call.call.get());
    QJsonObject named;
    QJsonArray bare;
    for (int i = 0; i < values.size(); ++i) {
        named.insert(argumentName(call, i), jsonOf(values.at(i)));
        bare += jsonOf(values.at(i));
    }
    return call.declared ? QJsonValue(named) : QJsonValue(bare);
}

void addEnd(const TracedCall &call, QJsonObject *object)
{
    static const QMap<CallEnd, QString> words {
        { CallEnd::Reply, QStringLiteral("reply") },
        { CallEnd::ErrorReply, QStringLiteral("error") },
        { CallEnd::NoReplyWanted, QStringLiteral("no reply wanted") },
        { CallEnd::DaemonLeft, QStringLiteral("daemon left") },
        { CallEnd::CallerLeft, QStringLiteral("caller left") },
        { CallEnd::Pending, QStringLiteral("pending") },
    };
    object->insert(QStringLiteral("end"), words.value(call.how));
    if (call.how == CallEnd::ErrorReply) {
        object->insert(QStringLiteral("errorName"),
                       QString::fromLatin1(dbus_message_get_error_name(call.reply.get())));
        object->insert(QStringLiteral("error"), wireValues(call.reply.get()).value(0).toString());
    } else if (call.how == CallEnd::Reply) {
        QJsonArray values;
        const QVariantList list = replyValues(call);
        for (const QVariant &value : list) {
            values += jsonOf(value);
        }
        if (!values.isEmpty()) {
            object->insert(QStringLiteral("value"),
                           values.size() == 1 ? values.at(0) : QJsonValue(values));
        }
        if (!otherReply(call).isEmpty()) {
            object->insert(QStringLiteral("replySignature"), wireSignature(call.reply));
        }
    }
}

void Printer::printJson(const TracedCall &call, const Caller &caller) const
{
    QJsonObject object {
        { QStringLiteral("time"),
          m_start.addMSecs(call.begin / 1000000).toUTC().toString(Qt::ISODateWithMs) },
        { QStringLiteral("caller"), caller.json() },
        { QStringLiteral("daemon"), m_context.contract.daemons()[size_t(call.daemon)].name },
    };
    if (call.call) {
        object.insert(QStringLiteral("method"), call.method);
        object.insert(QStringLiteral("arguments"), argumentsJson(call));
        if (!call.declared) {
            object.insert(QStringLiteral("signature"), wireSignature(call.call));
        }
    }
    if (hasDuration(call)) {
        object.insert(QStringLiteral("duration"), millisecondsNumber(call.end - call.begin));
    }
    addEnd(call, &object);
    Console::printLine(object);
}

void Printer::printLost(qint64 count) const
{
    if (m_context.json) {
        Console::printLine({ { QStringLiteral("lost"), count } });
    }
    Console::note(QStringLiteral("%1 not printed here")
                      .arg(count == 1 ? QStringLiteral("1 call is")
                                      : QStringLiteral("%1 calls are").arg(count)));
}

// ---- The summary -------------------------------------------------------------------------------

// The percentile of sorted values, by the nearest rank.
qint64 percentile(const std::vector<qint64> &sorted, int percent)
{
    const size_t rank = (sorted.size() * size_t(percent) + 99) / 100;
    return sorted.empty() ? 0 : sorted[std::max(rank, size_t(1)) - 1];
}

struct CallerRow
{
    Caller caller;
    QString text;
    qint64 count = 0;
    qint64 blocked = 0;
    int atOnce = 0;
};

struct CallerRows
{
    std::vector<CallerRow> rows;
    std::vector<int> rowOf; ///< of each caller
};

void add(CallerRows *rows, const QString &text, const Caller &caller, const CallerTotals &totals)
{
    auto row = std::find_if(rows->rows.begin(), rows->rows.end(),
                            [&](const CallerRow &each) { return each.text == text; });
    if (row == rows->rows.end()) {
        CallerRow fresh;
        fresh.caller = caller;
        fresh.text = text;
        row = rows->rows.insert(row, fresh);
    }
    rows->rowOf.push_back(int(row - rows->rows.begin()));
    row->count += totals.count;
    row->blocked += totals.blocked;
    row->atOnce = std::max(row->atOnce, totals.atOnce);
}

// A row for each process. If these are too many, a row for each program; if these are too many, the
// last row is for all remaining programs.
CallerRows callerRows(const Traffic &traffic, Callers *callers, std::size_t most)
{
    CallerRows processes;
    CallerRows programs;
    QHash<QString, int> countOf;
    for (const CallerTotals &totals : traffic.callers()) {
        Caller caller = callers->of(totals.busName);
        caller.daemon = totals.daemon;
        add(&processes, caller.text(), caller, totals);
        const QString program = !caller.daemon.isEmpty() ? caller.daemon
            : caller.program.isEmpty()                   ? QStringLiteral("unknown programs")
                                                         : caller.program;
        add(&programs,
            countOf.size() < int(most) - 1 || countOf.contains(program) ? program
                                                                        : QStringLiteral("others"),
            caller, totals);
        ++countOf[programs.rows[size_t(programs.rowOf.back())].text];
    }
    if (processes.rows.size() <= most) {
        return processes;
    }
    for (CallerRow &row : programs.rows) {
        const int count = countOf.value(row.text);
        row.text += count > 1 ? QStringLiteral(" (%1 connections)").arg(count) : QString();
    }
    return programs;
}

std::vector<MethodTotals> methodRows(const Traffic &traffic)
{
    std::vector<MethodTotals> result;
    for (const MethodTotals &method : traffic.methods()) {
        if (method.count > 0) {
            result.push_back(method);
            std::sort(result.back().durations.begin(), result.back().durations.end());
        }
    }
    std::sort(result.begin(), result.end(), [](const auto &one, const auto &other) {
        return percentile(one.durations, 100) > percentile(other.durations, 100);
    });
    return result;
}

QString plural(qint64 count, const char *word)
{
    return QString::number(count) + QLatin1Char(' ') + QLatin1String(word)
        + QLatin1String(count == 1 ? "" : "s");
}

void printSummaryText(const Context &context, const Traffic &traffic, Callers *callers,
                      qint64 length, qint64 lost)
{
    const auto row = [](const QString &name, int width, const QStringList &cells) {
        QString line = name.leftJustified(width);
        for (const QString &cell : cells) {
            line += cell.rightJustified(13);
        }
        Console::print(line);
    };
    const auto column = [](const char *name) { return QLatin1String(name); };
    Console::print(QStringLiteral("\n%1 in %2 s")
                       .arg(plural(traffic.count(), "call"))
                       .arg(double(length) / 1e9, 0, 'f', 1));
    if (traffic.older() > 0) {
        Console::print((traffic.older() == 1 ? QStringLiteral("1 reply")
                                             : QStringLiteral("%1 replies").arg(traffic.older()))
                       + QLatin1String(" more, to calls from before the trace"));
    }
    if (lost > 0) {
        Console::print(QStringLiteral("%1 of them not printed above").arg(lost));
    }
    const std::vector<MethodTotals> methods = methodRows(traffic);
    if (methods.empty()) {
        return;
    }
    std::vector<CallerRow> rows = callerRows(traffic, callers, mostRows).rows;
    std::sort(rows.begin(), rows.end(), [](const CallerRow &one, const CallerRow &other) {
        return one.blocked > other.blocked;
    });
    int width = 0;
    for (const MethodTotals &method : methods) {
        width = qMax(width, int(method.method.size()) + 8);
    }
    for (const CallerRow &caller : rows) {
        width = qMax(width, int(Console::printable(caller.text).size()));
    }
    Console::print(QString());
    row(QStringLiteral("METHOD"), width,
        { column("calls"), column("median"), column("95 %"), column("longest"), column("failed"),
          column("no reply") });
    for (const MethodTotals &method : methods) {
        QStringList cells { QString::number(method.count) };
        for (const int percent : { 50, 95, 100 }) {
            cells += method.durations.empty() ? QStringLiteral("-")
                                              : milliseconds(percentile(method.durations, percent));
        }
        cells << QString::number(method.failed) << QString::number(method.unanswered);
        row(context.contract.daemons()[size_t(method.daemon)].name.leftJustified(8) + method.method,
            width, cells);
    }
    Console::print(QString());
    row(QStringLiteral("CALLER"), width, { column("calls"), column("blocked"), column("at once") });
    for (const CallerRow &caller : rows) {
        row(Console::printable(caller.text), width,
            { QString::number(caller.count), milliseconds(caller.blocked),
              QString::number(caller.atOnce) });
    }
}

void printSummaryJson(const Context &context, const Traffic &traffic, Callers *callers,
                      qint64 length, qint64 lost)
{
    QJsonArray methods;
    for (const MethodTotals &method : methodRows(traffic)) {
        QJsonObject object {
            { QStringLiteral("daemon"), context.contract.daemons()[size_t(method.daemon)].name },
            { QStringLiteral("method"), method.method },
            { QStringLiteral("calls"), method.count },
            { QStringLiteral("failed"), method.failed },
            { QStringLiteral("unanswered"), method.unanswered },
        };
        if (!method.durations.empty()) {
            const auto at = [&](int percent) {
                return millisecondsNumber(percentile(method.durations, percent));
            };
            object.insert(QStringLiteral("median"), at(50));
            object.insert(QStringLiteral("p95"), at(95));
            object.insert(QStringLiteral("longest"), at(100));
        }
        methods += object;
    }
    QJsonArray rows;
    for (const CallerRow &row : callerRows(traffic, callers, traffic.callers().size()).rows) {
        QJsonObject object = row.caller.json();
        object.insert(QStringLiteral("calls"), row.count);
        object.insert(QStringLiteral("blocked"), millisecondsNumber(row.blocked));
        object.insert(QStringLiteral("atOnce"), row.atOnce);
        rows += object;
    }
    Console::printLine({ { QStringLiteral("summary"),
                           QJsonObject {
                               { QStringLiteral("calls"), traffic.count() },
                               { QStringLiteral("length"), millisecondsNumber(length) },
                               { QStringLiteral("older"), traffic.older() },
                               { QStringLiteral("lost"), lost },
                               { QStringLiteral("methods"), methods },
                               { QStringLiteral("callers"), rows },
                           } } });
}

// ---- The picture ---------------------------------------------------------------------------------

Timeline::Look lookOf(CallEnd how)
{
    switch (how) {
    case CallEnd::ErrorReply:
    case CallEnd::DaemonLeft:
        return Timeline::Failed;
    case CallEnd::CallerLeft:
    case CallEnd::Pending:
        return Timeline::Open;
    default:
        return Timeline::Plain;
    }
}

Timeline timelineOf(const Context &context, const Traffic &traffic, Callers *callers,
                    const QDateTime &start)
{
    Timeline result;
    result.start = start;
    result.daemons = context.contract.daemonNames();
    const CallerRows rows = callerRows(traffic, callers, mostRows);
    for (const CallerRow &row : rows.rows) {
        result.lanes += row.text;
    }
    for (const CallMark &mark : traffic.marks()) {
        const MethodTotals &method = traffic.methods()[size_t(mark.method)];
        result.bars.push_back({ mark.begin, mark.end, rows.rowOf[size_t(mark.caller)],
                                method.daemon, method.method, lookOf(mark.how),
                                endNote(mark.how) });
    }
    std::stable_sort(result.bars.begin(), result.bars.end(),
                     [](const auto &one, const auto &other) { return one.begin < other.begin; });
    const qint64 first = traffic.count() > qint64(result.bars.size()) && !result.bars.empty()
        ? result.bars.front().begin
        : 0;
    for (const EventMark &event : traffic.events()) {
        if (event.at >= first) {
            result.ticks.push_back({ event.at, event.daemon, event.name });
        }
    }
    result.notes += QStringLiteral("%1 of %2, %3")
                        .arg(plural(qint64(result.bars.size()), "call"),
                             plural(qint64(result.lanes.size()), "caller"),
                             plural(qint64(result.ticks.size()), "event"));
    if (first > 0) {
        result.notes.last() += QStringLiteral("; the last ones of %1 calls").arg(traffic.count());
    }
    std::vector<const Timeline::Bar *> longest;
    for (const Timeline::Bar &bar : result.bars) {
        longest.push_back(&bar);
    }
    const size_t most = std::min(longest.size(), size_t(3));
    std::partial_sort(longest.begin(), longest.begin() + qint64(most), longest.end(),
                      [](const auto *one, const auto *other) {
                          return one->end - one->begin > other->end - other->begin;
                      });
    for (size_t i = 0; i < most; ++i) {
        const Timeline::Bar &bar = *longest[i];
        result.notes += QStringLiteral("Longest %1: %2, %3 %4, by %5, at %6")
                            .arg(QString::number(i + 1), milliseconds(bar.end - bar.begin),
                                 result.daemons.value(bar.daemon), bar.name,
                                 result.lanes.value(bar.lane),
                                 start.addMSecs(bar.begin / 1000000)
                                     .toString(QStringLiteral("HH:mm:ss.zzz")));
    }
    return result;
}

bool writePicture(OutputFile *file, const Timeline &timeline)
{
    const QByteArray svg = timeline.svg();
    return (file->size() == 0 || (file->seek(0) && file->resize(0)))
        && file->write(svg) == svg.size();
}

// ---- The trace -----------------------------------------------------------------------------------

class Clock
{
public:
    qint64 now() const
    {
        return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now()
                                                                    - m_start)
            .count();
    }
    QDateTime start() const { return m_startTime; }

private:
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    QDateTime m_startTime = QDateTime::currentDateTime();
};

// Finds the connections and owners when the trace begins. The monitor has received later changes, and
// reads them after this.
void tellPresent(const Context &context, Traffic *traffic)
{
    const ReachingDeadline end(context.unreached, context.timeout);
    QSet<QByteArray> connections;
    const QStringList names = replyOfBus(context, "ListNames").arguments().value(0).toStringList();
    for (const QString &name : names) {
        if (name.startsWith(QLatin1Char(':'))) {
            connections.insert(name.toLatin1());
        }
    }
    traffic->setConnections(connections);
    for (size_t i = 0; i < context.contract.daemons().size(); ++i) {
        const QDBusMessage owner = replyOfBus(context, "GetNameOwner",
                                              { context.contract.daemons()[i].busName });
        if (owner.type() == QDBusMessage::ReplyMessage) {
            traffic->setOwner(int(i), owner.arguments().value(0).toString().toLatin1());
        }
    }
}

QStringList methodNames(const Contract &contract)
{
    QStringList result;
    for (const Daemon &daemon : contract.daemons()) {
        for (const Toolkit::InterfaceMember &member : daemon.interface.allMembers) {
            if (member.kind == Toolkit::InterfaceMember::Method && !result.contains(member.name)) {
                result += member.name;
            }
        }
    }
    return result;
}

int checkPattern(const Contract &contract, const QString &text)
{
    const Pattern pattern(text);
    const QStringList names = methodNames(contract);
    const bool isOther = text.contains(QLatin1Char('.')); // the name of another interface
    return isOther
            || std::any_of(names.begin(), names.end(),
                           [&](const QString &name) { return pattern.matches(name); })
        ? int(Toolkit::Done)
        : Console::fail(
            Toolkit::NoSuchName,
            QStringLiteral("no method matches \"%1\"%2").arg(text, didYouMean(text, names)));
}

int checkSlow(const Context &context)
{
    const QString text = context.options.value(QStringLiteral("slow"));
    return text.isNull() || text.toInt() >= 1
        ? int(Toolkit::Done)
        : Console::fail(
            Toolkit::WrongUsage,
            QStringLiteral("--slow: \"%1\" is not a number of milliseconds from 1 to 2147483647")
                .arg(text));
}

int checkPicture(const Context &context)
{
    const QString name = context.options.value(QStringLiteral("picture"));
    if (name.isNull()) {
        return context.options.contains(QStringLiteral("force"))
            ? Console::fail(Toolkit::WrongUsage, QStringLiteral("--force needs --picture"))
            : int(Toolkit::Done);
    }
    if (name.isEmpty() || name == QLatin1String("-")) {
        return Console::fail(
            Toolkit::WrongUsage,
            QStringLiteral("--picture needs the name of a file, not \"%1\"").arg(name));
    }
    return OutputFile(context, name).check();
}

int check(const Context &context, const QStringList &arguments)
{
    const int results[] = { SignalLimit::check(context), checkSlow(context),
                            checkPattern(context.contract, arguments.value(0)) };
    for (const int result : results) {
        if (result != Toolkit::Done) {
            return result;
        }
    }
    return checkPicture(context);
}

// Reads messages until something ends the trace. Returns the exit code.
int read(BusMonitor *monitor, Traffic *traffic, const Clock &clock, const bool &isEnough)
{
    std::optional<int> exitCode;
    while (!exitCode) {
        switch (monitor->wait(stopPipe[0])) {
        case BusMonitor::Received:
            break;
        case BusMonitor::Stopped:
            exitCode = 128 + stopSignal;
            break;
        case BusMonitor::Lost:
            exitCode = Toolkit::NoBus;
            break;
        }
        while (const WireMessagePointer message = monitor->next()) {
            traffic->take(message, clock.now());
            if (isEnough) {
                return Toolkit::Done;
            }
        }
    }
    return *exitCode;
}

int run(const Context &context, const QStringList &arguments)
{
    const QString pictureName = context.options.value(QStringLiteral("picture"));
    const bool hasSummary = context.options.contains(QStringLiteral("summary"));
    Traffic::Wish wish;
    wish.pattern = Pattern(arguments.value(0));
    wish.slow = context.options.value(QStringLiteral("slow")).toLongLong() * 1000000;
    wish.wantsTotals = hasSummary;
    wish.wantsMarks = !pictureName.isNull();

    qint64 left = context.options.value(QStringLiteral("count"), QStringLiteral("-1")).toLongLong();
    bool isEnough = false;
    CallQueue queue;
    Callers callers(context.bus, isBusRemote(), context.timeout);
    Traffic traffic(context.contract, wish, &callers, [&](TracedCall &&call) {
        if (!isEnough) {
            queue.push(std::move(call));
            isEnough = left > 0 && --left == 0;
        }
    });

    BusMonitor monitor;
    const int started = monitor.start(context, traffic.matchRules());
    if (started != Toolkit::Done) {
        return started;
    }
    const Clock clock;
    tellPresent(context, &traffic);
    OutputFile picture(context, pictureName);
    // If the program is killed, this file remains, and says so.
    Timeline unfinished;
    unfinished.start = clock.start();
    unfinished.notes += QStringLiteral("hnipcctl was ended before it could draw the calls.");
    if (wish.wantsMarks && (!picture.create() || !writePicture(&picture, unfinished))) {
        return Console::fail(Toolkit::Failed,
                             pictureName + QLatin1String(": ") + picture.errorString());
    }
    if (!handleStops()) {
        return Console::fail(Toolkit::Failed, QStringLiteral("cannot create a pipe"));
    }

    int exitCode = Toolkit::Done;
    qint64 length = 0;
    std::thread reader([&]() {
        exitCode = read(&monitor, &traffic, clock, isEnough);
        length = clock.now();
        traffic.end(length);
        queue.close();
    });
    Console::note(QStringLiteral("tracing the calls of %1; Ctrl-C ends")
                      .arg(context.contract.daemonNames().join(QLatin1String(", "))));
    const Printer printer(context, &callers, clock.start());
    for (bool isOpen = true; isOpen;) {
        const CallQueue::Item item = queue.pop();
        if (item.lostBefore > 0) {
            printer.printLost(item.lostBefore);
        }
        isOpen = item.call.has_value();
        if (isOpen) {
            printer.print(*item.call);
        }
        if (queue.isEmpty()) {
            Console::flush();
        }
    }
    reader.join();

    if (wish.wantsMarks
        && !writePicture(&picture, timelineOf(context, traffic, &callers, clock.start()))) {
        exitCode = Console::fail(Toolkit::Failed,
                                 pictureName + QLatin1String(": ") + picture.errorString());
    }
    if (hasSummary) {
        (context.json ? printSummaryJson : printSummaryText)(context, traffic, &callers, length,
                                                             queue.allLost());
    }
    return exitCode == Toolkit::NoBus ? busLost() : exitCode;
}

} // namespace

// clang-format off
const Command traceCommand = {
    "trace", "[PATTERN]", "Prints every call of the daemons: who calls what, and how long it takes",
    "Prints each method call of the daemons when its reply is sent, until Ctrl-C: when\n"
    "the call was sent, how long the reply took, the caller, the method with its\n"
    "arguments, and the reply. PATTERN is compared with the names of the methods; see\n"
    "\"list\". A call that is still pending at the end is printed then. The bus allows\n"
    "this only for root, and for the user whom the bus runs as.",
    { { "slow", "MS", "print only calls that took MS milliseconds or more" },
      { "count", "N", "end after N printed calls" },
      { "summary", nullptr, "at the end, print the times of each method and each caller" },
      { "picture", "FILE", "at the end, write a timeline to this SVG file" },
      { "force", nullptr, "overwrite FILE" } },
    0, 1, true,
    [](const Contract &contract) { return contract.methodNames(); }, run, check, true
};
// clang-format on
