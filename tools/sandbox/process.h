// SPDX-License-Identifier: MIT
#ifndef HNIPC_SANDBOX_PROCESS_H
#define HNIPC_SANDBOX_PROCESS_H

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QSet>

#include <csignal>
#include <sys/types.h>

/// Processes, closer to the system than QProcess is: a command has to get the terminal, the signals
/// and the arguments as they are, and nothing may outlive its parent.
namespace Process {

struct Launch
{
    QList<QByteArray> arguments;   ///< the program first, which is looked for in PATH
    QList<QByteArray> environment; ///< "NAME=VALUE", all of it
    int input = -1;                ///< file descriptors; -1 for that of this process
    int output = -1;
    int error = -1;
    bool inBackground = false; ///< out of reach of the terminal's keys
    sigset_t signalMask = {};  ///< signals that are blocked
};

/// Starts a process, which is killed when this one dies. -1 where it cannot be started; errno then
/// says why.
pid_t launch(const Launch &launch);

/// Makes this process the parent of all that its descendants leave behind.
void adoptOrphans();

/// Ends all descendants of this process but those in @p spared: asks them, and kills those that do
/// not follow. Those that belong to another user are left alone.
void endDescendants(const QSet<pid_t> &spared = QSet<pid_t>());

/// What a shell makes of the status of a process that has ended.
int exitCode(int status);

} // namespace Process

#endif
