// SPDX-License-Identifier: MIT
#include "support/fakedaemons.h"
#include "support/privatebus.h"
#include "support/qtmajors.h"
#include "tools/desk.h"

#include <QtCore/QFile>
#include <QtCore/QStandardPaths>
#include <QtCore/QTemporaryDir>
#include <QtGui/QImage>
#include <QtTest/QTest>

// The front panel as a program: its options, pictures and exit codes.
class tst_PanelProgram : public QObject
{
    Q_OBJECT

private slots:
    void picturesAreTaken_data();
    void picturesAreTaken();
    void wrongUsageIsReported_data();
    void wrongUsageIsReported();
    void pictureThatCannotBeWritten();
    void helpAndVersion_data();
    void helpAndVersion();
    void languages();
    void languageOfTheLocale_data();
    void languageOfTheLocale();
    void withoutDisplay_data();
    void withoutDisplay();
    void displayWithoutWindowManager();
    void exitsWithoutBus();
};

namespace {

using Environment = QProcessEnvironment;

Outcome run(const QStringList &arguments,
            const Environment &environment = Environment::systemEnvironment())
{
    return runProgram(HNIPC_TOOLS_DIR "/hnipc-panel", arguments, environment);
}

// The picture of a panel without a daemon, so nothing moves. A null image if there is no picture.
QImage picture(const QStringList &options,
               const Environment &environment = Environment::systemEnvironment())
{
    QTemporaryDir directory;
    const QString name = directory.filePath("a.png");
    return run(options + QStringList { "--shoot", "0.3=" + name }, environment).code == 0
        ? QImage(name)
        : QImage();
}

Environment withoutDisplayVariables()
{
    Environment result = Environment::systemEnvironment();
    for (const char *name : { "QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY" }) {
        result.remove(name);
    }
    return result;
}

} // namespace

void tst_PanelProgram::picturesAreTaken_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::newRow("a window") << QStringList();
    QTest::newRow("the whole display") << QStringList { "--fullscreen" };
}

void tst_PanelProgram::picturesAreTaken()
{
    QFETCH(QStringList, options);
    Desk desk({ "m4" });
    QTemporaryDir directory;
    const QStringList names = { directory.filePath("a.png"), directory.filePath("b.png") };
    const Outcome result = run(
        options + QStringList { "--shoot", "0.5=" + names[1], "--shoot", "0=" + names[0] });
    QCOMPARE(result.errors, QString());
    QCOMPARE(result.code, 0);
    for (const QString &name : names) {
        const QImage picture(name);
        QCOMPARE(picture.width(), 800);
        // The display that Qt simulates is higher.
        QVERIFY(options.isEmpty() ? picture.height() == 480 : picture.height() > 480);
        QCOMPARE(picture.pixelColor(2, 2).name(), QString("#10151b"));
        int others = 0;
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x) {
                others += picture.pixelColor(x, y).name() != "#10151b";
            }
        }
        QVERIFY(others > picture.width() * picture.height() / 2); // rolls, events, buttons
    }
}

void tst_PanelProgram::wrongUsageIsReported_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("said");
    QTest::newRow("argument") << QStringList { "now" }
                              << "hnipc-panel: unexpected argument \"now\"; see hnipc-panel --help";
    QTest::newRow("option") << QStringList { "--shot", "1=a.png" } << "hnipc-panel: Unknown option";
    for (const char *code : { "xx", "", "german" }) {
        QTest::addRow("language \"%s\"", code) << QStringList {
            QString("--language=") + code
        } << QString("hnipc-panel: --language: expected one of en, de, fr, not \"%1\"\n").arg(code);
    }
    for (const char *shot : { "a.png", "1", "1=", "=a.png", "soon=a.png", "-1=a.png" }) {
        QTest::newRow(shot) << QStringList { QString("--shoot=") + shot }
                            << "hnipc-panel: --shoot: expected seconds=file";
    }
}

void tst_PanelProgram::wrongUsageIsReported()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, said);
    const Outcome result = run(arguments);
    QVERIFY2(result.errors.startsWith(said.toUtf8()), result.errors.constData());
    QCOMPARE(result.code, 2);
}

void tst_PanelProgram::pictureThatCannotBeWritten()
{
    QTemporaryDir directory;
    for (const QString &name : { directory.filePath("none/a.png"), directory.filePath("a.what") }) {
        const Outcome result = run({ "--shoot", "0=" + name });
        QCOMPARE(result.errors, "hnipc-panel: " + name + ": cannot be written\n");
        QCOMPARE(result.code, 1);
    }
}

void tst_PanelProgram::helpAndVersion_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<QString>("said");
    QTest::newRow("help") << "--help"
                          << "--shoot <seconds=file>";
    QTest::newRow("version") << "--version"
                             << "hnipc-panel ";
}

void tst_PanelProgram::helpAndVersion()
{
    QFETCH(QString, option);
    QFETCH(QString, said);
    const Outcome result = run({ option });
    QVERIFY2(result.output.contains(said.toUtf8()), result.output.constData());
    QCOMPARE(result.code, 0);
}

void tst_PanelProgram::languages()
{
    const QImage english = picture({ "--language", "en" });
    QVERIFY(!english.isNull());
    QCOMPARE(picture({ "--language", "en" }), english);
    const QImage german = picture({ "--language", "de" });
    const QImage french = picture({ "--language", "fr" });
    QVERIFY(!german.isNull() && !french.isNull());
    QVERIFY(german != english);
    QVERIFY(french != english);
    QVERIFY(french != german);
}

void tst_PanelProgram::languageOfTheLocale_data()
{
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QString>("code");
    // clang-format off
    QTest::newRow("English") << "en_GB.UTF-8" << "en";
    QTest::newRow("German") << "de_AT.UTF-8" << "de";
    QTest::newRow("French") << "fr_FR.UTF-8" << "fr";
    QTest::newRow("another") << "pt_PT.UTF-8" << "en";
    QTest::newRow("none") << "C.UTF-8" << "en";
    // clang-format on
}

void tst_PanelProgram::languageOfTheLocale()
{
    QFETCH(QString, locale);
    QFETCH(QString, code);
    Environment environment = Environment::systemEnvironment();
    environment.insert("LC_ALL", locale);
    environment.remove("LANGUAGE");
    const QImage spoken = picture({}, environment);
    QVERIFY(!spoken.isNull());
    QCOMPARE(spoken, picture({ "--language", code }));
}

void tst_PanelProgram::withoutDisplay_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("panel") << QStringList();
    QTest::newRow("picture") << QStringList { "--shoot", "0=a.png" };
    QTest::newRow("help") << QStringList { "--help" };
    QTest::newRow("version") << QStringList { "--version" };
}

void tst_PanelProgram::withoutDisplay()
{
    QFETCH(QStringList, arguments);
    const Outcome none = run(arguments, withoutDisplayVariables());
    QVERIFY2(none.errors.startsWith("hnipc-panel: no display is available: "),
             none.errors.constData());
    QCOMPARE(none.errors.count('\n'), 1);
    QCOMPARE(none.output, QString());
    QCOMPARE(none.code, 1);

    Environment environment = withoutDisplayVariables();
    environment.insert("QT_QPA_PLATFORM", "nonsense");
    const Outcome nonsense = run(arguments, environment);
    QVERIFY2(nonsense.errors.contains("\"nonsense\""), nonsense.errors.constData());
    QCOMPARE(nonsense.errors.count('\n'), 1);
    QCOMPARE(nonsense.code, 1);
}

void tst_PanelProgram::displayWithoutWindowManager()
{
    if (QStandardPaths::findExecutable("Xvfb").isEmpty()) {
        HNIPC_SKIP("Xvfb is not installed (Debian: xvfb)");
    }
    Process server;
    server.start("Xvfb", { "-displayfd", "1", "-screen", "0", "1024x600x24", "-nolisten", "tcp" });
    QVERIFY2(server.prints("\n"), server.errors().constData());
    Environment environment = withoutDisplayVariables();
    environment.insert("QT_QPA_PLATFORM", "xcb");
    environment.insert("DISPLAY", ":" + server.output().trimmed());
    const QImage whole = picture({ "--fullscreen" }, environment);
    const QImage window = picture({}, environment);
    server.terminate();
    QVERIFY(server.ends());
    QCOMPARE(whole.size(), QSize(1024, 600));
    QCOMPARE(window.size(), QSize(800, 480));
}

// The last test, because it kills the bus.
void tst_PanelProgram::exitsWithoutBus()
{
    const QByteArray message = "hnipc-panel: no connection to the bus\n";
    Environment environment = Environment::systemEnvironment();
    environment.insert("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    const Outcome none = run({ "--exit-without-bus" }, environment);
    QCOMPARE(none.errors, message);
    QCOMPARE(none.code, 3);
    QVERIFY(!picture({}, environment).isNull());

    FakeDaemons daemons;
    Process panel;
    panel.start(HNIPC_TOOLS_DIR "/hnipc-panel", { "--exit-without-bus" });
    QVERIFY(waitUntil([&]() { return !daemons.takeCalls().isEmpty(); }));
    PrivateBus::instance()->kill();
    QCOMPARE(panel.exitCode(), 3);
    QCOMPARE(panel.errors(), message);
}

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    qunsetenv("QSG_INFO"); // Qt Quick would print what it does
    PrivateBus bus;
    QTemporaryDir runtime; // avoids a warning of Qt
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime.path()));
    QCoreApplication application(argc, argv);
    tst_PanelProgram test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_panelprogram.moc"
