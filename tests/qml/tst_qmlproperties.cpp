// SPDX-License-Identifier: MIT
#include "expected/properties.h"
#include "expected/samples.h"
#include "handlers.h"
#include "scene.h"
#include "support/fakedaemons.h"
#include "support/waituntil.h"

#include <hnipc/hnipc.h>

using namespace Expected;

namespace {

struct Bound : ClientProperty
{
    const char *binding; // in Bindings.qml
    const char *first;   // replies, as GVariant and as JSON
    const char *firstValue;
    const char *second;
    const char *secondValue;
};

// In the order of the properties.
const Bound bindings[] = {
    { clientProperties[0], "supplyPercent", "80.0", "80", "79.5", "79.5" },
    { clientProperties[1], "supplyColor", "'#fff'", "\"#fff\"", "'#000'", "\"#000\"" },
    { clientProperties[2], "ribbonPercent", "60.0", "60", "59.5", "59.5" },
    { clientProperties[3], "ribbonColors", "['#f00']", "[\"#f00\"]", "['#0f0', '#00f']",
      "[\"#0f0\",\"#00f\"]" },
    { clientProperties[4], "supplySku", "'S-1'", "\"S-1\"", "'S-2'", "\"S-2\"" },
    { clientProperties[5], "errorCode", "3", "3", "4", "4" },
    { clientProperties[6], "alertCode", "5", "5", "6", "6" },
    { clientProperties[7], "battery", "87", "87", "86", "86" },
};

const int bindingCount = sizeof bindings / sizeof bindings[0];

} // namespace

// The eight properties, bound in a document.
class tst_QmlProperties : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void eachSignalReadsWhatItNotifiesOnce_data();
    void eachSignalReadsWhatItNotifiesOnce();
    void writeIsRefused_data();
    void writeIsRefused();
    void daemonThatDiesAndReturns();
    void eachClientReadsItsProperties();

private:
    void answerAll(bool second)
    {
        for (const Bound &bound : bindings) {
            const QByteArray value = second ? bound.second : bound.first;
            (*m_daemons)[bound.server].answer(bound.method, '(' + value + ",)");
        }
    }

    QList<QByteArray> takeCalls()
    {
        QList<QByteArray> result;
        const QList<WireMessage> calls = m_daemons->takeCalls();
        for (const WireMessage &call : calls) {
            result.append(call.member + call.body);
        }
        return result;
    }

    QScopedPointer<FakeDaemons> m_daemons;
};

void tst_QmlProperties::initTestCase() { m_daemons.reset(new FakeDaemons); }

void tst_QmlProperties::cleanupTestCase() { m_daemons.reset(); }

void tst_QmlProperties::init()
{
    answerAll(false);
    m_daemons->takeCalls();
}

void tst_QmlProperties::eachSignalReadsWhatItNotifiesOnce_data()
{
    QTest::addColumn<int>("row");
    for (int row = 0; row < clientSignalCount; ++row) {
        if (clientSignals[row].server != NoServer) {
            QTest::newRow(clientSignals[row].signature) << row;
        }
    }
}

void tst_QmlProperties::eachSignalReadsWhatItNotifiesOnce()
{
    QFETCH(int, row);
    const ClientSignal &signal = clientSignals[row];
    Scene scene;
    scene.showFile("Bindings.qml");
    QCOMPARE(int(takeCalls().size()), bindingCount);
    for (const Bound &bound : bindings) {
        QCOMPARE(scene.js(bound.binding), QByteArray(bound.firstValue));
    }
    QCOMPARE(scene.js("percentText"), QByteArray("\"80 %\""));

    answerAll(true);
    QVERIFY(m_daemons->emitSignal(signal.server, signal.member,
                                  wireBody(argumentSamples(signal.signature, 1))));
    QVERIFY(m_daemons->passFence());
    QList<QByteArray> expected;
    for (const Bound &bound : bindings) {
        const bool notified = QByteArray(bound.member) == signal.member;
        if (notified) {
            expected.append(QByteArray(bound.method) + bound.body);
        }
        QCOMPARE(scene.js(bound.binding),
                 QByteArray(notified ? bound.secondValue : bound.firstValue));
    }
    QCOMPARE(takeCalls(), expected);
    QCOMPARE(scene.warnings(), QList<QByteArray>());
}

void tst_QmlProperties::writeIsRefused_data()
{
    QTest::addColumn<int>("row");
    for (int row = 0; row < bindingCount; ++row) {
        QTest::newRow(bindings[row].name) << row;
    }
}

void tst_QmlProperties::writeIsRefused()
{
    QFETCH(int, row);
    const QByteArray property = bindings[row].name;
    Scene scene;
    scene.show("import HNIPC 1.0\nHNIPC { id: printer }");
    QCOMPARE(scene.js("printer." + property + " = " + bindings[row].secondValue),
             QByteArray("TypeError: Cannot assign to read-only property \"" + property + '"'));
    const QByteArray refusal = Scene().refusal("import HNIPC 1.0\nHNIPC { " + property + ": "
                                               + bindings[row].secondValue + " }");
    QVERIFY2(refusal.contains("Invalid property assignment: \"" + property
                              + "\" is a read-only property"),
             refusal.constData());
    QCOMPARE(takeCalls(), QList<QByteArray>());
}

void tst_QmlProperties::daemonThatDiesAndReturns()
{
    Scene scene;
    scene.showFile("Bindings.qml");
    QCOMPARE(scene.js("errorCode"), QByteArray("3"));
    takeCalls();

    m_daemons->stop(M4);
    QCOMPARE(scene.js("[errorCode, printer.getError(), printer.calibrateSupply()]"),
             QByteArray("[3,0,false]"));
    QCOMPARE(scene.js("supplyPercent"), QByteArray("80"));
    QCOMPARE(takeCalls(), QList<QByteArray>());

    answerAll(true);
    m_daemons->start(M4);
    QCOMPARE(scene.js("printer.getError()"), QByteArray("4"));
    QCOMPARE(takeCalls(), QList<QByteArray>() << "getError()");
    QVERIFY(m_daemons->emitSignal(M4, "M4_Error", "(9,)"));
    QVERIFY(m_daemons->passFence());
    QCOMPARE(scene.js("errorCode"), QByteArray("4"));
    QCOMPARE(takeCalls(), QList<QByteArray>() << "getError()");
    QCOMPARE(scene.warnings(), QList<QByteArray>());
}

void tst_QmlProperties::eachClientReadsItsProperties()
{
    Scene scene;
    scene.showFile("TwoClients.qml");
    QCOMPARE(takeCalls(),
             QList<QByteArray>() << "getError()"
                                 << "getError()");
    answerAll(true);
    QVERIFY(m_daemons->emitSignal(M4, "M4_Error", "(9,)"));
    QVERIFY(m_daemons->emitSignal(M4, "M4_M4PrinterLid", "(true,)"));
    QVERIFY(m_daemons->passFence());
    QCOMPARE(scene.js("[firstError, secondError]"), QByteArray("[4,4]"));
    QCOMPARE(takeCalls(),
             QList<QByteArray>() << "getError()"
                                 << "getError()");
    const QByteArray lids = scene.js("lids");
    QVERIFY2(lids == "\"12\"" || lids == "\"21\"", lids.constData());

    // Deleting one client does not affect the other one.
    delete scene.root()->property("second").value<QObject *>();
    QVERIFY(m_daemons->emitSignal(M4, "M4_Error", "(9,)"));
    QVERIFY(m_daemons->emitSignal(M4, "M4_M4PrinterLid", "(true,)"));
    QVERIFY(m_daemons->passFence());
    QCOMPARE(takeCalls(), QList<QByteArray>() << "getError()");
    QCOMPARE(scene.js("lids.slice(2)"), QByteArray("\"1\""));
}

HNIPC_QML_TEST_MAIN(tst_QmlProperties)

#include "tst_qmlproperties.moc"
