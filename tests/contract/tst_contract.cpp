// SPDX-License-Identifier: MIT
#include "contract.h"
#include "expected/identities.h"
#include "support/fakedaemons.h"
#include "support/privatebus.h"
#include "support/program.h"
#include "support/qtmajors.h"
#include "support/signalrecorder.h"
#include "support/signature.h"
#include "support/waituntil.h"

#include <hnipc/hnipc.h>
#include <hnipc/ihnipcioexpd.h>
#include <hnipc/ihnipcm4.h>
#include <hnipc/ihnipcsupplyd.h>

#include <QtCore/QFile>
#include <QtCore/QSet>
#include <QtCore/QVector>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusConnectionInterface>

using namespace Contract;
using namespace Expected;

namespace {

// An intended difference.
struct Deliberate
{
    const char *line;
    const char *reason;
};

const char defaulted[] = "the trailing argument has a default in the client, and always travels";

const Deliberate clientMethods[] = {
    { "M4: method sendMCCMessage: (type i, definedMessage i) -> b in the XML, not in the client",
      "the default of the number is the server's; the client always gives it" },
    { "SUPPLYD: method supplySKUCached: () -> s in the client, not in the XML", defaulted },
    { "SUPPLYD: method supplyRibbonSKUsCached: () -> as in the client, not in the XML", defaulted },
    { "SUPPLYD: method supplySupplyRGB: () -> s in the client, not in the XML", defaulted },
    { "SUPPLYD: method supplyRibbon1RGBs: () -> as in the client, not in the XML", defaulted },
    { "SUPPLYD: method supplyRibbon2RGBs: () -> as in the client, not in the XML", defaulted },
    { "SUPPLYD: method supplyInformation: () -> (sasdisdisisisdiayddiiiddddasavavavavav) "
      "as SupplyInformation in the client, not in the XML",
      defaulted },
    { "SUPPLYD: method supplyInformationBySKUs: (supplySku s, ribbonSkus as) -> "
      "(sasdisdisisisdiayddiiiddddasavavavavav) as SupplyInformation in the client, "
      "not in the XML",
      defaulted },
    { "SUPPLYD: method supplyMaterialName: (sku s) -> s in the client, not in the XML", defaulted },
    { "SUPPLYD: method supplyFormatName: (sku s) -> s in the client, not in the XML", defaulted },
    { "SUPPLYD: method supplyColorRGB: (sku s) -> i in the client, not in the XML", defaulted },
    { "SUPPLYD: method supplyColorName: (sku s) -> s in the client, not in the XML", defaulted },
    { "SUPPLYD: method supplyWidth: (sku s) -> d in the client, not in the XML", defaulted },
    { "SUPPLYD: method supplyNonContinuousLength: (sku s) -> d "
      "in the client, not in the XML",
      defaulted },
    { "SUPPLYD: method supplyTypeIndex: (sku s) -> i in the client, not in the XML", defaulted },
    { "SUPPLYD: method supplyRibbonColorName: (ribbonSku s) -> s "
      "in the client, not in the XML",
      defaulted },
    { "SUPPLYD: method supplyRibbonColorRGB: (ribbonSku s) -> i "
      "in the client, not in the XML",
      defaulted },
};

const Deliberate clientSignals[] = {
    { "signal StatusChanged: (status i, printerName s) in the client, not in the XML",
      "only the application itself emits it" },
};

const Deliberate pulses[] = {
    { "signal SUPPLYD_CloseApplicationSignal: () in the XML, not in the pulses",
      "a daemon that wants the applications to close sends it with pulseSignal()" },
};

const Deliberate nothing[] = { { 0, 0 } };

template <int count>
Lines unexpected(Lines lines, const Deliberate (&deliberate)[count])
{
    for (const Deliberate &row : deliberate) {
        if (row.line && !lines.removeOne(row.line)) {
            lines.append(QByteArray("not any more, although ") + row.reason + ": " + row.line);
        }
    }
    return lines;
}

// For lines that apply to more than one daemon.
Lines ofServer(int server, Lines lines)
{
    for (int i = 0; i < lines.size(); ++i) {
        lines[i].prepend(identities[server].tag + QByteArray(": "));
    }
    return lines;
}

#define VERIFY_AGREEMENT(found, deliberate)                                                        \
    do {                                                                                           \
        const Lines verifiedLines = unexpected(found, deliberate);                                 \
        for (const QByteArray &line : verifiedLines) {                                             \
            qWarning("%s", line.constData());                                                      \
        }                                                                                          \
        QVERIFY2(verifiedLines.isEmpty(), verifiedLines.value(0).constData());                     \
    } while (false)

const QMetaObject *const serverClasses[ServerCount] = {
    &IHNIPCIOEXPD::staticMetaObject,
    &IHNIPCM4::staticMetaObject,
    &IHNIPCSUPPLYD::staticMetaObject,
};

QMap<QByteArray, Members> read(const QByteArray &interface)
{
    QFile file(QFile::decodeName(HNIPC_INTERFACES_DIR "/" + interface + ".xml"));
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("%s: %s", qPrintable(file.fileName()), qPrintable(file.errorString()));
    }
    return interfacesIn(file.readAll());
}

Members described(int server)
{
    return read(identities[server].interface).value(identities[server].interface);
}

bool isPulse(const Member &member)
{
    return member.kind == "method" && member.name.startsWith("pulse");
}

// The client class does not call the pulses, although the bus would allow it: they are for the
// daemons.
Members withoutPulses(const Members &members)
{
    Members result;
    for (const Member &member : members) {
        if (!isPulse(member)) {
            result.append(member);
        }
    }
    return result;
}

QByteArray sampleOf(const QByteArray &type)
{
    static const char *const samples[][2] = {
        { "b", "true" }, { "i", "7" },      { "u", "uint32 8" },        { "t", "uint64 9" },
        { "d", "1.5" },  { "s", "'text'" }, { "as", "['one', 'two']" },
    };
    for (const auto &row : samples) {
        if (type == row[0]) {
            return row[1];
        }
    }
    return "'no sample'"; // a type that the contract does not have, so that the call cannot fit
}

QByteArray sampleBody(const Member &member)
{
    QByteArray result;
    for (const Argument &argument : member.arguments) {
        result += (result.isEmpty() ? "" : ", ") + sampleOf(argument.type);
    }
    return '(' + result + (member.arguments.size() == 1 ? ",)" : ")");
}

void addServers()
{
    QTest::addColumn<int>("server");
    for (int server = 0; server < ServerCount; ++server) {
        QTest::newRow(identities[server].interface) << server;
    }
}

} // namespace

// The library's sides and its interface descriptions agree: each side is compared with the
// descriptions, in both directions.
class tst_Contract : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void descriptionIsComplete_data() { addServers(); }
    void descriptionIsComplete();
    void serverClass_data() { addServers(); }
    void serverClass();
    void pulsesOfTheServerClass_data() { addServers(); }
    void pulsesOfTheServerClass();
    void liveObject_data() { addServers(); }
    void liveObject();
    void clientMethods();
    void clientSignals();
    void subscriptions();
    void relayedSignals_data() { addServers(); }
    void relayedSignals();

    void differenceIsNamed_data();
    void differenceIsNamed();
    void orderIsNamed();
};

void tst_Contract::descriptionIsComplete()
{
    QFETCH(int, server);
    const QMap<QByteArray, Members> interfaces = read(identities[server].interface);
    QVERIFY2(!interfaces.contains("?"), interfaces.value("?").value(0).name.constData());
    QCOMPARE(QList<QByteArray>(interfaces.keys()),
             QList<QByteArray>() << identities[server].interface);
    Lines lines;
    const Members members = interfaces.value(identities[server].interface);
    for (const Member &member : members) {
        const QByteArray subject = member.kind + ' ' + member.name + ": ";
        if (member.documentation.isEmpty() || member.documentation.contains('\n')) {
            lines.append(subject + "is not documented in one line");
        }
        if (member.resultName != (member.result.isEmpty() ? "" : "result")) {
            lines.append(subject + "calls its result \"" + member.resultName + '"');
        }
        if (member.kind == "signal"
            && !member.name.startsWith(identities[server].tag + QByteArray("_"))) {
            lines.append(subject + "lacks the daemon's tag");
        }
    }
    VERIFY_AGREEMENT(lines, nothing);
}

void tst_Contract::serverClass()
{
    QFETCH(int, server);
    const Side xml = { "the XML", methodsAmong(described(server)) };
    const Side metaObject = { "the server class", declaredSlots(*serverClasses[server]) };
    // If Qt knew a signal of the class, the bus would see it in addition to those of the contract.
    const Side none = { "the contract", Members() };
    const Side qt = { "the server class", declaredSignals(*serverClasses[server]) };
    VERIFY_AGREEMENT(disagreementsInOrder(xml, metaObject) + disagreements(none, qt), nothing);
}

void tst_Contract::pulsesOfTheServerClass()
{
    QFETCH(int, server);
    Side sent = { "the pulses", Members() };
    QSet<QByteArray> seen;
    const Members methods = declaredSlots(*serverClasses[server]);
    for (const Member &method : methods) {
        // The forms with default arguments follow the full one.
        if (isPulse(method) && !seen.contains(method.name)) {
            Member signal = method;
            signal.kind = "signal";
            signal.name = identities[server].tag + QByteArray("_")
                + method.name.mid(5, method.name.size() - 5 - 6);
            signal.result.clear();
            sent.members.append(signal);
            seen.insert(method.name);
        }
    }
    const Side xml = { "the XML", signalsAmong(described(server)) };
    if (server == SUPPLYD) {
        VERIFY_AGREEMENT(disagreements(xml, sent), pulses);
    } else {
        VERIFY_AGREEMENT(disagreements(xml, sent), nothing);
    }
}

void tst_Contract::liveObject()
{
    QFETCH(int, server);
    const QScopedPointer<Program> daemon(
        Program::daemon(QByteArray(identities[server].tag).toLower().constData()));
    WirePeer peer;
    const WireMessage reply = peer.call(identities[server].busName, "/",
                                        "org.freedesktop.DBus.Introspectable", "Introspect");
    QCOMPARE(int(reply.type), int(WireMessage::MethodReturn));
    // The text of a body that is one string: ('...\n...',)
    const QByteArray text = reply.body.mid(2, reply.body.size() - 5).replace("\\n", "\n");
    const QMap<QByteArray, Members> interfaces = interfacesIn(text);

    // An object has the interface of the contract, and those that Qt adds to each object.
    QCOMPARE(
        QList<QByteArray>(interfaces.keys()),
        QList<QByteArray>() << identities[server].interface << "org.freedesktop.DBus.Introspectable"
                            << "org.freedesktop.DBus.Peer"
                            << "org.freedesktop.DBus.Properties");
    // The signals are not in it: they are sent without being declared to Qt.
    const Side xml = { "the XML", methodsAmong(described(server)) };
    const Side object = { "the live object", interfaces.value(identities[server].interface) };
    VERIFY_AGREEMENT(disagreementsInOrder(xml, object), nothing);
}

void tst_Contract::clientMethods()
{
    FakeDaemons daemons;
    HNIPC client(0);
    const QMetaObject &meta = HNIPC::staticMetaObject;

    // Only the bus shows to which daemon a method belongs.
    Lines lines;
    Members methods[ServerCount];
    const Members declared = declaredSlots(meta);
    const int firstSlot = meta.methodCount() - int(declared.size());
    for (int i = 0; i < declared.size(); ++i) {
        const Member &member = declared.at(i);
        const QMetaMethod method = meta.method(firstSlot + i);
        const QList<QByteArray> types = method.parameterTypes();
        QVariantList values;
        for (const QByteArray &type : types) {
            values.append(variantOf(withoutAliases(type), 0));
        }
        QVector<void *> arguments(1, static_cast<void *>(0));
        for (const QVariant &value : values) {
            arguments.append(const_cast<void *>(value.constData()));
        }
        QMetaObject::metacall(&client, QMetaObject::InvokeMetaMethod, firstSlot + i,
                              arguments.data());

        const QList<WireMessage> calls = daemons.takeCalls();
        const WireMessage call = calls.value(0);
        bool known = false;
        for (int server = 0; server < ServerCount && !known; ++server) {
            known = call.destination == identities[server].busName && call.path == "/"
                && call.interface == identities[server].interface;
            if (known) {
                methods[server].append(member);
            }
        }
        // The short forms also send the default value of their last argument.
        const bool fits = method.attributes() & QMetaMethod::Cloned
            ? call.signature.startsWith(member.signature())
            : call.signature == member.signature();
        if (calls.size() != 1 || !known || call.member != member.name || !fits) {
            lines.append("method " + member.name + ": " + member.form() + " of the client calls "
                         + (calls.isEmpty() ? "nothing" : call.destination + ' ' + call.line()));
        }
    }
    for (int server = 0; server < ServerCount; ++server) {
        const Side xml = { "the XML", withoutPulses(methodsAmong(described(server))) };
        const Side called = { "the client", methods[server] };
        lines += ofServer(server, disagreements(xml, called));
    }
    VERIFY_AGREEMENT(lines, ::clientMethods);
}

void tst_Contract::clientSignals()
{
    Members untagged;
    for (int server = 0; server < ServerCount; ++server) {
        const Members members = signalsAmong(described(server));
        for (Member member : members) {
            untagged.append(member);
            untagged.last().name = member.name.mid(QByteArray(identities[server].tag).size() + 1);
        }
    }
    const Side xml = { "the XML", untagged };
    const Side client = { "the client", declaredSignals(HNIPC::staticMetaObject) };
    VERIFY_AGREEMENT(disagreements(xml, client), ::clientSignals);
}

void tst_Contract::subscriptions()
{
    WireMonitor monitor;
    HNIPC client(0);
    // When the bus has replied to this call, it has handled everything sent before.
    QDBusConnection bus = QDBusConnection::systemBus();
    bus.interface()->isServiceRegistered(QLatin1String("org.hnipc.nobody"));

    Lines lines;
    Members subscribed[ServerCount];
    const QList<WireMessage> messages = monitor.take();
    for (const WireMessage &message : messages) {
        if (message.member != "AddMatch" || message.sender != bus.baseService().toLatin1()) {
            continue;
        }
        // One string, the rule: key='value',key='value'
        QMap<QByteArray, QByteArray> rule;
        const QByteArray text = message.body.mid(2, message.body.size() - 5);
        const QList<QByteArray> conditions = text.split(',');
        for (const QByteArray &condition : conditions) {
            const int equals = condition.indexOf('=');
            rule[condition.left(equals)] = condition.mid(equals + 1).replace('\'', "");
        }
        if (rule.value("interface") == "org.freedesktop.DBus") {
            continue; // subscriptions to the start and end of daemons
        }
        bool known = false;
        for (int server = 0; server < ServerCount && !known; ++server) {
            known = rule.value("sender") == identities[server].busName && rule.value("path") == "/"
                && rule.value("interface") == identities[server].interface;
            if (known) {
                Member member;
                member.kind = "signal";
                member.name = rule.value("member");
                subscribed[server].append(member);
            }
        }
        if (!known) {
            lines.append("the client subscribes to " + text);
        }
    }
    for (int server = 0; server < ServerCount; ++server) {
        Side xml = { "the XML", signalsAmong(described(server)) };
        for (int i = 0; i < xml.members.size(); ++i) {
            xml.members[i].arguments.clear(); // a rule does not contain them
        }
        const Side rules = { "the client's subscriptions", subscribed[server] };
        lines += ofServer(server, disagreements(xml, rules));
    }
    VERIFY_AGREEMENT(lines, nothing);
}

void tst_Contract::relayedSignals()
{
    QFETCH(int, server);
    FakeDaemons daemons;
    HNIPC client(0);
    SignalRecorder recorder(&client);
    Lines lines;
    const Members members = signalsAmong(described(server));
    for (const Member &member : members) {
        QVERIFY(daemons.emitSignal(server, member.name, sampleBody(member)));
        QVERIFY(daemons.passFence());
        const QByteArray expected = member.name.mid(QByteArray(identities[server].tag).size() + 1);
        const Lines emissions = recorder.take();
        const QByteArray emitted = emissions.value(0);
        if (emissions.size() != 1 || emitted.left(emitted.indexOf('(')) != expected) {
            lines.append("signal " + member.name + ": " + member.form()
                         + " in the XML makes the client emit "
                         + (emissions.isEmpty() ? "nothing" : emitted));
        }
    }
    VERIFY_AGREEMENT(lines, nothing);
}

void tst_Contract::differenceIsNamed_data()
{
    QTest::addColumn<QByteArray>("change");
    QTest::addColumn<QByteArray>("into");
    QTest::addColumn<QByteArray>("line");

    QTest::newRow("none") << QByteArray() << QByteArray() << QByteArray();
    QTest::newRow("type of an argument")
        << QByteArray("'n' type='u'") << QByteArray("'n' type='i'")
        << QByteArray("method feed: (n u) -> b in one, (n i) -> b in other");
    QTest::newRow("name of an argument")
        << QByteArray("'n' type") << QByteArray("'m' type")
        << QByteArray("method feed: (n u) -> b in one, (m u) -> b in other");
    QTest::newRow("result") << QByteArray("type='b' direction='out'")
                            << QByteArray("type='i' direction='out'")
                            << QByteArray("method feed: (n u) -> b in one, (n u) -> i in other");
    QTest::newRow("no result") << QByteArray("<arg type='b' direction='out'/>") << QByteArray()
                               << QByteArray("method feed: (n u) -> b in one, (n u) in other");
    QTest::newRow("further argument")
        << QByteArray("<arg type='b'")
        << QByteArray("<arg name='x' type='s' direction='in'/><arg type='b'")
        << QByteArray("method feed: (n u) -> b in one, (n u, x s) -> b in other");
    QTest::newRow("method less") << QByteArray("<method name='stop'/>") << QByteArray()
                                 << QByteArray("method stop: () in one, not in other");
    QTest::newRow("method more") << QByteArray("<method name='stop'/>")
                                 << QByteArray("<method name='stop'/><method name='go'/>")
                                 << QByteArray("method go: () in other, not in one");
    QTest::newRow("overload less") << QByteArray("<method name='say'/>") << QByteArray()
                                   << QByteArray("method say: () in one, not in other");
    QTest::newRow("overload more") << QByteArray("<method name='stop'/>")
                                   << QByteArray("<method name='stop'/><method name='stop'>"
                                                 "<arg name='n' type='u' direction='in'/></method>")
                                   << QByteArray("method stop: (n u) in other, not in one");
    QTest::newRow("another name")
        << QByteArray("'stop'") << QByteArray("'Stop'")
        << QByteArray("method stop: () in one, not in other\nmethod Stop: () in other, not in one");
    QTest::newRow("signal as a method")
        << QByteArray("<signal name='Said'/>") << QByteArray("<method name='Said'/>")
        << QByteArray("signal Said: () in one, not in other\nmethod Said: () in other, not in one");
    QTest::newRow("type of a signal") << QByteArray("'v' type='t'") << QByteArray("'v' type='u'")
                                      << QByteArray("signal Fed: (v t) in one, (v u) in other");
    QTest::newRow("class of a result")
        << QByteArray("'Record'") << QByteArray("'Table'")
        << QByteArray("method look: () -> a{sv} as Record in one, () -> a{sv} as Table in other");
    QTest::newRow("another annotation")
        << QByteArray("org.qtproject.QtDBus.QtTypeName.Out0") << QByteArray("a.b.Other")
        << QByteArray("method look: () -> a{sv} as Record in one, "
                      "() -> a{sv} as ?a.b.Other in other");
}

static const char sampleInterface[] =
    "<node><interface name='a.b'>"
    "<method name='feed'><arg name='n' type='u' direction='in'/><arg type='b' direction='out'/>"
    "</method>"
    "<method name='stop'/>"
    "<method name='say'><arg name='s' type='s' direction='in'/></method><method name='say'/>"
    "<method name='look'><arg type='a{sv}' direction='out'/>"
    "<annotation name='org.qtproject.QtDBus.QtTypeName.Out0' value='Record'/></method>"
    "<signal name='Fed'><arg name='v' type='t'/></signal>"
    "<signal name='Said'/>"
    "</interface></node>";

void tst_Contract::differenceIsNamed()
{
    QFETCH(QByteArray, change);
    QFETCH(QByteArray, into);
    QFETCH(QByteArray, line);
    QByteArray changed = sampleInterface;
    if (!change.isEmpty()) {
        QVERIFY(changed.contains(change));
        changed.replace(change, into);
    }
    const Side one = { "one", interfacesIn(sampleInterface).value("a.b") };
    const Side other = { "other", interfacesIn(changed).value("a.b") };
    QCOMPARE(int(one.members.size()), 7);
    QByteArray lines;
    for (const QByteArray &found : disagreements(one, other)) {
        lines += (lines.isEmpty() ? "" : "\n") + found;
    }
    QCOMPARE(lines, line);
}

void tst_Contract::orderIsNamed()
{
    const Side one = { "one", interfacesIn(sampleInterface).value("a.b") };
    Side other = { "other", one.members };
    QCOMPARE(disagreementsInOrder(one, other), Lines());
    other.members.move(1, 3);
    QCOMPARE(disagreements(one, other), Lines());
    QCOMPARE(disagreementsInOrder(one, other),
             Lines() << "method stop: stands in one where other has say");
}

HNIPC_TEST_MAIN(tst_Contract)

#include "tst_contract.moc"
