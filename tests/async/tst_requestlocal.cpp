// SPDX-License-Identifier: MIT
#include "requests.h"
#include "support/privatebus.h"

#include <hnipc/hnipcrequest.h>
#include <hnipc/hnipcserver.h>

#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusContext>

namespace {

// A daemon in the process of its client.
class Engine : public HNIPCServer, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "local.IHNIPCM4")

public:
    Engine() : HNIPCServer(HNIPCServer::M4, 0), calls(0) {}

    int calls;

public Q_SLOTS:
    Q_SCRIPTABLE int getError()
    {
        ++calls;
        return 7;
    }

    Q_SCRIPTABLE int getAlert()
    {
        ++calls;
        sendErrorReply(QLatin1String("org.hnipc.Error.Busy"), QLatin1String("no"));
        return 0;
    }
};

} // namespace

// Requests to a daemon that lives in the same process.
class tst_RequestLocal : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void daemonIsCalledAfterSend();
};

void tst_RequestLocal::daemonIsCalledAfterSend()
{
    Engine engine;
    QVERIFY(QDBusConnection::systemBus().isConnected());
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(getError));
    for (int i = 1; i <= 3; ++i) {
        QVERIFY(request.send());
        QCOMPARE(engine.calls, i - 1);
        QVERIFY(request.isPending());
        QVERIFY(waitUntilFinished(request));
        QCOMPARE(outcomeOf(request), QByteArray("Answered"));
        QCOMPARE(request.value(), QVariant(7));
        QCOMPARE(engine.calls, i);
    }
    request.setCall(HNIPC_METHOD(getAlert));
    QCOMPARE(outcomeOfSending(request), QByteArray("Refused DaemonError org.hnipc.Error.Busy: no"));
    request.setCall(HNIPC_METHOD(resetCutter)); // not implemented by the daemon
    QVERIFY(outcomeOfSending(request).startsWith(
        "Refused DaemonError org.freedesktop.DBus.Error.UnknownMethod"));
    QCOMPARE(engine.calls, 4);
}

HNIPC_TEST_MAIN(tst_RequestLocal)

#include "tst_requestlocal.moc"
