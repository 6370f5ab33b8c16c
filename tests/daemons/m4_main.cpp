// SPDX-License-Identifier: MIT
#include "m4.h"
#include "serve.h"

#include <QtCore/QCoreApplication>

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    TestM4 daemon;
    return serve("org.hnipc.m4");
}
