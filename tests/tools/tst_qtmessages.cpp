// SPDX-License-Identifier: MIT
// The one warning of Qt that the tools do not print.

#include "common/qtmessages.h"

#include <QtTest/QtTest>

static QStringList printed;

static void keep(QtMsgType, const QMessageLogContext &, const QString &message)
{
    printed += message;
}

class tst_QtMessages : public QObject
{
    Q_OBJECT

private slots:
    void ownerWarningIsHidden();
};

void tst_QtMessages::ownerWarningIsHidden()
{
    const QtMessageHandler own = qInstallMessageHandler(keep);
    Toolkit::hideOwnerWarning();
    qWarning("QDBusConnection: name 'org.hnipc.m4' had owner '' but we thought it was ':1.1'");
    qWarning("QDBusConnection: name 'org.hnipc.m4' is not connected");
    qWarning("somebody had owner '' but we thought it was ':1.1'");
    qInstallMessageHandler(own);

    QCOMPARE(printed,
             QStringList({ "QDBusConnection: name 'org.hnipc.m4' is not connected",
                           "somebody had owner '' but we thought it was ':1.1'" }));
}

QTEST_GUILESS_MAIN(tst_QtMessages)
#include "tst_qtmessages.moc"
