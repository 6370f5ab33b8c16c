// SPDX-License-Identifier: MIT
#include "support/privatebus.h"
#include "tools/desk.h"

#include <QtCore/QFile>
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
    void wrongUsageIsSaid_data();
    void wrongUsageIsSaid();
    void pictureThatCannotBeWritten();
    void helpAndVersion_data();
    void helpAndVersion();
};

namespace {

struct Result
{
    int exitCode;
    QString output;
    QString errors;
};

Result run(const QStringList &arguments)
{
    QProcess process;
    process.start(HNIPC_TOOLS_DIR "/hnipc-panel", arguments);
    waitUntil([&]() { return process.state() == QProcess::NotRunning; });
    return { process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
             process.readAllStandardOutput(), process.readAllStandardError() };
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
    const Result result =
        run(options + QStringList { "--shoot", "0.5=" + names[1], "--shoot", "0=" + names[0] });
    QCOMPARE(result.errors, QString());
    QCOMPARE(result.exitCode, 0);
    for (const QString &name : names) {
        const QImage picture(name);
        QCOMPARE(picture.width(), 800);
        // The display that Qt plays where there is none is higher.
        QVERIFY(options.isEmpty() ? picture.height() == 480 : picture.height() > 480);
        QCOMPARE(picture.pixelColor(2, 2).name(), QString("#161b22"));
        int others = 0;
        for (int x = 0; x < picture.width(); ++x) { // through a roll and the list of events
            others += picture.pixelColor(x, picture.height() / 2).name() != "#161b22";
        }
        QVERIFY(others > 700);
    }
}

void tst_PanelProgram::wrongUsageIsSaid_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("said");
    QTest::newRow("argument") << QStringList { "now" } << "hnipc-panel: takes no arguments";
    QTest::newRow("option") << QStringList { "--shot", "1=a.png" } << "hnipc-panel: Unknown option";
    for (const char *shot : { "a.png", "1", "1=", "=a.png", "soon=a.png", "-1=a.png" }) {
        QTest::newRow(shot) << QStringList { QString("--shoot=") + shot }
                            << "hnipc-panel: --shoot: expected seconds=file";
    }
}

void tst_PanelProgram::wrongUsageIsSaid()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, said);
    const Result result = run(arguments);
    QVERIFY2(result.errors.startsWith(said), qPrintable(result.errors));
    QCOMPARE(result.exitCode, 2);
}

void tst_PanelProgram::pictureThatCannotBeWritten()
{
    QTemporaryDir directory;
    for (const QString &name : { directory.filePath("none/a.png"), directory.filePath("a.what") }) {
        const Result result = run({ "--shoot", "0=" + name });
        QCOMPARE(result.errors, "hnipc-panel: " + name + ": cannot be written\n");
        QCOMPARE(result.exitCode, 1);
    }
}

void tst_PanelProgram::helpAndVersion_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<QString>("said");
    QTest::newRow("help") << "--help" << "--shoot <seconds=file>";
    QTest::newRow("version") << "--version" << "hnipc-panel ";
}

void tst_PanelProgram::helpAndVersion()
{
    QFETCH(QString, option);
    QFETCH(QString, said);
    const Result result = run({ option });
    QVERIFY2(result.output.contains(said), qPrintable(result.output));
    QCOMPARE(result.exitCode, 0);
}

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    PrivateBus bus;
    QTemporaryDir runtime; // Qt complains where there is none
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime.path()));
    QCoreApplication application(argc, argv);
    tst_PanelProgram test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_panelprogram.moc"
