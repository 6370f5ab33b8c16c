// SPDX-License-Identifier: MIT
#include "requests.h"
#include "support/fakedaemons.h"
#include "support/privatebus.h"

#include <hnipc/hnipcfailure.h>

#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusPendingReply>

using namespace Expected;

// HNIPCFailure for the replies to an application's own calls.
class tst_Failure : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void replyToACall_data();
    void replyToACall();
    void errorOfThisSide_data();
    void errorOfThisSide();
};

namespace {

const QString m4 = QString::fromLatin1("org.hnipc.m4");

// The failure in one line: "Refused DaemonError NAME: TEXT".
QByteArray lineOf(const HNIPCFailure &failure)
{
    return keyOf("Outcome", failure.outcome) + ' ' + keyOf("Reason", failure.reason) + ' '
        + failure.errorName.toUtf8() + ": " + failure.errorText.toUtf8();
}

QByteArray line(HNIPCRequest::Outcome outcome, HNIPCRequest::Reason reason, const char *name,
                const char *text)
{
    return lineOf(
        HNIPCFailure(outcome, reason, QString::fromLatin1(name), QString::fromUtf8(text)));
}

} // namespace

void tst_Failure::replyToACall_data()
{
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QByteArray>("failure");
    QTest::newRow("answered") << QByteArray("getError") << lineOf(HNIPCFailure());
    QTest::newRow("refused") << QByteArray("setUserSetting")
                             << line(HNIPCRequest::Refused, HNIPCRequest::DaemonError,
                                     "org.hnipc.Error", "the door is open");
    QTest::newRow("not on the bus")
        << QByteArray("absent")
        << line(HNIPCRequest::NotSent, HNIPCRequest::DaemonAbsent,
                "org.freedesktop.DBus.Error.ServiceUnknown", "org.hnipc.m4 is not on the bus");
    QTest::newRow("timed out") << QByteArray("getAlert")
                               << line(HNIPCRequest::Unknown, HNIPCRequest::TimedOut,
                                       "org.freedesktop.DBus.Error.Timeout",
                                       "org.hnipc.m4 did not reply within 20 ms");
}

void tst_Failure::replyToACall()
{
    QFETCH(QByteArray, method);
    FakeDaemons daemons;
    daemons[M4].answer("getError", "(7,)");
    daemons[M4].answerError("setUserSetting", "org.hnipc.Error", "the door is open");
    daemons[M4].hold("getAlert");
    if (method == "absent") {
        daemons.stop(M4);
    }
    const QDBusMessage call = QDBusMessage::createMethodCall(
        m4, QLatin1String("/"), QLatin1String("local.IHNIPCM4"), QString::fromLatin1(method));
    const int timeout = method == "getAlert" ? 20 : 60 * 1000;
    QDBusPendingCall reply = QDBusConnection::systemBus().asyncCall(call, timeout);
    reply.waitForFinished();
    QTEST(lineOf(HNIPCFailure::ofReply(QDBusPendingReply<int>(reply).reply(), m4, timeout)),
          "failure");
}

void tst_Failure::errorOfThisSide_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<int>("timeout");
    QTest::addColumn<QByteArray>("failure");
    const QByteArray timedOut = line(HNIPCRequest::Unknown, HNIPCRequest::TimedOut,
                                     "org.freedesktop.DBus.Error.Timeout",
                                     "org.hnipc.m4 did not reply within 1 ms");
    const QByteArray busLost = line(HNIPCRequest::Unknown, HNIPCRequest::BusLost,
                                    "org.freedesktop.DBus.Error.Disconnected",
                                    "the bus was lost before org.hnipc.m4 replied");
    const char *const noReplies[] = { "NoReply", "Timeout", "TimedOut" };
    for (const char *const name : noReplies) {
        QTest::newRow(name) << QByteArray(name) << 1 << timedOut;
        QTest::newRow((QByteArray(name) + " without a timeout").constData())
            << QByteArray(name) << 0 << busLost;
    }
    QTest::newRow("Disconnected") << QByteArray("Disconnected") << 1 << busLost;
    QTest::newRow("another") << QByteArray("NoMemory") << 1
                             << line(HNIPCRequest::NotSent, HNIPCRequest::BusError,
                                     "org.freedesktop.DBus.Error.NoMemory", "Qt's text");
}

void tst_Failure::errorOfThisSide()
{
    QFETCH(QByteArray, name);
    QFETCH(int, timeout);
    QVERIFY(QDBusConnection::systemBus().isConnected());
    const QDBusMessage error = QDBusMessage::createError(
        QString::fromLatin1("org.freedesktop.DBus.Error." + name), QLatin1String("Qt's text"));
    QTEST(lineOf(HNIPCFailure::ofReply(error, m4, timeout)), "failure");
}

HNIPC_TEST_MAIN(tst_Failure)

#include "tst_failure.moc"
