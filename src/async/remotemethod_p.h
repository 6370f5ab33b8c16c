// SPDX-License-Identifier: MIT
#ifndef REMOTEMETHOD_P_H
#define REMOTEMETHOD_P_H

#include "common/serviceidentity_p.h"

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

    const ServiceIdentity *daemon;
    QString name;
    QList<Parameter> parameters;
    int required; // so many have no default
    int resultType;
};

// All methods of this name, none where there is no such method. Known from the meta-objects of the
// client and of the daemons' interface classes.
QList<RemoteMethod> remoteMethods(const QString &name);

// The one of these overloads that the arguments fit, with the arguments in the declared types and
// the defaults in place of those that are left out. Null, with what is wrong, where none fits.
const RemoteMethod *fittingMethod(const QList<RemoteMethod> &overloads,
                                  const QVariantList &arguments, QVariantList *fitted,
                                  QString *error);

#endif
