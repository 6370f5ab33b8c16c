// SPDX-License-Identifier: MIT
#include "values.h"

#include "console.h"

#include <hnipc/supplyinformation.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QStringList>
#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusObjectPath>
#include <QtDBus/QDBusSignature>
#include <QtDBus/QDBusVariant>

#include <cmath>

namespace {

const ArgumentType argumentTypes[] = {
    { "bool", "bool", "b", "true or false" },
    { "int", "int", "i", "a number from -2147483648 to 2147483647" },
    { "uint", "quint32", "u", "a number from 0 to 4294967295" },
    { "qulonglong", "quint64", "t", "a number from 0 to 18446744073709551615" },
    { "QString", "QString", "s", "a string" },
    { "QStringList", "QStringList", "as", "a list of strings" },
};

// Invalid if the text is none of the words.
QVariant parsedBool(const QString &text)
{
    static const QStringList yes { QStringLiteral("true"), QStringLiteral("on"),
                                   QStringLiteral("1") };
    static const QStringList no { QStringLiteral("false"), QStringLiteral("off"),
                                  QStringLiteral("0") };
    const bool isYes = yes.contains(text, Qt::CaseInsensitive);
    return isYes || no.contains(text, Qt::CaseInsensitive) ? isYes : QVariant();
}

template <typename Number>
QVariant parsedNumber(const QString &text, Number (QString::*convert)(bool *, int) const)
{
    bool isNumber = false;
    const int base = text.contains(QLatin1Char('x'), Qt::CaseInsensitive) ? 16 : 10;
    const Number number = (text.*convert)(&isNumber, base);
    return isNumber ? QVariant(number) : QVariant();
}

QVariant parsedList(const QString &text)
{
    if (!text.startsWith(QLatin1Char('['))) {
        return text.isEmpty() ? QStringList() : text.split(QLatin1Char(','));
    }
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8());
    bool areTexts = document.isArray();
    QStringList result;
    const QJsonArray array = document.array();
    for (const QJsonValue &value : array) {
        areTexts = areTexts && value.isString();
        result += value.toString();
    }
    return areTexts ? result : QVariant();
}

Record plain(const SupplyInformation &supply)
{
    return {
        { QStringLiteral("text1"), supply.text1 },
        { QStringLiteral("textList1"), supply.textList1 },
        { QStringLiteral("real1"), double(supply.real1) },
        { QStringLiteral("integer1"), supply.integer1 },
        { QStringLiteral("text2"), supply.text2 },
        { QStringLiteral("real2"), double(supply.real2) },
        { QStringLiteral("integer2"), supply.integer2 },
        { QStringLiteral("text3"), supply.text3 },
        { QStringLiteral("integer3"), supply.integer3 },
        { QStringLiteral("text4"), supply.text4 },
        { QStringLiteral("integer4"), supply.integer4 },
        { QStringLiteral("text5"), supply.text5 },
        { QStringLiteral("real3"), double(supply.real3) },
        { QStringLiteral("integer5"), supply.integer5 },
        { QStringLiteral("bytes1"), supply.bytes1 },
        { QStringLiteral("real4"), double(supply.real4) },
        { QStringLiteral("real5"), double(supply.real5) },
        { QStringLiteral("integer6"), supply.integer6 },
        { QStringLiteral("integer7"), supply.integer7 },
        { QStringLiteral("integer8"), supply.integer8 },
        { QStringLiteral("real6"), double(supply.real6) },
        { QStringLiteral("real7"), double(supply.real7) },
        { QStringLiteral("real8"), double(supply.real8) },
        { QStringLiteral("real9"), double(supply.real9) },
        { QStringLiteral("textList2"), supply.textList2 },
        { QStringLiteral("variantList1"), plain(QVariant(supply.variantList1)) },
        { QStringLiteral("variantList2"), plain(QVariant(supply.variantList2)) },
        { QStringLiteral("variantList3"), plain(QVariant(supply.variantList3)) },
        { QStringLiteral("variantList4"), plain(QVariant(supply.variantList4)) },
        { QStringLiteral("variantList5"), plain(QVariant(supply.variantList5)) },
    };
}

QVariantList elementsOf(const QDBusArgument &argument)
{
    QVariantList result;
    while (!argument.atEnd()) {
        result += QVariant(plain(argument.asVariant()));
    }
    return result;
}

QVariant plain(const QDBusArgument &argument)
{
    switch (argument.currentType()) {
    case QDBusArgument::StructureType: {
        argument.beginStructure();
        const QVariantList result = elementsOf(argument);
        argument.endStructure();
        return result;
    }
    case QDBusArgument::ArrayType: {
        argument.beginArray();
        const QVariantList result = elementsOf(argument);
        argument.endArray();
        return result;
    }
    case QDBusArgument::MapType: {
        QVariantMap result;
        argument.beginMap();
        while (!argument.atEnd()) {
            argument.beginMapEntry();
            const QString key = argument.asVariant().toString();
            result.insert(key, plain(argument.asVariant()));
            argument.endMapEntry();
        }
        argument.endMap();
        return result;
    }
    default:
        return plain(argument.asVariant());
    }
}

template <typename Type>
bool holds(const QVariant &value)
{
    return value.userType() == qMetaTypeId<Type>();
}

QString hex(const QByteArray &bytes) { return QString::fromLatin1(bytes.toHex(' ')); }

QString sizeOf(const QByteArray &bytes)
{
    return bytes.size() == 1 ? QStringLiteral("1 byte")
                             : QStringLiteral("%1 bytes").arg(bytes.size());
}

} // namespace

const ArgumentType *argumentType(const QByteArray &name)
{
    for (const ArgumentType &type : argumentTypes) {
        if (name == type.name) {
            return &type;
        }
    }
    return nullptr;
}

QString shownType(const QByteArray &name)
{
    const ArgumentType *type = argumentType(name);
    return QLatin1String(type ? type->shown : name.constData());
}

QStringList typesIn(const QString &signature)
{
    QStringList types;
    for (const QChar letter : signature) {
        if (!types.isEmpty() && types.last() == QLatin1String("a")) {
            types.last() += letter;
        } else {
            types += letter;
        }
    }
    return types;
}

QString wireTypeShown(const QString &wire)
{
    for (const ArgumentType &type : argumentTypes) {
        if (wire == QLatin1String(type.wire)) {
            return QLatin1String(type.shown);
        }
    }
    return wire == QLatin1String("d") ? QStringLiteral("double") : wire;
}

std::optional<QString> exactText(const QByteArray &utf8)
{
    // Qt removes a U+FEFF at the beginning, as a byte order mark, but not after another character.
    const QString text = QString::fromUtf8(' ' + utf8).mid(1);
    return text.toUtf8() == utf8 ? std::optional<QString>(text) : std::nullopt;
}

QVariant parsed(const QString &text, const ArgumentType &type)
{
    switch (type.wire[0]) {
    case 'b':
        return parsedBool(text);
    case 'i':
        return parsedNumber(text, &QString::toInt);
    case 'u':
        return parsedNumber(text, &QString::toUInt);
    case 't':
        return parsedNumber(text, &QString::toULongLong);
    case 'a':
        return parsedList(text);
    default:
        return text;
    }
}

QString wrongArgument(int index, const QString &name, const QString &text, const ArgumentType *type)
{
    bool isNumber = false;
    const double number = text.toDouble(&isNumber);
    QString expected = QLatin1String(type ? type->words : "a number");
    // Otherwise the message would be false: 1.5 is a number, too.
    if (isNumber && number != std::floor(number)) {
        expected.replace(QLatin1String("a number"), QLatin1String("a whole number"));
    }
    return QStringLiteral("argument %1 (%2): \"%3\" is not %4")
        .arg(QString::number(index + 1), name, text, expected);
}

QVariant plain(const QVariant &value)
{
    if (holds<QDBusArgument>(value)) {
        return plain(qvariant_cast<QDBusArgument>(value));
    }
    if (holds<SupplyInformation>(value)) {
        return QVariant::fromValue(plain(qvariant_cast<SupplyInformation>(value)));
    }
    if (holds<QVariantHash>(value)) {
        QVariantMap result;
        const QVariantHash hash = value.toHash();
        for (auto entry = hash.begin(); entry != hash.end(); ++entry) {
            result.insert(entry.key(), plain(entry.value()));
        }
        return result;
    }
    if (holds<QDBusVariant>(value)) {
        return plain(qvariant_cast<QDBusVariant>(value).variant());
    }
    if (holds<QDBusObjectPath>(value)) {
        return qvariant_cast<QDBusObjectPath>(value).path();
    }
    if (holds<QDBusSignature>(value)) {
        return qvariant_cast<QDBusSignature>(value).signature();
    }
    if (holds<uchar>(value) || holds<short>(value) || holds<ushort>(value)) {
        return value.toInt();
    }
    if (holds<QVariantList>(value)) {
        QVariantList result;
        const QVariantList list = value.toList();
        for (const QVariant &element : list) {
            result += QVariant(plain(element));
        }
        return result;
    }
    return value;
}

QString compact(const QJsonValue &value)
{
    const QByteArray array = QJsonDocument(QJsonArray { value }).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(array.mid(1, array.size() - 2));
}

QString textOf(const QVariant &value)
{
    if (holds<QByteArray>(value)) {
        const QByteArray bytes = value.toByteArray();
        const QString some = bytes.isEmpty() ? QString() : QLatin1String(": ") + hex(bytes.left(8));
        return sizeOf(bytes) + some + QLatin1String(bytes.size() > 8 ? " ..." : "");
    }
    const QJsonValue json = jsonOf(value);
    const bool isScalar = !json.isArray() && !json.isObject() && !holds<QString>(value);
    return isScalar ? value.toString() : Console::printable(compact(json));
}

QString colouredText(const QVariant &value, int width)
{
    QString patches;
    const QStringList texts = value.toStringList();
    for (const QString &text : texts) {
        const QString patch = Console::swatch(text);
        width -= patch.isEmpty() ? 0 : 3;
        patches += patch;
    }
    return patches + textOf(value).left(qMax(0, width));
}

QStringList linesOf(const QVariant &value)
{
    const auto shown = [](const QString &text) {
        return Console::isTerminal() ? Console::printable(text) : text;
    };
    QStringList lines;
    if (holds<QString>(value)) {
        lines += shown(value.toString());
    } else if (holds<QStringList>(value)) {
        const QStringList list = value.toStringList();
        for (const QString &element : list) {
            lines += shown(element);
        }
    } else if (holds<QVariantMap>(value)) {
        const QVariantMap map = value.toMap();
        for (auto entry = map.begin(); entry != map.end(); ++entry) {
            lines += Console::printable(entry.key()) + QLatin1String(": ") + textOf(entry.value());
        }
    } else if (holds<Record>(value)) {
        const Record record = qvariant_cast<Record>(value);
        for (const auto &field : record) {
            lines += (field.first + QLatin1Char(':')).leftJustified(14) + textOf(field.second);
        }
    } else if (holds<QByteArray>(value)) {
        const QByteArray bytes = value.toByteArray();
        const int most = 256;
        lines += sizeOf(bytes);
        for (int i = 0; i < bytes.size() && i < most; i += 16) {
            lines += QStringLiteral("%1  %2")
                         .arg(i, 4, 16, QLatin1Char('0'))
                         .arg(hex(bytes.mid(i, 16)));
        }
        if (bytes.size() > most) {
            lines += QStringLiteral("...   all of them with --output FILE");
        }
    } else {
        lines += textOf(value);
    }
    return lines;
}

QJsonValue jsonOf(const QVariant &value)
{
    if (holds<double>(value)) {
        const double number = value.toDouble();
        if (number == 0 && std::signbit(number)) {
            return QStringLiteral("-0");
        }
        return std::isfinite(number) ? QJsonValue(number) : QString::number(number);
    }
    if (holds<quint64>(value) || holds<qint64>(value)) {
        return value.toString();
    }
    if (holds<QByteArray>(value)) {
        return QString::fromLatin1(value.toByteArray().toBase64());
    }
    if (holds<QVariantList>(value)) {
        QJsonArray result;
        const QVariantList list = value.toList();
        for (const QVariant &element : list) {
            result += jsonOf(element);
        }
        return result;
    }
    QJsonObject result;
    if (holds<QVariantMap>(value)) {
        const QVariantMap map = value.toMap();
        for (auto entry = map.begin(); entry != map.end(); ++entry) {
            result.insert(entry.key(), jsonOf(entry.value()));
        }
        return result;
    }
    if (holds<Record>(value)) {
        const Record record = qvariant_cast<Record>(value);
        for (const auto &field : record) {
            result.insert(field.first, jsonOf(field.second));
        }
        return result;
    }
    return QJsonValue::fromVariant(value);
}
