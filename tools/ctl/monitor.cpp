// SPDX-License-Identifier: MIT
#include "console.h"
#include "names.h"
#include "signalfeed.h"
#include "values.h"

#include <hnipc/hnipcavailability.h>

#include <QtCore/QDateTime>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>

namespace {

// Prints a signal; with the names of the arguments if it is as declared.
void print(const Context &context, const ClientSignal &signal, const QDBusMessage &message)
{
    const QDateTime now = QDateTime::currentDateTime();
    const bool asDeclared = message.signature() == signal.signature;
    QJsonObject named;
    QJsonArray bare;
    QStringList texts;
    const QVariantList arguments = message.arguments();
    for (int i = 0; i < arguments.size(); ++i) {
        const QVariant value = plain(arguments.at(i));
        const QString name = asDeclared ? signal.parameters.value(i) : QString();
        named.insert(name, jsonOf(value));
        bare += jsonOf(value);
        texts += asDeclared ? name + QLatin1Char('=') + textOf(value) : textOf(value);
    }
    if (context.json) {
        QJsonObject object { { QStringLiteral("time"), now.toUTC().toString(Qt::ISODateWithMs) },
                             { QStringLiteral("daemon"), signal.daemon->name },
                             { QStringLiteral("signal"), signal.name },
                             { QStringLiteral("arguments"),
                               asDeclared ? QJsonValue(named) : QJsonValue(bare) } };
        if (!asDeclared) {
            object.insert(QStringLiteral("signature"), message.signature());
        }
        Console::printLine(object);
    } else {
        if (!asDeclared) {
            const QString note = message.signature().startsWith(signal.signature)
                ? QStringLiteral("(clients receive only \"%2\" of \"%1\")")
                : QStringLiteral("(clients do not receive it: \"%1\", not \"%2\")");
            texts += Console::warning(note.arg(message.signature(), signal.signature));
        }
        texts.prepend(Console::dim(now.toString(QStringLiteral("HH:mm:ss.zzz"))) + QLatin1Char(' ')
                      + signal.daemon->name.leftJustified(8) + Console::bold(signal.name));
        Console::print(texts.join(QLatin1Char(' ')));
    }
    Console::flush();
}

std::vector<const ClientSignal *> signalsLike(const Contract &contract, const Pattern &pattern)
{
    std::vector<const ClientSignal *> result;
    for (const ClientSignal &signal : contract.clientSignals()) {
        if (pattern.matches(signal.name)) {
            result.push_back(&signal);
        }
    }
    return result;
}

// When the bus connection is lost, all daemons become unavailable: this is not reported.
void noteChanges(const HNIPCAvailability *daemons, void (HNIPCAvailability::*changed)(bool),
                 const char *daemon)
{
    QObject::connect(daemons, changed, [daemons, daemon](bool available) {
        if (daemons->isKnown()) {
            Console::note(QLatin1String(daemon)
                          + QLatin1String(available ? " is on the bus" : " left the bus"));
        }
    });
}

int check(const Context &context, const QStringList &arguments)
{
    if (signalsLike(context.contract, Pattern(arguments.value(0))).empty()) {
        return Console::fail(
            Toolkit::NoSuchName,
            noMatch("signal", arguments.first(), context.contract.signalNames(), context.contract));
    }
    return SignalLimit::check(context);
}

int run(const Context &context, const QStringList &arguments)
{
    const auto wanted = signalsLike(context.contract, Pattern(arguments.value(0)));
    SignalLimit limit(context);
    bool isSubscribed = false; // and the note is printed
    SignalFeed feed(context, wanted, [&](const ClientSignal &signal, const QDBusMessage &message) {
        if (isSubscribed && !limit.isReached()) {
            print(context, signal, message);
            limit.count();
        }
    });
    HNIPCAvailability daemons;
    QObject::connect(&daemons, &HNIPCAvailability::knownChanged, [&](bool known) {
        if (!known) {
            return;
        }
        noteChanges(&daemons, &HNIPCAvailability::ioexpdChanged, "ioexpd");
        noteChanges(&daemons, &HNIPCAvailability::m4Changed, "m4");
        noteChanges(&daemons, &HNIPCAvailability::supplydChanged, "supplyd");
        isSubscribed = true;
        Console::note(QStringLiteral("subscribed to %1; Ctrl-C ends")
                          .arg(Console::signalCount(wanted.size())));
    });
    return feed.run();
}

} // namespace

// clang-format off
const Command monitorCommand = {
    "monitor", "[PATTERN]", "Prints every signal with its time and its arguments",
    "Prints the signals whose names match PATTERN, see \"list\", until Ctrl-C; default\n"
    "all. With --json, each is a JSON object in a line of its own. A line on standard\n"
    "error says when a daemon appears or disappears. With several printers, each line\n"
    "begins with the printer's name.",
    { { "count", "N", "end after N signals, of all printers together" } },
    0, 1, true,
    [](const Contract &contract) { return contract.signalNames(); }, run, check, false, true
};
// clang-format on
