// SPDX-License-Identifier: MIT
// The daemon of README.md: an I/O expander without hardware.
#include <hnipc/ihnipcioexpd.h>

#include <QtCore/QCoreApplication>

class FrontPanel : public IHNIPCIOEXPD
{
public:
    void enableAudioAmp(bool) override {}
    void enableBacklight(bool) override {}
    void printerSoftCancel() override { pulseCancelButtonSignal(); } // a signal to all clients
};

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    FrontPanel panel; // owns the bus name org.hnipc.ioexpd from here on
    return application.exec();
}
