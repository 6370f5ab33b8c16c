// SPDX-License-Identifier: MIT
#include "expected/clientsignals.h"
#include "expected/clientslots.h"
#include "expected/properties.h"
#include "expected/samples.h"
#include "signalparameters.h"
#include "support/privatebus.h"
#include "support/signalrecorder.h"
#include "support/signature.h"

#include <hnipc/hnipc.h>

#include <QtCore/QMetaProperty>

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

// Compiles only if the client declares the signal that no daemon sends with these parameters.
class Probe : public HNIPC
{
public:
    static bool (HNIPC::*statusChanged())(int, const QString &) { return &Probe::StatusChanged; }
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
    void signalsAreDeclaredInOrder_data();
    void signalsAreDeclaredInOrder();
    void slotsAreDeclaredInOrder_data();
    void slotsAreDeclaredInOrder();
    void propertiesAreDeclaredInOrder_data();
    void propertiesAreDeclaredInOrder();
    void emissionReturnsTheValueOfTheReceiver_data();
    void emissionReturnsTheValueOfTheReceiver();
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

void tst_ClientMetaObject::signalsAreDeclaredInOrder_data()
{
    QTest::addColumn<int>("index");
    for (const ClientSignal &row : clientSignals) {
        QTest::newRow(row.signature) << row.index;
    }
}

void tst_ClientMetaObject::signalsAreDeclaredInOrder()
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

void tst_ClientMetaObject::slotsAreDeclaredInOrder_data()
{
    QTest::addColumn<int>("row");
    for (int row = 0; row < clientSlotCount; ++row) {
        QTest::newRow(clientSlots[row].signature) << row;
    }
}

void tst_ClientMetaObject::slotsAreDeclaredInOrder()
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

void tst_ClientMetaObject::propertiesAreDeclaredInOrder_data()
{
    QTest::addColumn<int>("index");
    for (int index = 0; index < clientPropertyCount; ++index) {
        QTest::newRow(clientProperties[index].name) << index;
    }
}

void tst_ClientMetaObject::propertiesAreDeclaredInOrder()
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

void tst_ClientMetaObject::emissionReturnsTheValueOfTheReceiver_data()
{
    signalsAreDeclaredInOrder_data();
}

void tst_ClientMetaObject::emissionReturnsTheValueOfTheReceiver()
{
    QFETCH(int, index);
    SignalParameters<HNIPC, bool>::check();
    Probe::statusChanged();
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
