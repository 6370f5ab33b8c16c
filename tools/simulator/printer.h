// SPDX-License-Identifier: MIT
#ifndef HNIPC_SIMULATOR_PRINTER_H
#define HNIPC_SIMULATOR_PRINTER_H

#include <QtCore/QString>

/// Constants that the simulated daemons share, and do not send over the bus.
namespace Printer {

inline QString name() { return QStringLiteral("labelprinter"); }

/// Whether this is the simulated printer's name. An empty name means this printer, too.
inline bool isCalled(const QString &printerName)
{
    return printerName.isEmpty() || printerName == name();
}

/// The user setting that holds the length of a label, in mm.
const int labelLengthSetting = 3;

/// The values of the print engine's sensors with a roll and without one.
const uint supplyThere = 2610;
const uint supplyGone = 0;
const uint ribbonThere = 420;
const uint ribbonGone = 4000;

} // namespace Printer

#endif
