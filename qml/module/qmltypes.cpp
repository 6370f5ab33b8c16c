// SPDX-License-Identifier: MIT
// Writes the type information of the module, for editors and qmllint.

#include "hnipceventsinqml.h"
#include "hnipcinqml.h"
#include "requestinqml.h"
#include "valueinqml.h"

#include <hnipc/hnipcavailability.h>
#include <hnipc/hnipcreading.h>
#include <hnipc/hnipcrequest.h>

#include <QtCore/QFile>
#include <QtCore/QHash>
#include <QtCore/QMetaEnum>
#include <QtCore/QMetaMethod>
#include <QtCore/QMetaProperty>

// QML's tools know fewer types: a 64-bit number is a double in JavaScript, and the contents of records
// and tables are unknown to it.
static QByteArray typeName(const QMetaObject &meta, const QByteArray &name)
{
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    const QByteArray anything = "variant"; // for QVariant, qmllint would look up members
#else
    const QByteArray anything = "QVariant";
#endif
    static const QHash<QByteArray, QByteArray> names = {
        { "qint32", "int" },
        { "quint32", "uint" },
        { "quint64", "double" },
        { "qulonglong", "double" },
        { "QVariant", anything },
        { "QVariantHash", anything },
        { "SupplyInformation", anything },
    };
    if (meta.indexOfEnumerator(name) >= 0) {
        return QByteArray(meta.className()) + "::" + name;
    }
    return names.value(name, name);
}

static QByteArray typed(const QMetaObject &meta, const QByteArray &name)
{
    return name.endsWith('*') ? "type: \"" + typeName(meta, name.chopped(1)) + "\"; isPointer: true"
                              : "type: \"" + typeName(meta, name) + '"';
}

static QByteArray members(const QMetaObject &meta)
{
    QByteArray result;
    for (int i = meta.enumeratorOffset(); i < meta.enumeratorCount(); ++i) {
        const QMetaEnum metaEnum = meta.enumerator(i);
        QList<QByteArray> values;
        for (int key = 0; key < metaEnum.keyCount(); ++key) {
            values.append('"' + QByteArray(metaEnum.key(key))
                          + "\": " + QByteArray::number(metaEnum.value(key)));
        }
        result += "        Enum { name: \"" + QByteArray(metaEnum.name()) + "\"; values: { "
            + values.join(", ") + " } }\n";
    }
    for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
        const QMetaProperty property = meta.property(i);
        if (!property.isScriptable()) {
            continue;
        }
        result += "        Property { name: \"" + QByteArray(property.name()) + "\"; "
            + typed(meta, property.typeName()) + (property.isWritable() ? "" : "; isReadonly: true")
            + " }\n";
    }
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QMetaMethod method = meta.method(i);
        if (method.access() == QMetaMethod::Private) {
            continue;
        }
        const bool isSignal = method.methodType() == QMetaMethod::Signal;
        result += QByteArray(isSignal ? "        Signal" : "        Method") + " {\n"
            + "            name: \"" + method.name() + "\"\n";
        // No handler has a result.
        const QByteArray returned = method.typeName();
        if (!isSignal && returned != "void") {
            result += "            " + typed(meta, returned) + '\n';
        }
        const QList<QByteArray> types = method.parameterTypes();
        const QList<QByteArray> names = method.parameterNames();
        for (int parameter = 0; parameter < types.size(); ++parameter) {
            result += "            Parameter { name: \"" + names.at(parameter) + "\"; "
                + typed(meta, types.at(parameter)) + " }\n";
        }
        result += "        }\n";
    }
    return result;
}

static QByteArray unexported(const QByteArray &name, const QMetaObject &meta,
                             const QByteArray &prototype = "QObject")
{
    return "    Component {\n        name: \"" + name + "\"\n" + "        prototype: \"" + prototype
        + "\"\n" + members(meta) + "    }\n";
}

static QByteArray component(const QMetaObject &meta, const QByteArray &prototype,
                            const QByteArray &attached = QByteArray())
{
    const QByteArray name = meta.className();
    QByteArray result = "    Component {\n        name: \"" + name + "\"\n";
    result += "        prototype: \"" + prototype + "\"\n";
    result += "        exports: [\"HNIPC/" + name + " 1.0\"]\n";
    result += "        exportMetaObjectRevisions: ["
        + QByteArray(QT_VERSION >= QT_VERSION_CHECK(6, 0, 0) ? "256" : "0") + "]\n";
    if (!attached.isEmpty()) {
        result += "        attachedType: \"" + attached + "\"\n";
    }
    return result + members(meta) + "    }\n";
}

int main(int argc, char **argv)
{
    if (argc != 2) {
        return 2;
    }
    // Not every tool understands extended classes, but each understands base classes, so an extension
    // is written as a base class. So is an attached type, which Qt 5's tools ignore.
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    const QByteArray ofClients = "HandlersInQml";
    const QByteArray ofCalls = "ValueInQml";
    const QByteArray ofRequests = "CallInQml";
#else
    const QByteArray ofClients = "QObject";
    const QByteArray ofCalls = "QObject";
    const QByteArray ofRequests = "ValueInQml";
#endif
    const QByteArray text = "import QtQuick.tooling 1.2\n\nModule {\n    dependencies: []\n"
        + unexported("HandlersInQml", HandlersInQml::staticMetaObject)
        + unexported("HNIPCInQml", HNIPCInQml::staticMetaObject, ofClients)
        + component(HNIPC::staticMetaObject, "HNIPCInQml", "HandlersInQml")
        + unexported("HNIPCEventsInQml", HNIPCEventsInQml::staticMetaObject, ofClients)
        + component(HNIPCEvents::staticMetaObject, "HNIPCEventsInQml", "HandlersInQml")
        + unexported("ValueInQml", ValueInQml::staticMetaObject)
        + unexported("CallInQml", CallInQml::staticMetaObject, ofCalls)
        + component(HNIPCRequest::staticMetaObject, ofRequests, "CallInQml")
        + component(HNIPCReading::staticMetaObject, "ValueInQml")
        + component(HNIPCAvailability::staticMetaObject, "QObject") + "}\n";
    QFile file(QFile::decodeName(argv[1]));
    return file.open(QFile::WriteOnly) && file.write(text) == text.size() && file.flush() ? 0 : 1;
}
