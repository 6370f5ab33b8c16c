// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_ONBROKER_H
#define HNIPC_TESTS_ONBROKER_H

#include <QtCore/QByteArray>

// Whether "dbus-daemon" is dbus-broker, as "scripts/test --dbus-broker" has it.
inline bool isOnDBusBroker() { return qgetenv("HNIPC_TEST_BUS") == "dbus-broker"; }

#endif
