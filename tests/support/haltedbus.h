// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_HALTEDBUS_H
#define HNIPC_TESTS_HALTEDBUS_H

#include "privatebus.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

// The private bus moves no message while the object lives, so a thread that waits for a reply of
// the bus blocks. The guard resumes the bus after a while, so that such a test does not hang.
class HaltedBus
{
public:
    HaltedBus() : m_bus(PrivateBus::instance()), m_done(false), m_hadToResume(false)
    {
        m_bus->halt();
        m_guard = std::thread([this]() {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_hadToResume = !m_wakeUp.wait_for(lock, std::chrono::seconds(15),
                                               [this]() { return m_done; });
            m_bus->resume();
        });
    }

    ~HaltedBus() { resume(); }

    // Returns false if a thread waited for the bus until the guard resumed it.
    bool resume()
    {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_done = true;
        }
        m_wakeUp.notify_one();
        if (m_guard.joinable()) {
            m_guard.join();
        }
        return !m_hadToResume;
    }

private:
    BusProcess *m_bus;
    bool m_done;
    bool m_hadToResume;
    std::mutex m_mutex;
    std::condition_variable m_wakeUp;
    std::thread m_guard;
};

#endif
