// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_BUSPROCESS_H
#define HNIPC_TESTS_BUSPROCESS_H

#include "wirepeer.h"

#include <QtCore/QFile>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include <csignal>
#include <sys/types.h>

// The process of the private bus.
class BusProcess
{
public:
    BusProcess() : m_pid(0)
    {
        WirePeer peer;
        const QByteArray body = peer.call("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                          "org.freedesktop.DBus", "GetConnectionUnixProcessID",
                                          "('org.freedesktop.DBus',)")
                                    .body;
        const QByteArray start = "(uint32 ";
        if (body.startsWith(start)) {
            m_pid = body.mid(start.size()).replace(",)", "").toInt();
        }
        if (m_pid <= 0) {
            qFatal("the bus does not tell its process: %s", body.constData());
        }
    }

    // It dies without a word to anybody.
    void kill() { signal(SIGKILL); }
    void halt() { signal(SIGSTOP); }
    void resume() { signal(SIGCONT); }

private:
    // dbus-broker tells the process that started it, and does the work in a child.
    void signal(int number)
    {
        QFile file(QString::fromLatin1("/proc/%1/task/%1/children").arg(m_pid));
        const QByteArray children = file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
        bool reached = ::kill(m_pid, number) == 0;
        for (const QByteArray &child : children.simplified().split(' ')) {
            reached = reached && (child.isEmpty() || ::kill(child.toInt(), number) == 0);
        }
        if (!reached) {
            qFatal("no way to signal the bus");
        }
    }

    pid_t m_pid;
};

// A bus that moves no message while the object lives, so that whoever waits for an answer of the
// bus stands still. The guard keeps a test that does so from hanging.
class HaltedBus
{
public:
    explicit HaltedBus(BusProcess *bus) : m_bus(bus), m_done(false), m_hadToResume(false)
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

    // False when somebody waited for the bus until the guard resumed it.
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
