// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_READINGS_H
#define HNIPC_TESTS_READINGS_H

#include "support/listener.h"
#include "support/waituntil.h"

#include <hnipc/hnipcreading.h>

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QMetaEnum>
#include <QtCore/QStringList>

// The properties of a reading in one line: "current int 7", "known int 7" if the value is not
// current, "unknown", and the reason: "unknown DaemonError NAME: TEXT".
inline QByteArray shown(const HNIPCReading &reading)
{
    QByteArray line = !reading.isKnown() ? "unknown" : reading.isCurrent() ? "current" : "known";
    if (reading.isCurrent() && !reading.isKnown()) {
        line += ", but current";
    }
    const QVariant value = reading.value();
    if (value.isValid()) {
        line += QByteArray(reading.isKnown() ? " " : ", but ") + value.typeName() + ' ';
        line += value.userType() == QMetaType::QStringList
            ? value.toStringList().join(QLatin1String(",")).toUtf8()
            : value.toString().toUtf8();
    }
    const QMetaObject &meta = HNIPCRequest::staticMetaObject;
    if (reading.reason() != HNIPCRequest::NoReason) {
        line += ' ';
        line += meta.enumerator(meta.indexOfEnumerator("Reason")).valueToKey(reading.reason());
    }
    if (!reading.errorName().isEmpty() || !reading.errorText().isEmpty()) {
        line += ' ' + reading.errorName().toUtf8() + ": " + reading.errorText().toUtf8();
    }
    return line;
}

// Waits until a reading shows this line. Returns the line that it shows then.
inline QByteArray awaited(const HNIPCReading &reading, const QByteArray &expected)
{
    waitUntil([&]() { return shown(reading) == expected; });
    return shown(reading);
}

// The line of a reading at each changed().
class History
{
public:
    explicit History(HNIPCReading *reading)
        : m_listener(reading, SIGNAL(changed()), [=]() { m_lines.append(shown(*reading)); })
    {
    }

    QList<QByteArray> take()
    {
        const QList<QByteArray> result = m_lines;
        m_lines.clear();
        return result;
    }

private:
    QList<QByteArray> m_lines;
    Listener m_listener;
};

#endif
