// SPDX-License-Identifier: MIT
#include "ioexpd.h"

#include "common/daemons.h"

Ioexpd::Ioexpd() : m_switches({ { "audioAmp", false }, { "backlight", true } }) {}

// The cancel button cancels no job: the application that receives its signal does.
QString Ioexpd::press(const QString &button)
{
    const QStringList buttons = Toolkit::buttons();
    if (!buttons.contains(button)) {
        return QStringLiteral("\"%1\" is not one of %2")
            .arg(button, buttons.join(QLatin1String(", ")));
    }
    return broadcast(button.at(0).toUpper() + button.mid(1) + QLatin1String("Button"), {});
}
