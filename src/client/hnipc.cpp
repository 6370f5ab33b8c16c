// SPDX-License-Identifier: MIT
#include <hnipc/hnipc.h>

#include "client/hnipc_p.h"

static const HNIPCServer::ServerType IOEXPD = HNIPCServer::IOEXPD;
static const HNIPCServer::ServerType M4 = HNIPCServer::M4;
static const HNIPCServer::ServerType SUPPLYD = HNIPCServer::SUPPLYD;

HNIPC::HNIPC(QObject *parent) : QObject(parent), d(new HNIPCPrivate(this))
{
    try {
        qRegisterMetaType<SupplyInformation>("SupplyInformation");
    } catch (...) {
        delete d;
        throw;
    }
}

HNIPC::~HNIPC()
{
    delete d;
    d = 0;
}

// A table, one method a row.
// clang-format off

// The I/O expander (buttons, amplifier, backlight)

void HNIPC::enableAudioAmp(bool value) { d->tell(IOEXPD, "enableAudioAmp", value); }
void HNIPC::enableBacklight(bool value) { d->tell(IOEXPD, "enableBacklight", value); }
void HNIPC::printerSoftCancel() { d->tell(IOEXPD, "printerSoftCancel"); }

// The print engine: codes, commands and print jobs

int HNIPC::getError() { return d->ask<int>(M4, "getError"); }
int HNIPC::getAlert() { return d->ask<int>(M4, "getAlert"); }
bool HNIPC::emitError(int value) { return d->ask<bool>(M4, "emitError", value); }
bool HNIPC::emitAlert(int value) { return d->ask<bool>(M4, "emitAlert", value); }
bool HNIPC::resetCutter() { return d->ask<bool>(M4, "resetCutter"); }
bool HNIPC::resetPrinter() { return d->ask<bool>(M4, "resetPrinter"); }
bool HNIPC::cycleCutter() { return d->ask<bool>(M4, "cycleCutter"); }
bool HNIPC::calibrateSupply() { return d->ask<bool>(M4, "calibrateSupply"); }
bool HNIPC::setDac(quint32 value) { return d->ask<bool>(M4, "setDac", value); }
bool HNIPC::setClearTailRibbon1(bool value)
{ return d->ask<bool>(M4, "setClearTailRibbon1", value); }
bool HNIPC::setClearTailRibbon2(bool value)
{ return d->ask<bool>(M4, "setClearTailRibbon2", value); }
bool HNIPC::setSupplySensor(qint32 value) { return d->ask<bool>(M4, "setSupplySensor", value); }
bool HNIPC::setSupplyWidth(bool value) { return d->ask<bool>(M4, "setSupplyWidth", value); }
bool HNIPC::setSupplyLED(bool value) { return d->ask<bool>(M4, "setSupplyLED", value); }
bool HNIPC::cancelPrintJob() { return d->ask<bool>(M4, "cancelPrintJob"); }
bool HNIPC::retryPrintJob() { return d->ask<bool>(M4, "retryPrintJob"); }
bool HNIPC::clearPrintJob() { return d->ask<bool>(M4, "clearPrintJob"); }
bool HNIPC::clearAllPrintJobs() { return d->ask<bool>(M4, "clearAllPrintJobs"); }
bool HNIPC::printQueueFull(quint32 value) { return d->ask<bool>(M4, "printQueueFull", value); }
bool HNIPC::printQueueComplete(quint32 value)
{ return d->ask<bool>(M4, "printQueueComplete", value); }

// The print engine: version, battery, sensors, counters

QString HNIPC::m4Version() { return d->ask<QString>(M4, "m4Version"); }
int HNIPC::getBatteryStatus() { return d->ask<int>(M4, "getBatteryStatus"); }
quint32 HNIPC::dac0() { return d->ask<quint32>(M4, "dac0"); }
quint32 HNIPC::bMark() { return d->ask<quint32>(M4, "bMark"); }
quint32 HNIPC::gap() { return d->ask<quint32>(M4, "gap"); }
quint32 HNIPC::preCutter() { return d->ask<quint32>(M4, "preCutter"); }
quint32 HNIPC::ribbonClr1() { return d->ask<quint32>(M4, "ribbonClr1"); }
quint32 HNIPC::ribbonClr2() { return d->ask<quint32>(M4, "ribbonClr2"); }
quint32 HNIPC::ribbonEnc1() { return d->ask<quint32>(M4, "ribbonEnc1"); }
quint32 HNIPC::ribbonEnc2() { return d->ask<quint32>(M4, "ribbonEnc2"); }
quint32 HNIPC::ribbonEnc3() { return d->ask<quint32>(M4, "ribbonEnc3"); }
quint32 HNIPC::ribbonEnc4() { return d->ask<quint32>(M4, "ribbonEnc4"); }
bool HNIPC::cutterCover() { return d->ask<bool>(M4, "cutterCover"); }
bool HNIPC::cutterHome() { return d->ask<bool>(M4, "cutterHome"); }
bool HNIPC::printerLid() { return d->ask<bool>(M4, "printerLid"); }
quint32 HNIPC::supplySensor() { return d->ask<quint32>(M4, "supplySensor"); }
bool HNIPC::supplyLatch() { return d->ask<bool>(M4, "supplyLatch"); }
quint64 HNIPC::ribbon1Verify() { return d->ask<quint64>(M4, "ribbon1Verify"); }
quint64 HNIPC::ribbon2Verify() { return d->ask<quint64>(M4, "ribbon2Verify"); }
qint32 HNIPC::ribbon1Mileage() { return d->ask<int>(M4, "ribbon1Mileage"); }
qint32 HNIPC::ribbon2Mileage() { return d->ask<int>(M4, "ribbon2Mileage"); }
qint32 HNIPC::supplyMileage() { return d->ask<int>(M4, "supplyMileage"); }

// The print engine: messages, feeds, mechanisms

bool HNIPC::sendMCCMessage(int type, int definedMessage, quint64 value)
{ return d->ask<bool>(M4, "sendMCCMessage", type, definedMessage, value); }
bool HNIPC::sendMCCMessage(int type, int definedMessage, QString value)
{ return d->ask<bool>(M4, "sendMCCMessage", type, definedMessage, value); }
bool HNIPC::forwardFeed(quint32 steps) { return d->ask<bool>(M4, "forwardFeed", steps); }
bool HNIPC::backwardFeed(quint32 steps) { return d->ask<bool>(M4, "backwardFeed", steps); }
bool HNIPC::solenoid1() { return d->ask<bool>(M4, "solenoid1"); }
bool HNIPC::resetSolenoid1() { return d->ask<bool>(M4, "resetSolenoid1"); }
bool HNIPC::solenoid2() { return d->ask<bool>(M4, "solenoid2"); }
bool HNIPC::resetSolenoid2() { return d->ask<bool>(M4, "resetSolenoid2"); }
bool HNIPC::solenoid3() { return d->ask<bool>(M4, "solenoid3"); }
bool HNIPC::resetSolenoid3() { return d->ask<bool>(M4, "resetSolenoid3"); }
bool HNIPC::solenoid4() { return d->ask<bool>(M4, "solenoid4"); }
bool HNIPC::resetSolenoid4() { return d->ask<bool>(M4, "resetSolenoid4"); }
bool HNIPC::ribbon1() { return d->ask<bool>(M4, "ribbon1"); }
bool HNIPC::resetRibbon1() { return d->ask<bool>(M4, "resetRibbon1"); }
bool HNIPC::ribbon2() { return d->ask<bool>(M4, "ribbon2"); }
bool HNIPC::resetRibbon2() { return d->ask<bool>(M4, "resetRibbon2"); }
bool HNIPC::resetPaperMotor1() { return d->ask<bool>(M4, "resetPaperMotor1"); }
bool HNIPC::resetPaperMotor2() { return d->ask<bool>(M4, "resetPaperMotor2"); }
bool HNIPC::resetMotor() { return d->ask<bool>(M4, "resetMotor"); }

// The print engine: settings and tests

bool HNIPC::setUserSetting(int setting, qint32 value)
{ return d->ask<bool>(M4, "setUserSetting", setting, value); }
bool HNIPC::refreshSettings() { return d->ask<bool>(M4, "refreshSettings"); }
bool HNIPC::refreshSensors() { return d->ask<bool>(M4, "refreshSensors"); }
bool HNIPC::refreshAll() { return d->ask<bool>(M4, "refreshAll"); }
bool HNIPC::rfidTest() { return d->ask<bool>(M4, "rfidTest"); }
bool HNIPC::dumpSettings() { return d->ask<bool>(M4, "dumpSettings"); }

// The print engine: requests for a new reading

bool HNIPC::reqTph1Therm() { return d->ask<bool>(M4, "reqTph1Therm"); }
bool HNIPC::reqTph2Therm() { return d->ask<bool>(M4, "reqTph2Therm"); }
bool HNIPC::reqTph1HeatIndex() { return d->ask<bool>(M4, "reqTph1HeatIndex"); }
bool HNIPC::reqTph2HeatIndex() { return d->ask<bool>(M4, "reqTph2HeatIndex"); }
bool HNIPC::reqTach1Tension() { return d->ask<bool>(M4, "reqTach1Tension"); }
bool HNIPC::reqTach2Tension() { return d->ask<bool>(M4, "reqTach2Tension"); }
bool HNIPC::reqTach3Tension() { return d->ask<bool>(M4, "reqTach3Tension"); }
bool HNIPC::reqTach4Tension() { return d->ask<bool>(M4, "reqTach4Tension"); }
bool HNIPC::reqRibbon1Verify() { return d->ask<bool>(M4, "reqRibbon1Verify"); }
bool HNIPC::reqRibbon2Verify() { return d->ask<bool>(M4, "reqRibbon2Verify"); }
bool HNIPC::reqRibbon1Mileage() { return d->ask<bool>(M4, "reqRibbon1Mileage"); }
bool HNIPC::reqRibbon2Mileage() { return d->ask<bool>(M4, "reqRibbon2Mileage"); }
bool HNIPC::reqSupplyMileage() { return d->ask<bool>(M4, "reqSupplyMileage"); }

// The print engine: the latest readings of the daemon

qint32 HNIPC::tph1Therm() { return d->ask<int>(M4, "tph1Therm"); }
qint32 HNIPC::tph2Therm() { return d->ask<int>(M4, "tph2Therm"); }
qint32 HNIPC::tph1HeatIndexOffset() { return d->ask<int>(M4, "tph1HeatIndexOffset"); }
qint32 HNIPC::tph2HeatIndexOffset() { return d->ask<int>(M4, "tph2HeatIndexOffset"); }
qint32 HNIPC::tach1Tension() { return d->ask<int>(M4, "tach1Tension"); }
qint32 HNIPC::tach2Tension() { return d->ask<int>(M4, "tach2Tension"); }
qint32 HNIPC::tach3Tension() { return d->ask<int>(M4, "tach3Tension"); }
qint32 HNIPC::tach4Tension() { return d->ask<int>(M4, "tach4Tension"); }

// The supply daemon: the database

QStringList HNIPC::supplySKUList() { return d->ask<QStringList>(SUPPLYD, "supplySKUList"); }
QStringList HNIPC::supplyRibbonSKUList()
{ return d->ask<QStringList>(SUPPLYD, "supplyRibbonSKUList"); }
QVariantHash HNIPC::supplyColorHash() { return d->ask<QVariantHash>(SUPPLYD, "supplyColorHash"); }
QVariantHash HNIPC::supplyRibbonColorHash()
{ return d->ask<QVariantHash>(SUPPLYD, "supplyRibbonColorHash"); }

// The supply daemon: what is loaded

QString HNIPC::supplyId() { return d->ask<QString>(SUPPLYD, "supplyId"); }
QString HNIPC::supplySKUCached(QString printerName)
{ return d->ask<QString>(SUPPLYD, "supplySKUCached", printerName); }
QStringList HNIPC::supplyRibbonSKUsCached(QString printerName)
{ return d->ask<QStringList>(SUPPLYD, "supplyRibbonSKUsCached", printerName); }
double HNIPC::supplySupplyPercent() { return d->ask<double>(SUPPLYD, "supplySupplyPercent"); }
double HNIPC::supplyRibbon1Percent() { return d->ask<double>(SUPPLYD, "supplyRibbon1Percent"); }
double HNIPC::supplyRibbon2Percent() { return d->ask<double>(SUPPLYD, "supplyRibbon2Percent"); }
QString HNIPC::supplySupplyRGB(QString printerName)
{ return d->ask<QString>(SUPPLYD, "supplySupplyRGB", printerName); }
QStringList HNIPC::supplyRibbon1RGBs(QString printerName)
{ return d->ask<QStringList>(SUPPLYD, "supplyRibbon1RGBs", printerName); }
QStringList HNIPC::supplyRibbon2RGBs(QString printerName)
{ return d->ask<QStringList>(SUPPLYD, "supplyRibbon2RGBs", printerName); }
QString HNIPC::supplySupplyUID() { return d->ask<QString>(SUPPLYD, "supplySupplyUID"); }
QString HNIPC::supplyRibbon1UID() { return d->ask<QString>(SUPPLYD, "supplyRibbon1UID"); }
QString HNIPC::supplyRibbon2UID() { return d->ask<QString>(SUPPLYD, "supplyRibbon2UID"); }

// The supply daemon: the supply record

SupplyInformation HNIPC::supplyInformation(QString printerName)
{ return d->ask<SupplyInformation>(SUPPLYD, "supplyInformation", printerName); }
SupplyInformation HNIPC::supplyInformationBySKUs(QString supplySku, QStringList ribbonSkus,
                  QString printerName)
{ return d->ask<SupplyInformation>(SUPPLYD, "supplyInformationBySKUs", supplySku, ribbonSkus,
            printerName); }

// The supply daemon: one supply

QString HNIPC::supplyMaterialName(QString sku, QString printerName)
{ return d->ask<QString>(SUPPLYD, "supplyMaterialName", sku, printerName); }
QString HNIPC::supplyFormatName(QString sku, QString printerName)
{ return d->ask<QString>(SUPPLYD, "supplyFormatName", sku, printerName); }
qint32 HNIPC::supplyColorRGB(QString sku, QString printerName)
{ return d->ask<int>(SUPPLYD, "supplyColorRGB", sku, printerName); }
QString HNIPC::supplyColorName(QString sku, QString printerName)
{ return d->ask<QString>(SUPPLYD, "supplyColorName", sku, printerName); }
double HNIPC::supplyWidth(QString sku, QString printerName)
{ return d->ask<double>(SUPPLYD, "supplyWidth", sku, printerName); }
qint32 HNIPC::supplyIsLandscape(QString sku)
{ return d->ask<int>(SUPPLYD, "supplyIsLandscape", sku); }
QByteArray HNIPC::supplyBackgroundImage(QString sku)
{ return d->ask<QByteArray>(SUPPLYD, "supplyBackgroundImage", sku); }
double HNIPC::supplyNonContinuousLength(QString sku, QString printerName)
{ return d->ask<double>(SUPPLYD, "supplyNonContinuousLength", sku, printerName); }
qint32 HNIPC::supplyTypeIndex(QString sku, QString printerName)
{ return d->ask<int>(SUPPLYD, "supplyTypeIndex", sku, printerName); }

// The supply daemon: one ribbon

qint32 HNIPC::supplyRibbonPanels(QString ribbonSku)
{ return d->ask<int>(SUPPLYD, "supplyRibbonPanels", ribbonSku); }
double HNIPC::supplyRibbonWidth(QString ribbonSku)
{ return d->ask<double>(SUPPLYD, "supplyRibbonWidth", ribbonSku); }
double HNIPC::supplyRibbonLength(QString ribbonSku)
{ return d->ask<double>(SUPPLYD, "supplyRibbonLength", ribbonSku); }
QString HNIPC::supplyRibbonColorName(QString ribbonSku, int panel)
{ return d->ask<QString>(SUPPLYD, "supplyRibbonColorName", ribbonSku, panel); }
qint32 HNIPC::supplyRibbonColorRGB(QString ribbonSku, int panel)
{ return d->ask<int>(SUPPLYD, "supplyRibbonColorRGB", ribbonSku, panel); }
qint32 HNIPC::supplyRibbonHeat(QString ribbonSku, int panel, QString supplySku)
{ return d->ask<int>(SUPPLYD, "supplyRibbonHeat", ribbonSku, panel, supplySku); }
qint32 HNIPC::supplyRibbonHeatOffset(QString ribbonSku, int panel, QString supplySku)
{ return d->ask<int>(SUPPLYD, "supplyRibbonHeatOffset", ribbonSku, panel, supplySku); }
qint32 HNIPC::supplyRibbonMaxSpeed(QString ribbonSku, int panel, QString supplySku)
{ return d->ask<int>(SUPPLYD, "supplyRibbonMaxSpeed", ribbonSku, panel, supplySku); }
qint32 HNIPC::supplyRibbonTension(QString ribbonSku, int panel, QString supplySku)
{ return d->ask<int>(SUPPLYD, "supplyRibbonTension", ribbonSku, panel, supplySku); }

// The supply daemon: notices from applications

void HNIPC::supplyModuleReady(int windowId, int processId, QString applicationName)
{ d->tell(SUPPLYD, "supplyModuleReady", windowId, processId, applicationName); }
void HNIPC::applicationWasClicked() { d->tell(SUPPLYD, "applicationWasClicked"); }

// The print engine: status

int HNIPC::getPrinterStatus(QString printerName)
{ return d->ask<int>(M4, "getPrinterStatus", printerName); }

// The supply daemon: the printer of the module

void HNIPC::setModulePrinterName(QString printerName)
{ d->tell(SUPPLYD, "setModulePrinterName", printerName); }

// clang-format on
