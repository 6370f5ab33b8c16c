// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_COMMON_QTMESSAGES_H
#define HNIPC_TOOLS_COMMON_QTMESSAGES_H

namespace Toolkit {

/// Hides one warning of Qt, such as "QDBusConnection: name 'org.hnipc.m4' had owner '' but we thought
/// it was ':1.1'". Qt subscribes to a name, then asks for its owner, and prints this if the daemon
/// takes or releases the name in between. Nothing is lost then. Other messages are printed as before.
void hideOwnerWarning();

} // namespace Toolkit

#endif
