// SPDX-License-Identifier: MIT
#ifndef HNIPC_SIMULATOR_VALUES_H
#define HNIPC_SIMULATOR_VALUES_H

#include <QtCore/QString>
#include <QtCore/QVariant>

/// A variant of the type @p type with the value at @p data, or the empty value of that type.
QVariant valueOfType(int type, const void *data = nullptr);

/// Gives @p value the type @p type where it says the same in that type: a whole number of any type
/// fits a whole number that is wide enough for it. False, with the value as it was, where not.
bool fitToType(QVariant *value, int type);

/// What a value of the type @p type is called: "a whole number".
QString nameOfType(int type);

#endif
