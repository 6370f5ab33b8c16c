// SPDX-License-Identifier: MIT
#ifndef REMOTEMETHOD_P_H
#define REMOTEMETHOD_P_H

#include <hnipc/hnipcserver.h>

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QVariant>

// A method of HNIPC, with the data needed to call it on the bus.
struct RemoteMethod
{
    struct Parameter
    {
        QString name;
        int type; // of QMetaType
    };

    HNIPCServer::ServerType daemon;
    QString name;
    QList<Parameter> parameters;
    int required;   // the number of parameters without a default
    int resultType; // of QMetaType
};

// The overloads of this name; an empty list if HNIPC has no such method. They are read from the
// meta-objects of HNIPC and of the daemons' interface classes.
QList<RemoteMethod> remoteMethods(const QString &name);

// The overload that the arguments fit. Sets *fitted to the arguments in the declared types,
// completed by the defaults. If none fits, returns null and sets *error.
const RemoteMethod *fittingMethod(const QList<RemoteMethod> &overloads,
                                  const QVariantList &arguments, QVariantList *fitted,
                                  QString *error);

// The value converted to this type of QMetaType; an invalid variant if that would change the value.
QVariant converted(const QVariant &value, int type);

#endif
