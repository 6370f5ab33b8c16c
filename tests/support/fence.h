// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_FENCE_H
#define HNIPC_TESTS_FENCE_H

#include "wirepeer.h"

#include <QtCore/QObject>

// Shows that something did not arrive: whatever the bus had passed on to this process before the
// fence was set up has been delivered to the objects of the calling thread when pass() returns.
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
