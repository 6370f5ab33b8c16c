// SPDX-License-Identifier: MIT
//
// hnipc-bench-arguments: the time of a call by the number and size of its arguments. Compares the
// library's call member, which the client's methods use, with QDBusInterface.

#include "daemons.h"
#include "rawcall.h"
#include "samples.h"

#include "client/hnipc_p.h"
#include <hnipc/hnipc.h>

static void compareArguments(HNIPCPrivate *client, QDBusInterface *supplyd)
{
    static const HNIPCServer::ServerType daemon = HNIPCServer::SUPPLYD;
    const int turns = 40;
    const int calls = 200;
    // clang-format off
    compare("a call without arguments", turns, calls,
            { { "Qt", [=] { ask<bool>(supplyd, "take0"); } },
              { "HNIPC", [=] { client->ask<bool>(daemon, "take0"); } } });
    compare("1 argument", turns, calls,
            { { "Qt", [=] { ask<bool>(supplyd, "take1", { 1 }); } },
              { "HNIPC", [=] { client->ask<bool>(daemon, "take1", 1); } } });
    compare("2 arguments", turns, calls,
            { { "Qt", [=] { ask<bool>(supplyd, "take2", { 1, 2 }); } },
              { "HNIPC", [=] { client->ask<bool>(daemon, "take2", 1, 2); } } });
    compare("3 arguments", turns, calls,
            { { "Qt", [=] { ask<bool>(supplyd, "take3", { 1, 2, 3 }); } },
              { "HNIPC", [=] { client->ask<bool>(daemon, "take3", 1, 2, 3); } } });
    compare("4 arguments", turns, calls,
            { { "Qt", [=] { ask<bool>(supplyd, "take4", { 1, 2, 3, 4 }); } },
              { "HNIPC", [=] { client->ask<bool>(daemon, "take4", 1, 2, 3, 4); } } });
    compare("5 arguments", turns, calls,
            { { "Qt", [=] { ask<bool>(supplyd, "take5", { 1, 2, 3, 4, 5 }); } },
              { "HNIPC", [=] { client->ask<bool>(daemon, "take5", 1, 2, 3, 4, 5); } } });
    // clang-format on

    const QString text(1000, QLatin1Char('x'));
    compare("a string of 1,000 characters", turns, calls,
            { { "Qt", [=] { ask<bool>(supplyd, "takeText", { text }); } },
              { "HNIPC", [=] { client->ask<bool>(daemon, "takeText", text); } } });

    QStringList list;
    for (int i = 0; i < 20; ++i) {
        list += QString::fromLatin1("LBL-1000%1-WH").arg(i + 10);
    }
    compare("a list of 20 strings", turns, calls,
            { { "Qt", [=] { ask<bool>(supplyd, "takeList", { list }); } },
              { "HNIPC", [=] { client->ask<bool>(daemon, "takeList", list); } } });
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const DaemonProcess supplydProcess(HNIPC_BENCH_DAEMON, "org.hnipc.supplyd");
    HNIPC printer;
    HNIPCPrivate client(&printer);
    compareArguments(&client, newProxy("org.hnipc.supplyd", "local.IHNIPCSUPPLYD"));
    return 0;
}
