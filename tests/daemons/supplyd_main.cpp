// SPDX-License-Identifier: MIT
#include "serve.h"
#include "supplyd.h"

#include <QtCore/QCoreApplication>

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    TestSupplyd daemon;
    return serve("org.hnipc.supplyd");
}
