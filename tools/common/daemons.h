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
QString simulatorInterface();                   ///< of the world around a simulated daemon

/// A call of the daemon's interface, and one of the world around a simulated daemon. Neither starts
/// a daemon.
QDBusMessage daemonCall(const QString &daemon, const QString &method);
QDBusMessage simulatorCall(const QString &busName, const QString &member);

/// @name What the members of org.hnipc.Simulator take
/// @{
QStringList buttons();
QStringList faultKinds();
QStringList recordShapes();
/// @}

} // namespace Toolkit

#endif
