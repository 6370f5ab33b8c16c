// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_QTMAJORS_H
#define HNIPC_TESTS_QTMAJORS_H

// The parts of Qt that the tests need and that differ between the major versions.

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QMetaType>
#include <QtCore/QVariant>
#include <QtTest/QTest>

#if QT_VERSION >= QT_VERSION_CHECK(5, 0, 0)
// The second argument is there only because the macro is variadic.
#define HNIPC_SKIP(reason) QSKIP(reason, )
#else
#define HNIPC_SKIP(reason) QSKIP(reason, SkipSingle)
#endif

inline QVariant variantOf(const QByteArray &typeName, const void *value)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    return QVariant(QMetaType::fromName(typeName), value);
#else
    return QVariant(QMetaType::type(typeName), value);
#endif
}

// Qt 4 cannot join QByteArrays.
inline QByteArray joined(const QList<QByteArray> &texts, const char *separator = "")
{
    QByteArray result;
    for (int i = 0; i < texts.size(); ++i) {
        result += (i > 0 ? separator : "") + texts.at(i);
    }
    return result;
}

#endif
