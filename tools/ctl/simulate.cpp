// SPDX-License-Identifier: MIT
#include "common/daemons.h"
#include "common/datafiles.h"
#include "console.h"
#include "names.h"
#include "request.h"
#include "values.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QEventLoop>
#include <QtDBus/QDBusPendingCallWatcher>
#include <QtDBus/QDBusVariant>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <optional>

using namespace Toolkit;

namespace {

// Marks an act that only one daemon has.
const QString daemonAnnotation = QStringLiteral("org.hnipc.Simulator.Daemon");
const QString everyMember = QStringLiteral("*");

// The places of rolls. To load one ribbon, "load" sends a list with empty SKUs for the other places:
// so many before this one, and so many after it.
// clang-format off
const struct { const char *name; bool isSupply; int before; int after; } places[] = {
    { "supply", true, 0, 0 },
    { "ribbons", false, 0, 0 },
    { "ribbon1", false, 0, 1 },
    { "ribbon2", false, 1, 0 },
};
// clang-format on

QStringList placeNames()
{
    QStringList result;
    for (const auto &place : places) {
        result += QLatin1String(place.name);
    }
    return result;
}

// The acts are the methods of the simulated daemons' own interface.
const QList<InterfaceMember> &acts(QString *error = nullptr)
{
    static QString whatIsWrong;
    static const QList<InterfaceMember> result = []() {
        const QString name = simulatorInterface();
        const QString file = interfaceFile(name);
        const std::optional<Interface> interface = file.isEmpty()
            ? std::nullopt
            : readInterfaceFile(file, &whatIsWrong);
        if (file.isEmpty()) {
            whatIsWrong = QStringLiteral("the description of %1 is not installed").arg(name);
        }
        return interface ? interface->members(InterfaceMember::Method) : QList<InterfaceMember>();
    }();
    if (error) {
        *error = whatIsWrong;
    }
    return result;
}

QStringList actNames()
{
    QStringList result;
    for (const InterfaceMember &act : acts()) {
        result += act.name;
    }
    return result;
}

const InterfaceMember *actNamed(const QString &name)
{
    const auto isIt = [&name](const InterfaceMember &each) { return each.name == name; };
    const auto act = std::find_if(acts().begin(), acts().end(), isIt);
    return act == acts().end() ? nullptr : &*act;
}

// The name of an act's argument, which determines its values; empty if there is no such argument.
QString argumentName(const InterfaceMember &act, int index)
{
    return act.arguments(InterfaceArgument::In).value(index).name;
}

// "set NAME VALUE"
QString usageOf(const InterfaceMember &act)
{
    QStringList words { act.name };
    if (act.name == QLatin1String("load")) {
        return act.name + QLatin1Char(' ') + placeNames().join(QLatin1Char('|'))
            + QLatin1String(" SKU[,SKU]");
    }
    for (const InterfaceArgument &argument : act.arguments(InterfaceArgument::In)) {
        const QString name = argument.name == QLatin1String("member") ? QStringLiteral("METHOD")
                                                                      : argument.name.toUpper();
        words += argument.type == QLatin1String("av")  ? QStringLiteral("[ARGUMENT...]")
            : argument.name == QLatin1String("detail") ? QStringLiteral("[DETAIL...]")
                                                       : name;
    }
    return words.join(QLatin1Char(' '));
}

int wrongUsage(const InterfaceMember &act)
{
    return Console::fail(WrongUsage, QLatin1String("usage: hnipcctl simulate ") + usageOf(act));
}

int noSuchName(const QString &what, const QString &name, const QStringList &names)
{
    return Console::fail(NoSuchName,
                         QStringLiteral("no %1 %2%3").arg(what, name, didYouMean(name, names)));
}

QStringList choicesOf(const QString &argument)
{
    return argument == QLatin1String("button") ? buttons()
        : argument == QLatin1String("kind")    ? faultKinds()
        : argument == QLatin1String("shape")   ? recordShapes()
                                               : QStringList();
}

QStringList memberNames(const Daemon &daemon)
{
    QStringList result;
    for (const InterfaceMember &member : daemon.interface.members(InterfaceMember::Method)) {
        result += member.name;
    }
    result.removeDuplicates();
    return result;
}

// ---- Values ----

struct WordReader
{
    int exitCode = Done;

    // The text as a value of this type of the meta-object.
    QVariant read(const QString &text, int number, const QString &name, const QByteArray &typeName)
    {
        const ArgumentType *type = argumentType(typeName);
        bool isNumber = false;
        const double real = text.toDouble(&isNumber);
        QVariant result = type ? parsed(text, *type) : isNumber ? QVariant(real) : QVariant();
        if (!result.isValid() && exitCode == Done) {
            exitCode = Console::fail(BadValue, wrongArgument(number - 1, name, text, type));
        }
        return result;
    }
};

QByteArray typeOfWire(const QString &wire)
{
    for (const char *name : { "bool", "int", "uint", "qulonglong", "QString", "QStringList" }) {
        if (wire == QLatin1String(argumentType(name)->wire)) {
            return name;
        }
    }
    return "double";
}

// The arguments of "load": the supply's SKU, and the list of the ribbons' SKUs.
std::optional<QVariantList> readRolls(const QStringList &words)
{
    for (const auto &place : places) {
        if (words.size() == 2 && words.first() == QLatin1String(place.name)) {
            const bool isOne = place.isSupply || place.before + place.after > 0;
            const QStringList skus = isOne ? QStringList(words.last())
                                           : words.last().split(QLatin1Char(','));
            QStringList ribbons;
            for (int i = 0; i < place.before; ++i) {
                ribbons += QString();
            }
            ribbons += skus;
            for (int i = 0; i < place.after; ++i) {
                ribbons += QString();
            }
            return place.isSupply ? QVariantList { words.last(), QStringList() }
                                  : QVariantList { QString(), ribbons };
        }
    }
    return std::nullopt;
}

// The detail of a fault, after the member and the kind.
int readDetail(const QString &kind, const QStringList &words, QVariant *detail)
{
    WordReader reader;
    const bool isDelay = kind == QLatin1String("delay");
    const bool isError = kind == QLatin1String("error");
    if (isDelay && words.size() == 1) {
        *detail = reader.read(words.first(), 3, QStringLiteral("milliseconds"), "uint");
    } else if (isError && (words.size() == 1 || words.size() == 2)) {
        *detail = QStringList { words.first(), words.value(1, QStringLiteral("simulated")) };
    } else if (isDelay || isError || !words.isEmpty()) {
        return Console::fail(WrongUsage,
                             QStringLiteral("usage: hnipcctl simulate fault METHOD %1%2")
                                 .arg(kind,
                                      QLatin1String(isDelay       ? " MILLISECONDS"
                                                        : isError ? " ERROR-NAME [TEXT]"
                                                                  : "")));
    } else {
        *detail = QString();
    }
    return reader.exitCode;
}

// ---- The act ----

struct Request
{
    const InterfaceMember *act = nullptr;
    QVariantList arguments;              ///< all but the value of "set"
    QString reading;                     ///< only the simulated daemons know the valid names
    QString value;                       ///< of "set"
    std::vector<const Daemon *> daemons; ///< those that the act may be for
};

// The arguments of "emit" and "flood". Several daemons may have the signal.
int readSignal(const Context &context, const QStringList &words, Request *request)
{
    const ClientSignal *signal = nullptr;
    for (const ClientSignal &each : context.contract.clientSignals()) {
        if (each.name == words.first()) {
            signal = &each;
            request->daemons.push_back(each.daemon);
        }
    }
    if (!signal) {
        return noSuchName(QStringLiteral("signal"), words.first(), context.contract.signalNames());
    }
    request->arguments += words.first();
    WordReader reader;
    if (request->act->name == QLatin1String("emit")) {
        const QStringList types = typesIn(signal->signature);
        if (types.size() != words.size() - 1) {
            return Console::fail(
                WrongUsage,
                QLatin1String("usage: hnipcctl simulate emit ")
                    + (QStringList(signal->name) + signal->parameters).join(QLatin1Char(' ')));
        }
        QVariantList values;
        for (int i = 0; i < types.size(); ++i) {
            values += reader.read(words.at(i + 1), i + 2, signal->parameters.value(i),
                                  typeOfWire(types.at(i)));
        }
        request->arguments += QVariant(values);
    } else {
        request->arguments += reader.read(words.value(1), 2, QStringLiteral("count"), "uint");
    }
    return reader.exitCode;
}

int readFault(const Context &context, const QStringList &words, Request *request)
{
    QStringList names;
    for (const Daemon &daemon : context.contract.daemons()) {
        names += memberNames(daemon);
        if (words.first() == everyMember || memberNames(daemon).contains(words.first())) {
            request->daemons.push_back(&daemon);
        }
    }
    if (request->daemons.empty()) {
        return noSuchName(QStringLiteral("method"), words.first(), names);
    }
    if (!faultKinds().contains(words.at(1))) {
        return Console::fail(BadValue,
                             QStringLiteral("argument 2 (kind): \"%1\" is not one of %2")
                                 .arg(words.at(1), faultKinds().join(QLatin1String(", "))));
    }
    QVariant detail;
    const int exitCode = readDetail(words.at(1), words.mid(2), &detail);
    request->arguments << words.at(0) << words.at(1) << QVariant::fromValue(QDBusVariant(detail));
    return exitCode;
}

// The arguments of other acts, by their types.
int readPlain(const QStringList &words, Request *request)
{
    WordReader reader;
    const QList<InterfaceArgument> arguments = request->act->arguments(InterfaceArgument::In);
    for (int i = 0; i < arguments.size(); ++i) {
        const QStringList choices = choicesOf(arguments.at(i).name);
        if (!choices.isEmpty() && !choices.contains(words.at(i))) {
            return Console::fail(BadValue,
                                 QStringLiteral("argument %1 (%2): \"%3\" is not one of %4")
                                     .arg(QString::number(i + 1), arguments.at(i).name, words.at(i),
                                          choices.join(QLatin1String(", "))));
        }
        request->arguments += reader.read(words.at(i), i + 1, arguments.at(i).name,
                                          typeOfWire(arguments.at(i).type));
    }
    return reader.exitCode;
}

int readRequest(const Context &context, const QStringList &words, Request *request)
{
    QString error;
    acts(&error);
    if (!error.isEmpty()) {
        return Console::fail(Failed, error);
    }
    if (words.isEmpty()) {
        return Console::fail(WrongUsage,
                             QStringLiteral("usage: hnipcctl simulate ACT [ARGUMENT...]"));
    }
    request->act = actNamed(words.first());
    if (!request->act) {
        return noSuchName(QStringLiteral("act"), words.first(), actNames());
    }
    const InterfaceMember &act = *request->act;
    const QStringList rest = words.mid(1);
    const int count = int(act.arguments(InterfaceArgument::In).size());
    const bool isOpenEnded = act.name == QLatin1String("emit")
        || act.name == QLatin1String("fault");
    if (isOpenEnded ? rest.size() < count - 1 : rest.size() != count) {
        return wrongUsage(act);
    }

    const QString first = argumentName(act, 0);
    int exitCode = Done;
    if (act.name == QLatin1String("load")) {
        const std::optional<QVariantList> rolls = readRolls(rest);
        if (!rolls) {
            return wrongUsage(act);
        }
        request->arguments = *rolls;
    } else if (first == QLatin1String("signal")) {
        exitCode = readSignal(context, rest, request);
    } else if (first == QLatin1String("member")) {
        exitCode = readFault(context, rest, request);
    } else if (first == QLatin1String("name")) {
        request->reading = rest.first();
        request->value = rest.value(1);
        request->arguments += rest.first();
    } else {
        exitCode = readPlain(rest, request);
    }

    const QString only = context.options.value(QStringLiteral("daemon"));
    if (!only.isNull() && !context.contract.daemon(only)) {
        return noSuchName(QStringLiteral("daemon"), only, context.contract.daemonNames());
    }
    const QString annotated = act.annotations.value(daemonAnnotation);
    if (!only.isNull()) {
        request->daemons = { context.contract.daemon(only) };
    } else if (!annotated.isEmpty()) {
        request->daemons = { context.contract.daemon(annotated) };
    } else if (request->daemons.empty()) {
        for (const Daemon &daemon : context.contract.daemons()) {
            request->daemons.push_back(&daemon);
        }
    }
    return exitCode;
}

int check(const Context &context, const QStringList &arguments)
{
    Request request;
    return context.options.contains(QStringLiteral("words"))
        ? int(Done)
        : readRequest(context, arguments, &request);
}

// ---- Calls of the simulated daemons ----

// All calls of one command share its timeout.
class Simulators
{
public:
    using Answers = std::map<const Daemon *, Outcome>;

    explicit Simulators(const Context &context) : m_context(context) { m_clock.start(); }

    // Returns when all have replied, or when one reply satisfies @p isEnough.
    Answers ask(const std::vector<const Daemon *> &daemons, const QString &member,
                const QVariantList &arguments = {},
                const std::function<bool(const Outcome &)> &isEnough = nullptr)
    {
        const int left = std::max(1, m_context.timeout - int(m_clock.elapsed()));
        Answers result;
        QEventLoop loop;
        std::vector<std::unique_ptr<QDBusPendingCallWatcher>> watchers;
        for (const Daemon *daemon : daemons) {
            QDBusMessage call = simulatorCall(daemon->busName, member);
            call.setArguments(arguments);
            watchers.push_back(
                std::make_unique<QDBusPendingCallWatcher>(m_context.bus.asyncCall(call, left)));
            const QDBusPendingCallWatcher *watcher = watchers.back().get();
            const auto onFinished = [&, watcher, daemon]() {
                result[daemon] = read(*daemon, watcher->reply());
                if (result.size() == daemons.size() || (isEnough && isEnough(result[daemon]))) {
                    loop.quit();
                }
            };
            QObject::connect(watcher, &QDBusPendingCallWatcher::finished, &loop, onFinished);
        }
        loop.exec();
        return result;
    }

private:
    Outcome read(const Daemon &daemon, const QDBusMessage &reply) const
    {
        Outcome result = outcomeOf(
            daemon, HNIPCFailure::ofReply(reply, daemon.busName, m_context.timeout),
            reply.type() == QDBusMessage::ReplyMessage ? reply.arguments().value(0) : QVariant());
        if (result.errorName == QLatin1String("org.hnipc.Simulator.Error")) {
            result.error = daemon.name + QLatin1String(": ") + reply.errorMessage();
        } else if (result.reason == HNIPCRequest::DaemonError) {
            result.reason = HNIPCRequest::WrongType;
            result.error = QStringLiteral("%1 is not a simulated daemon").arg(daemon.name);
        } else if (result.reason == HNIPCRequest::AccessDenied) {
            result.reason = HNIPCRequest::WrongType;
            result.error = QStringLiteral(
                               "the bus does not allow acts on %1: this may be a printer")
                               .arg(daemon.name);
        }
        return result;
    }

    const Context &m_context;
    QElapsedTimer m_clock;
};

// The daemons that are simulated and have replied. Sets @p why to the failure of another daemon,
// preferably of one that is running.
std::vector<const Daemon *> present(const Simulators::Answers &answers, Outcome *why)
{
    std::vector<const Daemon *> result;
    for (const auto &[daemon, answer] : answers) {
        if (answer.ok()) {
            result.push_back(daemon);
        } else if (why->ok() || why->reason == HNIPCRequest::DaemonAbsent) {
            *why = answer;
        }
    }
    return result;
}

int fail(const Request &request, const Outcome &why)
{
    const bool isNoneRunning = request.daemons.size() > 1
        && why.reason == HNIPCRequest::DaemonAbsent;
    return Console::fail(
        why.exitCode(),
        isNoneRunning ? QStringLiteral("no simulated daemon is running; hnipc-sandbox starts them")
                      : why.error);
}

// Finds the daemon that has the reading, and converts the value to the reading's type.
int findReading(Simulators *simulators, Request *request)
{
    const QString reading = request->reading;
    const auto hasIt = [&reading](const Outcome &answer) {
        return answer.value.toStringList().contains(reading);
    };
    const Simulators::Answers answers = simulators->ask(request->daemons, QStringLiteral("names"),
                                                        {}, hasIt);
    Outcome why;
    const std::vector<const Daemon *> simulated = present(answers, &why);
    QStringList names;
    for (const Daemon *daemon : simulated) {
        const QStringList own = answers.at(daemon).value.toStringList();
        names += own;
        if (own.contains(request->reading)) {
            request->daemons = { daemon };
        }
    }
    if (!names.contains(request->reading)) {
        return simulated.empty() || why.reason == HNIPCRequest::TimedOut ? fail(*request, why)
            : request->daemons.size() == 1
            ? Console::fail(NoSuchName,
                            QStringLiteral("%1 has no reading or switch %2%3")
                                .arg(request->daemons.front()->name, request->reading,
                                     didYouMean(request->reading, names)))
            : noSuchName(QStringLiteral("reading or switch"), request->reading, names);
    }
    if (request->act->name != QLatin1String("set")) {
        return Done;
    }
    const Simulators::Answers values = simulators->ask(request->daemons, QStringLiteral("get"),
                                                       { request->reading });
    const Outcome value = values.begin()->second;
    if (!value.ok()) {
        return Console::fail(value.exitCode(), value.error);
    }
    WordReader reader;
    request->arguments += QVariant::fromValue(QDBusVariant(
        reader.read(request->value, 2, QStringLiteral("value"), value.value.typeName())));
    return reader.exitCode;
}

void print(const Request &request, const Daemon &daemon, const Outcome &answer)
{
    const bool isOfSeveral = request.act->arguments(InterfaceArgument::In).isEmpty();
    if (!answer.value.isValid()) {
        return;
    }
    for (const QString &line : linesOf(answer.value)) {
        Console::print(isOfSeveral ? daemon.name.leftJustified(9) + Console::printable(line)
                                   : line);
    }
}

// Bash expands the words of a completion: without this check, a daemon could make bash run a command.
bool isPlainWord(const QString &word)
{
    static const QString plain = QStringLiteral("_-.,:+@%/");
    return std::all_of(word.begin(), word.end(), [](QChar letter) {
        return letter.isLetterOrNumber() || plain.contains(letter);
    });
}

// The words that may follow these, for the completion.
QStringList nextWords(const Context &context, const QStringList &typed)
{
    const InterfaceMember *act = typed.isEmpty() ? nullptr : actNamed(typed.first());
    if (!act) {
        return typed.isEmpty() ? actNames() : QStringList();
    }
    const int place = int(typed.size()) - 1;
    const QString argument = argumentName(*act, place);
    std::vector<const Daemon *> all;
    for (const Daemon &daemon : context.contract.daemons()) {
        all.push_back(&daemon);
    }
    QStringList result = choicesOf(argument);
    Simulators simulators(context);
    if (act->name == QLatin1String("load") && place == 0) {
        result = placeNames();
    } else if (act->name == QLatin1String("load") && place == 1) {
        const QString method = typed.last() == QLatin1String("supply")
            ? QStringLiteral("supplySKUList")
            : QStringLiteral("supplyRibbonSKUList");
        const QDBusMessage reply = context.bus.call(daemonCall(QStringLiteral("supplyd"), method),
                                                    QDBus::Block, context.timeout);
        result = reply.arguments().value(0).toStringList();
    } else if (argument == QLatin1String("signal")) {
        result = context.contract.signalNames();
    } else if (argument == QLatin1String("member")) {
        for (const Daemon *daemon : all) {
            result += memberNames(*daemon);
        }
    } else if (argument == QLatin1String("name")) {
        const Simulators::Answers answers = simulators.ask(all, QStringLiteral("names"));
        for (const auto &[daemon, answer] : answers) {
            result += answer.value.toStringList();
        }
    } else if (argument == QLatin1String("value")) {
        const Simulators::Answers answers = simulators.ask(all, QStringLiteral("get"),
                                                           { typed.last() });
        for (const auto &[daemon, answer] : answers) {
            const bool isSwitch = answer.ok() && answer.value.userType() == QMetaType::Bool;
            result += isSwitch ? QStringList { QStringLiteral("true"), QStringLiteral("false") }
                               : QStringList();
        }
    }
    return result;
}

int run(const Context &context, const QStringList &arguments)
{
    if (context.options.contains(QStringLiteral("words"))) {
        for (const QString &word : nextWords(context, arguments)) {
            if (isPlainWord(word)) {
                Console::print(word);
            }
        }
        return Done;
    }
    Request request;
    readRequest(context, arguments, &request);
    Simulators simulators(context);
    if (!request.reading.isEmpty()) {
        const int found = findReading(&simulators, &request);
        if (found != Done) {
            return found;
        }
    }
    const Simulators::Answers answers = simulators.ask(request.daemons, request.act->name,
                                                       request.arguments);
    Outcome why;
    const bool isForAll = request.daemons.size() > 1;
    if (isForAll && present(answers, &why).empty()) {
        return fail(request, why);
    }

    int exitCode = Done;
    QJsonObject daemons;
    for (const auto &[daemon, answer] : answers) {
        // An act for all daemons skips those that are not running or not simulated.
        if (isForAll
            && (answer.reason == HNIPCRequest::DaemonAbsent
                || answer.reason == HNIPCRequest::WrongType)) {
            continue;
        }
        daemons.insert(daemon->name, answer.json());
        if (!answer.ok()) {
            exitCode = answer.exitCode();
            Console::note(answer.error);
        } else if (!context.json) {
            print(request, *daemon, answer);
        }
    }
    if (context.json) {
        QJsonObject object { { QStringLiteral("act"), request.act->name },
                             { QStringLiteral("daemons"), daemons } };
        if (exitCode != Done) {
            object.insert(QStringLiteral("exit"), exitCode);
        }
        Console::print(object);
    }
    return exitCode;
}

} // namespace

// clang-format off
const Command simulateCommand = {
    "simulate", "ACT [ARGUMENT...]", "Acts on simulated daemons: sets readings, loads rolls, makes faults",
    "It does not act on a real daemon. An ACT is one of\n"
    "  set NAME VALUE      sets a reading or a switch\n"
    "  get NAME            prints the value of a reading or a switch\n"
    "  names               prints the names of all readings and switches\n"
    "  press BUTTON        presses a button, one of print, help, cancel\n"
    "  load supply SKU     loads a new supply\n"
    "  load ribbon1 SKU\n"
    "  load ribbon2 SKU    loads a new ribbon at this place\n"
    "  load ribbons SKU[,SKU]\n"
    "                      loads these ribbons, and removes all others\n"
    "  print LABELS        queues a job of this many labels\n"
    "  emit SIGNAL [ARGUMENT...]\n"
    "                      emits a signal, by the name that \"monitor\" prints\n"
    "  flood SIGNAL COUNT  emits a signal COUNT times, as fast as possible\n"
    "  fault METHOD delay MILLISECONDS\n"
    "  fault METHOD error ERROR-NAME [TEXT]\n"
    "  fault METHOD never|wrongtype|die|none\n"
    "                      applies a fault to all calls of a method, or of all\n"
    "                      methods with '*'; none ends the fault\n"
    "  malform SHAPE       makes the supply daemon reply with malformed records\n"
    "  faults              prints the faults\n"
    "  reset               ends all faults, and the flood\n"
    "Values are written as for \"call\". The name of the reading, the signal or the method\n"
    "selects the daemon. press, load, print and malform are each for one daemon, all\n"
    "other acts for all simulated daemons. See hnipc-simulator(1).",
    { { "daemon", "DAEMON", "act on this daemon only" },
      { "words", nullptr, "print the words that may follow, for the completion" } },
    0, -1, true, [](const Contract &) { return actNames(); }, run, check, true
};
// clang-format on
