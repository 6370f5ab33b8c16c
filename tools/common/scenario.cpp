// SPDX-License-Identifier: MIT
#include "common/scenario.h"

#include "common/daemons.h"
#include "common/datafiles.h"
#include "common/jsonfile.h"

#include <QtCore/QFileInfo>
#include <QtCore/QTimer>
#include <QtDBus/QDBusError>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusPendingCallWatcher>
#include <QtDBus/QDBusVariant>

#include <algorithm>
#include <climits>

using namespace Toolkit;

namespace {

// An argument of an act: its key, and the function that reads its value.
struct Argument
{
    const char *key;
    QVariant (*read)(const JsonValue &value);
    bool optional = false;
    QVariant otherwise = QVariant();
};

struct Verb
{
    const char *name;
    QList<Argument> arguments;
    // Not null if an argument depends on another one
    QList<Argument> (*adapt)(const JsonValue &act, QList<Argument> arguments) = nullptr;
};

QVariant text(const JsonValue &value) { return value.text(); }

QVariant textOrNone(const JsonValue &value) { return value.text(0); }

QVariant count(const JsonValue &value) { return static_cast<uint>(value.integer(1, INT_MAX)); }

QVariant variant(const JsonValue &value) { return QVariant::fromValue(QDBusVariant(value.any())); }

QVariant texts(const JsonValue &value)
{
    QStringList result;
    const QList<JsonValue> items = value.items(0, INT_MAX);
    for (const JsonValue &item : items) {
        result += item.text(0);
    }
    return result;
}

QVariant variants(const JsonValue &value)
{
    QVariantList result;
    const QList<JsonValue> items = value.items(0, INT_MAX);
    for (const JsonValue &item : items) {
        result += item.any();
    }
    return result;
}

QVariant button(const JsonValue &value) { return value.text(buttons()); }

QVariant faultKind(const JsonValue &value) { return value.text(faultKinds()); }

QVariant milliseconds(const JsonValue &value)
{
    return QVariant::fromValue(QDBusVariant(value.integer(0, INT_MAX)));
}

// The name of a D-Bus error and a text, as one string or as two.
QVariant nameAndText(const JsonValue &value)
{
    if (!value.isText()) {
        const QList<JsonValue> items = value.items(2, 2);
        return QVariant::fromValue(QDBusVariant(QStringList { items[0].text(), items[1].text(0) }));
    }
    return QVariant::fromValue(QDBusVariant(value.text()));
}

QVariant shape(const JsonValue &value) { return value.text(recordShapes()); }

// Some kinds of fault need a detail.
QList<Argument> withDetail(const JsonValue &act, QList<Argument> arguments)
{
    const QString kind = act.has("kind") ? act["kind"].text(0) : QString();
    if (kind == QLatin1String("delay")) {
        arguments.last() = { "detail", milliseconds };
    } else if (kind == QLatin1String("error")) {
        arguments.last() = { "detail", nameAndText };
    }
    return arguments;
}

// The acts. They are for the simulator interface of a daemon; "call" is for the daemon itself, and
// "start", "stop" and "say" for the program that plays the scenario.
const QList<Verb> &verbs()
{
    static const QVariant nothing = QVariant::fromValue(QDBusVariant(QString()));
    static const QList<Verb> result = {
        { "set", { { "name", text }, { "value", variant } } },
        { "press", { { "button", button } } },
        { "load", { { "supplySku", textOrNone }, { "ribbonSkus", texts } } },
        { "print", { { "labels", count } } },
        { "emit", { { "signal", text }, { "arguments", variants, true, QVariantList() } } },
        { "fault",
          { { "member", text }, { "kind", faultKind }, { "detail", variant, true, nothing } },
          withDetail },
        { "flood", { { "signal", text }, { "count", count } } },
        { "malform", { { "shape", shape } } },
        { "reset", {} },
        { "call", { { "method", text } } },
        { "start", {} },
        { "stop", {} },
        { "say", { { "text", text } } },
    };
    return result;
}

Act readAct(const JsonValue &value)
{
    QStringList names;
    for (const Verb &verb : verbs()) {
        names += QLatin1String(verb.name);
    }
    if (!value.has("do")) {
        value.object({ "do" }, { "at", "daemon" });
    }

    Act act;
    act.line = value.line();
    act.verb = value["do"].text(names);
    const Verb &verb = verbs().at(names.indexOf(act.verb));
    const bool isForAll = act.verb == QLatin1String("say");
    QStringList required = { "at", "do" };
    QStringList optional;
    (isForAll ? optional : required) += QStringLiteral("daemon");
    const QList<Argument> arguments = verb.adapt ? verb.adapt(value, verb.arguments)
                                                 : verb.arguments;
    for (const Argument &argument : arguments) {
        (argument.optional ? optional : required) += QLatin1String(argument.key);
    }
    value.object(required, optional);

    const double aDay = 24 * 60 * 60;
    act.at = qRound(value["at"].number(0, aDay) * 1000);
    if (value.has("daemon")) {
        act.daemon = value["daemon"].text(daemonNames());
    }
    for (const Argument &argument : arguments) {
        act.arguments += value.has(argument.key) ? argument.read(value[argument.key])
                                                 : argument.otherwise;
    }
    return act;
}

QStringList shippedScenarios()
{
    QStringList result;
    const QStringList files = dataFiles(QStringLiteral("scenarios"));
    for (const QString &file : files) {
        result += QFileInfo(file).completeBaseName();
    }
    return result;
}

} // namespace

std::optional<Scenario> Toolkit::readScenario(const QString &fileName, QString *error)
{
    Scenario result;
    result.fileName = fileName;
    if (!QFileInfo::exists(fileName) && !fileName.contains(QLatin1Char('/'))) {
        result.fileName = dataFile(QStringLiteral("scenarios/%1.json").arg(fileName));
        if (result.fileName.isEmpty()) {
            *error = QStringLiteral("there is no file %1, and no installed scenario of that name; "
                                    "installed are %2")
                         .arg(fileName, shippedScenarios().join(QLatin1String(", ")));
            return std::nullopt;
        }
    }
    try {
        const JsonValue root = JsonValue::read(result.fileName);
        root.object({ "name", "about", "acts" });
        result.name = root["name"].text();
        result.about = root["about"].text();
        const QList<JsonValue> acts = root["acts"].items(1, INT_MAX);
        for (const JsonValue &act : acts) {
            result.acts += readAct(act);
        }
    } catch (const BadFile &bad) {
        *error = bad.message;
        return std::nullopt;
    }
    std::stable_sort(result.acts.begin(), result.acts.end(),
                     [](const Act &a, const Act &b) { return a.at < b.at; });
    return result;
}

ScenarioPlayer::ScenarioPlayer(const Scenario &scenario, const QDBusConnection &bus,
                               const QString &daemon, QObject *parent)
    : QObject(parent), m_scenario(scenario), m_bus(bus), m_daemon(daemon)
{
}

void ScenarioPlayer::start()
{
    for (const Act &act : m_scenario.acts) {
        if (m_daemon.isEmpty() || act.daemon.isEmpty() || act.daemon == m_daemon) {
            ++m_pending;
            QTimer::singleShot(act.at, Qt::PreciseTimer, this, [this, act]() { play(act); });
        }
    }
}

void ScenarioPlayer::play(const Act &act)
{
    if (act.verb == QLatin1String("say")) {
        Q_EMIT said(act.arguments.at(0).toString());
    } else if (act.verb == QLatin1String("start")) {
        Q_EMIT startRequested(act.daemon, placeOf(act));
    } else if (act.verb == QLatin1String("stop")) {
        Q_EMIT stopRequested(act.daemon, placeOf(act));
    } else {
        ask(act);
        return;
    }
    done();
}

void ScenarioPlayer::ask(const Act &act)
{
    const bool isForDaemon = act.verb == QLatin1String("call");
    QDBusMessage call = isForDaemon ? daemonCall(act.daemon, act.arguments.at(0).toString())
                                    : simulatorCall(busName(act.daemon), act.verb);
    if (!isForDaemon) {
        call.setArguments(act.arguments);
    }
    const auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    const QString where = placeOf(act);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, where, act](QDBusPendingCallWatcher *finishedCall) {
                const QVariant answer = finishedCall->reply().arguments().value(0);
                if (finishedCall->isError()) {
                    const QDBusError error = finishedCall->error();
                    // The error of a call that does not start the daemon.
                    const bool isAbsent = error.name()
                        == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner");
                    Q_EMIT failed(where
                                  + (isAbsent ? act.daemon + QLatin1String(" is not running")
                                              : error.message()));
                } else if (answer.userType() == QMetaType::Bool && !answer.toBool()) {
                    Q_EMIT failed(where + act.arguments.at(0).toString()
                                  + QLatin1String(" returned false"));
                }
                finishedCall->deleteLater();
                done();
            });
}

QString ScenarioPlayer::placeOf(const Act &act) const
{
    return QStringLiteral("%1:%2: ").arg(m_scenario.fileName).arg(act.line);
}

void ScenarioPlayer::done()
{
    if (--m_pending == 0) {
        Q_EMIT finished();
    }
}
