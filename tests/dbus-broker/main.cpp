// SPDX-License-Identifier: MIT
//
// Replaces dbus-daemon, with the options that the tests use, and executes dbus-broker-launch.

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <fcntl.h>
#include <getopt.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

// The file descriptor of the socket that systemd passes to the services that it starts.
const int handedOver = 3;

[[noreturn]] void fail(const char *what)
{
    std::fprintf(stderr, "dbus-daemon, which is dbus-broker here: %s: %s\n", what,
                 std::strerror(errno));
    std::exit(1);
}

std::string ownId() { return std::to_string(getpid()); }

// dbus-broker writes to the journal only, and does not start without one.
void keepJournal()
{
    const char path[] = "/run/systemd/journal/socket";
    if (access(path, W_OK) == 0) {
        return;
    }
    // The /run of other processes stays unchanged.
    const char missing[] = "there is no journal, and only root can give it one";
    if (unshare(CLONE_NEWNS) != 0
        || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        fail(missing);
    }
    // dbus-broker-launch connects to the bus by its path, which may be in /run/dbus.
    const int buses = open("/run/dbus", O_PATH | O_CLOEXEC);
    if (mount("none", "/run", "tmpfs", 0, "mode=755") != 0) {
        fail(missing);
    }
    if (buses >= 0) {
        mkdir("/run/dbus", 0755);
        const std::string old = "/proc/self/fd/" + std::to_string(buses);
        if (mount(old.c_str(), "/run/dbus", nullptr, MS_BIND, nullptr) != 0) {
            fail("/run/dbus");
        }
        close(buses);
    }
    mkdir("/run/systemd", 0755);
    mkdir("/run/systemd/journal", 0755);

    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path, sizeof(path));
    const int journal = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (bind(journal, reinterpret_cast<sockaddr *>(&address), sizeof(address)) != 0) {
        fail(path);
    }
    const pid_t bus = getpid();
    if (fork() == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        dup2(journal, 0);
        closefrom(1); // a reader of these waits until all processes have closed them
        char entry[65536];
        while (getppid() == bus && recv(0, entry, sizeof(entry), 0) >= 0) {}
        _exit(0);
    }
    close(journal);
}

std::string contentOf(int file)
{
    std::string result(65536, 0);
    const ssize_t size = pread(file, &result[0], result.size(), 0);
    result.resize(size > 0 ? std::size_t(size) : 0);
    return result;
}

// The part of the text from the key to the next of these characters; empty without the key.
std::string behind(const std::string &key, const std::string &text, const char *end)
{
    const std::size_t start = text.find(key);
    if (start == std::string::npos) {
        return std::string();
    }
    const std::string rest = text.substr(start + key.size());
    return rest.substr(0, rest.find_first_of(end));
}

// Listens at the given address, otherwise under a name that the kernel chooses, which leaves no
// file. Returns the address.
std::string listenAt(const std::string &wanted)
{
    const std::string path = behind("unix:path=", wanted, ",;<");
    const std::string name = behind("unix:abstract=", wanted, ",;<");
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    socklen_t size = offsetof(sockaddr_un, sun_path);
    if (!path.empty()) {
        std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
        size = sizeof(address);
    } else if (!name.empty()) {
        std::strncpy(address.sun_path + 1, name.c_str(), sizeof(address.sun_path) - 2);
        size += 1 + socklen_t(name.size());
    }

    const int bound = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (bind(bound, reinterpret_cast<sockaddr *>(&address), size) != 0 || listen(bound, 64) != 0) {
        fail("no socket");
    }
    size = sizeof(address);
    getsockname(bound, reinterpret_cast<sockaddr *>(&address), &size);
    if (bound == handedOver) {
        fcntl(bound, F_SETFD, 0);
    } else {
        dup2(bound, handedOver);
    }
    if (!path.empty()) {
        return "unix:path=" + path;
    }
    const std::size_t found = size - offsetof(sockaddr_un, sun_path) - 1; // after a zero byte
    return "unix:abstract=" + std::string(address.sun_path + 1, found);
}

} // namespace

int main(int argc, char **argv)
{
    std::string config = "/usr/share/dbus-1/session.conf";
    std::string wanted;
    int printTo = -1;

    const option options[] = {
        { "address", required_argument, nullptr, 'l' },
        { "config-file", required_argument, nullptr, 'c' },
        { "print-address", optional_argument, nullptr, 'a' },
        { "nofork", no_argument, nullptr, 'n' },
        { "nopidfile", no_argument, nullptr, 'n' },
        { "nosyslog", no_argument, nullptr, 'n' },
        { "session", no_argument, nullptr, 'n' },
        { nullptr, 0, nullptr, 0 },
    };
    for (int found; (found = getopt_long(argc, argv, "", options, nullptr)) != -1;) {
        switch (found) {
        case 'l':
            wanted = optarg;
            break;
        case 'c':
            config = optarg;
            break;
        case 'a':
            if (!optarg && optind < argc && argv[optind][0] != '-') {
                optarg = argv[optind++];
            }
            printTo = optarg ? std::atoi(optarg) : STDOUT_FILENO;
            break;
        case 'n':
            break;
        default:
            return 2;
        }
    }

    // The descriptor for printing the address may have the number that the socket gets.
    int out = -1;
    if (printTo >= 0) {
        out = fcntl(printTo, F_DUPFD_CLOEXEC, handedOver + 1);
        close(printTo);
    }
    // A program that waits for the address may remove the file as soon as it has read the address.
    const int kept = open(config.c_str(), O_RDONLY);
    if (kept < 0) {
        fail(config.c_str());
    }
    const int configuration = fcntl(kept, F_DUPFD, handedOver + 1);
    close(kept);
    if (wanted.empty()) {
        wanted = behind("<listen>", contentOf(configuration), "<");
    }
    const std::string address = listenAt(wanted);
    if (out >= 0) {
        const std::string line = address + '\n';
        if (write(out, line.data(), line.size()) != ssize_t(line.size())) {
            fail("the address cannot be printed");
        }
        close(out);
    }
    keepJournal();

    setenv("LISTEN_FDS", "1", 1);
    setenv("LISTEN_PID", ownId().c_str(), 1);
    // dbus-broker-launch is also a client of this bus, where it looks for systemd.
    setenv("DBUS_SYSTEM_BUS_ADDRESS", address.c_str(), 1);
    config = "/proc/self/fd/" + std::to_string(configuration);
    execlp("dbus-broker-launch", "dbus-broker-launch", "--scope=system", "--config-file",
           config.c_str(), nullptr);
    fail("dbus-broker-launch");
}
