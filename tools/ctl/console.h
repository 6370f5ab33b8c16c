// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_CTL_CONSOLE_H
#define HNIPC_TOOLS_CTL_CONSOLE_H

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QString>

#include <cstddef>
#include <functional>

/// The two streams of the program, in UTF-8 whatever the locale. Whoever closes the pipe at standard
/// output has seen enough: the program ends, quietly, at the next thing that it prints.
namespace Console {

/// First of all: from here on Ctrl-C ends the program with its exit code, and with the terminal as it
/// was, and no file takes the place of a standard stream that is closed.
void start();
/// Ends the program, with the terminal as it was, when all that was printed has been written.
[[noreturn]] void end(int exitCode);

bool isTerminal();
int columns(); ///< of the terminal; 80 without one

/// One line on standard output.
void print(const QString &line);
/// In JSON, what a terminal would take for a command, or would not show, is always escaped.
void print(const QJsonObject &object);     ///< indented
void print(const QJsonArray &array);       ///< indented
void printLine(const QJsonObject &object); ///< all of it in one line
void write(const QByteArray &bytes);       ///< as they are
void flush();

/// One line on standard error, after the program's name.
void note(const QString &text);
/// The same, and returns @p exitCode. With JSON, that is an object on standard output, too.
int fail(int exitCode, const QString &text);
/// Whether fail() prints JSON from here on.
void failInJson(bool json = true);
/// What fail() has to print on standard output: nothing, or a line of JSON.
QByteArray failureLine(int exitCode, const QString &text);

/// The text with escapes, as in JSON, in place of all characters that a terminal does not show:
/// controls, formats such as those that turn the direction of writing, and separators of lines and
/// paragraphs.
QString printable(const QString &text);

/// "1 signal", "2 signals".
QString signalCount(std::size_t count);

/// Styles, which leave the text alone where standard output takes none.
QString bold(const QString &text);
QString dim(const QString &text);
QString warning(const QString &text);

/// A patch of the colour that a text like "#00aeef" names, in front of it; empty where the terminal
/// has not so many colours, or where it is no such text.
QString swatch(const QString &colour);

/// Until the program ends, and not while it is stopped. @p onContinued is called from the event
/// loop when it goes on after that: the terminal may show something else by then.
void hideCursor(std::function<void()> onContinued);

/// Instead of ending the program, Ctrl-C, SIGTERM and SIGHUP call this from the event loop, with
/// the exit code. The second one ends it as ever.
void onInterrupt(std::function<void(int exitCode)> handler);

} // namespace Console

#endif
