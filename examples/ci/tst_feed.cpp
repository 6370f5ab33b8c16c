// SPDX-License-Identifier: MIT
// The feed command of an application, with the lid closed and open.

#include <hnipc/hnipcrequest.h>

#include <QtCore/QProcess>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>

class tst_Feed : public QObject
{
    Q_OBJECT

private slots:
    void feeds_data();
    void feeds();
};

void tst_Feed::feeds_data()
{
    QTest::addColumn<QString>("lidIsOpen");
    QTest::addColumn<bool>("isDone");
    QTest::newRow("lid closed") << "false" << true;
    QTest::newRow("lid open") << "true" << false;
}

void tst_Feed::feeds()
{
    QFETCH(QString, lidIsOpen);
    QFETCH(bool, isDone);
    QCOMPARE(QProcess::execute("hnipcctl", { "simulate", "set", "printerLid", lidIsOpen }), 0);

    HNIPCRequest feed;
    feed.setCall(HNIPC_METHOD(forwardFeed), 400);
    QSignalSpy finished(&feed, &HNIPCRequest::finished);
    feed.send();
    QVERIFY(finished.count() == 1 || finished.wait(60000)); // only against hanging

    QCOMPARE(feed.outcome(), HNIPCRequest::Answered);
    QCOMPARE(HNIPCAnswer<bool>(feed).isDone(), isDone);
}

QTEST_GUILESS_MAIN(tst_Feed)

#include "tst_feed.moc"
