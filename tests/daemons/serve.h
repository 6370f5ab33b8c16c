// SPDX-License-Identifier: MIT
#ifndef SERVE_H
#define SERVE_H

/// Serves until SIGTERM or SIGINT the daemon that was constructed to own @p busName. Prints "ready"
/// on standard output when it does, and on standard error why it cannot. Answers the exit code.
int serve(const char *busName);

#endif
