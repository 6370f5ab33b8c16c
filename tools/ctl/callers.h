// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_CTL_CALLERS_H
#define HNIPC_TOOLS_CTL_CALLERS_H

#include <QtCore/QByteArray>
#include <QtCore/QHash>
#include <QtCore/QJsonObject>
#include <QtCore/QString>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusPendingCall>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

/// A caller: a connection on the bus, and its program.
struct Caller
{
    QString text() const; ///< "hnipc-panel 412", or less
    QJsonObject json() const;

    QByteArray busName;
    uint process = 0; ///< 0 if the bus does not know it
    QString program;  ///< empty if it cannot be read
    QString daemon;   ///< the daemon that this caller is; usually empty
};

/// Finds the processes of connections. It calls the bus as soon as a connection appears, and waits for
/// the replies in a thread of its own, because a program may have left the bus when its call is
/// printed.
class Callers
{
public:
    Callers(const QDBusConnection &bus, bool isRemote, int timeout);
    ~Callers();

    void ask(const QByteArray &busName); ///< calls the bus once for each name
    /// The caller, as far as the bus has replied.
    Caller known(const QByteArray &busName);
    /// The caller; waits until the bus has replied.
    Caller of(const QByteArray &busName);
    void forget(const QByteArray &busName);

private:
    Q_DISABLE_COPY(Callers)

    struct Entry
    {
        bool isAnswered = false;
        Caller caller;
    };

    QDBusPendingCall question(const QByteArray &busName) const;
    void run();

    const QDBusConnection m_bus;
    const int m_timeout;
    bool m_isHere = false; ///< the processes run on this machine

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::pair<QByteArray, QDBusPendingCall>> m_questions;
    QHash<QByteArray, Entry> m_entries;
    bool m_isEnding = false;
    std::thread m_thread;
};

#endif
