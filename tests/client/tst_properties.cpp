// SPDX-License-Identifier: MIT
#include "expected/samples.h"
#include "support/fakedaemons.h"
#include "support/privatebus.h"
#include "support/signalrecorder.h"

#include <hnipc/hnipc.h>

#include <QtCore/QMetaProperty>
#include <QtCore/QScopedPointer>

using namespace Expected;

namespace {

struct Property
{
    const char *name;
    const char *type;
    Server server;
    const char *method;
    const char *call;   // what a read sends: D-Bus types and body
    const char *signal; // the daemon's signal that has it read again
    const char *body;
    const char *emission;
};

const Property properties[] = {
    { "qmlSupplyPercent", "double", SUPPLYD, "supplySupplyPercent", " ()",
      "SUPPLYD_SupplyPercentChanged", "(1.5,)", "SupplyPercentChanged(double)" },
    { "qmlSupplyColorRGB", "QString", SUPPLYD, "supplySupplyRGB", "s ('',)",
      "SUPPLYD_SupplyRGBChanged", "('x',)", "SupplyRGBChanged(QString)" },
    { "qmlRibbonPercent", "double", SUPPLYD, "supplyRibbon1Percent", " ()",
      "SUPPLYD_Ribbon1PercentChanged", "(1.5,)", "Ribbon1PercentChanged(double)" },
    { "qmlRibbonColorRGBs", "QStringList", SUPPLYD, "supplyRibbon1RGBs", "s ('',)",
      "SUPPLYD_Ribbon1RGBsChanged", "(['x'],)", "Ribbon1RGBsChanged(QStringList)" },
    { "qmlSupplySKU", "QString", SUPPLYD, "supplySKUCached", "s ('',)", "SUPPLYD_SupplyChanged",
      "('sku', 'printer')", "SupplyChanged(QString,QString)" },
    { "qmlPrintEngineErrorCode", "int", M4, "getError", " ()", "M4_Error", "(99,)", "Error(int)" },
    { "qmlPrintEngineAlertCode", "int", M4, "getAlert", " ()", "M4_Alert", "(99,)", "Alert(int)" },
    { "qmlBatteryStatus", "int", M4, "getBatteryStatus", " ()", "M4_M4BatteryUpdate", "(99,)",
      "M4BatteryUpdate(int)" },
};

const int propertyCount = sizeof properties / sizeof properties[0];

void addProperties()
{
    QTest::addColumn<int>("index");
    for (int index = 0; index < propertyCount; ++index) {
        QTest::newRow(properties[index].name) << index;
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
    WirePeer &daemon(const Property &property) { return (*m_daemons)[property.server]; }

    QScopedPointer<FakeDaemons> m_daemons;
    QScopedPointer<HNIPC> m_client;
};

static QByteArray readCall(const Property &property)
{
    return QByteArray("/ ") + identities[property.server].interface + '.' + property.method + ' '
        + property.call;
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
    const Property &property = properties[index];
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
    const Property &property = properties[index];
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
    const QVariant value = samplesOf(properties[index].type).at(1).value;
    SignalRecorder recorder(m_client.data());
    QVERIFY(!m_client->setProperty(properties[index].name, value));
    QVERIFY(!metaProperty(index).write(m_client.data(), value));
    QVERIFY(!metaProperty(index).reset(m_client.data()));
    QVERIFY(m_daemons->takeCalls().isEmpty());
    QVERIFY(recorder.take().isEmpty());
}

void tst_Properties::daemonSignalNotifiesAndTheNextReadAsksTheDaemon_data() { addProperties(); }

void tst_Properties::daemonSignalNotifiesAndTheNextReadAsksTheDaemon()
{
    QFETCH(int, index);
    const Property &property = properties[index];
    const QMetaMethod notify = metaProperty(index).notifySignal();
    QCOMPARE(signatureOf(notify), QByteArray(property.emission));
    const Sample current = samplesOf(property.type).at(1);
    daemon(property).answer(property.method, '(' + current.wire + ",)");

    SignalRecorder recorder(m_client.data());
    QVERIFY(m_daemons->emitSignal(property.server, property.signal, property.body));
    QVERIFY(m_daemons->passFence());
    const QList<QByteArray> emissions = recorder.take();
    QCOMPARE(emissions.size(), 1);
    QVERIFY(emissions.first().startsWith(QByteArray(property.emission) + ' '));
    // The library reads nothing by itself.
    QVERIFY(m_daemons->takeCalls().isEmpty());

    // The value is the daemon's answer, not what the signal carried.
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
    for (int index = 0; index < propertyCount; ++index) {
        QVERIFY(signatureOf(metaProperty(index).notifySignal()) != "Ribbon2PercentChanged(double)");
    }
    QVERIFY(m_daemons->takeCalls().isEmpty());
}

HNIPC_TEST_MAIN(tst_Properties)

#include "tst_properties.moc"
