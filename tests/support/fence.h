// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_FENCE_H
#define HNIPC_TESTS_FENCE_H

#include "wirepeer.h"

#include <QtCore/QObject>

// Shows that a message did not arrive: when pass() returns, all messages that the bus had passed to
// this process before have been delivered to the objects of the calling thread.
class Fence : public QObject
{
    Q_OBJECT

public:
    Fence();

    bool pass();

private Q_SLOTS:
    void onMarker(int number);

private:
    WirePeer m_peer;
    int m_sent;
    int m_received;
};

#endif
