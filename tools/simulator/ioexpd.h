// SPDX-License-Identifier: MIT
#ifndef HNIPC_SIMULATOR_IOEXPD_H
#define HNIPC_SIMULATOR_IOEXPD_H

#include "daemon.h"

#include <hnipc/ihnipcioexpd.h>

/// The I/O expander: three buttons and two switches.
class Ioexpd : public DaemonOf<IHNIPCIOEXPD>
{
public:
    Ioexpd();

    Readings &readings() override { return m_switches; }
    QString press(const QString &button) override;

    void enableAudioAmp(bool value) override { m_switches.set(AudioAmp, value); }
    void enableBacklight(bool value) override { m_switches.set(Backlight, value); }
    void printerSoftCancel() override { pulseCancelButtonSignal(); }

private:
    enum { AudioAmp, Backlight };

    Readings m_switches;
};

#endif
