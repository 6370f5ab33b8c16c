// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_REQUESTS_H
#define HNIPC_TESTS_REQUESTS_H

#include "support/signalrecorder.h"
#include "support/waituntil.h"

#include <hnipc/hnipcrequest.h>

#include <QtCore/QByteArray>
#include <QtCore/QMetaEnum>
#include <QtTest/QTest>

// The name of a value of an enumeration of HNIPCRequest.
inline QByteArray keyOf(const char *enumeration, int value)
{
    const QMetaObject &meta = HNIPCRequest::staticMetaObject;
    return meta.enumerator(meta.indexOfEnumerator(enumeration)).valueToKey(value);
}

// The outcome of a request in one line: "Answered", "Refused DaemonError NAME: TEXT".
inline QByteArray outcomeOf(const HNIPCRequest &request)
{
    QByteArray line = keyOf("Outcome", request.outcome());
    if (request.reason() != HNIPCRequest::NoReason) {
        line += ' ' + keyOf("Reason", request.reason());
    }
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

#define COMPARE_OUTCOME(request, outcome) QCOMPARE(outcomeOf(request), QByteArray(outcome))
#define SEND_AND_COMPARE(request, outcome) QCOMPARE(outcomeOfSending(request), QByteArray(outcome))

// The names of recorded signals.
inline QByteArray namesOf(const QList<QByteArray> &emissions)
{
    QByteArray result;
    for (const QByteArray &emission : emissions) {
        result += (result.isEmpty() ? "" : " ") + emission.left(emission.indexOf('('));
    }
    return result;
}

// A request that records the names of its signals.
class RecordedRequest : public HNIPCRequest
{
public:
    explicit RecordedRequest(const char *method = "", int deadline = -1) : m_recorder(this)
    {
        setMethod(QLatin1String(method));
        setDeadline(deadline);
        m_recorder.take();
    }

    QByteArray takeSignals() { return namesOf(m_recorder.take()); }

private:
    SignalRecorder m_recorder;
};

// The signals of a request in flight.
const char sentSignals[] = "stateChanged";
const char finishedSignals[] = "stateChanged finished";
const char allSignals[] = "stateChanged stateChanged finished";

#define COMPARE_SIGNALS(request, names) QCOMPARE((request).takeSignals(), QByteArray(names))

#endif
