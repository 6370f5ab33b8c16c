// SPDX-License-Identifier: MIT
#include "chance.h"
#include "contract/interfaces.h"
#include "expected/identities.h"
#include "rawwire.h"
#include "support/memory.h"
#include "support/privatebus.h"
#include "support/program.h"

#include <QtTest/QTest>

#include <map>
#include <memory>
#include <vector>

using namespace Expected;

// Daemons, each a process of its own, receive random calls.
class tst_HostileCallers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void anyCallIsCarriedOutOrRefused_data();
    void anyCallIsCarriedOutOrRefused();
    void fiftyCallersAtOnce();
    void callerThatNeverReads();

private:
    std::unique_ptr<Program> m_daemons[ServerCount];
};

namespace {

struct Slot
{
    QByteArray name;
    QByteArray in;
    QByteArray out;
};

std::vector<Slot> slotsOf(int server)
{
    std::vector<Slot> result;
    for (const ServerSlot &slot : serverSlots(server)) {
        result.push_back(Slot { slot.name, slot.in, slot.out });
    }
    return result;
}

Message newCall(int server, const char *member, const char *format = nullptr, ...)
{
    Message call(g_dbus_message_new_method_call(identities[server].busName, "/",
                                                identities[server].interface, member));
    if (format) {
        va_list arguments;
        va_start(arguments, format);
        g_dbus_message_set_body(call.get(), g_variant_new_va(format, nullptr, &arguments));
        va_end(arguments);
    }
    return call;
}

// "(true,)" of a reply, or the name of an error.
QByteArray text(const Message &reply)
{
    if (g_dbus_message_get_message_type(reply.get()) == G_DBUS_MESSAGE_TYPE_ERROR) {
        return g_dbus_message_get_error_name(reply.get());
    }
    GVariant *const body = g_dbus_message_get_body(reply.get());
    if (!body) {
        return "()";
    }
    gchar *const printed = g_variant_print(body, FALSE);
    const QByteArray result(printed);
    g_free(printed);
    return result;
}

QByteArray answerTo(RawConnection &caller, const Message &call)
{
    return text(caller.receiveReply(caller.send(call.get())));
}

// Makes random calls, and knows which of them the daemon must carry out.
class RandomCalls
{
public:
    RandomCalls(Chance *chance, int server)
        : m_chance(chance), m_values(chance), m_server(server), m_slots(slotsOf(server))
    {
    }

    // Sets the expected reply: the signature of the reply, "error", or "any" for one reply of any
    // kind.
    Message next(QByteArray *expected)
    {
        static const char *const foreignMembers[] = {
            "deleteLater",
            "destroyed",
            "objectNameChanged",
            "registerDbusService",
            "pulseSignal",
            "getServerType",
            "setObjectName",
            "Introspect",
            "Get",
            "GetAll",
            "Set",
            "Ping",
            "a",
            "GETERROR",
            "pulse",
        };
        static const char *const foreignPaths[] = { "/a", "/a/b", "/simulator", "/0" };
        static const char *const foreignInterfaces[] = {
            "local.Other",
            "local.IHNIPC",
            "local.IHNIPCM4.x",
            "local.HNIPCServer",
            "local.IHNIPCIOEXPD",
            "local.IHNIPCM4",
            "local.IHNIPCSUPPLYD",
            "org.qtproject.Qt.QObject",
            "org.freedesktop.DBus.Introspectable",
            "org.freedesktop.DBus.Properties",
            "org.freedesktop.DBus.Peer",
        };
        const Slot &slot = m_slots.at(size_t(m_chance->below(int(m_slots.size()))));
        QByteArray member = slot.name;
        if (m_chance->oneIn(10)) {
            member = m_chance->of(foreignMembers);
        }
        QByteArray interface = identities[m_server].interface;
        if (m_chance->oneIn(10)) {
            interface = m_chance->of(foreignInterfaces);
        } else if (m_chance->oneIn(10)) {
            interface = QByteArray(); // allowed: any interface with such a member
        }
        const QByteArray path = m_chance->oneIn(10) ? m_chance->of(foreignPaths) : "/";
        const QByteArray in = arguments(slot.in);

        *expected = "error";
        if (interface.startsWith("org.freedesktop")
            || (interface.isEmpty()
                && QByteArray("Introspect Get GetAll Set Ping").contains(member))) {
            *expected = "any";
        } else if (path == "/"
                   && (interface.isEmpty() || interface == identities[m_server].interface)) {
            for (const Slot &candidate : m_slots) {
                if (candidate.name == member && candidate.in == in) {
                    *expected = '(' + candidate.out + ')';
                }
            }
        }

        Message call(g_dbus_message_new_method_call(
            identities[m_server].busName, path.constData(),
            interface.isEmpty() ? nullptr : interface.constData(), member.constData()));
        if (!in.isEmpty()) {
            g_dbus_message_set_body(call.get(), m_values.body(in));
        }
        return call;
    }

private:
    // The right arguments, the same with one missing, changed or added, or random ones.
    QByteArray arguments(QByteArray right)
    {
        switch (m_chance->below(6)) {
        case 0:
            return m_values.types(m_chance->below(6), 4);
        case 1:
            return right + m_values.types(1 + m_chance->below(3), 2);
        case 2:
            return right.endsWith("as") ? right.left(right.size() - 2)
                                        : right.left(right.size() - 1);
        case 3:
            return m_values.type(3) + (right.startsWith("as") ? right.mid(2) : right.mid(1));
        default:
            return right;
        }
    }

    Chance *m_chance;
    RandomValues m_values;
    const int m_server;
    const std::vector<Slot> m_slots;
};

} // namespace

void tst_HostileCallers::init()
{
    const char *const names[] = { "ioexpd", "m4", "supplyd" };
    for (int server = 0; server < ServerCount; ++server) {
        // The daemon prints its settings when a client asks for them.
        m_daemons[server].reset(Program::daemon(names[server], QLatin1String("/dev/null")));
    }
}

void tst_HostileCallers::cleanup()
{
    for (std::unique_ptr<Program> &daemon : m_daemons) {
        daemon.reset();
    }
}

void tst_HostileCallers::anyCallIsCarriedOutOrRefused_data()
{
    QTest::addColumn<int>("server");
    for (int server = 0; server < ServerCount; ++server) {
        QTest::newRow(identities[server].tag) << server;
    }
}

void tst_HostileCallers::anyCallIsCarriedOutOrRefused()
{
    QFETCH(int, server);
    const int calls = timesFromEnvironment("HNIPC_CALLS", 4000);
    const int atOnce = 50;
    Chance chance;
    RandomCalls random(&chance, server);
    RawConnection caller;
    std::map<quint32, bool> unwanted; // true for Qt's own interfaces, which reply
    int carriedOut = 0;
    long before = 0;
    for (int sent = 0; sent < calls; sent += atOnce) {
        struct Waiting
        {
            QByteArray expected;
            Message call;
        };
        QByteArray bytes;
        std::map<quint32, Waiting> waiting; // by serial number
        for (int i = 0; i < atOnce; ++i) {
            QByteArray expected;
            Message call = random.next(&expected);
            // Some calls want no reply and get none, except that Qt sends its errors.
            const bool isWaiting = !chance.oneIn(20);
            if (!isWaiting) {
                g_dbus_message_set_flags(call.get(), G_DBUS_MESSAGE_FLAGS_NO_REPLY_EXPECTED);
            }
            bytes += caller.blob(call.get());
            const quint32 serial = g_dbus_message_get_serial(call.get());
            if (isWaiting) {
                waiting[serial] = Waiting { expected, std::move(call) };
            } else {
                unwanted[serial] = expected == "any";
            }
        }
        caller.write(bytes);
        // Qt replies immediately to calls without an object; these replies overtake those of other
        // calls.
        while (!waiting.empty()) {
            const Message reply = caller.receive();
            QVERIFY(reply != nullptr);
            const bool isError = g_dbus_message_get_message_type(reply.get())
                == G_DBUS_MESSAGE_TYPE_ERROR;
            const quint32 serial = g_dbus_message_get_reply_serial(reply.get());
            const auto found = waiting.find(serial);
            if (found == waiting.end()) {
                QVERIFY(unwanted.count(serial) == 1 && (isError || unwanted[serial]));
                unwanted.erase(serial);
                continue;
            }
            const QByteArray signature = g_dbus_message_get_signature(reply.get());
            const QByteArray &expected = found->second.expected;
            if (expected != "any" && expected != (isError ? "error" : '(' + signature + ')')) {
                gchar *const call = g_dbus_message_print(found->second.call.get(), 0);
                QFAIL((QByteArray(call) + "not " + expected + " but " + text(reply)).constData());
            }
            carriedOut += !isError;
            waiting.erase(found);
        }
        if (sent <= calls / 2) {
            before = residentKilobytes(m_daemons[server]->id());
        }
    }
    const long growth = residentKilobytes(m_daemons[server]->id()) - before;
    QVERIFY2(growth < 2000, QByteArray::number(qlonglong(growth)).constData());
    QVERIFY(carriedOut > 0 && carriedOut < calls);
    printf("%d calls, %d carried out; growth %ld KiB\n", calls, carriedOut, growth);
}

void tst_HostileCallers::fiftyCallersAtOnce()
{
    const struct
    {
        const char *sku;
        const char *width;
    } supplies[] = {
        { "S-100-WHITE", "(100.0,)" },
        { "S-50-YELLOW", "(50.0,)" },
        { "S-25-SILVER", "(25.0,)" },
    };
    const int callers = 50;
    const int calls = 100;
    std::vector<std::unique_ptr<RawConnection>> connections;
    for (int i = 0; i < callers; ++i) {
        connections.emplace_back(new RawConnection);
    }
    // All calls of one caller are sent before any reply is read.
    std::vector<std::vector<quint32>> serials(callers);
    for (int number = 0; number < calls; ++number) {
        for (int i = 0; i < callers; ++i) {
            const Message call = newCall(SUPPLYD, "supplyWidth", "(ss)", supplies[i % 3].sku, "");
            serials[size_t(i)].push_back(connections[size_t(i)]->send(call.get()));
        }
    }
    for (int i = 0; i < callers; ++i) {
        for (quint32 serial : serials[size_t(i)]) {
            const Message reply = connections[size_t(i)]->receiveReply(serial);
            QCOMPARE(text(reply), QByteArray(supplies[i % 3].width));
        }
    }
}

void tst_HostileCallers::callerThatNeverReads()
{
    RawConnection patient;
    const Message harmless = newCall(M4, "getPrinterStatus", "(s)", "labelprinter");
    long before = 0;
    {
        RawConnection deaf;
        Message call(g_dbus_message_new_method_call(
            identities[M4].busName, "/", "org.freedesktop.DBus.Introspectable", "Introspect"));
        const int calls = 2000; // replies of 20 KiB each
        for (int i = 0; i < calls; ++i) {
            deaf.send(call.get());
            if (i % 100 == 0) {
                QCOMPARE(answerTo(patient, harmless), QByteArray("(2,)"));
            }
            if (i == calls / 2) {
                before = residentKilobytes(m_daemons[M4]->id());
            }
        }
    }
    QCOMPARE(answerTo(patient, harmless), QByteArray("(2,)"));
    const long growth = residentKilobytes(m_daemons[M4]->id()) - before;
    QVERIFY2(growth < 2000, QByteArray::number(qlonglong(growth)).constData());
    printf("growth %ld KiB\n", growth);
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    // The limits allow many calls in flight for each caller, and the bus keeps the replies that are
    // not read.
    const PrivateBus bus(QByteArray(), "<limit name='max_replies_per_connection'>50000</limit>");
    tst_HostileCallers test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_hostilecallers.moc"
