// SPDX-License-Identifier: MIT
#include "machine.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

const char journal[] = "/run/systemd/journal/socket";

QByteArray path(const char *name) { return QByteArray(Machine::directory) + '/' + name; }

int boundSocket(int type, const QByteArray &name)
{
    sockaddr_un address;
    std::memset(&address, 0, sizeof(address));
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, name.constData(), sizeof(address.sun_path));
    const int fd = socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof(address)) != 0
        || chmod(name.constData(), 0777) != 0) {
        qFatal("no socket %s: %s", name.constData(), std::strerror(errno));
    }
    return fd;
}

// dbus-broker logs only to the journal, and does not start without it.
void keepJournal()
{
    QDir().mkpath(QFileInfo(QString::fromLatin1(journal)).path());
    const int fd = boundSocket(SOCK_DGRAM, journal);
    if (fork() == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        const int log = open(path("log").constData(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        char entry[65536];
        for (;;) {
            const ssize_t size = recv(fd, entry, sizeof(entry), 0);
            if (size < 0 || write(log, entry, size_t(size)) != size) {
                _exit(1);
            }
        }
    }
    close(fd);
}

bool bindOver(const char *file, const QByteArray &text)
{
    const QString own = Machine::write(QFileInfo(QString::fromLatin1(file)).fileName(), text);
    return mount(own.toLatin1().constData(), file, "none", MS_BIND, nullptr) == 0;
}

QByteArray failed(const char *what) { return QByteArray(what).append(std::strerror(errno)); }

QByteArray number(uint value) { return QByteArray::number(value); }

} // namespace

bool Machine::make(const QList<User> &users, const QList<Group> &groups, QByteArray *reason)
{
    if (geteuid() != 0) {
        *reason = "only root can be several users";
        return false;
    }
    if (unshare(CLONE_NEWNS) != 0) {
        *reason = failed("root may not have mounts of its own here: ");
        return false;
    }
    umask(022);
    if (mount("none", "/", "none", MS_REC | MS_PRIVATE, nullptr) != 0
        || mount("none", "/run", "tmpfs", 0, "mode=755") != 0) {
        *reason = failed("root may not mount here: ");
        return false;
    }
    QDir().mkpath(QString::fromLatin1(directory));

    QByteArray passwd;
    for (const User &user : users) {
        passwd += user.name + ":x:" + number(user.uid) + ':' + number(user.gid) + "::/:/bin/sh\n";
    }
    QByteArray group;
    for (const Group &each : groups) {
        QByteArray members;
        for (const User &user : users) {
            if (user.groups.contains(each.gid)) {
                members += (members.isEmpty() ? "" : ",") + user.name;
            }
        }
        group += QByteArray(each.name) + ":x:" + number(each.gid) + ':' + members + '\n';
    }
    if (!bindOver("/etc/passwd", passwd) || !bindOver("/etc/group", group)) {
        *reason = failed("no users of its own: ");
        return false;
    }
    keepJournal();
    return true;
}

QString Machine::write(const QString &name, const QByteArray &text)
{
    QFile file(QString::fromLatin1(directory) + QLatin1Char('/') + name);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size()) {
        qFatal("%s: %s", qPrintable(file.fileName()), qPrintable(file.errorString()));
    }
    file.close();
    return file.fileName();
}

QString Machine::publish(const QString &file, const QString &subdirectory)
{
    const QDir place(QString::fromLatin1(directory) + QLatin1Char('/') + subdirectory);
    place.mkpath(QLatin1String("."));
    const QString copy = place.filePath(QFileInfo(file).fileName());
    if (!QFile::copy(file, copy) || chmod(QFile::encodeName(copy).constData(), 0755) != 0) {
        qFatal("no copy of %s", qPrintable(file));
    }
    return copy;
}

void Machine::start(Process *process, const User &user, const QByteArray &address,
                    const char *program, const QStringList &arguments)
{
    QStringList words;
    // When a process changes its user, the kernel clears the parent-death signal. setpriv sets it
    // again.
    words << QLatin1String("--pdeathsig=KILL")
          << QString::fromLatin1("--reuid=") + QString::number(user.uid)
          << QString::fromLatin1("--regid=") + QString::number(user.gid);
    QStringList groups;
    for (gid_t group : user.groups) {
        groups << QString::number(group);
    }
    words << (groups.isEmpty()
                  ? QString::fromLatin1("--clear-groups")
                  : QString::fromLatin1("--groups=") + groups.join(QLatin1String(",")));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    const QString own = QString::fromLatin1(directory);
    environment.insert(QLatin1String("DBUS_SYSTEM_BUS_ADDRESS"), QString::fromLatin1(address));
    environment.insert(QLatin1String("LD_LIBRARY_PATH"), own + QLatin1String("/lib"));
    environment.insert(QLatin1String("HNIPC_DATA_DIR"), own);
    process->setProcessEnvironment(environment);
    process->start(QLatin1String("setpriv"), words << Machine::program(program) << arguments);
}

QString Machine::program(const char *name)
{
    return QString::fromLatin1(directory) + QLatin1String("/bin/") + QLatin1String(name);
}

bool Machine::Bus::isThere(Kind kind)
{
    Process shell;
    shell.start(QLatin1String("sh"),
                QStringList() << QLatin1String("-c")
                              << QLatin1String(kind == DBusBroker ? "command -v dbus-broker-launch"
                                                                  : "command -v dbus-daemon"));
    shell.waitForFinished();
    return shell.exitCode() == 0;
}

// Both buses receive a listening socket, as from systemd, so callers need not wait until the bus is
// up.
Machine::Bus::Bus(Kind kind, const QByteArray &configuration)
{
    static int buses = 0;
    const QByteArray name = "bus" + QByteArray::number(++buses);
    m_address = "unix:path=" + path(name.constData());
    const QByteArray file = write(QString::fromLatin1(name) + QLatin1String(".conf"), configuration)
                                .toLatin1();
    const QByteArray log = path("log");

    const int bound = boundSocket(SOCK_STREAM, path(name.constData()));
    const int fd = fcntl(bound, F_DUPFD_CLOEXEC, 10); // it is 3 in the child only
    close(bound);
    if (fd < 0 || listen(fd, 64) != 0) {
        qFatal("no socket for a bus: %s", std::strerror(errno));
    }
    const QByteArray config = "--config-file=" + file;
    m_pid = fork();
    if (m_pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        dup2(fd, 3);
        const char *const environment = "export LISTEN_PID=$$ LISTEN_FDS=1 "
                                        "DBUS_SYSTEM_BUS_ADDRESS=\"$1\"; "
                                        "exec 2>>\"$2\"; shift 2; exec \"$@\"";
        if (kind == DBusBroker) {
            execlp("sh", "sh", "-c", environment, "sh", m_address.constData(), log.constData(),
                   "dbus-broker-launch", "--scope=system", config.constData(), nullptr);
        } else {
            execlp("sh", "sh", "-c", environment, "sh", m_address.constData(), log.constData(),
                   "dbus-daemon", "--nofork", "--address=systemd:", config.constData(), nullptr);
        }
        _exit(127);
    }
    close(fd);
}

Machine::Bus::~Bus()
{
    kill(m_pid, SIGTERM);
    waitpid(m_pid, nullptr, 0);
}

QByteArray Machine::Bus::log()
{
    QFile file(QFile::decodeName(path("log")));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
