// SPDX-License-Identifier: MIT
#include "ctlprogram.h"
#include "desk.h"
#include "support/privatebus.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtTest/QTest>

#include <csignal>

// "hnipcctl call --deadline": the text and the exit code of each outcome, with the fault that
// causes it.
class tst_CtlDeadline : public QObject
{
    Q_OBJECT

private slots:
    void printsTheOutcome_data();
    void printsTheOutcome();
    void asJson();
    void deadlineDoesNotChangeTheValue_data();
    void deadlineDoesNotChangeTheValue();
    void deadlinePasses();
    void daemonIsAbsent();
    void refusesAnInvalidDeadline_data();
    void refusesAnInvalidDeadline();
};

void tst_CtlDeadline::printsTheOutcome_data()
{
    QTest::addColumn<QByteArray>("fault");
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<QByteArray>("errors");
    QTest::addColumn<int>("exitCode");
    QTest::newRow("answered") << QByteArray("('getError', 'none', <''>)")
                              << QByteArray("answered: 0\n") << QByteArray() << 0;
    QTest::newRow("answered late") << QByteArray("('getError', 'delay', <uint32 50>)")
                                   << QByteArray("answered: 0\n") << QByteArray() << 0;
    QTest::newRow("refused") << QByteArray("('getError', 'error', <['org.example.Lid', 'open']>)")
                             << QByteArray()
                             << QByteArray(
                                    "hnipcctl: refused: m4 replied with the error org.example.Lid: "
                                    "open\n")
                             << 5;
    QTest::newRow("another type")
        << QByteArray("('getError', 'wrongtype', <''>)") << QByteArray()
        << QByteArray("hnipcctl: outcome unknown: org.hnipc.m4 replied with another type: ") << 9;
    QTest::newRow("dies") << QByteArray("('getError', 'die', <''>)") << QByteArray()
                          << QByteArray("hnipcctl: outcome unknown: org.hnipc.m4 left the bus "
                                        "before it replied\n")
                          << 9;
}

void tst_CtlDeadline::printsTheOutcome()
{
    QFETCH(QByteArray, fault);
    QFETCH(QByteArray, output);
    QFETCH(QByteArray, errors);
    QFETCH(int, exitCode);
    Desk desk({ "m4" });
    QCOMPARE(desk.act("m4", "fault", fault), QByteArray("()"));
    Ctl ctl(words("call --deadline 60000 getError"));
    QCOMPARE(ctl.exitCode(), exitCode);
    QCOMPARE(ctl.out(), output);
    QVERIFY2(ctl.err().startsWith(errors), ctl.err().constData());
    QCOMPARE(ctl.err().isEmpty(), errors.isEmpty());
}

void tst_CtlDeadline::asJson()
{
    Desk desk({ "m4" });
    Ctl answered(words("call --deadline 60000 --json getError"));
    QCOMPARE(answered.exitCode(), 0);
    QJsonObject object = QJsonDocument::fromJson(answered.out()).object();
    QVERIFY(object.take("elapsed").isDouble());
    QCOMPARE(object,
             (QJsonObject { { "daemon", "m4" },
                            { "method", "getError()" },
                            { "outcome", "answered" },
                            { "value", 0 } }));

    desk.act("m4", "fault", "('getError', 'error', <['org.example.Lid', 'open']>)");
    Ctl refused(words("call --deadline 60000 --json getError"));
    QCOMPARE(refused.exitCode(), 5);
    object = QJsonDocument::fromJson(refused.out()).object();
    QVERIFY(object.take("elapsed").isDouble());
    QCOMPARE(object,
             (QJsonObject { { "daemon", "m4" },
                            { "method", "getError()" },
                            { "outcome", "refused" },
                            { "exit", 5 },
                            { "errorName", "org.example.Lid" },
                            { "error", "m4 replied with the error org.example.Lid: open" } }));

    desk.act("m4", "fault", "('getError', 'die', <''>)");
    Ctl unknown(words("call --deadline 60000 --json getError"));
    QCOMPARE(unknown.exitCode(), 9);
    object = QJsonDocument::fromJson(unknown.out()).object();
    QVERIFY(object.take("elapsed").isDouble());
    QCOMPARE(object,
             (QJsonObject { { "daemon", "m4" },
                            { "method", "getError()" },
                            { "outcome", "outcome unknown" },
                            { "exit", 9 },
                            { "errorName", "org.freedesktop.DBus.Error.NoReply" },
                            { "error", "org.hnipc.m4 left the bus before it replied" } }));
}

void tst_CtlDeadline::deadlineDoesNotChangeTheValue_data()
{
    struct Row
    {
        const char *call;
        const char *firstLine;
    };
    const Row rows[] = {
        { "supplyInformation", "text1:        \"LBL-100060-WH\"" },
        { "supplyColorHash", "Blue: \"#005eb8\"" },
        { "supplySupplyRGB", "#ffffff" },
        { "supplySKUList", "LBL-100060-WH" },
        { "supplyBackgroundImage LBL-100060-WH", "105 bytes" },
        { "ribbon1Verify", "11400714819323198485" },
        { "setDac 7", "true" },
        { "sendMCCMessage 1 2 text", "true" },
        { "supplySupplyPercent", "100" },
        { "enableBacklight on", "" },
    };
    QTest::addColumn<QStringList>("call");
    QTest::addColumn<QByteArray>("firstLine");
    for (const Row &row : rows) {
        QTest::newRow(row.call) << words(row.call) << QByteArray(row.firstLine);
    }
}

void tst_CtlDeadline::deadlineDoesNotChangeTheValue()
{
    QFETCH(QStringList, call);
    QFETCH(QByteArray, firstLine);
    Desk desk({ "ioexpd", "m4", "supplyd" });
    Ctl plain(QStringList("call") + call);
    Ctl requested(words("call --deadline 60000") + call);
    QCOMPARE(plain.exitCode(), 0);
    QCOMPARE(requested.exitCode(), 0);
    const QByteArray value = plain.out();
    QCOMPARE(value.left(value.indexOf('\n')), firstLine);
    const bool inOneLine = value.count('\n') == 1;
    QCOMPARE(requested.out(),
             (value.isEmpty() ? QByteArray("answered\n")
                  : inOneLine ? QByteArray("answered: ")
                              : QByteArray("answered\n"))
                 + value);

    Ctl plainJson(words("call --json") + call);
    Ctl requestedJson(words("call --deadline 60000 --json") + call);
    const QJsonObject object = QJsonDocument::fromJson(requestedJson.out()).object();
    QVERIFY(object.contains("value"));
    QCOMPARE(object.value("value").isNull(), firstLine.isEmpty());
    QCOMPARE(object.value("value"),
             QJsonDocument::fromJson(plainJson.out()).object().value("value"));
}

void tst_CtlDeadline::deadlinePasses()
{
    Desk desk({ "m4" });
    desk.act("m4", "fault", "('cycleCutter', 'never', <''>)");
    Ctl ctl(words("call --deadline 2000 cycleCutter"));
    QCOMPARE(ctl.exitCode(), 9);
    QCOMPARE(ctl.err(),
             QByteArray("hnipcctl: outcome unknown: org.hnipc.m4 did not reply within "
                        "2000 ms\n"));
    QCOMPARE(ctl.out(), QByteArray());
}

void tst_CtlDeadline::daemonIsAbsent()
{
    Ctl ctl(words("call --deadline 60000 cycleCutter"));
    QCOMPARE(ctl.exitCode(), 4);
    QCOMPARE(ctl.err(), QByteArray("hnipcctl: not sent: org.hnipc.m4 is not on the bus\n"));
    QCOMPARE(ctl.out(), QByteArray());
}

void tst_CtlDeadline::refusesAnInvalidDeadline_data()
{
    QTest::addColumn<QString>("deadline");
    for (const char *deadline : { "", "0", "-1", "soon", "5s", "2147483648" }) {
        QTest::newRow(deadline) << QString::fromLatin1(deadline);
    }
}

void tst_CtlDeadline::refusesAnInvalidDeadline()
{
    QFETCH(QString, deadline);
    Ctl ctl({ "call", "--deadline=" + deadline, "getError" });
    QCOMPARE(ctl.exitCode(), 2);
    QCOMPARE(ctl.err(),
             "hnipcctl: --deadline: \"" + deadline.toLatin1()
                 + "\" is not a number of milliseconds from 1 to 2147483647\n");
    QCOMPARE(ctl.out(), QByteArray());
}

HNIPC_TEST_MAIN(tst_CtlDeadline)
#include "tst_ctl_deadline.moc"
