// SPDX-License-Identifier: MIT
// For applications with Qt 4, which has no QML module of the library. Qt 5 and 6 compile it for a test.
#ifndef REGISTRATION_H
#define REGISTRATION_H

#include <QtCore/QtGlobal>
#if QT_VERSION >= 0x050000
#include <QtQml/qqml.h>
#else
#include <QtDeclarative/qdeclarative.h>
#endif

#include <hnipc/hnipcavailability.h>
#include <hnipc/hnipcevents.h>
#include <hnipc/hnipcreading.h>
#include <hnipc/hnipcrequest.h>

inline void registerClasses()
{
    qmlRegisterType<HNIPCRequest>("HNIPC", 1, 0, "HNIPCRequest");
    qmlRegisterType<HNIPCReading>("HNIPC", 1, 0, "HNIPCReading");
    qmlRegisterType<HNIPCEvents>("HNIPC", 1, 0, "HNIPCEvents");
    qmlRegisterType<HNIPCAvailability>("HNIPC", 1, 0, "HNIPCAvailability");
}

#endif
