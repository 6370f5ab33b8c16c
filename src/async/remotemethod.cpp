// SPDX-License-Identifier: MIT
#include "async/remotemethod_p.h"

#include "async/metamethod_p.h"
#include "common/emptyvalue_p.h"

#include <hnipc/hnipc.h>
#include <hnipc/ihnipcioexpd.h>
#include <hnipc/ihnipcm4.h>
#include <hnipc/ihnipcsupplyd.h>

#include <QtCore/QHash>
#include <QtCore/QStringList>
#include <QtDBus/QDBusMetaType>

#include <cmath>
#include <limits>

// ---- The methods ---------------------------------------------------------------------------

static bool hasSlot(const QMetaObject &server, const QByteArray &name, const QList<int> &types)
{
    for (int i = server.methodOffset(); i < server.methodCount(); ++i) {
        const QMetaMethod slot = server.method(i);
        if (nameOf(slot) == name && parameterTypesOf(slot) == types) {
            return true;
        }
    }
    return false;
}

// Returns false if no daemon has the method.
static bool findDaemon(const QByteArray &name, const QList<int> &types,
                       HNIPCServer::ServerType *daemon)
{
    if (hasSlot(IHNIPCIOEXPD::staticMetaObject, name, types)) {
        *daemon = HNIPCServer::IOEXPD;
    } else if (hasSlot(IHNIPCM4::staticMetaObject, name, types)) {
        *daemon = HNIPCServer::M4;
    } else if (hasSlot(IHNIPCSUPPLYD::staticMetaObject, name, types)) {
        *daemon = HNIPCServer::SUPPLYD;
    } else {
        return false;
    }
    return true;
}

typedef QHash<QString, QList<RemoteMethod>> RemoteMethods;

static RemoteMethods readMetaObjects()
{
    qDBusRegisterMetaType<SupplyInformation>();
    RemoteMethods result;
    const QMetaObject &client = HNIPC::staticMetaObject;
    bool isRemote = false; // whether a daemon has the latest complete form
    for (int i = client.methodOffset(); i < client.methodCount(); ++i) {
        const QMetaMethod slot = client.method(i);
        if (slot.methodType() != QMetaMethod::Slot) {
            continue;
        }
        const QByteArray name = nameOf(slot);
        QList<RemoteMethod> &overloads = result[QString::fromLatin1(name)];
        const QList<int> types = parameterTypesOf(slot);
        // moc lists the forms with fewer arguments after the complete one.
        if (slot.attributes() & QMetaMethod::Cloned) {
            if (isRemote) {
                overloads.last().required = types.size();
            }
            continue;
        }
        RemoteMethod method;
        isRemote = findDaemon(name, types, &method.daemon);
        if (!isRemote) {
            continue; // a request for it fails as for an unknown method
        }
        method.name = QString::fromLatin1(name);
        method.required = types.size();
        method.resultType = resultTypeOf(slot);
        const QList<QByteArray> names = slot.parameterNames();
        for (int j = 0; j < types.size(); ++j) {
            const RemoteMethod::Parameter parameter = { QString::fromLatin1(names.at(j)),
                                                        types.at(j) };
            method.parameters.append(parameter);
        }
        overloads.append(method);
    }
    return result;
}

QList<RemoteMethod> remoteMethods(const QString &name)
{
    static const RemoteMethods *const all = new RemoteMethods(readMetaObjects());
    return all->value(name); // never destroyed: requests may outlive static objects
}

// ---- The arguments -------------------------------------------------------------------------

static bool isNumber(const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Float:
    case QMetaType::Double:
        return true;
    default:
        return false;
    }
}

// The value as a T; an invalid variant if it is not a number that a T can hold exactly. A double is
// accepted, because all numbers of JavaScript are doubles.
template <typename T>
static QVariant exactly(const QVariant &value)
{
    const double approximate = value.toDouble();
    const double end = std::ldexp(1.0, std::numeric_limits<T>::digits);
    const double start = std::numeric_limits<T>::is_signed ? -end : 0;
    if (!isNumber(value) || approximate != std::floor(approximate) || approximate < start) {
        return QVariant();
    }
    const bool isFloating = value.userType() == QMetaType::Double
        || value.userType() == QMetaType::Float;
    if (isFloating) {
        return approximate < end ? QVariant(static_cast<T>(approximate)) : QVariant();
    }
    // A negative number was compared with the start above.
    const bool fits = approximate < 0
        || value.toULongLong() <= static_cast<quint64>(std::numeric_limits<T>::max());
    return fits ? QVariant(static_cast<T>(value.toLongLong())) : QVariant();
}

static QVariant listOfTexts(const QVariant &value)
{
    if (value.userType() != QMetaType::QVariantList) {
        return QVariant();
    }
    QStringList result;
    const QVariantList list = value.toList();
    for (int i = 0; i < list.size(); ++i) {
        if (list.at(i).userType() != QMetaType::QString) {
            return QVariant();
        }
        result.append(list.at(i).toString());
    }
    return result;
}

QVariant converted(const QVariant &value, int type)
{
    if (value.userType() == type) {
        return value;
    }
    switch (type) {
    case QMetaType::Int:
        return exactly<int>(value);
    case QMetaType::UInt:
        return exactly<uint>(value);
    case QMetaType::ULongLong:
        return exactly<quint64>(value);
    case QMetaType::QStringList:
        return listOfTexts(value);
    default:
        return QVariant();
    }
}

// HNIPC has two defaults: the null string as a printer name, and ribbon panel 1.
static QVariant defaultOf(int type)
{
    return type == QMetaType::Int ? QVariant(1) : QVariant(QString());
}

static QString nameOfType(int type)
{
    switch (type) {
    case QMetaType::Int:
        return QLatin1String("int (-2147483648 to 2147483647)");
    case QMetaType::UInt:
        return QLatin1String("quint32 (0 to 4294967295)");
    case QMetaType::ULongLong:
        return QLatin1String("quint64 (0 to 18446744073709551615)");
    default:
        return QLatin1String(emptyValue(type).typeName());
    }
}

static QString shown(const QVariant &value)
{
    if (value.userType() == QMetaType::QString) {
        return QString::fromLatin1("the string \"%1\"").arg(value.toString());
    }
    if (isNumber(value) || value.userType() == QMetaType::Bool) {
        return value.toString();
    }
    return value.isValid() ? QString::fromLatin1("a %1").arg(QLatin1String(value.typeName()))
                           : QString::fromLatin1("undefined");
}

// Returns how many arguments fit, counted from the first one.
static int fit(const RemoteMethod &method, const QVariantList &arguments, QVariantList *fitted)
{
    fitted->clear();
    for (int i = 0; i < arguments.size(); ++i) {
        const QVariant argument = converted(arguments.at(i), method.parameters.at(i).type);
        if (!argument.isValid()) {
            return i;
        }
        fitted->append(argument);
    }
    return arguments.size();
}

const RemoteMethod *fittingMethod(const QList<RemoteMethod> &overloads,
                                  const QVariantList &arguments, QVariantList *fitted,
                                  QString *error)
{
    const RemoteMethod &first = overloads.first();
    const int most = first.parameters.size(); // the same for all overloads
    if (arguments.size() < first.required || arguments.size() > most) {
        const QString range = first.required < most
            ? QString::fromLatin1("%1 to %2").arg(first.required).arg(most)
            : QString::number(most);
        *error = QString::fromLatin1("%1 takes %2 %3, not %4")
                     .arg(first.name, range, QLatin1String(most == 1 ? "argument" : "arguments"),
                          QString::number(arguments.size()));
        return 0;
    }

    // Overloads differ only in their last parameter, so the first wrong argument is the same for all.
    int wrong = 0;
    QStringList types;
    for (int i = 0; i < overloads.size(); ++i) {
        const RemoteMethod &method = overloads.at(i);
        wrong = fit(method, arguments, fitted);
        if (wrong == arguments.size()) {
            while (fitted->size() < most) {
                fitted->append(defaultOf(method.parameters.at(fitted->size()).type));
            }
            return &method;
        }
        const QString type = nameOfType(method.parameters.at(wrong).type);
        if (!types.contains(type)) {
            types.append(type);
        }
    }
    *error = QString::fromLatin1("argument %1 (%2) of %3 has to be %4, not ")
                 .arg(QString::number(wrong + 1), first.parameters.at(wrong).name, first.name,
                      types.join(QLatin1String(" or ")))
        + shown(arguments.at(wrong));
    return 0;
}
