/* SPDX-License-Identifier: MIT
 *
 * Sends the print engine two messages, by the code that gdbus-codegen generates. */

#include "m4.h"

/* The form with a string: the generated code has only the form with a number. */
static gboolean sendText(IHNIPCM4 *m4, int type, int message, const char *text, GError **error)
{
    gboolean done = FALSE;
    GVariant *reply = g_dbus_proxy_call_sync(G_DBUS_PROXY(m4), "sendMCCMessage",
                                             g_variant_new("(iis)", type, message, text),
                                             G_DBUS_CALL_FLAGS_NONE, -1, NULL, error);
    if (reply) {
        g_variant_get(reply, "(b)", &done);
        g_variant_unref(reply);
    }
    return done;
}

static void say(const char *what, gboolean done, GError **error)
{
    g_print("%s: %s\n", what, *error ? (*error)->message : done ? "done" : "not done");
    g_clear_error(error);
}

int main(void)
{
    GError *error = NULL;
    IHNIPCM4 *m4 = ihnipcm4_proxy_new_for_bus_sync(G_BUS_TYPE_SYSTEM,
                                                   G_DBUS_PROXY_FLAGS_DO_NOT_LOAD_PROPERTIES,
                                                   "org.hnipc.m4", "/", NULL, &error);
    if (!m4) {
        g_printerr("%s\n", error->message);
        g_clear_error(&error);
        return 1;
    }

    gboolean done = FALSE;
    ihnipcm4_call_send_mccmessage_sync(m4, 1, 2, 3, &done, NULL, &error);
    say("number", done, &error);
    done = sendText(m4, 1, 2, "hello", &error);
    say("text", done, &error);

    g_object_unref(m4);
    return 0;
}
