// SPDX-License-Identifier: MIT
#ifndef FAILURES_P_H
#define FAILURES_P_H

#include <hnipc/hnipcfailure.h>

// The failures that the library finds itself, each with its reason, error name and text.

HNIPCFailure unknownMethod(const QString &method);
HNIPCFailure invalidArguments(const QString &text);
HNIPCFailure daemonAbsent(const QString &busName);
HNIPCFailure noBus();                         // nothing was sent
HNIPCFailure busLost(const QString &busName); // after the call was sent
HNIPCFailure timedOut(bool isSent, const QString &busName, int milliseconds);
HNIPCFailure cancelled(bool isSent);
HNIPCFailure wrongType(const QString &busName, const QString &errorName, const QString &text);

#endif
