// SPDX-License-Identifier: MIT
#ifndef HNIPC_SIMULATOR_STOCK_H
#define HNIPC_SIMULATOR_STOCK_H

#include "catalogue.h"
#include "readings.h"

#include <hnipc/supplyinformation.h>

/// What is loaded in the printer, and how much of it is left. It goes by the mileage that the print
/// engine counts, and says what the print engine finds in front of its sensors.
class Stock : public Readings
{
    Q_OBJECT

public:
    /// Where a roll can be. The readings are what is left there, in percent.
    enum { SupplyPlace, Ribbon1Place, Ribbon2Place, PlaceCount };

    struct Roll
    {
        QString sku; ///< empty where there is no roll
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

    /// Puts in new rolls. What is empty leaves in what is there, but a list of one ribbon leaves
    /// the second place empty. Answers what is wrong, if anything.
    QString load(const QString &supplySku, const QStringList &ribbonSkus);
    QString setFromOutside(int place, const QVariant &percent) override;
    /// Says all that the print engine finds.
    void present();
    /// Alerts again of what is still low.
    void repeatAlert();

    /// @name What the print engine has read, and said
    /// @{
    void hearMileage(int place, int mileage);
    void hearUid(int place, const QString &uid);
    void hearIds(int firstPlace, const QStringList &skus);
    void hearAlert(int code);
    /// @}

Q_SIGNALS:
    /// The print engine finds @p value at its reading @p name.
    void presented(const QString &name, const QVariant &value);
    /// The print engine is to take labels for so many millimetres long.
    void labelLengthChanged(int length);
    /// The print engine is to have this alert code.
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
