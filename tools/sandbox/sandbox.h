// SPDX-License-Identifier: MIT
#ifndef HNIPC_SANDBOX_SANDBOX_H
#define HNIPC_SANDBOX_SANDBOX_H

#include "process.h"

#include "common/scenario.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QSocketNotifier>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtDBus/QDBusConnection>

#include <map>
#include <memory>
#include <optional>

/// A private bus in place of the system bus, simulated daemons on it, and a command that uses them.
class Sandbox
{
public:
    struct Request
    {
        QStringList daemons;
        std::optional<Toolkit::Scenario> scenario;
        bool isCheck = false; ///< checks the scenario, and runs no command
        bool isQuiet = false; ///< does not print the texts of the scenario
        QList<QByteArray> command;
    };

    Sandbox();
    ~Sandbox();

    /// Returns the exit code: that of the command, or 125 if an act of the scenario failed. For a
    /// check: 0, or 8 if the scenario is invalid.
    int run(const Request &request);

private:
    struct Daemon
    {
        pid_t process = 0;
        int output = -1;
        bool isReady = false;
        bool isMeantToEnd = false;
        QByteArray line; ///< the unfinished last line of its output
        std::unique_ptr<QSocketNotifier> notifier;
    };

    void startBus();
    void startDaemon(const QString &name);
    void waitForDaemon(const QString &name);
    void stopDaemon(const QString &name);
    bool readOutput(Daemon *daemon);
    void drainOutput(Daemon *daemon);
    void closeOutput(Daemon *daemon);
    QDBusConnection connectToBus(const QString &name) const;
    int check(const Request &request);
    void play(const Toolkit::Scenario &scenario, bool isQuiet);
    void startCommand(const QList<QByteArray> &command);

    void readSignals();
    void onEnded(pid_t process, int status);
    void end(int exitCode);
    void waitFor(int descriptor, int milliseconds);
    Process::Launch background(const QList<QByteArray> &arguments) const;

    sigset_t m_outerMask;
    int m_signals = -1;
    int m_null = -1;
    QByteArray m_address;
    pid_t m_bus = 0;
    pid_t m_command = 0;
    std::map<QString, Daemon> m_daemons;
    std::unique_ptr<Toolkit::ScenarioPlayer> m_player;
    int m_failedActs = 0;
    std::optional<int> m_exitCode; ///< set when the sandbox has to end
};

#endif
