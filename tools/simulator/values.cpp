// SPDX-License-Identifier: MIT
#include "values.h"

#include <QtCore/QMetaType>
#include <QtCore/QStringList>

QVariant valueOfType(int type, const void *data)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    return QVariant(QMetaType(type), data);
#else
    return QVariant(type, data);
#endif
}

namespace {

bool isListOfTexts(const QVariant &value)
{
    const QVariantList elements = value.toList();
    for (const QVariant &element : elements) {
        if (element.userType() != QMetaType::QString) {
            return false;
        }
    }
    return value.userType() == QMetaType::QVariantList;
}

} // namespace

// Converts by way of a string: this is exact for all integers, and refuses fractions.
bool fitToType(QVariant *value, int type)
{
    if (value->userType() == type) {
        return true;
    }
    bool fits = false;
    QVariant fitted;
    const QString text = value->toString();
    switch (type) {
    case QMetaType::Int:
        fitted = text.toInt(&fits);
        break;
    case QMetaType::UInt:
        fitted = text.toUInt(&fits);
        break;
    case QMetaType::ULongLong:
        fitted = text.toULongLong(&fits);
        break;
    case QMetaType::Double:
        fitted = text.toDouble(&fits);
        break;
    case QMetaType::QStringList:
        fitted = value->toStringList();
        fits = isListOfTexts(*value);
        break;
    }
    if (!fits || value->userType() == QMetaType::QString) {
        return false;
    }
    *value = fitted;
    return true;
}

QString nameOfType(int type)
{
    switch (type) {
    case QMetaType::Bool:
        return QStringLiteral("true or false");
    case QMetaType::Int:
        return QStringLiteral("a whole number");
    case QMetaType::UInt:
    case QMetaType::ULongLong:
        return QStringLiteral("a whole number from 0");
    case QMetaType::Double:
        return QStringLiteral("a number");
    case QMetaType::QStringList:
        return QStringLiteral("a list of strings");
    default:
        return QStringLiteral("a string");
    }
}
