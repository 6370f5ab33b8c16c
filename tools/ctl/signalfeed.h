// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_CTL_SIGNALFEED_H
#define HNIPC_TOOLS_CTL_SIGNALFEED_H

#include "command.h"

#include <QtCore/QHash>
#include <QtCore/QObject>
#include <QtDBus/QDBusMessage>

#include <functional>
#include <vector>

/// The signals of the daemons as they are on the bus. Not HNIPCEvents, which leaves out what an
/// application does not receive: signals with other arguments than declared. Showing those to a
/// technician is what "monitor" and "record" are for.
class SignalFeed : public QObject
{
    Q_OBJECT

public:
    using Handler = std::function<void(const ClientSignal &, const QDBusMessage &)>;

    /// From here on no signal is missed.
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

/// How many signals are printed or written until the program ends: the value of --count.
class SignalLimit
{
public:
    /// Whether it is such a number: the exit code.
    static int check(const Context &context);
    explicit SignalLimit(const Context &context);

    bool isReached() const { return m_left == 0; }
    /// To be called after each signal; the last one ends the event loop.
    void count();

private:
    int m_left; ///< negative for no limit
};

#endif
