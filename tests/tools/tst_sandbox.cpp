// SPDX-License-Identifier: MIT
#include "support/onbroker.h"
#include "support/process.h"
#include "support/qtmajors.h"
#include "support/waituntil.h"
#include "support/wirepeer.h"

#include <hnipc/hnipc.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QRegularExpression>
#include <QtCore/QTemporaryDir>
#include <QtCore/QUuid>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusConnectionInterface>
#include <QtDBus/QDBusMetaType>
#include <QtDBus/QDBusReply>
#include <QtTest/QTest>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <memory>
#include <unistd.h>
#include <vector>

namespace {

const QString sandboxProgram = QStringLiteral(HNIPC_TOOLS_DIR "/hnipc-sandbox");

QByteArray contentOf(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// A process of hnipc-sandbox. All processes that it starts inherit a mark, by which they can be
// found.
class Sandbox : public Process
{
public:
    explicit Sandbox(const QStringList &arguments) { begin(sandboxProgram, arguments); }

    // Another program, which starts the sandbox as its child.
    Sandbox(const QString &program, const QStringList &arguments) { begin(program, arguments); }

    Sandbox(const QStringList &arguments, const QList<QPair<QString, QString>> &variables)
        : Sandbox(sandboxProgram, arguments, variables)
    {
    }

    Sandbox(const QString &program, const QStringList &arguments,
            const QList<QPair<QString, QString>> &variables)
        : m_variables(variables)
    {
        begin(program, arguments);
    }

    bool says(const QByteArray &text)
    {
        const bool said = waitUntil([this, &text]() {
            return output().contains(text) || errors().contains(text) || !isRunning();
        });
        return said && (output().contains(text) || errors().contains(text));
    }

    // All running processes that it has started, and itself.
    QStringList processes()
    {
        QStringList result;
        const QStringList entries = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs);
        for (const QString &entry : entries) {
            const QString directory = QLatin1String("/proc/") + entry;
            if (entry.toInt() > 0 && contentOf(directory + "/environ").contains(m_mark)) {
                result += entry + QLatin1Char(' ')
                    + QString::fromLocal8Bit(contentOf(directory + "/cmdline").replace('\0', ' '));
            }
        }
        return result;
    }

    bool leavesNothing()
    {
        QStringList left;
        const bool nothing = waitUntil([this, &left]() {
            left = processes();
            return left.isEmpty();
        });
        if (!nothing) {
            qWarning("left: %s", qPrintable(left.join(QLatin1String("; "))));
        }
        return nothing;
    }

private:
    void begin(const QString &program, const QStringList &arguments)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("HNIPC_TEST_MARK"), QString::fromLatin1(m_mark));
        for (const auto &variable : std::as_const(m_variables)) {
            environment.insert(variable.first, variable.second);
        }
        setProcessEnvironment(environment);
        start(program, arguments);
        if (!waitForStarted()) {
            qFatal("%s: %s", qPrintable(program), qPrintable(errorString()));
        }
    }

    QByteArray m_mark = QUuid::createUuid().toByteArray();
    QList<QPair<QString, QString>> m_variables;
};

// A sandbox whose command only waits for the end of its input. This program is on its bus.
class OpenSandbox : public Sandbox
{
public:
    explicit OpenSandbox(const QStringList &options)
        : Sandbox(options
                  + QStringList { "--", "sh", "-c",
                                  "echo \"address $DBUS_SYSTEM_BUS_ADDRESS\"; exec cat" })
    {
        const bool open = waitUntil([this]() { return output().contains('\n') || !isRunning(); });
        if (!open || !output().startsWith("address ")) {
            qFatal("no sandbox: %s", errors().constData());
        }
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", output().mid(8, output().indexOf('\n') - 8));
        m_peer.reset(new WirePeer);
    }

    WirePeer &peer() { return *m_peer; }

    bool isThere(const QByteArray &daemon) { return askBus("NameHasOwner", daemon) == "(true,)"; }

    QByteArray processOf(const QByteArray &daemon)
    {
        return askBus("GetConnectionUnixProcessID", daemon);
    }

    QByteArray ask(const QByteArray &daemon, const QByteArray &member)
    {
        return m_peer->call("org.hnipc." + daemon, "/", "local.IHNIPC" + daemon.toUpper(), member)
            .body;
    }

private:
    QByteArray askBus(const QByteArray &member, const QByteArray &daemon)
    {
        return m_peer
            ->call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", member,
                   "('org.hnipc." + daemon + "',)")
            .body;
    }

    std::unique_ptr<WirePeer> m_peer;
};

QStringList inShell(const QString &script, const QStringList &options = {})
{
    return options + QStringList { "--", "sh", "-c", script };
}

pid_t childOf(pid_t parent)
{
    const QString children = QStringLiteral("/proc/%1/task/%1/children").arg(parent);
    return contentOf(children).split(' ').value(0).toInt();
}

} // namespace

// The sandbox, seen from outside: the environment of its command, its messages and exit codes, and
// that nothing is left after its end.
class tst_Sandbox : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void endsAsItsCommand_data();
    void endsAsItsCommand();
    void commandHasStreamsAndArguments();
    void commandHasTheEnvironment();
    void currentDirectoryIsNotInThePath_data();
    void currentDirectoryIsNotInThePath();
    void commandFindsTheDaemonsOnItsBus_data();
    void commandFindsTheDaemonsOnItsBus();
    void clientWorksInside();
    void sandboxInASandbox();

    void leavesNothingBehind_data();
    void leavesNothingBehind();
    void processesEndWhenTheSandboxIsKilled_data();
    void processesEndWhenTheSandboxIsKilled();
    void leavesNoFiles();

    void refuses_data();
    void refuses();
    void refusesABrokenScenario();
    void reportsWhatDoesNotStart();
    void helpIntoAClosedPipe();

    void playsAScenario();
    void textsOfAScenarioCannotControlTheTerminal();
    void quietScenario();
    void scenarioStopsADaemon();
    void scenarioStartsADaemonAgain();
    void allOutputOfARestartedDaemonIsPrinted();
    void scenarioContinuesAfterAFailedAct();
    void failedActDecidesTheExitCode_data();
    void failedActDecidesTheExitCode();
    void daemonThatDoesNotRestartIsAFailedAct();
    void deepValueReachesTheDaemon();
    void shippedScenariosPlayToTheirEnd();
    void checksAScenario_data();
    void checksAScenario();
    void checkFindsAllMistakes();
    void checkAsksDaemonsThatTheScenarioStarts();
    void checkOfNoScenario_data();
    void checkOfNoScenario();
    void checkThatCannotBePrinted();
    void checkEndsOnASignal();
    void shippedScenariosAndTheExampleAreRight_data();
    void shippedScenariosAndTheExampleAreRight();
    void reportsADaemonThatDies();
    void reportsABusThatDies();

    void keysAreForTheCommand();
    void keyEndsTheCommand();
    void shellWithoutACommand();

private:
    QString write(const QString &name, const QByteArray &content);
    QStringList scenario(const QByteArray &acts);

    QTemporaryDir m_directory;
};

QString tst_Sandbox::write(const QString &name, const QByteArray &content)
{
    QFile file(m_directory.filePath(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        qFatal("cannot write %s", qPrintable(file.fileName()));
    }
    return file.fileName();
}

QStringList tst_Sandbox::scenario(const QByteArray &acts)
{
    return { "--scenario",
             write("scenario.json",
                   "{ \"name\": \"n\", \"about\": \"a\", \"acts\": [\n" + acts + "\n] }\n") };
}

// ---- The command ----

void tst_Sandbox::endsAsItsCommand_data()
{
    QTest::addColumn<QStringList>("command");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("error");
    QTest::newRow("0") << inShell("exit 0") << 0 << QByteArray();
    QTest::newRow("7") << inShell("exit 7") << 7 << QByteArray();
    QTest::newRow("255") << inShell("exit 255") << 255 << QByteArray();
    QTest::newRow("terminated") << inShell("kill -TERM $$") << 143 << QByteArray();
    QTest::newRow("killed") << inShell("kill -KILL $$") << 137 << QByteArray();
    QTest::newRow("without dashes") << QStringList { "sh", "-c", "exit 3" } << 3 << QByteArray();
    QTest::newRow("not found") << QStringList {
        "--", "no-such-program"
    } << 127 << QByteArray("hnipc-sandbox: no-such-program: No such file or directory\n");
    QTest::newRow("cannot run") << QStringList { "--", "/etc/passwd" } << 126
                                << QByteArray("hnipc-sandbox: /etc/passwd: Permission denied\n");
}

void tst_Sandbox::endsAsItsCommand()
{
    QFETCH(QStringList, command);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, error);
    Sandbox sandbox(command);
    QCOMPARE(sandbox.exitCode(), exitCode);
    QCOMPARE(sandbox.errors(), error);
    QVERIFY(sandbox.leavesNothing());
}

void tst_Sandbox::commandHasStreamsAndArguments()
{
    Sandbox sandbox({ "--daemons", "none", "--", "sh", "-c",
                      "printf '<%s>' \"$@\"; cat; echo wrong >&2", "name", "--", "two words", "",
                      "--daemons", "\xc3\xa4" });
    sandbox.write("what was typed\n");
    sandbox.closeWriteChannel();
    QCOMPARE(sandbox.exitCode(), 0);
    QCOMPARE(sandbox.output(),
             QByteArray("<--><two words><><--daemons><\xc3\xa4>what was typed\n"));
    QCOMPARE(sandbox.errors(), QByteArray("wrong\n"));
}

void tst_Sandbox::commandHasTheEnvironment()
{
    Sandbox sandbox({ "--daemons", "none", "--", "env" },
                    { { "LC_ALL", "C" }, { "KEPT", "a=b" }, { "PATH", "/usr/bin:/bin" } });
    QCOMPARE(sandbox.exitCode(), 0);
    const QList<QByteArray> variables = sandbox.output().split('\n');
    QVERIFY(variables.contains("KEPT=a=b"));
    QVERIFY(variables.contains("LC_ALL=C"));
    QVERIFY(variables.contains("PATH=/usr/bin:/bin:" HNIPC_TOOLS_DIR));
    QVERIFY(variables.contains("HNIPC_SANDBOX=1"));
    int addresses = 0;
    for (const QByteArray &variable : variables) {
        addresses += variable.startsWith("DBUS_SYSTEM_BUS_ADDRESS=unix:");
    }
    QCOMPARE(addresses, 1);
}

void tst_Sandbox::currentDirectoryIsNotInThePath_data()
{
    QTest::addColumn<QStringList>("variables");
    QTest::newRow("no PATH") << QStringList();
    QTest::newRow("empty PATH") << QStringList("PATH=");
}

void tst_Sandbox::currentDirectoryIsNotInThePath()
{
    QFETCH(QStringList, variables);
    const QString program = write("found-here", "#!/bin/sh\necho run\n");
    QVERIFY(QFile::setPermissions(program, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    const QStringList options = { "--daemons", "none", "--" };

    Sandbox path("env",
                 QStringList("-i") + variables + QStringList(sandboxProgram) + options
                     + QStringList({ "/usr/bin/env" }));
    QCOMPARE(path.exitCode(), 0);
    const QList<QByteArray> lines = path.output().split('\n');
    QVERIFY2(lines.contains("PATH=/bin:/usr/bin:" HNIPC_TOOLS_DIR), path.output().constData());

    const QStringList inDirectory = { "-c", "cd \"$1\"; shift; exec env -i \"$@\"", "sh",
                                      m_directory.path() };
    Sandbox here("sh",
                 inDirectory + variables + QStringList(sandboxProgram) + options
                     + QStringList({ "found-here" }));
    QCOMPARE(here.exitCode(), 127);
    QCOMPARE(here.output(), QByteArray());
}

void tst_Sandbox::commandFindsTheDaemonsOnItsBus_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QByteArray>("names");
    QTest::newRow("all") << QStringList()
                         << QByteArray("org.hnipc.ioexpd org.hnipc.m4 org.hnipc.supplyd\n");
    QTest::newRow("none") << QStringList { "--daemons", "none" } << QByteArray("\n");
    QTest::newRow("one") << QStringList { "--daemons", "m4" } << QByteArray("org.hnipc.m4\n");
    QTest::newRow("two") << QStringList { "--daemons=supplyd,ioexpd" }
                         << QByteArray("org.hnipc.ioexpd org.hnipc.supplyd\n");
    QTest::newRow("one twice") << QStringList { "--daemons", "m4,m4" }
                               << QByteArray("org.hnipc.m4\n");
}

void tst_Sandbox::commandFindsTheDaemonsOnItsBus()
{
    QFETCH(QStringList, options);
    QFETCH(QByteArray, names);
    Sandbox sandbox(options
                    + QStringList { "--", QCoreApplication::applicationFilePath(), "--names" });
    QCOMPARE(sandbox.exitCode(), 0);
    QCOMPARE(sandbox.output(), names);
    QCOMPARE(sandbox.errors(), QByteArray());
}

void tst_Sandbox::clientWorksInside()
{
    Sandbox sandbox({ "--", QCoreApplication::applicationFilePath(), "--client" });
    QCOMPARE(sandbox.exitCode(), 0);
    QCOMPARE(sandbox.output(), QByteArray("set and heard, 321\n"));
}

void tst_Sandbox::sandboxInASandbox()
{
    Sandbox sandbox({ "--daemons", "m4", "--", sandboxProgram, "--daemons", "ioexpd", "--", "sh",
                      "-c", "echo \"$HNIPC_SANDBOX\"; exec \"$0\" --names",
                      QCoreApplication::applicationFilePath() });
    QCOMPARE(sandbox.exitCode(), 0);
    QCOMPARE(sandbox.output(), QByteArray("2\norg.hnipc.ioexpd\n"));
    QVERIFY(sandbox.leavesNothing());
}

// ---- The end of all processes ----

void tst_Sandbox::leavesNothingBehind_data()
{
    QTest::addColumn<QString>("script"); // prints "up"
    QTest::addColumn<int>("number");     // the signal sent to the sandbox after that, or 0
    QTest::addColumn<int>("exitCode");
    const QString wait = QStringLiteral("echo up; exec sleep 1000");
    const QString stubborn = QStringLiteral("trap '' TERM HUP INT; echo up; "
                                            "while :; do sleep 1000; done");
    QTest::newRow("command ends") << "echo up; exit 4" << 0 << 4;
    QTest::newRow("command leaves a process") << "sleep 1000 & echo up; exit 4" << 0 << 4;
    QTest::newRow("and one that hides") << "(setsid sleep 1000 &) ; echo up; exit 4" << 0 << 4;
    QTest::newRow("and one that does not listen")
        << "sh -c \"trap '' TERM HUP; echo up; sleep 1000; sleep 1000\" & sleep 1000 & wait $!"
        << SIGTERM << 128 + SIGTERM;
    QTest::newRow("SIGHUP") << wait << SIGHUP << 128 + SIGHUP;
    QTest::newRow("SIGINT") << wait << SIGINT << 128 + SIGINT;
    QTest::newRow("SIGQUIT") << wait << SIGQUIT << 128 + SIGQUIT;
    QTest::newRow("SIGTERM") << wait << SIGTERM << 128 + SIGTERM;
    QTest::newRow("stubborn command") << stubborn << SIGTERM << 128 + SIGTERM;
    QTest::newRow("stopped command") << "echo up; kill -STOP $$" << SIGTERM << 128 + SIGTERM;
}

void tst_Sandbox::leavesNothingBehind()
{
    QFETCH(QString, script);
    QFETCH(int, number);
    QFETCH(int, exitCode);
    Sandbox sandbox(inShell(script));
    QVERIFY(sandbox.says("up\n"));
    if (number) {
        // Two processes of the sandbox, the bus, three daemons, and the command, which has no
        // environment for the moment in which it becomes another program.
        QVERIFY(waitUntil([&sandbox]() { return sandbox.processes().size() >= 7; }));
        QCOMPARE(kill(sandbox.id(), number), 0);
    }
    QCOMPARE(sandbox.exitCode(), exitCode);
    QVERIFY(sandbox.leavesNothing());
}

void tst_Sandbox::processesEndWhenTheSandboxIsKilled_data()
{
    QTest::addColumn<bool>("outer");
    QTest::addColumn<bool>("inner");
    QTest::newRow("outer process") << true << false;
    QTest::newRow("inner process") << false << true;
    QTest::newRow("both") << true << true;
}

void tst_Sandbox::processesEndWhenTheSandboxIsKilled()
{
    QFETCH(bool, outer);
    QFETCH(bool, inner);
    // With a process that only the sandbox can find, unless both processes of the sandbox are
    // killed.
    const QString more = outer && inner ? QString() : QStringLiteral("(setsid sleep 1000 &); ");
    Sandbox sandbox(inShell(more + "echo up; exec sleep 1000"));
    QVERIFY(sandbox.says("up\n"));
    const pid_t process = sandbox.id();
    const pid_t child = childOf(process);
    QVERIFY(child > 0);
    if (outer) {
        QVERIFY(sandbox.halt()); // so that it does not see the end of the other process
    }
    if (inner) {
        QCOMPARE(kill(child, SIGKILL), 0);
    }
    if (outer) {
        QCOMPARE(kill(process, SIGKILL), 0);
    }
    QCOMPARE(sandbox.exitCode(), outer ? -1 : 125);
    QVERIFY(sandbox.leavesNothing());
    const QByteArray told = outer ? "" : "hnipc-sandbox: was killed by signal 9\n";
    QCOMPARE(sandbox.errors(), told);
}

void tst_Sandbox::leavesNoFiles()
{
    const QTemporaryDir temporary;
    Sandbox sandbox(inShell("ls -A \"$TMPDIR\"; pwd; echo \"$DBUS_SYSTEM_BUS_ADDRESS\""),
                    { { "TMPDIR", temporary.path() } });
    QCOMPARE(sandbox.exitCode(), 0);
    const QByteArray expected = QDir::currentPath().toLocal8Bit() + "\nunix:abstract=";
    QCOMPARE(sandbox.output().left(expected.size()), expected);
    QVERIFY(QDir(temporary.path()).isEmpty());
}

// ---- Bad input ----

void tst_Sandbox::refuses_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QByteArray>("error");
    const QByteArray see = " See hnipc-sandbox --help.\n";
    QTest::newRow("option") << QStringList { "--fast" }
                            << "hnipc-sandbox: Unknown option 'fast'." + see;
    QTest::newRow("no value") << QStringList { "--scenario" }
                              << "hnipc-sandbox: Missing value after '--scenario'." + see;
    const QByteArray noDaemon = " is not a daemon; expected none, or one or more of "
                                "ioexpd,m4,supplyd, separated by commas\n";
    QTest::newRow("daemon") << QStringList { "--daemons", "m4,printd" }
                            << "hnipc-sandbox: --daemons: \"printd\"" + noDaemon;
    QTest::newRow("no daemon") << QStringList { "--daemons", "" }
                               << "hnipc-sandbox: --daemons: \"\"" + noDaemon;
    QTest::newRow("none and one") << QStringList { "--daemons", "m4,none" }
                                  << "hnipc-sandbox: --daemons: \"none\"" + noDaemon;
    QTest::newRow("no scenario") << QStringList {
        "--scenario", "/nowhere/day.json"
    } << QByteArray("hnipc-sandbox: /nowhere/day.json: No such file or directory\n");
    QTest::newRow("unknown scenario")
        << QStringList { "--scenario", "nosuch" }
        << QByteArray("hnipc-sandbox: there is no file nosuch, and no installed scenario of that "
                      "name; installed are "
                      "bad-day, ordinary-day\n");
}

void tst_Sandbox::refuses()
{
    QFETCH(QStringList, options);
    QFETCH(QByteArray, error);
    if (options.size() == 1 && options.at(0) == QLatin1String("--scenario")) {
        Sandbox sandbox(options);
        QCOMPARE(sandbox.exitCode(), 125);
        QCOMPARE(sandbox.errors(), error);
        return;
    }
    Sandbox sandbox(inShell("echo run", options));
    QCOMPARE(sandbox.exitCode(), 125);
    QCOMPARE(sandbox.errors(), error);
    QCOMPARE(sandbox.output(), QByteArray());
    QVERIFY(sandbox.leavesNothing());
}

void tst_Sandbox::refusesABrokenScenario()
{
    const QStringList options = scenario("{ \"at\": 0, \"do\": \"say\", \"text\": \"Now.\" },\n"
                                         "{ \"at\": 1, \"daemon\": \"m5\", \"do\": \"reset\" }");
    Sandbox sandbox(inShell("echo run", options));
    QCOMPARE(sandbox.exitCode(), 125);
    const QByteArray where = "hnipc-sandbox: " + options.last().toLocal8Bit() + ":3: ";
    QVERIFY2(sandbox.errors().startsWith(where) && sandbox.errors().contains("m4"),
             sandbox.errors().constData());
    QCOMPARE(sandbox.output(), QByteArray());
    QVERIFY(sandbox.leavesNothing());
}

void tst_Sandbox::reportsWhatDoesNotStart()
{
    const QString catalogue = write("supplies.json", "{\n  \"supplies\": 3\n}\n");
    Sandbox noDaemon(inShell("echo run"), { { "HNIPC_DATA_DIR", m_directory.path() } });
    QCOMPARE(noDaemon.exitCode(), 125);
    QVERIFY2(noDaemon.errors().contains(catalogue.toLocal8Bit() + ':'),
             noDaemon.errors().constData());
    QVERIFY2(noDaemon.errors().endsWith("hnipc-sandbox: supplyd did not start\n"),
             noDaemon.errors().constData());
    QCOMPARE(noDaemon.output(), QByteArray());
    QVERIFY(noDaemon.leavesNothing());

    Sandbox noBusProgram({ "--", "/bin/echo", "run" }, { { "PATH", "/nonexistent" } });
    QCOMPARE(noBusProgram.exitCode(), 125);
    QCOMPARE(noBusProgram.errors(),
             QByteArray("hnipc-sandbox: the bus did not start: dbus-daemon: No such file or "
                        "directory\n"));
    QCOMPARE(noBusProgram.output(), QByteArray());

    if (isOnDBusBroker()) {
        HNIPC_SKIP("dbus-broker has an address before it reads its configuration");
    }
    write("sandbox-bus.conf", "<busconfig><listen>nonsense</listen>\n");
    Sandbox noBus(inShell("echo run"), { { "HNIPC_DATA_DIR", m_directory.path() } });
    QCOMPARE(noBus.exitCode(), 125);
    QVERIFY2(noBus.errors().startsWith("hnipc-sandbox: the bus did not start: ")
                 && noBus.errors().contains("sandbox-bus.conf"),
             noBus.errors().constData());
    QCOMPARE(noBus.output(), QByteArray());
    QVERIFY(noBus.leavesNothing());
}

void tst_Sandbox::helpIntoAClosedPipe()
{
    Sandbox help({ "--help" });
    QCOMPARE(help.exitCode(), 0);
    QVERIFY(help.output().contains("--daemons"));
    QCOMPARE(help.errors(), QByteArray());

    // true has ended before the sandbox begins.
    Sandbox closed(QStringLiteral("bash"),
                   { "-c", "exec 3> >(true); wait $!; exec \"$0\" --help >&3", sandboxProgram });
    QVERIFY(closed.ends());
    QCOMPARE(closed.exitStatus(), QProcess::CrashExit);
    QCOMPARE(closed.QProcess::exitCode(), int(SIGPIPE));
    QCOMPARE(closed.errors(), QByteArray());
    QVERIFY(closed.leavesNothing());
}

// ---- Scenarios ----

void tst_Sandbox::playsAScenario()
{
    OpenSandbox sandbox(scenario(
        "{ \"at\": 0, \"daemon\": \"m4\", \"do\": \"set\", \"name\": \"printerLid\", "
        "\"value\": true },\n"
        "{ \"at\": 0.01, \"daemon\": \"supplyd\", \"do\": \"set\", \"name\": \"supplyPercent\", "
        "\"value\": 12.5 },\n"
        "{ \"at\": 0.02, \"do\": \"say\", \"text\": \"The lid is \xc3\xb6pen.\" }"));
    QVERIFY(sandbox.says("-- The lid is \xc3\xb6pen.\n"));
    QVERIFY(waitUntil([&sandbox]() { return sandbox.ask("m4", "printerLid") == "(true,)"; }));
    QVERIFY(waitUntil(
        [&sandbox]() { return sandbox.ask("supplyd", "supplySupplyPercent") == "(12.5,)"; }));
    QCOMPARE(sandbox.errors(), QByteArray("-- The lid is \xc3\xb6pen.\n"));
    sandbox.closeWriteChannel();
    QCOMPARE(sandbox.exitCode(), 0);
    QVERIFY(sandbox.leavesNothing());
}

void tst_Sandbox::textsOfAScenarioCannotControlTheTerminal()
{
    OpenSandbox sandbox(scenario(R"({ "at": 0, "do": "say", "text": "Now\u001b[2J\nthis." },
                    { "at": 0, "daemon": "m4", "do": "set", "name": "no\u202esuch", "value": 1 })"));
    QVERIFY(sandbox.says("\"no\\u202esuch\"\n"));
    const QList<QByteArray> lines = sandbox.errors().split('\n');
    QCOMPARE(lines.at(0), QByteArray("-- Now\\u001b[2J\\u000athis."));
    QCOMPARE(int(lines.size()), 3);
}

// The narration of the scenario is left out, failed acts are not.
void tst_Sandbox::quietScenario()
{
    OpenSandbox sandbox(
        QStringList { "--quiet" }
        + scenario("{ \"at\": 0, \"do\": \"say\", \"text\": \"The lid is open.\" },\n"
                   "{ \"at\": 0.01, \"daemon\": \"m4\", \"do\": \"set\", \"name\": \"nosuch\", "
                   "\"value\": true }"));
    QVERIFY(sandbox.says("nosuch"));
    QVERIFY2(sandbox.errors().startsWith("hnipc-sandbox: "), sandbox.errors().constData());
    QCOMPARE(int(sandbox.errors().count('\n')), 1);
}

void tst_Sandbox::scenarioStopsADaemon()
{
    OpenSandbox sandbox(scenario("{ \"at\": 0, \"daemon\": \"m4\", \"do\": \"stop\" },\n"
                                 "{ \"at\": 0.01, \"do\": \"say\", \"text\": \"Stopped.\" }"));
    QVERIFY(sandbox.says("-- Stopped.\n"));
    QVERIFY(!sandbox.isThere("m4"));
    QVERIFY(sandbox.isThere("ioexpd"));
    // The scenario stopped the daemon, so its end is not reported.
    QCOMPARE(sandbox.errors(), QByteArray("-- Stopped.\n"));
}

void tst_Sandbox::scenarioStartsADaemonAgain()
{
    // The daemon restarts without the fault, and a daemon that is running is not started twice.
    OpenSandbox sandbox(
        scenario("{ \"at\": 0, \"daemon\": \"m4\", \"do\": \"fault\", \"member\": \"printerLid\", "
                 "\"kind\": \"error\", \"detail\": \"a.b no\" },\n"
                 "{ \"at\": 0.1, \"daemon\": \"m4\", \"do\": \"stop\" },\n"
                 "{ \"at\": 0.2, \"daemon\": \"m4\", \"do\": \"start\" },\n"
                 "{ \"at\": 0.2, \"daemon\": \"m4\", \"do\": \"set\", \"name\": \"printerLid\", "
                 "\"value\": true },\n"
                 "{ \"at\": 0.2, \"daemon\": \"supplyd\", \"do\": \"start\" },\n"
                 "{ \"at\": 0.3, \"do\": \"say\", \"text\": \"Back.\" }"));
    QVERIFY(sandbox.says("-- Back.\n"));
    QVERIFY(sandbox.isThere("m4"));
    QVERIFY(waitUntil([&sandbox]() { return sandbox.ask("m4", "printerLid") == "(true,)"; }));
    QVERIFY(sandbox.isThere("supplyd"));
    QCOMPARE(sandbox.errors(), QByteArray("-- Back.\n"));
    QCOMPARE(int(sandbox.processes().filter("hnipc-simulator").size()), 3);
}

// A script beside a copy of the sandbox plays a daemon that prints many lines when it is asked to
// end.
void tst_Sandbox::allOutputOfARestartedDaemonIsPrinted()
{
    const QString program = m_directory.filePath("hnipc-sandbox");
    QVERIFY(QFile::copy(sandboxProgram, program));
    const QString daemon = write("hnipc-simulator",
                                 "#!/bin/sh\n"
                                 "trap 'seq 2000; printf \"that was all\"; exit 0' TERM\n"
                                 "echo ready\n"
                                 "while :; do sleep 0.05 >/dev/null 2>&1; done\n");
    QVERIFY(QFile::setPermissions(daemon, QFile::ReadOwner | QFile::ExeOwner));
    const QList<QPair<QString, QString>> variables = { { "HNIPC_DATA_DIR",
                                                         HNIPC_TOOLS_DIR "/../share/hnipc" } };

    // Every start opens a pipe.
    const QByteArray restart = "{ \"at\": 0, \"daemon\": \"m4\", \"do\": \"stop\" },\n"
                               "{ \"at\": 0, \"daemon\": \"m4\", \"do\": \"start\" },\n";
    const QByteArray end = "{ \"at\": 0, \"do\": \"say\", \"text\": \"Done.\" }";
    QList<int> pipes;
    QByteArray errors;
    for (const int times : { 1, 4 }) {
        Sandbox sandbox(program,
                        scenario(restart.repeated(times) + end)
                            + QStringList { "--daemons", "m4", "--", "cat" },
                        variables);
        QVERIFY(sandbox.says("-- Done.\n"));
        const pid_t inner = childOf(sandbox.id());
        const QDir directory(QStringLiteral("/proc/%1/fd").arg(inner));
        int count = 0;
        const QStringList entries = directory.entryList(QDir::NoDotAndDotDot | QDir::AllEntries
                                                        | QDir::System);
        for (const QString &entry : entries) {
            char target[64] = {};
            const QByteArray link = QFile::encodeName(directory.filePath(entry));
            count += readlink(link.constData(), target, sizeof(target) - 1) > 0
                && QByteArray(target).startsWith("pipe:");
        }
        pipes += count;
        errors = sandbox.errors();
        sandbox.closeWriteChannel();
        QCOMPARE(sandbox.exitCode(), 0);
        QVERIFY(sandbox.leavesNothing());
    }
    QCOMPARE(pipes.at(1), pipes.at(0));

    QByteArray last;
    for (int i = 1; i <= 2000; ++i) {
        last += QByteArray::number(i) + '\n';
    }
    QCOMPARE(errors, (last + "that was all\n").repeated(4) + "-- Done.\n");
}

void tst_Sandbox::scenarioContinuesAfterAFailedAct()
{
    const QStringList options = scenario(
        "{ \"at\": 0, \"daemon\": \"m4\", \"do\": \"set\", \"name\": \"nothing\", \"value\": 1 },\n"
        "{ \"at\": 0, \"daemon\": \"supplyd\", \"do\": \"reset\" },\n"
        "{ \"at\": 0, \"daemon\": \"ioexpd\", \"do\": \"stop\" },\n"
        "{ \"at\": 0.1, \"do\": \"say\", \"text\": \"On.\" }");
    OpenSandbox sandbox(options + QStringList { "--daemons", "m4" });
    QVERIFY(sandbox.says("-- On.\n"));
    const QByteArray file = "hnipc-sandbox: " + options.last().toLocal8Bit();
    QVERIFY(sandbox.says(file + ":2: "));
    QVERIFY(sandbox.says(file + ":3: supplyd is not running\n"));
    QVERIFY(sandbox.says(file + ":4: ioexpd is not running\n"));
    sandbox.closeWriteChannel();
    QCOMPARE(sandbox.exitCode(), 125);
}

void tst_Sandbox::failedActDecidesTheExitCode_data()
{
    QTest::addColumn<QByteArray>("acts");
    QTest::addColumn<QString>("command");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("last"); // the end of standard error
    const QByteArray good = "{ \"at\": 0, \"daemon\": \"m4\", \"do\": \"set\", "
                            "\"name\": \"printerLid\", \"value\": true }";
    const QByteArray refused = "{ \"at\": 0, \"daemon\": \"m4\", \"do\": \"set\", "
                               "\"name\": \"nothing\", \"value\": 1 }";
    const QByteArray absent = "{ \"at\": 0, \"daemon\": \"supplyd\", \"do\": \"reset\" }";
    const QByteArray stopped = "{ \"at\": 0, \"daemon\": \"supplyd\", \"do\": \"stop\" }";
    const QByteArray answersFalse = "{ \"at\": 0, \"daemon\": \"m4\", \"do\": \"call\", "
                                    "\"method\": \"cancelPrintJob\" }";
    const QByteArray unknown = "{ \"at\": 0, \"daemon\": \"m4\", \"do\": \"call\", "
                               "\"method\": \"noSuchMethod\" }";
    const QByteArray failed = " of the scenario failed; the exit code of the command was ";
    const QByteArray one = "hnipc-sandbox: 1 act" + failed;
    QTest::newRow("none failed") << good << "exit 0" << 0 << QByteArray("-- End.");
    QTest::newRow("none failed, command did") << good << "exit 7" << 7 << QByteArray("-- End.");
    QTest::newRow("refused") << refused << "exit 0" << 125 << one + '0';
    QTest::newRow("absent daemon") << absent << "exit 0" << 125 << one + '0';
    QTest::newRow("stops an absent daemon") << stopped << "exit 0" << 125 << one + '0';
    QTest::newRow("false") << answersFalse << "exit 0" << 125 << one + '0';
    QTest::newRow("no such method") << unknown << "exit 0" << 125 << one + '0';
    QTest::newRow("command failed, too") << refused << "exit 7" << 125 << one + '7';
    QTest::newRow("command was killed") << refused << "kill -KILL $$" << 125 << one + "137";
    QTest::newRow("two") << refused + ",\n" + good + ",\n" + absent << "exit 0" << 125
                         << "hnipc-sandbox: 2 acts" + failed + '0';
}

void tst_Sandbox::failedActDecidesTheExitCode()
{
    QFETCH(QByteArray, acts);
    QFETCH(QString, command);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, last);
    const QStringList options = scenario(
        acts
        + ",\n{ \"at\": 0.1, \"daemon\": \"m4\", \"do\": \"call\", \"method\": \"getError\" },\n"
          "{ \"at\": 0.5, \"do\": \"say\", \"text\": \"End.\" }");
    Sandbox sandbox(inShell("read line; " + command, options + QStringList { "--daemons", "m4" }));
    QVERIFY(sandbox.says("-- End.\n"));
    // The replies to all earlier calls have been sent: the daemon handles one call after another.
    QVERIFY(exitCode != 125 || sandbox.says("scenario.json:2: "));
    sandbox.write("\n");
    QCOMPARE(sandbox.exitCode(), exitCode);
    QVERIFY2(sandbox.errors().endsWith(last + '\n'), sandbox.errors().constData());
    QVERIFY(sandbox.leavesNothing());
}

// A script beside a copy of the sandbox plays a daemon that starts only once.
void tst_Sandbox::daemonThatDoesNotRestartIsAFailedAct()
{
    const QTemporaryDir directory;
    const QString program = directory.filePath("hnipc-sandbox");
    QVERIFY(QFile::copy(sandboxProgram, program));
    QFile daemon(directory.filePath("hnipc-simulator"));
    QVERIFY(daemon.open(QIODevice::WriteOnly));
    daemon.write("#!/bin/sh\nmkdir \"$0.was-here\" 2>/dev/null || exit 1\necho ready\n"
                 "while :; do sleep 0.05 >/dev/null 2>&1; done\n");
    daemon.close();
    QVERIFY(daemon.setPermissions(QFile::ReadOwner | QFile::ExeOwner));
    Sandbox sandbox(program,
                    scenario("{ \"at\": 0, \"daemon\": \"m4\", \"do\": \"stop\" },\n"
                             "{ \"at\": 0, \"daemon\": \"m4\", \"do\": \"start\" },\n"
                             "{ \"at\": 0, \"do\": \"say\", \"text\": \"Done.\" }")
                        + QStringList { "--daemons", "m4", "--", "cat" },
                    { { "HNIPC_DATA_DIR", HNIPC_TOOLS_DIR "/../share/hnipc" } });
    QVERIFY(sandbox.says("-- Done.\n"));
    sandbox.closeWriteChannel();
    QCOMPARE(sandbox.exitCode(), 125);
    QVERIFY2(sandbox.errors().contains("scenario.json:3: m4 did not start\n"),
             sandbox.errors().constData());
    QVERIFY(sandbox.leavesNothing());
}

// With the deepest value that a scenario may have, the bus does not disconnect the player.
void tst_Sandbox::deepValueReachesTheDaemon()
{
    const int most = 16;
    const QByteArray deep = QByteArray("{ \"a\": ").repeated(most) + '1'
        + QByteArray(" }").repeated(most);
    OpenSandbox sandbox(
        scenario("{ \"at\": 0, \"daemon\": \"m4\", \"do\": \"emit\", \"signal\": \"Error\", "
                 "\"arguments\": ["
                 + deep
                 + "] },\n"
                   "{ \"at\": 0.1, \"daemon\": \"m4\", \"do\": \"set\", \"name\": \"printerLid\", "
                   "\"value\": true }"));
    QVERIFY(sandbox.says(":2: argument 1 of Error has to be a whole number\n"));
    QVERIFY(waitUntil([&sandbox]() { return sandbox.ask("m4", "printerLid") == "(true,)"; }));
}

// Records the signals of a sandbox's daemons, and when the print engine appears and disappears.
static void listen(WirePeer *peer)
{
    for (const char *interface : { "IOEXPD", "M4", "SUPPLYD" }) {
        peer->listen(QByteArray("type='signal',interface='local.IHNIPC") + interface + '\'');
    }
    peer->listen("type='signal',sender='org.freedesktop.DBus',member='NameOwnerChanged',"
                 "arg0='org.hnipc.m4'");
}

// The signals of a day as "member(body)"; the engine's name as "M4 leaves" and "M4 returns".
static QList<QByteArray> story(const WirePeer &peer)
{
    QList<QByteArray> result;
    const QList<WireMessage> all = peer.receivedSignals();
    for (const WireMessage &message : all) {
        if (message.member == "NameOwnerChanged") {
            result += message.body.endsWith(", '')") ? "M4 leaves" : "M4 returns";
        } else {
            result += message.member + message.body;
        }
    }
    return result;
}

// Returns the first of these signals that the story does not contain in this order; null if there is
// none.
static QByteArray missing(const QList<QByteArray> &story, const QList<QByteArray> &course)
{
    auto at = story.begin();
    for (const QByteArray &event : course) {
        at = std::find(at, story.end(), event);
        if (at == story.end()) {
            return event;
        }
        ++at;
    }
    return QByteArray();
}

// All lines of a sandbox other than its scenario's narration.
static QByteArray complaints(const QByteArray &errors)
{
    QByteArray result;
    const QList<QByteArray> lines = errors.split('\n');
    for (const QByteArray &line : lines) {
        if (!line.isEmpty() && !line.startsWith("-- ")) {
            result += line + '\n';
        }
    }
    return result;
}

// Plays both scenarios at once, because each takes its time.
void tst_Sandbox::shippedScenariosPlayToTheirEnd()
{
    OpenSandbox bad({ "--scenario", "bad-day" });
    listen(&bad.peer());
    OpenSandbox ordinary({ "--scenario", "ordinary-day" });
    listen(&ordinary.peer());

    QVERIFY(ordinary.says("-- The last order is done.\n"));
    QCOMPARE(complaints(ordinary.errors()), QByteArray());
    QCOMPARE(
        missing(story(ordinary.peer()),
                { "IOEXPD_PrintButton()", "M4_Alert(21,)", "M4_M4PrinterLid(true,)",
                  "M4_Error(10,)",
                  "SUPPLYD_RibbonChanged(['RIB-110-CMYK', 'RIB-110-BK'], 'labelprinter')",
                  "M4_Alert(0,)", "M4_Error(0,)", "IOEXPD_HelpButton()", "IOEXPD_PrintButton()" }),
        QByteArray());
    // On a busy machine, jobs end later than the scenario's texts say.
    QVERIFY(waitUntil([&ordinary]() {
        return missing(story(ordinary.peer()),
                       { "IOEXPD_PrintButton()", "M4_PrintQueueComplete(1,)",
                         "M4_PrintQueueComplete(2,)", "IOEXPD_HelpButton()",
                         "M4_PrintQueueComplete(1,)" })
            .isEmpty();
    }));

    QVERIFY(bad.says("-- It is over.\n"));
    QCOMPARE(complaints(bad.errors()), QByteArray("hnipc-sandbox: m4 exited with 1\n"));
    const QList<QByteArray> course = story(bad.peer());
    QCOMPARE(missing(course,
                     { "M4_M4PrintDone()", "M4_Error(10,)", "M4_Error(0,)", "M4_M4PrintDone()",
                       "M4_Error(22,)", "IOEXPD_CancelButton()", "M4_Error(0,)", "M4_M4PrintDone()",
                       "M4 leaves", "M4 returns", "M4_M4SupplyID('LBL-100150-WH',)", "M4_Alert(1,)",
                       "M4_M4PrintDone()", "M4_PrintQueueClear(0,)" }),
             QByteArray());
    QCOMPARE(
        missing(course, { "M4 returns", "M4_PrintQueueComplete(1,)", "M4_PrintQueueClear(0,)" }),
        QByteArray());
    // The job did not continue while the lid was open, and it was not done before the daemon died.
    const auto opened = std::find(course.begin(), course.end(), "M4_Error(10,)");
    const auto closed = std::find(opened, course.end(), "M4_Error(0,)");
    QCOMPARE(int(std::count(opened, closed, "M4_M4PrintDone()")), 0);
    QCOMPARE(int(std::count(course.begin(), std::find(course.begin(), course.end(), "M4 leaves"),
                            "M4_PrintQueueComplete(1,)")),
             0);
    QCOMPARE(bad.ask("m4", "getError"), QByteArray("(0,)"));
    QCOMPARE(bad.ask("m4", "clearAllPrintJobs"), QByteArray("(false,)")); // no jobs are left
}

void tst_Sandbox::checksAScenario_data()
{
    QTest::addColumn<QByteArray>("act"); // an act of one daemon, on the second line
    QTest::addColumn<QByteArray>("mistake");
    const auto row = [](const char *name, const char *act, const char *mistake) {
        QTest::newRow(name) << QByteArray(act) << QByteArray(mistake);
    };
    row("reading", "'daemon': 'm4', 'do': 'set', 'name': 'printerLidd', 'value': true",
        "no reading or switch is called \"printerLidd\"");
    row("reading of another daemon",
        "'daemon': 'm4', 'do': 'set', 'name': 'supplyPercent', 'value': 5",
        "no reading or switch is called \"supplyPercent\"");
    row("type of a reading", "'daemon': 'm4', 'do': 'set', 'name': 'printerLid', 'value': 1",
        "printerLid has to be true or false");
    row("range of a reading", "'daemon': 'm4', 'do': 'set', 'name': 'gap', 'value': -1",
        "gap has to be a whole number from 0");
    row("list of a reading", "'daemon': 'm4', 'do': 'set', 'name': 'ribbonIDs', 'value': ['A', 1]",
        "ribbonIDs has to be a list of strings");
    row("signal", "'daemon': 'm4', 'do': 'emit', 'signal': 'Eror', 'arguments': [1]",
        "no signal is called \"Eror\"");
    row("signal of another daemon",
        "'daemon': 'ioexpd', 'do': 'emit', 'signal': 'Error', 'arguments': [1]",
        "no signal is called \"Error\"");
    row("number of arguments", "'daemon': 'm4', 'do': 'emit', 'signal': 'Error'",
        "Error takes 1 argument, not 0");
    row("type of an argument",
        "'daemon': 'm4', 'do': 'emit', 'signal': 'Error', 'arguments': ['x']",
        "argument 1 of Error has to be a whole number");
    row("flood", "'daemon': 'm4', 'do': 'flood', 'signal': 'Eror', 'count': 100000000",
        "no signal is called \"Eror\"");
    row("supply", "'daemon': 'supplyd', 'do': 'load', 'supplySku': 'LBL-0', 'ribbonSkus': []",
        "no supply has the SKU \"LBL-0\"");
    row("ribbon", "'daemon': 'supplyd', 'do': 'load', 'supplySku': '', 'ribbonSkus': ['RIB-0']",
        "no ribbon has the SKU \"RIB-0\"");
    row("member", "'daemon': 'm4', 'do': 'fault', 'member': 'getEror', 'kind': 'never'",
        "no method is called \"getEror\"");
    row("error name",
        "'daemon': 'm4', 'do': 'fault', 'member': '*', 'kind': 'error', 'detail': 'no dot'",
        "the detail of error has to be the name of a D-Bus error and a text");
    row("method", "'daemon': 'm4', 'do': 'call', 'method': 'retryPrint'",
        "m4 has no method retryPrint");
    row("method with arguments", "'daemon': 'm4', 'do': 'call', 'method': 'forwardFeed'",
        "forwardFeed has parameters, and \"call\" passes no arguments");
    row("button", "'daemon': 'm4', 'do': 'press', 'button': 'print'",
        "\"press\" is for ioexpd, not m4");
    row("job", "'daemon': 'supplyd', 'do': 'print', 'labels': 3",
        "\"print\" is for m4, not supplyd");
    row("rolls", "'daemon': 'm4', 'do': 'load', 'supplySku': '', 'ribbonSkus': []",
        "\"load\" is for supplyd, not m4");
    row("shape", "'daemon': 'ioexpd', 'do': 'malform', 'shape': 'long'",
        "\"malform\" is for supplyd, not ioexpd");
    row("null", "'daemon': 'm4', 'do': 'set', 'name': 'gap', 'value': null",
        "acts[1].value: expected a value, not null");
}

void tst_Sandbox::checksAScenario()
{
    QFETCH(QByteArray, act);
    QFETCH(QByteArray, mistake);
    const QString
        file = scenario("{ \"at\": 0, \"do\": \"say\", \"text\": \"Now.\" },\n"
                        "{ \"at\": 1, "
                        + act.replace('\'', '"')
                        + " },\n"
                          "{ \"at\": 80000, \"daemon\": \"m4\", \"do\": \"print\", \"labels\": 1 }")
                   .last();
    Sandbox sandbox({ "--check", file });
    QCOMPARE(sandbox.exitCode(), 8);
    QCOMPARE(sandbox.errors(), "hnipc-sandbox: " + file.toLocal8Bit() + ":3: " + mistake + '\n');
    QCOMPARE(sandbox.output(), QByteArray());
    QVERIFY(sandbox.leavesNothing());
}

// The mistakes are printed in order of time. Acts for daemons that are not running then are
// checked, too.
void tst_Sandbox::checkFindsAllMistakes()
{
    const QString file =
        scenario(
            "{ \"at\": 9, \"daemon\": \"m4\", \"do\": \"set\", \"name\": \"no\", \"value\": 1 },\n"
            "{ \"at\": 1, \"daemon\": \"m4\", \"do\": \"stop\" },\n"
            "{ \"at\": 2, \"daemon\": \"m4\", \"do\": \"reset\" },\n"
            "{ \"at\": 3, \"daemon\": \"m4\", \"do\": \"stop\" },\n"
            "{ \"at\": 4, \"daemon\": \"m4\", \"do\": \"start\" },\n"
            "{ \"at\": 4, \"daemon\": \"m4\", \"do\": \"fault\", \"member\": \"*\", \"kind\": "
            "\"die\" },\n"
            "{ \"at\": 5, \"daemon\": \"ioexpd\", \"do\": \"press\", \"button\": \"help\" }")
            .last();
    const QByteArray where = "hnipc-sandbox: " + file.toLocal8Bit();
    Sandbox all({ "--check", file });
    QCOMPARE(all.exitCode(), 8);
    QCOMPARE(all.errors(),
             where + ":4: m4 is not running at this time\n" + where
                 + ":5: m4 is not running at this time\n" + where
                 + ":2: no reading or switch is called \"no\"\n");
    Sandbox one({ "--daemons", "m4", "--check", file });
    QCOMPARE(one.exitCode(), 8);
    QVERIFY(one.errors().contains(where + ":8: ioexpd is not running at this time\n"));
}

void tst_Sandbox::checkAsksDaemonsThatTheScenarioStarts()
{
    const QString file = scenario(
                             "{ \"at\": 1, \"daemon\": \"m4\", \"do\": \"start\" },\n"
                             "{ \"at\": 2, \"daemon\": \"m4\", \"do\": \"set\", \"name\": \"no\", "
                             "\"value\": 1 }")
                             .last();
    Sandbox sandbox({ "--daemons", "none", "--check", file });
    QCOMPARE(sandbox.exitCode(), 8);
    QCOMPARE(sandbox.errors(),
             "hnipc-sandbox: " + file.toLocal8Bit()
                 + ":3: no reading or switch is called \"no\"\n");
}

void tst_Sandbox::checkOfNoScenario_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("error");
    const QByteArray
        nothing = "hnipc-sandbox: --check cannot be combined with --scenario or a command. "
                  "See hnipc-sandbox --help.\n";
    QTest::newRow("command") << QStringList { "--check", "bad-day", "--", "echo", "run" } << 125
                             << nothing;
    QTest::newRow("scenario") << QStringList { "--check", "bad-day", "--scenario", "bad-day" }
                              << 125 << nothing;
    QTest::newRow("missing file") << QStringList {
        "--check", "/nowhere/day.json"
    } << 8 << QByteArray("hnipc-sandbox: /nowhere/day.json: No such file or directory\n");
    QTest::newRow("unknown name")
        << QStringList { "--check", "nosuch" } << 8
        << QByteArray("hnipc-sandbox: there is no file nosuch, and no installed scenario of that "
                      "name; installed are "
                      "bad-day, ordinary-day\n");
}

void tst_Sandbox::checkOfNoScenario()
{
    QFETCH(QStringList, options);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, error);
    Sandbox sandbox(options);
    QCOMPARE(sandbox.exitCode(), exitCode);
    QCOMPARE(sandbox.errors(), error);
    QCOMPARE(sandbox.output(), QByteArray());
}

// Standard output is a full disk.
void tst_Sandbox::checkThatCannotBePrinted()
{
    Sandbox sandbox("sh", { "-c", "exec \"$0\" --check bad-day >/dev/full", sandboxProgram });
    QCOMPARE(sandbox.exitCode(), 125);
    QCOMPARE(sandbox.errors(),
             QByteArray("hnipc-sandbox: cannot write: No space left on device\n"));
}

// A script beside a copy of the sandbox plays a daemon that never replies.
void tst_Sandbox::checkEndsOnASignal()
{
    const QTemporaryDir directory;
    QVERIFY(QDir(directory.path()).mkdir("bin"));
    QVERIFY(QFile::link(HNIPC_TOOLS_DIR "/../share", directory.filePath("share")));
    const QString program = directory.filePath("bin/hnipc-sandbox");
    QVERIFY(QFile::copy(sandboxProgram, program));
    QFile daemon(directory.filePath("bin/hnipc-simulator"));
    QVERIFY(daemon.open(QIODevice::WriteOnly));
    daemon.write("#!/bin/sh\nmkfifo \"$0.output\"\n"
                 "\"" HNIPC_TOOLS_DIR "/hnipc-simulator\" \"$@\" >\"$0.output\" & simulator=$!\n"
                 "read line <\"$0.output\"; kill -STOP $simulator; echo stopped >&2\n"
                 "echo \"$line\"; wait\n");
    daemon.close();
    QVERIFY(daemon.setPermissions(QFile::ReadOwner | QFile::ExeOwner));
    Sandbox sandbox(
        program,
        QStringList { "--daemons", "m4", "--check",
                      scenario("{ \"at\": 0, \"daemon\": \"m4\", \"do\": \"reset\" }").last() });
    QVERIFY(sandbox.says("stopped\n"));
    QCOMPARE(kill(sandbox.id(), SIGTERM), 0);
    QCOMPARE(sandbox.exitCode(), 128 + SIGTERM);
    QVERIFY(sandbox.leavesNothing());
}

void tst_Sandbox::shippedScenariosAndTheExampleAreRight_data()
{
    QTest::addColumn<QString>("file");
    QTest::newRow("bad-day") << "bad-day";
    QTest::newRow("ordinary-day") << "ordinary-day";
    QTest::newRow("manual page") << QString();
}

void tst_Sandbox::shippedScenariosAndTheExampleAreRight()
{
    QFETCH(QString, file);
    if (file.isEmpty()) {
        // The example of the manual page, with every act.
        const QByteArray page = contentOf(HNIPC_TOOLS_DIR "/../share/hnipc/man/hnipc-simulator.1");
        const int begin = int(page.indexOf("// A shift of acts\n"));
        QVERIFY(begin > 0);
        const QByteArray text = page.mid(begin, page.indexOf(".EE", begin) - begin)
                                    .replace("\\-", "-")
                                    .replace("\\(dq", "\"");
        for (const char *act : { "set", "press", "load", "print", "emit", "flood", "fault",
                                 "malform", "reset", "call", "say", "start", "stop" }) {
            QVERIFY2(text.contains(QByteArray("\"do\": \"") + act + '"'), act);
        }
        file = write("example.json", text);
    }
    Sandbox sandbox({ "--check", file });
    QCOMPARE(sandbox.exitCode(), 0);
    QVERIFY2(sandbox.output().endsWith(".json: nothing is wrong\n"), sandbox.output().constData());
    QCOMPARE(sandbox.errors(), QByteArray());
    QVERIFY(sandbox.leavesNothing());
}

void tst_Sandbox::reportsADaemonThatDies()
{
    OpenSandbox sandbox({ "--daemons", "m4,ioexpd" });
    const QByteArray reply = sandbox.processOf("m4"); // (uint32 123,)
    const pid_t process = reply.mid(8, reply.size() - 10).toInt();
    QVERIFY(process > 0);
    QCOMPARE(kill(process, SIGKILL), 0);
    QVERIFY(sandbox.says("hnipc-sandbox: m4 was killed by signal 9\n"));
    QVERIFY(waitUntil([&]() { return !sandbox.isThere("m4"); })); // known later to the bus
    QVERIFY(sandbox.isThere("ioexpd"));
    sandbox.closeWriteChannel();
    QCOMPARE(sandbox.exitCode(), 0);
}

void tst_Sandbox::reportsABusThatDies()
{
    if (isOnDBusBroker()) {
        HNIPC_SKIP("dbus-broker has another name");
    }
    OpenSandbox sandbox({ "--daemons", "none" });
    const QStringList buses = sandbox.processes().filter("dbus-daemon");
    QCOMPARE(int(buses.size()), 1);
    const pid_t process = buses.at(0).section(QLatin1Char(' '), 0, 0).toInt();
    QCOMPARE(kill(process, SIGKILL), 0);
    QVERIFY(sandbox.says("hnipc-sandbox: the bus was killed by signal 9\n"));
    sandbox.closeWriteChannel();
    QCOMPARE(sandbox.exitCode(), 0);
}

// ---- On a terminal ----

// Without a shell around it, because the shell would receive the keys, too.
static Sandbox *onTerminal(const QString &command)
{
    return new Sandbox(QStringLiteral("script"), { "-qec", "exec " + command, "/dev/null" });
}

void tst_Sandbox::keysAreForTheCommand()
{
    const std::unique_ptr<Sandbox> terminal(
        onTerminal(sandboxProgram
                   + " -- sh -c 'trap \"echo caught; exit 9\" INT; echo up;"
                     " while :; do sleep 1000 & wait; done'"));
    QVERIFY(terminal->says("up"));
    terminal->write("\x03");
    QVERIFY(terminal->says("caught"));
    QCOMPARE(terminal->exitCode(), 9);
    QVERIFY(terminal->leavesNothing());
}

void tst_Sandbox::keyEndsTheCommand()
{
    const std::unique_ptr<Sandbox> terminal(
        onTerminal(sandboxProgram + " -- sh -c 'echo up; exec sleep 1000'"));
    QVERIFY(terminal->says("up"));
    terminal->write("\x03");
    QCOMPARE(terminal->exitCode(), 130);
    QVERIFY(terminal->leavesNothing());
}

void tst_Sandbox::shellWithoutACommand()
{
    const std::unique_ptr<Sandbox> terminal(
        onTerminal("env SHELL=/bin/bash " + sandboxProgram + " --daemons m4"));
    QVERIFY(terminal->says("a shell with a system bus of its own"));
    terminal->write("set -m; sleep 1000\n");
    QVERIFY(waitUntil([&terminal]() {
        return !terminal->processes().filter(QRegularExpression("^\\d+ sleep 1000 $")).isEmpty();
    }));
    // The job ends, the shell does not.
    terminal->write("\x03");
    terminal->write("echo \"job: $?\"; exit 6\n");
    QVERIFY(terminal->says("job: 130"));
    QCOMPARE(terminal->exitCode(), 6);
    QVERIFY(terminal->leavesNothing());
}

// ---- This program inside a sandbox ----

static int printNames()
{
    QStringList
        names = QDBusConnection::systemBus().interface()->registeredServiceNames().value().filter(
            QStringLiteral("org.hnipc."));
    names.sort();
    puts(qPrintable(names.join(QLatin1Char(' '))));
    return 0;
}

static int useClient()
{
    qDBusRegisterMetaType<SupplyInformation>(); // see lsan.supp
    HNIPC printer;
    bool heard = false;
    QObject::connect(&printer, &HNIPC::M4Dac0, [&heard](quint32 value) {
        heard = value == 321;
        return true;
    });
    const bool set = printer.setDac(321) && waitUntil([&heard]() { return heard; });
    printf("%s, %u\n", set ? "set and heard" : "not set or not heard", printer.dac0());
    return 0;
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    if (argc == 2 && qstrcmp(argv[1], "--names") == 0) {
        return printNames();
    }
    if (argc == 2 && qstrcmp(argv[1], "--client") == 0) {
        return useClient();
    }
    tst_Sandbox test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_sandbox.moc"
