// SPDX-License-Identifier: MIT
#ifndef TURNS_P_H
#define TURNS_P_H

#include <QtCore/QList>

#include <mutex>

class HNIPCRequest;

// Keeps the calls in flight, of all threads, below what a bus answers for: one of type system
// refuses the 129th of a program (max_replies_per_connection), whoever makes it. Who comes later
// waits for its turn, in the order of coming.
class Turns
{
public:
    static Turns *instance();

    // Whether it is the request's turn now. If not, its slot onTurn() is called through the event
    // loop when it is.
    bool take(HNIPCRequest *request);
    void giveBack();

    // Whether the request is among those that wait. One that has been called no longer is.
    bool isWaiting(HNIPCRequest *request);
    // The same, and it does not wait from now on.
    bool stopWaiting(HNIPCRequest *request);

private:
    Turns() : m_inFlight(0) {}

    std::mutex m_mutex; // not Qt's, which ThreadSanitizer does not see
    QList<HNIPCRequest *> m_waiting;
    int m_inFlight;
};

#endif
