// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_CTL_FLEET_H
#define HNIPC_TOOLS_CTL_FLEET_H

#include <QtCore/QByteArray>
#include <QtCore/QJsonValue>
#include <QtCore/QStringList>

#include <functional>
#include <vector>

/// The reply of one printer.
struct FleetAnswer
{
    QString host;
    QJsonValue result = QJsonValue::Undefined; ///< undefined if there is none
    qint64 time;                               ///< when this was known; in ms since 1970, UTC
};

struct FleetQuestion
{
    QStringList words; ///< the command with its options and arguments
    QStringList hosts; ///< an empty name is the local bus
    int timeout;       ///< to reach a printer, and for its reply; in ms
    bool json;
    bool inLines = false; ///< the command prints lines until it ends, not one value
    int mostLines = -1;   ///< the limit for all printers together; negative for none
    QByteArray input;     ///< the standard input for each printer
    /// If it is set, no rows are printed. It is called at the end with the replies of all printers, and
    /// returns the exit code. The timeout is then for both together: to reach a printer, and its reply.
    std::function<int(const std::vector<FleetAnswer> &)> gather;
};

/// Runs a command for several printers in parallel, each in its own process of this program. Prints
/// a row for each printer, or for each line of its output. With JSON, a row is an object, printed as
/// soon as it is known. Returns the highest of the exit codes.
int askFleet(const FleetQuestion &question);

#endif
