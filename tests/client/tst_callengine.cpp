// SPDX-License-Identifier: MIT
#include "expected/clientslots.h"
#include "expected/record.h"
#include "support/fakedaemons.h"
#include "support/privatebus.h"

#include "client/hnipc_p.h"

#include <hnipc/hnipc.h>

#include <QtCore/QScopedPointer>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMetaType>

using namespace Expected;

namespace {

typedef QVariant (HNIPCPrivate::*Member)(HNIPCServer::ServerType, const QString &, const QVariant &,
                                         const QVariant &, const QVariant &, const QVariant &,
                                         const QVariant &);

struct Kind
{
    const char *name;
    Member member;
    const char *fits; // the only D-Bus type that fits as a reply
};

// No D-Bus type is a float; call<SupplyInformation>() accepts any type; call<void>() takes no
// value.
const Kind kinds[] = {
    { "void", &HNIPCPrivate::call<void>, "" },
    { "SupplyInformation", &HNIPCPrivate::call<SupplyInformation>, recordType },
    { "int", &HNIPCPrivate::call<int>, "i" },
    { "bool", &HNIPCPrivate::call<bool>, "b" },
    { "unsigned int", &HNIPCPrivate::call<unsigned int>, "u" },
    { "unsigned long long", &HNIPCPrivate::call<unsigned long long>, "t" },
    { "float", &HNIPCPrivate::call<float>, "" },
    { "double", &HNIPCPrivate::call<double>, "d" },
    { "QByteArray", &HNIPCPrivate::call<QByteArray>, "ay" },
    { "QString", &HNIPCPrivate::call<QString>, "s" },
    { "QStringList", &HNIPCPrivate::call<QStringList>, "as" },
    { "QList<QVariant>", &HNIPCPrivate::call<QList<QVariant>>, "av" },
    { "QMap<QString, QVariant>", &HNIPCPrivate::call<QMap<QString, QVariant>>, "a{sv}" },
    { "QHash<QString, QVariant>", &HNIPCPrivate::call<QHash<QString, QVariant>>, "a{sv}" },
};

const int kindCount = sizeof kinds / sizeof kinds[0];
const int recordKind = 1;

struct Reply
{
    const char *type;
    const char *wire;
    QVariant value; // in the kind that this reply fits
};

QList<Reply> replies()
{
    QVariantHash hash;
    hash.insert(QLatin1String("a"), 1);
    hash.insert(QLatin1String("b"), QLatin1String("text"));
    return {
        { "b", "true", true },
        { "i", "-5", -5 },
        { "u", "uint32 4294967295", 4294967295u },
        { "t", "uint64 18446744073709551615", 18446744073709551615ull },
        { "d", "0.1", 0.1 },
        { "s", "'text'", QLatin1String("text") },
        { "s", "''", QString() },
        { "as", "['a', '']", QStringList() << QLatin1String("a") << QLatin1String("") },
        { "as", "@as []", QStringList() },
        { "ay", "[byte 0x00, 0xff]", QByteArray("\0\xff", 2) },
        { "av", "[<1>, <'x'>]", QVariantList() << 1 << QLatin1String("x") },
        { "a{sv}", "{'a': <1>, 'b': <'text'>}", hash },
        { "y", "byte 0x05", QVariant() },
        { "n", "int16 -5", QVariant() },
        { "q", "uint16 5", QVariant() },
        { "x", "int64 -5", QVariant() },
        { "o", "objectpath '/a'", QVariant() },
        { "g", "signature 's'", QVariant() },
        { "v", "<5>", QVariant() },
        { "ai", "[1, 2]", QVariant() },
        { "ab", "[true]", QVariant() },
        { "ad", "[1.5]", QVariant() },
        { "ao", "[objectpath '/a']", QVariant() },
        { "aay", "[[byte 0x01]]", QVariant() },
        { "aas", "[['a']]", QVariant() },
        { "a{ss}", "{'a': 'b'}", QVariant() },
        { "a{si}", "{'a': 1}", QVariant() },
        { "a{iv}", "{1: <1>}", QVariant() },
        { "(i)", "(1,)", QVariant() },
        { "(ias)", "(1, ['a'])", QVariant() },
    };
}

// Not every version of Qt converts a hash to a map.
QVariantMap mapOf(const QVariantHash &hash)
{
    QVariantMap map;
    for (QVariantHash::const_iterator it = hash.constBegin(); it != hash.constEnd(); ++it) {
        map.insert(it.key(), it.value());
    }
    return map;
}

const char *signatureOfRecord()
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    return QDBusMetaType::typeToSignature(QMetaType::fromType<SupplyInformation>());
#else
    return QDBusMetaType::typeToSignature(qMetaTypeId<SupplyInformation>());
#endif
}

void addKinds()
{
    QTest::addColumn<int>("kind");
    for (int kind = 0; kind < kindCount; ++kind) {
        QTest::newRow(kinds[kind].name) << kind;
    }
}

} // namespace

// The blocking call, for each kind of result.
class tst_CallEngine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void recordTypeIsRegisteredWithoutADaemon();
    void resultIsOfExactlyTheKind_data();
    void resultIsOfExactlyTheKind();
    void doubleIsNoFloat();
    void intIsNoString();
    void plainValueForARecordGivesDefaultRecord();
    void successOfACallForVoidGivesNothing();
    void argumentsEndAtTheFirstInvalidOne_data();
    void argumentsEndAtTheFirstInvalidOne();
    void validArgumentBehindAnInvalidOneIsDropped();
    void nullArgumentIsSent();
    void methodNameIsSentUnchanged();
    void failureGivesNothing_data();
    void failureGivesNothing();
    void absentDaemonIsNotCalled_data();
    void absentDaemonIsNotCalled();
    void otherServerTypesAreNotCalled_data();
    void otherServerTypesAreNotCalled();
    void failureLeavesNothingBehind();
    void introspectionDataIsIgnored();

private:
    QVariant call(int kind, int server = M4, const QByteArray &method = "method",
                  const QVariant &a1 = QVariant(), const QVariant &a2 = QVariant(),
                  const QVariant &a3 = QVariant(), const QVariant &a4 = QVariant(),
                  const QVariant &a5 = QVariant())
    {
        return (m_private.data()->*kinds[kind].member)(
            HNIPCServer::ServerType(server), QString::fromLatin1(method), a1, a2, a3, a4, a5);
    }

    WirePeer &m4() { return (*m_daemons)[M4]; }

    QScopedPointer<FakeDaemons> m_daemons;
    QScopedPointer<HNIPC> m_client;
    QScopedPointer<HNIPCPrivate> m_private;
};

void tst_CallEngine::initTestCase()
{
    m_daemons.reset(new FakeDaemons);
    m_client.reset(new HNIPC(0));
    m_private.reset(new HNIPCPrivate(m_client.data()));
}

void tst_CallEngine::cleanupTestCase()
{
    m_private.reset();
    m_client.reset();
    m_daemons.reset();
}

void tst_CallEngine::init()
{
    m4().clearAnswers();
    m_daemons->takeCalls();
}

// Runs first: nothing may have called for a record before.
void tst_CallEngine::recordTypeIsRegisteredWithoutADaemon()
{
    QVERIFY(!signatureOfRecord());
    QVERIFY(!call(recordKind, 3).isValid());
    QCOMPARE(QByteArray(signatureOfRecord()), QByteArray(recordType));
}

void tst_CallEngine::resultIsOfExactlyTheKind_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QVariant>("expected");
    const QList<Reply> all = replies();
    for (int kind = 0; kind < kindCount; ++kind) {
        for (const Reply &reply : all) {
            QVariant expected;
            if (kind == recordKind) {
                expected = QVariant::fromValue(SupplyInformation());
            } else if (QByteArray(kinds[kind].fits) == reply.type) {
                expected = reply.value;
            }
            if (QByteArray(kinds[kind].name).startsWith("QMap") && expected.isValid()) {
                expected = mapOf(expected.toHash());
            }
            const QByteArray wire = reply.wire;
            const QByteArray row = wire + " for " + kinds[kind].name;
            QTest::newRow(row.constData()) << kind << '(' + wire + ",)" << expected;
            QTest::newRow((row + " before another").constData())
                << kind << '(' + wire + ", 'x')" << expected;
        }
    }
    QTest::newRow("a record for SupplyInformation")
        << recordKind << '(' + wireStructure(tellingFields()) + ",)"
        << QVariant::fromValue(tellingRecord());
}

void tst_CallEngine::resultIsOfExactlyTheKind()
{
    QFETCH(int, kind);
    QFETCH(QByteArray, body);
    QFETCH(QVariant, expected);
    m4().answer("method", body);
    const QVariant result = call(kind);
    QCOMPARE(result.isValid(), expected.isValid());
    QCOMPARE(result.userType(), expected.userType());
    if (kind == recordKind) {
        QCOMPARE(difference(result.value<SupplyInformation>(), expected.value<SupplyInformation>()),
                 QByteArray());
    } else {
        QCOMPARE(result, expected);
    }
    QCOMPARE(m4().calls().size(), 1);
}

void tst_CallEngine::doubleIsNoFloat()
{
    m4().answer("method", "(1.5,)");
    QVERIFY(!m_private->call<float>(HNIPCServer::M4, QLatin1String("method")).isValid());
}

void tst_CallEngine::intIsNoString()
{
    m4().answer("method", "(5,)");
    QVERIFY(!m_private->call<QString>(HNIPCServer::M4, QLatin1String("method")).isValid());
}

void tst_CallEngine::plainValueForARecordGivesDefaultRecord()
{
    m4().answer("method", "('text',)");
    const QVariant result = m_private->call<SupplyInformation>(HNIPCServer::M4,
                                                               QLatin1String("method"));
    QCOMPARE(result.userType(), qMetaTypeId<SupplyInformation>());
    QCOMPARE(difference(result.value<SupplyInformation>(), SupplyInformation()), QByteArray());
}

void tst_CallEngine::successOfACallForVoidGivesNothing()
{
    m4().answer("method", "()");
    const QVariant result = m_private->call<void>(HNIPCServer::M4, QLatin1String("method"));
    QVERIFY(!result.isValid());
    QVERIFY(result.isNull());
    QCOMPARE(m4().calls().size(), 1);
}

void tst_CallEngine::argumentsEndAtTheFirstInvalidOne_data() { addKinds(); }

void tst_CallEngine::argumentsEndAtTheFirstInvalidOne()
{
    QFETCH(int, kind);
    m4().answer("method", "()");
    const QVariant valid[] = { 1, QLatin1String("two"), 3u, true, 5ull };
    // clang-format off
    const char *const sent[] = { "()", "(1,)", "(1, 'two')", "(1, 'two', uint32 3)",
                                 "(1, 'two', uint32 3, true)",
                                 "(1, 'two', uint32 3, true, uint64 5)" };
    // clang-format on
    for (int mask = 0; mask < 32; ++mask) {
        QVariant arguments[5];
        for (int i = 0; i < 5; ++i) {
            if (mask & (1 << i)) {
                arguments[i] = valid[i];
            }
        }
        int run = 0;
        while (run < 5 && (mask & (1 << run))) {
            ++run;
        }
        call(kind, M4, "method", arguments[0], arguments[1], arguments[2], arguments[3],
             arguments[4]);
        const QList<WireMessage> calls = m_daemons->takeCalls();
        QCOMPARE(calls.size(), 1);
        QCOMPARE(calls.first().body, QByteArray(sent[run]));
    }
}

void tst_CallEngine::validArgumentBehindAnInvalidOneIsDropped()
{
    m_private->call<bool>(HNIPCServer::M4, QLatin1String("method"), QVariant(), 7, QVariant(),
                          QVariant(), QVariant());
    QCOMPARE(m4().calls().value(0).line(), QByteArray("/ local.IHNIPCM4.method  ()"));
}

void tst_CallEngine::nullArgumentIsSent()
{
    call(0, M4, "method", QVariant(QString()), QVariant(QStringList()), QVariant(QByteArray()));
    QCOMPARE(m4().calls().value(0).line(),
             QByteArray("/ local.IHNIPCM4.method sasay ('', @as [], @ay [])"));
}

void tst_CallEngine::methodNameIsSentUnchanged()
{
    call(0, SUPPLYD, "M4_Some_METHOD9");
    QCOMPARE((*m_daemons)[SUPPLYD].calls().value(0).line(),
             QByteArray("/ local.IHNIPCSUPPLYD.M4_Some_METHOD9  ()"));
}

void tst_CallEngine::failureGivesNothing_data() { addKinds(); }

void tst_CallEngine::failureGivesNothing()
{
    QFETCH(int, kind);
    m4().answerError("refused", "org.hnipc.Error.Refused", "no");
    m4().answerError("limit", "org.freedesktop.DBus.Error.LimitsExceeded", "");
    m4().answer("empty", "()");
    const char *const methods[] = { "unknown", "refused", "limit", "empty" };
    for (const char *const method : methods) {
        const QVariant result = call(kind, M4, method);
        QVERIFY2(!result.isValid() && result.isNull(), method);
        QCOMPARE(m_daemons->takeCalls().size(), 1);
    }

    // A daemon crashes before it replies: the bus sends an error in its place.
    m_daemons->stop(M4);
    {
        WirePeer mortal;
        mortal.leaveOn("method");
        QVERIFY(mortal.own(identities[M4].busName));
        QVERIFY(m_daemons->passFence());
        QVERIFY(!call(kind).isValid());
        QCOMPARE(mortal.calls().size(), 1);
    }
    QVERIFY(m_daemons->passFence());
    m_daemons->start(M4);
}

void tst_CallEngine::absentDaemonIsNotCalled_data() { addKinds(); }

void tst_CallEngine::absentDaemonIsNotCalled()
{
    QFETCH(int, kind);
    m4().answerAll("(1,)");
    m_daemons->stop(M4);
    WireMonitor monitor;
    const QVariant result = call(kind);
    QVERIFY(!result.isValid() && result.isNull());
    QVERIFY(monitor.takeCallsFrom(QDBusConnection::systemBus().baseService().toLatin1()).isEmpty());

    // The next call reaches the restarted daemon. No new client is needed.
    m_daemons->start(M4);
    call(kind);
    QCOMPARE(m4().calls().size(), 1);
}

void tst_CallEngine::otherServerTypesAreNotCalled_data() { addKinds(); }

void tst_CallEngine::otherServerTypesAreNotCalled()
{
    QFETCH(int, kind);
    WireMonitor monitor;
    QVERIFY(!call(kind, 3).isValid());
    QVERIFY(!call(kind, -1).isValid());
    QVERIFY(monitor.takeCallsFrom(QDBusConnection::systemBus().baseService().toLatin1()).isEmpty());
}

void tst_CallEngine::failureLeavesNothingBehind()
{
    m4().answerError("fails", "org.hnipc.Error.Failed", "");
    m4().answer("works", "(5,)");
    QVERIFY(!m_private->call<int>(HNIPCServer::M4, QLatin1String("fails")).isValid());
    QCOMPARE(m_private->call<int>(HNIPCServer::M4, QLatin1String("works")), QVariant(5));
    m4().answer("works", "(6,)");
    QCOMPARE(m_private->call<int>(HNIPCServer::M4, QLatin1String("works")), QVariant(6));
    QVERIFY(!m_private->call<int>(HNIPCServer::M4, QLatin1String("fails")).isValid());
}

void tst_CallEngine::introspectionDataIsIgnored()
{
    m_daemons->stop(M4);
    m4().setIntrospection("<node><interface name='local.IHNIPCM4'><method name='known'>"
                          "<arg type='i' direction='in'/><arg type='s' direction='out'/>"
                          "</method></interface></node>");
    const int before = m4().introspections();
    m_daemons->start(M4);
    QVERIFY(m4().introspections() > before);

    const char *const methods[] = { "known", "unknown" };
    for (const char *const method : methods) {
        m4().answer(method, "(5,)");
        QCOMPARE(m_private->call<int>(HNIPCServer::M4, QLatin1String(method)), QVariant(5));
        QCOMPARE(m4().calls().last().body, QByteArray("()"));
    }
    QCOMPARE(m4().calls().size(), 2);
}

HNIPC_TEST_MAIN(tst_CallEngine)

#include "tst_callengine.moc"
