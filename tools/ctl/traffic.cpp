// SPDX-License-Identifier: MIT
#include "traffic.h"

#include <dbus/dbus.h>

#include <algorithm>

using namespace Toolkit;

namespace {

// The method of the interface with this name and these types; null if there is none.
const InterfaceMember *methodOf(const Interface &interface, const QString &name,
                                const QString &signature)
{
    for (const InterfaceMember &member : interface.allMembers) {
        if (member.kind == InterfaceMember::Method && member.name == name
            && member.signature(InterfaceArgument::In) == signature) {
            return &member;
        }
    }
    return nullptr;
}

bool isConnection(const QByteArray &busName) { return busName.startsWith(':'); }

} // namespace

Traffic::Traffic(const Contract &contract, const Wish &wish, Callers *callers, Handler handler)
    : m_contract(contract), m_wish(wish), m_known(callers), m_handler(std::move(handler)),
      m_owners(contract.daemons().size())
{
    for (const Daemon &daemon : contract.daemons()) {
        m_busNames.push_back(daemon.busName.toLatin1());
    }
}

// All calls and replies on the bus: a daemon can be called by its unique name, too, and may reply
// after it has released its name. dbus-daemon and dbus-broker interpret narrower rules differently.
QList<QByteArray> Traffic::matchRules() const
{
    QList<QByteArray> result {
        "type='method_call'",
        "type='method_return'",
        "type='error'",
        "type='signal',sender='org.freedesktop.DBus',member='NameOwnerChanged'",
    };
    for (const Daemon &daemon : m_contract.daemons()) {
        if (m_wish.wantsMarks) {
            result += "type='signal',interface='" + daemon.interface.name.toLatin1() + "'";
        }
    }
    return result;
}

void Traffic::setOwner(int daemon, const QByteArray &owner) { m_owners[size_t(daemon)] = owner; }

void Traffic::take(const WireMessagePointer &message, qint64 now)
{
    switch (dbus_message_get_type(message.get())) {
    case DBUS_MESSAGE_TYPE_METHOD_CALL:
        takeCall(message, now);
        break;
    case DBUS_MESSAGE_TYPE_METHOD_RETURN:
    case DBUS_MESSAGE_TYPE_ERROR:
        takeReply(message, now);
        break;
    case DBUS_MESSAGE_TYPE_SIGNAL:
        takeSignal(message, now);
        break;
    default:
        break;
    }
}

void Traffic::end(qint64 now)
{
    // Reported in the order of the calls.
    std::vector<std::pair<qint64, Key>> left;
    for (auto entry = m_pending.constBegin(); entry != m_pending.constEnd(); ++entry) {
        left.emplace_back(entry.value().traced.begin, entry.key());
    }
    std::sort(left.begin(), left.end());
    for (const auto &entry : left) {
        finish(m_pending.take(entry.second), now, CallEnd::Pending);
    }
}

void Traffic::takeCall(const WireMessagePointer &message, qint64 now)
{
    const int daemon = daemonAt(dbus_message_get_destination(message.get()));
    if (daemon < 0) {
        return;
    }
    const Name &name = nameOf(daemon, message.get());
    Pending pending;
    TracedCall &traced = pending.traced;
    traced.caller = dbus_message_get_sender(message.get());
    traced.begin = now;
    traced.daemon = daemon;
    pending.target = m_owners[size_t(daemon)];
    pending.caller = -1;
    pending.method = name.totals;
    // A call that does not match is kept, too, so that its reply is recognized.
    if (name.isWanted) {
        m_known->ask(traced.caller);
        const int asDaemon = daemonAt(traced.caller);
        traced.callerDaemon = asDaemon < 0 ? QString()
                                           : m_contract.daemons()[size_t(asDaemon)].name;
        traced.call = message;
        traced.method = name.shown;
        traced.declared = name.declared;
        pending.caller = callerOf(traced.caller, traced.callerDaemon);
    }
    if (dbus_message_get_no_reply(message.get())) {
        finish(std::move(pending), now, CallEnd::NoReplyWanted);
        return;
    }
    const Key key(traced.caller, dbus_message_get_serial(message.get()));
    if (m_pending.contains(key)) { // the replies of such calls cannot be distinguished
        finish(m_pending.take(key), now, CallEnd::CallerLeft);
    }
    if (pending.caller >= 0) {
        CallerTotals &caller = m_callers[size_t(pending.caller)];
        caller.pendingSince = caller.pending == 0 ? now : caller.pendingSince;
        caller.atOnce = qMax(caller.atOnce, ++caller.pending);
    }
    m_pending.insert(key, pending);
}

void Traffic::takeReply(const WireMessagePointer &message, qint64 now)
{
    const Key key(dbus_message_get_destination(message.get()),
                  dbus_message_get_reply_serial(message.get()));
    const auto found = m_pending.find(key);
    if (found == m_pending.end()) {
        takeOldReply(message, now);
        return;
    }
    Pending pending = *found;
    m_pending.erase(found);
    pending.traced.reply = message;
    finish(std::move(pending), now,
           dbus_message_get_type(message.get()) == DBUS_MESSAGE_TYPE_ERROR ? CallEnd::ErrorReply
                                                                           : CallEnd::Reply);
}

// A reply to a call from before the trace: method and time are not known, so no pattern matches.
void Traffic::takeOldReply(const WireMessagePointer &message, qint64 now)
{
    const int daemon = daemonAt(dbus_message_get_sender(message.get()));
    const QByteArray caller = dbus_message_get_destination(message.get());
    if (daemon >= 0 && m_older.contains(caller)) {
        ++m_olderCount;
        TracedCall traced;
        traced.reply = message;
        traced.begin = traced.end = now;
        traced.daemon = daemon;
        traced.caller = caller;
        traced.how = dbus_message_get_type(message.get()) == DBUS_MESSAGE_TYPE_ERROR
            ? CallEnd::ErrorReply
            : CallEnd::Reply;
        if (m_wish.pattern.matches(QString()) && m_wish.slow == 0) {
            m_handler(std::move(traced));
        }
    }
}

void Traffic::takeSignal(const WireMessagePointer &message, qint64 now)
{
    const QByteArray sender = dbus_message_get_sender(message.get());
    const char *name = nullptr;
    const char *before = nullptr;
    const char *after = nullptr;
    if (sender == DBUS_SERVICE_DBUS
        && dbus_message_get_args(message.get(), nullptr, DBUS_TYPE_STRING, &name, DBUS_TYPE_STRING,
                                 &before, DBUS_TYPE_STRING, &after, DBUS_TYPE_INVALID)) {
        changeOwner(name, before, after, now);
        return;
    }
    const int daemon = daemonAt(sender);
    if (daemon >= 0 && m_wish.wantsMarks) {
        m_events.push_back(
            { now, daemon, QString::fromLatin1(dbus_message_get_member(message.get())) });
        if (m_events.size() > mostMarks) {
            m_events.pop_front();
        }
    }
}

void Traffic::changeOwner(const QByteArray &name, const QByteArray &before, const QByteArray &after,
                          qint64 now)
{
    for (size_t i = 0; i < m_owners.size(); ++i) {
        if (name == m_busNames[i]) {
            m_owners[i] = after;
        }
    }
    if (isConnection(name) && before.isEmpty()) {
        m_known->ask(name); // while it is on the bus
    } else if (isConnection(name) && after.isEmpty()) {
        leave(name, now);
    }
}

void Traffic::leave(const QByteArray &busName, qint64 now)
{
    std::vector<std::pair<qint64, Key>> ended;
    for (auto entry = m_pending.constBegin(); entry != m_pending.constEnd(); ++entry) {
        if (entry.key().first == busName || entry.value().target == busName) {
            ended.emplace_back(entry.value().traced.begin, entry.key());
        }
    }
    std::sort(ended.begin(), ended.end());
    for (const auto &entry : ended) {
        const bool isCaller = entry.second.first == busName;
        finish(m_pending.take(entry.second), now,
               isCaller ? CallEnd::CallerLeft : CallEnd::DaemonLeft);
    }
    m_older.remove(busName);
    // Another process may get the same process id.
    const auto caller = m_callerByName.find(busName);
    if (caller == m_callerByName.end()) {
        m_known->forget(busName);
        return;
    }
    m_callerByProcess.remove(m_known->known(busName).process);
    m_callerByName.erase(caller);
}

void Traffic::finish(Pending &&pending, qint64 now, CallEnd how)
{
    if (pending.caller < 0) {
        return;
    }
    TracedCall &traced = pending.traced;
    traced.end = now;
    traced.how = how;
    ++m_count;

    CallerTotals &caller = m_callers[size_t(pending.caller)];
    ++caller.count;
    MethodTotals &method = m_methods[size_t(pending.method)];
    ++method.count;
    method.failed += how == CallEnd::ErrorReply || how == CallEnd::DaemonLeft;
    method.unanswered += how == CallEnd::CallerLeft || how == CallEnd::Pending;
    if (how != CallEnd::NoReplyWanted) {
        if (--caller.pending == 0) {
            caller.blocked += now - caller.pendingSince;
        }
        if (m_wish.wantsTotals) {
            method.durations.push_back(now - traced.begin);
        }
    }
    if (m_wish.wantsMarks) {
        m_marks.push_back({ traced.begin, traced.end, pending.caller, pending.method, how });
        if (m_marks.size() > mostMarks) {
            m_marks.pop_front();
        }
    }
    if (now - traced.begin >= m_wish.slow) {
        m_handler(std::move(traced));
    }
}

int Traffic::daemonAt(const QByteArray &destination) const
{
    for (size_t i = 0; i < m_owners.size() && !destination.isEmpty(); ++i) {
        if (destination == m_owners[i] || destination == m_busNames[i]) {
            return int(i);
        }
    }
    return -1;
}

const Traffic::Name &Traffic::nameOf(int daemon, DBusMessage *call)
{
    const QByteArray interface = dbus_message_get_interface(call);
    const QByteArray member = dbus_message_get_member(call);
    const QByteArray signature = dbus_message_get_signature(call);
    const QByteArray key = QByteArray::number(daemon) + ' ' + interface + ' ' + member + ' '
        + signature;
    const auto found = m_names.constFind(key);
    if (found != m_names.constEnd()) {
        return *found;
    }
    const Interface &own = m_contract.daemons()[size_t(daemon)].interface;
    const bool isOwn = interface.isEmpty() || interface == own.name.toLatin1();
    Name name;
    name.shown = QString::fromLatin1(isOwn ? member : interface + '.' + member);
    name.declared = isOwn ? methodOf(own, name.shown, QString::fromLatin1(signature)) : nullptr;
    name.isWanted = m_wish.pattern.matches(name.shown);
    const QByteArray row = QByteArray::number(daemon) + ' ' + name.shown.toLatin1();
    if (!m_totalsByName.contains(row)) {
        m_totalsByName.insert(row, int(m_methods.size()));
        m_methods.push_back({ daemon, name.shown, 0, 0, 0, {} });
    }
    name.totals = m_totalsByName.value(row);
    return *m_names.insert(key, name);
}

int Traffic::callerOf(const QByteArray &busName, const QString &daemon)
{
    const auto found = m_callerByName.constFind(busName);
    if (found != m_callerByName.constEnd()) {
        return *found;
    }
    const uint process = m_known->known(busName).process;
    const auto sameProcess = m_callerByProcess.constFind(process);
    int result = int(m_callers.size());
    if (process != 0 && sameProcess != m_callerByProcess.constEnd()) {
        result = *sameProcess;
    } else {
        CallerTotals caller;
        caller.busName = busName;
        caller.daemon = daemon;
        m_callers.push_back(caller);
    }
    if (process != 0) {
        m_callerByProcess.insert(process, result);
    }
    m_callerByName.insert(busName, result);
    return result;
}
