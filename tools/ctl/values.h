// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_CTL_VALUES_H
#define HNIPC_TOOLS_CTL_VALUES_H

#include <QtCore/QByteArray>
#include <QtCore/QJsonValue>
#include <QtCore/QList>
#include <QtCore/QMetaType>
#include <QtCore/QPair>
#include <QtCore/QString>
#include <QtCore/QVariant>

#include <optional>

/// A type of arguments.
struct ArgumentType
{
    const char *name;  ///< as the meta-object has it
    const char *shown; ///< as the client's header has it
    const char *wire;
    const char *words; ///< for messages: "true or false", "a number from 0 to 4294967295"
};

/// Null for a type that no argument has.
const ArgumentType *argumentType(const QByteArray &name);

/// The name in the client's header of a type of the meta-object.
QString shownType(const QByteArray &name);

/// The types of a signal's arguments, which are basic types and lists of them.
QStringList typesIn(const QString &signature);
/// The name of a D-Bus type in the client's header.
QString wireTypeShown(const QString &type);

/// These bytes as a string; nothing if they are not UTF-8, because the string would then differ.
std::optional<QString> exactText(const QByteArray &utf8);

/// The typed text as a value of this type; invalid if it is not of this type.
QVariant parsed(const QString &text, const ArgumentType &type);

/// The message for an argument that is not of its type. @p index counts from 0; @p type is null for
/// a real number.
QString wrongArgument(int index, const QString &name, const QString &text,
                      const ArgumentType *type);

/// The supply record: its fields named and in order.
using Record = QList<QPair<QString, QVariant>>;
Q_DECLARE_METATYPE(Record)

/// Converts a value from the bus or from the library to plain types: strings, numbers, byte arrays,
/// QStringList, QVariantList, QVariantMap and Record.
QVariant plain(const QVariant &value);

/// JSON in one line. QJsonDocument cannot write a value that is neither an object nor an array.
QString compact(const QJsonValue &value);
/// A value in one line, written as in JSON.
QString textOf(const QVariant &value);
/// textOf(), cut at a width, with a patch in front of it for each colour that the value names.
QString colouredText(const QVariant &value, int width = 10000);
/// A value in several lines: one for each element of a list, table or record. Byte arrays are in
/// hexadecimal, strings unchanged.
QStringList linesOf(const QVariant &value);
/// 64-bit numbers are strings, because many JSON readers do not keep all their digits, and so are the
/// real numbers that JSON cannot represent: "inf", "-inf", "nan" and "-0". Byte arrays are in base64.
QJsonValue jsonOf(const QVariant &value);

#endif
