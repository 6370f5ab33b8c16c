// SPDX-License-Identifier: MIT
#include "busmonitor.h"

#include "console.h"
#include "hosts.h"

#include <dbus/dbus.h>

#include <cerrno>
#include <climits>
#include <optional>
#include <poll.h>

namespace {

// The reply of the bus, or the error if it sends none.
struct Reply
{
    WireMessagePointer message; ///< null if there is only an error
    QByteArray errorName;
    QString errorText;
};

class Error
{
public:
    Error() { dbus_error_init(&m_error); }
    ~Error() { dbus_error_free(&m_error); }
    DBusError *get() { return &m_error; }
    QByteArray name() const { return m_error.name; }
    QString text() const { return QString::fromUtf8(m_error.message); }

private:
    Q_DISABLE_COPY(Error)
    DBusError m_error;
};

WireMessagePointer owned(DBusMessage *message)
{
    return message ? WireMessagePointer(message, dbus_message_unref) : WireMessagePointer();
}

WireMessagePointer busCall(const char *interface, const char *member)
{
    return owned(
        dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, interface, member));
}

Reply ask(DBusConnection *connection, const WireMessagePointer &call, int timeout)
{
    Error error;
    const WireMessagePointer reply = owned(
        dbus_connection_send_with_reply_and_block(connection, call.get(), timeout, error.get()));
    return { reply, error.name(), error.text() };
}

int noAnswer(int timeout)
{
    return Console::fail(Toolkit::NoAnswer,
                         QStringLiteral("the bus did not reply within %1 ms").arg(timeout));
}

int cannotMonitor(const Context &context, const Reply &reply)
{
    if (reply.errorName == DBUS_ERROR_ACCESS_DENIED) {
        return Console::fail(
            Toolkit::NoBus,
            QStringLiteral("no right to trace: the bus lets only root, and the user whom the bus "
                           "itself runs as, see the calls of others; try: %1")
                .arg(isBusRemote() ? QStringLiteral("hnipcctl --host root@PRINTER trace")
                                   : QStringLiteral("sudo hnipcctl trace")));
    }
    if (reply.errorName == DBUS_ERROR_NO_REPLY || reply.errorName == DBUS_ERROR_TIMEOUT) {
        return noAnswer(context.timeout);
    }
    const bool isUnsupported = reply.errorName == DBUS_ERROR_UNKNOWN_METHOD
        || reply.errorName == DBUS_ERROR_UNKNOWN_INTERFACE
        || reply.errorName == DBUS_ERROR_UNKNOWN_OBJECT;
    return Console::fail(isUnsupported ? Toolkit::Failed : Toolkit::NoBus,
                         (isUnsupported ? QStringLiteral("this bus does not support tracing: %1")
                                        : QStringLiteral("the bus refused to start the trace: %1"))
                             .arg(reply.errorText));
}

} // namespace

bool isBusRemote() { return qgetenv("DBUS_SYSTEM_BUS_ADDRESS").startsWith("unixexec:"); }

BusMonitor::~BusMonitor()
{
    if (m_connection) {
        dbus_connection_close(m_connection);
        dbus_connection_unref(m_connection);
    }
}

int BusMonitor::connect(const Context &context)
{
    // The same address as that of the program's other connection, which has reached the bus.
    const QByteArray set = qgetenv("DBUS_SYSTEM_BUS_ADDRESS");
    const QByteArray address = set.isEmpty() ? "unix:path=/var/run/dbus/system_bus_socket" : set;
    std::optional<ReachingDeadline> deadline;
    if (isBusRemote()) {
        const QString host = context.options.value(QStringLiteral("host"));
        deadline.emplace(host.isNull() ? QStringLiteral("the printer") : host, context.timeout);
    }
    Error error;
    m_connection = dbus_connection_open_private(address.constData(), error.get());
    if (!m_connection) {
        return Console::fail(Toolkit::NoBus, QStringLiteral("no bus: %1").arg(error.text()));
    }
    // If the trace is too slow, it drops calls and reports it; the bus must not keep its messages.
    dbus_connection_set_max_received_size(m_connection, LONG_MAX);
    const Reply hello = ask(m_connection, busCall(DBUS_INTERFACE_DBUS, "Hello"), context.timeout);
    if (hello.errorName == DBUS_ERROR_NO_REPLY || hello.errorName == DBUS_ERROR_TIMEOUT) {
        return noAnswer(context.timeout);
    }
    return hello.message
        ? int(Toolkit::Done)
        : Console::fail(Toolkit::NoBus, QStringLiteral("no bus: %1").arg(hello.errorText));
}

int BusMonitor::start(const Context &context, const QList<QByteArray> &matchRules)
{
    const int exitCode = connect(context);
    if (exitCode != Toolkit::Done) {
        return exitCode;
    }
    const WireMessagePointer call = busCall("org.freedesktop.DBus.Monitoring", "BecomeMonitor");
    DBusMessageIter arguments;
    DBusMessageIter rules;
    dbus_message_iter_init_append(call.get(), &arguments);
    dbus_message_iter_open_container(&arguments, DBUS_TYPE_ARRAY, "s", &rules);
    for (const QByteArray &rule : matchRules) {
        const char *text = rule.constData();
        dbus_message_iter_append_basic(&rules, DBUS_TYPE_STRING, &text);
    }
    dbus_message_iter_close_container(&arguments, &rules);
    const dbus_uint32_t flags = 0;
    dbus_message_iter_append_basic(&arguments, DBUS_TYPE_UINT32, &flags);
    const Reply reply = ask(m_connection, call, context.timeout);
    return reply.message ? int(Toolkit::Done) : cannotMonitor(context, reply);
}

BusMonitor::Event BusMonitor::wait(int stop)
{
    int bus = -1;
    dbus_connection_get_unix_fd(m_connection, &bus);
    // Messages that arrived together with the reply to BecomeMonitor have been read already.
    const bool isWaiting = dbus_connection_get_dispatch_status(m_connection)
        == DBUS_DISPATCH_COMPLETE;
    pollfd files[] = { { stop, POLLIN, 0 }, { bus, POLLIN, 0 } };
    while (poll(files, 2, isWaiting ? -1 : 0) < 0 && errno == EINTR) {}
    const bool isOpen = dbus_connection_read_write(m_connection, 0);
    return files[0].revents ? Stopped : isOpen ? Received : Lost;
}

WireMessagePointer BusMonitor::next()
{
    // Messages are not dispatched: the bus library would reply to calls, which are for others.
    return owned(dbus_connection_pop_message(m_connection));
}
