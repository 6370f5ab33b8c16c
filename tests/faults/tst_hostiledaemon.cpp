// SPDX-License-Identifier: MIT
#include "chance.h"
#include "clientcalls.h"
#include "expected/clientsignals.h"
#include "expected/clientslots.h"
#include "expected/samples.h"
#include "faultybus.h"
#include "memory.h"
#include "rawwire.h"
#include "support/fakedaemons.h"
#include "support/signalrecorder.h"

#include <hnipc/hnipc.h>

#include <QtCore/QPointer>
#include <QtTest/QTest>

#include <thread>

using namespace Expected;

// A client and daemons that say anything that D-Bus can carry.
class tst_HostileDaemon : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void randomAnswersAreTakenOnlyWhereTheyFit();
    void deepRecordIsRead_data();
    void deepRecordIsRead();
    void largeAnswerArrives();
    void introspectionDataDecidesNothing_data();
    void introspectionDataDecidesNothing();
    void introspectionDataThatForbidsRepliesIsObeyed();

private:
    QByteArray relayed()
    {
        return m_daemons->passFence() ? m_recorder->take().join('\n') : "the fence is lost";
    }

    std::unique_ptr<FakeDaemons> m_daemons;
    std::unique_ptr<HNIPC> m_client;
    std::unique_ptr<SignalRecorder> m_recorder;
};

namespace {

QByteArray text(GVariant *body)
{
    const Value value(g_variant_ref_sink(body));
    gchar *const printed = g_variant_print(value.get(), TRUE);
    const QByteArray result(printed);
    g_free(printed);
    return result;
}

} // namespace

void tst_HostileDaemon::init()
{
    m_daemons.reset(new FakeDaemons);
    m_client.reset(new HNIPC(0));
    m_recorder.reset(new SignalRecorder(m_client.get()));
}

void tst_HostileDaemon::cleanup()
{
    m_recorder.reset();
    m_client.reset();
    m_daemons.reset();
}

void tst_HostileDaemon::randomAnswersAreTakenOnlyWhereTheyFit()
{
    const int answers = timesFromEnvironment("HNIPC_ANSWERS", 5000);
    Chance chance;
    RandomValues random(&chance);
    int misfits = 0;
    long before = 0;
    for (int i = 0; i < answers; ++i) {
        const int row = i % clientSlotCount;
        const ClientSlot &slot = clientSlots[row];
        const QByteArray signature = slot.signature;
        const QByteArray out = slot.out;
        QByteArray types = random.types(chance.below(3), 6);
        if (chance.oneIn(3)) {
            types = out + types;
        } else if (out == recordType) {
            // A structure that begins as the record does, for a while.
            QByteArray fields;
            for (int count = chance.below(30); count > 0; --count) {
                fields += recordFields[fields.isEmpty() ? 0 : chance.below(30)].type;
            }
            types = '(' + (fields.isEmpty() ? QByteArray("s") : fields) + random.type(6) + ')';
        }
        (*m_daemons)[slot.server].answer(signature.left(signature.indexOf('(')),
                                         text(random.body(types)));
        const QVariant result = clientCalls[row].invoke(*m_client,
                                                        values(argumentSamples(signature, 0)));
        if (out == recordType) {
            QCOMPARE(result.userType(), qMetaTypeId<SupplyInformation>());
        } else if (out.isEmpty()) {
            QVERIFY(!result.isValid());
        } else if (!types.startsWith(out)) {
            ++misfits;
            QVERIFY2(sameOnFailure(result, samplesOf(slot.result).first().value),
                     (signature + " was answered " + types).constData());
        } else {
            QCOMPARE(QByteArray(result.typeName()),
                     QByteArray(samplesOf(slot.result).first().value.typeName()));
        }
        if (i % 500 == 0) {
            QCOMPARE(m_daemons->takeCalls().size(), i ? 500 : 1);
            if (i <= answers / 2) {
                before = heapInUse();
            }
        }
    }
    m_daemons->takeCalls();
    const long growth = heapInUse() - before;
    QVERIFY2(growth < 500 * 1000, QByteArray::number(qlonglong(growth)).constData());
    printf("%d answers, %d misfits; growth %ld bytes\n", answers, misfits, growth);
}

void tst_HostileDaemon::deepRecordIsRead_data()
{
    QTest::addColumn<QByteArray>("element");
    const auto nested = [](const char *open, const QByteArray &core, const char *close, int depth) {
        return QByteArray(open).repeated(depth) + core + QByteArray(close).repeated(depth);
    };
    // One message can hold 32 arrays or structures in each other, and 64 containers in all.
    QTest::newRow("arrays") << '<' + nested("[", "1", "]", 31) + '>';
    QTest::newRow("structures") << '<' + nested("(", "1", ",)", 31) + '>';
    QTest::newRow("variants") << nested("<", "1", ">", 58);
    QTest::newRow("dictionaries") << '<' + nested("{'a': ", "1", "}", 30) + '>';
}

void tst_HostileDaemon::deepRecordIsRead()
{
    QFETCH(QByteArray, element);
    QList<QByteArray> fields = tellingFields();
    fields[recordFieldCount - 1] = '[' + element + ", <7>]";
    (*m_daemons)[SUPPLYD].answer("supplyInformation", '(' + wireStructure(fields) + ",)");
    const SupplyInformation record = m_client->supplyInformation();
    QCOMPARE(record.text1, tellingRecord().text1);
    QCOMPARE(record.variantList5.size(), 2);
    QCOMPARE(record.variantList5.at(1), QVariant(7));
}

// As large as the bus lets a message be.
void tst_HostileDaemon::largeAnswerArrives()
{
    m_daemons->stop(SUPPLYD);
    const int size = 31 * 1024 * 1024;
    std::thread daemon([]() {
        RawConnection connection;
        Message request(g_dbus_message_new_method_call("org.freedesktop.DBus", "/",
                                                       "org.freedesktop.DBus", "RequestName"));
        g_dbus_message_set_body(request.get(),
                                g_variant_new("(su)", identities[SUPPLYD].busName, 0u));
        connection.send(request.get());
        bool done = false;
        while (!done) {
            const Message call = connection.receive();
            const QByteArray member = g_dbus_message_get_member(call.get());
            if (g_dbus_message_get_message_type(call.get()) != G_DBUS_MESSAGE_TYPE_METHOD_CALL) {
                continue;
            }
            Message reply(g_dbus_message_new_method_reply(call.get()));
            if (member == "supplyBackgroundImage") {
                const QByteArray image(size, 'x');
                GVariant *const bytes = g_variant_new_fixed_array(
                    G_VARIANT_TYPE_BYTE, image.constData(), gsize(image.size()), 1);
                g_dbus_message_set_body(reply.get(), g_variant_new_tuple(&bytes, 1));
            } else if (member == "supplyId") {
                g_dbus_message_set_body(reply.get(),
                                        g_variant_new("(s)", QByteArray(size, 'y').constData()));
                done = true;
            }
            connection.send(reply.get());
        }
    });
    HNIPC client(0);
    QByteArray image;
    const bool arrived = waitUntil([&]() {
        image = client.supplyBackgroundImage(QLatin1String("S"));
        return !image.isEmpty();
    });
    const QString id = client.supplyId();
    daemon.join();
    QVERIFY(arrived);
    QVERIFY(image == QByteArray(size, 'x'));
    QVERIFY(id == QString(size, QLatin1Char('y')));
    QVERIFY(m_daemons->passFence());
    m_daemons->start(SUPPLYD);
}

void tst_HostileDaemon::introspectionDataDecidesNothing_data()
{
    QTest::addColumn<QByteArray>("xml");
    const QByteArray open = "<node><interface name='local.IHNIPCM4'>";
    const QByteArray close = "</interface></node>";
    QTest::newRow("blank") << QByteArray(" ");
    QTest::newRow("no XML") << QByteArray("The quick brown fox < & > \xc3\xa4 ]]>");
    QTest::newRow("cut off") << open + "<method name='getError'><arg type='i' dir";
    QTest::newRow("deep") << QByteArray("<node>").repeated(20000);
    QTest::newRow("huge") << open
            + QByteArray("<method name='getError'><arg type='i' direction='out'/></method>")
                  .repeated(20000)
            + close;
    QTest::newRow("other interface") << QByteArray(open).replace("M4", "SUPPLYD") + close;
    QTest::newRow("other types") << open
            + "<method name='getError'><arg type='s' direction='in'/><arg type='a{sv}' "
              "direction='out'/></method><signal name='M4_Error'><arg type='(ii)'/></signal>"
            + close;
    QTest::newRow("no types") << open
            + "<method name='getError'><arg type='?' direction='out'/>"
              "<arg type='' direction='in'/><arg/></method>"
            + close;
    QTest::newRow("no names") << open
            + "<method/><method name=''/><method name='1 2'/><signal/>"
              "<property/><property name='a' type='i' access='x'/>"
            + close;
    QTest::newRow("doctype")
        << QByteArray(
               "<!DOCTYPE node [<!ENTITY a 'aaaaaaaaaa'>"
               "<!ENTITY b '&a;&a;&a;&a;&a;&a;&a;&a;'><!ENTITY c '&b;&b;&b;&b;&b;&b;&b;&b;'>"
               "<!ENTITY d '&c;&c;&c;&c;&c;&c;&c;&c;'><!ENTITY e '&d;&d;&d;&d;&d;&d;&d;&d;'>"
               "<!ENTITY f '&e;&e;&e;&e;&e;&e;&e;&e;'><!ENTITY g '&f;&f;&f;&f;&f;&f;&f;&f;'>]>")
            + open + "<method name='&g;'/>" + close;
}

void tst_HostileDaemon::introspectionDataDecidesNothing()
{
    QFETCH(QByteArray, xml);
    m_daemons->stop(M4);
    (*m_daemons)[M4].setIntrospection(xml);
    (*m_daemons)[M4].answer("getError", "(5,)");
    m_daemons->start(M4);
    HNIPC late(0);
    QCOMPARE(m_client->getError(), 5);
    QCOMPARE(late.getError(), 5);
    QCOMPARE(m_daemons->takeCalls().size(), 2);
    QVERIFY(m_daemons->emitSignal(M4, "M4_Error", "(6,)"));
    QCOMPARE(relayed(), emission("Error(int)", QVariantList() << 6));
}

// By Qt: it sends the call and waits for no answer.
void tst_HostileDaemon::introspectionDataThatForbidsRepliesIsObeyed()
{
    m_daemons->stop(M4);
    (*m_daemons)[M4].setIntrospection(
        "<node><interface name='local.IHNIPCM4'><method name='getError'><annotation "
        "name='org.freedesktop.DBus.Method.NoReply' value='true'/></method></interface></node>");
    (*m_daemons)[M4].answer("getError", "(5,)");
    (*m_daemons)[M4].answer("getAlert", "(6,)");
    m_daemons->start(M4);
    QCOMPARE(m_client->getError(), 0);
    QCOMPARE(m_client->getAlert(), 6);
    QCOMPARE(m_daemons->takeCalls().size(), 2);
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const FaultyBus bus;
    tst_HostileDaemon test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_hostiledaemon.moc"
