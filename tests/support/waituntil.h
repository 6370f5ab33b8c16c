// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_WAITUNTIL_H
#define HNIPC_TESTS_WAITUNTIL_H

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QEventLoop>
#include <QtCore/QTimer>

// The longest wait, in milliseconds.
#ifndef HNIPC_TEST_PATIENCE
#define HNIPC_TEST_PATIENCE (60 * 1000)
#endif

// Turns the event loop until the condition holds. The limit only keeps a broken test from hanging.
template <typename Condition>
bool waitUntil(Condition condition)
{
    const qint64 guard = HNIPC_TEST_PATIENCE;
    // Another thread may change the condition without waking this event loop, so a timer wakes it.
    QTimer heartbeat;
    heartbeat.start(2);
    QElapsedTimer elapsed;
    elapsed.start();
    while (!condition()) {
        if (elapsed.elapsed() > guard) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
    return true;
}

#endif
