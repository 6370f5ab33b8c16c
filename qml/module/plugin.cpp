// SPDX-License-Identifier: MIT
#include "hnipcinqml.h"
#include "hnipcrequestinqml.h"

#include <hnipc/hnipcavailability.h>
#include <hnipc/hnipcrequest.h>

#include <QtQml/QQmlExtensionPlugin>
#include <QtQml/QQmlParserStatus>
#include <QtQml/qqml.h>

namespace {

// A client that QML creates. To QML it is of the client class itself, since it has no meta-object
// of its own, so a client that C++ made can stand wherever a type HNIPC is asked for.
class Printer : public HNIPC, public QQmlParserStatus
{
public:
    // QML makes the extension, which relays to the handlers, when it is first read from.
    void classBegin() override { property("isRelayed"); }
    void componentComplete() override {}
};

} // namespace

class HNIPCQmlPlugin : public QQmlExtensionPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QQmlExtensionInterface_iid)

public:
    void registerTypes(const char *uri) override
    {
        qmlRegisterExtendedType<Printer, HNIPCInQml>(uri, 1, 0, "HNIPC");
        qmlRegisterExtendedType<HNIPCRequest, HNIPCRequestInQml>(uri, 1, 0, "HNIPCRequest");
        qmlRegisterType<HNIPCAvailability>(uri, 1, 0, "HNIPCAvailability");
    }
};

#include "plugin.moc"
