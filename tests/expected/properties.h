// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_EXPECTED_PROPERTIES_H
#define HNIPC_TESTS_EXPECTED_PROPERTIES_H

#include "expected/clientsignals.h"

#include <cstring>

namespace Expected {

// A property of the client.
struct ClientProperty
{
    const char *name;
    const char *type;
    Server server;
    const char *method; // called to read the property
    const char *body;   // of that call
    const char *member; // name of the daemon's signal that makes a read necessary
};

// clang-format off
const ClientProperty clientProperties[] = {
    { "qmlSupplyPercent", "double", SUPPLYD, "supplySupplyPercent", "()", "SUPPLYD_SupplyPercentChanged" },
    { "qmlSupplyColorRGB", "QString", SUPPLYD, "supplySupplyRGB", "('',)", "SUPPLYD_SupplyRGBChanged" },
    { "qmlRibbonPercent", "double", SUPPLYD, "supplyRibbon1Percent", "()", "SUPPLYD_Ribbon1PercentChanged" },
    { "qmlRibbonColorRGBs", "QStringList", SUPPLYD, "supplyRibbon1RGBs", "('',)", "SUPPLYD_Ribbon1RGBsChanged" },
    { "qmlSupplySKU", "QString", SUPPLYD, "supplySKUCached", "('',)", "SUPPLYD_SupplyChanged" },
    { "qmlPrintEngineErrorCode", "int", M4, "getError", "()", "M4_Error" },
    { "qmlPrintEngineAlertCode", "int", M4, "getAlert", "()", "M4_Alert" },
    { "qmlBatteryStatus", "int", M4, "getBatteryStatus", "()", "M4_M4BatteryUpdate" },
};
// clang-format on

const int clientPropertyCount = sizeof clientProperties / sizeof clientProperties[0];

// The client's signal that notifies of changes of the property.
inline const ClientSignal &notifierOf(const ClientProperty &property)
{
    int row = 0;
    while (!clientSignals[row].member || std::strcmp(clientSignals[row].member, property.member)) {
        ++row;
    }
    return clientSignals[row];
}

} // namespace Expected

#endif
