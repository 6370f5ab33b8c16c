// SPDX-License-Identifier: MIT
#ifndef WATCHER_H
#define WATCHER_H

#include <QtCore/QObject>
#include <QtCore/QString>

#include <cstdio>

/// Prints one line on standard output at once.
inline void say(const QString &line)
{
    puts(qPrintable(line));
    fflush(stdout);
}

/// Prints the events that it is connected to. The parameter types are spelled as in the signal,
/// which Qt 4 requires.
class Watcher : public QObject
{
    Q_OBJECT

public slots:
    void printButton() { say(QLatin1String("event: print button")); }
    void helpButton() { say(QLatin1String("event: help button")); }
    void cancelButton() { say(QLatin1String("event: cancel button")); }

    void printerLid(bool value)
    {
        say(QString(QLatin1String("event: printer lid %1")).arg(value ? 1 : 0));
    }

    void error(int value) { say(QString(QLatin1String("event: error code %1")).arg(value)); }

    void tphTherm(int tph, qint32 value)
    {
        say(QString(QLatin1String("event: print head %1 reads %2")).arg(tph).arg(value));
    }

    void supplyChanged(const QString &supplySku, const QString &printerName)
    {
        say(QString(QLatin1String("event: supply %1 in printer \"%2\""))
                .arg(supplySku, printerName));
    }
};

#endif
