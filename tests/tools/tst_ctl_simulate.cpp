// SPDX-License-Identifier: MIT
#include "ctlprogram.h"
#include "desk.h"

#include "support/fakedaemons.h"
#include "support/privatebus.h"
#include "support/wirepeer.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QScopedPointer>

#include <csignal>

namespace {

QStringList simulate(const char *words)
{
    return QStringList(QStringLiteral("simulate"))
        + QString::fromUtf8(words).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

QJsonObject object(const QByteArray &json) { return QJsonDocument::fromJson(json).object(); }

} // namespace

// The program "hnipcctl simulate" with simulated daemons, with real ones, and without daemons.
class tst_CtlSimulate : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanupTestCase();

    void acts_data();
    void acts();
    void setsReadingsOfEveryType_data();
    void setsReadingsOfEveryType();
    void printsNames();
    void listsAndEndsFaults();
    void daemonIsChosen();
    void refuses_data();
    void refuses();
    void json();
    void completes_data();
    void completes();
    void helpNamesEveryAct();

    void hostileWords();
    void noSimulatedDaemon();
    void realDaemonIsNotTouched();
    void stoppedDaemon();
    void noBus();
    void withoutDescription();

private:
    QScopedPointer<Desk> m_desk;
};

// Starts the simulated daemons if the previous test has stopped them.
void tst_CtlSimulate::init()
{
    if (!m_desk) {
        m_desk.reset(new Desk({ "ioexpd", "m4", "supplyd" }));
    }
}

void tst_CtlSimulate::cleanupTestCase() { m_desk.reset(); }

void tst_CtlSimulate::acts_data()
{
    QTest::addColumn<QByteArray>("act");
    QTest::addColumn<QByteArray>("member");
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("set") << QByteArray("set printerLid true") << QByteArray("M4_M4PrinterLid")
                         << QByteArray("(true,)");
    QTest::newRow("set back") << QByteArray("set printerLid off") << QByteArray("M4_M4PrinterLid")
                              << QByteArray("(false,)");
    QTest::newRow("press") << QByteArray("press help") << QByteArray("IOEXPD_HelpButton")
                           << QByteArray("()");
    QTest::newRow("load supply") << QByteArray("load supply LBL-100150-WH")
                                 << QByteArray("SUPPLYD_SupplyChanged")
                                 << QByteArray("('LBL-100150-WH', 'labelprinter')");
    QTest::newRow("load ribbons") << QByteArray("load ribbons RIB-110-BK,RIB-110-CMY")
                                  << QByteArray("SUPPLYD_RibbonChanged")
                                  << QByteArray("(['RIB-110-BK', 'RIB-110-CMY'], 'labelprinter')");
    QTest::newRow("load ribbon1") << QByteArray("load ribbon1 RIB-110-CMYK")
                                  << QByteArray("SUPPLYD_RibbonChanged")
                                  << QByteArray(
                                         "(['RIB-110-CMYK', 'RIB-110-CMY'], 'labelprinter')");
    QTest::newRow("load ribbon2") << QByteArray("load ribbon2 RIB-110-BK")
                                  << QByteArray("SUPPLYD_RibbonChanged")
                                  << QByteArray("(['RIB-110-CMYK', 'RIB-110-BK'], 'labelprinter')");
    QTest::newRow("print") << QByteArray("print 1") << QByteArray("M4_PrintQueueComplete")
                           << QByteArray("(1,)");
    QTest::newRow("emit number") << QByteArray("emit M4Dac0 77") << QByteArray("M4_M4Dac0")
                                 << QByteArray("(uint32 77,)");
    QTest::newRow("emit negative number")
        << QByteArray("emit Error -3") << QByteArray("M4_Error") << QByteArray("(-3,)");
    QTest::newRow("emit text") << QByteArray("emit SupplyRGBChanged 12")
                               << QByteArray("SUPPLYD_SupplyRGBChanged") << QByteArray("('12',)");
    QTest::newRow("emit list") << QByteArray("emit Ribbon2RGBsChanged #fff,#000")
                               << QByteArray("SUPPLYD_Ribbon2RGBsChanged")
                               << QByteArray("(['#fff', '#000'],)");
    QTest::newRow("emit real number")
        << QByteArray("emit SupplyPercentChanged 12.5")
        << QByteArray("SUPPLYD_SupplyPercentChanged") << QByteArray("(12.5,)");
    QTest::newRow("emit several") << QByteArray("emit SupplyChanged a b")
                                  << QByteArray("SUPPLYD_SupplyChanged")
                                  << QByteArray("('a', 'b')");
    QTest::newRow("emit nothing") << QByteArray("emit CloseApplicationSignal")
                                  << QByteArray("SUPPLYD_CloseApplicationSignal")
                                  << QByteArray("()");
    QTest::newRow("flood") << QByteArray("flood M4BMark 3") << QByteArray("M4_M4BMark")
                           << QByteArray("(uint32 2,)");
}

void tst_CtlSimulate::acts()
{
    QFETCH(QByteArray, act);
    QFETCH(QByteArray, member);
    QFETCH(QByteArray, body);
    m_desk->forget();
    Ctl ctl(simulate(act));
    QCOMPARE(ctl.exitCode(), 0);
    QCOMPARE(ctl.out(), QByteArray());
    QCOMPARE(ctl.err(), QByteArray());
    QVERIFY(m_desk->hears(member, body));
}

void tst_CtlSimulate::setsReadingsOfEveryType_data()
{
    QTest::addColumn<QByteArray>("daemon");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("value"); // on the bus
    QTest::addColumn<QByteArray>("printed");
    const auto row = [](const char *daemon, const char *name, const char *text, const char *value,
                        const char *printed) {
        QTest::newRow(name) << QByteArray(daemon) << QByteArray(name) << QByteArray(text)
                            << QByteArray(value) << QByteArray(printed);
    };
    row("ioexpd", "backlight", "false", "(<false>,)", "false\n");
    row("m4", "tph1Therm", "-40", "(<-40>,)", "-40\n");
    row("m4", "gap", "0x10", "(<uint32 16>,)", "16\n");
    row("m4", "ribbon1Verify", "18446744073709551615", "(<uint64 18446744073709551615>,)",
        "18446744073709551615\n");
    row("m4", "m4Version", "12", "(<'12'>,)", "12\n");
    row("m4", "ribbonIDs", "[\"a,b\",\"c\"]", "(<['a,b', 'c']>,)", "a,b\nc\n");
    row("supplyd", "ribbon2Percent", "33.5", "(<33.5>,)", "33.5\n");
}

void tst_CtlSimulate::setsReadingsOfEveryType()
{
    QFETCH(QByteArray, daemon);
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, value);
    QFETCH(QByteArray, printed);
    Ctl set(simulate("set " + name + ' ' + text));
    QCOMPARE(set.exitCode(), 0);
    QCOMPARE(m_desk->act(daemon, "get", "('" + name + "',)"), value);
    Ctl get(simulate("get " + name));
    QCOMPARE(get.exitCode(), 0);
    QCOMPARE(get.out(), printed);
}

void tst_CtlSimulate::printsNames()
{
    Ctl names(simulate("names"));
    QCOMPARE(names.exitCode(), 0);
    QVERIFY(names.out().startsWith("ioexpd   audioAmp\nioexpd   backlight\nm4       "));
    QVERIFY(names.out().contains("\nm4       printerLid\n"));
    QVERIFY(names.out().endsWith(
        "\nsupplyd  supplyPercent\nsupplyd  ribbon1Percent\nsupplyd  ribbon2Percent\n"));
}

void tst_CtlSimulate::listsAndEndsFaults()
{
    for (const char *act :
         { "fault getError delay 3", "fault getAlert error org.example.No", "fault supplyId never",
           "fault supplyWidth wrongtype", "malform long" }) {
        QCOMPARE(Ctl(simulate(act)).exitCode(), 0);
    }
    QCOMPARE(Ctl({ "simulate", "fault", "getBatteryStatus", "error", "org.example.No", "a text" })
                 .exitCode(),
             0);
    Ctl faults(simulate("faults"));
    QCOMPARE(faults.exitCode(), 0);
    QCOMPARE(faults.out(),
             QByteArray("m4       getAlert error org.example.No simulated\n"
                        "m4       getBatteryStatus error org.example.No a text\n"
                        "m4       getError delay 3\n"
                        "supplyd  supplyId never\n"
                        "supplyd  supplyWidth wrongtype\n"
                        "supplyd  malform long\n"));
    QCOMPARE(m_desk->ask("m4", "getBatteryStatus"), QByteArray("org.example.No: ('a text',)"));
    QCOMPARE(Ctl(simulate("fault getError none")).exitCode(), 0);
    QCOMPARE(m_desk->act("m4", "faults").count("getError"), 0);
    QCOMPARE(Ctl(simulate("reset")).exitCode(), 0);
    for (const char *daemon : { "ioexpd", "m4", "supplyd" }) {
        QCOMPARE(m_desk->act(daemon, "faults"), QByteArray("(@as [],)"));
    }
}

// An act is for all simulated daemons, or for one of them.
void tst_CtlSimulate::daemonIsChosen()
{
    QCOMPARE(Ctl(simulate("fault * delay 0")).exitCode(), 0);
    for (const char *daemon : { "ioexpd", "m4", "supplyd" }) {
        QCOMPARE(m_desk->act(daemon, "faults"), QByteArray("(['* delay 0'],)"));
    }
    QCOMPARE(Ctl(simulate("reset --daemon m4")).exitCode(), 0);
    QCOMPARE(m_desk->act("m4", "faults"), QByteArray("(@as [],)"));
    QCOMPARE(Ctl(simulate("--daemon=supplyd faults")).out(), QByteArray("supplyd  * delay 0\n"));
    QCOMPARE(Ctl(simulate("reset")).exitCode(), 0);
}

void tst_CtlSimulate::refuses_data()
{
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("message");
    const auto row = [](const char *words, int exitCode, const char *message) {
        QTest::newRow(words) << exitCode << QByteArray(message);
    };
    row("", 2, "usage: hnipcctl simulate ACT [ARGUMENT...]");
    row("set printerLid", 2, "usage: hnipcctl simulate set NAME VALUE");
    row("names all", 2, "usage: hnipcctl simulate names");
    row("load paper X", 2,
        "usage: hnipcctl simulate load supply|ribbons|ribbon1|ribbon2 SKU[,SKU]");
    row("emit Error", 2, "usage: hnipcctl simulate emit Error value");
    row("emit", 2, "usage: hnipcctl simulate emit SIGNAL [ARGUMENT...]");
    row("fault getError", 2, "usage: hnipcctl simulate fault METHOD KIND [DETAIL...]");
    row("fault getError delay", 2, "usage: hnipcctl simulate fault METHOD delay MILLISECONDS");
    row("fault getError error", 2, "usage: hnipcctl simulate fault METHOD error ERROR-NAME [TEXT]");
    row("fault getError never 3", 2, "usage: hnipcctl simulate fault METHOD never");
    row("open printerLid", 7, "no act open");
    row("prints 3", 7, "no act prints; did you mean print?");
    row("set printerLidd true", 7, "no reading or switch printerLidd; did you mean printerLid?");
    row("get printerLid --daemon supplyd", 7, "supplyd has no reading or switch printerLid");
    row("set printerLid true --daemon ioexpd", 7, "ioexpd has no reading or switch printerLid");
    row("set gapp 5 --daemon m4", 7, "m4 has no reading or switch gapp; did you mean gap?");
    row("emit Eror 3", 7, "no signal Eror; did you mean Error?");
    row("fault getEror never", 7, "no method getEror; did you mean getError?");
    row("reset --daemon m5", 7, "no daemon m5; did you mean m4?");
    row("set printerLid maybe", 8, "argument 2 (value): \"maybe\" is not true or false");
    row("set supplyPercent half", 8, "argument 2 (value): \"half\" is not a number");
    row("press stop", 8, "argument 1 (button): \"stop\" is not one of print, help, cancel");
    row("print many", 8, "argument 1 (labels): \"many\" is not a number from 0 to 4294967295");
    row("emit Error x", 8,
        "argument 2 (value): \"x\" is not a number from -2147483648 to 2147483647");
    row("flood Error -1", 8, "argument 2 (count): \"-1\" is not a number from 0 to 4294967295");
    row("fault getError slow", 8,
        "argument 2 (kind): \"slow\" is not one of delay, never, error, wrongtype, die, none");
    row("fault getError delay x", 8,
        "argument 3 (milliseconds): \"x\" is not a number from 0 to 4294967295");
    row("malform round", 8,
        "argument 1 (shape): \"round\" is not one of short, wrongtype, dictionary, plain, empty, "
        "long, none");
    row("load ribbon2 RIB-0", 5, "supplyd: no ribbon has the SKU \"RIB-0\"");
    row("print 0", 5, "m4: a job needs 1 label or more, and the queue holds at most 8 jobs");
    row("press print --daemon m4", 5, "m4: only ioexpd has buttons");
}

void tst_CtlSimulate::refuses()
{
    QFETCH(int, exitCode);
    QFETCH(QByteArray, message);
    const QStringList words = simulate(QTest::currentDataTag());
    Ctl ctl(words);
    QCOMPARE(ctl.exitCode(), exitCode);
    QCOMPARE(ctl.err(), "hnipcctl: " + message + '\n');
    QCOMPARE(ctl.out(), QByteArray());
    Ctl json(QStringList("--json") + words);
    QCOMPARE(json.exitCode(), exitCode);
    QCOMPARE(object(json.out()).value("exit").toInt(), exitCode);
}

void tst_CtlSimulate::json()
{
    Ctl set(simulate("--json set gap 5"));
    QCOMPARE(object(set.out()),
             object(R"({ "act": "set", "daemons": { "m4": { "value": null } } })"));
    Ctl get(simulate("--json get gap"));
    QCOMPARE(object(get.out()), object(R"({ "act": "get", "daemons": { "m4": { "value": 5 } } })"));
    Ctl faults(simulate("--json faults"));
    QCOMPARE(object(faults.out()),
             object(R"({ "act": "faults", "daemons": { "ioexpd": { "value": [] },
                         "m4": { "value": [] }, "supplyd": { "value": [] } } })"));
    Ctl refused(simulate("--json print 0"));
    QCOMPARE(object(refused.out()),
             object(R"({ "act": "print", "exit": 5, "daemons": { "m4": { "exit": 5,
                         "error": "m4: a job needs 1 label or more, and the queue holds at most 8 jobs",
                         "errorName": "org.hnipc.Simulator.Error" } } })"));
}

void tst_CtlSimulate::completes_data()
{
    QTest::addColumn<QByteArray>("expected");
    const auto row = [](const char *line, const char *expected) {
        QTest::newRow(line) << QByteArray(expected);
    };
    row("simul", "simulate");
    row("simulate f", "fault faults flood");
    row("simulate --dae", "--daemon");
    row("simulate set printerL", "printerLid");
    row("simulate set printerLid ", "false true");
    row("simulate set gap ", "");
    row("simulate get supplyP", "supplyPercent");
    row("simulate press ", "cancel help print");
    row("simulate load ", "ribbon1 ribbon2 ribbons supply");
    row("simulate load supply LBL-1001", "LBL-100150-WH");
    row("simulate load ribbon2 RIB-110-CM", "RIB-110-CMY RIB-110-CMYK");
    row("simulate emit M4PrinterL", "M4PrinterLid");
    row("simulate fault getBat", "getBatteryStatus");
    row("simulate fault getError d", "delay die");
    row("simulate malform w", "wrongtype");
    row("--json simulate --daemon m4 set printerL", "printerLid");
}

void tst_CtlSimulate::completes()
{
    QFETCH(QByteArray, expected);
    QStringList quoted;
    for (const QString &word : QString::fromUtf8(QTest::currentDataTag()).split(QLatin1Char(' '))) {
        quoted += QLatin1Char('\'') + word + QLatin1Char('\'');
    }
    QScopedPointer<Ctl> shell(Ctl::inShell(
        QStringLiteral("eval \"$(hnipcctl completion bash)\" && COMP_WORDS=(hnipcctl %1) && "
                       "COMP_CWORD=$((${#COMP_WORDS[@]} - 1)) && COMP_LINE=\"${COMP_WORDS[*]}\" && "
                       "_hnipcctl; printf '%s\\n' \"${COMPREPLY[@]}\" | LC_ALL=C sort")
            .arg(quoted.join(QLatin1Char(' ')))));
    QCOMPARE(shell->err(), QByteArray());
    QCOMPARE(shell->out().trimmed().replace('\n', ' '), expected);
}

void tst_CtlSimulate::helpNamesEveryAct()
{
    Ctl help({ "simulate", "--help" });
    QCOMPARE(help.exitCode(), 0);
    for (const char *act : { "set", "get", "names", "press", "load", "print", "emit", "flood",
                             "fault", "malform", "faults", "reset" }) {
        QVERIFY2(help.out().contains(QByteArray("\n  ") + act + ' '), act);
    }
    // The help names every act: the daemons accept no others.
    QCOMPARE(Ctl(simulate("--words")).out().split('\n').size(), 12 + 1);
}

// The completing shell does not run a daemon's words, and the terminal does not interpret them.
void tst_CtlSimulate::hostileWords()
{
    m_desk.reset();
    WirePeer peer;
    for (const char *name : { "org.hnipc.ioexpd", "org.hnipc.m4", "org.hnipc.supplyd" }) {
        QVERIFY(peer.own(name));
    }
    peer.setIntrospection("<node><interface name=\"org.hnipc.Simulator\"/></node>");
    const QTemporaryDir directory;
    const QByteArray file = directory.filePath("made").toUtf8();
    const QByteArray words = "(['$(touch " + file + ")', '$(touch$IFS" + file + ")', '`touch\\t"
        + file + "`', '>" + file + "', 'a\\u001bb', 'LBL-1.5_x'],)";
    peer.answer("names", words);
    peer.answer("supplySKUList", words);
    for (const char *typed : { "set", "get", "load supply" }) {
        QScopedPointer<Ctl> shell(Ctl::inShell(
            QStringLiteral(
                "eval \"$(hnipcctl completion bash)\"; COMP_WORDS=(hnipcctl simulate %1 ''); "
                "COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _hnipcctl; "
                "printf '%s\\n' \"${COMPREPLY[@]}\" | uniq")
                .arg(typed)));
        QCOMPARE(shell->out(), QByteArray("LBL-1.5_x\n"));
        QVERIFY(!QFile::exists(file));
    }
    peer.answer("faults", "(['a\\nm4       none', 'b\\u202e'],)");
    QCOMPARE(Ctl(simulate("faults --daemon ioexpd")).out(),
             QByteArray("ioexpd   a\\u000am4       none\nioexpd   b\\u202e\n"));
}

void tst_CtlSimulate::noSimulatedDaemon()
{
    m_desk.reset();
    for (const char *act : { "set printerLid true", "names", "reset", "fault * never" }) {
        Ctl ctl(simulate(act));
        QCOMPARE(ctl.exitCode(), 4);
        QCOMPARE(ctl.err(),
                 QByteArray("hnipcctl: no simulated daemon is running; hnipc-sandbox starts "
                            "them\n"));
    }
    // The error names the daemon if the act is for one daemon only.
    for (const char *act : { "print 3", "set printerLid true --daemon m4", "reset --daemon m4" }) {
        Ctl ctl(simulate(act));
        QCOMPARE(ctl.exitCode(), 4);
        QVERIFY2(ctl.err().contains("m4"), ctl.err().constData());
    }
}

void tst_CtlSimulate::realDaemonIsNotTouched()
{
    m_desk.reset();
    const FakeDaemons daemons;
    for (const char *act :
         { "set printerLid true", "print 3", "names", "fault getError die", "emit Error 3" }) {
        Ctl ctl(simulate(act));
        QCOMPARE(ctl.exitCode(), 1);
        QVERIFY2(ctl.err().endsWith(" is not a simulated daemon\n"), ctl.err().constData());
    }
}

void tst_CtlSimulate::stoppedDaemon()
{
    SimulatedDaemon &m4 = m_desk->daemon("m4");
    QCOMPARE(Ctl(simulate("fault enableBacklight never")).exitCode(), 0);
    QVERIFY(m4.halt());
    for (const char *act : { "set printerLid true", "print 1", "reset", "fault getError never" }) {
        Ctl ctl(QStringList { "--timeout", "300" } + simulate(act));
        const int exitCode = ctl.exitCode();
        const QByteArray error = ctl.err();
        if (exitCode != 6 || !error.contains("m4")) {
            m4.send(SIGCONT); // a halted daemon does not end
        }
        QCOMPARE(exitCode, 6);
        QVERIFY2(error.contains("m4"), error.constData());
    }
    // The other daemons were reset. A reading of another daemon is found although m4 is halted.
    QCOMPARE(m_desk->act("ioexpd", "faults"), QByteArray("(@as [],)"));
    Ctl other(simulate("set supplyPercent 50")); // long before the timeout of 25 s
    const int otherExitCode = other.exitCode();
    m4.send(SIGCONT);
    QCOMPARE(otherExitCode, 0);
    QCOMPARE(Ctl(simulate("reset")).exitCode(), 0);
}

void tst_CtlSimulate::noBus()
{
    const Environment nowhere { { "DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus" } };
    Ctl ctl(simulate("names"), nowhere);
    QCOMPARE(ctl.exitCode(), 3);
    // Faults that can be found without a bus are reported without one.
    QCOMPARE(Ctl(simulate("press stop"), nowhere).exitCode(), 8);
    QCOMPARE(Ctl(simulate("emit Nothing"), nowhere).exitCode(), 7);
}

void tst_CtlSimulate::withoutDescription()
{
    const QTemporaryDir directory;
    QDir(directory.path()).mkdir("interfaces");
    QFile file(directory.filePath("interfaces/org.hnipc.Simulator.xml"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("<node>\n<interface/>\n</node>\n");
    file.close();
    Ctl ctl(simulate("names"), { { "HNIPC_DATA_DIR", directory.path() } });
    QCOMPARE(ctl.exitCode(), 1);
    QVERIFY2(ctl.err().contains(file.fileName().toUtf8() + ":2: "), ctl.err().constData());
}

HNIPC_TEST_MAIN(tst_CtlSimulate)
#include "tst_ctl_simulate.moc"
