// SPDX-License-Identifier: MIT
#include "fleet.h"

#include "common/exitcodes.h"
#include "console.h"
#include "hosts.h"
#include "values.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDateTime>
#include <QtCore/QJsonDocument>
#include <QtCore/QProcess>
#include <QtCore/QProcessEnvironment>
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

// A process without a terminal: otherwise the ssh of each printer would ask for a password there, all
// at the same time. It ends with its parent.
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
    bool reached = false;
    QByteArray notes;   ///< its standard error so far
    int notesShown = 0; ///< how many bytes of it have been printed
    int exitCode = Toolkit::Done;
    QJsonValue result = QJsonValue::Undefined; ///< undefined if there was no output
    QString error;
    qint64 time = 0; ///< when it ended
};

// The result of a call or a property.
QString outcomeText(const QJsonObject &outcome)
{
    const QJsonValue error = outcome.value(QLatin1String("error"));
    const QJsonValue value = outcome.value(QLatin1String("value"));
    const QString words = outcome.value(QLatin1String("outcome")).toString(); // with --deadline
    const QString prefix = words.isEmpty() ? words : words + QLatin1String(": ");
    if (error.isString()) {
        return prefix + QLatin1Char('(') + Console::printable(error.toString()) + QLatin1Char(')');
    }
    if (value.isNull()) { // the method returns nothing
        return words.isEmpty() ? QStringLiteral("done") : words;
    }
    return prefix + Console::printable(compact(value));
}

bool isOutcome(const QJsonObject &object)
{
    return object.contains(QLatin1String("value")) || object.contains(QLatin1String("error"));
}

// Whether this is a command's failure without a result. Standard error then has the reason, perhaps
// from ssh.
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
        const bool isSimulated = daemon.value(QLatin1String("simulated")).toBool();
        const bool isStandIn = daemon.value(QLatin1String("standIn")).toBool();
        const bool isSilent = daemon.value(QLatin1String("silent")).toBool();
        texts += daemon.value(QLatin1String("name")).toString()
            + QLatin1String(isSilent          ? "=silent"
                                : isSimulated ? "=simulated"
                                : isStandIn   ? "=stand-in"
                                : isPresent   ? "=present"
                                              : "=absent");
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

// A command's JSON output in one line of text.
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
        && std::all_of(object.begin(), object.end(),
                       [](const QJsonValue &value) { return isOutcome(value.toObject()); });
    if (areProperties) {
        return object.size() == 1 ? outcomeText(object.begin().value().toObject())
                                  : propertyTexts(object).join(QLatin1Char(' '));
    }
    return Console::printable(compact(result));
}

// The last line of hnipcctl on standard error, without the program's name. If @p own is set, the last
// line that is not @p own, which is the line of ssh.
QString lastWord(const QByteArray &errors, const QString &own = QString())
{
    const QString name = QStringLiteral("hnipcctl: ");
    QString result;
    const QStringList lines = QString::fromUtf8(errors).split(QLatin1Char('\n'));
    for (const QString &line : lines) {
        const bool isOwn = line.startsWith(name);
        const QString text = (isOwn ? line.mid(name.size()) : line).trimmed();
        if (own.isNull() ? isOwn : !text.isEmpty() && text != Console::printable(own)) {
            result = text;
        }
    }
    return result;
}

class Fleet
{
public:
    explicit Fleet(const FleetQuestion &question)
        : m_question(question), m_printers(size_t(question.hosts.size()))
    {
        for (size_t i = 0; i < m_printers.size(); ++i) {
            m_printers[i].host = question.hosts.at(int(i));
            m_width = std::max(m_width, int(m_printers[i].host.size()));
        }
    }

    int ask()
    {
        Console::onInterrupt([this](int exitCode) { interrupt(exitCode); });
        for (size_t i = 0; i < mostAtOnce; ++i) {
            startNext();
        }
        QCoreApplication::exec();
        if (m_question.gather && m_exitCode == Toolkit::Done) {
            std::vector<FleetAnswer> answers;
            for (const Printer &printer : m_printers) {
                answers.push_back({ printer.host, printer.result, printer.time });
            }
            return m_question.gather(answers);
        }
        int worst = m_exitCode;
        for (const Printer &printer : m_printers) {
            worst = m_exitCode == Toolkit::Done ? std::max(worst, printer.exitCode) : worst;
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
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QLatin1String(unattendedVariable), QStringLiteral("1"));
        process->setProcessEnvironment(environment);
        QObject::connect(process, &QProcess::errorOccurred, process,
                         [=](QProcess::ProcessError error) {
                             if (error == QProcess::FailedToStart) {
                                 end(printer, Toolkit::Failed, process->errorString());
                             }
                         });
        QObject::connect(
            process,
            static_cast<void (QProcess::*)(int, QProcess::ExitStatus)>(&QProcess::finished),
            process, [=](int exitCode, QProcess::ExitStatus status) {
                onFinished(printer, exitCode, status);
            });
        QObject::connect(process, &QProcess::readyReadStandardOutput, process,
                         [=]() { onOutput(printer); });
        if (m_question.inLines) {
            QObject::connect(process, &QProcess::readyReadStandardError, process,
                             [=]() { onNotes(printer); });
        } else {
            // The process itself applies the timeout, once to reach the printer and once to the reply.
            const qint64 timeouts = m_question.gather ? 1 : 2;
            const int latest = int(std::min<qint64>(timeouts * m_question.timeout + 2000, INT_MAX));
            QTimer::singleShot(latest, process, [=]() {
                printer->tooLate = true;
                process->kill();
            });
        }
        QStringList words { QStringLiteral("--timeout"), QString::number(m_question.timeout) };
        if (!printer->host.isEmpty()) {
            words << QStringLiteral("--host") << printer->host;
        }
        if (m_question.json || !m_question.inLines) {
            words += QStringLiteral("--json");
        }
        process->start(QCoreApplication::applicationFilePath(), words + m_question.words);
        process->write(m_question.input);
        process->closeWriteChannel();
    }

    // An empty first line means that the printer has been reached.
    void onOutput(Printer *printer)
    {
        if (!printer->reached && printer->process->peek(1) == "\n") {
            printer->process->read(1);
            printer->reached = true;
            showNotes(printer);
        }
        while (m_question.inLines && printer->process->canReadLine() && m_linesLeft != 0) {
            showLine(*printer, printer->process->readLine());
        }
    }

    void onNotes(Printer *printer)
    {
        printer->process->setReadChannel(QProcess::StandardError);
        while (printer->process->canReadLine()) {
            const QByteArray line = printer->process->readLine();
            printer->notes += line;
        }
        printer->process->setReadChannel(QProcess::StandardOutput);
        showNotes(printer);
    }

    // Prints the notes that the program prints after it has reached the printer, such as
    // "subscribed to 59 signals".
    static void showNotes(Printer *printer)
    {
        while (printer->reached && printer->notes.indexOf('\n', printer->notesShown) >= 0) {
            const int end = int(printer->notes.indexOf('\n', printer->notesShown));
            const QByteArray line = printer->notes.mid(printer->notesShown,
                                                       end - printer->notesShown);
            if (line.startsWith("hnipcctl: ")) {
                note(*printer, QString::fromUtf8(line.mid(int(qstrlen("hnipcctl: ")))));
            }
            printer->notesShown = end + 1;
        }
    }

    static void note(const Printer &printer, const QString &text)
    {
        Console::note(printer.host.isEmpty() ? text : printer.host + QLatin1String(": ") + text);
    }

    void onFinished(Printer *printer, int exitCode, QProcess::ExitStatus status)
    {
        onOutput(printer);
        const QJsonDocument document = QJsonDocument::fromJson(
            printer->process->readAllStandardOutput());
        const QByteArray notes = printer->notes + printer->process->readAllStandardError();
        if (printer->ended) {
            return;
        }
        if (printer->tooLate) {
            end(printer, Toolkit::NoAnswer,
                QStringLiteral("no reply within %1 ms").arg(m_question.timeout));
        } else if (status != QProcess::NormalExit) {
            end(printer, Toolkit::Failed, QStringLiteral("hnipcctl crashed"));
        } else {
            const QJsonObject object = document.object();
            const QString error = object.value(QLatin1String("error")).toString();
            const QString own = error.isEmpty() ? lastWord(notes) : error;
            // ssh's last line is the reason only if the printer was not reached.
            const bool isOfSsh = !printer->reached && exitCode == Toolkit::NoBus;
            const QString word = isOfSsh && !own.isNull() ? lastWord(notes, own) : QString();
            if (document.isObject() && !isFailure(object)) {
                printer->result = object;
            } else if (document.isArray()) {
                printer->result = document.array();
            }
            if (m_question.gather && !printer->result.isUndefined()) {
                printer->notes = notes;
                showNotes(printer);
            }
            end(printer, exitCode, word.isEmpty() ? own : word);
        }
    }

    void end(Printer *printer, int exitCode, const QString &error)
    {
        printer->ended = true;
        printer->exitCode = exitCode;
        printer->error = error;
        printer->time = QDateTime::currentMSecsSinceEpoch();
        const bool isAtOnce = m_question.json || m_question.inLines;
        if (isAtOnce) {
            show(*printer);
        }
        for (; m_shown < m_printers.size() && m_printers[m_shown].ended; ++m_shown) {
            if (!isAtOnce) {
                show(m_printers[m_shown]);
            }
        }
        startNext();
        if (m_shown == m_printers.size()) {
            QCoreApplication::quit();
        }
    }

    // No further printers are called. Those that were reached may have carried out the command.
    void interrupt(int exitCode)
    {
        m_exitCode = exitCode;
        const size_t started = m_started;
        m_started = m_printers.size();
        for (size_t i = 0; i < m_printers.size(); ++i) {
            Printer *printer = &m_printers[i];
            if (!printer->ended) {
                end(printer, exitCode,
                    printer->reached ? QStringLiteral("interrupted before it replied")
                                     : QStringLiteral("interrupted before it was reached"));
                if (i < started) {
                    printer->process->kill();
                    printer->process->waitForFinished();
                }
            }
        }
    }

    // Rows are printed in the order of the hosts, each when all rows before it are printed. With JSON,
    // and for commands that print lines, in the order in which the printers end.
    void show(const Printer &printer)
    {
        if (m_question.gather) {
            if (printer.result.isUndefined()) {
                note(printer, printer.error);
            }
            return;
        }
        // Its lines have been printed already.
        if (m_question.inLines && printer.reached && printer.error.isEmpty()) {
            return;
        }
        if (m_question.json) {
            QJsonObject object { { QStringLiteral("host"), printer.host },
                                 { QStringLiteral("exit"), printer.exitCode } };
            if (printer.result.isUndefined()) {
                object.insert(QStringLiteral("error"), printer.error);
            } else {
                object.insert(QStringLiteral("result"), printer.result);
            }
            Console::printLine(object);
        } else {
            const QString row = printer.result.isUndefined() ? Console::printable(printer.error)
                                                             : rowOf(printer.result);
            Console::print(name(printer)
                           + (printer.exitCode == Toolkit::Done ? row : Console::warning(row)));
        }
        Console::flush();
    }

    void showLine(const Printer &printer, const QByteArray &line)
    {
        if (m_question.json) {
            QJsonObject object = QJsonDocument::fromJson(line).object();
            if (isFailure(object)) {
                return; // it is printed when the printer ends
            }
            object.insert(QStringLiteral("host"), printer.host);
            Console::printLine(object);
        } else {
            Console::print(name(printer) + QString::fromUtf8(line).chopped(1));
        }
        Console::flush();
        if (m_linesLeft > 0 && --m_linesLeft == 0) {
            stop();
        }
    }

    // Ends everything after the requested number of lines.
    void stop()
    {
        m_started = m_printers.size();
        for (Printer &printer : m_printers) {
            if (printer.process && !printer.ended) {
                printer.ended = true;
                printer.process->kill();
                printer.process->waitForFinished();
            }
        }
        QCoreApplication::quit();
    }

    QString name(const Printer &printer) const
    {
        return Console::printable(printer.host).leftJustified(m_width + 2);
    }

    const FleetQuestion &m_question;
    std::vector<Printer> m_printers;
    size_t m_started = 0;
    size_t m_shown = 0;
    int m_width = 0;
    int m_linesLeft = m_question.mostLines;
    int m_exitCode = Toolkit::Done; // after Ctrl-C, or a signal like it
};

} // namespace

int askFleet(const FleetQuestion &question) { return Fleet(question).ask(); }
