// SPDX-License-Identifier: MIT
#ifndef HNIPC_SIMULATOR_CATALOGUE_H
#define HNIPC_SIMULATOR_CATALOGUE_H

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <optional>

struct Supply
{
    QString sku;
    QString material;
    QString format;
    QString colorName;
    int rgb = 0;            ///< 0xrrggbb
    double width = 0;       ///< mm
    double labelLength = 0; ///< mm; 0 for a supply that is cut at any length
    double rollLength = 0;  ///< m
    bool landscape = false;
    int type = 0;          ///< 1 continuous, 2 die-cut, 3 tags
    int heat = 0;          ///< added to the panel's
    int heatOffset = 0;    ///< added to the panel's
    int maxSpeed = 0;      ///< mm/s
    QByteArray background; ///< PNG
};

struct Panel
{
    QString colorName;
    int rgb = 0;
    int heat = 0;
    int heatOffset = 0;
    int maxSpeed = 0; ///< mm/s
    int tension = 0;  ///< cN
};

struct Ribbon
{
    QString sku;
    double width = 0;  ///< mm
    double length = 0; ///< m
    QList<Panel> panels;
};

/// The database of supplies and ribbons. The manual page describes the file's format.
struct Catalogue
{
    QList<Supply> supplies;
    QList<Ribbon> ribbons;
    QString loadedSupply; ///< the SKU that is loaded when the printer is switched on
    QStringList loadedRibbons;

    /// Null if the catalogue does not have it.
    const Supply *supply(const QString &sku) const;
    const Ribbon *ribbon(const QString &sku) const;
    const Panel *panel(const QString &ribbonSku, int number) const; ///< counts from 1
    /// The print parameters of this panel on this supply; all 0 if the catalogue does not have them.
    Panel panelOn(const QString &ribbonSku, int number, const QString &supplySku) const;
};

/// A colour as text: "#rrggbb".
QString rgbText(int rgb);

/// Reads a catalogue. If it is invalid, returns nothing and sets @p error to
/// "FILE:LINE: WHERE: expected ...".
std::optional<Catalogue> readCatalogue(const QString &fileName, QString *error);

#endif
