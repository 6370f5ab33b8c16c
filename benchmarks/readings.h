// SPDX-License-Identifier: MIT
#ifndef HNIPC_BENCHMARKS_READINGS_H
#define HNIPC_BENCHMARKS_READINGS_H

#include <hnipc/hnipcreading.h>

#include <QtCore/QEventLoop>

// Readings, with a wait until all their values are known.
class Readings : public QObject
{
    Q_OBJECT

public:
    Readings() : m_unknown(0) {}

    void add(const char *method, const QStringList &signalNames = QStringList())
    {
        HNIPCReading *reading = new HNIPCReading(this);
        reading->setMethod(QLatin1String(method));
        reading->setSignalNames(signalNames);
        connect(reading, SIGNAL(changed()), SLOT(onChanged()));
        ++m_unknown;
    }

    bool areKnown() const { return m_unknown == 0; }

    void waitUntilKnown()
    {
        QEventLoop loop;
        loop.connect(this, SIGNAL(known()), SLOT(quit()));
        loop.exec();
    }

Q_SIGNALS:
    void known();

private Q_SLOTS:
    void onChanged()
    {
        HNIPCReading *reading = static_cast<HNIPCReading *>(sender());
        if (!reading->isKnown()) {
            qFatal("%s: %s", qPrintable(reading->method()), qPrintable(reading->errorText()));
        }
        reading->disconnect(this);
        if (--m_unknown == 0) {
            Q_EMIT known();
        }
    }

private:
    int m_unknown;
};

#endif
