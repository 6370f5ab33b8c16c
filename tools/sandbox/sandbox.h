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

/// A private bus that plays the system bus, simulated daemons on it, and a command among them.
class Sandbox
{
public:
    struct Request
    {
        QStringList daemons;
        std::optional<Toolkit::Scenario> scenario;
        bool isCheck = false; ///< of the scenario, instead of a command
        bool isQuiet = false; ///< does not print what the scenario says
        QList<QByteArray> command;
    };

    Sandbox();
    ~Sandbox();

    /// Returns the exit code: that of the command, or 125 if an act of the scenario failed; of a
    /// check, 0, or 8 if something is wrong with the scenario.
    int run(const Request &request);

private:
    struct Daemon
    {
        pid_t process = 0;
        int output = -1;
        bool isReady = false;
        bool isMeantToEnd = false;
        QByteArray line; ///< of its output, so far
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
    std::optional<int> m_exitCode; ///< once it is time to end
};

#endif
