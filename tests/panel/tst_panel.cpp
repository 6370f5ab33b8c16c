// SPDX-License-Identifier: MIT
#include "screen.h"

#include "language.h"
#include "support/qmltestmain.h"
#include "tools/desk.h"

#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QTranslator>
#include <QtDBus/QDBusConnection>
#include <QtGui/QAccessible>
#include <QtGui/QGuiApplication>

#include <algorithm>
#include <functional>
#include <utility>

namespace {

const QStringList allDaemons = { "ioexpd", "m4", "supplyd" };
const QStringList buttons = {
    "Print", "Feed", "Cut", "Calibrate", "Cancel", "Load", "Help", "Clear"
};
const QString atWork = "at work";
const QString unknown = "unknown: look at the printer";

const QString plain = "#e8edf2", amber = "#f2bd4b", red = "#ff8f80", green = "#7fd3a0",
              blue = "#8fc7ea";
const QChar yes(0x2713), no(0x2715); // before an outcome

QStringList complaints; // from the QML engine, and about the QML files

QtMessageHandler printMessage = nullptr;

void keepComplaints(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    printMessage(type, context, message);
    if (message.contains("qml") || QByteArray(context.category).startsWith("qt.qml")
        || QByteArray(context.category).startsWith("qml")) {
        complaints += message;
    }
}

// The names of the calls of this process that the daemons received.
QList<QByteArray> calledMembers(WireMonitor &monitor)
{
    QList<QByteArray> result;
    const QList<WireMessage> calls = monitor.takeCallsFrom(
        QDBusConnection::systemBus().baseService().toLatin1());
    for (const WireMessage &call : calls) {
        result += call.member;
    }
    return result;
}

QByteArray sortedNames(const QList<QByteArray> &members)
{
    QList<QByteArray> sorted = members;
    std::sort(sorted.begin(), sorted.end());
    return sorted.join(' ');
}

// A supply daemon whose replies and signals the test chooses.
class SupplyPeer
{
public:
    SupplyPeer()
    {
        m_peer.answer("supplySKUCached", "('S-1',)");
        m_peer.answer("supplySupplyRGB", "('#123456',)");
        m_peer.answer("supplySupplyPercent", "(50.0,)");
        m_peer.answer("supplyRibbonSKUsCached", "(['R-1', 'R-2'],)");
        m_peer.answer("supplyRibbon1RGBs", "(['#111111'],)");
        m_peer.answer("supplyRibbon2RGBs", "(['#222222'],)");
        m_peer.answer("supplyRibbon1Percent", "(60.0,)");
        m_peer.answer("supplyRibbon2Percent", "(70.0,)");
        m_peer.answer("supplyMaterialName", "('Paper',)");
        m_peer.answer("supplyFormatName", "('Wide',)");
        m_peer.answer("supplyColorName", "('Blue',)");
        m_peer.answer("supplyRibbonColorName", "('Red',)");
    }

    void comeUp()
    {
        if (!m_peer.own("org.hnipc.supplyd")) {
            qFatal("the name is taken");
        }
    }

    void answer(const QByteArray &member, const QByteArray &body) { m_peer.answer(member, body); }

    WirePeer &peer() { return m_peer; }

    void emitSignal(const QByteArray &member, const QByteArray &body)
    {
        m_peer.emitSignal("/", "local.IHNIPCSUPPLYD", "SUPPLYD_" + member, body);
    }

private:
    WirePeer m_peer;
};

} // namespace

// The front panel, as a user sees and touches it.
class tst_Panel : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void cleanup();

    void noDaemonIsRunning();
    void daemonsStart();
    void silentDaemonDelaysOnlyItsOwnValues();
    void hungDaemonDelaysNothingElse();
    void readsThatFailAreRepeated_data();
    void readsThatFailAreRepeated();
    void daemonDiesAndReturns_data();
    void daemonDiesAndReturns();
    void rollsAreShown();
    void everyCatalogueEntryFits();
    void stateIsShown_data();
    void stateIsShown();
    void errorAndAlertAreShown();
    void switchesAreShown_data();
    void switchesAreShown();
    void batteryIsShown();
    void emptyPlaceIsShown();

    void clickSendsACommand_data();
    void clickSendsACommand();
    void keySendsACommand_data();
    void keySendsACommand();
    void tabAndEnterSendACommand_data();
    void tabAndEnterSendACommand();
    void heldKeySendsOneCommand();
    void outcomeOfEachKind_data();
    void outcomeOfEachKind();
    void refusedWithAReason_data();
    void refusedWithAReason();
    void jobIsStoppedAndPrinted();
    void jobIsStoppedByAnError();
    void engineDiesWithAJob();
    void screenWorksDuringACommand();
    void buttonsOfThePrinter();
    void helpHasTheKeys();
    void wholeScenario_data();
    void wholeScenario();

    void printingIsShown();
    void ownJobIsPrintingUntilItEnds();
    void lateReplyStartsNoJob();
    void jobWithoutLabelsEnds_data();
    void jobWithoutLabelsEnds();
    void readyIsNotShownWhileAReadIsOverdue();
    void readyIsNotShownBeforeTheAlertIsKnown();
    void errorOfASignalIsShownAtOnce();
    void daemonThatHungIsReadAgain();
    void outcomeDisappearsWithItsCause();
    void outcomeExpires();
    void errorClosesHelp();
    void longReasonIsReadWhole();
    void listOpensWhereItIsTouched();
    void pageBehindASheetIsDisabled();
    void clearAsksFirst();
    void commandsThatCannotWorkAreDimmed();
    void floodIsShown();

    void oneReadingForEachChange_data();
    void oneReadingForEachChange();
    void noReadingWithoutAChange();
    void newRollIsReadOnce();
    void changesFasterThanAnswersAreShown();
    void changeBeforeTheAnswerIsReadAgain();
    void formerRollsAreNotShown();

    void colorsAreChecked_data();
    void colorsAreChecked();
    void oddTextsAreHarmless_data();
    void oddTextsAreHarmless();
    void manyTextsAreHarmless();
    void oddNumbersAreHarmless_data();
    void oddNumbersAreHarmless();
    void everySizeIsLaidOut_data();
    void everySizeIsLaidOut();
    void everyButtonFitsAFinger();
    void edgesAreVisible();
    void arrowsMoveTheFocus_data();
    void arrowsMoveTheFocus();
    void scannerHasNoEffect();
    void everythingHasANameAndARole();
    void languagesFit_data();
    void languagesFit();
    void focusIsVisible();
};

// Qt Test installs a handler of its own, so this one has to be installed after it.
void tst_Panel::initTestCase() { printMessage = qInstallMessageHandler(keepComplaints); }

void tst_Panel::cleanupTestCase() { qInstallMessageHandler(printMessage); }

void tst_Panel::cleanup()
{
    const QStringList said = complaints;
    complaints.clear();
    QCOMPARE(said, QStringList());
}

// ---- Shown values ----

void tst_Panel::noDaemonIsRunning()
{
    Screen screen;
    QVERIFY(screen.shows("state", "Print engine is not running"));
    QCOMPARE(screen.text("note"),
             QString("Supply daemon is not running; the printer's buttons do not work"));
    QCOMPARE(screen.text("ioexpd/text"), QString::fromUtf8("I/O ✗"));
    QCOMPARE(screen.text("m4/text"), QString::fromUtf8("Engine ✗"));
    QCOMPARE(screen.text("supplyd/text"), QString::fromUtf8("Supply ✗"));
    QCOMPARE(screen.color("m4/text"), red);
    QCOMPARE(screen.text("battery"), QString("Battery ?"));
    for (const char *name : { "lid", "latch", "cutterCover", "cutterHome" }) {
        QCOMPARE(screen.text(QString(name) + "/text"), QString("not known"));
    }
    for (const char *name : { "supply", "ribbon1", "ribbon2" }) {
        QCOMPARE(screen.text(QString(name) + "/name"), QString("not known"));
        QCOMPARE(screen.swatches(name), QStringList());
    }
    screen.click("buttonFeed");
    QVERIFY(screen.shows("buttonFeed/outcome", "not done: print engine is not running"));
    QCOMPARE(screen.mark("buttonFeed/outcome"), no);
    QCOMPARE(screen.faults(), QString());
}

void tst_Panel::daemonsStart()
{
    Screen screen;
    QVERIFY(screen.shows("state", "Print engine is not running"));
    Desk desk({});
    desk.start("m4");
    QVERIFY(screen.shows("state", "Ready"));
    QVERIFY(screen.tells("Print engine is running"));
    QCOMPARE(screen.text("m4/text"), QString::fromUtf8("Engine ✓"));
    QVERIFY(screen.shows("lid/text", "closed"));
    QCOMPARE(screen.text("supply/name"), QString("not known"));
    QCOMPARE(screen.text("note"),
             QString("Supply daemon is not running; the printer's buttons do not work"));

    desk.start("supplyd");
    QVERIFY(screen.shows("supply/name", "Paper, Label 100 x 60 mm, White"));
    QVERIFY(screen.shows("ribbon1/name", "Cyan, Magenta, Yellow"));
    QVERIFY(screen.tells("Supply daemon is running"));
    QCOMPARE(screen.text("supplyd/text"), QString::fromUtf8("Supply ✓"));
    QCOMPARE(screen.text("note"), QString("The printer's buttons do not work"));

    desk.start("ioexpd");
    QVERIFY(screen.shows("ioexpd/text", QString::fromUtf8("I/O ✓")));
    QVERIFY(screen.tells("I/O expander is running"));
    QCOMPARE(screen.color("ioexpd/text"), green);
    QVERIFY(screen.shows("note", ""));
    QCOMPARE(screen.faults(), QString());
}

// From the start of the panel on, a daemon owns its name and does not reply.
void tst_Panel::silentDaemonDelaysOnlyItsOwnValues()
{
    Desk desk(allDaemons);
    SimulatedDaemon &silent = desk.daemon("m4");
    QVERIFY(silent.halt());
    Screen screen;
    QVERIFY(screen.shows("state", "Waiting for the print engine"));
    QVERIFY(screen.shows("supply/name", "Paper, Label 100 x 60 mm, White"));
    QCOMPARE(screen.text("m4/text"), QString::fromUtf8("Engine ✓"));
    QCOMPARE(screen.text("lid/text"), QString("not known"));
    QCOMPARE(screen.text("battery"), QString("Battery ?"));
    desk.act("supplyd", "set", "('ribbon1Percent', <33.0>)");
    QVERIFY(screen.shows("ribbon1/percent", "33 %"));
    desk.act("ioexpd", "press", "('help',)");
    QVERIFY(screen.tells("Help button"));
    QVERIFY(screen.renders(20));

    silent.send(SIGCONT);
    QVERIFY(screen.shows("state", "Ready"));
    QVERIFY(screen.shows("lid/text", "closed"));
    QVERIFY(screen.shows("battery", "Battery 87 %"));
}

// The panel shows no values of the I/O expander, so no value is missing.
void tst_Panel::hungDaemonDelaysNothingElse()
{
    Desk desk(allDaemons);
    SimulatedDaemon &silent = desk.daemon("ioexpd");
    QVERIFY(silent.halt());
    Screen screen;
    QVERIFY(screen.shows("state", "Ready"));
    QVERIFY(screen.shows("battery", "Battery 87 %"));
    QVERIFY(screen.shows("supply/name", "Paper, Label 100 x 60 mm, White"));
    screen.click("buttonFeed");
    QVERIFY(screen.shows("buttonFeed/outcome", "fed"));
    desk.act("m4", "set", "('printerLid', <true>)");
    QVERIFY(screen.shows("lid/text", "open"));
    QVERIFY(screen.tells("Lid opened"));
    silent.send(SIGCONT);
    desk.act("ioexpd", "press", "('help',)");
    QVERIFY(screen.tells("Help button"));
}

void tst_Panel::readsThatFailAreRepeated_data()
{
    QTest::addColumn<bool>("refuses");
    QTest::newRow("refused") << true;
    QTest::newRow("timed out") << false;
}

void tst_Panel::readsThatFailAreRepeated()
{
    QFETCH(bool, refuses);
    WirePeer engine;
    for (const char *member : { "getAlert", "getBatteryStatus" }) {
        engine.answer(member, "(0,)");
    }
    for (const char *member : { "printerLid", "supplyLatch", "cutterCover", "cutterHome" }) {
        engine.answer(member, "(false,)");
    }
    if (refuses) {
        engine.answerError("getError", "org.example.No", "not yet");
    } else {
        engine.ignore("getError");
    }
    QVERIFY(engine.own("org.hnipc.m4"));
    Screen screen(QSize(800, 480), { { "patience", 500 }, { "overdueTime", 100 } });
    const auto readings = [&engine]() {
        int result = 0;
        const QList<WireMessage> calls = engine.calls();
        for (const WireMessage &call : calls) {
            result += call.member == "getError";
        }
        return result;
    };
    QVERIFY(waitUntil([&]() { return readings() >= 2; }));
    QVERIFY(screen.shows("state",
                         refuses ? "Print engine does not report its state"
                                 : "Print engine does not reply"));
    QCOMPARE(screen.color("m4/text"), refuses ? green : amber); // replies, or does not
    engine.answer("getError", "(10,)");
    QVERIFY(screen.shows("state", "Stopped: lid open"));
    const int before = readings();

    // The same once more for a value that was known.
    engine.answer("printerLid", "(true,)");
    engine.emitSignal("/", "local.IHNIPCM4", "M4_M4PrinterLid", "(true,)");
    QVERIFY(screen.shows("lid/text", "open"));
    QVERIFY(screen.renders(20));
    QCOMPARE(readings(), before);
}

void tst_Panel::daemonDiesAndReturns_data()
{
    QTest::addColumn<QString>("daemon");
    QTest::addColumn<QString>("place");
    QTest::addColumn<QString>("there");
    QTest::addColumn<QString>("gone");
    QTest::addColumn<QString>("event");
    // clang-format off
    QTest::newRow("m4") << "m4" << "lid/text" << "closed" << "not known" << "Print engine has stopped";
    QTest::newRow("supplyd") << "supplyd" << "ribbon2/name" << "Black" << "not known"
                             << "Supply daemon has stopped";
    // clang-format on
    QTest::newRow("ioexpd") << "ioexpd"
                            << "ioexpd/text" << QString::fromUtf8("I/O ✓")
                            << QString::fromUtf8("I/O ✗") << "I/O expander has stopped";
}

void tst_Panel::daemonDiesAndReturns()
{
    QFETCH(QString, daemon);
    QFETCH(QString, place);
    QFETCH(QString, there);
    QFETCH(QString, gone);
    QFETCH(QString, event);
    Desk desk(allDaemons);
    Screen screen;
    for (int time = 0; time < 2; ++time) {
        QVERIFY(screen.shows(place, there));
        QVERIFY(screen.shows("state", "Ready"));
        desk.daemon(daemon).kill();
        QVERIFY(screen.shows(place, gone));
        QVERIFY(screen.tells(event));
        QCOMPARE(screen.color(daemon + "/text"), red);
        QCOMPARE(screen.text("state"),
                 QString(daemon == "m4" ? "Print engine is not running" : "Ready"));
        QCOMPARE(screen.faults(), QString());
        desk.start(daemon);
    }
    QVERIFY(screen.shows(place, there));
    QCOMPARE(screen.color(daemon + "/text"), green);

    // Its signals are received, too.
    if (daemon == "m4") {
        desk.act("m4", "set", "('printerLid', <true>)");
        QVERIFY(screen.shows("lid/text", "open"));
    } else if (daemon == "supplyd") {
        desk.act("supplyd", "set", "('ribbon2Percent', <33.0>)");
        QVERIFY(screen.shows("ribbon2/percent", "33 %"));
    } else {
        desk.act("ioexpd", "press", "('help',)");
        QVERIFY(screen.tells("Help button"));
    }
}

void tst_Panel::rollsAreShown()
{
    Desk desk(allDaemons);
    Screen screen;
    QVERIFY(screen.shows("supply/name", "Paper, Label 100 x 60 mm, White"));
    QCOMPARE(screen.text("supply/sku"), QString("LBL-100060-WH"));
    QCOMPARE(screen.swatches("supply"), QStringList({ "#ffffff" }));
    QVERIFY(screen.shows("supply/percent", "100 %"));
    QVERIFY(screen.shows("ribbon1/name", "Cyan, Magenta, Yellow"));
    QCOMPARE(screen.text("ribbon1/sku"), QString("RIB-110-CMY"));
    QCOMPARE(screen.swatches("ribbon1"), QStringList({ "#00aeef", "#ec008c", "#ffd500" }));
    QVERIFY(screen.shows("ribbon2/name", "Black"));
    QCOMPARE(screen.text("ribbon2/sku"), QString("RIB-110-BK"));
    QCOMPARE(screen.swatches("ribbon2"), QStringList({ "#000000" }));
    QCOMPARE(screen.color("supply/percent"), plain);

    desk.act("supplyd", "load", "('TAP-100-RD', ['RIB-110-KR', 'RIB-110-CMYK'])");
    QVERIFY(screen.shows("supply/name", "Vinyl, Tape 100 mm, Red"));
    QVERIFY(screen.shows("ribbon1/name", "Black, Red"));
    QVERIFY(screen.shows("ribbon2/name", "Cyan, Magenta, Yellow, Black"));
    QCOMPARE(screen.swatches("supply"), QStringList({ "#c8102e" }));
    QCOMPARE(screen.swatches("ribbon1"), QStringList({ "#000000", "#c8102e" }));
    QCOMPARE(screen.swatches("ribbon2"),
             QStringList({ "#00aeef", "#ec008c", "#ffd500", "#000000" }));
    QVERIFY(screen.tells("Supply is now TAP-100-RD"));
    QVERIFY(screen.tells("Ribbons are now RIB-110-KR, RIB-110-CMYK"));

    desk.act("supplyd", "set", "('ribbon1Percent', <10.0>)");
    QVERIFY(screen.shows("ribbon1/percent", "10 %"));
    QCOMPARE(screen.color("ribbon1/percent"), amber);
    QCOMPARE(screen.item("ribbon1/bar")->width(), 9.2);
    desk.act("supplyd", "set", "('ribbon1Percent', <10.6>)");
    QVERIFY(screen.shows("ribbon1/percent", "11 %"));
    QCOMPARE(screen.color("ribbon1/percent"), plain);
    QCOMPARE(screen.faults(), QString());
}

void tst_Panel::everyCatalogueEntryFits()
{
    QFile file(HNIPC_DATA_SOURCES "/supplies.json");
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QJsonObject catalogue = QJsonDocument::fromJson(file.readAll()).object();
    const QJsonArray supplies = catalogue["supplies"].toArray();
    const QJsonArray ribbons = catalogue["ribbons"].toArray();
    QVERIFY(supplies.size() > 10 && ribbons.size() > 5);

    Desk desk(allDaemons);
    Screen screen;
    for (int i = 0; i < supplies.size(); ++i) {
        const QJsonObject supply = supplies[i].toObject();
        const QJsonObject ribbon = ribbons[i % ribbons.size()].toObject();
        QStringList colors;
        const QJsonArray panels = ribbon["panels"].toArray();
        for (int panel = 0; panel < panels.size(); ++panel) {
            colors += panels[panel].toObject()["colorName"].toString();
        }
        const QString sku = supply["sku"].toString(), ribbonSku = ribbon["sku"].toString();
        desk.act("supplyd", "load", QString("('%1', ['%2', '%2'])").arg(sku, ribbonSku).toUtf8());
        const QString name = supply["material"].toString() + ", " + supply["format"].toString()
            + ", " + supply["colorName"].toString();
        QVERIFY(screen.shows("supply/name", name));
        QVERIFY(screen.shows("supply/sku", sku));
        QVERIFY(screen.shows("ribbon1/name", colors.join(", ")));
        QVERIFY(screen.shows("ribbon2/name", colors.join(", ")));
        QVERIFY(screen.shows("ribbon2/sku", ribbonSku));
        QVERIFY(screen.renders(1));
        for (const char *text : { "supply/name", "ribbon1/name", "supply/sku", "ribbon2/sku" }) {
            QVERIFY2(!screen.item(text)->property("truncated").toBool(), text);
        }
        QCOMPARE(screen.faults(), QString());
    }
}

void tst_Panel::stateIsShown_data()
{
    QTest::addColumn<QByteArray>("setting");
    QTest::addColumn<QString>("state");
    QTest::addColumn<QString>("color");
    QTest::addColumn<QString>("event");
    QTest::newRow("lid") << QByteArray("('printerLid', <true>)") << "Stopped: lid open" << red
                         << "Error: lid open";
    QTest::newRow("cover") << QByteArray("('cutterCover', <true>)") << "Stopped: cutter cover open"
                           << red << "Error: cutter cover open";
    QTest::newRow("latch") << QByteArray("('supplyLatch', <true>)") << "Stopped: supply latch open"
                           << red << "Error: supply latch open";
    QTest::newRow("supply") << QByteArray("('supplySensor', <0>)") << "Stopped: supply is out"
                            << red << "Error: supply is out";
    QTest::newRow("ribbon 1") << QByteArray("('ribbonClr1', <4000>)") << "Stopped: ribbon 1 is out"
                              << red << "Error: ribbon 1 is out";
    QTest::newRow("ribbon 2") << QByteArray("('ribbonClr2', <4000>)") << "Stopped: ribbon 2 is out"
                              << red << "Error: ribbon 2 is out";
    QTest::newRow("head 1") << QByteArray("('tph1Therm', <800>)") << "Stopped: print head 1 is hot"
                            << red << "Error: print head 1 is hot";
    QTest::newRow("head 2") << QByteArray("('tph2Therm', <800>)") << "Stopped: print head 2 is hot"
                            << red << "Error: print head 2 is hot";
    QTest::newRow("other error") << QByteArray("('error', <77>)") << "Stopped: error 77" << red
                                 << "Error: error 77";
    QTest::newRow("battery") << QByteArray("('batteryStatus', <9>)") << "Ready, but battery is low"
                             << amber << "Alert: battery is low";
    QTest::newRow("supply low") << QByteArray("('alert', <20>)") << "Ready, but supply is low"
                                << amber << "Alert: supply is low";
    QTest::newRow("ribbon 1 low") << QByteArray("('alert', <21>)") << "Ready, but ribbon 1 is low"
                                  << amber << "Alert: ribbon 1 is low";
    QTest::newRow("ribbon 2 low") << QByteArray("('alert', <22>)") << "Ready, but ribbon 2 is low"
                                  << amber << "Alert: ribbon 2 is low";
    QTest::newRow("other alert") << QByteArray("('alert', <78>)") << "Ready, but alert 78" << amber
                                 << "Alert: alert 78";
}

void tst_Panel::stateIsShown()
{
    QFETCH(QByteArray, setting);
    QFETCH(QString, state);
    QFETCH(QString, color);
    QFETCH(QString, event);
    Desk desk(allDaemons);
    Screen screen;
    QVERIFY(screen.shows("state", "Ready"));
    QCOMPARE(screen.color("state"), green);
    QCOMPARE(desk.act("m4", "set", setting), QByteArray("()"));
    QVERIFY(screen.shows("state", state));
    QCOMPARE(screen.color("state"), color);
    QVERIFY(screen.tells(event));
    QVERIFY(screen.renders(1));
    QCOMPARE(screen.faults(), QString());
}

void tst_Panel::errorAndAlertAreShown()
{
    Desk desk(allDaemons);
    Screen screen;
    desk.act("m4", "set", "('batteryStatus', <9>)");
    QVERIFY(screen.shows("state", "Ready, but battery is low"));
    QVERIFY(screen.shows("note", ""));
    desk.act("m4", "set", "('printerLid', <true>)");
    QVERIFY(screen.shows("state", "Stopped: lid open"));
    QVERIFY(screen.shows("note", "Battery is low"));
    QCOMPARE(screen.color("note"), amber);
    desk.stop("supplyd");
    QVERIFY(screen.shows("note", "Battery is low; supply daemon is not running"));
    desk.stop("ioexpd");
    QVERIFY(screen.shows("note",
                         "Battery is low; supply daemon is not running; "
                         "the printer's buttons do not work"));
    QVERIFY(screen.renders(1));
    QVERIFY(!screen.item("note")->property("truncated").toBool());
    QCOMPARE(screen.faults(), QString());
    {
        Screen high(QSize(480, 800));
        QVERIFY(high.shows("note", screen.text("note")));
        QVERIFY(high.renders(1));
        QVERIFY(!high.item("note")->property("truncated").toBool());
        QCOMPARE(high.faults(), QString());
    }
    desk.act("m4", "set", "('printerLid', <false>)");
    QVERIFY(screen.shows("state", "Ready, but battery is low"));
    QVERIFY(screen.tells("Error is over"));
    desk.act("m4", "set", "('batteryStatus', <90>)");
    QVERIFY(screen.shows("state", "Ready"));
    QVERIFY(screen.tells("Alert is over"));
}

void tst_Panel::switchesAreShown_data()
{
    QTest::addColumn<QString>("place");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QStringList>("words"); // for false and true
    QTest::addColumn<QStringList>("events");
    QTest::addColumn<bool>("before");
    const QStringList openOrNot = { "closed", "open" };
    QTest::newRow("lid") << "lid" << QByteArray("printerLid") << openOrNot
                         << QStringList { "Lid closed", "Lid opened" } << false;
    QTest::newRow("latch") << "latch" << QByteArray("supplyLatch") << openOrNot
                           << QStringList { "Supply latch closed", "Supply latch opened" } << false;
    QTest::newRow("cover") << "cutterCover" << QByteArray("cutterCover") << openOrNot
                           << QStringList { "Cutter cover closed", "Cutter cover opened" } << false;
    QTest::newRow("cutter") << "cutterHome" << QByteArray("cutterHome")
                            << QStringList { "moving", "home" }
                            << QStringList { "Cutter moves", "Cutter is home" } << true;
}

void tst_Panel::switchesAreShown()
{
    QFETCH(QString, place);
    QFETCH(QByteArray, name);
    QFETCH(QStringList, words);
    QFETCH(QStringList, events);
    QFETCH(bool, before);
    Desk desk(allDaemons);
    Screen screen;
    QVERIFY(screen.shows(place + "/text", words[before]));
    for (const bool value : { !before, before }) {
        desk.act("m4", "set", "('" + name + "', <" + (value ? "true" : "false") + ">)");
        QVERIFY(screen.shows(place + "/text", words[value]));
        QVERIFY(screen.tells(events[value]));
        const bool alarm = value && !before;
        QCOMPARE(screen.color(place), QString(alarm ? "#5a2a26" : "#1b222b"));
        QCOMPARE(screen.faults(), QString());
    }
}

void tst_Panel::batteryIsShown()
{
    Desk desk(allDaemons);
    Screen screen;
    const QList<QPair<int, QString>> levels = {
        { 100, plain }, { 16, plain }, { 15, amber }, { 0, amber }
    };
    for (const auto &level : levels) {
        const QByteArray percent = QByteArray::number(level.first);
        desk.act("m4", "set", "('batteryStatus', <" + percent + ">)");
        QVERIFY(screen.shows("battery", QString("Battery %1 %").arg(level.first)));
        QCOMPARE(screen.color("battery"), level.second);
        QCOMPARE(screen.mark("battery"), level.second == amber ? QChar(0x26a0) : QChar());
        QVERIFY(screen.renders(1));
        QCOMPARE(screen.faults(), QString());
    }
}

void tst_Panel::emptyPlaceIsShown()
{
    Desk desk(allDaemons);
    Screen screen;
    QVERIFY(screen.shows("ribbon2/name", "Black"));
    desk.act("supplyd", "load", "('', ['RIB-110-RD'])");
    QVERIFY(screen.shows("ribbon1/name", "Red"));
    QVERIFY(screen.shows("ribbon2/name", "no roll loaded"));
    QCOMPARE(screen.text("ribbon2/sku"), QString());
    QCOMPARE(screen.swatches("ribbon2"), QStringList());
    QVERIFY(!screen.item("ribbon2/percent")->isVisible());
    QCOMPARE(screen.faults(), QString());
}

// ---- Commands ----

void tst_Panel::clickSendsACommand_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<Qt::Key>("key");
    QTest::addColumn<QByteArray>("call");
    QTest::addColumn<QString>("outcome");
    QTest::addColumn<bool>("good");
    const QByteArray m4 = "/ local.IHNIPCM4.";
    // clang-format off
    QTest::newRow("Print") << "Print" << Qt::Key_F2 << m4 + "retryPrintJob  ()" << "no stopped job"
                           << false;
    QTest::newRow("Feed") << "Feed" << Qt::Key_F3 << m4 + "forwardFeed u (uint32 400,)" << "fed" << true;
    QTest::newRow("Cut") << "Cut" << Qt::Key_F4 << m4 + "cycleCutter  ()" << "cut" << true;
    QTest::newRow("Calibrate") << "Calibrate" << Qt::Key_F5 << m4 + "calibrateSupply  ()" << "calibrated"
                               << true;
    QTest::newRow("Load") << "Load" << Qt::Key_F7 << m4 + "rfidTest  ()" << "tags read" << true;
    QTest::newRow("Cancel") << "Cancel" << Qt::Key_F6 << m4 + "cancelPrintJob  ()" << "no job is printing"
                            << false;
    QTest::newRow("Clear") << "Clear" << Qt::Key_F8 << m4 + "clearPrintJob  ()" << "no job to drop"
                           << false;
    // clang-format on
}

// Checks that the command is sent once, and that its outcome is shown.
static void checkCommand(Screen &screen, const std::function<void()> &give)
{
    QFETCH(QString, button);
    QFETCH(QByteArray, call);
    QFETCH(QString, outcome);
    QFETCH(bool, good);
    const QString place = "button" + button + "/outcome";
    QVERIFY(screen.shows("cutterHome/text", "home"));
    QCOMPARE(screen.text(place), QString());
    WireMonitor monitor;
    give();
    if (button == "Clear") {
        screen.click("question/drop");
    }
    QVERIFY(screen.shows(place, outcome));
    QCOMPARE(screen.mark(place), good ? yes : no);
    QVERIFY(screen.tells(button + ": " + outcome));
    QCOMPARE(screen.faults(), QString());
    int times = 0;
    const QByteArray sender = QDBusConnection::systemBus().baseService().toLatin1();
    for (const WireMessage &message : monitor.takeCallsFrom(sender)) {
        times += message.line() == call;
    }
    QCOMPARE(times, 1);
}

void tst_Panel::clickSendsACommand()
{
    QFETCH(QString, button);
    Desk desk(allDaemons);
    for (const QSize &size : { QSize(800, 480), QSize(1600, 960), QSize(1000, 900) }) {
        Screen screen(size);
        checkCommand(screen, [&]() { screen.click("button" + button); });
    }
}

void tst_Panel::keySendsACommand_data() { clickSendsACommand_data(); }

void tst_Panel::keySendsACommand()
{
    QFETCH(Qt::Key, key);
    Desk desk(allDaemons);
    Screen screen;
    checkCommand(screen, [&]() { screen.type(key); });
}

void tst_Panel::tabAndEnterSendACommand_data() { clickSendsACommand_data(); }

void tst_Panel::tabAndEnterSendACommand()
{
    QFETCH(QString, button);
    Desk desk(allDaemons);
    for (const Qt::Key key : { Qt::Key_Enter, Qt::Key_Return, Qt::Key_Space }) {
        Screen screen;
        QVERIFY(screen.tabTo("button" + button));
        checkCommand(screen, [&]() { screen.type(key); });
    }
}

void tst_Panel::heldKeySendsOneCommand()
{
    Desk desk(allDaemons);
    Screen screen;
    QVERIFY(screen.shows("state", "Ready"));
    WireMonitor monitor;
    const auto hold = [&](int key, const QString &text) {
        for (int i = 0; i < 5; ++i) {
            QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, text, i > 0);
            QCoreApplication::sendEvent(&screen.view(), &press);
            QVERIFY(screen.shows("buttonFeed/outcome", "fed"));
        }
    };
    hold(Qt::Key_F3, QString());
    QVERIFY(screen.tabTo("buttonFeed"));
    hold(Qt::Key_Return, "\r");
    hold(Qt::Key_Space, " ");
    QCOMPARE(calledMembers(monitor).count("forwardFeed"), 3);
}

void tst_Panel::outcomeOfEachKind_data()
{
    QTest::addColumn<QByteArray>("fault");
    QTest::addColumn<QString>("outcome");
    QTest::newRow("error") << QByteArray("'error', <['org.example.No', 'close it']>")
                           << "refused: close it";
    QTest::newRow("never") << QByteArray("'never', <''>") << unknown;
    QTest::newRow("die") << QByteArray("'die', <''>") << unknown;
    QTest::newRow("wrong type") << QByteArray("'wrongtype', <''>") << unknown;
    QTest::newRow("sentence") << QByteArray("'error', <['org.example.No', 'the tag reader does not "
                                            "answer']>")
                              << "refused: the tag reader does not answer";
    const QByteArray sentence(60, 'w');
    QTest::newRow("long error") << "'error', <['org.example.No', '" + sentence + " " + sentence
            + "']>"
                                << "refused: " + QString(60, 'w') + ' ' + QString(60, 'w');
}

void tst_Panel::outcomeOfEachKind()
{
    QFETCH(QByteArray, fault);
    QFETCH(QString, outcome);
    Desk desk(allDaemons);
    Screen screen(QSize(800, 480), { { "patience", 500 } });
    QVERIFY(screen.shows("state", "Ready"));
    desk.act("m4", "fault", "('calibrateSupply', " + fault + ")");
    screen.click("buttonCalibrate");
    QVERIFY(screen.shows("buttonCalibrate/outcome", outcome));
    QCOMPARE(screen.mark("buttonCalibrate/outcome"), no);
    QVERIFY(screen.tells("Calibrate: " + outcome));
    QVERIFY(screen.renders(1));
    QCOMPARE(screen.item("buttonCalibrate/outcome")->property("truncated").toBool(),
             outcome.size() > 60);
    QCOMPARE(screen.faults(), QString());
}

void tst_Panel::refusedWithAReason_data()
{
    QTest::addColumn<QString>("button");
    for (const char *button : { "Print", "Feed", "Cut", "Calibrate" }) {
        QTest::newRow(button) << button;
    }
}

void tst_Panel::refusedWithAReason()
{
    QFETCH(QString, button);
    Desk desk(allDaemons);
    Screen screen;
    desk.act("m4", "set", "('printerLid', <true>)");
    QVERIFY(screen.shows("state", "Stopped: lid open"));
    screen.click("button" + button);
    QVERIFY(screen.shows("button" + button + "/outcome", "refused: lid open"));
    QCOMPARE(screen.mark("button" + button + "/outcome"), no);
    QCOMPARE(screen.faults(), QString());
}

void tst_Panel::jobIsStoppedAndPrinted()
{
    Desk desk(allDaemons);
    Screen screen;
    QVERIFY(screen.shows("state", "Ready"));
    desk.act("m4", "print", "(uint32 40,)");
    QVERIFY(desk.hears("M4_M4PrintDone"));
    screen.click("buttonCancel");
    QVERIFY(screen.shows("buttonCancel/outcome", "job stopped"));
    screen.click("buttonPrint");
    QVERIFY(screen.shows("buttonPrint/outcome", "printing"));
    QCOMPARE(screen.text("buttonCancel/outcome"), QString()); // the job is no longer stopped
    screen.click("buttonCancel");
    QVERIFY(screen.shows("buttonPrint/outcome", "stopped"));
    QCOMPARE(screen.mark("buttonPrint/outcome"), no);
    screen.click("buttonPrint");
    QVERIFY(screen.shows("buttonPrint/outcome", "printed"));
    QCOMPARE(screen.mark("buttonPrint/outcome"), yes);
    QVERIFY(screen.tells("All jobs are printed"));
    QVERIFY(desk.hears("M4_M4PrintDone", QByteArray(), 40));
    desk.forget();

    desk.act("m4", "print", "(uint32 40,)");
    QVERIFY(desk.hears("M4_M4PrintDone"));
    screen.click("buttonClear");
    screen.click("question/drop");
    QVERIFY(screen.shows("buttonClear/outcome", "job dropped"));
    QVERIFY(screen.tells("Print queue is cleared"));
    QCOMPARE(screen.text("buttonPrint/outcome"), QString("printed")); // of the earlier job
}

void tst_Panel::jobIsStoppedByAnError()
{
    Desk desk(allDaemons);
    Screen screen;
    QVERIFY(screen.shows("state", "Ready"));
    desk.act("m4", "print", "(uint32 200,)");
    screen.click("buttonCancel");
    QVERIFY(screen.shows("buttonCancel/outcome", "job stopped"));
    screen.click("buttonPrint");
    QVERIFY(screen.shows("buttonPrint/outcome", "printing"));
    desk.act("m4", "set", "('ribbonClr1', <4000>)");
    QVERIFY(screen.shows("buttonPrint/outcome", "stopped: ribbon 1 is out"));
    QCOMPARE(screen.mark("buttonPrint/outcome"), no);
    screen.type(Qt::Key_F2);
    QVERIFY(screen.shows("buttonPrint/outcome", "refused: ribbon 1 is out"));
    desk.act("m4", "set", "('ribbonClr1', <100>)");
    QVERIFY(screen.shows("state", "Stopped: a job waits"));
    screen.type(Qt::Key_F2);
    QVERIFY(screen.shows("buttonPrint/outcome", "printing"));
}

void tst_Panel::engineDiesWithAJob()
{
    Desk desk(allDaemons);
    Screen screen;
    QVERIFY(screen.shows("state", "Ready"));
    desk.act("m4", "print", "(uint32 200,)");
    screen.click("buttonCancel");
    QVERIFY(screen.shows("buttonCancel/outcome", "job stopped"));
    screen.click("buttonPrint");
    QVERIFY(screen.shows("buttonPrint/outcome", "printing"));
    desk.daemon("m4").kill();
    QVERIFY(screen.shows("buttonPrint/outcome", unknown));
    QCOMPARE(screen.mark("buttonPrint/outcome"), no);
}

void tst_Panel::screenWorksDuringACommand()
{
    Desk desk(allDaemons);
    Screen screen;
    QVERIFY(screen.shows("state", "Ready"));
    desk.act("m4", "fault", "('calibrateSupply', 'delay', <uint32 5000>)");
    QVERIFY(!screen.isShown("buttonCalibrate/runner"));
    WireMonitor monitor;
    screen.click("buttonCalibrate");
    screen.click("buttonCalibrate");
    const QQuickItem *runner = screen.item("buttonCalibrate/runner");
    QSet<double> places;
    QVERIFY(waitUntil([&]() {
        places.insert(runner->x());
        return places.size() >= 30;
    }));
    QVERIFY(screen.isShown("buttonCalibrate/runner"));
    screen.click("buttonFeed");
    QVERIFY(screen.shows("buttonFeed/outcome", "fed"));
    screen.type(Qt::Key_F4);
    QVERIFY(screen.shows("buttonCut/outcome", "cut"));
    desk.act("m4", "set", "('batteryStatus', <55>)");
    QVERIFY(screen.shows("battery", "Battery 55 %"));
    QVERIFY(screen.renders(20));
    QCOMPARE(screen.text("buttonCalibrate/outcome"), atWork);
    QCOMPARE(screen.faults(), QString());
    QVERIFY(screen.shows("buttonCalibrate/outcome", "calibrated"));
    QVERIFY(waitUntil([&]() { return !screen.isShown("buttonCalibrate/runner"); }));
    QCOMPARE(calledMembers(monitor).count("calibrateSupply"), 1);
}

void tst_Panel::buttonsOfThePrinter()
{
    Desk desk(allDaemons);
    Screen screen;
    QVERIFY(screen.shows("state", "Ready"));
    QVERIFY(screen.shows("ioexpd/text", QString::fromUtf8("I/O ✓")));
    desk.act("ioexpd", "press", "('print',)");
    QVERIFY(screen.shows("buttonPrint/outcome", "no stopped job"));
    QVERIFY(screen.tells("Print button"));
    desk.act("ioexpd", "press", "('cancel',)");
    QVERIFY(screen.shows("buttonCancel/outcome", "no job is printing"));
    QVERIFY(screen.tells("Cancel button"));
    desk.act("ioexpd", "press", "('help',)");
    QVERIFY(waitUntil([&]() { return screen.isShown("help"); }));
    QVERIFY(screen.tells("Help button"));
    desk.act("ioexpd", "press", "('help',)");
    QVERIFY(waitUntil([&]() { return !screen.isShown("help"); }));
}

void tst_Panel::helpHasTheKeys()
{
    Desk desk(allDaemons);
    Screen screen;
    QVERIFY(screen.shows("state", "Ready"));
    const auto open = [&]() { screen.click("buttonHelp"); };
    for (const Qt::Key key : { Qt::Key_Escape, Qt::Key_F1, Qt::Key_F1, Qt::Key_Return }) {
        open();
        QVERIFY(screen.isShown("help"));
        QVERIFY(screen.renders(1));
        QCOMPARE(screen.faults(), QString());
        screen.type(Qt::Key_F3); // has no effect on a button that is not visible
        QCOMPARE(screen.text("buttonFeed/outcome"), QString());
        screen.type(key);
        QVERIFY(!screen.isShown("help"));
    }
    screen.type(Qt::Key_F1);
    QVERIFY(screen.isShown("help"));
    screen.click("buttonFeed"); // same as a touch anywhere
    QVERIFY(!screen.isShown("help"));
    QCOMPARE(screen.text("buttonFeed/outcome"), QString());
    QVERIFY(screen.tabTo("buttonHelp"));
    screen.type(Qt::Key_Enter);
    QVERIFY(screen.isShown("help"));
    screen.type(Qt::Key_Enter);
    QVERIFY(!screen.isShown("help"));
    screen.type(Qt::Key_F3);
    QVERIFY(screen.shows("buttonFeed/outcome", "fed"));
}

void tst_Panel::wholeScenario_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("800 x 480") << QSize(800, 480);
    QTest::newRow("1600 x 960") << QSize(1600, 960);
}

// A day with the printer, from switching on to switching off.
void tst_Panel::wholeScenario()
{
    QFETCH(QSize, size);
    Screen screen(size);
    QVERIFY(screen.shows("state", "Print engine is not running"));
    Desk desk({});
    for (const QString &daemon : allDaemons) {
        desk.start(daemon);
    }
    QVERIFY(screen.shows("state", "Ready"));
    QVERIFY(screen.shows("supply/percent", "100 %"));
    QVERIFY(desk.waitUntilSettled());

    screen.click("buttonCalibrate");
    QVERIFY(screen.shows("buttonCalibrate/outcome", "calibrated"));
    desk.act("m4", "print", "(uint32 100,)");
    QVERIFY(desk.hears("M4_M4PrintDone", QByteArray(), 5));
    desk.act("m4", "set", "('printerLid', <true>)");
    QVERIFY(screen.shows("lid/text", "open"));
    QVERIFY(screen.shows("state", "Stopped: lid open"));
    QCOMPARE(screen.faults(), QString());
    screen.type(Qt::Key_F2);
    QVERIFY(screen.shows("buttonPrint/outcome", "refused: lid open"));
    QCOMPARE(screen.missingInPicture(), QString());
    desk.act("supplyd", "load", "('LBL-076051-GN', ['', 'RIB-110-WH-RESIN'])");
    QVERIFY(screen.shows("supply/name", "Vinyl, Label 76 x 51 mm, Green"));
    QVERIFY(screen.shows("ribbon2/name", "White"));
    QCOMPARE(screen.swatches("supply"), QStringList({ "#00843d" }));
    QCOMPARE(screen.swatches("ribbon2"), QStringList({ "#ffffff" }));
    QCOMPARE(screen.text("ribbon1/name"), QString("Cyan, Magenta, Yellow"));
    desk.act("m4", "set", "('printerLid', <false>)");
    QVERIFY(screen.shows("state", "Stopped: a job waits"));
    QVERIFY(screen.tabTo("buttonPrint"));
    screen.type(Qt::Key_Enter);
    QVERIFY(screen.shows("buttonPrint/outcome", "printing"));
    QCOMPARE(screen.faults(), QString());
    QCOMPARE(screen.missingInPicture(), QString());

    desk.act("ioexpd", "press", "('cancel',)");
    QVERIFY(screen.shows("buttonCancel/outcome", "job stopped"));
    QVERIFY(screen.shows("buttonPrint/outcome", "stopped"));
    screen.type(Qt::Key_F8);
    screen.click("question/drop");
    QVERIFY(screen.shows("buttonClear/outcome", "job dropped"));
    screen.click("buttonCut");
    QVERIFY(screen.shows("buttonCut/outcome", "cut"));
    QVERIFY(screen.tells("Cutter moves"));
    QVERIFY(screen.shows("cutterHome/text", "home"));

    desk.daemon("m4").kill();
    QVERIFY(screen.shows("state", "Print engine is not running"));
    screen.click("buttonFeed");
    QVERIFY(screen.shows("buttonFeed/outcome", "not done: print engine is not running"));
    QCOMPARE(screen.text("supply/name"), QString("Vinyl, Label 76 x 51 mm, Green"));
    QCOMPARE(screen.faults(), QString());
    desk.start("m4");
    QVERIFY(screen.shows("state", "Ready"));
    screen.click("buttonFeed");
    QVERIFY(screen.shows("buttonFeed/outcome", "fed"));
    desk.act("m4", "set", "('batteryStatus', <12>)");
    QVERIFY(screen.shows("state", "Ready, but battery is low"));
    QVERIFY(screen.shows("battery", "Battery 12 %"));
    for (const QString &daemon : allDaemons) {
        desk.stop(daemon);
    }
    QVERIFY(screen.shows("state", "Print engine is not running"));
    QVERIFY(screen.shows("supply/name", "not known"));
    QVERIFY(screen.renders(1));
    QCOMPARE(screen.faults(), QString());
    QCOMPARE(screen.missingInPicture(), QString());
    screen.type(Qt::Key_F1);
    QCOMPARE(screen.missingInPicture(), QString());
}

// Waits until the panel has handled all earlier signals of the daemons.
static bool isQuiet(Screen &screen, Desk &desk)
{
    const auto told = [&]() { return screen.events().count("Print queue is full"); };
    const auto before = told();
    for (int i = 0; i < 2; ++i) { // the second one follows the replies to calls caused by the first
        desk.act("m4", "emit", "('PrintQueueFull', [<8>])");
        if (!waitUntil([&]() { return told() > before + i; }) || !screen.renders(20)) {
            return false;
        }
    }
    return screen.shows("ribbon2/name", "Black") && screen.shows("ribbon2/percent", "100 %")
        && screen.shows("ribbon1/name", "Cyan, Magenta, Yellow")
        && screen.shows("supply/name", "Paper, Label 100 x 60 mm, White");
}

// ---- The headline ----

void tst_Panel::printingIsShown()
{
    Desk desk(allDaemons);
    Screen screen;
    QVERIFY(screen.shows("state", "Ready"));
    QCOMPARE(screen.item("icon")->property("state").toString(), QString("good"));
    desk.act("m4", "print", "(uint32 3000,)"); // from another client
    QVERIFY(waitUntil([&]() { return screen.text("state").startsWith("Printing, "); }));
    QCOMPARE(screen.color("state"), blue);
    QCOMPARE(screen.item("icon")->property("state").toString(), QString("busy"));
    desk.act("m4", "set", "('batteryStatus', <9>)");
    QVERIFY(screen.shows("note", "Battery is low"));
    QVERIFY(screen.text("state").startsWith("Printing, "));
    desk.act("m4", "set", "('printerLid', <true>)");
    QVERIFY(screen.shows("state", "Stopped: lid open"));
    QCOMPARE(screen.item("icon")->property("state").toString(), QString("fault"));
    desk.act("m4", "set", "('printerLid', <false>)");
    QVERIFY(screen.shows("state", "Stopped: a job waits"));
    QCOMPARE(screen.text("note"), QString("Battery is low"));
    QCOMPARE(screen.item("icon")->property("state").toString(), QString("warning"));

    desk.daemon("m4").kill();
    QVERIFY(screen.shows("state", "Print engine is not running"));
    QCOMPARE(screen.color("state"), red);
    QCOMPARE(screen.item("icon")->property("state").toString(), QString("fault"));

    // The last label of a cancelled job does not change the state to Printing.
    desk.start("m4");
    QVERIFY(screen.shows("state", "Ready"));
    desk.act("m4", "print", "(uint32 3000,)");
    QVERIFY(waitUntil([&]() { return screen.text("state").startsWith("Printing, "); }));
    screen.click("buttonCancel");
    QVERIFY(screen.shows("state", "Stopped: a job waits"));
    desk.act("m4", "emit", "('M4PrintDone', @av [])");
    desk.act("m4", "emit", "('PrintQueueFull', [<8>])");
    QVERIFY(screen.tells("Print queue is full"));
    QCOMPARE(screen.text("state"), QString("Stopped: a job waits"));
}

void tst_Panel::ownJobIsPrintingUntilItEnds()
{
    Desk desk(allDaemons);
    Screen screen(QSize(800, 480), { { "movingTime", 1 } }); // so labels do not count as movement
    QVERIFY(screen.shows("state", "Ready"));
    const auto startJob = [&](const QByteArray &labels) {
        desk.act("m4", "print", "(uint32 " + labels + ",)");
        screen.click("buttonCancel");
        if (!screen.shows("buttonCancel/outcome", "job stopped")
            || !screen.shows("state", "Stopped: a job waits")) {
            return false;
        }
        screen.click("buttonPrint");
        return waitUntil([&]() { return screen.text("state").startsWith("Printing, "); });
    };
    const auto clearJob = [&]() {
        screen.click("buttonClear");
        screen.click("question/drop");
        return screen.shows("buttonClear/outcome", "job dropped") && screen.shows("state", "Ready");
    };
    QVERIFY(startJob("40"));
    QVERIFY(screen.shows("buttonPrint/outcome", "printed"));
    QVERIFY(screen.shows("state", "Ready"));

    QVERIFY(startJob("3000"));
    screen.click("buttonCancel");
    QVERIFY(screen.shows("state", "Stopped: a job waits"));
    QCOMPARE(screen.item("icon")->property("state").toString(), QString("warning"));
    QVERIFY(clearJob());

    QVERIFY(startJob("3000"));
    desk.act("m4", "set", "('printerLid', <true>)");
    QVERIFY(screen.shows("state", "Stopped: lid open"));
    desk.act("m4", "set", "('printerLid', <false>)");
    QVERIFY(screen.shows("state", "Stopped: a job waits"));
    QVERIFY(clearJob());

    QVERIFY(startJob("3000"));
    QVERIFY(clearJob());
    QCOMPARE(screen.text("buttonPrint/outcome"), QString("stopped"));

    QVERIFY(startJob("3000"));
    desk.daemon("m4").kill();
    QVERIFY(screen.shows("state", "Print engine is not running"));
    desk.start("m4");
    QVERIFY(screen.shows("state", "Ready"));
}

// The reply arrives after the end of the job.
void tst_Panel::lateReplyStartsNoJob()
{
    Desk desk(allDaemons);
    Screen screen(QSize(800, 480), { { "movingTime", 1 } });
    QVERIFY(screen.shows("state", "Ready"));
    desk.act("m4", "print", "(uint32 10,)");
    screen.click("buttonCancel");
    QVERIFY(screen.shows("state", "Stopped: a job waits"));
    desk.act("m4", "fault", "('retryPrintJob', 'delay', <uint32 4000>)");
    screen.click("buttonPrint");
    QVERIFY(screen.tells("All jobs are printed"));
    QCOMPARE(screen.text("buttonPrint/outcome"), atWork);
    QVERIFY(screen.tells("Print: printing")); // the reply
    QVERIFY(screen.shows("state", "Ready"));
    QCOMPARE(screen.text("buttonPrint/outcome"), QString());
}

// Another client cancels the job, and no signal reports that.
void tst_Panel::jobWithoutLabelsEnds_data()
{
    QTest::addColumn<bool>("isOwn");
    QTest::addColumn<QVariantMap>("times");
    QTest::newRow("of the panel") << true
                                  << QVariantMap { { "movingTime", 1 }, { "jobTime", 1000 } };
    QTest::newRow("of another") << false
                                << QVariantMap { { "movingTime", 1000 }, { "jobTime", 1 } };
}

void tst_Panel::jobWithoutLabelsEnds()
{
    QFETCH(bool, isOwn);
    QFETCH(QVariantMap, times);
    Desk desk(allDaemons);
    Screen screen(QSize(800, 480), times);
    QVERIFY(screen.shows("state", "Ready"));
    desk.act("m4", "print", "(uint32 3000,)");
    if (isOwn) {
        screen.click("buttonCancel");
        QVERIFY(screen.shows("state", "Stopped: a job waits"));
        screen.click("buttonPrint");
    }
    QVERIFY(waitUntil([&]() { return screen.text("state").startsWith("Printing, "); }));
    WirePeer other;
    other.call("org.hnipc.m4", "/", "local.IHNIPCM4", "cancelPrintJob", "()");
    QVERIFY(screen.shows("state", "Ready"));
}

void tst_Panel::readyIsNotShownWhileAReadIsOverdue()
{
    Desk desk(allDaemons);
    Screen screen(QSize(800, 480), { { "overdueTime", 200 } });
    QVERIFY(screen.shows("state", "Ready"));
    desk.act("m4", "set", "('printerLid', <true>)");
    QVERIFY(screen.shows("state", "Stopped: lid open"));
    desk.act("m4", "fault", "('getError', 'never', <''>)");
    desk.act("m4", "set", "('printerLid', <false>)");
    QVERIFY(screen.shows("state", "Print engine does not reply"));
    QCOMPARE(screen.item("icon")->property("state").toString(), QString("unknown"));
    QCOMPARE(screen.text("m4/text"), QString("Engine ?"));
    QCOMPARE(screen.color("m4/text"), amber);
    QCOMPARE(screen.faults(), QString());

    QVERIFY(screen.shows("ribbon2/name", "Black"));
    QCOMPARE(screen.color("supplyd/text"), green);
    desk.act("supplyd", "fault", "('supplyRibbonSKUsCached', 'never', <''>)");
    desk.act("supplyd", "load", "('', ['RIB-110-RD'])");
    QVERIFY(screen.shows("supplyd/text", "Supply ?"));
    QCOMPARE(screen.text("ribbon1/name"), QString("not known"));
}

void tst_Panel::readyIsNotShownBeforeTheAlertIsKnown()
{
    WirePeer engine;
    engine.answer("getError", "(0,)");
    engine.ignore("getAlert");
    QVERIFY(engine.own("org.hnipc.m4"));
    Screen screen(QSize(800, 480), { { "overdueTime", 200 } });
    QVERIFY(screen.shows("state", "Print engine does not reply"));
    engine.emitSignal("/", "local.IHNIPCM4", "M4_M4PrintDone", "()");
    QVERIFY(waitUntil([&]() { return screen.text("state").startsWith("Printing, "); }));
}

void tst_Panel::errorOfASignalIsShownAtOnce()
{
    Desk desk(allDaemons);
    Screen screen;
    QVERIFY(screen.shows("state", "Ready"));
    desk.act("m4", "fault", "('getError', 'never', <''>)");
    desk.act("m4", "set", "('error', <10>)");
    QVERIFY(screen.shows("state", "Stopped: lid open"));
    QCOMPARE(screen.color("state"), red);
}

void tst_Panel::daemonThatHungIsReadAgain()
{
    Desk desk(allDaemons);
    desk.act("m4", "fault", "('getError', 'never', <''>)");
    desk.act("m4", "fault", "('printerLid', 'never', <''>)");
    Screen screen(QSize(800, 480), { { "patience", 300 }, { "overdueTime", 100 } });
    QVERIFY(screen.shows("state", "Print engine does not reply"));
    QVERIFY(screen.shows("battery", "Battery 87 %"));
    QCOMPARE(screen.text("lid/text"), QString("not known"));
    desk.act("m4", "fault", "('getError', 'none', <''>)");
    desk.act("m4", "fault", "('printerLid', 'none', <''>)");
    QVERIFY(screen.shows("state", "Ready"));
    QVERIFY(screen.shows("lid/text", "closed"));
    QVERIFY(screen.shows("m4/text", QString::fromUtf8("Engine \u2713")));
}

// ---- Outcomes ----

void tst_Panel::outcomeDisappearsWithItsCause()
{
    Desk desk(allDaemons);
    Screen screen;
    desk.act("m4", "set", "('printerLid', <true>)");
    QVERIFY(screen.shows("state", "Stopped: lid open"));
    screen.click("buttonFeed");
    QVERIFY(screen.shows("buttonFeed/outcome", "refused: lid open"));
    screen.click("buttonCancel"); // the lid does not prevent it
    QVERIFY(screen.shows("buttonCancel/outcome", "no job is printing"));
    desk.act("m4", "set", "('printerLid', <false>)");
    QVERIFY(screen.shows("buttonFeed/outcome", ""));
    QCOMPARE(screen.text("buttonCancel/outcome"), QString("no job is printing"));
    QVERIFY(screen.tells("Feed: refused: lid open")); // events stay

    desk.act("m4", "set", "('error', <10>)");
    QVERIFY(screen.shows("state", "Stopped: lid open"));
    screen.click("buttonPrint");
    QVERIFY(screen.shows("buttonPrint/outcome", "refused: lid open"));
    desk.act("m4", "set", "('error', <12>)"); // another cause
    QVERIFY(screen.shows("buttonPrint/outcome", ""));

    desk.stop("m4");
    QVERIFY(screen.shows("state", "Print engine is not running"));
    screen.click("buttonFeed");
    QVERIFY(screen.shows("buttonFeed/outcome", "not done: print engine is not running"));
    screen.type(Qt::Key_F8);
    QVERIFY(!screen.isShown("question"));
    QVERIFY(screen.shows("buttonClear/outcome", "not done: print engine is not running"));
    desk.start("m4");
    QVERIFY(screen.shows("buttonFeed/outcome", ""));
    QVERIFY(screen.shows("buttonClear/outcome", ""));
}

void tst_Panel::outcomeExpires()
{
    Desk desk(allDaemons);
    Screen screen(QSize(800, 480), { { "outcomeTime", 400 } });
    QVERIFY(screen.shows("state", "Ready"));
    for (const char *button : { "buttonFeed", "buttonCancel" }) {
        screen.click(button);
        const QString place = QString(button) + "/outcome";
        QVERIFY(waitUntil([&]() { return !screen.text(place).isEmpty(); }));
        QVERIFY(screen.shows(place, ""));
        QVERIFY(screen.item(QString(button) + "/about")->isVisible());
    }

    desk.act("m4", "print", "(uint32 3000,)");
    screen.click("buttonCancel");
    QVERIFY(screen.shows("state", "Stopped: a job waits"));
    screen.click("buttonPrint");
    QVERIFY(screen.shows("buttonPrint/outcome", "printing"));
    for (int i = 0; i < 2; ++i) { // shown longer than other outcomes
        screen.click("buttonFeed");
        QVERIFY(screen.shows("buttonFeed/outcome", "fed"));
        QVERIFY(screen.shows("buttonFeed/outcome", ""));
    }
    QCOMPARE(screen.text("buttonPrint/outcome"), QString("printing"));
}

void tst_Panel::errorClosesHelp()
{
    Desk desk(allDaemons);
    Screen screen;
    QVERIFY(screen.shows("state", "Ready"));
    for (const char *sheet : { "help", "question" }) {
        screen.type(sheet == QByteArray("help") ? Qt::Key_F1 : Qt::Key_F8);
        QVERIFY(screen.isShown(sheet));
        QVERIFY(screen.placeOf(sheet).top() >= screen.placeOf("state").bottom());
        QVERIFY(screen.renders(1));
        QCOMPARE(screen.faults(), QString());
        desk.act("m4", "set", "('batteryStatus', <9>)"); // not an error
        QVERIFY(screen.shows("state", "Ready, but battery is low"));
        QVERIFY(screen.isShown(sheet));
        desk.act("m4", "set", "('printerLid', <true>)");
        QVERIFY(screen.shows("state", "Stopped: lid open"));
        QVERIFY(!screen.isShown(sheet));
        desk.act("m4", "set", "('printerLid', <false>)");
        desk.act("m4", "set", "('batteryStatus', <90>)");
        QVERIFY(screen.shows("state", "Ready"));
    }
    desk.act("m4", "set", "('error', <10>)");
    QVERIFY(screen.shows("state", "Stopped: lid open"));
    screen.type(Qt::Key_F1);
    desk.act("m4", "set", "('error', <12>)"); // while the user reads the help
    QVERIFY(screen.shows("state", "Stopped: supply latch open"));
    QVERIFY(screen.isShown("help"));
}

void tst_Panel::longReasonIsReadWhole()
{
    Desk desk(allDaemons);
    Screen screen;
    QVERIFY(screen.shows("state", "Ready"));
    const QByteArray reason = QByteArray("because of this, ").repeated(60) + "and no other";
    desk.act("m4", "fault", "('calibrateSupply', 'error', <['org.example.No', '" + reason + "']>)");
    screen.click("buttonCalibrate");
    QVERIFY(waitUntil(
        [&]() { return screen.text("buttonCalibrate/outcome").startsWith("refused: because"); }));
    QVERIFY(screen.text("buttonCalibrate/outcome").size() < 250);
    const QString whole = "Calibrate: refused: " + QString::fromLatin1(reason);
    QVERIFY(screen.renders(2));
    QTest::mouseClick(&screen.view(), Qt::LeftButton, Qt::NoModifier,
                      (screen.placeOf("events").topLeft() + QPointF(90, 12)).toPoint());
    QVERIFY(screen.isShown("details"));
    QVERIFY(screen.text("details/text").startsWith(whole));
    QVERIFY(screen.renders(1));
    QCOMPARE(screen.faults(), QString());
    screen.type(Qt::Key_Escape);
    QVERIFY(!screen.isShown("details"));

    QVERIFY(screen.tabTo("events"));
    screen.type(Qt::Key_Return);
    QVERIFY(screen.isShown("details"));
    QVERIFY(screen.text("details/text").startsWith(whole));
    screen.type(Qt::Key_Return);
    QVERIFY(!screen.isShown("details"));
    QVERIFY(screen.item("events")->hasActiveFocus());
}

void tst_Panel::listOpensWhereItIsTouched()
{
    Desk desk(allDaemons);
    Screen screen;
    QVERIFY(screen.shows("state", "Ready"));
    for (int i = 1; i <= 20; ++i) {
        desk.act("m4", "set", "('error', <" + QByteArray::number(50 + i) + ">)");
        QVERIFY(screen.tells(QString("Error: error %1").arg(50 + i)));
    }
    QVERIFY(screen.renders(2));
    QQuickItem *list = screen.item("events");
    QCOMPARE(list->property("contentY").toDouble(),
             list->property("originY").toDouble()); // the latest
    screen.click("events");                         // far below the first line
    QVERIFY(screen.text("details/text").startsWith("Error: error 70"));
    screen.type(Qt::Key_Escape);

    QVERIFY(screen.tabTo("events"));
    screen.type(Qt::Key_Down);
    screen.type(Qt::Key_Down);
    screen.type(Qt::Key_Return);
    QVERIFY(screen.text("details/text").startsWith("Error: error 68"));
    screen.type(Qt::Key_Escape);
    QCOMPARE(list->property("currentIndex").toInt(), 2); // continues from there
    QVERIFY(screen.tabTo("buttonPrint"));
    QCOMPARE(list->property("currentIndex").toInt(), -1);
}

// The pointer and a screen reader cannot reach the page.
void tst_Panel::pageBehindASheetIsDisabled()
{
    Desk desk(allDaemons);
    Screen screen;
    QVERIFY(screen.shows("state", "Ready"));
    QVERIFY(screen.isShown("page/buttonFeed"));
    screen.type(Qt::Key_F1);
    for (const char *name : { "page/buttonFeed", "page/events", "page/lid" }) {
        QVERIFY(!screen.isShown(name));
    }
    QVERIFY(screen.isShown("header/state"));
    screen.type(Qt::Key_Escape);
    QVERIFY(screen.isShown("page/buttonFeed"));
}

void tst_Panel::clearAsksFirst()
{
    Desk desk(allDaemons);
    Screen screen;
    QVERIFY(isQuiet(screen, desk));
    WireMonitor monitor;
    const std::function<void()> refusals[] = {
        [&]() { screen.type(Qt::Key_Escape); },
        [&]() { screen.type(Qt::Key_Return); }, // on the answer that loses nothing
        [&]() { screen.type(Qt::Key_Space); },
        [&]() { screen.click("question/keep"); },
    };
    for (const auto &refuse : refusals) {
        screen.click("buttonClear");
        QVERIFY(screen.isShown("question"));
        QVERIFY(screen.item("question/keep")->hasActiveFocus());
        screen.click("question"); // a touch beside the answers
        screen.type(Qt::Key_F8);
        screen.type(Qt::Key_F3);
        QVERIFY(screen.isShown("question"));
        refuse();
        QVERIFY(!screen.isShown("question"));
    }
    screen.type(Qt::Key_F8);
    screen.type(Qt::Key_Right);
    QVERIFY(screen.item("question/drop")->hasActiveFocus());
    screen.type(Qt::Key_Return);
    QVERIFY(screen.shows("buttonClear/outcome", "no job to drop"));
    QCOMPARE(sortedNames(calledMembers(monitor)), QByteArray("clearPrintJob"));
}

void tst_Panel::commandsThatCannotWorkAreDimmed()
{
    Screen screen;
    QVERIFY(screen.shows("state", "Print engine is not running"));
    for (const QString &button : buttons) {
        QCOMPARE(screen.item("button" + button)->property("possible").toBool(), button == "Help");
        QCOMPARE(screen.color("button" + button) == "#10151b", button != "Help");
    }
    Desk desk({ "m4" });
    QVERIFY(screen.shows("state", "Ready"));
    for (const QString &button : buttons) {
        QVERIFY(screen.item("button" + button)->property("possible").toBool());
        QCOMPARE(screen.color("button" + button) == "#10151b", button == "Clear");
    }
    // Users need one button most; another one differs from all others.
    QCOMPARE(screen.color("buttonPrint"), QString("#1c6aa8"));
    QCOMPARE(screen.color("buttonClear/label"), red);
}

void tst_Panel::floodIsShown()
{
    WirePeer engine;
    for (const char *member : { "getError", "getAlert", "getBatteryStatus" }) {
        engine.answer(member, "(0,)");
    }
    QVERIFY(engine.own("org.hnipc.m4"));
    Screen screen;
    for (int i = 0; i < 30; ++i) {
        engine.emitSignal("/", "local.IHNIPCM4", "M4_PrintQueueFull", "(8,)");
    }
    QVERIFY(waitUntil([&]() { return screen.events().count("Print queue is full") == 30; }));
    QVERIFY(screen.renders(2));
    QVERIFY(screen.item("events")->property("atYBeginning").toBool());
    for (int i = 0; i < 10000; ++i) {
        engine.emitSignal("/", "local.IHNIPCM4", "M4_PrintQueueFull", "(8,)");
    }
    engine.emitSignal("/", "local.IHNIPCM4", "M4_PrintQueueComplete", "(8,)");
    QVERIFY(screen.tells("All jobs are printed"));
    QCOMPARE(int(screen.events().size()), 100);
    QCOMPARE(screen.events().at(1), QString("Print queue is full"));
    QVERIFY(screen.renders(2));
    QVERIFY(screen.item("events")->property("atYBeginning").toBool()); // the latest is visible
    QCOMPARE(screen.faults(), QString());
}

// ---- Calls to the daemons ----

void tst_Panel::oneReadingForEachChange_data()
{
    QTest::addColumn<QByteArray>("daemon");
    QTest::addColumn<QByteArray>("setting");
    QTest::addColumn<QString>("place");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("calls");
    QTest::newRow("error") << QByteArray("m4") << QByteArray("('error', <21>)") << "state"
                           << "Stopped: ribbon 1 is out" << QByteArray("getError");
    QTest::newRow("alert") << QByteArray("m4") << QByteArray("('alert', <21>)") << "state"
                           << "Ready, but ribbon 1 is low" << QByteArray("getAlert");
    QTest::newRow("battery") << QByteArray("m4") << QByteArray("('batteryStatus', <44>)")
                             << "battery"
                             << "Battery 44 %" << QByteArray("getBatteryStatus");
    QTest::newRow("lid") << QByteArray("m4") << QByteArray("('printerLid', <true>)") << "state"
                         << "Stopped: lid open" << QByteArray("getError printerLid");
    QTest::newRow("cutter") << QByteArray("m4") << QByteArray("('cutterHome', <false>)")
                            << "cutterHome/text"
                            << "moving" << QByteArray("cutterHome");
    QTest::newRow("supply") << QByteArray("supplyd") << QByteArray("('supplyPercent', <44.0>)")
                            << "supply/percent"
                            << "44 %" << QByteArray("supplySupplyPercent");
    QTest::newRow("ribbon 1") << QByteArray("supplyd") << QByteArray("('ribbon1Percent', <44.0>)")
                              << "ribbon1/percent"
                              << "44 %" << QByteArray("supplyRibbon1Percent");
    QTest::newRow("ribbon 2") << QByteArray("supplyd") << QByteArray("('ribbon2Percent', <44.0>)")
                              << "ribbon2/percent"
                              << "44 %" << QByteArray("supplyRibbon2Percent");
}

void tst_Panel::oneReadingForEachChange()
{
    QFETCH(QByteArray, daemon);
    QFETCH(QByteArray, setting);
    QFETCH(QString, place);
    QFETCH(QString, text);
    QFETCH(QByteArray, calls);
    Desk desk(allDaemons);
    Screen screen;
    QVERIFY(isQuiet(screen, desk));
    WireMonitor monitor;
    QCOMPARE(desk.act(daemon, "set", setting), QByteArray("()"));
    QVERIFY(screen.shows(place, text));
    QVERIFY(screen.renders(20));
    desk.act("m4", "emit", "('PrintQueueComplete', [<8>])");
    QVERIFY(screen.tells("All jobs are printed"));
    QCOMPARE(sortedNames(calledMembers(monitor)), calls);
}

void tst_Panel::noReadingWithoutAChange()
{
    Desk desk(allDaemons);
    Screen screen;
    QVERIFY(isQuiet(screen, desk));
    WireMonitor monitor;
    QVERIFY(screen.renders(20));
    screen.view().resize(1600, 960);
    QVERIFY(screen.tabTo("buttonClear"));
    screen.click("buttonHelp");
    QVERIFY(screen.renders(20));
    screen.type(Qt::Key_Escape);
    QVERIFY(isQuiet(screen, desk));
    QCOMPARE(calledMembers(monitor), QList<QByteArray>());
}

void tst_Panel::newRollIsReadOnce()
{
    Desk desk(allDaemons);
    Screen screen;
    QVERIFY(isQuiet(screen, desk));
    WireMonitor monitor;
    desk.forget();
    desk.act("supplyd", "load", "('', ['RIB-110-CMYK', ''])");
    QVERIFY(screen.shows("ribbon1/name", "Cyan, Magenta, Yellow, Black"));
    QVERIFY(screen.shows("ribbon1/percent", "100 %"));
    QVERIFY(screen.renders(20));
    desk.act("m4", "emit", "('PrintQueueComplete', [<8>])");
    QVERIFY(screen.tells("All jobs are printed"));
    QVERIFY(desk.hears("M4_PrintQueueComplete"));
    const QList<QByteArray> calls = calledMembers(monitor);
    const QList<QPair<QByteArray, QByteArray>> readings = {
        { "supplySKUCached", "SUPPLYD_SupplyChanged" },
        { "supplySupplyRGB", "SUPPLYD_SupplyRGBChanged" },
        { "supplySupplyPercent", "SUPPLYD_SupplyPercentChanged" },
        { "supplyRibbonSKUsCached", "SUPPLYD_RibbonChanged" },
        { "supplyRibbon1RGBs", "SUPPLYD_Ribbon1RGBsChanged" },
        { "supplyRibbon2RGBs", "SUPPLYD_Ribbon2RGBsChanged" },
        { "supplyRibbon1Percent", "SUPPLYD_Ribbon1PercentChanged" },
        { "supplyRibbon2Percent", "SUPPLYD_Ribbon2PercentChanged" },
    };
    for (const auto &reading : readings) {
        QCOMPARE(calls.count(reading.first), desk.count(reading.second));
    }
    QCOMPARE(calls.count("supplyRibbonSKUsCached"), 1);
    QCOMPARE(calls.count("supplyRibbonColorName"), 4);
}

void tst_Panel::changesFasterThanAnswersAreShown()
{
    Desk desk(allDaemons);
    Screen screen;
    QVERIFY(isQuiet(screen, desk));
    desk.act("m4", "fault", "('getBatteryStatus', 'delay', <uint32 100>)");
    int percent = 0;
    QSet<QString> shown;
    QVERIFY(waitUntil([&]() {
        percent = percent % 100 + 1;
        desk.act("m4", "set", "('batteryStatus', <" + QByteArray::number(percent) + ">)");
        shown.insert(screen.text("battery"));
        return shown.size() > 5;
    }));
    QVERIFY(screen.shows("battery", QString("Battery %1 %").arg(percent)));
}

// A pending reply may be older than the change.
void tst_Panel::changeBeforeTheAnswerIsReadAgain()
{
    SupplyPeer daemon;
    Screen screen;
    daemon.comeUp();
    QVERIFY(screen.shows("supply/percent", "50 %"));
    QVERIFY(screen.shows("supply/name", "Paper, Wide, Blue"));
    daemon.peer().hold("supplySupplyPercent");
    daemon.emitSignal("SupplyPercentChanged", "(40.0,)");
    QVERIFY(waitUntil([&]() { return daemon.peer().held() == 1; }));
    daemon.emitSignal("SupplyPercentChanged", "(30.0,)");
    daemon.emitSignal("SupplyPercentChanged", "(20.0,)");
    daemon.emitSignal("SupplyChanged", "('S-1', '')");
    QVERIFY(screen.tells("Supply is now S-1"));
    QVERIFY(screen.shows("supply/percent", "20 %"));
    daemon.peer().answerHeld(0, "(40.0,)"); // older than the last signal
    QVERIFY(waitUntil([&]() { return daemon.peer().held() == 2; }));
    QCOMPARE(screen.text("supply/percent"), QString("20 %"));
    daemon.peer().answerHeld(1, "(19.0,)");
    QVERIFY(screen.shows("supply/percent", "19 %"));
    QCOMPARE(daemon.peer().held(), 2);
}

// The signal of a change may have the SKU of any printer, so the panel has to read the SKU.
void tst_Panel::formerRollsAreNotShown()
{
    SupplyPeer daemon;
    Screen screen;
    daemon.comeUp();
    QVERIFY(screen.shows("supply/name", "Paper, Wide, Blue"));
    QVERIFY(screen.shows("ribbon1/name", "Red"));
    QVERIFY(screen.shows("ribbon2/name", "Red"));
    daemon.peer().hold("supplySKUCached");
    daemon.peer().hold("supplyRibbonSKUsCached");
    daemon.emitSignal("SupplyChanged", "('S-2', 'other')");
    daemon.emitSignal("RibbonChanged", "(['R-3'], 'other')");
    daemon.answer("supplyRibbonColorName", "('Green',)");
    daemon.answer("supplyRibbon1RGBs", "(['#00ff00', '#00ff00'],)");
    daemon.emitSignal("Ribbon1RGBsChanged", "(['#00ff00', '#00ff00'],)");
    for (const QString roll : { "supply", "ribbon1", "ribbon2" }) {
        QVERIFY(screen.shows(roll + "/name", "not known"));
        QCOMPARE(screen.text(roll + "/sku"), QString());
        QCOMPARE(screen.swatches(roll), QStringList());
    }
    QVERIFY(screen.renders(1));
    QCOMPARE(screen.faults(), QString());
    QVERIFY(waitUntil([&]() { return daemon.peer().held() == 2; }));
    daemon.peer().answerHeld(0, "('S-1',)");
    daemon.peer().answerHeld(1, "(['R-3'],)");
    QVERIFY(screen.shows("supply/name", "Paper, Wide, Blue"));
    QVERIFY(screen.shows("ribbon1/name", "Green, Green"));
    QVERIFY(screen.shows("ribbon2/name", "no roll loaded"));
    // The panel never asks for the former ribbon with the new colours.
    const QList<WireMessage> calls = daemon.peer().calls();
    for (const WireMessage &call : calls) {
        QVERIFY(call.body != "('R-1', 2)");
    }
}

// ---- Unusual values of daemons ----

void tst_Panel::colorsAreChecked_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("shown");
    QTest::newRow("lower case") << QByteArray("#12abef") << "#12abef";
    QTest::newRow("upper case") << QByteArray("#12ABEF") << "#12abef";
    // clang-format off
    const char *const others[] = { "", "red", "#", "#12", "#fff", "#12345", "#1234567", "#ff00ffaa",
                                   "#gg0000", " #ff0000", "#ff0000 ", "#ff0000\\n", "ff0000",
                                   "transparent", "rgb(1,2,3)", "0xff0000",
                                   "#\xef\xbc\x91\x32\x33\x34\x35\x36" };
    // clang-format on
    for (const char *text : others) {
        QTest::newRow(text) << QByteArray(text) << "?";
    }
    QTest::newRow("10 MB") << "#ff0000" + QByteArray(10 * 1024 * 1024, 'f') << "?";
}

void tst_Panel::colorsAreChecked()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, shown);
    SupplyPeer daemon;
    Desk desk({ "m4" });
    Screen screen;
    daemon.comeUp();
    QVERIFY(screen.shows("supply/name", "Paper, Wide, Blue"));
    QVERIFY(waitUntil([&]() { return screen.swatches("supply") == QStringList({ "#123456" }); }));

    const QByteArray rgb = "('" + text + "',)";
    const QByteArray rgbs = "(['#222222', '" + text + "', '#333333'],)";
    daemon.answer("supplySupplyRGB", rgb);
    daemon.answer("supplyRibbon1RGBs", rgbs);
    daemon.emitSignal("SupplyRGBChanged", rgb);
    daemon.emitSignal("Ribbon1RGBsChanged", rgbs);
    QVERIFY(waitUntil([&]() {
        return screen.swatches("supply") == QStringList({ shown })
            && screen.swatches("ribbon1") == QStringList({ "#222222", shown, "#333333" });
    }));
    for (QQuickItem *item : Screen::all(screen.item("supply"))) {
        if (item->objectName() == "color" && shown == "?") {
            QCOMPARE(Screen::colorOf(item).name(), QString("#39434f")); // for an invalid colour
        }
    }
    QVERIFY(screen.renders(1));
    QCOMPARE(screen.faults(), QString());
}

void tst_Panel::oddTextsAreHarmless_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("500 letters") << QByteArray(500, 'W');
    QTest::newRow("500 words") << QByteArray("Wide ").repeated(500);
    QTest::newRow("10 MB") << QByteArray(10 * 1024 * 1024, 'W');
    QTest::newRow("lines") << QByteArray("one\\ntwo\\nthree\\nfour\\nfive\\n").repeated(4);
    QTest::newRow("tags") << QByteArray("<h1>Big</h1><img src=\"qrc:/panel/none.png\">");
    QTest::newRow("entities") << QByteArray("&lt;b&gt; <b>%1 %2</b>");
    QTest::newRow("empty") << QByteArray();
}

void tst_Panel::oddTextsAreHarmless()
{
    QFETCH(QByteArray, text);
    SupplyPeer daemon;
    for (const char *member : { "supplySKUCached", "supplyMaterialName", "supplyFormatName",
                                "supplyColorName", "supplyRibbonColorName" }) {
        daemon.answer(member, "('" + text + "',)");
    }
    daemon.answer("supplyRibbonSKUsCached", "(['" + text + "', '" + text + "'],)");
    Desk desk({ "m4" });
    Screen screen;
    daemon.comeUp();
    QVERIFY(waitUntil([&]() { return screen.item("supply")->property("known").toBool(); }));
    QVERIFY(waitUntil([&]() {
        return text.isEmpty()
            || (!screen.text("supply/name").isEmpty() && !screen.text("ribbon1/name").isEmpty()
                && !screen.text("ribbon2/name").isEmpty());
    }));
    daemon.emitSignal("SupplyChanged", "('" + text + "', '')");
    daemon.emitSignal("RibbonChanged", "(['" + text + "', '" + text + "'], '')");
    QVERIFY(waitUntil([&]() {
        const QString events = screen.events().join('\n');
        return events.contains("Supply is now ") && events.contains("Ribbons are now ");
    }));
    desk.act("m4", "fault", "('calibrateSupply', 'error', <['org.example.No', '" + text + "']>)");
    screen.click("buttonCalibrate");
    QVERIFY(
        waitUntil([&]() { return screen.text("buttonCalibrate/outcome").startsWith("refused"); }));
    QVERIFY(screen.renders(2));
    QCOMPARE(screen.faults(), QString());
    const QStringList told = screen.events();
    for (const QString &event : told) {
        QVERIFY(event.size() < 300);
    }
    for (const char *place : { "supply/name", "supply/sku", "ribbon1/name", "ribbon2/sku",
                               "events/text", "buttonCalibrate/outcome" }) {
        QVERIFY2(screen.text(place).size() <= 3 * 200 + 20, place);
        QCOMPARE(screen.item(place)->property("textFormat").toInt(), int(Qt::PlainText));
    }
}

// A screen has no room for a thousand colours, nor for the names of as many SKUs.
void tst_Panel::manyTextsAreHarmless()
{
    SupplyPeer daemon;
    const QByteArray colors = "([" + QByteArray("'#222222', ").repeated(999) + "'#333333'],)";
    const QByteArray skus = "['R-1', " + QByteArray("'R-2', ").repeated(999) + "'R-3']";
    daemon.answer("supplyRibbon1RGBs", colors);
    daemon.answer("supplyRibbonSKUsCached", "(" + skus + ",)");
    Screen screen;
    daemon.comeUp();
    QVERIFY(screen.shows("ribbon1/sku", "R-1"));
    QVERIFY(screen.shows("ribbon2/sku", "R-2"));
    QVERIFY(waitUntil([&]() { return screen.swatches("ribbon1").size() == 8; }));
    QVERIFY(screen.shows("ribbon1/name", "Red, Red, Red, Red"));
    daemon.emitSignal("RibbonChanged", "(" + skus + ", '')");
    QVERIFY(screen.tells("Ribbons are now R-1" + QString(", R-2").repeated(7)));
    QVERIFY(screen.renders(2));
    QCOMPARE(screen.faults(), QString());
}

void tst_Panel::oddNumbersAreHarmless_data()
{
    QTest::addColumn<QByteArray>("percent");
    QTest::addColumn<QString>("shown");
    QTest::newRow("0") << QByteArray("0.0") << "0 %";
    QTest::newRow("100") << QByteArray("100.0") << "100 %";
    for (const char *odd : { "-1.0", "100.5", "1e300", "inf", "-inf", "nan" }) {
        QTest::newRow(odd) << QByteArray(odd) << "? %";
    }
}

void tst_Panel::oddNumbersAreHarmless()
{
    QFETCH(QByteArray, percent);
    QFETCH(QString, shown);
    SupplyPeer daemon;
    daemon.answer("supplySupplyPercent", "(" + percent + ",)");
    Desk desk({ "m4" });
    Screen screen;
    daemon.comeUp();
    QVERIFY(screen.shows("supply/name", "Paper, Wide, Blue"));
    QVERIFY(screen.shows("supply/percent", shown));
    QCOMPARE(screen.item("supply/bar")->width(), shown == "100 %" ? 92.0 : 0.0);
    for (const QByteArray odd : { "-1", "101", "2147483647" }) {
        desk.act("m4", "set", "('batteryStatus', <50>)");
        QVERIFY(screen.shows("battery", "Battery 50 %"));
        desk.act("m4", "set", "('batteryStatus', <" + odd + ">)");
        QVERIFY(screen.shows("battery", "Battery ?"));
        QCOMPARE(screen.faults(), QString());
    }
}

// ---- Touch and keys ----

void tst_Panel::everySizeIsLaidOut_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("800 x 480") << QSize(800, 480);
    QTest::newRow("1024 x 600") << QSize(1024, 600);
    QTest::newRow("480 x 800") << QSize(480, 800);
    QTest::newRow("1920 x 1080") << QSize(1920, 1080);
}

void tst_Panel::everySizeIsLaidOut()
{
    QFETCH(QSize, size);
    Desk desk(allDaemons);
    for (const Qt::LayoutDirection direction : { Qt::LeftToRight, Qt::RightToLeft }) {
        QGuiApplication::setLayoutDirection(direction);
        Screen screen(size);
        QVERIFY(screen.shows("state", "Ready"));
        QVERIFY(screen.shows("ribbon2/name", "Black"));
        QVERIFY(screen.renders(2));
        QCOMPARE(screen.faults(), QString());
        QCOMPARE(screen.missingInPicture(), QString());
        const QRectF lid = screen.placeOf("lid"), events = screen.placeOf("events");
        const bool isWide = size.width() > size.height();
        QCOMPARE(lid.center().x() < events.center().x(),
                 isWide ? direction == Qt::LeftToRight : lid.center().x() < events.center().x());
        QCOMPARE(isWide, events.top() < screen.placeOf("supply").top());
        for (const QString &button : buttons) {
            const QRectF place = screen.placeOf("button" + button);
            QVERIFY(place.width() >= 48 && place.height() >= 48);
            QVERIFY(QRectF(QPointF(), size).contains(place));
            for (const QString &other : buttons) {
                QVERIFY(other == button || !place.intersects(screen.placeOf("button" + other)));
            }
        }
        // It is apart from the button that loses nothing.
        const QPointF apart = screen.placeOf("buttonClear").center()
            - screen.placeOf("buttonCancel").center();
        QVERIFY(qAbs(apart.x()) > screen.placeOf("buttonCancel").width());
    }
    QGuiApplication::setLayoutDirection(Qt::LeftToRight);
}

void tst_Panel::everyButtonFitsAFinger()
{
    Screen screen;
    int areas = 0;
    for (const QQuickItem *item : Screen::all(screen.view().rootObject())) {
        if (item->inherits("QQuickMouseArea") && item->isVisible()) {
            QVERIFY(item->width() >= 48 && item->height() >= 48);
            ++areas;
        }
    }
    QCOMPARE(areas, 8);
}

void tst_Panel::focusIsVisible()
{
    Screen screen;
    const auto border = [&](const QString &button) {
        return screen.item("button" + button)->property("border").value<QObject *>();
    };
    for (const QString &focused : buttons) {
        QVERIFY(screen.tabTo("button" + focused)); // in the order of the buttons
        QVERIFY(screen.item("button" + focused)->hasActiveFocus());
        for (const QString &button : buttons) {
            QCOMPARE(border(button)->property("width").toDouble() == 4, button == focused);
        }
        const QColor frame = border(focused)->property("color").value<QColor>();
        const QColor face = Screen::colorOf(screen.item("button" + focused));
        QVERIFY(Screen::contrastOf(frame, face) >= 3);
    }
}

// The edges of buttons, and of items that show a state.
void tst_Panel::edgesAreVisible()
{
    Desk desk(allDaemons);
    Screen screen;
    QVERIFY(screen.shows("ribbon2/name", "Black"));
    const QColor page("#10151b");
    const auto edge = [&](const QString &path) {
        return screen.item(path)
            ->property("border")
            .value<QObject *>()
            ->property("color")
            .value<QColor>();
    };
    for (const QString &button : buttons) {
        QVERIFY(Screen::contrastOf(edge("button" + button), page) >= 3);
        QQuickItem *item = screen.item("button" + button);
        const QColor before = Screen::colorOf(item);
        QTest::mousePress(&screen.view(), Qt::LeftButton, Qt::NoModifier,
                          screen.middleOf("button" + button));
        QVERIFY(Screen::contrastOf(Screen::colorOf(item), before) >= 3);
        QVERIFY(
            Screen::contrastOf(screen.color("button" + button + "/label"), Screen::colorOf(item))
            >= 4.5);
        QTest::mouseRelease(&screen.view(), Qt::LeftButton, Qt::NoModifier, QPoint(1, 1));
    }
    for (const char *roll : { "supply", "ribbon1", "ribbon2" }) {
        const QString place = roll;
        QVERIFY(Screen::contrastOf(edge(place + "/track"), Screen::colorOf(screen.item(roll)))
                >= 3);
        QVERIFY(Screen::contrastOf(Screen::colorOf(screen.item(place + "/bar")),
                                   Screen::colorOf(screen.item(place + "/track")))
                >= 3);
    }
    desk.act("m4", "fault", "('calibrateSupply', 'never', <''>)");
    const double still = screen.item("buttonCalibrate")
                             ->property("border")
                             .value<QObject *>()
                             ->property("width")
                             .toDouble();
    screen.click("buttonCalibrate");
    QVERIFY(screen.shows("buttonCalibrate/outcome", atWork));
    const QColor face = Screen::colorOf(screen.item("buttonCalibrate"));
    QVERIFY(Screen::contrastOf(edge("buttonCalibrate"), face) >= 3);
    QVERIFY(Screen::contrastOf(screen.color("buttonCalibrate/runner"), face) >= 3);
    QVERIFY(screen.item("buttonCalibrate")
                ->property("border")
                .value<QObject *>()
                ->property("width")
                .toDouble()
            > still);
    QVERIFY(Screen::contrastOf(screen.color("icon/shape"), page) >= 3);
    QVERIFY(Screen::contrastOf(screen.color("icon/sign"), screen.color("icon/shape")) >= 4.5);
}

void tst_Panel::arrowsMoveTheFocus_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<Qt::LayoutDirection>("direction");
    QTest::newRow("wide") << QSize(800, 480) << Qt::LeftToRight;
    QTest::newRow("high") << QSize(480, 800) << Qt::LeftToRight;
    QTest::newRow("right to left") << QSize(800, 480) << Qt::RightToLeft;
}

void tst_Panel::arrowsMoveTheFocus()
{
    QFETCH(QSize, size);
    QFETCH(Qt::LayoutDirection, direction);
    QGuiApplication::setLayoutDirection(direction);
    Screen screen(size);
    const auto focused = [&]() {
        for (const QString &button : buttons) {
            if (screen.item("button" + button)->hasActiveFocus()) {
                return button;
            }
        }
        return screen.item("events")->hasActiveFocus() ? QString("events") : QString();
    };
    const bool isWide = size.width() > size.height();
    const Qt::Key forward = direction == Qt::LeftToRight ? Qt::Key_Right : Qt::Key_Left;
    const Qt::Key back = direction == Qt::LeftToRight ? Qt::Key_Left : Qt::Key_Right;
    // clang-format off
    const QList<QPair<Qt::Key, QString>> steps = {
        { Qt::Key_Down, "Print" }, { forward, "Feed" }, { Qt::Key_Down, isWide ? "Load" : "Calibrate" },
        { back, isWide ? "Cancel" : "Cut" }, { Qt::Key_Up, "Print" }, { Qt::Key_Up, "events" },
        { forward, "Print" }, { back, "events" },
    };
    // clang-format on
    for (const auto &step : steps) {
        screen.type(step.first);
        QCOMPARE(focused(), step.second);
    }
    for (int i = 0; i < 12; ++i) {
        screen.type(forward);
    }
    QCOMPARE(focused(), QString("Clear"));
    QGuiApplication::setLayoutDirection(Qt::LeftToRight);
}

void tst_Panel::scannerHasNoEffect()
{
    Desk desk(allDaemons);
    Screen screen;
    QVERIFY(isQuiet(screen, desk));
    WireMonitor monitor;
    // Even without the key guard, the code has no effect. Only Enter would press a button.
    const QString code = "PKD-0C1F rhxcl dkfp";
    for (const QChar letter : code) {
        QTest::keyClick(&screen.view(), letter.toLatin1());
    }
    new KeyGuard(&screen.view());
    QVERIFY(screen.tabTo("buttonFeed"));
    for (const QChar letter : code) {
        QTest::keyClick(&screen.view(), letter.toLatin1());
    }
    screen.type(Qt::Key_Return);
    QVERIFY(!screen.isShown("help"));
    QVERIFY(waitUntil([&]() {
        screen.type(Qt::Key_F4); // takes effect a second later
        QTest::qWait(200);       // a person is slower than a scanner
        return screen.text("buttonCut/outcome") == "cut";
    }));
    const QList<QByteArray> calls = calledMembers(monitor);
    QCOMPARE(calls.count("cycleCutter"), calls.size() - calls.count("cutterHome"));
}

void tst_Panel::everythingHasANameAndARole()
{
    QAccessible::setActive(true);
    Desk desk(allDaemons);
    Screen screen;
    QVERIFY(screen.shows("ribbon2/name", "Black"));
    const auto role = [&](const QString &path) {
        const QAccessibleInterface *item = QAccessible::queryAccessibleInterface(screen.item(path));
        return item ? item->role() : QAccessible::NoRole;
    };
    const auto text = [&](const QString &path, QAccessible::Text which) {
        const QAccessibleInterface *item = QAccessible::queryAccessibleInterface(screen.item(path));
        return item ? item->text(which) : QString();
    };
    for (const QString &button : buttons) {
        QCOMPARE(role("button" + button), QAccessible::Button);
        QCOMPARE(text("button" + button, QAccessible::Name), button);
        QVERIFY(!text("button" + button, QAccessible::Description).isEmpty());
    }
    QCOMPARE(role("state"), QAccessible::AlertMessage);
    QCOMPARE(text("state", QAccessible::Name), QString("Ready"));
    QCOMPARE(text("lid", QAccessible::Name), QString("Lid"));
    QCOMPARE(text("lid", QAccessible::Description), QString("closed"));
    QCOMPARE(text("m4", QAccessible::Description), QString("running"));
    QCOMPARE(text("supply", QAccessible::Description),
             QString("Paper, Label 100 x 60 mm, White, LBL-100060-WH, 100 %"));
    QCOMPARE(role("events"), QAccessible::List);
    QAccessibleInterface *feed = QAccessible::queryAccessibleInterface(screen.item("buttonFeed"));
    QVERIFY(
        feed->actionInterface()->actionNames().contains(QAccessibleActionInterface::pressAction()));
    feed->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    QVERIFY(screen.shows("buttonFeed/outcome", "fed"));
    QCOMPARE(text("buttonFeed", QAccessible::Description), QString("fed"));
}

// An artificial language whose words are half as long again as those of English.
class LongWords : public QTranslator
{
public:
    bool isEmpty() const override { return false; }

    QString translate(const char *, const char *source, const char *, int n) const override
    {
        const QByteArray text = QByteArray(source).replace("%n", QByteArray::number(n));
        QString result;
        for (const char letter : text) {
            result += QString(QByteArray("aeiou").contains(letter) ? 2 : 1, QChar(letter));
        }
        return result;
    }
};

void tst_Panel::languagesFit_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QString>("ready");
    QTest::newRow("English") << "en"
                             << "Ready";
    QTest::newRow("German") << "de"
                            << "Bereit";
    QTest::newRow("French") << "fr" << QString::fromUtf8("Pr\u00eate");
    QTest::newRow("long words") << QString() << "Reeaady";
}

void tst_Panel::languagesFit()
{
    QFETCH(QString, language);
    QFETCH(QString, ready);
    LongWords longWords;
    if (language.isEmpty()) {
        QCoreApplication::installTranslator(&longWords);
    } else {
        speak(QLocale(language));
    }
    {
        Desk desk(allDaemons);
        for (const QSize &size : { QSize(800, 480), QSize(480, 800), QSize(1024, 600) }) {
            Screen screen(size);
            const auto fits = [&]() {
                if (!screen.renders(2)) {
                    return QString("nothing is painted");
                }
                QString result = screen.faults();
                for (const QQuickItem *text : screen.shownTexts()) {
                    if (text->property("truncated").toBool()) {
                        result += " cut: " + text->property("text").toString();
                    }
                }
                return result;
            };
            QVERIFY(screen.shows("state", ready));
            QVERIFY(waitUntil([&]() { return !screen.text("ribbon2/name").isEmpty(); }));
            QCOMPARE(fits(), QString());
            screen.click("buttonFeed");
            QVERIFY(waitUntil([&]() { return screen.mark("buttonFeed/outcome") == yes; }));
            desk.act("m4", "set", "('cutterCover', <true>)");
            desk.act("m4", "set", "('batteryStatus', <9>)");
            screen.click("buttonCalibrate");
            QVERIFY(waitUntil([&]() { return screen.mark("buttonCalibrate/outcome") == no; }));
            QVERIFY(waitUntil([&]() { return !screen.text("note").isEmpty(); }));
            QCOMPARE(fits(), QString());
            desk.act("m4", "set", "('cutterCover', <false>)");
            desk.act("m4", "set", "('batteryStatus', <90>)");
            QVERIFY(screen.shows("state", ready));
            screen.type(Qt::Key_F1);
            QCOMPARE(fits(), QString());
            screen.type(Qt::Key_Escape);
            screen.type(Qt::Key_F8);
            QCOMPARE(fits(), QString());
        }
    }
    QCoreApplication::removeTranslator(&longWords);
    speak(QLocale("en"));
}

HNIPC_QML_TEST_MAIN(tst_Panel)

#include "tst_panel.moc"
