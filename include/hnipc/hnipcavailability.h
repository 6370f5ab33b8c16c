// SPDX-License-Identifier: MIT
#ifndef HNIPCAVAILABILITY_H
#define HNIPCAVAILABILITY_H

#include <hnipc/hnipc_export.h>

#include <QtCore/QObject>
#include <QtCore/QScopedPointer>

class HNIPCAvailabilityPrivate;

/**
 * Which daemons are running, as the bus reports it. The class neither polls nor calls a daemon. The
 * constructor does not wait for the bus (with Qt 4, see HNIPCRequest). The reports of the bus
 * arrive through the event loop. Before they arrive, and after the bus was lost, all functions
 * return false.
 *
 * The object can be moved to another thread. It can be destroyed at any time, also by a receiver of
 * its own signals.
 */
class HNIPC_EXPORT HNIPCAvailability : public QObject
{
    Q_OBJECT
    /// See isKnown().
    Q_PROPERTY(bool known READ isKnown NOTIFY knownChanged)
    /// See hasIoexpd().
    Q_PROPERTY(bool ioexpd READ hasIoexpd NOTIFY ioexpdChanged)
    /// See hasM4().
    Q_PROPERTY(bool m4 READ hasM4 NOTIFY m4Changed)
    /// See hasSupplyd().
    Q_PROPERTY(bool supplyd READ hasSupplyd NOTIFY supplydChanged)

public:
    /// Construct it after the QCoreApplication.
    explicit HNIPCAvailability(QObject *parent = nullptr);
    virtual ~HNIPCAvailability();

    /// Whether the bus has reported on all three daemons.
    bool isKnown() const;
    /// Whether the I/O-expander daemon is running.
    bool hasIoexpd() const;
    /// Whether the print-engine daemon is running.
    bool hasM4() const;
    /// Whether the supply daemon is running.
    bool hasSupplyd() const;

Q_SIGNALS:
    /// The bus has reported on all three daemons (true), or was lost (false). True and false
    /// alternate. This signal is emitted after the signals below that belong to the same change.
    void knownChanged(bool known);
    /// The I/O-expander daemon appeared on the bus (true) or disappeared.
    void ioexpdChanged(bool available);
    /// The print-engine daemon appeared on the bus (true) or disappeared.
    void m4Changed(bool available);
    /// The supply daemon appeared on the bus (true) or disappeared.
    void supplydChanged(bool available);

private:
    Q_DISABLE_COPY(HNIPCAvailability)
    friend class HNIPCAvailabilityPrivate;

    QScopedPointer<HNIPCAvailabilityPrivate> d;
};

#endif
