// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_RAWWIRE_H
#define HNIPC_TESTS_RAWWIRE_H

#include "chance.h"

#include <gio/gio.h>

#include <cmath>
#include <cstddef>
#include <cstring>
#include <memory>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

struct Unref
{
    void operator()(GDBusMessage *message) const { g_object_unref(message); }
    void operator()(GVariant *value) const { g_variant_unref(value); }
};
typedef std::unique_ptr<GDBusMessage, Unref> Message;
typedef std::unique_ptr<GVariant, Unref> Value;

// A connection to the bus that is only a socket. It can send many calls before it reads a reply,
// and reads only when the test asks it to.
class RawConnection
{
public:
    RawConnection() : m_socket(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)), m_serial(0)
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        const QByteArray busName = qgetenv("DBUS_SYSTEM_BUS_ADDRESS")
                                       .mid(int(sizeof "unix:abstract=") - 1);
        qstrncpy(address.sun_path + 1, busName.constData(), sizeof address.sun_path - 1);
        const socklen_t size = socklen_t(offsetof(sockaddr_un, sun_path) + 1 + busName.size());
        if (connect(m_socket, reinterpret_cast<sockaddr *>(&address), size) != 0) {
            qFatal("no bus at %s", busName.constData());
        }
        write(QByteArray(1, '\0') + "AUTH EXTERNAL " + QByteArray::number(getuid()).toHex()
              + "\r\n");
        while (!m_read.contains("\r\n")) {
            readMore();
        }
        m_read.clear();
        write("BEGIN\r\n");
        Message hello(g_dbus_message_new_method_call(
            "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "Hello"));
        send(hello.get());
        Message reply = receive();
        const char *name = nullptr;
        g_variant_get(g_dbus_message_get_body(reply.get()), "(&s)", &name);
        m_name = name;
        receive(); // NameAcquired
    }

    ~RawConnection() { close(m_socket); }

    QByteArray uniqueName() const { return m_name; }

    // Returns the serial number of the sent message.
    quint32 send(GDBusMessage *message)
    {
        write(blob(message));
        return m_serial;
    }

    QByteArray blob(GDBusMessage *message)
    {
        g_dbus_message_set_serial(message, ++m_serial);
        gsize size = 0;
        GError *error = nullptr;
        guchar *bytes = g_dbus_message_to_blob(message, &size, G_DBUS_CAPABILITY_FLAGS_NONE,
                                               &error);
        if (!bytes) {
            qFatal("no message: %s", error->message);
        }
        const QByteArray result(reinterpret_cast<char *>(bytes), int(size));
        g_free(bytes);
        return result;
    }

    void write(const QByteArray &bytes)
    {
        int written = 0;
        while (written < bytes.size()) {
            const ssize_t now = ::send(m_socket, bytes.constData() + written,
                                       size_t(bytes.size() - written), MSG_NOSIGNAL);
            if (now <= 0) {
                qFatal("the bus does not take it");
            }
            written += int(now);
        }
    }

    // Returns the next message of any type.
    Message receive()
    {
        const int header = 16;
        while (m_read.size() < header || m_read.size() < needed()) {
            readMore();
        }
        const int size = needed();
        Message message(g_dbus_message_new_from_blob(reinterpret_cast<guchar *>(m_read.data()),
                                                     gsize(size), G_DBUS_CAPABILITY_FLAGS_NONE,
                                                     nullptr));
        m_read.remove(0, size);
        return message;
    }

    // Returns the reply to this call and drops all messages before it.
    Message receiveReply(quint32 serial)
    {
        for (;;) {
            Message message = receive();
            if (message && g_dbus_message_get_reply_serial(message.get()) == serial) {
                return message;
            }
        }
    }

private:
    int needed()
    {
        return int(g_dbus_message_bytes_needed(reinterpret_cast<guchar *>(m_read.data()),
                                               gsize(m_read.size()), nullptr));
    }

    void readMore()
    {
        pollfd waiting = { m_socket, POLLIN, 0 };
        char buffer[65536];
        ssize_t size = 0;
        // The limit only keeps a broken test from hanging.
        if (poll(&waiting, 1, 60 * 1000) == 1) {
            size = recv(m_socket, buffer, sizeof buffer, 0);
        }
        if (size <= 0) {
            qFatal("the bus says nothing more");
        }
        m_read.append(buffer, int(size));
    }

    const int m_socket;
    quint32 m_serial;
    QByteArray m_name;
    QByteArray m_read;
};

// Random types and values, of all kinds that D-Bus can carry.
class RandomValues
{
public:
    explicit RandomValues(Chance *chance) : m_chance(chance) {}

    // Returns a type that is nested at most this deep.
    QByteArray type(int depth)
    {
        switch (depth > 0 ? m_chance->below(8) : 0) {
        case 5:
            return 'a' + type(depth - 1);
        case 6: {
            QByteArray members;
            for (int i = 1 + m_chance->below(4); i > 0; --i) {
                members += type(depth - 1);
            }
            return '(' + members + ')';
        }
        case 7:
            return "a{" + basicType() + type(depth - 1) + '}';
        default:
            return m_chance->oneIn(6) ? QByteArray("v") : basicType();
        }
    }

    // Returns a list of this many types.
    QByteArray types(int count, int depth)
    {
        QByteArray result;
        for (int i = 0; i < count; ++i) {
            result += type(depth);
        }
        return result;
    }

    GVariant *value(const QByteArray &signature, int depth = 3)
    {
        switch (signature.at(0)) {
        case 'b':
            return g_variant_new_boolean(m_chance->oneIn(2));
        case 'y':
            return g_variant_new_byte(guchar(number()));
        case 'n':
            return g_variant_new_int16(gint16(number()));
        case 'q':
            return g_variant_new_uint16(guint16(number()));
        case 'i':
            return g_variant_new_int32(gint32(number()));
        case 'u':
            return g_variant_new_uint32(guint32(number()));
        case 'x':
            return g_variant_new_int64(gint64(number()));
        case 't':
            return g_variant_new_uint64(guint64(number()));
        case 'd':
            return g_variant_new_double(real());
        case 's':
            return g_variant_new_string(text().constData());
        case 'o':
            return g_variant_new_object_path(m_chance->oneIn(2) ? "/" : "/a/b_1");
        case 'g':
            return g_variant_new_signature(m_chance->oneIn(2) ? "i" : "a{sv}(ii)");
        case 'v':
            return g_variant_new_variant(
                value(depth > 0 ? type(depth - 1) : basicType(), depth - 1));
        case 'a':
            return array(signature, depth);
        default:
            return structure(signature, depth);
        }
    }

    // Returns a body with arguments of these types.
    GVariant *body(const QByteArray &signature) { return structure('(' + signature + ')', 3); }

    // Returns the ends of ranges more often than numbers in between.
    quint64 number()
    {
        static const quint64 edges[] = { 0,
                                         1,
                                         2,
                                         0x7f,
                                         0x80,
                                         0xff,
                                         0x7fff,
                                         0x8000,
                                         0xffff,
                                         0x7fffffff,
                                         0x80000000,
                                         0xffffffff,
                                         0x7fffffffffffffff,
                                         0x8000000000000000,
                                         ~quint64(0) };
        return m_chance->oneIn(3) ? m_chance->bits() : m_chance->of(edges);
    }

    QByteArray text()
    {
        static const char *const texts[] = { "",
                                             "a",
                                             "S-100-WHITE",
                                             "%s%n%1",
                                             "../../etc/passwd",
                                             "\xd8\xa7\xd9\x84",
                                             "e\xcc\x81",
                                             "\xf0\x9f\x96\xa8",
                                             "\xef\xbf\xbf",
                                             "\xef\xbb\xbf",
                                             "\n\t\x7f\x01" };
        if (m_chance->oneIn(50)) {
            return QByteArray(m_chance->below(100000), 'x');
        }
        return m_chance->of(texts);
    }

private:
    QByteArray basicType() { return QByteArray(1, "ybnqiuxtdsog"[m_chance->below(12)]); }

    double real()
    {
        const quint64 bits = m_chance->bits(); // includes NaN and infinity
        double result;
        memcpy(&result, &bits, sizeof result);
        // GLib cannot read subnormal numbers from the text that it writes for them.
        return m_chance->oneIn(2) && std::fpclassify(result) != FP_SUBNORMAL
            ? result
            : m_chance->below(1000) / 4.0;
    }

    GVariant *array(const QByteArray &signature, int depth)
    {
        const QByteArray element = signature.mid(1);
        GVariantBuilder builder;
        g_variant_builder_init(&builder,
                               reinterpret_cast<const GVariantType *>(signature.constData()));
        for (int i = m_chance->below(4); i > 0; --i) {
            g_variant_builder_add_value(
                &builder, element.at(0) == '{' ? entry(element, depth) : value(element, depth - 1));
        }
        return g_variant_builder_end(&builder);
    }

    GVariant *entry(const QByteArray &signature, int depth)
    {
        GVariant *const key = value(signature.mid(1, 1), 0);
        return g_variant_new_dict_entry(key,
                                        value(signature.mid(2, signature.size() - 3), depth - 1));
    }

    GVariant *structure(const QByteArray &signature, int depth)
    {
        GVariantBuilder builder;
        const GVariantType *const type = reinterpret_cast<const GVariantType *>(
            signature.constData());
        g_variant_builder_init(&builder, type);
        for (const GVariantType *member = g_variant_type_first(type); member;
             member = g_variant_type_next(member)) {
            const QByteArray text(g_variant_type_peek_string(member),
                                  int(g_variant_type_get_string_length(member)));
            g_variant_builder_add_value(&builder, value(text, depth - 1));
        }
        return g_variant_builder_end(&builder);
    }

    Chance *m_chance;
};

#endif
