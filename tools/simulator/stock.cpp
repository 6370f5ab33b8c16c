// SPDX-License-Identifier: MIT
#include "stock.h"

#include "printer.h"
#include "values.h"

#include <algorithm>

namespace {

const double lowPercent = 10;
const int lowAlert = 20; // of the supply; the ribbons' are the next
const int continuousLabelLength = 50;

// The names of the print engine's readings, in the order of the places.
const char *const uidNames[] = { "supplyUID", "ribbon1UID", "ribbon2UID" };
const char *const mileageNames[] = { "supplyMileage", "ribbon1Mileage", "ribbon2Mileage" };
const char *const sensorNames[] = { "supplySensor", "ribbonClr1", "ribbonClr2" };

const std::vector<Reading> &table()
{
    static const std::vector<Reading> result = {
        { "supplyPercent", 0.0, "SupplyPercentChanged" },
        { "ribbon1Percent", 0.0, "Ribbon1PercentChanged" },
        { "ribbon2Percent", 0.0, "Ribbon2PercentChanged" },
    };
    return result;
}

// To a tenth of a percent, so that a signal is not emitted for every millimetre.
double percentLeft(const Stock::Roll &roll)
{
    const double used = roll.length > 0 ? 100.0 * roll.mileage / roll.length : 100;
    return qRound(std::clamp(100 - used, 0.0, 100.0) * 10) / 10.0;
}

} // namespace

Stock::Stock(const Catalogue &catalogue) : Readings(table()), m_catalogue(catalogue)
{
    insert(SupplyPlace, m_catalogue.loadedSupply);
    insertRibbons(m_catalogue.loadedRibbons);
    for (int place = SupplyPlace; place < PlaceCount; ++place) {
        set(place, percentLeft(roll(place)));
    }
}

// ---- The loaded rolls ----

QStringList Stock::ribbonSkus() const
{
    QStringList result = { roll(Ribbon1Place).sku, roll(Ribbon2Place).sku };
    result.removeAll(QString());
    return result;
}

QStringList Stock::rgbs(int place) const
{
    QStringList result;
    if (const Supply *supply = m_catalogue.supply(roll(place).sku)) {
        result += rgbText(supply->rgb);
    }
    if (const Ribbon *ribbon = m_catalogue.ribbon(roll(place).sku)) {
        for (const Panel &panel : ribbon->panels) {
            result += rgbText(panel.rgb);
        }
    }
    return result;
}

SupplyInformation Stock::record() const
{
    SupplyInformation result = record(roll(SupplyPlace).sku, ribbonSkus());
    result.text5 = roll(SupplyPlace).uid;
    result.real1 = get<float>(SupplyPlace);
    result.real4 = get<float>(Ribbon1Place);
    result.real5 = get<float>(Ribbon2Place);
    return result;
}

SupplyInformation Stock::record(const QString &supplySku, const QStringList &ribbonSkus) const
{
    SupplyInformation result;
    const Supply *supply = m_catalogue.supply(supplySku);
    if (!supply) {
        return result;
    }
    result.text1 = supply->sku;
    result.integer1 = supply->rgb;
    result.text2 = supply->material;
    result.real2 = static_cast<float>(supply->width);
    result.integer2 = supply->landscape;
    result.text3 = supply->format;
    result.integer3 = supply->type;
    result.text4 = supply->colorName;
    result.real3 = static_cast<float>(supply->labelLength);
    result.bytes1 = supply->background;
    result.integer4 = 0;
    for (const QString &sku : ribbonSkus) {
        const Ribbon *ribbon = m_catalogue.ribbon(sku);
        if (!ribbon) {
            continue;
        }
        const int panels = static_cast<int>(ribbon->panels.size());
        if (++result.integer4 == 1) {
            result.integer5 = panels;
            result.real6 = static_cast<float>(ribbon->width);
            result.real7 = static_cast<float>(ribbon->length);
        } else if (result.integer4 == 2) {
            result.integer6 = panels;
            result.real8 = static_cast<float>(ribbon->width);
            result.real9 = static_cast<float>(ribbon->length);
        }
        result.textList1 += sku;
        for (int number = 1; number <= panels; ++number) {
            const Panel panel = m_catalogue.panelOn(sku, number, supplySku);
            result.textList2 += panel.colorName;
            result.variantList1 += panel.rgb;
            result.variantList2 += panel.heat;
            result.variantList3 += panel.heatOffset;
            result.variantList4 += panel.maxSpeed;
            result.variantList5 += panel.tension;
        }
    }
    return result;
}

// ---- New rolls ----

void Stock::insert(int place, const QString &sku)
{
    Roll next;
    next.sku = sku;
    if (!sku.isEmpty()) {
        const double length = place == SupplyPlace ? m_catalogue.supply(sku)->rollLength
                                                   : m_catalogue.ribbon(sku)->length;
        next.length = qRound(length * 1000);
        next.uid = QStringLiteral("E00401%1").arg(++m_rollCount, 10, 16, QLatin1Char('0'));
    }
    m_rolls[place] = next;
}

void Stock::insertRibbons(const QStringList &skus)
{
    for (int i = 0; i < 2; ++i) {
        if (i >= skus.size() || !skus.at(i).isEmpty()) {
            insert(Ribbon1Place + i, skus.value(i));
        }
    }
}

QString Stock::load(const QString &supplySku, const QStringList &ribbonSkus)
{
    if (!supplySku.isEmpty() && !m_catalogue.supply(supplySku)) {
        return QStringLiteral("no supply has the SKU \"%1\"").arg(supplySku);
    }
    for (const QString &sku : ribbonSkus) {
        if (!sku.isEmpty() && !m_catalogue.ribbon(sku)) {
            return QStringLiteral("no ribbon has the SKU \"%1\"").arg(sku);
        }
    }
    if (ribbonSkus.size() > 2) {
        return QStringLiteral("there are only 2 places for ribbons");
    }
    if (!supplySku.isEmpty()) {
        insert(SupplyPlace, supplySku);
        announce(SupplyPlace, SupplyPlace);
        present(SupplyPlace, SupplyPlace);
    }
    if (!ribbonSkus.isEmpty()) {
        insertRibbons(ribbonSkus);
        announce(Ribbon1Place, Ribbon2Place);
        present(Ribbon1Place, Ribbon2Place);
    }
    return QString();
}

void Stock::announce(int firstPlace, int lastPlace)
{
    if (firstPlace == SupplyPlace) {
        Q_EMIT announced(QStringLiteral("SupplyChanged"),
                         { roll(SupplyPlace).sku, Printer::name() });
        Q_EMIT announced(QStringLiteral("SupplyRGBChanged"), { rgbs(SupplyPlace).value(0) });
    } else {
        Q_EMIT announced(QStringLiteral("RibbonChanged"), { ribbonSkus(), Printer::name() });
        Q_EMIT announced(QStringLiteral("Ribbon1RGBsChanged"), { rgbs(Ribbon1Place) });
        Q_EMIT announced(QStringLiteral("Ribbon2RGBsChanged"), { rgbs(Ribbon2Place) });
    }
    for (int place = firstPlace; place <= lastPlace; ++place) {
        set(place, percentLeft(roll(place)));
    }
}

// ---- The print engine's sensors and signals ----

void Stock::present()
{
    present(SupplyPlace, SupplyPlace);
    present(Ribbon1Place, Ribbon2Place);
}

void Stock::hearAlert(int code)
{
    if (code == 0) {
        repeatAlert();
    }
}

void Stock::repeatAlert()
{
    if (const int code = alertCode()) {
        Q_EMIT alerted(code);
    }
}

// The code of the first place that is low; 0 for none.
int Stock::alertCode() const
{
    const bool *const low = std::find(std::begin(m_low), std::end(m_low), true);
    return low == std::end(m_low) ? 0 : lowAlert + static_cast<int>(low - m_low);
}

void Stock::present(int firstPlace, int lastPlace)
{
    if (firstPlace == SupplyPlace) {
        presentLabelLength();
        Q_EMIT presented(QStringLiteral("supplyID"), roll(SupplyPlace).sku);
    } else {
        Q_EMIT presented(QStringLiteral("ribbonIDs"), ribbonSkus());
    }
    for (int place = firstPlace; place <= lastPlace; ++place) {
        Q_EMIT presented(QLatin1String(uidNames[place]), roll(place).uid);
        Q_EMIT presented(QLatin1String(mileageNames[place]), roll(place).mileage);
        presentSensor(place);
    }
}

void Stock::presentSensor(int place)
{
    const uint there = place == SupplyPlace ? Printer::supplyThere : Printer::ribbonThere;
    const uint gone = place == SupplyPlace ? Printer::supplyGone : Printer::ribbonGone;
    Q_EMIT presented(QLatin1String(sensorNames[place]), m_usedUp[place] ? gone : there);
}

void Stock::presentLabelLength()
{
    const int length = qRound(m_catalogue.supply(roll(SupplyPlace).sku)->labelLength);
    Q_EMIT labelLengthChanged(length > 0 ? length : continuousLabelLength);
}

// A place without a roll is neither low nor used up.
void Stock::wasSet(int place)
{
    const double percent = roll(place).sku.isEmpty() ? 100 : get<double>(place);
    if (m_low[place] != (percent <= lowPercent)) {
        m_low[place] = !m_low[place];
        // If this place is no longer low, another one may still be.
        Q_EMIT alerted(m_low[place] ? lowAlert + place : alertCode());
    }
    if (m_usedUp[place] != (percent <= 0)) {
        m_usedUp[place] = !m_usedUp[place];
        presentSensor(place);
    }
}

QString Stock::setFromOutside(int place, const QVariant &percent)
{
    QVariant fitted = percent;
    const bool isNumber = fitToType(&fitted, QMetaType::Double);
    if (!isNumber || fitted.toDouble() < 0 || fitted.toDouble() > 100) {
        return QStringLiteral("%1 has to be a number from 0 to 100").arg(names().at(place));
    }
    if (roll(place).sku.isEmpty()) {
        return QStringLiteral("no ribbon is loaded at this place");
    }
    Roll &changed = m_rolls[place];
    changed.mileage = qRound(changed.length * (100 - fitted.toDouble()) / 100);
    set(place, fitted);
    Q_EMIT presented(QLatin1String(mileageNames[place]), changed.mileage);
    return QString();
}

void Stock::hearMileage(int place, int mileage)
{
    if (roll(place).sku.isEmpty() || roll(place).mileage == mileage) {
        return;
    }
    m_rolls[place].mileage = mileage;
    change(place, percentLeft(roll(place)));
}

void Stock::hearUid(int place, const QString &uid)
{
    if (!roll(place).sku.isEmpty()) {
        m_rolls[place].uid = uid;
    }
}

// Tags that the catalogue does not know are ignored.
void Stock::hearIds(int firstPlace, const QStringList &skus)
{
    if (firstPlace == SupplyPlace && skus != QStringList(roll(SupplyPlace).sku)
        && m_catalogue.supply(skus.value(0))) {
        insert(SupplyPlace, skus.at(0));
        presentLabelLength();
        announce(SupplyPlace, SupplyPlace);
    }
    const auto isKnown = [this](const QString &sku) { return m_catalogue.ribbon(sku) != nullptr; };
    if (firstPlace == Ribbon1Place && skus != ribbonSkus() && !skus.isEmpty() && skus.size() <= 2
        && std::all_of(skus.begin(), skus.end(), isKnown)) {
        insertRibbons(skus);
        announce(Ribbon1Place, Ribbon2Place);
    }
}
