// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_CTL_FLEET_H
#define HNIPC_TOOLS_CTL_FLEET_H

#include <QtCore/QByteArray>
#include <QtCore/QStringList>

struct FleetQuestion
{
    QStringList words; ///< the command with its options and arguments
    QStringList hosts;
    int timeout; ///< to reach a printer, and of a reply; in ms
    bool json;
    bool inLines = false; ///< each prints lines as they come, and not one value
    int mostLines = -1;   ///< of all together, after which all end; negative for no limit
    QByteArray input;     ///< the standard input of each
};

/// Asks printers side by side, each by a process of this program, and prints a row for each
/// printer, or for each of its lines. With JSON, a row is an object, and comes as soon as it is
/// known. Returns the highest of their exit codes.
int askFleet(const FleetQuestion &question);

#endif
