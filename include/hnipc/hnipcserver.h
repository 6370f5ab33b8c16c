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
 * The base of the three interface classes of the daemons.
 *
 * A daemon derives its object from IHNIPCIOEXPD, IHNIPCM4 or IHNIPCSUPPLYD. The constructor
 * acquires the daemon's name on the system bus and exports the object at "/". Construct it after
 * the QCoreApplication. The process owns the name until it leaves the bus. The object is on the bus
 * for as long as it lives. The constructor does not report whether the bus gave it the name, or
 * whether the object was exported. A daemon that needs to know asks the bus which process owns the
 * name.
 */
class HNIPC_EXPORT HNIPCServer : public QObject
{
    Q_OBJECT

public:
    /// The daemons. Every int is a valid value of this type; values other than these three select
    /// no daemon.
    enum ServerType : int {
        IOEXPD = 0, ///< I/O expander, org.hnipc.ioexpd: buttons, audio amplifier, backlight.
        M4 = 1,     ///< Print engine, org.hnipc.m4: heads, motors, sensors, print queue, battery.
        SUPPLYD = 2 ///< Supplies, org.hnipc.supplyd: the database of supplies and ribbons.
    };

    /// Acquires the bus name of the daemon @p type, then exports the object. With a type that
    /// selects no daemon, it does neither.
    HNIPCServer(ServerType type, QObject *parent);
    /// Removes the object from the bus. The process still owns the name.
    virtual ~HNIPCServer();

    /// The daemon that this object serves.
    ServerType getServerType() const;

    /// Tries to acquire the bus name @p serviceName on the system bus. Returns true if the name has
    /// an owner now, even if the owner is another process. Returns false if there is no system bus
    /// or the bus refuses the name.
    bool registerDbusService(const QString &serviceName);

    /// Exports the scriptable members of this object on the system bus at @p path. The interface
    /// name on the bus is that of the class; @p interfaceName is ignored. Returns false if there is
    /// no system bus or another object is exported at the path.
    bool registerDbusObject(const QString &path, const QString &interfaceName);

    /// Broadcasts one signal on the system bus: the member @p name of the interface
    /// @p interfaceName, from the object at @p path, with @p arguments unchanged. Returns false if
    /// the signal could not be queued for sending.
    bool pulseSignal(const QString &path, const QString &interfaceName, const QString &name,
                     const QList<QVariant> &arguments);

private:
    Q_DISABLE_COPY(HNIPCServer)

    ServerType m_serverType;
};

#endif
