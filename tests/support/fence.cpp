// SPDX-License-Identifier: MIT
#include "fence.h"
#include "waituntil.h"

#include <QtDBus/QDBusConnection>

Fence::Fence() : m_sent(0), m_received(0)
{
    // Qt compares the sender of a signal with the unique name.
    QDBusConnection::systemBus().connect(QString::fromLatin1(m_peer.uniqueName()),
                                         QLatin1String("/"), QLatin1String("local.Fence"),
                                         QLatin1String("Marker"), this, SLOT(onMarker(int)));
    // Until the event loop first turns, Qt queues incoming messages, and later messages overtake
    // them. The first marker ends that phase.
    if (!pass()) {
        qFatal("no way from the bus to the event loop");
    }
}

bool Fence::pass()
{
    ++m_sent;
    // Addressed to this process. A broadcast would need a subscription that has reached the bus
    // before.
    m_peer.emitSignal("/", "local.Fence", "Marker", '(' + QByteArray::number(m_sent) + ",)",
                      QDBusConnection::systemBus().baseService().toLatin1());
    return waitUntil([this]() { return m_received == m_sent; });
}

void Fence::onMarker(int number) { m_received = number; }
