// SPDX-License-Identifier: MIT
#include "console.h"
#include "names.h"
#include "signalfeed.h"
#include "values.h"

#include <QtCore/QDateTime>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>

namespace {

// With names where the signal is as declared, and so one that clients receive.
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
        QJsonObject object { { QStringLiteral("time"),
                               now.toUTC().toString(Qt::ISODateWithMs) },
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
            texts += Console::warning(QStringLiteral("(no client hears it: \"%1\", not \"%2\")")
                                          .arg(message.signature(), signal.signature));
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

int check(const Context &context, const QStringList &arguments)
{
    if (signalsLike(context.contract, Pattern(arguments.value(0))).empty()) {
        return Console::fail(Toolkit::NoSuchName, QStringLiteral("no signal matches \"%1\"")
                                 .arg(arguments.first()));
    }
    return SignalLimit::check(context);
}

int run(const Context &context, const QStringList &arguments)
{
    const auto wanted = signalsLike(context.contract, Pattern(arguments.value(0)));
    SignalLimit limit(context);
    // In front of the feed, which waits until the bus has heard of all of it.
    const DaemonWatcher daemons(context, [](const Daemon &daemon, bool left, bool came) {
        if (left) {
            Console::note(daemon.name + QLatin1String(" left the bus"));
        }
        if (came) {
            Console::note(daemon.name + QLatin1String(" is on the bus"));
        }
    });
    const SignalFeed feed(context, wanted, [&](const ClientSignal &signal,
                                               const QDBusMessage &message) {
        if (!limit.isReached()) {
            print(context, signal, message);
            limit.count();
        }
    });
    Console::note(QStringLiteral("listening to %1; Ctrl-C ends")
                      .arg(Console::signalCount(wanted.size())));
    return BusLoop::run(context);
}

} // namespace

const Command monitorCommand = {
    "monitor", "[PATTERN]", "Every signal as it comes, with its time and its arguments",
    "Prints the signals whose names match PATTERN, all without one, see \"list\", until\n"
    "Ctrl-C. With --json, each is a JSON object in a line of its own. A daemon that\n"
    "comes or leaves meanwhile is told of on standard error.",
    { { "count", "N", "end after so many signals" } },
    0, 1, true,
    [](const Contract &contract) { return contract.signalNames(); }, run, check, true
};
