// SPDX-License-Identifier: MIT
#ifndef RELAY_P_H
#define RELAY_P_H

#include <hnipc/hnipcserver.h>

// One signal of a daemon, and the signal of the client classes that relays it.
struct RelayRow
{
    HNIPCServer::ServerType daemon;
    const char *member; // of the daemon's interface
    const char *signal; // as written by SIGNAL()
};

enum { relayRowCount = 59 };

// The rows, in the order in which the client subscribes to them.
typedef RelayRow RelayRows[relayRowCount];
const RelayRows &relayRows();

#endif
