// SPDX-License-Identifier: MIT
#ifndef HNIPC_BENCHMARKS_PEERS_H
#define HNIPC_BENCHMARKS_PEERS_H

// The same question, "is the lid open?", by other ways than the library's. Each ends the program
// when it is not answered.

namespace GlibPeer {
void connectToBus();
bool printerLid();
} // namespace GlibPeer

namespace SystemdPeer {
void connectToBus();
bool printerLid();
} // namespace SystemdPeer

// A process that sends back what it is sent, without a bus in between: what no D-Bus can be faster
// than.
namespace SocketPeer {
void start();
void roundTrip();
} // namespace SocketPeer

#endif
