// SPDX-License-Identifier: MIT
#include "privatebus.h"

#include <gio/gio.h>

struct PrivateBus::Private
{
    GTestDBus *bus;
    QByteArray address;
};

PrivateBus::PrivateBus() : d(new Private)
{
    d->bus = g_test_dbus_new(G_TEST_DBUS_NONE);
    g_test_dbus_up(d->bus);
    d->address = g_test_dbus_get_bus_address(d->bus);
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", d->address);
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/session-bus");
}

PrivateBus::~PrivateBus()
{
    g_test_dbus_down(d->bus);
    g_object_unref(d->bus);
    delete d;
}

QByteArray PrivateBus::address() const { return d->address; }
