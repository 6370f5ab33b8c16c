// SPDX-License-Identifier: MIT
#include "expected/clientsignals.h"
#include "expected/clientslots.h"
#include "expected/properties.h"
#include "expected/samples.h"
#include "support/privatebus.h"
#include "support/signalrecorder.h"
#include "support/signature.h"

#include <hnipc/hnipc.h>

#include <QtCore/QMetaProperty>

#include <type_traits>

using namespace Expected;

namespace {

QMetaMethod method(int index)
{
    return HNIPC::staticMetaObject.method(HNIPC::staticMetaObject.methodOffset() + index);
}

QList<QByteArray> names(const char *list)
{
    return QByteArray(list).isEmpty() ? QList<QByteArray>() : QByteArray(list).split(',');
}

// Compiles only if the client declares the signal with exactly these parameters.
class Probe : public HNIPC
{
    template <typename Expected, typename Declared>
    static void passes(Declared)
    {
        static_assert(std::is_same<Expected, Declared>::value, "parameters are passed otherwise");
    }

public:
    static void checkPassing()
    {
        passes<bool (HNIPC::*)()>(&Probe::CancelButton);
        passes<bool (HNIPC::*)()>(&Probe::HelpButton);
        passes<bool (HNIPC::*)()>(&Probe::PrintButton);
        passes<bool (HNIPC::*)(const QString &)>(&Probe::M4MessageReceived);
        passes<bool (HNIPC::*)(const QString &)>(&Probe::M4MessageSent);
        passes<bool (HNIPC::*)(const QString &)>(&Probe::M4Version);
        passes<bool (HNIPC::*)(const quint32 &)>(&Probe::M4Dac0);
        passes<bool (HNIPC::*)(const quint32 &)>(&Probe::M4BMark);
        passes<bool (HNIPC::*)(const quint32 &)>(&Probe::M4Gap);
        passes<bool (HNIPC::*)(const quint32 &)>(&Probe::M4PreCutter);
        passes<bool (HNIPC::*)(const quint32 &)>(&Probe::M4RibbonClr1);
        passes<bool (HNIPC::*)(const quint32 &)>(&Probe::M4RibbonClr2);
        passes<bool (HNIPC::*)(const quint32 &)>(&Probe::M4RibbonEnc1);
        passes<bool (HNIPC::*)(const quint32 &)>(&Probe::M4RibbonEnc2);
        passes<bool (HNIPC::*)(const quint32 &)>(&Probe::M4RibbonEnc3);
        passes<bool (HNIPC::*)(const quint32 &)>(&Probe::M4RibbonEnc4);
        passes<bool (HNIPC::*)(const bool &)>(&Probe::M4CutterCover);
        passes<bool (HNIPC::*)(const bool &)>(&Probe::M4CutterHome);
        passes<bool (HNIPC::*)(const bool &)>(&Probe::M4PrinterLid);
        passes<bool (HNIPC::*)(const quint32 &)>(&Probe::M4SupplySensor);
        passes<bool (HNIPC::*)(const bool &)>(&Probe::M4SupplyLatch);
        passes<bool (HNIPC::*)(const quint32 &)>(&Probe::M4Film1Tach);
        passes<bool (HNIPC::*)(const quint32 &)>(&Probe::M4Film2Tach);
        passes<bool (HNIPC::*)(const quint32 &)>(&Probe::M4Film3Tach);
        passes<bool (HNIPC::*)(const quint32 &)>(&Probe::M4Film4Tach);
        passes<bool (HNIPC::*)()>(&Probe::M4PrintDone);
        passes<bool (HNIPC::*)(const quint64 &)>(&Probe::M4RibbonVerify1);
        passes<bool (HNIPC::*)(const quint64 &)>(&Probe::M4RibbonVerify2);
        passes<bool (HNIPC::*)()>(&Probe::M4Tph1Fault);
        passes<bool (HNIPC::*)()>(&Probe::M4Tph2Fault);
        passes<bool (HNIPC::*)(const QString &)>(&Probe::M4SupplyID);
        passes<bool (HNIPC::*)(const QStringList &)>(&Probe::M4RibbonIDs);
        passes<bool (HNIPC::*)(const QString &)>(&Probe::M4SupplyUID);
        passes<bool (HNIPC::*)(const QString &)>(&Probe::M4Ribbon1UID);
        passes<bool (HNIPC::*)(const QString &)>(&Probe::M4Ribbon2UID);
        passes<bool (HNIPC::*)(const qint32 &)>(&Probe::M4Ribbon1Mileage);
        passes<bool (HNIPC::*)(const qint32 &)>(&Probe::M4Ribbon2Mileage);
        passes<bool (HNIPC::*)(const qint32 &)>(&Probe::M4SupplyMileage);
        passes<bool (HNIPC::*)(const qint32 &)>(&Probe::M4BatteryUpdate);
        passes<bool (HNIPC::*)(int)>(&Probe::Error);
        passes<bool (HNIPC::*)(int)>(&Probe::Alert);
        passes<bool (HNIPC::*)(int)>(&Probe::PrintQueueFull);
        passes<bool (HNIPC::*)(int)>(&Probe::PrintQueueClear);
        passes<bool (HNIPC::*)(int)>(&Probe::PrintQueueComplete);
        passes<bool (HNIPC::*)(const QString &)>(&Probe::M4TachValues);
        passes<bool (HNIPC::*)(const int &, const qint32 &)>(&Probe::M4UserSetting);
        passes<bool (HNIPC::*)(const int &, const qint32 &)>(&Probe::M4TphTherm);
        passes<bool (HNIPC::*)(const int &, const qint32 &)>(&Probe::M4TphHeatIndexOffset);
        passes<bool (HNIPC::*)(const int &, const qint32 &)>(&Probe::M4TachIndex);
        passes<bool (HNIPC::*)()>(&Probe::HNIPCReady);
        passes<bool (HNIPC::*)(int, const QString &)>(&Probe::StatusChanged);
        passes<bool (HNIPC::*)(QString, const QString &)>(&Probe::SupplyChanged);
        passes<bool (HNIPC::*)(QStringList, const QString &)>(&Probe::RibbonChanged);
        passes<bool (HNIPC::*)(double)>(&Probe::SupplyPercentChanged);
        passes<bool (HNIPC::*)(double)>(&Probe::Ribbon1PercentChanged);
        passes<bool (HNIPC::*)(double)>(&Probe::Ribbon2PercentChanged);
        passes<bool (HNIPC::*)(QString)>(&Probe::SupplyRGBChanged);
        passes<bool (HNIPC::*)(QStringList)>(&Probe::Ribbon1RGBsChanged);
        passes<bool (HNIPC::*)(QStringList)>(&Probe::Ribbon2RGBsChanged);
        passes<bool (HNIPC::*)()>(&Probe::CloseApplicationSignal);
    }
};

void emitThroughMetaObject(HNIPC *client, int index, const QVariantList &values, bool *result)
{
    void *arguments[3] = { result };
    for (int i = 0; i < values.size(); ++i) {
        arguments[i + 1] = const_cast<void *>(values.at(i).constData());
    }
    QMetaObject::metacall(client, QMetaObject::InvokeMetaMethod,
                          client->metaObject()->methodOffset() + index, arguments);
}

} // namespace

// The client as QML and the meta-object system see it.
class tst_ClientMetaObject : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    bool answersTrue() { return true; }
    bool answersFalse() { return false; }

private Q_SLOTS:
    void classIsPlain();
    void signalsStandInTheirPlaces_data();
    void signalsStandInTheirPlaces();
    void slotsStandInTheirPlaces_data();
    void slotsStandInTheirPlaces();
    void propertiesStandInTheirPlaces_data();
    void propertiesStandInTheirPlaces();
    void emissionAnswersWhatTheReceiverAnswers_data();
    void emissionAnswersWhatTheReceiverAnswers();
    void emissionWithoutReceiverIsHarmless();
};

void tst_ClientMetaObject::classIsPlain()
{
    const QMetaObject &meta = HNIPC::staticMetaObject;
    QCOMPARE(QByteArray(meta.className()), QByteArray("HNIPC"));
    QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
    QByteArray others;
    for (int i = clientSignalCount + clientSlotCount; i < meta.methodCount() - meta.methodOffset();
         ++i) {
        others += ' ' + signatureOf(method(i));
    }
    QVERIFY2(others.isEmpty(), ("not in the tables of tests/expected:" + others).constData());
    QCOMPARE(meta.methodCount() - meta.methodOffset(), clientSignalCount + clientSlotCount);
    QCOMPARE(meta.propertyCount() - meta.propertyOffset(), clientPropertyCount);
    QCOMPARE(meta.classInfoCount() - meta.classInfoOffset(), 0);
    QCOMPARE(meta.enumeratorCount() - meta.enumeratorOffset(), 0);
    QCOMPARE(meta.constructorCount(), 0);
}

void tst_ClientMetaObject::signalsStandInTheirPlaces_data()
{
    QTest::addColumn<int>("index");
    for (const ClientSignal &row : clientSignals) {
        QTest::newRow(row.signature) << row.index;
    }
}

void tst_ClientMetaObject::signalsStandInTheirPlaces()
{
    QFETCH(int, index);
    const QMetaMethod signal = method(index);
    QCOMPARE(signatureOf(signal), withoutAliases(clientSignals[index].signature));
    QCOMPARE(signal.parameterNames(), names(clientSignals[index].parameters));
    QCOMPARE(resultOf(signal), QByteArray("bool"));
    QCOMPARE(signal.methodType(), QMetaMethod::Signal);
    QCOMPARE(signal.attributes(), 0);
    QCOMPARE(QByteArray(signal.tag()), QByteArray());
}

void tst_ClientMetaObject::slotsStandInTheirPlaces_data()
{
    QTest::addColumn<int>("row");
    for (int row = 0; row < clientSlotCount; ++row) {
        QTest::newRow(clientSlots[row].signature) << row;
    }
}

void tst_ClientMetaObject::slotsStandInTheirPlaces()
{
    QFETCH(int, row);
    const ClientSlot &expected = clientSlots[row];
    const QMetaMethod slot = method(indexOf(expected));
    QCOMPARE(signatureOf(slot), withoutAliases(expected.signature));
    QCOMPARE(slot.parameterNames(), names(expected.parameters));
    QCOMPARE(resultOf(slot), withoutAliases(expected.result));
    QCOMPARE(slot.methodType(), QMetaMethod::Slot);
    QCOMPARE(slot.access(), QMetaMethod::Public);
    // The only attribute, so no slot is scriptable.
    QCOMPARE(slot.attributes(), expected.added ? int(QMetaMethod::Cloned) : 0);
    QCOMPARE(QByteArray(slot.tag()), QByteArray());
}

void tst_ClientMetaObject::propertiesStandInTheirPlaces_data()
{
    QTest::addColumn<int>("index");
    for (int index = 0; index < clientPropertyCount; ++index) {
        QTest::newRow(clientProperties[index].name) << index;
    }
}

void tst_ClientMetaObject::propertiesStandInTheirPlaces()
{
    QFETCH(int, index);
    const QMetaObject &meta = HNIPC::staticMetaObject;
    const QMetaProperty property = meta.property(meta.propertyOffset() + index);
    QCOMPARE(QByteArray(property.name()), QByteArray(clientProperties[index].name));
    QCOMPARE(QByteArray(property.typeName()), QByteArray(clientProperties[index].type));
    QVERIFY(property.hasNotifySignal());
    QCOMPARE(property.notifySignalIndex(),
             meta.methodOffset() + notifierOf(clientProperties[index]).index);
    QVERIFY(property.isReadable());
    QVERIFY(!property.isWritable());
    QVERIFY(!property.isResettable());
    QVERIFY(property.isDesignable());
    QVERIFY(property.isScriptable());
    QVERIFY(property.isStored());
    QVERIFY(!property.isUser());
    QVERIFY(!property.isConstant());
    QVERIFY(!property.isFinal());
}

void tst_ClientMetaObject::emissionAnswersWhatTheReceiverAnswers_data()
{
    signalsStandInTheirPlaces_data();
}

void tst_ClientMetaObject::emissionAnswersWhatTheReceiverAnswers()
{
    QFETCH(int, index);
    Probe::checkPassing();
    HNIPC client(0);
    SignalRecorder recorder(&client);
    const QByteArray signal = clientSignals[index].signature;
    const QVariantList values = Expected::values(argumentSamples(signal, 1));
    const char *const receivers[] = { SLOT(answersTrue()), SLOT(answersFalse()) };
    for (int i = 0; i < 2; ++i) {
        QVERIFY(
            connect(&client, ('2' + signal).constData(), this, receivers[i], Qt::DirectConnection));
        bool result = i != 0;
        emitThroughMetaObject(&client, index, values, &result);
        QCOMPARE(result, i == 0);
        QVERIFY(disconnect(&client, 0, this, 0));
    }
    QCOMPARE(recorder.take(),
             QList<QByteArray>() << emission(signal, values) << emission(signal, values));
}

void tst_ClientMetaObject::emissionWithoutReceiverIsHarmless()
{
    HNIPC client(0);
    for (const ClientSignal &row : clientSignals) {
        emitThroughMetaObject(&client, row.index, values(argumentSamples(row.signature, 1)), 0);
    }
}

HNIPC_TEST_MAIN(tst_ClientMetaObject)

#include "tst_clientmetaobject.moc"
