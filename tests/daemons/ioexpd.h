// SPDX-License-Identifier: MIT
#ifndef IOEXPD_H
#define IOEXPD_H

#include "emptyreplies.h"

#include <operations/ihnipcioexpd.h>

/// An I/O expander without hardware: it keeps its two switches in memory, and a soft cancel acts as
/// the cancel button. A changed switch is printed on standard output, because no method reads it.
class TestIoexpd : public Operations::IOEXPD<EmptyReplies>
{
public:
    void enableAudioAmp(bool value) override;
    void enableBacklight(bool value) override;
    void printerSoftCancel() override;

private:
    void say(const char *what, bool on);

    bool m_audioAmp = false;
    bool m_backlight = true;
};

#endif
