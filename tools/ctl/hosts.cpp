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
#include <cstring>
#include <sys/prctl.h>
#include <sys/time.h>
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

// As D-Bus addresses want it.
QByteArray escaped(const QByteArray &value)
{
    return value.toPercentEncoding(QByteArray("/\\*"), QByteArray("~"));
}

} // namespace

const char becomeSshOption[] = "--become-ssh";
const char unattendedVariable[] = "HNIPCCTL_UNATTENDED";

QString wrongHost(const QString &host)
{
    static const QRegularExpression spaces(QStringLiteral("[\\s\\x00-\\x1f]"));
    if (host.isEmpty()) {
        return QStringLiteral("expected the name of a printer, not an empty string");
    }
    return host.startsWith(QLatin1Char('-')) || host.contains(spaces)
        ? QStringLiteral("expected the name of a printer, not \"%1\"").arg(host) : QString();
}

int readHosts(const QString &fileName, QStringList *hosts)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        return Console::fail(Toolkit::Failed, fileName + QLatin1String(": ") + file.errorString());
    }
    for (int line = 1; !file.atEnd(); ++line) {
        const std::optional<QString> text = exactText(file.readLine());
        const QString host = text.value_or(QString()).section(QLatin1Char('#'), 0, 0).trimmed();
        const QString wrong = !text ? QStringLiteral("expected UTF-8")
            : host.isEmpty() ? QString() : wrongHost(host);
        if (!wrong.isEmpty()) {
            return Console::fail(Toolkit::BadValue, QStringLiteral("%1:%2: %3")
                                                        .arg(fileName, QString::number(line),
                                                             wrong));
        }
        if (!host.isEmpty()) {
            *hosts += host;
        }
    }
    return hosts->isEmpty()
        ? Console::fail(Toolkit::BadValue, fileName + QLatin1String(": expected a printer a line, "
                                                                    "there is none"))
        : int(Toolkit::Done);
}

QString missingSsh()
{
    const QString program = QFile::decodeName(sshProgram());
    return QStandardPaths::findExecutable(program).isEmpty()
        ? QStringLiteral("cannot run %1: there is no such program").arg(program) : QString();
}

QString busAddress(const QString &host, int timeout)
{
    QList<QByteArray> words { becomeSshOption, sshProgram(), "-xT" };
    if (qEnvironmentVariableIsSet(unattendedVariable)) {
        words << "-oBatchMode=yes" << "-oLogLevel=ERROR";
    }
    // A second more than here, where it is said why. For what ssh has started itself.
    words << "-oConnectTimeout=" + QByteArray::number(timeout / 1000 + 1) << "--" << host.toUtf8()
          << "systemd-stdio-bridge";
    QByteArray address
        = "unixexec:path=" + escaped(QFile::encodeName(QCoreApplication::applicationFilePath()));
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

ReachingDeadline::~ReachingDeadline()
{
    setAlarm(0);
}

int becomeSsh(char *words[])
{
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    execvp(words[0], words);
    std::fprintf(stderr, "hnipcctl: cannot run %s: %s\n", words[0], std::strerror(errno));
    return Toolkit::NotFound;
}
