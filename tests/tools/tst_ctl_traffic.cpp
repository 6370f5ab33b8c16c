// SPDX-License-Identifier: MIT
// hnipcctl trace.
#include "ctlprogram.h"

#include "expected/identities.h"
#include "support/fakedaemons.h"
#include "support/privatebus.h"
#include "support/qtmajors.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QRegularExpression>
#include <QtCore/QScopedPointer>
#include <QtCore/QTemporaryDir>
#include <QtCore/QXmlStreamReader>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusPendingCall>

#include <algorithm>
#include <memory>
#include <vector>

#include <unistd.h>

using namespace Expected;

namespace {

// The JSON object of each line.
QList<QJsonObject> objects(const QByteArray &lines)
{
    QList<QJsonObject> result;
    for (const QByteArray &line : lines.split('\n')) {
        if (!line.isEmpty()) {
            result += QJsonDocument::fromJson(line).object();
        }
    }
    return result;
}

QByteArray compact(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

// A line without the time, the duration and the caller.
QByteArray essence(const QByteArray &line)
{
    static const QRegularExpression form(
        QStringLiteral("^\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d  *(?:\\d+\\.\\d\\d ms|-) "
                       "(?:[^ ]+ \\d+|:\\d+\\.\\d+) +((?:ioexpd|m4|supplyd) .*)$"));
    return form.match(QString::fromUtf8(line)).captured(1).toUtf8();
}

// The parts of an SVG file that the tests check.
struct Picture
{
    explicit Picture(const QByteArray &svg)
    {
        QXmlStreamReader xml(svg);
        while (!xml.atEnd()) {
            if (xml.readNext() == QXmlStreamReader::StartElement) {
                const QString name = xml.name().toString();
                const QString style = xml.attributes().value(QLatin1String("class")).toString();
                const double x = xml.attributes().value(QLatin1String("x")).toDouble();
                const double width = xml.attributes().value(QLatin1String("width")).toDouble();
                if (name == QLatin1String("title")) {
                    titles += xml.readElementText();
                } else if (name == QLatin1String("text")) {
                    texts += xml.readElementText();
                } else if (style.startsWith(QLatin1String("call"))) {
                    bars += style;
                    left = qMin(left, x);
                    right = qMax(right, x + width);
                } else if (style.startsWith(QLatin1String("tick"))) {
                    ticks += style;
                } else if (style == QLatin1String("failed")) {
                    ++failed;
                }
            }
        }
        error = xml.errorString();
    }

    QString error;
    QStringList titles;
    QStringList texts;
    QStringList bars;
    QStringList ticks;
    int failed = -1; // without the one in the legend
    double left = 1e9;
    double right = 0;
};

// A separate process that calls, so that the callers differ.
std::unique_ptr<Ctl> caller(const char *line)
{
    return std::make_unique<Ctl>(words("call") + words(line));
}

} // namespace

class tst_CtlTraffic : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_directory.reset(new QTemporaryDir);
        m_daemons.reset(new FakeDaemons);
    }
    void cleanup() { m_daemons.reset(); }

    void line();
    void values_data();
    void values();
    void unknownForms_data();
    void unknownForms();
    void otherReply();
    void otherStructure();
    void json();
    void escapes();
    void longValues();
    void callerNames();
    void callerThatHasLeft();
    void daemonAsCaller();

    void matchesReplies();
    void byConnectionName();
    void replyAfterNameIsReleased();
    void noReplyWanted();
    void absentDaemon();
    void daemonLeaves();
    void callerLeaves();
    void pendingAtEnd();
    void beforeTheTrace();
    void otherCalls();

    void pattern_data();
    void pattern();
    void unknownPattern_data();
    void unknownPattern();
    void slow();
    void count();
    void wrongUsage_data();
    void wrongUsage();
    void ends_data();
    void ends();
    void busLost();
    void noRight();
    void closedPipe();

    void summary();
    void summaryText();
    void summaryOfPending();
    void blocked();
    void manyCallers();
    void keepsUp();
    void reportsLostCalls();

    void picture();
    void emptyPicture();
    void keepsPicture();
    void pictureOfKilled();
    void pictureNames();

    void sandbox();

private:
    QString path(const char *name) const
    {
        return m_directory->filePath(QString::fromLatin1(name));
    }

    WirePeer &daemon(int server) { return (*m_daemons)[server]; }

    // Calls from this process.
    WireMessage call(int server, const QByteArray &member, const QByteArray &body = "()")
    {
        return m_peer.call(identities[server].busName, "/", identities[server].interface, member,
                           body);
    }

    static std::unique_ptr<Ctl> trace(const char *options, const Environment &environment = {})
    {
        const QByteArray line = (QByteArray("trace ") + options).trimmed();
        auto result = std::make_unique<Ctl>(words(line.constData()), environment);
        return result->complains("tracing the calls of ioexpd, m4, supplyd; Ctrl-C ends\n")
            ? std::move(result)
            : std::make_unique<Ctl>();
    }

    bool isHeld(int server, int number)
    {
        return waitUntil([=]() { return daemon(server).held() > number; });
    }

    // Returns true when the program knows all earlier callers: it identifies them in order, and
    // this caller is the last.
    bool knowsCallers(Ctl *ctl)
    {
        daemon(IOEXPD).answer("printerSoftCancel", "()");
        WirePeer fresh;
        fresh.call("org.hnipc.ioexpd", "/", "local.IHNIPCIOEXPD", "printerSoftCancel");
        return ctl->prints("printerSoftCancel");
    }

    QScopedPointer<QTemporaryDir> m_directory;
    QScopedPointer<FakeDaemons> m_daemons;
    WirePeer m_peer;
};

// ---- A call in a line ----------------------------------------------------------------------

void tst_CtlTraffic::line()
{
    daemon(M4).answer("forwardFeed", "(true,)");
    const auto ctl = trace("--count 1");
    call(M4, "forwardFeed", "(uint32 400,)");
    QCOMPARE(ctl->exitCode(), 0);
    const QString
        form = QStringLiteral(
                   "^\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d {1,11}\\d+\\.\\d\\d ms [^ ]+ %1 +m4 {6}"
                   "forwardFeed steps=400 -> true\n$")
                   .arg(getpid());
    QVERIFY2(QRegularExpression(form).match(QString::fromUtf8(ctl->out())).hasMatch(), ctl->out());
    QCOMPARE(ctl->err(),
             QByteArray("hnipcctl: tracing the calls of ioexpd, m4, supplyd; Ctrl-C ends\n"));
}

void tst_CtlTraffic::values_data()
{
    QTest::addColumn<int>("server");
    QTest::addColumn<QByteArray>("member");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QByteArray>("line");

    const auto row = [](int server, const char *member, const char *body, const char *answer,
                        const char *line) {
        QTest::newRow(member) << server << QByteArray(member) << QByteArray(body)
                              << QByteArray(answer) << QByteArray(line);
    };
    row(IOEXPD, "printerSoftCancel", "()", "()", "ioexpd  printerSoftCancel -> replied");
    row(IOEXPD, "enableAudioAmp", "(false,)", "()",
        "ioexpd  enableAudioAmp value=false -> replied");
    row(M4, "dac0", "()", "(uint32 4294967295,)", "m4      dac0 -> 4294967295");
    row(M4, "getError", "()", "(-2147483648,)", "m4      getError -> -2147483648");
    row(M4, "ribbon1Verify", "()", "(uint64 18446744073709551615,)",
        "m4      ribbon1Verify -> 18446744073709551615");
    row(M4, "m4Version", "()", "('1.0',)", "m4      m4Version -> \"1.0\"");
    row(M4, "sendMCCMessage", "(1, 2, 'three')", "(true,)",
        "m4      sendMCCMessage type=1 definedMessage=2 value=\"three\" -> true");
    row(SUPPLYD, "supplySupplyPercent", "()", "(62.5,)", "supplyd supplySupplyPercent -> 62.5");
    row(SUPPLYD, "supplySKUList", "()", "(['A', ''],)", "supplyd supplySKUList -> [\"A\",\"\"]");
    row(SUPPLYD, "supplyBackgroundImage", "('A',)", "(@ay [0x00, 0x2a],)",
        "supplyd supplyBackgroundImage sku=\"A\" -> 2 bytes: 00 2a");
    row(SUPPLYD, "supplyColorHash", "()", "({'A': <1>, 'B': <'two'>},)",
        "supplyd supplyColorHash -> {\"A\":1,\"B\":\"two\"}");
    row(M4, "pulseM4Dac0Signal", "(uint32 7,)", "(true,)",
        "m4      pulseM4Dac0Signal value=7 -> true");
}

void tst_CtlTraffic::values()
{
    QFETCH(int, server);
    QFETCH(QByteArray, member);
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, answer);
    QFETCH(QByteArray, line);

    daemon(server).answer(member, answer);
    const auto ctl = trace("--count 1");
    call(server, member, body);
    QCOMPARE(ctl->exitCode(), 0);
    QCOMPARE(essence(ctl->out().trimmed()), line);
}

// Types that the daemons do not use.
void tst_CtlTraffic::unknownForms_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("shown");
    QTest::addColumn<QByteArray>("signature");
    QTest::addColumn<QByteArray>("json");

    QTest::newRow("small numbers")
        << QByteArray("(byte 0xff, int16 -2, uint16 65535)") << QByteArray("255 -2 65535")
        << QByteArray("ynq") << QByteArray("[255,-2,65535]");
    QTest::newRow("long numbers") << QByteArray("(int64 -9223372036854775808, 0.5)")
                                  << QByteArray("-9223372036854775808 0.5") << QByteArray("xd")
                                  << QByteArray("[\"-9223372036854775808\",0.5]");
    QTest::newRow("paths") << QByteArray("(objectpath '/a', signature 'as', [objectpath '/b'])")
                           << QByteArray("\"/a\" \"as\" [\"/b\"]") << QByteArray("ogao")
                           << QByteArray("[\"/a\",\"as\",[\"/b\"]]");
    QTest::newRow("structures") << QByteArray("((1, ('two', [3.5])), <<true>>, @ai [])")
                                << QByteArray("[1,[\"two\",[3.5]]] true []")
                                << QByteArray("(i(sad))vai")
                                << QByteArray("[[1,[\"two\",[3.5]]],true,[]]");
    QTest::newRow("dictionaries") << QByteArray("({uint32 5: {'a': [(1, true)]}},)")
                                  << QByteArray("{\"5\":{\"a\":[[1,true]]}}")
                                  << QByteArray("a{ua{sa(ib)}}")
                                  << QByteArray("[{\"5\":{\"a\":[[1,true]]}}]");
    QTest::newRow("bytes in a variant")
        << QByteArray("(<@ay [0x01, 0x02]>,)") << QByteArray("2 bytes: 01 02") << QByteArray("v")
        << QByteArray("[\"AQI=\"]");
}

void tst_CtlTraffic::unknownForms()
{
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, shown);
    QFETCH(QByteArray, signature);
    QFETCH(QByteArray, json);

    const auto asText = trace("--count 1");
    const auto asJson = trace("--count 1 --json");
    call(M4, "getError", body);
    QCOMPARE(essence(asText->out().trimmed()),
             "m4      getError " + shown
                 + " -> org.freedesktop.DBus.Error.UnknownMethod: no such method");
    const QJsonObject object = objects(asJson->out()).value(0);
    QCOMPARE(object.value(QLatin1String("signature")).toString().toLatin1(), signature);
    QCOMPARE(QJsonDocument(object.value(QLatin1String("arguments")).toArray())
                 .toJson(QJsonDocument::Compact),
             json);
}

void tst_CtlTraffic::otherReply()
{
    daemon(M4).answer("getError", "('ten',)");
    const auto asText = trace("--count 1");
    const auto asJson = trace("--count 1 --json");
    call(M4, "getError");
    QCOMPARE(essence(asText->out().trimmed()),
             QByteArray("m4      getError -> \"ten\" (replied \"s\", not \"i\")"));
    const QJsonObject object = objects(asJson->out()).value(0);
    QCOMPARE(object.value(QLatin1String("value")).toString(), text("ten"));
    QCOMPARE(object.value(QLatin1String("replySignature")).toString(), text("s"));
}

// A structure other than the supply record has no names for its members.
void tst_CtlTraffic::otherStructure()
{
    daemon(SUPPLYD).answer("supplyInformation", "(('a', 2),)");
    const auto ctl = trace("--count 1 --json");
    call(SUPPLYD, "supplyInformation", "('p',)");
    QCOMPARE(compact({ { text("value"), objects(ctl->out()).value(0).value(text("value")) } }),
             QByteArray("{\"value\":[\"a\",2]}"));
}

void tst_CtlTraffic::json()
{
    daemon(M4).answer("forwardFeed", "(true,)");
    daemon(M4).answerError("getError", "org.example.Jam", "a label");
    daemon(SUPPLYD).answer("supplyInformation",
                           "(('a', ['b'], 1.5, 2, '', 0.0, 0, '', 0, '', 0, '', 0.0, 0, "
                           "@ay [0x01], 0.0, 0.0, 0, 0, 0, 0.0, 0.0, 0.0, 0.0, @as [], "
                           "[<'v'>], @av [], @av [], @av [], @av []),)");
    const QDateTime before = QDateTime::currentDateTimeUtc();
    const auto ctl = trace("--count 3 --json");
    call(M4, "forwardFeed", "(uint32 400,)");
    call(M4, "getError");
    call(SUPPLYD, "supplyInformation", "('p',)");
    QCOMPARE(ctl->exitCode(), 0);
    const QDateTime after = QDateTime::currentDateTimeUtc();

    QList<QJsonObject> lines = objects(ctl->out());
    QCOMPARE(lines.size(), 3);
    for (QJsonObject &object : lines) {
        const QDateTime time = QDateTime::fromString(object.take(QLatin1String("time")).toString(),
                                                     Qt::ISODateWithMs);
        QVERIFY(before.addMSecs(-1) <= time && time <= after);
        QVERIFY(object.take(QLatin1String("duration")).toDouble(-1) >= 0);
        const QJsonObject caller = object.take(QLatin1String("caller")).toObject();
        QCOMPARE(caller.value(QLatin1String("busName")).toString().toLatin1(), m_peer.uniqueName());
        QCOMPARE(caller.value(QLatin1String("pid")).toInt(), int(getpid()));
    }
    QCOMPARE(compact(lines[0]),
             QByteArray("{\"arguments\":{\"steps\":400},\"daemon\":\"m4\","
                        "\"end\":\"reply\",\"method\":\"forwardFeed\","
                        "\"value\":true}"));
    QCOMPARE(
        compact(lines[1]),
        QByteArray("{\"arguments\":{},\"daemon\":\"m4\",\"end\":\"error\",\"error\":\"a label\","
                   "\"errorName\":\"org.example.Jam\",\"method\":\"getError\"}"));
    const QJsonObject record = lines[2].value(QLatin1String("value")).toObject();
    QCOMPARE(record.size(), 30);
    QCOMPARE(record.value(QLatin1String("text1")).toString(), text("a"));
    QCOMPARE(record.value(QLatin1String("real1")).toDouble(), 1.5);
    QCOMPARE(record.value(QLatin1String("bytes1")).toString(), text("AQ=="));
    QCOMPARE(record.value(QLatin1String("variantList1")).toArray().at(0).toString(), text("v"));
}

void tst_CtlTraffic::escapes()
{
    daemon(M4).answerError("setUserString", "org.example.Bad", "\033[2J\nm4 fine");
    const auto ctl = trace("--count 1");
    call(M4, "setUserString", "(1, 'a\\u001b[31m\\n\\u009b')");
    QCOMPARE(ctl->exitCode(), 0);
    QVERIFY(!ctl->out().contains('\033'));
    QCOMPARE(ctl->out().count('\n'), 1);
    QVERIFY(!ctl->out().contains("\xc2\x9b"));
    QVERIFY2(ctl->out().contains("-> org.example.Bad: \\u001b[2J\\u000am4 fine\n"), ctl->out());
}

void tst_CtlTraffic::longValues()
{
    const QByteArray value(100000, 'x');
    daemon(M4).answer("m4Version", "('" + value + "',)");
    const auto asText = trace("--count 1");
    const auto asJson = trace("--count 1 --json");
    call(M4, "m4Version");
    QCOMPARE(essence(asText->out().trimmed()), "m4      m4Version -> \"" + value.left(199) + "...");
    QCOMPARE(objects(asJson->out()).value(0).value(QLatin1String("value")).toString().toLatin1(),
             value);
}

// ---- Callers --------------------------------------------------------------------------------

void tst_CtlTraffic::callerNames()
{
    daemon(M4).hold("getError");
    const QString name = text("printer-status-of-the-hall\033[31m<&>");
    QVERIFY(QFile::link(text(HNIPC_TOOLS_DIR "/hnipcctl"), m_directory->filePath(name)));
    const auto asText = trace("--count 2");
    const auto asJson = trace("--count 2 --json");
    Process process;
    process.start(m_directory->filePath(name), words("call getError"));
    QVERIFY(process.waitForStarted());
    const qint64 pid = process.processId();
    QVERIFY(isHeld(M4, 0));
    QVERIFY(knowsCallers(asText.get()) && asJson->prints("printerSoftCancel"));
    daemon(M4).answerHeld(0, "(0,)");
    QVERIFY(process.ends());

    const QJsonObject
        caller = objects(asJson->out()).value(1).value(QLatin1String("caller")).toObject();
    const QString program = isEmulated() ? name.left(15) : name; // the kernel's name is cut
    QCOMPARE(caller.value(QLatin1String("program")).toString(), program);
    QCOMPARE(qint64(caller.value(QLatin1String("pid")).toDouble()), pid);
    const QByteArray shown = isEmulated() ? "printer-status-"
                                          : "printer-status-of-the-hall\\u001b[31m<&>";
    QVERIFY2(asText->out().contains(' ' + shown + ' ' + QByteArray::number(pid) + " m4 "),
             asText->out());
}

// The bus no longer knows the caller.
void tst_CtlTraffic::callerThatHasLeft()
{
    const auto ctl = trace("--json --count 1");
    QVERIFY(ctl->halt());
    QDBusConnection bus = QDBusConnection::connectToBus(
        QString::fromLatin1(qgetenv("DBUS_SYSTEM_BUS_ADDRESS")), text("gone"));
    const QByteArray caller = bus.baseService().toLatin1();
    bus.send(QDBusMessage::createMethodCall(text("org.hnipc.m4"), text("/"), text("local.IHNIPCM4"),
                                            text("getError")));
    bus = QDBusConnection(QString());
    QDBusConnection::disconnectFromBus(text("gone"));
    QVERIFY(waitUntil([&]() {
        return m_peer
                   .call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                         "NameHasOwner", "('" + caller + "',)")
                   .body
            == "(false,)";
    }));
    ctl->send(SIGCONT);
    QCOMPARE(ctl->exitCode(), 0);
    QCOMPARE(compact(objects(ctl->out()).value(0).value(QLatin1String("caller")).toObject()),
             "{\"busName\":\"" + caller + "\"}");
}

void tst_CtlTraffic::daemonAsCaller()
{
    daemon(M4).answer("getError", "(0,)");
    const auto asText = trace("--count 1");
    const auto asJson = trace("--count 1 --json");
    daemon(SUPPLYD).call("org.hnipc.m4", "/", "local.IHNIPCM4", "getError");
    QVERIFY2(asText->out().contains(" ms supplyd " + QByteArray::number(getpid()) + ' '),
             asText->out());
    QCOMPARE(objects(asJson->out())
                 .value(0)
                 .value(QLatin1String("caller"))
                 .toObject()
                 .value(QLatin1String("daemon"))
                 .toString(),
             text("supplyd"));
}

// ---- Calls and replies -------------------------------------------------------------------------

void tst_CtlTraffic::matchesReplies()
{
    daemon(M4).hold("getError");
    daemon(SUPPLYD).hold("supplySKUCached");
    const auto ctl = trace("--json --count 4");
    // Two callers whose messages have the same serial numbers. Each makes two calls, and the
    // replies come in another order.
    const auto first = caller("getError");
    QVERIFY(isHeld(M4, 0));
    const auto second = caller("getError");
    QVERIFY(isHeld(M4, 1));
    const auto third = caller("supplySKUCached a");
    QVERIFY(isHeld(SUPPLYD, 0));
    const auto fourth = caller("supplySKUCached b");
    QVERIFY(isHeld(SUPPLYD, 1));
    daemon(SUPPLYD).answerHeld(1, "('of b',)");
    QCOMPARE(fourth->out(), QByteArray("of b\n"));
    daemon(M4).answerHeld(1, "(2,)");
    QCOMPARE(second->out(), QByteArray("2\n"));
    daemon(SUPPLYD).answerHeld(0, "('of a',)");
    QCOMPARE(third->out(), QByteArray("of a\n"));
    daemon(M4).answerHeld(0, "(1,)");
    QCOMPARE(first->out(), QByteArray("1\n"));

    QCOMPARE(ctl->exitCode(), 0);
    const QList<QJsonObject> lines = objects(ctl->out());
    QList<QByteArray> found;
    QStringList callers;
    for (const QJsonObject &line : lines) {
        found += compact({ { text("a"), line.value(QLatin1String("arguments")) },
                           { text("v"), line.value(QLatin1String("value")) } });
        callers += line.value(QLatin1String("caller"))
                       .toObject()
                       .value(QLatin1String("busName"))
                       .toString();
    }
    QCOMPARE(found,
             (QList<QByteArray> {
                 "{\"a\":{\"printerName\":\"b\"},\"v\":\"of b\"}", "{\"a\":{},\"v\":2}",
                 "{\"a\":{\"printerName\":\"a\"},\"v\":\"of a\"}", "{\"a\":{},\"v\":1}" }));
    QCOMPARE(callers.removeDuplicates(), 0);
    // The printed time is that of the call, so it can decrease from line to line here.
    QVERIFY(lines.at(3).value(QLatin1String("time")).toString()
            <= lines.at(1).value(QLatin1String("time")).toString());
    QVERIFY(lines.at(3).value(QLatin1String("duration")).toDouble()
            >= lines.at(1).value(QLatin1String("duration")).toDouble());
}

void tst_CtlTraffic::byConnectionName()
{
    daemon(M4).answer("getError", "(3,)");
    const auto ctl = trace("--count 2");
    m_peer.call(daemon(M4).uniqueName(), "/", "local.IHNIPCM4", "getError");
    m_peer.call("org.hnipc.m4", "/", QByteArray(), "getError");
    QCOMPARE(ctl->exitCode(), 0);
    const QList<QByteArray> lines = ctl->out().split('\n');
    QCOMPARE(essence(lines.value(0)), QByteArray("m4      getError -> 3"));
    QCOMPARE(essence(lines.value(1)), QByteArray("m4      getError -> 3"));
}

// A daemon that restarts releases its name before it has replied to all calls.
void tst_CtlTraffic::replyAfterNameIsReleased()
{
    daemon(M4).hold("getError");
    const auto ctl = trace("--count 2");
    const auto first = caller("getError");
    QVERIFY(isHeld(M4, 0));
    m_daemons->stop(M4);
    daemon(M4).answerHeld(0, "(4,)");
    QVERIFY(ctl->prints("getError -> 4\n"));

    // The next owner of the name is known.
    WirePeer successor;
    QVERIFY(successor.own("org.hnipc.m4"));
    successor.answer("getError", "(5,)");
    m_peer.call(successor.uniqueName(), "/", "local.IHNIPCM4", "getError");
    QCOMPARE(ctl->exitCode(), 0);
    QVERIFY(ctl->out().endsWith("getError -> 5\n"));
}

void tst_CtlTraffic::noReplyWanted()
{
    const auto asText = trace("--count 1");
    const auto asJson = trace("--count 1 --json");
    QDBusConnection bus = QDBusConnection::connectToBus(
        QString::fromLatin1(qgetenv("DBUS_SYSTEM_BUS_ADDRESS")), text("sender"));
    QDBusMessage message = QDBusMessage::createMethodCall(text("org.hnipc.m4"), text("/"),
                                                          text("local.IHNIPCM4"), text("getError"));
    bus.send(message);
    QCOMPARE(essence(asText->out().trimmed()), QByteArray("m4      getError -> no reply wanted"));
    const QJsonObject object = objects(asJson->out()).value(0);
    QCOMPARE(object.value(QLatin1String("end")).toString(), text("no reply wanted"));
    QVERIFY(!object.contains(QLatin1String("duration")));
    QDBusConnection::disconnectFromBus(text("sender"));
}

void tst_CtlTraffic::absentDaemon()
{
    m_daemons->stop(M4);
    const auto ctl = trace("--count 1");
    call(M4, "getError");
    QCOMPARE(ctl->exitCode(), 0);
    QVERIFY2(essence(ctl->out().trimmed())
                 .startsWith("m4      getError -> org.freedesktop.DBus.Error.ServiceUnknown: "),
             ctl->out());
}

void tst_CtlTraffic::daemonLeaves()
{
    daemon(M4).hold("getAlert");
    daemon(M4).leaveOn("getError");
    const auto asText = trace("--count 2");
    const auto asJson = trace("--count 2 --json");
    const auto held = caller("getAlert");
    QVERIFY(isHeld(M4, 0));
    call(M4, "getError");
    QCOMPARE(asText->exitCode(), 0);
    const QList<QByteArray> lines = asText->out().split('\n');
    QCOMPARE(essence(lines.value(0)),
             QByteArray("m4      getAlert -> m4 left the bus without a reply"));
    QCOMPARE(essence(lines.value(1)),
             QByteArray("m4      getError -> m4 left the bus without a reply"));
    const QJsonObject object = objects(asJson->out()).value(0);
    QCOMPARE(object.value(QLatin1String("end")).toString(), text("daemon left"));
    QVERIFY(object.contains(QLatin1String("duration")));
}

void tst_CtlTraffic::callerLeaves()
{
    daemon(M4).hold("getError");
    daemon(M4).answer("getAlert", "(0,)");
    const auto asText = trace("--count 2");
    const auto asJson = trace("--count 2 --json");
    const auto held = caller("getError");
    QVERIFY(isHeld(M4, 0));
    held->send(SIGKILL);
    QVERIFY(held->ends());
    QVERIFY(asText->prints("m4      getError -> the caller left the bus before the reply\n"));
    // A late reply is not taken for the reply to another call.
    daemon(M4).answerHeld(0, "(6,)");
    call(M4, "getAlert");
    QCOMPARE(asText->exitCode(), 0);
    QCOMPARE(asText->out().count('\n'), 2);
    QVERIFY(asText->out().endsWith("getAlert -> 0\n"));
    QCOMPARE(objects(asJson->out()).value(0).value(QLatin1String("end")).toString(),
             text("caller left"));
}

void tst_CtlTraffic::pendingAtEnd()
{
    daemon(M4).hold("getError");
    const auto asText = trace("");
    const auto asJson = trace("--json");
    const auto held = caller("getError");
    QVERIFY(isHeld(M4, 0));
    QVERIFY(knowsCallers(asText.get()) && asJson->prints("printerSoftCancel"));
    asText->interrupt();
    asJson->interrupt();
    QCOMPARE(asText->exitCode(), 130);
    QCOMPARE(essence(asText->out().split('\n').value(1)),
             QByteArray("m4      getError -> no reply until the trace ended"));
    QCOMPARE(asJson->exitCode(), 130);
    const QJsonObject object = objects(asJson->out()).value(1);
    QCOMPARE(object.value(QLatin1String("end")).toString(), text("pending"));
    QVERIFY(object.contains(QLatin1String("duration")));
}

void tst_CtlTraffic::beforeTheTrace()
{
    daemon(M4).hold("getError");
    const auto held = caller("getError");
    QVERIFY(isHeld(M4, 0));
    const auto asText = trace("--count 1");
    const auto asJson = trace("--count 1 --json");
    const auto others = trace("--count 1 getAlert --summary --json");
    daemon(M4).answerHeld(0, "(7,)");
    QCOMPARE(asText->exitCode(), 0);
    QCOMPARE(essence(asText->out().trimmed()),
             QByteArray("m4      (called before the trace began) -> 7"));
    const QJsonObject object = objects(asJson->out()).value(0);
    QCOMPARE(object.value(QLatin1String("value")).toInt(), 7);
    for (const char *key : { "method", "arguments", "duration" }) {
        QVERIFY2(!object.contains(QLatin1String(key)), key);
    }
    daemon(M4).answer("getAlert", "(0,)");
    call(M4, "getAlert");
    const QList<QJsonObject> lines = objects(others->out());
    QCOMPARE(lines.size(), 2);
    QCOMPARE(lines.at(0).value(QLatin1String("method")).toString(), text("getAlert"));
    QCOMPARE(lines.at(1)
                 .value(QLatin1String("summary"))
                 .toObject()
                 .value(QLatin1String("older"))
                 .toInt(),
             1);
}

// Calls of other programs, and the daemons' own calls and their replies, are not printed.
void tst_CtlTraffic::otherCalls()
{
    WirePeer other;
    QVERIFY(other.own("org.example.other"));
    other.answer("getError", "(1,)");
    daemon(M4).answer("getError", "(8,)");
    const auto ctl = trace("--json --count 1 --summary");
    m_peer.call("org.example.other", "/", "local.IHNIPCM4", "getError");
    daemon(M4).call("org.example.other", "/", "local.IHNIPCM4", "getError");
    m_peer.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetId");
    call(M4, "getError");
    const QList<QJsonObject> lines = objects(ctl->out());
    QCOMPARE(lines.size(), 2);
    QCOMPARE(lines.at(0).value(QLatin1String("value")).toInt(), 8);
    const QJsonObject summary = lines.at(1).value(QLatin1String("summary")).toObject();
    QCOMPARE(summary.value(QLatin1String("calls")).toInt(), 1);
    QCOMPARE(summary.value(QLatin1String("older")).toInt(), 0);
}

// ---- Options -----------------------------------------------------------------------------------

void tst_CtlTraffic::pattern_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QByteArray>("methods");

    QTest::newRow("part") << text("aler") << QByteArray("getAlert setAlert ");
    QTest::newRow("case") << text("GETA") << QByteArray("getAlert ");
    QTest::newRow("whole") << text("get*") << QByteArray("getError getAlert ");
    QTest::newRow("pulse") << text("pulse*") << QByteArray("pulseM4ErrorSignal ");
    QTest::newRow("another interface")
        << text("*.Introspect") << QByteArray("org.freedesktop.DBus.Introspectable.Introspect ");
}

void tst_CtlTraffic::pattern()
{
    QFETCH(QString, pattern);
    QFETCH(QByteArray, methods);

    daemon(M4).answerAll("(0,)");
    daemon(M4).setIntrospection("<node/>");
    const auto ctl = trace(("--json --summary " + pattern.toLatin1()).constData());
    call(M4, "getError");
    call(M4, "getAlert");
    call(M4, "setAlert", "(1,)");
    call(M4, "pulseM4ErrorSignal", "(1,)");
    m_peer.call("org.hnipc.m4", "/", "org.freedesktop.DBus.Introspectable", "Introspect");
    const QByteArray last = methods.trimmed().split(' ').last();
    QVERIFY(ctl->prints("\"method\":\"" + last + '"'));
    ctl->interrupt();
    QCOMPARE(ctl->exitCode(), 130);
    QByteArray found;
    const QList<QJsonObject> lines = objects(ctl->out());
    for (const QJsonObject &line : lines) {
        found += line.contains(QLatin1String("method"))
            ? line.value(QLatin1String("method")).toString().toLatin1() + ' '
            : QByteArray();
    }
    QCOMPARE(found, methods);
    QCOMPARE(lines.last()
                 .value(QLatin1String("summary"))
                 .toObject()
                 .value(QLatin1String("calls"))
                 .toInt(),
             int(methods.count(' ')));
}

void tst_CtlTraffic::unknownPattern_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QByteArray>("message");

    QTest::newRow("misspelt") << text("forwardFed")
                              << QByteArray("no method matches \"forwardFed\"; did you mean "
                                            "forwardFeed?");
    QTest::newRow("another word") << text("zzzzzzzzzz")
                                  << QByteArray("no method matches \"zzzzzzzzzz\"");
}

void tst_CtlTraffic::unknownPattern()
{
    QFETCH(QString, pattern);
    QFETCH(QByteArray, message);

    Ctl ctl({ text("trace"), pattern });
    QCOMPARE(ctl.exitCode(), 7);
    QCOMPARE(ctl.err(), "hnipcctl: " + message + '\n');
    QCOMPARE(ctl.out(), QByteArray());
}

void tst_CtlTraffic::slow()
{
    daemon(M4).hold("getError");
    daemon(M4).answer("getAlert", "(0,)");
    const auto ctl = trace("--slow 1000 --count 1 --summary --json");
    call(M4, "getAlert");
    const auto held = caller("getError");
    QVERIFY(isHeld(M4, 0));
    QElapsedTimer elapsed;
    elapsed.start();
    QVERIFY(waitUntil([&]() { return elapsed.elapsed() > 1200; })); // the call's duration
    daemon(M4).answerHeld(0, "(9,)");
    QCOMPARE(ctl->exitCode(), 0);
    const QList<QJsonObject> lines = objects(ctl->out());
    QCOMPARE(lines.size(), 2);
    QCOMPARE(lines.at(0).value(QLatin1String("method")).toString(), text("getError"));
    QVERIFY(lines.at(0).value(QLatin1String("duration")).toDouble() >= 1000);
    // The summary counts all calls.
    QCOMPARE(lines.at(1)
                 .value(QLatin1String("summary"))
                 .toObject()
                 .value(QLatin1String("calls"))
                 .toInt(),
             2);
}

void tst_CtlTraffic::count()
{
    daemon(M4).answer("getError", "(0,)");
    daemon(M4).hold("getAlert");
    const auto ctl = trace("--count 2");
    const auto held = caller("getAlert");
    QVERIFY(isHeld(M4, 0));
    call(M4, "getError");
    QVERIFY(ctl->prints("\n"));
    QVERIFY(ctl->isRunning());
    call(M4, "getError");
    call(M4, "getError");
    QCOMPARE(ctl->exitCode(), 0);
    QCOMPARE(ctl->out().count('\n'), 2); // without the pending calls
}

void tst_CtlTraffic::wrongUsage_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("message");

    const auto row = [](const char *name, const QStringList &arguments, int exitCode,
                        const char *message) {
        QTest::newRow(name) << arguments << exitCode << QByteArray(message);
    };
    row("no number", words("--slow fast"), 2,
        "--slow: \"fast\" is not a number of milliseconds from 1 to 2147483647");
    row("zero", words("--slow 0"), 2,
        "--slow: \"0\" is not a number of milliseconds from 1 to 2147483647");
    row("no count", words("--count 0"), 2, "--count: \"0\" is not a number from 1 to 2147483647");
    // clang-format off
    row("no picture", { text("--picture="), }, 2, "--picture needs the name of a file, not \"\"");
    // clang-format on
    row("output", words("--picture -"), 2, "--picture needs the name of a file, not \"-\"");
    row("force alone", words("--force"), 2, "--force needs --picture");
    row("two patterns", words("a b"), 2,
        "usage: hnipcctl trace [--slow MS] [--count N] [--summary] [--picture FILE] [--force] "
        "[PATTERN]");
    row("no directory", words("--picture /nonexistent/p.svg"), 1,
        "/nonexistent/p.svg: No such file or directory");
    row("two printers", words("--host a --host b"), 2,
        "trace is for one printer at a time; 2 are given; see hnipcctl --help");
}

void tst_CtlTraffic::wrongUsage()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, message);

    Ctl ctl(words("trace") + arguments);
    QCOMPARE(ctl.exitCode(), exitCode);
    QCOMPARE(ctl.err(), "hnipcctl: " + message + '\n');
    Ctl json(words("trace --json") + arguments);
    QCOMPARE(json.exitCode(), exitCode);
    QCOMPARE(objects(json.out()).value(0).value(QLatin1String("exit")).toInt(), exitCode);
}

void tst_CtlTraffic::ends_data()
{
    QTest::addColumn<int>("signal");
    QTest::addColumn<int>("exitCode");
    QTest::newRow("Ctrl-C") << int(SIGINT) << 130;
    QTest::newRow("SIGTERM") << int(SIGTERM) << 143;
    QTest::newRow("SIGHUP") << int(SIGHUP) << 129;
}

void tst_CtlTraffic::ends()
{
    QFETCH(int, signal);
    QFETCH(int, exitCode);

    daemon(M4).answer("getError", "(0,)");
    const auto ctl = trace(("--summary --picture " + path("p.svg").toUtf8()).constData());
    call(M4, "getError");
    QVERIFY(ctl->prints("getError -> 0\n"));
    ctl->send(signal);
    QCOMPARE(ctl->exitCode(), exitCode);
    QVERIFY(ctl->out().contains("\n1 call in "));
    QCOMPARE(Picture(content(path("p.svg"))).bars,
             words("call").replaceInStrings(text("call"), text("call d1")));
}

void tst_CtlTraffic::busLost()
{
    BusProcess bus;
    Ctl ctl(words("trace --summary --address")
            << bus.address() << text("--picture") << path("p.svg"));
    QVERIFY(ctl.complains("tracing"));
    bus.kill();
    QCOMPARE(ctl.exitCode(), 3);
    QVERIFY(ctl.err().endsWith("hnipcctl: the bus connection was lost\n"));
    QVERIFY(ctl.out().startsWith("\n0 calls in "));
    QVERIFY(Picture(content(path("p.svg"))).texts.contains(text("No calls.")));
}

void tst_CtlTraffic::noRight()
{
    BusProcess bus("<deny send_destination='org.freedesktop.DBus' "
                   "send_interface='org.freedesktop.DBus.Monitoring'/>");
    const QByteArray message = "no right to trace: the bus lets only root, and the user whom the "
                               "bus itself runs as, see "
                               "the calls of others; try: sudo hnipcctl trace";
    Ctl ctl(words("trace --address") << bus.address() << text("--picture") << path("p.svg"));
    QCOMPARE(ctl.exitCode(), 3);
    QCOMPARE(ctl.err(), "hnipcctl: " + message + '\n');
    QVERIFY(!QFile::exists(path("p.svg")));
    Ctl json(words("trace --json --address") << bus.address());
    QCOMPARE(json.exitCode(), 3);
    QCOMPARE(
        objects(json.out()).value(0),
        (QJsonObject { { text("error"), QString::fromLatin1(message) }, { text("exit"), 3 } }));
}

void tst_CtlTraffic::closedPipe()
{
    daemon(M4).answer("getError", "(0,)");
    QScopedPointer<Ctl> ctl(Ctl::inShell(text("hnipcctl trace | head -1; echo ${PIPESTATUS[0]}")));
    QVERIFY(ctl->complains("tracing"));
    QVERIFY(waitUntil([&]() {
        call(M4, "getError");
        return !ctl->isRunning();
    }));
    QVERIFY2(ctl->out().endsWith("getError -> 0\n0\n"), ctl->out());
    QCOMPARE(ctl->err(),
             QByteArray("hnipcctl: tracing the calls of ioexpd, m4, supplyd; Ctrl-C ends\n"));
}

// ---- The summary -------------------------------------------------------------------------------

// The summary's numbers of a method equal those of its lines.
void tst_CtlTraffic::summary()
{
    daemon(M4).answer("getError", "(0,)");
    daemon(SUPPLYD).answerError("supplySKUList", "org.example.Empty", "none");
    const auto ctl = trace("--json --summary --count 43");
    for (int i = 0; i < 40; ++i) {
        call(M4, "getError");
    }
    for (int i = 0; i < 3; ++i) {
        call(SUPPLYD, "supplySKUList");
    }
    QCOMPARE(ctl->exitCode(), 0);
    QList<QJsonObject> lines = objects(ctl->out());
    QCOMPARE(lines.size(), 44);
    const QJsonObject summary = lines.takeLast().value(QLatin1String("summary")).toObject();
    QCOMPARE(summary.value(QLatin1String("calls")).toInt(), 43);
    QCOMPARE(summary.value(QLatin1String("lost")).toInt(-1), 0);

    std::vector<double> durations;
    double sum = 0;
    for (const QJsonObject &line : lines) {
        sum += line.value(QLatin1String("duration")).toDouble();
        if (line.value(QLatin1String("daemon")).toString() == text("m4")) {
            durations.push_back(line.value(QLatin1String("duration")).toDouble());
        }
    }
    std::sort(durations.begin(), durations.end());
    QCOMPARE(int(durations.size()), 40);
    QMap<QString, QJsonObject> methods;
    const QJsonArray rows = summary.value(QLatin1String("methods")).toArray();
    for (const QJsonValue &row : rows) {
        methods[row.toObject().value(QLatin1String("method")).toString()] = row.toObject();
    }
    QCOMPARE(methods.keys(), words("getError supplySKUList"));
    const QJsonObject error = methods.value(text("getError"));
    QCOMPARE(error.value(QLatin1String("daemon")).toString(), text("m4"));
    QCOMPARE(error.value(QLatin1String("calls")).toInt(), 40);
    QCOMPARE(error.value(QLatin1String("failed")).toInt(-1), 0);
    QCOMPARE(error.value(QLatin1String("median")).toDouble(), durations[19]);
    QCOMPARE(error.value(QLatin1String("p95")).toDouble(), durations[37]);
    QCOMPARE(error.value(QLatin1String("longest")).toDouble(), durations[39]);
    const QJsonObject list = methods.value(text("supplySKUList"));
    QCOMPARE(list.value(QLatin1String("calls")).toInt(), 3);
    QCOMPARE(list.value(QLatin1String("failed")).toInt(), 3);
    QCOMPARE(list.value(QLatin1String("unanswered")).toInt(-1), 0);

    const QJsonArray callers = summary.value(QLatin1String("callers")).toArray();
    QCOMPARE(callers.size(), 1);
    const QJsonObject only = callers.at(0).toObject();
    QCOMPARE(only.value(QLatin1String("pid")).toInt(), int(getpid()));
    QCOMPARE(only.value(QLatin1String("calls")).toInt(), 43);
    QCOMPARE(only.value(QLatin1String("atOnce")).toInt(), 1);
    // Calls one after the other: the sum, apart from the rounding of each line to a microsecond.
    const double waited = only.value(QLatin1String("blocked")).toDouble();
    QVERIFY2(waited >= sum - 0.001 && waited <= sum + 0.044, QByteArray::number(waited - sum));
}

void tst_CtlTraffic::summaryText()
{
    daemon(M4).answer("getError", "(0,)");
    const auto ctl = trace("--summary --count 2");
    call(M4, "getError");
    call(M4, "setAlert", "(1,)");
    QCOMPARE(ctl->exitCode(), 0);
    QList<QByteArray> lines = ctl->out().split('\n');
    lines = lines.mid(2); // the calls
    QVERIFY2(QRegularExpression(text("^2 calls in \\d+\\.\\d s$"))
                 .match(QString::fromLatin1(lines.value(1)))
                 .hasMatch(),
             lines.value(1));
    QCOMPARE(lines.value(3).simplified(),
             QByteArray("METHOD calls median 95 % longest failed no reply"));
    QList<QByteArray> methods;
    for (const QByteArray &line : lines.mid(4, 2)) {
        methods += QString::fromLatin1(line.simplified())
                       .replace(QRegularExpression(text("\\d+\\.\\d\\d ms")), text("T"))
                       .toLatin1();
    }
    std::sort(methods.begin(), methods.end());
    QCOMPARE(methods, (QList<QByteArray> { "m4 getError 1 T T T 0 0", "m4 setAlert 1 T T T 1 0" }));
    QCOMPARE(lines.value(7).simplified(), QByteArray("CALLER calls blocked at once"));
    QVERIFY2(QRegularExpression(QStringLiteral("^[^ ]+ %1 2 \\d+\\.\\d\\d ms 1$").arg(getpid()))
                 .match(QString::fromLatin1(lines.value(8).simplified()))
                 .hasMatch(),
             lines.value(8));
    // The columns are aligned.
    QCOMPARE(lines.value(4).size(), lines.value(3).size());
    QCOMPARE(lines.value(8).size(), lines.value(7).size());
}

void tst_CtlTraffic::summaryOfPending()
{
    daemon(M4).hold("getError");
    const auto ctl = trace("--json --summary");
    auto left = caller("getError");
    QVERIFY(isHeld(M4, 0));
    left->send(SIGKILL);
    QVERIFY(ctl->prints("caller left"));
    const auto pending = caller("getError");
    QVERIFY(isHeld(M4, 1));
    QVERIFY(knowsCallers(ctl.get()));
    ctl->interrupt();
    QCOMPARE(ctl->exitCode(), 130);
    const QJsonArray methods = objects(ctl->out())
                                   .last()
                                   .value(QLatin1String("summary"))
                                   .toObject()
                                   .value(QLatin1String("methods"))
                                   .toArray();
    QCOMPARE(methods.size(), 2);
    const int place = methods.at(0).toObject().value(QLatin1String("method")).toString()
            == text("getError")
        ? 0
        : 1;
    const QJsonObject method = methods.at(place).toObject();
    QCOMPARE(method.value(QLatin1String("calls")).toInt(), 2);
    QCOMPARE(method.value(QLatin1String("unanswered")).toInt(), 2);
    QCOMPARE(method.value(QLatin1String("failed")).toInt(-1), 0);
    QVERIFY(method.value(QLatin1String("longest")).toDouble() > 0);
}

// The time of calls that are pending at the same time counts once.
void tst_CtlTraffic::blocked()
{
    daemon(M4).hold("getError");
    const auto ctl = trace("--json --summary --count 3");
    QDBusConnection bus = QDBusConnection::connectToBus(
        QString::fromLatin1(qgetenv("DBUS_SYSTEM_BUS_ADDRESS")), text("several"));
    const QDBusMessage message = QDBusMessage::createMethodCall(
        text("org.hnipc.m4"), text("/"), text("local.IHNIPCM4"), text("getError"));
    for (int i = 0; i < 3; ++i) {
        bus.asyncCall(message);
        QVERIFY(isHeld(M4, i));
    }
    for (int i = 0; i < 3; ++i) {
        daemon(M4).answerHeld(i, "(0,)");
    }
    QCOMPARE(ctl->exitCode(), 0);
    QDBusConnection::disconnectFromBus(text("several"));
    const QList<QJsonObject> lines = objects(ctl->out());
    double sum = 0;
    double longest = 0;
    for (const QJsonObject &line : lines) {
        const double duration = line.value(QLatin1String("duration")).toDouble();
        sum += duration;
        longest = qMax(longest, duration);
    }
    const QJsonObject only = lines.last()
                                 .value(QLatin1String("summary"))
                                 .toObject()
                                 .value(QLatin1String("callers"))
                                 .toArray()
                                 .at(0)
                                 .toObject();
    QCOMPARE(only.value(QLatin1String("atOnce")).toInt(), 3);
    const double waited = only.value(QLatin1String("blocked")).toDouble();
    QVERIFY(waited >= longest);
    QVERIFY2(waited < sum, QByteArray::number(waited) + " of " + QByteArray::number(sum));
}

// With so many callers, the table and the picture have one row for each program.
void tst_CtlTraffic::manyCallers()
{
    daemon(M4).hold("getError");
    const auto ctl = trace(
        ("--summary --count 41 --picture " + path("p.svg").toUtf8()).constData());
    std::vector<std::unique_ptr<Ctl>> callers;
    for (int i = 0; i < 40; ++i) {
        callers.push_back(caller("getError"));
    }
    QVERIFY(isHeld(M4, 39));
    QVERIFY(knowsCallers(ctl.get()));
    for (int i = 0; i < 40; ++i) {
        daemon(M4).answerHeld(i, "(0,)");
    }
    QCOMPARE(ctl->exitCode(), 0);
    const QByteArray table = ctl->out().mid(ctl->out().indexOf("\nCALLER") + 1);
    QCOMPARE(table.count('\n'), 3);
    QVERIFY2(table.contains("\nhnipcctl (40 connections) "), table);
    const Picture picture(content(path("p.svg")));
    QCOMPARE(int(picture.bars.size()), 41);
    QVERIFY(picture.texts.contains(text("hnipcctl (40 connections)")));
}

void tst_CtlTraffic::keepsUp()
{
    daemon(M4).answer("forwardFeed", "(true,)");
    const int total = 21000;
    const auto ctl = trace(
        ("--json --summary --count 21000 --picture " + path("p.svg").toUtf8()).constData());
    QDBusConnection bus = QDBusConnection::connectToBus(
        QString::fromLatin1(qgetenv("DBUS_SYSTEM_BUS_ADDRESS")), text("flood"));
    for (int i = 0; i < total; ++i) {
        QDBusMessage message = QDBusMessage::createMethodCall(
            text("org.hnipc.m4"), text("/"), text("local.IHNIPCM4"), text("forwardFeed"));
        message << uint(i);
        // As many as the bus allows to be pending.
        if (i % 100 == 99) {
            bus.call(message, QDBus::Block);
        } else {
            bus.asyncCall(message);
        }
    }
    QCOMPARE(ctl->exitCode(), 0);
    QDBusConnection::disconnectFromBus(text("flood"));
    QList<QJsonObject> lines = objects(ctl->out());
    const QJsonObject summary = lines.takeLast().value(QLatin1String("summary")).toObject();
    QCOMPARE(lines.size(), total);
    QSet<int> steps;
    for (const QJsonObject &line : lines) {
        steps += line.value(QLatin1String("arguments"))
                     .toObject()
                     .value(QLatin1String("steps"))
                     .toInt();
    }
    QCOMPARE(int(steps.size()), total);
    QCOMPARE(summary.value(QLatin1String("calls")).toInt(), total);
    QCOMPARE(summary.value(QLatin1String("lost")).toInt(-1), 0);

    const Picture picture(content(path("p.svg")));
    QCOMPARE(picture.error, QString());
    QVERIFY(picture.texts.contains(text("20000 calls of 1 caller, 0 events; the last ones of 21000 "
                                        "calls")));
    QVERIFY(picture.bars.size() >= 20000); // some continue in the next strip
    QVERIFY2(picture.left >= 220 && picture.right <= 1582, QByteArray::number(picture.right));
}

void tst_CtlTraffic::reportsLostCalls()
{
    const QString gate = path("gate");
    QCOMPARE(runProgram(text("mkfifo"), { gate }).code, 0);
    daemon(M4).answer("m4Version", "('" + QByteArray(1 << 20, 'x') + "',)");
    const int total = 100;
    // The output is not read until the gate opens.
    QScopedPointer<Ctl> ctl(Ctl::inShell(
        QStringLiteral("hnipcctl trace --json --summary --count %1 | { read < %2; cut -c 1-60; }")
            .arg(QString::number(total), gate)));
    QVERIFY(ctl->complains("tracing"));
    for (int i = 0; i < total; ++i) {
        QCOMPARE(call(M4, "m4Version").type, WireMessage::MethodReturn);
    }
    const bool saysSo = ctl->complains(
        "standard output is not read fast enough: some calls are not printed\n");
    QFile opened(gate);
    QVERIFY(opened.open(QIODevice::WriteOnly) && opened.write("\n") == 1);
    opened.close();
    QVERIFY(ctl->ends());
    QVERIFY(saysSo);
    int printed = 0;
    int lost = 0;
    for (const QByteArray &line : ctl->out().split('\n')) {
        printed += line.startsWith("{\"arguments\":");
        lost += objects(line).value(0).value(QLatin1String("lost")).toInt();
    }
    QVERIFY2(lost > 0, ctl->out());
    QCOMPARE(printed + lost, total);
    // On a slow machine, calls may be lost several times.
    static const QRegularExpression note(
        text("^hnipcctl: (?:(1) call is|(\\d+) calls are) not printed here$"));
    int noted = 0;
    for (const QByteArray &line : ctl->err().split('\n')) {
        const QRegularExpressionMatch match = note.match(text(line.constData()));
        noted += match.captured(1).toInt() + match.captured(2).toInt();
    }
    QVERIFY2(noted == lost, ctl->err());
}

// ---- The picture -------------------------------------------------------------------------------

void tst_CtlTraffic::picture()
{
    daemon(IOEXPD).answer("enableBacklight", "()");
    daemon(M4).answer("getError", "(0,)");
    daemon(M4).hold("getAlert");
    const QString file = path("p.svg");
    const auto ctl = trace(("--picture " + file.toUtf8()).constData());
    QVERIFY(m_daemons->emitSignal(M4, "M4_M4PrinterLid", "(true,)"));
    call(IOEXPD, "enableBacklight", "(true,)");
    call(M4, "getError");
    call(SUPPLYD, "supplySKUList");
    QVERIFY(m_daemons->emitSignal(SUPPLYD, "SUPPLYD_SupplyChanged", "('A', 'p')"));
    const auto pending = caller("getAlert");
    QVERIFY(isHeld(M4, 0));
    QVERIFY(knowsCallers(ctl.get()));
    ctl->interrupt();
    QCOMPARE(ctl->exitCode(), 130);

    const Picture picture(content(file));
    QCOMPARE(picture.error, QString());
    QStringList bars = picture.bars;
    bars.sort();
    QCOMPARE(bars,
             (QStringList { text("call d0"), text("call d0"), text("call d1"), text("call d1 open"),
                            text("call d2") }));
    QCOMPARE(picture.failed, 1);
    QCOMPARE(picture.ticks, (QStringList { text("tick t1"), text("tick t2") }));
    const auto hasTitle = [&](const QString &form) {
        return !picture.titles.filter(QRegularExpression(form)).isEmpty();
    };
    QVERIFY(hasTitle(QStringLiteral("^m4 getError, \\d+\\.\\d\\d ms, [^ ]+ %1, "
                                    "\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d$")
                         .arg(getpid())));
    QVERIFY(hasTitle(text("^supplyd supplySKUList, .*, error reply$")));
    QVERIFY(hasTitle(text("^m4 getAlert, .*, hnipcctl \\d+, .*, no reply until the trace ended$")));
    QVERIFY(hasTitle(text("^m4 M4_M4PrinterLid, \\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d$")));
    QVERIFY(picture.texts.contains(text("5 calls of 2 callers, 2 events")));
    QVERIFY(picture.left >= 220 && picture.right <= 1582);
}

void tst_CtlTraffic::emptyPicture()
{
    const auto ctl = trace(("--picture " + path("p.svg").toUtf8()).constData());
    ctl->interrupt();
    QCOMPARE(ctl->exitCode(), 130);
    const Picture picture(content(path("p.svg")));
    QCOMPARE(picture.error, QString());
    QVERIFY(picture.texts.contains(text("No calls.")));
}

void tst_CtlTraffic::keepsPicture()
{
    QFile file(path("p.svg"));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(QByteArray(100000, 'x')) == 100000);
    file.close();
    Ctl refused(words("trace --picture") << file.fileName());
    QCOMPARE(refused.exitCode(), 1);
    QCOMPARE(refused.err(),
             "hnipcctl: " + file.fileName().toUtf8() + " exists already; --force overwrites it\n");
    QCOMPARE(content(file.fileName()), QByteArray(100000, 'x'));

    daemon(M4).answer("getError", "(0,)");
    const auto forced = trace(
        ("--count 1 --force --picture " + file.fileName().toUtf8()).constData());
    call(M4, "getError");
    QCOMPARE(forced->exitCode(), 0);
    const Picture picture(content(file.fileName()));
    QCOMPARE(picture.error, QString());
    QCOMPARE(picture.bars.size(), 1);

    Ctl full(words("trace --force --picture /dev/full"));
    QCOMPARE(full.exitCode(), 1);
    QCOMPARE(full.err(), QByteArray("hnipcctl: /dev/full: No space left on device\n"));
}

void tst_CtlTraffic::pictureOfKilled()
{
    const auto ctl = trace(("--picture " + path("p.svg").toUtf8()).constData());
    ctl->send(SIGKILL);
    QVERIFY(ctl->ends());
    const Picture picture(content(path("p.svg")));
    QCOMPARE(picture.error, QString());
    QVERIFY(picture.texts.contains(text("hnipcctl was ended before it could draw the calls.")));
}

// A program may have any name.
void tst_CtlTraffic::pictureNames()
{
    daemon(M4).hold("getError");
    const QString name = text("<&>\"'\001\xef\xbf\xbe");
    QVERIFY(QFile::link(text(HNIPC_TOOLS_DIR "/hnipcctl"), m_directory->filePath(name)));
    const auto ctl = trace(("--count 2 --picture " + path("p.svg").toUtf8()).constData());
    Process process;
    process.start(m_directory->filePath(name), words("call getError"));
    QVERIFY(process.waitForStarted());
    const QString pid = QString::number(process.processId());
    QVERIFY(isHeld(M4, 0));
    QVERIFY(knowsCallers(ctl.get()));
    daemon(M4).answerHeld(0, "(0,)");
    QCOMPARE(ctl->exitCode(), 0);
    QVERIFY(process.ends());
    const Picture picture(content(path("p.svg")));
    QCOMPARE(picture.error, QString());
    QVERIFY2(picture.texts.contains(text("<&>\"'\\u0001\xef\xbf\xbd ") + pid),
             qPrintable(picture.texts.join(QLatin1Char('|'))));
}

// ---- In a sandbox ------------------------------------------------------------------------------

// In a sandbox any user may trace.
void tst_CtlTraffic::sandbox()
{
    QScopedPointer<Ctl> ctl(Ctl::inShell(
        text("hnipc-sandbox --daemons m4 -- bash -c 'hnipcctl trace --count 1 getError & "
             "while kill -0 $! 2>&-; do hnipcctl call getError >&-; done; wait $!'")));
    QCOMPARE(ctl->exitCode(), 0);
    QCOMPARE(essence(ctl->out().trimmed()), QByteArray("m4      getError -> 0"));
}

HNIPC_TEST_MAIN(tst_CtlTraffic)
#include "tst_ctl_traffic.moc"
