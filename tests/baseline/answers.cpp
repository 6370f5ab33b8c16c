// SPDX-License-Identifier: MIT
#include "answers.h"
#include "demangled.h"

#include <hnipc/hnipc_version.h>
#include <hnipc/hnipcavailability.h>
#include <hnipc/hnipcrequest.h>
#include <hnipc/hnipcserver.h>
#include <hnipc/supplyinformation.h>

#include <typeinfo>

namespace {

template <typename Function>
Entry answer(const char *section, const char *name, Function function)
{
    return Entry { section, "answer", -1, name, demangled(typeid(function).name()), QByteArray() };
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
        answer("HNIPCRequest", "arguments", &HNIPCRequest::arguments),
        answer("HNIPCRequest", "deadline", &HNIPCRequest::deadline),
        answer("HNIPCRequest", "elapsed", &HNIPCRequest::elapsed),
        answer("HNIPCRequest", "errorName", &HNIPCRequest::errorName),
        answer("HNIPCRequest", "errorText", &HNIPCRequest::errorText),
        answer("HNIPCRequest", "isPending", &HNIPCRequest::isPending),
        answer("HNIPCRequest", "method", &HNIPCRequest::method),
        answer("HNIPCRequest", "outcome", &HNIPCRequest::outcome),
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
