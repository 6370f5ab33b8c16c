// SPDX-License-Identifier: MIT
// The application of README.md: feeds when the print button is pressed.
#include <hnipc/hnipcevents.h>
#include <hnipc/hnipcrequest.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDebug>

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    HNIPCEvents events;
    QObject::connect(&events, &HNIPCEvents::PrintButton, &application, [&application]() {
        hnipcCall(HNIPC_METHOD(forwardFeed), 400) // sends the call and returns at once
            .then(&application, [](const HNIPCAnswer<bool> &fed) {
                qInfo() << (fed.isDone() ? "fed" : fed.isAnswered() ? "not fed" : fed.errorText());
            });
    });
    return application.exec();
}
