// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_CTL_SIGNALFEED_H
#define HNIPC_TOOLS_CTL_SIGNALFEED_H

#include "command.h"

#include <QtCore/QHash>
#include <QtCore/QObject>
#include <QtDBus/QDBusMessage>

#include <functional>
#include <vector>

/// Receives the signals of the daemons as they are on the bus. HNIPCEvents is not used, because it
/// drops signals with other arguments than declared, which "monitor" and "record" have to show.
class SignalFeed : public QObject
{
    Q_OBJECT

public:
    using Handler = std::function<void(const ClientSignal &, const QDBusMessage &)>;

    /// Subscribes. No signal is missed after the constructor has returned.
    SignalFeed(const Context &context, const std::vector<const ClientSignal *> &wanted,
               Handler handler);

    /// Runs the event loop until the program ends or the bus is lost. Returns the exit code.
    int run();

private Q_SLOTS:
    void onSignal(const QDBusMessage &message);
    void onDisconnected();

private:
    QDBusConnection m_bus;
    QHash<QString, const ClientSignal *> m_byMember;
    Handler m_handler;
};

/// The limit of --count: the number of signals after which the program ends.
class SignalLimit
{
public:
    /// Checks the option. Returns the exit code.
    static int check(const Context &context);
    explicit SignalLimit(const Context &context);

    bool isReached() const { return m_left == 0; }
    /// Has to be called after each signal. At the limit, the event loop ends.
    void count();

private:
    int m_left; ///< negative for no limit
};

#endif
