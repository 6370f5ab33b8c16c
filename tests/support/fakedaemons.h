// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_FAKEDAEMONS_H
#define HNIPC_TESTS_FAKEDAEMONS_H

#include "expected/identities.h"
#include "support/fence.h"
#include "support/wirepeer.h"

// The three daemons, played by peers that know only the wire. A daemon that is down has given up
// its name but keeps its record of calls.
class FakeDaemons
{
public:
    // With all three daemons up, or down. The record of calls starts empty either way.
    explicit FakeDaemons(bool up = true)
    {
        for (int server = 0; server < Expected::ServerCount && up; ++server) {
            start(server);
        }
    }

    WirePeer &operator[](int server) { return m_peers[server]; }

    // A client of this process knows of the change when these return.
    void start(int server)
    {
        if (!m_peers[server].own(Expected::identities[server].busName) || !m_fence.pass()) {
            qFatal("daemon does not start");
        }
    }

    void stop(int server)
    {
        if (!m_peers[server].release(Expected::identities[server].busName) || !m_fence.pass()) {
            qFatal("daemon does not stop");
        }
    }

    bool passFence() { return m_fence.pass(); }

    bool emitSignal(int server, const QByteArray &member, const QByteArray &body)
    {
        const QByteArray interface = Expected::identities[server].interface;
        return m_peers[server].emitSignal("/", interface, member, body);
    }

    // The calls that reached any of the daemons since the last time.
    QList<WireMessage> takeCalls()
    {
        QList<WireMessage> result;
        for (int server = 0; server < Expected::ServerCount; ++server) {
            result += m_peers[server].calls();
            m_peers[server].clearCalls();
        }
        return result;
    }

private:
    WirePeer m_peers[Expected::ServerCount];
    Fence m_fence;
};

#endif
