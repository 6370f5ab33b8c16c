// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_CTL_BUSMONITOR_H
#define HNIPC_TOOLS_CTL_BUSMONITOR_H

#include "command.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>

#include <memory>

struct DBusConnection;
struct DBusMessage;

using WireMessagePointer = std::shared_ptr<DBusMessage>;

/// Whether the connection to the bus goes through another program, such as ssh.
bool isBusRemote();

/// A connection that receives the messages of other connections and sends none. It does not use Qt's
/// connection class, which would send an error reply to each call that it receives.
class BusMonitor
{
public:
    BusMonitor() = default;
    ~BusMonitor();

    /// Connects to the bus of the context. From then on, receives the messages that any of the match
    /// rules matches. Returns the exit code.
    int start(const Context &context, const QList<QByteArray> &matchRules);

    enum Event { Received, Stopped, Lost };
    /// Waits for messages, until the file descriptor @p stop is readable or the bus connection is
    /// lost.
    Event wait(int stop);
    /// The next received message; null if there is none.
    WireMessagePointer next();

private:
    Q_DISABLE_COPY(BusMonitor)
    int connect(const Context &context);

    DBusConnection *m_connection = nullptr;
};

#endif
