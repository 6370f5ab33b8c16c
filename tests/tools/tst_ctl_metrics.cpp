// SPDX-License-Identifier: MIT
// "hnipcctl metrics" of one printer and of several. The metrics are read by a parser of OpenMetrics
// that is not ours.
#include "ctlprogram.h"

#include "expected/identities.h"
#include "support/fakedaemons.h"
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
#include <QtCore/QSemaphore>
#include <QtCore/QTemporaryDir>

#include <algorithm>
#include <memory>
#include <sys/stat.h>
#include <vector>

using namespace Expected;

namespace {

// The families and samples that an independent parser finds in the text, one in each line. The
// values of times, which vary, are replaced by "T", if they are more than 0.
QByteArray parsed(const QByteArray &metrics)
{
    Process parser;
    parser.start(QStringLiteral(HNIPC_OPENMETRICS_PARSER), QStringList());
    parser.write(metrics);
    parser.closeWriteChannel();
    if (parser.exitCode() != 0) {
        return "not OpenMetrics: " + parser.errors() + '\n' + metrics;
    }
    static const QRegularExpression times(
        QStringLiteral("^(hnipc_metrics_timestamp_seconds|hnipc_daemon_call_seconds)(.*) "
                       "[0-9.e+-]*[1-9][0-9.e+-]*$"),
        QRegularExpression::MultilineOption);
    static const QRegularExpression reads(
        QStringLiteral("^(hnipc_property_read_seconds .*) [0-9.e-]+$"),
        QRegularExpression::MultilineOption); // in whole milliseconds, so it may be 0
    return QString::fromUtf8(parser.output())
        .replace(times, QStringLiteral("\\1\\2 T"))
        .replace(reads, QStringLiteral("\\1 T"))
        .toUtf8();
}

// The lines of parsed() that begin with one of these words.
QByteArray only(const QByteArray &lines, const QList<QByteArray> &beginnings)
{
    QByteArray result;
    for (const QByteArray &line : lines.split('\n')) {
        if (std::any_of(beginnings.begin(), beginnings.end(),
                        [&](const QByteArray &each) { return line.startsWith(each); })) {
            result += line + '\n';
        }
    }
    return result;
}

// The samples of a family in the text, without a parser.
QByteArray samplesOf(const char *family, const QByteArray &metrics)
{
    return only(metrics, { QByteArray(family) + ' ', QByteArray(family) + '{' });
}

void answerProperties(WirePeer *m4, WirePeer *supplyd)
{
    m4->answer("getError", "(17,)");
    m4->answer("getAlert", "(-3,)");
    m4->answer("getBatteryStatus", "(87,)");
    supplyd->answer("supplySupplyPercent", "(81.5,)");
    supplyd->answer("supplySupplyRGB", "('#ffd500',)");
    supplyd->answer("supplyRibbon1Percent", "(55.25,)");
    supplyd->answer("supplyRibbon1RGBs", "(['#00aeef', '#ec008c'],)");
    supplyd->answer("supplySKUCached", "('S-100',)");
}

// A daemon that does not reply until the object is destroyed.
class Hang
{
public:
    explicit Hang(WirePeer *peer) : m_peer(peer)
    {
        const auto end = m_end;
        peer->whenIntrospected([end]() { end->acquire(); });
    }

    ~Hang()
    {
        m_peer->whenIntrospected([]() {});
        m_end->release(1000);
    }

private:
    WirePeer *m_peer;
    std::shared_ptr<QSemaphore> m_end = std::make_shared<QSemaphore>();
};

// A bus with one peer that plays all three daemons.
class Printer
{
public:
    explicit Printer(const QString &socket)
        : m_bus(QByteArray(), QByteArray(), "unix:path=" + socket.toUtf8()), m_peer(m_bus)
    {
        for (const Identity &identity : identities) {
            if (!m_peer.own(identity.busName)) {
                qFatal("a printer does not start");
            }
        }
        answerProperties(&m_peer, &m_peer);
    }

    WirePeer &peer() { return m_peer; }

private:
    BusProcess m_bus;
    WirePeer m_peer;
};

} // namespace

class tst_CtlMetrics : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void allMetrics();
    void inJson();
    void unusualValues();
    void missingValues();
    void hangingDaemon();
    void noRights();
    void simulated();
    void noBus_data();
    void noBus();

    void countsRestarts();
    void countsRestartsOfTheBus();
    void replacesTheFile();
    void keepsTheFileWhenInterrupted();
    void refusesFiles_data();
    void refusesFiles();
    void refusesOptions_data();
    void refusesOptions();
    void namesInOtherFiles_data();
    void namesInOtherFiles();

    void severalPrinters();
    void metricsOfAPrinterCannotSpoilThoseOfOthers();
    void severalPrintersInJson();
    void restartsOfSeveralPrinters();

private:
    QString path(const char *name) const { return m_directory->filePath(text(name)); }
    QStringList toFile() const { return { text("metrics"), text("--output"), path("p.prom") }; }
    QByteArray fileAfter(const QStringList &command);
    Environment ssh();

    std::unique_ptr<QTemporaryDir> m_directory;
};

void tst_CtlMetrics::init() { m_directory.reset(new QTemporaryDir); }

// The content of the file after a successful run that writes it.
QByteArray tst_CtlMetrics::fileAfter(const QStringList &command)
{
    Ctl ctl(command);
    if (ctl.exitCode() != 0 || !ctl.out().isEmpty()) {
        return "exit code " + QByteArray::number(ctl.exitCode()) + ctl.err() + ctl.out();
    }
    return content(path("p.prom"));
}

// ---- One printer ---------------------------------------------------------------------------

void tst_CtlMetrics::allMetrics()
{
    FakeDaemons daemons;
    answerProperties(&daemons[M4], &daemons[SUPPLYD]);
    Ctl ctl(words("metrics"));
    QCOMPARE(ctl.exitCode(), 0);
    QCOMPARE(ctl.err(), QByteArray());
    QCOMPARE(
        parsed(ctl.out()),
        QByteArray(
            "# hnipc_printer_reached gauge -\n"
            "hnipc_printer_reached 1.0\n"
            "# hnipc_metrics_timestamp_seconds gauge seconds\n"
            "hnipc_metrics_timestamp_seconds T\n"
            "# hnipc_daemon_present gauge -\n"
            "hnipc_daemon_present daemon=\"ioexpd\" 1.0\n"
            "hnipc_daemon_present daemon=\"m4\" 1.0\n"
            "hnipc_daemon_present daemon=\"supplyd\" 1.0\n"
            "# hnipc_daemon_simulated gauge -\n"
            "hnipc_daemon_simulated daemon=\"ioexpd\" 0.0\n"
            "hnipc_daemon_simulated daemon=\"m4\" 0.0\n"
            "hnipc_daemon_simulated daemon=\"supplyd\" 0.0\n"
            "# hnipc_daemon_replied gauge -\n"
            "hnipc_daemon_replied daemon=\"ioexpd\" 1.0\n"
            "hnipc_daemon_replied daemon=\"m4\" 1.0\n"
            "hnipc_daemon_replied daemon=\"supplyd\" 1.0\n"
            "# hnipc_daemon_call_seconds gauge seconds\n"
            "hnipc_daemon_call_seconds daemon=\"ioexpd\" T\n"
            "hnipc_daemon_call_seconds daemon=\"m4\" T\n"
            "hnipc_daemon_call_seconds daemon=\"supplyd\" T\n"
            "# hnipc_property_known gauge -\n"
            "hnipc_property_known daemon=\"m4\" property=\"qmlBatteryStatus\" 1.0\n"
            "hnipc_property_known daemon=\"m4\" property=\"qmlPrintEngineAlertCode\" 1.0\n"
            "hnipc_property_known daemon=\"m4\" property=\"qmlPrintEngineErrorCode\" 1.0\n"
            "hnipc_property_known daemon=\"supplyd\" property=\"qmlRibbonColorRGBs\" 1.0\n"
            "hnipc_property_known daemon=\"supplyd\" property=\"qmlRibbonPercent\" 1.0\n"
            "hnipc_property_known daemon=\"supplyd\" property=\"qmlSupplyColorRGB\" 1.0\n"
            "hnipc_property_known daemon=\"supplyd\" property=\"qmlSupplyPercent\" 1.0\n"
            "hnipc_property_known daemon=\"supplyd\" property=\"qmlSupplySKU\" 1.0\n"
            "# hnipc_property_read_seconds gauge seconds\n"
            "hnipc_property_read_seconds daemon=\"m4\" property=\"qmlBatteryStatus\" T\n"
            "hnipc_property_read_seconds daemon=\"m4\" property=\"qmlPrintEngineAlertCode\" T\n"
            "hnipc_property_read_seconds daemon=\"m4\" property=\"qmlPrintEngineErrorCode\" T\n"
            "hnipc_property_read_seconds daemon=\"supplyd\" property=\"qmlRibbonColorRGBs\" T\n"
            "hnipc_property_read_seconds daemon=\"supplyd\" property=\"qmlRibbonPercent\" T\n"
            "hnipc_property_read_seconds daemon=\"supplyd\" property=\"qmlSupplyColorRGB\" T\n"
            "hnipc_property_read_seconds daemon=\"supplyd\" property=\"qmlSupplyPercent\" T\n"
            "hnipc_property_read_seconds daemon=\"supplyd\" property=\"qmlSupplySKU\" T\n"
            "# hnipc_supply_percent gauge percent\n"
            "hnipc_supply_percent 81.5\n"
            "# hnipc_ribbon_percent gauge percent\n"
            "hnipc_ribbon_percent 55.25\n"
            "# hnipc_print_engine_error_code gauge -\n"
            "hnipc_print_engine_error_code 17.0\n"
            "# hnipc_print_engine_alert_code gauge -\n"
            "hnipc_print_engine_alert_code -3.0\n"
            "# hnipc_battery_status gauge -\n"
            "hnipc_battery_status 87.0\n"
            "# hnipc_supply_sku_info gauge -\n"
            "hnipc_supply_sku_info sku=\"S-100\" 1.0\n"
            "# hnipc_supply_color_info gauge -\n"
            "hnipc_supply_color_info color=\"#ffd500\" 1.0\n"
            "# hnipc_ribbon_colors_info gauge -\n"
            "hnipc_ribbon_colors_info colors=\"#00aeef,#ec008c\" 1.0\n"));
    QVERIFY(ctl.out().endsWith("\n# EOF\n"));
    // With "-", the output is the same as without a file.
    QCOMPARE(parsed(Ctl(words("metrics --output -")).out()), parsed(ctl.out()));
}

void tst_CtlMetrics::inJson()
{
    FakeDaemons daemons;
    answerProperties(&daemons[M4], &daemons[SUPPLYD]);
    daemons.stop(IOEXPD);
    Ctl ctl(words("metrics --json"));
    QCOMPARE(ctl.exitCode(), 0);
    const QJsonObject result = QJsonDocument::fromJson(ctl.out()).object();
    QCOMPARE(result.keys(), words("bus daemons"));
    QCOMPARE(result.value(text("bus")).toString().size(), 32);
    const QJsonArray rows = result.value(text("daemons")).toArray();
    QCOMPARE(rows.size(), 3);
    QCOMPARE(rows.at(0).toObject(),
             (QJsonObject { { text("name"), text("ioexpd") },
                            { text("busName"), text("org.hnipc.ioexpd") },
                            { text("present"), false },
                            { text("error"), text("org.hnipc.ioexpd is not on the bus") },
                            { text("properties"), QJsonObject() } }));
    const QJsonObject m4 = rows.at(1).toObject();
    QCOMPARE(m4.keys(), words("busName duration name owner present properties"));
    QCOMPARE(m4.value(text("owner")), QJsonValue(QString::fromLatin1(daemons[M4].uniqueName())));
    QVERIFY(m4.value(text("duration")).toDouble() > 0);
    const QJsonObject properties = m4.value(text("properties")).toObject();
    QCOMPARE(properties.keys(),
             words("qmlBatteryStatus qmlPrintEngineAlertCode qmlPrintEngineErrorCode"));
    const QJsonObject error = properties.value(text("qmlPrintEngineErrorCode")).toObject();
    QCOMPARE(error.keys(), words("elapsed value"));
    QCOMPARE(error.value(text("value")), QJsonValue(17));
}

void tst_CtlMetrics::unusualValues()
{
    FakeDaemons daemons;
    answerProperties(&daemons[M4], &daemons[SUPPLYD]);
    const QList<QByteArray> families { "hnipc_supply_percent ",     "hnipc_ribbon_percent ",
                                       "hnipc_supply_sku_info ",    "hnipc_supply_color_info ",
                                       "hnipc_ribbon_colors_info ", "hnipc_battery_status " };
    daemons[SUPPLYD].answer("supplySupplyPercent", "(nan,)");
    daemons[SUPPLYD].answer("supplyRibbon1Percent", "(-inf,)");
    daemons[SUPPLYD].answer("supplySKUCached", "('a\"b\\\\c\\n\\r\\u202ed \xc3\xa4} 1',)");
    daemons[SUPPLYD].answer("supplySupplyRGB", "('" + QByteArray(1000, 'x') + "',)");
    daemons[SUPPLYD].answer("supplyRibbon1RGBs", "(@as [],)");
    daemons[M4].answer("getBatteryStatus", "(-2147483648,)");
    QCOMPARE(
        only(parsed(Ctl(words("metrics")).out()), families),
        "hnipc_supply_percent nan\n"
        "hnipc_ribbon_percent -inf\n"
        "hnipc_battery_status -2147483648.0\n"
        "hnipc_supply_sku_info sku=\"a\\\"b\\\\c\\\\u000a\\\\u000d\\\\u202ed \xc3\xa4} 1\" 1.0\n"
        "hnipc_supply_color_info color=\""
            + QByteArray(200, 'x') + "\" 1.0\nhnipc_ribbon_colors_info colors=\"\" 1.0\n");
    daemons[SUPPLYD].answer("supplySupplyPercent", "(inf,)");
    daemons[SUPPLYD].answer("supplyRibbon1Percent", "(0.1,)");
    QCOMPARE(only(parsed(Ctl(words("metrics")).out()), { families.at(0), families.at(1) }),
             QByteArray("hnipc_supply_percent inf\nhnipc_ribbon_percent 0.1\n"));
}

// An unknown value has no metric. The metrics that say whether something is known are 0.
void tst_CtlMetrics::missingValues()
{
    FakeDaemons daemons;
    answerProperties(&daemons[M4], &daemons[SUPPLYD]);
    daemons.stop(SUPPLYD);
    daemons[M4].answerError("getAlert", "org.hnipc.Error.Odd", "so it is");
    daemons[M4].answer("getBatteryStatus", "('a string',)");
    Ctl ctl(words("metrics"));
    QCOMPARE(ctl.exitCode(), 0);
    QCOMPARE(ctl.err(), QByteArray());
    const QByteArray values = parsed(ctl.out());
    QCOMPARE(
        only(values, { "hnipc" }),
        QByteArray(
            "hnipc_printer_reached 1.0\n"
            "hnipc_metrics_timestamp_seconds T\n"
            "hnipc_daemon_present daemon=\"ioexpd\" 1.0\n"
            "hnipc_daemon_present daemon=\"m4\" 1.0\n"
            "hnipc_daemon_present daemon=\"supplyd\" 0.0\n"
            "hnipc_daemon_simulated daemon=\"ioexpd\" 0.0\n"
            "hnipc_daemon_simulated daemon=\"m4\" 0.0\n"
            "hnipc_daemon_simulated daemon=\"supplyd\" 0.0\n"
            "hnipc_daemon_replied daemon=\"ioexpd\" 1.0\n"
            "hnipc_daemon_replied daemon=\"m4\" 1.0\n"
            "hnipc_daemon_replied daemon=\"supplyd\" 0.0\n"
            "hnipc_daemon_call_seconds daemon=\"ioexpd\" T\n"
            "hnipc_daemon_call_seconds daemon=\"m4\" T\n"
            "hnipc_property_known daemon=\"m4\" property=\"qmlBatteryStatus\" 0.0\n"
            "hnipc_property_known daemon=\"m4\" property=\"qmlPrintEngineAlertCode\" 0.0\n"
            "hnipc_property_known daemon=\"m4\" property=\"qmlPrintEngineErrorCode\" 1.0\n"
            "hnipc_property_known daemon=\"supplyd\" property=\"qmlRibbonColorRGBs\" 0.0\n"
            "hnipc_property_known daemon=\"supplyd\" property=\"qmlRibbonPercent\" 0.0\n"
            "hnipc_property_known daemon=\"supplyd\" property=\"qmlSupplyColorRGB\" 0.0\n"
            "hnipc_property_known daemon=\"supplyd\" property=\"qmlSupplyPercent\" 0.0\n"
            "hnipc_property_known daemon=\"supplyd\" property=\"qmlSupplySKU\" 0.0\n"
            "hnipc_property_read_seconds daemon=\"m4\" property=\"qmlPrintEngineErrorCode\" T\n"
            "hnipc_print_engine_error_code 17.0\n"));
}

// The properties of a daemon that hangs are not read, so it takes the timeout once. The others are
// read meanwhile.
void tst_CtlMetrics::hangingDaemon()
{
    FakeDaemons daemons;
    answerProperties(&daemons[M4], &daemons[SUPPLYD]);
    const Hang hang(&daemons[M4]);
    Ctl ctl(words("metrics --timeout 3000"));
    QCOMPARE(ctl.exitCode(), 0);
    const QByteArray values = parsed(ctl.out());
    QCOMPARE(only(values,
                  { "hnipc_daemon_present", "hnipc_daemon_replied", "hnipc_daemon_call_seconds",
                    "hnipc_supply_percent" }),
             QByteArray("hnipc_daemon_present daemon=\"ioexpd\" 1.0\n"
                        "hnipc_daemon_present daemon=\"m4\" 1.0\n"
                        "hnipc_daemon_present daemon=\"supplyd\" 1.0\n"
                        "hnipc_daemon_replied daemon=\"ioexpd\" 1.0\n"
                        "hnipc_daemon_replied daemon=\"m4\" 0.0\n"
                        "hnipc_daemon_replied daemon=\"supplyd\" 1.0\n"
                        "hnipc_daemon_call_seconds daemon=\"ioexpd\" T\n"
                        "hnipc_daemon_call_seconds daemon=\"supplyd\" T\n"
                        "hnipc_supply_percent 81.5\n"));
    QVERIFY(!values.contains("hnipc_battery_status"));
    QVERIFY(daemons[M4].calls().isEmpty());
    QVERIFY(!daemons[SUPPLYD].calls().isEmpty());
}

void tst_CtlMetrics::noRights()
{
    for (const char *rule :
         { "<deny send_destination='org.hnipc.m4'/>",
           "<deny send_destination='org.hnipc.m4' send_interface='local.IHNIPCM4'/>" }) {
        BusProcess bus(rule);
        WirePeer m4(bus);
        QVERIFY(m4.own("org.hnipc.m4"));
        answerProperties(&m4, &m4);
        Ctl ctl({ text("metrics"), text("--address"), bus.address() });
        QCOMPARE(ctl.exitCode(), 0);
        QVERIFY2(ctl.err().startsWith("hnipcctl: no right to call the daemons: "), ctl.err());
        QCOMPARE(ctl.err().count('\n'), 1);
        const bool isOnlyInterface = QByteArray(rule).contains("send_interface");
        QCOMPARE(only(parsed(ctl.out()),
                      { "hnipc_daemon_present daemon=\"m4\"", "hnipc_daemon_replied daemon=\"m4\"",
                        "hnipc_property_known daemon=\"m4\" property=\"qmlBatteryStatus\"" }),
                 QByteArray("hnipc_daemon_present daemon=\"m4\" 1.0\nhnipc_daemon_replied "
                            "daemon=\"m4\" ")
                     + (isOnlyInterface ? "1.0" : "0.0")
                     + "\nhnipc_property_known daemon=\"m4\" property=\"qmlBatteryStatus\" 0.0\n");
        QVERIFY(m4.calls().isEmpty());
    }
}

void tst_CtlMetrics::simulated()
{
    FakeDaemons daemons;
    daemons[IOEXPD].setIntrospection("<node><interface name=\"org.hnipc.Simulator\"/></node>");
    daemons[M4].setIntrospection("<node><interface name=\"org.hnipc.StandIn\"/></node>");
    QCOMPARE(samplesOf("hnipc_daemon_simulated", Ctl(words("metrics")).out()),
             QByteArray("hnipc_daemon_simulated{daemon=\"ioexpd\"} 1\n"
                        "hnipc_daemon_simulated{daemon=\"m4\"} 1\n"
                        "hnipc_daemon_simulated{daemon=\"supplyd\"} 0\n"));
}

void tst_CtlMetrics::noBus_data()
{
    QTest::addColumn<bool>("isHalted");
    QTest::addColumn<QByteArray>("error");
    QTest::addColumn<int>("exitCode");

    QTest::newRow("no bus") << false << QByteArray("hnipcctl: no bus at unix:") << 3;
    QTest::newRow("halted") << true << QByteArray("hnipcctl: the bus at unix:") << 6;
}

// The metrics say that there is no bus, so the old ones do not stay.
void tst_CtlMetrics::noBus()
{
    QFETCH(bool, isHalted);
    QFETCH(QByteArray, error);
    QFETCH(int, exitCode);

    BusProcess bus;
    if (isHalted) {
        bus.halt();
    } else {
        bus.kill();
    }
    const QStringList command = words("--timeout 250 --address")
        << bus.address() << text("metrics");
    Ctl ctl(command);
    QCOMPARE(ctl.exitCode(), 0);
    QCOMPARE(parsed(ctl.out()),
             QByteArray("# hnipc_printer_reached gauge -\n"
                        "hnipc_printer_reached 0.0\n"
                        "# hnipc_metrics_timestamp_seconds gauge seconds\n"
                        "hnipc_metrics_timestamp_seconds T\n"));
    QVERIFY2(ctl.err().startsWith(error), ctl.err());
    QCOMPARE(ctl.err().count('\n'), 1);
    Ctl json(words("--json") + command);
    QCOMPARE(json.exitCode(), exitCode);
    QCOMPARE(QJsonDocument::fromJson(json.out()).object().keys(), words("error exit"));
    if (isHalted) {
        bus.resume();
    }
}

// ---- The file ------------------------------------------------------------------------------

void tst_CtlMetrics::countsRestarts()
{
    const char *family = "hnipc_daemon_restarts_total";
    const auto counts = [](const char *ioexpd, const char *m4) {
        return QByteArray("hnipc_daemon_restarts_total{daemon=\"ioexpd\"} ") + ioexpd
            + "\nhnipc_daemon_restarts_total{daemon=\"m4\"} " + m4 + "\n";
    };
    FakeDaemons daemons;
    daemons.stop(SUPPLYD); // was never seen, so nothing is known about it
    QCOMPARE(samplesOf(family, fileAfter(toFile())), counts("0", "0"));
    QCOMPARE(samplesOf(family, fileAfter(toFile())), counts("0", "0"));
    const QByteArray first = daemons[M4].uniqueName();
    QVERIFY(content(path("p.prom")).contains("daemon=\"m4\",bus=\""));
    QVERIFY(content(path("p.prom")).contains("owner=\"" + first + '"'));

    WirePeer other;
    daemons.stop(M4);
    QVERIFY(other.own("org.hnipc.m4"));
    QCOMPARE(samplesOf(family, fileAfter(toFile())), counts("0", "1"));
    QVERIFY(content(path("p.prom")).contains("owner=\"" + other.uniqueName() + '"'));
    QVERIFY(!content(path("p.prom")).contains("owner=\"" + first + '"'));
    QCOMPARE(samplesOf(family, fileAfter(toFile())), counts("0", "1"));

    // While the daemon is not running, its connection is remembered.
    QVERIFY(other.release("org.hnipc.m4"));
    QCOMPARE(samplesOf(family, fileAfter(toFile())), counts("0", "1"));
    QVERIFY(other.own("org.hnipc.m4"));
    QCOMPARE(samplesOf(family, fileAfter(toFile())), counts("0", "1"));
    QVERIFY(other.release("org.hnipc.m4"));
    QCOMPARE(samplesOf(family, fileAfter(toFile())), counts("0", "1"));
    daemons.start(M4);
    QCOMPARE(samplesOf(family, fileAfter(toFile())), counts("0", "2"));

    // A daemon that is seen for the first time has not restarted.
    daemons.start(SUPPLYD);
    QCOMPARE(samplesOf(family, fileAfter(toFile())),
             counts("0", "2") + "hnipc_daemon_restarts_total{daemon=\"supplyd\"} 0\n");
    QCOMPARE(only(parsed(content(path("p.prom"))),
                  { "# hnipc_daemon_restarts", "hnipc_daemon_restarts_total daemon=\"m4\"",
                    "# hnipc_daemon_connection" }),
             QByteArray("# hnipc_daemon_restarts_total unknown -\n"
                        "hnipc_daemon_restarts_total daemon=\"m4\" 2.0\n"
                        "# hnipc_daemon_connection_info gauge -\n"));
    // Without a file, nothing is known about restarts.
    QVERIFY(!Ctl(words("metrics")).out().contains("restarts"));
}

// Another bus gives the same unique names again.
void tst_CtlMetrics::countsRestartsOfTheBus()
{
    const auto run = [this]() {
        BusProcess bus;
        WirePeer m4(bus);
        const bool isOwned = m4.own("org.hnipc.m4");
        return isOwned ? fileAfter(toFile() + words("--address") + QStringList(bus.address()))
                + m4.uniqueName()
                       : QByteArray();
    };
    const QByteArray first = run();
    const QByteArray second = run();
    QVERIFY(!first.isEmpty());
    QCOMPARE(first.mid(first.lastIndexOf(':')), second.mid(second.lastIndexOf(':')));
    QVERIFY2(first.contains("hnipc_daemon_restarts_total{daemon=\"m4\"} 0\n"), first);
    QVERIFY2(second.contains("hnipc_daemon_restarts_total{daemon=\"m4\"} 1\n"), second);

    // No bus, and then the bus of the last run but one: nothing is forgotten.
    const QByteArray none = fileAfter(toFile() + words("--address unix:path=/nonexistent"));
    QCOMPARE(samplesOf("hnipc_printer_reached", none), QByteArray("hnipc_printer_reached 0\n"));
    QVERIFY2(none.contains("hnipc_daemon_restarts_total{daemon=\"m4\"} 1\n"), none);
    const QByteArray third = run();
    QVERIFY2(third.contains("hnipc_daemon_restarts_total{daemon=\"m4\"} 2\n"), third);
}

// A reader that has opened the file finds all of the old metrics in it.
void tst_CtlMetrics::replacesTheFile()
{
    FakeDaemons daemons;
    daemons[M4].answer("getError", "(1,)");
    umask(022);
    QVERIFY(fileAfter(toFile()).contains("hnipc_print_engine_error_code 1\n"));
    const QByteArray old = content(path("p.prom"));
    QFile reader(path("p.prom"));
    QVERIFY(reader.open(QIODevice::ReadOnly | QIODevice::Unbuffered));
    QCOMPARE(reader.read(10), old.left(10));
    daemons[M4].answer("getError", "(2,)");
    QVERIFY(fileAfter(toFile()).contains("hnipc_print_engine_error_code 2\n"));
    QCOMPARE(reader.readAll(), old.mid(10));
    // No other file is left, and the user of node_exporter may read this one.
    QCOMPARE(QDir(m_directory->path()).entryList(QDir::Files | QDir::Hidden), words("p.prom"));
    struct stat status = {};
    QCOMPARE(stat(path("p.prom").toUtf8().constData(), &status), 0);
    QCOMPARE(int(status.st_mode & 0777), 0644);

    QVERIFY(write(path("p.prom"), QByteArray())); // such as that of mktemp
    QVERIFY(fileAfter(toFile()).contains("hnipc_print_engine_error_code 2\n"));
}

void tst_CtlMetrics::keepsTheFileWhenInterrupted()
{
    FakeDaemons daemons;
    QVERIFY(fileAfter(toFile()).endsWith("# EOF\n"));
    const QByteArray old = content(path("p.prom"));
    const Hang hang(&daemons[M4]);
    const int before = daemons[M4].introspections();
    Ctl ctl(toFile() + words("--timeout 1000000"));
    QVERIFY(waitUntil([&]() { return daemons[M4].introspections() > before; }));
    ctl.interrupt();
    QCOMPARE(ctl.exitCode(), 130);
    QCOMPARE(ctl.out(), QByteArray());
    QCOMPARE(content(path("p.prom")), old);
    QCOMPARE(QDir(m_directory->path()).entryList(QDir::Files | QDir::Hidden), words("p.prom"));
}

void tst_CtlMetrics::refusesFiles_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("error");

    const QByteArray foreign = ": exists already, and \"metrics\" has not written it\n";
    QTest::newRow("of another program") << text("other.prom") << foreign;
    QTest::newRow("a directory") << text("directory") << foreign;
    QTest::newRow("a pipe") << text("pipe") << foreign;
    QTest::newRow("no directory") << text("none/p.prom")
                                  << QByteArray(": No such file or directory\n");
}

void tst_CtlMetrics::refusesFiles()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, error);

    FakeDaemons daemons;
    QVERIFY(write(path("other.prom"), "# HELP other_metric of another program\n"));
    QVERIFY(QDir(m_directory->path()).mkdir(text("directory")));
    QCOMPARE(mkfifo(path("pipe").toUtf8().constData(), 0600), 0);
    const QString file = m_directory->filePath(name);
    Ctl ctl({ text("metrics"), text("--output"), file });
    QCOMPARE(ctl.exitCode(), 1);
    QCOMPARE(ctl.err(), "hnipcctl: " + file.toUtf8() + error);
    QCOMPARE(ctl.out(), QByteArray());
    QCOMPARE(content(path("other.prom")), QByteArray("# HELP other_metric of another program\n"));
}

void tst_CtlMetrics::refusesOptions_data()
{
    QTest::addColumn<QStringList>("command");
    QTest::addColumn<QByteArray>("error");

    QTest::newRow("JSON") << words("metrics --json --output x")
                          << QByteArray("--output is for the text, not for --json");
    QTest::newRow("empty") << words("metrics --output=")
                           << QByteArray("the name of the file to be written is empty");
    QTest::newRow("argument") << words("metrics m4")
                              << QByteArray("usage: hnipcctl metrics [--output FILE]");
}

void tst_CtlMetrics::refusesOptions()
{
    QFETCH(QStringList, command);
    QFETCH(QByteArray, error);

    FakeDaemons daemons;
    Ctl ctl(command);
    QCOMPARE(ctl.exitCode(), 2);
    QCOMPARE(ctl.err(), "hnipcctl: " + error + '\n');
    QVERIFY(daemons.takeCalls().isEmpty());
    QCOMPARE(daemons[M4].introspections(), 0);
}

void tst_CtlMetrics::namesInOtherFiles_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<bool>("hasAll");

    QTest::newRow("alert rules") << text("data/fleet/alerts.yml") << false;
    QTest::newRow("cases of the alert rules") << text("tests/fleet/alerts_test.yml") << false;
    QTest::newRow("dashboard") << text("data/fleet/dashboard.json") << false;
    QTest::newRow("guide") << text("docs/guides/fleet.md") << false;
    QTest::newRow("manual page") << text("data/man/hnipcctl.1") << true;
}

// A metric that has another name would not be an error in a rule or in the dashboard.
void tst_CtlMetrics::namesInOtherFiles()
{
    QFETCH(QString, file);
    QFETCH(bool, hasAll);

    const auto namesIn = [](const QByteArray &text, const char *pattern) {
        QStringList result;
        auto all = QRegularExpression(QLatin1String(pattern)).globalMatch(QString::fromUtf8(text));
        while (all.hasNext()) {
            result += all.next().captured(1);
        }
        result.removeDuplicates();
        return result;
    };
    FakeDaemons daemons;
    answerProperties(&daemons[M4], &daemons[SUPPLYD]);
    const QStringList written = namesIn(fileAfter(toFile()), "# HELP (\\w+) ");
    const QStringList used = namesIn(content(text(HNIPC_INTERFACES_DIR "/../") + file),
                                     "(\\bhnipc_\\w+)");
    QVERIFY(!used.isEmpty());
    for (const QString &name : used) {
        QVERIFY2(written.contains(name), qPrintable(name));
    }
    for (const QString &name : written) {
        QVERIFY2(!hasAll || used.contains(name), qPrintable(name));
    }
}

// ---- Several printers ----------------------------------------------------------------------

// A script replaces ssh: a printer is a bus whose socket has the letters and digits of the printer's
// name. "evil" has the end of a line in the id of its bus.
Environment tst_CtlMetrics::ssh()
{
    const QString script = path("ssh");
    const bool isWritten = write(script,
                                 "#!/bin/sh\n"
                                 "cd '"
                                     + m_directory->path().toUtf8()
                                     + "' || exit 99\n"
                                       "while test \"$1\" != --; do shift; done\n"
                                       "host=$(printf %s \"${2#*@}\" | tr -dc a-z0-9)\n"
                                       "case $host in\n"
                                       "down) echo 'ssh: connect to host down port 22: No route to "
                                       "host' >&2; exit 255 ;;\n"
                                       "hang) exec sleep 100000 ;;\n"
                                       "evil) '" HNIPC_TEST_BRIDGE "' evil | perl -e '"
                                       "while (sysread(STDIN, $_, 65536)) {"
                                       " s/([0-9a-f]{31})[0-9a-f]\\0/$1\\n\\0/;"
                                       " syswrite(STDOUT, $_) }'; exit ;;\n"
                                       "esac\n"
                                       "exec '" HNIPC_TEST_BRIDGE "' \"$host\"\n");
    if (!isWritten
        || !QFile(script).setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner)) {
        qFatal("the script cannot be written");
    }
    return { { text("HNIPCCTL_SSH"), script } };
}

// Printers that do not reply do not change the metrics of the others.
void tst_CtlMetrics::severalPrinters()
{
    Printer first(path("p1"));
    Printer second(path("p2"));
    second.peer().answer("supplySupplyPercent", "(9.5,)");
    Printer third(path("p3"));
    const Hang hang(&third.peer());
    QVERIFY(write(path("hosts"), "p1\nservice@p2\ndown\nhang\np3\n"));
    Ctl ctl({ text("metrics"), text("--timeout"), text("4000"), text("--hosts"), path("hosts") },
            ssh());
    QCOMPARE(ctl.exitCode(), 0);
    const QByteArray values = parsed(ctl.out());
    QCOMPARE(only(values,
                  { "hnipc_printer_reached", "hnipc_metrics_timestamp_seconds",
                    "hnipc_daemon_replied", "hnipc_supply_percent" }),
             QByteArray("hnipc_printer_reached printer=\"p1\" 1.0\n"
                        "hnipc_printer_reached printer=\"service@p2\" 1.0\n"
                        "hnipc_printer_reached printer=\"down\" 0.0\n"
                        "hnipc_printer_reached printer=\"hang\" 0.0\n"
                        "hnipc_printer_reached printer=\"p3\" 1.0\n"
                        "hnipc_metrics_timestamp_seconds printer=\"p1\" T\n"
                        "hnipc_metrics_timestamp_seconds printer=\"service@p2\" T\n"
                        "hnipc_metrics_timestamp_seconds printer=\"down\" T\n"
                        "hnipc_metrics_timestamp_seconds printer=\"hang\" T\n"
                        "hnipc_metrics_timestamp_seconds printer=\"p3\" T\n"
                        "hnipc_daemon_replied printer=\"p1\" daemon=\"ioexpd\" 1.0\n"
                        "hnipc_daemon_replied printer=\"p1\" daemon=\"m4\" 1.0\n"
                        "hnipc_daemon_replied printer=\"p1\" daemon=\"supplyd\" 1.0\n"
                        "hnipc_daemon_replied printer=\"service@p2\" daemon=\"ioexpd\" 1.0\n"
                        "hnipc_daemon_replied printer=\"service@p2\" daemon=\"m4\" 1.0\n"
                        "hnipc_daemon_replied printer=\"service@p2\" daemon=\"supplyd\" 1.0\n"
                        "hnipc_daemon_replied printer=\"p3\" daemon=\"ioexpd\" 0.0\n"
                        "hnipc_daemon_replied printer=\"p3\" daemon=\"m4\" 0.0\n"
                        "hnipc_daemon_replied printer=\"p3\" daemon=\"supplyd\" 0.0\n"
                        "hnipc_supply_percent printer=\"p1\" 81.5\n"
                        "hnipc_supply_percent printer=\"service@p2\" 9.5\n"));
    QVERIFY2(
        ctl.err().contains("hnipcctl: down: ssh: connect to host down port 22: No route to host\n"),
        ctl.err());
    QVERIFY2(ctl.err().contains("hnipcctl: hang: hang was not reached within 4000 ms\n"),
             ctl.err());
    QCOMPARE(ctl.err().count('\n'), 2);

    // One printer has the same metrics by --host as in a file.
    Ctl single(words("metrics --host p1"), ssh());
    QVERIFY(write(path("hosts"), "p1"));
    Ctl one({ text("metrics"), text("--hosts"), path("hosts") }, ssh());
    QCOMPARE(parsed(single.out()), parsed(one.out()));
    QVERIFY(single.out().contains("hnipc_supply_percent{printer=\"p1\"} 81.5\n"));
}

// The bus of one printer replies with text that would end a line of the metrics.
void tst_CtlMetrics::metricsOfAPrinterCannotSpoilThoseOfOthers()
{
    Printer good(path("good"));
    Printer evil(path("evil"));
    const QString file = path("hall.prom");
    Ctl ctl(words("metrics --host good --host evil --output") << file, ssh());
    QCOMPARE(ctl.exitCode(), 0);
    QFile written(file);
    QVERIFY(written.open(QIODevice::ReadOnly));
    const QByteArray metrics = written.readAll();
    const QByteArray values = parsed(metrics);
    QVERIFY2(values.contains("hnipc_printer_reached printer=\"good\" 1.0\n"), values.constData());
    QVERIFY2(values.contains("hnipc_printer_reached printer=\"evil\" 1.0\n"), values.constData());
    QVERIFY2(metrics.contains("\\\\u000a\""), metrics.constData());
}

void tst_CtlMetrics::severalPrintersInJson()
{
    Printer first(path("p1"));
    Ctl ctl(words("metrics --json --host p1 --host down"), ssh());
    QCOMPARE(ctl.exitCode(), 3);
    QMap<QString, QStringList> keys;
    for (const QByteArray &line : ctl.out().trimmed().split('\n')) {
        const QJsonObject object = QJsonDocument::fromJson(line).object();
        keys[object.value(text("host")).toString()] = object.keys()
            + object.value(text("result")).toObject().keys();
    }
    QCOMPARE(keys,
             (QMap<QString, QStringList> { { text("p1"), words("exit host result bus daemons") },
                                           { text("down"), words("error exit host") } }));
}

void tst_CtlMetrics::restartsOfSeveralPrinters()
{
    const QStringList command = toFile() + words("--host a\"b\\c --host p2");
    const auto run = [&]() {
        Ctl ctl(command, ssh());
        return ctl.exitCode() == 0
            ? only(samplesOf("hnipc_daemon_restarts_total", content(path("p.prom"))),
                   { "hnipc_daemon_restarts_total{printer=\"a\\\"b\\\\c\",daemon=\"m4\"}",
                     "hnipc_daemon_restarts_total{printer=\"p2\",daemon=\"m4\"}" })
            : ctl.err();
    };
    const auto counts = [](const char *first, const char *second) {
        return QByteArray("hnipc_daemon_restarts_total{printer=\"a\\\"b\\\\c\",daemon=\"m4\"} ")
            + first + "\nhnipc_daemon_restarts_total{printer=\"p2\",daemon=\"m4\"} " + second
            + "\n";
    };
    std::unique_ptr<Printer> first(new Printer(path("abc")));
    std::unique_ptr<Printer> second(new Printer(path("p2")));
    QCOMPARE(run(), counts("0", "0"));
    first.reset();
    QVERIFY(QFile::remove(path("abc"))); // the bus leaves its socket
    QCOMPARE(run(), counts("0", "0"));   // is not reached
    QVERIFY(content(path("p.prom")).contains("hnipc_printer_reached{printer=\"a\\\"b\\\\c\"} 0\n"));
    QVERIFY(parsed(content(path("p.prom")))
                .contains("\nhnipc_printer_reached printer=\"a\\\"b\\\\c\" 0.0\n"));
    first.reset(new Printer(path("abc")));
    QCOMPARE(run(), counts("1", "0"));
    QCOMPARE(run(), counts("1", "0"));
}

HNIPC_TEST_MAIN(tst_CtlMetrics)
#include "tst_ctl_metrics.moc"
