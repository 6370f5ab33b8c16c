// SPDX-License-Identifier: MIT
// A daemon as none should be: between its object and its event loop it does something long, here to
// wait for a line on its standard input.

#include <hnipc/ihnipcioexpd.h>

#include <QtCore/QCoreApplication>

#include <cstdio>

class FrontPanel : public IHNIPCIOEXPD
{
public:
    void enableAudioAmp(bool) override {}
    void enableBacklight(bool) override {}
    void printerSoftCancel() override {}
};

static void findHardware()
{
    puts("daemon: looking for the hardware");
    fflush(stdout);
    getchar();
}

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    FrontPanel panel; // the name is taken
    findHardware();   // and nobody answers: this belongs above
    puts("daemon: serving");
    fflush(stdout);
    return application.exec();
}
