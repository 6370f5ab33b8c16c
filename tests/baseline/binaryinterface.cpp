// SPDX-License-Identifier: MIT
#include "binaryinterface.h"
#include "demangled.h"

#include <QtCore/QHash>
#include <QtCore/QMap>
#include <QtCore/QVector>
#include <QtCore/QXmlStreamReader>

#include <stdexcept>

namespace {

struct Element
{
    int parent;
    QByteArray tag;
    QHash<QByteArray, QByteArray> attributes;
    QVector<int> children;

    QByteArray operator[](const char *name) const { return attributes.value(name); }
    int bytes(const char *name) const { return attributes.value(name).toInt() / 8; }
};

class Corpus
{
public:
    explicit Corpus(const QByteArray &xml);
    Entries entries(const QList<QByteArray> &headers) const;

private:
    Entries exports() const;
    Entries classNamed(const QByteArray &name, int definition) const;
    Entries enumeration(const QByteArray &section, int element) const;

    QByteArray scopedName(int element) const;
    QByteArray typeName(const QByteArray &id) const;
    QByteArray typeName(int element) const;
    QByteArray resultOf(const Element &function) const;

    QVector<Element> m_elements;
    QHash<QByteArray, int> m_types;
};

Corpus::Corpus(const QByteArray &xml)
{
    QXmlStreamReader reader(xml);
    int current = -1;
    while (!reader.atEnd()) {
        const QXmlStreamReader::TokenType token = reader.readNext();
        if (token == QXmlStreamReader::EndElement) {
            current = m_elements.at(current).parent;
        } else if (token == QXmlStreamReader::StartElement) {
            Element element;
            element.parent = current;
            element.tag = reader.name().toString().toUtf8();
            const QXmlStreamAttributes attributes = reader.attributes();
            for (const QXmlStreamAttribute &attribute : attributes) {
                element.attributes.insert(attribute.name().toString().toUtf8(),
                                          attribute.value().toString().toUtf8());
            }
            if (current >= 0) {
                m_elements[current].children.append(m_elements.size());
            }
            current = m_elements.size();
            if (!element["id"].isEmpty()) {
                m_types.insert(element["id"], current);
            }
            m_elements.append(element);
        }
    }
    if (reader.hasError() || m_elements.isEmpty()) {
        throw std::runtime_error("abidw wrote no XML: " + reader.errorString().toStdString());
    }
}

QByteArray Corpus::scopedName(int number) const
{
    QByteArray name = m_elements.at(number)["name"];
    for (int i = m_elements.at(number).parent; i >= 0; i = m_elements.at(i).parent) {
        const QByteArray tag = m_elements.at(i).tag;
        if (tag == "class-decl" || tag == "namespace-decl" || tag == "union-decl") {
            name = m_elements.at(i)["name"] + "::" + name;
        }
    }
    return withoutBlanks(name);
}

QByteArray Corpus::typeName(const QByteArray &id) const
{
    const int number = m_types.value(id, -1);
    return number < 0 ? QByteArray("?") : typeName(number);
}

// The name with aliases resolved, because binaries do not know aliases.
QByteArray Corpus::typeName(int number) const
{
    const Element &element = m_elements.at(number);
    if (element.tag == "typedef-decl") {
        return typeName(element["type-id"]);
    }
    if (element.tag == "pointer-type-def") {
        return typeName(element["type-id"]) + " *";
    }
    if (element.tag == "reference-type-def") {
        return typeName(element["type-id"]) + (element["kind"] == "lvalue" ? " &" : " &&");
    }
    if (element.tag == "qualified-type-def") {
        const QByteArray type = typeName(element["type-id"]);
        return type + (element["const"] == "yes" ? " const" : "")
            + (element["volatile"] == "yes" ? " volatile" : "");
    }
    if (element.tag == "array-type-def") {
        QByteArray type = typeName(element["type-id"]);
        for (int child : element.children) {
            type += '[' + m_elements.at(child)["length"] + ']';
        }
        return type;
    }
    return scopedName(number);
}

QByteArray Corpus::resultOf(const Element &function) const
{
    for (int child : function.children) {
        if (m_elements.at(child).tag == "return") {
            return typeName(m_elements.at(child)["type-id"]);
        }
    }
    return "void";
}

Entries Corpus::exports() const
{
    QMap<QByteArray, Entry> symbols;
    for (const Element &element : m_elements) {
        const QByteArray symbol = element["name"];
        if (element.tag == "elf-symbol") {
            const char *const kind = element["type"] == "func-type" ? "function" : "variable";
            const Entry entry = { "exports", kind, -1, symbol, demangled(symbol), QByteArray() };
            symbols.insert(symbol, entry);
        }
    }
    return symbols.values();
}

Entries Corpus::enumeration(const QByteArray &section, int number) const
{
    const Element &element = m_elements.at(number);
    Entries entries;
    for (int child : element.children) {
        const Element &part = m_elements.at(child);
        if (part.tag == "underlying-type") {
            const Element &type = m_elements.at(m_types.value(part["type-id"]));
            entries.append(Entry { section, "enum", -1, element["name"],
                                   QByteArray::number(type.bytes("size-in-bits")) + " bytes",
                                   QByteArray() });
        } else if (part.tag == "enumerator") {
            entries.append(Entry { section, "enumerator", -1, element["name"] + "::" + part["name"],
                                   part["value"], QByteArray() });
        }
    }
    return entries;
}

Entries Corpus::classNamed(const QByteArray &name, int definition) const
{
    const Element &type = m_elements.at(definition);
    Entries entries;
    entries.append(Entry { name, "class", -1, type["name"],
                           QByteArray::number(type.bytes("size-in-bits")) + " bytes",
                           QByteArray() });
    for (int child : type.children) {
        const Element &part = m_elements.at(child);
        const int offset = part.bytes("layout-offset-in-bits");
        if (part.tag == "base-class") {
            entries.append(Entry { name, "base", offset, typeName(part["type-id"]),
                                   part["is-virtual"] == "yes" ? "virtual" : "", QByteArray() });
        } else if (part.tag == "data-member" && part["static"] != "yes") {
            const Element &variable = m_elements.at(part.children.value(0));
            entries.append(Entry { name, "member", offset, variable["name"],
                                   typeName(variable["type-id"]), QByteArray() });
        } else if (part.tag == "member-type") {
            const int member = part.children.value(0);
            if (m_elements.at(member).tag == "enum-decl") {
                entries += enumeration(name, member);
            }
        }
    }

    // Each translation unit may describe only some of the functions.
    QMap<int, Entry> virtuals;
    for (int i = 0; i < m_elements.size(); ++i) {
        const Element &part = m_elements.at(i);
        const int place = part["vtable-offset"].isEmpty() ? -1 : part["vtable-offset"].toInt();
        if (part.tag == "member-function" && part["destructor"] != "yes" && place >= 0
            && m_elements.at(part.parent).tag == "class-decl" && scopedName(part.parent) == name) {
            const Element &function = m_elements.at(part.children.value(0));
            const QByteArray signature = demangled(function["mangled-name"]).mid(name.size() + 2);
            virtuals.insert(
                place,
                Entry { name, "virtual", place, signature, resultOf(function), QByteArray() });
        }
    }
    return entries + virtuals.values();
}

Entries Corpus::entries(const QList<QByteArray> &headers) const
{
    QMap<QByteArray, int> classes;
    for (int i = 0; i < m_elements.size(); ++i) {
        const Element &element = m_elements.at(i);
        const QByteArray name = scopedName(i);
        if (!headers.contains(element["filepath"]) || name.contains('<')
            || element["is-declaration-only"] == "yes") {
            continue;
        }
        if (element.tag == "class-decl") {
            classes.insert(name, i);
        }
    }
    Entries entries = exports();
    for (auto it = classes.constBegin(); it != classes.constEnd(); ++it) {
        entries += classNamed(it.key(), it.value());
    }
    if (classes.isEmpty()) {
        throw std::runtime_error(
            "abidw found no class of the public headers: the library has to be "
            "compiled with -g");
    }
    return entries;
}

} // namespace

Entries binaryInterface(const QByteArray &description, const QList<QByteArray> &headers)
{
    return Corpus(description).entries(headers);
}
