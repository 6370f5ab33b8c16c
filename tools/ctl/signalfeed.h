// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_CTL_SIGNALFEED_H
#define HNIPC_TOOLS_CTL_SIGNALFEED_H

#include "command.h"

#include <QtCore/QHash>
#include <QtCore/QObject>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusServiceWatcher>

#include <functional>
#include <vector>

/// The daemons' signals, as they come from the bus. Not by way of the client object: that one asks
/// each daemon for its description first, and waits for one that hangs.
class SignalFeed : public QObject
{
    Q_OBJECT

public:
    using Handler = std::function<void(const ClientSignal &, const QDBusMessage &)>;

    /// From here on nothing is missed.
    SignalFeed(const Context &context, const std::vector<const ClientSignal *> &wanted,
               Handler handler);

private Q_SLOTS:
    void onSignal(const QDBusMessage &message);

private:
    QHash<QString, const ClientSignal *> m_byMember;
    Handler m_handler;
};

/// How many signals may come until the program ends: the value of --count.
class SignalLimit
{
public:
    /// Whether it is such a number: the exit code.
    static int check(const Context &context);
    explicit SignalLimit(const Context &context);

    bool isReached() const { return m_left == 0; }
    /// One has come; the last one ends the event loop.
    void count();

private:
    int m_left; ///< negative for no limit
};

/// Who comes to the bus as a daemon, and who leaves.
class DaemonWatcher : public QDBusServiceWatcher
{
public:
    /// A daemon that has another process now has done both.
    using Handler = std::function<void(const Daemon &, bool left, bool came)>;

    DaemonWatcher(const Context &context, Handler handler);
};

/// Turns the event loop until the program ends, or the bus, which is a failure. Answers the exit
/// code.
class BusLoop : public QObject
{
    Q_OBJECT

public:
    static int run(const Context &context);

private Q_SLOTS:
    void onDisconnected();
};

#endif
