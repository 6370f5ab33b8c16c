// SPDX-License-Identifier: MIT
#ifndef HNIPC_BENCHMARKS_PEERS_H
#define HNIPC_BENCHMARKS_PEERS_H

// The same call, printerLid(), in other ways than with the library. Each aborts the program if it
// gets no reply.

namespace GlibPeer {
void connectToBus();
bool printerLid();
} // namespace GlibPeer

namespace SystemdPeer {
void connectToBus();
bool printerLid();
} // namespace SystemdPeer

// A process that sends back what it receives over a socket, without a bus: no D-Bus call can be
// faster.
namespace SocketPeer {
void start();
void roundTrip();
} // namespace SocketPeer

#endif
