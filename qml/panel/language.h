// SPDX-License-Identifier: MIT
#ifndef HNIPC_PANEL_LANGUAGE_H
#define HNIPC_PANEL_LANGUAGE_H

#include <QtCore/QLocale>
#include <QtCore/QStringList>

/// The codes of the languages of the front panel.
QStringList languages();

/// Sets the language, the format of numbers and the direction of text from @p locale. If the front
/// panel does not have the language, it is English with the locale's numbers. Has to be called before
/// the screen is created.
void speak(const QLocale &locale);

#endif
