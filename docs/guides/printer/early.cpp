// SPDX-License-Identifier: MIT
// A client that says when it has been constructed.

#include <hnipc/hnipc.h>

#include <QtCore/QCoreApplication>

#include <cstdio>

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    puts("client: starting");
    fflush(stdout);
    HNIPC printer;
    puts("client: ready");
    return 0;
}
