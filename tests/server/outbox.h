// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_OUTBOX_H
#define HNIPC_TESTS_OUTBOX_H

#include "support/wirepeer.h"

#include <QtDBus/QDBusConnection>

// The messages that this process sent, to any destination.
class Outbox
{
public:
    QByteArray ownName() const { return QDBusConnection::systemBus().baseService().toLatin1(); }

    // The messages of this type since the last call.
    QList<WireMessage> take(WireMessage::Type type)
    {
        // This process sends its reply after everything that it sent before.
        m_peer.call(ownName(), "/", "org.freedesktop.DBus.Peer", "Ping");
        QList<WireMessage> result;
        const QList<WireMessage> messages = m_monitor.take();
        for (const WireMessage &message : messages) {
            if (message.sender == ownName() && message.type == type) {
                result.append(message);
            }
        }
        return result;
    }

private:
    WirePeer m_peer;
    WireMonitor m_monitor;
};

#endif
