// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_COMMON_DAEMONS_H
#define HNIPC_TOOLS_COMMON_DAEMONS_H

#include <QtCore/QStringList>
#include <QtDBus/QDBusMessage>

namespace Toolkit {

/// The daemons of the printer: "ioexpd", "m4" and "supplyd".
QStringList daemonNames();
QString busName(const QString &daemon);         ///< "org.hnipc.m4"
QString daemonInterface(const QString &daemon); ///< "local.IHNIPCM4"
QString simulatorInterface();                   ///< "org.hnipc.Simulator"

/// A call of the daemon's interface, and a call of its simulator interface. Neither starts a daemon.
QDBusMessage daemonCall(const QString &daemon, const QString &method);
QDBusMessage simulatorCall(const QString &busName, const QString &member);

/// @name The valid arguments of org.hnipc.Simulator's methods
/// @{
QStringList buttons();
QStringList faultKinds();
QStringList recordShapes();
/// @}

} // namespace Toolkit

#endif
