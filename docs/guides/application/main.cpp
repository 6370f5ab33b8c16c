// SPDX-License-Identifier: MIT
// Says which supply is loaded, feeds when the lid has been closed, and ends when it is asked to.

#include <hnipc/hnipc.h>
#include <hnipc/hnipcavailability.h>
#include <hnipc/hnipcrequest.h>

#include <QtCore/QCoreApplication>

#include <cstdio>

static void say(const QString &line)
{
    puts(qPrintable(line));
    fflush(stdout);
}

//! [outcome]
static QString inWords(const HNIPCRequest &request)
{
    switch (request.outcome()) {
    case HNIPCRequest::Answered:
        return request.value().toBool() ? "done" : "the print engine would not";
    case HNIPCRequest::Refused:
        return "refused: " + request.errorText();
    case HNIPCRequest::NotSent:
        return "nothing was done: " + request.errorText();
    default:
        return "nobody knows, look at the printer: " + request.errorText();
    }
}
//! [outcome]

int main(int argc, char *argv[])
{
    //! [client]
    QCoreApplication application(argc, argv);
    HNIPC printer;
    say("print engine " + printer.m4Version());
    //! [client]

    //! [request]
    HNIPCRequest feed;
    feed.setCall(HNIPC_METHOD(forwardFeed), 200);
    feed.setDeadline(10 * 1000); // milliseconds
    QObject::connect(&feed, &HNIPCRequest::finished, [&feed]() { say("feed: " + inWords(feed)); });
    //! [request]

    //! [listen]
    QObject::connect(&printer, &HNIPC::M4PrinterLid, [&printer, &feed](bool open) {
        say(QString("lid %1, error %2").arg(open ? "open" : "closed").arg(printer.getError()));
        if (!open)
            feed.send();
    });
    QObject::connect(&printer, &HNIPC::CloseApplicationSignal, &application,
                     &QCoreApplication::quit);
    //! [listen]

    //! [availability]
    HNIPCRequest loaded;
    loaded.setCall(HNIPC_METHOD(supplySKUCached));
    QObject::connect(&loaded, &HNIPCRequest::finished,
                     [&loaded]() { say("supply " + loaded.value().toString()); });

    HNIPCAvailability daemons;
    QObject::connect(&daemons, &HNIPCAvailability::supplydChanged, [&loaded](bool available) {
        if (available)
            loaded.send();
        else
            say("the supply daemon has left");
    });
    //! [availability]

    say("listening");
    return application.exec();
}
