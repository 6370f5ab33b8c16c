// SPDX-License-Identifier: MIT
// The texts that the programs of this guide print.

#ifndef WORDS_H
#define WORDS_H

#include <hnipc/hnipcrequest.h>

#include <QtCore/QString>

#include <cstdio>

inline void say(const QString &line)
{
    puts(qPrintable(line));
    fflush(stdout);
}

inline QString inWords(const HNIPCAnswer<bool> &command)
{
    if (command.isDone()) {
        return "done";
    }
    switch (command.outcome()) {
    case HNIPCRequest::Answered: // with false
        return "the print engine did not do it";
    case HNIPCRequest::Refused:
        return "refused: " + command.errorText();
    case HNIPCRequest::NotSent:
        return "not sent: " + command.errorText();
    default:
        return "unknown, look at the printer: " + command.errorText();
    }
}

#endif
