// SPDX-License-Identifier: MIT
#include "common/interfacefile.h"

#include <QtCore/QFile>
#include <QtCore/QRegularExpression>
#include <QtCore/QStringList>
#include <QtCore/QXmlStreamReader>

#include <algorithm>

using namespace Toolkit;

namespace {

QString nameOf(const QXmlStreamReader &xml) { return xml.name().toString(); }

bool isName(const QString &text)
{
    static const QRegularExpression name(QStringLiteral("^[A-Za-z_][A-Za-z0-9_]*$"));
    return name.match(text).hasMatch();
}

bool isDottedName(const QString &text)
{
    const QStringList parts = text.split(QLatin1Char('.'));
    return parts.size() > 1 && std::all_of(parts.begin(), parts.end(), isName);
}

// The position after the complete D-Bus type that begins at @p begin; -1 if none begins there.
int endOfType(const QString &text, int begin)
{
    const QString basicTypes = QStringLiteral("ybnqiuxtdsogh");
    const QChar first = text.size() > begin ? text.at(begin) : QChar();
    if (first == QLatin1Char('a')) {
        if (text.mid(begin + 1, 1) != QLatin1String("{")) {
            return endOfType(text, begin + 1);
        }
        const bool keyIsBasic = basicTypes.contains(text.mid(begin + 2, 1));
        const int end = keyIsBasic ? endOfType(text, begin + 3) : -1;
        return end > 0 && text.mid(end, 1) == QLatin1String("}") ? end + 1 : -1;
    }
    if (first == QLatin1Char('(')) {
        int end = endOfType(text, begin + 1);
        while (end > 0 && text.mid(end, 1) != QLatin1String(")")) {
            end = endOfType(text, end);
        }
        return end > 0 ? end + 1 : -1;
    }
    return first == QLatin1Char('v') || basicTypes.contains(first) ? begin + 1 : -1;
}

bool isType(const QString &text) { return endOfType(text, 0) == text.size(); }

// An invalid file raises an error of the XML reader, which stops at the invalid line.
class Reader
{
public:
    explicit Reader(QIODevice *device) : m_xml(device) {}

    std::optional<Interface> read()
    {
        Interface result;
        if (enter("node")) {
            bool found = false;
            while (m_xml.readNextStartElement()) {
                if (nameOf(m_xml) != QLatin1String("interface")) {
                    expected(QStringLiteral("<interface>"));
                } else if (found) {
                    m_xml.raiseError(QStringLiteral("expected one interface only"));
                } else {
                    found = true;
                    result = readInterface();
                }
            }
            if (!found && !m_xml.hasError()) {
                m_xml.raiseError(QStringLiteral("expected an <interface>"));
            }
        }
        // To the end of the file, to check the elements after the interface, too.
        while (!m_xml.atEnd()) {
            m_xml.readNext();
        }
        return m_xml.hasError() ? std::nullopt : std::optional<Interface>(result);
    }

    QString error() const
    {
        return QString::number(m_xml.lineNumber()) + QLatin1String(": ") + m_xml.errorString();
    }

private:
    bool enter(const char *element)
    {
        if (!m_xml.readNextStartElement()) {
            return false;
        }
        if (nameOf(m_xml) != QLatin1String(element)) {
            expected(QLatin1Char('<') + QLatin1String(element) + QLatin1Char('>'));
        }
        return !m_xml.hasError();
    }

    void expected(const QString &what)
    {
        m_xml.raiseError(
            QStringLiteral("expected %1, not <%2>").arg(what, m_xml.qualifiedName().toString()));
    }

    QString attribute(const char *name, const char *what, bool (*isValid)(const QString &))
    {
        const QString value = m_xml.attributes().value(QLatin1String(name)).toString();
        if (!isValid(value)) {
            m_xml.raiseError(QStringLiteral("expected %1 as the %2 of <%3>, not \"%4\"")
                                 .arg(QLatin1String(what), QLatin1String(name),
                                      m_xml.qualifiedName().toString(), value));
        }
        return value;
    }

    Interface readInterface()
    {
        Interface result;
        result.name = attribute("name", "an interface name", isDottedName);
        while (m_xml.readNextStartElement()) {
            const QString element = nameOf(m_xml);
            if (element == QLatin1String("method")) {
                result.allMembers += readMember(InterfaceMember::Method);
            } else if (element == QLatin1String("signal")) {
                result.allMembers += readMember(InterfaceMember::Signal);
            } else if (element == QLatin1String("doc")) {
                result.documentation = readDocumentation();
            } else {
                expected(QStringLiteral("<method>, <signal> or <doc:doc>"));
            }
        }
        return result;
    }

    InterfaceMember readMember(InterfaceMember::Kind kind)
    {
        InterfaceMember result;
        result.kind = kind;
        result.name = attribute("name", "a member name", isName);
        while (m_xml.readNextStartElement()) {
            const QString element = nameOf(m_xml);
            if (element == QLatin1String("arg")) {
                result.allArguments += readArgument(kind);
            } else if (element == QLatin1String("annotation")) {
                const QString name = attribute("name", "an annotation's name", isDottedName);
                result.annotations[name] = m_xml.attributes()
                                               .value(QLatin1String("value"))
                                               .toString();
                leave();
            } else if (element == QLatin1String("doc")) {
                result.documentation = readDocumentation();
            } else {
                expected(QStringLiteral("<arg>, <annotation> or <doc:doc>"));
            }
        }
        if (result.documentation.isEmpty() && !m_xml.hasError()) {
            m_xml.raiseError(QStringLiteral("expected <doc:doc><doc:summary>...</doc:summary>"
                                            "</doc:doc> in %1")
                                 .arg(result.name));
        }
        return result;
    }

    InterfaceArgument readArgument(InterfaceMember::Kind kind)
    {
        const auto isDirection = [](const QString &text) {
            return text == QLatin1String("in") || text == QLatin1String("out");
        };
        const auto isSignalDirection = [](const QString &text) {
            return text.isEmpty() || text == QLatin1String("out");
        };
        InterfaceArgument result;
        result.name = attribute("name", "an argument's name", isName);
        result.type = attribute("type", "one D-Bus type", isType);
        const QString direction = kind == InterfaceMember::Method
            ? attribute("direction", "in or out", isDirection)
            : attribute("direction", "out", isSignalDirection);
        result.direction = direction == QLatin1String("in") ? InterfaceArgument::In
                                                            : InterfaceArgument::Out;
        leave();
        return result;
    }

    QString readDocumentation()
    {
        if (!enter("summary")) {
            return QString();
        }
        const QString text = m_xml.readElementText().simplified();
        leave();
        return text;
    }

    // Checks that the element has no child elements.
    void leave()
    {
        if (m_xml.readNextStartElement()) {
            m_xml.raiseError(QStringLiteral("expected no further element, not <%1>")
                                 .arg(m_xml.qualifiedName().toString()));
        }
    }

    QXmlStreamReader m_xml;
};

} // namespace

QList<InterfaceArgument> InterfaceMember::arguments(InterfaceArgument::Direction direction) const
{
    QList<InterfaceArgument> result;
    for (const InterfaceArgument &argument : allArguments) {
        if (argument.direction == direction) {
            result += argument;
        }
    }
    return result;
}

QString InterfaceMember::signature(InterfaceArgument::Direction direction) const
{
    QString result;
    for (const InterfaceArgument &argument : allArguments) {
        if (argument.direction == direction) {
            result += argument.type;
        }
    }
    return result;
}

QList<InterfaceMember> Interface::members(InterfaceMember::Kind kind) const
{
    QList<InterfaceMember> result;
    for (const InterfaceMember &member : allMembers) {
        if (member.kind == kind) {
            result += member;
        }
    }
    return result;
}

std::optional<Interface> Toolkit::readInterfaceFile(const QString &fileName, QString *error)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = fileName + QLatin1String(": ") + file.errorString();
        return std::nullopt;
    }
    Reader reader(&file);
    const std::optional<Interface> result = reader.read();
    if (!result) {
        *error = fileName + QLatin1Char(':') + reader.error();
    }
    return result;
}
