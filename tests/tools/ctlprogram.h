// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_TOOLS_CTLPROGRAM_H
#define HNIPC_TESTS_TOOLS_CTLPROGRAM_H

#include "support/waituntil.h"

#include <QtCore/QFile>
#include <QtCore/QMap>
#include <QtCore/QProcess>
#include <QtCore/QProcessEnvironment>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>

#include <csignal>

using Environment = QMap<QString, QString>;

// hnipcctl, as a process.
class Ctl
{
public:
    Ctl() = default;

    explicit Ctl(const QStringList &arguments, const Environment &environment = {})
    {
        start(QStringLiteral(HNIPC_TOOLS_DIR "/hnipcctl"), arguments, environment);
    }

    // Nobody waits for one that a test has left.
    ~Ctl()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

    // In the shell, where the program is on the PATH.
    static Ctl *inShell(const QString &command, const Environment &environment = {})
    {
        Ctl *result = new Ctl;
        result->start(QStringLiteral("bash"), { QStringLiteral("-c"), command }, environment);
        return result;
    }

    // On a terminal of its own, whose output is the program's and its errors'.
    static Ctl *onTerminal(const QString &command, const Environment &environment = {})
    {
        Ctl *result = new Ctl;
        result->start(QStringLiteral("script"),
                      { QStringLiteral("-qec"), command, QStringLiteral("/dev/null") },
                      environment);
        return result;
    }

    bool isRunning() const { return m_process.state() != QProcess::NotRunning; }

    bool ended()
    {
        return waitUntil([this]() { return m_process.state() == QProcess::NotRunning; });
    }

    // Until it ends.
    int exitCode()
    {
        return ended() && m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode()
                                                                         : -1;
    }

    QByteArray out()
    {
        exitCode();
        return soFar();
    }

    QByteArray err()
    {
        exitCode();
        return errSoFar();
    }

    QByteArray soFar() { return m_out += m_process.readAllStandardOutput(); }
    QByteArray errSoFar() { return m_err += m_process.readAllStandardError(); }

    bool prints(const QByteArray &text)
    {
        return waitUntil([&]() { return soFar().contains(text); });
    }

    bool complains(const QByteArray &text)
    {
        return waitUntil([&]() { return errSoFar().contains(text); });
    }

    // Ctrl-C
    void interrupt() { send(SIGINT); }
    void send(int signal) { ::kill(pid_t(m_process.processId()), signal); }
    void type(const QByteArray &keys) { m_process.write(keys); }
    void endInput() { m_process.closeWriteChannel(); }

private:
    Q_DISABLE_COPY(Ctl)

    void start(const QString &program, const QStringList &arguments, const Environment &environment)
    {
        QProcessEnvironment all = QProcessEnvironment::systemEnvironment();
        for (const char *name : { "NO_COLOR", "COLORTERM", "HNIPC_DATA_DIR" }) {
            all.remove(QLatin1String(name));
        }
        all.insert(QStringLiteral("TERM"), QStringLiteral("xterm"));
        all.insert(QStringLiteral("PATH"),
                   QStringLiteral(HNIPC_TOOLS_DIR ":") + all.value(QStringLiteral("PATH")));
        for (auto variable = environment.begin(); variable != environment.end(); ++variable) {
            all.insert(variable.key(), variable.value());
        }
        m_process.setProcessEnvironment(all);
        m_process.start(program, arguments);
    }

    QProcess m_process;
    QByteArray m_out;
    QByteArray m_err;
};

// A D-Bus daemon's configuration that allows all but what the rule says.
inline QString busConfiguration(const QTemporaryDir &directory, const QByteArray &rule)
{
    QFile file(directory.filePath(QStringLiteral("bus.conf")));
    file.open(QIODevice::WriteOnly);
    file.write("<!DOCTYPE busconfig PUBLIC '-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN' "
               "'http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd'>"
               "<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen>"
               "<auth>EXTERNAL</auth><policy context='default'><allow own='*'/>"
               "<allow send_destination='*' eavesdrop='true'/><allow eavesdrop='true'/>"
               + rule + "</policy></busconfig>");
    return file.fileName();
}

// A bus of the test's own beside the private one, with rules of its own.
class OtherBus
{
public:
    explicit OtherBus(const QString &configurationFile)
    {
        m_process.start(QStringLiteral("dbus-daemon"),
                        { QStringLiteral("--nofork"), QStringLiteral("--print-address"),
                          QStringLiteral("--config-file=") + configurationFile });
        waitUntil([this]() {
            return m_process.canReadLine() || m_process.state() == QProcess::NotRunning;
        });
        m_address = QString::fromLatin1(m_process.readLine().trimmed());
    }

    ~OtherBus() { stop(); }

    QString address() const { return m_address; }

    // Stands still until it is to go on.
    void halt() { ::kill(pid_t(m_process.processId()), SIGSTOP); }
    void goOn() { ::kill(pid_t(m_process.processId()), SIGCONT); }

    void stop()
    {
        m_process.terminate();
        waitUntil([this]() { return m_process.state() == QProcess::NotRunning; });
    }

    // For all of its clients at once.
    void kill()
    {
        m_process.kill();
        waitUntil([this]() { return m_process.state() == QProcess::NotRunning; });
    }

private:
    QProcess m_process;
    QString m_address;
};

#endif
