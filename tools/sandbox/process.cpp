// SPDX-License-Identifier: MIT
#include "process.h"

#include <QtCore/QDir>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QMultiHash>

#include <cerrno>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

std::vector<char *> pointers(const QList<QByteArray> &texts)
{
    std::vector<char *> result;
    for (const QByteArray &text : texts) {
        result.push_back(const_cast<char *>(text.constData()));
    }
    result.push_back(nullptr);
    return result;
}

// Runs between fork and exec. Locks that other threads of the parent held are never released here,
// so this uses system calls only.
[[noreturn]] void become(const Process::Launch &launch, char **arguments, char **environment,
                         pid_t parent, int errorPipe)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) {
        _exit(128 + SIGKILL); // the parent had ended before prctl()
    }
    if (launch.inBackground) {
        setsid();
    }
    const int descriptors[] = { launch.input, launch.output, launch.error };
    for (int i = 0; i < 3; ++i) {
        if (descriptors[i] >= 0) {
            dup2(descriptors[i], i);
        }
    }
    signal(SIGPIPE, SIG_DFL);
    sigprocmask(SIG_SETMASK, &launch.signalMask, nullptr);
    environ = environment;
    execvp(arguments[0], arguments);
    const int reason = errno;
    const ssize_t written = write(errorPipe, &reason, sizeof(reason));
    static_cast<void>(written);
    _exit(127);
}

struct Status
{
    pid_t parent = 0;
    char state = 0;
};

Status statusOf(const QString &process)
{
    Status result;
    QFile file(QLatin1String("/proc/") + process + QLatin1String("/stat"));
    if (file.open(QIODevice::ReadOnly)) {
        // The program's name, in parentheses, may contain any characters.
        const QByteArray text = file.readAll();
        const QList<QByteArray> fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
        result.state = fields.value(0).isEmpty() ? 0 : fields.at(0).at(0);
        result.parent = fields.value(1).toInt();
    }
    return result;
}

// All descendants but the spared ones and theirs: a spared process that restarts its children would
// always have some.
QSet<pid_t> descendants(const QSet<pid_t> &spared)
{
    QMultiHash<pid_t, pid_t> children;
    const QStringList entries = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs);
    for (const QString &entry : entries) {
        const pid_t process = entry.toInt();
        const Status status = process > 0 ? statusOf(entry) : Status();
        if (status.parent > 0 && status.state != 'Z') {
            children.insert(status.parent, process);
        }
    }
    QSet<pid_t> result;
    QList<pid_t> parents = { getpid() };
    while (!parents.isEmpty()) {
        const QList<pid_t> found = children.values(parents.takeFirst());
        for (const pid_t process : found) {
            if (!spared.contains(process)) {
                result.insert(process);
                parents.append(process);
            }
        }
    }
    return result;
}

void reap(const QSet<pid_t> &spared)
{
    // Not with -1, which would also collect the status of spared processes.
    for (;;) {
        siginfo_t info = {};
        if (waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) != 0 || info.si_pid == 0
            || spared.contains(info.si_pid)) {
            return;
        }
        waitpid(info.si_pid, nullptr, WNOHANG);
    }
}

} // namespace

pid_t Process::launch(const Launch &launch)
{
    std::vector<char *> arguments = pointers(launch.arguments);
    std::vector<char *> environment = pointers(launch.environment);
    int errorPipe[2];
    if (pipe2(errorPipe, O_CLOEXEC) != 0) {
        return -1;
    }
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == 0) {
        become(launch, arguments.data(), environment.data(), parent, errorPipe[1]);
    }
    int reason = child < 0 ? errno : 0;
    close(errorPipe[1]);
    if (child > 0 && read(errorPipe[0], &reason, sizeof(reason)) > 0) {
        waitpid(child, nullptr, 0);
    }
    close(errorPipe[0]);
    errno = reason;
    return reason ? -1 : child;
}

void Process::adoptOrphans() { prctl(PR_SET_CHILD_SUBREAPER, 1); }

void Process::endDescendants(const QSet<pid_t> &spared)
{
    const int killDelay = 2000; // milliseconds
    QElapsedTimer elapsed;
    elapsed.start();
    QSet<pid_t> asked;
    QSet<pid_t> untouchable;
    for (;;) {
        reap(spared);
        const QSet<pid_t> left = descendants(spared) - untouchable;
        if (left.isEmpty()) {
            return;
        }
        const bool isAsking = elapsed.elapsed() < killDelay;
        for (const pid_t process : left) {
            if (isAsking && asked.contains(process)) {
                continue;
            }
            asked.insert(process);
            if (kill(process, isAsking ? SIGTERM : SIGKILL) != 0 && errno == EPERM) {
                untouchable.insert(process);
            }
            if (isAsking) {
                kill(process, SIGHUP); // an interactive shell ignores SIGTERM
                kill(process, SIGCONT);
            }
        }
        usleep(5000);
    }
}

int Process::exitCode(int status)
{
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}
