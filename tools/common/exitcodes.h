// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_COMMON_EXITCODES_H
#define HNIPC_TOOLS_COMMON_EXITCODES_H

namespace Toolkit {

/// What a tool ends with, the same in all of them.
enum ExitCode {
    Done = 0,
    Failed = 1,          ///< the work failed in a way that has no code of its own
    WrongUsage = 2,      ///< no such option or command, or arguments are missing
    NoBus = 3,           ///< no bus, or no right to use it
    DaemonAbsent = 4,    ///< the daemon is not on the bus
    Refused = 5,         ///< the daemon answered with an error
    NoAnswer = 6,        ///< the daemon did not answer in time
    NoSuchName = 7,      ///< no such method, property, signal or daemon
    BadValue = 8,        ///< an argument, or a line of a file, is not what was expected
    OutcomeUnknown = 9,  ///< the request may or may not have been carried out
    SandboxFailed = 125, ///< the sandbox failed before its command ran
    CannotRun = 126,     ///< the sandbox's command cannot be run
    NotFound = 127,      ///< the sandbox's command is not there
    Interrupted = 130,   ///< Ctrl-C; 128 and the number of any other signal
};

} // namespace Toolkit

#endif
