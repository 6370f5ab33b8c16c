// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_ONBROKER_H
#define HNIPC_TESTS_ONBROKER_H

#include <QtCore/QByteArray>

// True if the tests' "dbus-daemon" is dbus-broker, as under "scripts/test --dbus-broker".
inline bool isOnDBusBroker() { return qgetenv("HNIPC_TEST_BUS") == "dbus-broker"; }

#endif
