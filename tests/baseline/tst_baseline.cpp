// SPDX-License-Identifier: MIT
#include "judgement.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtTest/QTest>

Q_DECLARE_METATYPE(Verdict)

// The report of each kind of change.
class tst_Baseline : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void recordedFilesAreRead();
    void changeIsJudged_data();
    void changeIsJudged();
    void worstChangeDecides();
    void manyLinesAreCounted();
    void versionFollows_data();
    void versionFollows();
};

void tst_Baseline::recordedFilesAreRead()
{
    const QDir directory(HNIPC_RECORDED_DIR);
    const QStringList names = directory.entryList({ "*.txt" }, QDir::Files);
    QCOMPARE(names.size(), 7);
    for (const QString &name : names) {
        QFile file(directory.filePath(name));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray text = file.readAll();
        const Entries entries = entriesIn(text);
        QVERIFY(!entries.isEmpty());
        for (const Entry &entry : entries) {
            QVERIFY2(entry.kind != "?", entry.name.constData());
        }
        QCOMPARE(textOf(entries), text);
        QCOMPARE(judge(entries, entriesIn(text)).verdict, Same);
    }
}

void tst_Baseline::changeIsJudged_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("now");
    QTest::addColumn<Verdict>("verdict");
    QTest::addColumn<QByteArray>("said");
    const QByteArray table = "[IHNIPCM4]\nvirtual 12: a() = int\nvirtual 13: b() = int\n";
    const QByteArray client = "[HNIPC]\nsignal 0: A(int) = bool [value]\nslot 1: b(uint) = bool\n"
                              "property 0: c = int\n";
    const QByteArray wire = "[local.IHNIPCM4]\ndbus-method: a(u) = b [value]\n"
                            "dbus-signal: B(i) [value]\n";
    const QByteArray layout = "[SupplyInformation]\nclass: SupplyInformation = 8 bytes\n"
                              "member 0: a = int\nmember 4: b = int\n";
    const QByteArray symbols = "[exports]\nfunction: f = HNIPC::f(int)\n";

    QTest::newRow("virtual functions swapped")
        << table << QByteArray("[IHNIPCM4]\nvirtual 12: b() = int\nvirtual 13: a() = int\n")
        << Break
        << QByteArray("a() was 12, is 13 now\n    b() was 13, is 12 now\n  BREAKS: older daemons");
    QTest::newRow("virtual function removed")
        << table << QByteArray("[IHNIPCM4]\nvirtual 12: b() = int\n") << Break
        << QByteArray("removed:\n    a() 12\n  BREAKS: older daemons have the old virtual table");
    QTest::newRow("virtual function replaced")
        << table << QByteArray(table).replace("a()", "c()") << Break
        << QByteArray("removed:\n    a() 12 is now c() 12\n  BREAKS: older daemons");
    QTest::newRow("virtual function at the end")
        << table << table + "virtual 14: c() = int\n"
        << Break << QByteArray("added:\n    c() 14\n  BREAKS: older daemons");
    QTest::newRow("virtual function of QObject overridden")
        << table << table + "virtual 5: event(QEvent*) = bool\n"
        << Addition << QByteArray("event(QEvent*) 5\n  compatible: older daemons");
    QTest::newRow("symbol removed")
        << symbols << QByteArray() << Break
        << QByteArray("HNIPC::f(int)\n  BREAKS: older applications that use it do not start");
    QTest::newRow("symbol with another parameter")
        << symbols << QByteArray("[exports]\nfunction: g = HNIPC::f(bool)\n") << Break
        << QByteArray("HNIPC::f(int) is now HNIPC::f(bool)\n  BREAKS: older applications");
    QTest::newRow("symbol added") << symbols << symbols + "function: g = HNIPCServer::g()\n"
                                  << Addition << QByteArray("HNIPCServer::g()\n  compatible");
    QTest::newRow("object grown")
        << layout << QByteArray(layout).replace("8 bytes", "12 bytes") + "member 8: c = int\n"
        << Break
        << QByteArray("was 8 bytes, is 12 bytes now\n  BREAKS: older applications and daemons");
    QTest::newRow("members swapped")
        << layout << QByteArray(layout).replace("0: a", "0: c").replace("4: b", "4: a") << Break
        << QByteArray("a was 0, is 4 now\n  BREAKS: older applications and daemons");
    QTest::newRow("signal before the slots")
        << client << QByteArray(client).replace("slot 1", "signal 1: D() = bool\nslot 2") << Break
        << QByteArray("b(uint) was 1, is 2 now\n  BREAKS: programs that use it by index");
    QTest::newRow("slot at the end") << client << client + "slot 2: d() = bool\n"
                                     << Addition << QByteArray("d() 2\n  compatible");
    QTest::newRow("slot with another parameter")
        << client << QByteArray(client).replace("uint", "int") << Break
        << QByteArray("b(uint) 1 is now b(int) 1\n  BREAKS: programs that use it by name");
    QTest::newRow("slot that returns another type")
        << client << QByteArray(client).replace("b(uint) = bool", "b(uint) = int") << Break
        << QByteArray("b(uint) 1 was bool, is int now\n  BREAKS: programs that use it by name");
    QTest::newRow("parameter of a signal renamed")
        << client << QByteArray(client).replace("value", "code") << Break
        << QByteArray("was [value], is [code] now\n  BREAKS: older QML handlers");
    QTest::newRow("property removed")
        << client << QByteArray(client).replace("property 0: c = int\n", "") << Break
        << QByteArray("removed:\n    c 0\n  BREAKS: bindings");
    QTest::newRow("method on the bus with another argument")
        << wire << QByteArray(wire).replace("a(u)", "a(i)") << Break
        << QByteArray("a(u) is now a(i)\n  BREAKS: older clients that call it get UnknownMethod");
    QTest::newRow("method on the bus with another result")
        << wire << QByteArray(wire).replace("= b", "= i") << Break
        << QByteArray("was b, is i now\n  BREAKS: older clients cannot read the reply");
    QTest::newRow("argument on the bus renamed")
        << wire << QByteArray(wire).replace("value", "code") << Harmless
        << QByteArray("harmless: only callers that are generated again");
    QTest::newRow("signal on the bus removed")
        << wire << QByteArray(wire).replace("dbus-signal: B(i) [value]\n", "") << Break
        << QByteArray("B(i)\n  BREAKS: older clients wait for it");
    QTest::newRow("method on the bus added") << wire << wire + "dbus-method: c()\n"
                                             << Addition << QByteArray("c()\n  compatible");
    QTest::newRow("order on the bus") << wire
                                      << QByteArray("[local.IHNIPCM4]\ndbus-signal: B(i) [value]\n"
                                                    "dbus-method: a(u) = b [value]\n")
                                      << Same << QByteArray();
    QTest::newRow("something without a rule")
        << QByteArray("[A]\nthing: a = 1\n") << QByteArray("[A]\nthing: a = 2\n") << Break
        << QByteArray("a was 1, is 2 now");
}

void tst_Baseline::changeIsJudged()
{
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, now);
    QFETCH(QByteArray, said);
    const Judgement judgement = judge(entriesIn(before), entriesIn(now));
    QTEST(judgement.verdict, "verdict");
    QVERIFY2(said.isEmpty() ? judgement.report.isEmpty() : judgement.report.contains(said),
             judgement.report.constData());
}

void tst_Baseline::worstChangeDecides()
{
    const Entries before = entriesIn("[A]\nslot 0: a() = int\n");
    const Judgement judgement = judge(before, entriesIn("[A]\nslot 0: a() = bool\nslot 1: b()\n"));
    QCOMPARE(judgement.verdict, Break);
    QVERIFY(judgement.report.contains("BREAKS"));
    QVERIFY(judgement.report.contains("compatible"));
}

void tst_Baseline::manyLinesAreCounted()
{
    QByteArray before("[A]\n");
    QByteArray now("[A]\nslot 0: new()\n");
    for (int i = 0; i < 12; ++i) {
        const QByteArray name = ": old" + QByteArray::number(i) + "()\n";
        before += "slot " + QByteArray::number(i) + name;
        now += "slot " + QByteArray::number(i + 1) + name;
    }
    const Judgement judgement = judge(entriesIn(before), entriesIn(now));
    QVERIFY2(judgement.report.contains("old4() was 4, is 5 now\n    and 7 more\n"),
             judgement.report.constData());
    QVERIFY(!judgement.report.contains("old5()"));
}

void tst_Baseline::versionFollows_data()
{
    QTest::addColumn<Verdict>("verdict");
    QTest::addColumn<QByteArray>("next");
    QTest::addColumn<QByteArray>("tooLow");
    QTest::newRow("same") << Same << QByteArray("1.9.3") << QByteArray("1.9.2");
    QTest::newRow("harmless") << Harmless << QByteArray("1.9.4") << QByteArray("1.9.3");
    QTest::newRow("addition") << Addition << QByteArray("1.10.0") << QByteArray("1.9.12");
    QTest::newRow("break") << Break << QByteArray("2.0.0") << QByteArray("1.99.0");
}

void tst_Baseline::versionFollows()
{
    QFETCH(QByteArray, next);
    QFETCH(QByteArray, tooLow);
    QFETCH(Verdict, verdict);
    QCOMPARE(versionAfter("1.9.3", verdict), next);
    QVERIFY(isAtLeast(next, next));
    QVERIFY(isAtLeast("3.0.0", next));
    QVERIFY(!isAtLeast(tooLow, next));
}

int main(int argc, char **argv)
{
    tst_Baseline test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_baseline.moc"
