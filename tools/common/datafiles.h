// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_COMMON_DATAFILES_H
#define HNIPC_TOOLS_COMMON_DATAFILES_H

#include <QtCore/QString>
#include <QtCore/QStringList>

namespace Toolkit {

/// The path of the data file @p name, such as "supplies.json" or "scenarios/bad-day.json". It is
/// searched in the directory of the environment variable HNIPC_DATA_DIR, then in share/hnipc beside
/// the program, then where it was installed. A null string if it is in none of them.
QString dataFile(const QString &name);

/// The names of all the files in the data directory @p name, such as "scenarios".
QStringList dataFiles(const QString &name);

/// The path of the description of a D-Bus interface, such as "local.IHNIPCM4". It is searched in the
/// same places: in "interfaces" of HNIPC_DATA_DIR, then in share/dbus-1/interfaces.
QString interfaceFile(const QString &interfaceName);

/// The path of another HNIPC program, such as "hnipc-simulator", in the directory of this program. A
/// null string if it is not there.
QString siblingProgram(const QString &name);

} // namespace Toolkit

#endif
