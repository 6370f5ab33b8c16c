// SPDX-License-Identifier: MIT
#ifndef HNIPC_SANDBOX_GUARD_H
#define HNIPC_SANDBOX_GUARD_H

/// Splits the program into two processes. Returns false in the child, which does the work. Returns
/// true in the parent, after the child and all processes that it has started have ended; the parent
/// then ends with @p exitCode. If either is killed, the other one ends all remaining processes, so
/// processes are left only if both are killed at once.
bool guard(int *exitCode);

#endif
