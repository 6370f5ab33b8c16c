// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_COMMON_EXITCODES_H
#define HNIPC_TOOLS_COMMON_EXITCODES_H

namespace Toolkit {

/// The exit codes, the same for all tools.
enum ExitCode {
    Done = 0,
    Failed = 1,          ///< a failure without a code of its own
    WrongUsage = 2,      ///< an unknown option or command, or the wrong number of arguments
    NoBus = 3,           ///< the bus is not running, or denies this user access
    DaemonAbsent = 4,    ///< the daemon is not running
    Refused = 5,         ///< the daemon replied with an error
    NoAnswer = 6,        ///< the daemon did not reply in time
    NoSuchName = 7,      ///< an unknown method, property, signal or daemon
    BadValue = 8,        ///< an argument, or a line of a file, is invalid
    OutcomeUnknown = 9,  ///< the daemon may or may not have carried out the request
    SandboxFailed = 125, ///< the sandbox, or an act of its scenario, failed
    CannotRun = 126,     ///< the sandbox's command cannot be run
    NotFound = 127,      ///< the sandbox's command was not found
    Interrupted = 130,   ///< Ctrl-C; for other signals, 128 plus the signal's number
};

} // namespace Toolkit

#endif
