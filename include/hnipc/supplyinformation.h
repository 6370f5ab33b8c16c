// SPDX-License-Identifier: MIT
#ifndef SUPPLYINFORMATION_H
#define SUPPLYINFORMATION_H

#include <hnipc/hnipc_export.h>

#include <QtCore/QByteArray>
#include <QtCore/QMetaType>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariant>
#include <QtDBus/QDBusArgument>

/**
 * The supply record: a supply and its ribbons, in one answer.
 *
 * The library carries the record and never interprets it: meaning and unit of every field are the
 * supply daemon's. A number is -1 while it is not known, but for #integer5, which starts at 1.
 *
 * On the bus the record is one structure of 30 members, `(sasdisdisisisdiayddiiiddddasavavavavav)`:
 * all fields but #text0, in the order in which they stand here. A `float` travels as a double.
 */
struct HNIPC_EXPORT SupplyInformation
{
    QString text0; ///< Stays with its owner: neither sent nor received.
    QString text1;
    QStringList textList1;
    float real1 = -1.0f;
    int integer1 = -1;
    QString text2;
    float real2 = -1.0f;
    int integer2 = -1;
    QString text3;
    int integer3 = -1;
    QString text4;
    int integer4 = -1;
    QString text5;
    float real3 = -1.0f;
    int integer5 = 1; ///< The one number that does not start at -1.
    QByteArray bytes1;
    float real4 = -1.0f;
    float real5 = -1.0f;
    int integer6 = -1;
    int integer7 = -1;
    int integer8 = -1;
    float real6 = -1.0f;
    float real7 = -1.0f;
    float real8 = -1.0f;
    float real9 = -1.0f;
    QStringList textList2;
    QVariantList variantList1; ///< Each element travels as a D-Bus variant, so it keeps its type.
    QVariantList variantList2; ///< As #variantList1.
    QVariantList variantList3; ///< As #variantList1.
    QVariantList variantList4; ///< As #variantList1.
    QVariantList variantList5; ///< As #variantList1.
};

/// Writes the record as one D-Bus structure. Every element of the variant lists has to be a type
/// that D-Bus can carry.
HNIPC_EXPORT QDBusArgument &operator<<(QDBusArgument &argument,
                                       const SupplyInformation &information);

/// Reads the record from a D-Bus structure of any shape. The first member that is missing or of
/// another type than its field ends the reading: that field and all after it keep the value that
/// they had. What is no structure changes nothing.
HNIPC_EXPORT const QDBusArgument &operator>>(const QDBusArgument &argument,
                                             SupplyInformation &information);

Q_DECLARE_METATYPE(SupplyInformation)

#endif
