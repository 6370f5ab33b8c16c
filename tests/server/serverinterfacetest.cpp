// SPDX-License-Identifier: MIT
#include "serverinterfacetest.h"

#include "expected/samples.h"
#include "support/qtmajors.h"
#include "support/signature.h"

#include <QtCore/QMetaClassInfo>
#include <QtCore/QPointer>
#include <QtCore/QVector>
#include <QtDBus/QDBusConnection>
#include <QtTest/QTest>

#include <algorithm>

using namespace Expected;

namespace {

// Enough rounds for all samples of each type.
const int roundCount = 5;

QList<QByteArray> typesOf(const ServerSlot &slot)
{
    const QByteArray signature = slot.signature;
    const int open = signature.indexOf('(') + 1;
    const QByteArray types = signature.mid(open, signature.size() - open - 1);
    return types.isEmpty() ? QList<QByteArray>() : types.split(',');
}

bool isPulse(const ServerSlot &slot) { return slot.isPulse(); }

bool isPureVirtual(const ServerSlot &slot) { return !slot.isPulse(); }

bool isAny(const ServerSlot &) { return true; }

// The values that an operation receives when it is called with argumentSamples(): all of them, and
// the empty value for the parameter that a cloned slot lacks.
QList<Sample> parameterSamples(const QList<ServerSlot> &rows, int index, int round)
{
    QList<Sample> result = argumentSamples(rows.at(index).signature, round);
    if (rows.at(index).cloned) {
        result.append(samplesOf(typesOf(rows.at(index - 1)).last()).first());
    }
    return result;
}

// A dictionary has no order on the wire.
QByteArray withoutOrder(const QByteArray &signature, const QByteArray &body)
{
    if (signature != "a{sv}") {
        return body;
    }
    QList<QByteArray> entries = body.mid(2, body.size() - 5).split(',');
    for (QByteArray &entry : entries) {
        entry = entry.trimmed();
    }
    std::sort(entries.begin(), entries.end());
    return joined(entries, "\n");
}

} // namespace

HNIPCServer *ServerInterfaceTest::server() const { return m_server; }

Recorder *ServerInterfaceTest::recorder() const { return m_recorder; }

WireMessage ServerInterfaceTest::call(const QByteArray &member, const QByteArray &body)
{
    return m_peer.call(identities[m_daemon].busName, "/", m_interface, member, body);
}

QByteArray ServerInterfaceTest::sentSignals()
{
    QList<QByteArray> lines;
    const QList<WireMessage> sent = m_outbox.take(WireMessage::Signal);
    for (const WireMessage &signal : sent) {
        lines.append(signal.line()
                     + (signal.destination.isEmpty() ? "" : " to " + signal.destination));
    }
    return joined(lines, "\n");
}

QByteArray ServerInterfaceTest::signalLine(const QByteArray &member, const QByteArray &signature,
                                           const QByteArray &body) const
{
    WireMessage signal;
    signal.path = "/";
    signal.interface = m_interface;
    signal.member = member;
    signal.signature = signature;
    signal.body = body;
    return signal.line();
}

void ServerInterfaceTest::initTestCase()
{
    m_server = create(0);
    m_recorder = dynamic_cast<Recorder *>(m_server);
    QVERIFY(m_recorder);
}

void ServerInterfaceTest::init()
{
    m_recorder->calls.clear();
    m_recorder->nextAnswer = QVariant();
}

void ServerInterfaceTest::cleanupTestCase() { delete m_server; }

void ServerInterfaceTest::claimsItsNameAndIsExported()
{
    QCOMPARE(int(m_server->getServerType()), int(m_daemon));
    const WireMessage owner = m_peer.call("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                          "org.freedesktop.DBus", "GetNameOwner",
                                          QByteArray("('") + identities[m_daemon].busName + "',)");
    QCOMPARE(owner.body, "('" + m_outbox.ownName() + "',)");
    QVERIFY(QDBusConnection::systemBus().objectRegisteredAt(QLatin1String("/")) == m_server);
}

void ServerInterfaceTest::belongsToItsParent()
{
    QVERIFY(!m_server->parent());
    QObject *parent = new QObject;
    const QPointer<HNIPCServer> child = create(parent);
    QVERIFY(child->parent() == parent);
    delete parent;
    QVERIFY(!child);
}

void ServerInterfaceTest::metaObjectHasOnlyTheSlots()
{
    QCOMPARE("local." + QByteArray(m_metaObject->className()), m_interface);
    QVERIFY(m_metaObject->superClass() == &HNIPCServer::staticMetaObject);
    QCOMPARE(m_metaObject->methodCount() - m_metaObject->methodOffset(), int(m_slots.size()));
    QCOMPARE(m_metaObject->propertyCount() - m_metaObject->propertyOffset(), 0);
    QCOMPARE(m_metaObject->classInfoCount() - m_metaObject->classInfoOffset(), 1);
    const QMetaClassInfo info = m_metaObject->classInfo(m_metaObject->classInfoOffset());
    QCOMPARE(QByteArray(info.name()), QByteArray("D-Bus Interface"));
    QCOMPARE(QByteArray(info.value()), m_interface);
}

void ServerInterfaceTest::operationTakesAndAnswersOnTheWire_data() { addRows(isPureVirtual); }

void ServerInterfaceTest::operationTakesAndAnswersOnTheWire()
{
    QFETCH(int, index);
    const ServerSlot &slot = m_slots.at(index);
    for (int round = index; round < index + roundCount; ++round) {
        QList<Sample> answers;
        if (!slot.reply.isEmpty()) {
            const QList<Sample> samples = samplesOf(slot.reply);
            answers.append(samples.at(round % samples.size()));
            m_recorder->nextAnswer = answers.first().value;
        }

        m_recorder->calls.clear();
        const WireMessage reply = call(slot.name, wireBody(argumentSamples(slot.signature, round)));
        QCOMPARE(joined(m_recorder->calls, "\n"),
                 callText(slot.name, values(parameterSamples(m_slots, index, round))));
        QCOMPARE(int(reply.type), int(WireMessage::MethodReturn));
        QCOMPARE(reply.signature, slot.out);
        QCOMPARE(withoutOrder(slot.out, reply.body), withoutOrder(slot.out, wireBody(answers)));
    }
    QCOMPARE(sentSignals(), QByteArray());
}

void ServerInterfaceTest::pulseSendsItsSignal_data() { addRows(isPulse); }

void ServerInterfaceTest::pulseSendsItsSignal() { pulse(&ServerInterfaceTest::callInProcess); }

void ServerInterfaceTest::remotePulseSendsItsSignalAndAnswersTrue_data() { addRows(isPulse); }

void ServerInterfaceTest::remotePulseSendsItsSignalAndAnswersTrue()
{
    pulse(&ServerInterfaceTest::callRemotely);
}

void ServerInterfaceTest::otherArgumentsAreRefused_data() { addRows(isAny); }

void ServerInterfaceTest::otherArgumentsAreRefused()
{
    QFETCH(int, index);
    const ServerSlot &slot = m_slots.at(index);
    const QList<QByteArray> types = typesOf(slot);

    QList<QList<QByteArray>> others;
    others.append(types + (QList<QByteArray>() << "bool"));
    for (int i = 0; i < types.size(); ++i) {
        QList<QByteArray> changed = types;
        changed[i] = withoutAliases(types.at(i)) == "int" ? "uint" : "int";
        others.append(changed);
    }
    if (!types.isEmpty()) {
        others.append(types.mid(0, types.size() - 1));
    }

    m_recorder->nextAnswer = true;
    for (const QList<QByteArray> &other : others) {
        const QByteArray signature = slot.name + '(' + joined(other, ",") + ')';
        if (!isSlot(signature)) {
            const WireMessage reply = call(slot.name, wireBody(argumentSamples(signature, index)));
            QVERIFY2(reply.errorName == "org.freedesktop.DBus.Error.UnknownMethod",
                     signature.constData());
        }
    }
    QCOMPARE(joined(m_recorder->calls, "\n"), QByteArray());
    QCOMPARE(sentSignals(), QByteArray());
}

void ServerInterfaceTest::addRows(bool (*selects)(const ServerSlot &))
{
    QTest::addColumn<int>("index");
    for (int i = 0; i < m_slots.size(); ++i) {
        if (selects(m_slots.at(i))) {
            QTest::newRow(m_slots.at(i).signature.constData()) << i;
        }
    }
}

bool ServerInterfaceTest::isSlot(const QByteArray &signature) const
{
    for (const ServerSlot &slot : m_slots) {
        if (withoutAliases(slot.signature) == withoutAliases(signature)) {
            return true;
        }
    }
    return false;
}

void ServerInterfaceTest::pulse(bool (ServerInterfaceTest::*callWith)(int, int))
{
    QFETCH(int, index);
    const ServerSlot &slot = m_slots.at(index);
    for (int round = index; round < index + roundCount; ++round) {
        QVERIFY((this->*callWith)(index, round));
        QCOMPARE(sentSignals(),
                 signalLine(slot.member, slot.memberTypes,
                            wireBody(parameterSamples(m_slots, index, round))));
    }
    QCOMPARE(joined(m_recorder->calls, "\n"), QByteArray());
}

bool ServerInterfaceTest::callInProcess(int index, int round)
{
    const int method = m_metaObject->methodOffset() + index;
    const QByteArray signature = m_slots.at(index).signature;
    if (signatureOf(m_metaObject->method(method)) != withoutAliases(signature)) {
        return false;
    }
    bool result = false;
    QVector<void *> pointers(1, &result);
    const QList<Sample> arguments = argumentSamples(signature, round);
    for (const Sample &argument : arguments) {
        pointers.append(const_cast<void *>(argument.value.constData()));
    }
    QMetaObject::metacall(m_server, QMetaObject::InvokeMetaMethod, method, pointers.data());
    return result;
}

bool ServerInterfaceTest::callRemotely(int index, int round)
{
    const ServerSlot &slot = m_slots.at(index);
    const WireMessage reply = call(slot.name, wireBody(argumentSamples(slot.signature, round)));
    return reply.type == WireMessage::MethodReturn && reply.signature == "b"
        && reply.body == "(true,)";
}
