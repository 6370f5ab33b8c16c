// SPDX-License-Identifier: MIT
#include "console.h"
#include "names.h"
#include "request.h"
#include "values.h"

namespace {

QStringList namesIn(const Context &context, const QStringList &arguments)
{
    return arguments == QStringList(QStringLiteral("all")) ? context.contract.propertyNames()
                                                           : arguments;
}

int check(const Context &context, const QStringList &arguments)
{
    for (const QString &name : namesIn(context, arguments)) {
        if (!context.contract.property(name)) {
            return Console::fail(
                Toolkit::NoSuchName,
                noSuch("property", name, context.contract.propertyNames(), context.contract));
        }
    }
    return Toolkit::Done;
}

int run(const Context &context, const QStringList &arguments)
{
    std::vector<const Property *> properties;
    for (const QString &name : namesIn(context, arguments)) {
        properties.push_back(context.contract.property(name));
    }

    int exitCode = Toolkit::Done;
    QJsonObject object;
    for (const auto &[property, answer] : readProperties(context, properties)) {
        object.insert(property->name, answer.json());
        if (!answer.ok()) {
            exitCode = answer.exitCode();
            Console::note(property->name + QLatin1String(": ") + answer.error);
        } else if (!context.json && properties.size() == 1) {
            for (const QString &line : linesOf(answer.value)) {
                Console::print(line);
            }
        } else if (!context.json) {
            Console::print(property->name.leftJustified(25) + textOf(answer.value));
        }
    }
    if (context.json) {
        Console::print(object);
    }
    return exitCode;
}

} // namespace

// clang-format off
const Command getCommand = {
    "get", "PROPERTY...|all", "Prints the values of properties",
    "Prints the value of one property, or a line for each of several. If some cannot\n"
    "be read, the others are still printed; the exit code is that of the last failure.",
    {}, 1, -1, true,
    [](const Contract &contract) {
        return contract.propertyNames() << QStringLiteral("all");
    },
    run, check, false, false, false
};
// clang-format on
