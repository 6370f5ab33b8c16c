// SPDX-License-Identifier: MIT
#ifndef HNIPC_SIMULATOR_STOCK_H
#define HNIPC_SIMULATOR_STOCK_H

#include "catalogue.h"
#include "readings.h"

#include <hnipc/supplyinformation.h>

/// The loaded rolls, and how much of each is left. It gets the mileages from the print engine, and
/// sets the values of the print engine's sensors for rolls.
class Stock : public Readings
{
    Q_OBJECT

public:
    /// The places of rolls. The readings are the percentages that are left.
    enum { SupplyPlace, Ribbon1Place, Ribbon2Place, PlaceCount };

    struct Roll
    {
        QString sku; ///< empty if no roll is loaded
        QString uid;
        int length = 0;  ///< mm
        int mileage = 0; ///< mm
    };

    explicit Stock(const Catalogue &catalogue);

    const Catalogue &catalogue() const { return m_catalogue; }
    const Roll &roll(int place) const { return m_rolls[place]; }
    QStringList ribbonSkus() const;
    QStringList rgbs(int place) const; ///< of the supply, or of the panels of a ribbon
    SupplyInformation record() const;
    SupplyInformation record(const QString &supplySku, const QStringList &ribbonSkus) const;

    /// Loads new rolls. An empty SKU or list keeps the loaded rolls, but a list of one ribbon removes
    /// the second ribbon. Returns an error message, empty on success.
    QString load(const QString &supplySku, const QStringList &ribbonSkus);
    QString setFromOutside(int place, const QVariant &percent) override;
    /// Emits presented() for all readings of the print engine.
    void present();
    /// Emits the alert again if a roll is still low.
    void repeatAlert();

    /// @name Values that the print engine has read or sent
    /// @{
    void hearMileage(int place, int mileage);
    void hearUid(int place, const QString &uid);
    void hearIds(int firstPlace, const QStringList &skus);
    void hearAlert(int code);
    /// @}

Q_SIGNALS:
    /// The print engine's reading @p name has to become @p value.
    void presented(const QString &name, const QVariant &value);
    /// The print engine's label length has to become @p length, in mm.
    void labelLengthChanged(int length);
    /// The print engine's alert code has to become @p code.
    void alerted(int code);

private:
    void insert(int place, const QString &sku);
    void insertRibbons(const QStringList &skus);
    void announce(int firstPlace, int lastPlace);
    void present(int firstPlace, int lastPlace);
    void presentSensor(int place);
    void presentLabelLength();
    int alertCode() const;
    void wasSet(int place) override;

    const Catalogue m_catalogue;
    Roll m_rolls[PlaceCount];
    bool m_low[PlaceCount] = {};
    bool m_usedUp[PlaceCount] = {};
    int m_rollCount = 0;
};

#endif
