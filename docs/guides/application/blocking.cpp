// SPDX-License-Identifier: MIT
// Asks the print engine two questions, and waits for each answer.

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
