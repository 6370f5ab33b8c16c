// SPDX-License-Identifier: MIT
#include "peers.h"

#include <gio/gio.h>
#include <systemd/sd-bus.h>

#include <cstdio>
#include <cstdlib>
#include <sys/socket.h>
#include <unistd.h>

static void fail(const char *peer, const char *text)
{
    std::fprintf(stderr, "%s: %s\n", peer, text);
    std::exit(1);
}

static GDBusConnection *glibConnection;

void GlibPeer::connectToBus()
{
    GError *error = nullptr;
    glibConnection = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, &error);
    if (!glibConnection) {
        fail("GDBus", error->message);
    }
}

bool GlibPeer::printerLid()
{
    GError *error = nullptr;
    GVariant *reply = g_dbus_connection_call_sync(
        glibConnection, "org.hnipc.m4", "/", "local.IHNIPCM4", "printerLid", nullptr,
        G_VARIANT_TYPE("(b)"), G_DBUS_CALL_FLAGS_NONE, -1, nullptr, &error);
    if (!reply) {
        fail("GDBus", error->message);
    }
    gboolean open = FALSE;
    g_variant_get(reply, "(b)", &open);
    g_variant_unref(reply);
    return open;
}

static sd_bus *systemdConnection;

void SystemdPeer::connectToBus()
{
    if (sd_bus_open_system(&systemdConnection) < 0) {
        fail("sd-bus", "no connection");
    }
}

bool SystemdPeer::printerLid()
{
    sd_bus_error error = SD_BUS_ERROR_NULL;
    sd_bus_message *reply = nullptr;
    int open = 0;
    if (sd_bus_call_method(systemdConnection, "org.hnipc.m4", "/", "local.IHNIPCM4", "printerLid",
                           &error, &reply, "")
        < 0) {
        fail("sd-bus", error.message);
    }
    if (sd_bus_message_read(reply, "b", &open) < 0) {
        fail("sd-bus", "not a boolean");
    }
    sd_bus_message_unref(reply);
    return open;
}

// As long as the message that calls printerLid().
static char packet[144];
static int echo;

static bool pass(int socket, ssize_t (*act)(int, char *, size_t))
{
    size_t done = 0;
    while (done < sizeof packet) {
        const ssize_t count = act(socket, packet + done, sizeof packet - done);
        if (count <= 0) {
            return false;
        }
        done += size_t(count);
    }
    return true;
}

static ssize_t take(int socket, char *data, size_t size) { return read(socket, data, size); }
static ssize_t give(int socket, char *data, size_t size) { return write(socket, data, size); }

void SocketPeer::start()
{
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) {
        fail("socket", "socketpair() failed");
    }
    const pid_t process = fork();
    if (process < 0) {
        fail("socket", "fork() failed");
    }
    if (process == 0) {
        close(ends[0]);
        while (pass(ends[1], take) && pass(ends[1], give)) {}
        _exit(0);
    }
    close(ends[1]);
    echo = ends[0];
}

void SocketPeer::roundTrip()
{
    if (!pass(echo, give) || !pass(echo, take)) {
        fail("socket", "connection lost");
    }
}
