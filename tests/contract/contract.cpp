// SPDX-License-Identifier: MIT
#include "contract.h"
#include "support/signature.h"

#include <QtCore/QMetaMethod>
#include <QtCore/QXmlStreamReader>

namespace Contract {

namespace {

Member memberOf(const QMetaMethod &method, const char *kind)
{
    Member result;
    const QByteArray signature = signatureOf(method);
    result.kind = kind;
    result.name = signature.left(signature.indexOf('('));
    const QList<QByteArray> types = method.parameterTypes();
    const QList<QByteArray> names = method.parameterNames();
    for (int i = 0; i < types.size(); ++i) {
        result.arguments.append(Argument { names.at(i), wireTypeOf(types.at(i)) });
    }
    return result;
}

Members declared(const QMetaObject &metaObject, QMetaMethod::MethodType type, const char *kind)
{
    Members result;
    for (int i = metaObject.methodOffset(); i < metaObject.methodCount(); ++i) {
        const QMetaMethod method = metaObject.method(i);
        if (method.methodType() != type) {
            continue;
        }
        Member member = memberOf(method, kind);
        // The bool that a signal returns concerns its receivers, not the bus.
        const QByteArray answer = type == QMetaMethod::Signal ? QByteArray() : resultOf(method);
        if (!answer.isEmpty()) {
            member.result = wireTypeOf(answer);
            if (answer == "SupplyInformation" || answer == "QVariantHash") {
                member.resultClass = answer;
            }
        }
        result.append(member);
    }
    return result;
}

Members of(const Members &members, const char *kind)
{
    Members result;
    for (const Member &member : members) {
        if (member.kind == kind) {
            result.append(member);
        }
    }
    return result;
}

// Removes the first member for which the condition holds. Returns false if there is none.
template <typename Condition>
bool takeFirst(Members *members, Condition condition, Member *taken)
{
    for (int i = 0; i < members->size(); ++i) {
        if (condition(members->at(i))) {
            *taken = members->takeAt(i);
            return true;
        }
    }
    return false;
}

} // namespace

QByteArray Member::signature() const
{
    QByteArray types;
    for (const Argument &argument : arguments) {
        types += argument.type;
    }
    return types;
}

QByteArray Member::form() const
{
    QByteArray text;
    for (const Argument &argument : arguments) {
        text += (text.isEmpty() ? "" : ", ") + argument.name + (argument.name.isEmpty() ? "" : " ")
            + argument.type;
    }
    text = '(' + text + ')';
    if (!result.isEmpty()) {
        text += " -> " + result;
    }
    if (!resultClass.isEmpty()) {
        text += " as " + resultClass;
    }
    return text;
}

Lines disagreements(const Side &one, const Side &other)
{
    Lines lines;
    Members rest = other.members;
    Members unmatched;
    Member found;
    for (const Member &member : one.members) {
        const auto isSame = [&member](const Member &candidate) {
            return candidate.kind == member.kind && candidate.name == member.name
                && candidate.form() == member.form();
        };
        if (!takeFirst(&rest, isSame, &found)) {
            unmatched.append(member);
        }
    }
    for (const Member &member : unmatched) {
        const QByteArray subject = member.kind + ' ' + member.name + ": ";
        const auto isNamesake = [&member](const Member &candidate) {
            return candidate.kind == member.kind && candidate.name == member.name;
        };
        if (takeFirst(&rest, isNamesake, &found)) {
            lines.append(subject + member.form() + " in " + one.name + ", " + found.form() + " in "
                         + other.name);
        } else {
            lines.append(subject + member.form() + " in " + one.name + ", not in " + other.name);
        }
    }
    for (const Member &member : rest) {
        lines.append(member.kind + ' ' + member.name + ": " + member.form() + " in " + other.name
                     + ", not in " + one.name);
    }
    return lines;
}

Lines disagreementsInOrder(const Side &one, const Side &other)
{
    const Lines lines = disagreements(one, other);
    for (int i = 0; i < one.members.size() && lines.isEmpty(); ++i) {
        const Member &member = one.members.at(i);
        const Member &there = other.members.at(i);
        if (member.name != there.name || member.form() != there.form()) {
            return Lines() << member.kind + ' ' + member.name + ": stands in " + one.name
                + " where " + other.name + " has " + there.name;
        }
    }
    return lines;
}

Members methodsAmong(const Members &members) { return of(members, "method"); }

Members signalsAmong(const Members &members) { return of(members, "signal"); }

QMap<QByteArray, Members> interfacesIn(const QByteArray &xml)
{
    QMap<QByteArray, Members> result;
    Members *members = 0;
    QXmlStreamReader reader(xml);
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement) {
            continue;
        }
        const QByteArray element = reader.name().toString().toUtf8();
        const QXmlStreamAttributes attributes = reader.attributes();
        const auto attribute = [&attributes](const char *name) {
            return attributes.value(QLatin1String(name)).toString().toUtf8();
        };
        const QByteArray name = attribute("name");
        Member *member = members && !members->isEmpty() ? &members->last() : 0;
        if (element == "interface") {
            members = &result[name];
        } else if (members && (element == "method" || element == "signal")) {
            members->append(Member());
            members->last().kind = element;
            members->last().name = name;
        } else if (member && element == "arg") {
            if (attribute("direction") == "in" || member->kind == "signal") {
                member->arguments.append(Argument { name, attribute("type") });
            } else {
                member->result += attribute("type");
                member->resultName = name;
            }
        } else if (member && name == "org.hnipc.Simulator.Daemon") {
            // For readers of the description; no object publishes it.
        } else if (member && element == "annotation") {
            const bool known = name == "org.qtproject.QtDBus.QtTypeName.Out0";
            member->resultClass += known ? attribute("value") : '?' + name;
        } else if (member && element == "summary") {
            member->documentation = reader.readElementText().toUtf8();
        } else if (element != "node" && element != "doc" && element != "summary") {
            reader.raiseError(reader.name().toString());
        }
    }
    if (reader.hasError()) {
        Member error;
        error.kind = "error";
        error.name = reader.errorString().toUtf8();
        result["?"].append(error);
    }
    return result;
}

Members declaredSignals(const QMetaObject &metaObject)
{
    return declared(metaObject, QMetaMethod::Signal, "signal");
}

Members declaredSlots(const QMetaObject &metaObject)
{
    return declared(metaObject, QMetaMethod::Slot, "method");
}

QByteArray wireTypeOf(const QByteArray &type)
{
    static const char *const types[][2] = {
        { "bool", "b" },
        { "int", "i" },
        { "uint", "u" },
        { "qulonglong", "t" },
        { "double", "d" },
        { "QString", "s" },
        { "QStringList", "as" },
        { "QByteArray", "ay" },
        { "QVariantHash", "a{sv}" },
        { "SupplyInformation", "(sasdisdisisisdiayddiiiddddasavavavavav)" },
    };
    for (const auto &row : types) {
        if (withoutAliases(type) == row[0]) {
            return row[1];
        }
    }
    return '?' + type;
}

} // namespace Contract
