// SPDX-License-Identifier: MIT
//
// Replies to a client's request for the supply record with values of any shape, each in a message
// that crosses a bus, and compares the values that the client reads with those that GLib reads.
//
//   hnipc-fuzz-record [-max_total_time=30] DIR...   libFuzzer generates replies, from those in DIR
//   hnipc-fuzz-record FILE...                       built without libFuzzer: these replies only
//
// An input is a D-Bus type, a zero byte and the bytes of a value of this type in GVariant's own
// format. That format has no invalid bytes: a malformed part reads as a default.

#include "support/privatebus.h"

#include <hnipc/hnipc.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>

#include <dbus/dbus.h>
#include <gio/gio.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <mutex>

namespace {

struct Unref
{
    void operator()(GVariant *value) const { g_variant_unref(value); }
    void operator()(GDBusMessage *message) const { g_object_unref(message); }
};
typedef std::unique_ptr<GVariant, Unref> Value;
typedef std::unique_ptr<GDBusMessage, Unref> Message;

// The supply daemon. It replies on a thread of its own, because the client's thread blocks.
class Daemon
{
public:
    Daemon()
        : m_connection(g_dbus_connection_new_for_address_sync(
            qgetenv("DBUS_SYSTEM_BUS_ADDRESS").constData(),
            GDBusConnectionFlags(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT
                                 | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr))
    {
        g_dbus_connection_add_filter(m_connection, &Daemon::filter, this, nullptr);
        g_variant_unref(g_dbus_connection_call_sync(
            m_connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
            "RequestName", g_variant_new("(su)", "org.hnipc.supplyd", 0u), nullptr,
            G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
    }

    ~Daemon() { g_object_unref(m_connection); }

    void setAnswer(GVariant *answer)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_answer.reset(g_variant_ref(answer));
    }

    // The bus disconnects a sender of a reply that exceeds the limits of D-Bus.
    bool isOnBus() const
    {
        const Value id(g_dbus_connection_call_sync(
            m_connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
            "GetId", nullptr, nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
        return bool(id);
    }

private:
    static GDBusMessage *filter(GDBusConnection *connection, GDBusMessage *message,
                                gboolean isIncoming, gpointer self)
    {
        if (!isIncoming
            || g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_METHOD_CALL) {
            return message;
        }
        const Message call(message);
        const Message reply(static_cast<Daemon *>(self)->replyTo(call.get()));
        g_dbus_connection_send_message(connection, reply.get(), G_DBUS_SEND_MESSAGE_FLAGS_NONE,
                                       nullptr, nullptr);
        return nullptr;
    }

    GDBusMessage *replyTo(GDBusMessage *call)
    {
        if (g_strcmp0(g_dbus_message_get_member(call), "supplyInformation") != 0) {
            return g_dbus_message_new_method_error_literal(
                call, "org.freedesktop.DBus.Error.UnknownMethod", "there is only one");
        }
        const std::lock_guard<std::mutex> lock(m_mutex);
        GDBusMessage *const reply = g_dbus_message_new_method_reply(call);
        GVariant *const answer = m_answer.get();
        g_dbus_message_set_body(reply, g_variant_new_tuple(&answer, 1));
        return reply;
    }

    GDBusConnection *m_connection;
    std::mutex m_mutex;
    Value m_answer;
};

// GVariant has types that D-Bus has not, and nests them deeper. This test uses no file descriptors.
bool isWireType(const QByteArray &type)
{
    return !type.contains('h') && dbus_signature_validate_single(type.constData(), nullptr);
}

// Variants contain values of any type.
bool isWireValue(GVariant *value, int depth = 0)
{
    if (depth > 60) { // near the limit of D-Bus
        return false;
    }
    if (g_variant_is_of_type(value, G_VARIANT_TYPE_VARIANT)) {
        const Value inner(g_variant_get_variant(value));
        return isWireType(g_variant_get_type_string(inner.get()))
            && isWireValue(inner.get(), depth + 1);
    }
    if (g_variant_is_container(value)) {
        for (gsize i = 0; i < g_variant_n_children(value); ++i) {
            const Value child(g_variant_get_child_value(value, i));
            if (!isWireValue(child.get(), depth + 1)) {
                return false;
            }
        }
    }
    return true;
}

// Compares a record with a reply, by the record's table of members: a member that is missing or of
// another type leaves its field and all later fields unchanged.
class Judge
{
public:
    Judge(GVariant *answer)
        : m_answer(answer), m_member(0), m_misread(0),
          m_fits(*g_variant_get_type_string(answer) == '(')
    {
    }

    // The number of the first member whose field is wrong; 0 if there is none.
    int misread() const { return m_misread; }

    void operator()(const QString &field, const QString &untouched)
    {
        const Value value = next("s");
        judge(field == (value ? text(value.get()) : untouched));
    }

    void operator()(const QStringList &field, const QStringList &untouched)
    {
        const Value value = next("as");
        QStringList expected = untouched;
        if (value) {
            expected.clear();
            for (gsize i = 0; i < g_variant_n_children(value.get()); ++i) {
                expected += text(Value(g_variant_get_child_value(value.get(), i)).get());
            }
        }
        judge(field == expected);
    }

    void operator()(float field, float untouched)
    {
        const Value value = next("d");
        const float expected = value ? float(g_variant_get_double(value.get())) : untouched;
        judge(field == expected || (std::isnan(field) && std::isnan(expected)));
    }

    void operator()(int field, int untouched)
    {
        const Value value = next("i");
        judge(field == (value ? g_variant_get_int32(value.get()) : untouched));
    }

    void operator()(const QByteArray &field, const QByteArray &untouched)
    {
        const Value value = next("ay");
        QByteArray expected = untouched;
        if (value) {
            gsize size = 0;
            const void *const bytes = g_variant_get_fixed_array(value.get(), &size, 1);
            expected = QByteArray(static_cast<const char *>(bytes), int(size));
        }
        judge(field == expected);
    }

    void operator()(const QVariantList &field, const QVariantList &untouched)
    {
        const Value value = next("av");
        if (!value) {
            judge(field == untouched);
            return;
        }
        const bool areAll = gsize(field.size()) == g_variant_n_children(value.get());
        judge(areAll);
        for (int i = 0; areAll && i < field.size(); ++i) {
            const Value element(g_variant_get_child_value(value.get(), gsize(i)));
            judgeElement(field.at(i), Value(g_variant_get_variant(element.get())).get());
        }
    }

private:
    static QString text(GVariant *value)
    {
        return QString::fromUtf8(g_variant_get_string(value, nullptr));
    }

    // Null if the reading has ended.
    Value next(const char *type)
    {
        const gsize index = gsize(m_member++);
        if (!m_fits || index >= g_variant_n_children(m_answer)) {
            m_fits = false;
            return Value();
        }
        Value value(g_variant_get_child_value(m_answer, index));
        m_fits = qstrcmp(g_variant_get_type_string(value.get()), type) == 0;
        return m_fits ? std::move(value) : Value();
    }

    // Compares the types that Qt has as plain types. Any other element only has to exist.
    void judgeElement(const QVariant &element, GVariant *value)
    {
        const gchar *const type = g_variant_get_type_string(value);
        judge(element.isValid());
        if (qstrcmp(type, "i") == 0) {
            judge(element == QVariant(g_variant_get_int32(value)));
        } else if (qstrcmp(type, "u") == 0) {
            judge(element == QVariant(g_variant_get_uint32(value)));
        } else if (qstrcmp(type, "t") == 0) {
            judge(element == QVariant(qulonglong(g_variant_get_uint64(value))));
        } else if (qstrcmp(type, "b") == 0) {
            judge(element == QVariant(g_variant_get_boolean(value) != FALSE));
        } else if (qstrcmp(type, "s") == 0) {
            judge(element == QVariant(text(value)));
        }
    }

    void judge(bool isRight)
    {
        if (!isRight && m_misread == 0) {
            m_misread = m_member;
        }
    }

    GVariant *m_answer;
    int m_member;
    int m_misread;
    bool m_fits;
};

int misreadMember(const SupplyInformation &record, GVariant *answer)
{
    const SupplyInformation untouched;
    Judge judge(answer);
    judge(record.text1, untouched.text1);
    judge(record.textList1, untouched.textList1);
    judge(record.real1, untouched.real1);
    judge(record.integer1, untouched.integer1);
    judge(record.text2, untouched.text2);
    judge(record.real2, untouched.real2);
    judge(record.integer2, untouched.integer2);
    judge(record.text3, untouched.text3);
    judge(record.integer3, untouched.integer3);
    judge(record.text4, untouched.text4);
    judge(record.integer4, untouched.integer4);
    judge(record.text5, untouched.text5);
    judge(record.real3, untouched.real3);
    judge(record.integer5, untouched.integer5);
    judge(record.bytes1, untouched.bytes1);
    judge(record.real4, untouched.real4);
    judge(record.real5, untouched.real5);
    judge(record.integer6, untouched.integer6);
    judge(record.integer7, untouched.integer7);
    judge(record.integer8, untouched.integer8);
    judge(record.real6, untouched.real6);
    judge(record.real7, untouched.real7);
    judge(record.real8, untouched.real8);
    judge(record.real9, untouched.real9);
    judge(record.textList2, untouched.textList2);
    judge(record.variantList1, untouched.variantList1);
    judge(record.variantList2, untouched.variantList2);
    judge(record.variantList3, untouched.variantList3);
    judge(record.variantList4, untouched.variantList4);
    judge(record.variantList5, untouched.variantList5);
    return judge.misread();
}

// The reply that an input encodes, or null.
Value answerOf(const QByteArray &input)
{
    const int end = input.indexOf('\0');
    if (end < 0) {
        return Value();
    }
    const QByteArray type = input.left(end);
    if (!isWireType(type)) {
        return Value();
    }
    // A separate block of memory, aligned for any value.
    const gsize size = gsize(input.size() - end - 1);
    void *const data = g_memdup2(input.constData() + end + 1, size);
    const Value read(g_variant_ref_sink(
        g_variant_new_from_data(reinterpret_cast<const GVariantType *>(type.constData()), data,
                                size, FALSE, g_free, data)));
    Value answer(g_variant_get_normal_form(read.get()));
    return isWireValue(answer.get()) ? std::move(answer) : Value();
}

const int noAnswer = -1; // libFuzzer does not keep an input with this result

int tryAnswer(const QByteArray &input)
{
    static int count = 0;
    static char name[] = "hnipc-fuzz-record";
    static char *arguments[] = { name, nullptr };
    static QCoreApplication application(++count, arguments);
    static PrivateBus bus;
    static std::unique_ptr<Daemon> daemon(new Daemon);
    static std::unique_ptr<HNIPC> client(new HNIPC);

    const Value answer = answerOf(input);
    if (!answer) {
        return noAnswer;
    }
    daemon->setAnswer(answer.get());
    const int misread = misreadMember(client->supplyInformation(), answer.get());
    if (misread == 0) {
        return 0;
    }
    if (daemon->isOnBus()) {
        qFatal("member %d is read as another value", misread);
    }
    daemon.reset(new Daemon);
    client.reset(new HNIPC);
    return noAnswer;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    return tryAnswer(QByteArray(reinterpret_cast<const char *>(data), int(size)));
}

#ifndef HNIPC_LIBFUZZER
int main(int argc, char **argv)
{
    for (int i = 1; i < argc; ++i) {
        QFile file(QString::fromLocal8Bit(argv[i]));
        if (!file.open(QIODevice::ReadOnly)) {
            qFatal("%s: %s", argv[i], qPrintable(file.errorString()));
        }
        if (tryAnswer(file.readAll()) == noAnswer) {
            qFatal("%s: no answer", argv[i]);
        }
    }
    std::printf("%d answers\n", argc - 1);
    return argc > 1 ? 0 : 1;
}
#endif
