// SPDX-License-Identifier: MIT
#include "sandbox.h"

#include "check.h"

#include "common/daemons.h"
#include "common/datafiles.h"
#include "common/exitcodes.h"
#include "common/failure.h"
#include "common/printable.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QUuid>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusError>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <langinfo.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Toolkit;

namespace {

// The time that a daemon or the bus may take to start, enough for a loaded machine.
const int startTimeout = 60 * 1000; // milliseconds

void note(const QString &text)
{
    fprintf(stderr, "hnipc-sandbox: %s\n", printable(text).toUtf8().constData());
}

[[noreturn]] void fail(const QString &message, int exitCode = SandboxFailed)
{
    throw Failure { exitCode, message };
}

QString reason(int error) { return QString::fromLocal8Bit(strerror(error)); }

// The environment of this process, with other values for some of its variables.
QList<QByteArray> environmentWith(const QList<QByteArray> &others)
{
    QList<QByteArray> result = others;
    for (char **variable = environ; *variable; ++variable) {
        const QByteArray text = *variable;
        const QByteArray name = text.left(text.indexOf('=') + 1);
        const auto isOther = [&name](const QByteArray &other) { return other.startsWith(name); };
        if (std::none_of(others.begin(), others.end(), isOther)) {
            result += text;
        }
    }
    return result;
}

// "exited with 1", "was killed by signal 9"
QString endInWords(int status)
{
    return WIFSIGNALED(status) ? QStringLiteral("was killed by signal %1").arg(WTERMSIG(status))
                               : QStringLiteral("exited with %1").arg(WEXITSTATUS(status));
}

// The number of sandboxes around the command: 1, or more if this one was started in another.
QByteArray depth()
{
    return QByteArray::number(qlonglong(qEnvironmentVariableIntValue("HNIPC_SANDBOX")) + 1);
}

QByteArray contentOf(int descriptor)
{
    QByteArray result(4096, 0);
    const ssize_t size = pread(descriptor, result.data(), size_t(result.size()), 0);
    return result.left(size > 0 ? int(size) : 0);
}

} // namespace

Sandbox::Sandbox()
{
    sigset_t watched;
    sigemptyset(&watched);
    sigaddset(&watched, SIGCHLD);
    for (const int number : { SIGHUP, SIGINT, SIGQUIT, SIGTERM }) {
        struct sigaction action = {};
        sigaction(number, nullptr, &action);
        if (action.sa_handler != SIG_IGN) { // nohup ignores signals for child processes, too
            sigaddset(&watched, number);
        }
    }
    sigprocmask(SIG_BLOCK, &watched, &m_outerMask);
    m_signals = signalfd(-1, &watched, SFD_CLOEXEC | SFD_NONBLOCK);
    m_null = open("/dev/null", O_RDWR | O_CLOEXEC);
    signal(SIGPIPE, SIG_IGN);
    Process::adoptOrphans();
}

Sandbox::~Sandbox()
{
    m_player.reset();
    // First the command and the processes that it has left; then the daemons; then the bus.
    QSet<pid_t> spared;
    spared += m_bus;
    for (const auto &entry : m_daemons) {
        spared += entry.second.process;
    }
    Process::endDescendants(spared);
    Process::endDescendants({ m_bus });
    Process::endDescendants();
}

int Sandbox::run(const Request &request)
{
    startBus();
    // A check asks all daemons, because the scenario may start those that the request does not.
    const QStringList daemons = request.isCheck ? daemonNames() : request.daemons;
    for (const QString &name : daemons) {
        startDaemon(name);
    }
    for (const QString &name : daemons) {
        waitForDaemon(name);
    }

    const QSocketNotifier signalled(m_signals, QSocketNotifier::Read);
    QObject::connect(&signalled, &QSocketNotifier::activated, qApp, [this]() { readSignals(); });
    if (request.isCheck) {
        return check(request);
    }
    if (request.scenario) {
        play(*request.scenario, request.isQuiet);
    }
    if (!m_exitCode) {
        startCommand(request.command);
        QCoreApplication::exec();
    }
    if (m_failedActs > 0) {
        note(QStringLiteral("%1 of the scenario failed; the exit code of the command was %2")
                 .arg(m_failedActs == 1 ? QStringLiteral("1 act")
                                        : QStringLiteral("%1 acts").arg(m_failedActs))
                 .arg(*m_exitCode));
        return SandboxFailed;
    }
    return *m_exitCode;
}

// The bus listens at an abstract socket, which leaves no file behind.
void Sandbox::startBus()
{
    const QString config = dataFile(QStringLiteral("sandbox-bus.conf"));
    if (config.isEmpty()) {
        fail(QStringLiteral("sandbox-bus.conf is not installed"));
    }
    const QByteArray number = QUuid::createUuid().toByteArray(QUuid::WithoutBraces);
    int output[2];
    const int error = memfd_create("bus-errors", MFD_CLOEXEC);
    if (pipe2(output, O_CLOEXEC) != 0 || error < 0) {
        fail(QStringLiteral("the bus did not start: ") + reason(errno));
    }
    Process::Launch launch = background(
        { "dbus-daemon", "--config-file=" + QFile::encodeName(config), "--nofork", "--nopidfile",
          "--address=unix:abstract=hnipc-sandbox-" + number, "--print-address" });
    launch.output = output[1];
    launch.error = error; // dbus-daemon prints warnings about its limits there
    m_bus = Process::launch(launch);
    if (m_bus < 0) {
        m_bus = 0;
        fail(QStringLiteral("the bus did not start: dbus-daemon: ") + reason(errno));
    }
    close(output[1]);

    QElapsedTimer elapsed;
    elapsed.start();
    while (m_bus && !m_address.endsWith('\n') && elapsed.elapsed() < startTimeout) {
        waitFor(output[0], 100);
        char buffer[512];
        struct pollfd ready = { output[0], POLLIN, 0 };
        const ssize_t size = poll(&ready, 1, 0) > 0 ? read(output[0], buffer, sizeof(buffer)) : 0;
        m_address += QByteArray(buffer, size > 0 ? int(size) : 0);
    }
    close(output[0]);
    if (!m_address.endsWith('\n')) {
        fail(QStringLiteral("the bus did not start: ")
             + QString::fromLocal8Bit(contentOf(error)).simplified());
    }
    close(error);
    m_address = m_address.trimmed();
}

Process::Launch Sandbox::background(const QList<QByteArray> &arguments) const
{
    QList<QByteArray> variables = { "DBUS_SYSTEM_BUS_ADDRESS=" + m_address };
    if (qstrcmp(nl_langinfo(CODESET), "UTF-8") != 0) {
        variables += "LC_ALL=C.UTF-8"; // otherwise Qt prints a warning
    }
    Process::Launch result;
    result.arguments = arguments;
    result.environment = environmentWith(variables);
    result.input = m_null;
    result.inBackground = true;
    result.signalMask = m_outerMask;
    return result;
}

void Sandbox::startDaemon(const QString &name)
{
    const QString program = siblingProgram(QStringLiteral("hnipc-simulator"));
    if (program.isEmpty()) {
        fail(QStringLiteral("hnipc-simulator is not in the directory of hnipc-sandbox"));
    }
    int output[2];
    if (pipe2(output, O_CLOEXEC) != 0) {
        fail(name + QLatin1String(": ") + reason(errno));
    }
    Process::Launch launch = background({ QFile::encodeName(program), name.toLatin1() });
    launch.output = output[1];
    const pid_t process = Process::launch(launch);
    const int error = errno;
    close(output[1]);
    if (process < 0) {
        close(output[0]);
        fail(program + QLatin1String(": ") + reason(error));
    }

    Daemon &daemon = m_daemons[name];
    drainOutput(&daemon); // of the previous process of this daemon
    daemon = Daemon();
    daemon.process = process;
    daemon.output = output[0];
    fcntl(daemon.output, F_SETFL, O_NONBLOCK);
    daemon.notifier.reset(new QSocketNotifier(daemon.output, QSocketNotifier::Read));
    QObject::connect(daemon.notifier.get(), &QSocketNotifier::activated, qApp,
                     [this, &daemon]() { readOutput(&daemon); });
}

// The simulator says "ready" when it owns its name.
void Sandbox::waitForDaemon(const QString &name)
{
    Daemon &daemon = m_daemons[name];
    QElapsedTimer elapsed;
    elapsed.start();
    while (daemon.process && !daemon.isReady && !m_exitCode) {
        if (elapsed.elapsed() > startTimeout) {
            fail(name + QLatin1String(" did not start"));
        }
        waitFor(daemon.output, 100);
        readOutput(&daemon);
    }
    if (m_exitCode) {
        fail(QString(), *m_exitCode);
    }
    if (!daemon.isReady) {
        fail(name + QLatin1String(" did not start"));
    }
}

void Sandbox::stopDaemon(const QString &name)
{
    Daemon &daemon = m_daemons[name];
    daemon.isMeantToEnd = true;
    const pid_t process = daemon.process;
    if (!process) {
        return;
    }
    kill(process, SIGTERM);
    QElapsedTimer elapsed;
    elapsed.start();
    while (daemon.process && !m_exitCode) {
        if (elapsed.elapsed() > startTimeout) {
            kill(process, SIGKILL);
        }
        waitFor(-1, 100);
    }
}

// Prints further output of a daemon to standard error, because standard output belongs to the command.
// Returns whether there was any output. Closes the pipe at its end.
bool Sandbox::readOutput(Daemon *daemon)
{
    if (daemon->output < 0) {
        return false;
    }
    char buffer[4096];
    const ssize_t size = read(daemon->output, buffer, sizeof(buffer));
    if (size < 0 && (errno == EAGAIN || errno == EINTR)) {
        return false;
    }
    if (size <= 0) {
        closeOutput(daemon);
        return false;
    }
    daemon->line += QByteArray(buffer, int(size));
    for (int end = daemon->line.indexOf('\n'); end >= 0; end = daemon->line.indexOf('\n')) {
        const QByteArray line = daemon->line.left(end + 1);
        daemon->line.remove(0, end + 1);
        if (!daemon->isReady && line == "ready\n") {
            daemon->isReady = true;
        } else {
            fputs(line.constData(), stderr);
        }
    }
    return true;
}

// When a process has ended, the pipe may have unread output, and other processes may hold it open.
void Sandbox::drainOutput(Daemon *daemon)
{
    while (readOutput(daemon)) {}
    if (daemon->output >= 0) {
        closeOutput(daemon);
    }
}

void Sandbox::closeOutput(Daemon *daemon)
{
    if (!daemon->line.isEmpty()) {
        fprintf(stderr, "%s\n", daemon->line.constData());
    }
    daemon->notifier->setEnabled(false);
    daemon->notifier.release()->deleteLater(); // this may run in its signal
    close(daemon->output);
    daemon->output = -1;
}

QDBusConnection Sandbox::connectToBus(const QString &name) const
{
    const QDBusConnection bus = QDBusConnection::connectToBus(QString::fromLatin1(m_address), name);
    if (!bus.isConnected()) {
        fail(QStringLiteral("cannot connect to the bus: ") + bus.lastError().message());
    }
    return bus;
}

int Sandbox::check(const Request &request)
{
    const Scenario &scenario = *request.scenario;
    const QStringList mistakes = mistakesIn(scenario, connectToBus(QStringLiteral("check")),
                                            request.daemons);
    if (m_exitCode) {
        return *m_exitCode;
    }
    for (const QString &mistake : mistakes) {
        note(mistake);
    }
    if (mistakes.isEmpty()
        && (printf("%s: nothing is wrong\n", scenario.fileName.toUtf8().constData()) < 0
            || fflush(stdout) != 0)) {
        fail(QStringLiteral("cannot write: ") + reason(errno));
    }
    return mistakes.isEmpty() ? Done : BadValue;
}

void Sandbox::play(const Scenario &scenario, bool isQuiet)
{
    m_player.reset(new ScenarioPlayer(scenario, connectToBus(QStringLiteral("scenario"))));
    if (!isQuiet) {
        QObject::connect(m_player.get(), &ScenarioPlayer::said, [](const QString &text) {
            fprintf(stderr, "-- %s\n", printable(text).toUtf8().constData());
        });
    }
    QObject::connect(m_player.get(), &ScenarioPlayer::failed, [this](const QString &message) {
        ++m_failedActs;
        note(message);
    });
    QObject::connect(m_player.get(), &ScenarioPlayer::stopRequested,
                     [this](const QString &name, const QString &where) {
                         if (m_daemons[name].process) {
                             stopDaemon(name);
                         } else {
                             ++m_failedActs;
                             note(where + name + QLatin1String(" is not running"));
                         }
                     });
    QObject::connect(m_player.get(), &ScenarioPlayer::startRequested,
                     [this](const QString &name, const QString &where) {
                         try {
                             if (!m_daemons[name].process) {
                                 startDaemon(name);
                                 waitForDaemon(name);
                             }
                         } catch (const Failure &failure) {
                             if (!failure.message.isNull()) {
                                 ++m_failedActs;
                                 note(where + failure.message);
                             }
                         }
                     });
    m_player->start();
}

void Sandbox::startCommand(const QList<QByteArray> &command)
{
    // For tools that are not installed; installed tools are found first.
    const QByteArray path = qgetenv("PATH") + ':'
        + QFile::encodeName(QCoreApplication::applicationDirPath());
    Process::Launch launch;
    launch.arguments = command;
    launch.environment = environmentWith(
        { "DBUS_SYSTEM_BUS_ADDRESS=" + m_address, "HNIPC_SANDBOX=" + depth(), "PATH=" + path });
    launch.signalMask = m_outerMask;
    m_command = Process::launch(launch);
    if (m_command < 0) {
        const int error = errno;
        m_command = 0;
        fail(QString::fromLocal8Bit(command.first()) + QLatin1String(": ") + reason(error),
             error == ENOENT ? NotFound : CannotRun);
    }
}

void Sandbox::readSignals()
{
    struct signalfd_siginfo info;
    while (read(m_signals, &info, sizeof(info)) == ssize_t(sizeof(info))) {
        const int number = int(info.ssi_signo);
        // A key of the terminal: the command gets this signal, too, and decides what to do.
        const bool isForTheCommand = (number == SIGINT || number == SIGQUIT)
            && info.ssi_code == SI_KERNEL && m_command;
        if (number == SIGCHLD) {
            int status = 0;
            for (pid_t process = waitpid(-1, &status, WNOHANG); process > 0;
                 process = waitpid(-1, &status, WNOHANG)) {
                onEnded(process, status);
            }
        } else if (!isForTheCommand) {
            end(128 + number);
        }
    }
}

void Sandbox::onEnded(pid_t process, int status)
{
    if (process == m_command) {
        m_command = 0;
        end(Process::exitCode(status));
    } else if (process == m_bus) {
        m_bus = 0;
        if (!m_address.isEmpty()) {
            note(QLatin1String("the bus ") + endInWords(status));
        }
    }
    for (auto &entry : m_daemons) {
        if (process == entry.second.process) {
            entry.second.process = 0;
            if (entry.second.isReady && !entry.second.isMeantToEnd) {
                note(entry.first + QLatin1Char(' ') + endInWords(status));
            }
        }
    }
}

void Sandbox::end(int exitCode)
{
    if (!m_exitCode) {
        m_exitCode = exitCode;
        QCoreApplication::exit(exitCode);
    }
}

// Waits until the file descriptor is readable, or a signal arrives.
void Sandbox::waitFor(int descriptor, int milliseconds)
{
    struct pollfd descriptors[] = { { m_signals, POLLIN, 0 }, { descriptor, POLLIN, 0 } };
    poll(descriptors, 2, milliseconds);
    readSignals();
}
