// SPDX-License-Identifier: MIT
#include "ioexpd.h"
#include "serve.h"

#include <QtCore/QCoreApplication>

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    TestIoexpd daemon;
    return serve("org.hnipc.ioexpd");
}
