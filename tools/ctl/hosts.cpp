// SPDX-License-Identifier: MIT
#include "hosts.h"

#include "common/exitcodes.h"
#include "console.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QRegularExpression>

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

// As D-Bus addresses want it.
QByteArray escaped(const QByteArray &value)
{
    return value.toPercentEncoding(QByteArray("/\\*"), QByteArray("~"));
}

} // namespace

const char becomeSshOption[] = "--become-ssh";

QString wrongHost(const QString &host)
{
    static const QRegularExpression spaces(QStringLiteral("[\\s\\x00-\\x1f]"));
    if (host.isEmpty()) {
        return QStringLiteral("expected the name of a printer, not an empty text");
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
        const QString host = QString::fromUtf8(file.readLine())
                                 .section(QLatin1Char('#'), 0, 0).trimmed();
        const QString wrong = host.isEmpty() ? QString() : wrongHost(host);
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

QString busAddress(const QString &host)
{
    const QByteArray ssh = qgetenv("HNIPCCTL_SSH");
    const QList<QByteArray> words { becomeSshOption, ssh.isEmpty() ? QByteArray("ssh") : ssh, "-xT",
                                    "--", host.toUtf8(), "systemd-stdio-bridge" };
    QByteArray address
        = "unixexec:path=" + escaped(QFile::encodeName(QCoreApplication::applicationFilePath()));
    for (int i = 0; i < words.size(); ++i) {
        address += ",argv" + QByteArray::number(i + 1) + '=' + escaped(words.at(i));
    }
    return QString::fromLatin1(address);
}

ReachingDeadline::ReachingDeadline(const QString &host, int milliseconds)
{
    const QString text
        = QStringLiteral("%1 was not reached within %2 ms")
              .arg(host, QString::number(milliseconds));
    tooLate = "hnipcctl: " + Console::printable(text).toUtf8() + '\n';
    tooLateLine = Console::failureLine(Toolkit::NoAnswer, text);
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
