// SPDX-License-Identifier: MIT
#include "console.h"
#include "names.h"
#include "request.h"

#include <QtCore/QJsonArray>
#include <QtCore/QXmlStreamReader>
#include <QtDBus/QDBusMessage>

using namespace Toolkit;

namespace {

// Reads a daemon's introspection data. It is less strict than the reader of the installed
// descriptions: a daemon need not have names and documentation.
QList<Interface> readLive(const QString &text, QString *error)
{
    QList<Interface> result;
    QXmlStreamReader xml(text);
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement) {
            continue;
        }
        const auto attribute = [&xml](const char *name) {
            return xml.attributes().value(QLatin1String(name)).toString();
        };
        const QString element = xml.name().toString();
        const bool isMember = element == QLatin1String("method")
            || element == QLatin1String("signal");
        if (element == QLatin1String("interface")) {
            result += Interface();
            result.last().name = attribute("name");
        } else if (isMember && !result.isEmpty()) {
            InterfaceMember member;
            member.kind = element == QLatin1String("signal") ? InterfaceMember::Signal
                                                             : InterfaceMember::Method;
            member.name = attribute("name");
            result.last().allMembers += member;
        } else if (element == QLatin1String("arg") && !result.isEmpty()
                   && !result.last().allMembers.isEmpty()) {
            InterfaceMember &member = result.last().allMembers.last();
            const bool isOut = member.kind == InterfaceMember::Signal
                || attribute("direction") == QLatin1String("out");
            member.allArguments += { attribute("name"), attribute("type"),
                                     isOut ? InterfaceArgument::Out : InterfaceArgument::In };
        }
    }
    if (xml.hasError()) {
        *error = QStringLiteral("line %1: %2").arg(xml.lineNumber()).arg(xml.errorString());
    }
    return result;
}

// The name and the argument types, which distinguish overloads.
QString keyOf(const InterfaceMember &member)
{
    const auto direction = member.kind == InterfaceMember::Signal ? InterfaceArgument::Out
                                                                  : InterfaceArgument::In;
    return member.name + QLatin1Char('(') + member.signature(direction) + QLatin1Char(')');
}

QString textOf(const InterfaceMember &member)
{
    const bool isSignal = member.kind == InterfaceMember::Signal;
    QStringList list;
    const auto direction = isSignal ? InterfaceArgument::Out : InterfaceArgument::In;
    for (const InterfaceArgument &argument : member.arguments(direction)) {
        list += Console::printable(argument.type + QLatin1Char(' ') + argument.name).trimmed();
    }
    const QString result = Console::printable(isSignal ? QString()
                                                       : member.signature(InterfaceArgument::Out));
    return QLatin1String(isSignal ? "  signal " : "  method ")
        + Console::bold(Console::printable(member.name)) + QLatin1Char('(')
        + list.join(QLatin1String(", ")) + QLatin1Char(')')
        + (result.isEmpty() ? result : QLatin1String(" -> ") + result);
}

QJsonObject jsonOf(const InterfaceMember &member)
{
    QJsonArray arguments;
    for (const InterfaceArgument &argument : member.allArguments) {
        arguments += QJsonObject {
            { QStringLiteral("name"), argument.name },
            { QStringLiteral("type"), argument.type },
            { QStringLiteral("direction"),
              QLatin1String(argument.direction == InterfaceArgument::In ? "in" : "out") },
        };
    }
    return { { QStringLiteral("kind"),
               QLatin1String(member.kind == InterfaceMember::Signal ? "signal" : "method") },
             { QStringLiteral("name"), member.name },
             { QStringLiteral("arguments"), arguments } };
}

void print(const QList<Interface> &interfaces, bool asJson)
{
    QJsonArray all;
    for (const Interface &interface : interfaces) {
        QJsonArray members;
        for (const InterfaceMember &member : interface.allMembers) {
            members += jsonOf(member);
        }
        all += QJsonObject { { QStringLiteral("interface"), interface.name },
                             { QStringLiteral("members"), members } };
        if (!asJson) {
            Console::print(Console::printable(interface.name));
            for (const InterfaceMember &member : interface.allMembers) {
                Console::print(textOf(member));
            }
        }
    }
    if (asJson) {
        Console::print(all);
    }
}

QMap<QString, InterfaceMember> byKey(const Interface &interface, InterfaceMember::Kind kind)
{
    QMap<QString, InterfaceMember> result;
    for (const InterfaceMember &member : interface.members(kind)) {
        result.insert(keyOf(member), member);
    }
    return result;
}

QStringList differences(const Interface &live, const Interface &described)
{
    QStringList result;
    for (const auto kind : { InterfaceMember::Method, InterfaceMember::Signal }) {
        const QMap<QString, InterfaceMember> there = byKey(live, kind);
        const QMap<QString, InterfaceMember> wanted = byKey(described, kind);
        // Daemons that use the library do not declare their signals.
        if (kind == InterfaceMember::Signal && there.isEmpty()) {
            continue;
        }
        for (auto i = wanted.begin(); i != wanted.end(); ++i) {
            if (!there.contains(i.key())) {
                result += i.key() + QLatin1String(" is missing");
                continue;
            }
            const InterfaceMember found = there.value(i.key());
            const QString answer = found.signature(InterfaceArgument::Out);
            if (answer != i->signature(InterfaceArgument::Out)) {
                result += QStringLiteral("%1 returns \"%2\", not \"%3\"")
                              .arg(i.key(), answer, i->signature(InterfaceArgument::Out));
            }
            const auto names = found.arguments(InterfaceArgument::In);
            const auto wantedNames = i->arguments(InterfaceArgument::In);
            for (int n = 0; n < names.size(); ++n) {
                if (!names.at(n).name.isEmpty() && names.at(n).name != wantedNames.at(n).name) {
                    result += QStringLiteral("the name of argument %2 of %1 is %3, not %4")
                                  .arg(i.key(), QString::number(n + 1), names.at(n).name,
                                       wantedNames.at(n).name);
                }
            }
        }
        for (auto i = there.begin(); i != there.end(); ++i) {
            if (!wanted.contains(i.key())) {
                result += i.key() + QLatin1String(" is not described");
            }
        }
    }
    return result;
}

int check(const Context &context, const Daemon &daemon, const QList<Interface> &interfaces)
{
    QStringList found { QStringLiteral("the interface %1 is missing").arg(daemon.interface.name) };
    for (const Interface &live : interfaces) {
        if (live.name == daemon.interface.name) {
            found = differences(live, daemon.interface);
        }
    }
    if (context.json) {
        Console::print(
            QJsonObject { { QStringLiteral("daemon"), daemon.name },
                          { QStringLiteral("differences"), QJsonArray::fromStringList(found) } });
    } else {
        for (const QString &difference : qAsConst(found)) {
            Console::print(daemon.name + QLatin1String(": ") + Console::printable(difference));
        }
        if (found.isEmpty()) {
            Console::print(QStringLiteral("%1: as described, %2 methods")
                               .arg(daemon.name)
                               .arg(daemon.interface.members(InterfaceMember::Method).size()));
        }
    }
    return found.isEmpty() ? Done : Failed;
}

int run(const Context &context, const QStringList &arguments)
{
    const Daemon *daemon = context.contract.daemon(arguments.first());
    const QDBusMessage reply = context.bus.call(introspectCall(*daemon), QDBus::Block,
                                                context.timeout);
    const Outcome outcome = outcomeOf(
        *daemon, HNIPCFailure::ofReply(reply, daemon->busName, context.timeout));
    if (!outcome.ok()) {
        return Console::fail(outcome.exitCode(), outcome.error);
    }
    QString error;
    const QList<Interface> interfaces = readLive(reply.arguments().value(0).toString(), &error);
    if (!error.isEmpty()) {
        return Console::fail(Failed,
                             QStringLiteral("%1's introspection data is not valid XML: %2")
                                 .arg(daemon->name, error));
    }
    if (context.options.contains(QStringLiteral("check"))) {
        return check(context, *daemon, interfaces);
    }
    print(interfaces, context.json);
    return Done;
}

} // namespace

// clang-format off
const Command introspectCommand = {
    "introspect", "DAEMON", "Prints the interfaces that a daemon declares",
    "Prints the interfaces that the daemon's object declares, with D-Bus types. With\n"
    "--check, prints the differences from the installed description; the exit code is\n"
    "1 if there are any.",
    { { "check", nullptr, "compare with the installed description" } },
    1, 1, true,
    [](const Contract &contract) { return contract.daemonNames(); }, run, checkDaemons
};
// clang-format on
