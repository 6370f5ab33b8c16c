// SPDX-License-Identifier: MIT
#include "screen.h"
#include "support/busprocess.h"
#include "support/privatebus.h"
#include "tools/desk.h"

#include <QtGui/QGuiApplication>
#include <QtTest/QTest>

// A program of its own: there is one bus in the life of a process, and here it dies.
class tst_PanelBusLost : public QObject
{
    Q_OBJECT

private slots:
    void isSaid();
};

void tst_PanelBusLost::isSaid()
{
    Desk desk({ "ioexpd", "m4", "supplyd" });
    BusProcess bus;
    Screen screen;
    QVERIFY(screen.shows("state", "Ready"));
    bus.kill();
    QVERIFY(screen.shows("state", "No connection to the printer"));
    QCOMPARE(screen.color("state"), screen.color("icon/shape"));
    QCOMPARE(screen.item("icon")->property("state").toString(), QString("fault"));
    QCOMPARE(screen.text("m4/text"), QString("Engine"));
    screen.click("buttonFeed");
    QVERIFY(screen.shows("buttonFeed/outcome", "not done: there is no system bus"));
    QVERIFY(screen.renders(2));
    QCOMPARE(screen.faults(), QString());
}

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    PrivateBus bus;
    QGuiApplication application(argc, argv);
    tst_PanelBusLost test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_panelbuslost.moc"
