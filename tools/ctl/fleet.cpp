// SPDX-License-Identifier: MIT
#include "fleet.h"

#include "common/exitcodes.h"
#include "console.h"
#include "values.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QJsonDocument>
#include <QtCore/QProcess>
#include <QtCore/QTimer>

#include <algorithm>
#include <climits>
#include <csignal>
#include <memory>
#include <sys/prctl.h>
#include <unistd.h>
#include <vector>

namespace {

const size_t mostAtOnce = 64;

// Without a terminal, where fifty would ask for passwords at once, and no longer than its parent.
class Child : public QProcess
{
public:
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    Child() { setChildProcessModifier(detach); }
#else
protected:
    void setupChildProcess() override { detach(); }
#endif

private:
    static void detach()
    {
        setsid();
        prctl(PR_SET_PDEATHSIG, SIGKILL);
    }
};

struct Printer
{
    QString host;
    std::unique_ptr<Child> process;
    bool ended = false;
    bool tooLate = false;
    int exitCode = Toolkit::Done;
    QJsonValue result = QJsonValue::Undefined; ///< where it said nothing
    QString error;
};

// Of a call, or of a property.
QString outcomeText(const QJsonObject &outcome)
{
    const QJsonValue error = outcome.value(QLatin1String("error"));
    const QJsonValue value = outcome.value(QLatin1String("value"));
    if (error.isString()) {
        return QLatin1Char('(') + Console::printable(error.toString()) + QLatin1Char(')');
    }
    return value.isNull() ? QStringLiteral("done") // it answers nothing
                          : Console::printable(compact(value));
}

bool isOutcome(const QJsonObject &object)
{
    return object.contains(QLatin1String("value")) || object.contains(QLatin1String("error"));
}

// Of a command that could not answer, and has said why on standard error, where ssh knows more.
bool isFailure(const QJsonObject &object)
{
    return object.keys() == QStringList { QStringLiteral("error"), QStringLiteral("exit") };
}

QStringList propertyTexts(const QJsonObject &properties)
{
    QStringList texts;
    for (auto property = properties.begin(); property != properties.end(); ++property) {
        texts += property.key() + QLatin1Char('=') + outcomeText(property.value().toObject());
    }
    return texts;
}

QString statusText(const QJsonArray &daemons)
{
    QStringList texts;
    QStringList properties;
    for (const QJsonValue &value : daemons) {
        const QJsonObject daemon = value.toObject();
        const bool isPresent = daemon.value(QLatin1String("present")).toBool();
        texts += daemon.value(QLatin1String("name")).toString()
            + QLatin1String(isPresent ? "=present" : "=absent");
        if (isPresent) {
            properties += propertyTexts(daemon.value(QLatin1String("properties")).toObject());
        }
    }
    return (texts + properties).join(QLatin1Char(' '));
}

QString differencesText(const QJsonArray &differences)
{
    QStringList texts;
    for (const QJsonValue &difference : differences) {
        texts += Console::printable(difference.toString());
    }
    return texts.isEmpty() ? QStringLiteral("as described") : texts.join(QLatin1String("; "));
}

// "local.IHNIPCM4: 136 methods, 0 signals"
QString interfacesText(const QJsonArray &interfaces)
{
    QStringList texts;
    for (const QJsonValue &interface : interfaces) {
        const QJsonArray members = interface[QLatin1String("members")].toArray();
        const auto isMethod = [](const QJsonValue &member) {
            return member[QLatin1String("kind")].toString() == QLatin1String("method");
        };
        const int methods = int(std::count_if(members.begin(), members.end(), isMethod));
        texts += QStringLiteral("%1: %2 methods, %3 signals")
                     .arg(Console::printable(interface[QLatin1String("interface")].toString()),
                          QString::number(methods), QString::number(members.size() - methods));
    }
    return texts.join(QLatin1String("; "));
}

// In one line, what a command prints as JSON.
QString rowOf(const QJsonValue &result)
{
    const QJsonObject object = result.toObject();
    if (isOutcome(object)) {
        return outcomeText(object);
    }
    if (object.contains(QLatin1String("daemons"))) {
        return statusText(object.value(QLatin1String("daemons")).toArray());
    }
    if (object.contains(QLatin1String("differences"))) {
        return differencesText(object.value(QLatin1String("differences")).toArray());
    }
    if (result.isArray()) {
        return interfacesText(result.toArray());
    }
    const bool areProperties = !object.isEmpty()
        && std::all_of(object.begin(), object.end(), [](const QJsonValue &value) {
               return isOutcome(value.toObject());
           });
    if (areProperties) {
        return object.size() == 1 ? outcomeText(object.begin().value().toObject())
                                  : propertyTexts(object).join(QLatin1Char(' '));
    }
    return Console::printable(compact(result));
}

// The last line is the telling one; of ssh, where it failed, for it knows why.
QString errorOf(const QByteArray &errors)
{
    const QString name = QStringLiteral("hnipcctl: ");
    QString own;
    QString other;
    const QStringList lines = QString::fromUtf8(errors).split(QLatin1Char('\n'));
    for (const QString &line : lines) {
        if (line.startsWith(name)) {
            own = line.mid(name.size());
        } else if (!line.trimmed().isEmpty()) {
            other = line.trimmed();
        }
    }
    return other.isEmpty() ? own : other;
}

class Fleet
{
public:
    explicit Fleet(const FleetQuestion &question)
        : m_question(question)
        , m_printers(size_t(question.hosts.size()))
    {
        for (size_t i = 0; i < m_printers.size(); ++i) {
            m_printers[i].host = question.hosts.at(int(i));
            m_width = std::max(m_width, int(m_printers[i].host.size()));
        }
    }

    int ask()
    {
        for (size_t i = 0; i < mostAtOnce; ++i) {
            startNext();
        }
        QCoreApplication::exec();
        int worst = Toolkit::Done;
        QJsonObject object;
        for (const Printer &printer : m_printers) {
            worst = std::max(worst, printer.exitCode);
            QJsonObject answer { { QStringLiteral("exit"), printer.exitCode } };
            if (printer.result.isUndefined()) {
                answer.insert(QStringLiteral("error"), printer.error);
            } else {
                answer.insert(QStringLiteral("result"), printer.result);
            }
            object.insert(printer.host, answer);
        }
        if (m_question.json) {
            Console::print(object);
        }
        return worst;
    }

private:
    void startNext()
    {
        if (m_started == m_printers.size()) {
            return;
        }
        Printer *printer = &m_printers[m_started++];
        printer->process = std::make_unique<Child>();
        Child *process = printer->process.get();
        QObject::connect(process, &QProcess::errorOccurred, process,
                         [=](QProcess::ProcessError error) {
                             if (error == QProcess::FailedToStart) {
                                 end(printer, Toolkit::Failed, process->errorString());
                             }
                         });
        QObject::connect(process,
                         static_cast<void (QProcess::*)(int, QProcess::ExitStatus)>(
                             &QProcess::finished),
                         process, [=](int exitCode, QProcess::ExitStatus status) {
                             onFinished(printer, exitCode, status);
                         });
        // It keeps the time itself, once to reach the printer and once for the answer.
        const int latest = int(std::min<qint64>(2 * qint64(m_question.timeout) + 2000, INT_MAX));
        QTimer::singleShot(latest, process, [=]() {
            printer->tooLate = true;
            process->kill();
        });
        process->start(QCoreApplication::applicationFilePath(),
                       QStringList { QStringLiteral("--host"), printer->host,
                                     QStringLiteral("--json"), QStringLiteral("--timeout"),
                                     QString::number(m_question.timeout) } + m_question.words);
    }

    void onFinished(Printer *printer, int exitCode, QProcess::ExitStatus status)
    {
        const QJsonDocument document
            = QJsonDocument::fromJson(printer->process->readAllStandardOutput());
        const QString error = errorOf(printer->process->readAllStandardError());
        if (printer->tooLate) {
            end(printer, Toolkit::NoAnswer,
                QStringLiteral("no answer within %1 ms").arg(m_question.timeout));
        } else if (status != QProcess::NormalExit) {
            end(printer, Toolkit::Failed, QStringLiteral("hnipcctl crashed"));
        } else {
            if (document.isObject() && !isFailure(document.object())) {
                printer->result = document.object();
            } else if (document.isArray()) {
                printer->result = document.array();
            }
            end(printer, exitCode, error);
        }
    }

    void end(Printer *printer, int exitCode, const QString &error)
    {
        printer->ended = true;
        printer->exitCode = exitCode;
        printer->error = error;
        for (; m_shown < m_printers.size() && m_printers[m_shown].ended; ++m_shown) {
            show(m_printers[m_shown]);
        }
        startNext();
        if (m_shown == m_printers.size()) {
            QCoreApplication::quit();
        }
    }

    // In the order of the hosts, each as soon as those before it are there.
    void show(const Printer &printer)
    {
        if (!m_question.json) {
            const QString row = printer.result.isUndefined() ? Console::printable(printer.error)
                                                             : rowOf(printer.result);
            Console::print(Console::printable(printer.host).leftJustified(m_width + 2)
                           + (printer.exitCode == Toolkit::Done ? row : Console::warning(row)));
            Console::flush();
        }
    }

    const FleetQuestion &m_question;
    std::vector<Printer> m_printers;
    size_t m_started = 0;
    size_t m_shown = 0;
    int m_width = 0;
};

} // namespace

int askFleet(const FleetQuestion &question)
{
    return Fleet(question).ask();
}
