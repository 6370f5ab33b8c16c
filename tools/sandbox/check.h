// SPDX-License-Identifier: MIT
#ifndef HNIPC_SANDBOX_CHECK_H
#define HNIPC_SANDBOX_CHECK_H

#include "common/scenario.h"

#include <QtCore/QStringList>

class QDBusConnection;

/// What is wrong with the acts of a scenario, each as "FILE:LINE: ...". The simulated daemons on the
/// bus, which are there for nothing else, are asked for what only they know: readings, signals, SKUs
/// and the types of values. No time passes, and no daemon is started or stopped.
///
/// Throws Failure if it cannot be found out. Ends early when the event loop is told to end.
QStringList mistakesIn(const Toolkit::Scenario &scenario, const QDBusConnection &bus,
                       const QStringList &daemons);

#endif
