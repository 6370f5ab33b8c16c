// SPDX-License-Identifier: MIT
#ifndef HNIPC_SANDBOX_PROCESS_H
#define HNIPC_SANDBOX_PROCESS_H

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QSet>

#include <csignal>
#include <sys/types.h>

/// Starts and ends processes with system calls. QProcess is not enough: the command has to get the
/// terminal, the signals and the exact arguments, and no process may outlive its parent.
namespace Process {

struct Launch
{
    QList<QByteArray> arguments;   ///< first the program, which is searched in PATH
    QList<QByteArray> environment; ///< "NAME=VALUE", the complete environment
    int input = -1;                ///< file descriptors; -1 for that of this process
    int output = -1;
    int error = -1;
    bool inBackground = false; ///< does not get the signals of the terminal's keys
    sigset_t signalMask = {};  ///< signals that are blocked
};

/// Starts a process, which is killed when this one ends. -1 if it cannot be started; errno then has
/// the reason.
pid_t launch(const Launch &launch);

/// Makes this process the parent of all descendants whose own parent ends.
void adoptOrphans();

/// Ends all descendants of this process but those in @p spared: by SIGTERM and SIGHUP first, then by
/// SIGKILL. Processes of other users are not ended.
void endDescendants(const QSet<pid_t> &spared = QSet<pid_t>());

/// The exit code for a process's wait status, as a shell reports it.
int exitCode(int status);

} // namespace Process

#endif
