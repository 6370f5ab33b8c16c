// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_TOOLS_DESK_H
#define HNIPC_TESTS_TOOLS_DESK_H

#include "support/process.h"
#include "support/wirepeer.h"

#include <hnipc/supplyinformation.h>

#include <QtDBus/QDBusMetaType>

#include <map>
#include <memory>

// A process of hnipc-simulator that plays one daemon.
class SimulatedDaemon : public Process
{
public:
    explicit SimulatedDaemon(const QStringList &arguments)
    {
        forwardErrors();
        start(QString::fromLatin1(HNIPC_TOOLS_DIR "/hnipc-simulator"), arguments);
    }

    ~SimulatedDaemon() { stop(); }

    bool isServing() { return prints("ready\n") && isRunning(); }

    void stop()
    {
        terminate();
        ends();
    }

    bool hasEnded() const { return !isRunning(); }
};

// Simulated daemons on the private bus, and a peer that calls them and records their signals.
class Desk
{
public:
    explicit Desk(const QStringList &daemons)
    {
        qDBusRegisterMetaType<SupplyInformation>(); // see lsan.supp
        const QList<QByteArray> interfaces = { "IOEXPD", "M4", "SUPPLYD" };
        for (const QByteArray &interface : interfaces) {
            m_peer.listen("type='signal',interface='local.IHNIPC" + interface + "'");
        }
        for (const QString &daemon : daemons) {
            start(daemon);
        }
        if (daemons.contains("m4") && daemons.contains("supplyd")) {
            waitUntilSettled();
        }
        forget();
    }

    void start(const QString &daemon)
    {
        m_daemons[daemon].reset(new SimulatedDaemon({ daemon }));
        if (!m_daemons[daemon]->isServing()) {
            qFatal("%s does not serve", qPrintable(daemon));
        }
    }

    void stop(const QString &daemon) { m_daemons[daemon]->stop(); }

    // The supply daemon sends the print engine the colour of ribbon 2 last.
    bool waitUntilSettled() { return hears("M4_M4RibbonClr2"); }

    SimulatedDaemon &daemon(const QString &name) { return *m_daemons.at(name); }
    WirePeer &peer() { return m_peer; }

    WireMessage call(const QByteArray &daemon, const QByteArray &member,
                     const QByteArray &body = "()")
    {
        return m_peer.call("org.hnipc." + daemon, "/", "local.IHNIPC" + daemon.toUpper(), member,
                           body);
    }

    // Returns the body of the reply, or "ERROR: text".
    QByteArray ask(const QByteArray &daemon, const QByteArray &member,
                   const QByteArray &body = "()")
    {
        return textOf(call(daemon, member, body));
    }

    // Calls a method of the daemon's simulator interface. An empty reply is written as "()".
    QByteArray act(const QByteArray &daemon, const QByteArray &member,
                   const QByteArray &body = "()")
    {
        return textOf(
            m_peer.call("org.hnipc." + daemon, "/simulator", "org.hnipc.Simulator", member, body));
    }

    // Returns true if the signal arrives, or has arrived since the last forget(). An empty body
    // matches any body.
    bool hears(const QByteArray &member, const QByteArray &body = QByteArray(), int times = 1)
    {
        const bool heard = waitUntil([=]() { return count(member, body) >= times; });
        if (!heard) {
            qWarning("not heard: %s %s", member.constData(), body.constData());
        }
        return heard;
    }

    int count(const QByteArray &member, const QByteArray &body = QByteArray()) const
    {
        return m_peer.heard(member, body);
    }

    QByteArray last(const QByteArray &member)
    {
        QByteArray result;
        const QList<WireMessage> all = m_peer.receivedSignals();
        for (const WireMessage &message : all) {
            if (message.member == member) {
                result = message.body;
            }
        }
        return result;
    }

    void forget() { m_peer.clearSignals(); }

private:
    static QByteArray textOf(const WireMessage &message)
    {
        return message.type == WireMessage::MethodReturn ? message.body
                                                         : message.errorName + ": " + message.body;
    }

    WirePeer m_peer;
    std::map<QString, std::unique_ptr<SimulatedDaemon>> m_daemons;
};

#endif
