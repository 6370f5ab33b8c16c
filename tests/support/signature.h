// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_SIGNATURE_H
#define HNIPC_TESTS_SIGNATURE_H

#include <QtCore/QByteArray>
#include <QtCore/QMetaMethod>

// Qt 4 spells a type as the header does, Qt 5 and 6 as the type behind the alias.
inline QByteArray withoutAliases(QByteArray types)
{
    return types.replace("quint32", "uint")
        .replace("qint32", "int")
        .replace("quint64", "qulonglong");
}

inline QByteArray signatureOf(const QMetaMethod &method)
{
#if QT_VERSION < 0x050000
    return withoutAliases(method.signature());
#else
    return withoutAliases(method.methodSignature());
#endif
}

// The result type of a method; empty for void.
inline QByteArray resultOf(const QMetaMethod &method)
{
    const QByteArray type = method.typeName();
    return type == "void" ? QByteArray() : withoutAliases(type);
}

#endif
