// SPDX-License-Identifier: MIT
#include "signalfeed.h"

#include "console.h"

#include <QtCore/QCoreApplication>

#include <utility>

SignalFeed::SignalFeed(const Context &context, const std::vector<const ClientSignal *> &wanted,
                       Handler handler)
    : m_handler(std::move(handler))
{
    // Until the event loop has turned once, Qt holds back what comes, and Qt 6 then hands it over
    // behind what came later.
    QCoreApplication::processEvents();
    QDBusConnection bus = context.bus;
    for (const ClientSignal *signal : wanted) {
        m_byMember.insert(signal->member, signal);
        bus.connect(signal->daemon->busName, objectPath(), signal->daemon->interface.name,
                    signal->member, this, SLOT(onSignal(QDBusMessage)));
    }
    // The subscriptions are sent but not waited for; the bus keeps the order.
    bus.call(QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetId")));
}

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
        : Console::fail(Toolkit::WrongUsage,
                        QStringLiteral("--count is not a number from 1: \"%1\"").arg(text));
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

DaemonWatcher::DaemonWatcher(const Context &context, Handler handler)
{
    setConnection(context.bus);
    for (const Daemon &daemon : context.contract.daemons()) {
        addWatchedService(daemon.busName);
    }
    connect(this, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [&context, handler](const QString &busName, const QString &before,
                                const QString &now) {
        for (const Daemon &daemon : context.contract.daemons()) {
            if (daemon.busName == busName) {
                handler(daemon, !before.isEmpty(), !now.isEmpty());
            }
        }
    });
}

int BusLoop::run(const Context &context)
{
    BusLoop loop;
    QDBusConnection bus = context.bus;
    bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), &loop,
                SLOT(onDisconnected()));
    // It may have gone before there was somebody to be told.
    const int exitCode = bus.isConnected() ? QCoreApplication::exec() : int(Toolkit::NoBus);
    return exitCode == Toolkit::NoBus
        ? Console::fail(exitCode, QStringLiteral("the bus went away")) : exitCode;
}

void BusLoop::onDisconnected()
{
    QCoreApplication::exit(Toolkit::NoBus);
}
