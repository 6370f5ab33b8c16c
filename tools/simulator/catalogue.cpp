// SPDX-License-Identifier: MIT
#include "catalogue.h"

#include "common/jsonfile.h"

#include <QtCore/QRegularExpression>

#include <climits>

using Toolkit::JsonValue;

namespace {

const int noMore = INT_MAX;
const QString uniqueSku = QStringLiteral("a SKU that no other has");

int colour(const JsonValue &value)
{
    static const QRegularExpression form(QStringLiteral("^#[0-9a-fA-F]{6}$"));
    const QString text = value.text(0);
    if (!form.match(text).hasMatch()) {
        value.refuse(QStringLiteral("a colour as \"#rrggbb\""));
    }
    return text.mid(1).toInt(nullptr, 16);
}

QByteArray picture(const JsonValue &value)
{
    const QByteArray text = value.text(0).toLatin1();
    const QByteArray bytes = QByteArray::fromBase64(text);
    if (!bytes.startsWith("\x89PNG\r\n\x1a\n") || bytes.toBase64() != text) {
        value.refuse(QStringLiteral("a PNG picture in base64"));
    }
    return bytes;
}

Supply readSupply(const JsonValue &value)
{
    value.object({ "sku", "material", "format", "colorName", "color", "width", "labelLength",
                   "rollLength", "landscape", "type", "heat", "heatOffset", "maxSpeed",
                   "background" });
    Supply result;
    result.sku = value["sku"].text();
    result.material = value["material"].text();
    result.format = value["format"].text();
    result.colorName = value["colorName"].text();
    result.rgb = colour(value["color"]);
    result.width = value["width"].number(1, 1000);
    result.labelLength = value["labelLength"].number(0, 10000);
    result.rollLength = value["rollLength"].number(0.1, 1000);
    result.landscape = value["landscape"].boolean();
    result.type = value["type"].integer(1, 3);
    result.heat = value["heat"].integer(-100, 100);
    result.heatOffset = value["heatOffset"].integer(-100, 100);
    result.maxSpeed = value["maxSpeed"].integer(1, 1000);
    result.background = picture(value["background"]);
    return result;
}

Panel readPanel(const JsonValue &value)
{
    value.object({ "colorName", "color", "heat", "heatOffset", "maxSpeed", "tension" });
    Panel result;
    result.colorName = value["colorName"].text();
    result.rgb = colour(value["color"]);
    result.heat = value["heat"].integer(0, 255);
    result.heatOffset = value["heatOffset"].integer(-100, 100);
    result.maxSpeed = value["maxSpeed"].integer(1, 1000);
    result.tension = value["tension"].integer(0, 1000);
    return result;
}

Ribbon readRibbon(const JsonValue &value)
{
    value.object({ "sku", "width", "length", "panels" });
    Ribbon result;
    result.sku = value["sku"].text();
    result.width = value["width"].number(1, 1000);
    result.length = value["length"].number(0.1, 10000);
    const QList<JsonValue> panels = value["panels"].items(1, 4);
    for (const JsonValue &panel : panels) {
        result.panels += readPanel(panel);
    }
    return result;
}

template <typename Row>
const Row *find(const QList<Row> &rows, const QString &sku)
{
    for (const Row &row : rows) {
        if (row.sku == sku) {
            return &row;
        }
    }
    return nullptr;
}

template <typename Row>
QList<Row> readRows(const JsonValue &value, Row (*read)(const JsonValue &))
{
    QList<Row> result;
    const QList<JsonValue> items = value.items(1, noMore);
    for (const JsonValue &item : items) {
        const Row row = read(item);
        if (find(result, row.sku)) {
            item["sku"].refuse(uniqueSku);
        }
        result += row;
    }
    return result;
}

template <typename Row>
QString readKnown(const JsonValue &value, const QList<Row> &rows)
{
    if (!find(rows, value.text())) {
        value.refuse(QStringLiteral("a SKU of this catalogue"));
    }
    return value.text();
}

Catalogue readAll(const JsonValue &root)
{
    root.object({ "supplies", "ribbons", "loaded" });
    Catalogue result;
    result.supplies = readRows(root["supplies"], readSupply);
    result.ribbons = readRows(root["ribbons"], readRibbon);
    const QList<JsonValue> ribbonItems = root["ribbons"].items(1, noMore);
    for (const JsonValue &item : ribbonItems) {
        if (result.supply(item["sku"].text())) {
            item["sku"].refuse(uniqueSku);
        }
    }

    const JsonValue loaded = root["loaded"];
    loaded.object({ "supply", "ribbons" });
    result.loadedSupply = readKnown(loaded["supply"], result.supplies);
    const QList<JsonValue> ribbons = loaded["ribbons"].items(1, 2);
    for (const JsonValue &ribbon : ribbons) {
        result.loadedRibbons += readKnown(ribbon, result.ribbons);
    }
    return result;
}

} // namespace

const Supply *Catalogue::supply(const QString &sku) const { return find(supplies, sku); }

const Ribbon *Catalogue::ribbon(const QString &sku) const { return find(ribbons, sku); }

const Panel *Catalogue::panel(const QString &ribbonSku, int number) const
{
    const Ribbon *found = ribbon(ribbonSku);
    return found && number >= 1 && number <= found->panels.size() ? &found->panels.at(number - 1)
                                                                  : nullptr;
}

QString rgbText(int rgb) { return QStringLiteral("#%1").arg(rgb, 6, 16, QLatin1Char('0')); }

Panel Catalogue::panelOn(const QString &ribbonSku, int number, const QString &supplySku) const
{
    const Panel *printing = panel(ribbonSku, number);
    const Supply *printed = supply(supplySku);
    if (!printing || !printed) {
        return Panel();
    }
    Panel result = *printing;
    result.heat += printed->heat;
    result.heatOffset += printed->heatOffset;
    result.maxSpeed = qMin(result.maxSpeed, printed->maxSpeed);
    return result;
}

std::optional<Catalogue> readCatalogue(const QString &fileName, QString *error)
{
    try {
        return readAll(JsonValue::read(fileName));
    } catch (const Toolkit::BadFile &bad) {
        *error = bad.message;
        return std::nullopt;
    }
}
