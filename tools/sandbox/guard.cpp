// SPDX-License-Identifier: MIT
#include "guard.h"

#include "process.h"

#include "common/exitcodes.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Relays signals that were sent to this process only. The terminal sends its keys' signals to the
// child, too.
int watch(pid_t child, const sigset_t &watched)
{
    for (;;) {
        siginfo_t info = {};
        const int number = sigwaitinfo(&watched, &info);
        int status = 0;
        if (number == SIGCHLD && waitpid(child, &status, WNOHANG) == child) {
            return status;
        }
        if (number > 0 && number != SIGCHLD && info.si_code != SI_KERNEL) {
            kill(child, number);
        }
    }
}

} // namespace

bool guard(int *exitCode)
{
    signal(SIGCHLD, SIG_DFL);
    sigset_t watched;
    sigset_t before;
    sigemptyset(&watched);
    for (const int number : { SIGCHLD, SIGHUP, SIGINT, SIGQUIT, SIGTERM }) {
        sigaddset(&watched, number);
    }
    sigprocmask(SIG_BLOCK, &watched, &before);

    Process::adoptOrphans();
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (getppid() != parent) {
            _exit(Toolkit::SandboxFailed);
        }
        sigprocmask(SIG_SETMASK, &before, nullptr);
        return false;
    }
    if (child < 0) {
        fprintf(stderr, "hnipc-sandbox: cannot start a process: %s\n", strerror(errno));
        *exitCode = Toolkit::SandboxFailed;
        return true;
    }
    const int status = watch(child, watched);
    Process::endDescendants();
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGPIPE) {
        raise(SIGPIPE); // the reader of the output has closed the pipe: end without a message
    }
    if (WIFSIGNALED(status)) {
        fprintf(stderr, "hnipc-sandbox: was killed by signal %d\n", WTERMSIG(status));
    }
    *exitCode = WIFSIGNALED(status) ? int(Toolkit::SandboxFailed) : WEXITSTATUS(status);
    return true;
}
