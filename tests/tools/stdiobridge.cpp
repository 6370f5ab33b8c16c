// SPDX-License-Identifier: MIT
// hnipc-test-stdio-bridge SOCKET: does the same as the system's stdio bridge, for a socket of a
// test's bus.

#include <cstdio>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

// Returns false when either side has ended.
static bool copy(int from, int to)
{
    char buffer[65536];
    const ssize_t size = read(from, buffer, sizeof buffer);
    for (ssize_t done = 0; done < size;) {
        const ssize_t written = write(to, buffer + done, static_cast<size_t>(size - done));
        if (written < 0) {
            return false;
        }
        done += written;
    }
    return size > 0;
}

int main(int argc, char *argv[])
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (argc != 2 || std::strlen(argv[1]) >= sizeof address.sun_path) {
        return 2;
    }
    std::strcpy(address.sun_path, argv[1]);
    const int bus = socket(AF_UNIX, SOCK_STREAM, 0);
    if (connect(bus, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
        std::perror(argv[1]);
        return 1;
    }
    pollfd ends[2] = { { STDIN_FILENO, POLLIN, 0 }, { bus, POLLIN, 0 } };
    while (poll(ends, 2, -1) > 0) {
        if ((ends[0].revents && !copy(STDIN_FILENO, bus))
            || (ends[1].revents && !copy(bus, STDOUT_FILENO))) {
            return 0;
        }
    }
    return 1;
}
