// SPDX-License-Identifier: MIT
// The call of the guide in a coroutine, with QCoro.

#include "words.h"

#include <hnipc/hnipcrequest.h>

#include <QCoro/QCoroSignal>
#include <QCoro/QCoroTask>
#include <QtCore/QCoreApplication>

static QCoro::Task<> feed()
{
    HNIPCRequest request; // lives in the coroutine, and so longer than the call
    request.setCall(HNIPC_METHOD(forwardFeed), 400);
    request.setDeadline(5000);
    request.send();
    co_await qCoro(&request, &HNIPCRequest::finished);
    say("feed: " + inWords(HNIPCAnswer<bool>(request)));
    QCoreApplication::quit();
}

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    feed();
    return application.exec();
}
