// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_EXPECTED_IDENTITIES_H
#define HNIPC_TESTS_EXPECTED_IDENTITIES_H

namespace Expected {

enum Server { IOEXPD = 0, M4 = 1, SUPPLYD = 2, ServerCount = 3, NoServer = -1 };

struct Identity
{
    const char *busName;
    const char *interface;
    const char *tag;
};

// Indexed by server.
const Identity identities[ServerCount] = {
    { "org.hnipc.ioexpd", "local.IHNIPCIOEXPD", "IOEXPD" },
    { "org.hnipc.m4", "local.IHNIPCM4", "M4" },
    { "org.hnipc.supplyd", "local.IHNIPCSUPPLYD", "SUPPLYD" },
};

} // namespace Expected

#endif
