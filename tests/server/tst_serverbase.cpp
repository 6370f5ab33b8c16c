// SPDX-License-Identifier: MIT
#include "expected/identities.h"
#include "members.h"
#include "outbox.h"
#include "support/privatebus.h"
#include "support/wirepeer.h"

#include <hnipc/hnipcserver.h>

#include <QtCore/QStringList>
#include <QtDBus/QDBusConnection>

#include <limits>

namespace {

const HNIPCServer::ServerType noDaemon = HNIPCServer::ServerType(3);
const char busInterface[] = "org.freedesktop.DBus";

static_assert(std::is_base_of<QObject, HNIPCServer>::value, "");
static_assert(areOfType<bool (HNIPCServer::*)(const QString &)>(&HNIPCServer::registerDbusService),
              "");
static_assert(areOfType<bool (HNIPCServer::*)(const QString &, const QString &)>(
                  &HNIPCServer::registerDbusObject),
              "");
static_assert(areOfType<bool (HNIPCServer::*)(const QString &, const QString &, const QString &,
                                              const QList<QVariant> &)>(&HNIPCServer::pulseSignal),
              "");
static_assert(
    areOfType<HNIPCServer::ServerType (HNIPCServer::*)() const>(&HNIPCServer::getServerType), "");

} // namespace

// Has one member of each kind that is exported, and similar ones that must not be exported.
class Exported : public HNIPCServer
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "local.Exported")
    Q_PROPERTY(int scriptableProperty READ value SCRIPTABLE true)
    Q_PROPERTY(int plainProperty READ value SCRIPTABLE false)

public:
    Exported() : HNIPCServer(noDaemon, 0) {}

    int value() const { return 1; }

    Q_SCRIPTABLE Q_INVOKABLE int scriptableInvokable() { return 2; }
    Q_INVOKABLE int plainInvokable() { return 3; }

public slots:
    Q_SCRIPTABLE int scriptableSlot() { return 4; }
    int plainSlot() { return 5; }

signals:
    Q_SCRIPTABLE void scriptableSignal();
    void plainSignal();
};

// Uses the bus before its own part is constructed.
class Early : public HNIPCServer
{
public:
    Early()
        : HNIPCServer(M4, 0),
          object(QDBusConnection::systemBus().objectRegisteredAt(QLatin1String("/")))
    {
    }

    const QObject *const object;
};

class tst_ServerBase : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void metaObjectHasNothingOfItsOwn();
    void addsNoVirtualOperation();
    void belongsToItsParent();
    void claimsItsNameAndExportsItself_data();
    void claimsItsNameAndExportsItself();
    void otherTypesAreNeitherNamedNorExported_data();
    void otherTypesAreNeitherNamedNorExported();
    void isExportedBeforeTheDerivedPartIsConstructed();
    void nameOfAnotherProcessIsTakenForRegistered();
    void nameOfThisProcessIsTakenForRegistered();
    void nameThatTheBusRefuses_data();
    void nameThatTheBusRefuses();
    void serverWithoutItsNameIsExported();
    void destructionKeepsTheName();
    void interfaceNameOfTheObjectIsThatOfTheClass();
    void onlyScriptableMembersAreExported();
    void takenPathIsRefused();
    void pulseSignalBroadcastsItsArguments_data();
    void pulseSignalBroadcastsItsArguments();
    void pulseSignalThatCannotBeSentIsFalse_data();
    void pulseSignalThatCannotBeSentIsFalse();

private:
    QByteArray ownerOf(const QByteArray &busName);
    QByteArray introspect(const QByteArray &path);
    // For a path without an object, Qt may still list the objects below it.
    bool isExported() { return introspect("/").contains("org.freedesktop.DBus.Properties"); }
    // The names that this process has requested from the bus since the previous call of this
    // function.
    QList<QByteArray> requestedNames();

    WirePeer m_peer;
    Outbox m_outbox;
};

QByteArray tst_ServerBase::ownerOf(const QByteArray &busName)
{
    const QByteArray body = m_peer
                                .call(busInterface, "/org/freedesktop/DBus", busInterface,
                                      "GetNameOwner", "('" + busName + "',)")
                                .body;
    return body.startsWith("(':") ? body.mid(2, body.size() - 5) : QByteArray();
}

QByteArray tst_ServerBase::introspect(const QByteArray &path)
{
    const WireMessage reply = m_peer.call(m_outbox.ownName(), path,
                                          "org.freedesktop.DBus.Introspectable", "Introspect");
    return reply.type == WireMessage::MethodReturn ? reply.body : QByteArray();
}

QList<QByteArray> tst_ServerBase::requestedNames()
{
    QList<QByteArray> result;
    const QList<WireMessage> calls = m_outbox.take(WireMessage::MethodCall);
    for (const WireMessage &call : calls) {
        if (call.interface == busInterface && call.member == "RequestName") {
            result.append(call.body.mid(2, call.body.indexOf('\'', 2) - 2));
        }
    }
    return result;
}

void tst_ServerBase::init()
{
    QVERIFY(!isExported());
    for (const Expected::Identity &identity : Expected::identities) {
        QCOMPARE(ownerOf(identity.busName), QByteArray());
    }
    requestedNames();
}

void tst_ServerBase::cleanup()
{
    for (const Expected::Identity &identity : Expected::identities) {
        QDBusConnection::systemBus().unregisterService(QLatin1String(identity.busName));
        m_peer.release(identity.busName);
    }
}

void tst_ServerBase::metaObjectHasNothingOfItsOwn()
{
    const QMetaObject &object = HNIPCServer::staticMetaObject;
    QCOMPARE(QByteArray(object.className()), QByteArray("HNIPCServer"));
    QVERIFY(object.superClass() == &QObject::staticMetaObject);
    QCOMPARE(object.methodCount(), object.methodOffset());
    QCOMPARE(object.propertyCount(), object.propertyOffset());
}

void tst_ServerBase::addsNoVirtualOperation()
{
    QCOMPARE(QList<int>() << virtualIndex(&WithOneMore<HNIPCServer>::oneMore),
             virtualIndexesAfterQObject(1));
}

void tst_ServerBase::belongsToItsParent()
{
    QObject parent;
    HNIPCServer *const child = new HNIPCServer(noDaemon, &parent);
    QVERIFY(child->parent() == &parent);
}

void tst_ServerBase::claimsItsNameAndExportsItself_data()
{
    QTest::addColumn<int>("type");
    for (int type = 0; type < Expected::ServerCount; ++type) {
        QTest::newRow(Expected::identities[type].tag) << type;
    }
}

void tst_ServerBase::claimsItsNameAndExportsItself()
{
    QFETCH(int, type);
    const QByteArray busName = Expected::identities[type].busName;

    const HNIPCServer server(HNIPCServer::ServerType(type), 0);
    QCOMPARE(int(server.getServerType()), type);
    QCOMPARE(requestedNames(), QList<QByteArray>() << busName);
    QCOMPARE(ownerOf(busName), m_outbox.ownName());
    QVERIFY(isExported());
    QVERIFY(QDBusConnection::systemBus().objectRegisteredAt(QLatin1String("/")) == &server);
}

void tst_ServerBase::otherTypesAreNeitherNamedNorExported_data()
{
    QTest::addColumn<int>("type");
    QTest::newRow("3") << 3;
    QTest::newRow("-1") << -1;
    QTest::newRow("largest") << std::numeric_limits<int>::max();
}

void tst_ServerBase::otherTypesAreNeitherNamedNorExported()
{
    QFETCH(int, type);
    const HNIPCServer server(HNIPCServer::ServerType(type), 0);
    QCOMPARE(int(server.getServerType()), type);
    QCOMPARE(requestedNames(), QList<QByteArray>());
    QVERIFY(!isExported());
}

void tst_ServerBase::isExportedBeforeTheDerivedPartIsConstructed()
{
    const Early server;
    QVERIFY(server.object == &server);
}

void tst_ServerBase::nameOfAnotherProcessIsTakenForRegistered()
{
    HNIPCServer server(noDaemon, 0);
    QVERIFY(m_peer.own("org.hnipc.m4"));
    QVERIFY(server.registerDbusService(QLatin1String("org.hnipc.m4")));
    QCOMPARE(requestedNames(), QList<QByteArray>());
    QCOMPARE(ownerOf("org.hnipc.m4"), m_peer.uniqueName());
}

void tst_ServerBase::nameOfThisProcessIsTakenForRegistered()
{
    HNIPCServer server(noDaemon, 0);
    const QList<QByteArray> once = QList<QByteArray>() << "org.hnipc.m4";
    QVERIFY(server.registerDbusService(QLatin1String("org.hnipc.m4")));
    QCOMPARE(requestedNames(), once);
    QVERIFY(server.registerDbusService(QLatin1String("org.hnipc.m4")));
    QCOMPARE(requestedNames(), QList<QByteArray>());
    QCOMPARE(ownerOf("org.hnipc.m4"), m_outbox.ownName());
}

void tst_ServerBase::nameThatTheBusRefuses_data()
{
    QTest::addColumn<QByteArray>("busName");
    QTest::newRow("unique") << QByteArray(":1.4711");
    QTest::newRow("one label") << QByteArray("hnipc");
}

void tst_ServerBase::nameThatTheBusRefuses()
{
    QFETCH(QByteArray, busName);
    HNIPCServer server(noDaemon, 0);
    QVERIFY(!server.registerDbusService(QString::fromLatin1(busName)));
    QCOMPARE(requestedNames(), QList<QByteArray>() << busName);
}

void tst_ServerBase::serverWithoutItsNameIsExported()
{
    QVERIFY(m_peer.own("org.hnipc.supplyd"));
    const HNIPCServer server(HNIPCServer::SUPPLYD, 0);
    QCOMPARE(requestedNames(), QList<QByteArray>());
    QCOMPARE(ownerOf("org.hnipc.supplyd"), m_peer.uniqueName());
    QCOMPARE(int(server.getServerType()), 2);
    QVERIFY(isExported());
}

void tst_ServerBase::destructionKeepsTheName()
{
    delete new HNIPCServer(HNIPCServer::M4, 0);
    QCOMPARE(ownerOf("org.hnipc.m4"), m_outbox.ownName());
    QVERIFY(!isExported());
}

void tst_ServerBase::interfaceNameOfTheObjectIsThatOfTheClass()
{
    Exported server;
    QVERIFY(server.registerDbusObject(QLatin1String("/exported"), QLatin1String("local.Other")));
    const QByteArray xml = introspect("/exported");
    QVERIFY(xml.contains("local.Exported"));
    QVERIFY(!xml.contains("local.Other"));
    QCOMPARE(m_peer.call(m_outbox.ownName(), "/exported", "local.Exported", "scriptableSlot").body,
             QByteArray("(4,)"));
}

void tst_ServerBase::onlyScriptableMembersAreExported()
{
    Exported server;
    QVERIFY(server.registerDbusObject(QLatin1String("/exported"), QString()));
    const QByteArray xml = introspect("/exported");
    QVERIFY(xml.contains("scriptableSlot"));
    QVERIFY(xml.contains("scriptableInvokable"));
    QVERIFY(xml.contains("scriptableSignal"));
    QVERIFY(xml.contains("scriptableProperty"));
    QVERIFY2(!xml.contains("plain"), xml.constData());
    QCOMPARE(int(m_peer.call(m_outbox.ownName(), "/exported", "local.Exported", "plainSlot").type),
             int(WireMessage::Error));
}

void tst_ServerBase::takenPathIsRefused()
{
    const HNIPCServer first(HNIPCServer::M4, 0);
    HNIPCServer second(noDaemon, 0);
    QVERIFY(!second.registerDbusObject(QLatin1String("/"), QLatin1String("local.IHNIPCM4")));
    QVERIFY(second.registerDbusObject(QLatin1String("/second"), QLatin1String("local.IHNIPCM4")));
    QVERIFY(!second.registerDbusObject(QLatin1String("/second"), QLatin1String("local.IHNIPCM4")));
}

void tst_ServerBase::pulseSignalBroadcastsItsArguments_data()
{
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QByteArray>("signature");
    QTest::addColumn<QByteArray>("body");

    QTest::newRow("none") << QVariantList() << QByteArray() << QByteArray("()");
    QTest::newRow("one") << (QVariantList() << true) << QByteArray("b") << QByteArray("(true,)");
    QTest::newRow("null text") << (QVariantList() << QString()) << QByteArray("s")
                               << QByteArray("('',)");
    QTest::newRow("several") << (QVariantList()
                                 << -1 << 1u << Q_UINT64_C(2) << 0.5 << QString::fromLatin1("text")
                                 << (QStringList() << QLatin1String("a") << QLatin1String("b"))
                                 << -1)
                             << QByteArray("iutdsasi")
                             << QByteArray("(-1, uint32 1, uint64 2, 0.5, 'text', ['a', 'b'], -1)");
}

void tst_ServerBase::pulseSignalBroadcastsItsArguments()
{
    QFETCH(QVariantList, arguments);
    QFETCH(QByteArray, signature);
    QFETCH(QByteArray, body);

    HNIPCServer server(noDaemon, 0);
    QVERIFY(server.pulseSignal(QLatin1String("/some/path"), QLatin1String("local.Some"),
                               QLatin1String("Member"), arguments));
    const QList<WireMessage> sent = m_outbox.take(WireMessage::Signal);
    QCOMPARE(int(sent.size()), 1);
    QCOMPARE(sent.first().line(), "/some/path local.Some.Member " + signature + ' ' + body);
    QCOMPARE(sent.first().destination, QByteArray());
}

void tst_ServerBase::pulseSignalThatCannotBeSentIsFalse_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("interface");
    QTest::addColumn<QString>("member");
    // clang-format off
    QTest::newRow("path") << "no path" << "local.Some" << "Member";
    QTest::newRow("interface") << "/" << "no interface" << "Member";
    QTest::newRow("member") << "/" << "local.Some" << "no member";
    // clang-format on
}

void tst_ServerBase::pulseSignalThatCannotBeSentIsFalse()
{
    QFETCH(QString, path);
    QFETCH(QString, interface);
    QFETCH(QString, member);
    HNIPCServer server(noDaemon, 0);
    QVERIFY(!server.pulseSignal(path, interface, member, QList<QVariant>()));
}

HNIPC_TEST_MAIN(tst_ServerBase)
#include "tst_serverbase.moc"
