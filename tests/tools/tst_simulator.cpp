// SPDX-License-Identifier: MIT
#include "desk.h"
#include "support/privatebus.h"

#include <hnipc/hnipc.h>

#include <QtCore/QDeadlineTimer>
#include <QtTest/QTest>

#include <csignal>

// The printer behind the simulated daemons: values that are set, measured, moved, printed and
// loaded are the same in all replies and signals.
class tst_Simulator : public QObject
{
    Q_OBJECT

private slots:
    void readingIsAnnouncedAndQueried_data();
    void readingIsAnnouncedAndQueried();
    void settingIsAnnouncedAndReadsBack_data();
    void settingIsAnnouncedAndReadsBack();
    void switchIsKept_data();
    void switchIsKept();
    void userSettingIsAnnouncedAgainOnRefresh();
    void requestMeasuresAndEmitsTheValue_data();
    void requestMeasuresAndEmitsTheValue();
    void measurementsAreTheSameInEveryRun();
    void messageIsAnnouncedAndAcknowledged();
    void refreshAllAnnouncesEverySensor_data();
    void refreshAllAnnouncesEverySensor();
    void numberFromAnApplicationIsEmitted();

    void feedsMoveTheMileage();
    void backwardFeedEndsAtTheStart();
    void resetMotorForgetsLessThanAMillimetre_data();
    void resetMotorForgetsLessThanAMillimetre();
    void calibrationMeasures();
    void ribbonOfAResetUnitDoesNotMove();
    void cutterLeavesHomeAndComesBack();
    void cutterAwayFromHomeDoesNotCycle();
    void openLidRefusesMotion_data();
    void openLidRefusesMotion();
    void conditionSetsAnErrorAndItsEndClearsIt_data();
    void conditionSetsAnErrorAndItsEndClearsIt();
    void errorOfAnotherConditionFollows();
    void emittedErrorStaysAfterTheLidIsClosed();
    void codeOfAConditionReplacesAnEmittedCode_data();
    void codeOfAConditionReplacesAnEmittedCode();
    void hotHeadIsAFault();
    void lowBatteryMakesAnAlert();
    void resetPrinterClearsAll();

    void jobsPrintOneAfterAnotherAndComplete();
    void printedLabelsMoveTheMileage();
    void jobIsNotCutWhereTheSettingSaysSo();
    void lateLabelsAreMadeUpFor();
    void queueTakesEightJobs();
    void jobCanBeCancelledRetriedAndCleared();
    void clearingTheCurrentJobStartsTheNext();
    void openLidStopsTheJob();
    void statusIsForThisPrinterOnly();

    void buttonsAndSoftCancel();
    void expanderKeepsItsSwitches();

    void mileageBecomesPercentages();
    void percentageBecomesMileage();
    void mileageBeforeTheStartIsAFullRoll();
    void lowSupplyMakesAnAlertAndAnEmptyOneAnError();
    void lowRibbonsMakeAlertsOfTheirOwn();
    void lowSupplyIsReportedAgain();
    void loadingIsAnnouncedByBothDaemons();
    void loadingNothingLeavesTheRolls();
    void tagBeforeThePrintEngineIsLoaded();
    void tagOfAnEmptyPlaceIsIgnored();
    void restartedPrintEngineReceivesTheRolls();
    void restartedSupplyDaemonTakesValuesOfThePrintEngine();
    void catalogueIsServed();
    void recordHasTheValuesOfTheQueries();
    void notificationsGetReplies();
    void supplyDaemonEmitsReady();
    void otherPrinterHasNoRolls();

    void simulatorRefusesInvalidActs_data();
    void simulatorRefusesInvalidActs();
    void anySignalCanBeSent_data();
    void anySignalCanBeSent();
    void namesOfReadingsAreComplete();
};

// ---- Readings ----

void tst_Simulator::readingIsAnnouncedAndQueried_data()
{
    QTest::addColumn<QByteArray>("query");
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<QByteArray>("signal");
    QTest::addColumn<int>("unit");

    const struct
    {
        const char *name, *query, *value, *signal;
        int unit;
    } rows[] = {
        { "error", "getError", "7", "M4_Error", 0 },
        { "alert", "getAlert", "-8", "M4_Alert", 0 },
        { "m4Version", "m4Version", "'9.9'", "M4_M4Version", 0 },
        { "batteryStatus", "getBatteryStatus", "55", "M4_M4BatteryUpdate", 0 },
        { "dac0", "dac0", "uint32 4294967295", "M4_M4Dac0", 0 },
        { "bMark", "bMark", "uint32 11", "M4_M4BMark", 0 },
        { "gap", "gap", "uint32 12", "M4_M4Gap", 0 },
        { "preCutter", "preCutter", "uint32 13", "M4_M4PreCutter", 0 },
        { "ribbonClr1", "ribbonClr1", "uint32 14", "M4_M4RibbonClr1", 0 },
        { "ribbonClr2", "ribbonClr2", "uint32 15", "M4_M4RibbonClr2", 0 },
        { "ribbonEnc1", "ribbonEnc1", "uint32 16", "M4_M4RibbonEnc1", 0 },
        { "ribbonEnc2", "ribbonEnc2", "uint32 17", "M4_M4RibbonEnc2", 0 },
        { "ribbonEnc3", "ribbonEnc3", "uint32 18", "M4_M4RibbonEnc3", 0 },
        { "ribbonEnc4", "ribbonEnc4", "uint32 19", "M4_M4RibbonEnc4", 0 },
        { "cutterCover", "cutterCover", "true", "M4_M4CutterCover", 0 },
        { "cutterHome", "cutterHome", "false", "M4_M4CutterHome", 0 },
        { "printerLid", "printerLid", "true", "M4_M4PrinterLid", 0 },
        { "supplySensor", "supplySensor", "uint32 20", "M4_M4SupplySensor", 0 },
        { "supplyLatch", "supplyLatch", "true", "M4_M4SupplyLatch", 0 },
        { "ribbon1Verify", "ribbon1Verify", "uint64 18446744073709551615", "M4_M4RibbonVerify1",
          0 },
        { "ribbon2Verify", "ribbon2Verify", "uint64 4294967296", "M4_M4RibbonVerify2", 0 },
        { "ribbon1Mileage", "ribbon1Mileage", "21", "M4_M4Ribbon1Mileage", 0 },
        { "ribbon2Mileage", "ribbon2Mileage", "22", "M4_M4Ribbon2Mileage", 0 },
        { "supplyMileage", "supplyMileage", "23", "M4_M4SupplyMileage", 0 },
        { "tph1Therm", "tph1Therm", "-5", "M4_M4TphTherm", 1 },
        { "tph2Therm", "tph2Therm", "24", "M4_M4TphTherm", 2 },
        { "tph1HeatIndexOffset", "tph1HeatIndexOffset", "25", "M4_M4TphHeatIndexOffset", 1 },
        { "tph2HeatIndexOffset", "tph2HeatIndexOffset", "-26", "M4_M4TphHeatIndexOffset", 2 },
        { "tach1Tension", "tach1Tension", "27", "M4_M4TachIndex", 1 },
        { "tach2Tension", "tach2Tension", "28", "M4_M4TachIndex", 2 },
        { "tach3Tension", "tach3Tension", "29", "M4_M4TachIndex", 3 },
        { "tach4Tension", "tach4Tension", "30", "M4_M4TachIndex", 4 },
    };
    for (const auto &row : rows) {
        QTest::newRow(row.name) << QByteArray(row.query) << QByteArray(row.value)
                                << QByteArray(row.signal) << row.unit;
    }
}

void tst_Simulator::readingIsAnnouncedAndQueried()
{
    QFETCH(QByteArray, query);
    QFETCH(QByteArray, value);
    QFETCH(QByteArray, signal);
    QFETCH(int, unit);
    const QByteArray name = QTest::currentDataTag();

    Desk desk({ "m4" });
    QCOMPARE(desk.act("m4", "set", "('" + name + "', <" + value + ">)"), QByteArray("()"));
    const QByteArray announced = unit ? '(' + QByteArray::number(unit) + ", " + value + ')'
                                      : '(' + value + ",)";
    QVERIFY(desk.hears(signal, wireText(announced)));
    QCOMPARE(desk.ask("m4", query), wireText('(' + value + ",)"));
    QCOMPARE(desk.act("m4", "get", "('" + name + "',)"), wireText("(<" + value + ">,)"));
}

void tst_Simulator::settingIsAnnouncedAndReadsBack_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("signal");
    QTest::addColumn<QByteArray>("announced");
    QTest::addColumn<QByteArray>("query");

    const struct
    {
        const char *member, *body, *signal, *announced, *query;
    } rows[] = {
        { "setDac", "(uint32 1234,)", "M4_M4Dac0", "(uint32 1234,)", "dac0" },
        { "setSupplySensor", "(321,)", "M4_M4SupplySensor", "(uint32 321,)", "supplySensor" },
        { "emitError", "(77,)", "M4_Error", "(77,)", "getError" },
        { "emitAlert", "(78,)", "M4_Alert", "(78,)", "getAlert" },
    };
    for (const auto &row : rows) {
        QTest::newRow(row.member) << QByteArray(row.body) << QByteArray(row.signal)
                                  << QByteArray(row.announced) << QByteArray(row.query);
    }
}

void tst_Simulator::settingIsAnnouncedAndReadsBack()
{
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, signal);
    QFETCH(QByteArray, announced);
    QFETCH(QByteArray, query);

    Desk desk({ "m4" });
    QCOMPARE(desk.ask("m4", QTest::currentDataTag(), body), QByteArray("(true,)"));
    QVERIFY(desk.hears(signal, announced));
    QCOMPARE(desk.ask("m4", query), announced);
}

void tst_Simulator::switchIsKept_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("value");

    const struct
    {
        const char *member, *body, *name, *value;
    } rows[] = {
        { "setClearTailRibbon1", "(true,)", "clearTailRibbon1", "true" },
        { "setClearTailRibbon2", "(true,)", "clearTailRibbon2", "true" },
        { "setSupplyWidth", "(true,)", "supplyWidth", "true" },
        { "setSupplyLED", "(false,)", "supplyLED", "false" },
        { "solenoid1", "()", "solenoid1", "true" },
        { "solenoid2", "()", "solenoid2", "true" },
        { "solenoid3", "()", "solenoid3", "true" },
        { "solenoid4", "()", "solenoid4", "true" },
        { "resetRibbon1", "()", "ribbon1", "false" },
        { "resetRibbon2", "()", "ribbon2", "false" },
    };
    for (const auto &row : rows) {
        QTest::newRow(row.member) << QByteArray(row.body) << QByteArray(row.name)
                                  << QByteArray(row.value);
    }
}

void tst_Simulator::switchIsKept()
{
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, value);

    Desk desk({ "m4" });
    const QByteArray kept = "(<" + value + ">,)";
    QVERIFY(desk.act("m4", "get", "('" + name + "',)") != kept);
    QCOMPARE(desk.ask("m4", QTest::currentDataTag(), body), QByteArray("(true,)"));
    QCOMPARE(desk.act("m4", "get", "('" + name + "',)"), kept);
    if (name.startsWith("solenoid") || name.startsWith("ribbon")) {
        const QByteArray number = name.right(1);
        const QByteArray opposite = name.startsWith("solenoid") ? "resetSolenoid" : "ribbon";
        QCOMPARE(desk.ask("m4", opposite + number), QByteArray("(true,)"));
        QVERIFY(desk.act("m4", "get", "('" + name + "',)") != kept);
    }
}

void tst_Simulator::userSettingIsAnnouncedAgainOnRefresh()
{
    Desk desk({ "m4" });
    QCOMPARE(desk.ask("m4", "setUserSetting", "(5, -3)"), QByteArray("(true,)"));
    QVERIFY(desk.hears("M4_M4UserSetting", "(5, -3)"));
    desk.forget();
    QCOMPARE(desk.ask("m4", "refreshSettings"), QByteArray("(true,)"));
    QVERIFY(desk.hears("M4_M4UserSetting", "(5, -3)"));
    QCOMPARE(desk.ask("m4", "dumpSettings"), QByteArray("(true,)"));
    QVERIFY(waitUntil(
        [&desk]() { return desk.daemon("m4").output().contains("user setting 5: -3\n"); }));
}

void tst_Simulator::requestMeasuresAndEmitsTheValue_data()
{
    QTest::addColumn<QByteArray>("query");
    QTest::addColumn<QByteArray>("signal");
    QTest::addColumn<int>("unit");

    const struct
    {
        const char *request, *query, *signal;
        int unit;
    } rows[] = {
        { "reqTph1Therm", "tph1Therm", "M4_M4TphTherm", 1 },
        { "reqTph2Therm", "tph2Therm", "M4_M4TphTherm", 2 },
        { "reqTph1HeatIndex", "tph1HeatIndexOffset", "M4_M4TphHeatIndexOffset", 1 },
        { "reqTph2HeatIndex", "tph2HeatIndexOffset", "M4_M4TphHeatIndexOffset", 2 },
        { "reqTach1Tension", "tach1Tension", "M4_M4TachIndex", 1 },
        { "reqTach2Tension", "tach2Tension", "M4_M4TachIndex", 2 },
        { "reqTach3Tension", "tach3Tension", "M4_M4TachIndex", 3 },
        { "reqTach4Tension", "tach4Tension", "M4_M4TachIndex", 4 },
        { "reqRibbon1Verify", "ribbon1Verify", "M4_M4RibbonVerify1", 0 },
        { "reqRibbon2Verify", "ribbon2Verify", "M4_M4RibbonVerify2", 0 },
        { "reqRibbon1Mileage", "ribbon1Mileage", "M4_M4Ribbon1Mileage", 0 },
        { "reqRibbon2Mileage", "ribbon2Mileage", "M4_M4Ribbon2Mileage", 0 },
        { "reqSupplyMileage", "supplyMileage", "M4_M4SupplyMileage", 0 },
    };
    for (const auto &row : rows) {
        QTest::newRow(row.request) << QByteArray(row.query) << QByteArray(row.signal) << row.unit;
    }
}

void tst_Simulator::requestMeasuresAndEmitsTheValue()
{
    QFETCH(QByteArray, query);
    QFETCH(QByteArray, signal);
    QFETCH(int, unit);
    const QByteArray request = QTest::currentDataTag();

    Desk desk({ "m4" });
    QByteArray before = desk.ask("m4", query);
    // A counter changes only when the media move, any other value by itself.
    const bool isCounter = request.endsWith("Mileage");
    for (int i = 0; i < 20; ++i) {
        if (isCounter) {
            QCOMPARE(desk.ask("m4", "forwardFeed", "(uint32 8,)"), QByteArray("(true,)"));
        }
        desk.forget();
        QCOMPARE(desk.ask("m4", request), QByteArray("(true,)"));
        QVERIFY(desk.hears(signal));
        const QByteArray reading = desk.ask("m4", query);
        QVERIFY(reading != before);
        const QByteArray value = reading.mid(1, reading.size() - 3);
        QCOMPARE(desk.last(signal),
                 unit ? '(' + QByteArray::number(unit) + ", " + value + ')' : reading);
        before = reading;
    }
}

void tst_Simulator::measurementsAreTheSameInEveryRun()
{
    QByteArray runs[2];
    for (QByteArray &run : runs) {
        Desk desk({ "m4" });
        for (int i = 0; i < 3; ++i) {
            desk.ask("m4", "reqTph1Therm");
            desk.ask("m4", "reqRibbon1Verify");
            run += desk.ask("m4", "tph1Therm") + desk.ask("m4", "ribbon1Verify");
        }
    }
    QCOMPARE(runs[0], runs[1]);
}

void tst_Simulator::messageIsAnnouncedAndAcknowledged()
{
    Desk desk({ "m4" });
    QCOMPARE(desk.ask("m4", "sendMCCMessage", "(1, 2)"), QByteArray("(true,)"));
    QVERIFY(desk.hears("M4_M4MessageSent", "('1 2 0',)"));
    QVERIFY(desk.hears("M4_M4MessageReceived", "('1 2 ok',)"));
    QCOMPARE(desk.ask("m4", "sendMCCMessage", "(3, 4, uint64 5)"), QByteArray("(true,)"));
    QVERIFY(desk.hears("M4_M4MessageSent", "('3 4 5',)"));
    QCOMPARE(desk.ask("m4", "sendMCCMessage", "(6, 7, 'text')"), QByteArray("(true,)"));
    QVERIFY(desk.hears("M4_M4MessageSent", "('6 7 \"text\"',)"));
}

void tst_Simulator::refreshAllAnnouncesEverySensor_data()
{
    QTest::addColumn<QByteArray>("query");

    const struct
    {
        const char *signal, *query;
    } rows[] = {
        { "M4_M4Dac0", "dac0" },
        { "M4_M4BMark", "bMark" },
        { "M4_M4Gap", "gap" },
        { "M4_M4PreCutter", "preCutter" },
        { "M4_M4RibbonClr1", "ribbonClr1" },
        { "M4_M4RibbonClr2", "ribbonClr2" },
        { "M4_M4RibbonEnc1", "ribbonEnc1" },
        { "M4_M4RibbonEnc2", "ribbonEnc2" },
        { "M4_M4RibbonEnc3", "ribbonEnc3" },
        { "M4_M4RibbonEnc4", "ribbonEnc4" },
        { "M4_M4CutterCover", "cutterCover" },
        { "M4_M4CutterHome", "cutterHome" },
        { "M4_M4PrinterLid", "printerLid" },
        { "M4_M4SupplySensor", "supplySensor" },
        { "M4_M4SupplyLatch", "supplyLatch" },
        { "M4_M4Version", "m4Version" },
        { "M4_M4BatteryUpdate", "getBatteryStatus" },
        { "M4_M4Film1Tach", "" },
        { "M4_M4Film2Tach", "" },
        { "M4_M4Film3Tach", "" },
        { "M4_M4Film4Tach", "" },
        { "M4_M4TachValues", "" },
    };
    for (const auto &row : rows) {
        QTest::newRow(row.signal) << QByteArray(row.query);
    }
}

void tst_Simulator::refreshAllAnnouncesEverySensor()
{
    QFETCH(QByteArray, query);
    const QByteArray signal = QTest::currentDataTag();

    Desk desk({ "m4" });
    QCOMPARE(desk.ask("m4", "refreshAll"), QByteArray("(true,)"));
    QVERIFY(desk.hears(signal));
    if (!query.isEmpty()) {
        QCOMPARE(desk.last(signal), desk.ask("m4", query));
    }
}

void tst_Simulator::numberFromAnApplicationIsEmitted()
{
    Desk desk({ "m4" });
    QCOMPARE(desk.ask("m4", "printQueueFull", "(uint32 12,)"), QByteArray("(true,)"));
    QVERIFY(desk.hears("M4_PrintQueueFull", "(12,)"));
    QCOMPARE(desk.ask("m4", "printQueueComplete", "(uint32 13,)"), QByteArray("(true,)"));
    QVERIFY(desk.hears("M4_PrintQueueComplete", "(13,)"));
}

// ---- Motion and codes ----

void tst_Simulator::feedsMoveTheMileage()
{
    Desk desk({ "m4" });
    QCOMPARE(desk.ask("m4", "forwardFeed", "(uint32 80,)"), QByteArray("(true,)"));
    QVERIFY(desk.hears("M4_M4SupplyMileage", "(10,)"));
    QVERIFY(desk.hears("M4_M4Ribbon1Mileage", "(10,)"));
    QVERIFY(desk.hears("M4_M4Ribbon2Mileage", "(10,)"));
    QCOMPARE(desk.ask("m4", "supplyMileage"), QByteArray("(10,)"));

    QCOMPARE(desk.ask("m4", "backwardFeed", "(uint32 16,)"), QByteArray("(true,)"));
    QVERIFY(desk.hears("M4_M4SupplyMileage", "(8,)"));
    QCOMPARE(desk.ask("m4", "ribbon1Mileage"), QByteArray("(10,)"));

    // Half a millimetre is counted, but not yet announced.
    desk.forget();
    QCOMPARE(desk.ask("m4", "forwardFeed", "(uint32 4,)"), QByteArray("(true,)"));
    QCOMPARE(desk.ask("m4", "supplyMileage"), QByteArray("(8,)"));
    QCOMPARE(desk.ask("m4", "forwardFeed", "(uint32 4,)"), QByteArray("(true,)"));
    QCOMPARE(desk.ask("m4", "supplyMileage"), QByteArray("(9,)"));
    QCOMPARE(desk.count("M4_M4SupplyMileage"), 1);
}

void tst_Simulator::backwardFeedEndsAtTheStart()
{
    Desk desk({ "m4" });
    desk.ask("m4", "forwardFeed", "(uint32 80,)");
    QCOMPARE(desk.ask("m4", "backwardFeed", "(uint32 8000,)"), QByteArray("(true,)"));
    QVERIFY(desk.hears("M4_M4SupplyMileage", "(0,)"));
    QCOMPARE(desk.ask("m4", "supplyMileage"), QByteArray("(0,)"));
    desk.ask("m4", "forwardFeed", "(uint32 16,)");
    QCOMPARE(desk.ask("m4", "supplyMileage"), QByteArray("(2,)"));
}

void tst_Simulator::resetMotorForgetsLessThanAMillimetre_data()
{
    QTest::addColumn<QByteArray>("mileage"); // after half a millimetre, the reset and another half
    QTest::newRow("resetMotor") << QByteArray("(0,)");
    QTest::newRow("resetPaperMotor1") << QByteArray("(0,)");
    QTest::newRow("resetPaperMotor2") << QByteArray("(0,)");
    QTest::newRow("resetSolenoid1") << QByteArray("(1,)");
}

void tst_Simulator::resetMotorForgetsLessThanAMillimetre()
{
    QFETCH(QByteArray, mileage);

    Desk desk({ "m4" });
    desk.ask("m4", "forwardFeed", "(uint32 4,)");
    QCOMPARE(desk.ask("m4", QTest::currentDataTag()), QByteArray("(true,)"));
    desk.ask("m4", "forwardFeed", "(uint32 4,)");
    QCOMPARE(desk.ask("m4", "supplyMileage"), mileage);
    QCOMPARE(desk.ask("m4", "ribbon1Mileage"), mileage);
    QCOMPARE(desk.ask("m4", "ribbon2Mileage"), mileage);
}

void tst_Simulator::calibrationMeasures()
{
    Desk desk({ "m4" });
    const struct
    {
        const char *query, *signal;
    } sensors[] = {
        { "bMark", "M4_M4BMark" },
        { "gap", "M4_M4Gap" },
        { "supplySensor", "M4_M4SupplySensor" },
    };
    QList<QByteArray> before;
    for (const auto &sensor : sensors) {
        before += desk.ask("m4", sensor.query);
    }
    QCOMPARE(desk.ask("m4", "calibrateSupply"), QByteArray("(true,)"));
    for (const auto &sensor : sensors) {
        QVERIFY(desk.hears(sensor.signal));
        const QByteArray reading = desk.ask("m4", sensor.query);
        QVERIFY(reading != before.takeFirst());
        QCOMPARE(desk.last(sensor.signal), reading);
    }
}

void tst_Simulator::ribbonOfAResetUnitDoesNotMove()
{
    Desk desk({ "m4" });
    desk.ask("m4", "resetRibbon1");
    desk.ask("m4", "forwardFeed", "(uint32 80,)");
    QCOMPARE(desk.ask("m4", "ribbon1Mileage"), QByteArray("(0,)"));
    QCOMPARE(desk.ask("m4", "ribbon2Mileage"), QByteArray("(10,)"));
    desk.ask("m4", "ribbon1");
    desk.ask("m4", "forwardFeed", "(uint32 80,)");
    QCOMPARE(desk.ask("m4", "ribbon1Mileage"), QByteArray("(10,)"));
}

void tst_Simulator::cutterLeavesHomeAndComesBack()
{
    Desk desk({ "m4" });
    QCOMPARE(desk.ask("m4", "cycleCutter"), QByteArray("(true,)"));
    QVERIFY(desk.hears("M4_M4CutterHome", "(true,)"));
    QCOMPARE(desk.count("M4_M4CutterHome", "(false,)"), 1);
    QCOMPARE(desk.ask("m4", "cutterHome"), QByteArray("(true,)"));
}

void tst_Simulator::cutterAwayFromHomeDoesNotCycle()
{
    Desk desk({ "m4" });
    desk.act("m4", "set", "('cutterHome', <false>)");
    QCOMPARE(desk.ask("m4", "cycleCutter"), QByteArray("(false,)"));
    QCOMPARE(desk.ask("m4", "resetCutter"), QByteArray("(true,)"));
    QVERIFY(desk.hears("M4_M4CutterHome", "(true,)"));
    QCOMPARE(desk.ask("m4", "cycleCutter"), QByteArray("(true,)"));
}

void tst_Simulator::openLidRefusesMotion_data()
{
    QTest::addColumn<QByteArray>("body");

    QTest::newRow("forwardFeed") << QByteArray("(uint32 8,)");
    QTest::newRow("backwardFeed") << QByteArray("(uint32 8,)");
    for (const char *member : { "cycleCutter", "resetCutter", "calibrateSupply", "solenoid1",
                                "solenoid2", "solenoid3", "solenoid4", "ribbon1", "ribbon2" }) {
        QTest::newRow(member) << QByteArray("()");
    }
}

void tst_Simulator::openLidRefusesMotion()
{
    QFETCH(QByteArray, body);
    const QByteArray member = QTest::currentDataTag();

    Desk desk({ "m4" });
    for (const char *name : { "printerLid", "cutterCover", "supplyLatch" }) {
        desk.act("m4", "set", QByteArray("('") + name + "', <true>)");
        QCOMPARE(desk.ask("m4", member, body), QByteArray("(false,)"));
        desk.act("m4", "set", QByteArray("('") + name + "', <false>)");
    }
    QCOMPARE(desk.ask("m4", member, body), QByteArray("(true,)"));
}

void tst_Simulator::conditionSetsAnErrorAndItsEndClearsIt_data()
{
    QTest::addColumn<QByteArray>("bad");
    QTest::addColumn<QByteArray>("good");
    QTest::addColumn<int>("code");

    const struct
    {
        const char *name, *bad, *good;
        int code;
    } rows[] = {
        { "printerLid", "true", "false", 10 },
        { "cutterCover", "true", "false", 11 },
        { "supplyLatch", "true", "false", 12 },
        { "supplySensor", "uint32 0", "uint32 2600", 20 },
        { "ribbonClr1", "uint32 3500", "uint32 400", 21 },
        { "ribbonClr2", "uint32 4095", "uint32 400", 22 },
        { "tph1Therm", "700", "690", 31 },
        { "tph2Therm", "800", "300", 32 },
    };
    for (const auto &row : rows) {
        QTest::newRow(row.name) << QByteArray(row.bad) << QByteArray(row.good) << row.code;
    }
}

void tst_Simulator::conditionSetsAnErrorAndItsEndClearsIt()
{
    QFETCH(QByteArray, bad);
    QFETCH(QByteArray, good);
    QFETCH(int, code);
    const QByteArray name = QTest::currentDataTag();
    const QByteArray error = '(' + QByteArray::number(code) + ",)";

    Desk desk({ "m4" });
    desk.act("m4", "set", "('" + name + "', <" + bad + ">)");
    QVERIFY(desk.hears("M4_Error", error));
    QCOMPARE(desk.ask("m4", "getError"), error);
    QCOMPARE(desk.ask("m4", "getPrinterStatus", "('labelprinter',)"), QByteArray("(4,)"));

    // No job starts meanwhile.
    desk.act("m4", "print", "(uint32 1,)");
    QCOMPARE(desk.ask("m4", "retryPrintJob"), QByteArray("(false,)"));

    desk.act("m4", "set", "('" + name + "', <" + good + ">)");
    QVERIFY(desk.hears("M4_Error", "(0,)"));
    QCOMPARE(desk.ask("m4", "getPrinterStatus", "('labelprinter',)"), QByteArray("(3,)"));
    QCOMPARE(desk.count("M4_M4PrintDone"), 0);
    QCOMPARE(desk.ask("m4", "retryPrintJob"), QByteArray("(true,)"));
    QVERIFY(desk.hears("M4_M4PrintDone"));
}

void tst_Simulator::errorOfAnotherConditionFollows()
{
    Desk desk({ "m4" });
    desk.act("m4", "set", "('supplySensor', <uint32 0>)");
    desk.act("m4", "set", "('printerLid', <true>)");
    QCOMPARE(desk.ask("m4", "getError"), QByteArray("(10,)"));
    desk.act("m4", "set", "('printerLid', <false>)");
    QCOMPARE(desk.ask("m4", "getError"), QByteArray("(20,)"));
    // A measurement does not find media that are not loaded.
    desk.ask("m4", "refreshSensors");
    QCOMPARE(desk.ask("m4", "supplySensor"), QByteArray("(uint32 0,)"));
    QCOMPARE(desk.ask("m4", "getError"), QByteArray("(20,)"));
}

void tst_Simulator::emittedErrorStaysAfterTheLidIsClosed()
{
    Desk desk({ "m4" });
    desk.act("m4", "set", "('printerLid', <true>)");
    QCOMPARE(desk.ask("m4", "emitError", "(99,)"), QByteArray("(true,)"));
    desk.act("m4", "set", "('printerLid', <false>)");
    QCOMPARE(desk.ask("m4", "getError"), QByteArray("(99,)"));
    desk.act("m4", "set", "('printerLid', <true>)");
    QCOMPARE(desk.ask("m4", "getError"), QByteArray("(10,)"));
    // Setting the error code back to 0 does not close the lid.
    QCOMPARE(desk.ask("m4", "emitError", "(0,)"), QByteArray("(true,)"));
    QCOMPARE(desk.ask("m4", "getError"), QByteArray("(10,)"));
}

void tst_Simulator::codeOfAConditionReplacesAnEmittedCode_data()
{
    QTest::addColumn<QByteArray>("query");
    QTest::addColumn<QByteArray>("bad");
    QTest::addColumn<QByteArray>("good");
    QTest::addColumn<QByteArray>("code");
    QTest::newRow("emitError") << QByteArray("getError") << QByteArray("'printerLid', <true>")
                               << QByteArray("'printerLid', <false>") << QByteArray("(10,)");
    QTest::newRow("emitAlert") << QByteArray("getAlert") << QByteArray("'batteryStatus', <5>")
                               << QByteArray("'batteryStatus', <50>") << QByteArray("(1,)");
}

void tst_Simulator::codeOfAConditionReplacesAnEmittedCode()
{
    QFETCH(QByteArray, query);
    QFETCH(QByteArray, bad);
    QFETCH(QByteArray, good);
    QFETCH(QByteArray, code);
    const QByteArray handOver = QTest::currentDataTag();

    Desk desk({ "m4" });
    desk.ask("m4", handOver, "(99,)");
    desk.act("m4", "set", '(' + bad + ')');
    QCOMPARE(desk.ask("m4", query), code);
    desk.act("m4", "set", '(' + good + ')');
    QCOMPARE(desk.ask("m4", query), QByteArray("(99,)"));

    // A code that is set back to 0 while another condition exists does not return.
    desk.act("m4", "set", '(' + bad + ')');
    desk.ask("m4", handOver, "(0,)");
    QCOMPARE(desk.ask("m4", query), code);
    desk.act("m4", "set", '(' + good + ')');
    QCOMPARE(desk.ask("m4", query), QByteArray("(0,)"));
}

void tst_Simulator::hotHeadIsAFault()
{
    Desk desk({ "m4" });
    desk.act("m4", "set", "('tph1Therm', <701>)");
    QVERIFY(desk.hears("M4_M4Tph1Fault", "()"));
    desk.act("m4", "set", "('tph2Therm', <701>)");
    QVERIFY(desk.hears("M4_M4Tph2Fault", "()"));
}

void tst_Simulator::lowBatteryMakesAnAlert()
{
    Desk desk({ "m4" });
    desk.act("m4", "set", "('batteryStatus', <15>)");
    QVERIFY(desk.hears("M4_M4BatteryUpdate", "(15,)"));
    QVERIFY(desk.hears("M4_Alert", "(1,)"));
    QCOMPARE(desk.ask("m4", "getAlert"), QByteArray("(1,)"));
    QCOMPARE(desk.ask("m4", "getError"), QByteArray("(0,)"));
    desk.act("m4", "set", "('batteryStatus', <16>)");
    QVERIFY(desk.hears("M4_Alert", "(0,)"));
}

void tst_Simulator::resetPrinterClearsAll()
{
    Desk desk({ "m4" });
    desk.act("m4", "print", "(uint32 1000,)");
    desk.ask("m4", "solenoid2");
    desk.ask("m4", "emitError", "(5,)");
    desk.ask("m4", "emitAlert", "(6,)");
    desk.act("m4", "set", "('cutterHome', <false>)");
    QCOMPARE(desk.ask("m4", "resetPrinter"), QByteArray("(true,)"));
    QVERIFY(desk.hears("M4_PrintQueueClear", "(0,)"));
    QCOMPARE(desk.ask("m4", "getError"), QByteArray("(0,)"));
    QCOMPARE(desk.ask("m4", "getAlert"), QByteArray("(0,)"));
    QCOMPARE(desk.act("m4", "get", "('solenoid2',)"), QByteArray("(<false>,)"));
    QVERIFY(desk.hears("M4_M4CutterHome", "(true,)"));
    QCOMPARE(desk.ask("m4", "cutterHome"), QByteArray("(true,)"));
    QCOMPARE(desk.ask("m4", "getPrinterStatus", "('',)"), QByteArray("(1,)"));
}

// ---- The queue ----

void tst_Simulator::jobsPrintOneAfterAnotherAndComplete()
{
    Desk desk({ "m4" });
    desk.act("m4", "print", "(uint32 2,)");
    desk.act("m4", "print", "(uint32 3,)");
    QCOMPARE(desk.ask("m4", "getPrinterStatus", "('labelprinter',)"), QByteArray("(2,)"));
    QVERIFY(desk.hears("M4_PrintQueueComplete", "(2,)"));
    QCOMPARE(desk.count("M4_M4PrintDone"), 5);
    // The cutter cuts each label.
    QVERIFY(desk.hears("M4_M4CutterHome", "(true,)", 2));
    QCOMPARE(desk.ask("m4", "getPrinterStatus", "('labelprinter',)"), QByteArray("(1,)"));

    desk.forget();
    desk.act("m4", "print", "(uint32 1,)");
    QVERIFY(desk.hears("M4_PrintQueueComplete", "(1,)"));
}

void tst_Simulator::printedLabelsMoveTheMileage()
{
    Desk desk({ "m4" });
    desk.ask("m4", "setUserSetting", "(3, 25)");
    desk.act("m4", "print", "(uint32 4,)");
    QVERIFY(desk.hears("M4_PrintQueueComplete"));
    QVERIFY(desk.hears("M4_M4SupplyMileage", "(100,)"));
    QVERIFY(desk.hears("M4_M4Ribbon1Mileage", "(100,)"));
    QVERIFY(desk.hears("M4_M4Ribbon2Mileage", "(100,)"));
    QCOMPARE(desk.count("M4_M4SupplyMileage"), 4);
}

void tst_Simulator::jobIsNotCutWhereTheSettingSaysSo()
{
    Desk desk({ "m4" });
    desk.ask("m4", "setUserSetting", "(4, 0)");
    desk.act("m4", "print", "(uint32 2,)");
    QVERIFY(desk.hears("M4_PrintQueueComplete", "(1,)"));
    QCOMPARE(desk.ask("m4", "cutterHome"), QByteArray("(true,)"));
    QCOMPARE(desk.count("M4_M4CutterHome"), 0);

    desk.ask("m4", "setUserSetting", "(4, 1)");
    desk.act("m4", "print", "(uint32 2,)");
    QVERIFY(desk.hears("M4_M4CutterHome", "(false,)"));
}

void tst_Simulator::lateLabelsAreMadeUpFor()
{
    Desk desk({ "m4" });
    desk.ask("m4", "setUserSetting", "(4, 0)");
    desk.act("m4", "print", "(uint32 20,)");
    SimulatedDaemon &daemon = desk.daemon("m4");
    QVERIFY(daemon.halt());
    const QDeadlineTimer printed(30 * 50);
    QVERIFY(waitUntil([&printed]() { return printed.hasExpired(); }));
    daemon.send(SIGCONT);
    for (int i = 0; i < 3; ++i) { // between two replies, each timer fires once
        QCOMPARE(desk.ask("m4", "getError"), QByteArray("(0,)"));
    }
    QCOMPARE(desk.count("M4_M4PrintDone"), 20);
    QCOMPARE(desk.count("M4_PrintQueueComplete", "(1,)"), 1);
}

void tst_Simulator::queueTakesEightJobs()
{
    Desk desk({ "m4" });
    for (int i = 0; i < 8; ++i) {
        QCOMPARE(desk.count("M4_PrintQueueFull"), 0);
        QCOMPARE(desk.act("m4", "print", "(uint32 1000,)"), QByteArray("()"));
    }
    QVERIFY(desk.hears("M4_PrintQueueFull", "(8,)"));
    QVERIFY(desk.act("m4", "print", "(uint32 1,)").startsWith("org.hnipc.Simulator.Error: "));

    QCOMPARE(desk.ask("m4", "clearAllPrintJobs"), QByteArray("(true,)"));
    QVERIFY(desk.hears("M4_PrintQueueClear", "(0,)"));
    QCOMPARE(desk.ask("m4", "getPrinterStatus", "('labelprinter',)"), QByteArray("(1,)"));
    QCOMPARE(desk.ask("m4", "clearAllPrintJobs"), QByteArray("(false,)"));
}

void tst_Simulator::jobCanBeCancelledRetriedAndCleared()
{
    Desk desk({ "m4" });
    QCOMPARE(desk.ask("m4", "cancelPrintJob"), QByteArray("(false,)"));
    QCOMPARE(desk.ask("m4", "clearPrintJob"), QByteArray("(false,)"));
    desk.act("m4", "print", "(uint32 1000,)");
    QVERIFY(desk.hears("M4_M4PrintDone"));
    QCOMPARE(desk.ask("m4", "retryPrintJob"), QByteArray("(false,)"));

    QCOMPARE(desk.ask("m4", "cancelPrintJob"), QByteArray("(true,)"));
    QCOMPARE(desk.ask("m4", "getPrinterStatus", "('labelprinter',)"), QByteArray("(3,)"));
    QCOMPARE(desk.ask("m4", "cancelPrintJob"), QByteArray("(false,)"));
    // A cut takes longer than a few labels would.
    desk.forget();
    desk.ask("m4", "cycleCutter");
    QVERIFY(desk.hears("M4_M4CutterHome", "(true,)"));
    QCOMPARE(desk.count("M4_M4PrintDone"), 0);

    QCOMPARE(desk.ask("m4", "retryPrintJob"), QByteArray("(true,)"));
    QVERIFY(desk.hears("M4_M4PrintDone"));
    QCOMPARE(desk.ask("m4", "getPrinterStatus", "('labelprinter',)"), QByteArray("(2,)"));

    QCOMPARE(desk.ask("m4", "clearPrintJob"), QByteArray("(true,)"));
    QVERIFY(desk.hears("M4_PrintQueueClear", "(0,)"));
    QCOMPARE(desk.ask("m4", "getPrinterStatus", "('labelprinter',)"), QByteArray("(1,)"));
}

void tst_Simulator::clearingTheCurrentJobStartsTheNext()
{
    Desk desk({ "m4" });
    desk.act("m4", "print", "(uint32 1000,)");
    desk.act("m4", "print", "(uint32 2,)");
    desk.ask("m4", "cancelPrintJob");
    desk.forget();
    QCOMPARE(desk.ask("m4", "clearPrintJob"), QByteArray("(true,)"));
    QVERIFY(desk.hears("M4_PrintQueueComplete", "(1,)"));
    QCOMPARE(desk.count("M4_M4PrintDone"), 2);
    QCOMPARE(desk.count("M4_PrintQueueClear"), 0);
}

void tst_Simulator::openLidStopsTheJob()
{
    Desk desk({ "m4" });
    desk.act("m4", "print", "(uint32 20,)");
    QVERIFY(desk.hears("M4_M4PrintDone"));
    desk.act("m4", "set", "('printerLid', <true>)");
    QVERIFY(desk.hears("M4_Error", "(10,)"));
    QCOMPARE(desk.ask("m4", "retryPrintJob"), QByteArray("(false,)"));
    desk.act("m4", "set", "('printerLid', <false>)");
    QCOMPARE(desk.ask("m4", "getPrinterStatus", "('labelprinter',)"), QByteArray("(3,)"));
    QCOMPARE(desk.count("M4_PrintQueueComplete"), 0);

    QCOMPARE(desk.ask("m4", "retryPrintJob"), QByteArray("(true,)"));
    QVERIFY(desk.hears("M4_PrintQueueComplete", "(1,)"));
    QCOMPARE(desk.count("M4_M4PrintDone"), 20);
}

void tst_Simulator::statusIsForThisPrinterOnly()
{
    Desk desk({ "m4" });
    QCOMPARE(desk.ask("m4", "getPrinterStatus", "('labelprinter',)"), QByteArray("(1,)"));
    QCOMPARE(desk.ask("m4", "getPrinterStatus", "('',)"), QByteArray("(1,)"));
    QCOMPARE(desk.ask("m4", "getPrinterStatus", "('another',)"), QByteArray("(0,)"));
}

// ---- The I/O expander ----

void tst_Simulator::buttonsAndSoftCancel()
{
    Desk desk({ "ioexpd" });
    QCOMPARE(desk.act("ioexpd", "press", "('print',)"), QByteArray("()"));
    QVERIFY(desk.hears("IOEXPD_PrintButton", "()"));
    QCOMPARE(desk.act("ioexpd", "press", "('help',)"), QByteArray("()"));
    QVERIFY(desk.hears("IOEXPD_HelpButton", "()"));
    QCOMPARE(desk.count("IOEXPD_CancelButton"), 0);
    QCOMPARE(desk.act("ioexpd", "press", "('cancel',)"), QByteArray("()"));
    QVERIFY(desk.hears("IOEXPD_CancelButton", "()"));
    QCOMPARE(desk.ask("ioexpd", "printerSoftCancel"), QByteArray("()"));
    QVERIFY(desk.hears("IOEXPD_CancelButton", "()", 2));
}

void tst_Simulator::expanderKeepsItsSwitches()
{
    Desk desk({ "ioexpd" });
    QCOMPARE(desk.ask("ioexpd", "enableAudioAmp", "(true,)"), QByteArray("()"));
    QCOMPARE(desk.act("ioexpd", "get", "('audioAmp',)"), QByteArray("(<true>,)"));
    QCOMPARE(desk.ask("ioexpd", "enableBacklight", "(false,)"), QByteArray("()"));
    QCOMPARE(desk.act("ioexpd", "get", "('backlight',)"), QByteArray("(<false>,)"));
}

// ---- Supplies; at first there are 60 m of supply, 75 m of ribbon 1 and 300 m of ribbon 2 ----

void tst_Simulator::mileageBecomesPercentages()
{
    Desk desk({ "m4", "supplyd" });
    QCOMPARE(desk.ask("supplyd", "supplySupplyPercent"), QByteArray("(100.0,)"));
    QCOMPARE(desk.ask("m4", "forwardFeed", "(uint32 48000,)"), QByteArray("(true,)"));
    QVERIFY(desk.hears("SUPPLYD_SupplyPercentChanged", "(90.0,)"));
    QVERIFY(desk.hears("SUPPLYD_Ribbon1PercentChanged", "(92.0,)"));
    QVERIFY(desk.hears("SUPPLYD_Ribbon2PercentChanged", "(98.0,)"));
    QCOMPARE(desk.ask("supplyd", "supplySupplyPercent"), QByteArray("(90.0,)"));
    QCOMPARE(desk.ask("supplyd", "supplyRibbon1Percent"), QByteArray("(92.0,)"));
    QCOMPARE(desk.ask("supplyd", "supplyRibbon2Percent"), QByteArray("(98.0,)"));
}

void tst_Simulator::percentageBecomesMileage()
{
    Desk desk({ "m4", "supplyd" });
    desk.act("supplyd", "set", "('supplyPercent', <12.34>)");
    QVERIFY(desk.hears("SUPPLYD_SupplyPercentChanged", "(12.34,)"));
    QCOMPARE(desk.ask("supplyd", "supplySupplyPercent"), QByteArray("(12.34,)"));
    QVERIFY(desk.hears("M4_M4SupplyMileage", "(52596,)"));
    desk.act("supplyd", "set", "('ribbon1Percent', <50>)");
    QVERIFY(desk.hears("M4_M4Ribbon1Mileage", "(37500,)"));
    desk.act("supplyd", "set", "('ribbon2Percent', <uint32 1>)");
    QVERIFY(desk.hears("M4_M4Ribbon2Mileage", "(297000,)"));
}

void tst_Simulator::mileageBeforeTheStartIsAFullRoll()
{
    Desk desk({ "m4", "supplyd" });
    desk.act("m4", "set", "('supplyMileage', <30000>)");
    QVERIFY(desk.hears("SUPPLYD_SupplyPercentChanged", "(50.0,)"));
    desk.act("m4", "set", "('supplyMileage', <-30000>)");
    QVERIFY(desk.hears("SUPPLYD_SupplyPercentChanged", "(100.0,)"));
    QCOMPARE(desk.ask("supplyd", "supplySupplyPercent"), QByteArray("(100.0,)"));
}

void tst_Simulator::lowSupplyMakesAnAlertAndAnEmptyOneAnError()
{
    Desk desk({ "m4", "supplyd" });
    desk.act("supplyd", "set", "('supplyPercent', <10.1>)");
    QVERIFY(desk.hears("M4_M4SupplyMileage", "(53940,)"));
    QCOMPARE(desk.ask("m4", "getAlert"), QByteArray("(0,)"));
    desk.ask("m4", "forwardFeed", "(uint32 1600,)");
    QVERIFY(desk.hears("M4_Alert", "(20,)"));

    desk.ask("m4", "forwardFeed", "(uint32 80000,)");
    QVERIFY(desk.hears("SUPPLYD_SupplyPercentChanged", "(0.0,)"));
    QVERIFY(desk.hears("M4_M4SupplySensor", "(uint32 0,)"));
    QVERIFY(desk.hears("M4_Error", "(20,)"));

    desk.act("supplyd", "load", "('LBL-100060-WH', @as [])");
    QVERIFY(desk.hears("M4_Error", "(0,)"));
    QVERIFY(desk.hears("M4_Alert", "(0,)"));
    QVERIFY(desk.hears("M4_M4SupplyMileage", "(0,)"));
}

void tst_Simulator::lowRibbonsMakeAlertsOfTheirOwn()
{
    Desk desk({ "m4", "supplyd" });
    desk.act("supplyd", "set", "('ribbon1Percent', <10>)");
    QVERIFY(desk.hears("M4_Alert", "(21,)"));
    desk.act("supplyd", "set", "('ribbon2Percent', <5>)");
    QVERIFY(desk.hears("M4_Alert", "(22,)"));
    // Ribbon 1 is still low.
    desk.forget();
    desk.act("supplyd", "set", "('ribbon2Percent', <50>)");
    QVERIFY(desk.hears("M4_Alert", "(21,)"));
    desk.act("supplyd", "set", "('ribbon1Percent', <50>)");
    QVERIFY(desk.hears("M4_Alert", "(0,)"));
}

void tst_Simulator::lowSupplyIsReportedAgain()
{
    Desk desk({ "m4", "supplyd" });
    desk.act("supplyd", "set", "('supplyPercent', <5>)");
    QVERIFY(desk.hears("M4_Alert", "(20,)"));

    desk.stop("m4");
    desk.forget();
    desk.start("m4");
    QVERIFY(desk.hears("M4_Alert", "(20,)"));
    QCOMPARE(desk.ask("m4", "getAlert"), QByteArray("(20,)"));

    desk.act("m4", "set", "('batteryStatus', <5>)");
    QCOMPARE(desk.ask("m4", "getAlert"), QByteArray("(1,)"));
    desk.act("m4", "set", "('batteryStatus', <50>)");
    QCOMPARE(desk.ask("m4", "getAlert"), QByteArray("(20,)"));

    desk.forget();
    QCOMPARE(desk.ask("m4", "resetPrinter"), QByteArray("(true,)"));
    QVERIFY(desk.hears("M4_Alert", "(0,)"));
    QVERIFY(desk.hears("M4_Alert", "(20,)"));
    QCOMPARE(desk.ask("m4", "getAlert"), QByteArray("(20,)"));

    desk.forget();
    desk.act("supplyd", "load", "('LBL-100060-WH', @as [])");
    QVERIFY(desk.hears("M4_Alert", "(0,)"));
    QVERIFY(desk.hears("M4_M4SupplySensor"));
    QCOMPARE(desk.ask("m4", "getAlert"), QByteArray("(0,)"));
}

void tst_Simulator::loadingIsAnnouncedByBothDaemons()
{
    Desk desk({ "m4", "supplyd" });
    const QByteArray oldUid = desk.ask("supplyd", "supplySupplyUID");
    desk.ask("m4", "forwardFeed", "(uint32 80,)");
    QCOMPARE(desk.act("supplyd", "load", "('TAP-050-YE', ['RIB-110-KR', 'RIB-060-BK'])"),
             QByteArray("()"));

    QVERIFY(desk.hears("SUPPLYD_SupplyChanged", "('TAP-050-YE', 'labelprinter')"));
    QVERIFY(desk.hears("SUPPLYD_SupplyRGBChanged", "('#ffd500',)"));
    QVERIFY(desk.hears("SUPPLYD_SupplyPercentChanged", "(100.0,)"));
    QVERIFY(desk.hears("SUPPLYD_RibbonChanged", "(['RIB-110-KR', 'RIB-060-BK'], 'labelprinter')"));
    QVERIFY(desk.hears("SUPPLYD_Ribbon1RGBsChanged", "(['#000000', '#c8102e'],)"));
    QVERIFY(desk.hears("SUPPLYD_Ribbon2RGBsChanged", "(['#000000'],)"));
    QVERIFY(desk.hears("SUPPLYD_Ribbon1PercentChanged", "(100.0,)"));
    QVERIFY(desk.hears("SUPPLYD_Ribbon2PercentChanged", "(100.0,)"));

    QVERIFY(desk.hears("M4_M4SupplyID", "('TAP-050-YE',)"));
    QVERIFY(desk.hears("M4_M4RibbonIDs", "(['RIB-110-KR', 'RIB-060-BK'],)"));
    const QByteArray uid = desk.ask("supplyd", "supplySupplyUID");
    QVERIFY(uid != oldUid);
    QVERIFY(desk.hears("M4_M4SupplyUID", uid));
    QVERIFY(desk.hears("M4_M4Ribbon1UID", desk.ask("supplyd", "supplyRibbon1UID")));
    QVERIFY(desk.hears("M4_M4Ribbon2UID", desk.ask("supplyd", "supplyRibbon2UID")));
    QVERIFY(desk.hears("M4_M4SupplyMileage", "(0,)"));
    QVERIFY(desk.hears("M4_M4Ribbon2Mileage", "(0,)"));
    // A tape has labels of 50 mm.
    QVERIFY(desk.hears("M4_M4UserSetting", "(3, 50)"));

    QCOMPARE(desk.ask("supplyd", "supplyId"), QByteArray("('TAP-050-YE',)"));
    QCOMPARE(desk.ask("supplyd", "supplySKUCached", "('',)"), QByteArray("('TAP-050-YE',)"));
    QCOMPARE(desk.ask("supplyd", "supplyRibbonSKUsCached", "('labelprinter',)"),
             QByteArray("(['RIB-110-KR', 'RIB-060-BK'],)"));
    QCOMPARE(desk.ask("supplyd", "supplySupplyRGB", "('',)"), QByteArray("('#ffd500',)"));
    QCOMPARE(desk.ask("supplyd", "supplyRibbon1RGBs", "('',)"),
             QByteArray("(['#000000', '#c8102e'],)"));
    QCOMPARE(desk.ask("supplyd", "supplyRibbon2RGBs", "('',)"), QByteArray("(['#000000'],)"));

    // The tags contain the same whenever they are read.
    desk.forget();
    QCOMPARE(desk.ask("m4", "rfidTest"), QByteArray("(true,)"));
    QVERIFY(desk.hears("M4_M4SupplyID", "('TAP-050-YE',)"));
    QVERIFY(desk.hears("M4_M4SupplyUID", uid));
    QVERIFY(desk.hears("M4_M4Ribbon2UID", desk.ask("supplyd", "supplyRibbon2UID")));
}

void tst_Simulator::loadingNothingLeavesTheRolls()
{
    Desk desk({ "m4", "supplyd" });
    desk.act("supplyd", "set", "('supplyPercent', <40>)");
    desk.act("supplyd", "set", "('ribbon1Percent', <40>)");
    desk.act("supplyd", "set", "('ribbon2Percent', <40>)");

    desk.act("supplyd", "load", "('', ['', 'RIB-110-RD'])");
    QCOMPARE(desk.ask("supplyd", "supplyRibbonSKUsCached", "('',)"),
             QByteArray("(['RIB-110-CMY', 'RIB-110-RD'],)"));
    QCOMPARE(desk.ask("supplyd", "supplySupplyPercent"), QByteArray("(40.0,)"));
    QCOMPARE(desk.ask("supplyd", "supplyRibbon1Percent"), QByteArray("(40.0,)"));
    QCOMPARE(desk.ask("supplyd", "supplyRibbon2Percent"), QByteArray("(100.0,)"));

    desk.act("supplyd", "load", "('TAP-050-WH', @as [])");
    QCOMPARE(desk.ask("supplyd", "supplySupplyPercent"), QByteArray("(100.0,)"));
    QCOMPARE(desk.ask("supplyd", "supplyRibbon1Percent"), QByteArray("(40.0,)"));

    // One ribbon alone.
    desk.act("supplyd", "load", "('', ['RIB-110-BU'])");
    QCOMPARE(desk.ask("supplyd", "supplyRibbonSKUsCached", "('',)"),
             QByteArray("(['RIB-110-BU'],)"));
    QCOMPARE(desk.ask("supplyd", "supplyRibbon2Percent"), QByteArray("(0.0,)"));
    QVERIFY(desk.hears("M4_M4RibbonIDs", "(['RIB-110-BU'],)"));
    QCOMPARE(desk.ask("m4", "getError"), QByteArray("(0,)"));
}

void tst_Simulator::tagBeforeThePrintEngineIsLoaded()
{
    Desk desk({ "m4", "supplyd" });
    desk.act("m4", "set", "('supplyID', <'TAP-100-RD'>)");
    QVERIFY(desk.hears("SUPPLYD_SupplyChanged", "('TAP-100-RD', 'labelprinter')"));
    desk.act("m4", "set", "('ribbonIDs', <['RIB-110-WH-RESIN']>)");
    QVERIFY(desk.hears("SUPPLYD_RibbonChanged", "(['RIB-110-WH-RESIN'], 'labelprinter')"));
    desk.act("m4", "set", "('supplyUID', <'E0040100FFFFFFFF'>)");
    QVERIFY(waitUntil(
        [&desk]() { return desk.ask("supplyd", "supplySupplyUID") == "('E0040100FFFFFFFF',)"; }));
    QCOMPARE(desk.ask("supplyd", "supplyId"), QByteArray("('TAP-100-RD',)"));
}

void tst_Simulator::tagOfAnEmptyPlaceIsIgnored()
{
    Desk desk({ "m4", "supplyd" });
    desk.act("m4", "set", "('ribbon2UID', <'E004010000000022'>)");
    QVERIFY(waitUntil(
        [&desk]() { return desk.ask("supplyd", "supplyRibbon2UID") == "('E004010000000022',)"; }));

    desk.act("supplyd", "load", "('', ['RIB-110-BU'])");
    QVERIFY(desk.hears("M4_M4RibbonIDs", "(['RIB-110-BU'],)"));
    desk.act("m4", "set", "('ribbon2UID', <'E004010000000023'>)");
    desk.act("m4", "set", "('ribbon1UID', <'E004010000000011'>)");
    QVERIFY(waitUntil(
        [&desk]() { return desk.ask("supplyd", "supplyRibbon1UID") == "('E004010000000011',)"; }));
    QCOMPARE(desk.ask("supplyd", "supplyRibbon2UID"), QByteArray("('',)"));
}

void tst_Simulator::restartedPrintEngineReceivesTheRolls()
{
    Desk desk({ "m4", "supplyd" });
    desk.act("supplyd", "load", "('TAP-050-YE', ['RIB-110-BK'])");
    desk.ask("m4", "forwardFeed", "(uint32 24000,)");
    QVERIFY(desk.hears("SUPPLYD_SupplyPercentChanged", "(90.0,)"));

    desk.stop("m4");
    desk.forget();
    desk.start("m4");
    QVERIFY(desk.waitUntilSettled());
    QCOMPARE(desk.ask("m4", "supplyMileage"), QByteArray("(3000,)"));
    QCOMPARE(desk.act("m4", "get", "('supplyID',)"), QByteArray("(<'TAP-050-YE'>,)"));
    QCOMPARE(desk.ask("supplyd", "supplySupplyPercent"), QByteArray("(90.0,)"));
    QCOMPARE(desk.count("SUPPLYD_SupplyChanged"), 0);
}

void tst_Simulator::restartedSupplyDaemonTakesValuesOfThePrintEngine()
{
    Desk desk({ "m4", "supplyd" });
    desk.act("supplyd", "load", "('TAP-050-YE', ['RIB-110-BK'])");
    desk.ask("m4", "forwardFeed", "(uint32 24000,)");
    QVERIFY(desk.hears("SUPPLYD_SupplyPercentChanged", "(90.0,)"));
    const QByteArray uid = desk.ask("supplyd", "supplySupplyUID");

    desk.stop("supplyd");
    desk.ask("m4", "forwardFeed", "(uint32 24000,)");
    desk.forget();
    desk.start("supplyd");
    QVERIFY(desk.hears("SUPPLYD_SupplyPercentChanged", "(80.0,)"));
    QCOMPARE(desk.ask("supplyd", "supplyId"), QByteArray("('TAP-050-YE',)"));
    QCOMPARE(desk.ask("supplyd", "supplyRibbonSKUsCached", "('',)"),
             QByteArray("(['RIB-110-BK'],)"));
    QCOMPARE(desk.ask("supplyd", "supplySupplyUID"), uid);
}

static quint32 checksum(const QByteArray &bytes)
{
    quint32 crc = 0xffffffff;
    for (const char byte : bytes) {
        crc ^= static_cast<uchar>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1) ^ (crc & 1 ? 0xedb88320 : 0);
        }
    }
    return ~crc;
}

static quint32 bigEndian(const QByteArray &bytes, int at)
{
    return bytes.mid(at, 4).toHex().toUInt(nullptr, 16);
}

// Returns true if every chunk is complete and the last one is IEND.
static bool isPng(const QByteArray &bytes)
{
    int at = 8;
    QByteArray type;
    while (at + 12 <= bytes.size()) {
        const int length = static_cast<int>(bigEndian(bytes, at));
        type = bytes.mid(at + 4, 4);
        if (checksum(bytes.mid(at + 4, length + 4)) != bigEndian(bytes, at + 8 + length)) {
            return false;
        }
        at += length + 12;
    }
    return bytes.startsWith("\x89PNG\r\n\x1a\n") && bytes.mid(12, 4) == "IHDR"
        && bigEndian(bytes, 16) > 0 && bigEndian(bytes, 20) > 0 && type == "IEND"
        && at == bytes.size();
}

void tst_Simulator::catalogueIsServed()
{
    Desk desk({ "supplyd" });
    HNIPC printer;
    const QStringList supplies = printer.supplySKUList();
    const QStringList ribbons = printer.supplyRibbonSKUList();
    QVERIFY(supplies.size() >= 12);
    QVERIFY(ribbons.size() >= 8);
    for (const QString &sku : supplies) {
        QVERIFY(!printer.supplyMaterialName(sku).isEmpty());
        QVERIFY(!printer.supplyFormatName(sku).isEmpty());
        QVERIFY(printer.supplyWidth(sku) > 0);
        QVERIFY(printer.supplyTypeIndex(sku) >= 1);
        QVERIFY2(isPng(printer.supplyBackgroundImage(sku)), qPrintable(sku));
        QCOMPARE(printer.supplyColorHash().value(printer.supplyColorName(sku)).toString(),
                 QString("#%1").arg(printer.supplyColorRGB(sku), 6, 16, QChar('0')));
    }
    for (const QString &sku : ribbons) {
        QVERIFY(printer.supplyRibbonWidth(sku) > 0);
        QVERIFY(printer.supplyRibbonLength(sku) > 0);
        QVERIFY(printer.supplyRibbonPanels(sku) >= 1);
        for (int panel = 1; panel <= printer.supplyRibbonPanels(sku); ++panel) {
            const QString name = printer.supplyRibbonColorName(sku, panel);
            QCOMPARE(
                printer.supplyRibbonColorHash().value(name).toString(),
                QString("#%1").arg(printer.supplyRibbonColorRGB(sku, panel), 6, 16, QChar('0')));
            QVERIFY(printer.supplyRibbonHeat(sku, panel, supplies.at(0)) > 0);
            QVERIFY(printer.supplyRibbonMaxSpeed(sku, panel, supplies.at(0)) > 0);
            QVERIFY(printer.supplyRibbonTension(sku, panel, supplies.at(0)) > 0);
        }
        QCOMPARE(printer.supplyRibbonHeat(sku, 0, supplies.at(0)), 0);
        QCOMPARE(printer.supplyRibbonHeat(sku, 5, supplies.at(0)), 0);
        QCOMPARE(printer.supplyRibbonHeat(sku, 1, "unknown"), 0);
    }
    QCOMPARE(printer.supplyNonContinuousLength("LBL-025075-SI"), 75.5);
    QCOMPARE(printer.supplyNonContinuousLength("TAP-050-WH"), 0.0);
    QCOMPARE(printer.supplyIsLandscape("LBL-100060-WH"), 1);
    QCOMPARE(printer.supplyIsLandscape("LBL-100150-WH"), 0);
    QCOMPARE(printer.supplyMaterialName("unknown"), QString());
    QCOMPARE(printer.supplyRibbonPanels("unknown"), 0);

    // A supply adds to the heat of a panel, and slows it down.
    QCOMPARE(printer.supplyRibbonHeat("RIB-110-BK", 1, "LBL-025075-SI"), 152);
    QCOMPARE(printer.supplyRibbonHeatOffset("RIB-110-CMY", 1, "LBL-025075-SI"), -1);
    QCOMPARE(printer.supplyRibbonMaxSpeed("RIB-110-BK", 1, "LBL-025075-SI"), 60);
}

void tst_Simulator::recordHasTheValuesOfTheQueries()
{
    Desk desk({ "supplyd" });
    HNIPC printer;
    desk.act("supplyd", "set", "('supplyPercent', <81.5>)");
    desk.act("supplyd", "set", "('ribbon2Percent', <7>)");
    const QString sku = printer.supplySKUCached();
    const QStringList ribbons = printer.supplyRibbonSKUsCached();
    QCOMPARE(ribbons.size(), 2);

    const SupplyInformation record = printer.supplyInformation();
    QCOMPARE(record.text1, sku);
    QCOMPARE(record.textList1, ribbons);
    QCOMPARE(record.real1, 81.5f);
    QCOMPARE(record.real4, static_cast<float>(printer.supplyRibbon1Percent()));
    QCOMPARE(record.real5, 7.0f);
    QCOMPARE(record.integer1, printer.supplyColorRGB(sku));
    QCOMPARE(record.text2, printer.supplyMaterialName(sku));
    QCOMPARE(record.text3, printer.supplyFormatName(sku));
    QCOMPARE(record.text4, printer.supplyColorName(sku));
    QCOMPARE(record.text5, printer.supplySupplyUID());
    QCOMPARE(record.real2, static_cast<float>(printer.supplyWidth(sku)));
    QCOMPARE(record.real3, static_cast<float>(printer.supplyNonContinuousLength(sku)));
    QCOMPARE(record.integer2, printer.supplyIsLandscape(sku));
    QCOMPARE(record.integer3, printer.supplyTypeIndex(sku));
    QCOMPARE(record.integer4, 2);
    QCOMPARE(record.integer5, printer.supplyRibbonPanels(ribbons.at(0)));
    QCOMPARE(record.integer6, printer.supplyRibbonPanels(ribbons.at(1)));
    QCOMPARE(record.bytes1, printer.supplyBackgroundImage(sku));
    QCOMPARE(record.textList2, QStringList({ "Cyan", "Magenta", "Yellow", "Black" }));
    QCOMPARE(record.variantList2.size(), 4);
    for (int panel = 1; panel <= 3; ++panel) {
        QCOMPARE(record.variantList1.at(panel - 1).toInt(),
                 printer.supplyRibbonColorRGB(ribbons.at(0), panel));
        QCOMPARE(record.variantList2.at(panel - 1).toInt(),
                 printer.supplyRibbonHeat(ribbons.at(0), panel, sku));
        QCOMPARE(record.variantList3.at(panel - 1).toInt(),
                 printer.supplyRibbonHeatOffset(ribbons.at(0), panel, sku));
        QCOMPARE(record.variantList4.at(panel - 1).toInt(),
                 printer.supplyRibbonMaxSpeed(ribbons.at(0), panel, sku));
        QCOMPARE(record.variantList5.at(panel - 1).toInt(),
                 printer.supplyRibbonTension(ribbons.at(0), panel, sku));
    }

    // The same from the catalogue alone, whatever is loaded.
    const SupplyInformation other = printer.supplyInformationBySKUs(
        "TAP-025-OR", QStringList("RIB-110-BK-RESIN"));
    QCOMPARE(other.text1, QString("TAP-025-OR"));
    QCOMPARE(other.textList2, QStringList("Black"));
    QCOMPARE(other.real1, -1.0f);
    QCOMPARE(other.text5, QString());
    QCOMPARE(printer.supplyInformationBySKUs("unknown", ribbons).text1, QString());
}

void tst_Simulator::notificationsGetReplies()
{
    Desk desk({ "supplyd" });
    // The daemon has already announced once that it is ready before it replies to the first call.
    desk.ask("supplyd", "supplyId");
    desk.forget();
    QCOMPARE(desk.ask("supplyd", "supplyModuleReady", "(1, 2, 'screen')"), QByteArray("()"));
    QVERIFY(desk.hears("SUPPLYD_HNIPCReady", "()"));
    QCOMPARE(desk.ask("supplyd", "applicationWasClicked"), QByteArray("()"));
    QVERIFY(desk.hears("SUPPLYD_CloseApplicationSignal", "()"));
    QCOMPARE(desk.ask("supplyd", "setModulePrinterName", "('labelprinter',)"), QByteArray("()"));
}

void tst_Simulator::supplyDaemonEmitsReady()
{
    WirePeer peer;
    peer.listen("type='signal',interface='local.IHNIPCSUPPLYD'");
    SimulatedDaemon daemon({ "supplyd" });
    QVERIFY(waitUntil([&peer]() { return !peer.receivedSignals().isEmpty(); }));
    QCOMPARE(peer.receivedSignals().at(0).member, QByteArray("SUPPLYD_HNIPCReady"));
}

void tst_Simulator::otherPrinterHasNoRolls()
{
    Desk desk({ "supplyd" });
    QCOMPARE(desk.ask("supplyd", "supplySKUCached", "('another',)"), QByteArray("('',)"));
    QCOMPARE(desk.ask("supplyd", "supplyRibbonSKUsCached", "('another',)"),
             QByteArray("(@as [],)"));
    QCOMPARE(desk.ask("supplyd", "supplyRibbon1RGBs", "('another',)"), QByteArray("(@as [],)"));
}

// ---- The world ----

void tst_Simulator::simulatorRefusesInvalidActs_data()
{
    QTest::addColumn<QByteArray>("daemon");
    QTest::addColumn<QByteArray>("member");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("text");

    const struct
    {
        const char *daemon, *member, *body, *text;
    } rows[] = {
        { "m4", "set", "('printerLidd', <true>)",
          "no reading or switch is called \"printerLidd\"" },
        { "m4", "get", "('lid',)", "no reading or switch is called \"lid\"" },
        { "m4", "set", "('printerLid', <1>)", "printerLid has to be true or false" },
        { "m4", "set", "('dac0', <-1>)", "dac0 has to be a whole number from 0" },
        { "m4", "set", "('dac0', <'1'>)", "dac0 has to be a whole number from 0" },
        { "m4", "set", "('tph1Therm', <1.5>)", "tph1Therm has to be a whole number" },
        { "m4", "set", "('m4Version', <1>)", "m4Version has to be a string" },
        { "m4", "set", "('ribbonIDs', <[1, 2]>)", "ribbonIDs has to be a list of strings" },
        { "supplyd", "set", "('supplyPercent', <100.5>)",
          "supplyPercent has to be a number from 0 to 100" },
        { "supplyd", "set", "('supplyPercent', <'much'>)",
          "supplyPercent has to be a number from 0 to 100" },
        { "m4", "press", "('print',)", "only ioexpd has buttons" },
        { "ioexpd", "press", "('stop',)", "\"stop\" is not one of print, help, cancel" },
        { "m4", "load", "('', @as [])", "only supplyd has supplies" },
        { "supplyd", "load", "('X', @as [])", "no supply has the SKU \"X\"" },
        { "supplyd", "load", "('', ['Y'])", "no ribbon has the SKU \"Y\"" },
        { "supplyd", "load", "('', ['RIB-110-BK', 'RIB-110-BK', 'RIB-110-BK'])",
          "there are only 2 places for ribbons" },
        { "supplyd", "print", "(uint32 1,)", "only m4 prints" },
        { "m4", "print", "(uint32 0,)",
          "a job needs 1 label or more, and the queue holds at most 8 jobs" },
        { "m4", "emit", "('PrintButton', @av [])", "no signal is called \"PrintButton\"" },
        { "m4", "emit", "('M4Dac0', @av [])", "M4Dac0 takes 1 argument, not 0" },
        { "m4", "emit", "('M4Dac0', [<'x'>])",
          "argument 1 of M4Dac0 has to be a whole number from 0" },
        { "m4", "flood", "('M4Dac', uint32 1)", "no signal is called \"M4Dac\"" },
        { "m4", "fault", "('getErrorr', 'never', <''>)", "no method is called \"getErrorr\"" },
        { "m4", "fault", "('getError', 'maybe', <''>)",
          "\"maybe\" is not one of delay, never, error, wrongtype, die, none" },
        { "m4", "fault", "('getError', 'delay', <'soon'>)",
          "the detail of delay has to be a number of milliseconds" },
        { "m4", "fault", "('getError', 'error', <'no-name text'>)",
          "the detail of error has to be the name of a D-Bus error and a text" },
        { "m4", "malform", "('short',)", "only supplyd has supply records" },
        { "supplyd", "malform", "('round',)",
          "\"round\" is not one of short, wrongtype, dictionary, plain, empty, long, none" },
    };
    for (const auto &row : rows) {
        const QByteArray tag = QByteArray(row.daemon) + ' ' + row.member + row.body;
        QTest::newRow(tag) << QByteArray(row.daemon) << QByteArray(row.member)
                           << QByteArray(row.body) << QByteArray(row.text);
    }
}

void tst_Simulator::simulatorRefusesInvalidActs()
{
    QFETCH(QByteArray, daemon);
    QFETCH(QByteArray, member);
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, text);

    Desk desk({ daemon });
    const QByteArray quote = text.contains('"') ? "'" : "\"";
    QCOMPARE(desk.act(daemon, member, body),
             "org.hnipc.Simulator.Error: " + wireText('(' + quote + text + quote + ",)"));
}

void tst_Simulator::anySignalCanBeSent_data()
{
    QTest::addColumn<QByteArray>("daemon");
    QTest::addColumn<QByteArray>("arguments");
    QTest::addColumn<QByteArray>("body");

    const struct
    {
        const char *signal, *daemon, *arguments, *body;
    } rows[] = {
        { "IOEXPD_HelpButton", "ioexpd", "@av []", "()" },
        { "M4_M4Tph1Fault", "m4", "@av []", "()" },
        { "M4_Error", "m4", "[<uint32 5>]", "(5,)" },
        { "M4_M4RibbonVerify1", "m4", "[<5>]", "(uint64 5,)" },
        { "M4_M4TphTherm", "m4", "[<1>, <-40>]", "(1, -40)" },
        { "M4_M4TachValues", "m4", "[<'1 2 3 4'>]", "('1 2 3 4',)" },
        { "M4_M4RibbonIDs", "m4", "[<['A', 'B']>]", "(['A', 'B'],)" },
        { "M4_M4CutterCover", "m4", "[<true>]", "(true,)" },
        { "SUPPLYD_SupplyChanged", "supplyd", "[<'A'>]", "('A', '')" },
        { "SUPPLYD_RibbonChanged", "supplyd", "[<@as []>, <'B'>]", "(@as [], 'B')" },
        { "SUPPLYD_SupplyPercentChanged", "supplyd", "[<5>]", "(5.0,)" },
        { "SUPPLYD_CloseApplicationSignal", "supplyd", "@av []", "()" },
    };
    for (const auto &row : rows) {
        QTest::newRow(row.signal) << QByteArray(row.daemon) << QByteArray(row.arguments)
                                  << QByteArray(row.body);
    }
}

void tst_Simulator::anySignalCanBeSent()
{
    QFETCH(QByteArray, daemon);
    QFETCH(QByteArray, arguments);
    QFETCH(QByteArray, body);
    const QByteArray member = QTest::currentDataTag();

    Desk desk({ daemon });
    const QByteArray signal = member.mid(member.indexOf('_') + 1);
    QCOMPARE(desk.act(daemon, "emit", "('" + signal + "', " + arguments + ')'), QByteArray("()"));
    QVERIFY(desk.hears(member, body));
}

void tst_Simulator::namesOfReadingsAreComplete()
{
    Desk desk({ "ioexpd", "m4", "supplyd" });
    QCOMPARE(desk.act("ioexpd", "names"), QByteArray("(['audioAmp', 'backlight'],)"));
    QCOMPARE(desk.act("supplyd", "names"),
             QByteArray("(['supplyPercent', 'ribbon1Percent', 'ribbon2Percent'],)"));
    QVERIFY(desk.act("m4", "names").contains("'printerLid'"));
}

HNIPC_TEST_MAIN(tst_Simulator)
#include "tst_simulator.moc"
