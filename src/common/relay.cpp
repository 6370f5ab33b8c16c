// SPDX-License-Identifier: MIT
#include "common/relay_p.h"

static const HNIPCServer::ServerType IOEXPD = HNIPCServer::IOEXPD;
static const HNIPCServer::ServerType M4 = HNIPCServer::M4;
static const HNIPCServer::ServerType SUPPLYD = HNIPCServer::SUPPLYD;

// A table, one signal a row.
// clang-format off
static const RelayRows rows = {
    { IOEXPD, "IOEXPD_CancelButton", SIGNAL(CancelButton()) },
    { IOEXPD, "IOEXPD_HelpButton", SIGNAL(HelpButton()) },
    { IOEXPD, "IOEXPD_PrintButton", SIGNAL(PrintButton()) },

    { M4, "M4_M4MessageReceived", SIGNAL(M4MessageReceived(QString)) },
    { M4, "M4_M4MessageSent", SIGNAL(M4MessageSent(QString)) },
    { M4, "M4_M4Version", SIGNAL(M4Version(QString)) },
    { M4, "M4_M4Dac0", SIGNAL(M4Dac0(quint32)) },
    { M4, "M4_M4BMark", SIGNAL(M4BMark(quint32)) },
    { M4, "M4_M4Gap", SIGNAL(M4Gap(quint32)) },
    { M4, "M4_M4PreCutter", SIGNAL(M4PreCutter(quint32)) },
    { M4, "M4_M4RibbonClr1", SIGNAL(M4RibbonClr1(quint32)) },
    { M4, "M4_M4RibbonClr2", SIGNAL(M4RibbonClr2(quint32)) },
    { M4, "M4_M4RibbonEnc1", SIGNAL(M4RibbonEnc1(quint32)) },
    { M4, "M4_M4RibbonEnc2", SIGNAL(M4RibbonEnc2(quint32)) },
    { M4, "M4_M4RibbonEnc3", SIGNAL(M4RibbonEnc3(quint32)) },
    { M4, "M4_M4RibbonEnc4", SIGNAL(M4RibbonEnc4(quint32)) },
    { M4, "M4_M4CutterCover", SIGNAL(M4CutterCover(bool)) },
    { M4, "M4_M4CutterHome", SIGNAL(M4CutterHome(bool)) },
    { M4, "M4_M4PrinterLid", SIGNAL(M4PrinterLid(bool)) },
    { M4, "M4_M4SupplySensor", SIGNAL(M4SupplySensor(quint32)) },
    { M4, "M4_M4SupplyLatch", SIGNAL(M4SupplyLatch(bool)) },
    { M4, "M4_M4Film1Tach", SIGNAL(M4Film1Tach(quint32)) },
    { M4, "M4_M4Film2Tach", SIGNAL(M4Film2Tach(quint32)) },
    { M4, "M4_M4Film3Tach", SIGNAL(M4Film3Tach(quint32)) },
    { M4, "M4_M4Film4Tach", SIGNAL(M4Film4Tach(quint32)) },
    { M4, "M4_M4PrintDone", SIGNAL(M4PrintDone()) },
    { M4, "M4_M4RibbonVerify1", SIGNAL(M4RibbonVerify1(quint64)) },
    { M4, "M4_M4RibbonVerify2", SIGNAL(M4RibbonVerify2(quint64)) },
    { M4, "M4_M4Tph1Fault", SIGNAL(M4Tph1Fault()) },
    { M4, "M4_M4Tph2Fault", SIGNAL(M4Tph2Fault()) },
    { M4, "M4_M4SupplyID", SIGNAL(M4SupplyID(QString)) },
    { M4, "M4_M4RibbonIDs", SIGNAL(M4RibbonIDs(QStringList)) },
    { M4, "M4_M4SupplyUID", SIGNAL(M4SupplyUID(QString)) },
    { M4, "M4_M4Ribbon1UID", SIGNAL(M4Ribbon1UID(QString)) },
    { M4, "M4_M4Ribbon2UID", SIGNAL(M4Ribbon2UID(QString)) },
    { M4, "M4_M4Ribbon1Mileage", SIGNAL(M4Ribbon1Mileage(qint32)) },
    { M4, "M4_M4Ribbon2Mileage", SIGNAL(M4Ribbon2Mileage(qint32)) },
    { M4, "M4_M4SupplyMileage", SIGNAL(M4SupplyMileage(qint32)) },
    { M4, "M4_M4BatteryUpdate", SIGNAL(M4BatteryUpdate(qint32)) },
    { M4, "M4_Error", SIGNAL(Error(int)) },
    { M4, "M4_Alert", SIGNAL(Alert(int)) },
    { M4, "M4_PrintQueueFull", SIGNAL(PrintQueueFull(int)) },
    { M4, "M4_PrintQueueClear", SIGNAL(PrintQueueClear(int)) },
    { M4, "M4_PrintQueueComplete", SIGNAL(PrintQueueComplete(int)) },
    { M4, "M4_M4TachValues", SIGNAL(M4TachValues(QString)) },
    { M4, "M4_M4UserSetting", SIGNAL(M4UserSetting(int,qint32)) },
    { M4, "M4_M4TphTherm", SIGNAL(M4TphTherm(int,qint32)) },
    { M4, "M4_M4TphHeatIndexOffset", SIGNAL(M4TphHeatIndexOffset(int,qint32)) },
    { M4, "M4_M4TachIndex", SIGNAL(M4TachIndex(int,qint32)) },

    { SUPPLYD, "SUPPLYD_HNIPCReady", SIGNAL(HNIPCReady()) },
    { SUPPLYD, "SUPPLYD_SupplyChanged", SIGNAL(SupplyChanged(QString,QString)) },
    { SUPPLYD, "SUPPLYD_RibbonChanged", SIGNAL(RibbonChanged(QStringList,QString)) },
    { SUPPLYD, "SUPPLYD_SupplyPercentChanged", SIGNAL(SupplyPercentChanged(double)) },
    { SUPPLYD, "SUPPLYD_Ribbon1PercentChanged", SIGNAL(Ribbon1PercentChanged(double)) },
    { SUPPLYD, "SUPPLYD_Ribbon2PercentChanged", SIGNAL(Ribbon2PercentChanged(double)) },
    { SUPPLYD, "SUPPLYD_SupplyRGBChanged", SIGNAL(SupplyRGBChanged(QString)) },
    { SUPPLYD, "SUPPLYD_Ribbon1RGBsChanged", SIGNAL(Ribbon1RGBsChanged(QStringList)) },
    { SUPPLYD, "SUPPLYD_Ribbon2RGBsChanged", SIGNAL(Ribbon2RGBsChanged(QStringList)) },
    { SUPPLYD, "SUPPLYD_CloseApplicationSignal", SIGNAL(CloseApplicationSignal()) },
};
// clang-format on

const RelayRows &relayRows() { return rows; }
