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

/// Whether the bus that the program is connected to is reached by another program, such as ssh.
bool isBusRemote();

/// A connection that receives what others send each other, and sends nothing itself. It is not one
/// of Qt's, which takes each call that it receives for a call of this program, and sends an error
/// reply.
class BusMonitor
{
public:
    BusMonitor() = default;
    ~BusMonitor();

    /// Connects to the bus that the context is connected to, and receives the messages that one of
    /// the match rules matches from here on. Returns the exit code.
    int start(const Context &context, const QList<QByteArray> &matchRules);

    enum Event { Received, Stopped, Lost };
    /// Waits for messages, until the file @p stop can be read or the bus is lost.
    Event wait(int stop);
    /// The next message received; null if there is none.
    WireMessagePointer next();

private:
    Q_DISABLE_COPY(BusMonitor)
    int connect(const Context &context);

    DBusConnection *m_connection = nullptr;
};

#endif
