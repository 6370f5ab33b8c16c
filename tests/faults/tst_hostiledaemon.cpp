// SPDX-License-Identifier: MIT
#include "chance.h"
#include "expected/clientsignals.h"
#include "expected/clientslots.h"
#include "expected/samples.h"
#include "rawwire.h"
#include "support/fakedaemons.h"
#include "support/memory.h"
#include "support/privatebus.h"
#include "support/program.h"
#include "support/qtmajors.h"
#include "support/signalrecorder.h"

#include <hnipc/hnipc.h>

#include <QtTest/QSignalSpy>
#include <QtTest/QTest>

#include <functional>
#include <thread>

#include <sys/resource.h>

using namespace Expected;

// A client, and daemons that send anything that D-Bus can carry.
class tst_HostileDaemon : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void randomSignalsAreRelayedOnlyWhereTheyFit();
    void misfitIsNotRelayed_data();
    void misfitIsNotRelayed();
    void containerEndsTheClient_data();
    void containerEndsTheClient();
    void randomAnswersAreTakenOnlyWhereTheyFit();
    void deepRecordIsRead_data();
    void deepRecordIsRead();
    void largestMessageArrives();
    void signalsWaitForTheEventLoop();
    void signalsAboveTheLimitBlockTheClient();
    void introspectionDataIsIgnored_data();
    void introspectionDataIsIgnored();
    void introspectionDataThatForbidsRepliesIsObeyed();

private:
    QByteArray relayed()
    {
        return m_daemons->passFence() ? joined(m_recorder->take(), "\n") : "the fence is lost";
    }

    QByteArray outcomeOfSignalsThatWait(int mebibytes);

    std::unique_ptr<FakeDaemons> m_daemons;
    std::unique_ptr<HNIPC> m_client;
    std::unique_ptr<SignalRecorder> m_recorder;
};

namespace {

QList<QByteArray> typesOf(const QByteArray &signature)
{
    const int open = signature.indexOf('(');
    const QByteArray types = signature.mid(open + 1, signature.size() - open - 2);
    return types.isEmpty() ? QList<QByteArray>() : types.split(',');
}

// The D-Bus types of the client's signal.
QList<QByteArray> wireTypesOf(const ClientSignal &row)
{
    QList<QByteArray> result;
    const QList<QByteArray> types = typesOf(withoutAliases(row.signature));
    for (const QByteArray &type : types) {
        result += type == "bool"   ? "b"
            : type == "int"        ? "i"
            : type == "uint"       ? "u"
            : type == "qulonglong" ? "t"
            : type == "double"     ? "d"
            : type == "QString"    ? "s"
                                   : "as";
    }
    return result;
}

// True for a structure, a dictionary or a list that Qt does not read by itself.
bool isForeign(const QByteArray &type)
{
    return type.startsWith('(') || (type.startsWith('a') && type != "as" && type != "ay");
}

// True if Qt aborts a client that receives this: an argument is a foreign container, and the other
// arguments do not prevent the delivery of the signal.
bool endsTheClient(const QList<QByteArray> &taken, const QList<QByteArray> &sent)
{
    bool ends = false;
    for (int i = 0; i < taken.size(); ++i) {
        if (i >= sent.size() || (sent.at(i) != taken.at(i) && !isForeign(sent.at(i)))) {
            return false;
        }
        ends = ends || isForeign(sent.at(i));
    }
    return ends;
}

// The right types, the same with one missing, changed or added, or random ones.
QList<QByteArray> randomTypes(Chance *chance, RandomValues *random, QList<QByteArray> right)
{
    switch (chance->below(6)) {
    case 0:
        right.clear();
        for (int count = chance->below(4); count > 0; --count) {
            right.append(random->type(5));
        }
        break;
    case 1:
        right.append(random->type(5));
        break;
    case 2:
        if (!right.isEmpty()) {
            right[chance->below(int(right.size()))] = random->type(5);
        }
        break;
    case 3:
        if (!right.isEmpty()) {
            right.removeLast();
        }
        break;
    default:
        break;
    }
    return right;
}

QByteArray text(GVariant *body)
{
    const Value value(g_variant_ref_sink(body));
    gchar *const printed = g_variant_print(value.get(), TRUE);
    const QByteArray result(printed);
    g_free(printed);
    return result;
}

// A client in a process of its own, because Qt may abort it.
int runListener(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const rlimit none = {};
    setrlimit(RLIMIT_CORE, &none);
    if (!freopen("/dev/null", "w", stderr)) {
        return 1;
    }
    HNIPC client;
    QObject::connect(&client, SIGNAL(Alert(int)), &application, SLOT(quit()));
    // Later messages may overtake those that arrive before the event loop first turns.
    QCoreApplication::processEvents();
    printf("listening\n");
    fflush(stdout);
    return application.exec();
}

// libdbus stops reading while a program holds 63 MiB of messages.
const int mostThatWait = 63;

// A client whose event loop is blocked until this many signals of 1 MiB wait for it: each as it was
// received, and as a QString.
int runBusyListener(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const int waiting = qMin(QByteArray(argv[2]).toInt(), mostThatWait);
    HNIPC client;
    QSignalSpy heard(&client, SIGNAL(M4MessageSent(QString)));
    QCoreApplication::processEvents();
    const long enough = residentKilobytes(getpid()) + waiting * 3 * 1024;
    printf("listening\n");
    fflush(stdout);
    // An emulator needs memory of its own, so the memory also has to stay the same for a second.
    long before = -1;
    long now = residentKilobytes(getpid());
    while (now < enough || now != before) {
        QTest::qSleep(now < enough ? 1 : 1000);
        before = now;
        now = residentKilobytes(getpid());
    }
    waitUntil([&]() { return heard.size() >= waiting; });
    const int answer = client.getError();
    QCoreApplication::processEvents();
    printf("outcome %d heard, answered %d\n", int(heard.size()), answer);
    return 0;
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

void tst_HostileDaemon::randomSignalsAreRelayedOnlyWhereTheyFit()
{
    const int batches = timesFromEnvironment("HNIPC_SIGNALS", 5000) / 50;
    Chance chance;
    RandomValues random(&chance);
    WirePeer stranger;
    int relayedCount = 0;
    long before = 0;
    for (int batch = 0; batch < batches; ++batch) {
        QList<QByteArray> expected;
        QByteArray sent;
        for (int i = 0; i < 50; ++i) {
            const ClientSignal *row = &chance.of(clientSignals);
            while (!row->member) { // no daemon sends this signal
                row = &chance.of(clientSignals);
            }
            const int sender = chance.oneIn(10) ? chance.below(ServerCount + 1) : int(row->server);
            const int interface = chance.oneIn(20) ? chance.below(ServerCount) : int(row->server);
            const QByteArray path = chance.oneIn(20) ? "/a" : "/";
            const QByteArray member = chance.oneIn(20) ? "a" : row->member;
            const bool isDaemons = sender == row->server && interface == row->server && path == "/"
                && member == row->member;
            const QList<QByteArray> taken = wireTypesOf(*row);
            QList<QByteArray> types;
            do {
                types = randomTypes(&chance, &random, taken);
            } while (isDaemons && endsTheClient(taken, types));

            WirePeer &peer = sender < ServerCount ? (*m_daemons)[sender] : stranger;
            const QByteArray body = text(random.body(joined(types)));
            QVERIFY(peer.emitSignal(path, identities[interface].interface, member, body));
            sent += member + ' ' + joined(types) + '\n';
            if (isDaemons && types.mid(0, taken.size()) == taken) {
                expected.append(withoutAliases(row->signature));
            }
        }
        QVERIFY(m_daemons->passFence());
        QList<QByteArray> names;
        const QList<QByteArray> lines = m_recorder->take();
        for (const QByteArray &line : lines) {
            names.append(line.left(line.indexOf(' ')));
        }
        QVERIFY2(names == expected, sent.constData());
        relayedCount += int(names.size());
        if (batch <= batches / 2) {
            before = heapInUse();
        }
    }
    const long growth = heapInUse() - before;
    QVERIFY2(growth < 500 * 1000, QByteArray::number(qlonglong(growth)).constData());
    QVERIFY(relayedCount > 0 && relayedCount < batches * 50);
    printf("%d signals, %d relayed; growth %ld bytes\n", batches * 50, relayedCount, growth);
}

void tst_HostileDaemon::misfitIsNotRelayed_data()
{
    QTest::addColumn<QByteArray>("member");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("heard");
    const auto add = [](const char *name, const char *member, const char *body,
                        const QByteArray &heard) {
        QTest::newRow(name) << QByteArray(member) << QByteArray(body) << heard;
    };
    add("nothing", "M4_Error", "()", "");
    add("text", "M4_Error", "('1',)", "");
    add("other number", "M4_Error", "(uint32 1,)", "");
    add("bytes", "M4_Error", "([byte 1],)", "");
    add("texts", "M4_Error", "(['1'],)", "");
    add("text for texts", "M4_M4RibbonIDs", "('a',)", "");
    add("variant", "M4_Error", "(<1>,)", "");
    add("container in a variant", "M4_Error", "(<[(1, {'a': <2>})]>,)", "");
    add("container before a misfit", "M4_M4UserSetting", "([1], '2')", "");
    add("container behind a misfit", "M4_M4UserSetting", "('1', [2])", "");
    add("container and too few", "M4_M4UserSetting", "([1],)", "");
    add("container of no argument", "M4_Error", "(5, [1], (1, 2), {'a': 1})",
        emission("Error(int)", { 5 }));
    add("container where none is taken", "M4_M4PrintDone", "([1], (1, 2))",
        emission("M4PrintDone()"));
}

void tst_HostileDaemon::misfitIsNotRelayed()
{
    QFETCH(QByteArray, member);
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, heard);
    QVERIFY(m_daemons->emitSignal(M4, member, body));
    QCOMPARE(relayed(), heard);
}

void tst_HostileDaemon::containerEndsTheClient_data()
{
    QTest::addColumn<QByteArray>("member");
    QTest::addColumn<QByteArray>("body");
    const auto add = [](const char *name, const char *member, const char *body) {
        QTest::newRow(name) << QByteArray(member) << QByteArray(body);
    };
    add("structure", "M4_Error", "((1, 'x'),)");
    add("dictionary", "M4_Error", "({'a': <1>},)");
    add("empty dictionary", "M4_Error", "(@a{sv} {},)");
    add("list of numbers", "M4_Error", "([1, 2],)");
    add("empty list of numbers", "M4_Error", "(@ai [],)");
    add("list of truth values", "M4_Error", "([true],)");
    add("list of variants", "M4_Error", "([<1>],)");
    add("list of paths", "M4_Error", "([objectpath '/'],)");
    add("list of structures", "M4_Error", "([(1, 'x')],)");
    add("list of lists", "M4_Error", "([['a']],)");
    add("for a text", "M4_M4MessageSent", "([1],)");
    add("for a list of texts", "M4_M4RibbonIDs", "([1],)");
    add("the second of two", "M4_M4UserSetting", "(1, [2])");
    add("followed by more", "M4_Error", "([1], 'x')");
}

// Qt aborts it. docs/failures.md, docs/reliability.md and docs/troubleshooting.md say so: change them
// when this test fails.
void tst_HostileDaemon::containerEndsTheClient()
{
    QFETCH(QByteArray, member);
    QFETCH(QByteArray, body);
    m_recorder.reset();
    m_client.reset(); // only the other process receives the signal
    const std::unique_ptr<Program> client(Program::part("listener"));
    QVERIFY(waitUntil([&]() { return client->hasSaid("listening"); }));
    QVERIFY(m_daemons->emitSignal(M4, member, body));
    QVERIFY(m_daemons->emitSignal(M4, "M4_Alert", "(0,)"));
    QCOMPARE(client->ending(), QByteArray("it crashed"));
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
            // A structure whose first members are as those of the record.
            QByteArray fields;
            for (int count = chance.below(30); count > 0; --count) {
                fields += recordFields[fields.isEmpty() ? 0 : chance.below(30)].type;
            }
            types = '(' + (fields.isEmpty() ? QByteArray("s") : fields) + random.type(6) + ')';
        }
        (*m_daemons)[slot.server].answer(signature.left(signature.indexOf('(')),
                                         text(random.body(types)));
        const QVariant result = slot.call.invoke(*m_client, values(argumentSamples(signature, 0)));
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
    // One message can nest 32 arrays or structures in each other, and 64 containers in total.
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

// A bus of type system allows messages of 32 MiB.
void tst_HostileDaemon::largestMessageArrives()
{
    m_daemons->stop(SUPPLYD);
    m_recorder.reset();                      // it stores everything that it receives
    const int size = 32 * 1024 * 1024 - 256; // leaves room for the header
    const QByteArray image(size, 'x');
    const QByteArray longText(size, 'y');
    std::thread daemon([&]() {
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
                GVariant *const bytes = g_variant_new_fixed_array(
                    G_VARIANT_TYPE_BYTE, image.constData(), gsize(image.size()), 1);
                g_dbus_message_set_body(reply.get(), g_variant_new_tuple(&bytes, 1));
            } else if (member == "supplyId") {
                g_dbus_message_set_body(reply.get(), g_variant_new("(s)", longText.constData()));
            } else if (member == "applicationWasClicked") {
                Message signal(g_dbus_message_new_signal("/", identities[SUPPLYD].interface,
                                                         "SUPPLYD_SupplyRGBChanged"));
                g_dbus_message_set_body(signal.get(), g_variant_new("(s)", longText.constData()));
                connection.send(signal.get());
                done = true;
            }
            connection.send(reply.get());
        }
    });
    HNIPC client(0);
    QByteArray answeredImage;
    const bool arrived = waitUntil([&]() {
        answeredImage = client.supplyBackgroundImage(QLatin1String("S"));
        return !answeredImage.isEmpty();
    });
    const QString answeredText = client.supplyId();
    QSignalSpy heard(&client, SIGNAL(SupplyRGBChanged(QString)));
    client.applicationWasClicked();
    daemon.join();
    QVERIFY(arrived);
    QVERIFY(answeredImage == image);
    QVERIFY(answeredText == QLatin1String(longText));
    QVERIFY(waitUntil([&]() { return !heard.isEmpty(); }));
    QVERIFY(heard.first().first().toString() == QLatin1String(longText));
    QVERIFY(m_daemons->passFence());
    m_daemons->start(SUPPLYD);
}

QByteArray tst_HostileDaemon::outcomeOfSignalsThatWait(int mebibytes)
{
    m_recorder.reset();
    m_client.reset(); // only the other process receives them
    (*m_daemons)[M4].answer("getError", "(5,)");
    const std::unique_ptr<Program> client(
        Program::part("busy-listener", QStringList(QString::number(mebibytes))));
    if (!waitUntil([&]() { return client->hasSaid("listening"); })) {
        return "no client";
    }
    const QByteArray body = "('" + QByteArray(1024 * 1024, 'x') + "',)";
    for (int i = 0; i < mebibytes; ++i) {
        m_daemons->emitSignal(M4, "M4_M4MessageSent", body);
    }
    return client->wordAfter("outcome");
}

void tst_HostileDaemon::signalsWaitForTheEventLoop()
{
    if (QT_VERSION < QT_VERSION_CHECK(5, 0, 0)) {
        HNIPC_SKIP("Qt 4 reads only in the event loop");
    }
    if (residentKilobytes(getpid()) == untold) {
        HNIPC_SKIP(HNIPC_WHY_UNTOLD);
    }
    QCOMPARE(outcomeOfSignalsThatWait(mostThatWait - 1), QByteArray("62 heard, answered 5"));
}

// Even when libdbus could read further, Qt prevents it. The call waits for Qt's timeout.
void tst_HostileDaemon::signalsAboveTheLimitBlockTheClient()
{
    if (QT_VERSION < QT_VERSION_CHECK(5, 0, 0)) {
        HNIPC_SKIP("Qt 4 reads only in the event loop");
    }
    if (residentKilobytes(getpid()) == untold) {
        HNIPC_SKIP(HNIPC_WHY_UNTOLD);
    }
    if (qgetenv("HNIPC_LONG_TIMEOUT").isEmpty()) {
        HNIPC_SKIP("it waits for 25 seconds, only with HNIPC_LONG_TIMEOUT");
    }
    QCOMPARE(outcomeOfSignalsThatWait(mostThatWait + 3), QByteArray("63 heard, answered 0"));
}

void tst_HostileDaemon::introspectionDataIsIgnored_data()
{
    QTest::addColumn<QByteArray>("xml");
    const QByteArray open = "<node><interface name='local.IHNIPCM4'>";
    const QByteArray close = "</interface></node>";
    // Qt 4 needs minutes for more.
    const int manyMethods = QT_VERSION < QT_VERSION_CHECK(5, 0, 0) ? 2000 : 20000;
    QTest::newRow("blank") << QByteArray(" ");
    QTest::newRow("no XML") << QByteArray("The quick brown fox < & > \xc3\xa4 ]]>");
    QTest::newRow("cut off") << open + "<method name='getError'><arg type='i' dir";
    QTest::newRow("deep") << QByteArray("<node>").repeated(20000);
    QTest::newRow("huge") << open
            + QByteArray("<method name='getError'><arg type='i' direction='out'/></method>")
                  .repeated(manyMethods)
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

void tst_HostileDaemon::introspectionDataIsIgnored()
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

// Qt sends the call and does not wait for a reply.
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
    if (argc > 1 && QByteArray(argv[1]) == "listener") {
        return runListener(argc, argv);
    }
    if (argc > 1 && QByteArray(argv[1]) == "busy-listener") {
        return runBusyListener(argc, argv);
    }
    QCoreApplication application(argc, argv);
    const PrivateBus bus;
    tst_HostileDaemon test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_hostiledaemon.moc"
