// SPDX-License-Identifier: MIT
#include "console.h"
#include "metricstext.h"
#include "request.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QEventLoop>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonArray>
#include <QtCore/QSaveFile>
#include <QtDBus/QDBusPendingCallWatcher>
#include <QtDBus/QDBusReply>

#include <cmath>
#include <memory>

namespace {

// ---- One printer: the result as JSON -------------------------------------------------------

// Reads one daemon. First it calls Introspect of the daemon's object: the daemon replies from its event
// loop, the call changes nothing, and every HNIPC object makes it, too. The properties are read after
// the reply, so they do not delay it, and a daemon that hangs takes the timeout only once.
class DaemonReader
{
public:
    DaemonReader(const Context &context, const Daemon &daemon)
        : m_context(context), m_daemon(daemon),
          m_owner(ask(context, busCall("GetNameOwner", { daemon.busName })))
    {
        m_timer.start();
        m_light.reset(new QDBusPendingCallWatcher(ask(context, introspectCall(daemon))));
    }

    // Calls @p onDone from the event loop.
    void start(const std::function<void()> &onDone)
    {
        m_player.reset(new QDBusPendingCallWatcher(ask(m_context, playerCall(m_daemon.busName))));
        m_pending = 2;
        const auto count = [this, onDone]() {
            if (--m_pending == 0) {
                onDone();
            }
        };
        QObject::connect(m_player.get(), &QDBusPendingCallWatcher::finished, m_player.get(), count);
        QObject::connect(m_light.get(), &QDBusPendingCallWatcher::finished, m_light.get(),
                         [this, count]() {
                             m_duration = m_timer.nsecsElapsed();
                             m_failure = HNIPCFailure::ofReply(m_light->reply(), m_daemon.busName,
                                                               m_context.timeout);
                             if (hasReplied()) {
                                 readProperties(count);
                             }
                             count();
                         });
    }

    // Returns false if the bus did not reply.
    bool isKnown() const
    {
        const QDBusReply<QString> owner = replyOf(m_owner);
        return owner.isValid()
            || owner.error().name() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner");
    }

    // The message if the bus does not deliver this user's calls; otherwise empty.
    QString withoutRights() const
    {
        const Outcome light = outcomeOf(m_daemon, m_failure);
        if (light.reason == HNIPCRequest::AccessDenied) {
            return light.error;
        }
        for (const auto &request : m_requests) {
            if (request->reason() == HNIPCRequest::AccessDenied) {
                return outcomeOf(m_daemon, *request).error;
            }
        }
        return QString();
    }

    QJsonObject json() const
    {
        const QString owner = QDBusReply<QString>(replyOf(m_owner)).value();
        QJsonObject object { { QStringLiteral("name"), m_daemon.name },
                             { QStringLiteral("busName"), m_daemon.busName },
                             { QStringLiteral("present"), !owner.isEmpty() },
                             { QStringLiteral("properties"), propertiesJson() } };
        if (!owner.isEmpty()) {
            object.insert(QStringLiteral("owner"), owner);
        }
        const Player player = playerIn(m_player->reply());
        if (player != Player::Real) {
            object.insert(player == Player::Simulator ? QStringLiteral("simulated")
                                                      : QStringLiteral("standIn"),
                          true);
        }
        if (hasReplied()) {
            object.insert(QStringLiteral("duration"), std::round(double(m_duration) / 1e3) / 1e3);
        } else {
            object.insert(QStringLiteral("error"), outcomeOf(m_daemon, m_failure).error);
        }
        return object;
    }

private:
    // An error reply of the daemon is a reply, too.
    bool hasReplied() const
    {
        return m_failure.reason == HNIPCRequest::NoReason
            || m_failure.reason == HNIPCRequest::DaemonError;
    }

    void readProperties(const std::function<void()> &count)
    {
        const int left = int(std::max<qint64>(1, m_context.timeout - m_timer.elapsed()));
        for (const Property *property : properties()) {
            m_requests.emplace_back(new HNIPCRequest);
            HNIPCRequest *request = m_requests.back().get();
            request->setMethod(property->method->name);
            request->setDeadline(left);
            QObject::connect(request, &HNIPCRequest::finished, request, count);
            ++m_pending;
        }
        for (const auto &request : m_requests) {
            request->send();
        }
    }

    std::vector<const Property *> properties() const
    {
        std::vector<const Property *> result;
        for (const Property &property : m_context.contract.properties()) {
            if (property.method->daemon == &m_daemon) {
                result.push_back(&property);
            }
        }
        return result;
    }

    // The properties of a daemon that has not replied have its failure.
    QJsonObject propertiesJson() const
    {
        QJsonObject result;
        const std::vector<const Property *> all = properties();
        for (size_t i = 0; i < all.size(); ++i) {
            QJsonObject object = outcomeOf(m_daemon, m_failure).json();
            if (hasReplied()) {
                object = outcomeOf(m_daemon, *m_requests[i]).json();
                object.insert(QStringLiteral("elapsed"), m_requests[i]->elapsed());
            }
            result.insert(all[i]->name, object);
        }
        return result;
    }

    const Context &m_context;
    const Daemon &m_daemon;
    QDBusPendingCall m_owner;
    QElapsedTimer m_timer;
    std::unique_ptr<QDBusPendingCallWatcher> m_light;
    std::unique_ptr<QDBusPendingCallWatcher> m_player;
    std::vector<std::unique_ptr<HNIPCRequest>> m_requests;
    HNIPCFailure m_failure; // of Introspect
    qint64 m_duration = 0;  // of Introspect, in ns
    int m_pending = 0;
};

int run(const Context &context, const QStringList &)
{
    const QDBusPendingCall id = ask(context, busCall("GetId"));
    std::vector<std::unique_ptr<DaemonReader>> readers;
    for (const Daemon &daemon : context.contract.daemons()) {
        readers.emplace_back(new DaemonReader(context, daemon));
    }
    QEventLoop loop;
    size_t pending = readers.size();
    for (const auto &reader : readers) {
        reader->start([&]() {
            if (--pending == 0) {
                loop.quit();
            }
        });
    }
    loop.exec();

    QString withoutRights;
    QJsonArray daemons;
    for (const auto &reader : readers) {
        if (!reader->isKnown()) {
            return context.bus.isConnected()
                ? Console::fail(
                    Toolkit::NoAnswer,
                    QStringLiteral("%1 within %2 ms").arg(context.unreached).arg(context.timeout))
                : busLost();
        }
        withoutRights = withoutRights.isEmpty() ? reader->withoutRights() : withoutRights;
        daemons += reader->json();
    }
    if (!withoutRights.isEmpty()) {
        Console::note(withoutRights);
    }
    Console::print(
        QJsonObject { { QStringLiteral("bus"), QDBusReply<QString>(replyOf(id)).value() },
                      { QStringLiteral("daemons"), daemons } });
    return Toolkit::Done;
}

// ---- All printers: text --------------------------------------------------------------------

QString outputName(const Context &context)
{
    return context.options.value(QStringLiteral("output"), QStringLiteral("-"));
}

int cannot(const QString &fileName, const QString &reason)
{
    return Console::fail(Toolkit::Failed, fileName + QLatin1String(": ") + reason);
}

// Reads what an earlier run has written; nothing if there is no such file. Returns the exit code.
int readEarlier(const QString &fileName, QByteArray *text)
{
    QFile file(fileName);
    if (!file.exists()) {
        return Toolkit::Done;
    }
    const bool isFile = QFileInfo(fileName).isFile();
    if (isFile && !file.open(QIODevice::ReadOnly)) {
        return cannot(fileName, file.errorString());
    }
    *text = isFile ? file.readAll() : QByteArray();
    return isFile && EarlierMetrics::isMetrics(*text)
        ? int(Toolkit::Done)
        : cannot(fileName, QStringLiteral("exists already, and \"metrics\" has not written it"));
}

int check(const Context &context, const QStringList &)
{
    if (!context.options.contains(QStringLiteral("output"))) {
        return Toolkit::Done;
    }
    if (context.json) {
        return Console::fail(Toolkit::WrongUsage,
                             QStringLiteral("--output is for the text, not for --json"));
    }
    const QString name = outputName(context);
    if (name.isEmpty()) {
        return Console::fail(Toolkit::WrongUsage,
                             QStringLiteral("the name of the file to be written is empty"));
    }
    QByteArray text;
    return name == QLatin1String("-") ? int(Toolkit::Done) : readEarlier(name, &text);
}

// The file is replaced in one step, so a reader finds the old metrics or the new ones.
int gather(const Context &context, const std::vector<FleetAnswer> &answers)
{
    const QString name = outputName(context);
    if (name == QLatin1String("-")) {
        Console::write(metricsText(answers, std::nullopt));
        return Toolkit::Done;
    }
    QByteArray earlier;
    const int exitCode = readEarlier(name, &earlier);
    if (exitCode != Toolkit::Done) {
        return exitCode;
    }
    QSaveFile file(name);
    const bool isWritten = file.open(QIODevice::WriteOnly)
        && file.write(metricsText(answers, EarlierMetrics(earlier))) >= 0 && file.commit();
    return isWritten ? int(Toolkit::Done) : cannot(name, file.errorString());
}

} // namespace

// clang-format off
const Command metricsCommand = {
    "metrics", "", "Prints metrics of the printer for a monitoring system",
    "Prints OpenMetrics text: which daemons are running, how long each takes to reply to\n"
    "a call, and the values of the properties. With --output, also counts the restarts of\n"
    "the daemons since the file was first written. For several printers, each metric has\n"
    "a label \"printer\". --timeout is the time for everything; a printer that does not\n"
    "reply in time has the metric hnipc_printer_reached with the value 0. The exit code is\n"
    "0 if the metrics were printed or written, whatever their values are.",
    { { "output", "FILE", "write to FILE, which is replaced in one step" } },
    0, 0, true, nullptr, run, check, false, false, false, gather
};
// clang-format on
