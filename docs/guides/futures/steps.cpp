// SPDX-License-Identifier: MIT
// Waits in a coroutine until the lid is closed, and then feeds, with QCoro.

#include "words.h"

#include <hnipc/hnipcreading.h>
#include <hnipc/hnipcrequest.h>

#include <QCoro/QCoroSignal>
#include <QCoro/QCoroTask>
#include <QtCore/QCoreApplication>

static QCoro::Task<> feedWhenClosed()
{
    {
        HNIPCReading lid;
        lid.setCall(HNIPC_METHOD(printerLid));
        lid.setSignalNames({ "M4PrinterLid" });
        bool hasAsked = false;
        while (!lid.isKnown() || lid.value().toBool()) {
            if (lid.isKnown() && !hasAsked) {
                say("close the lid");
                hasAsked = true;
            }
            co_await qCoro(&lid, &HNIPCReading::changed);
        }
    } // as long as lid exists, QCoro 0.8 may resume the coroutine once more

    HNIPCRequest feed;
    feed.setCall(HNIPC_METHOD(forwardFeed), 400);
    feed.setDeadline(5000);
    feed.send();
    co_await qCoro(&feed, &HNIPCRequest::finished);
    say("feed: " + inWords(HNIPCAnswer<bool>(feed)));
    QCoreApplication::quit();
}

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    feedWhenClosed();
    return application.exec();
}
