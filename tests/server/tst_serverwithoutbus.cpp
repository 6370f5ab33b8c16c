// SPDX-License-Identifier: MIT
#include <hnipc/hnipcserver.h>
#include <hnipc/ihnipcioexpd.h>

#include <QtDBus/QDBusConnection>
#include <QtTest/QTest>

namespace {

class Ioexpd : public IHNIPCIOEXPD
{
public:
    void enableAudioAmp(bool) override {}
    void enableBacklight(bool) override {}
    void printerSoftCancel() override {}
};

} // namespace

// A server in a process that cannot connect to a bus.
class tst_ServerWithoutBus : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void isConstructedAndRegistersNothing_data();
    void isConstructedAndRegistersNothing();
    void registrationIsRefused();
    void signalsAreNotSent();
};

void tst_ServerWithoutBus::initTestCase() { QVERIFY(!QDBusConnection::systemBus().isConnected()); }

void tst_ServerWithoutBus::isConstructedAndRegistersNothing_data()
{
    QTest::addColumn<int>("type");
    QTest::newRow("IOEXPD") << 0;
    QTest::newRow("M4") << 1;
    QTest::newRow("SUPPLYD") << 2;
}

void tst_ServerWithoutBus::isConstructedAndRegistersNothing()
{
    QFETCH(int, type);
    const HNIPCServer server(HNIPCServer::ServerType(type), 0);
    QCOMPARE(int(server.getServerType()), type);
    QVERIFY(!QDBusConnection::systemBus().objectRegisteredAt(QLatin1String("/")));
}

void tst_ServerWithoutBus::registrationIsRefused()
{
    Ioexpd server;
    QVERIFY(!server.registerDbusService(QLatin1String("org.hnipc.ioexpd")));
    QVERIFY(!server.registerDbusObject(QLatin1String("/"), QLatin1String("local.IHNIPCIOEXPD")));
}

void tst_ServerWithoutBus::signalsAreNotSent()
{
    Ioexpd server;
    QVERIFY(!server.pulseSignal(QLatin1String("/"), QLatin1String("local.IHNIPCIOEXPD"),
                                QLatin1String("IOEXPD_PrintButton"), QList<QVariant>()));
    QVERIFY(!server.pulsePrintButtonSignal());
}

int main(int argc, char **argv)
{
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/system-bus");
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/session-bus");
    QCoreApplication application(argc, argv);
    tst_ServerWithoutBus test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_serverwithoutbus.moc"
