// SPDX-License-Identifier: MIT
#include "expected/record.h"
#include "support/fakedaemons.h"
#include "support/privatebus.h"
#include "support/waituntil.h"

#include <hnipc/hnipc.h>

#include <QtCore/QScopedPointer>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusMetaType>

#include <cstdio>

using namespace Expected;

namespace {

// A reply to a request for the record, and the number of its fields that fit.
struct Shape
{
    QByteArray name;
    QByteArray body;
    int fitting;
};

Shape shape(const QByteArray &name, const QList<QByteArray> &arguments, int fitting)
{
    const Shape result = { name, wireStructure(arguments), fitting };
    return result;
}

Shape shape(const QByteArray &name, const QByteArray &argument, int fitting)
{
    return shape(name, QList<QByteArray>() << argument, fitting);
}

// A value of another basic type that is easily mistaken for the right one.
QByteArray wrongBasic(const QByteArray &type)
{
    return type == "i" ? "uint32 42" : type == "d" ? "42" : "42.5";
}

QByteArray wrongArray(const QByteArray &type)
{
    return type == "as" ? "[<'x'>]" : type == "ay" ? "['x']" : "[1, 2]";
}

QList<Shape> fittingShapes()
{
    const QByteArray record = wireStructure(tellingFields());
    QList<Shape> shapes;
    shapes << shape("the record", record, recordFieldCount);
    shapes << shape("more arguments",
                    QList<QByteArray>() << record << "5"
                                        << "'x'",
                    recordFieldCount);
    const char *const more[] = { "'x'", "42", "[<1>]", "{'a': <1>}", "(1, 'x')" };
    for (const char *const member : more) {
        shapes << shape(QByteArray("longer by ") + member, wireStructure(tellingFields() << member),
                        recordFieldCount);
    }
    shapes << shape("longer by two",
                    wireStructure(tellingFields() << "1"
                                                  << "'x'"),
                    recordFieldCount);
    return shapes;
}

QList<Shape> misfittingShapes()
{
    const QList<QByteArray> fields = tellingFields();
    const QByteArray record = wireStructure(fields);

    QList<Shape> shapes;
    for (int i = 0; i < recordFieldCount; ++i) {
        const QByteArray name = recordFields[i].name;
        const QByteArray type = recordFields[i].type;
        // A structure without members cannot be sent.
        if (i > 0) {
            shapes << shape("ends before " + name, wireStructure(fields.mid(0, i)), i);
        }
        const char *const containers[] = { "{'key': <1>}", "{'key': 'text'}", "(1, 'x')" };
        QList<QByteArray> wrong;
        wrong << wrongBasic(type) << wrongArray(type) << '<' + fields.at(i) + '>';
        for (const char *const container : containers) {
            wrong << container;
        }
        for (const QByteArray &value : wrong) {
            QList<QByteArray> changed = fields;
            changed[i] = value;
            shapes << shape(value + " in place of " + name, wireStructure(changed), i);
        }
    }

    // clang-format off
    const char *const plain[] = {
        "true", "7", "uint32 7", "int64 7", "uint64 7", "7.5", "byte 0x07", "int16 7", "'text'",
        "''",
        "objectpath '/a'", "signature 's'", "<7>", "<'text'>", "['a', 'b']", "@as []", "[1, 2]",
        "[byte 0x01, 0x02]", "@ay []", "[<1>, <'a'>]", "@av []", "{'a': <1>}", "@a{sv} {}",
        "{1: 2}", "[(1, 'x')]", "@a(is) []", "(1,)", "((1, 'x'),)",
    };
    // clang-format on
    for (const char *const value : plain) {
        shapes << shape(value, QByteArray(value), 0);
    }
    shapes << shape("record in a variant", '<' + record + '>', 0);
    shapes << shape("record in a structure", wireStructure(QList<QByteArray>() << record), 0);
    shapes << shape("record in an array", '[' + record + ']', 0);
    shapes << shape("record behind another argument", QList<QByteArray>() << "5" << record, 0);
    shapes << shape("no arguments", QList<QByteArray>(), 0);
    return shapes;
}

void addShapes(const QList<Shape> &shapes)
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("fitting");
    for (const Shape &row : shapes) {
        QTest::newRow(row.name.constData()) << row.body << row.fitting;
    }
}

// The record as Qt passes it to the demarshalling operator.
QDBusArgument received(const QByteArray &record)
{
    WirePeer peer;
    peer.answer("record", '(' + record + ",)");
    const QDBusMessage reply = QDBusConnection::systemBus().call(
        QDBusMessage::createMethodCall(QString::fromLatin1(peer.uniqueName()), QLatin1String("/"),
                                       QLatin1String("local.Record"), QLatin1String("record")));
    return qvariant_cast<QDBusArgument>(reply.arguments().value(0));
}

// The record as it crosses the bus.
WireMessage sent(const SupplyInformation &record)
{
    qDBusRegisterMetaType<SupplyInformation>();
    WirePeer peer;
    peer.listen("type='signal',interface='local.Record'");
    QDBusMessage message = QDBusMessage::createSignal(
        QLatin1String("/"), QLatin1String("local.Record"), QLatin1String("Record"));
    message << QVariant::fromValue(record);
    QDBusConnection::systemBus().send(message);
    waitUntil([&peer]() { return !peer.receivedSignals().isEmpty(); });
    return peer.receivedSignals().value(0);
}

QByteArray wireRecord(const QList<QByteArray> &fields)
{
    return wireText(wireStructure(QList<QByteArray>() << wireStructure(fields)));
}

int fieldIndex(const QByteArray &name)
{
    for (int i = 0; i < recordFieldCount; ++i) {
        if (name == recordFields[i].name) {
            return i;
        }
    }
    qFatal("no such field");
    return -1;
}

// Asks for the record in every shape, as a separate process, whose standard error shows all
// messages of the library and of Qt.
int receiveAllShapes(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    FakeDaemons daemons(false);
    daemons.start(SUPPLYD);
    HNIPC client(0);
    const QList<Shape> shapes = fittingShapes() + misfittingShapes();
    for (const Shape &row : shapes) {
        daemons[SUPPLYD].answer("supplyInformation", row.body);
        client.supplyInformation();
    }
    printf("%d\n", int(shapes.size()));
    return 0;
}

} // namespace

class tst_Record : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void startsWithNothingKnown();
    void isSentAsOneStructure_data();
    void isSentAsOneStructure();
    void nullByteArrayIsSentAsEmptyArray();
    void floatArrivesAsTheSameFloat();
    void doubleOnTheWireIsNarrowed();
    void variantListKeepsTypesAndOrder();
    void defaultRecordArrivesEqual();
    void text0IsNotSent();
    void listsAreReplacedNotExtended();
    void recordsOfAnArrayAreReadOneByOne();
    void operatorsReturnTheirArgument();
    void fittingShapeIsReadWhole_data();
    void fittingShapeIsReadWhole();
    void misfittingShapeIsReadUpToTheMisfit_data();
    void misfittingShapeIsReadUpToTheMisfit();
    void fieldsNotReadKeepTheirValues_data();
    void fieldsNotReadKeepTheirValues();
    void noShapeCausesAWarning();

private:
    QScopedPointer<FakeDaemons> m_daemons;
    QScopedPointer<HNIPC> m_client;
};

void tst_Record::initTestCase()
{
    m_daemons.reset(new FakeDaemons);
    m_client.reset(new HNIPC(0));
}

void tst_Record::cleanupTestCase()
{
    m_client.reset();
    m_daemons.reset();
}

void tst_Record::startsWithNothingKnown()
{
    const SupplyInformation record;
    QCOMPARE(difference(record, tellingUpTo(0)), QByteArray());
    QCOMPARE(sent(record).body, wireRecord(initialFields()));
    QVERIFY(record.text0.isNull());
    QVERIFY(record.text1.isNull());
    QVERIFY(record.text2.isNull());
    QVERIFY(record.text3.isNull());
    QVERIFY(record.text4.isNull());
    QVERIFY(record.text5.isNull());
    QVERIFY(record.bytes1.isNull());
    QCOMPARE(record.integer5, 1);
}

void tst_Record::isSentAsOneStructure_data()
{
    QTest::addColumn<int>("telling");
    for (int i = 0; i <= recordFieldCount; ++i) {
        QTest::newRow(i ? recordFields[i - 1].name : "none") << i;
    }
}

// One field after the other gets a distinct value. If two fields changed places, the values would
// differ.
void tst_Record::isSentAsOneStructure()
{
    QFETCH(int, telling);
    SupplyInformation record = tellingUpTo(telling);
    record.text0 = QLatin1String("not for the bus");

    const WireMessage message = sent(record);
    QCOMPARE(message.signature, QByteArray("(sasdisdisisisdiayddiiiddddasavavavavav)"));
    QCOMPARE(message.body,
             wireRecord(tellingFields().mid(0, telling) + initialFields().mid(telling)));
}

void tst_Record::nullByteArrayIsSentAsEmptyArray()
{
    SupplyInformation record = tellingRecord();
    record.bytes1 = QByteArray();
    QList<QByteArray> fields = tellingFields();
    fields[fieldIndex("bytes1")] = "@ay []";
    QCOMPARE(sent(record).body, wireRecord(fields));
}

void tst_Record::floatArrivesAsTheSameFloat()
{
    SupplyInformation record;
    record.real3 = 0.1f;
    QList<QByteArray> fields = initialFields();
    fields[fieldIndex("real3")] = "0.10000000149011612";
    QCOMPARE(sent(record).body, wireRecord(fields));

    SupplyInformation arrived;
    received(wireStructure(fields)) >> arrived;
    QVERIFY(arrived.real3 == 0.1f);
}

void tst_Record::doubleOnTheWireIsNarrowed()
{
    QList<QByteArray> fields = initialFields();
    fields[fieldIndex("real9")] = "0.1";
    SupplyInformation arrived;
    received(wireStructure(fields)) >> arrived;
    QVERIFY(arrived.real9 == 0.1f);
}

void tst_Record::variantListKeepsTypesAndOrder()
{
    QList<QByteArray> fields = initialFields();
    fields[fieldIndex("variantList3")] = "[<5>, <'five'>]";
    SupplyInformation arrived;
    received(wireStructure(fields)) >> arrived;
    QCOMPARE(arrived.variantList3.size(), 2);
    QCOMPARE(arrived.variantList3.at(0).userType(), int(QMetaType::Int));
    QCOMPARE(arrived.variantList3.at(0).toInt(), 5);
    QCOMPARE(arrived.variantList3.at(1).userType(), int(QMetaType::QString));
    QCOMPARE(arrived.variantList3.at(1).toString(), QString::fromLatin1("five"));
    QCOMPARE(sent(arrived).body, wireRecord(fields));
}

void tst_Record::defaultRecordArrivesEqual()
{
    SupplyInformation arrived = tellingRecord();
    received(wireStructure(initialFields())) >> arrived;
    QCOMPARE(difference(arrived, SupplyInformation()), QByteArray());
}

void tst_Record::text0IsNotSent()
{
    SupplyInformation arrived;
    arrived.text0 = QLatin1String("the receiver's");
    received(wireStructure(tellingFields())) >> arrived;
    QCOMPARE(arrived.text0, QString::fromLatin1("the receiver's"));
    QCOMPARE(difference(arrived, tellingRecord()), QByteArray("text0"));
}

void tst_Record::listsAreReplacedNotExtended()
{
    SupplyInformation arrived = tellingRecord();
    received(wireStructure(tellingFields())) >> arrived;
    QCOMPARE(difference(arrived, tellingRecord()), QByteArray());
}

void tst_Record::recordsOfAnArrayAreReadOneByOne()
{
    const QByteArray record = wireStructure(tellingFields());
    const QDBusArgument array = received('[' + wireStructure(initialFields()) + ',' + record + ']');
    SupplyInformation first;
    SupplyInformation second;
    array.beginArray();
    array >> first >> second;
    QVERIFY(array.atEnd());
    array.endArray();
    QCOMPARE(difference(first, SupplyInformation()), QByteArray());
    QCOMPARE(difference(second, tellingRecord()), QByteArray());
}

void tst_Record::operatorsReturnTheirArgument()
{
    QDBusArgument out;
    QCOMPARE(&(out << SupplyInformation()), &out);
    const QDBusArgument in = received(wireStructure(initialFields()));
    SupplyInformation arrived;
    QCOMPARE(&(in >> arrived), &in);
}

void tst_Record::fittingShapeIsReadWhole_data() { addShapes(fittingShapes()); }

void tst_Record::fittingShapeIsReadWhole() { misfittingShapeIsReadUpToTheMisfit(); }

void tst_Record::misfittingShapeIsReadUpToTheMisfit_data() { addShapes(misfittingShapes()); }

void tst_Record::misfittingShapeIsReadUpToTheMisfit()
{
    QFETCH(QByteArray, body);
    QFETCH(int, fitting);
    (*m_daemons)[SUPPLYD].answer("supplyInformation", body);
    QCOMPARE(difference(m_client->supplyInformation(), tellingUpTo(fitting)), QByteArray());
}

void tst_Record::fieldsNotReadKeepTheirValues_data()
{
    QTest::addColumn<int>("fitting");
    for (int i = 0; i < recordFieldCount; ++i) {
        QTest::newRow(recordFields[i].name) << i;
    }
}

void tst_Record::fieldsNotReadKeepTheirValues()
{
    QFETCH(int, fitting);
    SupplyInformation before;
    QString *const texts[] = { &before.text0, &before.text1, &before.text2,
                               &before.text3, &before.text4, &before.text5 };
    for (QString *const text : texts) {
        *text = QLatin1String("before");
    }
    before.textList1 << QLatin1String("before");
    before.textList2 = before.textList1;
    before.bytes1 = "before";
    before.real1 = before.real2 = before.real3 = before.real4 = before.real5 = before.real6 =
        before.real7 = before.real8 = before.real9 = 12.5f;
    before.integer1 = before.integer2 = before.integer3 = before.integer4 = before.integer5 =
        before.integer6 = before.integer7 = before.integer8 = 12;
    before.variantList1 << 12;
    before.variantList2 = before.variantList3 = before.variantList4 = before.variantList5 =
        before.variantList1;

    QList<QByteArray> fields = tellingFields();
    fields[fitting] = "{'key': <1>}";
    SupplyInformation arrived = before;
    received(wireStructure(fields)) >> arrived;
    QCOMPARE(difference(arrived, tellingUpTo(fitting, before)), QByteArray());
}

void tst_Record::noShapeCausesAWarning()
{
    // The receiver starts its own daemon.
    m_daemons->stop(SUPPLYD);
    const Outcome receiver = runProgram(QCoreApplication::applicationFilePath(),
                                        QStringList(QLatin1String("all-shapes")));
    QCOMPARE(receiver.errors, QByteArray());
    QCOMPARE(receiver.code, 0);
    const int shapes = fittingShapes().size() + misfittingShapes().size();
    QCOMPARE(receiver.output, QByteArray::number(shapes) + '\n');
}

int main(int argc, char **argv)
{
    if (argc > 1 && QByteArray(argv[1]) == "all-shapes") {
        return receiveAllShapes(argc, argv);
    }
    PrivateBus bus;
    QCoreApplication application(argc, argv);
    tst_Record test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_record.moc"
