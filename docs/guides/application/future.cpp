// SPDX-License-Identifier: MIT
// The call of the guide as a future of Qt 6.

#include "words.h"

#include <hnipc/hnipcrequest.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFuture>

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);

    auto *request = hnipcCall(HNIPC_METHOD(forwardFeed), 400).within(5000).send(&application);
    auto feed = QtFuture::connect(request, &HNIPCRequest::finished).then([request]() {
        return HNIPCAnswer<bool>(*request); // a copy, since the request deletes itself
    });
    feed.then(&application, [&application](const HNIPCAnswer<bool> &fed) {
        say("feed: " + inWords(fed));
        application.quit();
    });

    return application.exec();
}
