// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_ASYNCDAEMONS_H
#define HNIPC_TESTS_ASYNCDAEMONS_H

#include "support/fakedaemons.h"
#include "support/roundtrip.h"
#include "support/waituntil.h"

#include <hnipc/hnipcavailability.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>
#include <QtCore/QEventLoop>

#include <thread>

// Turns the event loop until everything that the library's bus thread has received so far is
// delivered to the objects of this thread.
inline bool passBusThread()
{
    HNIPCAvailability availability;
    return waitUntil([&availability]() { return availability.isKnown(); });
}

// Waits until all calls that requests have sent so far have passed the bus. Turns no event loop of
// this thread, except with Qt 4, where the event loop sends the requests.
inline void makeRequestsLeave()
{
#if QT_VERSION >= QT_VERSION_CHECK(5, 0, 0)
    std::thread([]() {
        HNIPCAvailability availability;
        QEventLoop loop;
        loop.connect(&availability, SIGNAL(knownChanged(bool)), SLOT(quit()));
        loop.exec();
    }).join();
#else
    QCoreApplication::sendPostedEvents();
#endif
    makeRoundTrip();
}

// The daemons, for objects that the library's bus thread notifies of daemons.
class AsyncDaemons : public FakeDaemons
{
public:
    explicit AsyncDaemons(bool up = true) : FakeDaemons(up) {}

    void start(int server)
    {
        FakeDaemons::start(server);
        passBusThread();
    }

    void stop(int server)
    {
        FakeDaemons::stop(server);
        passBusThread();
    }

    bool passFence() { return FakeDaemons::passFence() && passBusThread(); }
};

#endif
