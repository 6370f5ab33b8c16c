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
 * The supply record: a supply and its ribbons, in one reply.
 *
 * The library sends and receives the record and does not interpret it: the supply daemon defines
 * meaning and unit of every field. In a new record every number is -1, except #integer5, which is
 * 1.
 *
 * On the bus the record is one structure of 30 members, `(sasdisdisisisdiayddiiiddddasavavavavav)`:
 * all fields except #text0, in the order of their declaration. The comment of each field says which
 * member it is, and its D-Bus type. A `float` is sent as a double, and each element of a variant
 * list as a D-Bus variant.
 */
struct HNIPC_EXPORT SupplyInformation
{
    QString text0;             ///< Local only: neither sent nor received.
    QString text1;             ///< Member 1: s.
    QStringList textList1;     ///< Member 2: as.
    float real1 = -1.0f;       ///< Member 3: d.
    int integer1 = -1;         ///< Member 4: i.
    QString text2;             ///< Member 5: s.
    float real2 = -1.0f;       ///< Member 6: d.
    int integer2 = -1;         ///< Member 7: i.
    QString text3;             ///< Member 8: s.
    int integer3 = -1;         ///< Member 9: i.
    QString text4;             ///< Member 10: s.
    int integer4 = -1;         ///< Member 11: i.
    QString text5;             ///< Member 12: s.
    float real3 = -1.0f;       ///< Member 13: d.
    int integer5 = 1;          ///< Member 14: i. The one number that does not start at -1.
    QByteArray bytes1;         ///< Member 15: ay.
    float real4 = -1.0f;       ///< Member 16: d.
    float real5 = -1.0f;       ///< Member 17: d.
    int integer6 = -1;         ///< Member 18: i.
    int integer7 = -1;         ///< Member 19: i.
    int integer8 = -1;         ///< Member 20: i.
    float real6 = -1.0f;       ///< Member 21: d.
    float real7 = -1.0f;       ///< Member 22: d.
    float real8 = -1.0f;       ///< Member 23: d.
    float real9 = -1.0f;       ///< Member 24: d.
    QStringList textList2;     ///< Member 25: as.
    QVariantList variantList1; ///< Member 26: av. Each element keeps its type.
    QVariantList variantList2; ///< Member 27: av. Each element keeps its type.
    QVariantList variantList3; ///< Member 28: av. Each element keeps its type.
    QVariantList variantList4; ///< Member 29: av. Each element keeps its type.
    QVariantList variantList5; ///< Member 30: av. Each element keeps its type.
};

/// @relates SupplyInformation
/// Writes the record as one D-Bus structure. Every element of the variant lists has to be of a type
/// that D-Bus can carry.
HNIPC_EXPORT QDBusArgument &operator<<(QDBusArgument &argument,
                                       const SupplyInformation &information);

/// @relates SupplyInformation
/// Reads the record from a D-Bus structure, which may have any members. Reading stops at the first
/// member that is missing or of another type than its field. That field and all after it keep their
/// values. If the argument is not a structure, the record does not change.
HNIPC_EXPORT const QDBusArgument &operator>>(const QDBusArgument &argument,
                                             SupplyInformation &information);

Q_DECLARE_METATYPE(SupplyInformation)

#endif
