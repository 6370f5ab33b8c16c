// SPDX-License-Identifier: MIT
#ifndef HNIPC_PANEL_LANGUAGE_H
#define HNIPC_PANEL_LANGUAGE_H

#include <QtCore/QLocale>
#include <QtCore/QStringList>

/// The languages that the panel speaks, by their codes.
QStringList languages();

/// Speaks the language of @p locale, with its numbers and its direction; English with the numbers
/// of the locale if the panel does not speak it. Before the screen is made.
void speak(const QLocale &locale);

#endif
