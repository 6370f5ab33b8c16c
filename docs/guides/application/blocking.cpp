// SPDX-License-Identifier: MIT
// Calls the print engine twice, and waits for each reply.

#include "words.h"

#include <hnipc/hnipc.h>

#include <QtCore/QCoreApplication>

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    HNIPC printer;
    say("print engine " + printer.m4Version());
    say(printer.forwardFeed(400) ? "fed" : "not fed");
}
