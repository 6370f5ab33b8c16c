// SPDX-License-Identifier: MIT
#ifndef HNIPCAVAILABILITY_H
#define HNIPCAVAILABILITY_H

#include <hnipc/hnipc_export.h>

#include <QtCore/QObject>
#include <QtCore/QScopedPointer>

class HNIPCAvailabilityPrivate;
class QDBusPendingCallWatcher;

/**
 * Which daemons are on the bus. Told by the bus: nothing is polled, no daemon is asked, and nothing
 * blocks. The answers are false until the bus has told, which takes a turn of the event loop, and
 * when the bus is lost.
 */
class HNIPC_EXPORT HNIPCAvailability : public QObject
{
    Q_OBJECT
    /// What isKnown() answers.
    Q_PROPERTY(bool known READ isKnown NOTIFY knownChanged)
    /// What hasIoexpd() answers.
    Q_PROPERTY(bool ioexpd READ hasIoexpd NOTIFY ioexpdChanged)
    /// What hasM4() answers.
    Q_PROPERTY(bool m4 READ hasM4 NOTIFY m4Changed)
    /// What hasSupplyd() answers.
    Q_PROPERTY(bool supplyd READ hasSupplyd NOTIFY supplydChanged)

public:
    /// Comes after the QCoreApplication. Asks the bus, and does not wait for its answer.
    explicit HNIPCAvailability(QObject *parent = 0);
    virtual ~HNIPCAvailability();

    /// Whether the bus has told of all three.
    bool isKnown() const;
    /// Whether the I/O expander's daemon is there.
    bool hasIoexpd() const;
    /// Whether the print engine's daemon is there.
    bool hasM4() const;
    /// Whether the supply daemon is there.
    bool hasSupplyd() const;

Q_SIGNALS:
    /// The bus has told of all three (true), or was lost. Comes after the signals of the daemons.
    void knownChanged(bool known);
    /// The I/O expander's daemon came to the bus (true) or left it.
    void ioexpdChanged(bool available);
    /// The print engine's daemon came to the bus (true) or left it.
    void m4Changed(bool available);
    /// The supply daemon came to the bus (true) or left it.
    void supplydChanged(bool available);

private:
    Q_DISABLE_COPY(HNIPCAvailability)
    friend class HNIPCAvailabilityPrivate;
    Q_PRIVATE_SLOT(d, void onOwnerChanged(QString, QString, QString))
    Q_PRIVATE_SLOT(d, void onAnswer(QDBusPendingCallWatcher *))
    Q_PRIVATE_SLOT(d, void onBusLost())

    QScopedPointer<HNIPCAvailabilityPrivate> d;
};

#endif
