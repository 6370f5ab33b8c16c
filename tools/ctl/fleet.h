// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_CTL_FLEET_H
#define HNIPC_TOOLS_CTL_FLEET_H

#include <QtCore/QStringList>

struct FleetQuestion
{
    QStringList words; ///< the command with its options and arguments
    QStringList hosts;
    int timeout; ///< to reach a printer, and of an answer; in ms
    bool json;
};

/// Asks printers side by side, each by a process of this program, and prints a row a printer.
/// Answers the highest of their exit codes.
int askFleet(const FleetQuestion &question);

#endif
