// SPDX-License-Identifier: MIT
#include "contract/interfaces.h"
#include "expected/clientsignals.h"
#include "expected/clientslots.h"
#include "expected/identities.h"
#include "expected/record.h"

#include <QtCore/QFile>
#include <QtCore/QMetaObject>
#include <QtCore/QRegularExpression>
#include <QtCore/QStringList>
#include <QtTest/QTest>

using namespace Expected;

namespace {

QString contentOf(const QString &page)
{
    QFile file(QStringLiteral(HNIPC_MANUAL_DIR "/") + page);
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("%s: %s", qPrintable(file.fileName()), qPrintable(file.errorString()));
    }
    return QString::fromUtf8(file.readAll());
}

// The text of HTML as a reader sees it.
QString seen(QString html)
{
    html.remove(QRegularExpression("<[^>]*>"));
    html.replace("&#160;", " ").replace("&quot;", "\"").replace("&#39;", "'");
    html.replace("&lt;", "<").replace("&gt;", ">").replace("&amp;", "&");
    return html.simplified();
}

QString page(int server)
{
    return QString("dbus_%1.html").arg(QString(identities[server].tag).toLower());
}

// A member of a class, as on its page.
struct Member
{
    QString parameters; // their names
    QString group;      // the heading above it
    QString text;
};

// The members by normalized signature; those that are not functions by name alone.
QMultiHash<QString, Member> membersOf(const QString &className)
{
    QMultiHash<QString, Member> result;
    QString declaration;
    Member member;
    const QRegularExpression row(
        "<tr class=\"(memitem|memdesc)[^>]*>(.*?)</tr>|<div class=\"groupHeader\">(.*?)</div>",
        QRegularExpression::DotMatchesEverythingOption);
    const QRegularExpression comma(", (?![^<]*>)"); // between parameters, not within their types
    const QRegularExpression right("mem(Templ)?ItemRight"); // that of a template has another name
    auto rows = row.globalMatch(contentOf(className + ".html"));
    while (rows.hasNext()) {
        const QRegularExpressionMatch match = rows.next();
        if (match.captured(1) == "memitem") {
            declaration = seen(match.captured(2).section(right, 1).section('>', 1));
            if (match.captured(2).contains("#define")) {
                declaration = declaration.section(' ', 0, 0); // without the macro's replacement
            }
        } else if (match.captured(1) == "memdesc") {
            member.text = seen(match.captured(2));
            QString name = declaration.section('(', 0, 0).section('=', 0, 0).trimmed();
            member.parameters.clear();
            if (declaration.contains('(')) {
                QStringList types, names;
                const QString inner = declaration.section('(', 1).section(')', 0, -2);
                const QStringList parts = inner.split(comma, Qt::SkipEmptyParts);
                for (const QString &part : parts) {
                    const QString parameter = part.section('=', 0, 0).trimmed();
                    const int end = parameter.lastIndexOf(QRegularExpression("[^A-Za-z0-9_]")) + 1;
                    types += parameter.left(end);
                    names += parameter.mid(end);
                }
                member.parameters = names.join(',');
                name = QMetaObject::normalizedSignature(
                    qPrintable(name + '(' + types.join(',') + ')'));
            }
            result.insert(name, member);
        } else {
            member.group = seen(match.captured(3));
        }
    }
    return result;
}

// The rows of the tables of a page, with their cells.
QList<QStringList> rowsOf(const QString &page)
{
    QList<QStringList> result;
    const QRegularExpression row("<tr[^>]*>(.*?)</tr>",
                                 QRegularExpression::DotMatchesEverythingOption);
    const QRegularExpression cell("<td[^>]*>(.*?)</td>",
                                  QRegularExpression::DotMatchesEverythingOption);
    auto rows = row.globalMatch(contentOf(page).section("<div class=\"contents\">", 1));
    while (rows.hasNext()) {
        QStringList cells;
        auto matches = cell.globalMatch(rows.next().captured(1));
        while (matches.hasNext()) {
            cells += seen(matches.next().captured(1));
        }
        if (!cells.isEmpty()) {
            result += cells;
        }
    }
    return result;
}

QString takes(const QByteArray &types, const QString &names)
{
    return !types.isEmpty() ? types + (' ' + QString(names).replace(",", ", ")) : QString();
}

// The number of rows that have a text after these cells.
int documented(const QList<QStringList> &rows, const QStringList &cells)
{
    int result = 0;
    for (const QStringList &row : rows) {
        result += row.mid(0, cells.size()) == cells && !row.value(cells.size()).isEmpty();
    }
    return result;
}

} // namespace

// Checks that the manual has every member of the expected tables, with a text.
class tst_Manual : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void clientMethods();
    void outcomes();
    void record();
    void declarationsThatDoxygenMisses();
    void busMethods();
    void busSignals();
    void busRecord();
};

void tst_Manual::clientMethods()
{
    // The daemons as the groups of the header name them.
    const QString daemons[] = { "The I/O expander", "The print engine", "The supply daemon" };
    const QMultiHash<QString, Member> members = membersOf("classHNIPC");
    for (const ClientSlot &slot : clientSlots) {
        if (slot.added) {
            continue; // documented as the default value of the complete form
        }
        QCOMPARE(members.count(slot.signature), 1);
        const Member member = members.value(slot.signature);
        QCOMPARE(member.parameters, QString(slot.parameters));
        QVERIFY2(!member.text.isEmpty(), slot.signature);
        QVERIFY2(member.group.startsWith(daemons[slot.server]), slot.signature);
        QVERIFY2(!*slot.result || (member.group + member.text).contains("on failure"),
                 slot.signature);
    }
}

// The only table of the reasons of each outcome, and of the error name of each reason.
void tst_Manual::outcomes()
{
    const QString standard = "org.freedesktop.DBus.Error.";
    const QStringList table[] = {
        { "Answered", "NoReason", "" },
        { "Refused", "DaemonError", "the daemon's" },
        { "NotSent", "UnknownMethod", standard + "UnknownMethod" },
        { "NotSent", "InvalidArguments", standard + "InvalidArgs" },
        { "NotSent", "DaemonAbsent", standard + "ServiceUnknown" },
        { "NotSent", "AccessDenied", standard + "AccessDenied" },
        { "NotSent", "BusError", "the bus's or Qt's" },
        { "NotSent, Unknown", "BusLost", standard + "Disconnected" },
        { "NotSent, Unknown", "TimedOut", standard + "Timeout" },
        { "NotSent, Unknown", "Cancelled", "org.hnipc.Error.Cancelled" },
        { "Unknown", "DaemonLeft", standard + "NoReply" },
        { "Unknown", "WrongType", standard + "InvalidSignature" },
    };
    const QList<QStringList> rows = rowsOf("classHNIPCRequest.html");
    for (const QStringList &row : table) {
        QVERIFY2(documented(rows, row) == 1, qPrintable(row.join(" | ")));
    }
}

void tst_Manual::record()
{
    const QMultiHash<QString, Member> members = membersOf("structSupplyInformation");
    QVERIFY(!members.value("text0").text.isEmpty());
    for (int i = 0; i < recordFieldCount; ++i) {
        const RecordField &field = recordFields[i];
        const QString says = QString("Member %1: %2.").arg(i + 1).arg(field.type);
        QVERIFY2(members.value(field.name).text.startsWith(says), field.name);
    }
}

// In a class with documentation, Doxygen refuses a public member without a comment, or with the
// name of another parameter. It does not check these members.
void tst_Manual::declarationsThatDoxygenMisses()
{
    struct Row
    {
        const char *page;
        QStringList members;
        QStringList enumerators;
    };
    const Row table[] = {
        { "classHNIPC", { "~HNIPC()" }, {} },
        { "classHNIPCRequest",
          { "~HNIPCRequest()", "setCall(HNIPCMethod<Result,Parameters...>,const Arguments&...)",
            "hnipcCall(HNIPCMethod<Result,Parameters...>,const Arguments&...)" },
          { "NoOutcome", "NotSent", "Answered", "Refused", "Unknown", "NoReason", "DaemonError",
            "UnknownMethod", "InvalidArguments", "DaemonAbsent", "AccessDenied", "BusError",
            "BusLost", "TimedOut", "Cancelled", "DaemonLeft", "WrongType" } },
        { "classHNIPCAnswer", { "isAnswered()", "isDone()", "value()" }, {} },
        { "classHNIPCAnswer_3_01void_01_4", { "isAnswered()", "isDone()" }, {} },
        { "classHNIPCCall", { "within(int)", "send(QObject*)", "then(QObject*,Function)" }, {} },
        { "classHNIPCMethod", { "HNIPC_METHOD()", "HNIPC_OVERLOAD()" }, {} },
        { "classHNIPCFailure", { "ofReply(QDBusMessage,QString,int)" }, {} },
        { "classHNIPCReading", { "read()", "changed()" }, {} },
        { "classHNIPCEvents", { "received(QString,QVariantList)", "listeningChanged(bool)" }, {} },
        { "classHNIPCAvailability", { "knownChanged(bool)" }, {} },
        { "classIHNIPCIOEXPD", {}, {} },
        { "classIHNIPCM4", {}, {} },
        { "classIHNIPCSUPPLYD", {}, {} },
        { "classHNIPCServer", { "~HNIPCServer()" }, { "IOEXPD", "M4", "SUPPLYD" } },
        { "structSupplyInformation",
          { "operator<<(QDBusArgument&,SupplyInformation)",
            "operator>>(QDBusArgument,SupplyInformation&)" },
          {} },
        { "hnipc__version_8h", { "HNIPC_VERSION_STRING", "HNIPC_VERSION", "hnipcVersion()" }, {} },
        { "hnipc__export_8h", { "HNIPC_EXPORT" }, {} },
    };
    for (const Row &row : table) {
        const QMultiHash<QString, Member> members = membersOf(row.page);
        QVERIFY2(!members.isEmpty(), row.page);
        for (const QString &member : row.members) {
            QVERIFY2(!members.value(member).text.isEmpty(), qPrintable(member));
        }
        QList<QStringList> rows; // of the enumerators, not of other tables
        const QList<QStringList> allRows = rowsOf(QString(row.page) + ".html");
        for (const QStringList &cells : allRows) {
            if (cells.size() == 2) {
                rows += cells;
            }
        }
        for (const QString &enumerator : row.enumerators) {
            QCOMPARE(documented(rows, { enumerator }), 1);
        }
    }
}

void tst_Manual::busMethods()
{
    for (int server = 0; server < ServerCount; ++server) {
        const QList<QStringList> rows = rowsOf(page(server));
        int signalCount = server == SUPPLYD; // one signal that no pulse operation sends
        for (const ServerSlot &slot : serverSlots(server)) {
            const QString out = slot.out.startsWith('(') ? "record" : QString(slot.out);
            const QStringList cells = { slot.name, takes(slot.in, slot.parameterNames), out };
            QVERIFY2(documented(rows, cells) == 1, qPrintable(cells.join(" | ")));
            signalCount += slot.isPulse() && !slot.cloned;
        }
        QCOMPARE(rows.size(), serverSlots(server).size() + signalCount);
    }
}

void tst_Manual::busSignals()
{
    for (const ClientSignal &signal : Expected::clientSignals) {
        if (signal.server == NoServer) {
            continue;
        }
        QStringList found;
        const QList<QStringList> rows = rowsOf(page(signal.server));
        for (const QStringList &row : rows) {
            if (row.value(0) == signal.member) {
                found = row;
            }
        }
        const QString name = QString(signal.signature).section('(', 0, 0);
        QCOMPARE(found.value(3), name);
        QVERIFY2(!found.value(2).isEmpty(), signal.member);
        QByteArray types;
        for (const ServerSlot &slot : serverSlots(signal.server)) {
            if (slot.member == signal.member) {
                types = slot.memberTypes;
            }
        }
        QCOMPARE(found.value(1), takes(types, signal.parameters));
    }
}

void tst_Manual::busRecord()
{
    const QList<QStringList> rows = rowsOf("dbus_record.html");
    QCOMPARE(rows.size(), recordFieldCount);
    for (int i = 0; i < recordFieldCount; ++i) {
        const RecordField &field = recordFields[i];
        QCOMPARE(rows.at(i).mid(0, 3),
                 QStringList({ QString::number(i + 1), field.type, field.name }));
    }
}

QTEST_GUILESS_MAIN(tst_Manual)
#include "tst_manual.moc"
