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

void print(const Method &method)
{
    const QString result = method.resultType.isEmpty()
        ? QString() : QLatin1String(" -> ") + method.result();
    Console::print(method.daemon->name.leftJustified(9) + Console::bold(method.name)
                   + method.declaration().mid(method.name.size()) + result
                   + QLatin1String(Console::isTerminal() ? "\n         " : "   ")
                   + Console::dim(method.summary));
}

int run(const Context &context, const QStringList &arguments)
{
    const Pattern pattern(arguments.value(0));
    std::vector<const Method *> methods;
    for (const Method &method : context.contract.methods()) {
        if (pattern.matches(method.name)) {
            methods.push_back(&method);
        }
    }
    if (methods.empty()) {
        return Console::fail(Toolkit::NoSuchName, QStringLiteral("no method matches \"%1\"")
                                 .arg(arguments.value(0)));
    }
    if (context.json) {
        QJsonArray all;
        for (const Method *method : methods) {
            all += json(*method);
        }
        Console::print(all);
        return Toolkit::Done;
    }
    for (const Method *method : methods) {
        print(*method);
    }
    return Toolkit::Done;
}

} // namespace

const Command listCommand = {
    "list", "[PATTERN]", "Every method, with its arguments, its result and its daemon",
    "Lists the methods whose names match PATTERN, all without one. A pattern with\n"
    "*, ? or [ has to match the whole name, any other a part of it. An argument in\n"
    "brackets may be left out.",
    {}, 0, 1, false,
    [](const Contract &contract) { return contract.methodNames(); }, run
};
