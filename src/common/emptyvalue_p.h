// SPDX-License-Identifier: MIT
#ifndef EMPTYVALUE_P_H
#define EMPTYVALUE_P_H

#include <QtCore/QMetaType>
#include <QtCore/QVariant>

// A valid variant with an empty value of the type. In Qt 6, QVariant has no constructor for a
// type's number.
inline QVariant emptyValue(int type)
{
#if QT_VERSION < 0x060000
    return QVariant(type, static_cast<const void *>(0));
#else
    return QVariant(QMetaType(type));
#endif
}

#endif
