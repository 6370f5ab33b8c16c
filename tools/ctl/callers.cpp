// SPDX-License-Identifier: MIT
#include "callers.h"

#include "request.h"

#include <QtCore/QFile>

#include <unistd.h>

namespace {

QByteArray content(uint process, const char *name)
{
    QFile file(QStringLiteral("/proc/%1/%2").arg(process).arg(QLatin1String(name)));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The kernel's name of a process is better than the first argument: for a script, it is the script and
// not the interpreter. But it is cut after 15 characters.
QString programOf(uint process)
{
    const QByteArray name = content(process, "comm").chopped(1);
    const QByteArray command = content(process, "cmdline");
    const QByteArray path = command.left(command.indexOf('\0'));
    const QByteArray last = path.mid(path.lastIndexOf('/') + 1);
    return QString::fromUtf8(name.size() == 15 && last.startsWith(name) ? last : name);
}

// Waits for the reply of the bus. Returns 0 if the bus does not know the process.
uint processIn(QDBusPendingCall answer)
{
    answer.waitForFinished();
    return answer.isError() ? 0 : answer.reply().arguments().value(0).toUInt();
}

} // namespace

QString Caller::text() const
{
    const QString name = daemon.isEmpty() ? program : daemon;
    if (process == 0) {
        return daemon.isEmpty() ? QString::fromLatin1(busName) : daemon;
    }
    return (name.isEmpty() ? QStringLiteral("process") : name) + QLatin1Char(' ')
        + QString::number(process);
}

QJsonObject Caller::json() const
{
    QJsonObject result { { QStringLiteral("busName"), QString::fromLatin1(busName) } };
    if (process != 0) {
        result.insert(QStringLiteral("pid"), qint64(process));
    }
    if (!program.isEmpty()) {
        result.insert(QStringLiteral("program"), program);
    }
    if (!daemon.isEmpty()) {
        result.insert(QStringLiteral("daemon"), daemon);
    }
    return result;
}

Callers::Callers(const QDBusConnection &bus, bool isRemote, int timeout)
    : m_bus(bus), m_timeout(qMin(timeout, 1000)) // a name is not worth more time
{
    // On another machine or in another container, the process id does not belong to a process here.
    m_isHere = !isRemote && processIn(question(m_bus.baseService().toLatin1())) == uint(getpid());
    m_thread = std::thread([this]() { run(); });
}

Callers::~Callers()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isEnding = true;
    }
    m_changed.notify_all();
    m_thread.join();
}

QDBusPendingCall Callers::question(const QByteArray &busName) const
{
    return m_bus.asyncCall(busCall("GetConnectionUnixProcessID", { QString::fromLatin1(busName) }),
                           m_timeout);
}

void Callers::ask(const QByteArray &busName)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_entries.contains(busName)) {
        m_entries[busName].caller.busName = busName;
        m_questions.emplace_back(busName, question(busName));
        m_changed.notify_all();
    }
}

Caller Callers::known(const QByteArray &busName)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    Caller result = m_entries.value(busName).caller;
    result.busName = busName;
    return result;
}

Caller Callers::of(const QByteArray &busName)
{
    ask(busName);
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [&]() { return m_isEnding || m_entries.value(busName).isAnswered; });
    return m_entries.value(busName).caller;
}

void Callers::forget(const QByteArray &busName)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_entries.value(busName).isAnswered) {
        m_entries.remove(busName);
    }
}

void Callers::run()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this]() { return m_isEnding || !m_questions.empty(); });
        if (m_isEnding) {
            return;
        }
        const auto asked = m_questions.front();
        m_questions.pop_front();
        lock.unlock();
        const uint process = processIn(asked.second);
        const QString program = process != 0 && m_isHere ? programOf(process) : QString();
        lock.lock();
        Entry &entry = m_entries[asked.first];
        entry.caller.process = process;
        entry.caller.program = program;
        entry.isAnswered = true;
        m_changed.notify_all();
    }
}
