// SPDX-License-Identifier: MIT
#ifndef HNIPC_SIMULATOR_SUPPLYD_H
#define HNIPC_SIMULATOR_SUPPLYD_H

#include "daemon.h"
#include "stock.h"

#include <hnipc/hnipc.h>
#include <hnipc/ihnipcsupplyd.h>

#include <QtDBus/QDBusServiceWatcher>

/// The supply daemon: each operation is a call of the stock. It subscribes to the print engine's
/// signals, and sets the print engine's sensors according to the loaded rolls.
class Supplyd : public DaemonOf<IHNIPCSUPPLYD>
{
public:
    explicit Supplyd(const Catalogue &catalogue);

    Readings &readings() override { return m_stock; }
    void begin() override;
    QString load(const QString &supplySku, const QStringList &ribbonSkus) override;
    QString malform(const QString &shape) override { return m_faults.setShape(shape); }
    QString broadcast(const QString &signal, const QVariantList &arguments) override;

    // The database
    QStringList supplySKUList() override;
    QStringList supplyRibbonSKUList() override;
    QVariantHash supplyColorHash() override;
    QVariantHash supplyRibbonColorHash() override;

    // The loaded rolls
    QString supplyId() override { return m_stock.roll(Stock::SupplyPlace).sku; }
    QString supplySKUCached(QString printerName) override;
    QStringList supplyRibbonSKUsCached(QString printerName) override;
    double supplySupplyPercent() override { return m_stock.get<double>(Stock::SupplyPlace); }
    double supplyRibbon1Percent() override { return m_stock.get<double>(Stock::Ribbon1Place); }
    double supplyRibbon2Percent() override { return m_stock.get<double>(Stock::Ribbon2Place); }
    QString supplySupplyRGB(QString printerName) override;
    QStringList supplyRibbon1RGBs(QString printerName) override;
    QStringList supplyRibbon2RGBs(QString printerName) override;
    QString supplySupplyUID() override { return m_stock.roll(Stock::SupplyPlace).uid; }
    QString supplyRibbon1UID() override { return m_stock.roll(Stock::Ribbon1Place).uid; }
    QString supplyRibbon2UID() override { return m_stock.roll(Stock::Ribbon2Place).uid; }

    // The supply record
    SupplyInformation supplyInformation(QString printerName) override;
    SupplyInformation supplyInformationBySKUs(QString supplySku, QStringList ribbonSkus,
                                              QString printerName) override;

    // One supply
    QString supplyMaterialName(QString sku, QString) override { return supply(sku).material; }
    QString supplyFormatName(QString sku, QString) override { return supply(sku).format; }
    qint32 supplyColorRGB(QString sku, QString) override { return supply(sku).rgb; }
    QString supplyColorName(QString sku, QString) override { return supply(sku).colorName; }
    double supplyWidth(QString sku, QString) override { return supply(sku).width; }
    qint32 supplyIsLandscape(QString sku) override { return supply(sku).landscape; }
    QByteArray supplyBackgroundImage(QString sku) override { return supply(sku).background; }
    double supplyNonContinuousLength(QString sku, QString) override
    {
        return supply(sku).labelLength;
    }
    qint32 supplyTypeIndex(QString sku, QString) override { return supply(sku).type; }

    // One ribbon
    qint32 supplyRibbonPanels(QString sku) override
    {
        return static_cast<qint32>(ribbon(sku).panels.size());
    }
    double supplyRibbonWidth(QString sku) override { return ribbon(sku).width; }
    double supplyRibbonLength(QString sku) override { return ribbon(sku).length; }
    QString supplyRibbonColorName(QString sku, int number) override
    {
        return panel(sku, number).colorName;
    }
    qint32 supplyRibbonColorRGB(QString sku, int number) override { return panel(sku, number).rgb; }
    qint32 supplyRibbonHeat(QString sku, int number, QString supplySku) override
    {
        return m_stock.catalogue().panelOn(sku, number, supplySku).heat;
    }
    qint32 supplyRibbonHeatOffset(QString sku, int number, QString supplySku) override
    {
        return m_stock.catalogue().panelOn(sku, number, supplySku).heatOffset;
    }
    qint32 supplyRibbonMaxSpeed(QString sku, int number, QString supplySku) override
    {
        return m_stock.catalogue().panelOn(sku, number, supplySku).maxSpeed;
    }
    qint32 supplyRibbonTension(QString sku, int number, QString supplySku) override
    {
        return m_stock.catalogue().panelOn(sku, number, supplySku).tension;
    }

    // Notices from applications
    void supplyModuleReady(int, int, QString) override { pulseHNIPCReadySignal(); }
    void applicationWasClicked() override
    {
        broadcast(QStringLiteral("CloseApplicationSignal"), {});
    }
    void setModulePrinterName(QString) override {}

private:
    // The entry of the catalogue; an empty one if the catalogue has none.
    Supply supply(const QString &sku) const;
    Ribbon ribbon(const QString &sku) const;
    Panel panel(const QString &ribbonSku, int number) const;

    void meetEngine();

    Stock m_stock;
    HNIPC m_printer;
    QDBusServiceWatcher m_watcher;
};

#endif
