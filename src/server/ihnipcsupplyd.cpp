// SPDX-License-Identifier: MIT
#include <hnipc/ihnipcsupplyd.h>

#include "server/pulse_p.h"

// A table, one signal a row.
// clang-format off

bool IHNIPCSUPPLYD::pulseHNIPCReadySignal() { return pulse(this, "SUPPLYD_HNIPCReady"); }
bool IHNIPCSUPPLYD::pulseSupplyChangedSignal(QString supplySku, QString printerName)
{ return pulse(this, "SUPPLYD_SupplyChanged", supplySku, printerName); }
bool IHNIPCSUPPLYD::pulseRibbonChangedSignal(QStringList ribbonSkus, QString printerName)
{ return pulse(this, "SUPPLYD_RibbonChanged", ribbonSkus, printerName); }
bool IHNIPCSUPPLYD::pulseSupplyPercentChangedSignal(double percentage)
{ return pulse(this, "SUPPLYD_SupplyPercentChanged", percentage); }
bool IHNIPCSUPPLYD::pulseRibbon1PercentChangedSignal(double percentage)
{ return pulse(this, "SUPPLYD_Ribbon1PercentChanged", percentage); }
bool IHNIPCSUPPLYD::pulseRibbon2PercentChangedSignal(double percentage)
{ return pulse(this, "SUPPLYD_Ribbon2PercentChanged", percentage); }
bool IHNIPCSUPPLYD::pulseSupplyRGBChangedSignal(QString rgb)
{ return pulse(this, "SUPPLYD_SupplyRGBChanged", rgb); }
bool IHNIPCSUPPLYD::pulseRibbon1RGBsChangedSignal(QStringList rgbs)
{ return pulse(this, "SUPPLYD_Ribbon1RGBsChanged", rgbs); }
bool IHNIPCSUPPLYD::pulseRibbon2RGBsChangedSignal(QStringList rgbs)
{ return pulse(this, "SUPPLYD_Ribbon2RGBsChanged", rgbs); }

// clang-format on
