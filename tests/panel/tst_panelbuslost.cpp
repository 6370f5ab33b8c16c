// SPDX-License-Identifier: MIT
#include "screen.h"
#include "support/qmltestmain.h"
#include "tools/desk.h"

// A separate program, because a process has one bus connection, and this test ends it.
class tst_PanelBusLost : public QObject
{
    Q_OBJECT

private slots:
    void isSaid();
};

void tst_PanelBusLost::isSaid()
{
    Desk desk({ "ioexpd", "m4", "supplyd" });
    BusProcess &bus = *PrivateBus::instance();
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

HNIPC_QML_TEST_MAIN(tst_PanelBusLost)

#include "tst_panelbuslost.moc"
