// SPDX-License-Identifier: MIT
#include "qtmessages.h"

#include <QtCore/QString>

namespace {

QtMessageHandler printMessage = nullptr;

void printAllOthers(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (!message.startsWith(QLatin1String("QDBusConnection: name '"))
        || !message.contains(QLatin1String("' but we thought it was '"))) {
        printMessage(type, context, message);
    }
}

} // namespace

void Toolkit::hideOwnerWarning() { printMessage = qInstallMessageHandler(printAllOthers); }
