// SPDX-License-Identifier: MIT
#include "answers.h"
#include "expected/samples.h"
#include "scene.h"
#include "support/fakedaemons.h"
#include "support/waituntil.h"

#include <hnipc/hnipcreading.h>

using namespace Expected;

// Readings in a document: their values follow the daemons.
class tst_QmlReading : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readingFollowsItsDaemon();
    void readingOfAReadingFollows();
    void valueOfTheSignalIsShownAtOnce();
    void readsThatFailAreRepeated_data();
    void readsThatFailAreRepeated();
    void wrongUsageIsReported_data();
    void wrongUsageIsReported();
    void valuesAreReadable_data() { addReadableAnswers(); }
    void valuesAreReadable();
    void everyFieldOfARecordIsReadable();
    void signalsAreAListOrOneString_data();
    void signalsAreAListOrOneString();
    void changedParametersAreRead_data();
    void changedParametersAreRead();
    void documentReadsAgain();
    void objectOfCppHasTheType();

private:
    static bool becomes(Scene &scene, const QByteArray &expression, const QByteArray &value)
    {
        const bool is = waitUntil([&]() { return scene.js(expression) == value; });
        if (!is) {
            qWarning("%s is %s", expression.constData(), scene.js(expression).constData());
        }
        return is;
    }

    static QList<QByteArray> takeCalls(FakeDaemons &daemons)
    {
        QList<QByteArray> result;
        const QList<WireMessage> calls = daemons.takeCalls();
        for (const WireMessage &call : calls) {
            result.append(call.member + call.body);
        }
        return result;
    }
};

void tst_QmlReading::readingFollowsItsDaemon()
{
    FakeDaemons daemons(false);
    daemons[M4].answer("printerLid", "(false,)");
    Scene scene;
    scene.showFile("Readings.qml");
    QCOMPARE(scene.js("[lidText, lid.value]"), QByteArray("[\"not read yet\",null]"));
    QVERIFY(becomes(scene, "lidText", "\"absent\""));
    daemons.start(M4);
    QVERIFY(becomes(scene, "lidText", "\"closed\""));
    QCOMPARE(scene.js("lidCurrent"), QByteArray("true"));

    daemons[M4].answer("printerLid", "(true,)");
    QVERIFY(daemons.emitSignal(M4, "M4_M4PrinterLid", "(true,)"));
    QVERIFY(becomes(scene, "lidText", "\"open\""));
    QVERIFY(becomes(scene, "lidCurrent", "true"));
    QCOMPARE(takeCalls(daemons), QList<QByteArray>({ "printerLid()", "printerLid()" }));

    daemons.stop(M4);
    QVERIFY(becomes(scene, "lidText", "\"absent\""));
    QCOMPARE(scene.js("[lid.known, lid.value, lidCurrent]"), QByteArray("[false,null,false]"));
    daemons[M4].answer("printerLid", "(false,)");
    const int before = scene.js("changes").toInt();
    daemons.start(M4);
    QVERIFY(becomes(scene, "lidText", "\"closed\""));
    QVERIFY(scene.js("changes").toInt() > before);
    QCOMPARE(takeCalls(daemons), QList<QByteArray>({ "printerLid()" }));
    QCOMPARE(scene.warnings(), QList<QByteArray>());
}

// A reading whose parameters are bound to another one.
void tst_QmlReading::readingOfAReadingFollows()
{
    FakeDaemons daemons;
    daemons[SUPPLYD].answer("supplySKUCached", "('S-1',)");
    daemons[SUPPLYD].answer("supplyMaterialName", "('Paper',)");
    Scene scene;
    scene.showFile("Readings.qml");
    QVERIFY(becomes(scene, "nameText", "\"Paper\""));
    QCOMPARE(scene.js("name.parameters"), QByteArray("[\"S-1\"]"));
    takeCalls(daemons);

    daemons[SUPPLYD].answer("supplySKUCached", "('S-2',)");
    daemons[SUPPLYD].answer("supplyMaterialName", "('Vinyl',)");
    QVERIFY(daemons.emitSignal(SUPPLYD, "SUPPLYD_SupplyChanged", "('S-3', 'other printer')"));
    QVERIFY(becomes(scene, "nameText", "\"Vinyl\""));
    QCOMPARE(takeCalls(daemons),
             QList<QByteArray>({ "supplySKUCached('',)", "supplyMaterialName('S-2', '')" }));
    daemons.stop(SUPPLYD);
    QVERIFY(becomes(scene, "nameText", "\"not known\""));
    QCOMPARE(scene.warnings(), QList<QByteArray>());
}

void tst_QmlReading::valueOfTheSignalIsShownAtOnce()
{
    FakeDaemons daemons;
    daemons[M4].hold("getBatteryStatus");
    Scene scene;
    scene.show("import HNIPC 1.0\nHNIPCReading {\n    id: battery\n"
               "    method: \"getBatteryStatus\"\n    signals: [\"M4BatteryUpdate\"]\n"
               "    valueArgument: 0\n    property var seen: []\n"
               "    onChanged: seen.push([known, current, value])\n}");
    QVERIFY(waitUntil([&]() { return daemons[M4].held() == 1; }));
    QVERIFY(daemons.emitSignal(M4, "M4_M4BatteryUpdate", "(40,)"));
    QVERIFY(becomes(scene, "[known, current, value]", "[true,false,40]"));
    daemons[M4].answerHeld(0, "(50,)"); // older than the signal
    QVERIFY(waitUntil([&]() { return daemons[M4].held() == 2; }));
    daemons[M4].answerHeld(1, "(39,)");
    QVERIFY(becomes(scene, "[known, current, value]", "[true,true,39]"));
    QCOMPARE(scene.js("seen"), QByteArray("[[true,false,40],[true,true,39]]"));
}

void tst_QmlReading::readsThatFailAreRepeated_data()
{
    QTest::addColumn<bool>("refuses");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("reason");
    QTest::newRow("refused") << true << QByteArray("\"refused: busy\"")
                             << QByteArray("DaemonError");
    QTest::newRow("timed out") << false << QByteArray("\"no answer\"") << QByteArray("TimedOut");
}

void tst_QmlReading::readsThatFailAreRepeated()
{
    QFETCH(bool, refuses);
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, reason);
    FakeDaemons daemons;
    if (refuses) {
        daemons[M4].answerError("printerLid", "org.hnipc.Error.Busy", "busy");
    } else {
        daemons[M4].ignore("printerLid");
    }
    Scene scene;
    scene.showFile("Readings.qml");
    scene.js("lid.deadline = 50");
    QVERIFY(becomes(scene, "lidText", text));
    QCOMPARE(scene.js("[lid.known, lid.reason === HNIPCRequest." + reason + ", typeof lid.reason]"),
             QByteArray("[false,true,\"number\"]"));
    scene.js("lid.deadline = -1");
    daemons[M4].answer("printerLid", "(true,)");
    QVERIFY(becomes(scene, "lidText", "\"open\""));
    QCOMPARE(scene.js("[lid.reason === HNIPCRequest.NoReason, lid.errorName, lid.errorText]"),
             QByteArray("[true,\"\",\"\"]"));
    QCOMPARE(scene.warnings(), QList<QByteArray>());
}

void tst_QmlReading::wrongUsageIsReported_data()
{
    QTest::addColumn<QByteArray>("properties");
    QTest::addColumn<QByteArray>("reason");
    QTest::newRow("method") << QByteArray("method: \"noSuch\"") << QByteArray("UnknownMethod");
    QTest::newRow("signal") << QByteArray("method: \"getError\"; signals: [\"Error\", \"NoSuch\"]")
                            << QByteArray("InvalidArguments");
    QTest::newRow("parameters") << QByteArray("method: \"supplyWidth\"; parameters: [1]")
                                << QByteArray("InvalidArguments");
}

void tst_QmlReading::wrongUsageIsReported()
{
    QFETCH(QByteArray, properties);
    QFETCH(QByteArray, reason);
    FakeDaemons daemons;
    Scene scene;
    scene.show("import HNIPC 1.0\nHNIPCReading { id: reading; " + properties + " }");
    QVERIFY(becomes(scene, "reason === HNIPCRequest." + reason, "true"));
    QCOMPARE(scene.js("known"), QByteArray("false"));
    QVERIFY(scene.js("errorText").size() > 2);
    QVERIFY(daemons.takeCalls().isEmpty());
}

void tst_QmlReading::valuesAreReadable()
{
    QFETCH(QByteArray, method);
    QFETCH(QByteArray, answer);
    QFETCH(QByteArray, value);
    FakeDaemons daemons;
    daemons[M4].answer(method, answer);
    daemons[SUPPLYD].answer(method, answer);
    Scene scene;
    scene.show("import QtQml 2.15\nimport HNIPC 1.0\nQtObject {\n"
               "    property HNIPCReading reading: HNIPCReading {\n        id: reading\n"
               "        method: \""
               + method
               + "\"\n        parameters: " + (method == "supplyBackgroundImage" ? "['a']" : "[]")
               + "\n    }\n"
                 "    readonly property var bound: reading.value\n}");
    QVERIFY(becomes(scene, "reading.known", "true"));
    QCOMPARE(scene.js("bound"), value);
    QCOMPARE(scene.js("reading.value"), value);
    QCOMPARE(int(daemons.takeCalls().size()), 1);
}

void tst_QmlReading::everyFieldOfARecordIsReadable()
{
    FakeDaemons daemons;
    daemons[SUPPLYD].answer("supplyInformation", '(' + wireStructure(tellingFields()) + ",)");
    Scene scene;
    scene.show("import HNIPC 1.0\nHNIPCReading { method: \"supplyInformation\" }");
    QVERIFY(becomes(scene, "known", "true"));
    QCOMPARE(QJsonDocument::fromJson(scene.js("value")), QJsonDocument::fromJson(readableRecord));
}

void tst_QmlReading::signalsAreAListOrOneString_data()
{
    QTest::addColumn<QByteArray>("names");
    QTest::addColumn<QByteArray>("list");
    QTest::newRow("list") << QByteArray("[\"Error\", \"Alert\"]")
                          << QByteArray("[\"Error\",\"Alert\"]");
    QTest::newRow("list of a function")
        << QByteArray("[\"Error\"].concat([\"Alert\"])") << QByteArray("[\"Error\",\"Alert\"]");
    QTest::newRow("text") << QByteArray("\"Alert\"") << QByteArray("[\"Alert\"]");
}

void tst_QmlReading::signalsAreAListOrOneString()
{
    QFETCH(QByteArray, names);
    QFETCH(QByteArray, list);
    FakeDaemons daemons;
    daemons[M4].answer("getAlert", "(1,)");
    Scene scene;
    scene.show("import HNIPC 1.0\nHNIPCReading { method: \"getAlert\"; signals: " + names + " }");
    QCOMPARE(scene.js("signals"), list);
    QVERIFY(becomes(scene, "value", "1"));
    daemons[M4].answer("getAlert", "(2,)");
    QVERIFY(daemons.emitSignal(M4, "M4_Alert", "(2,)"));
    QVERIFY(becomes(scene, "value", "2"));
    QCOMPARE(scene.warnings(), QList<QByteArray>());
}

void tst_QmlReading::changedParametersAreRead_data()
{
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QByteArray>("first");
    QTest::addColumn<QByteArray>("second");
    QTest::addColumn<QList<QByteArray>>("calls");
    QTest::newRow("the same") << QByteArray("supplyWidth") << QByteArray("['a']")
                              << QByteArray("['a']")
                              << QList<QByteArray> { "supplyWidth('a', '')" };
    QTest::newRow("another value")
        << QByteArray("supplyWidth") << QByteArray("['a']") << QByteArray("['b']")
        << QList<QByteArray> { "supplyWidth('a', '')", "supplyWidth('b', '')" };
    QTest::newRow("another number of them")
        << QByteArray("supplyWidth") << QByteArray("['a']") << QByteArray("['a', 'p']")
        << QList<QByteArray> { "supplyWidth('a', '')", "supplyWidth('a', 'p')" };
    QTest::newRow("the same list")
        << QByteArray("supplyInformationBySKUs") << QByteArray("['a', ['b', 'c']]")
        << QByteArray("['a', ['b', 'c']]")
        << QList<QByteArray> { "supplyInformationBySKUs('a', ['b', 'c'], '')" };
    QTest::newRow("another list") << QByteArray("supplyInformationBySKUs")
                                  << QByteArray("['a', ['b', 'c']]")
                                  << QByteArray("['a', ['b', 'd']]")
                                  << QList<QByteArray> {
                                         "supplyInformationBySKUs('a', ['b', 'c'], '')",
                                         "supplyInformationBySKUs('a', ['b', 'd'], '')"
                                     };
    QTest::newRow("another type") // from an overload, and equal as a variant of Qt 5
        << QByteArray("sendMCCMessage") << QByteArray("[1, 2, '3']") << QByteArray("[1, 2, 3]")
        << QList<QByteArray> { "sendMCCMessage(1, 2, '3')", "sendMCCMessage(1, 2, uint64 3)" };
}

void tst_QmlReading::changedParametersAreRead()
{
    QFETCH(QByteArray, method);
    QFETCH(QByteArray, first);
    QFETCH(QByteArray, second);
    QFETCH(QList<QByteArray>, calls);
    FakeDaemons daemons;
    daemons[M4].answer("sendMCCMessage", "(true,)");
    daemons[SUPPLYD].answer("supplyWidth", "(1.5,)");
    daemons[SUPPLYD].answer("supplyInformationBySKUs", '(' + wireStructure(tellingFields()) + ",)");
    Scene scene;
    scene.show("import HNIPC 1.0\nHNIPCReading { method: \"" + method + "\"; parameters: " + first
               + "; property int sets: 0; onArgumentsChanged: ++sets }");
    QVERIFY(becomes(scene, "known", "true"));
    const int sets = scene.js("sets").toInt();
    scene.js("parameters = " + second);
    QCOMPARE(scene.js("sets").toInt(), sets + int(calls.size()) - 1);
    QVERIFY(waitUntil([&]() {
        int arrived = 0;
        for (const int server : { M4, SUPPLYD }) {
            arrived += int(daemons[server].calls().size());
        }
        return arrived == calls.size();
    }));
    QVERIFY(becomes(scene, "known", "true"));
    QCOMPARE(takeCalls(daemons), calls);
    QCOMPARE(scene.warnings(), QList<QByteArray>());
}

void tst_QmlReading::documentReadsAgain()
{
    FakeDaemons daemons;
    daemons[M4].answer("printerLid", "(false,)");
    Scene scene;
    scene.showFile("Readings.qml");
    QVERIFY(becomes(scene, "lidText", "\"closed\""));
    daemons[M4].answer("printerLid", "(true,)");
    scene.js("lid.read()");
    QVERIFY(becomes(scene, "lidText", "\"open\""));
    QCOMPARE(takeCalls(daemons).count("printerLid()"), 2);
}

void tst_QmlReading::objectOfCppHasTheType()
{
    FakeDaemons daemons;
    daemons[M4].answer("getError", "(21,)");
    HNIPCReading reading;
    reading.setCall(HNIPC_METHOD(getError));
    Scene scene;
    scene.engine().rootContext()->setContextProperty(QString::fromLatin1("made"), &reading);
    scene.show("import QtQml 2.15\nimport HNIPC 1.0\nQtObject {\n"
               "    property HNIPCReading error: made\n"
               "    readonly property var code: error.value\n}");
    QVERIFY(becomes(scene, "code", "21"));
    QCOMPARE(scene.warnings(), QList<QByteArray>());
}

HNIPC_QML_TEST_MAIN(tst_QmlReading)

#include "tst_qmlreading.moc"
