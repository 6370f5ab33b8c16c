// SPDX-License-Identifier: MIT
#include "wirepeer.h"
#include "privatebus.h"

#include <gio/gio.h>

#include <QtCore/QHash>
#include <QtCore/QSet>

#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace {

const char busName[] = "org.freedesktop.DBus";
const char busPath[] = "/org/freedesktop/DBus";
const char fenceInterface[] = "local.Fence";

struct Answer
{
    enum Kind { UnknownMethod, Reply, Error, Silence, Leave, Hold };

    explicit Answer(Kind answerKind = UnknownMethod, const QByteArray &answerBody = "()",
                    const QByteArray &name = QByteArray())
        : kind(answerKind), body(answerBody), errorName(name)
    {
    }

    Kind kind;
    QByteArray body; // the message of an error reply
    QByteArray errorName;
};

// Shared with the filter, which may still run on the connection's thread after the peer is
// destroyed.
struct State
{
    State() : introspections(0), monitor(false) {}

    ~State()
    {
        for (GDBusMessage *call : held) {
            g_clear_object(&call);
        }
    }

    mutable std::mutex mutex;
    QByteArray introspection;
    std::function<void()> whenIntrospected;
    int introspections;
    bool monitor;
    Answer fallback;
    QHash<QByteArray, Answer> answers;
    QList<WireMessage> calls;
    QList<GDBusMessage *> held; // null for a call that has got its reply
    QList<WireMessage> receivedSignals;
    QHash<QByteArray, int> heard; // the number of signals, by member and by member and body
    QList<WireMessage> monitored;
    QSet<QByteArray> markers; // of signals that this program sent
    QSet<quint32> awaited;
    QHash<quint32, WireMessage> replies;
};

typedef std::shared_ptr<State> StatePointer;
typedef std::lock_guard<std::mutex> Lock;

// A test that passes malformed text is broken. It must not look as if the peer were silent.
GVariant *parse(const QByteArray &text)
{
    GError *error = nullptr;
    GVariant *value = g_variant_parse(nullptr, text.constData(), nullptr, nullptr, &error);
    if (!value) {
        qFatal("not a GVariant: %s: %s", text.constData(), error->message);
    }
    return value;
}

GVariant *parseBody(const QByteArray &text)
{
    GVariant *body = parse(text);
    if (!g_variant_is_of_type(body, G_VARIANT_TYPE_TUPLE)) {
        qFatal("not a message body: %s", text.constData());
    }
    return body;
}

void setBody(GDBusMessage *message, const QByteArray &text)
{
    GVariant *body = parseBody(text);
    if (g_variant_n_children(body) > 0) {
        g_dbus_message_set_body(message, body);
    }
    g_variant_unref(body);
}

QByteArray printed(GVariant *value)
{
    gchar *text = g_variant_print(value, TRUE);
    const QByteArray result(text);
    g_free(text);
    return result;
}

WireMessage::Type typeOf(GDBusMessage *message)
{
    switch (g_dbus_message_get_message_type(message)) {
    case G_DBUS_MESSAGE_TYPE_METHOD_CALL:
        return WireMessage::MethodCall;
    case G_DBUS_MESSAGE_TYPE_METHOD_RETURN:
        return WireMessage::MethodReturn;
    case G_DBUS_MESSAGE_TYPE_ERROR:
        return WireMessage::Error;
    case G_DBUS_MESSAGE_TYPE_SIGNAL:
        return WireMessage::Signal;
    default:
        return WireMessage::Invalid;
    }
}

WireMessage fromMessage(GDBusMessage *message)
{
    WireMessage result;
    result.type = typeOf(message);
    const GDBusMessageFlags flags = g_dbus_message_get_flags(message);
    result.replyExpected = !(flags & G_DBUS_MESSAGE_FLAGS_NO_REPLY_EXPECTED);
    result.autoStart = !(flags & G_DBUS_MESSAGE_FLAGS_NO_AUTO_START);
    result.sender = g_dbus_message_get_sender(message);
    result.destination = g_dbus_message_get_destination(message);
    result.path = g_dbus_message_get_path(message);
    result.interface = g_dbus_message_get_interface(message);
    result.member = g_dbus_message_get_member(message);
    result.errorName = g_dbus_message_get_error_name(message);
    result.signature = g_dbus_message_get_signature(message);
    if (GVariant *body = g_dbus_message_get_body(message)) {
        result.body = printed(body);
    }
    return result;
}

void send(GDBusConnection *connection, GDBusMessage *message)
{
    g_dbus_connection_send_message(connection, message, G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr,
                                   nullptr);
    g_object_unref(message);
}

void sendError(GDBusConnection *connection, GDBusMessage *call, const char *name, const char *text)
{
    send(connection, g_dbus_message_new_method_error_literal(call, name, text));
}

void sendAnswer(GDBusConnection *connection, GDBusMessage *call, const Answer &answer)
{
    switch (answer.kind) {
    case Answer::Reply: {
        GDBusMessage *reply = g_dbus_message_new_method_reply(call);
        setBody(reply, answer.body);
        send(connection, reply);
        break;
    }
    case Answer::Error:
        sendError(connection, call, answer.errorName.constData(), answer.body.constData());
        break;
    case Answer::UnknownMethod:
        sendError(connection, call, "org.freedesktop.DBus.Error.UnknownMethod", "no such method");
        break;
    case Answer::Leave:
        g_dbus_connection_close(connection, nullptr, nullptr, nullptr);
        break;
    case Answer::Silence:
    case Answer::Hold:
        break;
    }
}

// Returns true if the peer has handled the call.
bool handleCall(GDBusConnection *connection, GDBusMessage *message, State *state)
{
    const WireMessage call = fromMessage(message);
    if (call.interface == "org.freedesktop.DBus.Peer"
        || call.interface == "org.freedesktop.DBus.Properties") {
        return false;
    }

    Answer answer;
    std::function<void()> action;
    {
        const Lock lock(state->mutex);
        if (call.interface == "org.freedesktop.DBus.Introspectable") {
            ++state->introspections;
            action = state->whenIntrospected;
            if (!state->introspection.isEmpty()) {
                GVariant *text = g_variant_ref_sink(
                    g_variant_new("(s)", state->introspection.constData()));
                answer = Answer(Answer::Reply, printed(text));
                g_variant_unref(text);
            }
        } else {
            state->calls.append(call);
            answer = state->answers.value(call.member, state->fallback);
            if (answer.kind == Answer::Hold) {
                g_object_ref(message);
                state->held.append(message);
            }
        }
    }
    if (!action) {
        sendAnswer(connection, message, answer);
        return true;
    }
    // Runs on a thread of its own, because GDBus' thread serves all peers.
    g_object_ref(connection);
    g_object_ref(message);
    std::thread([=]() {
        action();
        sendAnswer(connection, message, answer);
        g_object_unref(message);
        g_object_unref(connection);
    }).detach();
    return true;
}

void handleSignal(GDBusMessage *message, State *state)
{
    const WireMessage signal = fromMessage(message);
    if (signal.sender == busName
        && (signal.member == "NameAcquired" || signal.member == "NameLost")) {
        return;
    }
    const Lock lock(state->mutex);
    state->receivedSignals.append(signal);
    ++state->heard[signal.member];
    ++state->heard[signal.member + signal.body];
}

void handleReply(GDBusMessage *message, State *state)
{
    const quint32 serial = g_dbus_message_get_reply_serial(message);
    const Lock lock(state->mutex);
    if (state->awaited.remove(serial)) {
        state->replies.insert(serial, fromMessage(message));
    }
}

// A monitor must never reply to messages of others, so it passes on only the replies to itself.
bool overhear(GDBusConnection *connection, GDBusMessage *message, State *state)
{
    const Lock lock(state->mutex);
    if (!state->monitor) {
        return false;
    }
    const WireMessage heard = fromMessage(message);
    state->monitored.append(heard);
    if (heard.interface == fenceInterface) {
        state->markers.insert(heard.member);
    }
    return heard.destination != g_dbus_connection_get_unique_name(connection);
}

GDBusMessage *filter(GDBusConnection *connection, GDBusMessage *message, gboolean incoming,
                     gpointer userData)
{
    if (!incoming) {
        return message;
    }

    State *state = static_cast<StatePointer *>(userData)->get();
    bool handled = overhear(connection, message, state);
    if (!handled) {
        switch (g_dbus_message_get_message_type(message)) {
        case G_DBUS_MESSAGE_TYPE_METHOD_CALL:
            handled = handleCall(connection, message, state);
            break;
        case G_DBUS_MESSAGE_TYPE_SIGNAL:
            handleSignal(message, state);
            break;
        default:
            handleReply(message, state);
            break;
        }
    }
    if (handled) {
        g_object_unref(message);
        return nullptr;
    }
    return message;
}

void forget(gpointer userData) { delete static_cast<StatePointer *>(userData); }

GDBusConnection *connectToBus(const StatePointer &state, guint *filterId, const QByteArray &address)
{
    GError *error = nullptr;
    GDBusConnection *connection = g_dbus_connection_new_for_address_sync(
        address.constData(),
        GDBusConnectionFlags(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT
                             | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, &error);
    if (!connection) {
        qFatal("no private bus: %s", error->message);
    }
    *filterId = g_dbus_connection_add_filter(connection, filter, new StatePointer(state), forget);
    return connection;
}

void disconnectFromBus(GDBusConnection *connection, guint filterId)
{
    g_dbus_connection_close_sync(connection, nullptr, nullptr);
    g_dbus_connection_remove_filter(connection, filterId);
    g_object_unref(connection);
}

// Calls a method of the bus daemon. Returns its reply, or null on failure.
GVariant *callBus(GDBusConnection *connection, const char *interface, const char *member,
                  GVariant *arguments)
{
    return g_dbus_connection_call_sync(connection, busName, busPath, interface, member, arguments,
                                       nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
}

bool callBusForResult(GDBusConnection *connection, const char *member, GVariant *arguments,
                      guint32 expected)
{
    GVariant *reply = callBus(connection, busName, member, arguments);
    if (!reply) {
        return false;
    }
    guint32 result = 0;
    g_variant_get(reply, "(u)", &result);
    g_variant_unref(reply);
    return result == expected;
}

bool requestName(GDBusConnection *connection, const QByteArray &name, guint32 flags)
{
    const guint32 doNotQueue = 4;
    const guint32 primaryOwner = 1;
    return callBusForResult(connection, "RequestName",
                            g_variant_new("(su)", name.constData(), flags | doNotQueue),
                            primaryOwner);
}

} // namespace

WireMessage::WireMessage() : type(Invalid), replyExpected(false), autoStart(false), body("()") {}

QByteArray WireMessage::line() const
{
    return path + ' ' + interface + '.' + member + ' ' + signature + ' ' + body;
}

struct WirePeer::Private
{
    explicit Private(const QByteArray &address)
        : state(std::make_shared<State>()), filterId(0),
          connection(connectToBus(state, &filterId, address))
    {
    }

    void setAnswer(const QByteArray &member, const Answer &answer)
    {
        const Lock lock(state->mutex);
        state->answers.insert(member, answer);
    }

    StatePointer state;
    guint filterId;
    GDBusConnection *connection;
};

WirePeer::WirePeer() : d(new Private(qgetenv("DBUS_SYSTEM_BUS_ADDRESS"))) {}

WirePeer::WirePeer(const BusProcess &bus) : d(new Private(bus.address().toLatin1())) {}

WirePeer::~WirePeer()
{
    disconnectFromBus(d->connection, d->filterId);
    delete d;
}

QByteArray WirePeer::uniqueName() const { return g_dbus_connection_get_unique_name(d->connection); }

bool WirePeer::own(const QByteArray &name) { return requestName(d->connection, name, 0); }

bool WirePeer::takeOver(const QByteArray &name)
{
    const guint32 allowReplacement = 1;
    const guint32 replaceExisting = 2;
    return requestName(d->connection, name, allowReplacement | replaceExisting);
}

bool WirePeer::release(const QByteArray &name)
{
    const guint32 released = 1;
    return callBusForResult(d->connection, "ReleaseName", g_variant_new("(s)", name.constData()),
                            released);
}

void WirePeer::sync()
{
    if (GVariant *reply = callBus(d->connection, busName, "GetId", nullptr)) {
        g_variant_unref(reply);
    }
}

void WirePeer::setIntrospection(const QByteArray &xml)
{
    const Lock lock(d->state->mutex);
    d->state->introspection = xml;
}

void WirePeer::whenIntrospected(const std::function<void()> &action)
{
    const Lock lock(d->state->mutex);
    d->state->whenIntrospected = action;
}

int WirePeer::introspections() const
{
    const Lock lock(d->state->mutex);
    return d->state->introspections;
}

void WirePeer::answer(const QByteArray &member, const QByteArray &body)
{
    g_variant_unref(parseBody(body));
    d->setAnswer(member, Answer(Answer::Reply, body));
}

void WirePeer::answerError(const QByteArray &member, const QByteArray &errorName,
                           const QByteArray &text)
{
    d->setAnswer(member, Answer(Answer::Error, text, errorName));
}

void WirePeer::answerAll(const QByteArray &body)
{
    g_variant_unref(parseBody(body));
    const Lock lock(d->state->mutex);
    d->state->fallback = Answer(Answer::Reply, body);
}

void WirePeer::ignore(const QByteArray &member) { d->setAnswer(member, Answer(Answer::Silence)); }

void WirePeer::leaveOn(const QByteArray &member) { d->setAnswer(member, Answer(Answer::Leave)); }

void WirePeer::hold(const QByteArray &member) { d->setAnswer(member, Answer(Answer::Hold)); }

int WirePeer::held() const
{
    const Lock lock(d->state->mutex);
    return int(d->state->held.size());
}

void WirePeer::answerHeld(int number, const QByteArray &body)
{
    GDBusMessage *call = nullptr;
    {
        const Lock lock(d->state->mutex);
        if (number < int(d->state->held.size())) {
            std::swap(call, d->state->held[number]);
        }
    }
    if (!call) {
        qFatal("call %d is not held", number);
    }
    sendAnswer(d->connection, call, Answer(Answer::Reply, body));
    g_object_unref(call);
}

void WirePeer::clearAnswers()
{
    QList<GDBusMessage *> held;
    {
        const Lock lock(d->state->mutex);
        d->state->answers.clear();
        d->state->fallback = Answer();
        held.swap(d->state->held);
    }
    // The bus counts the calls that have no reply.
    for (GDBusMessage *call : held) {
        if (call) {
            sendAnswer(d->connection, call, Answer());
            g_object_unref(call);
        }
    }
}

QList<WireMessage> WirePeer::calls() const
{
    const Lock lock(d->state->mutex);
    return d->state->calls;
}

void WirePeer::clearCalls()
{
    const Lock lock(d->state->mutex);
    d->state->calls.clear();
}

bool WirePeer::emitSignal(const QByteArray &path, const QByteArray &interface,
                          const QByteArray &member, const QByteArray &body,
                          const QByteArray &destination)
{
    GDBusMessage *message = g_dbus_message_new_signal(path.constData(), interface.constData(),
                                                      member.constData());
    if (!destination.isEmpty()) {
        g_dbus_message_set_destination(message, destination.constData());
    }
    setBody(message, body);
    const bool sent = g_dbus_connection_send_message(
        d->connection, message, G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr);
    g_object_unref(message);
    sync();
    return sent;
}

WireMessage WirePeer::call(const QByteArray &destination, const QByteArray &path,
                           const QByteArray &interface, const QByteArray &member,
                           const QByteArray &body)
{
    GDBusMessage *message = g_dbus_message_new_method_call(
        destination.constData(), path.constData(),
        interface.isEmpty() ? nullptr : interface.constData(), member.constData());
    setBody(message, body);
    guint32 serial = 0;
    {
        // No other thread may read the reply before the set of awaited serial numbers contains its
        // number.
        const Lock lock(d->state->mutex);
        g_dbus_connection_send_message(d->connection, message, G_DBUS_SEND_MESSAGE_FLAGS_NONE,
                                       &serial, nullptr);
        d->state->awaited.insert(serial);
    }
    g_object_unref(message);

    WireMessage reply;
    State *state = d->state.get();
    waitUntil([state, serial, &reply]() {
        const Lock lock(state->mutex);
        if (!state->replies.contains(serial)) {
            return false;
        }
        reply = state->replies.take(serial);
        return true;
    });
    return reply;
}

bool WirePeer::listen(const QByteArray &matchRule)
{
    GVariant *reply = callBus(d->connection, busName, "AddMatch",
                              g_variant_new("(s)", matchRule.constData()));
    if (!reply) {
        return false;
    }
    g_variant_unref(reply);
    return true;
}

QList<WireMessage> WirePeer::receivedSignals() const
{
    const Lock lock(d->state->mutex);
    return d->state->receivedSignals;
}

int WirePeer::heard(const QByteArray &member, const QByteArray &body) const
{
    const Lock lock(d->state->mutex);
    return d->state->heard.value(member + body);
}

void WirePeer::clearSignals()
{
    const Lock lock(d->state->mutex);
    d->state->receivedSignals.clear();
    d->state->heard.clear();
}

struct WireMonitor::Private
{
    Private()
        : state(std::make_shared<State>()), filterId(0),
          connection(connectToBus(state, &filterId, qgetenv("DBUS_SYSTEM_BUS_ADDRESS"))), markers(0)
    {
        {
            const Lock lock(state->mutex);
            state->monitor = true;
        }
        GVariant *reply = callBus(connection, "org.freedesktop.DBus.Monitoring", "BecomeMonitor",
                                  g_variant_new("(asu)", static_cast<void *>(nullptr), 0u));
        if (!reply) {
            qFatal("the private bus refuses a monitor");
        }
        g_variant_unref(reply);
    }

    StatePointer state;
    guint filterId;
    GDBusConnection *connection;
    WirePeer fence;
    int markers;
};

WireMonitor::WireMonitor() : d(new Private) { clear(); }

WireMonitor::~WireMonitor()
{
    disconnectFromBus(d->connection, d->filterId);
    delete d;
}

QList<WireMessage> WireMonitor::take()
{
    const QByteArray marker = "Marker" + QByteArray::number(++d->markers);
    d->fence.emitSignal("/", fenceInterface, marker);

    QList<WireMessage> result;
    const QByteArray fence = d->fence.uniqueName();
    State *state = d->state.get();
    const bool complete = waitUntil([state, marker]() {
        const Lock lock(state->mutex);
        return state->markers.remove(marker);
    });
    if (!complete) {
        qFatal("the monitor lost its bus");
    }

    const Lock lock(state->mutex);
    for (const WireMessage &message : state->monitored) {
        if (message.sender != fence && message.destination != fence) {
            result.append(message);
        }
    }
    state->monitored.clear();
    return result;
}

QList<WireMessage> WireMonitor::takeCallsFrom(const QByteArray &sender)
{
    QList<WireMessage> result;
    const QList<WireMessage> all = take();
    for (const WireMessage &message : all) {
        if (message.type == WireMessage::MethodCall && message.sender == sender
            && message.destination != busName
            && message.interface != "org.freedesktop.DBus.Introspectable") {
            result.append(message);
        }
    }
    return result;
}

void WireMonitor::clear() { take(); }

QByteArray wireText(const QByteArray &text)
{
    GVariant *value = parse(text);
    const QByteArray result = printed(value);
    g_variant_unref(value);
    return result;
}
