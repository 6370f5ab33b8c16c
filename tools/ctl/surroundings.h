// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_CTL_SURROUNDINGS_H
#define HNIPC_TOOLS_CTL_SURROUNDINGS_H

#include <QtCore/QString>

/// The value of DBUS_SYSTEM_BUS_ADDRESS in the environment of a program that started this one,
/// directly or not, if this program runs as root without the variable: sudo removes it. In a sandbox
/// on a printer, "sudo hnipcctl call" would reach the printer's own daemons. Empty if no such program
/// has the variable, or if its environment cannot be read.
QString lostBusAddress();

#endif
