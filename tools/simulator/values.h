// SPDX-License-Identifier: MIT
#ifndef HNIPC_SIMULATOR_VALUES_H
#define HNIPC_SIMULATOR_VALUES_H

#include <QtCore/QString>
#include <QtCore/QVariant>

/// A variant of the type @p type with the value at @p data, or the empty value of that type.
QVariant valueOfType(int type, const void *data = nullptr);

/// Converts @p value to the type @p type if nothing is lost: an integer of any type becomes any
/// integer type that can hold its value. Otherwise returns false, and @p value is unchanged.
bool fitToType(QVariant *value, int type);

/// The type @p type in words for messages: "a whole number".
QString nameOfType(int type);

#endif
