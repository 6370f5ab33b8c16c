// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_CTL_FLEET_H
#define HNIPC_TOOLS_CTL_FLEET_H

#include <QtCore/QByteArray>
#include <QtCore/QStringList>

struct FleetQuestion
{
    QStringList words; ///< the command with its options and arguments
    QStringList hosts;
    int timeout; ///< to reach a printer, and for its reply; in ms
    bool json;
    bool inLines = false; ///< the command prints lines until it ends, not one value
    int mostLines = -1;   ///< of all printers together, then all end; negative for no limit
    QByteArray input;     ///< the standard input for each printer
};

/// Runs a command for several printers in parallel, each in its own process of this program. Prints
/// a row for each printer, or for each line of its output. With JSON, a row is an object, printed as
/// soon as it is known. Returns the highest of the exit codes.
int askFleet(const FleetQuestion &question);

#endif
