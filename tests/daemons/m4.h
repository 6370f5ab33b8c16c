// SPDX-License-Identifier: MIT
#ifndef M4_H
#define M4_H

#include "emptyreplies.h"

#include <operations/ihnipcm4.h>

/// A print engine without hardware, with what the tests need: codes, one reading that can be
/// changed, settings and messages. It returns true for each of these commands whose signal it sent.
class TestM4 : public Operations::M4<EmptyReplies>
{
public:
    /// The values that getPrinterStatus() returns.
    enum PrinterStatus {
        UnknownPrinter = 0,
        Printing = 2, ///< The only printer, "labelprinter", never finishes its job.
        Faulty = 4    ///< There is an error code.
    };

    int getError() override;
    int getAlert() override;
    bool emitError(int value) override;
    bool emitAlert(int value) override;
    /// Removes the error and the alert.
    bool resetPrinter() override;
    int getPrinterStatus(QString printerName) override;

    QString m4Version() override;
    bool printerLid() override;
    bool setDac(quint32 value) override;
    quint32 dac0() override;
    bool setUserSetting(int setting, qint32 value) override;

    /// The micro-controller acknowledges each message.
    bool sendMCCMessage(int type, int definedMessage, quint64 value) override;
    bool sendMCCMessage(int type, int definedMessage, QString value) override;

private:
    bool sendMessage(int type, int definedMessage, const QString &value);

    int m_error = 0;
    int m_alert = 0;
    quint32 m_dac0 = 2048;
};

#endif
