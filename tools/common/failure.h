// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_COMMON_FAILURE_H
#define HNIPC_TOOLS_COMMON_FAILURE_H

#include <QtCore/QString>

namespace Toolkit {

/// Thrown when a program has to end; main() prints the message and returns the exit code.
struct Failure
{
    int exitCode;
    QString message; ///< null if nothing has to be printed
};

} // namespace Toolkit

#endif
