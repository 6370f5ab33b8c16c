// SPDX-License-Identifier: MIT
#include "ioexpd.h"

#include <cstdio>

void TestIoexpd::enableAudioAmp(bool value)
{
    if (value == m_audioAmp) {
        return;
    }
    m_audioAmp = value;
    say("audio amplifier", m_audioAmp);
}

void TestIoexpd::enableBacklight(bool value)
{
    if (value == m_backlight) {
        return;
    }
    m_backlight = value;
    say("backlight", m_backlight);
}

void TestIoexpd::printerSoftCancel() { pulseCancelButtonSignal(); }

void TestIoexpd::say(const char *what, bool on)
{
    printf("%s %s\n", what, on ? "on" : "off");
    fflush(stdout);
}
