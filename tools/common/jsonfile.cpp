// SPDX-License-Identifier: MIT
#include "common/jsonfile.h"

#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QVariant>

#include <climits>
#include <cmath>
#include <cstring>

using namespace Toolkit;

namespace {

// D-Bus allows 64 levels in a message. Each object in a value takes three of them.
const int mostLevelsOfValue = 16;

[[noreturn]] void refuseFile(const QString &fileName, int line, const QString &what)
{
    throw BadFile { QStringLiteral("%1:%2: %3").arg(fileName).arg(line).arg(what) };
}

QString stepTo(int index) { return QStringLiteral("[%1]").arg(index); }

// "supplies[3].color"
QString spelled(const QStringList &place)
{
    QString result;
    for (const QString &step : place) {
        if (!result.isEmpty() && !step.startsWith(QLatin1Char('['))) {
            result += QLatin1Char('.');
        }
        result += step;
    }
    return result;
}

int lineAt(const QByteArray &text, int position)
{
    return 1 + int(text.left(position).count('\n'));
}

// Replaces comments, as in C++, by spaces, so that the positions of errors stay correct.
QByteArray withoutComments(const QString &fileName, QByteArray text)
{
    bool inString = false;
    for (int i = 0; i < text.size(); ++i) {
        const QByteArray two = text.at(i) == '/' ? text.mid(i, 2) : QByteArray();
        const bool isBlock = two == "/*";
        if (inString && text.at(i) == '\\') {
            ++i;
        } else if (text.at(i) == '"') {
            inString = !inString;
        } else if (!inString && (isBlock || two == "//")) {
            const int end = int(text.indexOf(isBlock ? "*/" : "\n", i + 2));
            if (end < 0 && isBlock) {
                refuseFile(fileName, lineAt(text, i), QStringLiteral("expected */ after this /*"));
            }
            const int next = end < 0 ? int(text.size()) : isBlock ? end + 2 : end;
            for (; i < next; ++i) {
                text[i] = text.at(i) == '\n' ? '\n' : ' ';
            }
            --i;
        }
    }
    return text;
}

// Finds the line of each value in a text that is valid JSON.
class LineFinder
{
public:
    LineFinder(const QString &fileName, const QByteArray &text) : m_fileName(fileName), m_text(text)
    {
        value(QStringList());
    }

    QHash<QStringList, int> lines() const { return m_lines; }

private:
    char next() const { return m_position < m_text.size() ? m_text.at(m_position) : '\0'; }

    bool nextIsOneOf(const char *characters) const
    {
        return next() == '\0' || std::strchr(characters, next());
    }

    void skipSpace()
    {
        for (; m_position < m_text.size() && nextIsOneOf(" \t\r\n"); ++m_position) {
            m_line += next() == '\n';
        }
    }

    QString string()
    {
        const auto begin = m_position++;
        for (; next() != '"'; ++m_position) {
            m_position += next() == '\\';
        }
        ++m_position;
        const QByteArray list = '[' + m_text.mid(begin, m_position - begin) + ']';
        return QJsonDocument::fromJson(list).array().at(0).toString();
    }

    void value(const QStringList &place)
    {
        skipSpace();
        m_lines.insert(place, m_line);
        if (next() == '{' || next() == '[') {
            children(place, next() == '{');
        } else if (next() == '"') {
            string();
        } else {
            while (!nextIsOneOf(",]} \t\r\n")) {
                ++m_position;
            }
        }
        skipSpace();
    }

    void children(const QStringList &place, bool named)
    {
        ++m_position;
        skipSpace();
        for (int i = 0; !nextIsOneOf("]}"); ++i) {
            const QStringList childPlace = place + QStringList(named ? string() : stepTo(i));
            if (named) {
                if (m_lines.contains(childPlace)) {
                    refuseFile(m_fileName, m_line,
                               spelled(childPlace)
                                   + QStringLiteral(": expected each key once only"));
                }
                skipSpace();
                ++m_position; // the colon
            }
            value(childPlace);
            m_position += next() == ',';
            skipSpace();
        }
        ++m_position;
    }

    const QString m_fileName;
    const QByteArray m_text;
    decltype(m_text.size()) m_position = 0;
    int m_line = 1;
    QHash<QStringList, int> m_lines;
};

QString spelled(const QJsonValue &value)
{
    switch (value.type()) {
    case QJsonValue::Object:
        return QStringLiteral("an object");
    case QJsonValue::Array:
        return QStringLiteral("a list of %1").arg(value.toArray().size());
    case QJsonValue::String: {
        const QString text = value.toString();
        return QLatin1Char('"') + (text.size() > 40 ? text.left(37) + QLatin1String("...") : text)
            + QLatin1Char('"');
    }
    case QJsonValue::Double:
        return QString::number(value.toDouble(), 'g', 12);
    case QJsonValue::Bool:
        return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    default:
        return QStringLiteral("null");
    }
}

} // namespace

JsonValue::JsonValue(const std::shared_ptr<const File> &file, const QStringList &place,
                     const QJsonValue &value)
    : m_file(file), m_place(place), m_value(value)
{
}

JsonValue JsonValue::read(const QString &fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        throw BadFile { fileName + QLatin1String(": ") + file.errorString() };
    }
    QByteArray text = file.readAll();
    if (text.startsWith("\xef\xbb\xbf")) {
        text.remove(0, 3);
    }
    text = withoutComments(fileName, text);
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text, &error);
    if (error.error != QJsonParseError::NoError) {
        refuseFile(fileName, lineAt(text, error.offset),
                   QStringLiteral("expected JSON: %1").arg(error.errorString()));
    }
    const QJsonValue root = document.isArray() ? QJsonValue(document.array())
                                               : QJsonValue(document.object());
    const File known = { fileName, LineFinder(fileName, text).lines() };
    return JsonValue(std::make_shared<const File>(known), QStringList(), root);
}

JsonValue JsonValue::child(const QString &key) const
{
    return JsonValue(m_file, m_place + QStringList(key), m_value.toObject().value(key));
}

const JsonValue &JsonValue::object(const QStringList &required, const QStringList &optional) const
{
    if (!m_value.isObject()) {
        refuse(QStringLiteral("an object"));
    }
    const QStringList keys = m_value.toObject().keys();
    for (const QString &key : required) {
        if (!keys.contains(key)) {
            refuseFile(m_file->name, line(),
                       QStringLiteral("%1: expected this key, it is missing")
                           .arg(spelled(child(key).m_place)));
        }
    }
    for (const QString &key : keys) {
        if (!required.contains(key) && !optional.contains(key)) {
            refuseFile(m_file->name, child(key).line(),
                       QStringLiteral("%1: expected one of these keys: %2")
                           .arg(spelled(child(key).m_place),
                                (required + optional).join(QLatin1String(", "))));
        }
    }
    return *this;
}

bool JsonValue::has(const char *key) const
{
    return m_value.toObject().contains(QLatin1String(key));
}

JsonValue JsonValue::operator[](const char *key) const { return child(QLatin1String(key)); }

QList<JsonValue> JsonValue::items(int least, int most) const
{
    const QJsonArray array = m_value.toArray();
    if (!m_value.isArray() || array.size() < least || array.size() > most) {
        refuse(least == most         ? QStringLiteral("a list of %1").arg(least)
                   : most == INT_MAX ? QStringLiteral("a list of at least %1").arg(least)
                                     : QStringLiteral("a list of %1 to %2").arg(least).arg(most));
    }
    QList<JsonValue> result;
    for (int i = 0; i < array.size(); ++i) {
        result += JsonValue(m_file, m_place + QStringList(stepTo(i)), array.at(i));
    }
    return result;
}

QString JsonValue::text(int least) const
{
    if (!m_value.isString() || m_value.toString().size() < least) {
        refuse(QStringLiteral("a string"));
    }
    return m_value.toString();
}

QString JsonValue::text(const QStringList &choices) const
{
    if (!choices.contains(m_value.toString())) {
        refuse(QStringLiteral("one of: ") + choices.join(QLatin1String(", ")));
    }
    return m_value.toString();
}

bool JsonValue::boolean() const
{
    if (!m_value.isBool()) {
        refuse(QStringLiteral("true or false"));
    }
    return m_value.toBool();
}

double JsonValue::number(double least, double most) const
{
    const double number = m_value.toDouble();
    if (!m_value.isDouble() || number < least || number > most) {
        refuse(
            QStringLiteral("a number from %1 to %2").arg(least, 0, 'g', 12).arg(most, 0, 'g', 12));
    }
    return number;
}

int JsonValue::integer(int least, int most) const
{
    const double number = m_value.toDouble();
    if (!m_value.isDouble() || number < least || number > most || number != std::floor(number)) {
        refuse(QStringLiteral("a whole number from %1 to %2").arg(least).arg(most));
    }
    return static_cast<int>(number);
}

QVariant JsonValue::any() const
{
    checkAny(mostLevelsOfValue);
    return m_value.toVariant();
}

// D-Bus has no null.
void JsonValue::checkAny(int levels) const
{
    if (m_value.isNull()) {
        refuse(QStringLiteral("a value"));
    }
    if (levels == 0 && (m_value.isArray() || m_value.isObject())) {
        refuse(QStringLiteral("lists and objects nested at most %1 deep").arg(mostLevelsOfValue));
    }
    if (m_value.isArray()) {
        const QList<JsonValue> elements = items(0, INT_MAX);
        for (const JsonValue &element : elements) {
            element.checkAny(levels - 1);
        }
    }
    const QStringList keys = m_value.toObject().keys();
    for (const QString &key : keys) {
        child(key).checkAny(levels - 1);
    }
}

int JsonValue::line() const { return m_file->lines.value(m_place, 1); }

void JsonValue::refuse(const QString &expectation) const
{
    const QString where = m_place.isEmpty() ? QString() : spelled(m_place) + QLatin1String(": ");
    refuseFile(m_file->name, line(),
               QStringLiteral("%1expected %2, not %3").arg(where, expectation, spelled(m_value)));
}
