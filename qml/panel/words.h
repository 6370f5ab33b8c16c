// SPDX-License-Identifier: MIT
#ifndef HNIPC_PANEL_WORDS_H
#define HNIPC_PANEL_WORDS_H

#include <QtCore/QString>
#include <QtCore/QVariant>

/// The printer in the words of the person who stands before it. Codes are those of the simulated
/// print engine; a code that is not known is shown as it is.
namespace Words {

QString error(int code); ///< empty for none
QString alert(int code); ///< empty for none

/// A daemon's text as a screen can take it: one line of no more than 200 characters.
QString brief(const QString &text);

/// What a signal of the client tells a person; empty for one that tells a person nothing.
QString event(const QString &signal, const QVariantList &arguments);

} // namespace Words

#endif
