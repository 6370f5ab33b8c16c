// SPDX-License-Identifier: MIT
#include "answers.h"
#include "demangled.h"

#include <hnipc/hnipc_version.h>
#include <hnipc/hnipcavailability.h>
#include <hnipc/hnipcevents.h>
#include <hnipc/hnipcfailure.h>
#include <hnipc/hnipcreading.h>
#include <hnipc/hnipcrequest.h>
#include <hnipc/hnipcserver.h>
#include <hnipc/supplyinformation.h>

#include <typeinfo>

namespace {

template <typename Function>
Entry answer(const char *section, const char *name, Function function)
{
    QByteArray type = demangled(typeid(function).name());
    type.replace("QList<QString>", "QStringList"); // as in Qt 6
    return Entry { section, "answer", -1, name, type, QByteArray() };
}

QDBusArgument &(*const writes)(QDBusArgument &, const SupplyInformation &) = &operator<<;
const QDBusArgument &(*const reads)(const QDBusArgument &, SupplyInformation &) = &operator>>;

} // namespace

Entries answers()
{
    return Entries {
        answer("HNIPCAvailability", "hasIoexpd", &HNIPCAvailability::hasIoexpd),
        answer("HNIPCAvailability", "hasM4", &HNIPCAvailability::hasM4),
        answer("HNIPCAvailability", "hasSupplyd", &HNIPCAvailability::hasSupplyd),
        answer("HNIPCAvailability", "isKnown", &HNIPCAvailability::isKnown),
        answer("HNIPCEvents", "isListening", &HNIPCEvents::isListening),
        answer("HNIPCFailure", "ofReply", &HNIPCFailure::ofReply),
        answer("HNIPCReading", "arguments", &HNIPCReading::arguments),
        answer("HNIPCReading", "deadline", &HNIPCReading::deadline),
        answer("HNIPCReading", "errorName", &HNIPCReading::errorName),
        answer("HNIPCReading", "errorText", &HNIPCReading::errorText),
        answer("HNIPCReading", "isCurrent", &HNIPCReading::isCurrent),
        answer("HNIPCReading", "isKnown", &HNIPCReading::isKnown),
        answer("HNIPCReading", "method", &HNIPCReading::method),
        answer("HNIPCReading", "reason", &HNIPCReading::reason),
        answer("HNIPCReading", "setArguments", &HNIPCReading::setArguments),
        answer("HNIPCReading", "setDeadline", &HNIPCReading::setDeadline),
        answer("HNIPCReading", "setMethod", &HNIPCReading::setMethod),
        answer("HNIPCReading", "setSignalNames", &HNIPCReading::setSignalNames),
        answer("HNIPCReading", "setValueArgument", &HNIPCReading::setValueArgument),
        answer("HNIPCReading", "signalNames", &HNIPCReading::signalNames),
        answer("HNIPCReading", "value", &HNIPCReading::value),
        answer("HNIPCReading", "valueArgument", &HNIPCReading::valueArgument),
        answer("HNIPCRequest", "arguments", &HNIPCRequest::arguments),
        answer("HNIPCRequest", "deadline", &HNIPCRequest::deadline),
        answer("HNIPCRequest", "elapsed", &HNIPCRequest::elapsed),
        answer("HNIPCRequest", "errorName", &HNIPCRequest::errorName),
        answer("HNIPCRequest", "errorText", &HNIPCRequest::errorText),
        answer("HNIPCRequest", "isDone", &HNIPCRequest::isDone),
        answer("HNIPCRequest", "isPending", &HNIPCRequest::isPending),
        answer("HNIPCRequest", "method", &HNIPCRequest::method),
        answer("HNIPCRequest", "outcome", &HNIPCRequest::outcome),
        answer("HNIPCRequest", "reason", &HNIPCRequest::reason),
        answer("HNIPCRequest", "setArguments", &HNIPCRequest::setArguments),
        answer("HNIPCRequest", "setDeadline", &HNIPCRequest::setDeadline),
        answer("HNIPCRequest", "setMethod", &HNIPCRequest::setMethod),
        answer("HNIPCRequest", "value", &HNIPCRequest::value),
        answer("HNIPCServer", "getServerType", &HNIPCServer::getServerType),
        answer("HNIPCServer", "pulseSignal", &HNIPCServer::pulseSignal),
        answer("HNIPCServer", "registerDbusObject", &HNIPCServer::registerDbusObject),
        answer("HNIPCServer", "registerDbusService", &HNIPCServer::registerDbusService),
        answer("hnipc_version.h", "hnipcVersion", &hnipcVersion),
        answer("SupplyInformation", "operator>>", reads),
        answer("SupplyInformation", "operator<<", writes),
    };
}
