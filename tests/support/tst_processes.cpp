// SPDX-License-Identifier: MIT
#include "privatebus.h"
#include "program.h"
#include "qtmajors.h"
#include "wirepeer.h"

#include <QtCore/QScopedPointer>

#include <cstdio>

static const char *const daemonNames[] = { "ioexpd", "m4", "supplyd" };

// The processes that a test starts end with the test.
class tst_Processes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void endWithATestThatIsKilled_data();
    void endWithATestThatIsKilled();
    void endWithTheirObjects();
    void exitCodes();
    void busRestartsAtItsAddress();
};

// A test with a bus and daemons: prints their process numbers and does not end by itself.
static int runVictim(int argc, char **argv)
{
    PrivateBus bus;
    QCoreApplication application(argc, argv);
    QList<QByteArray> processes;
    processes << QByteArray::number(bus.id());
    QScopedPointer<Program> daemons[3];
    for (int i = 0; i < 3; ++i) {
        daemons[i].reset(Program::daemon(daemonNames[i]));
        processes << QByteArray::number(daemons[i]->id());
    }
    std::printf("processes %s\n", joined(processes, " ").constData());
    std::fflush(stdout);
    return application.exec();
}

void tst_Processes::endWithATestThatIsKilled_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("kill -9") << SIGKILL;
    QTest::newRow("Ctrl-C") << SIGINT;
    QTest::newRow("crash") << SIGSEGV;
}

void tst_Processes::endWithATestThatIsKilled()
{
    QFETCH(int, signal);
    const QScopedPointer<Program> victim(Program::part("victim"));
    const QList<QByteArray> processes = victim->wordAfter("processes").split(' ');
    QCOMPARE(int(processes.size()), 4);
    for (const QByteArray &process : processes) {
        QVERIFY(isAlive(process));
    }
    victim->send(signal);
    QVERIFY(victim->ends());
    for (const QByteArray &process : processes) {
        QVERIFY2(waitUntil([&process]() { return !isAlive(process); }), process.constData());
    }
}

void tst_Processes::endWithTheirObjects()
{
    QByteArray bus;
    QByteArray daemon;
    {
        const BusProcess other;
        bus = QByteArray::number(other.id());
        const QScopedPointer<Program> program(Program::daemon("m4"));
        daemon = QByteArray::number(program->id());
        QVERIFY(isAlive(bus) && isAlive(daemon));
    }
    QVERIFY(!isAlive(bus));
    QVERIFY(!isAlive(daemon));
}

void tst_Processes::exitCodes()
{
    const QString shell = QLatin1String("sh");
    const Outcome outcome = runProgram(
        shell, QStringList() << QLatin1String("-c") << QLatin1String("echo a; echo b >&2; exit 3"));
    QCOMPARE(outcome.code, 3);
    QCOMPARE(outcome.output, QByteArray("a\n"));
    QCOMPARE(outcome.errors, QByteArray("b\n"));
    QCOMPARE(
        runProgram(shell, QStringList() << QLatin1String("-c") << QLatin1String("kill $$")).code,
        -1);
    QCOMPARE(runProgram(QLatin1String("/nonexistent/program"), QStringList()).code, -1);
}

void tst_Processes::busRestartsAtItsAddress()
{
    BusProcess bus("<deny own='org.hnipc.m4'/>");
    for (int i = 0; i < 2; ++i) {
        WirePeer peer(bus);
        QVERIFY(peer.own("org.hnipc.supplyd"));
        QVERIFY(!peer.own("org.hnipc.m4")); // it keeps its rules after a restart
        bus.kill();
        bus.start();
    }
}

int main(int argc, char **argv)
{
    if (argc > 1 && QByteArray(argv[1]) == "victim") {
        return runVictim(argc, argv);
    }
    PrivateBus bus;
    QCoreApplication application(argc, argv);
    tst_Processes test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_processes.moc"
