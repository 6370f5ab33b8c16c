// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_EXPECTED_CLIENTSIGNALS_H
#define HNIPC_TESTS_EXPECTED_CLIENTSIGNALS_H

#include "expected/identities.h"

namespace Expected {

struct ClientSignal
{
    int index;
    const char *signature;
    const char *parameters; // their names
    Server server;
    const char *member; // name of the daemon's signal that the client relays
};

const ClientSignal clientSignals[] = {
    { 0, "CancelButton()", "", IOEXPD, "IOEXPD_CancelButton" },
    { 1, "HelpButton()", "", IOEXPD, "IOEXPD_HelpButton" },
    { 2, "PrintButton()", "", IOEXPD, "IOEXPD_PrintButton" },
    { 3, "M4MessageReceived(QString)", "value", M4, "M4_M4MessageReceived" },
    { 4, "M4MessageSent(QString)", "value", M4, "M4_M4MessageSent" },
    { 5, "M4Version(QString)", "value", M4, "M4_M4Version" },
    { 6, "M4Dac0(quint32)", "value", M4, "M4_M4Dac0" },
    { 7, "M4BMark(quint32)", "value", M4, "M4_M4BMark" },
    { 8, "M4Gap(quint32)", "value", M4, "M4_M4Gap" },
    { 9, "M4PreCutter(quint32)", "value", M4, "M4_M4PreCutter" },
    { 10, "M4RibbonClr1(quint32)", "value", M4, "M4_M4RibbonClr1" },
    { 11, "M4RibbonClr2(quint32)", "value", M4, "M4_M4RibbonClr2" },
    { 12, "M4RibbonEnc1(quint32)", "value", M4, "M4_M4RibbonEnc1" },
    { 13, "M4RibbonEnc2(quint32)", "value", M4, "M4_M4RibbonEnc2" },
    { 14, "M4RibbonEnc3(quint32)", "value", M4, "M4_M4RibbonEnc3" },
    { 15, "M4RibbonEnc4(quint32)", "value", M4, "M4_M4RibbonEnc4" },
    { 16, "M4CutterCover(bool)", "value", M4, "M4_M4CutterCover" },
    { 17, "M4CutterHome(bool)", "value", M4, "M4_M4CutterHome" },
    { 18, "M4PrinterLid(bool)", "value", M4, "M4_M4PrinterLid" },
    { 19, "M4SupplySensor(quint32)", "value", M4, "M4_M4SupplySensor" },
    { 20, "M4SupplyLatch(bool)", "value", M4, "M4_M4SupplyLatch" },
    { 21, "M4Film1Tach(quint32)", "value", M4, "M4_M4Film1Tach" },
    { 22, "M4Film2Tach(quint32)", "value", M4, "M4_M4Film2Tach" },
    { 23, "M4Film3Tach(quint32)", "value", M4, "M4_M4Film3Tach" },
    { 24, "M4Film4Tach(quint32)", "value", M4, "M4_M4Film4Tach" },
    { 25, "M4PrintDone()", "", M4, "M4_M4PrintDone" },
    { 26, "M4RibbonVerify1(quint64)", "value", M4, "M4_M4RibbonVerify1" },
    { 27, "M4RibbonVerify2(quint64)", "value", M4, "M4_M4RibbonVerify2" },
    { 28, "M4Tph1Fault()", "", M4, "M4_M4Tph1Fault" },
    { 29, "M4Tph2Fault()", "", M4, "M4_M4Tph2Fault" },
    { 30, "M4SupplyID(QString)", "value", M4, "M4_M4SupplyID" },
    { 31, "M4RibbonIDs(QStringList)", "value", M4, "M4_M4RibbonIDs" },
    { 32, "M4SupplyUID(QString)", "value", M4, "M4_M4SupplyUID" },
    { 33, "M4Ribbon1UID(QString)", "value", M4, "M4_M4Ribbon1UID" },
    { 34, "M4Ribbon2UID(QString)", "value", M4, "M4_M4Ribbon2UID" },
    { 35, "M4Ribbon1Mileage(qint32)", "value", M4, "M4_M4Ribbon1Mileage" },
    { 36, "M4Ribbon2Mileage(qint32)", "value", M4, "M4_M4Ribbon2Mileage" },
    { 37, "M4SupplyMileage(qint32)", "value", M4, "M4_M4SupplyMileage" },
    { 38, "M4BatteryUpdate(qint32)", "value", M4, "M4_M4BatteryUpdate" },
    { 39, "Error(int)", "value", M4, "M4_Error" },
    { 40, "Alert(int)", "value", M4, "M4_Alert" },
    { 41, "PrintQueueFull(int)", "value", M4, "M4_PrintQueueFull" },
    { 42, "PrintQueueClear(int)", "value", M4, "M4_PrintQueueClear" },
    { 43, "PrintQueueComplete(int)", "value", M4, "M4_PrintQueueComplete" },
    { 44, "M4TachValues(QString)", "value", M4, "M4_M4TachValues" },
    { 45, "M4UserSetting(int,qint32)", "setting,value", M4, "M4_M4UserSetting" },
    { 46, "M4TphTherm(int,qint32)", "tph,value", M4, "M4_M4TphTherm" },
    { 47, "M4TphHeatIndexOffset(int,qint32)", "tph,value", M4, "M4_M4TphHeatIndexOffset" },
    { 48, "M4TachIndex(int,qint32)", "tach,value", M4, "M4_M4TachIndex" },
    { 49, "HNIPCReady()", "", SUPPLYD, "SUPPLYD_HNIPCReady" },
    { 50, "StatusChanged(int,QString)", "status,printerName", NoServer, 0 },
    { 51, "SupplyChanged(QString,QString)", "supplySku,printerName", SUPPLYD,
      "SUPPLYD_SupplyChanged" },
    { 52, "RibbonChanged(QStringList,QString)", "ribbonSkus,printerName", SUPPLYD,
      "SUPPLYD_RibbonChanged" },
    { 53, "SupplyPercentChanged(double)", "percentage", SUPPLYD, "SUPPLYD_SupplyPercentChanged" },
    { 54, "Ribbon1PercentChanged(double)", "percentage", SUPPLYD, "SUPPLYD_Ribbon1PercentChanged" },
    { 55, "Ribbon2PercentChanged(double)", "percentage", SUPPLYD, "SUPPLYD_Ribbon2PercentChanged" },
    { 56, "SupplyRGBChanged(QString)", "rgb", SUPPLYD, "SUPPLYD_SupplyRGBChanged" },
    { 57, "Ribbon1RGBsChanged(QStringList)", "rgbs", SUPPLYD, "SUPPLYD_Ribbon1RGBsChanged" },
    { 58, "Ribbon2RGBsChanged(QStringList)", "rgbs", SUPPLYD, "SUPPLYD_Ribbon2RGBsChanged" },
    { 59, "CloseApplicationSignal()", "", SUPPLYD, "SUPPLYD_CloseApplicationSignal" },
};

const int clientSignalCount = sizeof clientSignals / sizeof clientSignals[0];
const int relayedSignalCount = clientSignalCount - 1; // no daemon sends StatusChanged

} // namespace Expected

#endif
