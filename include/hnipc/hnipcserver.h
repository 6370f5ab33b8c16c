// SPDX-License-Identifier: MIT
#ifndef HNIPCSERVER_H
#define HNIPCSERVER_H

#include <hnipc/hnipc_export.h>
#include <hnipc/hnipc_version.h>

#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QVariant>

/**
 * What the three interface classes of the daemons have in common.
 *
 * A daemon derives its object from IHNIPCIOEXPD, IHNIPCM4 or IHNIPCSUPPLYD. Constructing it claims
 * the daemon's name on the system bus and exports the object at "/", so it comes after the
 * QCoreApplication. The name is kept until the process leaves the bus; the object is on the bus for
 * as long as it lives. A failure of either is not reported: a daemon that has to know asks the bus
 * who owns its name.
 */
class HNIPC_EXPORT HNIPCServer : public QObject
{
    Q_OBJECT

public:
    /// The daemons. Any other value, and with the fixed type every int is one, selects none of
    /// them.
    enum ServerType : int {
        IOEXPD = 0, ///< I/O expander, org.hnipc.ioexpd: buttons, audio amplifier, backlight.
        M4 = 1,     ///< Print engine, org.hnipc.m4: heads, motors, sensors, print queue, battery.
        SUPPLYD = 2 ///< Supplies, org.hnipc.supplyd: the database of supplies and ribbons.
    };

    /// Claims the bus name of the daemon @p type, then exports the object. A type that selects no
    /// daemon gives an object that is neither named nor exported.
    HNIPCServer(ServerType type, QObject *parent);
    /// Takes the object off the bus. The name stays with the process.
    virtual ~HNIPCServer();

    /// The daemon that this object serves.
    ServerType getServerType() const;

    /// Claims the well-known name @p serviceName on the system bus. Answers whether the name has an
    /// owner now, which may be another process; false without a bus, or where the bus refuses.
    bool registerDbusService(const QString &serviceName);

    /// Exports the scriptable members of this object on the system bus at @p path. The interface
    /// name on the bus is that of the class; @p interfaceName is accepted and not used. False
    /// without a bus, or where the path is taken.
    bool registerDbusObject(const QString &path, const QString &interfaceName);

    /// Broadcasts one signal on the system bus: member @p name of @p interfaceName, from the object
    /// at @p path, with @p arguments as they stand. False when it could not be queued for sending.
    bool pulseSignal(const QString &path, const QString &interfaceName, const QString &name,
                     const QList<QVariant> &arguments);

private:
    Q_DISABLE_COPY(HNIPCServer)

    ServerType m_serverType;
};

#endif
