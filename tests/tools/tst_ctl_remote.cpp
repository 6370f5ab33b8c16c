// SPDX-License-Identifier: MIT
// hnipcctl with printers across the network: a script replaces ssh, and each printer is a separate
// bus.
#include "ctlprogram.h"

#include "support/privatebus.h"
#include "support/qtmajors.h"
#include "support/wirepeer.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QRegularExpression>
#include <QtCore/QScopedPointer>
#include <QtCore/QStandardPaths>
#include <QtCore/QTemporaryDir>

#include <algorithm>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

QList<QByteArray> lines(QByteArray output)
{
    return output.isEmpty() ? QList<QByteArray>() : output.chopped(1).split('\n');
}

// A bus with one peer that plays all three daemons.
class Printer
{
public:
    explicit Printer(const QString &socket)
        : m_bus(QByteArray(), QByteArray(), "unix:path=" + socket.toUtf8()), m_peer(m_bus)
    {
        for (const char *name : { "org.hnipc.ioexpd", "org.hnipc.m4", "org.hnipc.supplyd" }) {
            if (!m_peer.own(name)) {
                qFatal("a printer does not start");
            }
        }
    }

    WirePeer &peer() { return m_peer; }

private:
    BusProcess m_bus;
    WirePeer m_peer;
};

} // namespace

class tst_CtlRemote : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void callsThePrinter_data();
    void callsThePrinter();
    void receivesSignals();
    void traces();
    void namesTheHostExactly();
    void printsTheReason_data();
    void printsTheReason();
    void printsTheReasonInJson();
    void refusesBeforeItConnects_data();
    void refusesBeforeItConnects();
    void endsSsh_data();
    void endsSsh();
    void startsNoSshForAnEndedProgram();
    void refusesHosts_data();
    void refusesHosts();
    void refusesHostsFiles_data();
    void refusesHostsFiles();

    void fleetInRows_data();
    void fleetInRows();
    void fleetChecksDescriptions();
    void fleetPrintsTheReason_data();
    void fleetPrintsTheReason();
    void fleetAsksForNoPassword();
    void fleetWithUnusualNumbers();
    void fleetMarksSimulated();
    void fleetWithDeadline();
    void fleetInJson();
    void fleetInJsonInterrupted();
    void monitorsAFleet();
    void batchesForAFleet();
    void fleetFromFile();
    void fleetActs();
    void fiftyPrinters();
    void interruptedFleet();

private:
    Ctl *ask(const QStringList &arguments) { return new Ctl(arguments, m_environment); }
    Printer &start(const QString &host, const QByteArray &error = "(0,)");
    QString path(const QString &name) const { return m_directory->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_directory;
    std::vector<std::unique_ptr<Printer>> m_printers;
    Environment m_environment;
};

void tst_CtlRemote::init()
{
    m_directory.reset(new QTemporaryDir);
    // clang-format off
    const QString ssh = path(QStringLiteral("s,s;h %=x")); // an address escapes all of these
    QVERIFY(write(ssh,
                  "#!/bin/sh\n"
                  "cd '" + m_directory->path().toUtf8() + "' || exit 99\n"
                  "printf '%s\\n' \"$@\" > arguments\n"
                  "while test \"$1\" != --; do shift; done\n"
                  "host=${2#*@}\n"
                  "echo \"$host\" >> logins\n"
                  "case $host in banner*) printf 'Warning: Permanently added\\nWelcome\\n' >&2\n"
                  "    host=${host#banner} ;; esac\n"
                  "if test -p gate; then : > \"$host.running\"; read -r line < gate; fi\n"
                  "case $host in\n"
                  "down*) echo \"ssh: connect to host $host port 22: No route to host\" >&2\n"
                  "    exit 255 ;;\n"
                  "bare*) echo 'bash: line 1: systemd-stdio-bridge: command not found' >&2\n"
                  "    exit 127 ;;\n"
                  "mute*) exit 255 ;;\n"
                  "rude*) printf 'a\\033[2Jb\\302\\233c\\342\\200\\256d\\177e\\r\\n\\n\\303\\244 \\377\\rf' >&2\n"
                  "    exit 255 ;;\n"
                  "long*) { printf 'x\\303\\244%.0s' $(seq 4000); echo; } >&2; exit 255 ;;\n"
                  "hang*) echo $$ > \"$host.pid\"; exec sleep 100000 ;;\n"
                  "esac\n"
                  "exec ${BRIDGE:-'" HNIPC_TEST_BRIDGE "'} \"$host\"\n"));
    // clang-format on
    QVERIFY(QFile(ssh).setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    m_environment[QStringLiteral("HNIPCCTL_SSH")] = ssh;
    m_environment.remove(QStringLiteral("BRIDGE"));
}

void tst_CtlRemote::cleanup() { m_printers.clear(); }

Printer &tst_CtlRemote::start(const QString &host, const QByteArray &error)
{
    m_printers.emplace_back(new Printer(path(host)));
    WirePeer &peer = m_printers.back()->peer();
    peer.answer("getError", error);
    peer.answer("getAlert", "(0,)");
    peer.answer("getBatteryStatus", "(87,)");
    peer.answer("supplySupplyPercent", "(62.5,)");
    peer.answer("supplySupplyRGB", "('#ffffff',)");
    peer.answer("supplyRibbon1Percent", "(0.0,)");
    peer.answer("supplyRibbon1RGBs", "(['#00aeef', '#000000'],)");
    peer.answer("supplySKUCached", "('S-100',)");
    peer.answer("setDac", "(true,)");
    peer.answer("enableBacklight", "()");
    return *m_printers.back();
}

// ---- One printer ---------------------------------------------------------------------------

void tst_CtlRemote::callsThePrinter_data()
{
    QTest::addColumn<QString>("bridge");

    QTest::newRow("bridge of the test") << QString();
    QTest::newRow("bridge of the system") << QStringLiteral("systemd-stdio-bridge --bus-path");
}

void tst_CtlRemote::callsThePrinter()
{
    QFETCH(QString, bridge);

    if (!bridge.isEmpty()) {
        if (QStandardPaths::findExecutable(QStringLiteral("systemd-stdio-bridge")).isEmpty()) {
            HNIPC_SKIP("systemd-stdio-bridge is not installed");
        }
        // The bridge requires an address.
        const QString script = path(QStringLiteral("bridge"));
        QVERIFY(write(script,
                      "#!/bin/sh\nexec systemd-stdio-bridge --bus-path=\"unix:path=$PWD/$1\"\n"));
        QVERIFY(QFile(script).setPermissions(QFile::ReadOwner | QFile::ExeOwner));
        m_environment[QStringLiteral("BRIDGE")] = script;
    }
    Printer &printer = start(QStringLiteral("p1"), "(31,)");
    QScopedPointer<Ctl> get(ask(words("--host service@p1 get qmlPrintEngineErrorCode")));
    QCOMPARE(get->err(), QByteArray());
    QCOMPARE(get->out(), QByteArray("31\n"));
    QCOMPARE(get->exitCode(), 0);
    QCOMPARE(content(path(QStringLiteral("arguments"))),
             QByteArray("-xT\n-oConnectTimeout=26\n--\nservice@p1\nsystemd-stdio-bridge\n"));

    QScopedPointer<Ctl> call(ask(words("call setDac 5 --host p1")));
    QCOMPARE(call->exitCode(), 0);
    QCOMPARE(printer.peer().calls().last().line(),
             QByteArray("/ local.IHNIPCM4.setDac u (uint32 5,)"));

    QScopedPointer<Ctl> status(ask(words("status --host p1")));
    QVERIFY2(status->out().contains("  qmlPrintEngineErrorCode  31\n"), status->out());
    QCOMPARE(status->exitCode(), 0);
}

void tst_CtlRemote::receivesSignals()
{
    Printer &printer = start(QStringLiteral("p1"));
    QScopedPointer<Ctl> monitor(ask(words("monitor --host p1 --json --count 1")));
    QScopedPointer<Ctl> record(ask(words("record - --host p1 --count 1")));
    QVERIFY(monitor->complains("subscribed"));
    QVERIFY(record->complains("recording"));
    QVERIFY(printer.peer().emitSignal("/", "local.IHNIPCM4", "M4_Error", "(12,)"));
    QVERIFY2(monitor->out().contains("\"arguments\":{\"value\":12}"), monitor->out());
    QVERIFY2(record->out().contains("\"arguments\":[12]"), record->out());
    QCOMPARE(monitor->exitCode(), 0);
    QCOMPARE(record->exitCode(), 0);
}

// A process on the printer has a process id here, but no program name.
void tst_CtlRemote::traces()
{
    start(QStringLiteral("p1"), "(7,)");
    QScopedPointer<Ctl> text(ask(words("trace --host p1 --count 1")));
    QScopedPointer<Ctl> json(ask(words("trace --host p1 --count 1 --json")));
    QVERIFY(text->complains("tracing"));
    QVERIFY(json->complains("tracing"));
    QScopedPointer<Ctl> call(ask(words("call --host p1 getError")));
    QCOMPARE(call->out(), QByteArray("7\n"));
    QCOMPARE(json->exitCode(), 0);
    const QJsonObject object = QJsonDocument::fromJson(json->out()).object();
    QCOMPARE(object.value(QLatin1String("value")).toInt(), 7);
    QVERIFY(!object.value(QLatin1String("caller")).toObject().contains(QLatin1String("program")));
    QCOMPARE(text->exitCode(), 0);
    static const QRegularExpression line(
        QStringLiteral("^\\S+ +[0-9.]+ ms (process \\d+|:\\d+\\.\\d+) +m4      getError -> 7\n$"));
    QVERIFY2(line.match(QString::fromUtf8(text->out())).hasMatch(), text->out());
}

void tst_CtlRemote::namesTheHostExactly()
{
    const QString host = QString::fromUtf8("down,er;=%41\"'\\*~$(x)\xc3\xa4");
    QScopedPointer<Ctl> ctl(ask({ QStringLiteral("--host"), host, QStringLiteral("status") }));
    QCOMPARE(ctl->exitCode(), 3);
    QCOMPARE(content(path(QStringLiteral("arguments"))),
             "-xT\n-oConnectTimeout=26\n--\n" + host.toUtf8() + "\nsystemd-stdio-bridge\n");
}

void tst_CtlRemote::printsTheReason_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QByteArray>("error");
    QTest::addColumn<int>("exitCode");

    QTest::newRow("unreachable") << QByteArray("status --host down")
                                 << QByteArray(
                                        "ssh: connect to host down port 22: No route to host\n"
                                        "hnipcctl: no system bus of down\n")
                                 << 3;
    QTest::newRow("no bridge") << QByteArray("get all --host bare")
                               << QByteArray(
                                      "bash: line 1: systemd-stdio-bridge: command not found\n"
                                      "hnipcctl: no system bus of bare\n")
                               << 3;
    QTest::newRow("commands to a terminal")
        << QByteArray("status --host rude")
        << QByteArray("a\\u001b[2Jb\\u009bc\\u202ed\\u007fe\n\n\xc3\xa4 \xef\xbf\xbd\\u000df\n"
                      "hnipcctl: no system bus of rude\n")
        << 3;
    QTest::newRow("more than is read at once")
        << QByteArray("status --host long")
        << QByteArray("x\xc3\xa4").repeated(4000) + "\nhnipcctl: no system bus of long\n"
        << 3;
    QTest::newRow("silent") << QByteArray("call getError --timeout 200 --host hang")
                            << QByteArray("hnipcctl: hang was not reached within 200 ms\n") << 6;
    QTest::newRow("silent with an odd name")
        << QByteArray("call getError --timeout 200 --host hang%2")
        << QByteArray("hnipcctl: hang%2 was not reached within 200 ms\n") << 6;
}

void tst_CtlRemote::printsTheReason()
{
    QFETCH(QByteArray, command);
    QFETCH(QByteArray, error);
    QFETCH(int, exitCode);

    QScopedPointer<Ctl> ctl(ask(words(command.constData())));
    QCOMPARE(ctl->exitCode(), exitCode);
    QCOMPARE(ctl->err(), error);
    QCOMPARE(ctl->out(), QByteArray());
}

void tst_CtlRemote::printsTheReasonInJson()
{
    QScopedPointer<Ctl> down(ask(words("--json status --host down")));
    QCOMPARE(down->exitCode(), 3);
    QCOMPARE(down->out(), QByteArray("{\"error\":\"no system bus of down\",\"exit\":3}\n"));
    QScopedPointer<Ctl> silent(ask(words("--json get all --timeout 200 --host hang")));
    QCOMPARE(silent->exitCode(), 6);
    QCOMPARE(silent->out(),
             QByteArray("{\"error\":\"hang was not reached within 200 ms\",\"exit\":6}\n"));
}

void tst_CtlRemote::refusesBeforeItConnects_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("message");

    const auto row = [](const char *command, int exitCode, const char *message) {
        QTest::newRow(command) << QByteArray(command) << exitCode << QByteArray(message);
    };
    row("call nope", 7, "no method nope");
    row("call setDac x", 8, "argument 1 (value): \"x\" is not a number from");
    row("call setDac", 2, "0 arguments given to setDac(quint32 value)");
    row("call getError --deadline 0", 2,
        "--deadline: \"0\" is not a number of milliseconds from 1 to 2147483647");
    row("get qmlBatteryStatus nope", 7, "no property nope");
    row("introspect m5", 7, "no daemon m5; expected one of ioexpd, m4, supplyd");
}

void tst_CtlRemote::refusesBeforeItConnects()
{
    QFETCH(QByteArray, command);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, message);

    const QString file = path(QStringLiteral("hosts"));
    QVERIFY(write(file, "a\nb\n"));
    for (const QStringList &hosts : { words("--host a"), words("--host a --host b"),
                                      QStringList { QStringLiteral("--hosts"), file } }) {
        QScopedPointer<Ctl> ctl(ask(words(command.constData()) + hosts));
        QCOMPARE(ctl->exitCode(), exitCode);
        QCOMPARE(ctl->out(), QByteArray());
        QVERIFY2(ctl->err().startsWith("hnipcctl: " + message), ctl->err());
        QCOMPARE(ctl->err().count('\n'), 1);
        QVERIFY(!QFile::exists(path(QStringLiteral("arguments")))); // ssh was not started
    }
    for (const char *single :
         { "monitor nope", "monitor --count 0", "record f --count 0", "replay f --speed x" }) {
        QScopedPointer<Ctl> ctl(ask(words(single) + words("--host a")));
        QVERIFY(ctl->exitCode() == 2 || ctl->exitCode() == 7);
        QVERIFY(!QFile::exists(path(QStringLiteral("arguments"))));
    }
}

void tst_CtlRemote::endsSsh_data()
{
    QTest::addColumn<int>("signal");

    QTest::newRow("deadline") << 0;
    QTest::newRow("Ctrl-C") << int(SIGINT);
    QTest::newRow("killed") << int(SIGKILL);
}

void tst_CtlRemote::endsSsh()
{
    QFETCH(int, signal);

    const QString command = signal == 0 ? QStringLiteral("status --host hang --timeout 1000")
                                        : QStringLiteral("status --host hang --timeout 1000000");
    QScopedPointer<Ctl> ctl(ask(command.split(QLatin1Char(' '))));
    const auto pid = [&]() { return content(path(QStringLiteral("hang.pid"))).trimmed(); };
    // On a busy machine, the program may end before ssh has started.
    QVERIFY(waitUntil([&]() { return isAlive(pid()) || (signal == 0 && !ctl->isRunning()); }));
    if (signal != 0) {
        ctl->send(signal);
    }
    QVERIFY(ctl->ends());
    QVERIFY(waitUntil([&]() { return !isAlive(pid()); }));
}

void tst_CtlRemote::startsNoSshForAnEndedProgram()
{
    // The parent is this test, not process 1.
    const QStringList command { QStringLiteral("--become-ssh"), QStringLiteral("1"),
                                m_environment[QStringLiteral("HNIPCCTL_SSH")] };
    QScopedPointer<Ctl> ctl(ask(command));
    QCOMPARE(ctl->exitCode(), 1);
    QVERIFY(!QFile::exists(path(QStringLiteral("arguments"))));
}

void tst_CtlRemote::refusesHosts_data()
{
    QTest::addColumn<QStringList>("command");
    QTest::addColumn<QByteArray>("message");

    const auto row = [](const char *command, const char *message) {
        QTest::newRow(command) << words(command) << QByteArray(message);
    };
    row("status --host", "--host needs a value: PRINTER");
    row("status --hosts", "--hosts needs a value: FILE");
    row("status --host=", "--host: expected the name of a printer, not an empty string");
    row("status --host -oProxyCommand=x",
        "--host: expected the name of a printer, not \"-oProxyCommand=x\"");
    row("status --host a --host -x", "--host: expected the name of a printer, not \"-x\"");
    row("status --host a --address unix:path=/x", "--address and --host name different buses");
    row("status --hosts a --address unix:path=/x", "--address and --host name different buses");
    row("status --address=", "--address is empty");
    row("status --hosts=", "the name of the file to be read is empty\n");
    row("watch --host a --host b", "watch is for one printer at a time; 2 are given");
    row("record f --host a --host b --host c", "record is for one printer at a time; 3 are given");
    row("replay f --host a --host b", "replay is for one printer at a time; 2 are given");
    row("call supplyBackgroundImage S --output f --host a --host b",
        "--output is for one printer at a time");
    QTest::newRow("space") << QStringList { QStringLiteral("status"), QStringLiteral("--host"),
                                            QStringLiteral("a b") }
                           << QByteArray("--host: expected the name of a printer, not \"a b\"");
}

void tst_CtlRemote::refusesHosts()
{
    QFETCH(QStringList, command);
    QFETCH(QByteArray, message);

    QScopedPointer<Ctl> ctl(ask(command));
    QCOMPARE(ctl->exitCode(), 2);
    QCOMPARE(ctl->out(), QByteArray());
    QVERIFY2(ctl->err().startsWith("hnipcctl: " + message), ctl->err());
    QVERIFY(!QFile::exists(path(QStringLiteral("arguments")))); // ssh was not started
}

void tst_CtlRemote::refusesHostsFiles_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QByteArray>("message");

    QTest::newRow("empty") << QByteArray() << QByteArray(": expected a printer in each line");
    QTest::newRow("comments only") << QByteArray("# a\n\n") << QByteArray(": expected a printer");
    QTest::newRow("option") << QByteArray("a\n\n-oProxyCommand=x\n")
                            << QByteArray(":3: expected the name of a printer, not \"-oProxy");
    QTest::newRow("invisible") << QByteArray(
        "a\n\xef\xbb\xbf"
        "b\n") << QByteArray(":2: expected the name of a printer, not \"\\ufeffb\"");
    QTest::newRow("two in a line") << QByteArray("# all\na b\n")
                                   << QByteArray(":2: expected the name of a printer, not \"a b\"");
}

void tst_CtlRemote::refusesHostsFiles()
{
    QFETCH(QByteArray, file);
    QFETCH(QByteArray, message);

    const QString name = path(QStringLiteral("hosts"));
    const QStringList command { QStringLiteral("status"), QStringLiteral("--hosts"), name };
    QScopedPointer<Ctl> missing(ask(command));
    QCOMPARE(missing->exitCode(), 1);
    QVERIFY2(missing->err().startsWith("hnipcctl: " + name.toUtf8() + ": "), missing->err());

    QVERIFY(write(name, file));
    QScopedPointer<Ctl> ctl(ask(command));
    QCOMPARE(ctl->exitCode(), 8);
    QVERIFY2(ctl->err().startsWith("hnipcctl: " + name.toUtf8() + message), ctl->err());
    QVERIFY(!QFile::exists(path(QStringLiteral("arguments"))));
}

// ---- Several -------------------------------------------------------------------------------

void tst_CtlRemote::fleetInRows_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QByteArray>("rows");
    QTest::addColumn<int>("exitCode");

    const char down[] = "down  ssh: connect to host down port 22: No route to host\n";
    QTest::newRow("get one") << QByteArray("get qmlSupplyPercent --host p2 --host p1")
                             << QByteArray("p2  62.5\np1  62.5\n") << 0;
    QTest::newRow("get two") << QByteArray("--host p1 --host p2 get qmlBatteryStatus qmlSupplySKU")
                             << QByteArray("p1  qmlBatteryStatus=87 qmlSupplySKU=\"S-100\"\n"
                                           "p2  qmlBatteryStatus=87 qmlSupplySKU=\"S-100\"\n")
                             << 0;
    QTest::newRow("call") << QByteArray("call getError --host p1 --host p2")
                          << QByteArray("p1  1\np2  2\n") << 0;
    QTest::newRow("call without answer")
        << QByteArray("call enableBacklight on --host p1 --host p2")
        << QByteArray("p1  done\np2  done\n") << 0;
    QTest::newRow("twice the same") << QByteArray("call getError --host p1 --host p2 --host p1")
                                    << QByteArray("p1  1\np2  2\n") << 0;
    QTest::newRow("unreachable") << QByteArray("call getError --host p1 --host down --host p2")
                                 << QByteArray("p1    1\n") + down + "p2    2\n"
                                 << 3;
    QTest::newRow("hanging") << QByteArray(
        "call getError --timeout 5000 --host hang --host p1 --host down")
                             << QByteArray("hang  hang was not reached within 5000 ms\np1    1\n")
            + down << 6;
    QTest::newRow("daemon refuses")
        << QByteArray("call dac0 --host p1 --host down --host p2")
        << QByteArray("p1    (m4 replied with the error org.example.Cold: too cold)\n") + down
            + "p2    (m4 replied with the error org.example.Cold: too cold)\n"
        << 5;
    QTest::newRow("status")
        << QByteArray("status --host p1 --host down")
        << QByteArray(
               "p1    ioexpd=present m4=present supplyd=present qmlBatteryStatus=87 "
               "qmlPrintEngineAlertCode=0 qmlPrintEngineErrorCode=1 "
               "qmlRibbonColorRGBs=[\"#00aeef\",\"#000000\"] qmlRibbonPercent=0 "
               "qmlSupplyColorRGB=\"#ffffff\" qmlSupplyPercent=62.5 qmlSupplySKU=\"S-100\"\n")
            + down
        << 3;
}

void tst_CtlRemote::fleetInRows()
{
    QFETCH(QByteArray, command);
    QFETCH(QByteArray, rows);
    QFETCH(int, exitCode);

    for (const char *host : { "p1", "p2" }) {
        const QByteArray error = QByteArray("(") + host[1] + ",)";
        start(QString::fromLatin1(host), error)
            .peer()
            .answerError("dac0", "org.example.Cold", "too cold");
    }
    QScopedPointer<Ctl> ctl(ask(words(command.constData())));
    QCOMPARE(ctl->out(), rows);
    QCOMPARE(ctl->err(), QByteArray());
    QCOMPARE(ctl->exitCode(), exitCode);
}

void tst_CtlRemote::fleetChecksDescriptions()
{
    const QByteArray whole = content(
        QStringLiteral(HNIPC_INTERFACES_DIR "/local.IHNIPCIOEXPD.xml"));
    const QByteArray backlight = "name=\"enableBacklight\"";
    QVERIFY(whole.contains(backlight));
    start(QStringLiteral("p1")).peer().setIntrospection(whole);
    start(QStringLiteral("p2"))
        .peer()
        .setIntrospection(QByteArray(whole).replace(backlight, "name=\"enable&#x9b;\""));
    start(QStringLiteral("p4")).peer().setIntrospection("<node><interface name='a.%2'/></node>");
    start(QStringLiteral("p3"));

    QScopedPointer<Ctl> check(
        ask(words("introspect ioexpd --check --host p1 --host p2 --host p3 --host down")));
    QCOMPARE(check->out(),
             QByteArray("p1    as described\n"
                        "p2    enableBacklight(b) is missing; enable\\u009b(b) is not described\n"
                        "p3    ioexpd replied with the error "
                        "org.freedesktop.DBus.Error.UnknownMethod: no such method\n"
                        "down  ssh: connect to host down port 22: No route to host\n"));
    QCOMPARE(check->exitCode(), 5);
    QScopedPointer<Ctl> introspect(ask(words("introspect ioexpd --host p1 --host p4 --host down")));
    QCOMPARE(introspect->out(),
             QByteArray("p1    local.IHNIPCIOEXPD: 6 methods, 3 signals\n"
                        "p4    a.%2: 0 methods, 0 signals\n"
                        "down  ssh: connect to host down port 22: No route to host\n"));
    QCOMPARE(introspect->exitCode(), 3);
}

void tst_CtlRemote::fleetPrintsTheReason_data()
{
    QTest::addColumn<QByteArray>("host");
    QTest::addColumn<QByteArray>("row");
    QTest::addColumn<int>("exitCode");

    QTest::newRow("banner, then silent")
        << QByteArray("bannerhang") << QByteArray("bannerhang was not reached within 2000 ms") << 6;
    QTest::newRow("banner, then unreachable")
        << QByteArray("bannerdown")
        << QByteArray("ssh: connect to host down port 22: No route to host") << 3;
    QTest::newRow("banner, then no bridge")
        << QByteArray("bannerbare")
        << QByteArray("bash: line 1: systemd-stdio-bridge: command not found") << 3;
    QTest::newRow("without a word")
        << QByteArray("mute") << QByteArray("no system bus of mute") << 3;
}

// The reason is not another line that ssh printed.
void tst_CtlRemote::fleetPrintsTheReason()
{
    QFETCH(QByteArray, host);
    QFETCH(QByteArray, row);
    QFETCH(int, exitCode);

    const QString file = path(QStringLiteral("hosts"));
    QVERIFY(write(file, host));
    QStringList command = words("call getError --hosts") << file;
    if (exitCode == 6) {
        command << words("--timeout 2000");
    }
    QScopedPointer<Ctl> ctl(ask(command));
    QCOMPARE(ctl->out(), host + "  " + row + '\n');
    QCOMPARE(ctl->exitCode(), exitCode);
    QCOMPARE(ctl->err(), QByteArray());
    QScopedPointer<Ctl> json(ask(QStringList(command) << QStringLiteral("--json")));
    QCOMPARE(QJsonDocument::fromJson(json->out()).object().value(QLatin1String("error")),
             QJsonValue(QString::fromUtf8(row)));

    // Other lines of ssh are not the reason either if the printer was reached.
    start(QStringLiteral("p1")).peer().answerError("getError", "org.example.Cold", "too cold");
    QScopedPointer<Ctl> reached(ask(words("call getError --host bannerp1 --host p1")));
    QCOMPARE(reached->out(),
             QByteArray("bannerp1  (m4 replied with the error org.example.Cold: too cold)\n"
                        "p1        (m4 replied with the error org.example.Cold: too cold)\n"));

    // ssh is not installed
    for (const char *program : { "/nonexistent/ssh", "no-such-ssh" }) {
        m_environment[QStringLiteral("HNIPCCTL_SSH")] = QString::fromLatin1(program);
        const QByteArray error = QByteArray("cannot run ") + program + ": there is no such program";
        QScopedPointer<Ctl> missing(ask(command));
        QCOMPARE(missing->out(), host + "  " + error + '\n');
        QCOMPARE(missing->exitCode(), 3);
        QScopedPointer<Ctl> single(ask(words("status --host a")));
        QCOMPARE(single->err(), "hnipcctl: " + error + '\n');
        QCOMPARE(single->exitCode(), 3);
    }
    const QString broken = path(QStringLiteral("broken"));
    QVERIFY(write(broken, "#!/nonexistent/shell\n"));
    QVERIFY(QFile(broken).setPermissions(QFile::ReadOwner | QFile::ExeOwner));
    m_environment[QStringLiteral("HNIPCCTL_SSH")] = broken;
    QScopedPointer<Ctl> unusable(ask(command));
    QVERIFY2(unusable->out().startsWith(host + "  cannot run " + broken.toUtf8() + ": "),
             unusable->out());
}

// ssh cannot ask the user: it has no terminal, and opens no window.
void tst_CtlRemote::fleetAsksForNoPassword()
{
    start(QStringLiteral("p1"));
    const QString file = path(QStringLiteral("hosts"));
    QVERIFY(write(file, "p1"));
    QScopedPointer<Ctl> ctl(ask(words("call getError --timeout 60000 --hosts") << file));
    QCOMPARE(ctl->exitCode(), 0);
    QCOMPARE(content(path(QStringLiteral("arguments"))),
             QByteArray("-xT\n-oBatchMode=yes\n-oLogLevel=ERROR\n-oConnectTimeout=61\n--\np1\n"
                        "systemd-stdio-bridge\n"));
}

void tst_CtlRemote::fleetWithUnusualNumbers()
{
    start(QStringLiteral("p1")).peer().answer("supplySupplyPercent", "(nan,)");
    start(QStringLiteral("p2")).peer().answer("supplySupplyPercent", "(-inf,)");
    QScopedPointer<Ctl> ctl(ask(words("get qmlSupplyPercent --host p1 --host p2")));
    QCOMPARE(ctl->out(), QByteArray("p1  \"nan\"\np2  \"-inf\"\n"));
}

void tst_CtlRemote::fleetMarksSimulated()
{
    start(QStringLiteral("p1"))
        .peer()
        .setIntrospection("<node><interface name=\"org.hnipc.Simulator\"/></node>");
    start(QStringLiteral("p2"))
        .peer()
        .setIntrospection("<node><interface name=\"org.hnipc.StandIn\"/></node>");
    start(QStringLiteral("p3"));
    QScopedPointer<Ctl> ctl(ask(words("status --host p1 --host p2 --host p3")));
    const QList<QByteArray> rows = lines(ctl->out());
    QCOMPARE(rows.size(), 3);
    QVERIFY2(rows.at(0).startsWith("p1  ioexpd=simulated m4=simulated supplyd=simulated qml"),
             rows.at(0));
    QVERIFY2(rows.at(1).startsWith("p2  ioexpd=stand-in m4=stand-in supplyd=stand-in qml"),
             rows.at(1));
    QVERIFY2(rows.at(2).startsWith("p3  ioexpd=present m4=present supplyd=present qml"),
             rows.at(2));
}

void tst_CtlRemote::fleetWithDeadline()
{
    start(QStringLiteral("p1"));
    start(QStringLiteral("p2")).peer().answerError("setDac", "org.example.Cold", "too cold");
    QScopedPointer<Ctl> ctl(
        ask(words("call setDac 5 --deadline 60000 --host p1 --host p2 --host down")));
    QCOMPARE(ctl->out(),
             QByteArray("p1    answered: true\n"
                        "p2    refused: (m4 replied with the error org.example.Cold: too cold)\n"
                        "down  ssh: connect to host down port 22: No route to host\n"));
    QCOMPARE(ctl->exitCode(), 5);
    QScopedPointer<Ctl> none(
        ask(words("call enableBacklight on --deadline 60000 --host p1 --host p2")));
    QCOMPARE(none->out(), QByteArray("p1  answered\np2  answered\n"));
}

QMap<QString, QJsonObject> byHost(const QByteArray &output)
{
    QMap<QString, QJsonObject> result;
    for (const QByteArray &line : lines(output)) {
        QJsonObject object = QJsonDocument::fromJson(line).object();
        result.insert(object.take(QLatin1String("host")).toString(), object);
    }
    return result;
}

void tst_CtlRemote::fleetInJson()
{
    start(QStringLiteral("p1"), "(1,)");
    QScopedPointer<Ctl> ctl(ask(words("--json call getError --host p1 --host down --host rude")));
    QMap<QString, QJsonObject> expected;
    expected[QStringLiteral("p1")] = QJsonDocument::fromJson(
                                         "{\"exit\":0,\"result\":{\"value\":1,\"daemon\":\"m4\","
                                         "\"method\":\"getError()\"}}")
                                         .object();
    expected[QStringLiteral("down")] = QJsonDocument::fromJson(
                                           "{\"exit\":3,\"error\":\"ssh: connect to host down port "
                                           "22: No route to host\"}")
                                           .object();
    expected[QStringLiteral("rude")] = QJsonDocument::fromJson(
                                           "{\"exit\":3,\"error\":\"\xc3\xa4 \xef\xbf\xbd\\rf\"}")
                                           .object();
    QVERIFY2(byHost(ctl->out()) == expected, ctl->out());
    QCOMPARE(lines(ctl->out()).size(), 3);
    QCOMPARE(ctl->exitCode(), 3);
}

// Each row is printed when it is known, and the remaining rows at the end.
void tst_CtlRemote::fleetInJsonInterrupted()
{
    start(QStringLiteral("p1"), "(1,)");
    start(QStringLiteral("p2")).peer().ignore("getError");
    QScopedPointer<Ctl> ctl(
        ask(words("--json call getError --timeout 1000000 --host hang --host p2 "
                  "--host p1 --host down")));
    QVERIFY(ctl->prints("\"host\":\"p1\""));
    QVERIFY(ctl->prints("\"host\":\"down\""));
    QVERIFY(waitUntil([this]() { return !m_printers[1]->peer().calls().isEmpty(); }));
    QCOMPARE(ctl->output().count('\n'), 2);
    ctl->interrupt();
    QCOMPARE(ctl->exitCode(), 130);
    const QMap<QString, QJsonObject> rows = byHost(ctl->out());
    QCOMPARE(rows.size(), 4);
    QCOMPARE(
        rows[QStringLiteral("hang")],
        QJsonDocument::fromJson("{\"exit\":130,\"error\":\"interrupted before it was reached\"}")
            .object());
    QCOMPARE(rows[QStringLiteral("p2")],
             QJsonDocument::fromJson("{\"exit\":130,\"error\":\"interrupted before it replied\"}")
                 .object());
}

void tst_CtlRemote::monitorsAFleet()
{
    Printer &first = start(QStringLiteral("p1"));
    Printer &second = start(QStringLiteral("p2"));
    for (const bool json : { false, true }) {
        QScopedPointer<Ctl> ctl(ask(words("monitor --count 2 Error --host p1 --host p2 --host down")
                                    + (json ? words("--json") : QStringList())));
        QVERIFY(ctl->complains("hnipcctl: p1: subscribed to "));
        QVERIFY(ctl->complains("hnipcctl: p2: subscribed to "));
        QVERIFY(ctl->prints("No route to host"));
        QVERIFY(second.peer().emitSignal("/", "local.IHNIPCM4", "M4_Error", "(12,)"));
        QVERIFY(ctl->prints("12"));
        QVERIFY(first.peer().emitSignal("/", "local.IHNIPCM4", "M4_Error", "(13,)"));
        QCOMPARE(ctl->exitCode(), 3); // because one printer is not reachable
        if (json) {
            const QMap<QString, QJsonObject> rows = byHost(ctl->out());
            QCOMPARE(rows.size(), 3);
            QCOMPARE(rows[QStringLiteral("p1")]
                         .value(QLatin1String("arguments"))
                         .toObject()
                         .value(QLatin1String("value")),
                     QJsonValue(13));
            QCOMPARE(rows[QStringLiteral("p2")].value(QLatin1String("signal")),
                     QJsonValue(QStringLiteral("Error")));
        } else {
            const QList<QByteArray> rows = lines(ctl->out());
            QCOMPARE(rows.size(), 3);
            QCOMPARE(rows.at(0),
                     QByteArray("down  ssh: connect to host down port 22: No route to host"));
            QVERIFY2(rows.at(1).startsWith("p2    ") && rows.at(1).endsWith("Error value=12"),
                     rows.at(1));
            QVERIFY2(rows.at(2).startsWith("p1    ") && rows.at(2).endsWith("Error value=13"),
                     rows.at(2));
        }
    }
    QScopedPointer<Ctl> endless(ask(words("monitor --host p1 --host p2")));
    QVERIFY(endless->complains("hnipcctl: p1: subscribed to "));
    endless->interrupt();
    QCOMPARE(endless->exitCode(), 130);
}

// The program logs in to each printer once.
void tst_CtlRemote::batchesForAFleet()
{
    start(QStringLiteral("p1"), "(1,)");
    start(QStringLiteral("p2"), "(2,)");
    for (const bool json : { false, true }) {
        QScopedPointer<Ctl> ctl(ask(words("batch --host p1 --host p2 --host down")
                                    + (json ? words("--json") : QStringList())));
        ctl->type("getError\nsetDac x\nget qmlBatteryStatus\n");
        ctl->endInput();
        QCOMPARE(ctl->exitCode(), 8);
        const QList<QByteArray> rows = lines(ctl->out());
        QCOMPARE(rows.size(), 7);
        if (!json) {
            QList<QByteArray> first;
            for (const QByteArray &row : rows) {
                first += row.startsWith("p1") ? QList<QByteArray> { row } : QList<QByteArray>();
            }
            QCOMPARE(first,
                     (QList<QByteArray> {
                         "p1    1",
                         "p1    error: argument 1 (value): \"x\" is not a number from 0 to "
                         "4294967295",
                         "p1    87" }));
            QVERIFY(rows.contains("p2    2"));
            QVERIFY(rows.contains("down  ssh: connect to host down port 22: No route to host"));
        }
        QCOMPARE(int(std::count_if(rows.begin(), rows.end(),
                                   [](const QByteArray &row) {
                                       return row.contains("\"host\":\"p2\"")
                                           && row.contains("\"line\":");
                                   })),
                 json ? 3 : 0);
    }
    QCOMPARE(content(path(QStringLiteral("logins"))).count("p1\n"), 2);
}

void tst_CtlRemote::fleetFromFile()
{
    start(QStringLiteral("p1"), "(1,)");
    start(QStringLiteral("p2"), "(2,)");
    const QString file = path(QStringLiteral("hosts"));
    QVERIFY(write(file, "# the hall\n\n  p2\nservice@p1 # by the door\n"));
    const QStringList command { QStringLiteral("call"), QStringLiteral("getError"),
                                QStringLiteral("--hosts"), file };
    QScopedPointer<Ctl> ctl(ask(command));
    QCOMPARE(ctl->out(), QByteArray("p2          2\nservice@p1  1\n"));
    QCOMPARE(ctl->exitCode(), 0);

    QScopedPointer<Ctl> both(
        ask(QStringList(command) << QStringLiteral("--host") << QStringLiteral("down")));
    QCOMPARE(lines(both->out()).size(), 3);
    QVERIFY2(both->out().startsWith("down        ssh: "), both->out());

    // With the byte order mark and line ends of another system's editors.
    QVERIFY(write(file, "\xef\xbb\xbfp2\r\np1\r\n"));
    QScopedPointer<Ctl> other(ask(command));
    QCOMPARE(other->out(), QByteArray("p2  2\np1  1\n"));

    // A file with one printer gives a table with one row. Commands for a single printer use that
    // printer.
    QVERIFY(write(file, "p1"));
    QScopedPointer<Ctl> one(ask(command));
    QCOMPARE(one->out(), QByteArray("p1  1\n"));
    QScopedPointer<Ctl> monitor(
        ask({ QStringLiteral("monitor"), QStringLiteral("--hosts"), file }));
    QVERIFY(monitor->complains("subscribed"));
    monitor->interrupt();
    QCOMPARE(monitor->exitCode(), 130);
}

void tst_CtlRemote::fleetActs()
{
    for (const char *host : { "p1", "p2", "p3" }) {
        start(QString::fromLatin1(host)).peer().clearCalls();
    }
    QScopedPointer<Ctl> ctl(ask(words("call setDac 5 --host p1 --host p3")));
    QCOMPARE(ctl->exitCode(), 0);
    const QByteArray call = "/ local.IHNIPCM4.setDac u (uint32 5,)";
    QCOMPARE(m_printers[0]->peer().calls().size(), 1);
    QCOMPARE(m_printers[0]->peer().calls().first().line(), call);
    QCOMPARE(m_printers[1]->peer().calls().size(), 0);
    QCOMPARE(m_printers[2]->peer().calls().size(), 1);
    QCOMPARE(m_printers[2]->peer().calls().first().line(), call);
}

void tst_CtlRemote::fiftyPrinters()
{
    QByteArray hosts;
    QByteArray expected;
    for (int i = 0; i < 50; ++i) {
        const QByteArray number = QByteArray::number(i);
        const QByteArray kind = i % 10 == 3 ? "down" : i % 25 == 7 ? "hang" : "p";
        const QByteArray host = kind + number;
        QByteArray row = QByteArray::number(1000 + i);
        if (kind == "p") {
            start(QString::fromLatin1(host), '(' + row + ",)");
        } else if (kind == "down") {
            row = "ssh: connect to host " + host + " port 22: No route to host";
        } else {
            row = host + " was not reached within 20000 ms";
        }
        hosts += host + '\n';
        expected += host.leftJustified(8) + row + '\n';
    }
    const QString file = path(QStringLiteral("hosts"));
    QVERIFY(write(file, hosts));
    // Each ssh reports that it runs, and waits at the gate until all fifty run.
    const QByteArray gate = QFile::encodeName(path(QStringLiteral("gate")));
    QCOMPARE(mkfifo(gate.constData(), 0600), 0);
    const int opener = open(gate.constData(), O_RDWR | O_CLOEXEC);
    QVERIFY(opener >= 0);
    QScopedPointer<Ctl> ctl(ask({ QStringLiteral("get"), QStringLiteral("qmlPrintEngineErrorCode"),
                                  QStringLiteral("--timeout"), QStringLiteral("20000"),
                                  QStringLiteral("--hosts"), file }));
    const bool allRun = waitUntil([this]() {
        return QDir(m_directory->path()).entryList({ QStringLiteral("*.running") }).size() == 50;
    });
    const QByteArray passes(50, '\n');
    QCOMPARE(::write(opener, passes.constData(), size_t(passes.size())), ssize_t(50));
    QVERIFY(allRun);
    QCOMPARE(ctl->out(), expected);
    QCOMPARE(ctl->err(), QByteArray());
    QCOMPARE(ctl->exitCode(), 6);
    close(opener);
}

void tst_CtlRemote::interruptedFleet()
{
    QScopedPointer<Ctl> ctl(ask(words("status --timeout 1000000 --host hang1 --host hang2")));
    QList<QByteArray> pids;
    for (const char *name : { "hang1.pid", "hang2.pid" }) {
        const QString file = path(QString::fromLatin1(name));
        QVERIFY(waitUntil([&]() { return content(file).endsWith('\n'); }));
        pids += content(file).trimmed();
        QVERIFY(isAlive(pids.last()));
    }
    ctl->interrupt();
    QCOMPARE(ctl->exitCode(), 130);
    QCOMPARE(ctl->out(),
             QByteArray("hang1  interrupted before it was reached\nhang2  interrupted before it "
                        "was reached\n"));
    for (const QByteArray &pid : pids) {
        QVERIFY(waitUntil([&]() { return !isAlive(pid); }));
    }
}

HNIPC_TEST_MAIN(tst_CtlRemote)
#include "tst_ctl_remote.moc"
