// SPDX-License-Identifier: MIT
#include "expected/clientslots.h"
#include "expected/samples.h"
#include "handlers.h"
#include "scene.h"
#include "support/fakedaemons.h"
#include "support/waituntil.h"

#include <hnipc/hnipc.h>
#include <hnipc/hnipcavailability.h>
#include <hnipc/hnipcevents.h>
#include <hnipc/hnipcreading.h>
#include <hnipc/hnipcrequest.h>

using namespace Expected;

// The client class in QML: from the module, or as an object that the application has set as a
// context property.
class tst_QmlModule : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void librariesRegisterNothing();
    void typeIsTheClientClass();
    void clientOfCppHasTheType();
    void clientOfCppHasHandlers();
    void objectsPrintTheNamesOfTheirClasses();
    void otherVersionIsNotFound();
    void handlersReceiveArgumentsByName_data();
    void handlersReceiveArgumentsByName();
    void handlersWorkInADerivedComponent();
    void methodsThatShareTheNameOfASignalAreCalled();
    void shortFormsAddTheirDefault_data();
    void shortFormsAddTheirDefault();
    void fullFormsExistToo();
    void argumentsArrive_data();
    void argumentsArrive();
    void valuesArrive_data();
    void valuesArrive();
    void failedCallsGiveTheEmptyValue();
    void contextPropertyNeedsNoModule();

private:
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

static const char plainPrinter[] = "import HNIPC 1.0\nHNIPC { id: printer }";

void tst_QmlModule::initTestCase() { m_daemons.reset(new FakeDaemons); }

void tst_QmlModule::cleanupTestCase() { m_daemons.reset(); }

void tst_QmlModule::init() { m_daemons->takeCalls(); }

// This test runs first, because types that a module registers are known to every engine of the
// process.
void tst_QmlModule::librariesRegisterNothing()
{
    HNIPC client;
    HNIPCRequest request;
    HNIPCAvailability daemons;
    HNIPCEvents events;
    HNIPCReading reading;
    const QByteArray said = Scene(false).refusal(plainPrinter);
    QVERIFY2(said.contains("module \"HNIPC\" is not installed"), said.constData());
    const QList<const QMetaObject *> classes = { client.metaObject(), request.metaObject(),
                                                 daemons.metaObject(), events.metaObject(),
                                                 reading.metaObject() };
    for (const QMetaObject *meta : classes) {
        const QByteArray type = meta->className();
        const QByteArray unknown = Scene(false).refusal("import QtQml 2.15\n" + type + " {}");
        QVERIFY2(unknown.contains(type + " is not a type"), unknown.constData());
        for (int i = 0; i < meta->classInfoCount(); ++i) { // Qt 6 keeps data for QML there
            QVERIFY(!QByteArray(meta->classInfo(i).name()).startsWith("QML"));
        }
    }
}

void tst_QmlModule::typeIsTheClientClass()
{
    Scene scene;
    HNIPC *client = qobject_cast<HNIPC *>(scene.show(plainPrinter));
    QVERIFY(client);
    for (int i = 0; i < HNIPC::staticMetaObject.methodCount(); ++i) {
        QCOMPARE(client->metaObject()->method(i).methodSignature(),
                 HNIPC::staticMetaObject.method(i).methodSignature());
    }
    (*m_daemons)[M4].answer("getError", "(7,)");
    QCOMPARE(client->getError(), 7);
    QCOMPARE(scene.warnings(), QList<QByteArray>());
}

void tst_QmlModule::clientOfCppHasTheType()
{
    HNIPC client;
    (*m_daemons)[M4].answer("getError", "(8,)");
    Scene scene;
    scene.engine().rootContext()->setContextProperty(QString::fromLatin1("made"), &client);
    scene.show("import QtQml 2.15\nimport HNIPC 1.0\nQtObject { property HNIPC printer: made }");
    QCOMPARE(scene.js("printer.getError()"), QByteArray("8"));
    QCOMPARE(scene.warnings(), QList<QByteArray>());
}

void tst_QmlModule::clientOfCppHasHandlers()
{
    HNIPC client;
    Scene scene;
    scene.engine().rootContext()->setContextProperty(QString::fromLatin1("made"), &client);
    scene.show("import QtQml 2.15\nimport HNIPC 1.0\nQtObject {\n"
               "    property var all: []\n"
               "    property Connections connections: Connections {\n"
               "        target: HNIPC.handlersOf(made)\n"
               "        function onM4PrinterLid(value) { all.push(value) }\n"
               "        function onM4VersionSignal(value) { all.push(value) }\n"
               "        function onRibbonChanged(ribbonSkus, printerName) {\n"
               "            all.push(ribbonSkus, printerName)\n"
               "        }\n"
               "    }\n"
               "}");
    QVERIFY(m_daemons->emitSignal(M4, "M4_M4PrinterLid", "(true,)"));
    QVERIFY(m_daemons->emitSignal(M4, "M4_M4Version", "('1.2',)"));
    QVERIFY(m_daemons->emitSignal(SUPPLYD, "SUPPLYD_RibbonChanged", "(['a', 'b'], 'p')"));
    QVERIFY(waitUntil([&]() { return scene.js("all.length") == "4"; }));
    QCOMPARE(scene.js("all.sort()"), QByteArray("[\"1.2\",[\"a\",\"b\"],\"p\",true]"));
    QCOMPARE(scene.warnings(), QList<QByteArray>());
}

void tst_QmlModule::objectsPrintTheNamesOfTheirClasses()
{
    Scene scene;
    for (const QByteArray type : { "HNIPC", "HNIPCEvents", "HNIPCAvailability" }) {
        scene.show("import HNIPC 1.0\n" + type + " { id: object }");
        const QByteArray name = scene.js("String(object)");
        QVERIFY2(name.startsWith('"' + type + "("), name.constData());
        QCOMPARE(scene.js("object.isRelayed"), QByteArray("undefined"));
    }
}

void tst_QmlModule::otherVersionIsNotFound()
{
    QVERIFY(!Scene().refusal("import HNIPC 2.0\nHNIPC {}").isEmpty());
    QVERIFY(Scene().refusal(plainPrinter).isEmpty());
}

void tst_QmlModule::handlersReceiveArgumentsByName_data()
{
    QTest::addColumn<int>("row");
    for (int row = 0; row < clientSignalCount; ++row) {
        QTest::newRow(clientSignals[row].signature) << row;
    }
}

void tst_QmlModule::handlersReceiveArgumentsByName()
{
    QFETCH(int, row);
    const ClientSignal &signal = clientSignals[row];
    const QByteArray parameters = signal.parameters;
    const QByteArray handler = handlerOf(signal);
    Scene scene;
    // clang-format off
    QObject *client = scene.show("import QtQml 2.15\n"
                                 "import HNIPC 1.0\n"
                                 "HNIPC {\n"
                                 "    id: printer\n"
                                 "    property var byName: []\n"
                                 "    property var inConnections: []\n"
                                 "    property var connected: []\n"
                                 "    " + handler + ": byName.push([" + parameters + "])\n"
                                 "    property var connections: Connections {\n"
                                 "        target: printer\n"
                                 "        function " + handler + "(" + parameters + ") {\n"
                                 "            printer.inConnections.push([" + parameters + "])\n"
                                 "        }\n"
                                 "    }\n"
                                 "    Component.onCompleted: printer." + nameOf(signal.signature)
                                 + ".connect(function(" + parameters + ") {\n"
                                 "        printer.connected.push([" + parameters + "])\n"
                                 "    })\n"
                                 "}\n");
    // clang-format on
    const QList<Sample> samples = argumentSamples(signal.signature, 1);
    if (signal.server == NoServer) {
        QVERIFY(QByteArray(signal.signature) == "StatusChanged(int,QString)");
        Q_EMIT qobject_cast<HNIPC *>(client)->StatusChanged(samples.at(0).value.toInt(),
                                                            samples.at(1).value.toString());
    } else {
        QVERIFY(m_daemons->emitSignal(signal.server, signal.member, wireBody(samples)));
        QVERIFY(m_daemons->passFence());
    }

    QJsonArray once;
    once.append(QJsonArray::fromVariantList(values(samples)));
    QCOMPARE(QJsonDocument::fromJson(scene.js("byName")).array(), once);
    QCOMPARE(QJsonDocument::fromJson(scene.js("inConnections")).array(), once);
    QCOMPARE(QJsonDocument::fromJson(scene.js("connected")).array(), once);
    QCOMPARE(scene.warnings(), QList<QByteArray>());
}

void tst_QmlModule::handlersWorkInADerivedComponent()
{
    Scene scene;
    scene.showFile("OfTwoFiles.qml");
    QVERIFY(m_daemons->emitSignal(M4, "M4_M4PrinterLid", "(true,)"));
    QVERIFY(m_daemons->passFence());
    QCOMPARE(scene.js("printer.lidsOfBase"), QByteArray("\"open\""));
    QCOMPARE(scene.js("lids"), QByteArray("\"open\""));
    QCOMPARE(scene.warnings(), QList<QByteArray>());
}

void tst_QmlModule::methodsThatShareTheNameOfASignalAreCalled()
{
    (*m_daemons)[M4].answer("m4Version", "('1.2',)");
    (*m_daemons)[M4].answer("printQueueFull", "(true,)");
    (*m_daemons)[M4].answer("printQueueComplete", "(true,)");
    Scene scene;
    scene.show(plainPrinter);
    QCOMPARE(scene.js("printer.m4Version()"), QByteArray("\"1.2\""));
    QCOMPARE(scene.js("printer.printQueueFull(4294967295)"), QByteArray("true"));
    QCOMPARE(scene.js("printer.printQueueComplete(2)"), QByteArray("true"));
    QCOMPARE(takeCalls(),
             QList<QByteArray>() << "m4Version()"
                                 << "printQueueFull(uint32 4294967295,)"
                                 << "printQueueComplete(uint32 2,)");
}

void tst_QmlModule::shortFormsAddTheirDefault_data()
{
    QTest::addColumn<QByteArray>("call");
    QTest::addColumn<QByteArray>("body");
    const struct
    {
        const char *call;
        const char *body;
    } rows[] = {
        { "supplySKUCached()", "('',)" },
        { "supplyRibbonSKUsCached()", "('',)" },
        { "supplySupplyRGB()", "('',)" },
        { "supplyRibbon1RGBs()", "('',)" },
        { "supplyRibbon2RGBs()", "('',)" },
        { "supplyInformation()", "('',)" },
        { "supplyInformationBySKUs('a', ['b', 'c'])", "('a', ['b', 'c'], '')" },
        { "supplyMaterialName('a')", "('a', '')" },
        { "supplyFormatName('a')", "('a', '')" },
        { "supplyColorRGB('a')", "('a', '')" },
        { "supplyColorName('a')", "('a', '')" },
        { "supplyWidth('a')", "('a', '')" },
        { "supplyNonContinuousLength('a')", "('a', '')" },
        { "supplyTypeIndex('a')", "('a', '')" },
        { "supplyRibbonColorName('a')", "('a', 1)" },
        { "supplyRibbonColorRGB('a')", "('a', 1)" },
    };
    QCOMPARE(int(sizeof rows / sizeof rows[0]), 16);
    for (const auto &row : rows) {
        QTest::newRow(row.call) << QByteArray(row.call) << QByteArray(row.body);
    }
}

void tst_QmlModule::shortFormsAddTheirDefault()
{
    QFETCH(QByteArray, call);
    QFETCH(QByteArray, body);
    Scene scene;
    scene.show(plainPrinter);
    scene.js("printer." + call);
    QCOMPARE(takeCalls(), QList<QByteArray>() << nameOf(call) + body);
    QCOMPARE(scene.warnings(), QList<QByteArray>());
}

void tst_QmlModule::fullFormsExistToo()
{
    Scene scene;
    scene.show(plainPrinter);
    scene.js("printer.supplySKUCached('p')");
    scene.js("printer.supplyInformationBySKUs('a', [], 'p')");
    scene.js("printer.supplyRibbonColorRGB('a', -2)");
    QCOMPARE(takeCalls(),
             QList<QByteArray>() << "supplySKUCached('p',)"
                                 << "supplyInformationBySKUs('a', @as [], 'p')"
                                 << "supplyRibbonColorRGB('a', -2)");
}

void tst_QmlModule::argumentsArrive_data()
{
    QTest::addColumn<QByteArray>("call");
    QTest::addColumn<QByteArray>("arrives");
    const struct
    {
        const char *call;
        const char *arrives;
    } rows[] = {
        { "enableBacklight(true)", "enableBacklight(true,)" },
        { "setUserSetting(3, -120)", "setUserSetting(3, -120)" },
        { "setDac(4294967295)", "setDac(uint32 4294967295,)" },
        // QML rounds an argument of 64 bits to the next even number above 2^52.
        { "sendMCCMessage(1, 2, 4503599627370495)",
          "sendMCCMessage(1, 2, uint64 4503599627370495)" },
        { "sendMCCMessage(1, 2, 'text')", "sendMCCMessage(1, 2, 'text')" },
        { "supplyModuleReady(1, 2, '\xc3\xa4')", "supplyModuleReady(1, 2, '\xc3\xa4')" },
    };
    for (const auto &row : rows) {
        QTest::newRow(row.call) << QByteArray(row.call) << QByteArray(row.arrives);
    }
}

void tst_QmlModule::argumentsArrive()
{
    QFETCH(QByteArray, call);
    QFETCH(QByteArray, arrives);
    Scene scene;
    scene.show(plainPrinter);
    scene.js("printer." + call);
    QCOMPARE(takeCalls(), QList<QByteArray>() << arrives);
}

void tst_QmlModule::valuesArrive_data()
{
    QTest::addColumn<int>("server");
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QByteArray>("expression");
    QTest::addColumn<QByteArray>("value");
    const QByteArray record = wireStructure(tellingFields());
    const struct
    {
        const char *name;
        int server;
        const char *method;
        QByteArray answer;
        const char *expression;
        const char *value;
    } rows[] = {
        { "bool", M4, "printerLid", "true", "printer.printerLid()", "true" },
        { "int", M4, "tph1Therm", "-2147483648", "printer.tph1Therm()", "-2147483648" },
        { "unsigned int", M4, "dac0", "uint32 4294967295", "printer.dac0()", "4294967295" },
        { "64 bits, exact", M4, "ribbon1Verify", "uint64 9007199254740991",
          "printer.ribbon1Verify()", "9007199254740991" },
        { "64 bits, rounded", M4, "ribbon1Verify", "uint64 9007199254740993",
          "printer.ribbon1Verify()", "9007199254740992" },
        { "double", SUPPLYD, "supplySupplyPercent", "99.5", "printer.supplySupplyPercent()",
          "99.5" },
        { "text", M4, "m4Version", "'\xc3\xa4 \"1\"'", "printer.m4Version()",
          "\"\xc3\xa4 \\\"1\\\"\"" },
        { "list", SUPPLYD, "supplySKUList", "['a', '', 'b']", "printer.supplySKUList()",
          "[\"a\",\"\",\"b\"]" },
        { "items of a list", SUPPLYD, "supplySKUList", "['a', 'b']",
          "printer.supplySKUList().map(sku => sku + '!')", "[\"a!\",\"b!\"]" },
        { "bytes", SUPPLYD, "supplyBackgroundImage", "[byte 0x00, 0xff, 0x7f]",
          "Array.from(new Uint8Array(printer.supplyBackgroundImage('a')))", "[0,255,127]" },
        { "record, a handle", SUPPLYD, "supplyInformation", record,
          "printer.supplyInformation().text1", "undefined" },
    };
    for (const auto &row : rows) {
        QTest::newRow(row.name) << row.server << QByteArray(row.method) << row.answer
                                << QByteArray(row.expression) << QByteArray(row.value);
    }
}

void tst_QmlModule::valuesArrive()
{
    QFETCH(int, server);
    QFETCH(QByteArray, method);
    QFETCH(QByteArray, answer);
    QFETCH(QByteArray, expression);
    QFETCH(QByteArray, value);
    (*m_daemons)[server].answer(method, '(' + answer + ",)");
    Scene scene;
    scene.show(plainPrinter);
    QCOMPARE(scene.js(expression), value);
    QCOMPARE(m_daemons->takeCalls().size(), 1);
}

void tst_QmlModule::failedCallsGiveTheEmptyValue()
{
    m_daemons->stop(M4);
    m_daemons->stop(SUPPLYD);
    Scene scene;
    scene.show(plainPrinter);
    QCOMPARE(scene.js("[printer.calibrateSupply(), printer.getError(), printer.m4Version(), "
                      "printer.ribbon1Verify(), printer.supplySKUList(), "
                      "printer.supplySupplyPercent()]"),
             QByteArray("[false,0,\"\",0,[],0]"));
    m_daemons->start(M4);
    m_daemons->start(SUPPLYD);
    QCOMPARE(takeCalls(), QList<QByteArray>());
}

void tst_QmlModule::contextPropertyNeedsNoModule()
{
    HNIPC client;
    (*m_daemons)[SUPPLYD].answer("supplySupplyPercent", "(80.0,)");
    (*m_daemons)[SUPPLYD].answer("supplySKUCached", "('S-1',)");
    Scene scene(false);
    scene.engine().rootContext()->setContextProperty(QString::fromLatin1("printer"), &client);
    scene.show("import QtQml 2.15\n"
               "QtObject {\n"
               "    property real percent: printer.qmlSupplyPercent\n"
               "    property var lids: []\n"
               "    property int notes: 0\n"
               "    property var connections: Connections {\n"
               "        target: printer\n"
               "        function onQmlSupplyPercentChanged() { ++notes }\n"
               "    }\n"
               "    Component.onCompleted: printer.M4PrinterLid.connect(lid => lids.push(lid))\n"
               "}\n");
    QCOMPARE(scene.js("percent"), QByteArray("80"));
    QCOMPARE(scene.js("printer.supplySKUCached()"), QByteArray("\"S-1\""));
    QVERIFY(m_daemons->emitSignal(M4, "M4_M4PrinterLid", "(true,)"));
    (*m_daemons)[SUPPLYD].answer("supplySupplyPercent", "(79.5,)");
    QVERIFY(m_daemons->emitSignal(SUPPLYD, "SUPPLYD_SupplyPercentChanged", "(1.5,)"));
    QVERIFY(m_daemons->passFence());
    QCOMPARE(scene.js("lids"), QByteArray("[true]"));
    QCOMPARE(scene.js("percent"), QByteArray("79.5"));
    QCOMPARE(scene.js("notes"), QByteArray("1"));
    QCOMPARE(scene.warnings(), QList<QByteArray>());
}

HNIPC_QML_TEST_MAIN(tst_QmlModule)

#include "tst_qmlmodule.moc"
