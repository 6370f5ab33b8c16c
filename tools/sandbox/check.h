// SPDX-License-Identifier: MIT
#ifndef HNIPC_SANDBOX_CHECK_H
#define HNIPC_SANDBOX_CHECK_H

#include "common/scenario.h"

#include <QtCore/QStringList>

class QDBusConnection;

/// Returns the faults of a scenario's acts, each as "FILE:LINE: ...". Only the simulated daemons
/// know readings, signals, SKUs and the types of values, so it asks them; those on the bus are used
/// for nothing else. No time passes, and no daemon is started or stopped.
///
/// Throws Failure if it cannot be found out. Ends early when the event loop is told to end.
QStringList mistakesIn(const Toolkit::Scenario &scenario, const QDBusConnection &bus,
                       const QStringList &daemons);

#endif
