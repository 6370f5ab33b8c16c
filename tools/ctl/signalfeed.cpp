// SPDX-License-Identifier: MIT
#include "signalfeed.h"

#include "console.h"
#include "hosts.h"
#include "request.h"

#include <QtCore/QCoreApplication>

#include <utility>

SignalFeed::SignalFeed(const Context &context, const std::vector<const ClientSignal *> &wanted,
                       Handler handler)
    : m_bus(context.bus), m_handler(std::move(handler))
{
    const ReachingDeadline end(context.unreached, context.timeout);
    // Until the event loop has run once, Qt holds back received messages, and Qt 6 then delivers them
    // after later ones.
    QCoreApplication::processEvents();
    for (const ClientSignal *signal : wanted) {
        m_byMember.insert(signal->member, signal);
    }
    for (const Daemon &daemon : context.contract.daemons()) {
        m_bus.connect(daemon.busName, objectPath(), daemon.interface.name, QString(), this,
                      SLOT(onSignal(QDBusMessage)));
    }
    m_bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                  QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"),
                  this, SLOT(onDisconnected()));
    // The bus replies to this after it has processed the subscriptions, which have no reply.
    replyOfBus(context, "GetId");
}

int SignalFeed::run()
{
    // The connection may have been lost before the subscription.
    const int exitCode = m_bus.isConnected() ? QCoreApplication::exec() : int(Toolkit::NoBus);
    return exitCode == Toolkit::NoBus ? busLost() : exitCode;
}

void SignalFeed::onDisconnected() { QCoreApplication::exit(Toolkit::NoBus); }

void SignalFeed::onSignal(const QDBusMessage &message)
{
    if (const ClientSignal *signal = m_byMember.value(message.member())) {
        m_handler(*signal, message);
    }
}

int SignalLimit::check(const Context &context)
{
    const QString text = context.options.value(QStringLiteral("count"));
    return text.isNull() || text.toInt() >= 1
        ? int(Toolkit::Done)
        : Console::fail(
            Toolkit::WrongUsage,
            QStringLiteral("--count: \"%1\" is not a number from 1 to 2147483647").arg(text));
}

SignalLimit::SignalLimit(const Context &context)
    : m_left(context.options.value(QStringLiteral("count"), QStringLiteral("-1")).toInt())
{
}

void SignalLimit::count()
{
    if (m_left > 0 && --m_left == 0) {
        QCoreApplication::quit();
    }
}
