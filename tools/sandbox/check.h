// SPDX-License-Identifier: MIT
#ifndef HNIPC_SANDBOX_CHECK_H
#define HNIPC_SANDBOX_CHECK_H

#include "common/scenario.h"

#include <QtCore/QStringList>

class QDBusConnection;

/// Returns the errors in a scenario's acts, each as "FILE:LINE: ...". Only the simulated daemons
/// know the readings, signals, SKUs and types of values, so each act is sent to them. All of them have
/// to be running, and must not be used for anything else. @p daemons are those that run when the
/// scenario begins. No time passes, and no daemon is started or stopped.
///
/// Throws Failure if the check is not possible. Returns early if the event loop is told to quit.
QStringList mistakesIn(const Toolkit::Scenario &scenario, const QDBusConnection &bus,
                       const QStringList &daemons);

#endif
