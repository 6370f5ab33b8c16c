// SPDX-License-Identifier: MIT
#include "scene.h"
#include "support/fakedaemons.h"
#include "support/memory.h"
#include "support/waituntil.h"

#include <hnipc/hnipcrequest.h>

#include <QtCore/QPointer>

using namespace Expected;

// Requests that JavaScript creates while the document runs, and single calls.
class tst_QmlCalls : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void pendingRequestsAreNotCollected();
    void finishedRequestsAreCollected();
    void pendingRequestMayBeDestroyed();
    void engineDeletesItsPendingRequests();
    void callIsSentAndAnswered_data();
    void callIsSentAndAnswered();
    void callNeedsNeitherParametersNorCallback();
    void wrongUseIsAnError_data();
    void wrongUseIsAnError();
    void callbackThatThrowsIsReported();
    void callbackMayDestroyItsCaller();
    void callerIsDestroyedFirst();
    void engineIsDestroyedFirst();
    void screensAreLoadedAndDestroyed();
};

static const char maker[] = R"(
import QtQml 2.15
import HNIPC 1.0

QtObject {
    id: root

    property int finishes: 0
    property int destructions: 0
    property var latest: null
    property Component component: Component {
        HNIPCRequest {
            property var kept: ["kept"]

            method: "calibrateSupply"
            onFinished: root.finishes += kept[0] === "kept" && done
            Component.onDestruction: ++root.destructions
        }
    }

    function start(count) {
        for (let i = 0; i < count; ++i)
            component.createObject().send();
    }
    function litter() {
        let all = [];
        for (let i = 0; i < 20000; ++i)
            all.push({ "text": "text " + i });
        return all.length;
    }
}
)";

// Collects garbage: unreferenced objects are deleted now, or when the event loop runs.
static void collect(Scene &scene)
{
    scene.js("litter()");
    scene.engine().collectGarbage();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
}

void tst_QmlCalls::pendingRequestsAreNotCollected()
{
    const int count = 32; // the limit of calls at a time
    FakeDaemons daemons;
    daemons[M4].hold("calibrateSupply");
    Scene scene;
    scene.show(maker);
    scene.js("start(50)");
    QVERIFY(waitUntil([&]() { return daemons[M4].held() == count; }));
    for (int time = 0; time < 3; ++time) {
        collect(scene);
    }
    QCOMPARE(scene.js("[finishes, destructions]"), QByteArray("[0,0]"));
    daemons[M4].answer("calibrateSupply", "(true,)");
    for (int i = 0; i < count; ++i) {
        daemons[M4].answerHeld(i, "(true,)");
    }
    QVERIFY(waitUntil([&]() {
        scene.engine().collectGarbage();
        return scene.js("finishes") == "50";
    }));
    QCOMPARE(int(daemons.takeCalls().size()), 50);
    QCOMPARE(scene.warnings(), QList<QByteArray>());
}

void tst_QmlCalls::finishedRequestsAreCollected()
{
    FakeDaemons daemons;
    daemons[M4].answer("calibrateSupply", "(true,)");
    Scene scene;
    scene.show(maker);
    scene.js("start(50)");
    QVERIFY(waitUntil([&]() { return scene.js("finishes") == "50"; }));
    QVERIFY(waitUntil([&]() {
        collect(scene);
        return scene.js("destructions") == "50";
    }));
}

void tst_QmlCalls::pendingRequestMayBeDestroyed()
{
    FakeDaemons daemons;
    daemons[M4].hold("calibrateSupply");
    Scene scene;
    scene.show(maker);
    scene.js("latest = component.createObject()");
    scene.js("latest.send()");
    const QPointer<QObject> request = scene.root()->property("latest").value<QObject *>();
    QVERIFY(request);
    QVERIFY(waitUntil([&]() { return daemons[M4].held() == 1; }));
    scene.js("latest.destroy()");
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!request);
    QCOMPARE(scene.js("[finishes, destructions]"), QByteArray("[0,1]"));
    QCOMPARE(scene.warnings(), QList<QByteArray>());
}

void tst_QmlCalls::engineDeletesItsPendingRequests()
{
    FakeDaemons daemons;
    daemons[M4].hold("calibrateSupply");
    QPointer<QObject> request;
    {
        Scene scene;
        scene.show(maker);
        scene.js("latest = component.createObject()");
        request = scene.root()->property("latest").value<QObject *>();
        scene.js("latest.send()");
        scene.js("latest = null");
        QVERIFY(waitUntil([&]() { return daemons[M4].held() == 1; }));
        collect(scene);
        QVERIFY(request);
    }
    QVERIFY(waitUntil([&]() { return !request; }));
    daemons[M4].answerHeld(0, "(true,)");
    QVERIFY(daemons.passFence());
}

static const char caller[] = R"(
import QtQml 2.15
import HNIPC 1.0

QtObject {
    id: root

    property var answers: []
    property QtObject other: QtObject {
        function call(method, parameters, callback) {
            HNIPCRequest.call(method, parameters, callback);
        }
    }
    property Component component: Component {
        QtObject {
            id: made

            function call() {
                HNIPCRequest.call("calibrateSupply", [], answer => {
                    root.answers.push(answer);
                    made.destroy();
                });
            }
        }
    }

    function keep(answer) {
        answers.push(answer);
    }
    function call(method, parameters, callback) {
        HNIPCRequest.call(method, parameters, callback);
    }
}
)";

static bool isAnswered(Scene &scene, const QByteArray &count = "1")
{
    return waitUntil([&]() { return scene.js("answers.length") == count; });
}

void tst_QmlCalls::callIsSentAndAnswered_data()
{
    QTest::addColumn<QByteArray>("call");
    QTest::addColumn<QByteArray>("sent");
    QTest::addColumn<QByteArray>("answer"); // done, outcome, reason, value, errorName, errorText
    QTest::newRow("done") << QByteArray("'forwardFeed', [400]")
                          << QByteArray("forwardFeed(uint32 400,)")
                          << QByteArray("[true,2,0,true,\"\",\"\"]");
    QTest::newRow("not done") << QByteArray("'calibrateSupply', []")
                              << QByteArray("calibrateSupply()")
                              << QByteArray("[false,2,0,false,\"\",\"\"]");
    QTest::newRow("refused") << QByteArray("'setUserSetting', [3, -120]")
                             << QByteArray("setUserSetting(3, -120)")
                             << QByteArray("[false,3,1,null,\"org.hnipc.Error.Busy\",\"busy\"]");
    QTest::newRow("out of range")
        << QByteArray("'forwardFeed', [-1]") << QByteArray()
        << QByteArray("[false,1,3,null,\"org.freedesktop.DBus.Error.InvalidArgs\",");
    QTest::newRow("unknown")
        << QByteArray("'noSuch', []") << QByteArray()
        << QByteArray("[false,1,2,null,\"org.freedesktop.DBus.Error.UnknownMethod\",");
    QTest::newRow("64 bits") << QByteArray("'ribbon1Verify', []") << QByteArray("ribbon1Verify()")
                             << QByteArray("[true,2,0,\"18446744073709551615\",\"\",\"\"]");
    QTest::newRow("list") << QByteArray("'supplyInformationBySKUs', ['a', ['b', 'c']]")
                          << QByteArray("supplyInformationBySKUs('a', ['b', 'c'], '')")
                          << QByteArray("[false,3,1,null,\"org.hnipc.Error.Busy\",\"busy\"]");
}

void tst_QmlCalls::callIsSentAndAnswered()
{
    QFETCH(QByteArray, call);
    QFETCH(QByteArray, sent);
    QFETCH(QByteArray, answer);
    FakeDaemons daemons;
    daemons[M4].answer("forwardFeed", "(true,)");
    daemons[M4].answer("calibrateSupply", "(false,)");
    daemons[M4].answer("ribbon1Verify", "(uint64 18446744073709551615,)");
    daemons[M4].answerError("setUserSetting", "org.hnipc.Error.Busy", "busy");
    daemons[SUPPLYD].answerError("supplyInformationBySKUs", "org.hnipc.Error.Busy", "busy");
    Scene scene;
    scene.show(caller);
    scene.js("call(" + call + ", keep)");
    QCOMPARE(scene.js("answers.length"), QByteArray("0"));
    QVERIFY(isAnswered(scene));
    const QByteArray values = scene.js("answers.map(a => [a.done, a.outcome, a.reason, a.value, "
                                       "a.errorName, a.errorText])[0]");
    QVERIFY2(values.startsWith(answer), values.constData());
    QCOMPARE(scene.js("Object.keys(answers[0]).sort()"),
             QByteArray("[\"done\",\"errorName\",\"errorText\",\"outcome\",\"reason\",\"value\"]"));
    QList<QByteArray> calls;
    const QList<WireMessage> arrived = daemons.takeCalls();
    for (const WireMessage &message : arrived) {
        calls.append(message.member + message.body);
    }
    QCOMPARE(calls, sent.isEmpty() ? QList<QByteArray>() : QList<QByteArray> { sent });
    QVERIFY(waitUntil([&]() { return !scene.root()->findChild<HNIPCRequest *>(); }));
    QCOMPARE(scene.warnings(), QList<QByteArray>());
}

void tst_QmlCalls::callNeedsNeitherParametersNorCallback()
{
    FakeDaemons daemons;
    Scene scene;
    scene.show(caller);
    scene.js("call('calibrateSupply')");
    scene.js("call('calibrateSupply', null, null)");
    QVERIFY(waitUntil([&]() { return daemons[M4].calls().size() == 2; }));
    QVERIFY(waitUntil([&]() { return !scene.root()->findChild<HNIPCRequest *>(); }));
    QCOMPARE(scene.warnings(), QList<QByteArray>());
}

void tst_QmlCalls::wrongUseIsAnError_data()
{
    QTest::addColumn<QByteArray>("call");
    QTest::addColumn<QByteArray>("error");
    const QByteArray list = "TypeError: HNIPCRequest.call(): the parameters are not a list";
    const QByteArray function = "TypeError: HNIPCRequest.call(): the callback is not a function";
    QTest::newRow("number") << QByteArray("'forwardFeed', 400, keep") << list;
    QTest::newRow("text") << QByteArray("'forwardFeed', '400'") << list;
    QTest::newRow("object") << QByteArray("'forwardFeed', { 'a': 1 }, keep") << list;
    QTest::newRow("callback in place of the list") << QByteArray("'calibrateSupply', keep") << list;
    QTest::newRow("callback") << QByteArray("'calibrateSupply', [], 3") << function;
}

void tst_QmlCalls::wrongUseIsAnError()
{
    QFETCH(QByteArray, call);
    QFETCH(QByteArray, error);
    FakeDaemons daemons;
    Scene scene;
    scene.show(caller);
    const QByteArray said = scene.js("call(" + call + ")");
    QVERIFY2(said.contains(error), said.constData());
    QVERIFY(!scene.root()->findChild<HNIPCRequest *>());
    QVERIFY(daemons.takeCalls().isEmpty());
}

void tst_QmlCalls::callbackThatThrowsIsReported()
{
    FakeDaemons daemons;
    Scene scene;
    scene.show(caller);
    scene.js("call('calibrateSupply', [], answer => { keep(answer); throw new Error('oh no') })");
    QVERIFY(isAnswered(scene));
    QCOMPARE(int(scene.warnings().size()), 1);
    QVERIFY2(scene.warnings().first().contains("oh no"), scene.warnings().first().constData());
}

void tst_QmlCalls::callbackMayDestroyItsCaller()
{
    FakeDaemons daemons;
    Scene scene;
    scene.show(caller);
    scene.js("component.createObject(root).call()");
    QVERIFY(isAnswered(scene));
    scene.js("call('calibrateSupply', [], function (answer) { keep(answer); other = null })");
    QVERIFY(isAnswered(scene, "2"));
    QCOMPARE(scene.warnings(), QList<QByteArray>());
}

void tst_QmlCalls::callerIsDestroyedFirst()
{
    FakeDaemons daemons;
    daemons[M4].hold("calibrateSupply");
    Scene scene;
    scene.show(caller);
    const QPointer<QObject> other = scene.root()->property("other").value<QObject *>();
    scene.js("other.call('calibrateSupply', [], keep)");
    QVERIFY(waitUntil([&]() { return daemons[M4].held() == 1; }));
    QVERIFY(other->findChild<HNIPCRequest *>());
    delete other.data();
    daemons[M4].answerHeld(0, "(true,)");
    // A later call has its reply, so a reply to the earlier one would have arrived.
    daemons[M4].answer("calibrateSupply", "(true,)");
    scene.js("call('calibrateSupply', [], keep)");
    QVERIFY(isAnswered(scene));
    QVERIFY(daemons.passFence());
    QCOMPARE(scene.js("answers.length"), QByteArray("1"));
    QCOMPARE(scene.warnings(), QList<QByteArray>());
}

void tst_QmlCalls::engineIsDestroyedFirst()
{
    FakeDaemons daemons;
    daemons[M4].hold("calibrateSupply");
    QScopedPointer<QObject> root;
    int calls = 0;
    QObject outside;
    connect(&outside, &QObject::objectNameChanged, [&calls]() { ++calls; });
    {
        QQmlEngine engine;
        engine.addImportPath(QString::fromLatin1(HNIPC_QML_BUILD_DIR));
        engine.rootContext()->setContextProperty(QString::fromLatin1("outside"), &outside);
        QQmlComponent component(&engine);
        component.setData("import QtQml 2.15\nimport HNIPC 1.0\nQtObject {\n"
                          "    property int count: 0\n"
                          "    function call() {\n"
                          "        HNIPCRequest.call('calibrateSupply', [],\n"
                          "                          () => outside.objectName = ++count)\n"
                          "    }\n"
                          "}",
                          QUrl(QString::fromLatin1("scene.qml")));
        root.reset(component.create());
        QVERIFY(root);
        QVERIFY(QMetaObject::invokeMethod(root.data(), "call"));
        QVERIFY(waitUntil([&]() { return daemons[M4].held() == 1; }));
        daemons[M4].answerHeld(0, "(true,)");
        QVERIFY(waitUntil([&]() { return calls == 1; }));
        QVERIFY(QMetaObject::invokeMethod(root.data(), "call"));
        QVERIFY(waitUntil([&]() { return daemons[M4].held() == 2; }));
    }
    daemons[M4].answerHeld(1, "(true,)");
    // The request belongs to the object, which still exists, so it finishes and is deleted.
    QVERIFY(waitUntil([&]() { return !root->findChild<HNIPCRequest *>(); }));
    QCOMPARE(calls, 1);
}

// Every fourth screen is destroyed at once, with all its calls pending; the others when all their
// values are known.
void tst_QmlCalls::screensAreLoadedAndDestroyed()
{
    FakeDaemons daemons;
    daemons[M4].answer("printerLid", "(true,)");
    daemons[M4].answer("calibrateSupply", "(true,)");
    daemons[SUPPLYD].answer("supplySupplyPercent", "(80.0,)");
    Scene scene;
    scene.show("import QtQuick 2.15\nItem {\n    property alias screen: loader.item\n"
               "    Loader { id: loader }\n"
               "    Loader { id: other }\n"
               "    function load(url) { loader.source = url }\n"
               "    function loadOther(url) { other.source = url }\n}");
    const QByteArray url = '"'
        + QUrl::fromLocalFile(QString::fromLatin1(HNIPC_QML_TEST_DIR "/Screen.qml"))
              .toString()
              .toUtf8()
        + '"';
    // One screen keeps the subscriptions.
    scene.js("loadOther(" + url + ")");
    const auto isComplete = [&]() { return scene.js("screen.complete") == "true"; };
    const auto show = [&](int first, int last) {
        for (int i = first; i < last; ++i) {
            scene.js("load(" + url + ")");
            if (i % 4 != 0 && !waitUntil(isComplete)) {
                return false;
            }
            scene.js("load('')");
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            daemons.takeCalls();
        }
        collect(scene);
        return daemons.passFence();
    };
    QVERIFY(show(0, 200));
    const int children = int(scene.root()->findChildren<QObject *>().size());
    const long before = heapInUse();
    QVERIFY(show(200, 1000));
    const long perScreen = (heapInUse() - before) / 800;
    QVERIFY2(perScreen < 200,
             QByteArray::number(qlonglong(perScreen)).constData()); // less than any object
    QCOMPARE(int(scene.root()->findChildren<QObject *>().size()), children);
    WireMonitor monitor;
    QVERIFY(show(0, 100)); // after the heap was measured, because the monitor keeps data there
    int subscriptions = 0;
    const QList<WireMessage> messages = monitor.take();
    for (const WireMessage &message : messages) {
        subscriptions += message.member == "AddMatch" || message.member == "RemoveMatch";
    }
    QCOMPARE(subscriptions, 0);
    QCOMPARE(scene.warnings(), QList<QByteArray>());

    // The remaining screen still works.
    scene.js("load(" + url + ")");
    QVERIFY(waitUntil(isComplete));
    QVERIFY(daemons.emitSignal(M4, "M4_M4PrinterLid", "(false,)"));
    QVERIFY(waitUntil([&]() { return scene.js("screen.lids") == "1"; }));
}

HNIPC_QML_TEST_MAIN(tst_QmlCalls)

#include "tst_qmlcalls.moc"
