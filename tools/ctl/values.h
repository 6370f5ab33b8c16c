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

/// A type that arguments have.
struct ArgumentType
{
    const char *name;  ///< as the meta-object has it
    const char *shown; ///< as the client's header has it
    const char *wire;
    const char *words; ///< "is not " these
    const char *range;
};

/// Null for a type that no argument has.
const ArgumentType *argumentType(const QByteArray &name);

/// The type's name as the client's header has it, whatever the meta-object calls it.
QString shownType(const QByteArray &name);

/// The types of a signal's arguments, one for each: basic ones, and lists of such.
QStringList typesIn(const QString &signature);
/// The name that the client's header has for a type on the bus.
QString wireTypeShown(const QString &type);

/// The text of these bytes; none where they are not UTF-8, and so would be sent as another text.
std::optional<QString> exactText(const QByteArray &utf8);

/// What a person typed for a value of this type; invalid where it is none.
QVariant parsed(const QString &text, const ArgumentType &type);

/// The supply record: its fields named and in order.
using Record = QList<QPair<QString, QVariant>>;
Q_DECLARE_METATYPE(Record)

/// A value as it came from the bus, or from the library, made of plain types: text, numbers, bytes,
/// QStringList, QVariantList, QVariantMap and Record.
QVariant plain(const QVariant &value);

/// In one line; QJsonDocument has no form for one that is neither an object nor an array.
QString compact(const QJsonValue &value);
/// In one line, in the form of JSON.
QString textOf(const QVariant &value);
/// The same up to a width, with a patch of each colour that the value names in front of it.
QString colouredText(const QVariant &value, int width = 10000);
/// At length: a row for each element of a list, table or record, bytes as numbers, text as it is.
QStringList linesOf(const QVariant &value);
/// 64-bit numbers as text, because few readers of JSON keep them whole, and real numbers that JSON
/// has no form for: "inf", "-inf", "nan" and "-0". Bytes are in base64.
QJsonValue jsonOf(const QVariant &value);

#endif
