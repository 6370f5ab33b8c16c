// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_CTL_TRACE_H
#define HNIPC_TOOLS_CTL_TRACE_H

#include "contract.h"

#include <QtCore/QJsonObject>
#include <QtCore/QVariant>
#include <QtDBus/QDBusMessage>

#include <vector>

/// A signal in a trace. A trace is a file with a JSON object in each line: first a header, then the
/// signals in the order in which they were received.
struct TraceEvent
{
    double at = 0; ///< seconds from the start
    const ClientSignal *signal = nullptr;
    QVariantList arguments; ///< in the types of the signal
    int line = 0;           ///< of the file
};

QJsonObject traceHeader();
QJsonObject traceLine(double at, const ClientSignal &signal, const QDBusMessage &message);

/// Reads all of a file, or of standard input for "-". Returns the exit code; if a line is wrong, the
/// message is of the form "FILE:LINE: expected ..., not ...".
int readTrace(const Contract &contract, const QString &fileName, std::vector<TraceEvent> *events);

#endif
