// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_CTL_WIREVALUES_H
#define HNIPC_TOOLS_CTL_WIREVALUES_H

#include <QtCore/QVariantList>

struct DBusMessage;

/// The arguments of a message of libdbus, converted to the plain types of values.h. A file descriptor
/// becomes a string, because its number has no meaning in another process.
QVariantList wireValues(DBusMessage *message);

#endif
