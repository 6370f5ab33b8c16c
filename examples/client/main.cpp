// SPDX-License-Identifier: MIT
// Prints which supply is loaded and whether the lid is open. Feeds when the print button is
// pressed, and exits when the supply daemon requests that applications close.

#include "words.h"

#include <hnipc/hnipcevents.h>
#include <hnipc/hnipcreading.h>
#include <hnipc/hnipcrequest.h>

#include <QtCore/QCoreApplication>

// Prints its text when it changes. A program with a screen would use a label there.
class Label
{
public:
    void setText(const QString &text)
    {
        if (text == m_text) {
            return;
        }
        m_text = text;
        say(text);
    }

private:
    QString m_text;
};

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);

    HNIPCReading supply;
    supply.setCall(HNIPC_METHOD(supplySKUCached));
    supply.setSignalNames({ "SupplyChanged" });

    Label loaded;
    QObject::connect(&supply, &HNIPCReading::changed, &application, [&supply, &loaded]() {
        loaded.setText(supply.isKnown() ? "supply " + supply.value().toString()
                                        : "supply not known");
    });

    HNIPCReading lid;
    lid.setCall(HNIPC_METHOD(printerLid));
    lid.setSignalNames({ "M4PrinterLid" });
    lid.setValueArgument(0);

    Label open;
    QObject::connect(&lid, &HNIPCReading::changed, &application, [&lid, &open]() {
        if (!lid.isKnown()) {
            open.setText("lid not known");
        } else {
            open.setText(lid.value().toBool() ? "lid open" : "lid closed");
        }
    });

    // Qt opens the connection to the bus only once. systemd starts the program again.
    QObject::connect(&lid, &HNIPCReading::changed, &application, [&lid]() {
        if (lid.reason() == HNIPCRequest::BusLost) {
            QCoreApplication::exit(1);
        }
    });

    HNIPCEvents events;
    QObject::connect(&events, &HNIPCEvents::CloseApplicationSignal, &application,
                     &QCoreApplication::quit);

    QObject::connect(&events, &HNIPCEvents::PrintButton, &application, [&application]() {
        hnipcCall(HNIPC_METHOD(forwardFeed), 400)
            .within(5000)
            .then(&application, [](const HNIPCAnswer<bool> &fed) { say("feed: " + inWords(fed)); });
    });

    return application.exec();
}
