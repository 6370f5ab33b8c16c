// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_COMMON_FAILURE_H
#define HNIPC_TOOLS_COMMON_FAILURE_H

#include <QtCore/QString>

namespace Toolkit {

/// Thrown where a program cannot go on.
struct Failure
{
    int exitCode;
    QString message; ///< null where there is nothing to say
};

} // namespace Toolkit

#endif
