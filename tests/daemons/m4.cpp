// SPDX-License-Identifier: MIT
#include "m4.h"

int TestM4::getError() { return m_error; }

int TestM4::getAlert() { return m_alert; }

bool TestM4::emitError(int value)
{
    m_error = value;
    return pulseErrorSignal(m_error);
}

bool TestM4::emitAlert(int value)
{
    m_alert = value;
    return pulseAlertSignal(m_alert);
}

bool TestM4::resetPrinter() { return emitError(0) && emitAlert(0); }

int TestM4::getPrinterStatus(QString printerName)
{
    if (printerName != QLatin1String("labelprinter")) {
        return UnknownPrinter;
    }
    return m_error == 0 ? Printing : Faulty;
}

QString TestM4::m4Version() { return QLatin1String("4.2.0-test"); }

bool TestM4::printerLid() { return true; }

bool TestM4::setDac(quint32 value)
{
    m_dac0 = value;
    return pulseM4Dac0Signal(m_dac0);
}

quint32 TestM4::dac0() { return m_dac0; }

bool TestM4::setUserSetting(int setting, qint32 value)
{
    return pulseM4UserSettingSignal(setting, value);
}

bool TestM4::sendMCCMessage(int type, int definedMessage, quint64 value)
{
    return sendMessage(type, definedMessage, QString::number(value));
}

bool TestM4::sendMCCMessage(int type, int definedMessage, QString value)
{
    return sendMessage(type, definedMessage, QLatin1Char('"') + value + QLatin1Char('"'));
}

bool TestM4::sendMessage(int type, int definedMessage, const QString &value)
{
    const QString message = QString::number(type) + QLatin1Char(' ')
        + QString::number(definedMessage) + QLatin1Char(' ');
    return pulseM4MessageSentSignal(message + value)
        && pulseM4MessageReceivedSignal(message + QLatin1String("ok"));
}
