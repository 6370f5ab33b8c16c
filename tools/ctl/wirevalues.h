// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_CTL_WIREVALUES_H
#define HNIPC_TOOLS_CTL_WIREVALUES_H

#include <QtCore/QVariantList>

struct DBusMessage;

/// The arguments of a message of the bus library, whatever their types, made of the plain types of
/// values.h. A file descriptor is text, since it means nothing to another process.
QVariantList wireValues(DBusMessage *message);

#endif
