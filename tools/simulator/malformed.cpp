// SPDX-License-Identifier: MIT
#include "malformed.h"

#include "common/daemons.h"

namespace {

// The fields in the order of the D-Bus structure. A float is sent as a double.
QVariantList fields(const SupplyInformation &record)
{
    const auto real = [](float value) { return QVariant(static_cast<double>(value)); };
    // clang-format off
    return {
        record.text1, record.textList1, real(record.real1), record.integer1,
        record.text2, real(record.real2), record.integer2,
        record.text3, record.integer3, record.text4, record.integer4,
        record.text5, real(record.real3), record.integer5, record.bytes1,
        real(record.real4), real(record.real5),
        record.integer6, record.integer7, record.integer8,
        real(record.real6), real(record.real7), real(record.real8), real(record.real9),
        record.textList2, QVariant(record.variantList1), QVariant(record.variantList2),
        QVariant(record.variantList3), QVariant(record.variantList4),
        QVariant(record.variantList5),
    };
    // clang-format on
}

QVariantList structure(const QVariantList &members)
{
    QDBusArgument out;
    out.beginStructure();
    for (const QVariant &member : members) {
        out.appendVariant(member);
    }
    out.endStructure();
    return { QVariant::fromValue(out) };
}

// Ends after the fifth field.
QVariantList tooShort(const SupplyInformation &record)
{
    return structure(fields(record).mid(0, 5));
}

// The fourth field, a number, is a string.
QVariantList withWrongType(const SupplyInformation &record)
{
    QVariantList members = fields(record);
    members[3] = QString::number(record.integer1);
    return structure(members);
}

// Has two fields more.
QVariantList tooLong(const SupplyInformation &record)
{
    return structure(fields(record) << QStringLiteral("of another version") << 31);
}

QVariantList asDictionary(const SupplyInformation &record)
{
    return { QVariantMap { { QStringLiteral("text1"), record.text1 },
                           { QStringLiteral("integer1"), record.integer1 } } };
}

QVariantList asPlainText(const SupplyInformation &record) { return { record.text1 }; }

QVariantList asNothing(const SupplyInformation &) { return {}; }

// In the order of the shapes' names.
QVariantList (*const shapes[])(const SupplyInformation &record) = { tooShort,     withWrongType,
                                                                    asDictionary, asPlainText,
                                                                    asNothing,    tooLong };

} // namespace

QVariantList shapedRecord(const QString &shape, const SupplyInformation &record)
{
    return shapes[Toolkit::recordShapes().indexOf(shape)](record);
}
