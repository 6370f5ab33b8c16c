// SPDX-License-Identifier: MIT
#include "trace.h"

#include "common/exitcodes.h"
#include "console.h"
#include "names.h"
#include "values.h"

#include <QtCore/QBuffer>
#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

#include <cmath>

namespace {

const int formatVersion = 1;
const double longest = 1e9; // seconds

QString formatName() { return QStringLiteral("hnipc-trace"); }

bool isText(const QJsonValue &value)
{
    return value.isString() && value.toString().isValidUtf16()
        && !value.toString().contains(QChar(QChar::Null));
}

// Invalid if the value is not of this D-Bus type.
QVariant argumentOf(const QJsonValue &value, const QString &type)
{
    const double number = value.toDouble();
    const bool isWhole = value.isDouble() && number == std::floor(number);
    bool ok = false;
    QVariant result;
    if (type == QLatin1String("b")) {
        ok = value.isBool();
        result = value.toBool();
    } else if (type == QLatin1String("i")) {
        ok = isWhole && number >= -2147483648.0 && number <= 2147483647.0;
        result = ok ? int(number) : 0;
    } else if (type == QLatin1String("u")) {
        ok = isWhole && number >= 0 && number <= 4294967295.0;
        result = ok ? uint(number) : 0u;
    } else if (type == QLatin1String("t")) {
        result = value.toString().toULongLong(&ok);
    } else if (type == QLatin1String("d")) {
        ok = value.isDouble();
        result = ok ? number : value.toString().toDouble(&ok);
    } else if (type == QLatin1String("s")) {
        ok = isText(value);
        result = value.toString();
    } else if (type == QLatin1String("as")) {
        ok = value.isArray();
        QStringList list;
        const QJsonArray array = value.toArray();
        for (const QJsonValue &element : array) {
            ok = ok && isText(element);
            list += element.toString();
        }
        result = list;
    }
    return ok ? result : QVariant();
}

QString spelled(const QJsonValue &value)
{
    if (value.isUndefined()) {
        return QStringLiteral("nothing");
    }
    const QString text = compact(value);
    return text.size() > 60 ? text.left(57) + QLatin1String("...") : text;
}

// Thrown by the following functions if a line is invalid.
struct Expected
{
    QString what;
};

[[noreturn]] void refuse(const QString &expected, const QJsonValue &found)
{
    throw Expected { QStringLiteral("expected %1, not %2").arg(expected, spelled(found)) };
}

QJsonObject objectIn(const QByteArray &line)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(line, &error);
    if (!document.isObject()) {
        throw Expected { QStringLiteral("expected a JSON object in a line: %1")
                             .arg(error.error == QJsonParseError::NoError
                                      ? QStringLiteral("it is a list")
                                      : error.errorString()) };
    }
    return document.object();
}

void checkHeader(const QJsonObject &header)
{
    const QJsonValue format = header.value(QLatin1String("format"));
    const QJsonValue version = header.value(QLatin1String("version"));
    if (format.toString() != formatName()) {
        refuse(QStringLiteral("the header of a trace, \"format\": \"%1\"").arg(formatName()),
               format);
    }
    if (version != QJsonValue(formatVersion)) {
        refuse(QStringLiteral("\"version\": %1").arg(formatVersion), version);
    }
}

void checkKeys(const QJsonObject &object)
{
    static const QStringList keys { QStringLiteral("arguments"), QStringLiteral("at"),
                                    QStringLiteral("daemon"), QStringLiteral("signal"),
                                    QStringLiteral("signature") };
    if (object.keys() != keys) {
        throw Expected { QStringLiteral("expected these keys: %1; not: %2")
                             .arg(keys.join(QLatin1String(", ")),
                                  object.keys().join(QLatin1String(", "))) };
    }
}

double timeIn(const QJsonObject &object, double earliest)
{
    const QJsonValue at = object.value(QLatin1String("at"));
    const double seconds = at.toDouble();
    if (!at.isDouble() || seconds < 0 || seconds > longest) {
        refuse(QStringLiteral("\"at\" in seconds from 0"), at);
    }
    if (seconds < earliest) {
        refuse(QStringLiteral("\"at\" from %1, the time of the signal before").arg(earliest), at);
    }
    return seconds;
}

const ClientSignal *signalIn(const Contract &contract, const QJsonObject &object)
{
    const QJsonValue daemon = object.value(QLatin1String("daemon"));
    if (!contract.daemon(daemon.toString())) {
        refuse(QStringLiteral("\"daemon\" to be one of %1")
                   .arg(contract.daemonNames().join(QLatin1String(", "))),
               daemon);
    }
    const QJsonValue name = object.value(QLatin1String("signal"));
    const ClientSignal *result = nullptr;
    QStringList names;
    for (const ClientSignal &signal : contract.clientSignals()) {
        if (signal.daemon->name == daemon.toString()) {
            names += signal.name;
            result = signal.name == name.toString() ? &signal : result;
        }
    }
    if (!result) {
        throw Expected { QStringLiteral("expected a signal of %1, not %2%3")
                             .arg(daemon.toString(), spelled(name),
                                  didYouMean(name.toString(), names)) };
    }
    const QJsonValue signature = object.value(QLatin1String("signature"));
    if (signature.toString() != result->signature || !signature.isString()) {
        refuse(
            QStringLiteral("\"signature\" of %1 to be \"%2\"").arg(result->name, result->signature),
            signature);
    }
    return result;
}

QVariantList argumentsIn(const QJsonObject &object, const ClientSignal &signal)
{
    const QStringList types = typesIn(signal.signature);
    QVariantList result;
    const QJsonValue arguments = object.value(QLatin1String("arguments"));
    if (!arguments.isArray() || arguments.toArray().size() != types.size()) {
        refuse(QStringLiteral("\"arguments\" to be a list of %1").arg(types.size()), arguments);
    }
    for (int i = 0; i < types.size(); ++i) {
        const QJsonValue argument = arguments.toArray().at(i);
        result += argumentOf(argument, types.at(i));
        if (!result.last().isValid()) {
            refuse(QStringLiteral("argument %1 (%2) of %3 to be of type \"%4\"")
                       .arg(QString::number(i + 1), signal.parameters.value(i), signal.name,
                            types.at(i)),
                   argument);
        }
    }
    return result;
}

TraceEvent eventOf(const Contract &contract, const QJsonObject &object, double earliest)
{
    checkKeys(object);
    TraceEvent event;
    event.at = timeIn(object, earliest);
    event.signal = signalIn(contract, object);
    event.arguments = argumentsIn(object, *event.signal);
    return event;
}

} // namespace

QJsonObject traceHeader()
{
    return { { QStringLiteral("format"), formatName() },
             { QStringLiteral("version"), formatVersion },
             { QStringLiteral("recorded"),
               QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs) } };
}

QJsonObject traceLine(double at, const ClientSignal &signal, const QDBusMessage &message)
{
    QJsonArray arguments;
    const QVariantList values = message.arguments();
    for (const QVariant &value : values) {
        arguments += jsonOf(plain(value));
    }
    return { { QStringLiteral("at"), at },
             { QStringLiteral("daemon"), signal.daemon->name },
             { QStringLiteral("signal"), signal.name },
             { QStringLiteral("signature"), message.signature() },
             { QStringLiteral("arguments"), arguments } };
}

int readTrace(const Contract &contract, const QString &fileName, std::vector<TraceEvent> *events)
{
    QFile file(fileName);
    const bool isInput = fileName == QLatin1String("-");
    const bool isOpen = isInput ? file.open(stdin, QIODevice::ReadOnly)
                                : file.open(QIODevice::ReadOnly);
    // Some files can be opened but not read, such as directories; a pipe does not know its size.
    QByteArray text = isOpen ? file.readAll() : QByteArray();
    if (file.error() != QFile::NoError) {
        return Console::fail(Toolkit::Failed, fileName + QLatin1String(": ") + file.errorString());
    }
    if (text.isEmpty()) {
        return Console::fail(Toolkit::BadValue,
                             fileName
                                 + QLatin1String(": expected the header of a trace, the file is "
                                                 "empty"));
    }
    QBuffer lines(&text);
    lines.open(QIODevice::ReadOnly);
    int line = 1;
    try {
        checkHeader(objectIn(lines.readLine()));
        while (!lines.atEnd()) {
            ++line;
            events->push_back(eventOf(contract, objectIn(lines.readLine()),
                                      events->empty() ? 0 : events->back().at));
            events->back().line = line;
        }
    } catch (const Expected &expected) {
        return Console::fail(
            Toolkit::BadValue,
            QStringLiteral("%1:%2: %3").arg(fileName, QString::number(line), expected.what));
    }
    return Toolkit::Done;
}
