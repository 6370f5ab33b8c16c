// SPDX-License-Identifier: MIT
#include "command.h"
#include "console.h"
#include "names.h"
#include "values.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>

namespace {

QJsonObject json(const Method &method)
{
    QJsonArray parameters;
    for (int i = 0; i < method.parameters.size(); ++i) {
        parameters += QJsonObject {
            { QStringLiteral("name"), method.parameters.at(i).name },
            { QStringLiteral("type"), shownType(method.parameters.at(i).type) },
            { QStringLiteral("optional"), i >= method.required },
        };
    }
    return { { QStringLiteral("name"), method.name },
             { QStringLiteral("daemon"), method.daemon->name },
             { QStringLiteral("arguments"), parameters },
             { QStringLiteral("result"),
               method.resultType.isEmpty() ? QJsonValue() : method.result() },
             { QStringLiteral("summary"), method.summary } };
}

void printRow(const Daemon &daemon, const QString &name, const QString &types,
              const QString &summary)
{
    Console::print(daemon.name.leftJustified(9) + Console::bold(name) + types
                   + QLatin1String(Console::isTerminal() ? "\n         " : "   ")
                   + Console::dim(summary));
}

void print(const Method &method)
{
    const QString result = method.resultType.isEmpty() ? QString()
                                                       : QLatin1String(" -> ") + method.result();
    printRow(*method.daemon, method.name, method.declaration().mid(method.name.size()) + result,
             method.summary);
}

QJsonObject json(const ClientSignal &signal)
{
    const QStringList types = typesIn(signal.signature);
    QJsonArray parameters;
    for (int i = 0; i < types.size(); ++i) {
        parameters += QJsonObject { { QStringLiteral("name"), signal.parameters.value(i) },
                                    { QStringLiteral("type"), wireTypeShown(types.at(i)) } };
    }
    return { { QStringLiteral("name"), signal.name },
             { QStringLiteral("daemon"), signal.daemon->name },
             { QStringLiteral("arguments"), parameters },
             { QStringLiteral("summary"), signal.summary } };
}

void print(const ClientSignal &signal)
{
    const QStringList types = typesIn(signal.signature);
    QStringList parameters;
    for (int i = 0; i < types.size(); ++i) {
        parameters += wireTypeShown(types.at(i)) + QLatin1Char(' ') + signal.parameters.value(i);
    }
    printRow(*signal.daemon, signal.name,
             QLatin1Char('(') + parameters.join(QLatin1String(", ")) + QLatin1Char(')'),
             signal.summary);
}

QJsonObject json(const Property &property)
{
    return { { QStringLiteral("name"), property.name },
             { QStringLiteral("daemon"), property.method->daemon->name },
             { QStringLiteral("type"), property.method->result() },
             { QStringLiteral("method"), property.method->name },
             { QStringLiteral("summary"), property.method->summary } };
}

void print(const Property &property)
{
    printRow(*property.method->daemon, property.name,
             QLatin1String(" -> ") + property.method->result(),
             QStringLiteral("%1 (%2)").arg(property.method->summary, property.method->name));
}

// Prints the rows of one kind that match.
template <typename Row>
int listRows(const Context &context, const std::vector<Row> &rows, const char *kind,
             const QStringList &names, const QString &text)
{
    const Pattern pattern(text);
    QJsonArray all;
    bool hasAny = false;
    for (const Row &row : rows) {
        if (pattern.matches(row.name)) {
            hasAny = true;
            if (context.json) {
                all += json(row);
            } else {
                print(row);
            }
        }
    }
    if (!hasAny) {
        return Console::fail(Toolkit::NoSuchName, noMatch(kind, text, names, context.contract));
    }
    if (context.json) {
        Console::print(all);
    }
    return Toolkit::Done;
}

bool hasOption(const Context &context, const char *name)
{
    return context.options.contains(QLatin1String(name));
}

int check(const Context &context, const QStringList &)
{
    return hasOption(context, "signals") && hasOption(context, "properties")
        ? Console::fail(Toolkit::WrongUsage,
                        QStringLiteral("--signals and --properties list different things"))
        : int(Toolkit::Done);
}

int run(const Context &context, const QStringList &arguments)
{
    const Contract &contract = context.contract;
    const QString text = arguments.value(0);
    return hasOption(context, "signals")
        ? listRows(context, contract.clientSignals(), "signal", contract.signalNames(), text)
        : hasOption(context, "properties")
        ? listRows(context, contract.properties(), "property", contract.propertyNames(), text)
        : listRows(context, contract.methods(), "method", contract.methodNames(), text);
}

} // namespace

const Command listCommand = {
    "list",
    "[PATTERN]",
    "Lists the methods with parameters, result and daemon; or signals, or properties",
    "Lists the methods whose names match PATTERN; default all. A pattern with *, ? or [\n"
    "has to match the whole name, any other a part of it. A parameter in brackets is\n"
    "optional. With --signals, lists signals; with --properties, lists properties and\n"
    "the methods that read them.",
    { { "signals", nullptr, "list the signals" },
      { "properties", nullptr, "list the properties" } },
    0,
    1,
    false,
    [](const Contract &contract) {
        return contract.methodNames() + contract.signalNames() + contract.propertyNames();
    },
    run,
    check
};
