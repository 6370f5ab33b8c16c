// SPDX-License-Identifier: MIT
#ifndef HNIPC_SANDBOX_GUARD_H
#define HNIPC_SANDBOX_GUARD_H

/// Goes on in a child process while this one watches it, and answers there: false is the child,
/// which works. When either is killed the other one ends what is left, so that it takes a kill of
/// both at once to leave anything behind. In the watching process this answers true when the child
/// and all that it has started have ended, with @p exitCode to end with.
bool guard(int *exitCode);

#endif
