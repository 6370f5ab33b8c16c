// SPDX-License-Identifier: MIT
#include "hosts.h"

#include "common/exitcodes.h"
#include "console.h"
#include "values.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QRegularExpression>
#include <QtCore/QStandardPaths>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// For the signal handler.
QByteArray tooLate;
QByteArray tooLateLine;

void onAlarm(int)
{
    ssize_t written = ::write(STDERR_FILENO, tooLate.constData(), size_t(tooLate.size()));
    written = ::write(STDOUT_FILENO, tooLateLine.constData(), size_t(tooLateLine.size()));
    static_cast<void>(written);
    _exit(Toolkit::NoAnswer);
}

void setAlarm(int milliseconds)
{
    itimerval timer = {};
    timer.it_value.tv_sec = milliseconds / 1000;
    timer.it_value.tv_usec = milliseconds % 1000 * 1000;
    setitimer(ITIMER_REAL, &timer, nullptr);
}

QByteArray sshProgram()
{
    const QByteArray own = qgetenv("HNIPCCTL_SSH");
    return own.isEmpty() ? QByteArray("ssh") : own;
}

// Escapes a value for a D-Bus address.
QByteArray escaped(const QByteArray &value)
{
    return value.toPercentEncoding(QByteArray("/\\*"), QByteArray("~"));
}

int cannotRun(const char *program)
{
    std::fprintf(stderr, "hnipcctl: cannot run %s: %s\n", program, std::strerror(errno));
    return Toolkit::NotFound;
}

// The number of bytes at the end that are incomplete without the next ones: a part of a UTF-8
// character, or a "\r", because ssh ends its lines with "\r\n".
int unfinishedBytes(const QByteArray &bytes)
{
    if (bytes.endsWith('\r')) {
        return 1;
    }
    for (int count = 1; count <= 3 && count <= bytes.size(); ++count) {
        const uchar byte = uchar(bytes.at(bytes.size() - count));
        if (byte >= 0xc0) {
            const int length = byte >= 0xf0 ? 4 : byte >= 0xe0 ? 3 : 2;
            return count < length ? count : 0;
        }
        if (byte < 0x80) {
            return 0;
        }
    }
    return 0;
}

// Prints the standard error of ssh, escaped as all messages of this program. With several printers, it
// is not escaped here: the parent process does so, line by line.
class SshNotes
{
public:
    explicit SshNotes(int stream) : m_stream(stream) { fcntl(stream, F_SETFL, O_NONBLOCK); }

    // Prints all that can be read now. Returns false at the end.
    bool relay()
    {
        char buffer[4096];
        ssize_t size = 0;
        while ((size = read(m_stream, buffer, sizeof buffer)) > 0) {
            m_bytes.append(buffer, int(size));
            print(int(m_bytes.size()) - unfinishedBytes(m_bytes));
        }
        return size < 0 && (errno == EAGAIN || errno == EINTR);
    }

    // Ends the last line if ssh has not ended it.
    void end()
    {
        print(int(m_bytes.size()));
        if (!m_isLineEnded) {
            std::fputc('\n', stderr);
        }
    }

private:
    void print(int size)
    {
        QByteArray text = m_bytes.left(size);
        m_bytes.remove(0, size);
        QList<QByteArray> lines = text.replace("\r\n", "\n").split('\n');
        for (QByteArray &line : lines) {
            if (!m_isForFleet) {
                line = Console::printable(QString::fromUtf8(line)).toUtf8();
            }
        }
        text = lines.join('\n');
        std::fwrite(text.constData(), 1, size_t(text.size()), stderr);
        m_isLineEnded = text.isEmpty() ? m_isLineEnded : text.endsWith('\n');
    }

    const bool m_isForFleet = qEnvironmentVariableIsSet(unattendedVariable);
    int m_stream;
    bool m_isLineEnded = true;
    QByteArray m_bytes;
};

void onChildEnded(int) {}

// Returns the wait status of ssh. The connection to the bus stays open until ssh's messages are
// printed, so that they come before the error that they explain. A background process that ssh leaves
// to share its connection may keep standard error open for longer, so its end is not waited for.
int relayUntilSshEnds(pid_t ssh, int stream, const sigset_t &signalsBefore)
{
    SshNotes notes(stream);
    pollfd readable = { stream, POLLIN, 0 };
    int status = 0;
    while (waitpid(ssh, &status, WNOHANG) == 0) {
        ppoll(&readable, 1, nullptr, &signalsBefore);
        if (!notes.relay()) {
            readable.fd = -1;
        }
    }
    notes.relay();
    notes.end();
    return status;
}

} // namespace

const char becomeSshOption[] = "--become-ssh";
const char unattendedVariable[] = "HNIPCCTL_UNATTENDED";

QString wrongHost(const QString &host)
{
    static const QRegularExpression spaces(QStringLiteral("\\s"));
    if (host.isEmpty()) {
        return QStringLiteral("expected the name of a printer, not an empty string");
    }
    return host.startsWith(QLatin1Char('-')) || host.contains(spaces)
            || host != Console::printable(host)
        ? QStringLiteral("expected the name of a printer, not \"%1\"").arg(host)
        : QString();
}

int readHosts(const QString &fileName, QStringList *hosts)
{
    if (fileName.isEmpty()) {
        return Console::fail(Toolkit::WrongUsage,
                             QStringLiteral("the name of the file to be read is empty"));
    }
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        return Console::fail(Toolkit::Failed, fileName + QLatin1String(": ") + file.errorString());
    }
    for (int line = 1; !file.atEnd(); ++line) {
        QByteArray bytes = file.readLine();
        // Some editors begin UTF-8 files with a byte order mark.
        if (line == 1 && bytes.startsWith("\xef\xbb\xbf")) {
            bytes.remove(0, 3);
        }
        const std::optional<QString> text = exactText(bytes);
        const QString host = text.value_or(QString()).section(QLatin1Char('#'), 0, 0).trimmed();
        const QString wrong = !text ? QStringLiteral("expected UTF-8")
            : host.isEmpty()        ? QString()
                                    : wrongHost(host);
        if (!wrong.isEmpty()) {
            return Console::fail(
                Toolkit::BadValue,
                QStringLiteral("%1:%2: %3").arg(fileName, QString::number(line), wrong));
        }
        if (!host.isEmpty()) {
            *hosts += host;
        }
    }
    return hosts->isEmpty()
        ? Console::fail(Toolkit::BadValue,
                        fileName
                            + QLatin1String(": expected a printer in each line, "
                                            "there is none"))
        : int(Toolkit::Done);
}

QString missingSsh()
{
    const QString program = QFile::decodeName(sshProgram());
    return QStandardPaths::findExecutable(program).isEmpty()
        ? QStringLiteral("cannot run %1: there is no such program").arg(program)
        : QString();
}

QString busAddress(const QString &host, int timeout)
{
    QList<QByteArray> words { becomeSshOption, QByteArray::number(getpid()), sshProgram(), "-xT" };
    if (qEnvironmentVariableIsSet(unattendedVariable)) {
        words << "-oBatchMode=yes"
              << "-oLogLevel=ERROR";
    }
    // One second more than this program's own timeout, which prints the reason. It ends the processes
    // that ssh has started itself.
    words << "-oConnectTimeout=" + QByteArray::number(timeout / 1000 + 1) << "--" << host.toUtf8()
          << "systemd-stdio-bridge";
    QByteArray address = "unixexec:path="
        + escaped(QFile::encodeName(QCoreApplication::applicationFilePath()));
    for (int i = 0; i < words.size(); ++i) {
        address += ",argv" + QByteArray::number(i + 1) + '=' + escaped(words.at(i));
    }
    return QString::fromLatin1(address);
}

ReachingDeadline::ReachingDeadline(const QString &text, int milliseconds)
{
    const QString late = QStringLiteral("%1 within %2 ms").arg(text, QString::number(milliseconds));
    tooLate = "hnipcctl: " + Console::printable(late).toUtf8() + '\n';
    tooLateLine = Console::failureLine(Toolkit::NoAnswer, late);
    std::signal(SIGALRM, onAlarm);
    setAlarm(milliseconds);
}

ReachingDeadline::~ReachingDeadline() { setAlarm(0); }

int becomeSsh(char *words[])
{
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != std::atoi(*words++)) { // it has ended already
        return Toolkit::Failed;
    }
    int ends[2] = { -1, -1 };
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return cannotRun(words[0]);
    }
    sigset_t childEnded = {};
    sigset_t before = {};
    sigemptyset(&childEnded);
    sigaddset(&childEnded, SIGCHLD);
    sigprocmask(SIG_BLOCK, &childEnded, &before);
    std::signal(SIGCHLD, onChildEnded);
    const pid_t self = getpid();
    const pid_t ssh = fork();
    if (ssh == 0) {
        sigprocmask(SIG_SETMASK, &before, nullptr);
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (getppid() != self) {
            _exit(Toolkit::Failed);
        }
        dup2(ends[1], STDERR_FILENO);
        execvp(words[0], words);
        _exit(cannotRun(words[0]));
    }
    close(ends[1]);
    if (ssh < 0) {
        return cannotRun(words[0]);
    }
    const int status = relayUntilSshEnds(ssh, ends[0], before);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
