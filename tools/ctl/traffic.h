// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_CTL_TRAFFIC_H
#define HNIPC_TOOLS_CTL_TRAFFIC_H

#include "busmonitor.h"
#include "callers.h"
#include "names.h"

#include <QtCore/QHash>
#include <QtCore/QSet>

#include <deque>
#include <functional>
#include <utility>
#include <vector>

/// The ways in which a call ends.
enum class CallEnd {
    Reply,
    ErrorReply,
    NoReplyWanted, ///< the caller has requested no reply
    DaemonLeft,    ///< the daemon left the bus without a reply
    CallerLeft,    ///< the caller left the bus before the reply
    Pending,       ///< when the trace ended
};

/// A call that has ended. Times are nanoseconds since the trace began.
struct TracedCall
{
    WireMessagePointer call;  ///< null if it was sent before the trace began
    WireMessagePointer reply; ///< null if there is none
    qint64 begin = 0;
    qint64 end = 0;
    int daemon = 0;       ///< its place in Contract::daemons()
    QByteArray caller;    ///< its bus name
    QString callerDaemon; ///< the name of the daemon if the caller is one
    QString method;       ///< as shown; empty if it was sent before the trace began
    const Toolkit::InterfaceMember *declared = nullptr; ///< null if no description has it
    CallEnd how = CallEnd::Reply;
};

struct MethodTotals
{
    int daemon = 0;
    QString method;
    qint64 count = 0;
    qint64 failed = 0;             ///< error replies, and calls whose daemon left
    qint64 unanswered = 0;         ///< the caller left, or the trace ended
    std::vector<qint64> durations; ///< of the calls that want a reply
};

struct CallerTotals
{
    QByteArray busName; ///< the first of the process
    QString daemon;
    qint64 count = 0;
    qint64 blocked = 0; ///< time with at least one call pending
    int pending = 0;
    int atOnce = 0; ///< most pending calls
    qint64 pendingSince = 0;
};

/// A call in the picture.
struct CallMark
{
    qint64 begin;
    qint64 end;
    int caller; ///< its place in Traffic::callers()
    int method; ///< its place in Traffic::methods()
    CallEnd how;
};

/// A signal of a daemon in the picture.
struct EventMark
{
    qint64 at;
    int daemon;
    QString name;
};

/// Finds the calls of the daemons, and the replies to them, among the messages of the bus.
class Traffic
{
public:
    struct Wish
    {
        Pattern pattern { QString() };
        qint64 slow = 0; ///< calls that took less time are not reported
        bool wantsTotals = false;
        bool wantsMarks = false;
    };
    using Handler = std::function<void(TracedCall &&)>;

    Traffic(const Contract &contract, const Wish &wish, Callers *callers, Handler handler);

    /// The match rules for all messages that are needed.
    QList<QByteArray> matchRules() const;

    /// @name State of the bus when the trace begins
    /// @{
    void setOwner(int daemon, const QByteArray &owner);
    void setConnections(const QSet<QByteArray> &busNames) { m_older = busNames; }
    /// @}

    void take(const WireMessagePointer &message, qint64 now);
    /// Reports all pending calls with CallEnd::Pending.
    void end(qint64 now);

    const std::vector<MethodTotals> &methods() const { return m_methods; }
    const std::vector<CallerTotals> &callers() const { return m_callers; }
    const std::deque<CallMark> &marks() const { return m_marks; }
    const std::deque<EventMark> &events() const { return m_events; }
    qint64 count() const { return m_count; }
    qint64 older() const { return m_olderCount; } ///< replies to calls from before the trace

    /// The last calls and signals, for the picture.
    static const std::size_t mostMarks = 20000;

private:
    // Identifies a call: the caller's connection and the serial number of the message.
    using Key = std::pair<QByteArray, quint32>;

    struct Pending
    {
        TracedCall traced;
        QByteArray target; ///< the daemon's connection
        int caller;
        int method;
    };

    struct Name
    {
        QString shown;
        const Toolkit::InterfaceMember *declared;
        bool isWanted;
        int totals;
    };

    void takeCall(const WireMessagePointer &message, qint64 now);
    void takeReply(const WireMessagePointer &message, qint64 now);
    void takeSignal(const WireMessagePointer &message, qint64 now);
    void takeOldReply(const WireMessagePointer &message, qint64 now);
    void changeOwner(const QByteArray &name, const QByteArray &before, const QByteArray &after,
                     qint64 now);
    void leave(const QByteArray &busName, qint64 now);
    void finish(Pending &&pending, qint64 now, CallEnd how);

    int daemonAt(const QByteArray &destination) const;
    const Name &nameOf(int daemon, DBusMessage *call);
    int callerOf(const QByteArray &busName, const QString &daemon);

    const Contract &m_contract;
    const Wish m_wish;
    Callers *m_known;
    Handler m_handler;

    std::vector<QByteArray> m_busNames; ///< of the daemons
    std::vector<QByteArray> m_owners;   ///< of these names; empty for none
    QSet<QByteArray> m_older;           ///< connections that are older than the trace
    QHash<Key, Pending> m_pending;
    QHash<QByteArray, Name> m_names;
    QHash<QByteArray, int> m_totalsByName;
    QHash<QByteArray, int> m_callerByName;
    QHash<uint, int> m_callerByProcess;

    std::vector<MethodTotals> m_methods;
    std::vector<CallerTotals> m_callers;
    std::deque<CallMark> m_marks;
    std::deque<EventMark> m_events;
    qint64 m_count = 0;
    qint64 m_olderCount = 0;
};

#endif
