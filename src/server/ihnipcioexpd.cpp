// SPDX-License-Identifier: MIT
#include <hnipc/ihnipcioexpd.h>

#include "server/pulse_p.h"

// A table, one signal a row.
// clang-format off

bool IHNIPCIOEXPD::pulseCancelButtonSignal() { return pulse(this, "IOEXPD_CancelButton"); }
bool IHNIPCIOEXPD::pulseHelpButtonSignal() { return pulse(this, "IOEXPD_HelpButton"); }
bool IHNIPCIOEXPD::pulsePrintButtonSignal() { return pulse(this, "IOEXPD_PrintButton"); }

// clang-format on
