// SPDX-License-Identifier: MIT
#include "command.h"
#include "console.h"
#include "fleet.h"
#include "hosts.h"
#include "names.h"
#include "surroundings.h"
#include "values.h"

#include "common/qtmessages.h"

#include <hnipc/hnipc_version.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtDBus/QDBusError>

#include <algorithm>
#include <optional>

using namespace Toolkit;

const std::vector<const Command *> &commands()
{
    static const std::vector<const Command *> table = {
        &statusCommand, &listCommand,     &callCommand,       &getCommand,        &batchCommand,
        &watchCommand,  &metricsCommand,  &monitorCommand,    &traceCommand,      &recordCommand,
        &replayCommand, &simulateCommand, &introspectCommand, &completionCommand,
    };
    return table;
}

const std::vector<Option> &globalOptions()
{
    static const std::vector<Option> table = {
        { "address", "ADDRESS", "use the bus at this D-Bus address, not the system bus" },
        { "host", "PRINTER",
          "use the bus of [USER@]PRINTER, over ssh; may be given several times" },
        { "hosts", "FILE", "use the bus of each printer in FILE, one printer in each line" },
        { "json", nullptr, "print JSON, for programs" },
        { "timeout", "MS",
          "wait at most MS milliseconds for the bus, and for replies; default 25000" },
        { "help", nullptr, "print this help, or that of a command" },
        { "version", nullptr, "print the version" },
    };
    return table;
}

namespace {

int wrongUsage(const QString &text)
{
    return Console::fail(WrongUsage, text + QLatin1String("; see hnipcctl --help"));
}

const Command *commandNamed(const QString &name)
{
    for (const Command *command : commands()) {
        if (name == QLatin1String(command->name)) {
            return command;
        }
    }
    return nullptr;
}

int unknownCommand(const QString &name)
{
    QStringList names;
    for (const Command *command : commands()) {
        names += QLatin1String(command->name);
    }
    const QString hint = didYouMean(name, names);
    return Console::fail(
        WrongUsage,
        QStringLiteral("no command %1%2")
            .arg(name, hint.isEmpty() ? QStringLiteral("; see hnipcctl --help") : hint));
}

void printOptions(const char *title, const std::vector<Option> &options)
{
    if (!options.empty()) {
        Console::print(QLatin1Char('\n') + QLatin1String(title) + QLatin1Char(':'));
    }
    for (const Option &option : options) {
        const QString form = QLatin1String(option.name) + QLatin1Char(' ')
            + QLatin1String(option.value ? option.value : "");
        Console::print(QLatin1String("  --") + form.leftJustified(18) + QLatin1String(option.help));
    }
}

// "[--count N] [PATTERN]"
QString synopsisOf(const Command &command)
{
    QStringList parts;
    for (const Option &option : command.options) {
        const QString value = option.value ? QLatin1Char(' ') + QLatin1String(option.value)
                                           : QString();
        parts += QStringLiteral("[--%1%2]").arg(QLatin1String(option.name), value);
    }
    parts += QLatin1String(command.synopsis);
    return parts.join(QLatin1Char(' ')).trimmed();
}

int printHelp(const Command *command)
{
    if (command) {
        Console::print(QStringLiteral("Usage: hnipcctl %1 [OPTION...] %2")
                           .arg(QLatin1String(command->name), synopsisOf(*command))
                           .trimmed());
        Console::print(QLatin1String(command->summary) + QLatin1String(".\n\n")
                       + QLatin1String(command->help));
        printOptions("Options", command->options);
        printOptions("Options of every command", globalOptions());
        return Done;
    }
    Console::print(
        QStringLiteral("Usage: hnipcctl [OPTION...] COMMAND [ARGUMENT...]\n"
                       "Calls and watches the daemons of the label printer.\n\nCommands:"));
    for (const Command *each : commands()) {
        Console::print(QLatin1String("  ") + QString::fromLatin1(each->name).leftJustified(12)
                       + QLatin1String(each->summary));
    }
    Console::print(
        QStringLiteral("  help        Prints this help, or that of a command: help call"));
    printOptions("Options", globalOptions());
    return Done;
}

// The parsed arguments of the program. Only "--" begins an option, so "-3" is a number, and "-h"
// after a method is a string. All other words are sent to a printer unchanged.
struct CommandLine
{
    const Command *command = nullptr;
    QString name; ///< of the command
    QStringList arguments;
    QMap<QString, QString> options;
    QStringList hosts; ///< all values of --host
    QString error;     ///< the error in an option
};

const Option *optionNamed(const QString &name, const Command *command)
{
    for (const auto *table : { &globalOptions(), command ? &command->options : nullptr }) {
        for (size_t i = 0; table && i < table->size(); ++i) {
            if (name == QLatin1String(table->at(i).name)) {
                return &table->at(i);
            }
        }
    }
    return nullptr;
}

// The message for an option that does not exist, or that the command does not have.
QString noOption(const QString &name, const Command *command)
{
    QStringList owners;
    QStringList names;
    for (const Option &option : globalOptions()) {
        names += QLatin1String(option.name);
    }
    for (const Command *each : commands()) {
        for (const Option &option : each->options) {
            if (name == QLatin1String(option.name)) {
                owners += QLatin1String(each->name);
            }
            if (!command || command == each) {
                names += QLatin1String(option.name);
            }
        }
    }
    names.removeDuplicates();
    const QString all = owners.join(QLatin1String(", "));
    if (!owners.isEmpty() && !command) {
        return QStringLiteral("--%1 is an option of %2: it has to follow the command")
            .arg(name, all);
    }
    if (!owners.isEmpty()) {
        return QStringLiteral("no option --%1 for %2: it is an option of %3")
            .arg(name, QLatin1String(command->name), all);
    }
    const QString hint = didYouMean(name, names);
    return QStringLiteral("no option --%1%2")
        .arg(name,
             QString(hint)
                 .replace(QLatin1String("mean "), QLatin1String("mean --"))
                 .replace(QLatin1String(", "), QLatin1String(", --")));
}

// Short options are allowed only before the command: after it, they may be numbers or strings.
QString longForm(const QString &word)
{
    return word == QLatin1String("-h") ? QStringLiteral("--help")
        : word == QLatin1String("-v")  ? QStringLiteral("--version")
                                       : word;
}

CommandLine parse(QStringList words)
{
    CommandLine result;
    bool optionsEnded = false;
    while (!words.isEmpty() && result.error.isEmpty()) {
        const bool isShortAllowed = result.name.isNull() && !optionsEnded;
        const QString word = isShortAllowed ? longForm(words.takeFirst()) : words.takeFirst();
        if (!optionsEnded && word == QLatin1String("--")) {
            optionsEnded = true;
        } else if (!optionsEnded && word.startsWith(QLatin1String("--"))) {
            const QString name = word.mid(2).section(QLatin1Char('='), 0, 0);
            const bool hasValue = word.contains(QLatin1Char('='));
            const Option *option = optionNamed(name, result.command);
            if (!option) {
                result.error = noOption(name, result.command);
            } else if (!option->value && hasValue) {
                result.error = QStringLiteral("--%1 takes no value").arg(name);
            } else if (option->value && !hasValue && words.isEmpty()) {
                result.error = QStringLiteral("--%1 needs a value: %2")
                                   .arg(name, QLatin1String(option->value));
            } else if (option->value) {
                result.options[name] = hasValue ? word.mid(int(qstrlen("--=")) + name.size())
                                                : words.takeFirst();
                if (name == QLatin1String("host")) {
                    result.hosts += result.options[name];
                }
            } else {
                result.options[name] = QString();
            }
        } else if (result.name.isNull()) {
            result.name = word;
            result.command = commandNamed(word);
        } else {
            result.arguments += word;
        }
    }
    return result;
}

// The name of the bus for messages.
QString busText(const QString &address, const QString &host)
{
    return !host.isNull()   ? host
        : !address.isNull() ? QLatin1String("the bus at ") + address
                            : QStringLiteral("the system bus");
}

int noBus(const QString &address, const QString &host, const QString &error)
{
    // Over ssh, the bus library knows only that there was no reply; ssh has printed the reason.
    return Console::fail(NoBus,
                         !host.isNull() ? QStringLiteral("no system bus of %1").arg(host)
                             : !address.isNull()
                             ? QStringLiteral("no bus at %1: %2").arg(address, error)
                             : QStringLiteral("no system bus: %1; to try without a "
                                              "printer: hnipc-sandbox hnipcctl "
                                              "status")
                                   .arg(error));
}

// Returns the exit code; Done if the program is connected.
int connectToBus(Context *context, const QString &address, const QString &host)
{
    // The other bus replaces the system bus in the whole process, including the library.
    if (!host.isNull()) {
        const QString missing = missingSsh();
        if (!missing.isEmpty()) {
            return Console::fail(NoBus, missing);
        }
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", busAddress(host, context->timeout).toUtf8());
    } else if (!address.isNull()) {
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", address.toUtf8());
    } else {
        const QString other = lostBusAddress();
        if (!other.isEmpty()) {
            Console::note(
                QStringLiteral("using the system bus, not the bus at %1 of the program that "
                               "started this one; sudo keeps that address with "
                               "--preserve-env=DBUS_SYSTEM_BUS_ADDRESS")
                    .arg(other));
        }
    }
    context->unreached = QStringLiteral("%1 was not reached").arg(busText(address, host));
    const QString deadline = context->options.value(QStringLiteral("deadline"));
    {
        // No call has been sent yet, so the outcome of --deadline is "not sent".
        const bool isSoon = !deadline.isNull() && deadline.toInt() < context->timeout;
        const ReachingDeadline end(isSoon ? QLatin1String("not sent: ") + context->unreached
                                          : context->unreached,
                                   isSoon ? deadline.toInt() : context->timeout);
        context->bus = QDBusConnection::systemBus();
    }
    if (!context->bus.isConnected()) {
        return noBus(address, host, context->bus.lastError().message());
    }
    if (qEnvironmentVariableIsSet(unattendedVariable)) {
        Console::write("\n"); // for askFleet(): the printer has been reached
        Console::flush();
    }
    return Done;
}

// Finds the printers of the command line; none means the local bus. Returns the exit code.
int findHosts(const CommandLine &line, QStringList *hosts)
{
    *hosts = line.hosts;
    for (const QString &host : line.hosts) {
        const QString wrong = wrongHost(host);
        if (!wrong.isEmpty()) {
            return wrongUsage(QLatin1String("--host: ") + wrong);
        }
    }
    const bool hasFile = line.options.contains(QStringLiteral("hosts"));
    if (line.options.contains(QStringLiteral("address"))) {
        if (hasFile || !hosts->isEmpty()) {
            return wrongUsage(QStringLiteral("--address and --host name different buses"));
        }
        // The bus library would use the system bus.
        if (line.options.value(QStringLiteral("address")).isEmpty()) {
            return wrongUsage(QStringLiteral("--address is empty"));
        }
    }
    const int exitCode = hasFile ? readHosts(line.options.value(QStringLiteral("hosts")), hosts)
                                 : int(Done);
    hosts->removeDuplicates();
    return exitCode;
}

// Runs a command in a process of its own for each printer, or for the local bus.
int gather(const CommandLine &line, const Context &context, const QStringList &hosts)
{
    FleetQuestion question;
    const QString address = QStringLiteral("address");
    if (line.options.contains(address)) {
        question.words += QLatin1String("--address=") + line.options.value(address);
    }
    question.words += line.name;
    question.hosts = hosts.isEmpty() ? QStringList(QString()) : hosts;
    question.timeout = context.timeout;
    question.json = true;
    question.gather = [&](const std::vector<FleetAnswer> &answers) {
        return line.command->gather(context, answers);
    };
    return askFleet(question);
}

int runAtFleet(const CommandLine &line, const QStringList &hosts, int timeout)
{
    FleetQuestion question;
    question.words += line.name;
    question.hosts = hosts;
    question.timeout = timeout;
    question.json = line.options.contains(QStringLiteral("json"));
    question.inLines = line.command->inLines;
    for (const Option &option : line.command->options) {
        const QString name = QLatin1String(option.name);
        if (!line.options.contains(name)) {
            continue;
        }
        if (name == QLatin1String("output")) {
            return wrongUsage(QStringLiteral("--%1 is for one printer at a time").arg(name));
        }
        // The limit is for all printers together.
        if (name == QLatin1String("count")) {
            question.mostLines = line.options.value(name).toInt();
            continue;
        }
        question.words += QLatin1String("--") + name;
        if (option.value) {
            question.words.last() += QLatin1Char('=') + line.options.value(name);
        }
    }
    question.words << QStringLiteral("--") << line.arguments;
    if (line.command == &batchCommand) {
        QFile input;
        const bool isOpen = input.open(stdin, QIODevice::ReadOnly);
        question.input = isOpen ? input.readAll() : QByteArray();
        if (input.error() != QFile::NoError) {
            return Console::fail(Failed, QLatin1String("standard input: ") + input.errorString());
        }
    }
    return askFleet(question);
}

// Returns the exit code if help or the version was requested, or if the command line is invalid.
std::optional<int> runWithoutCommand(const CommandLine &line)
{
    const bool isHelp = line.name == QLatin1String("help");
    if (!line.name.isNull() && !isHelp && !line.command) {
        return unknownCommand(line.name);
    }
    if (!line.error.isEmpty()) {
        return wrongUsage(line.error);
    }
    if (line.options.contains(QStringLiteral("version"))) {
        Console::print(QStringLiteral("hnipcctl " HNIPC_VERSION_STRING));
        return Done;
    }
    if (isHelp && !line.arguments.isEmpty()) {
        const Command *about = commandNamed(line.arguments.first());
        return about ? printHelp(about) : unknownCommand(line.arguments.first());
    }
    if (isHelp || line.options.contains(QStringLiteral("help"))) {
        return printHelp(line.command);
    }
    return line.command ? std::nullopt
                        : std::optional<int>(wrongUsage(QStringLiteral("no command given")));
}

// A hint for an argument that may have been meant as an option.
QString shortOptionHint(const QStringList &arguments)
{
    for (const QString &argument : arguments) {
        if (argument.size() > 1 && argument.startsWith(QLatin1Char('-'))
            && argument.at(1).isLetter()) {
            return QStringLiteral("; %1 is an argument: options begin with --").arg(argument);
        }
    }
    return QString();
}

int checkCount(const CommandLine &line)
{
    const Command &command = *line.command;
    const int count = int(line.arguments.size());
    return count >= command.fewest && (command.most < 0 || count <= command.most)
        ? int(Done)
        : Console::fail(
            WrongUsage,
            QStringLiteral("usage: hnipcctl %1 %2").arg(line.name, synopsisOf(command)).trimmed()
                + shortOptionHint(line.arguments));
}

int readTimeout(const CommandLine &line, int *milliseconds)
{
    const QString text = line.options.value(QStringLiteral("timeout"), QStringLiteral("25000"));
    *milliseconds = text.toInt();
    return *milliseconds >= 1
        ? int(Done)
        : wrongUsage(
            QStringLiteral("--timeout: \"%1\" is not a number of milliseconds from 1 to 2147483647")
                .arg(text));
}

// Everything that needs no bus. Returns the exit code.
int prepare(const CommandLine &line, const Context &context, QStringList *hosts)
{
    const int found = findHosts(line, hosts);
    if (found != Done) {
        return found;
    }
    if (line.command->onePrinter && hosts->size() > 1) {
        return wrongUsage(QStringLiteral("%1 is for one printer at a time; %2 are given")
                              .arg(line.name)
                              .arg(hosts->size()));
    }
    return line.command->check ? line.command->check(context, line.arguments) : int(Done);
}

int run(const CommandLine &line)
{
    const bool json = line.options.contains(QStringLiteral("json"));
    if (const std::optional<int> exitCode = runWithoutCommand(line)) {
        return *exitCode;
    }
    int milliseconds = 0;
    int exitCode = checkCount(line);
    exitCode = exitCode == Done ? readTimeout(line, &milliseconds) : exitCode;
    if (exitCode != Done) {
        return exitCode;
    }
    QString error;
    const std::unique_ptr<Contract> contract = line.command->described
        ? Contract::load(&error)
        : Contract::ofLibrary(&error);
    if (!contract) {
        return Console::fail(Failed, error);
    }
    Context context { *contract, QDBusConnection(QString()), json, milliseconds, line.options, {} };
    QStringList hosts;
    exitCode = prepare(line, context, &hosts);
    if (exitCode == Done && line.command->gather && !json) {
        return gather(line, context, hosts);
    }
    const bool isFleet = hosts.size() > 1 || line.options.contains(QStringLiteral("hosts"));
    if (exitCode == Done && isFleet && line.command->needsBus && !line.command->onePrinter) {
        return runAtFleet(line, hosts, milliseconds);
    }
    if (exitCode == Done && line.command->needsBus) {
        QElapsedTimer timer;
        timer.start();
        exitCode = connectToBus(&context, line.options.value(QStringLiteral("address")),
                                hosts.value(0));
        // Such a command has one timeout, for everything.
        if (line.command->gather) {
            context.timeout = int(std::max<qint64>(1, milliseconds - timer.elapsed()));
        }
    }
    return exitCode == Done ? line.command->run(context, line.arguments) : exitCode;
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc > 3 && qstrcmp(argv[1], becomeSshOption) == 0) {
        return becomeSsh(argv + 2);
    }
    // Output is UTF-8 even if no locale is set, as on a serial console.
    qputenv("LC_ALL", "C.UTF-8");
    Console::start();
    QStringList words;
    QString notText;
    for (int i = 1; i < argc; ++i) {
        const std::optional<QString> word = exactText(argv[i]);
        words += word.value_or(QString());
        if (!word && notText.isNull()) {
            notText = QStringLiteral("argument %1 of the command line is not UTF-8: \"%2\"")
                          .arg(QString::number(i), QString::fromLatin1(argv[i]));
        }
    }
    Console::failInJson(
        words.mid(0, int(words.indexOf(QStringLiteral("--")))).contains(QStringLiteral("--json")));
    hideOwnerWarning();
    QCoreApplication application(argc, argv);
    Console::end(notText.isNull() ? run(parse(words)) : Console::fail(BadValue, notText));
}
