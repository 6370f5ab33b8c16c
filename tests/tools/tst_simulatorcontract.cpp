// SPDX-License-Identifier: MIT
#include "contract/contract.h"
#include "desk.h"
#include "expected/identities.h"
#include "support/privatebus.h"

#include <QtCore/QFile>

#include <algorithm>

using namespace Contract;
using namespace Expected;

// A simulated daemon exports on the bus exactly the interfaces that the descriptions declare.
class tst_SimulatorContract : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void objectIsAsDescribed_data();
    void objectIsAsDescribed();
};

static QMap<QByteArray, Members> described(const QByteArray &interface)
{
    QFile file(QString::fromLatin1(HNIPC_INTERFACES_DIR "/" + interface + ".xml"));
    return file.open(QIODevice::ReadOnly) ? interfacesIn(file.readAll())
                                          : QMap<QByteArray, Members>();
}

void tst_SimulatorContract::objectIsAsDescribed_data()
{
    QTest::addColumn<QByteArray>("daemon");
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QByteArray>("interface");
    for (const Identity &identity : identities) {
        const QByteArray daemon = QByteArray(identity.tag).toLower();
        QTest::newRow(identity.interface)
            << daemon << QByteArray("/") << QByteArray(identity.interface);
        QTest::newRow(QByteArray("the world of ") + daemon)
            << daemon << QByteArray("/simulator") << QByteArray("org.hnipc.Simulator");
    }
}

void tst_SimulatorContract::objectIsAsDescribed()
{
    QFETCH(QByteArray, daemon);
    QFETCH(QByteArray, path);
    QFETCH(QByteArray, interface);
    Desk desk({ QString::fromLatin1(daemon) });
    const WireMessage reply = desk.peer().call("org.hnipc." + daemon, path,
                                               "org.freedesktop.DBus.Introspectable", "Introspect");
    QCOMPARE(int(reply.type), int(WireMessage::MethodReturn));
    // The content of a body with one string: ('...\n...',)
    const QByteArray text = reply.body.mid(2, reply.body.size() - 5).replace("\\n", "\n");
    const QMap<QByteArray, Members> live = interfacesIn(text);

    // Besides the interfaces of the contract, an object has those that Qt adds to every object.
    QList<QByteArray> interfaces = { interface, "org.freedesktop.DBus.Introspectable",
                                     "org.freedesktop.DBus.Peer",
                                     "org.freedesktop.DBus.Properties" };
    std::sort(interfaces.begin(), interfaces.end());
    QCOMPARE(QList<QByteArray>(live.keys()), interfaces);
    const Side xml = { "the XML", methodsAmong(described(interface).value(interface)) };
    const Side object = { "the live object", live.value(interface) };
    QVERIFY(!xml.members.isEmpty());
    const Lines lines = disagreementsInOrder(xml, object);
    for (const QByteArray &line : lines) {
        qWarning("%s", line.constData());
    }
    QVERIFY2(lines.isEmpty(), lines.value(0).constData());
}

HNIPC_TEST_MAIN(tst_SimulatorContract)

#include "tst_simulatorcontract.moc"
