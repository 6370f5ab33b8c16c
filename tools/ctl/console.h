// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_CTL_CONSOLE_H
#define HNIPC_TOOLS_CTL_CONSOLE_H

#include "common/printable.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QString>

#include <cstddef>
#include <functional>

/// Standard output and standard error, in UTF-8 in every locale. If the reader of standard output has
/// closed the pipe, the program ends at the next output, without a message.
namespace Console {

/// Call this first. From then on, Ctrl-C restores the terminal and ends the program with 130, and no
/// file can get the number of a closed standard stream.
void start();
/// Writes all output, restores the terminal, and ends the program.
[[noreturn]] void end(int exitCode);

bool isTerminal();
int columns(); ///< of the terminal; 80 without one

/// One line on standard output.
void print(const QString &line);
/// JSON is always printed with escapes for the characters that printable() escapes.
void print(const QJsonObject &object);     ///< indented
void print(const QJsonArray &array);       ///< indented
void printLine(const QJsonObject &object); ///< in one line
void write(const QByteArray &bytes);       ///< unchanged
void flush();

/// One line on standard error, with the program's name in front.
void note(const QString &text);
/// The same, and returns @p exitCode. With --json, also prints an object to standard output.
int fail(int exitCode, const QString &text);
/// Sets whether fail() prints JSON.
void failInJson(bool json = true);
/// The output of fail() on standard output: nothing, or a line of JSON.
QByteArray failureLine(int exitCode, const QString &text);

using Toolkit::printable;

/// "1 signal", "2 signals".
QString signalCount(std::size_t count);

/// Styles. They return the text unchanged if standard output has no colours.
QString bold(const QString &text);
QString dim(const QString &text);
QString warning(const QString &text);

/// A patch of a colour such as "#00aeef". Empty if the terminal does not have 24-bit colours, or if
/// the text is not a colour.
QString swatch(const QString &colour);

/// Hides the cursor until the program ends, except while the program is suspended. @p onContinued is
/// called from the event loop when the program continues: the terminal may show something else then.
void hideCursor(std::function<void()> onContinued);

/// The first Ctrl-C, SIGTERM or SIGHUP calls @p handler from the event loop with the exit code,
/// instead of ending the program. The second one ends the program.
void onInterrupt(std::function<void(int exitCode)> handler);

} // namespace Console

#endif
