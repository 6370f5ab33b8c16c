// SPDX-License-Identifier: MIT
#include "desk.h"
#include "support/privatebus.h"
#include "support/qtmajors.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>

#include <csignal>
#include <initializer_list>

// The simulator as a program: its command line, its files, its exit codes.
class tst_SimulatorProgram : public QObject
{
    Q_OBJECT

private slots:
    void helpAndVersion();
    void wrongUsage_data();
    void wrongUsage();
    void noBus();
    void busHasToBeGiven_data();
    void busHasToBeGiven();
    void optionUsesTheSystemBus();
    void nameThatIsTaken();
    void nameThatIsNotAllowed();
    void lostBus();
    void namesAreStoredBeforeCalls();
    void endsOnASignal_data();
    void endsOnASignal();
    void closedOutputDoesNotEndIt();

    void ownCatalogueIsUsed();
    void mileageOfATinyRoll();
    void wrongCatalogueIsRefused_data();
    void wrongCatalogueIsRefused();
    void missingFileIsRefused_data();
    void missingFileIsRefused();
    void shippedCatalogueMayBeMissing();
    void unknownScenarioIsRefused();

    void scenarioIsPlayed();
    void textsOfAScenarioCannotControlTheTerminal();
    void actsComeInTheOrderOfTheirTimes();
    void scenarioOfEveryDaemonHasEveryAct();
    void refusedActIsReported_data();
    void refusedActIsReported();
    void shippedScenariosAreRead_data();
    void shippedScenariosAreRead();
    void wrongScenarioIsRefused_data();
    void wrongScenarioIsRefused();
    void valueIsNestedTooDeep_data();
    void valueIsNestedTooDeep();
    void commentsAreSkipped();
};

namespace {

Outcome run(const QStringList &arguments,
            const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment())
{
    return runProgram(QString::fromLatin1(HNIPC_TOOLS_DIR "/hnipc-simulator"), arguments,
                      environment);
}

const char catalogue[] = R"({
  "loaded": { "supply": "S1", "ribbons": ["R1"] },
  "supplies": [
    { "sku": "S1", "material": "Paper", "format": "Label", "type": 2, "colorName": "White",
      "color": "#ffffff", "landscape": true, "width": 100, "labelLength": 60,
      "rollLength": 60, "heat": 0, "heatOffset": 0, "maxSpeed": 150,
      "background": "iVBORw0KGgo=" },
    { "sku": "S2", "material": "Vinyl", "format": "Tape", "type": 1, "colorName": "Red",
      "color": "#ff0000", "landscape": false, "width": 50, "labelLength": 0,
      "rollLength": 30, "heat": 0, "heatOffset": 0, "maxSpeed": 150,
      "background": "iVBORw0KGgo=" }
  ],
  "ribbons": [
    { "sku": "R1", "width": 110, "length": 300, "panels": [
      { "colorName": "Black", "color": "#000000", "heat": 132, "heatOffset": 0,
        "maxSpeed": 200, "tension": 310 }
    ] }
  ]
}
)";

const char scenario[] = R"({
  "name": "Test", "about": "A test.",
  "acts": [
    { "at": 0, "do": "say", "text": "hello" },
    { "at": 0.01, "daemon": "m4", "do": "set",
      "name": "printerLid", "value": true },
    { "at": 0.02, "daemon": "ioexpd", "do": "press", "button": "help" }
  ]
}
)";

// A file with this text, in which @p from has been replaced once.
class File
{
public:
    File(const char *text, const QByteArray &from = QByteArray(),
         const QByteArray &to = QByteArray())
    {
        QByteArray contents = text;
        if (!from.isEmpty()) {
            const auto at = contents.indexOf(from);
            if (at < 0) {
                qFatal("not in the text: %s", from.constData());
            }
            contents.replace(at, from.size(), to);
        }
        QFile file(path());
        if (!file.open(QIODevice::WriteOnly) || file.write(contents) != contents.size()) {
            qFatal("cannot write %s", qPrintable(path()));
        }
    }

    QString path() const { return m_directory.filePath("file.json"); }

private:
    QTemporaryDir m_directory;
};

// A replacement in the text of a file, and the message that it causes.
struct Change
{
    const char *name, *from, *to, *message;
};

void addRows(std::initializer_list<Change> changes)
{
    QTest::addColumn<QByteArray>("from");
    QTest::addColumn<QByteArray>("to");
    QTest::addColumn<QByteArray>("message");
    for (const Change &change : changes) {
        QTest::newRow(change.name)
            << QByteArray(change.from) << QByteArray(change.to) << QByteArray(change.message);
    }
}

// After "expected JSON: " the message continues in the words of Qt.
bool isRefusal(const Outcome &outcome, const File &file, const QByteArray &message)
{
    const QByteArray expected = "hnipc-simulator: " + file.path().toLocal8Bit() + ':' + message;
    return message.endsWith("JSON: ") ? outcome.errors.startsWith(expected)
                                      : outcome.errors == expected + '\n';
}

} // namespace

void tst_SimulatorProgram::helpAndVersion()
{
    const Outcome help = run({ "--help" });
    QCOMPARE(help.code, 0);
    QVERIFY(help.output.contains("one of ioexpd, m4, supplyd"));
    QVERIFY(help.output.contains("--scenario <file>"));
    QVERIFY(!help.output.contains("Qt specific options"));
    QCOMPARE(help.errors, QByteArray());
    const Outcome version = run({ "--version" });
    QCOMPARE(version.code, 0);
    QVERIFY(version.output.startsWith("hnipc-simulator 1."));
}

void tst_SimulatorProgram::wrongUsage_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("message");

    const QByteArray oneOf = "expected one of ioexpd, m4, supplyd";
    QTest::newRow("no daemon") << QStringList() << oneOf;
    QTest::newRow("unknown daemon") << QStringList("m5") << oneOf + ", not \"m5\"";
    QTest::newRow("two daemons") << QStringList({ "m4", "ioexpd" })
                                 << oneOf + ", not \"m4 ioexpd\"";
    QTest::newRow("unknown option")
        << QStringList({ "m4", "--fast" }) << QByteArray("Unknown option 'fast'.");
    QTest::newRow("no value") << QStringList({ "m4", "--scenario" })
                              << QByteArray("Missing value after '--scenario'.");
    QTest::newRow("catalogue") << QStringList({ "m4", "--catalogue", "x" })
                               << QByteArray("--catalogue is for supplyd only");
}

void tst_SimulatorProgram::wrongUsage()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, message);

    const Outcome outcome = run(arguments);
    QCOMPARE(outcome.code, 2);
    QCOMPARE(outcome.errors, "hnipc-simulator: " + message + '\n');
    QCOMPARE(outcome.output, QByteArray());
}

void tst_SimulatorProgram::noBus()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    const Outcome outcome = run({ "m4" }, environment);
    QCOMPARE(outcome.code, 3);
    QVERIFY2(outcome.errors.startsWith("hnipc-simulator: no system bus: "),
             outcome.errors.constData());
    QCOMPARE(outcome.output, QByteArray());
}

void tst_SimulatorProgram::busHasToBeGiven_data()
{
    QTest::addColumn<bool>("isSet");
    QTest::newRow("not set") << false;
    QTest::newRow("empty") << true;
}

void tst_SimulatorProgram::busHasToBeGiven()
{
    QFETCH(bool, isSet);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove("DBUS_SYSTEM_BUS_ADDRESS");
    if (isSet) {
        environment.insert("DBUS_SYSTEM_BUS_ADDRESS", "");
    }
    for (const char *daemon : { "ioexpd", "m4", "supplyd" }) {
        const Outcome outcome = run({ daemon }, environment);
        QCOMPARE(outcome.code, 3);
        QCOMPARE(outcome.errors,
                 QByteArray("hnipc-simulator: DBUS_SYSTEM_BUS_ADDRESS is not set, and the system "
                            "bus may be a printer's: run this in hnipc-sandbox, or with "
                            "--system-bus\n"));
        QCOMPARE(outcome.output, QByteArray());
    }
}

// On a private bus at the path of the system bus, in a mount namespace without another bus.
void tst_SimulatorProgram::optionUsesTheSystemBus()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove("DBUS_SYSTEM_BUS_ADDRESS");
    Process probe;
    probe.start("unshare",
                { "--user", "--map-root-user", "--mount", "--pid", "--fork", "sh", "-c",
                  "mount -t tmpfs none /run" });
    if (!probe.ends() || probe.exitStatus() != QProcess::NormalExit || probe.exitCode() != 0) {
        HNIPC_SKIP("this machine allows no mounts");
    }
    const File configuration(BusProcess::configuration("unix:path=/run/dbus/system_bus_socket"));
    Process process;
    process.setProcessEnvironment(environment);
    process.start("unshare",
                  { "--user", "--map-root-user", "--mount", "--pid", "--fork", "--kill-child", "sh",
                    "-euc",
                    "mount -t tmpfs none /run; mkdir /run/dbus\n"
                    "exec 3<&0\n"
                    "dbus-daemon --nofork --config-file=\"$1\" --print-address=4 "
                    "4>/run/address & bus=$!\n"
                    "while [ ! -s /run/address ]; do sleep 0.01; done\n"
                    "\"$2\" --system-bus m4 & simulator=$!\n"
                    "read line <&3; kill $simulator; wait $simulator; kill $bus",
                    "sh", configuration.path(), HNIPC_TOOLS_DIR "/hnipc-simulator" });
    QByteArray output;
    QVERIFY(waitUntil([&]() {
        output += process.readAllStandardOutput();
        return output == "ready\n" || !process.isRunning();
    }));
    QVERIFY2(output == "ready\n", process.readAllStandardError().constData());
    process.write("end\n");
    QVERIFY(process.ends());
    QCOMPARE(process.exitCode(), 0);
}

void tst_SimulatorProgram::nameThatIsTaken()
{
    SimulatedDaemon first({ "m4" });
    QVERIFY(first.isServing());
    const Outcome outcome = run({ "m4" });
    QCOMPARE(outcome.code, 1);
    QCOMPARE(outcome.errors,
             "hnipc-simulator: org.hnipc.m4 is already owned, by process "
                 + QByteArray::number(first.processId()) + '\n');
    QVERIFY(!first.hasEnded());
}

void tst_SimulatorProgram::nameThatIsNotAllowed()
{
    const BusProcess bus("<deny own='*'/>");
    const Outcome outcome = run({ "supplyd" }, environmentAt(bus));
    QCOMPARE(outcome.code, 3);
    QCOMPARE(outcome.errors,
             QByteArray("hnipc-simulator: the bus does not allow the name org.hnipc.supplyd\n"));
}

void tst_SimulatorProgram::lostBus()
{
    BusProcess bus;
    Process process;
    process.setProcessEnvironment(environmentAt(bus));
    process.start(QString::fromLatin1(HNIPC_TOOLS_DIR "/hnipc-simulator"), { "ioexpd" });
    QVERIFY(waitUntil([&process]() { return process.readAllStandardOutput() == "ready\n"; }));
    bus.kill();
    QVERIFY(process.ends());
    QCOMPARE(process.exitCode(), 3);
    QCOMPARE(process.readAllStandardError(),
             QByteArray("hnipc-simulator: the connection to the system bus was lost\n"));
}

// When the event loop starts, Qt delivers the messages that it has held back, and reports each. The
// simulator then waits for a reply of the bus, before anything else.
void tst_SimulatorProgram::namesAreStoredBeforeCalls()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QDBUS_DEBUG", "1");
    Process process;
    process.setProcessEnvironment(environment);
    process.start(QString::fromLatin1(HNIPC_TOOLS_DIR "/hnipc-simulator"), { "m4" });
    QVERIFY(process.prints("ready\n"));
    WirePeer peer;
    QCOMPARE(peer.call("org.hnipc.m4", "/", "local.IHNIPCM4", "getError").body, QByteArray("(0,)"));
    const auto lastIsReply = [&process]() {
        const auto delivery = process.errors().lastIndexOf("dequeueing message");
        return delivery >= 0 && delivery < process.errors().lastIndexOf("got message reply");
    };
    QVERIFY2(waitUntil(lastIsReply), process.errors().constData());
}

void tst_SimulatorProgram::endsOnASignal_data()
{
    QTest::addColumn<int>("number");
    QTest::addColumn<int>("code");

    QTest::newRow("SIGTERM") << SIGTERM << 0;
    QTest::newRow("SIGINT") << SIGINT << 130;
}

void tst_SimulatorProgram::endsOnASignal()
{
    QFETCH(int, number);
    QFETCH(int, code);

    for (const char *name : { "ioexpd", "m4", "supplyd" }) {
        SimulatedDaemon daemon({ name });
        QVERIFY(daemon.isServing());
        kill(static_cast<pid_t>(daemon.processId()), number);
        QVERIFY(waitUntil([&daemon]() { return daemon.hasEnded(); }));
        QCOMPARE(daemon.exitStatus(), QProcess::NormalExit);
        QCOMPARE(daemon.exitCode(), code);
    }
}

void tst_SimulatorProgram::closedOutputDoesNotEndIt()
{
    Desk desk({ "m4" });
    desk.daemon("m4").closeReadChannel(QProcess::StandardOutput);
    QCOMPARE(desk.ask("m4", "dumpSettings"), QByteArray("(true,)"));
    QCOMPARE(desk.ask("m4", "getError"), QByteArray("(0,)"));
}

// ---- Catalogue ----

void tst_SimulatorProgram::ownCatalogueIsUsed()
{
    const File file(catalogue);
    SimulatedDaemon daemon({ "supplyd", "--catalogue", file.path() });
    QVERIFY(daemon.isServing());
    WirePeer peer;
    QCOMPARE(peer.call("org.hnipc.supplyd", "/", "local.IHNIPCSUPPLYD", "supplySKUList").body,
             QByteArray("(['S1', 'S2'],)"));
    QCOMPARE(peer.call("org.hnipc.supplyd", "/", "local.IHNIPCSUPPLYD", "supplyId").body,
             QByteArray("('S1',)"));
}

void tst_SimulatorProgram::wrongCatalogueIsRefused_data()
{
    addRows({
        { "no comma", "\"rollLength\": 30,", "\"rollLength\": 30", "10: expected JSON: " },
        { "cut off", "]\n}\n", "", "18: expected JSON: " },
        { "not an object", catalogue, "[]", "1: expected an object, not a list of 0" },
        { "missing key", "\"color\": \"#ff0000\", ", "",
          "8: supplies[1].color: expected this key, it is missing" },
        { "unknown key", "\"heat\": 132", "\"warmth\": 3, \"heat\": 132",
          "15: ribbons[0].panels[0].warmth: expected one of these keys: colorName, color, heat, "
          "heatOffset, maxSpeed, tension" },
        { "key given twice", "\"width\": 50", "\"width\": 50, \"width\": 60",
          "9: supplies[1].width: expected each key once only" },
        { "text for a number", "\"width\": 50", "\"width\": \"50\"",
          "9: supplies[1].width: expected a number from 1 to 1000, not \"50\"" },
        { "number for a text", "\"Vinyl\"", "7",
          "8: supplies[1].material: expected a string, not 7" },
        { "number for a switch", "\"landscape\": false", "\"landscape\": 0",
          "9: supplies[1].landscape: expected true or false, not 0" },
        { "broken number", "\"heat\": 132", "\"heat\": 13.2",
          "15: ribbons[0].panels[0].heat: expected a whole number from 0 to 255, not 13.2" },
        { "number out of range", "\"type\": 1", "\"type\": 4",
          "8: supplies[1].type: expected a whole number from 1 to 3, not 4" },
        { "no SKU", "\"sku\": \"S2\"", "\"sku\": \"\"",
          "8: supplies[1].sku: expected a string, not \"\"" },
        { "SKU of another", "\"sku\": \"S2\"", "\"sku\": \"S1\"",
          "8: supplies[1].sku: expected a SKU that no other has, not \"S1\"" },
        { "SKU of a supply", "\"sku\": \"R1\"", "\"sku\": \"S2\"",
          "14: ribbons[0].sku: expected a SKU that no other has, not \"S2\"" },
        { "colour by name", "\"#ff0000\"", "\"red\"",
          "9: supplies[1].color: expected a colour as \"#rrggbb\", not \"red\"" },
        { "short colour", "\"#000000\"", "\"#000\"",
          "15: ribbons[0].panels[0].color: expected a colour as \"#rrggbb\", not \"#000\"" },
        { "not base64", "iVBORw0KGgo=\" },", "iVBORw0K*Ggo\" },",
          "7: supplies[0].background: expected a PNG picture in base64, not \"iVBORw0K*Ggo\"" },
        { "another picture", "iVBORw0KGgo=\" },", "R0lGODlh\" },",
          "7: supplies[0].background: expected a PNG picture in base64, not \"R0lGODlh\"" },
        { "ribbon without panels",
          "[\n      { \"colorName\": \"Black\", \"color\": \"#000000\", "
          "\"heat\": 132, \"heatOffset\": 0,\n        \"maxSpeed\": 200, \"tension\": 310 }\n    ]",
          "[]", "14: ribbons[0].panels: expected a list of 1 to 4, not a list of 0" },
        { "panels as a number", "\"panels\": [", "\"panels\": 3, \"more\": [",
          "14: ribbons[0].more: expected one of these keys: sku, width, length, panels" },
        { "panel that is none", "{ \"colorName\": \"Black\"", "null, { \"colorName\": \"Black\"",
          "15: ribbons[0].panels[0]: expected an object, not null" },
        { "unknown supply loaded", "\"supply\": \"S1\"", "\"supply\": \"S9\"",
          "2: loaded.supply: expected a SKU of this catalogue, not \"S9\"" },
        { "three ribbons loaded", "[\"R1\"]", "[\"R1\", \"R1\", \"R1\"]",
          "2: loaded.ribbons: expected a list of 1 to 2, not a list of 3" },
    });
}

void tst_SimulatorProgram::wrongCatalogueIsRefused()
{
    QFETCH(QByteArray, from);
    QFETCH(QByteArray, to);
    QFETCH(QByteArray, message);

    const File file(catalogue, from, to);
    const Outcome outcome = run({ "supplyd", "--catalogue", file.path() });
    QVERIFY2(isRefusal(outcome, file, message), outcome.errors.constData());
    QCOMPARE(outcome.code, 8);
    QCOMPARE(outcome.output, QByteArray());
}

void tst_SimulatorProgram::missingFileIsRefused_data()
{
    QTest::addColumn<QStringList>("arguments");

    QTest::newRow("catalogue") << QStringList({ "supplyd", "--catalogue", "/nonexistent/file" });
    QTest::newRow("scenario") << QStringList({ "m4", "--scenario", "/nonexistent/file" });
}

void tst_SimulatorProgram::missingFileIsRefused()
{
    QFETCH(QStringList, arguments);

    const Outcome outcome = run(arguments);
    QCOMPARE(outcome.code, 8);
    QCOMPARE(outcome.errors,
             QByteArray("hnipc-simulator: /nonexistent/file: No such file or directory\n"));
}

// A copy of the program, in a directory without the data files.
void tst_SimulatorProgram::shippedCatalogueMayBeMissing()
{
    const QTemporaryDir directory;
    const QString program = directory.filePath("hnipc-simulator");
    QVERIFY(QFile::copy(HNIPC_TOOLS_DIR "/hnipc-simulator", program));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    const Outcome outcome = runProgram(program, { "supplyd" }, environment);
    if (QFile::exists(HNIPC_DATADIR "/hnipc/supplies.json")) {
        QCOMPARE(outcome.code, 3); // the installed catalogue is used, but there is no bus
        return;
    }
    QCOMPARE(outcome.code, 8);
    QCOMPARE(outcome.errors, QByteArray("hnipc-simulator: supplies.json is not installed\n"));
}

void tst_SimulatorProgram::unknownScenarioIsRefused()
{
    const Outcome outcome = run({ "m4", "--scenario", "nosuch" });
    QCOMPARE(outcome.code, 8);
    QCOMPARE(
        outcome.errors,
        QByteArray("hnipc-simulator: there is no file nosuch, and no installed scenario of that "
                   "name; installed are "
                   "bad-day, ordinary-day\n"));
}

void tst_SimulatorProgram::mileageOfATinyRoll()
{
    const File file(catalogue, "\"rollLength\": 60", "\"rollLength\": 0.1");
    SimulatedDaemon supplyd({ "supplyd", "--catalogue", file.path() });
    QVERIFY(supplyd.isServing());
    Desk desk({ "m4" });
    const struct
    {
        const char *mileage, *percent;
    } rows[] = {
        { "50", "(50.0,)" },
        { "-2147483648", "(100.0,)" },
        { "99", "(1.0,)" },
        { "2147483647", "(0.0,)" },
    };
    for (const auto &row : rows) {
        desk.act("m4", "set", QByteArray("('supplyMileage', <") + row.mileage + ">)");
        QVERIFY(desk.hears("SUPPLYD_SupplyPercentChanged", row.percent));
    }
}

// ---- Scenario ----

void tst_SimulatorProgram::scenarioIsPlayed()
{
    const File file(scenario);
    WirePeer peer;
    peer.listen("type='signal',interface='local.IHNIPCM4'");
    SimulatedDaemon daemon({ "m4", "--scenario", file.path() });
    QVERIFY(daemon.isServing());
    QVERIFY(waitUntil([&daemon]() { return daemon.output().contains("hello\n"); }));
    QVERIFY(waitUntil([&peer]() {
        const QList<WireMessage> heard = peer.receivedSignals();
        return heard.size() == 2 && heard.at(0).member == "M4_M4PrinterLid"
            && heard.at(0).body == "(true,)" && heard.at(1).member == "M4_Error";
    }));
}

void tst_SimulatorProgram::textsOfAScenarioCannotControlTheTerminal()
{
    const File file(R"({ "name": "Text", "about": "One text.", "acts": [
        { "at": 0, "do": "say", "text": "Now\u001b[2J\nthis." }
    ] })");
    SimulatedDaemon daemon({ "m4", "--scenario", file.path() });
    QVERIFY(daemon.isServing());
    QVERIFY(waitUntil([&daemon]() { return daemon.output().contains("this.\n"); }));
    QVERIFY2(daemon.output().contains("Now\\u001b[2J\\u000athis.\n"), daemon.output().constData());
    const Outcome outcome = run({ "m4", "--scenario", "no\033[2Jsuch" });
    QVERIFY2(outcome.errors.contains("no\\u001b[2Jsuch"), outcome.errors.constData());
}

void tst_SimulatorProgram::actsComeInTheOrderOfTheirTimes()
{
    const File file(R"({ "name": "Times", "about": "The last act stands first.", "acts": [
        { "at": 2, "daemon": "m4", "do": "set", "name": "gap", "value": 5 },
        { "at": 0.5, "daemon": "m4", "do": "print", "labels": 1 },
        { "at": 0, "daemon": "m4", "do": "set", "name": "bMark", "value": 6 }
    ] })");
    WirePeer peer;
    peer.listen("type='signal',interface='local.IHNIPCM4'");
    SimulatedDaemon daemon({ "m4", "--scenario", file.path() });
    QList<QByteArray> heard;
    QVERIFY(waitUntil([&peer, &heard]() {
        heard.clear();
        const QList<WireMessage> all = peer.receivedSignals();
        for (const WireMessage &message : all) {
            heard += message.member;
        }
        return heard.contains("M4_M4BMark") && heard.contains("M4_PrintQueueComplete")
            && heard.contains("M4_M4Gap");
    }));
    // The job takes time, and is done between the two acts.
    QVERIFY(heard.indexOf("M4_M4BMark") < heard.indexOf("M4_PrintQueueComplete"));
    QVERIFY(heard.indexOf("M4_PrintQueueComplete") < heard.indexOf("M4_M4Gap"));
}

// One act of each kind. The test sees the refusal or the effect of each.
void tst_SimulatorProgram::scenarioOfEveryDaemonHasEveryAct()
{
    const char everyAct[] = R"({ "name": "All", "about": "All acts.", "acts": [
        { "at": 0, "daemon": "supplyd", "do": "start" },
        { "at": 0, "daemon": "supplyd", "do": "stop" },
        { "at": 0, "daemon": "supplyd", "do": "say", "text": "mine" },
        { "at": 0, "daemon": "m4", "do": "say", "text": "not mine" },
        { "at": 0.01, "daemon": "supplyd", "do": "load",
          "supplySku": "TAP-050-WH", "ribbonSkus": ["RIB-110-BK"] },
        { "at": 0.02, "daemon": "supplyd", "do": "set", "name": "supplyPercent", "value": 40.5 },
        { "at": 0.03, "daemon": "supplyd", "do": "fault", "member": "supplyId", "kind": "never" },
        { "at": 0.04, "daemon": "supplyd", "do": "fault", "member": "supplyWidth",
          "kind": "delay", "detail": 20 },
        { "at": 0.05, "daemon": "supplyd", "do": "fault", "member": "supplyTypeIndex",
          "kind": "error", "detail": ["org.example.Error", "a text"] },
        { "at": 0.06, "daemon": "supplyd", "do": "malform", "shape": "long" },
        { "at": 0.07, "daemon": "supplyd", "do": "emit", "signal": "HNIPCReady" },
        { "at": 0.08, "daemon": "supplyd", "do": "emit",
          "signal": "Ribbon2RGBsChanged", "arguments": [["#123456"]] },
        { "at": 0.085, "daemon": "supplyd", "do": "call", "method": "applicationWasClicked" },
        { "at": 0.09, "daemon": "supplyd", "do": "flood", "signal": "SupplyRGBChanged",
          "count": 3 }
    ] })";
    const File file(everyAct);
    WirePeer peer;
    peer.listen("type='signal',interface='local.IHNIPCSUPPLYD'");
    SimulatedDaemon daemon({ "supplyd", "--scenario", file.path() });
    QVERIFY(daemon.isServing());
    QList<QByteArray> heard;
    QVERIFY(waitUntil([&peer, &heard]() {
        heard.clear();
        const QList<WireMessage> all = peer.receivedSignals();
        for (const WireMessage &message : all) {
            heard += message.member + message.body;
        }
        return heard.count("SUPPLYD_SupplyRGBChanged('',)") == 3;
    }));
    QVERIFY(heard.contains("SUPPLYD_SupplyChanged('TAP-050-WH', 'labelprinter')"));
    QVERIFY(heard.contains("SUPPLYD_SupplyPercentChanged(40.5,)"));
    QVERIFY(heard.contains("SUPPLYD_HNIPCReady()"));
    QVERIFY(heard.contains("SUPPLYD_CloseApplicationSignal()"));
    QVERIFY(heard.contains("SUPPLYD_Ribbon2RGBsChanged(['#123456'],)"));
    QCOMPARE(peer.call("org.hnipc.supplyd", "/simulator", "org.hnipc.Simulator", "faults").body,
             QByteArray("(['supplyId never', 'supplyTypeIndex error org.example.Error a text', "
                        "'supplyWidth delay 20', 'malform long'],)"));
    QVERIFY(daemon.output().contains("mine\n"));
    QVERIFY(!daemon.output().contains("not mine\n"));
}

void tst_SimulatorProgram::refusedActIsReported_data()
{
    addRows({
        { "nothing of that name", "printerLid", "printerLidd",
          "no reading or switch is called \"printerLidd\"" },
        { "false", "\"set\",\n      \"name\": \"printerLid\", \"value\": true",
          "\"call\",\n      \"method\": \"cancelPrintJob\"", "cancelPrintJob returned false" },
    });
}

void tst_SimulatorProgram::refusedActIsReported()
{
    QFETCH(QByteArray, from);
    QFETCH(QByteArray, to);
    QFETCH(QByteArray, message);

    const File file(scenario, from, to);
    Process process;
    process.start(QString::fromLatin1(HNIPC_TOOLS_DIR "/hnipc-simulator"),
                  { "m4", "--scenario", file.path() });
    QByteArray errors;
    QVERIFY(waitUntil([&process, &errors]() {
        errors += process.readAllStandardError();
        return errors.endsWith('\n');
    }));
    QCOMPARE(errors, "hnipc-simulator: " + file.path().toLocal8Bit() + ":5: " + message + '\n');
    process.terminate();
    QVERIFY(process.ends());
    QCOMPARE(process.exitCode(), 0);
}

void tst_SimulatorProgram::shippedScenariosAreRead_data()
{
    QTest::addColumn<QByteArray>("opening");

    QTest::newRow("ordinary-day") << QByteArray("The shop opens.");
    QTest::newRow("bad-day") << QByteArray("A long job begins.");
}

void tst_SimulatorProgram::shippedScenariosAreRead()
{
    QFETCH(QByteArray, opening);

    SimulatedDaemon daemon({ "ioexpd", "--scenario", QTest::currentDataTag() });
    QVERIFY(daemon.isServing());
    QVERIFY(waitUntil([&]() { return daemon.output().contains(opening); }));
}

void tst_SimulatorProgram::wrongScenarioIsRefused_data()
{
    addRows({
        { "syntax", "\"daemon\": \"m4\",", "\"daemon\" \"m4\",", "5: expected JSON: " },
        { "no name", "\"name\": \"Test\", ", "", "1: name: expected this key, it is missing" },
        { "no acts", "\"acts\"", "\"act\"", "1: acts: expected this key, it is missing" },
        { "no deed", "\"do\": \"set\",", "\"did\": \"set\",",
          "5: acts[1].do: expected this key, it is missing" },
        { "unknown deed", "\"do\": \"set\"", "\"do\": \"sit\"",
          "5: acts[1].do: expected one of: set, press, load, print, emit, fault, flood, malform, "
          "reset, call, start, stop, say, not \"sit\"" },
        { "unknown daemon", "\"m4\"", "\"m5\"",
          "5: acts[1].daemon: expected one of: ioexpd, m4, supplyd, not \"m5\"" },
        { "no daemon", "\"daemon\": \"m4\", ", "",
          "5: acts[1].daemon: expected this key, it is missing" },
        { "missing argument", ", \"value\": true", "",
          "5: acts[1].value: expected this key, it is missing" },
        { "argument of another deed", "\"value\": true", "\"value\": true, \"labels\": 3",
          "6: acts[1].labels: expected one of these keys: at, do, daemon, name, value" },
        { "time as a text", "\"at\": 0.01", "\"at\": \"1 s\"",
          "5: acts[1].at: expected a number from 0 to 86400, not \"1 s\"" },
        { "time before the start", "\"at\": 0.01", "\"at\": -1",
          "5: acts[1].at: expected a number from 0 to 86400, not -1" },
        { "unknown button", "\"help\"", "\"stop\"",
          "7: acts[2].button: expected one of: print, help, cancel, not \"stop\"" },
        { "no labels", "\"press\", \"button\": \"help\"", "\"print\", \"labels\": 0",
          "7: acts[2].labels: expected a whole number from 1 to 2147483647, not 0" },
        { "unknown fault", "\"press\", \"button\": \"help\"",
          "\"fault\", \"member\": \"*\", \"kind\": \"slow\"",
          "7: acts[2].kind: expected one of: delay, never, error, wrongtype, die, none, not "
          "\"slow\"" },
        { "nothing for a value", "\"value\": true", "\"value\": null",
          "6: acts[1].value: expected a value, not null" },
        { "nothing in a value", "\"value\": true", "\"value\": [\"a\",\n null]",
          "7: acts[1].value[1]: expected a value, not null" },
        { "nothing for an argument", "\"press\", \"button\": \"help\"",
          "\"emit\", \"signal\": \"Error\", \"arguments\": [null]",
          "7: acts[2].arguments[0]: expected a value, not null" },
        { "nothing in an argument", "\"press\", \"button\": \"help\"",
          "\"emit\", \"signal\": \"Error\", \"arguments\": [{ \"a\": null }]",
          "7: acts[2].arguments[0].a: expected a value, not null" },
        { "delay without an end", "\"press\", \"button\": \"help\"",
          "\"fault\", \"member\": \"*\", \"kind\": \"delay\"",
          "7: acts[2].detail: expected this key, it is missing" },
        { "delay in words", "\"press\", \"button\": \"help\"",
          "\"fault\", \"member\": \"*\", \"kind\": \"delay\", \"detail\": \"long\"",
          "7: acts[2].detail: expected a whole number from 0 to 2147483647, not \"long\"" },
        { "error without a name", "\"press\", \"button\": \"help\"",
          "\"fault\", \"member\": \"*\", \"kind\": \"error\"",
          "7: acts[2].detail: expected this key, it is missing" },
        { "error as a number", "\"press\", \"button\": \"help\"",
          "\"fault\", \"member\": \"*\", \"kind\": \"error\", \"detail\": 3",
          "7: acts[2].detail: expected a list of 2, not 3" },
        { "key with a dot that is no path", "\"value\": true",
          "\"value\": { \"a\": { \"b\": 1 },\n \"a.b\": null }",
          "7: acts[1].value.a.b: expected a value, not null" },
        { "key given twice", "\"value\": true", "\"value\": { \"a\": 1,\n \"a\": 2 }",
          "7: acts[1].value.a: expected each key once only" },
        { "unknown shape", "\"press\", \"button\": \"help\"", "\"malform\", \"shape\": \"round\"",
          "7: acts[2].shape: expected one of: short, wrongtype, dictionary, plain, empty, long, "
          "none, not \"round\"" },
        { "ribbons as a text", "\"press\", \"button\": \"help\"",
          "\"load\", \"supplySku\": \"\", \"ribbonSkus\": \"R1\"",
          "7: acts[2].ribbonSkus: expected a list of at least 0, not \"R1\"" },
        { "wrong behind comments", "\"value\": true", "// one\n/* two\n */ \"value\": null",
          "8: acts[1].value: expected a value, not null" },
        { "comment without an end", "\"value\": true", "\"value\": true /* more\n",
          "6: expected */ after this /*" },
        { "half a comment", "\"value\": true", "/ \"value\": true", "6: expected JSON: " },
        { "act that is none", "{ \"at\": 0, \"do\": \"say\", \"text\": \"hello\" }", "\"hello\"",
          "4: acts[0]: expected an object, not \"hello\"" },
    });
}

void tst_SimulatorProgram::wrongScenarioIsRefused()
{
    QFETCH(QByteArray, from);
    QFETCH(QByteArray, to);
    QFETCH(QByteArray, message);

    const File file(scenario, from, to);
    const Outcome outcome = run({ "ioexpd", "--scenario", file.path() });
    QVERIFY2(isRefusal(outcome, file, message), outcome.errors.constData());
    QCOMPARE(outcome.code, 8);
}

void tst_SimulatorProgram::valueIsNestedTooDeep_data()
{
    QTest::addColumn<QByteArray>("opening");
    QTest::addColumn<QByteArray>("closing");
    QTest::addColumn<int>("levels");
    QTest::addColumn<QByteArray>("message");
    const struct
    {
        const char *name, *opening, *closing, *step, *found;
    } forms[] = {
        { "lists", "[", "]", "[0]", "a list of 1" },
        { "objects", "{ \"a\": ", " }", ".a", "an object" },
    };
    const int most = 16;
    for (const auto &form : forms) {
        const QByteArray message = "6: acts[1].value" + QByteArray(form.step).repeated(most)
            + ": expected lists and objects nested at most 16 deep, not " + form.found;
        for (const int levels : { most + 1, 33, 90, 1000 }) {
            QTest::addRow("%d %s", levels, form.name)
                << QByteArray(form.opening) << QByteArray(form.closing) << levels << message;
        }
        QTest::addRow("100000 %s", form.name)
            << QByteArray(form.opening) << QByteArray(form.closing) << 100000
            << QByteArray("6: expected JSON: ");
    }
}

void tst_SimulatorProgram::valueIsNestedTooDeep()
{
    QFETCH(QByteArray, opening);
    QFETCH(QByteArray, closing);
    QFETCH(int, levels);
    QFETCH(QByteArray, message);
    const File file(scenario, "\"value\": true",
                    "\"value\": " + opening.repeated(levels) + '1' + closing.repeated(levels));
    const Outcome outcome = run({ "m4", "--scenario", file.path() });
    QVERIFY2(isRefusal(outcome, file, message), outcome.errors.constData());
    QCOMPARE(outcome.code, 8);
}

// A fault after a comment is reported on its true line, and strings contain no comments.
void tst_SimulatorProgram::commentsAreSkipped()
{
    const QByteArray comments = "// one \"line\", /* and no more\n"
                                "/* two\n \"lines\", // \xc3\xa4 **/ /**/";
    const File file(scenario, "\"text\": \"hello\"",
                    comments + "\"text\": \"\\\"//hello/**/\" /* \" */");
    SimulatedDaemon daemon({ "ioexpd", "--scenario", file.path() });
    QVERIFY(daemon.isServing());
    QVERIFY(waitUntil([&daemon]() { return daemon.output().contains("\"//hello/**/\n"); }));
    daemon.stop();
}

HNIPC_TEST_MAIN(tst_SimulatorProgram)
#include "tst_simulatorprogram.moc"
