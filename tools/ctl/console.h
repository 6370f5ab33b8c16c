// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_CTL_CONSOLE_H
#define HNIPC_TOOLS_CTL_CONSOLE_H

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QString>

#include <cstddef>

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
void print(const QJsonObject &object); ///< indented
void print(const QJsonArray &array);   ///< indented
void printLine(const QJsonObject &object); ///< all of it in one line
void write(const QByteArray &bytes);   ///< as they are
void flush();

/// One line on standard error, after the program's name.
void note(const QString &text);
/// The same, and answers @p exitCode. With JSON, that is an object on standard output, too.
int fail(int exitCode, const QString &text);
/// From here on.
void failInJson();
/// What fail() has to print on standard output: nothing, or a line of JSON.
QByteArray failureLine(int exitCode, const QString &text);

/// The text with what a terminal would take for a command made visible.
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

void hideCursor(); ///< until the program ends

} // namespace Console

#endif
