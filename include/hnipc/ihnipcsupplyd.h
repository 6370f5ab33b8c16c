// SPDX-License-Identifier: MIT
#ifndef IHNIPCSUPPLYD_H
#define IHNIPCSUPPLYD_H

#include <hnipc/hnipcserver.h>
#include <hnipc/supplyinformation.h>

#include <QtCore/QByteArray>
#include <QtCore/QStringList>

/**
 * The supply daemon: the database of supplies and ribbons, and what is loaded.
 *
 * Construct the object once, in the thread whose event loop serves its calls. Every slot is a
 * method of the interface on the bus. The daemon implements the pure virtual slots: they are called
 * over the bus. This class implements the pulse operations: the daemon calls one to send one signal
 * of the interface to all clients. A pulse operation returns false if the signal could not be queued
 * for sending. Pulse operations can be called over the bus, too; the installed bus policy refuses
 * such calls of applications.
 *
 * The daemon has to call qDBusRegisterMetaType<SupplyInformation>() before it serves calls, because
 * the library does not. Without it, the two operations that return the record are not on the bus.
 *
 * "SUPPLYD_CloseApplicationSignal" has no pulse operation. A daemon that wants the applications to
 * close sends it with pulseSignal(), with no arguments.
 */
class HNIPC_EXPORT IHNIPCSUPPLYD : public HNIPCServer
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "local.IHNIPCSUPPLYD")

public:
    /// Acquires the bus name org.hnipc.supplyd and exports the object; see HNIPCServer.
    explicit IHNIPCSUPPLYD(QObject *parent = nullptr) : HNIPCServer(HNIPCServer::SUPPLYD, parent) {}
    virtual ~IHNIPCSUPPLYD() {}

public Q_SLOTS:
    /// @name Events
    /// @{

    /// The supply daemon is ready. The daemon defines what that means.
    Q_SCRIPTABLE bool pulseHNIPCReadySignal();
    /// The loaded supply changed to @p supplySku, in the printer @p printerName.
    Q_SCRIPTABLE bool pulseSupplyChangedSignal(QString supplySku, QString printerName = QString());
    /// The loaded ribbons changed to @p ribbonSkus, in the printer @p printerName.
    Q_SCRIPTABLE bool pulseRibbonChangedSignal(QStringList ribbonSkus,
                                               QString printerName = QString());
    /// The remaining part of the supply, in percent.
    Q_SCRIPTABLE bool pulseSupplyPercentChangedSignal(double percentage);
    /// The remaining part of ribbon 1, in percent.
    Q_SCRIPTABLE bool pulseRibbon1PercentChangedSignal(double percentage);
    /// The remaining part of ribbon 2, in percent.
    Q_SCRIPTABLE bool pulseRibbon2PercentChangedSignal(double percentage);
    /// The colour of the loaded supply, as a string in a format defined by the daemon.
    Q_SCRIPTABLE bool pulseSupplyRGBChangedSignal(QString rgb);
    /// The colours of the panels of ribbon 1, as strings in a format defined by the daemon.
    Q_SCRIPTABLE bool pulseRibbon1RGBsChangedSignal(QStringList rgbs);
    /// The colours of the panels of ribbon 2, as strings in a format defined by the daemon.
    Q_SCRIPTABLE bool pulseRibbon2RGBsChangedSignal(QStringList rgbs);
    /// @}

    /// @name Operations: the database
    /// @{

    /// The SKUs of all supplies in the database.
    virtual Q_SCRIPTABLE QStringList supplySKUList() = 0;
    /// The SKUs of all ribbons in the database.
    virtual Q_SCRIPTABLE QStringList supplyRibbonSKUList() = 0;
    /// The table of supply colours, with keys and values defined by the daemon.
    virtual Q_SCRIPTABLE QVariantHash supplyColorHash() = 0;
    /// The table of ribbon colours, with keys and values defined by the daemon.
    virtual Q_SCRIPTABLE QVariantHash supplyRibbonColorHash() = 0;
    /// @}

    /// @name Operations: what is loaded
    /// @{

    /// The identifier of the loaded supply.
    virtual Q_SCRIPTABLE QString supplyId() = 0;
    /// The supply SKU that the daemon has stored for the printer.
    virtual Q_SCRIPTABLE QString supplySKUCached(QString printerName) = 0;
    /// The ribbon SKUs that the daemon has stored for the printer.
    virtual Q_SCRIPTABLE QStringList supplyRibbonSKUsCached(QString printerName) = 0;
    /// The remaining part of the loaded supply, in percent.
    virtual Q_SCRIPTABLE double supplySupplyPercent() = 0;
    /// The remaining part of ribbon 1, in percent.
    virtual Q_SCRIPTABLE double supplyRibbon1Percent() = 0;
    /// The remaining part of ribbon 2, in percent.
    virtual Q_SCRIPTABLE double supplyRibbon2Percent() = 0;
    /// The colour of the loaded supply, as a string in a format defined by the daemon.
    virtual Q_SCRIPTABLE QString supplySupplyRGB(QString printerName) = 0;
    /// The colours of the panels of ribbon 1, as strings in a format defined by the daemon.
    virtual Q_SCRIPTABLE QStringList supplyRibbon1RGBs(QString printerName) = 0;
    /// The colours of the panels of ribbon 2, as strings in a format defined by the daemon.
    virtual Q_SCRIPTABLE QStringList supplyRibbon2RGBs(QString printerName) = 0;
    /// The unique identifier of the loaded supply.
    virtual Q_SCRIPTABLE QString supplySupplyUID() = 0;
    /// The unique identifier of ribbon 1.
    virtual Q_SCRIPTABLE QString supplyRibbon1UID() = 0;
    /// The unique identifier of ribbon 2.
    virtual Q_SCRIPTABLE QString supplyRibbon2UID() = 0;
    /// @}

    /// @name Operations: the supply record
    /// @{

    /// The supply record of what is loaded in the printer.
    virtual Q_SCRIPTABLE SupplyInformation supplyInformation(QString printerName) = 0;
    /// The supply record of the given supply and ribbons.
    virtual Q_SCRIPTABLE SupplyInformation supplyInformationBySKUs(QString supplySku,
                                                                   QStringList ribbonSkus,
                                                                   QString printerName) = 0;
    /// @}

    /// @name Operations: one supply
    /// @{

    /// The name of the material of the supply @p sku.
    virtual Q_SCRIPTABLE QString supplyMaterialName(QString sku, QString printerName) = 0;
    /// The name of the format of the supply @p sku.
    virtual Q_SCRIPTABLE QString supplyFormatName(QString sku, QString printerName) = 0;
    /// The colour of the supply @p sku, as a number in a format defined by the daemon.
    virtual Q_SCRIPTABLE qint32 supplyColorRGB(QString sku, QString printerName) = 0;
    /// The name of the colour of the supply @p sku.
    virtual Q_SCRIPTABLE QString supplyColorName(QString sku, QString printerName) = 0;
    /// The width of the supply @p sku, in the daemon's unit.
    virtual Q_SCRIPTABLE double supplyWidth(QString sku, QString printerName) = 0;
    /// Whether the supply @p sku is printed in landscape, as a number defined by the daemon.
    virtual Q_SCRIPTABLE qint32 supplyIsLandscape(QString sku) = 0;
    /// The background image of the supply @p sku, as bytes in a format defined by the daemon.
    virtual Q_SCRIPTABLE QByteArray supplyBackgroundImage(QString sku) = 0;
    /// The length of one label of the supply @p sku, in the daemon's unit.
    virtual Q_SCRIPTABLE double supplyNonContinuousLength(QString sku, QString printerName) = 0;
    /// The type of the supply @p sku, an index defined by the daemon.
    virtual Q_SCRIPTABLE qint32 supplyTypeIndex(QString sku, QString printerName) = 0;
    /// @}

    /// @name Operations: one ribbon; panels count from 1
    /// @{

    /// The number of panels of the ribbon @p ribbonSku.
    virtual Q_SCRIPTABLE qint32 supplyRibbonPanels(QString ribbonSku) = 0;
    /// The width of the ribbon @p ribbonSku, in the daemon's unit.
    virtual Q_SCRIPTABLE double supplyRibbonWidth(QString ribbonSku) = 0;
    /// The length of the ribbon @p ribbonSku, in the daemon's unit.
    virtual Q_SCRIPTABLE double supplyRibbonLength(QString ribbonSku) = 0;
    /// The name of the colour of one panel of the ribbon @p ribbonSku.
    virtual Q_SCRIPTABLE QString supplyRibbonColorName(QString ribbonSku, int panel) = 0;
    /// The colour of one panel of the ribbon @p ribbonSku, as a number in a format defined by the
    /// daemon.
    virtual Q_SCRIPTABLE qint32 supplyRibbonColorRGB(QString ribbonSku, int panel) = 0;
    /// The heat for printing one panel of @p ribbonSku on @p supplySku, in the daemon's unit.
    virtual Q_SCRIPTABLE qint32 supplyRibbonHeat(QString ribbonSku, int panel,
                                                 QString supplySku) = 0;
    /// The heat offset for one panel of @p ribbonSku on @p supplySku, in the daemon's unit.
    virtual Q_SCRIPTABLE qint32 supplyRibbonHeatOffset(QString ribbonSku, int panel,
                                                       QString supplySku) = 0;
    /// The highest speed for one panel of @p ribbonSku on @p supplySku, in the daemon's unit.
    virtual Q_SCRIPTABLE qint32 supplyRibbonMaxSpeed(QString ribbonSku, int panel,
                                                     QString supplySku) = 0;
    /// The tension for one panel of @p ribbonSku on @p supplySku, in the daemon's unit.
    virtual Q_SCRIPTABLE qint32 supplyRibbonTension(QString ribbonSku, int panel,
                                                    QString supplySku) = 0;
    /// @}

    /// @name Operations: notices from applications
    /// @{

    /// A client informs the daemon that the application module @p applicationName is ready, with
    /// its window and process identifiers.
    virtual Q_SCRIPTABLE void supplyModuleReady(int windowId, int processId,
                                                QString applicationName) = 0;
    /// A client informs the daemon that an application was clicked.
    virtual Q_SCRIPTABLE void applicationWasClicked() = 0;
    /// A client informs the daemon which printer the module works with.
    virtual Q_SCRIPTABLE void setModulePrinterName(QString printerName) = 0;
    /// @}

private:
    Q_DISABLE_COPY(IHNIPCSUPPLYD)
};

#endif
