// SPDX-License-Identifier: MIT
#include "async/turns_p.h"

#include <hnipc/hnipcrequest.h>

static const int mostInFlight = 100; // the rest is for the blocking calls of the program

Turns *Turns::instance()
{
    static Turns *const turns = new Turns; // for requests that outlive static objects
    return turns;
}

bool Turns::take(HNIPCRequest *request)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_inFlight == mostInFlight) {
        m_waiting.append(request);
        return false;
    }
    ++m_inFlight;
    return true;
}

void Turns::giveBack()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_waiting.isEmpty())
        --m_inFlight;
    else
        QMetaObject::invokeMethod(m_waiting.takeFirst(), "onTurn", Qt::QueuedConnection);
}

bool Turns::isWaiting(HNIPCRequest *request)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_waiting.contains(request);
}

bool Turns::stopWaiting(HNIPCRequest *request)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_waiting.removeOne(request);
}
