// SPDX-License-Identifier: MIT
#include "contract/interfaces.h"
#include "ctlprogram.h"
#include "expected/clientsignals.h"
#include "expected/clientslots.h"
#include "expected/properties.h"
#include "expected/samples.h"
#include "support/fakedaemons.h"
#include "support/onbroker.h"
#include "support/privatebus.h"
#include "support/program.h"
#include "support/qtmajors.h"

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QScopedPointer>
#include <QtCore/QSemaphore>
#include <QtCore/QTemporaryDir>

#include <algorithm>
#include <memory>
#include <unistd.h>

using namespace Expected;

namespace {

QByteArray nameOf(const char *signature)
{
    return QByteArray(signature).left(QByteArray(signature).indexOf('('));
}

QList<QByteArray> list(QByteArray parts, char separator = ',')
{
    return parts.isEmpty() ? QList<QByteArray>() : parts.split(separator);
}

QList<QByteArray> typesOf(const QByteArray &signature)
{
    return list(signature.mid(signature.indexOf('(') + 1).chopped(1));
}

QJsonObject object(const QByteArray &json) { return QJsonDocument::fromJson(json).object(); }

QJsonArray array(const QByteArray &json) { return QJsonDocument::fromJson(json).array(); }

QList<QByteArray> lines(QByteArray output)
{
    return list(output.endsWith('\n') ? output.chopped(1) : output, '\n');
}

// The samples of a type as "call" prints them, and as an array of their JSON values.
struct Shown
{
    const char *type;
    QList<QByteArray> printed;
    const char *json;
};

QByteArray initialRecord()
{
    QByteArray result;
    for (const RecordField &field : recordFields) {
        const QByteArray type = field.type;
        const QByteArray value = type == "s"       ? "\"\""
            : type == "ay"                         ? "0 bytes"
            : type.startsWith('a')                 ? "[]"
            : field.name == QByteArray("integer5") ? "1"
                                                   : "-1";
        result += (QByteArray(field.name) + ':').leftJustified(14) + value + '\n';
    }
    return result;
}

const char tellingRecordPrinted[] = "text1:        \"text \xc3\xa4 1\"\n"
                                    "textList1:    [\"list\",\"\",\"one\"]\n"
                                    "real1:        1.5\n"
                                    "integer1:     101\n"
                                    "text2:        \"text 2\"\n"
                                    "real2:        -2.25\n"
                                    "integer2:     -102\n"
                                    "text3:        \"text 3\"\n"
                                    "integer3:     2147483647\n"
                                    "text4:        \"text 4\"\n"
                                    "integer4:     -2147483648\n"
                                    "text5:        \"text 5\"\n"
                                    "real3:        3.125\n"
                                    "integer5:     105\n"
                                    "bytes1:       4 bytes: 00 ff 00 7f\n"
                                    "real4:        4.5\n"
                                    "real5:        5.5\n"
                                    "integer6:     106\n"
                                    "integer7:     107\n"
                                    "integer8:     108\n"
                                    "real6:        6.5\n"
                                    "real7:        7.5\n"
                                    "real8:        8.5\n"
                                    "real9:        9.5\n"
                                    "textList2:    [\"list two\"]\n"
                                    "variantList1: [1,\"two\"]\n"
                                    "variantList2: [true]\n"
                                    "variantList3: [3,\"33\"]\n"
                                    "variantList4: [4.5]\n"
                                    "variantList5: [\"five\",5,[\"v\",\"w\"]]\n";

const char recordsJson[] =
    "[{\"text1\":\"\",\"textList1\":[],\"real1\":-1,\"integer1\":-1,\"text2\":\"\",\"real2\":-1,"
    "\"integer2\":-1,\"text3\":\"\",\"integer3\":-1,\"text4\":\"\",\"integer4\":-1,\"text5\":\"\","
    "\"real3\":-1,\"integer5\":1,\"bytes1\":\"\",\"real4\":-1,\"real5\":-1,\"integer6\":-1,"
    "\"integer7\":-1,\"integer8\":-1,\"real6\":-1,\"real7\":-1,\"real8\":-1,\"real9\":-1,"
    "\"textList2\":[],\"variantList1\":[],\"variantList2\":[],\"variantList3\":[],"
    "\"variantList4\":[],\"variantList5\":[]},"
    "{\"text1\":\"text \xc3\xa4 1\",\"textList1\":[\"list\",\"\",\"one\"],\"real1\":1.5,"
    "\"integer1\":101,\"text2\":\"text 2\",\"real2\":-2.25,\"integer2\":-102,\"text3\":\"text 3\","
    "\"integer3\":2147483647,\"text4\":\"text 4\",\"integer4\":-2147483648,\"text5\":\"text 5\","
    "\"real3\":3.125,\"integer5\":105,\"bytes1\":\"AP8Afw==\",\"real4\":4.5,\"real5\":5.5,"
    "\"integer6\":106,\"integer7\":107,\"integer8\":108,\"real6\":6.5,\"real7\":7.5,\"real8\":8.5,"
    "\"real9\":9.5,\"textList2\":[\"list two\"],\"variantList1\":[1,\"two\"],"
    "\"variantList2\":[true],\"variantList3\":[3,\"33\"],\"variantList4\":[4.5],"
    "\"variantList5\":[\"five\",5,[\"v\",\"w\"]]}]";

Shown shown(const QByteArray &type)
{
    const Shown all[] = {
        { "", { "" }, "[null]" },
        { "bool", { "false\n", "true\n" }, "[false,true]" },
        { "int",
          { "0\n", "7\n", "-1\n", "2147483647\n", "-2147483648\n" },
          "[0,7,-1,2147483647,-2147483648]" },
        { "uint", { "0\n", "8\n", "4294967295\n" }, "[0,8,4294967295]" },
        { "qulonglong",
          { "0\n", "4294967297\n", "18446744073709551615\n" },
          "[\"0\",\"4294967297\",\"18446744073709551615\"]" },
        { "double", { "0\n", "99.5\n", "-0.1\n", "1e+300\n" }, "[0,99.5,-0.1,1e300]" },
        { "QString",
          { "\n", "S-100 'x'\n", " \xc3\xa4\xe2\x82\xac\xf0\x9f\x96\xa8 \n" },
          "[\"\",\"S-100 'x'\",\" \xc3\xa4\xe2\x82\xac\xf0\x9f\x96\xa8 \"]" },
        { "QStringList", { "", "R1\nR2\n", "\n" }, "[[],[\"R1\",\"R2\"],[\"\"]]" },
        { "QByteArray",
          { "0 bytes\n", "6 bytes\n0000  89 50 4e 47 00 ff\n" },
          "[\"\",\"iVBORwD/\"]" },
        { "QVariantHash", { "", ": \"text\"\nnumber: 1\n" }, "[{},{\"\":\"text\",\"number\":1}]" },
        { "SupplyInformation", { initialRecord(), tellingRecordPrinted }, recordsJson },
    };
    for (const Shown &row : all) {
        if (withoutAliases(type) == row.type) {
            return row;
        }
    }
    qFatal("nothing is known of %s", type.constData());
    return all[0];
}

// The value as a user types it.
QString typed(const QVariant &value)
{
    return value.userType() == QMetaType::QStringList
        ? QString::fromUtf8(QJsonDocument(QJsonArray::fromStringList(value.toStringList()))
                                .toJson(QJsonDocument::Compact))
        : value.toString();
}

// The i-th sample of the result type, as the body of a reply.
QByteArray replyOf(const ClientSlot &slot, int i)
{
    return *slot.result ? wireBody({ samplesOf(slot.result).at(i) }) : QByteArray("()");
}

QByteArray callLine(const ClientSlot &slot, const QByteArray &body)
{
    return QByteArray("/ ") + identities[slot.server].interface + '.' + nameOf(slot.signature) + ' '
        + slot.in + ' ' + body;
}

// The declaration as in the client's header, with optional arguments in brackets.
QByteArray declarationOf(int index)
{
    const ClientSlot &slot = clientSlots[index];
    const QList<QByteArray> types = typesOf(QByteArray(slot.signature).replace("qint32", "int"));
    const QList<QByteArray> names = list(slot.parameters);
    const bool hasShortForm = index + 1 < clientSlotCount && clientSlots[index + 1].added
        && nameOf(clientSlots[index + 1].signature) == nameOf(slot.signature);
    QByteArray result = nameOf(slot.signature) + '(';
    for (int i = 0; i < types.size(); ++i) {
        const QByteArray parameter = types.at(i) + ' ' + names.at(i);
        const bool isOptional = hasShortForm && i + 1 == types.size();
        result += (i > 0 ? ", " : "") + (isOptional ? '[' + parameter + ']' : parameter);
    }
    return result + ')';
}

const char *daemonNames[ServerCount] = { "ioexpd", "m4", "supplyd" };

const QByteArray subscribed = "subscribed to " + QByteArray::number(relayedSignalCount)
    + " signals";

struct PropertyRow : ClientProperty
{
    const char *answer; // body of the reply
    const char *value;  // as JSON
};

// In the order of the properties.
const PropertyRow propertyRows[] = {
    { clientProperties[0], "(81.5,)", "81.5" },
    { clientProperties[1], "('#ffd500',)", "\"#ffd500\"" },
    { clientProperties[2], "(55.25,)", "55.25" },
    { clientProperties[3], "(['#00aeef', '#ec008c'],)", "[\"#00aeef\",\"#ec008c\"]" },
    { clientProperties[4], "('S-100',)", "\"S-100\"" },
    { clientProperties[5], "(17,)", "17" },
    { clientProperties[6], "(-3,)", "-3" },
    { clientProperties[7], "(87,)", "87" },
};

void answerProperties(FakeDaemons *daemons)
{
    for (const PropertyRow &row : propertyRows) {
        (*daemons)[row.server].answer(row.method, row.answer);
    }
}

QByteArray samplesBody(const ClientSignal &signal, int round)
{
    return wireBody(argumentSamples(signal.signature, round));
}

} // namespace

class tst_Ctl : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void helpAndVersion();
    void wrongUsage_data();
    void wrongUsage();
    void usageHasNoTrailingBlank();
    void brokenDescription();

    void listsEveryMethod();
    void listsByPattern();
    void listsSignalsAndProperties();
    void suggestsForPatterns_data();
    void suggestsForPatterns();
    void takesAnInvalidPatternAsText();
    void namesSignalsAsClientsDo();

    void callsEveryMethod_data();
    void callsEveryMethod();
    void addsDefaults_data();
    void addsDefaults();
    void showsEveryType_data();
    void showsEveryType();
    void readsArguments_data();
    void readsArguments();
    void refusesArguments_data();
    void refusesArguments();
    void unknownMethod();
    void suggestsTheRightCommand_data();
    void suggestsTheRightCommand();
    void savesBytes();
    void keepsFiles();
    void savesAndPrints();
    void showsManyBytes();
    void batch();
    void batchPrintsEachResultAtOnce();

    void reportsEachFailure_data();
    void reportsEachFailure();
    void failsInJson_data();
    void failsInJson();
    void ignoresFurtherValues();
    void waitsForTheTimeout();
    void noDaemon();
    void noBus();
    void noRights();
    void refusedByTheBus();
    void busByAddress();
    void haltedBus_data();
    void haltedBus();
    void busHaltsLater_data();
    void busHaltsLater();
    void busHaltsBeforeItsFirstReply();
    void refusesInvalidUtf8();
    void warnsOfALostBus();

    void status();
    void statusOfAbsentDaemons();
    void statusOfSilentDaemon();
    void statusOfSomeDaemons();
    void statusOnTerminal();
    void get();
    void getFailures();

    void watchesInLines();
    void watchesInJson();
    void watchesOnTerminal();
    void watchDoesNotWaitForADaemon();

    void monitorsEverySignal();
    void monitorsByPattern();
    void monitorMarksOtherForms();
    void monitorIgnoresOtherSenders();
    void monitorReportsDaemons();
    void monitorPrintsTheTime();
    void monitorLosesNothing();
    void monitorReportsTheSubscriptionFirst();
    void monitorEnds();

    void introspects();
    void introspectsNamesOfAnyKind();
    void checksDescription();
    void checksRealDaemons_data();
    void checksRealDaemons();

    void completes_data();
    void completes();
    void completesAsTyped();

    void colours_data();
    void colours();
    void controlCharacters();
    void invisibleCharacters();
    void numbersWithoutJson();
    void restoresTheCursor_data();
    void restoresTheCursor();
    void suspendsAndContinues();
    void closedPipe();
    void fullDevice();
    void closedStreams();
    void endsWithoutWarnings();
};

// ---- Usage ---------------------------------------------------------------------------------

void tst_Ctl::helpAndVersion()
{
    const QList<QByteArray> commands { "status", "list",     "call",       "get",       "batch",
                                       "watch",  "metrics",  "monitor",    "trace",     "record",
                                       "replay", "simulate", "introspect", "completion" };
    Ctl help(words("--help"));
    QCOMPARE(help.exitCode(), 0);
    QCOMPARE(help.err(), QByteArray());
    for (const QByteArray &command : commands) {
        QVERIFY2(help.out().contains("\n  " + command + ' '), command.constData());
        Ctl own({ QString::fromLatin1(command), text("--help") });
        QCOMPARE(own.exitCode(), 0);
        QVERIFY(own.out().startsWith("Usage: hnipcctl " + command));
        QCOMPARE(Ctl({ text("help"), QString::fromLatin1(command) }).out(), own.out());
    }
    for (const char *option :
         { "--address", "--host", "--hosts", "--json", "--timeout", "--help", "--version" }) {
        QVERIFY2(help.out().contains(option), option);
    }
    Ctl version(words("--version"));
    QCOMPARE(version.exitCode(), 0);
    QVERIFY(version.out().startsWith("hnipcctl 1."));

    // Only before the command: after it, a single dash does not begin an option.
    QCOMPARE(Ctl(words("-h")).out(), help.out());
    QCOMPARE(Ctl(words("-h call")).out(), Ctl(words("call --help")).out());
    QCOMPARE(Ctl(words("-v")).out(), version.out());
    FakeDaemons daemons;
    daemons[SUPPLYD].answer("supplyWidth", "(1.5,)");
    QCOMPARE(Ctl(words("call supplyWidth -h")).out(), QByteArray("1.5\n"));
}

void tst_Ctl::wrongUsage_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QByteArray>("message");

    const auto row = [](const char *command, const char *message) {
        QTest::newRow(command) << QByteArray(command) << QByteArray(message);
    };
    row("stauts", "no command stauts; did you mean status?");
    row("zzz", "no command zzz; see hnipcctl --help");
    row("help zzz", "no command zzz");
    row("--json", "no command given");
    row("--nothing status", "no option --nothing");
    row("status --check", "no option --check for status: it is an option of introspect; see");
    row("--count 3 monitor",
        "--count is an option of monitor, trace, record: it has to follow the command");
    row("--timeuot 3 status", "no option --timeuot; did you mean --timeout?");
    row("call --frce setDac 5", "no option --frce; did you mean --force?");
    row("introspect m4 -h",
        "usage: hnipcctl introspect [--check] DAEMON; -h is an argument: options begin with --");
    row("status --json=yes", "--json takes no value");
    row("status --address", "--address needs a value: ADDRESS");
    row("introspect m4 now", "usage: hnipcctl introspect [--check] DAEMON");
    row("call",
        "usage: hnipcctl call [--output FILE] [--force] [--deadline MS] METHOD "
        "[ARGUMENT...]");
    row("get", "usage: hnipcctl get PROPERTY...|all");
    row("metrics m4", "usage: hnipcctl metrics [--output FILE]");
    row("metrics --output=", "the name of the file to be written is empty");
    row("list a b", "usage: hnipcctl list [--signals] [--properties] [PATTERN]");
    row("list --signals --properties", "--signals and --properties list different things");
    row("status --timeout 0",
        "--timeout: \"0\" is not a number of milliseconds from 1 to 2147483647");
    row("status --timeout 1s",
        "--timeout: \"1s\" is not a number of milliseconds from 1 to 2147483647");
    row("monitor --count 0", "--count: \"0\" is not a number from 1 to 2147483647");
    row("monitor --count x", "--count: \"x\" is not a number from 1 to 2147483647");
    row("completion zsh", "no completion for zsh, only for bash");
    row("call supplyId --output f", "supplyId() returns no bytes for --output");
    row("call setDac", "0 arguments given to setDac(quint32 value)");
    row("call setDac 1 2", "2 arguments given to setDac(quint32 value)");
    row("call supplyWidth", "0 arguments given to supplyWidth(QString sku, [QString printerName])");
    row("call sendMCCMessage 1 2",
        "2 arguments given to sendMCCMessage(int type, int definedMessage, quint64 value)");
}

void tst_Ctl::wrongUsage()
{
    QFETCH(QByteArray, command);
    QFETCH(QByteArray, message);

    FakeDaemons daemons;
    Ctl ctl(words(command));
    QCOMPARE(ctl.exitCode(), 2);
    QCOMPARE(ctl.out().isEmpty(), !command.startsWith("--json"));
    QVERIFY2(ctl.err().startsWith("hnipcctl: " + message), ctl.err());
    QCOMPARE(lines(ctl.err()).size(), 1);
    QVERIFY(daemons.takeCalls().isEmpty());
}

void tst_Ctl::usageHasNoTrailingBlank()
{
    QVERIFY(Ctl(words("help watch")).out().startsWith("Usage: hnipcctl watch [OPTION...]\n"));
}

void tst_Ctl::brokenDescription()
{
    QTemporaryDir directory;
    QVERIFY(QDir(directory.path()).mkdir(QStringLiteral("interfaces")));
    const QString fileName = directory.filePath(QStringLiteral("interfaces/local.IHNIPCM4.xml"));
    QFile file(fileName);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("<node>\n<interface name='local.IHNIPCM4'>\n<method/>\n</interface></node>");
    file.close();
    const Environment own { { text("HNIPC_DATA_DIR"), directory.path() } };

    Ctl ctl(words("list"), own);
    QCOMPARE(ctl.exitCode(), 1);
    QVERIFY2(ctl.err().contains(fileName.toLocal8Bit() + ":3: expected"), ctl.err());

    // A complete file, but of another library.
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("<node><interface name='local.IHNIPCM4'></interface></node>");
    file.close();
    Ctl other(words("list"), own);
    QCOMPARE(other.exitCode(), 1);
    QVERIFY2(other.err().contains("no installed description has the method getError()"),
             other.err());
}

// ---- list ----------------------------------------------------------------------------------

void tst_Ctl::listsEveryMethod()
{
    QList<QByteArray> expected;
    QJsonArray expectedJson;
    for (int i = 0; i < clientSlotCount; ++i) {
        const ClientSlot &slot = clientSlots[i];
        if (slot.added) {
            continue;
        }
        const QByteArray result = QByteArray(slot.result).replace("qint32", "int");
        expected += QByteArray(daemonNames[slot.server]).leftJustified(9) + declarationOf(i)
            + (result.isEmpty() ? "" : " -> ") + result + "   ";
        QJsonArray arguments;
        const QList<QByteArray> types = typesOf(
            QByteArray(slot.signature).replace("qint32", "int"));
        for (int n = 0; n < types.size(); ++n) {
            arguments += QJsonObject {
                { text("name"), QString::fromLatin1(list(slot.parameters).at(n)) },
                { text("type"), QString::fromLatin1(types.at(n)) },
                { text("optional"), n + 1 == types.size() && declarationOf(i).endsWith("])") },
            };
        }
        expectedJson += QJsonObject {
            { text("name"), QString::fromLatin1(nameOf(slot.signature)) },
            { text("daemon"), text(daemonNames[slot.server]) },
            { text("arguments"), arguments },
            { text("result"), result.isEmpty() ? QJsonValue() : QString::fromLatin1(result) },
        };
    }

    Ctl ctl(words("list"));
    QCOMPARE(ctl.exitCode(), 0);
    const QList<QByteArray> printed = lines(ctl.out());
    QCOMPARE(printed.size(), expected.size());
    for (int i = 0; i < expected.size(); ++i) {
        QVERIFY2(printed.at(i).startsWith(expected.at(i)), printed.at(i));
        QVERIFY2(printed.at(i).size() > expected.at(i).size() + 8 && printed.at(i).endsWith('.'),
                 printed.at(i));
    }

    const QJsonArray json = array(Ctl(words("list --json")).out());
    QCOMPARE(json.size(), expectedJson.size());
    for (int i = 0; i < json.size(); ++i) {
        QJsonObject method = json.at(i).toObject();
        const QString summary = method.take(text("summary")).toString();
        QCOMPARE(method, expectedJson.at(i).toObject());
        QVERIFY(printed.at(i).endsWith("   " + summary.toUtf8()));
    }
}

void tst_Ctl::listsByPattern()
{
    const auto names = [](const char *pattern) {
        QByteArray result;
        const QList<QByteArray> rows = lines(Ctl({ text("list"), text(pattern) }).out());
        for (const QByteArray &row : rows) {
            result += nameOf(row.mid(9)) + ' ';
        }
        return result.trimmed();
    };
    QCOMPARE(names("feed"), QByteArray("forwardFeed backwardFeed"));
    QCOMPARE(names("FEED"), QByteArray("forwardFeed backwardFeed"));
    QCOMPARE(names("*feed"), QByteArray("forwardFeed backwardFeed"));
    QCOMPARE(names("ribbon[12]"), QByteArray("ribbon1 ribbon2"));
    QCOMPARE(names("tph?Therm"), QByteArray("tph1Therm tph2Therm"));
    QCOMPARE(names("sendMCC"), QByteArray("sendMCCMessage sendMCCMessage"));

    Ctl none(words("list feed*"));
    QCOMPARE(none.exitCode(), 7);
    QCOMPARE(none.out(), QByteArray());
    QCOMPARE(none.err(),
             QByteArray("hnipcctl: no method matches \"feed*\"; did you mean forwardFeed, "
                        "backwardFeed?\n"));
}

void tst_Ctl::listsSignalsAndProperties()
{
    const QList<QByteArray> signalRows = lines(Ctl(words("list --signals")).out());
    QCOMPARE(signalRows.size(), relayedSignalCount);
    QVERIFY2(
        signalRows.contains("m4       Error(int value)   The error code, defined by the daemon."),
        signalRows.first());
    const QJsonArray ofDac = array(Ctl(words("--json list --signals m4dac0")).out());
    QCOMPARE(
        ofDac,
        array("[{\"name\":\"M4Dac0\",\"daemon\":\"m4\",\"arguments\":[{\"name\":\"value\","
              "\"type\":\"quint32\"}],\"summary\":\"The DAC value, in the daemon's unit.\"}]"));
    const QJsonArray lists = array(Ctl(words("--json list --signals Ribbon2RGBsChanged")).out());
    QCOMPARE(lists.first()
                 .toObject()
                 .value(text("arguments"))
                 .toArray()
                 .first()
                 .toObject()
                 .value(text("type")),
             QJsonValue(text("QStringList")));

    const QList<QByteArray> properties = lines(Ctl(words("list --properties")).out());
    QCOMPARE(properties.size(), clientPropertyCount);
    for (const PropertyRow &row : propertyRows) {
        const QByteArray start = QByteArray(daemonNames[row.server]).leftJustified(9) + row.name
            + " -> ";
        const QByteArray end = QByteArray(" (") + row.method + ')';
        QVERIFY2(std::count_if(properties.begin(), properties.end(),
                               [&](const QByteArray &line) {
                                   return line.startsWith(start) && line.endsWith(end);
                               })
                     == 1,
                 row.name);
    }
    QCOMPARE(array(Ctl(words("--json list --properties qmlSupplySKU")).out())
                 .first()
                 .toObject()
                 .value(text("method")),
             QJsonValue(text("supplySKUCached")));
}

void tst_Ctl::suggestsForPatterns_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QByteArray>("message");

    const auto row = [](const char *command, const char *message) {
        QTest::newRow(command) << QByteArray(command) << QByteArray(message);
    };
    row("list forwrdFeed", "no method matches \"forwrdFeed\"; did you mean forwardFeed?");
    row("list forwrd*", "no method matches \"forwrd*\"; did you mean forwardFeed?");
    // clang-format off
    row("list qmlBat", "no method matches \"qmlBat\", but a property does: "
                       "hnipcctl list --properties 'qmlBat'");
    row("list M4PrinterLid", "no method matches \"M4PrinterLid\", but a signal does: "
                             "hnipcctl list --signals 'M4PrinterLid'");
    row("list --properties getErr", "no property matches \"getErr\", but a method does: "
                                    "hnipcctl list 'getErr'");
    row("monitor qml*", "no signal matches \"qml*\", but properties do: "
                        "hnipcctl list --properties 'qml*'");
    // clang-format on
    row("list zzzzzz", "no method matches \"zzzzzz\"");
}

void tst_Ctl::suggestsForPatterns()
{
    QFETCH(QByteArray, command);
    QFETCH(QByteArray, message);

    Ctl ctl(words(command));
    QCOMPARE(ctl.exitCode(), 7);
    QCOMPARE(ctl.err(), "hnipcctl: " + message + '\n');
}

void tst_Ctl::takesAnInvalidPatternAsText()
{
    for (const char *pattern : { "[", "feed[", "[z-a]" }) {
        Ctl methods({ text("list"), text(pattern) });
        QCOMPARE(methods.exitCode(), 7);
        QCOMPARE(methods.err(), QByteArray("hnipcctl: no method matches \"") + pattern + "\"\n");
        Ctl events({ text("monitor"), text(pattern) });
        QCOMPARE(events.exitCode(), 7);
        QCOMPARE(events.err(), QByteArray("hnipcctl: no signal matches \"") + pattern + "\"\n");
    }
    // The name of a method is not a pattern.
    QCOMPARE(Ctl(words("call setDac[")).err(),
             QByteArray("hnipcctl: no method setDac[; did you mean setDac?\n"));
}

// The names that "monitor" prints and accepts.
void tst_Ctl::namesSignalsAsClientsDo()
{
    const QByteArray all = Ctl(words("list")).out();
    QVERIFY(all.contains(
        "Requests a new reading of supplyMileage; the signal M4SupplyMileage announces it."));
    for (const char *prefix : { "M4_", "IOEXPD_", "SUPPLYD_" }) {
        QVERIFY2(!all.contains(prefix), prefix);
    }
}

// ---- call ----------------------------------------------------------------------------------

void tst_Ctl::callsEveryMethod_data()
{
    QTest::addColumn<int>("index");
    for (int i = 0; i < clientSlotCount; ++i) {
        if (!clientSlots[i].added) {
            QTest::newRow(clientSlots[i].signature) << i;
        }
    }
}

// Calls each method once with text output and once with JSON, with different values.
void tst_Ctl::callsEveryMethod()
{
    QFETCH(int, index);
    const ClientSlot &slot = clientSlots[index];
    const QByteArray name = nameOf(slot.signature);

    FakeDaemons daemons;
    for (int round = 0; round < 2; ++round) {
        const Shown results = shown(slot.result);
        const int result = (round + 1) % results.printed.size();
        daemons[slot.server].answer(name, replyOf(slot, result));

        const QList<Sample> samples = argumentSamples(slot.signature, round + 1);
        QStringList arguments { text("call") };
        arguments += round == 1 ? QStringList(text("--json")) : QStringList();
        arguments += QString::fromLatin1(name);
        for (const Sample &sample : samples) {
            arguments += typed(sample.value);
        }
        Ctl ctl(arguments);
        QCOMPARE(ctl.err(), QByteArray());
        QCOMPARE(ctl.exitCode(), 0);

        const QList<WireMessage> calls = daemons.takeCalls();
        QCOMPARE(calls.size(), 1);
        QCOMPARE(calls.first().line(), callLine(slot, wireBody(samples)));
        if (round == 0) {
            QCOMPARE(ctl.out(), results.printed.at(result));
        } else {
            QCOMPARE(
                object(ctl.out()),
                (QJsonObject {
                    { text("method"), text(slot.signature).replace(text("qint32"), text("int")) },
                    { text("daemon"), text(daemonNames[slot.server]) },
                    { text("value"), array(results.json).at(result) },
                }));
        }
    }
}

void tst_Ctl::addsDefaults_data()
{
    QTest::addColumn<int>("index");
    int count = 0;
    for (int i = 0; i < clientSlotCount; ++i) {
        if (clientSlots[i].added) {
            QTest::newRow(clientSlots[i].signature) << i;
            ++count;
        }
    }
    QCOMPARE(count, 16);
}

void tst_Ctl::addsDefaults()
{
    QFETCH(int, index);
    const ClientSlot &slot = clientSlots[index];
    const QByteArray name = nameOf(slot.signature);

    FakeDaemons daemons;
    daemons[slot.server].answer(name, replyOf(slot, 1));
    const QList<Sample> samples = argumentSamples(slot.signature, 1);
    QStringList arguments { text("call"), QString::fromLatin1(name) };
    for (const Sample &sample : samples) {
        arguments += typed(sample.value);
    }
    Ctl ctl(arguments);
    QCOMPARE(ctl.exitCode(), 0);
    QCOMPARE(ctl.out(), shown(slot.result).printed.at(1));
    const QList<WireMessage> calls = daemons.takeCalls();
    QCOMPARE(calls.size(), 1);
    QCOMPARE(calls.first().line(), callLine(slot, wireBody(samples, { slot.added })));
}

void tst_Ctl::showsEveryType_data()
{
    QTest::addColumn<int>("index");
    QList<QByteArray> seen;
    for (int i = 0; i < clientSlotCount; ++i) {
        const QByteArray type = withoutAliases(clientSlots[i].result);
        if (clientSlots[i].in == QByteArray() && !seen.contains(type)) {
            QTest::newRow(type.isEmpty() ? "nothing" : type.constData()) << i;
            seen += type;
        }
    }
    for (const char *signature :
         { "supplyBackgroundImage(QString)", "supplyInformation(QString)" }) {
        for (int i = 0; i < clientSlotCount; ++i) {
            if (clientSlots[i].signature == QByteArray(signature)) {
                QTest::newRow(clientSlots[i].result) << i;
                seen += clientSlots[i].result;
            }
        }
    }
    QCOMPARE(seen.size(), 11);
}

void tst_Ctl::showsEveryType()
{
    QFETCH(int, index);
    const ClientSlot &slot = clientSlots[index];
    const QByteArray name = nameOf(slot.signature);
    const Shown expected = shown(slot.result);
    QStringList arguments { text("call"), QString::fromLatin1(name) };
    arguments += QStringList(text("sku")).mid(0, int(qstrlen(slot.in)));

    FakeDaemons daemons;
    for (int i = 0; i < expected.printed.size(); ++i) {
        daemons[slot.server].answer(name, replyOf(slot, i));
        QCOMPARE(Ctl(arguments).out(), expected.printed.at(i));
        QCOMPARE(object(Ctl(arguments + words("--json")).out()).value(text("value")),
                 array(expected.json).at(i));
    }
}

void tst_Ctl::readsArguments_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("sent"); // member, signature and body

    const auto row = [](const char *method, const QStringList &arguments, const char *sent) {
        QTest::addRow("%s %s", method, qPrintable(arguments.join(QLatin1Char(' '))))
            << (QStringList(text(method)) + arguments) << QByteArray(sent);
    };
    const auto one = [&row](const char *method, const char *argument, const char *sent) {
        row(method, { QString::fromUtf8(argument) }, sent);
    };
    for (const char *yes : { "true", "on", "1", "TRUE", "On" }) {
        one("setSupplyLED", yes, "setSupplyLED b (true,)");
    }
    for (const char *no : { "false", "off", "0", "False", "OFF" }) {
        one("setSupplyLED", no, "setSupplyLED b (false,)");
    }
    one("emitError", "-3", "emitError i (-3,)");
    one("emitError", "0x1f", "emitError i (31,)");
    one("emitError", "-0x80000000", "emitError i (-2147483648,)");
    one("emitError", "010", "emitError i (10,)");
    one("setDac", "0XFFFFFFFF", "setDac u (uint32 4294967295,)");
    one("supplyWidth", "-x", "supplyWidth ss ('-x', '')");
    one("supplyWidth", "", "supplyWidth ss ('', '')");
    one("supplyWidth", "a b\tc", "supplyWidth ss ('a b\\tc', '')");
    one("supplyWidth", "true", "supplyWidth ss ('true', '')");
    row("supplyWidth", { text("--"), text("--json") }, "supplyWidth ss ('--json', '')");
    const auto skus = [&row](const char *argument, const char *sent) {
        row("supplyInformationBySKUs", { text("S"), text(argument), text("P") },
            (QByteArray("supplyInformationBySKUs sass ('S', ") + sent + ", 'P')").constData());
    };
    skus("", "[]");
    skus("R1", "['R1']");
    skus("R1,R2", "['R1', 'R2']");
    skus("R1,,", "['R1', '', '']");
    skus("[]", "[]");
    skus("[\"\"]", "['']");
    skus("[\"R1\", \"a,b\"]", "['R1', 'a,b']");

    row("sendMCCMessage", words("1 2 5"), "sendMCCMessage iit (1, 2, uint64 5)");
    row("sendMCCMessage", words("1 2 0xffffffffffffffff"),
        "sendMCCMessage iit (1, 2, uint64 18446744073709551615)");
    row("sendMCCMessage", words("1 2 go"), "sendMCCMessage iis (1, 2, 'go')");
    row("sendMCCMessage", words("1 2 -5"), "sendMCCMessage iis (1, 2, '-5')");
    row("sendMCCMessage", { text("1"), text("2"), QString() }, "sendMCCMessage iis (1, 2, '')");
    row("sendMCCMessage(int,int,QString)", words("1 2 5"), "sendMCCMessage iis (1, 2, '5')");
    row("sendMCCMessage(int, int, quint64)", words("1 2 5"), "sendMCCMessage iit (1, 2, uint64 5)");
}

void tst_Ctl::readsArguments()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, sent);

    FakeDaemons daemons;
    daemons[M4].answerAll("(true,)");
    daemons[SUPPLYD].answerAll("(1.5,)");
    Ctl ctl(QStringList(text("call")) + arguments);
    ctl.exitCode();
    const QList<WireMessage> calls = daemons.takeCalls();
    QCOMPARE(calls.size(), 1);
    const WireMessage call = calls.first();
    const QByteArray body = QByteArray(call.body).replace("@as []", "[]");
    QCOMPARE(call.member + ' ' + call.signature + ' ' + body, sent);
}

void tst_Ctl::refusesArguments_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QByteArray>("message");

    const auto row = [](const char *command, const char *message) {
        QTest::newRow(command) << QByteArray(command) << QByteArray(message);
    };
    row("setUserSetting x 1",
        "argument 1 (setting): \"x\" is not a number from -2147483648 to 2147483647");
    row("setUserSetting 1 x",
        "argument 2 (value): \"x\" is not a number from -2147483648 to 2147483647");
    row("setUserSetting 1 2147483648",
        "argument 2 (value): \"2147483648\" is not a number from "
        "-2147483648 to 2147483647");
    row("setUserSetting 1 -2147483649",
        "argument 2 (value): \"-2147483649\" is not a number from -2147483648 to 2147483647");
    row("setUserSetting 1 1.5",
        "argument 2 (value): \"1.5\" is not a whole number from -2147483648 to 2147483647");
    row("setUserSetting 1 1,000",
        "argument 2 (value): \"1,000\" is not a number from -2147483648 to 2147483647");
    row("setUserSetting 1 ff",
        "argument 2 (value): \"ff\" is not a number from -2147483648 to 2147483647");
    row("setUserSetting 1 ",
        "argument 2 (value): \"\" is not a number from -2147483648 to 2147483647");
    row("setDac -1", "argument 1 (value): \"-1\" is not a number from 0 to 4294967295");
    row("setDac 4294967296",
        "argument 1 (value): \"4294967296\" is not a number from 0 to 4294967295");
    row("setDac 0x100000000",
        "argument 1 (value): \"0x100000000\" is not a number from 0 to 4294967295");
    row("setSupplyLED yes", "argument 1 (value): \"yes\" is not true or false");
    row("setSupplyLED 2", "argument 1 (value): \"2\" is not true or false");
    row("supplyRibbonHeat R one S",
        "argument 2 (panel): \"one\" is not a number from -2147483648 to 2147483647");
    row("supplyInformationBySKUs S [1]",
        "argument 2 (ribbonSkus): \"[1]\" is not a list of strings");
    row("supplyInformationBySKUs S [\"a\"",
        "argument 2 (ribbonSkus): \"[\"a\"\" is not a list of strings");
    row("sendMCCMessage 1 x 5",
        "argument 2 (definedMessage): \"x\" is not a number from -2147483648 to 2147483647");
    row("sendMCCMessage(int,int,quint64) 1 2 x",
        "argument 3 (value): \"x\" is not a number from 0 to 18446744073709551615");
    row("sendMCCMessage(int,int,quint64) 1 2 18446744073709551616",
        "argument 3 (value): \"18446744073709551616\" is not a number from 0 to "
        "18446744073709551615");
}

void tst_Ctl::refusesArguments()
{
    QFETCH(QByteArray, command);
    QFETCH(QByteArray, message);

    FakeDaemons daemons;
    Ctl ctl(words("call") + words(command));
    QCOMPARE(ctl.exitCode(), 8);
    QCOMPARE(ctl.out(), QByteArray());
    QVERIFY2(ctl.err().startsWith("hnipcctl: " + message), ctl.err());
    QVERIFY(daemons.takeCalls().isEmpty());
}

void tst_Ctl::unknownMethod()
{
    const auto messageOf = [](const char *method) {
        Ctl ctl({ text("call"), text(method) });
        return ctl.exitCode() == 7 ? ctl.err().trimmed() : QByteArray("no exit code 7");
    };
    QCOMPARE(messageOf("printrLid"),
             QByteArray("hnipcctl: no method printrLid; did you mean printerLid?"));
    QCOMPARE(messageOf("setdac"), QByteArray("hnipcctl: no method setdac; did you mean setDac?"));
    QCOMPARE(messageOf("feed"),
             QByteArray("hnipcctl: no method feed; did you mean forwardFeed, backwardFeed?"));
    QCOMPARE(messageOf("qqqqqqqqq"), QByteArray("hnipcctl: no method qqqqqqqqq"));
    // Methods of the daemons that the client class does not have are unknown.
    QVERIFY(messageOf("pulseM4PrintDoneSignal").startsWith("hnipcctl: no method pulseM4PrintDone"));
    QCOMPARE(messageOf("setDac(int)"),
             QByteArray("hnipcctl: no method setDac(int); did you mean setDac?"));
}

void tst_Ctl::suggestsTheRightCommand_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QByteArray>("message");

    const auto row = [](const char *command, const char *message) {
        QTest::newRow(command) << QByteArray(command) << QByteArray(message);
    };
    row("call qmlSupplyPercent", "qmlSupplyPercent is a property: hnipcctl get qmlSupplyPercent");
    row("call M4PrinterLid", "M4PrinterLid is a signal: hnipcctl monitor M4PrinterLid");
    row("get printerLid", "printerLid is a method: hnipcctl call printerLid");
    row("get M4PrinterLid", "M4PrinterLid is a signal: hnipcctl monitor M4PrinterLid");
}

void tst_Ctl::suggestsTheRightCommand()
{
    QFETCH(QByteArray, command);
    QFETCH(QByteArray, message);

    Ctl ctl(words(command));
    QCOMPARE(ctl.exitCode(), 7);
    QCOMPARE(ctl.err(), "hnipcctl: " + message + '\n');
}

void tst_Ctl::savesBytes()
{
    QTemporaryDir directory;
    const QString fileName = directory.filePath(QStringLiteral("image"));
    FakeDaemons daemons;
    daemons[SUPPLYD].answer("supplyBackgroundImage", "([byte 0x00, 0x0a, 0xff],)");
    Ctl ctl(words("call supplyBackgroundImage S --output") << fileName);
    QCOMPARE(ctl.exitCode(), 0);
    QCOMPARE(ctl.out() + ctl.err(), QByteArray());
    QFile file(fileName);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), QByteArray("\x00\x0a\xff", 3));

    for (const QString &name : { directory.path(), text("/nonexistent/image") }) {
        Ctl unwritable(words("call supplyBackgroundImage S --force --output") << name);
        QCOMPARE(unwritable.exitCode(), 1);
        QVERIFY2(unwritable.err().startsWith("hnipcctl: " + name.toUtf8() + ": "),
                 unwritable.err());
    }
    Ctl full(words("call supplyBackgroundImage S --force --output /dev/full"));
    QCOMPARE(full.exitCode(), 1);
    QVERIFY2(full.err().startsWith("hnipcctl: /dev/full: "), full.err());
}

void tst_Ctl::keepsFiles()
{
    QTemporaryDir directory;
    const QString fileName = directory.filePath(QStringLiteral("image"));
    const QString other = directory.filePath(QStringLiteral("other"));
    QFile file(fileName);
    const auto content = [&file]() {
        const QByteArray result = file.open(QIODevice::ReadOnly) ? file.readAll() : "unreadable";
        file.close();
        return result;
    };
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write("precious") == 8);
    file.close();

    FakeDaemons daemons;
    daemons[SUPPLYD].answer("supplyBackgroundImage", "([byte 0x01, 0x02],)");
    const QStringList save = words("call supplyBackgroundImage S --output");
    Ctl ctl(QStringList(save) << fileName);
    QCOMPARE(ctl.exitCode(), 1);
    QCOMPARE(ctl.err(),
             "hnipcctl: " + fileName.toUtf8() + " exists already; --force overwrites it\n");
    QCOMPARE(content(), QByteArray("precious"));
    QVERIFY(daemons.takeCalls().isEmpty());

    // An empty byte array is not a picture.
    daemons[SUPPLYD].answer("supplyBackgroundImage", "(@ay [],)");
    for (const QString &name : { other, fileName }) {
        Ctl none(QStringList(save) << name << text("--force"));
        QCOMPARE(none.exitCode(), 1);
        QCOMPARE(none.err(),
                 "hnipcctl: the reply is empty; " + name.toUtf8() + " was not written\n");
    }
    QCOMPARE(content(), QByteArray("precious"));
    QVERIFY(!QFile::exists(other));
    daemons[SUPPLYD].answerError("supplyBackgroundImage", "org.hnipc.Error.Odd", "no");
    QCOMPARE(Ctl(QStringList(save) << fileName << text("--force")).exitCode(), 5);
    QCOMPARE(content(), QByteArray("precious"));

    daemons[SUPPLYD].answer("supplyBackgroundImage", "([byte 0x01, 0x02],)");
    QCOMPARE(Ctl(QStringList(save) << fileName << text("--force")).exitCode(), 0);
    QCOMPARE(content(), QByteArray("\x01\x02"));
}

// The text and JSON outputs are the same as without a file.
void tst_Ctl::savesAndPrints()
{
    QTemporaryDir directory;
    const QString fileName = directory.filePath(QStringLiteral("image"));
    FakeDaemons daemons;
    daemons[SUPPLYD].answer("supplyBackgroundImage", "([byte 0x00, 0x0a, 0xff],)");
    const QStringList save = words("call supplyBackgroundImage S --force --output");
    Ctl wordy(QStringList(save) << fileName << words("--deadline 60000"));
    QCOMPARE(wordy.exitCode(), 0);
    QCOMPARE(wordy.out(), QByteArray("answered\n"));
    Ctl json(QStringList(save) << fileName << words("--deadline 60000 --json"));
    QCOMPARE(json.exitCode(), 0);
    QCOMPARE(object(json.out()).value(text("value")), QJsonValue(text("AAr/")));
    QCOMPARE(object(json.out()).value(text("outcome")), QJsonValue(text("answered")));
    QCOMPARE(object(json.out()).value(text("daemon")), QJsonValue(text("supplyd")));

    // The daemon replied, but the value could not be written.
    Ctl full(QStringList(save) << words("/dev/full --json"));
    QCOMPARE(full.exitCode(), 1);
    QCOMPARE(object(full.out()).value(text("exit")), QJsonValue(1));
    QVERIFY(object(full.out()).value(text("error")).toString().startsWith(text("/dev/full: ")));

    Ctl toOutput(words("call supplyBackgroundImage S --output -"));
    QCOMPARE(toOutput.exitCode(), 0);
    QCOMPARE(toOutput.out(), QByteArray("\x00\x0a\xff", 3));
    Ctl wordyToOutput(words("call supplyBackgroundImage S --output - --deadline 60000"));
    QCOMPARE(wordyToOutput.out(), QByteArray("\x00\x0a\xff", 3));
    QCOMPARE(wordyToOutput.err(), QByteArray("hnipcctl: answered\n"));
    QVERIFY(!QFile::exists(text("-")));

    daemons.takeCalls();
    for (const char *empty : { "call supplyBackgroundImage S --output=", "record ", "replay " }) {
        Ctl ctl(words(empty));
        QCOMPARE(ctl.exitCode(), 2);
        QVERIFY2(ctl.err().contains("the name of the file to be "), ctl.err());
        QVERIFY2(ctl.err().endsWith(" is empty\n"), ctl.err());
    }
    QVERIFY(daemons.takeCalls().isEmpty());
}

void tst_Ctl::showsManyBytes()
{
    FakeDaemons daemons;
    QByteArray body = "([byte 0x01";
    for (int i = 1; i < 300; ++i) {
        body += ", 0xab";
    }
    daemons[SUPPLYD].answer("supplyBackgroundImage", body + "],)");
    const QList<QByteArray> printed = lines(Ctl(words("call supplyBackgroundImage S")).out());
    QCOMPARE(printed.size(), 18);
    QCOMPARE(printed.first(), QByteArray("300 bytes"));
    QCOMPARE(printed.at(1), QByteArray("0000  01 ab ab ab ab ab ab ab ab ab ab ab ab ab ab ab"));
    QVERIFY(printed.at(16).startsWith("00f0  "));
    QCOMPARE(printed.last(), QByteArray("...   all of them with --output FILE"));
}

void tst_Ctl::batch()
{
    FakeDaemons daemons;
    answerProperties(&daemons);
    daemons[M4].answer("setDac", "(true,)");
    daemons[M4].answer("m4Version", "('4.2\\n1',)");
    daemons[IOEXPD].answer("enableBacklight", "()");
    daemons[SUPPLYD].answer("supplyWidth", "(1.0,)");
    daemons[M4].answerError("dac0", "org.example.Cold", "too cold");
    const QByteArray input = "getError\n"
                             "  # nothing to be done\n"
                             "\n"
                             "call setDac 5\n"
                             "setDac x\n"
                             "enableBacklight on # with a comment\n"
                             "m4Version\n"
                             "dac0\n"
                             "get qmlBatteryStatus\n"
                             "get qmlBatteryStatus qmlPrintEngineErrorCode\n"
                             "supplyWidth 'a b' \"c \\\" #\\d\"\n"
                             "supplyWidth \"\" \\'\n"
                             "nothing\n"
                             "getError 'x\n"
                             "\xff\n"
                             "call\n"
                             "get qmlSupplySKU"; // no line break at the end
    const QByteArray
        output = "17\n"
                 "true\n"
                 "error: argument 1 (value): \"x\" is not a number from 0 to 4294967295\n"
                 "done\n"
                 "\"4.2\\n1\"\n"
                 "error: m4 replied with the error org.example.Cold: too cold\n"
                 "87\n"
                 "qmlBatteryStatus=87 qmlPrintEngineErrorCode=17\n"
                 "1\n"
                 "1\n"
                 "error: no method nothing\n"
                 "error: expected a closing '\n"
                 "error: expected UTF-8\n"
                 "error: call needs a name\n"
                 "\"S-100\"\n";
    Ctl ctl(words("batch"));
    ctl.type(input);
    ctl.endInput();
    QCOMPARE(ctl.out(), output);
    QCOMPARE(ctl.err(), QByteArray());
    QCOMPARE(ctl.exitCode(), 8);
    QList<QByteArray> widths;
    for (const WireMessage &message : daemons.takeCalls()) {
        widths += message.member == "supplyWidth" ? QList<QByteArray> { wireText(message.body) }
                                                  : QList<QByteArray>();
    }
    QCOMPARE(widths,
             (QList<QByteArray> { wireText("('a b', 'c \" #\\\\d')"), wireText("('', \"'\")") }));

    Ctl stops(words("--json batch --stop"));
    stops.type("getError\n\ndac0\nsetDac 5\n");
    stops.endInput();
    QCOMPARE(stops.exitCode(), 5);
    const QList<QByteArray> rows = lines(stops.out());
    QCOMPARE(rows.size(), 2);
    QCOMPARE(object(rows.at(0)),
             object("{\"line\":1,\"value\":17,\"method\":\"getError()\","
                    "\"daemon\":\"m4\"}"));
    QCOMPARE(object(rows.at(1)).value(text("line")), QJsonValue(3));
    QCOMPARE(object(rows.at(1)).value(text("errorName")), QJsonValue(text("org.example.Cold")));
    QCOMPARE(daemons.takeCalls().size(), 2);
}

// A program that writes one command after another gets each result before it writes the next
// command.
void tst_Ctl::batchPrintsEachResultAtOnce()
{
    FakeDaemons daemons;
    daemons[M4].answer("getError", "(17,)");
    Ctl ctl(words("batch"));
    ctl.type("getErr");
    ctl.type("or\n");
    QVERIFY(ctl.prints("17\n"));
    daemons[M4].answer("getError", "(18,)");
    ctl.type("getError\n");
    QVERIFY(ctl.prints("17\n18\n"));
    QVERIFY(ctl.isRunning());
    ctl.endInput();
    QCOMPARE(ctl.exitCode(), 0);

    if (!isEmulated()) {
        QScopedPointer<Ctl> closed(Ctl::inShell(text("hnipcctl batch <&-")));
        QCOMPARE(closed->exitCode(), 0);
    }
    QScopedPointer<Ctl> directory(Ctl::inShell(text("hnipcctl batch </tmp")));
    QCOMPARE(directory->exitCode(), 1);
    QVERIFY2(directory->err().startsWith("hnipcctl: standard input: "), directory->err());
    QScopedPointer<Ctl> full(Ctl::inShell(text("echo getError | hnipcctl batch >/dev/full")));
    QCOMPARE(full->exitCode(), 1);
}

// ---- Failures ------------------------------------------------------------------------------

void tst_Ctl::reportsEachFailure_data()
{
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("message");
    QTest::addColumn<QByteArray>("errorName");

    QTest::newRow("refused") << 5
                             << QByteArray(
                                    "m4 replied with the error org.hnipc.Error.Busy: it moves")
                             << QByteArray("org.hnipc.Error.Busy");
    // The error name of the bus, but sent by the daemon.
    QTest::newRow("refusedAsUnknown")
        << 5
        << QByteArray("m4 replied with the error org.freedesktop.DBus.Error.ServiceUnknown: who?")
        << QByteArray("org.freedesktop.DBus.Error.ServiceUnknown");
    QTest::newRow("unknownMethod")
        << 5
        << QByteArray(
               "m4 replied with the error org.freedesktop.DBus.Error.UnknownMethod: no such method")
        << QByteArray("org.freedesktop.DBus.Error.UnknownMethod");
    QTest::newRow("silent") << 6 << QByteArray("org.hnipc.m4 did not reply within 2000 ms")
                            << QByteArray("org.freedesktop.DBus.Error.Timeout");
    QTest::newRow("left") << 6 << QByteArray("org.hnipc.m4 left the bus before it replied")
                          << QByteArray("org.freedesktop.DBus.Error.NoReply");
    QTest::newRow("otherType") << 1 << QByteArray("org.hnipc.m4 replied with another type: ")
                               << QByteArray("org.freedesktop.DBus.Error.InvalidSignature");
    QTest::newRow("nothing") << 1 << QByteArray("org.hnipc.m4 replied with another type: ")
                             << QByteArray("org.freedesktop.DBus.Error.InvalidSignature");
}

void tst_Ctl::reportsEachFailure()
{
    QFETCH(int, exitCode);
    QFETCH(QByteArray, message);
    QFETCH(QByteArray, errorName);

    for (const bool json : { false, true }) {
        FakeDaemons daemons;
        WirePeer &m4 = daemons[M4];
        const QByteArray which = QTest::currentDataTag();
        if (which == "refused") {
            m4.answerError("getError", errorName, "it moves");
        } else if (which == "refusedAsUnknown") {
            m4.answerError("getError", errorName, "who?");
        } else if (which == "silent") {
            m4.ignore("getError");
        } else if (which == "left") {
            m4.leaveOn("getError");
        } else if (which == "otherType") {
            m4.answer("getError", "('five',)");
        } else if (which == "nothing") {
            m4.answer("getError", "()");
        }
        QStringList arguments = words("call getError");
        // A short timeout only for a silent daemon, so that a slow machine is not taken for one.
        arguments += which == "silent" ? words("--timeout 2000") : QStringList();
        arguments += json ? words("--json") : QStringList();
        Ctl ctl(arguments);
        QCOMPARE(ctl.exitCode(), exitCode);
        QVERIFY2(ctl.err().startsWith("hnipcctl: " + message), ctl.err());
        // The message names both types.
        QCOMPARE(ctl.err().contains("\"i\""), exitCode == 1);
        QCOMPARE(ctl.err().contains("\"s\""), which == "otherType");
        QCOMPARE(daemons.takeCalls().size(), 1);
        if (json) {
            const QJsonObject answer = object(ctl.out());
            QCOMPARE(answer.value(text("exit")), QJsonValue(exitCode));
            QVERIFY(answer.value(text("error")).toString().toUtf8().startsWith(message));
            QCOMPARE(answer.value(text("errorName")).toString().toLatin1(), errorName);
            QVERIFY(!answer.contains(text("value")));
        } else {
            QCOMPARE(ctl.out(), QByteArray());
        }
    }
}

void tst_Ctl::failsInJson_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<int>("exitCode");

    const auto row = [](const char *command, int exitCode) {
        QTest::newRow(command) << QByteArray(command) << exitCode;
    };
    row("stauts", 2);
    row("help stauts", 2);
    row("--nothing", 2);
    row("status now", 7);
    row("status m4 now", 7);
    row("status --timeout 0", 2);
    row("status --nothing", 2);
    row("status --address unix:path=/nonexistent/bus", 3);
    row("list nothing*", 7);
    row("call nothing", 7);
    row("call setDac", 2);
    row("call setDac x", 8);
    row("get nothing", 7);
    row("get all --address unix:path=/nonexistent/bus", 3);
    row("watch --address unix:path=/nonexistent/bus", 3);
    row("monitor nothing", 7);
    row("monitor --count 0", 2);
    row("introspect m5", 7);
    row("introspect m4", 4);
    row("introspect m4 --check", 4);
    row("replay /nonexistent/trace", 1);
    row("replay /nonexistent/trace --speed x", 2);
    row("record /nonexistent/trace", 1);
    row("record - --address unix:path=/nonexistent/bus", 3);
    row("completion zsh", 2);
    row("call supplyBackgroundImage S --output=", 2);
    row("call supplyBackgroundImage S --output -", 2);
}

// On one line, as "monitor" and "watch" print it, without other output.
void tst_Ctl::failsInJson()
{
    QFETCH(QByteArray, command);
    QFETCH(int, exitCode);

    // Also if the option follows the wrong word.
    for (const QStringList &line :
         { words("--json") + words(command), words(command) + words("--json") }) {
        Ctl ctl(line);
        QCOMPARE(ctl.exitCode(), exitCode);
        QCOMPARE(lines(ctl.out()).size(), 1);
        const QJsonObject failure = object(ctl.out());
        QCOMPARE(failure.keys(), (QStringList { text("error"), text("exit") }));
        QCOMPARE(failure.value(text("exit")), QJsonValue(exitCode));
        QCOMPARE("hnipcctl: " + failure.value(text("error")).toString().toUtf8() + '\n', ctl.err());
    }
    Ctl plain(words(command));
    QVERIFY(!plain.out().contains("\"exit\""));
}

// Replies may have further values, as for applications.
void tst_Ctl::ignoresFurtherValues()
{
    FakeDaemons daemons;
    daemons[M4].answer("getError", "(5, 'x')");
    Ctl ctl(words("call getError"));
    QCOMPARE(ctl.exitCode(), 0);
    QCOMPARE(ctl.out(), QByteArray("5\n"));
    QCOMPARE(ctl.err(), QByteArray());
}

void tst_Ctl::waitsForTheTimeout()
{
    FakeDaemons daemons;
    daemons[M4].ignore("getError");
    Ctl patient(words("call getError"));
    QVERIFY(waitUntil([&]() { return !daemons[M4].calls().isEmpty(); }));
    Ctl hasty(words("call getError --timeout 250"));
    QCOMPARE(hasty.exitCode(), 6);
    QVERIFY(patient.isRunning());
}

void tst_Ctl::noDaemon()
{
    FakeDaemons daemons(false);
    Ctl ctl(words("call getError"));
    QCOMPARE(ctl.exitCode(), 4);
    QCOMPARE(ctl.err(), QByteArray("hnipcctl: org.hnipc.m4 is not on the bus\n"));
    QCOMPARE(Ctl(words("get qmlSupplySKU")).exitCode(), 4);
    QCOMPARE(Ctl(words("introspect supplyd")).exitCode(), 4);
}

void tst_Ctl::noBus()
{
    const Environment nowhere { { text("DBUS_SYSTEM_BUS_ADDRESS"),
                                  text("unix:path=/nonexistent/bus") } };
    for (const char *command :
         { "status", "call getError", "get all", "watch", "monitor", "introspect m4" }) {
        Ctl ctl(words(command), nowhere);
        QCOMPARE(ctl.exitCode(), 3);
        QCOMPARE(ctl.out(), QByteArray());
        QVERIFY2(ctl.err().startsWith("hnipcctl: no system bus: "), ctl.err());
        QVERIFY2(ctl.err().endsWith("; to try without a printer: hnipc-sandbox hnipcctl status\n"),
                 ctl.err());
    }
    // These commands need no bus.
    QCOMPARE(Ctl(words("list"), nowhere).exitCode(), 0);
    QCOMPARE(Ctl(words("completion bash"), nowhere).exitCode(), 0);

    for (const char *address : { "unix:path=/nonexistent/bus", "nonsense" }) {
        Ctl ctl({ text("status"), text("--address"), text(address) });
        QCOMPARE(ctl.exitCode(), 3);
        QVERIFY2(ctl.err().startsWith(QByteArray("hnipcctl: no bus at ") + address + ": "),
                 ctl.err());
        QVERIFY2(!ctl.err().contains("hnipc-sandbox"), ctl.err());
    }
}

void tst_Ctl::noRights()
{
    BusProcess bus("<deny send_destination='org.hnipc.m4' "
                   "send_interface='local.IHNIPCM4'/>");
    WirePeer m4(bus);
    QVERIFY(m4.own("org.hnipc.m4"));
    m4.answerAll("(1,)");

    Ctl ctl({ text("--address"), bus.address(), text("call"), text("getError") });
    QCOMPARE(ctl.exitCode(), 3);
    QVERIFY2(ctl.err().startsWith("hnipcctl: no right to call the daemons: "), ctl.err());
    QVERIFY(m4.calls().isEmpty());
}

// The bus refuses the call for a reason other than this user's rights.
void tst_Ctl::refusedByTheBus()
{
    if (isOnDBusBroker()) {
        HNIPC_SKIP("dbus-broker ignores max_replies_per_connection");
    }
    BusProcess bus("</policy><limit name='max_replies_per_connection'>0"
                   "</limit><policy context='default'>");
    WirePeer m4(bus);
    QVERIFY(m4.own("org.hnipc.m4"));
    m4.answerAll("(1,)");

    const QStringList address { text("--address"), bus.address(), text("--json") };
    for (const char *command : { "call getError", "introspect m4" }) {
        Ctl ctl(address + words(command));
        QCOMPARE(ctl.exitCode(), 3);
        QVERIFY2(ctl.err().startsWith("hnipcctl: the bus does not deliver the call: The maximum "),
                 ctl.err());
    }
    QCOMPARE(object(Ctl(address + words("call getError")).out()).value(text("errorName")),
             QJsonValue(text("org.freedesktop.DBus.Error.LimitsExceeded")));
    QVERIFY(m4.calls().isEmpty());
}

void tst_Ctl::busByAddress()
{
    FakeDaemons daemons;
    daemons[M4].answer("getError", "(17,)");
    const Environment nowhere { { text("DBUS_SYSTEM_BUS_ADDRESS"),
                                  text("unix:path=/nonexistent/bus") } };
    const QString address = QString::fromLatin1(qgetenv("DBUS_SYSTEM_BUS_ADDRESS"));
    for (const QStringList &options : { QStringList { text("--address"), address },
                                        QStringList { text("--address=") + address } }) {
        QCOMPARE(Ctl(options + words("call getError"), nowhere).out(), QByteArray("17\n"));
        QCOMPARE(Ctl(words("call getError") + options, nowhere).out(), QByteArray("17\n"));
    }
    Ctl monitor(words("monitor --count 1 --address") << address, nowhere);
    QVERIFY(monitor.complains("subscribed"));
    daemons.emitSignal(M4, "M4_Error", "(1,)");
    QCOMPARE(monitor.exitCode(), 0);
    QVERIFY(monitor.out().contains("Error value=1"));
}

void tst_Ctl::haltedBus_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QByteArray>("prefix");

    for (const char *command : { "status", "call getError", "get all", "watch", "metrics",
                                 "monitor", "record -", "introspect m4", "replay /dev/null" }) {
        QTest::newRow(command) << QByteArray(command) << QByteArray();
    }
    QTest::newRow("deadline") << QByteArray("call getError --timeout 50000 --deadline 250")
                              << QByteArray("not sent: ");
}

// The bus accepts connections and does nothing else.
void tst_Ctl::haltedBus()
{
    QFETCH(QByteArray, command);
    QFETCH(QByteArray, prefix);

    BusProcess bus;
    bus.halt();
    const Environment there { { text("DBUS_SYSTEM_BUS_ADDRESS"), bus.address() } };
    QStringList line = words("--json") + words(command);
    line += prefix.isEmpty() ? words("--timeout 250") : QStringList();
    Ctl ctl(line, there);
    QCOMPARE(ctl.exitCode(), 6);
    const QByteArray error = prefix + "the system bus was not reached within 250 ms";
    QCOMPARE(ctl.err(), "hnipcctl: " + error + '\n');
    QCOMPARE(ctl.out(), "{\"error\":\"" + error + "\",\"exit\":6}\n");

    Ctl byAddress(words("call getError --timeout 250 --address") << bus.address());
    QCOMPARE(byAddress.exitCode(), 6);
    QCOMPARE(byAddress.err(),
             "hnipcctl: the bus at " + bus.address().toUtf8() + " was not reached within 250 ms\n");
    bus.resume();
}

void tst_Ctl::busHaltsLater_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QString>("member"); // the bus halts when it receives this call
    const auto row = [](const char *command, const char *member) {
        QTest::addRow("%s: %s", command, member) << QByteArray(command) << text(member);
    };
    row("trace", "ListNames");
    row("trace", "GetNameOwner");
    row("monitor", "GetId");
    row("replay", "GetNameOwner");
    row("replay", "RequestName");
    row("replay", "GetId");
}

// The timeout includes all calls of the bus itself.
void tst_Ctl::busHaltsLater()
{
    QFETCH(QByteArray, command);
    QFETCH(QString, member);

    const QTemporaryDir directory;
    QFile recorded(directory.filePath(text("recorded")));
    QVERIFY(recorded.open(QIODevice::WriteOnly));
    recorded.write("{\"format\":\"hnipc-trace\",\"version\":1}\n"
                   "{\"at\":0,\"daemon\":\"m4\",\"signal\":\"M4PrinterLid\",\"signature\":\"b\","
                   "\"arguments\":[true]}\n");
    recorded.close();
    const BusProcess bus;
    const QString socket = directory.filePath(text("bus"));
    Process relay;
    relay.start(text(HNIPC_TEST_RELAY),
                { socket, bus.address().section(QLatin1Char('='), 1), member });
    QVERIFY(relay.prints("ready\n"));

    QStringList line { text("--timeout"), text("250"), text(command.constData()) };
    line += command == "replay" ? QStringList(recorded.fileName()) : QStringList();
    Ctl ctl(line, { { text("DBUS_SYSTEM_BUS_ADDRESS"), text("unix:path=") + socket } });
    QCOMPARE(ctl.exitCode(), 6);
    QVERIFY2(ctl.err().endsWith("hnipcctl: the system bus was not reached within 250 ms\n"),
             ctl.err());
    QCOMPARE(ctl.out(), QByteArray());
}

// Before the bus has replied once, a daemon is not called.
void tst_Ctl::busHaltsBeforeItsFirstReply()
{
    const QTemporaryDir directory;
    const BusProcess bus;
    const QString socket = directory.filePath(text("bus"));
    Process relay;
    relay.start(text(HNIPC_TEST_RELAY),
                { socket, bus.address().section(QLatin1Char('='), 1), text("GetId") });
    QVERIFY(relay.prints("ready\n"));
    Ctl ctl(words("call getError --timeout 50000 --deadline 2000"),
            { { text("DBUS_SYSTEM_BUS_ADDRESS"), text("unix:path=") + socket } });
    QCOMPARE(ctl.exitCode(), 6);
    QCOMPARE(ctl.err(),
             QByteArray("hnipcctl: not sent: the call was not sent to org.hnipc.m4 within 2000 "
                        "ms\n"));
}

void tst_Ctl::refusesInvalidUtf8()
{
    FakeDaemons daemons;
    daemons[SUPPLYD].answerAll("(uint32 1,)");
    for (const char *bytes : { "\\xff", "a\\xc3", "\\xed\\xa0\\x80", "\\xc0\\xaf" }) {
        QScopedPointer<Ctl> shell(
            Ctl::inShell(text("hnipcctl --json call supplyWidth $'%1'").arg(text(bytes))));
        QCOMPARE(shell->exitCode(), 8);
        QVERIFY2(shell->err().startsWith("hnipcctl: argument 4 of the command line is not UTF-8: "),
                 shell->err());
        QCOMPARE(object(shell->out()).value(text("exit")), QJsonValue(8));
    }
    QVERIFY(daemons.takeCalls().isEmpty());

    // A byte order mark and noncharacters are passed on like all other characters.
    for (const char *same :
         { "\xef\xbb\xbfx", "\xef\xbf\xbf", "\xef\xbf\xbd", "\xf4\x8f\xbf\xbf" }) {
        Ctl ctl({ text("call"), text("supplyWidth"),
                  QString::fromUtf8(QByteArray(" ") + same).mid(1) });
        ctl.exitCode();
        const QList<WireMessage> calls = daemons.takeCalls();
        QCOMPARE(calls.size(), 1);
        QCOMPARE(wireText(calls.first().body), wireText(QByteArray("('") + same + "', '')"));
    }
}

// The environment lacks the bus address, as under sudo in a sandbox.
void tst_Ctl::warnsOfALostBus()
{
    if (geteuid() != 0) {
        HNIPC_SKIP("only root can see what the programs that started it use");
    }
    const QByteArray address = qgetenv("DBUS_SYSTEM_BUS_ADDRESS");
    const char command[] = "env -u DBUS_SYSTEM_BUS_ADDRESS hnipcctl %1 call getError; :";
    const auto errorsOf = [&](const QString &options) {
        QScopedPointer<Ctl> shell(Ctl::inShell(text(command).arg(options)));
        return shell->err();
    };
    const QByteArray warned = errorsOf(QString());
    QVERIFY2(
        warned.startsWith("hnipcctl: using the system bus, not the bus at " + address + " of the"),
        warned);
    QVERIFY(
        !errorsOf(text("--address unix:path=/nonexistent/bus")).contains("using the system bus"));
    QScopedPointer<Ctl> inside(Ctl::inShell(text("hnipcctl call getError; :")));
    QVERIFY2(!inside->err().contains("using the system bus"), inside->err());
}

// ---- status and get ------------------------------------------------------------------------

void tst_Ctl::status()
{
    FakeDaemons daemons;
    answerProperties(&daemons);
    Ctl ctl(words("status"));
    QCOMPARE(ctl.exitCode(), 0);
    const QByteArray process = ", process " + QByteArray::number(int(getpid())) + '\n';
    QCOMPARE(ctl.out(),
             "ioexpd   present, " + daemons[IOEXPD].uniqueName() + process + "m4       present, "
                 + daemons[M4].uniqueName() + process
                 + "  qmlPrintEngineErrorCode  17\n"
                   "  qmlPrintEngineAlertCode  -3\n"
                   "  qmlBatteryStatus         87\n"
                   "supplyd  present, "
                 + daemons[SUPPLYD].uniqueName() + process
                 + "  qmlSupplyPercent         81.5\n"
                   "  qmlSupplyColorRGB        \"#ffd500\"\n"
                   "  qmlRibbonPercent         55.25\n"
                   "  qmlRibbonColorRGBs       [\"#00aeef\",\"#ec008c\"]\n"
                   "  qmlSupplySKU             \"S-100\"\n");

    QJsonArray expected;
    for (int server = 0; server < ServerCount; ++server) {
        QJsonObject properties;
        for (const PropertyRow &row : propertyRows) {
            if (row.server == server) {
                properties.insert(
                    text(row.name),
                    QJsonObject {
                        { text("value"), array(QByteArray("[") + row.value + ']').first() } });
            }
        }
        expected += QJsonObject {
            { text("name"), text(daemonNames[server]) },
            { text("busName"), text(identities[server].busName) },
            { text("present"), true },
            { text("owner"), QString::fromLatin1(daemons[server].uniqueName()) },
            { text("pid"), int(getpid()) },
            { text("properties"), properties },
        };
    }
    QCOMPARE(object(Ctl(words("status --json")).out()),
             (QJsonObject { { text("daemons"), expected } }));
}

void tst_Ctl::statusOfAbsentDaemons()
{
    FakeDaemons daemons;
    answerProperties(&daemons);
    daemons.stop(SUPPLYD);
    Ctl absent(words("status"));
    QCOMPARE(absent.exitCode(), 4);
    QVERIFY2(absent.out().endsWith("  qmlBatteryStatus         87\nsupplyd  absent\n"),
             absent.out());
    const QJsonArray
        json = object(Ctl(words("status --json")).out()).value(text("daemons")).toArray();
    QCOMPARE(json.at(1).toObject().value(text("present")), QJsonValue(true));
    QCOMPARE(json.at(2).toObject().value(text("present")), QJsonValue(false));
    QVERIFY(!json.at(2).toObject().contains(text("owner")));
    QCOMPARE(json.at(2)
                 .toObject()
                 .value(text("properties"))
                 .toObject()
                 .value(text("qmlSupplySKU"))
                 .toObject()
                 .value(text("exit")),
             QJsonValue(4));

    daemons.start(SUPPLYD);
    daemons.stop(IOEXPD);
    Ctl withoutPanel(words("status"));
    QCOMPARE(withoutPanel.exitCode(), 4);
    QVERIFY2(withoutPanel.out().startsWith("ioexpd   absent\nm4       present, "),
             withoutPanel.out());
    daemons.start(IOEXPD);
    daemons[M4].answerError("getAlert", "org.hnipc.Error.Odd", "so it is");
    Ctl refused(words("status"));
    QCOMPARE(refused.exitCode(), 5);
    QVERIFY2(
        refused.out().contains(
            "  qmlPrintEngineErrorCode  17\n"
            "  qmlPrintEngineAlertCode  m4 replied with the error org.hnipc.Error.Odd: so it is\n"),
        refused.out());

    daemons[M4].answer("getAlert", "(0,)");
    daemons[SUPPLYD].ignore("supplySKUCached");
    Ctl silent(words("status --timeout 3000"));
    QCOMPARE(silent.exitCode(), 6);
    QVERIFY2(silent.out().contains("  qmlSupplyPercent         81.5\n"), silent.out());
    QVERIFY2(silent.out().endsWith(
                 "  qmlSupplySKU             org.hnipc.supplyd did not reply within 3000 ms\n"),
             silent.out());
}

// It has no properties, so that no value shows that it does not reply.
void tst_Ctl::statusOfSilentDaemon()
{
    FakeDaemons daemons;
    answerProperties(&daemons);
    const auto silence = std::make_shared<QSemaphore>();
    daemons[IOEXPD].whenIntrospected([silence]() { silence->acquire(); });
    const QByteArray line = "ioexpd   present, " + daemons[IOEXPD].uniqueName() + ", process "
        + QByteArray::number(int(getpid())) + ", does not reply\n";
    Ctl all(words("status --timeout 3000"));
    QCOMPARE(all.exitCode(), 6);
    QVERIFY2(all.out().startsWith(line + "m4       present, "), all.out());
    QCOMPARE(all.out().count("does not reply"), 1);
    const QJsonArray json = object(Ctl(words("--json status --timeout 3000")).out())
                                .value(text("daemons"))
                                .toArray();
    QCOMPARE(json.at(0).toObject().value(text("silent")), QJsonValue(true));
    QVERIFY(!json.at(1).toObject().contains(text("silent")));
    silence->release(100);
}

void tst_Ctl::statusOfSomeDaemons()
{
    FakeDaemons daemons;
    answerProperties(&daemons);
    daemons.stop(SUPPLYD);
    Ctl one(words("status ioexpd"));
    QCOMPARE(one.exitCode(), 0);
    QCOMPARE(one.out(),
             "ioexpd   present, " + daemons[IOEXPD].uniqueName() + ", process "
                 + QByteArray::number(int(getpid())) + '\n');
    QVERIFY(daemons.takeCalls().isEmpty());
    Ctl two(words("status supplyd m4"));
    QCOMPARE(two.exitCode(), 4);
    QVERIFY2(two.out().startsWith("m4       present, "), two.out());
    QVERIFY2(two.out().endsWith("\nsupplyd  absent\n"), two.out());
    Ctl unknown(words("status m4 m5"));
    QCOMPARE(unknown.exitCode(), 7);
    QCOMPARE(unknown.err(),
             QByteArray("hnipcctl: no daemon m5; expected one of ioexpd, m4, supplyd\n"));
}

void tst_Ctl::statusOnTerminal()
{
    FakeDaemons daemons;
    answerProperties(&daemons);
    const QString command = text("hnipcctl status");
    const QByteArray patch = "\033[48;2;0;174;239m  \033[0m \033[48;2;236;0;140m  \033[0m "
                             "[\"#00aeef\",\"#ec008c\"]\r\n";
    for (const char *depth : { "truecolor", "24bit" }) {
        QScopedPointer<Ctl> ctl(Ctl::onTerminal(command, { { text("COLORTERM"), text(depth) } }));
        QVERIFY2(ctl->out().contains(patch), ctl->out());
    }
    QScopedPointer<Ctl> plain(Ctl::onTerminal(command));
    QCOMPARE(plain->exitCode(), 0);
    QVERIFY2(plain->out().contains("qmlRibbonColorRGBs       [\"#00aeef\",\"#ec008c\"]\r\n"),
             plain->out());
    QVERIFY(plain->out().contains("\033[1mm4       \033[0m"));

    // A text that is not a colour has no colour patch.
    daemons[SUPPLYD].answer("supplySupplyRGB", "('white',)");
    QScopedPointer<Ctl> named(
        Ctl::onTerminal(command, { { text("COLORTERM"), text("truecolor") } }));
    QVERIFY2(named->out().contains("qmlSupplyColorRGB        \"white\"\r\n"), named->out());
}

void tst_Ctl::get()
{
    FakeDaemons daemons;
    answerProperties(&daemons);
    QCOMPARE(Ctl(words("get qmlSupplySKU")).out(), QByteArray("S-100\n"));
    QCOMPARE(Ctl(words("get qmlRibbonColorRGBs")).out(), QByteArray("#00aeef\n#ec008c\n"));
    QCOMPARE(daemons.takeCalls().size(), 2);
    Ctl two(words("get qmlBatteryStatus qmlSupplySKU"));
    QCOMPARE(two.exitCode(), 0);
    QCOMPARE(two.out(),
             QByteArray("qmlBatteryStatus         87\n"
                        "qmlSupplySKU             \"S-100\"\n"));
    daemons.takeCalls();

    QByteArray all;
    QJsonObject json;
    QList<QByteArray> readers;
    for (const PropertyRow &row : propertyRows) {
        all += QByteArray(row.name).leftJustified(25) + row.value + '\n';
        json.insert(
            text(row.name),
            QJsonObject { { text("value"), array(QByteArray("[") + row.value + ']').first() } });
        readers += row.method;
    }
    QCOMPARE(Ctl(words("get all")).out(), all);
    QList<QByteArray> called;
    for (const WireMessage &call : daemons.takeCalls()) {
        called += call.member;
    }
    std::sort(called.begin(), called.end());
    std::sort(readers.begin(), readers.end());
    QCOMPARE(called, readers);
    QCOMPARE(object(Ctl(words("get all --json")).out()), json);
}

void tst_Ctl::getFailures()
{
    FakeDaemons daemons;
    answerProperties(&daemons);
    Ctl unknown(words("get qmlSupplySKU qmlBatteryState"));
    QCOMPARE(unknown.exitCode(), 7);
    QCOMPARE(unknown.out(), QByteArray());
    QCOMPARE(unknown.err(),
             QByteArray("hnipcctl: no property qmlBatteryState; "
                        "did you mean qmlBatteryStatus?\n"));
    QVERIFY(daemons.takeCalls().isEmpty());

    daemons[M4].answer("getBatteryStatus", "('full',)");
    Ctl some(words("get qmlBatteryStatus qmlSupplySKU"));
    QCOMPARE(some.exitCode(), 1);
    QCOMPARE(some.out(), QByteArray("qmlSupplySKU             \"S-100\"\n"));
    QVERIFY2(some.err().startsWith(
                 "hnipcctl: qmlBatteryStatus: org.hnipc.m4 replied with another type: ")
                 && some.err().contains("\"s\"") && some.err().contains("\"i\""),
             some.err());
    QCOMPARE(lines(some.err()).size(), 1);
    const QJsonObject json = object(Ctl(words("get --json qmlBatteryStatus qmlSupplySKU")).out());
    QCOMPARE(json.value(text("qmlBatteryStatus")).toObject().value(text("exit")), QJsonValue(1));
    QCOMPARE(json.value(text("qmlSupplySKU")).toObject(),
             (QJsonObject { { text("value"), text("S-100") } }));
}

// ---- watch ---------------------------------------------------------------------------------

void tst_Ctl::watchesInLines()
{
    FakeDaemons daemons;
    answerProperties(&daemons);
    Ctl ctl(words("watch"));
    for (const PropertyRow &row : propertyRows) {
        QVERIFY(ctl.prints(' ' + QByteArray(row.name).leftJustified(25) + row.value + '\n'));
    }
    QCOMPARE(lines(ctl.output()).size(), clientPropertyCount);
    daemons.takeCalls();

    // Each signal makes the program read its property again, and no other property.
    for (const PropertyRow &row : propertyRows) {
        const QByteArray type = row.answer;
        const QByteArray body = type.contains('[') ? "(['#010203'],)"
            : type.contains('\'')                  ? "('changed',)"
            : type.contains('.')                   ? "(1.25,)"
                                                   : "(42,)";
        const QByteArray value = type.contains('[') ? "[\"#010203\"]"
            : type.contains('\'')                   ? "\"changed\""
            : type.contains('.')                    ? "1.25"
                                                    : "42";
        daemons[row.server].answer(row.method, body);
        const QByteArray arguments = row.name == QByteArray("qmlSupplySKU") ? "('x', 'y')" : body;
        QVERIFY(daemons.emitSignal(row.server, row.member, arguments));
        QVERIFY(ctl.prints(' ' + QByteArray(row.name).leftJustified(25) + value + '\n'));
        // If the signal carries the value, the value is printed before it has been read.
        QVERIFY(waitUntil([&]() { return !daemons[row.server].calls().isEmpty(); }));
        const QList<WireMessage> calls = daemons.takeCalls();
        QCOMPARE(calls.size(), 1);
        QCOMPARE(calls.first().member, QByteArray(row.method));
    }
    QCOMPARE(lines(ctl.output()).size(), 16);

    daemons.stop(M4);
    QVERIFY(ctl.prints(" qmlBatteryStatus         absent\n"));
    QVERIFY(ctl.prints(" qmlPrintEngineErrorCode  absent\n"));
    daemons[M4].answer("getBatteryStatus", "(5,)");
    daemons.start(M4);
    QVERIFY(ctl.prints(" qmlBatteryStatus         5\n"));
    ctl.interrupt();
    QCOMPARE(ctl.exitCode(), 130);
    QCOMPARE(ctl.err(), QByteArray());
}

void tst_Ctl::watchesInJson()
{
    FakeDaemons daemons;
    answerProperties(&daemons);
    Ctl ctl(words("watch --json"));
    QVERIFY(waitUntil([&]() { return ctl.output().count('\n') == 8; }));
    QJsonObject values;
    for (const QByteArray &line : lines(ctl.output())) {
        const QJsonObject row = object(line);
        values.insert(row.value(text("property")).toString(), row.value(text("value")));
        QVERIFY(
            QDateTime::fromString(row.value(text("time")).toString(), Qt::ISODateWithMs).isValid());
    }
    for (const PropertyRow &row : propertyRows) {
        QCOMPARE(values.value(text(row.name)), array(QByteArray("[") + row.value + ']').first());
    }
    daemons.stop(SUPPLYD);
    QVERIFY(waitUntil([&]() { return ctl.output().count('\n') == 13; }));
    const QJsonObject gone = object(lines(ctl.output()).last());
    QCOMPARE(gone.value(text("exit")), QJsonValue(4));
    QCOMPARE(gone.value(text("daemon")), QJsonValue(text("supplyd")));
}

void tst_Ctl::watchesOnTerminal()
{
    FakeDaemons daemons;
    answerProperties(&daemons);
    QScopedPointer<Ctl> ctl(
        Ctl::onTerminal(text("hnipcctl watch"), { { text("NO_COLOR"), text("1") } }));
    QVERIFY(ctl->prints("\033[?25l"));
    QVERIFY(ctl->prints("qmlSupplyPercent         "));
    QVERIFY(ctl->prints("\rqmlBatteryStatus         87\033[K\r\n"));
    daemons[M4].answer("getBatteryStatus", "(12,)");
    QVERIFY(daemons.emitSignal(M4, "M4_M4BatteryUpdate", "(12,)"));
    QVERIFY(ctl->prints("\033[8A"));
    QVERIFY(ctl->prints("\rqmlBatteryStatus         12\033[K\r\n"));
    // A long value does not wrap onto a second line.
    daemons[SUPPLYD].answer("supplySKUCached", "('" + QByteArray(200, 'x') + "',)");
    QVERIFY(daemons.emitSignal(SUPPLYD, "SUPPLYD_SupplyChanged", "('', '')"));
    QVERIFY(ctl->prints("\rqmlSupplySKU             \"" + QByteArray(53, 'x') + "\033[K\r\n"));
    QVERIFY(!ctl->output().contains("\033[?25h"));
    ctl->type("\x03");
    QCOMPARE(ctl->exitCode(), 130);
    QVERIFY(ctl->out().contains("\033[?25h"));
}

void tst_Ctl::watchDoesNotWaitForADaemon()
{
    FakeDaemons daemons;
    answerProperties(&daemons);
    daemons[M4].ignore("getError");
    QScopedPointer<Ctl> terminal(
        Ctl::onTerminal(text("hnipcctl watch"), { { text("NO_COLOR"), text("1") } }));
    QVERIFY(terminal->prints("\rqmlBatteryStatus         87\033[K\r\n"));
    QVERIFY(terminal->prints("\rqmlPrintEngineErrorCode  ...\033[K\r\n"));

    // The value of a signal is shown while the daemon does not reply, and a failed read is
    // repeated.
    Ctl ctl(words("watch --timeout 1000"));
    QVERIFY(ctl.prints(" qmlBatteryStatus         87\n"));
    QVERIFY(daemons.emitSignal(M4, "M4_Error", "(18,)"));
    QVERIFY(ctl.prints(" qmlPrintEngineErrorCode  18\n"));
    QVERIFY(ctl.prints(" qmlPrintEngineErrorCode  org.hnipc.m4 did not reply within 1000 ms\n"));
    daemons[M4].answer("getError", "(19,)");
    QVERIFY(ctl.prints(" qmlPrintEngineErrorCode  19\n"));
}

// ---- monitor -------------------------------------------------------------------------------

void tst_Ctl::monitorsEverySignal()
{
    FakeDaemons daemons;
    Ctl ctl(words("monitor"));
    Ctl json(words("monitor --json --count 118"));
    QVERIFY(ctl.complains(subscribed));
    QVERIFY(json.complains(subscribed));

    QList<QByteArray> expected;
    QJsonArray expectedJson;
    for (int round = 0; round < 2; ++round) {
        for (const ClientSignal &signal : clientSignals) {
            if (signal.server == NoServer) {
                continue;
            }
            QVERIFY(daemons.emitSignal(signal.server, signal.member, samplesBody(signal, round)));
            const QList<QByteArray> names = list(signal.parameters);
            const QList<QByteArray> types = typesOf(signal.signature);
            QByteArray line = QByteArray(daemonNames[signal.server]).leftJustified(8)
                + nameOf(signal.signature);
            QJsonObject arguments;
            for (int i = 0; i < types.size(); ++i) {
                const Shown values = shown(types.at(i));
                const int sample = (round + i) % values.printed.size();
                const QJsonValue value = array(values.json).at(sample);
                QByteArray printed = QJsonDocument(QJsonArray { value })
                                         .toJson(QJsonDocument::Compact);
                printed = printed.mid(1, printed.size() - 2);
                if (withoutAliases(types.at(i)) == "qulonglong") {
                    printed = values.printed.at(sample).trimmed();
                }
                line += ' ' + names.at(i) + '=' + printed;
                arguments.insert(QString::fromLatin1(names.at(i)), value);
            }
            expected += line;
            expectedJson += QJsonObject {
                { text("daemon"), text(daemonNames[signal.server]) },
                { text("signal"), QString::fromLatin1(nameOf(signal.signature)) },
                { text("arguments"), arguments },
            };
        }
    }
    QCOMPARE(expected.size(), 118);
    QVERIFY(waitUntil([&]() { return ctl.output().count('\n') >= expected.size(); }));
    const QList<QByteArray> printed = lines(ctl.output());
    QCOMPARE(printed.size(), expected.size());
    for (int i = 0; i < printed.size(); ++i) {
        QVERIFY(QTime::fromString(QString::fromLatin1(printed.at(i).left(12)), text("HH:mm:ss.zzz"))
                    .isValid());
        QCOMPARE(printed.at(i).mid(13), expected.at(i));
    }

    QCOMPARE(json.exitCode(), 0);
    const QList<QByteArray> objects = lines(json.out());
    QCOMPARE(objects.size(), expectedJson.size());
    for (int i = 0; i < objects.size(); ++i) {
        QJsonObject row = object(objects.at(i));
        const QString time = row.take(text("time")).toString();
        QVERIFY(time.endsWith(QLatin1Char('Z'))
                && QDateTime::fromString(time, Qt::ISODateWithMs).isValid());
        QCOMPARE(row, expectedJson.at(i).toObject());
    }
}

void tst_Ctl::monitorsByPattern()
{
    FakeDaemons daemons;
    Ctl ctl(words("monitor --count 2 *percentchanged"));
    QVERIFY(ctl.complains("subscribed to 3 signals"));
    QVERIFY(Ctl(words("monitor PrintQueueClear")).complains("subscribed to 1 signal;"));
    daemons.emitSignal(SUPPLYD, "SUPPLYD_SupplyRGBChanged", "('#ffffff',)");
    daemons.emitSignal(SUPPLYD, "SUPPLYD_Ribbon2PercentChanged", "(1.5,)");
    daemons.emitSignal(M4, "M4_Error", "(1,)");
    daemons.emitSignal(SUPPLYD, "SUPPLYD_SupplyPercentChanged", "(2.5,)");
    QCOMPARE(ctl.exitCode(), 0);
    const QList<QByteArray> printed = lines(ctl.out());
    QCOMPARE(printed.size(), 2);
    QVERIFY(printed.first().endsWith(" supplyd Ribbon2PercentChanged percentage=1.5"));
    QVERIFY(printed.last().endsWith(" supplyd SupplyPercentChanged percentage=2.5"));

    Ctl none(words("monitor StatusChanged"));
    QCOMPARE(none.exitCode(), 7);
    QCOMPARE(none.err(), QByteArray("hnipcctl: no signal matches \"StatusChanged\"\n"));
}

void tst_Ctl::monitorMarksOtherForms()
{
    FakeDaemons daemons;
    Ctl ctl(words("monitor --count 3"));
    Ctl json(words("monitor --json --count 3"));
    QVERIFY(ctl.complains("subscribed") && json.complains("subscribed"));
    daemons.emitSignal(M4, "M4_Error", "('lid', 5)");
    daemons.emitSignal(M4, "M4_Error", "(5, ('a', [1]))");
    daemons.emitSignal(M4, "M4_M4TphTherm", "()");
    QCOMPARE(ctl.exitCode(), 0);
    QVERIFY2(lines(ctl.out()).first().endsWith(
                 " m4      Error \"lid\" 5 (clients do not receive it: \"si\", not \"i\")"),
             ctl.out());
    QVERIFY2(lines(ctl.out()).at(1).endsWith(
                 " m4      Error 5 [\"a\",[1]] (clients receive only \"i\" of \"i(sai)\")"),
             ctl.out());
    QVERIFY2(lines(ctl.out()).last().endsWith(
                 " m4      M4TphTherm (clients do not receive it: \"\", not \"ii\")"),
             ctl.out());
    QCOMPARE(json.exitCode(), 0);
    QJsonObject row = object(lines(json.out()).first());
    row.remove(text("time"));
    QCOMPARE(row,
             object("{\"daemon\":\"m4\",\"signal\":\"Error\",\"arguments\":[\"lid\",5],"
                    "\"signature\":\"si\"}"));
}

void tst_Ctl::monitorIgnoresOtherSenders()
{
    FakeDaemons daemons;
    Ctl ctl(words("monitor --count 2"));
    QVERIFY(ctl.complains("subscribed"));
    WirePeer stranger;
    stranger.emitSignal("/", "local.IHNIPCM4", "M4_Error", "(666,)");
    daemons[M4].emitSignal("/elsewhere", "local.IHNIPCM4", "M4_Error", "(667,)");
    daemons.emitSignal(M4, "M4_Error", "(1,)");
    // The signals of the next owner of that bus name are received as well.
    daemons.stop(M4);
    QVERIFY(stranger.own("org.hnipc.m4"));
    stranger.emitSignal("/", "local.IHNIPCM4", "M4_Error", "(2,)");
    QCOMPARE(ctl.exitCode(), 0);
    const QList<QByteArray> printed = lines(ctl.out());
    QCOMPARE(printed.size(), 2);
    QVERIFY(printed.first().endsWith("Error value=1"));
    QVERIFY(printed.last().endsWith("Error value=2"));
}

void tst_Ctl::monitorReportsDaemons()
{
    FakeDaemons daemons;
    daemons.stop(IOEXPD);
    Ctl ctl(words("monitor"));
    const QByteArray begins = "hnipcctl: " + subscribed + "; Ctrl-C ends\n";
    QVERIFY(ctl.complains(subscribed));
    daemons.stop(M4);
    QVERIFY(ctl.complains("m4 left the bus\n"));
    daemons.start(IOEXPD);
    QVERIFY(ctl.complains("ioexpd is on the bus\n"));
    // Another process acquires the name at once.
    WirePeer other;
    QVERIFY(daemons[SUPPLYD].release("org.hnipc.supplyd") && other.own("org.hnipc.supplyd"));
    QVERIFY(ctl.complains("supplyd is on the bus\n"));
    ctl.interrupt();
    QCOMPARE(ctl.exitCode(), 130);
    QCOMPARE(ctl.err(),
             begins
                 + "hnipcctl: m4 left the bus\n"
                   "hnipcctl: ioexpd is on the bus\n"
                   "hnipcctl: supplyd left the bus\n"
                   "hnipcctl: supplyd is on the bus\n");
    QCOMPARE(ctl.out(), QByteArray());
}

void tst_Ctl::monitorPrintsTheTime()
{
    FakeDaemons daemons;
    Ctl ctl(words("monitor --json --count 1"));
    QVERIFY(ctl.complains("subscribed"));
    const QDateTime before = QDateTime::currentDateTimeUtc();
    daemons.emitSignal(M4, "M4_Error", "(1,)");
    QCOMPARE(ctl.exitCode(), 0);
    const QDateTime time = QDateTime::fromString(object(ctl.out()).value(text("time")).toString(),
                                                 Qt::ISODateWithMs);
    QVERIFY2(time >= before && time <= QDateTime::currentDateTimeUtc(), ctl.out());

    // The same as text, in local time. The time is not checked if midnight has passed.
    Ctl person(words("monitor --count 1"));
    QVERIFY(person.complains("subscribed"));
    const QDateTime start = QDateTime::currentDateTime();
    daemons.emitSignal(M4, "M4_Error", "(1,)");
    QCOMPARE(person.exitCode(), 0);
    const QTime shown = QTime::fromString(QString::fromLatin1(person.out().left(12)),
                                          text("HH:mm:ss.zzz"));
    const QDateTime end = QDateTime::currentDateTime();
    QVERIFY2((shown >= start.time() && shown <= end.time()) || start.date() != end.date(),
             person.out());
}

void tst_Ctl::monitorLosesNothing()
{
    const int count = 20000;
    FakeDaemons daemons;
    Ctl ctl({ text("monitor"), text("--json"), text("--count"), QString::number(count) });
    QVERIFY(ctl.complains("subscribed"));
    for (int i = 0; i < count; ++i) {
        daemons[M4].emitSignal("/", "local.IHNIPCM4", "M4_M4Dac0",
                               "(uint32 " + QByteArray::number(i) + ",)");
    }
    QCOMPARE(ctl.exitCode(), 0);
    const QList<QByteArray> printed = lines(ctl.out());
    QCOMPARE(printed.size(), count);
    for (int i = 0; i < count; ++i) {
        const QJsonObject arguments = object(printed.at(i)).value(text("arguments")).toObject();
        QCOMPARE(arguments.value(text("value")).toInt(-1), i);
    }
}

void tst_Ctl::monitorReportsTheSubscriptionFirst()
{
    FakeDaemons daemons;
    for (int i = 0; i < 20; ++i) {
        Ctl ctl(words("monitor --count 1"));
        QVERIFY(waitUntil([&]() {
            daemons.emitSignal(M4, "M4_Error", "(1,)");
            return !ctl.isRunning();
        }));
        QCOMPARE(ctl.exitCode(), 0);
        QCOMPARE(ctl.err(), "hnipcctl: " + subscribed + "; Ctrl-C ends\n");
        QVERIFY(ctl.out().endsWith("Error value=1\n"));
    }
}

void tst_Ctl::monitorEnds()
{
    Ctl interrupted(words("monitor"));
    QVERIFY(interrupted.complains("subscribed"));
    interrupted.interrupt();
    QCOMPARE(interrupted.exitCode(), 130);
    QCOMPARE(interrupted.out(), QByteArray());

    BusProcess bus;
    WirePeer ioexpd(bus);
    QVERIFY(ioexpd.own("org.hnipc.ioexpd"));
    Ctl monitor({ text("monitor"), text("--address"), bus.address() });
    Ctl watch({ text("watch"), text("--address"), bus.address() });
    QScopedPointer<Ctl> table(Ctl::onTerminal(text("hnipcctl watch --address ") + bus.address()));
    QVERIFY(monitor.complains("subscribed"));
    QVERIFY(watch.prints("qmlBatteryStatus         absent\n"));
    QVERIFY(table->prints("absent"));
    bus.kill();
    QCOMPARE(monitor.exitCode(), 3);
    QCOMPARE(monitor.err(),
             "hnipcctl: " + subscribed
                 + QByteArray("; Ctrl-C ends\n"
                              "hnipcctl: the bus connection was lost\n"));
    QCOMPARE(watch.exitCode(), 3);
    QCOMPARE(watch.err(), QByteArray("hnipcctl: the bus connection was lost\n"));
    QCOMPARE(watch.out().count("absent\n"), 8);
    QCOMPARE(watch.out().count('\n'), 8);
    QCOMPARE(table->exitCode(), 3);
    QVERIFY(table->out().endsWith("\033[?25h")); // the cursor is visible again
}

// ---- introspect ----------------------------------------------------------------------------

void tst_Ctl::introspects()
{
    FakeDaemons daemons;
    daemons[M4].setIntrospection(
        "<node><interface name='local.Other'><method name='put'>"
        "<arg name='key' type='s' direction='in'/><arg type='a{sv}' direction='in'/>"
        "<arg type='b' direction='out'/></method>"
        "<signal name='Done'><arg name='code' type='i'/></signal></interface></node>");
    Ctl ctl(words("introspect m4"));
    QCOMPARE(ctl.exitCode(), 0);
    QCOMPARE(ctl.out(),
             QByteArray("local.Other\n  method put(s key, a{sv}) -> b\n"
                        "  signal Done(i code)\n"));
    QCOMPARE(
        array(Ctl(words("introspect m4 --json")).out()),
        array("[{\"interface\":\"local.Other\",\"members\":[{\"kind\":\"method\",\"name\":\"put\","
              "\"arguments\":[{\"name\":\"key\",\"type\":\"s\",\"direction\":\"in\"},"
              "{\"name\":\"\",\"type\":\"a{sv}\",\"direction\":\"in\"},"
              "{\"name\":\"\",\"type\":\"b\",\"direction\":\"out\"}]},"
              "{\"kind\":\"signal\",\"name\":\"Done\",\"arguments\":"
              "[{\"name\":\"code\",\"type\":\"i\",\"direction\":\"out\"}]}]}]"));

    Ctl unknown(words("introspect m5"));
    QCOMPARE(unknown.exitCode(), 7);
    QCOMPARE(unknown.err(),
             QByteArray("hnipcctl: no daemon m5; expected one of ioexpd, m4, supplyd\n"));
    QCOMPARE(Ctl(words("introspect ioexpd")).exitCode(), 5);
    daemons[IOEXPD].setIntrospection("<node><interface name='x'>");
    Ctl broken(words("introspect ioexpd"));
    QCOMPARE(broken.exitCode(), 1);
    QVERIFY(broken.err().startsWith("hnipcctl: ioexpd's introspection data is not valid XML: "));
}

void tst_Ctl::introspectsNamesOfAnyKind()
{
    FakeDaemons daemons;
    daemons[M4].setIntrospection(
        "<node><interface name='local&#x9b;2J'><method name='a&#x9b;b'>"
        "<arg name='c&#x9b;d' type='s&#x9b;' direction='in'/><arg type='b&#x9b;' direction='out'/>"
        "</method></interface></node>");
    Ctl ctl(words("introspect m4"));
    QCOMPARE(ctl.exitCode(), 0);
    QCOMPARE(ctl.out(),
             QByteArray("local\\u009b2J\n"
                        "  method a\\u009bb(s\\u009b c\\u009bd) -> b\\u009b\n"));
}

void tst_Ctl::checksDescription()
{
    QFile file(QStringLiteral(HNIPC_INTERFACES_DIR "/local.IHNIPCIOEXPD.xml"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray whole = file.readAll();
    const QByteArray backlight = "name=\"enableBacklight\"";
    const QByteArray value = "<arg name=\"value\" type=\"b\" direction=\"in\"/>";
    const QByteArray signal = "<signal name=\"IOEXPD_HelpButton\">";
    for (const QByteArray &part : { backlight, value, signal }) {
        QVERIFY(whole.contains(part));
    }

    FakeDaemons daemons;
    const auto check = [&daemons](const QByteArray &description, int exitCode) {
        daemons[IOEXPD].setIntrospection(description);
        Ctl ctl(words("introspect --check ioexpd"));
        return ctl.exitCode() == exitCode ? ctl.out() : "another exit code: " + ctl.err();
    };
    QCOMPARE(check(whole, 0), QByteArray("ioexpd: as described, 6 methods\n"));

    QByteArray changed = whole;
    QCOMPARE(check(changed.replace(backlight, "name=\"enableLight\""), 1),
             QByteArray("ioexpd: enableBacklight(b) is missing\n"
                        "ioexpd: enableLight(b) is not described\n"));
    changed = whole;
    QCOMPARE(check(changed.replace(value, "<arg name=\"on\" type=\"b\" direction=\"in\"/>"), 1),
             QByteArray("ioexpd: the name of argument 1 of enableAudioAmp(b) is on, not value\n"
                        "ioexpd: the name of argument 1 of enableBacklight(b) is on, not value\n"));
    changed = whole;
    QCOMPARE(check(changed.replace(value, value + "<arg type=\"b\" direction=\"out\"/>"), 1),
             QByteArray("ioexpd: enableAudioAmp(b) returns \"b\", not \"\"\n"
                        "ioexpd: enableBacklight(b) returns \"b\", not \"\"\n"));
    changed = whole;
    QCOMPARE(check(changed.replace(signal, "<signal name=\"IOEXPD_Hilfe\">"), 1),
             QByteArray("ioexpd: IOEXPD_HelpButton() is missing\n"
                        "ioexpd: IOEXPD_Hilfe() is not described\n"));
    QCOMPARE(check("<node><interface name='local.Other'/></node>", 1),
             QByteArray("ioexpd: the interface local.IHNIPCIOEXPD is missing\n"));

    Ctl json(words("introspect --check --json ioexpd"));
    QCOMPARE(json.exitCode(), 1);
    QCOMPARE(object(json.out()),
             object("{\"daemon\":\"ioexpd\",\"differences\":"
                    "[\"the interface local.IHNIPCIOEXPD is missing\"]}"));
}

void tst_Ctl::checksRealDaemons_data()
{
    QTest::addColumn<int>("server");
    for (int server = 0; server < ServerCount; ++server) {
        QTest::newRow(daemonNames[server]) << server;
    }
}

void tst_Ctl::checksRealDaemons()
{
    QFETCH(int, server);
    const QByteArray name = daemonNames[server];
    const QScopedPointer<Program> daemon(Program::daemon(name));
    Ctl ctl({ text("introspect"), text("--check"), text(name) });
    QCOMPARE(ctl.exitCode(), 0);
    QCOMPARE(ctl.out(),
             name + ": as described, " + QByteArray::number(serverSlots(server).size())
                 + " methods\n");
}

// ---- completion ----------------------------------------------------------------------------

void tst_Ctl::completes_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QByteArray>("expected");

    const auto row = [](const char *line, const char *expected) {
        QTest::newRow(line) << QByteArray(line) << QByteArray(expected);
    };
    row("st", "status");
    row("c", "call completion");
    row("--a", "--address");
    row("--json mo", "monitor");
    row("--timeout 5 int", "introspect");
    row("call setU", "setUserSetting");
    row("call sendMCC", "sendMCCMessage");
    row("call --o", "--output");
    row("list --timeout 5 forw", "forwardFeed");
    row("get qmlSupply", "qmlSupplyColorRGB qmlSupplyPercent qmlSupplySKU");
    row("get qmlBatteryStatus al", "all");
    row("monitor Ribbon2", "Ribbon2PercentChanged Ribbon2RGBsChanged");
    row("monitor --c", "--count");
    row("met", "metrics");
    row("metrics --o", "--output");
    row("metrics m", "");
    row("introspect ",
        "--address --check --help --host --hosts --json --timeout --version ioexpd m4 "
        "supplyd");
    row("re", "record replay");
    row("record --f", "--force");
    row("replay --sp", "--speed");
    row("status --ho", "--host --hosts");
    row("--host printer get qmlBat", "qmlBatteryStatus");
    row("completion b", "bash");
    row("help wa", "watch");
    row("help watch ", "");
    row("call enableBacklight t", "true");
    row("call enableBacklight f", "false");
    row("call enableBacklight enableB", "");
    row("call setDac setD", "");
    row("call -- enableBacklight t", "true");
    row("introspect m4 supp", "");
    row("status m4 supp", "supplyd");
    row("--host = p1 st", "status");
    row("--host = p1 call setU", "setUserSetting");
    row("status --timeout = 5 --js", "--json");
}

// As bash splits and completes words: also at each = and @.
void tst_Ctl::completesAsTyped()
{
    // clang-format off
    const struct { const char *line; const char *words; const char *expected; } rows[] = {
        { "hnipcctl --host=p1 st", "--host = p1 st", "status" },
        { "hnipcctl --host service@p1 st", "--host service @ p1 st", "status" },
        { "hnipcctl --host=service@p1 call setU", "--host = service @ p1 call setU",
          "setUserSetting" },
        { "hnipcctl --address unix:path=/x st", "--address unix : path = /x st", "status" },
        { "hnipcctl --host p1 call enableBacklight t", "--host p1 call enableBacklight t", "true" },
    };
    // clang-format on
    for (const auto &row : rows) {
        QScopedPointer<Ctl> shell(Ctl::inShell(
            QStringLiteral("eval \"$(hnipcctl completion bash)\"; COMP_LINE='%1'; "
                           "COMP_WORDS=(hnipcctl %2); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); "
                           "_hnipcctl; echo \"${COMPREPLY[@]}\"")
                .arg(text(row.line), text(row.words))));
        QCOMPARE(shell->err(), QByteArray());
        QCOMPARE(shell->out(), row.expected + QByteArray("\n"));
    }
}

void tst_Ctl::completes()
{
    QFETCH(QByteArray, line);
    QFETCH(QByteArray, expected);

    QStringList quoted;
    for (const QString &word : words(line)) {
        quoted += QLatin1Char('\'') + word + QLatin1Char('\'');
    }
    QScopedPointer<Ctl> shell(Ctl::inShell(
        QStringLiteral("eval \"$(hnipcctl completion bash)\" && complete -p hnipcctl >/dev/null && "
                       "COMP_WORDS=(hnipcctl %1) && COMP_CWORD=$((${#COMP_WORDS[@]} - 1)) && "
                       "_hnipcctl; printf '%s\\n' \"${COMPREPLY[@]}\" | LC_ALL=C sort")
            .arg(quoted.join(QLatin1Char(' ')))));
    QCOMPARE(shell->err(), QByteArray());
    QCOMPARE(lines(shell->out()).join(' '), expected);
}

// ---- Terminals and pipes -------------------------------------------------------------------

void tst_Ctl::colours_data()
{
    QTest::addColumn<Environment>("environment");
    QTest::addColumn<bool>("coloured");

    QTest::newRow("usual") << Environment() << true;
    QTest::newRow("NO_COLOR") << Environment { { text("NO_COLOR"), text("1") } } << false;
    QTest::newRow("NO_COLOR empty") << Environment { { text("NO_COLOR"), QString() } } << true;
    QTest::newRow("dumb") << Environment { { text("TERM"), text("dumb") } } << false;
}

void tst_Ctl::colours()
{
    QFETCH(Environment, environment);
    QFETCH(bool, coloured);

    QScopedPointer<Ctl> list(Ctl::onTerminal(text("hnipcctl list feed"), environment));
    QCOMPARE(list->exitCode(), 0);
    QCOMPARE(list->out().contains('\033'), coloured);
    QVERIFY(list->out().contains(coloured ? "\033[1mforwardFeed\033[0m(" : "forwardFeed("));

    FakeDaemons daemons;
    answerProperties(&daemons);
    QScopedPointer<Ctl> status(Ctl::onTerminal(text("hnipcctl status"), environment));
    QCOMPARE(status->out().contains('\033'), coloured);
    // No colours in a pipe or in JSON.
    environment.insert(text("COLORTERM"), text("truecolor"));
    QVERIFY(!Ctl(words("status"), environment).out().contains('\033'));
    QScopedPointer<Ctl> json(Ctl::onTerminal(text("hnipcctl status --json"), environment));
    QVERIFY(!json->out().contains('\033'));
}

void tst_Ctl::controlCharacters()
{
    FakeDaemons daemons;
    daemons[M4].answer("m4Version", "('4.2\\n\\u001b[2J',)");
    QCOMPARE(Ctl(words("call m4Version")).out(), QByteArray("4.2\n\033[2J\n"));
    QScopedPointer<Ctl> terminal(Ctl::onTerminal(text("hnipcctl call m4Version")));
    QCOMPARE(terminal->out(), QByteArray("4.2\\u000a\\u001b[2J\r\n"));

    daemons[M4].answerError("getError", "org.hnipc.Error.Odd", "a\033[2Jb");
    QVERIFY(Ctl(words("call getError")).err().endsWith("Odd: a\\u001b[2Jb\n"));
}

// A printer's texts cannot make its row look like that of another printer.
void tst_Ctl::invisibleCharacters()
{
    // DEL, CSI, soft hyphen, zero-width space, right-to-left override, the two separators, the byte
    // order mark, and a tag, which is two units of UTF-16.
    const QByteArray raw = "\x7f \xc2\x9b \xc2\xad \xe2\x80\x8b \xe2\x80\xae \xe2\x80\xa8 "
                           "\xe2\x80\xa9 \xef\xbb\xbf \xf3\xa0\x81\x81 \xc3\xa4\xf0\x9f\x96\xa8";
    const QByteArray escaped = "\\u007f \\u009b \\u00ad \\u200b \\u202e \\u2028 \\u2029 \\ufeff "
                               "\\udb40\\udc41 \xc3\xa4\xf0\x9f\x96\xa8";
    FakeDaemons daemons;
    daemons[M4].answer("m4Version", "('" + raw + "',)");
    daemons[M4].answerError("getError", "org.hnipc.Error.Odd", raw);
    QCOMPARE(Ctl(words("call m4Version")).out(), raw + '\n'); // unchanged, for programs
    QScopedPointer<Ctl> terminal(Ctl::onTerminal(text("hnipcctl call m4Version")));
    QCOMPARE(terminal->out(), escaped + "\r\n");
    QVERIFY(Ctl(words("call getError")).err().endsWith("Odd: " + escaped + '\n'));

    // In JSON it is the same string, with other escapes.
    Ctl json(words("--json call m4Version"));
    QVERIFY2(json.out().contains("\"value\": \"" + escaped + '"'), json.out());
    QCOMPARE(object(json.out()).value(text("value")), QJsonValue(QString::fromUtf8(raw)));
    QScopedPointer<Ctl> jsonOnTerminal(Ctl::onTerminal(text("hnipcctl --json call m4Version")));
    QVERIFY2(jsonOnTerminal->out().contains('"' + escaped + '"'), jsonOnTerminal->out());
    QVERIFY(Ctl(words("--json call getError")).out().contains("Odd: " + escaped));
}

void tst_Ctl::numbersWithoutJson()
{
    FakeDaemons daemons;
    // clang-format off
    const struct { const char *body; const char *printed; } rows[] = {
        { "(nan,)", "nan" }, { "(inf,)", "inf" }, { "(-inf,)", "-inf" }, { "(-0.0,)", "-0" },
    };
    // clang-format on
    for (const auto &row : rows) {
        daemons[SUPPLYD].answer("supplySupplyPercent", row.body);
        // Qt 5 drops the sign of -0.
        QCOMPARE(Ctl(words("get qmlSupplyPercent")).out().replace("-0", "0"),
                 QByteArray(row.printed).replace("-0", "0") + '\n');
        QCOMPARE(object(Ctl(words("--json call supplySupplyPercent")).out()).value(text("value")),
                 QJsonValue(text(row.printed)));
    }
}

void tst_Ctl::restoresTheCursor_data()
{
    QTest::addColumn<QByteArray>("keys");
    QTest::addColumn<int>("signal");
    QTest::addColumn<int>("exitCode");

    QTest::newRow("Ctrl-C") << QByteArray("\003") << 0 << 130;
    QTest::newRow("Ctrl-\\") << QByteArray("\034") << 0 << 131;
    QTest::newRow("hangup") << QByteArray() << int(SIGHUP) << 129;
    QTest::newRow("terminated") << QByteArray() << int(SIGTERM) << 143;
}

void tst_Ctl::restoresTheCursor()
{
    QFETCH(QByteArray, keys);
    QFETCH(int, signal);
    QFETCH(int, exitCode);

    FakeDaemons daemons;
    answerProperties(&daemons);
    QScopedPointer<Ctl> plain(Ctl::onTerminal(text("echo $$; exec hnipcctl watch")));
    QVERIFY(plain->prints("\"S-100\""));
    if (keys.isEmpty()) {
        ::kill(pid_t(plain->output().split('\r').first().toInt()), signal);
    } else {
        plain->type(keys);
    }
    QCOMPARE(plain->exitCode(), exitCode);
    QVERIFY(plain->output().lastIndexOf("\033[?25h") > plain->output().lastIndexOf("\033[?25l"));
}

// Ctrl-Z in a shell with job control.
void tst_Ctl::suspendsAndContinues()
{
    FakeDaemons daemons;
    answerProperties(&daemons);
    QScopedPointer<Ctl> shell(
        Ctl::onTerminal(text("bash --norc --noprofile -i"), { { text("HISTFILE"), QString() } }));
    shell->type("hnipcctl watch\n");
    QVERIFY(shell->prints("87"));
    shell->type("\032");
    QVERIFY(shell->prints("Stopped"));
    QVERIFY(shell->output().lastIndexOf("\033[?25h") > shell->output().lastIndexOf("\033[?25l"));
    QVERIFY(shell->output().lastIndexOf("\033[?25h") < shell->output().lastIndexOf("Stopped"));

    // The whole table is drawn again, below the output of the shell.
    const int before = int(shell->output().size());
    shell->type("fg\n");
    QVERIFY(waitUntil([&]() { return shell->output().mid(before).contains("qmlBatteryStatus"); }));
    const QByteArray after = shell->output().mid(before);
    QVERIFY(after.contains("\033[?25l"));
    QVERIFY2(!after.left(after.indexOf("qmlBatteryStatus")).contains("\033[8A"), after);
    shell->type("\003");
    QVERIFY(waitUntil([&]() {
        return shell->output().lastIndexOf("\033[?25h") > shell->output().lastIndexOf("\033[?25l");
    }));
    shell->type("exit\n");
    QVERIFY(shell->ends());
}

void tst_Ctl::closedPipe()
{
    for (const char *command : { "list", "--help", "completion bash", "list --json" }) {
        QScopedPointer<Ctl> shell(Ctl::inShell(text("set -o pipefail; hnipcctl ") + text(command)
                                               + text(" | head -c 1")));
        QCOMPARE(shell->exitCode(), 0);
        QCOMPARE(shell->out().size(), 1);
        QCOMPARE(shell->err(), QByteArray());
    }

    FakeDaemons daemons;
    QScopedPointer<Ctl> monitor(
        Ctl::inShell(text("set -o pipefail; hnipcctl monitor | head -n 1")));
    QVERIFY(monitor->complains(subscribed + "; Ctrl-C ends\n"));
    QVERIFY(waitUntil([&]() {
        daemons.emitSignal(M4, "M4_Error", "(1,)");
        return !monitor->isRunning();
    }));
    QCOMPARE(monitor->exitCode(), 0);
    QVERIFY(monitor->out().endsWith("Error value=1\n"));
    QCOMPARE(monitor->err(), "hnipcctl: " + subscribed + "; Ctrl-C ends\n");
}

void tst_Ctl::fullDevice()
{
    QScopedPointer<Ctl> shell(Ctl::inShell(text("hnipcctl list >/dev/full")));
    QCOMPARE(shell->exitCode(), 1);
    QCOMPARE(shell->err(), QByteArray("hnipcctl: cannot write: No space left on device\n"));
}

void tst_Ctl::closedStreams()
{
    FakeDaemons daemons;
    answerProperties(&daemons);
    QScopedPointer<Ctl> output(Ctl::inShell(text("hnipcctl status >&-")));
    QCOMPARE(output->exitCode(), 1);
    QCOMPARE(output->err(), QByteArray("hnipcctl: cannot write: Bad file descriptor\n"));

    // With standard error closed, no message is written to the bus connection.
    QScopedPointer<Ctl> errors(
        Ctl::inShell(text("hnipcctl get qmlBatteryStatus nothing 2>&-; echo $?")));
    QCOMPARE(errors->out(), QByteArray("7\n"));
    daemons[M4].answerError("getError", "org.hnipc.Error.Odd", "so it is");
    QScopedPointer<Ctl> refused(Ctl::inShell(text(
        "hnipcctl get qmlPrintEngineErrorCode qmlSupplySKU qmlBatteryStatus 2>&- <&-; echo $?")));
    QCOMPARE(refused->out(),
             QByteArray("qmlSupplySKU             \"S-100\"\n"
                        "qmlBatteryStatus         87\n5\n"));
    QScopedPointer<Ctl> all(Ctl::inShell(text("hnipcctl status >&- 2>&- <&-")));
    QCOMPARE(all->exitCode(), 1);
}

// Threads of the bus library must not use objects that are destroyed when the program ends.
void tst_Ctl::endsWithoutWarnings()
{
    for (int i = 0; i < 60; ++i) {
        Ctl ctl(words("status"));
        QCOMPARE(ctl.exitCode(), 4);
        QCOMPARE(ctl.err(), QByteArray());
    }
}

HNIPC_TEST_MAIN(tst_Ctl)

#include "tst_ctl.moc"
