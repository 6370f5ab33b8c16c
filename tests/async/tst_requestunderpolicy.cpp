// SPDX-License-Identifier: MIT
#include "requests.h"
#include "support/fakedaemons.h"
#include "support/onbroker.h"
#include "support/privatebus.h"
#include "support/qtmajors.h"

#include <hnipc/hnipcrequest.h>

#include <QtDBus/QDBusConnection>
#include <QtTest/QTest>

using namespace Expected;

// Errors that the bus sends in the daemon's place.
class tst_RequestUnderPolicy : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void forbiddenCallIsNotSent();
    void callThatIsTooManyForTheBusIsNotSent();
};

void tst_RequestUnderPolicy::forbiddenCallIsNotSent()
{
    FakeDaemons daemons;
    daemons[M4].answerAll("(true,)");
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(resetPrinter));
    const QByteArray outcome = outcomeOfSending(request);
    QVERIFY2(outcome.startsWith("NotSent AccessDenied org.freedesktop.DBus.Error.AccessDenied: "),
             outcome.constData());
    // The message is the bus' own. That of dbus-broker does not contain the method.
    QVERIFY(request.errorText().contains(QLatin1String("resetPrinter")) || isOnDBusBroker());
    QVERIFY(daemons.passFence());
    QCOMPARE(daemons.takeCalls().size(), 0);
    request.setCall(HNIPC_METHOD(resetCutter));
    QCOMPARE(outcomeOfSending(request), QByteArray("Answered"));
}

void tst_RequestUnderPolicy::callThatIsTooManyForTheBusIsNotSent()
{
    if (isOnDBusBroker()) {
        HNIPC_SKIP("dbus-broker does not keep this limit of dbus-daemon's");
    }
    FakeDaemons daemons;
    daemons[M4].hold("getAlert");
    HNIPCRequest requests[3];
    for (HNIPCRequest &request : requests) {
        request.setCall(HNIPC_METHOD(getAlert));
        QVERIFY(request.send());
    }
    QVERIFY(waitUntilFinished(requests[2]));
    const QByteArray outcome = outcomeOf(requests[2]);
    QVERIFY2(outcome.startsWith("NotSent BusError org.freedesktop.DBus.Error.LimitsExceeded: "),
             outcome.constData());
    QVERIFY(requests[0].isPending() && requests[1].isPending());
    QVERIFY(waitUntil([&]() { return daemons[M4].held() == 2; }));
    daemons[M4].answerHeld(1, "(5,)");
    daemons[M4].answerHeld(0, "(6,)");
    QVERIFY(waitUntilFinished(requests[0]) && waitUntilFinished(requests[1]));
    QCOMPARE(requests[0].value(), QVariant(6));
    QCOMPARE(requests[1].value(), QVariant(5));
    QCOMPARE(daemons.takeCalls().size(), 2);
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    // It denies one call, and allows two calls in flight.
    const PrivateBus bus("<deny send_interface='local.IHNIPCM4' send_member='resetPrinter'/>",
                         "<limit name='max_replies_per_connection'>2</limit>");
    tst_RequestUnderPolicy test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_requestunderpolicy.moc"
