// SPDX-License-Identifier: MIT
#ifndef SUPPLYD_H
#define SUPPLYD_H

#include "emptyreplies.h"

#include <operations/ihnipcsupplyd.h>

/// A supply database of three supplies and two ribbons. One printer, "labelprinter", is loaded. An
/// empty printer name means this printer; all other printers have nothing loaded. The catalogue is
/// the same for each printer. For anything else the methods return 0 or an empty value. Panels
/// count from 1.
class TestSupplyd : public Operations::SUPPLYD<EmptyReplies>
{
public:
    TestSupplyd();

    QStringList supplySKUList() override;
    QStringList supplyRibbonSKUList() override;
    QVariantHash supplyColorHash() override;
    QVariantHash supplyRibbonColorHash() override;

    QString supplyId() override;
    QString supplySKUCached(QString printerName) override;
    QStringList supplyRibbonSKUsCached(QString printerName) override;
    double supplySupplyPercent() override;
    double supplyRibbon1Percent() override;
    double supplyRibbon2Percent() override;
    QString supplySupplyRGB(QString printerName) override;
    QStringList supplyRibbon1RGBs(QString printerName) override;
    QStringList supplyRibbon2RGBs(QString printerName) override;
    QString supplySupplyUID() override;
    QString supplyRibbon1UID() override;
    QString supplyRibbon2UID() override;

    SupplyInformation supplyInformation(QString printerName) override;
    SupplyInformation supplyInformationBySKUs(QString supplySku, QStringList ribbonSkus,
                                              QString printerName) override;

    QString supplyMaterialName(QString sku, QString printerName) override;
    QString supplyFormatName(QString sku, QString printerName) override;
    qint32 supplyColorRGB(QString sku, QString printerName) override;
    QString supplyColorName(QString sku, QString printerName) override;
    double supplyWidth(QString sku, QString printerName) override;
    qint32 supplyIsLandscape(QString sku) override;
    QByteArray supplyBackgroundImage(QString sku) override;
    double supplyNonContinuousLength(QString sku, QString printerName) override;
    qint32 supplyTypeIndex(QString sku, QString printerName) override;

    qint32 supplyRibbonPanels(QString ribbonSku) override;
    double supplyRibbonWidth(QString ribbonSku) override;
    double supplyRibbonLength(QString ribbonSku) override;
    QString supplyRibbonColorName(QString ribbonSku, int panel) override;
    qint32 supplyRibbonColorRGB(QString ribbonSku, int panel) override;
    qint32 supplyRibbonHeat(QString ribbonSku, int panel, QString supplySku) override;
    qint32 supplyRibbonHeatOffset(QString ribbonSku, int panel, QString supplySku) override;
    qint32 supplyRibbonMaxSpeed(QString ribbonSku, int panel, QString supplySku) override;
    qint32 supplyRibbonTension(QString ribbonSku, int panel, QString supplySku) override;

    void supplyModuleReady(int windowId, int processId, QString applicationName) override;
    void applicationWasClicked() override;
    void setModulePrinterName(QString printerName) override;

private:
    void announceModule();

    bool m_moduleReady = false;
    QString m_modulePrinterName;
    int m_clicks = 0;
};

#endif
