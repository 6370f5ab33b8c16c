// SPDX-License-Identifier: MIT
#include "metaobjects.h"
#include "support/signature.h"

#include <hnipc/hnipc.h>
#include <hnipc/hnipcavailability.h>
#include <hnipc/hnipcevents.h>
#include <hnipc/hnipcreading.h>
#include <hnipc/hnipcrequest.h>
#include <hnipc/ihnipcioexpd.h>
#include <hnipc/ihnipcm4.h>
#include <hnipc/ihnipcsupplyd.h>

#include <QtCore/QMetaEnum>
#include <QtCore/QMetaProperty>

namespace {

const QMetaObject *const classes[] = {
    &HNIPC::staticMetaObject,         &HNIPCAvailability::staticMetaObject,
    &HNIPCEvents::staticMetaObject,   &HNIPCReading::staticMetaObject,
    &HNIPCRequest::staticMetaObject,  &HNIPCServer::staticMetaObject,
    &IHNIPCIOEXPD::staticMetaObject,  &IHNIPCM4::staticMetaObject,
    &IHNIPCSUPPLYD::staticMetaObject,
};

QByteArray kindOf(const QMetaMethod &method)
{
    switch (method.methodType()) {
    case QMetaMethod::Signal:
        return "signal";
    case QMetaMethod::Slot:
        return "slot";
    default:
        return "invokable";
    }
}

Entry methodEntry(const QMetaObject &meta, int index)
{
    const QMetaMethod method = meta.method(index);
    QByteArray result = withoutAliases(method.typeName());
    if (method.attributes() & QMetaMethod::Scriptable) {
        result += ", on the bus";
    }
    if (method.attributes() & QMetaMethod::Cloned) {
        result += ", the rest by default";
    }
    return Entry { meta.className(),    kindOf(method), index - meta.methodOffset(),
                   signatureOf(method), result,         method.parameterNames().join(", ") };
}

Entry propertyEntry(const QMetaObject &meta, int index)
{
    const QMetaProperty property = meta.property(index);
    QByteArray result = withoutAliases(property.typeName());
    result.replace(QByteArray(meta.className()) + "::", ""); // Qt 6 adds it to its enums
    result += property.isWritable() ? ", written" : ", read only";
    result += property.isConstant() ? ", constant" : "";
    if (property.hasNotifySignal()) {
        result += ", tells by " + signatureOf(property.notifySignal());
    }
    return Entry { meta.className(), "property", index - meta.propertyOffset(),
                   property.name(),  result,     QByteArray() };
}

Entry namesEntry(const QMetaEnum &names, const QMetaObject &meta)
{
    QByteArray keys;
    for (int i = 0; i < names.keyCount(); ++i) {
        keys += (i ? ", " : "") + QByteArray(names.key(i));
    }
    return Entry { meta.className(), "names", -1, names.name(), keys, QByteArray() };
}

} // namespace

Entries metaObjects()
{
    Entries entries;
    for (const QMetaObject *meta : classes) {
        for (int i = meta->classInfoOffset(); i < meta->classInfoCount(); ++i) {
            entries.append(Entry { meta->className(), "info", -1, meta->classInfo(i).name(),
                                   meta->classInfo(i).value(), QByteArray() });
        }
        for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
            if (meta->method(i).access() != QMetaMethod::Private) {
                entries.append(methodEntry(*meta, i));
            }
        }
        for (int i = meta->propertyOffset(); i < meta->propertyCount(); ++i) {
            entries.append(propertyEntry(*meta, i));
        }
        for (int i = meta->enumeratorOffset(); i < meta->enumeratorCount(); ++i) {
            entries.append(namesEntry(meta->enumerator(i), *meta));
        }
    }
    return entries;
}
