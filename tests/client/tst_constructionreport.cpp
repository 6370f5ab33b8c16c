// SPDX-License-Identifier: MIT
#include "support/fakedaemons.h"
#include "support/privatebus.h"

#include "client/hnipc_p.h"

#include <QtCore/QPointer>
#include <QtDBus/QDBusInterface>

using namespace Expected;

typedef QPointer<QDBusInterface> Proxy;

// A separate program: Qt introspects an interface once in a process, and each daemon here appears
// while the constructor waits for the introspection of another.
class tst_ConstructionReport : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void daemonFoundByTheConstructorHasOneProxy();
};

void tst_ConstructionReport::daemonFoundByTheConstructorHasOneProxy()
{
    FakeDaemons daemons(false);
    WirePeer &ioexpd = daemons[IOEXPD];
    WirePeer &m4 = daemons[M4];
    WirePeer &supplyd = daemons[SUPPLYD];
    daemons.start(SUPPLYD);
    // The constructor introspects the supply daemon last before the watch begins.
    supplyd.whenIntrospected([&ioexpd]() {
        ioexpd.own(identities[IOEXPD].busName);
        ioexpd.sync();
    });
    // The watch has begun when the constructor finds the I/O expander.
    ioexpd.whenIntrospected([&m4]() {
        m4.own(identities[M4].busName);
        m4.sync();
    });

    HNIPCPrivate connections(nullptr); // without a client, so without a relay
    QCOMPARE(supplyd.introspections(), 1);
    QCOMPARE(ioexpd.introspections(), 1);
    QCOMPARE(m4.introspections(), 1);
    Proxy proxies[ServerCount];
    for (int server = 0; server < ServerCount; ++server) {
        proxies[server] = connections.getInterfaceByServerType(HNIPCServer::ServerType(server));
        QVERIFY(proxies[server]);
    }

    // Now the watcher reports the print engine.
    QVERIFY(daemons.passFence());
    for (int server = 0; server < ServerCount; ++server) {
        const HNIPCServer::ServerType type = HNIPCServer::ServerType(server);
        QCOMPARE(connections.getInterfaceByServerType(type), proxies[server].data());
    }

    // The next registration of each daemon counts, also that of the daemon that the watcher never
    // reported.
    for (int server = 0; server < ServerCount; ++server) {
        const HNIPCServer::ServerType type = HNIPCServer::ServerType(server);
        daemons.stop(server);
        QVERIFY(!proxies[server]);
        QVERIFY(!connections.getInterfaceByServerType(type));
        daemons.start(server);
        QVERIFY(connections.getInterfaceByServerType(type));
    }
}

HNIPC_TEST_MAIN(tst_ConstructionReport)

#include "tst_constructionreport.moc"
