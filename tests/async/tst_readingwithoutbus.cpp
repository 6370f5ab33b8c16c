// SPDX-License-Identifier: MIT
#include "readings.h"
#include "requests.h"

#include <hnipc/hnipcreading.h>

#include <QtDBus/QDBusConnection>
#include <QtTest/QTest>

typedef QList<QByteArray> Lines;

static const QByteArray noBus = "unknown BusLost org.freedesktop.DBus.Error.Disconnected: "
                                "there is no system bus";

// Readings in a process that cannot connect to a bus.
class tst_ReadingWithoutBus : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void nothingIsKnown_data();
    void nothingIsKnown();
    void otherFaultsAreShownAsEver();
    void mayBeDestroyedAtAnyTime();
};

void tst_ReadingWithoutBus::initTestCase() { QVERIFY(!QDBusConnection::systemBus().isConnected()); }

void tst_ReadingWithoutBus::nothingIsKnown_data()
{
    QTest::addColumn<QStringList>("signalNames");
    QTest::newRow("with a signal") << QStringList(QLatin1String("Error"));
    QTest::newRow("without signals") << QStringList();
}

void tst_ReadingWithoutBus::nothingIsKnown()
{
    QFETCH(QStringList, signalNames);
    HNIPCReading reading;
    reading.setCall(HNIPC_METHOD(getError));
    reading.setSignalNames(signalNames);
    History history(&reading);
    QCOMPARE(shown(reading), QByteArray("unknown"));
    QCOMPARE(awaited(reading, noBus), noBus);
    reading.read();
    HNIPCRequest turns;
    turns.setCall(HNIPC_METHOD(getError));
    for (int i = 0; i < 10; ++i) {
        QVERIFY(outcomeOfSending(turns).startsWith("NotSent"));
    }
    QCOMPARE(history.take(), Lines() << noBus);

    reading.setMethod(QLatin1String("qmlSupplySKU"));
    QCOMPARE(shown(reading), QByteArray("unknown"));
    QCOMPARE(awaited(reading, noBus), noBus);
    QCOMPARE(history.take(), Lines() << "unknown" << noBus);
    QCOMPARE(reading.valueOr(-1), -1);
}

void tst_ReadingWithoutBus::otherFaultsAreShownAsEver()
{
    HNIPCReading reading;
    reading.setMethod(QLatin1String("nothing"));
    const QByteArray noMethod = "unknown UnknownMethod "
                                "org.freedesktop.DBus.Error.UnknownMethod: "
                                "the printer has no method \"nothing\"";
    QCOMPARE(awaited(reading, noMethod), noMethod);
    reading.setMethod(QLatin1String("getError"));
    reading.setArguments(QVariantList() << 1);
    const QByteArray invalid = "unknown InvalidArguments org.freedesktop.DBus.Error.InvalidArgs: "
                               "getError takes 0 arguments, not 1";
    QCOMPARE(awaited(reading, invalid), invalid);
}

void tst_ReadingWithoutBus::mayBeDestroyedAtAnyTime()
{
    for (int i = 0; i < 100; ++i) {
        HNIPCReading reading;
        reading.setCall(HNIPC_METHOD(getError));
        if (i % 3 == 1) {
            QCoreApplication::processEvents();
        } else if (i % 3 == 2) {
            QCOMPARE(awaited(reading, noBus), noBus);
        }
    }
}

int main(int argc, char **argv)
{
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/system-bus");
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/session-bus");
    QCoreApplication application(argc, argv);
    tst_ReadingWithoutBus test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_readingwithoutbus.moc"
