// SPDX-License-Identifier: MIT
#include "expected/properties.h"
#include "expected/samples.h"
#include "support/fakedaemons.h"
#include "support/privatebus.h"
#include "support/signalrecorder.h"

#include <hnipc/hnipc.h>

#include <QtCore/QMetaProperty>
#include <QtCore/QScopedPointer>

using namespace Expected;

namespace {

void addProperties()
{
    QTest::addColumn<int>("index");
    for (int index = 0; index < clientPropertyCount; ++index) {
        QTest::newRow(clientProperties[index].name) << index;
    }
}

QMetaProperty metaProperty(int index)
{
    const QMetaObject &meta = HNIPC::staticMetaObject;
    return meta.property(meta.propertyOffset() + index);
}

} // namespace

// The values that QML screens bind to.
class tst_Properties : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void eachReadIsOneCall_data();
    void eachReadIsOneCall();
    void absentOrFailingDaemonReadsAsEmpty_data();
    void absentOrFailingDaemonReadsAsEmpty();
    void writeIsRefused_data();
    void writeIsRefused();
    void daemonSignalNotifiesAndTheNextReadAsksTheDaemon_data();
    void daemonSignalNotifiesAndTheNextReadAsksTheDaemon();
    void secondRibbonNotifiesNoProperty();

private:
    WirePeer &daemon(const ClientProperty &property) { return (*m_daemons)[property.server]; }

    QScopedPointer<FakeDaemons> m_daemons;
    QScopedPointer<HNIPC> m_client;
};

static QByteArray readCall(const ClientProperty &property)
{
    return QByteArray("/ ") + identities[property.server].interface + '.' + property.method + ' '
        + (qstrcmp(property.body, "()") == 0 ? " " : "s ") + property.body;
}

void tst_Properties::initTestCase()
{
    m_daemons.reset(new FakeDaemons);
    m_client.reset(new HNIPC(0));
}

void tst_Properties::cleanupTestCase()
{
    m_client.reset();
    m_daemons.reset();
}

void tst_Properties::init() { m_daemons->takeCalls(); }

void tst_Properties::eachReadIsOneCall_data() { addProperties(); }

void tst_Properties::eachReadIsOneCall()
{
    QFETCH(int, index);
    const ClientProperty &property = clientProperties[index];
    const QList<Sample> samples = samplesOf(property.type);
    for (const Sample &sample : samples) {
        daemon(property).answer(property.method, '(' + sample.wire + ",)");
        QVERIFY2(same(m_client->property(property.name), sample.value), sample.wire.constData());
        QVERIFY2(same(metaProperty(index).read(m_client.data()), sample.value),
                 sample.wire.constData());
        const QList<WireMessage> calls = m_daemons->takeCalls();
        QCOMPARE(calls.size(), 2);
        QCOMPARE(calls.at(0).line(), readCall(property));
        QCOMPARE(calls.at(1).line(), readCall(property));
    }
}

void tst_Properties::absentOrFailingDaemonReadsAsEmpty_data() { addProperties(); }

void tst_Properties::absentOrFailingDaemonReadsAsEmpty()
{
    QFETCH(int, index);
    const ClientProperty &property = clientProperties[index];
    const QVariant empty = samplesOf(property.type).first().value;
    daemon(property).answerError(property.method, "org.hnipc.Error.Failed", "no");
    QVERIFY(sameOnFailure(m_client->property(property.name), empty));

    daemon(property).answer(property.method, '(' + samplesOf(property.type).at(1).wire + ",)");
    m_daemons->stop(property.server);
    QVERIFY(sameOnFailure(m_client->property(property.name), empty));
    m_daemons->start(property.server);
    QVERIFY(same(m_client->property(property.name), samplesOf(property.type).at(1).value));
}

void tst_Properties::writeIsRefused_data() { addProperties(); }

void tst_Properties::writeIsRefused()
{
    QFETCH(int, index);
    const QVariant value = samplesOf(clientProperties[index].type).at(1).value;
    SignalRecorder recorder(m_client.data());
    QVERIFY(!m_client->setProperty(clientProperties[index].name, value));
    QVERIFY(!metaProperty(index).write(m_client.data(), value));
    QVERIFY(!metaProperty(index).reset(m_client.data()));
    QVERIFY(m_daemons->takeCalls().isEmpty());
    QVERIFY(recorder.take().isEmpty());
}

void tst_Properties::daemonSignalNotifiesAndTheNextReadAsksTheDaemon_data() { addProperties(); }

void tst_Properties::daemonSignalNotifiesAndTheNextReadAsksTheDaemon()
{
    QFETCH(int, index);
    const ClientProperty &property = clientProperties[index];
    const QMetaMethod notify = metaProperty(index).notifySignal();
    const QByteArray signature = withoutAliases(notifierOf(property).signature);
    QCOMPARE(signatureOf(notify), signature);
    const Sample current = samplesOf(property.type).at(1);
    daemon(property).answer(property.method, '(' + current.wire + ",)");

    SignalRecorder recorder(m_client.data());
    QVERIFY(m_daemons->emitSignal(property.server, property.member,
                                  wireBody(argumentSamples(signature, 2))));
    QVERIFY(m_daemons->passFence());
    const QList<QByteArray> emissions = recorder.take();
    QCOMPARE(emissions.size(), 1);
    QVERIFY(emissions.first().startsWith(signature + ' '));
    // The library does not read the value by itself.
    QVERIFY(m_daemons->takeCalls().isEmpty());

    // The value is the daemon's reply, not the argument of the signal.
    QVERIFY(same(m_client->property(property.name), current.value));
    const QList<WireMessage> calls = m_daemons->takeCalls();
    QCOMPARE(calls.size(), 1);
    QCOMPARE(calls.first().line(), readCall(property));
}

void tst_Properties::secondRibbonNotifiesNoProperty()
{
    SignalRecorder recorder(m_client.data());
    QVERIFY(m_daemons->emitSignal(SUPPLYD, "SUPPLYD_Ribbon2PercentChanged", "(1.5,)"));
    QVERIFY(m_daemons->passFence());
    QCOMPARE(
        recorder.take(),
        QList<QByteArray>() << emission("Ribbon2PercentChanged(double)", QVariantList() << 1.5));
    for (int index = 0; index < clientPropertyCount; ++index) {
        QVERIFY(signatureOf(metaProperty(index).notifySignal()) != "Ribbon2PercentChanged(double)");
    }
    QVERIFY(m_daemons->takeCalls().isEmpty());
}

HNIPC_TEST_MAIN(tst_Properties)

#include "tst_properties.moc"
