// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_COMMON_DATAFILES_H
#define HNIPC_TOOLS_COMMON_DATAFILES_H

#include <QtCore/QString>
#include <QtCore/QStringList>

namespace Toolkit {

/// Where the data file @p name stands, such as "supplies.json" or "scenarios/bad-day.json": in the
/// directory that the environment names in HNIPC_DATA_DIR, else in share/hnipc beside the program,
/// else where it was installed. A null string where it is in none of them.
QString dataFile(const QString &name);

/// The names of all the files in the data directory @p name, such as "scenarios".
QStringList dataFiles(const QString &name);

/// What dataFile() is, for the description of a D-Bus interface, such as "local.IHNIPCM4"; its
/// directory is share/dbus-1/interfaces, or "interfaces" in HNIPC_DATA_DIR.
QString interfaceFile(const QString &interfaceName);

/// The path of another program of ours, such as "hnipc-simulator", beside this one. A null string
/// where it is not there.
QString siblingProgram(const QString &name);

} // namespace Toolkit

#endif
