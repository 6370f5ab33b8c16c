// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_COMMON_PRINTABLE_H
#define HNIPC_TOOLS_COMMON_PRINTABLE_H

#include <QtCore/QString>

namespace Toolkit {

/// The text, with control characters, invisible characters and separators of lines and paragraphs as
/// escapes such as \u001b, so that a text of another program or of a file cannot control the terminal
/// or look like output of this program. Only @p except stays.
QString printable(const QString &text, char32_t except = 0x110000);

} // namespace Toolkit

#endif
