// SPDX-License-Identifier: MIT
#include "hnipceventsinqml.h"
#include "hnipcinqml.h"
#include "requestinqml.h"
#include "valueinqml.h"

#include <hnipc/hnipcavailability.h>
#include <hnipc/hnipcreading.h>
#include <hnipc/hnipcrequest.h>

#include <QtQml/QQmlExtensionPlugin>
#include <QtQml/QQmlParserStatus>
#include <QtQml/qqml.h>

// A client or an HNIPCEvents that QML creates. It has no meta-object of its own, so QML takes it for
// the class itself, and an object that C++ has created can be used wherever QML expects the type.
template <typename Class>
class WithHandlers : public Class, public QQmlParserStatus
{
public:
    // QML creates the extension, which relays signals to the handlers, when it first reads from it.
    void classBegin() override { this->property("isRelayed"); }
    void componentComplete() override {}

    static HandlersInQml *qmlAttachedProperties(QObject *caller)
    {
        return new HandlersInQml(caller);
    }
};

QML_DECLARE_TYPEINFO(WithHandlers<HNIPC>, QML_HAS_ATTACHED_PROPERTIES)
QML_DECLARE_TYPEINFO(WithHandlers<HNIPCEvents>, QML_HAS_ATTACHED_PROPERTIES)

class HNIPCQmlPlugin : public QQmlExtensionPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QQmlExtensionInterface_iid)

public:
    void registerTypes(const char *uri) override
    {
        qmlRegisterExtendedType<WithHandlers<HNIPC>, HNIPCInQml>(uri, 1, 0, "HNIPC");
        qmlRegisterExtendedType<WithHandlers<HNIPCEvents>, HNIPCEventsInQml>(uri, 1, 0,
                                                                             "HNIPCEvents");
        qmlRegisterExtendedType<RequestInQml, ValueInQml>(uri, 1, 0, "HNIPCRequest");
        qmlRegisterExtendedType<HNIPCReading, ValueInQml>(uri, 1, 0, "HNIPCReading");
        qmlRegisterType<HNIPCAvailability>(uri, 1, 0, "HNIPCAvailability");
    }
};

#include "plugin.moc"
