// SPDX-License-Identifier: MIT
#include "answers.h"
#include "expected/samples.h"
#include "scene.h"
#include "support/fakedaemons.h"
#include "tools/desk.h"

#include <hnipc/hnipcrequest.h>

#include <QtCore/QBuffer>
#include <QtGui/QImage>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickView>

using namespace Expected;

// Calls that do not block, and the availability of the daemons, in a document.
class tst_QmlRequest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void declaredRequestIsSentAndAnswered();
    void argumentsOfJavaScriptArrive_data();
    void argumentsOfJavaScriptArrive();
    void argumentsThatDoNotFitAreNotSent();
    void argumentsOfOneCallArrive();
    void sendIsASlot();
    void answersAreReadable_data() { addReadableAnswers(); }
    void answersAreReadable();
    void everyFieldOfARecordIsReadable();
    void listsOfStringsAreArrays();
    void imageShowsTheBytes();
    void allPropertiesAreSetWhenItFinishes_data();
    void allPropertiesAreSetWhenItFinishes();
    void outcomesAreReported();
    void reasonsAreNumbers();
    void deadlineEndsTheWait();
    void availabilityIsBound();
    void screenWorksDuringACommand();
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
    QCOMPARE(scene.js("log"), QByteArray("\"sent, not pending, finished, \""));
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
        QTest::newRow(name.constData())
            << QByteArray(row.method) << QByteArray(row.arguments) << QByteArray(row.body);
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
               + "\"; parameters: " + arguments + " }");
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
        scene.js("request.parameters = " + call.mid(bracket));
        QCOMPARE(scene.js("request.send()"), QByteArray("true"));
        QVERIFY(settles(scene));
        QCOMPARE(scene.js("state"), QByteArray("\"nothing was done\""));
        QCOMPARE(scene.js("answer"), QByteArray("undefined"));
    }
    QVERIFY(daemons.takeCalls().isEmpty());
}

void tst_QmlRequest::argumentsOfOneCallArrive()
{
    FakeDaemons daemons;
    Scene scene;
    scene.show("import HNIPC 1.0\n"
               "HNIPCRequest {\n"
               "    id: request\n"
               "    method: 'setDac'\n"
               "    parameters: [200]\n"
               "    function feed(n) { return send([n]) }\n"
               "    function feedAgain(n) { parameters = [n]; return send() }\n"
               "}");
    for (const QByteArray call : { "request.feed(7)", "request.send()", "request.send([8])",
                                   "request.feedAgain(9)", "request.send()" }) {
        QCOMPARE(scene.js(call), QByteArray("true"));
        QCOMPARE(scene.js("request.send([1])"), QByteArray("false"));
        QVERIFY(settles(scene));
    }
    QList<QByteArray> bodies;
    const QList<WireMessage> calls = daemons.takeCalls();
    for (const WireMessage &call : calls) {
        bodies.append(call.body);
    }
    QCOMPARE(bodies,
             (QList<QByteArray> { "(uint32 7,)", "(uint32 200,)", "(uint32 8,)", "(uint32 9,)",
                                  "(uint32 9,)" }));
    // If send() gets anything but a list that fits the method, it does not use `parameters`
    // instead.
    for (const QByteArray argument : { "[]", "[-1]", "[1, 2]", "'lots'", "{}", "null" }) {
        scene.js("request.send(" + argument + ")");
        QVERIFY(settles(scene));
    }
    QVERIFY(daemons.takeCalls().isEmpty());
    QCOMPARE(scene.warnings(), QList<QByteArray>());
}

void tst_QmlRequest::sendIsASlot()
{
    FakeDaemons daemons;
    Scene scene;
    scene.show("import QtQml 2.15\n"
               "import HNIPC 1.0\n"
               "QtObject {\n"
               "    id: root\n"
               "    signal pressed()\n"
               "    property HNIPCRequest request: HNIPCRequest {\n"
               "        method: 'setDac'\n"
               "        parameters: [200]\n"
               "    }\n"
               "    Component.onCompleted: root.pressed.connect(request.send)\n"
               "}");
    scene.js("root.pressed()");
    QVERIFY(settles(scene));
    QObject *request = scene.root()->property("request").value<QObject *>();
    QVERIFY(QObject::connect(scene.root(), SIGNAL(pressed()), request, SLOT(send())));
    scene.js("root.pressed()"); // the second connection finds it pending
    QVERIFY(settles(scene));
    const QList<WireMessage> calls = daemons.takeCalls();
    QCOMPARE(int(calls.size()), 2);
    QCOMPARE(calls.at(0).body, QByteArray("(uint32 200,)"));
    QCOMPARE(calls.at(1).body, QByteArray("(uint32 200,)"));
    QCOMPARE(scene.warnings(), QList<QByteArray>());
}

void tst_QmlRequest::answersAreReadable()
{
    QFETCH(QByteArray, method);
    QFETCH(QByteArray, answer);
    QFETCH(QByteArray, value);
    FakeDaemons daemons;
    daemons[M4].answer(method, answer);
    daemons[SUPPLYD].answer(method, answer);
    Scene scene;
    scene.showFile("Requests.qml");
    scene.js("request.method = '" + method + "'");
    if (method == "supplyBackgroundImage") {
        scene.js("request.parameters = ['a']");
    }
    scene.js("request.send()");
    QVERIFY(settles(scene));
    QCOMPARE(scene.js("state"), QByteArray("\"answered\""));
    QCOMPARE(scene.js("answer"), value);
    QCOMPARE(int(daemons.takeCalls().size()), 1);
}

void tst_QmlRequest::everyFieldOfARecordIsReadable()
{
    FakeDaemons daemons;
    daemons[SUPPLYD].answer("supplyInformation", '(' + wireStructure(tellingFields()) + ",)");
    Scene scene;
    scene.showFile("Requests.qml");
    scene.js("request.method = 'supplyInformation'");
    scene.js("request.send()");
    QVERIFY(settles(scene));
    QCOMPARE(QJsonDocument::fromJson(scene.js("answer")), QJsonDocument::fromJson(readableRecord));
    QCOMPARE(scene.js("answer.text2"), QByteArray("\"text 2\""));
}

void tst_QmlRequest::listsOfStringsAreArrays()
{
    FakeDaemons daemons;
    daemons[SUPPLYD].answer("supplySKUList", "(['a', 'b'],)");
    daemons[SUPPLYD].answer("supplyInformation", '(' + wireStructure(tellingFields()) + ",)");
    Scene scene;
    scene.showFile("Requests.qml");
    scene.js("request.method = 'supplySKUList'");
    scene.js("request.send()");
    QVERIFY(settles(scene));
    QCOMPARE(scene.js("[Array.isArray(answer), answer.concat(['c'])]"),
             QByteArray("[true,[\"a\",\"b\",\"c\"]]"));
    scene.js("request.method = 'supplyInformation'");
    scene.js("request.send()");
    QVERIFY(settles(scene));
    QCOMPARE(scene.js("[answer.textList1, answer.variantList5[2]].map(l => Array.isArray(l))"),
             QByteArray("[true,true]"));
}

void tst_QmlRequest::imageShowsTheBytes()
{
    QImage image(3, 2, QImage::Format_RGB32);
    image.fill(Qt::red);
    QBuffer file;
    QVERIFY(file.open(QBuffer::WriteOnly) && image.save(&file, "PNG"));
    QByteArray bytes;
    for (const char byte : file.data()) {
        bytes += (bytes.isEmpty() ? "[byte " : ", ") + QByteArray::number(uchar(byte));
    }
    FakeDaemons daemons;
    daemons[SUPPLYD].answer("supplyBackgroundImage", '(' + bytes + "],)");
    Scene scene;
    scene.show("import QtQuick 2.15\n"
               "import HNIPC 1.0\n"
               "Image {\n"
               "    property HNIPCReading reading: HNIPCReading {\n"
               "        id: reading\n"
               "        method: 'supplyBackgroundImage'\n"
               "        parameters: ['S-1']\n"
               "    }\n"
               "    source: reading.known ? 'data:;base64,' + reading.value : ''\n"
               "}");
    QVERIFY(waitUntil([&]() { return scene.js("status === Image.Ready") == "true"; }));
    QCOMPARE(scene.js("[implicitWidth, implicitHeight]"), QByteArray("[3,2]"));
    QCOMPARE(scene.warnings(), QList<QByteArray>());
}

void tst_QmlRequest::allPropertiesAreSetWhenItFinishes_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QByteArray>("bound");
    QTest::newRow("done") << QByteArray("(true,)") << QByteArray("[\"answered\",true,true]");
    QTest::newRow("not done") << QByteArray("(false,)") << QByteArray("[\"answered\",false,false]");
    QTest::newRow("refused") << QByteArray() << QByteArray("[\"refused: lid open\",null,false]");
}

// Each row sends a request after one with another outcome.
void tst_QmlRequest::allPropertiesAreSetWhenItFinishes()
{
    QFETCH(QByteArray, reply);
    QFETCH(QByteArray, bound);
    FakeDaemons daemons;
    Scene scene;
    QObject *root = scene.showFile("Requests.qml");
    scene.js("request.method = 'calibrateSupply'");
    const auto atFinish = [root]() { return root->property("atFinish").toByteArray(); };
    for (int time = 0; time < 2; ++time) {
        daemons[M4].answer("calibrateSupply", reply == "(true,)" ? "(false,)" : "(true,)");
        scene.js("request.send()");
        QVERIFY(waitUntil([&]() { return !atFinish().isEmpty(); }));
        if (reply.isEmpty()) {
            daemons[M4].answerError("calibrateSupply", "org.hnipc.Error.Failed", "lid open");
        } else {
            daemons[M4].answer("calibrateSupply", reply);
        }
        scene.js("atFinish = ''");
        scene.js("request.send()");
        QVERIFY(waitUntil([&]() { return !atFinish().isEmpty(); }));
        QCOMPARE(atFinish(), bound);
        scene.js("atFinish = ''");
    }
    QCOMPARE(scene.warnings(), QList<QByteArray>());
}

void tst_QmlRequest::outcomesAreReported()
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
    QCOMPARE(scene.js("request.reason === HNIPCRequest.DaemonError"), QByteArray("true"));

    daemons[M4].hold("calibrateSupply");
    scene.js("request.send()");
    QVERIFY(waitUntil([&daemons]() { return daemons[M4].held() == 1; }));
    scene.js("request.cancel()");
    QCOMPARE(scene.js("[state, request.errorName]"),
             QByteArray("[\"look at the printer\",\"org.hnipc.Error.Cancelled\"]"));
    QCOMPARE(scene.js("request.reason === HNIPCRequest.Cancelled"), QByteArray("true"));

    daemons.stop(M4);
    scene.js("request.send()");
    QVERIFY(settles(scene));
    QCOMPARE(scene.js("[state, request.errorName]"),
             QByteArray("[\"nothing was done\","
                        "\"org.freedesktop.DBus.Error.ServiceUnknown\"]"));
    QCOMPARE(scene.js("request.reason === HNIPCRequest.DaemonAbsent"), QByteArray("true"));
    QCOMPARE(scene.js("[HNIPCRequest.NoOutcome, HNIPCRequest.NotSent, HNIPCRequest.Answered, "
                      "HNIPCRequest.Refused, HNIPCRequest.Unknown]"),
             QByteArray("[0,1,2,3,4]"));
}

void tst_QmlRequest::reasonsAreNumbers()
{
    Scene scene;
    scene.showFile("Requests.qml");
    QCOMPARE(scene.js("[HNIPCRequest.NoReason, HNIPCRequest.DaemonError, "
                      "HNIPCRequest.UnknownMethod, HNIPCRequest.InvalidArguments, "
                      "HNIPCRequest.DaemonAbsent, HNIPCRequest.AccessDenied, "
                      "HNIPCRequest.BusError, HNIPCRequest.BusLost, HNIPCRequest.TimedOut, "
                      "HNIPCRequest.Cancelled, HNIPCRequest.DaemonLeft, HNIPCRequest.WrongType]"),
             QByteArray("[0,1,2,3,4,5,6,7,8,9,10,11]"));
    QCOMPARE(scene.js("request.reason === HNIPCRequest.NoReason"), QByteArray("true"));
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
    QCOMPARE(scene.js("[finishes, outcome === HNIPCRequest.Unknown, "
                      "reason === HNIPCRequest.TimedOut, errorName]"),
             QByteArray("[1,true,true,\"org.freedesktop.DBus.Error.Timeout\"]"));
    QCOMPARE(scene.js("value"), QByteArray("undefined"));
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

void tst_QmlRequest::screenWorksDuringACommand()
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
