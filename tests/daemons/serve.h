// SPDX-License-Identifier: MIT
#ifndef SERVE_H
#define SERVE_H

/// Runs the daemon that was constructed to own @p busName until SIGTERM or SIGINT. Prints "ready"
/// on standard output when the daemon owns the name. Prints on standard error why it cannot run.
/// Returns the exit code.
int serve(const char *busName);

#endif
