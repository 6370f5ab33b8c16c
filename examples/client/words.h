// SPDX-License-Identifier: MIT
// The output of this guide's programs.

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
    case HNIPCRequest::Answered: // the reply is false
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
