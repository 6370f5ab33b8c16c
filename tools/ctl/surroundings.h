// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_CTL_SURROUNDINGS_H
#define HNIPC_TOOLS_CTL_SURROUNDINGS_H

#include <QtCore/QString>

/// The address of the bus that takes the place of the system bus for a program that started this
/// one, directly or not, where this one has lost it and runs as root: sudo removes the variable. So
/// in a sandbox on a printer, "sudo hnipcctl call" would reach the printer's own daemons. Empty
/// where there is none, or where nothing can be seen.
QString lostBusAddress();

#endif
