// SPDX-License-Identifier: MIT
#ifndef REMOTEMETHOD_P_H
#define REMOTEMETHOD_P_H

#include <hnipc/hnipcserver.h>

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QVariant>

// A method of the client class, as it is called on the bus.
struct RemoteMethod
{
    struct Parameter
    {
        QString name;
        int type; // of QMetaType, as is the result's
    };

    HNIPCServer::ServerType daemon;
    QString name;
    QList<Parameter> parameters;
    int required; // so many have no default
    int resultType;
};

// All methods of this name, none if there is no such method; read from the meta-objects of the
// client and of the daemons' interface classes.
QList<RemoteMethod> remoteMethods(const QString &name);

// The one of these overloads that the arguments fit, with the arguments in the declared types and
// the defaults in place of those that are left out. Null, with the reason, if none fits.
const RemoteMethod *fittingMethod(const QList<RemoteMethod> &overloads,
                                  const QVariantList &arguments, QVariantList *fitted,
                                  QString *error);

// The value as one of this type of QMetaType; invalid if that would lose or invent something.
QVariant converted(const QVariant &value, int type);

#endif
