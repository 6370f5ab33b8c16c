// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_FAKEDAEMONS_H
#define HNIPC_TESTS_FAKEDAEMONS_H

#include "expected/identities.h"
#include "support/fence.h"
#include "support/waituntil.h"
#include "support/wirepeer.h"

// The three daemons, played by peers that contain no code of the library. A daemon that is down has
// released its name, but keeps its record of calls.
class FakeDaemons
{
public:
    // Starts with all three daemons up, or with all three down. The record of calls is empty in
    // both cases.
    explicit FakeDaemons(bool up = true)
    {
        for (int server = 0; server < Expected::ServerCount && up; ++server) {
            start(server);
        }
    }

    WirePeer &operator[](int server) { return m_peers[server]; }

    // When these return, a client of this process has noticed the change.
    void start(int server)
    {
        // The bus may not have noticed yet that an earlier owner has ended.
        const QByteArray name = Expected::identities[server].busName;
        if (!waitUntil([&]() { return m_peers[server].own(name); }) || !m_fence.pass()) {
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

    // The calls that have reached any of the daemons since the previous call of this function.
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
