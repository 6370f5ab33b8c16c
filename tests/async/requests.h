// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_REQUESTS_H
#define HNIPC_TESTS_REQUESTS_H

#include "support/waituntil.h"

#include <hnipc/hnipcrequest.h>

#include <QtCore/QByteArray>
#include <QtCore/QMetaEnum>

// The outcome of a request in one line: "Answered", "Refused NAME: TEXT".
inline QByteArray outcomeOf(const HNIPCRequest &request)
{
    const QMetaObject &meta = HNIPCRequest::staticMetaObject;
    QByteArray line = meta.enumerator(meta.indexOfEnumerator("Outcome"))
                          .valueToKey(request.outcome());
    if (!request.errorName().isEmpty() || !request.errorText().isEmpty()) {
        line += ' ' + request.errorName().toUtf8() + ": " + request.errorText().toUtf8();
    }
    if (request.outcome() != HNIPCRequest::Answered && request.value().isValid()) {
        line += ", with a value";
    }
    return line;
}

inline bool waitUntilFinished(const HNIPCRequest &request)
{
    return waitUntil([&request]() { return !request.isPending(); });
}

inline QByteArray outcomeOfSending(HNIPCRequest &request)
{
    if (!request.send()) {
        return "not accepted";
    }
    if (!request.isPending()) {
        return "finished within send()";
    }
    if (outcomeOf(request) != "NoOutcome") {
        return "in flight, but " + outcomeOf(request);
    }
    return waitUntilFinished(request) ? outcomeOf(request) : QByteArray("never finished");
}

#endif
