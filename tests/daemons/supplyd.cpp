// SPDX-License-Identifier: MIT
#include "supplyd.h"

#include <QtCore/QStringList>
#include <QtDBus/QDBusMetaType>

namespace {

struct Supply
{
    const char *sku;
    const char *material;
    const char *format;
    const char *colorName;
    qint32 rgb;
    double width;  // mm
    double length; // mm, 0 for continuous stock
    qint32 landscape;
    qint32 type; // 1 continuous, 2 die-cut
    qint32 extraHeat;
    qint32 maxSpeed; // mm/s
};

const Supply supplies[] = {
    { "S-100-WHITE", "Paper", "Label 100 x 60", "White", 0xffffff, 100.0, 60.0, 1, 2, 0, 150 },
    { "S-50-YELLOW", "Vinyl", "Tape 50", "Yellow", 0xffd500, 50.0, 0.0, 0, 1, 12, 80 },
    { "S-25-SILVER", "Polyester", "Label 25 x 75.5", "Silver", 0xc0c0c0, 25.0, 75.5, 0, 2, 20, 60 },
};

struct Panel
{
    const char *colorName;
    qint32 rgb;
    qint32 heat;
    qint32 heatOffset;
    qint32 maxSpeed; // mm/s
    qint32 tension;
};

struct Ribbon
{
    const char *sku;
    double width;  // mm
    double length; // m
    int panels;
    Panel panel[3];
};

// clang-format off
const Ribbon ribbons[] = {
    { "R-110-CMY", 110.0, 74.5, 3,
      { { "Cyan", 0x00aeef, 130, -4, 100, 31 },
        { "Magenta", 0xec008c, 128, -2, 100, 32 },
        { "Yellow", 0xfff200, 124, 3, 90, 33 } } },
    { "R-60-BLACK", 60.0, 300.0, 1,
      { { "Black", 0x000000, 140, 0, 200, 40 },
        { "", 0, 0, 0, 0, 0 },
        { "", 0, 0, 0, 0, 0 } } },
};
// clang-format on

struct Loaded
{
    const char *sku;
    const char *uid;
    double percent;
};

const Loaded loadedSupply = { "S-100-WHITE", "E004015012345601", 81.5 };
const Loaded loadedRibbon1 = { "R-110-CMY", "E004015012345602", 55.25 };
const Loaded loadedRibbon2 = { "R-60-BLACK", "E004015012345603", 12.0 };

bool isLoadedPrinter(const QString &printerName)
{
    return printerName.isEmpty() || printerName == QLatin1String("labelprinter");
}

const Supply *findSupply(const QString &sku)
{
    for (const Supply &supply : supplies) {
        if (sku == QLatin1String(supply.sku)) {
            return &supply;
        }
    }
    return 0;
}

const Ribbon *findRibbon(const QString &sku)
{
    for (const Ribbon &ribbon : ribbons) {
        if (sku == QLatin1String(ribbon.sku)) {
            return &ribbon;
        }
    }
    return 0;
}

const Panel *findPanel(const QString &ribbonSku, int panel)
{
    const Ribbon *ribbon = findRibbon(ribbonSku);
    return ribbon && panel >= 1 && panel <= ribbon->panels ? &ribbon->panel[panel - 1] : 0;
}

QString rgbText(qint32 rgb)
{
    return QString(QLatin1String("#%1")).arg(rgb, 6, 16, QLatin1Char('0'));
}

QStringList ribbonRGBs(const QString &ribbonSku)
{
    QStringList rgbs;
    if (const Ribbon *ribbon = findRibbon(ribbonSku)) {
        for (int i = 0; i < ribbon->panels; ++i) {
            rgbs << rgbText(ribbon->panel[i].rgb);
        }
    }
    return rgbs;
}

} // namespace

TestSupplyd::TestSupplyd()
{
    // The library leaves this to the daemon. Without it, the two methods that return the record
    // cannot reply.
    qDBusRegisterMetaType<SupplyInformation>();
}

// The catalogue; the colour hashes map the name of a colour to its "#rrggbb"

QStringList TestSupplyd::supplySKUList()
{
    QStringList skus;
    for (const Supply &supply : supplies) {
        skus << QLatin1String(supply.sku);
    }
    return skus;
}

QStringList TestSupplyd::supplyRibbonSKUList()
{
    QStringList skus;
    for (const Ribbon &ribbon : ribbons) {
        skus << QLatin1String(ribbon.sku);
    }
    return skus;
}

QVariantHash TestSupplyd::supplyColorHash()
{
    QVariantHash colors;
    for (const Supply &supply : supplies) {
        colors.insert(QLatin1String(supply.colorName), rgbText(supply.rgb));
    }
    return colors;
}

QVariantHash TestSupplyd::supplyRibbonColorHash()
{
    QVariantHash colors;
    for (const Ribbon &ribbon : ribbons) {
        for (int i = 0; i < ribbon.panels; ++i) {
            colors.insert(QLatin1String(ribbon.panel[i].colorName), rgbText(ribbon.panel[i].rgb));
        }
    }
    return colors;
}

// The loaded supplies and ribbons

QString TestSupplyd::supplyId() { return QLatin1String(loadedSupply.sku); }

QString TestSupplyd::supplySKUCached(QString printerName)
{
    return isLoadedPrinter(printerName) ? QString(QLatin1String(loadedSupply.sku)) : QString();
}

QStringList TestSupplyd::supplyRibbonSKUsCached(QString printerName)
{
    QStringList skus;
    if (isLoadedPrinter(printerName)) {
        skus << QLatin1String(loadedRibbon1.sku) << QLatin1String(loadedRibbon2.sku);
    }
    return skus;
}

double TestSupplyd::supplySupplyPercent() { return loadedSupply.percent; }

double TestSupplyd::supplyRibbon1Percent() { return loadedRibbon1.percent; }

double TestSupplyd::supplyRibbon2Percent() { return loadedRibbon2.percent; }

QString TestSupplyd::supplySupplyRGB(QString printerName)
{
    const Supply *supply = findSupply(supplySKUCached(printerName));
    return supply ? rgbText(supply->rgb) : QString();
}

QStringList TestSupplyd::supplyRibbon1RGBs(QString printerName)
{
    return ribbonRGBs(supplyRibbonSKUsCached(printerName).value(0));
}

QStringList TestSupplyd::supplyRibbon2RGBs(QString printerName)
{
    return ribbonRGBs(supplyRibbonSKUsCached(printerName).value(1));
}

QString TestSupplyd::supplySupplyUID() { return QLatin1String(loadedSupply.uid); }

QString TestSupplyd::supplyRibbon1UID() { return QLatin1String(loadedRibbon1.uid); }

QString TestSupplyd::supplyRibbon2UID() { return QLatin1String(loadedRibbon2.uid); }

// The record, which every supply daemon fills as it likes. Here its fields are:
//   text1 supply SKU            real1 percent of the supply   integer1 colour of the supply
//   text2 material              real2 width of the supply     integer2 landscape
//   text3 format                real3 length of the supply    integer3 type
//   text4 name of the colour    real4 percent of ribbon 1     integer4 number of ribbons
//   text5 UID of the supply     real5 percent of ribbon 2     integer5 panels of ribbon 1
//   textList1 ribbon SKUs       real6 width of ribbon 1       bytes1 background image
//   textList2 panel colours     real7 length of ribbon 1
// The panels are those of all ribbons in their order. All other fields stay unknown. So do the
// percentages and the UID if the record does not describe the loaded supply.

SupplyInformation TestSupplyd::supplyInformation(QString printerName)
{
    if (!isLoadedPrinter(printerName)) {
        return SupplyInformation();
    }

    SupplyInformation record = supplyInformationBySKUs(
        supplySKUCached(printerName), supplyRibbonSKUsCached(printerName), printerName);
    record.text5 = supplySupplyUID();
    record.real1 = static_cast<float>(supplySupplyPercent());
    record.real4 = static_cast<float>(supplyRibbon1Percent());
    record.real5 = static_cast<float>(supplyRibbon2Percent());
    return record;
}

SupplyInformation TestSupplyd::supplyInformationBySKUs(QString supplySku,
                                                       const QStringList ribbonSkus, QString)
{
    SupplyInformation record;
    const Supply *supply = findSupply(supplySku);
    if (!supply) {
        return record;
    }

    record.text1 = supplySku;
    record.text2 = QLatin1String(supply->material);
    record.text3 = QLatin1String(supply->format);
    record.text4 = QLatin1String(supply->colorName);
    record.real2 = static_cast<float>(supply->width);
    record.real3 = static_cast<float>(supply->length);
    record.integer1 = supply->rgb;
    record.integer2 = supply->landscape;
    record.integer3 = supply->type;
    record.integer4 = 0;
    record.bytes1 = supplyBackgroundImage(supplySku);

    for (const QString &ribbonSku : ribbonSkus) {
        const Ribbon *ribbon = findRibbon(ribbonSku);
        if (!ribbon) {
            continue;
        }
        if (++record.integer4 == 1) {
            record.integer5 = ribbon->panels;
            record.real6 = static_cast<float>(ribbon->width);
            record.real7 = static_cast<float>(ribbon->length);
        }
        record.textList1 << ribbonSku;
        for (int panel = 1; panel <= ribbon->panels; ++panel) {
            record.textList2 << supplyRibbonColorName(ribbonSku, panel);
            record.variantList1 << supplyRibbonColorRGB(ribbonSku, panel);
            record.variantList2 << supplyRibbonHeat(ribbonSku, panel, supplySku);
            record.variantList3 << supplyRibbonHeatOffset(ribbonSku, panel, supplySku);
            record.variantList4 << supplyRibbonMaxSpeed(ribbonSku, panel, supplySku);
            record.variantList5 << supplyRibbonTension(ribbonSku, panel, supplySku);
        }
    }
    return record;
}

// Supplies by SKU

QString TestSupplyd::supplyMaterialName(QString sku, QString)
{
    const Supply *supply = findSupply(sku);
    return supply ? QString(QLatin1String(supply->material)) : QString();
}

QString TestSupplyd::supplyFormatName(QString sku, QString)
{
    const Supply *supply = findSupply(sku);
    return supply ? QString(QLatin1String(supply->format)) : QString();
}

qint32 TestSupplyd::supplyColorRGB(QString sku, QString)
{
    const Supply *supply = findSupply(sku);
    return supply ? supply->rgb : 0;
}

QString TestSupplyd::supplyColorName(QString sku, QString)
{
    const Supply *supply = findSupply(sku);
    return supply ? QString(QLatin1String(supply->colorName)) : QString();
}

double TestSupplyd::supplyWidth(QString sku, QString)
{
    const Supply *supply = findSupply(sku);
    return supply ? supply->width : 0.0;
}

qint32 TestSupplyd::supplyIsLandscape(QString sku)
{
    const Supply *supply = findSupply(sku);
    return supply ? supply->landscape : 0;
}

// A portable pixmap: one pixel in the colour of the supply, under one in black.
QByteArray TestSupplyd::supplyBackgroundImage(QString sku)
{
    const Supply *supply = findSupply(sku);
    if (!supply) {
        return QByteArray();
    }

    QByteArray image("P6\n1 2\n255\n");
    image.append(QByteArray(3, '\0'));
    image.append(static_cast<char>(supply->rgb >> 16));
    image.append(static_cast<char>(supply->rgb >> 8));
    image.append(static_cast<char>(supply->rgb));
    return image;
}

double TestSupplyd::supplyNonContinuousLength(QString sku, QString)
{
    const Supply *supply = findSupply(sku);
    return supply ? supply->length : 0.0;
}

qint32 TestSupplyd::supplyTypeIndex(QString sku, QString)
{
    const Supply *supply = findSupply(sku);
    return supply ? supply->type : 0;
}

// Ribbons by SKU and panel; a supply needs more heat and allows less speed than its ribbon

qint32 TestSupplyd::supplyRibbonPanels(QString ribbonSku)
{
    const Ribbon *ribbon = findRibbon(ribbonSku);
    return ribbon ? ribbon->panels : 0;
}

double TestSupplyd::supplyRibbonWidth(QString ribbonSku)
{
    const Ribbon *ribbon = findRibbon(ribbonSku);
    return ribbon ? ribbon->width : 0.0;
}

double TestSupplyd::supplyRibbonLength(QString ribbonSku)
{
    const Ribbon *ribbon = findRibbon(ribbonSku);
    return ribbon ? ribbon->length : 0.0;
}

QString TestSupplyd::supplyRibbonColorName(QString ribbonSku, int panel)
{
    const Panel *found = findPanel(ribbonSku, panel);
    return found ? QString(QLatin1String(found->colorName)) : QString();
}

qint32 TestSupplyd::supplyRibbonColorRGB(QString ribbonSku, int panel)
{
    const Panel *found = findPanel(ribbonSku, panel);
    return found ? found->rgb : 0;
}

qint32 TestSupplyd::supplyRibbonHeat(QString ribbonSku, int panel, QString supplySku)
{
    const Panel *found = findPanel(ribbonSku, panel);
    const Supply *supply = findSupply(supplySku);
    return found && supply ? found->heat + supply->extraHeat : 0;
}

qint32 TestSupplyd::supplyRibbonHeatOffset(QString ribbonSku, int panel, QString supplySku)
{
    const Panel *found = findPanel(ribbonSku, panel);
    return found && findSupply(supplySku) ? found->heatOffset : 0;
}

qint32 TestSupplyd::supplyRibbonMaxSpeed(QString ribbonSku, int panel, QString supplySku)
{
    const Panel *found = findPanel(ribbonSku, panel);
    const Supply *supply = findSupply(supplySku);
    return found && supply ? qMin(found->maxSpeed, supply->maxSpeed) : 0;
}

qint32 TestSupplyd::supplyRibbonTension(QString ribbonSku, int panel, QString supplySku)
{
    const Panel *found = findPanel(ribbonSku, panel);
    return found && findSupply(supplySku) ? found->tension : 0;
}

// Application modules

void TestSupplyd::supplyModuleReady(int, int, QString)
{
    m_moduleReady = true;
    announceModule();
}

void TestSupplyd::setModulePrinterName(QString printerName)
{
    m_modulePrinterName = printerName;
    announceModule();
}

// A module can start if it exists and this daemon knows the printer that it works with.
void TestSupplyd::announceModule()
{
    if (m_moduleReady && isLoadedPrinter(m_modulePrinterName)) {
        pulseHNIPCReadySignal();
    }
}

// The first click on an application opens it, the second closes it. No pulse operation sends this
// signal.
void TestSupplyd::applicationWasClicked()
{
    if (++m_clicks % 2 == 0) {
        pulseSignal(QLatin1String("/"), QLatin1String("local.IHNIPCSUPPLYD"),
                    QLatin1String("SUPPLYD_CloseApplicationSignal"), QList<QVariant>());
    }
}
