// SPDX-License-Identifier: MIT
#include "expected/samples.h"
#include "scene.h"
#include "support/fakedaemons.h"
#include "tools/desk.h"

#include <hnipc/hnipcrequest.h>

#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickView>

using namespace Expected;

// Calls that do not block, and which daemons are there, in a document.
class tst_QmlRequest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void declaredRequestIsSentAndAnswered();
    void argumentsOfJavaScriptArrive_data();
    void argumentsOfJavaScriptArrive();
    void argumentsThatDoNotFitAreNotSent();
    void answersAreReadable_data();
    void answersAreReadable();
    void everyFieldOfARecordIsReadable();
    void outcomesAreTold();
    void deadlineEndsTheWait();
    void availabilityIsBound();
    void screenLivesWhileACommandIsAtWork();
};

static bool settles(Scene &scene)
{
    return waitUntil([&scene]() { return scene.js("request.pending") == "false"; });
}

void tst_QmlRequest::declaredRequestIsSentAndAnswered()
{
    FakeDaemons daemons;
    daemons[M4].hold("calibrateSupply");
    Scene scene;
    scene.showFile("Requests.qml");
    QCOMPARE(scene.js("state"), QByteArray("\"not sent\""));
    QCOMPARE(scene.js("request.deadline"), QByteArray("-1"));
    scene.js("request.method = 'calibrateSupply'");
    QCOMPARE(scene.js("request.send()"), QByteArray("true"));
    QCOMPARE(scene.js("request.send()"), QByteArray("false"));
    QCOMPARE(scene.js("state"), QByteArray("\"at work\""));
    QVERIFY(waitUntil([&daemons]() { return daemons[M4].held() == 1; }));
    QCOMPARE(scene.js("log"), QByteArray("\"sent, \""));
    daemons[M4].answerHeld(0, "(true,)");
    QVERIFY(settles(scene));
    QCOMPARE(scene.js("state"), QByteArray("\"answered\""));
    QCOMPARE(scene.js("[request.value, answer]"), QByteArray("[true,true]"));
    // Which of the two comes first, nobody says.
    QCOMPARE(scene.js("log.split(', ').sort()"),
             QByteArray("[\"\",\"finished\",\"not pending\",\"sent\"]"));
    QCOMPARE(int(daemons.takeCalls().size()), 1);
    QCOMPARE(scene.warnings(), QList<QByteArray>());
}

void tst_QmlRequest::argumentsOfJavaScriptArrive_data()
{
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QByteArray>("arguments");
    QTest::addColumn<QByteArray>("body");
    const struct
    {
        const char *method;
        const char *arguments;
        const char *body;
    } rows[] = {
        { "enableBacklight", "[true]", "(true,)" },
        { "setUserSetting", "[3, -120]", "(3, -120)" },
        { "setDac", "[4294967295]", "(uint32 4294967295,)" },
        { "setDac", "[2 * 3.5]", "(uint32 7,)" },
        { "sendMCCMessage", "[1, 2, 9007199254740991]", "(1, 2, uint64 9007199254740991)" },
        { "sendMCCMessage", "[1, 2, 'text']", "(1, 2, 'text')" },
        { "supplySKUCached", "[]", "('',)" },
        { "supplyInformationBySKUs", "['a', ['b', 'c']]", "('a', ['b', 'c'], '')" },
        { "supplyInformationBySKUs", "['a', [], 'p']", "('a', @as [], 'p')" },
    };
    for (const auto &row : rows) {
        const QByteArray name = QByteArray(row.method) + row.arguments;
        QTest::newRow(name.constData()) << QByteArray(row.method) << QByteArray(row.arguments)
                                        << QByteArray(row.body);
    }
}

void tst_QmlRequest::argumentsOfJavaScriptArrive()
{
    QFETCH(QByteArray, method);
    QFETCH(QByteArray, arguments);
    QFETCH(QByteArray, body);
    FakeDaemons daemons;
    Scene scene;
    scene.show("import HNIPC 1.0\nHNIPCRequest { id: request; method: \"" + method
               + "\"; arguments: " + arguments + " }");
    QCOMPARE(scene.js("request.send()"), QByteArray("true"));
    QVERIFY(settles(scene));
    const QList<WireMessage> calls = daemons.takeCalls();
    QCOMPARE(int(calls.size()), 1);
    QCOMPARE(calls.first().member + calls.first().body, method + body);
}

void tst_QmlRequest::argumentsThatDoNotFitAreNotSent()
{
    FakeDaemons daemons;
    Scene scene;
    scene.showFile("Requests.qml");
    for (const QByteArray call : { "setDac[-1]", "setDac[0.5]", "setDac['lots']", "noSuch[]" }) {
        const int bracket = call.indexOf('[');
        scene.js("request.method = '" + call.left(bracket) + "'");
        scene.js("request.arguments = " + call.mid(bracket));
        QCOMPARE(scene.js("request.send()"), QByteArray("true"));
        QVERIFY(settles(scene));
        QCOMPARE(scene.js("state"), QByteArray("\"nothing was done\""));
        QCOMPARE(scene.js("answer"), QByteArray("undefined"));
    }
    QVERIFY(daemons.takeCalls().isEmpty());
}

void tst_QmlRequest::answersAreReadable_data()
{
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QByteArray>("value");
    const struct
    {
        const char *name;
        const char *method;
        const char *answer;
        const char *value;
    } rows[] = {
        { "bool", "calibrateSupply", "true", "true" },
        { "number", "getError", "-7", "-7" },
        { "64 bits", "ribbon1Verify", "uint64 18446744073709551615", "\"18446744073709551615\"" },
        { "text", "m4Version", "'v'", "\"v\"" },
        { "list", "supplySKUList", "['a', 'b']", "[\"a\",\"b\"]" },
        { "table", "supplyColorHash", "{'a': <'#fff'>, 'b': <7>, 'c': <uint64 9007199254740993>}",
          "{\"a\":\"#fff\",\"b\":7,\"c\":\"9007199254740993\"}" },
        { "bytes", "supplyBackgroundImage", "[byte 0x00, 0xff, 0x7f]", "\"AP9/\"" },
    };
    for (const auto &row : rows) {
        QTest::newRow(row.name) << QByteArray(row.method) << QByteArray(row.answer)
                                << QByteArray(row.value);
    }
}

void tst_QmlRequest::answersAreReadable()
{
    QFETCH(QByteArray, method);
    QFETCH(QByteArray, answer);
    QFETCH(QByteArray, value);
    FakeDaemons daemons;
    daemons[M4].answer(method, '(' + answer + ",)");
    daemons[SUPPLYD].answer(method, '(' + answer + ",)");
    Scene scene;
    scene.showFile("Requests.qml");
    scene.js("request.method = '" + method + "'");
    if (method == "supplyBackgroundImage") {
        scene.js("request.arguments = ['a']");
    }
    scene.js("request.send()");
    QVERIFY(settles(scene));
    QCOMPARE(scene.js("state"), QByteArray("\"answered\""));
    QCOMPARE(scene.js("answer"), value);
    QCOMPARE(int(daemons.takeCalls().size()), 1);
}

void tst_QmlRequest::everyFieldOfARecordIsReadable()
{
    const QByteArray fields =
        "{\"text1\":\"text \xc3\xa4 1\",\"textList1\":[\"list\",\"\",\"one\"],\"real1\":1.5,"
        "\"integer1\":101,\"text2\":\"text 2\",\"real2\":-2.25,\"integer2\":-102,"
        "\"text3\":\"text 3\",\"integer3\":2147483647,\"text4\":\"text 4\","
        "\"integer4\":-2147483648,\"text5\":\"text 5\",\"real3\":3.125,\"integer5\":105,"
        "\"bytes1\":\"AP8Afw==\",\"real4\":4.5,\"real5\":5.5,\"integer6\":106,\"integer7\":107,"
        "\"integer8\":108,\"real6\":6.5,\"real7\":7.5,\"real8\":8.5,\"real9\":9.5,"
        "\"textList2\":[\"list two\"],\"variantList1\":[1,\"two\"],\"variantList2\":[true],"
        "\"variantList3\":[3,\"33\"],\"variantList4\":[4.5],"
        "\"variantList5\":[\"five\",5,[\"v\",\"w\"]]}";
    FakeDaemons daemons;
    daemons[SUPPLYD].answer("supplyInformation", '(' + wireStructure(tellingFields()) + ",)");
    Scene scene;
    scene.showFile("Requests.qml");
    scene.js("request.method = 'supplyInformation'");
    scene.js("request.send()");
    QVERIFY(settles(scene));
    QCOMPARE(QJsonDocument::fromJson(scene.js("answer")), QJsonDocument::fromJson(fields));
    QCOMPARE(scene.js("answer.text2"), QByteArray("\"text 2\""));
}

void tst_QmlRequest::outcomesAreTold()
{
    FakeDaemons daemons;
    daemons[M4].answerError("calibrateSupply", "org.hnipc.Error.Failed", "lid open");
    Scene scene;
    scene.showFile("Requests.qml");
    scene.js("request.method = 'calibrateSupply'");
    scene.js("request.send()");
    QVERIFY(settles(scene));
    QCOMPARE(scene.js("[state, request.errorName]"),
             QByteArray("[\"refused: lid open\",\"org.hnipc.Error.Failed\"]"));

    daemons[M4].hold("calibrateSupply");
    scene.js("request.send()");
    QVERIFY(waitUntil([&daemons]() { return daemons[M4].held() == 1; }));
    scene.js("request.cancel()");
    QCOMPARE(scene.js("[state, request.errorName]"),
             QByteArray("[\"look at the printer\",\"org.hnipc.Error.Cancelled\"]"));

    daemons.stop(M4);
    scene.js("request.send()");
    QVERIFY(settles(scene));
    QCOMPARE(scene.js("[state, request.errorName]"),
             QByteArray("[\"nothing was done\","
                        "\"org.freedesktop.DBus.Error.ServiceUnknown\"]"));
    QCOMPARE(scene.js("[HNIPCRequest.NoOutcome, HNIPCRequest.NotSent, HNIPCRequest.Answered, "
                      "HNIPCRequest.Refused, HNIPCRequest.Unknown]"),
             QByteArray("[0,1,2,3,4]"));
}

void tst_QmlRequest::deadlineEndsTheWait()
{
    FakeDaemons daemons;
    daemons[M4].ignore("getError");
    Scene scene;
    scene.show("import HNIPC 1.0\nHNIPCRequest {\n    id: request\n    property int finishes: 0\n"
               "    method: \"getError\"\n    deadline: 20\n    onFinished: ++finishes\n}");
    scene.js("request.send()");
    QVERIFY(settles(scene));
    QCOMPARE(scene.js("[finishes, outcome === HNIPCRequest.Unknown, errorName]"),
             QByteArray("[1,true,\"org.freedesktop.DBus.Error.Timeout\"]"));
    QCOMPARE(scene.js("qmlValue"), QByteArray("undefined"));
    QCOMPARE(int(daemons.takeCalls().size()), 1);
}

void tst_QmlRequest::availabilityIsBound()
{
    FakeDaemons daemons;
    Scene scene;
    scene.showFile("Requests.qml");
    QVERIFY(waitUntil([&]() { return scene.js("present") == "\"true true true true\""; }));
    daemons.stop(M4);
    QVERIFY(waitUntil([&]() { return scene.js("present") == "\"true true false true\""; }));
    daemons.start(M4);
    QVERIFY(waitUntil([&]() { return scene.js("present") == "\"true true true true\""; }));
    QCOMPARE(scene.js("changes"), QByteArray("\"came went came \""));
    QVERIFY(daemons.takeCalls().isEmpty());
    QCOMPARE(scene.warnings(), QList<QByteArray>());
}

void tst_QmlRequest::screenLivesWhileACommandIsAtWork()
{
    Desk desk({ QString::fromLatin1("m4") });
    desk.act("m4", "fault", "('calibrateSupply', 'delay', <uint32 5000>)");
    QQuickView view;
    view.engine()->addImportPath(QString::fromLatin1(HNIPC_QML_BUILD_DIR));
    view.setSource(QUrl::fromLocalFile(QString::fromLatin1(HNIPC_QML_TEST_DIR "/InFlight.qml")));
    QQuickItem *root = view.rootObject();
    QVERIFY(root);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    HNIPCRequest *request = qobject_cast<HNIPCRequest *>(
        root->property("request").value<QObject *>());
    QVERIFY(request);

    QTest::mouseClick(&view, Qt::LeftButton, Qt::NoModifier, QPoint(50, 50));
    QVERIFY(request->isPending());
    const int ticks = root->property("ticks").toInt();
    const int moves = root->property("moves").toInt();
    for (int click = 1; click <= 10; ++click) {
        QVERIFY(waitUntil([=]() {
            return root->property("ticks").toInt() >= ticks + 5 * click
                && root->property("moves").toInt() >= moves + 5 * click;
        }));
        QTest::mouseClick(&view, Qt::LeftButton, Qt::NoModifier, QPoint(150, 50));
        QCOMPARE(root->property("clicks").toInt(), click);
        QVERIFY(request->isPending());
    }
    QVERIFY(waitUntil([=]() { return !request->isPending(); }));
    QCOMPARE(root->property("outcome").toString(), QString::fromLatin1("done"));
    QCOMPARE(root->property("finishes").toInt(), 1);
}

HNIPC_QML_TEST_MAIN(tst_QmlRequest)

#include "tst_qmlrequest.moc"
