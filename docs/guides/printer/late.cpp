// SPDX-License-Identifier: MIT
// A daemon with a mistake: something takes long between the construction of its object and its event
// loop. Here, it waits for a line on its standard input.

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
    FrontPanel panel; // owns the bus name from here on
    findHardware();   // calls wait meanwhile: this belongs above the object
    puts("daemon: serving");
    fflush(stdout);
    return application.exec();
}
