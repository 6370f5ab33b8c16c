// SPDX-License-Identifier: MIT
#ifndef HNIPC_SIMULATOR_PRINTER_H
#define HNIPC_SIMULATOR_PRINTER_H

#include <QtCore/QString>

/// What the simulated daemons agree on, without a word on the bus.
namespace Printer {

inline QString name() { return QStringLiteral("labelprinter"); }

/// An empty name means this printer, too.
inline bool isCalled(const QString &printerName)
{
    return printerName.isEmpty() || printerName == name();
}

/// The user setting that holds the length of a label, in mm.
const int labelLengthSetting = 3;

/// What the print engine's sensors read with a roll before them, and without.
const uint supplyThere = 2610;
const uint supplyGone = 0;
const uint ribbonThere = 420;
const uint ribbonGone = 4000;

} // namespace Printer

#endif
