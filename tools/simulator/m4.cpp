// SPDX-License-Identifier: MIT
#include "m4.h"

#include <cstdio>

M4::M4() { announceFor(m_engine); }

QString M4::print(uint labels)
{
    return m_engine.print(labels)
        ? QString()
        : QStringLiteral("a job needs 1 label or more, and the queue holds at most %1 jobs")
              .arg(Engine::QueueCapacity);
}

// The simulated micro-controller accepts every message.
bool M4::acknowledge(int type, int definedMessage, const QString &value)
{
    const QString message = QStringLiteral("%1 %2 ").arg(type).arg(definedMessage);
    return pulseM4MessageSentSignal(message + value)
        && pulseM4MessageReceivedSignal(message + QLatin1String("ok"));
}

bool M4::refreshAll()
{
    return m_engine.refreshSettings() && m_engine.refreshSensors()
        && m_engine.tell(Engine::BatteryStatus) && m_engine.tell(Engine::M4Version);
}

bool M4::dumpSettings()
{
    fputs(qPrintable(m_engine.dump()), stdout);
    fflush(stdout);
    return true;
}
