// SPDX-License-Identifier: MIT
#ifndef METAMETHOD_P_H
#define METAMETHOD_P_H

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QMetaMethod>
#include <QtCore/QMetaType>
#include <QtDBus/QDBusMetaType>

// Functions whose names differ between Qt majors.

inline QByteArray nameOf(const QMetaMethod &method)
{
#if QT_VERSION < 0x050000
    const QByteArray signature = method.signature();
    return signature.left(signature.indexOf('('));
#else
    return method.name();
#endif
}

inline QList<int> parameterTypesOf(const QMetaMethod &method)
{
    QList<int> result;
#if QT_VERSION < 0x050000
    const QList<QByteArray> names = method.parameterTypes();
    for (int i = 0; i < names.size(); ++i) {
        result.append(QMetaType::type(names.at(i)));
    }
#else
    for (int i = 0; i < method.parameterCount(); ++i) {
        result.append(method.parameterType(i));
    }
#endif
    return result;
}

inline int resultTypeOf(const QMetaMethod &method)
{
#if QT_VERSION < 0x050000
    return QMetaType::type(method.typeName()); // Void for "", too
#else
    return method.returnType();
#endif
}

// The D-Bus signature of a type of QMetaType.
inline const char *wireTypeOf(int type)
{
#if QT_VERSION < 0x060000
    return QDBusMetaType::typeToSignature(type);
#else
    return QDBusMetaType::typeToSignature(QMetaType(type));
#endif
}

#endif
