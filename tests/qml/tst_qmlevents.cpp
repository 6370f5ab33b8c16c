// SPDX-License-Identifier: MIT
#include "expected/samples.h"
#include "handlers.h"
#include "scene.h"
#include "support/fakedaemons.h"
#include "support/waituntil.h"

#include <hnipc/hnipcevents.h>

using namespace Expected;

// The events of the daemons in a document, from an object that does not wait for daemons.
class tst_QmlEvents : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void handlersReceiveArgumentsByName_data();
    void handlersReceiveArgumentsByName();
    void eventsOfARestartedDaemonArrive();
    void daemonsThatDoNotReplyDelayNothing();
    void listsOfStringsAreArrays();
    void objectOfCppHasTheType();
    void objectOfCppHasHandlers();
    void handlersOfAnythingElse();
};

static bool listens(Scene &scene)
{
    return waitUntil([&scene]() { return scene.js("listening") == "true"; });
}

static QByteArray json(const QVariantList &values)
{
    return QJsonDocument(QJsonArray::fromVariantList(values)).toJson(QJsonDocument::Compact);
}

// The next signal of the same daemon, which arrives after this one.
static const ClientSignal &successorOf(int row)
{
    int other = row;
    do {
        other = (other + 1) % clientSignalCount;
    } while (clientSignals[other].server != clientSignals[row].server);
    return clientSignals[other];
}

void tst_QmlEvents::handlersReceiveArgumentsByName_data()
{
    QTest::addColumn<int>("row");
    for (int row = 0; row < clientSignalCount; ++row) {
        if (clientSignals[row].server != NoServer) {
            QTest::newRow(clientSignals[row].signature) << row;
        }
    }
}

void tst_QmlEvents::handlersReceiveArgumentsByName()
{
    QFETCH(int, row);
    const ClientSignal &signal = clientSignals[row];
    const QByteArray parameters = signal.parameters;
    const QByteArray handler = eventHandlerOf(signal);
    FakeDaemons daemons;
    Scene scene;
    // clang-format off
    scene.show("import QtQml 2.15\n"
               "import HNIPC 1.0\n"
               "HNIPCEvents {\n"
               "    id: events\n"
               "    property var byName: []\n"
               "    property var inConnections: []\n"
               "    property var connected: []\n"
               "    property var all: []\n"
               "    " + handler + ": byName.push([" + parameters + "])\n"
               "    onReceived: (name, values) => all.push([name, values])\n"
               "    property var connections: Connections {\n"
               "        target: events\n"
               "        function " + handler + "(" + parameters + ") {\n"
               "            events.inConnections.push([" + parameters + "])\n"
               "        }\n"
               "    }\n"
               "    Component.onCompleted: events." + nameOf(signal.signature)
               + ".connect(function(" + parameters + ") {\n"
               "        events.connected.push([" + parameters + "])\n"
               "    })\n"
               "}\n");
    // clang-format on
    QVERIFY(listens(scene));
    const QList<Sample> samples = argumentSamples(signal.signature, 1);
    QVERIFY(daemons.emitSignal(signal.server, signal.member, wireBody(samples)));
    const ClientSignal &next = successorOf(row);
    const QList<Sample> nextSamples = argumentSamples(next.signature, 2);
    QVERIFY(daemons.emitSignal(next.server, next.member, wireBody(nextSamples)));
    QVERIFY(waitUntil([&scene]() { return scene.js("all.length") == "2"; }));

    const QVariantList once = { QVariant(values(samples)) };
    QCOMPARE(scene.js("byName"), json(once));
    QCOMPARE(scene.js("inConnections"), json(once));
    QCOMPARE(scene.js("connected"), json(once));
    QCOMPARE(scene.js("all"),
             json({ QVariantList { nameOf(signal.signature), QVariant(values(samples)) },
                    QVariantList { nameOf(next.signature), QVariant(values(nextSamples)) } }));
    QCOMPARE(scene.warnings(), QList<QByteArray>());
    QVERIFY(daemons.takeCalls().isEmpty());
}

void tst_QmlEvents::eventsOfARestartedDaemonArrive()
{
    FakeDaemons daemons(false);
    Scene scene;
    scene.showFile("Events.qml");
    QCOMPARE(scene.js("listening"), QByteArray("false"));
    QVERIFY(listens(scene));
    QByteArray lids;
    for (int time = 0; time < 3; ++time) {
        daemons.start(M4);
        QVERIFY(daemons.emitSignal(M4, "M4_M4UserSetting", "(3, -120)"));
        QVERIFY(daemons.emitSignal(M4, "M4_M4PrinterLid", "(true,)"));
        lids += "true ";
        QVERIFY(waitUntil([&]() { return scene.js("lids") == '"' + lids + '"'; }));
        daemons.stop(M4);
    }
    const QByteArray names = QByteArray("M4UserSetting(3,-120) M4PrinterLid(true) ").repeated(3);
    QCOMPARE(scene.js("names"), '"' + names + '"');
    QCOMPARE(scene.js("listenings"), QByteArray("\"on \""));
    QCOMPARE(scene.warnings(), QList<QByteArray>());
}

// The blocking client would introspect the daemons, and block until they reply.
void tst_QmlEvents::daemonsThatDoNotReplyDelayNothing()
{
    FakeDaemons daemons;
    daemons[IOEXPD].ignore("Introspect");
    daemons[M4].ignore("Introspect");
    Scene scene;
    scene.showFile("Events.qml");
    QVERIFY(listens(scene));
    QVERIFY(daemons.emitSignal(M4, "M4_M4PrinterLid", "(false,)"));
    QVERIFY(waitUntil([&]() { return scene.js("lids") == "\"false \""; }));
    for (int server = 0; server < ServerCount; ++server) {
        QCOMPARE(daemons[server].introspections(), 0);
    }
    QVERIFY(daemons.takeCalls().isEmpty());
}

void tst_QmlEvents::listsOfStringsAreArrays()
{
    FakeDaemons daemons;
    Scene scene;
    scene.show("import HNIPC 1.0\nHNIPCEvents {\n"
               "    property var seen: []\n"
               "    property var other: []\n"
               "    onM4RibbonIDs: value => seen.push(Array.isArray(value), value.concat(['c']))\n"
               "    onRibbonChanged: skus => seen.push(Array.isArray(skus), skus)\n"
               "    onReceived: name => other.push(name)\n"
               "}");
    QVERIFY(listens(scene));
    QVERIFY(daemons.emitSignal(M4, "M4_M4RibbonIDs", "(['a', 'b'],)"));
    QVERIFY(waitUntil([&]() { return scene.js("other.length") == "1"; }));
    QVERIFY(daemons.emitSignal(SUPPLYD, "SUPPLYD_RibbonChanged", "(['d'], 'p')"));
    QVERIFY(waitUntil([&]() { return scene.js("other.length") == "2"; }));
    QCOMPARE(scene.js("seen"), QByteArray("[true,[\"a\",\"b\",\"c\"],true,[\"d\"]]"));
    QCOMPARE(scene.warnings(), QList<QByteArray>());
}

void tst_QmlEvents::objectOfCppHasTheType()
{
    FakeDaemons daemons;
    HNIPCEvents events;
    Scene scene;
    scene.engine().rootContext()->setContextProperty(QString::fromLatin1("made"), &events);
    scene.show("import QtQml 2.15\nimport HNIPC 1.0\nQtObject {\n"
               "    property HNIPCEvents events: made\n"
               "    readonly property bool listening: events.listening\n"
               "    property var lids: []\n"
               "    Component.onCompleted: events.M4PrinterLid.connect(lid => lids.push(lid))\n"
               "}");
    QVERIFY(listens(scene));
    QVERIFY(daemons.emitSignal(M4, "M4_M4PrinterLid", "(true,)"));
    QVERIFY(waitUntil([&]() { return scene.js("lids") == "[true]"; }));
    QCOMPARE(scene.warnings(), QList<QByteArray>());
}

void tst_QmlEvents::objectOfCppHasHandlers()
{
    FakeDaemons daemons;
    HNIPCEvents events;
    Scene scene;
    scene.engine().rootContext()->setContextProperty(QString::fromLatin1("made"), &events);
    QByteArray functions;
    for (const ClientSignal &signal : clientSignals) {
        if (signal.server != NoServer) {
            const QByteArray parameters = signal.parameters;
            functions += "            function " + eventHandlerOf(signal) + "(" + parameters
                + ") { log(\"" + signal.signature + "\", [" + parameters + "]) }\n";
        }
    }
    scene.show("import QtQml 2.15\nimport HNIPC 1.0\nQtObject {\n"
               "    property var all: []\n"
               "    function log(name, values) { all.push([name, values]) }\n"
               "    property bool listening: made.listening\n"
               "    property Connections connections: Connections {\n"
               "        target: HNIPCEvents.handlersOf(made)\n"
               + functions + "    }\n}");
    QVERIFY(listens(scene));
    for (const ClientSignal &signal : clientSignals) {
        if (signal.server != NoServer) {
            const QList<Sample> samples = argumentSamples(signal.signature, 1);
            QVERIFY(daemons.emitSignal(signal.server, signal.member, wireBody(samples)));
            QVERIFY(waitUntil([&scene]() { return scene.js("all.length") == "1"; }));
            QCOMPARE(
                scene.js("all"),
                json({ QVariant(QVariantList { signal.signature, QVariant(values(samples)) }) }));
            scene.js("all = []");
        }
    }
    // All documents share the same handlers.
    QCOMPARE(scene.js("HNIPCEvents.handlersOf(made) === connections.target"), QByteArray("true"));
    scene.engine().collectGarbage();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCOMPARE(scene.js("HNIPC.handlersOf(made) === connections.target"), QByteArray("true"));
    QCOMPARE(scene.warnings(), QList<QByteArray>());
}

void tst_QmlEvents::handlersOfAnythingElse()
{
    Scene scene;
    QObject *root = scene.showFile("Events.qml");
    QCOMPARE(scene.js("HNIPCEvents.handlersOf(events) === events"), QByteArray("true"));
    QCOMPARE(scene.js("[HNIPCEvents.handlersOf(null), HNIPCEvents.handlersOf(root)]"),
             QByteArray("[null,null]"));
    // An object that was created by C++ stays a separate one.
    QQmlComponent component(&scene.engine());
    component.setData("import HNIPC 1.0\nHNIPCEvents {}", QUrl());
    const QScopedPointer<QObject> made(component.create());
    scene.engine().rootContext()->setContextProperty(QString::fromLatin1("made"), made.data());
    QCOMPARE(scene.js("HNIPCEvents.handlersOf(made) === made"), QByteArray("true"));
    QCOMPARE(QQmlEngine::objectOwnership(made.data()), QQmlEngine::CppOwnership);
    QVERIFY(root);
}

HNIPC_QML_TEST_MAIN(tst_QmlEvents)

#include "tst_qmlevents.moc"
