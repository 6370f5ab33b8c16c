// SPDX-License-Identifier: MIT
#include "common/interfacefile.h"

#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>

using namespace Toolkit;

// The reader of interface descriptions: its result for the files that ship, and the files that it
// refuses.
class tst_InterfaceFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsEveryInstalledFile_data();
    void readsEveryInstalledFile();
    void readsAMember_data();
    void readsAMember();
    void readsAnnotationsAndDocumentation();
    void refuses_data();
    void refuses();
    void refusesAMissingFile();

private:
    QString write(const QByteArray &content);

    QTemporaryDir m_directory;
};

static const char head[] = "<node xmlns:doc=\"http://www.freedesktop.org/dbus/1.0/doc.dtd\">\n";

static std::optional<Interface> readShipped(const QString &name)
{
    QString error;
    const auto result = readInterfaceFile(QStringLiteral(HNIPC_INTERFACES_DIR "/%1.xml").arg(name),
                                          &error);
    if (!result) {
        qWarning("%s", qPrintable(error));
    }
    return result;
}

QString tst_InterfaceFile::write(const QByteArray &content)
{
    QFile file(m_directory.filePath(QStringLiteral("it.xml")));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        qFatal("cannot write %s", qPrintable(file.fileName()));
    }
    return file.fileName();
}

void tst_InterfaceFile::readsEveryInstalledFile_data()
{
    QTest::addColumn<int>("methods");
    QTest::addColumn<int>("signalCount");
    QTest::newRow("local.IHNIPCIOEXPD") << 6 << 3;
    QTest::newRow("local.IHNIPCM4") << 136 << 46;
    QTest::newRow("local.IHNIPCSUPPLYD") << 50 << 10;
    QTest::newRow("org.hnipc.Simulator") << 12 << 0;
}

void tst_InterfaceFile::readsEveryInstalledFile()
{
    QFETCH(int, methods);
    QFETCH(int, signalCount);
    const QString name = QString::fromLatin1(QTest::currentDataTag());
    const auto interface = readShipped(name);
    QVERIFY(interface);
    QCOMPARE(interface->name, name);
    QVERIFY(!interface->documentation.isEmpty());
    QCOMPARE(int(interface->members(InterfaceMember::Method).size()), methods);
    QCOMPARE(int(interface->members(InterfaceMember::Signal).size()), signalCount);
    QCOMPARE(int(interface->allMembers.size()), methods + signalCount);
}

void tst_InterfaceFile::readsAMember_data()
{
    QTest::addColumn<QString>("interface");
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("in");
    QTest::addColumn<QString>("out");
    const QString m4 = QStringLiteral("local.IHNIPCM4");
    const QString supplyd = QStringLiteral("local.IHNIPCSUPPLYD");
    QTest::newRow("first") << m4 << 0 << "pulseM4MessageReceivedSignal" << QStringList { "value s" }
                           << "b";
    QTest::newRow("no arguments") << m4 << 65 << "dac0" << QStringList() << "u";
    QTest::newRow("overload with a number")
        << m4 << 89 << "sendMCCMessage" << QStringList { "type i", "definedMessage i", "value t" }
        << "b";
    QTest::newRow("overload without")
        << m4 << 90 << "sendMCCMessage" << QStringList { "type i", "definedMessage i" } << "b";
    QTest::newRow("overload with a text")
        << m4 << 91 << "sendMCCMessage" << QStringList { "type i", "definedMessage i", "value s" }
        << "b";
    QTest::newRow("record") << supplyd << 28 << "supplyInformationBySKUs"
                            << QStringList { "supplySku s", "ribbonSkus as", "printerName s" }
                            << "(sasdisdisisisdiayddiiiddddasavavavavav)";
    QTest::newRow("no result") << supplyd << 47 << "supplyModuleReady"
                               << QStringList { "windowId i", "processId i", "applicationName s" }
                               << "";
}

void tst_InterfaceFile::readsAMember()
{
    QFETCH(QString, interface);
    QFETCH(int, index);
    QFETCH(QString, name);
    QFETCH(QStringList, in);
    QFETCH(QString, out);
    const auto read = readShipped(interface);
    QVERIFY(read);
    const InterfaceMember member = read->members(InterfaceMember::Method).at(index);
    QCOMPARE(member.name, name);
    QStringList arguments;
    for (const InterfaceArgument &argument : member.arguments(InterfaceArgument::In)) {
        arguments += argument.name + QLatin1Char(' ') + argument.type;
    }
    QCOMPARE(arguments, in);
    QCOMPARE(member.signature(InterfaceArgument::Out), out);
}

void tst_InterfaceFile::readsAnnotationsAndDocumentation()
{
    const QString file = write(QByteArray(head) + R"(<interface name="a.b">
        <signal name="S">
          <doc:doc><doc:summary>One line
              of &lt;text&gt;.</doc:summary></doc:doc>
          <arg name="table" type="a{sa(iv)}"/>
          <annotation name="x.y.Out0" value="Table"/>
        </signal></interface></node>)");
    QString error;
    const auto read = readInterfaceFile(file, &error);
    QVERIFY2(read, qPrintable(error));
    const InterfaceMember member = read->members(InterfaceMember::Signal).at(0);
    QCOMPARE(member.documentation, QStringLiteral("One line of <text>."));
    QCOMPARE(member.annotations.value(QStringLiteral("x.y.Out0")), QStringLiteral("Table"));
    QCOMPARE(member.signature(InterfaceArgument::Out), QStringLiteral("a{sa(iv)}"));
}

void tst_InterfaceFile::refuses_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("message"); // after the file's name

    const QByteArray open = QByteArray(head) + "<interface name=\"a.b\">\n";
    const QByteArray doc = "<doc:doc><doc:summary>It.</doc:summary></doc:doc>\n";
    const QByteArray close = "</interface></node>\n";
    QTest::newRow("another root") << QByteArray("<nodes/>") << ":1: expected <node>, not <nodes>";
    QTest::newRow("nothing in it")
        << QByteArray("<node>\n</node>") << ":2: expected an <interface>";
    QTest::newRow("two") << open + close.left(12) + "\n<interface name=\"a.c\"/></node>"
                         << ":4: expected one interface only";
    QTest::newRow("interface name") << QByteArray(head) + "<interface name=\"ab\">"
            + close << ":2: expected an interface name as the name of <interface>, not \"ab\"";
    QTest::newRow("member name") << open + "<method name=\"1st\">" + doc + "</method>"
            + close << ":3: expected a member name as the name of <method>, not \"1st\"";
    QTest::newRow("property") << open + "<property name=\"P\" type=\"s\"/>" + close
                              << ":3: expected <method>, <signal> or <doc:doc>, not <property>";
    QTest::newRow("no documentation") << open + "<method name=\"m\">\n</method>"
            + close << ":4: expected <doc:doc><doc:summary>...</doc:summary></doc:doc> in m";
    QTest::newRow("direction") << open + "<method name=\"m\">" + doc
            + "<arg name=\"x\" type=\"s\"/></method>"
            + close << ":4: expected in or out as the direction of <arg>, not \"\"";
    QTest::newRow("direction in a signal") << open + "<signal name=\"m\">" + doc
            + "<arg name=\"x\" type=\"s\" direction=\"in\"/></signal>"
            + close << ":4: expected out as the direction of <arg>, not \"in\"";
    for (const char *type : { "", "S", "ss", "a", "(s", "()", "a{vs}", "a{s}", "a{sv", "a{sss}" }) {
        QTest::newRow(QByteArray("type \"") + type + '"')
            << open + "<method name=\"m\">" + doc + "<arg name=\"x\" direction=\"in\" type=\""
                + type + "\"/></method>" + close
            << QStringLiteral(":4: expected one D-Bus type as the type of <arg>, not \"%1\"")
                   .arg(QLatin1String(type));
    }
    QTest::newRow("what follows") << open + close + "<node/>"
                                  << ":4: ";
    QTest::newRow("cut off") << open + "<method name=\"m\">\n"
                             << ":4: ";
    QTest::newRow("not XML") << QByteArray("{ \"a\": 1 }") << ":1: ";
    QTest::newRow("empty") << QByteArray() << ":1: ";
}

void tst_InterfaceFile::refuses()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, message);
    const QString file = write(content);
    QString error;
    QVERIFY(!readInterfaceFile(file, &error));
    QVERIFY2(error.startsWith(file + message), qPrintable(error));
    QVERIFY2(error.size() > file.size() + 5, qPrintable(error));
}

void tst_InterfaceFile::refusesAMissingFile()
{
    QString error;
    QVERIFY(!readInterfaceFile(QStringLiteral("/nowhere/it.xml"), &error));
    QCOMPARE(error, QStringLiteral("/nowhere/it.xml: No such file or directory"));
}

QTEST_GUILESS_MAIN(tst_InterfaceFile)
#include "tst_interfacefile.moc"
